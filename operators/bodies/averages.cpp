// Sums are whole numbers, so that the order in which workers add makes no difference.
#include "operators/bodies/averages.h"

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "genotype/globals.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE_ARG = 0, RECT_CENTER_ARG = 1, RECT_SIZE_ARG = 2, MATTE_ARG = 1;

/// What one worker has added up.
struct partial_sum {
  std::int64_t samples, weights;
};

struct {
  std::int16_t* plane;
  const std::int16_t* matte;
  int first_column, end_column, first_row, end_row;  // of the view
  partial_sum* sums;                                 // by worker
  std::int16_t mean;
} job;

/// Nearest whole number to sum / count, ties to even; a count of 0 gives 0.
static inline std::int16_t mean_of(partial_sum s) {
  if (s.weights <= 0) return 0;
  std::int64_t below = s.samples / s.weights;
  if (below * s.weights > s.samples) --below;  // the quotient is truncated
  const std::int64_t twice_rest = 2 * (s.samples - below * s.weights);
  const bool up = twice_rest > s.weights || (twice_rest == s.weights && (below & 1));
  return std::int16_t(below + up);
}

/// A row of at most 32767 samples fits.
std::int32_t sum_of(const std::int16_t* samples, int count) {
  std::int32_t sum = 0;
  for (int i = 0; i < count; ++i) sum += samples[i];
  return sum;
}

void forked_sum_rectangle() {
  const int width = temp_raster_info.width;
  const worker_share rows = share_of(job.end_row - job.first_row);
  const int columns = job.end_column - job.first_column;
  partial_sum sum = {0, std::int64_t(rows.end - rows.first) * columns};
  for (int i = rows.first; i < rows.end; ++i)
    sum.samples += sum_of(job.plane + std::int64_t(job.first_row + i) * width + job.first_column, columns);
  job.sums[get_proc_number()] = sum;
}

/// A matte lets a pixel count from not at all to once.
static inline fix weight_of(std::int16_t matte) { return fix_clamp(matte, 0, FIX_ONE); }

void forked_sum_weighted() {
  const plane_slice slice = slice_of_plane();
  const std::int16_t* samples = job.plane + slice.first;
  const std::int16_t* matte = job.matte + slice.first;
  partial_sum sum = {};
  for (std::int64_t i = 0; i < slice.count; ++i) {
    sum.samples += samples[i] * weight_of(matte[i]);
    sum.weights += weight_of(matte[i]);
  }
  job.sums[get_proc_number()] = sum;
}

void forked_fill() {
  const plane_slice slice = slice_of_plane();
  std::int16_t* samples = job.plane + slice.first;
  const std::int16_t mean = job.mean;
  for (std::int64_t i = 0; i < slice.count; ++i) samples[i] = mean;
}

/// The mean of a plane, by a job that adds up, and then the plane full of it.
void replace_by_mean(std::int16_t* plane, fork_body add_up) {
  const int workers = get_n_procs();
  job.plane = plane;
  job.sums = reinterpret_cast<partial_sum*>(plane_scratch(std::size_t(workers) * sizeof(partial_sum)));
  for (int i = 0; i < workers; ++i) job.sums[i] = {};
  fork_processes(add_up);
  partial_sum sum = {};
  for (int i = 0; i < workers; ++i) {
    sum.samples += job.sums[i].samples;
    sum.weights += job.sums[i].weights;
  }
  job.mean = mean_of(sum);
  fork_processes(forked_fill);
}

// --- the rectangle ---------------------------------------------------------------------------------------

struct pixel_span {
  int first, end;
};

/// Columns or rows whose coordinates lie within `size` around `center`, the lower end included. None: the one that is
/// nearest to the centre. `coordinate(i)` is that of column or row i.
template <class F>
pixel_span span_around(fix center, fix size, int count, F coordinate) {
  const std::int64_t low = 2 * std::int64_t(center) - size, high = 2 * std::int64_t(center) + size;
  const auto distance = [&](int i) {
    const std::int64_t d = std::int64_t(coordinate(i)) - center;
    return d < 0 ? -d : d;
  };
  pixel_span within = {count, 0};
  int nearest = 0;
  for (int i = 0; i < count; ++i) {
    const std::int64_t twice = 2 * std::int64_t(coordinate(i));
    if (twice >= low && twice < high) {
      if (i < within.first) within.first = i;
      within.end = i + 1;
    }
    if (distance(i) < distance(nearest)) nearest = i;
  }
  return within.first < within.end ? within : pixel_span{nearest, nearest + 1};
}

void set_rectangle(const fix* center, const fix* size) {
  const coordinate_steps c = coordinates_from(temp_raster_info.x0, temp_raster_info.y0);
  const pixel_span columns =
      span_around(center[0], size[0], temp_raster_info.width, [&](int i) { return x_of_column(c, i); });
  const pixel_span rows =
      span_around(center[1], size[1], temp_raster_info.height, [&](int i) { return y_of_line(c, i); });
  job.first_column = columns.first;
  job.end_column = columns.end;
  job.first_row = rows.first;
  job.end_row = rows.end;
}

// --- checks ----------------------------------------------------------------------------------------------

void check_element_counts(const node& n) {
  const char* effect = Globals->effect_genotype ? Globals->effect_genotype->name : "";
  const int matte_elnum = n.args[MATTE_ARG]->elnum, image_elnum = n.args[IMAGE_ARG]->elnum;
  if (matte_elnum != 1) fatal("%s_%s has arg %d elnum %d, expected %d", effect, n.fun->name, MATTE_ARG, matte_elnum, 1);
  if (n.elnum != image_elnum) fatal("%s_%s has return elnum %d expected %d", effect, n.fun->name, n.elnum, image_elnum);
}

}  // namespace

void ave_in_rect_image(node& n) {
  check_image_planes(n, n.elnum);
  settle_args(n, {RECT_CENTER_ARG, RECT_SIZE_ARG});
  const int filled = fetch_image_arg(n, IMAGE_ARG, n.images);
  set_rectangle(n.args[RECT_CENTER_ARG]->const_vals, n.args[RECT_SIZE_ARG]->const_vals);
  for (int e = 0; e < filled && !abort_pending(); ++e) replace_by_mean(n.images[e], forked_sum_rectangle);
}

void ave_in_matte_image(node& n) {
  check_element_counts(n);
  check_image_planes(n, n.elnum + 1);
  std::int16_t* const matte = n.images[n.elnum];
  // The image first: its planes may reach into the matte's, which is fetched from elsewhere.
  const int filled = fetch_image_arg(n, IMAGE_ARG, n.images);
  fetch_image_arg(n, MATTE_ARG, &matte);
  job.matte = matte;
  for (int e = 0; e < filled && !abort_pending(); ++e) replace_by_mean(n.images[e], forked_sum_weighted);
}

}  // namespace tessaron::TESSARON_LEVEL
