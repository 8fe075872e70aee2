// What the image operators share: amounts, the plan of a blur and the render's state at reduced resolution.
// A plane holds temp_raster_info.width x height signed 16-bit samples of the view, 4096 for 1.0.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/fixed.h"

namespace tessaron {

/// Blur amount to fix pixels: 1.0 is an eighth of the frame's width; amounts beyond 64.0 count as 64.0.
fix amount_to_fix_pixels(fix value);

/// Whole pixels that an amount in fix pixels reaches; 0 for none and below.
int whole_pixels(fix amount);

/// A vertical amount in rows of the frame: on pixels that are not square, a blur as tall as it is wide.
fix correct_pixel_aspect(fix y_amount);

/// The value of the long image that stands for an input of exactly 1.0, after blur_plane.
extern std::int32_t long_image_one;

/// What long_to_plane multiplies by for a plane at `scale` (4096 for 1.0), after a blur that left `one`.
static inline float plane_factor(fix scale, std::int32_t one) {
  return (float(scale) / 4096.0f) / (float(one) / 4096.0f);
}
static inline float plane_factor(fix scale = FIX_ONE) { return plane_factor(scale, long_image_one); }

/// What every operator passes to blur_plane: samples beyond an edge mirror.
constexpr int blur_edge_mode = 1;
/// Edge mode in which samples beyond an edge are 0.
constexpr int ZERO_EDGES = 0;

/// Bits that the sum for a white image may have; the one left below the sign is headroom for samples above white.
constexpr int blur_sum_bits = 30;

// -------------------------------------------------------------------------------------------------
// The plan of a blur: up to three box filters in each direction.

constexpr int MAX_BOX_PASSES = 3;

/// One box filter. Sums are not normalised; with two radii they are blended at the scale of the larger box.
struct box_pass {
  int radius_low, radius_high;  // samples to either side
  int pre_shift;                // bits that every sample loses before it is summed
  float low_weight;             // weight of the smaller box's sum; the larger one's is pass_table::frac
};

/// The passes of one direction, in order.
struct pass_table {
  int count = 0;
  bool subpixel = false;
  float frac = 0;
  box_pass pass[MAX_BOX_PASSES] = {};

  /// Whether pass i sums two boxes and blends them.
  bool blends(int i) const { return subpixel && pass[i].radius_high != pass[i].radius_low; }
};

/// Divides an amount (fix samples) among box filters over lines of `size` samples. `running_scale` is what stands
/// for 1.0 before the passes and, on return, after them.
pass_table make_pass_table(fix amount, int size, int passes, bool subpixel, std::int32_t& running_scale);

/// A blur as blur_plane runs it. A direction without an amount has a table without passes.
struct blur_plan {
  pass_table across, down;
  int edge_mode;
  bool field_mode;   // even and odd rows are two images
  std::int32_t one;  // what stands for 1.0 in the end
};
blur_plan plan_blur(fix x_amount, fix y_amount, int edge_mode, int passes, bool subpixel, bool field_mode, int width,
                    int height);

/// The calling worker's share of `total` pieces of work, as even as can be.
struct worker_share {
  int first, end;
};
worker_share share_of(int total);

/// The calling worker's share of a loop over `total` samples, in whole cache lines.
struct plane_slice {
  std::int64_t first, count;
};
plane_slice slice_of_plane(std::int64_t total);
/// The same for a plane of the view's size.
plane_slice slice_of_plane();

/// Working memory of the plane loops, on a cache line. Kept from call to call; a later call may move it. Main thread
/// only.
std::byte* plane_scratch(std::size_t bytes);

// -------------------------------------------------------------------------------------------------

/// Brackets a stretch of work on an image reduced by 2^n: the view, the frame and what coordinates are made from
/// have the reduced size in between. Planes keep their places; those of the view's size hold more than is used.
/// A second bracket inside the first is fatal; so is leaving without having entered.
void enter_reduced_resolution(int n);
void leave_reduced_resolution();

}  // namespace tessaron
