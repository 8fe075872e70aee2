// The glare of every bright pixel. The flare is drawn once, as a kernel; a row of the result is the sum of the kernel's
// rows at the bright samples above and below it. Of the kernel only the stretches that are not dark count: a star of
// thin rays costs a fraction of its area.
#include <cstdio>
#include <cstring>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "operators/bodies/flare_draw.h"
#include "operators/bodies/glare.h"
#include "operators/bodies/planes.h"
#include "operators/sampling.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int CHANNELS = 3;
constexpr double WORK_UNIT = 1e-07, MOST_WORK = 100, WORK_WORTH_TELLING = 100;
constexpr int SHORTEST_GAP = 16;  // dark samples that part two stretches of a row

constinit growing_buffer<std::int16_t> kernel_memory;
constinit growing_buffer<std::int32_t> stretch_memory, sample_memory, row_memory;

struct kernel_size {
  int reach_x, reach_y;
  int width() const { return 2 * reach_x + 1; }
  int height() const { return 2 * reach_y + 1; }
  std::int64_t samples() const { return std::int64_t(width()) * height(); }
};

// Written before the workers start.
constinit struct {
  std::int16_t* result;
  std::int32_t* sums;  // the long image
  int width, height;
  kernel_size size;
  const std::int16_t* kernel;
  const std::int32_t* stretches;     // pairs of first and end
  const std::int32_t* stretch_rows;  // kernel row: its first pair; one more behind the last
  const std::int32_t* samples;       // pairs of column and sample
  const std::int32_t* sample_rows;   // image row: its first pair; one more behind the last
  int shift;                         // bits that products lose, so that sums fit
  float factor;                      // of a sum, to the result
} job = {};

/// No more of the flare than can meet the image.
kernel_size size_of_kernel(const flare_shape& shape) {
  const auto pixels = [](double reach, int size) { return reach < size - 1 ? int(reach) + 1 : size - 1; };
  const double down = shape.reach() / shape.y_scale();
  return {pixels(shape.reach(), temp_raster_info.width), pixels(down < 0 ? -down : down, temp_raster_info.height)};
}

/// The flare in white light, plane after plane.
std::int16_t* draw_kernel(const flare_shape& shape, const kernel_size& size) {
  std::int16_t* kernel = kernel_memory.at_least(std::size_t(size.samples()) * CHANNELS);
  std::memset(kernel, 0, std::size_t(size.samples()) * CHANNELS * sizeof *kernel);
  const flare_canvas canvas = {
      {kernel, kernel + size.samples(), kernel + 2 * size.samples()}, size.width(), size.height()};
  const double x = size.reach_x, y = size.reach_y;
  const flare_light light = {x, y, x, y, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}};
  add_flares(canvas, shape, &light, 1);
  limit_light(canvas);
  return kernel;
}

std::int64_t samples_with_light(const std::int16_t* plane, std::int64_t n) {
  std::int64_t count = 0;
  for (std::int64_t i = 0; i < n; ++i) count += plane[i] != 0;
  return count;
}

/// Notes the stretches of the kernel's rows that are not dark.
void find_stretches(const kernel_size& size) {
  const std::size_t most = std::size_t(size.height()) * std::size_t(size.width() / (SHORTEST_GAP + 1) + 2);
  std::int32_t* memory = stretch_memory.at_least(2 * most + std::size_t(size.height()) + 1);
  std::int32_t *rows = memory, *pairs = memory + size.height() + 1;
  std::int32_t count = 0;
  for (int y = 0; y < size.height(); ++y) {
    rows[y] = count;
    const std::int16_t* row = job.kernel + std::int64_t(y) * size.width();
    for (int x = 0; x < size.width(); ++x) {
      if (row[x] == 0) continue;
      if (count > rows[y] && x - pairs[2 * count - 1] < SHORTEST_GAP) {
        pairs[2 * count - 1] = x + 1;
      } else {
        pairs[2 * count] = x;
        pairs[2 * count + 1] = x + 1;
        ++count;
      }
    }
  }
  rows[size.height()] = count;
  job.stretch_rows = rows;
  job.stretches = pairs;
}

/// Notes the samples of a plane that are not dark.
void find_samples(const std::int16_t* plane, std::int64_t lit) {
  std::int32_t* pairs = sample_memory.at_least(2 * std::size_t(lit) + 1);
  std::int32_t* rows = row_memory.at_least(std::size_t(job.height) + 1);
  std::int32_t count = 0;
  for (int y = 0; y < job.height; ++y) {
    rows[y] = count;
    const std::int16_t* row = plane + std::int64_t(y) * job.width;
    for (int x = 0; x < job.width; ++x) {
      if (row[x] == 0) continue;
      pairs[2 * count] = x;
      pairs[2 * count + 1] = row[x];
      ++count;
    }
  }
  rows[job.height] = count;
  job.sample_rows = rows;
  job.samples = pairs;
}

