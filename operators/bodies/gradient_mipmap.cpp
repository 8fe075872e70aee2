// grad_for_mipmap: how coarse a level a warp has to read. Where coordinates change by many source pixels from one
// pixel to the next, a sample has to stand for all of them; the result is the level that does, in x and y, as
// warp_filter takes it: half the binary logarithm of the change, so that 0.5 stands for every second pixel.
//
// Steps are taken over two pixels to either side and the smaller side counts: a seam, where coordinates jump, is seen
// from the side that does not cross it.
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/gradient.h"
#include "operators/bodies/gradient_rows.h"
#include "operators/operators.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COORDS_ARG = 0, SCALE_ARG = 1, RELATIVE_ARG = 2;
constexpr int SPAN = 2;  // pixels

struct {
  const std::int32_t* samples;
  std::int16_t* plane;
  int width, height;
  float own_x, own_y;   // what the pixels' own coordinates change over a span, for relative coordinates
  float source_pixels;  // per unit of change over a span, caller's scale included
} job;

/// Half the binary logarithm of v as fix, 0 up to 1.0. The exponent with the mantissa behind it: exact at powers of
/// two and straight in between.
inline std::int16_t half_log2(float v) {
  std::uint32_t bits;
  __builtin_memcpy(&bits, &v, sizeof bits);
  const fix level = (fix(bits >> 11) - (127 << FIX_BITS)) >> 1;
  return std::int16_t(level < 0 ? 0 : level);
}

/// Two positions whose difference stands for a span; `gain` where they are closer together.
struct pair {
  int from, to;
  float gain;
};
/// On the low side (-1) or the high side (1) of position i in 0..n-1; the other side where one is missing, and all
/// there is where both are.
inline pair pair_beside(int i, int n, int side) {
  const bool low = i >= SPAN, high = i + SPAN < n;
  if (low && (side < 0 || !high)) return {i - SPAN, i, 1.0f};
  if (high) return {i, i + SPAN, 1.0f};
  return {0, n - 1, n > 1 ? float(SPAN) / float(n - 1) : 0.0f};
}

inline float smaller_step(float a, float b, float own) {
  const float step_a = __builtin_fabsf(a + own), step_b = __builtin_fabsf(b + own);
  return step_a < step_b ? step_a : step_b;
}

void forked_levels() {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  const int width = job.width;
  const float own_x = job.own_x, own_y = job.own_y, source_pixels = job.source_pixels;
  for (int y = first; y < first + count; ++y) {
    if (y % ABORT_ROWS == 0 && check_abort()) return;
    const auto row_at = [](int i) { return job.samples + std::int64_t(i) * job.width; };
    const pair up = pair_beside(y, job.height, -1), down = pair_beside(y, job.height, 1);
    const std::int32_t *row = row_at(y), *up0 = row_at(up.from), *up1 = row_at(up.to), *down0 = row_at(down.from),
                       *down1 = row_at(down.to);
    const float gain = up.gain;
    std::int16_t* out = job.plane + std::int64_t(y) * width;
    const auto level = [=](int x, float left, float right) {
      const float dx = smaller_step(left, right, own_x);
      const float dy = smaller_step(gain * float(up1[x] - up0[x]), gain * float(down1[x] - down0[x]), own_y);
      const float large = dx > dy ? dx : dy, small = dx > dy ? dy : dx;
      out[x] = half_log2((large + 0.5f * small) * source_pixels);
    };
    const auto at_end = [=](int x) {
      const pair left = pair_beside(x, width, -1), right = pair_beside(x, width, 1);
      level(x, left.gain * float(row[left.to] - row[left.from]), right.gain * float(row[right.to] - row[right.from]));
    };
    const int inner = width < 2 * SPAN ? width : SPAN, inner_end = width < 2 * SPAN ? width : width - SPAN;
    for (int x = 0; x < inner; ++x) at_end(x);
#pragma GCC ivdep
    for (int x = inner; x < inner_end; ++x) level(x, float(row[x] - row[x - SPAN]), float(row[x + SPAN] - row[x]));
    for (int x = inner_end; x < width; ++x) at_end(x);
  }
}

}  // namespace

void grad_for_mipmap_image(node& n) {
  check_image_planes(n, n.elnum);
  const float scale = fix_to_float(wrap_abs(setting_value(n, SCALE_ARG)));
  const bool relative = setting_value(n, RELATIVE_ARG) > 0;
  fetch_image_arg(n, COORDS_ARG, n.images);

  // Coordinates go from -1.0 to 1.0 over the frame's width, and over its height by the frame's shape.
  const display_dims_record& d = display_dims;
  const float x_pixels = float(d.full_width) / (2.0f * FIX_ONE);
  const float y_pixels = float(d.full_height) / (2.0f * FIX_ONE * d.xy_aspect * d.pixel_aspect);
  for (int e = 0; e < n.elnum && !abort_pending(); ++e) {
    blur_for_gradient(n.images[e], 0, false);
    if (abort_pending()) return;
    const float pixels = e == 0 ? x_pixels : y_pixels;
    const float own = relative ? SPAN / pixels : 0.0f;
    job = {current_long_image(), n.images[e],          temp_raster_info.width,      temp_raster_info.height,
           e == 0 ? own : 0.0f,  e == 1 ? -own : 0.0f, pixels * scale / float(SPAN)};
    fork_processes(forked_levels);
  }
}

}  // namespace tessaron::TESSARON_LEVEL
