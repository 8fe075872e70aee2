#include "operators/flare_shape.h"

#include <algorithm>
#include <cmath>

#include "base/libm.h"
#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/tables.h"

namespace tessaron {
namespace {

constexpr double PI = 3.14159265358979323846;
constexpr double SMALLEST_GAMMA = 0.0001;
constexpr fix LARGEST_RADIUS = 1 << 29;     // fix pixels; distances between two of them are still a fix
constexpr fix FARTHEST = 1 << 30;           // fix pixels; what lies farther is as far
constexpr double LARGEST_COLOR = 524287.0;  // that a fix can hold
constexpr double LONGEST_RAY = 1000000.0;   // pixels
constexpr int MOST_PAIRS = 32768;           // of rays in one burst
constexpr double FEWEST_TAPERED = 7, LARGEST_TAPER = 0.5, SHORTEST_FOR_TAPER = 0.1;
constexpr double SMALLEST_EXTENT = 1.0 / 4096;  // pixels; a shorter ray is none

/// NaN counts as `low`.
double limited(double v, double low, double high) { return v > low ? std::min(v, high) : low; }

fix fix_pixels(double pixels, fix most) { return fix_from_double(limited(pixels, -most / 4096.0, most / 4096.0)); }

bool nothing_positive(const float (&color)[3]) { return !(color[0] > 0 || color[1] > 0 || color[2] > 0); }

/// The numbers that angles and lengths of rays are made from, from 0 to 1.
class ray_randoms {
 public:
  explicit ray_randoms(std::int32_t seed) : state_(std::uint32_t(seed)) {}
  double next() {
    state_ = (state_ * 4096u + 150889u) % MODULUS;
    return double(state_) / MODULUS;
  }

