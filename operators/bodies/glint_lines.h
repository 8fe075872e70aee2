// Rays: light filtered along parallel lines of a plane and laid over another.
//
// Lines are taken in bundles of neighbours, so that sample k of all of them is one row of words: columns lie so
// already, rows are transposed, and a bundle of diagonals is one of columns that moves by a pixel from row to row.
// Beyond the ends of a line it is dark. Light that leaves the picture in one box filter and comes back in the next
// is kept, in dark samples added at both ends, so that a ray looks the same wherever in the picture it begins.
#pragma once

#include <cstddef>
#include <cstdint>

#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "operators/bodies/glint.h"
#include "operators/bodies/glow_parts.h"
#include "operators/bodies/vectors.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int LINES = 32;  // of a bundle
constexpr int LINE_VECTORS = LINES / VECTOR_LANES;
constexpr int ROW_BLOCK = 32;  // samples of rows that are transposed together

/// Sample k of all lines of a bundle.
static inline int_vector* line_vectors(std::int32_t* lines, int k) {
  return reinterpret_cast<int_vector*>(lines + std::ptrdiff_t(k) * LINES);
}

/// Box sums of radius r over n samples of a bundle, each shifted down; samples beyond the ends are 0.
void box_sums(std::int32_t* in, std::int32_t* out, int n, int r, int shift) {
  sum_vector sum[LINE_VECTORS] = {};
  for (int k = 0; k < r && k < n; ++k)
    for (int v = 0; v < LINE_VECTORS; ++v) sum[v] += (sum_vector)line_vectors(in, k)[v];
  for (int k = 0; k < n; ++k) {
    if (k + r < n)
      for (int v = 0; v < LINE_VECTORS; ++v) sum[v] += (sum_vector)line_vectors(in, k + r)[v];
    if (k > r)
      for (int v = 0; v < LINE_VECTORS; ++v) sum[v] -= (sum_vector)line_vectors(in, k - r - 1)[v];
    for (int v = 0; v < LINE_VECTORS; ++v) line_vectors(out, k)[v] = (int_vector)sum[v] >> shift;
  }
}

constinit struct {
  const std::int16_t* light;
  std::int16_t* image;
  int width, height;
  ray_direction direction;
  pass_table filters;
  int padding;   // dark samples at both ends of a line
  fix shift;     // to either side
  float factor;  // from sums to light over the image
  std::byte* memory;
  std::size_t bundle_bytes;  // of one of a worker's two buffers
} ray_job = {};

/// The lines of one direction: `n_lines` of them, those of a bundle from line `first` on reach from position
/// `begin` to `end` - 1.
struct ray_lines {
  int n_lines;

  static ray_lines of_job() {
    const int w = ray_job.width, h = ray_job.height;
    return {ray_job.direction == RAY_ROW ? h : ray_job.direction == RAY_COLUMN ? w : w + h - 1};
  }
  /// Column of line `line` at row k, for lines that cross the rows.
  static int column(int line, int k) {
    switch (ray_job.direction) {
      case RAY_DOWN_RIGHT:
        return line - (ray_job.height - 1) + k;
      case RAY_UP_RIGHT:
        return line - k;
      default:
        return line;
    }
  }
  static int begin(int first) {
    switch (ray_job.direction) {
      case RAY_DOWN_RIGHT:
        return fix_max(0, ray_job.height - LINES - first);
      case RAY_UP_RIGHT:
        return fix_max(0, first - (ray_job.width - 1));
      default:
        return 0;
    }
  }
  static int end(int first) {
    switch (ray_job.direction) {
      case RAY_ROW:
        return ray_job.width;
      case RAY_DOWN_RIGHT:
        return fix_min(ray_job.height, ray_job.width + ray_job.height - 1 - first);
      case RAY_UP_RIGHT:
        return fix_min(ray_job.height, first + LINES);
      default:
        return ray_job.height;
    }
  }
};

/// Part of a bundle that lies in the plane at row k: columns x to x + count - 1 are lines `lane` and so on.
struct bundle_row {
  int x, lane, count;
};
static inline bundle_row row_of_bundle(int first, int k) {
  const int x = ray_lines::column(first, k);
  const int from = fix_max(x, 0), to = fix_min(x + LINES, ray_job.width);
  return {from, from - x, to - from};
}

