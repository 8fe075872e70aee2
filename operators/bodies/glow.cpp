// glow: the parts of an image above a threshold are blurred and laid back over it like light, so that bright things
// seem to shine into what is around them. Each channel has a width and a brightness of its own; without the source
// the glow alone remains.
#include "operators/bodies/glow.h"

#include <cmath>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/glow_parts.h"
#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int THRESHOLD = 1, WIDTH_XY = 2, WIDTH = 3, BRIGHTNESS = 4, SCALE_SOURCE = 5, SUBPIXEL = 6;
constexpr int PASSES = 3;

// --- the bright parts ------------------------------------------------------------------------------------

/// A colour keeps its hue; its amount is what its channels have above the thresholds.
void forked_threshold_colours() {
  const plane_slice slice = slice_of_plane();
  const std::int16_t* __restrict red = threshold_job.source[0] + slice.first;
  const std::int16_t* __restrict green = threshold_job.source[1] + slice.first;
  const std::int16_t* __restrict blue = threshold_job.source[2] + slice.first;
  std::int16_t* __restrict red_light = threshold_job.dest[0] + slice.first;
  std::int16_t* __restrict green_light = threshold_job.dest[1] + slice.first;
  std::int16_t* __restrict blue_light = threshold_job.dest[2] + slice.first;
  const fix t0 = threshold_job.threshold[0], t1 = threshold_job.threshold[1], t2 = threshold_job.threshold[2];
  const fix stretch = threshold_job.stretch;
  // In blocks, so that the loop over floats holds nothing narrower and is vectorised.
  constexpr int BLOCK = 64;
  fix counted[BLOCK], sums[BLOCK], q[BLOCK];
  for (std::int64_t at = 0; at < slice.count; at += BLOCK) {
    const int n = slice.count - at < BLOCK ? int(slice.count - at) : BLOCK;
    for (int i = 0; i < n; ++i) {
      const fix r = red[at + i], g = green[at + i], b = blue[at + i];
      const fix excess = wrap_add(wrap_add(wrap_sub(r, t0) & -fix(r > t0), wrap_sub(g, t1) & -fix(g > t1)),
                                  wrap_sub(b, t2) & -fix(b > t2));
      const fix sum = fix_max(r, 0) + fix_max(g, 0) + fix_max(b, 0);
      // Without any excess or light the quotient is 0.
      counted[i] = wrap_mul(excess, stretch) & -fix(excess > 0) & -fix(sum > 0);
      sums[i] = sum + fix(sum == 0);
    }
    for (int i = 0; i < n; ++i) q[i] = short_quotient(counted[i], sums[i]);
#pragma GCC ivdep
    for (int i = 0; i < n; ++i) {
      red_light[at + i] = plane_sample(fix_mul(red[at + i], q[i]));
      green_light[at + i] = plane_sample(fix_mul(green[at + i], q[i]));
      blue_light[at + i] = plane_sample(fix_mul(blue[at + i], q[i]));
    }
  }
}

}  // namespace

void threshold_planes(std::int16_t* const* dest, const std::int16_t* const* source, const fix* t) {
  if (t[0] == 0 && t[1] == 0 && t[2] == 0) {
    for (int c = 0; c < CHANNELS; ++c) copy_plane(dest[c], source[c]);
    return;
  }
  const fix stretch = threshold_stretch(fix_min(t[0], fix_min(t[1], t[2])));
  threshold_job = {{dest[0], dest[1], dest[2]}, {source[0], source[1], source[2]}, {t[0], t[1], t[2]}, stretch};
  fork_processes(forked_threshold_colours);
}

namespace {

// --- light over the image --------------------------------------------------------------------------------

struct {
  std::int16_t* image;
  const std::int16_t* light;
  double scale_source;  // 1.0: as it is
  fix brightness;
} lay_job;

template <bool SCALED>
void forked_lay_light() {
  const plane_slice slice = slice_of_plane();
  std::int16_t* __restrict image = lay_job.image + slice.first;
  const std::int16_t* __restrict light = lay_job.light + slice.first;
  const fix brightness = lay_job.brightness;
  const double scale = lay_job.scale_source;
  for (std::int64_t i = 0; i < slice.count; ++i) {
    const fix sample = SCALED ? scaled_sample(image[i], scale) : image[i];
    const std::int16_t lit = screened(sample, fix_mul(light[i], brightness));
    image[i] = light[i] > 0 ? lit : std::int16_t(sample);
  }
}

/// scale_plane() of the image, and the light laid over it.
void lay_light(std::int16_t* image, const std::int16_t* light, fix scale_source, fix brightness) {
  lay_job = {image, light, scale_source / 4096.0, brightness};
  fork_processes(scale_source == FIX_ONE ? forked_lay_light<false> : forked_lay_light<true>);
}

/// One channel, whose bright parts are in `light`.
void glow_channel(const node& n, int channel, std::int16_t* image, std::int16_t* light) {
  const glow_radii radii = glow_radii_of(n, channel);
  const fix brightness = n.args[BRIGHTNESS]->const_vals[channel];
  const fix scale_source = n.args[SCALE_SOURCE]->const_vals[0];
  const bool subpixel = n.args[SUBPIXEL]->const_vals[0] > 0;
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  const auto blur_to = [&](std::int16_t* dest, fix scale) {
    blur_plane_to_plane(dest, light, scale, radii.x, radii.y, blur_edge_mode, PASSES, subpixel, false, width, height);
  };
  const bool any_width = radii.x > 0 || radii.y > 0;
  if (scale_source == 0) {
    if (any_width && brightness != 0) return blur_to(image, brightness);
    copy_plane(image, light);
    scale_plane(image, brightness);
  } else if (brightness == 0) {
    scale_plane(image, scale_source);
  } else {
    if (any_width) blur_to(light, FIX_ONE);
    if (!abort_pending()) lay_light(image, light, scale_source, brightness);
  }
}

}  // namespace

glow_radii glow_radii_of(const node& n, int channel) {
  const float width = float(amount_to_fix_pixels(n.args[WIDTH]->const_vals[channel]));
  const auto part = [width](fix factor) {
    constexpr float LARGEST = 2147483520.0f;  // the largest float that a fix holds
    const float amount = std::round(width * float(factor) / 4096.0f);
    return fix(amount < -LARGEST ? -LARGEST : amount > LARGEST ? LARGEST : amount);
  };
  const fix* factors = n.args[WIDTH_XY]->const_vals;
  return {part(factors[0]), part(factors[1])};
}

void glow(node& n) {
  check_image_planes(n, 2 * n.elnum);
  std::int16_t* const* const light = n.images + n.elnum;
  const fix* threshold = n.args[THRESHOLD]->const_vals;
  settle_args(n, {THRESHOLD, WIDTH_XY, WIDTH, BRIGHTNESS, SCALE_SOURCE, SUBPIXEL});
  fetch_colours(n);
  if (n.elnum == CHANNELS)
    threshold_planes(light, n.images, threshold);
  else
    threshold_plane(light[0], n.images[0], threshold[0]);
  for (int c = 0; c < n.elnum && !abort_pending(); ++c) glow_channel(n, c, n.images[c], light[c]);
}

}  // namespace tessaron::TESSARON_LEVEL
