// blur, blur_channels, masked_blur, sharpen, band_pass.
#include "operators/bodies/blur.h"

#include <cmath>

#include "operators/bodies/blur_parts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE = 0;
/// What functions without arguments for it do.
constexpr blur_manner SMOOTH = {blur_edge_mode, MAX_BOX_PASSES, false};

/// The scale of element c, which a function keeps at 1.0 for alpha or for y if its scale doesn't hold one.
fix scale_of(const node& n, int scale_arg, int c, int alpha_arg, int y_arg) {
  if (c == 3 && n.args[alpha_arg]->elnum < 4) return FIX_ONE;
  if (c == 1 && n.elnum == 2 && n.args[y_arg]->elnum == 1) return FIX_ONE;
  return n.args[scale_arg]->const_vals[c];
}

/// The nearest whole number of fix pixels, halves away from zero, without its sign.
fix magnitude_of_part(fix total, fix part) {
  constexpr float LARGEST = 2147483520.0f;  // the largest float that a fix holds
  const float amount = std::fabs(std::round(float(total) * float(part) / 4096.0f));
  return fix(amount < LARGEST ? amount : LARGEST);
}

}  // namespace

blur_radii blur_radii_of(const node& amount) {
  return {amount_to_fix_pixels(amount.const_vals[0]), amount_to_fix_pixels(amount.const_vals[1])};
}

blur_radii channel_radii(blur_radii total, fix channel_amount) {
  return {magnitude_of_part(total.x, channel_amount), magnitude_of_part(total.y, channel_amount)};
}

void blur(node& n) {
  constexpr int AMOUNT = 1, FILTER_SHAPE = 2, SCALE = 3, SUBPIXEL = 4;
  check_image_planes(n, n.elnum);
  settle_args(n, {AMOUNT, FILTER_SHAPE, SCALE, SUBPIXEL});
  fetch_image_arg(n, IMAGE, n.images);
  const blur_radii radii = blur_radii_of(*n.args[AMOUNT]);
  const blur_manner manner = {blur_edge_mode, passes_of_shape(*n.args[FILTER_SHAPE]),
                              n.args[SUBPIXEL]->const_vals[0] > 0};
  for (int c = 0; c < n.elnum && !abort_pending(); ++c)
    blur_to_plane(n.images[c], n.images[c], radii, scale_of(n, SCALE, c, SCALE, SCALE), manner);
}

void blur_channels(node& n) {
  constexpr int AMOUNT = 1, CHANNEL_AMOUNT = 2, FILTER_SHAPE = 3, SCALE = 4, SUBPIXEL = 5;
  check_image_planes(n, n.elnum);
  settle_args(n, {AMOUNT, CHANNEL_AMOUNT, FILTER_SHAPE, SCALE, SUBPIXEL});
  fetch_image_arg(n, IMAGE, n.images);
  for (int c = n.args[IMAGE]->elnum; c < n.elnum; ++c) copy_plane(n.images[c], n.images[c - 1]);
  const blur_radii total = blur_radii_of(*n.args[AMOUNT]);
  const blur_manner manner = {blur_edge_mode, passes_of_shape(*n.args[FILTER_SHAPE]),
                              n.args[SUBPIXEL]->const_vals[0] > 0};
  for (int c = 0; c < n.elnum && !abort_pending(); ++c)
    blur_to_plane(n.images[c], n.images[c], channel_radii(total, n.args[CHANNEL_AMOUNT]->const_vals[c]),
                  scale_of(n, SCALE, c, CHANNEL_AMOUNT, FILTER_SHAPE), manner);
}