/// The light of a bundle, positions begin to end - 1, with dark samples at both ends. False: there is none.
bool gather_lines(int first, int begin, int end, std::int32_t* lines) {
  const int padding = ray_job.padding;
  const int_vector dark = {};
  for (int k = 0; k < padding; ++k)
    for (int v = 0; v < LINE_VECTORS; ++v)
      line_vectors(lines, k)[v] = line_vectors(lines, padding + end - begin + k)[v] = dark;
  lines += std::ptrdiff_t(padding) * LINES;
  std::int32_t any = 0;
  if (ray_job.direction == RAY_ROW) {
    const int count = fix_min(LINES, ray_job.height - first);
    for (int x = 0; x < ray_job.width; x += ROW_BLOCK) {
      const int x_end = fix_min(x + ROW_BLOCK, ray_job.width);
      for (int lane = 0; lane < LINES; ++lane) {
        const std::int16_t* row = ray_job.light + std::int64_t(first + fix_min(lane, count - 1)) * ray_job.width;
        for (int i = x; i < x_end; ++i) any |= lines[std::ptrdiff_t(i) * LINES + lane] = row[i];
      }
    }
    return any != 0;
  }
  for (int k = begin; k < end; ++k, lines += LINES) {
    const bundle_row part = row_of_bundle(first, k);
    const std::int16_t* row = ray_job.light + std::int64_t(k) * ray_job.width + part.x;
    if (part.count < LINES)
      for (int lane = 0; lane < LINES; ++lane) lines[lane] = 0;
    for (int i = 0; i < part.count; ++i) any |= lines[part.lane + i] = row[i];
  }
  return any != 0;
}

/// Light over one sample. Nothing gets darker.
static inline std::int16_t lit_sample(std::int16_t sample, float light) {
  const fix w = fix(light < float(FIX_ONE) ? light + 0.5f : float(FIX_ONE));
  const fix lit = ((FIX_ONE - w) * sample >> FIX_BITS) + w;
  return w > 0 && sample < FIX_ONE ? std::int16_t(lit) : sample;
}

/// Filtered light of line `lane` at position k, from both sides of it.
struct shifted_light {
  const std::int32_t* lines;
  std::ptrdiff_t whole;  // words
  float near, far;       // weights of the sample at the whole shift and of the one behind it

  shifted_light(const std::int32_t* filtered, fix shift, float factor)
      : lines(filtered), whole(std::ptrdiff_t(shift >> FIX_BITS) * LINES) {
    const float part = fix_to_float(shift & (FIX_ONE - 1));
    near = factor * (1 - part) / 2;
    far = factor * part / 2;
  }
  /// `at`: the word of the sample.
  float operator()(std::ptrdiff_t at) const {
    const std::int32_t* p = lines + at;
    return (float(p[whole]) + float(p[-whole])) * near + (float(p[whole + LINES]) + float(p[-whole - LINES])) * far;
  }
};

/// Lays the filtered bundle over the image.
void lay_lines(int first, int begin, int end, const std::int32_t* lines) {
  const shifted_light light(lines + std::ptrdiff_t(ray_job.padding) * LINES, ray_job.shift, ray_job.factor);
  if (ray_job.direction == RAY_ROW) {
    const int count = fix_min(LINES, ray_job.height - first);
    for (int x = 0; x < ray_job.width; x += ROW_BLOCK) {
      const int x_end = fix_min(x + ROW_BLOCK, ray_job.width);
      for (int lane = 0; lane < count; ++lane) {
        std::int16_t* row = ray_job.image + std::int64_t(first + lane) * ray_job.width;
        for (int i = x; i < x_end; ++i) row[i] = lit_sample(row[i], light(std::ptrdiff_t(i) * LINES + lane));
      }
    }
    return;
  }
  for (int k = begin; k < end; ++k) {
    const bundle_row part = row_of_bundle(first, k);
    std::int16_t* row = ray_job.image + std::int64_t(k) * ray_job.width + part.x;
    const std::ptrdiff_t at = std::ptrdiff_t(k - begin) * LINES + part.lane;
    for (int i = 0; i < part.count; ++i) row[i] = lit_sample(row[i], light(at + i));
  }
}

void forked_ray() {
  const ray_lines all = ray_lines::of_job();
  int bundle = 0, count = 0;
  split_rows((all.n_lines + LINES - 1) / LINES, &bundle, &count);
  std::byte* memory = ray_job.memory + 2 * ray_job.bundle_bytes * std::size_t(get_proc_number());
  std::int32_t* const buffers[2] = {reinterpret_cast<std::int32_t*>(memory),
                                    reinterpret_cast<std::int32_t*>(memory + ray_job.bundle_bytes)};
  for (int last = bundle + count; bundle < last; ++bundle) {
    if (check_abort() || abort_pending()) return;
    const int first = bundle * LINES, begin = ray_lines::begin(first), end = ray_lines::end(first);
    if (begin >= end || !gather_lines(first, begin, end, buffers[0])) continue;
    const int n = end - begin + 2 * ray_job.padding;
    if (const int shift = ray_job.filters.pass[0].pre_shift)
      for (std::ptrdiff_t i = 0; i < std::ptrdiff_t(n) * LINES; ++i) buffers[0][i] >>= shift;
    int at = 0;
    for (int i = 0; i < ray_job.filters.count; ++i, at ^= 1) {
      const int shift = i + 1 < ray_job.filters.count ? ray_job.filters.pass[i + 1].pre_shift : 0;
      box_sums(buffers[at], buffers[at ^ 1], n, ray_job.filters.pass[i].radius_low, shift);
    }
    lay_lines(first, begin, end, buffers[at]);
  }
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
