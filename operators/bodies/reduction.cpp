#include "operators/bodies/reduction.h"

#include <cstddef>

#include "base/fixed.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int ABORT_ROWS = 16;
constexpr int BLOCK = 64;  // samples of a reduced row that are computed at once

// Written before the workers start.
struct {
  std::int16_t* dest;
  const std::int16_t* src;
  int width, height;  // of the larger of the two
} job;

/// Sums 1 2 1 down the columns first_column - 1 onwards, for `count` reduced samples.
void sum_columns(const std::int16_t* above, const std::int16_t* row, const std::int16_t* below, int first_column,
                 int count, std::int32_t* sums) {
  const int last = job.width - 1;
  const auto sum = [&](int x) { return above[x] + 2 * row[x] + below[x]; };
  const int n = 2 * count + 1;
  sums[0] = sum(fix_max(first_column - 1, 0));
  const int whole = fix_min(n, last - (first_column - 1) + 1);
  for (int i = 1; i < whole; ++i) sums[i] = sum(first_column - 1 + i);
  for (int i = fix_max(whole, 1); i < n; ++i) sums[i] = sum(last);
}

void reduce_row(std::int16_t* out, const std::int16_t* above, const std::int16_t* row, const std::int16_t* below) {
  const int width = half_size(job.width);
  std::int32_t sums[2 * BLOCK + 1];
  for (int first = 0; first < width; first += BLOCK) {
    const int count = fix_min(width - first, BLOCK);
    sum_columns(above, row, below, 2 * first, count, sums);
    for (int k = 0; k < count; ++k)
      out[first + k] = std::int16_t((sums[2 * k] + 2 * sums[2 * k + 1] + sums[2 * k + 2] + 7) >> 4);
  }
}

void forked_reduce() {
  const std::ptrdiff_t width = job.width;
  int first = 0, count = 0;
  split_rows(half_size(job.height), &first, &count);
  for (int k = first; k < first + count; ++k) {
    if (k % ABORT_ROWS == 0 && check_abort()) return;
    const std::int16_t* row = job.src + 2 * k * width;
    const std::int16_t* above = k > 0 ? row - width : row;
    const std::int16_t* below = 2 * k + 1 < job.height ? row + width : row;
    reduce_row(job.dest + std::ptrdiff_t(k) * half_size(job.width), above, row, below);
  }
}

/// A row between rows a and b, or a itself where b is the same row.
void expand_row(std::int16_t* out, const std::int16_t* a, const std::int16_t* b, int width) {
  const int half = half_size(width);
  for (int i = 0; i + 1 < half; ++i) {
    const std::int32_t here = a[i] + b[i], next = a[i + 1] + b[i + 1];
    out[2 * i] = std::int16_t(here >> 1);
    out[2 * i + 1] = std::int16_t((here + next) >> 2);
  }
  const std::int32_t last = a[half - 1] + b[half - 1];
  for (int x = 2 * (half - 1); x < width; ++x) out[x] = std::int16_t(last >> 1);
}

void forked_expand() {
  const std::ptrdiff_t half = half_size(job.width);
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  for (int y = first; y < first + count; ++y) {
    if (y % ABORT_ROWS == 0 && check_abort()) return;
    const std::int16_t* a = job.src + (y >> 1) * half;
    const bool between = (y & 1) && (y >> 1) + 1 < half_size(job.height);
    expand_row(job.dest + std::ptrdiff_t(y) * job.width, a, between ? a + half : a, job.width);
  }
}

}  // namespace

void reduce_plane(std::int16_t* dest, const std::int16_t* src, int width, int height) {
  job = {dest, src, width, height};
  fork_processes(forked_reduce);
}

void expand_plane(std::int16_t* dest, const std::int16_t* src, int width, int height) {
  job = {dest, src, width, height};
  fork_processes(forked_expand);
}

}  // namespace tessaron::TESSARON_LEVEL
