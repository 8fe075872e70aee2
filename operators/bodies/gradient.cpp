// grad and edge_detect, and the step that all gradients share: an image is blurred, scaled, and the samples on either
// side of each pixel are subtracted. The difference goes over two pixels and is not halved.
#include "operators/bodies/gradient.h"

#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/gradient_rows.h"
#include "operators/bodies/planes.h"
#include "operators/operators.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE_ARG = 0, PRE_BLUR_ARG = 1, SCALE_ARG = 2, SUBPIXEL_ARG = 3;
constexpr int PASSES = 3;

struct {
  const std::int32_t* samples;
  int width, height;
  float factor;
  std::int16_t* dx;
  std::int16_t* dy;
} job;

/// Beyond this scale a plane's largest samples would leave 32 bits; every step of one is out of a plane's reach before.
constexpr fix LARGEST_SCALE = 0xfffffff;

/// The long image as it stands, at `scale`; the factor also takes out the blur's own.
void fork_over_rows(fork_body body, fix scale, std::int16_t* dx, std::int16_t* dy) {
  scale = fix_clamp(scale, -LARGEST_SCALE, LARGEST_SCALE);
  const float factor = (float(scale) / 4096.0f) / (float(long_image_one) / 4096.0f);
  job = {current_long_image(), temp_raster_info.width, temp_raster_info.height, factor, dx, dy};
  fork_processes(body);
}

template <class ROW>
void for_own_rows(ROW row) {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  for (int y = first; y < first + count; ++y) {
    if (y % ABORT_ROWS == 0 && check_abort()) return;
    row(slope_row(job.samples, job.width, job.height, y), std::int64_t(y) * job.width);
  }
}

void forked_slopes() {
  for_own_rows([](const slope_row& r, std::int64_t at) {
    std::int16_t *dx_row = job.dx + at, *dy_row = job.dy + at;
    each_slope(r, job.factor, 0, r.width, [=](int x, std::int16_t dx, std::int16_t dy) {
      dx_row[x] = dx;
      dy_row[x] = dy;
    });
  });
}

void forked_steepness() {
  for_own_rows([](const slope_row& r, std::int64_t at) {
    std::int16_t* out = job.dx + at;
    each_slope(r, job.factor, 0, r.width, [=](int x, float dx, float dy) {
      out[x] = limited_sample(fix(__builtin_sqrtf(dx * dx + dy * dy) + 0.5f));
    });
  });
}

}  // namespace

void blur_for_gradient(const std::int16_t* plane, fix pre_blur, bool subpixel) {
  const fix amount = amount_to_fix_pixels(pre_blur);
  blur_plane(plane, amount, amount, blur_edge_mode, PASSES, subpixel, false, temp_raster_info.width,
             temp_raster_info.height);
}

void blurred_gradient(const std::int16_t* source, std::int16_t* dx_plane, std::int16_t* dy_plane, fix pre_blur,
                      fix scale, bool subpixel) {
  if (scale == 0) {
    clear_plane(dx_plane);
    clear_plane(dy_plane);
    return;
  }
  blur_for_gradient(source, pre_blur, subpixel);
  if (abort_pending()) return;
  fork_over_rows(forked_slopes, scale, dx_plane, dy_plane);
}

void grad_image(node& n) {
  check_image_planes(n, n.elnum);
  const fix pre_blur = setting_value(n, PRE_BLUR_ARG), scale = setting_value(n, SCALE_ARG);
  const bool subpixel = setting_value(n, SUBPIXEL_ARG) > 0;
  fetch_image_arg(n, IMAGE_ARG, n.images);
  if (abort_pending()) return;
  blurred_gradient(n.images[0], n.images[0], n.images[1], pre_blur, scale, subpixel);
}

// How steep each element is, whichever way it rises: the length of grad's vector.
void edge_detect_image(node& n) {
  check_image_planes(n, n.elnum);
  const fix pre_blur = setting_value(n, PRE_BLUR_ARG), scale = setting_value(n, SCALE_ARG);
  const bool subpixel = setting_value(n, SUBPIXEL_ARG) > 0;
  fetch_image_arg(n, IMAGE_ARG, n.images);
  for (int e = 0; e < n.elnum && !abort_pending(); ++e) {
    if (scale == 0) {
      clear_plane(n.images[e]);
      continue;
    }
    blur_for_gradient(n.images[e], pre_blur, subpixel);
    if (abort_pending()) return;
    fork_over_rows(forked_steepness, scale, n.images[e], nullptr);
  }
}

}  // namespace tessaron::TESSARON_LEVEL