 private:
  static constexpr std::uint32_t MODULUS = 714025;
  std::uint32_t state_;
};

}  // namespace

void flare_shape::clear() {
  n_spots_ = n_rays_ = 0;
  pairs_.clear();
  reach_ = 0;
}

void flare_shape::build(const lens_flare_def& flare, const flare_look& look) {
  clear();
  exponent_ = 1 / std::max(look.gamma / 4096.0, SMALLEST_GAMMA);
  saturation_ = look.saturation;
  scale_ = look.scale_x / 4096.0 * look.pixels_per_unit;
  if (look.scale_x == 0 || look.scale_y == 0) return;
  y_scale_ = display_dims.pixel_aspect * (double(look.scale_x) / look.scale_y);
  for (int k = 0; k < 3; ++k) {
    // The normals of a hexagon with a corner to the right, 30, 90 and 150 degrees, turned with the rays.
    const double angle = (30 + 60 * k) * PI / 180 + look.rotate / 4096.0 * 2 * PI;
    normal_x_[k] = float(std::cos(angle) / std::cos(PI / 6));
    normal_y_[k] = float(-std::sin(angle) / std::cos(PI / 6));
  }
  for (int i = 0; i < flare.spot_count; ++i) add_spot(*flare.spots[i]);
  for (int i = 0; i < flare.rays_count; ++i) add_rays(*flare.rays[i], look);
}

double flare_shape::light_of(float component) const {
  if (!(component > 0)) return exponent_ == 1 ? limited(component, -LARGEST_COLOR, 0) : 0;  // no root below 0
  return limited(libm_pow(component, exponent_), 0, LARGEST_COLOR);
}

void flare_shape::add_spot(const lens_spot& spot) {
  const bool is_blob = spot.color_count == 1 && !spot.is_hexagon;
  if (spot.color_count < 2 && !is_blob) {
    report(REPORT_ERROR, "lens_flare color_number should be >= 2.");
    return;
  }
  shape_spot& s = spots_[n_spots_];
  s.kind = spot.is_hexagon ? spot_kind::hexagon : is_blob ? spot_kind::blob : spot_kind::disc;
  s.center = spot.center;
  s.count = spot.color_count;
  for (int i = 0; i < s.count; ++i) {
    s.radii[i] = fix_pixels(spot.radii[i] * scale_, LARGEST_RADIUS);
    for (int c = 0; c < 3; ++c) s.colors[i][c] = light_of(spot.colors[i][c]);
    if (i > 0 && s.radii[i] < s.radii[i - 1]) {
      report(REPORT_ERROR, "Flare radii are not in order!");
      return;
    }
  }
  // What ends before the middle covers no pixel.
  if (s.radii[s.count - 1] <= (is_blob ? 0 : -SOFT_EDGE)) return;
  ++n_spots_;
  reach_ = std::max(reach_, (double(s.radii[s.count - 1]) + SOFT_EDGE) / 4096.0);
}

void flare_shape::add_rays(const lens_rays& rays, const flare_look& look) {
  const int n = std::min(rays.ray_number, 2 * MOST_PAIRS) & ~1;
  if (n < 2) return;
  shape_rays& r = rays_[n_rays_];
  const double r0 = limited(rays.radius_range[0] * scale_, -LONGEST_RAY, LONGEST_RAY);
  const double r1 = limited(rays.radius_range[1] * scale_, -LONGEST_RAY, LONGEST_RAY);
  r.center = rays.center;
  for (int c = 0; c < 3; ++c) r.color[c] = light_of(rays.color[c]);
  r.half_width = limited(rays.ray_width / 2 * scale_, 0, LONGEST_RAY);
  r.taper = n >= FEWEST_TAPERED ? limited(3 * r.half_width / std::max(r0, SHORTEST_FOR_TAPER), 0, LARGEST_TAPER) : 0;
  r.reach = std::max(std::fabs(r0), std::fabs(r1));
  r.first_pair = pairs_.size();
  const double step = 2 * PI / n;
  const double half = step * 0.5 * rays.jitter_angles;
  const double turn = (rays.start_angle + look.rotate / 4096.0 * 360) * PI / 180;
  ray_randoms randoms(rays.rand_seed);
  for (int i = 0; i < n / 2; ++i) {
    const double angle = i * step + turn - half + randoms.next() * 2 * half;
    const double length = r0 + randoms.next() * (r1 - r0);
    const double x = length * std::cos(angle), y = length * -std::sin(angle) / y_scale_;
    if (!(std::max(std::fabs(x), std::fabs(y)) >= SMALLEST_EXTENT) || !std::isfinite(x + y)) continue;
    pairs_.push_back({float(x), float(y)});
  }
  r.n_pairs = int(pairs_.size() - r.first_pair);
  if (r.n_pairs == 0 || r.half_width <= 0) return;
  ++n_rays_;
  reach_ = std::max(reach_, r.reach + r.half_width + 2);
}

void flare_shape::color_at(const double (&light)[3], const float* color, const float* rays_color,
                           fix (&result)[3]) const {
  for (int c = 0; c < 3; ++c) {
    double v = light[c] * color[c];
    if (rays_color) v *= rays_color[c];
    result[c] = fix_from_double(limited(v, -LARGEST_COLOR, LARGEST_COLOR));
  }
  const fix s = saturation_;
  if (s == FIX_ONE) return;
  const fix grey = fix_mono(result[0], result[1], result[2]);
  for (fix& c : result) c = s == 0 ? grey : wrap_add(fix_mul(grey, wrap_sub(FIX_ONE, s)), fix_mul(c, s));
}

bool flare_shape::place_spot(int i, const flare_light& light, placed_spot& placed) const {
  const shape_spot& s = spots_[i];
  const auto& color = s.center == 1.0f ? light.hotspot_color : light.other_color;
  if (nothing_positive(color)) return false;
  placed.kind = s.kind;
  placed.x = fix_pixels(light.pivot_x + (light.x - light.pivot_x) * s.center, FARTHEST);
  placed.y = fix_pixels(light.pivot_y + (light.y - light.pivot_y) * s.center, FARTHEST);
  placed.y_scale = y_scale_;
  for (int k = 0; k < 3; ++k) {
    placed.normal_x[k] = normal_x_[k];
    placed.normal_y[k] = normal_y_[k];
  }
  // A knot without light at either end makes the edges soft; a blob has its own way.
  const int edge = s.kind == spot_kind::blob ? 0 : 1;
  placed.n_knots = s.count + 2 * edge;
  for (int k = 0; k < s.count; ++k) {
    fix colors[3];
    color_at(s.colors[k], color, nullptr, colors);
    placed.radius[k + edge] = s.radii[k];
    for (int c = 0; c < 3; ++c) placed.color[k + edge][c] = float(colors[c]);
  }
  if (!edge) return true;
  const int last = placed.n_knots - 1;
  placed.radius[0] = wrap_sub(s.radii[0], SOFT_EDGE);
  placed.radius[last] = wrap_add(s.radii[s.count - 1], SOFT_EDGE);
  for (int c = 0; c < 3; ++c) placed.color[0][c] = placed.color[last][c] = 0;
  for (int k = 0; k < last; ++k)
    for (int c = 0; c < 3; ++c) {
      const fix way = placed.radius[k + 1] - placed.radius[k];
      placed.slope[k][c] = way > 0 ? (placed.color[k + 1][c] - placed.color[k][c]) / float(way) : 0;
    }
  return true;
}

bool flare_shape::place_rays(int i, const flare_light& light, placed_rays& placed) const {
  const shape_rays& r = rays_[i];
  const auto& color = r.center == 1.0f ? light.hotspot_color : light.other_color;
  if (nothing_positive(color) || nothing_positive(light.rays_color)) return false;
  placed.x = fix_pixels(light.pivot_x + (light.x - light.pivot_x) * r.center, FARTHEST) / 4096.0;
  placed.y = fix_pixels(light.pivot_y + (light.y - light.pivot_y) * r.center, FARTHEST) / 4096.0;
  placed.y_scale = y_scale_;
  fix colors[3];
  color_at(r.color, color, light.rays_color, colors);
  for (int c = 0; c < 3; ++c) placed.color[c] = float(colors[c]);
  placed.half_width = float(r.half_width);
  placed.taper = float(r.taper);
  placed.reach = float(r.reach);
  placed.pairs = pairs_.data() + r.first_pair;
  placed.n_pairs = r.n_pairs;
  return true;
}

void light_list::add(const flare_light& light) { lights_.push_back(light); }

pixel_point view_point(double norm_x, double norm_y) {
  const display_dims_record& d = display_dims;
  const double half_width = d.display_width / 2.0;
  return {half_width + norm_x * half_width - d.x_origin_fix / 4096.0 - 0.5,
          d.display_height / 2.0 - norm_y * half_width / d.pixel_aspect - d.y_origin_fix / 4096.0 - 0.5};
}

light_list& get_flare_lights() {
  static light_list lights;
  return lights;
}

flare_shape& get_flare_shape() {
  static flare_shape shape;
  return shape;
}

const lens_flare_def* flare_of_type(const flare_list& list, int type) {
  if (list.count == 0) return nullptr;
  if (type < 0 || type >= list.count) {
    report(REPORT_WARNING, "lens flare type %d is out of bounds: 0 - %d.", type, list.count - 1);
    type = 0;
  }
  return list.entries[type];
}

}  // namespace tessaron