void masked_blur(node& n) {
  constexpr int MASK = 1, AMOUNT = 2, FILTER_SHAPE = 3, SUBPIXEL = 4;
  constexpr fix NEARLY_ONE = FIX_ONE - 1;
  check_image_planes(n, n.elnum + 3);
  std::int16_t* const work = n.images[n.elnum];
  std::int16_t* mask = n.images[n.elnum + 1];
  std::int16_t* const blurred_mask = n.images[n.elnum + 2];
  settle_args(n, {AMOUNT, FILTER_SHAPE, SUBPIXEL});
  fetch_image_arg(n, IMAGE, n.images);
  fetch_image_arg(n, MASK, &mask);
  const blur_radii radii = blur_radii_of(*n.args[AMOUNT]);
  const blur_manner manner = {ZERO_EDGES, passes_of_shape(*n.args[FILTER_SHAPE]), n.args[SUBPIXEL]->const_vals[0] > 0};
  if (abort_pending()) return;
  blur_to_plane(blurred_mask, mask, radii, FIX_ONE, manner);
  for (int c = 0; c < n.elnum && !abort_pending(); ++c) {
    std::int16_t* const plane = n.images[c];
    for_plane_slices([=](std::int64_t first, std::int64_t end) {
      for (std::int64_t i = first; i < end; ++i) {
        const fix m = mask[i], v = plane[i];
        work[i] = std::int16_t(m >= NEARLY_ONE ? v : m < 1 ? 0 : fix_mul(v, m));
      }
    });
    if (abort_pending()) return;
    blur_to_plane(work, work, radii, FIX_ONE, manner);
    if (abort_pending()) return;
    for_plane_slices([=](std::int64_t first, std::int64_t end) {
      for (std::int64_t i = first; i < end; ++i) {
        const fix m = mask[i], b = blurred_mask[i], before = plane[i];
        const bool covered_in_part = (b > 0) & (b < NEARLY_ONE);
        const fix v = covered_in_part ? truncated_quotient(wrap_shl(work[i], FIX_BITS), b > 0 ? b : 1) : work[i];
        const fix mixed = m < NEARLY_ONE ? wrap_add(before, fix_mul(wrap_sub(v, before), m)) : v;
        plane[i] = m > 0 ? plane_sample(mixed) : std::int16_t(before);
      }
    });
  }
}

void sharpen(node& n) {
  constexpr int SCALE = 1, GRANULARITY = 2;
  check_image_planes(n, n.elnum + 1);
  settle_args(n, {SCALE, GRANULARITY});
  fetch_image_arg(n, IMAGE, n.images);
  const fix granularity = amount_to_fix_pixels(n.args[GRANULARITY]->const_vals[0]);
  const fix scale = n.args[SCALE]->const_vals[0];
  if (granularity <= 0 || scale == 0) return;
  std::int16_t* const soft = n.images[n.elnum];
  for (int c = 0; c < n.elnum && !abort_pending(); ++c) {
    std::int16_t* const plane = n.images[c];
    blur_to_plane(soft, plane, {granularity, granularity}, FIX_ONE, SMOOTH);
    if (abort_pending()) return;
    for_plane_slices([=](std::int64_t first, std::int64_t end) {
      for (std::int64_t i = first; i < end; ++i)
        plane[i] = std::int16_t(std::uint16_t(wrap_add(plane[i], fix_mul(wrap_sub(plane[i], soft[i]), scale))));
    });
  }
}

void band_pass(node& n) {
  constexpr int BLUR_AMOUNT1 = 1, BLUR_AMOUNT2 = 2, SCALE = 3;
  constexpr fix MID_GREY = FIX_ONE / 2;
  check_image_planes(n, n.elnum + 1);
  settle_args(n, {BLUR_AMOUNT1, BLUR_AMOUNT2, SCALE});
  fetch_image_arg(n, IMAGE, n.images);
  const blur_radii radii1 = blur_radii_of(*n.args[BLUR_AMOUNT1]), radii2 = blur_radii_of(*n.args[BLUR_AMOUNT2]);
  const fix scale = wrap_shl(n.args[SCALE]->const_vals[0], 1);
  std::int16_t* const softer = n.images[n.elnum];
  for (int c = 0; c < n.elnum && !abort_pending(); ++c) {
    std::int16_t* const plane = n.images[c];
    blur_to_plane(softer, plane, radii2, FIX_ONE, SMOOTH);
    if (abort_pending()) return;
    blur_to_plane(plane, plane, radii1, FIX_ONE, SMOOTH);
    if (abort_pending()) return;
    if (scale == FIX_ONE)
      for_plane_slices([=](std::int64_t first, std::int64_t end) {
        for (std::int64_t i = first; i < end; ++i)
          plane[i] = std::int16_t(std::uint16_t(plane[i] - softer[i] + MID_GREY));
      });
    else
      for_plane_slices([=](std::int64_t first, std::int64_t end) {
        for (std::int64_t i = first; i < end; ++i)
          plane[i] = plane_sample(wrap_add(fix_mul(plane[i] - softer[i], scale), MID_GREY));
      });
  }
}

}  // namespace tessaron::TESSARON_LEVEL
