// A lens flare ready to be drawn: what its description comes to at a scale, and where its elements stand and how they
// are coloured for one light. Distances are pixels of the working image; positions and radii are fix, 4096 a pixel.
#pragma once

#include <cstdint>
#include <vector>

#include "base/fixed.h"
#include "operators/lens_flares.h"

namespace tessaron {

/// How a flare is to look, whatever it is drawn at.
struct flare_look {
  fix gamma = FIX_ONE, saturation = FIX_ONE;
  fix scale_x = FIX_ONE, scale_y = FIX_ONE;
  fix rotate = 0;              // revolutions
  double pixels_per_unit = 0;  // of the frame's width: half of it
};

/// A light in pixels, and its colours.
struct flare_light {
  double x, y;
  double pivot_x, pivot_y;
  float hotspot_color[3];  // of elements at the light
  float other_color[3];    // of the others
  float rays_color[3];     // of rays, besides
};

enum class spot_kind { disc, blob, hexagon };

/// Width of the soft edge of discs and hexagons: a pixel and a half.
inline constexpr fix SOFT_EDGE = 6144;
/// A description's colours, and one more at each soft edge.
inline constexpr int MAX_KNOTS = SPOT_MAX_COLORS + 2;

/// A disc, blob or hexagon at its place.
struct placed_spot {
  spot_kind kind;
  fix x, y;
  double y_scale;  // distance down to distance across
  int n_knots;     // of discs and hexagons: between knots colours change linearly, outside them there is nothing
  fix radius[MAX_KNOTS];
  float color[MAX_KNOTS][3];       // fix scale
  float slope[MAX_KNOTS][3];       // colour for each 1/4096 pixel, up to the next knot
  float normal_x[3], normal_y[3];  // of a hexagon: across its sides, one over the distance of a side
};

/// A pair of rays to opposite sides of a point: to +(x, y) and -(x, y), pixels.
struct ray_pair {
  float x, y;
};

/// A burst of rays at its place.
struct placed_rays {
  double x, y;  // pixels
  double y_scale;
  float color[3];    // fix scale
  float half_width;  // pixels
  float taper;       // part of a ray, from the middle, over which it grows to its full width; 0: none
  float reach;       // of the longest ray, pixels across
  const ray_pair* pairs;
  int n_pairs;
};

/// Lights that grow in number.
class light_list {
 public:
  void clear() { lights_.clear(); }
  void add(const flare_light& light);
  const flare_light* data() const { return lights_.data(); }
  int count() const { return int(lights_.size()); }

 private:
  std::vector<flare_light> lights_;
};

class flare_shape {
 public:
  /// Takes over a description. Reports elements that cannot be drawn and leaves them out.
  void build(const lens_flare_def& flare, const flare_look& look);
  /// Without elements, as a flare of no size.
  void clear();

  int n_spots() const { return n_spots_; }
  int n_rays() const { return n_rays_; }
  /// Element i for a light; false if its colour leaves nothing to draw. Any thread.
  bool place_spot(int i, const flare_light& light, placed_spot& placed) const;
  bool place_rays(int i, const flare_light& light, placed_rays& placed) const;
  /// How far the elements reach from their own middles, in pixels across.
  double reach() const { return reach_; }
  double y_scale() const { return y_scale_; }

 private:
  struct shape_spot {
    spot_kind kind;
    float center;
    int count;
    fix radii[SPOT_MAX_COLORS];
    double colors[SPOT_MAX_COLORS][3];  // after gamma
  };
  struct shape_rays {
    float center;
    double color[3];
    double half_width, taper, reach;
    std::size_t first_pair;
    int n_pairs;
  };

  void add_spot(const lens_spot& spot);
  void add_rays(const lens_rays& rays, const flare_look& look);
  double light_of(float component) const;
  void color_at(const double (&light)[3], const float* color, const float* rays_color, fix (&result)[3]) const;

  int n_spots_ = 0, n_rays_ = 0;
  shape_spot spots_[LENS_FLARE_MAX_SPOTS] = {};
  shape_rays rays_[LENS_FLARE_MAX_RAYS] = {};
  std::vector<ray_pair> pairs_;
  double reach_ = 0;
  double exponent_ = 1, scale_ = 1, y_scale_ = 1;
  fix saturation_ = FIX_ONE;
  float normal_x_[3] = {}, normal_y_[3] = {};
};

/// The engine's: flares are drawn one after the other.
flare_shape& get_flare_shape();
light_list& get_flare_lights();

/// Norm coordinates, as fractions, in pixels of the view; y falls there.
struct pixel_point {
  double x, y;
};
pixel_point view_point(double norm_x, double norm_y);

/// Entry `type` of a list; one out of range is reported and gives the first. Null for an empty list.
const lens_flare_def* flare_of_type(const flare_list& list, int type);

}  // namespace tessaron
