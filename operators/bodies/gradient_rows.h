// Differences of neighbouring samples of the long image, along a row and across rows.
//
// Samples are converted as they are read, so that no pass over the image is needed for it.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "evaluator/frame.h"
#include "evaluator/temp_images.h"
#include "operators/planes.h"

#ifndef TESSARON_LEVEL
#error "row loops are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int ABORT_ROWS = 16;
constexpr fix SLOPE_LIMIT = 0x7fff;  // of what a plane holds

/// Nearest integer, halves to even; one instruction. For values that a fix holds.
inline fix nearest_within(float v) {
#ifdef __clang__
  return fix(__builtin_lrintf(v));
#else
  return __builtin_irintf(v);
#endif
}

/// The same for any value; wraps beyond 32 bits. Adding 2^52 + 2^51 leaves the integer at the bottom of the
/// mantissa.
inline fix nearest(double v) {
  const double shifted = v + 6755399441055744.0;
  std::uint64_t bits;
  __builtin_memcpy(&bits, &shifted, sizeof bits);
  return fix(std::uint32_t(bits));
}

inline std::int16_t limited_sample(fix v) { return std::int16_t(fix_clamp(v, -SLOPE_LIMIT, SLOPE_LIMIT)); }

// What the long image's samples count as.

/// Multiplied and rounded to whole steps of fix.
struct normalised_sample {
  float factor;
  fix operator()(std::int32_t v) const { return nearest_within(float(v) * factor); }
};
/// As they are: all the precision that the blur left in them.
struct raw_sample {
  float operator()(std::int32_t v) const { return float(v); }
};

/// The rows that the slopes of one row are taken from.
struct slope_row {
  const std::int32_t *row, *above, *below;
  int width;
  /// A difference counts dy doubled this often and halved once: 1, or 0 where rows are the lines of a field, on pixels
  /// about twice as tall as wide. One more at the first and the last row, whose difference is one-sided.
  int dy_bits;

  slope_row(const std::int32_t* samples, int width, int height, int y)
      : row(samples + std::int64_t(y) * width),
        above(y > 0 ? row - width : row),
        below(y < height - 1 ? row + width : row),
        width(width),
        dy_bits((display_dims.pixel_aspect_wide ? 0 : 1) + (y == 0 || y == height - 1 ? 1 : 0)) {}
};

inline fix difference(fix a, fix b) { return wrap_sub(a, b); }
inline float difference(float a, float b) { return a - b; }
inline fix doubled(fix v) { return wrap_shl(v, 1); }
inline float doubled(float v) { return 2.0f * v; }

/// Calls f(x, dx, dy) for `count` columns from x0 on, where dx and dy are differences of samples over two pixels; dx at
/// the first and the last column is the one-sided difference, doubled. dy has no gain yet.
template <class SAMPLE, class F>
inline void each_difference(const slope_row& r, SAMPLE sample, int x0, int count, F f) {
  const std::int32_t *row = r.row, *above = r.above, *below = r.below;
  const int last = r.width - 1, end = x0 + count;
  const auto one_sided = [&](int x, int left, int right) {
    f(x, doubled(difference(sample(row[right]), sample(row[left]))), difference(sample(above[x]), sample(below[x])));
  };
  if (x0 == 0 && count > 0) one_sided(0, 0, last > 0 ? 1 : 0);
  const int inner = x0 > 0 ? x0 : 1, inner_end = end < last ? end : last;
#pragma GCC ivdep
  for (int x = inner; x < inner_end; ++x)
    f(x, difference(sample(row[x + 1]), sample(row[x - 1])), difference(sample(above[x]), sample(below[x])));
  if (end > last && last > 0) one_sided(last, last - 1, last);
}

/// The slopes of a normalised image as planes hold them: whole steps, held to +-32767. `f` as above.
template <class F>
inline void each_slope(const slope_row& r, float factor, int x0, int count, F f) {
  const int double_dy = r.dy_bits;
  each_difference(r, normalised_sample{factor}, x0, count, [=](int x, fix dx, fix dy) {
    f(x, limited_sample(dx), limited_sample(wrap_shl(dy, double_dy) >> 1));
  });
}

/// The slopes of the image as the blur left it, in its own units, neither rounded nor limited.
template <class F>
inline void each_raw_slope(const slope_row& r, int x0, int count, F f) {
  const float gain = 0.5f * float(1 << r.dy_bits);
  each_difference(r, raw_sample{}, x0, count, [=](int x, float dx, float dy) { f(x, dx, dy * gain); });
}

}  // namespace

/// A plane of the view's size, blurred, into the long image: equal amounts in both directions, three passes. A plane
/// without a blur goes there all the same.
void blur_for_gradient(const std::int16_t* plane, fix pre_blur, bool subpixel);

}  // namespace tessaron::TESSARON_LEVEL