fix largest_magnitude(const std::int16_t* plane, std::int64_t n) {
  fix largest = 0;
  for (std::int64_t i = 0; i < n; ++i) {
    const fix v = plane[i] < 0 ? -plane[i] : plane[i];
    largest = v > largest ? v : largest;
  }
  return largest;
}

void add_kernel_stretch(std::int32_t* __restrict sums, const std::int16_t* __restrict kernel, int n, fix sample,
                        int shift) {
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) sums[i] += (kernel[i] * sample) >> shift;
}

/// Adds what one image row gives to another, `ky` being the kernel's row.
void add_row(std::int32_t* sums, int from_row, int ky) {
  const int first_stretch = job.stretch_rows[ky], end_stretch = job.stretch_rows[ky + 1];
  if (first_stretch == end_stretch) return;
  const std::int16_t* kernel = job.kernel + std::int64_t(ky) * job.size.width();
  for (int i = job.sample_rows[from_row]; i < job.sample_rows[from_row + 1]; ++i) {
    const int left = job.samples[2 * i] - job.size.reach_x;  // column of the kernel's first
    const fix sample = job.samples[2 * i + 1];
    for (int s = first_stretch; s < end_stretch; ++s) {
      const int first = fix_max(job.stretches[2 * s], -left);
      const int end = fix_min(job.stretches[2 * s + 1], job.width - left);
      if (first < end) add_kernel_stretch(sums + left + first, kernel + first, end - first, sample, job.shift);
    }
  }
}

void forked_convolve() {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  for (int y = first; y < first + count; ++y) {
    if (check_abort()) return;
    std::int32_t* sums = job.sums + std::int64_t(y) * job.width;
    std::memset(sums, 0, std::size_t(job.width) * sizeof *sums);
    const int from = fix_max(y - job.size.reach_y, 0), to = fix_min(y + job.size.reach_y, job.height - 1);
    for (int row = from; row <= to; ++row)
      if (job.sample_rows[row] < job.sample_rows[row + 1]) add_row(sums, row, y - row + job.size.reach_y);
    std::int16_t* result = job.result + std::int64_t(y) * job.width;
    for (int x = 0; x < job.width; ++x)
      result[x] = plane_sample(result[x] + scaled_sample(sums[x], double(job.factor)));
  }
}

/// Bits to take off the products so that no sum of `n` of them can leave 32 bits.
int spare_bits(double n, fix largest_sample, fix largest_kernel) {
  int shift = 0;
  for (double sum = n * largest_sample * largest_kernel; sum >= 2147483648.0 && shift < 31; sum /= 2) ++shift;
  return shift;
}

}  // namespace

void convolve_glare(std::int16_t* const* result, const std::int16_t* const* bright, const flare_shape& shape,
                    const double (&gain)[3], bool however_slow) {
  if (shape.n_spots() + shape.n_rays() == 0) return;
  const kernel_size size = size_of_kernel(shape);
  const std::int64_t n = std::int64_t(temp_raster_info.width) * temp_raster_info.height;
  std::int64_t lit[CHANNELS];
  for (int c = 0; c < CHANNELS; ++c) lit[c] = samples_with_light(bright[c], n);
  if (!however_slow) {
    const double work = double(lit[0] + lit[1] + lit[2]) * double(size.samples()) * WORK_UNIT;
    if (work > MOST_WORK) {
      report(REPORT_WARNING, "Convolve would be slow: %.0f/%.0f, aborting. (Use convolve: Even_if_slow to proceed.)",
             work, MOST_WORK);
      std::fputc('\a', stderr);
      return;
    }
    if (work > WORK_WORTH_TELLING) report(REPORT_INFO, "Convolve est: %.0f", work);
  }
  const std::int16_t* kernel = draw_kernel(shape, size);
  for (int c = 0; c < CHANNELS && !abort_pending(); ++c, kernel += size.samples()) {
    std::int64_t energy = 0;
    for (std::int64_t i = 0; i < size.samples(); ++i) energy += kernel[i];
    if (energy <= 0 || lit[c] == 0) continue;
    job = {.result = result[c],
           .sums = get_long_image(temp_raster_info.width, temp_raster_info.height),
           .width = temp_raster_info.width,
           .height = temp_raster_info.height,
           .size = size,
           .kernel = kernel};
    find_stretches(size);
    find_samples(bright[c], lit[c]);
    const double most = double(lit[c] < size.samples() ? lit[c] : size.samples());
    job.shift = spare_bits(most, largest_magnitude(bright[c], n), largest_magnitude(kernel, size.samples()));
    job.factor = float(double(std::int64_t(1) << job.shift) / 4096.0 * gain[c]);
    fork_processes(forked_convolve);
  }
}

}  // namespace tessaron::TESSARON_LEVEL
