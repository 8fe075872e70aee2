// grad_direction and grad_in_direction: which way an image rises, and how much it rises along a way. Both read the
// blurred image in the blur's own units, not rounded to steps of fix: a slope that is faint after a wide blur still
// points somewhere.
#include "evaluator/kernels.h"
#include "evaluator/pixel_loop.h"
#include "operators/bodies/gradient.h"
#include "operators/bodies/gradient_rows.h"
#include "operators/operators.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE_ARG = 0;
constexpr fix TURN_MASK = FIX_ONE - 1;

struct {
  const std::int32_t* samples;
  int width, height;
  std::int16_t* plane;
  float one;  // what stands for 1.0 in samples
} job;

/// Angle of (x, y) as a fraction of a turn in fix steps, from 0 to 4096; 0 for (0, 0). Within a hundredth of a step.
inline float turn_of(float x, float y) {
  const float ax = __builtin_fabsf(x), ay = __builtin_fabsf(y);
  const float large = ax > ay ? ax : ay, small = ax > ay ? ay : ax;
  const float t = small / (large + float(large == 0));  // a sum: a choice would keep the loop scalar
  const float t2 = t * t;
  // Arc tangent on 0..1, 4096 / (2 pi) of it.
  const float odd =
      0.99997726f +
      t2 * (-0.33262347f + t2 * (0.19354346f + t2 * (-0.11643287f + t2 * (0.05265332f - t2 * 0.0117212f))));
  const float eighth = 651.8986469f * (t * odd);
  const float quarter = (ay > ax ? 1024.0f : 0.0f) + (ay > ax ? -1.0f : 1.0f) * eighth;
  const float half = (x < 0 ? 2048.0f : 0.0f) + (x < 0 ? -1.0f : 1.0f) * quarter;
  return (y < 0 ? 4096.0f : 0.0f) + (y < 0 ? -1.0f : 1.0f) * half;
}

/// One stretch of the plane under way.
struct stretch {
  slope_row row;
  int x0, width;
  std::int16_t* out;  // of column 0

  stretch(std::int64_t offset, int width)
      : row(job.samples, job.width, job.height, int(offset / job.width)),
        x0(int(offset % job.width)),
        width(width),
        out(job.plane + offset - x0) {}
};

template <bool UNIFORM>
void directions(const stretch& s, const fix* offsets) {
  const sample_source<UNIFORM> offset{offsets, *offsets};
  std::int16_t* out = s.out;
  const int x0 = s.x0;
  each_raw_slope(s.row, x0, s.width, [=](int x, float dx, float dy) {
    const fix turn = fix(turn_of(dx, dy) + 0.5f);
    out[x] = std::int16_t(wrap_sub(turn, offset[x - x0]) & TURN_MASK);
  });
}

template <bool UNIFORM>
void slopes_along(const stretch& s, const fix* xs, const fix* ys) {
  const sample_source<UNIFORM> ux{xs, *xs}, uy{ys, *ys};
  std::int16_t* out = s.out;
  const int x0 = s.x0;
  const float per_one = 1.0f / job.one;
  each_raw_slope(s.row, x0, s.width, [=](int x, float dx, float dy) {
    const float slope = dx * float(ux[x - x0]) + dy * float(uy[x - x0]);
    out[x] = limited_sample(nearest(slope * per_one));
  });
}

void direction_sink(node& root, std::int64_t offset, int width) {
  constexpr int OFFSET_ARG = 2;
  const stretch s(offset, width);
  const fix* offsets = root.arg_rows[OFFSET_ARG][0];
  if (uniform(root, OFFSET_ARG))
    directions<true>(s, offsets);
  else
    directions<false>(s, offsets);
}

void along_sink(node& root, std::int64_t offset, int width) {
  constexpr int DIRECTION_ARG = 1;
  const stretch s(offset, width);
  const fix *xs = root.arg_rows[DIRECTION_ARG][0], *ys = root.arg_rows[DIRECTION_ARG][1];
  if (uniform(root, DIRECTION_ARG))
    slopes_along<true>(s, xs, ys);
  else
    slopes_along<false>(s, xs, ys);
}

// The remaining argument may differ from pixel to pixel, so each element ends in a pixel loop of its own.
void each_element(node& n, int pre_blur_arg, int subpixel_arg, row_sink_fn sink) {
  check_image_planes(n, n.elnum);
  const fix pre_blur = setting_value(n, pre_blur_arg);
  const bool subpixel = setting_value(n, subpixel_arg) > 0;
  fetch_image_arg(n, IMAGE_ARG, n.images);
  for (int e = 0; e < n.elnum && !abort_pending(); ++e) {
    blur_for_gradient(n.images[e], pre_blur, subpixel);
    if (abort_pending()) return;
    job = {current_long_image(), temp_raster_info.width, temp_raster_info.height, n.images[e], float(long_image_one)};
    eval_node_tree_pixel_loop(&n, sink, 1, 1);
  }
}

}  // namespace

// The angle of grad's vector less `offset`, in revolutions from 0 to 1. Where an image is flat the angle counts as 0.
void grad_direction_image(node& n) { each_element(n, 1, 3, direction_sink); }

// The product of grad's vector and `direction`, whose length thus scales the result.
void grad_in_direction_image(node& n) { each_element(n, 2, 3, along_sink); }

}  // namespace tessaron::TESSARON_LEVEL
