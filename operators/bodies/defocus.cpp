// defocus: what a lens out of focus makes of an image. Each point becomes a disc, a hexagon or an octagon. Samples
// are first raised to a power, which stands for the light that the lens collects: bright points stay bright discs
// instead of being averaged away.
//
// Beyond the image there is nothing: near its edges the kernel's covered part alone counts.
#include "operators/bodies/defocus.h"

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/defocus_light.h"
#include "operators/bodies/defocus_strip.h"
#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE = 0, RADIUS = 1, GAMMA = 2, SCALE = 3, SUBPIXEL = 4, SHAPE = 5;
constexpr int ALPHA = 3;

constinit struct {
  const defocus_table* table;
  const std::int16_t* source;
  std::int16_t* dest;
  int width, height;
  light_curve light_of;
  sample_curve samples_of;
  std::byte* memory;
  std::size_t strip_bytes, column_bytes;  // of one worker
} job = {};

bool stop_requested() { return check_abort() || abort_pending(); }

constexpr std::size_t in_lines(std::size_t bytes) { return (bytes + CACHE_LINE - 1) / CACHE_LINE * CACHE_LINE; }

std::byte* worker_memory() {
  return job.memory + (job.strip_bytes + job.column_bytes) * std::size_t(get_proc_number());
}

// --- the part of the kernel that lies over the image ------------------------------------------------------

struct covered_rows {
  int above, below;
};
covered_rows rows_covered(int y) {
  const int reach = job.table->y_reach();
  return {fix_min(reach, y), fix_min(reach, job.height - 1 - y)};
}

/// Whether the kernel lies over the image with all its columns, for all pixels of a strip from x on.
bool whole_width(int x) {
  const int reach = job.table->x_reach();
  return x >= reach && x + kernel_strip::WIDTH - 1 + reach <= job.width - 1;
}

/// 1 / weight of the rows that lie over the image, 1.0 for a pixel in full.
float row_factor(covered_rows rows) { return float(FIX_ONE / job.table->sum_rows(rows.above, rows.below)); }

/// Whether all rows of the kernel lie over the image.
bool whole_height(covered_rows rows) { return rows.above + rows.below == 2 * job.table->y_reach(); }

/// 1 / weight of the covered part for each pixel of the strip from column x on.
void pixel_factors(int x, covered_rows rows, float (&factors)[kernel_strip::WIDTH]) {
  const defocus_table& table = *job.table;
  const int reach = table.x_reach(), last = job.width - 1;
  const float* sums = table.column_sums().data();
  if (!whole_height(rows)) {
    float* cut = reinterpret_cast<float*>(worker_memory() + job.strip_bytes);
    table.sum_columns(rows.above, rows.below, cut);
    sums = cut;
  }
  const float whole = row_factor(rows);
  for (int i = 0; i < kernel_strip::WIDTH; ++i) {
    // Columns of the kernel from the first to the last that the image covers.
    const int column = fix_min(x + i, last);
    const int from = fix_max(reach - column, 0), to = fix_min(reach + last - column, 2 * reach);
    factors[i] = from == 0 && to == 2 * reach
                     ? whole
                     : float(FIX_ONE / (double(sums[to + 1]) - (from > 0 ? double(sums[from]) : 0.0)));
  }
}

/// What sums are multiplied by in the strip from column x on, row after row. Most rows have all rows of the kernel,
/// and all these the same factors.
class strip_factors {
 public:
  explicit strip_factors(int x) : x_(x), whole_width_(whole_width(x)) {}

  /// Whether all pixels of a row have the same factor.
  bool same() const { return whole_width_; }
  /// That of row y.
  float of_row(int y) {
    renew(y, [&](covered_rows rows) { row_factor_ = row_factor(rows); });
    return row_factor_;
  }
  /// The factors of row y's pixels, until the next call.
  const float* of_pixels(int y) {
    renew(y, [&](covered_rows rows) { pixel_factors(x_, rows, factors_); });
    return factors_;
  }

 private:
  template <class Compute>
  void renew(int y, Compute compute) {
    const covered_rows rows = rows_covered(y);
    const bool whole = whole_height(rows);
    if (!whole || !holds_whole_) compute(rows);
    holds_whole_ = whole;
  }

  int x_;
  bool whole_width_, holds_whole_ = false;
  float row_factor_ = 0;
  alignas(CACHE_LINE) float factors_[kernel_strip::WIDTH];
};

// --- rows ----------------------------------------------------------------------------------------------------

/// Going down a strip, the processor doesn't guess which rows come next: asks for a part of a row some rows ahead.
template <bool TO_WRITE>
void prefetch_row(const std::int16_t* samples, int count, int y) {
  constexpr int AHEAD = 8, LINE = CACHE_LINE / int(sizeof(std::int16_t));
  if (y + AHEAD >= job.height) return;
  samples += std::int64_t(AHEAD) * job.width;
  for (int i = 0; i < count; i += LINE) __builtin_prefetch(samples + i, TO_WRITE);
}

/// The light of `count` samples, which goes to whole vectors: behind the last one there is none.
void convert_samples(const std::int16_t* samples, int count, float* light) {
  const light_curve curve = job.light_of;
  const auto store = [&](int i, const std::int16_t* from) {
    *reinterpret_cast<float_vector*>(light + i) = curve.of(*reinterpret_cast<const sample_vector*>(from));
  };
  int i = 0;
  for (; i + VECTOR_LANES <= count; i += VECTOR_LANES) store(i, samples + i);
  if (i == count) return;
  std::int16_t last[VECTOR_LANES] = {};
  for (int k = 0; i + k < count; ++k) last[k] = samples[i + k];
  store(i, last);
}

/// The light of row y, for a strip that begins at column x, with as many columns to either side as the kernel
/// reaches, and more up to whole vectors. Columns and rows beyond the image have none.
void read_light(int x, int y, float* light) {
  const int margin = kernel_strip::margin(*job.table);
  const int first = fix_max(x - margin, 0), end = fix_min(x + kernel_strip::WIDTH + margin, job.width);
  if (y < 0 || y >= job.height) {
    for (int i = first; i < end; ++i) light[i - x] = 0;
    return;
  }
  const std::int16_t* samples = job.source + std::int64_t(y) * job.width;
  prefetch_row<false>(samples + first, end - first, y);
  convert_samples(samples + first, end - first, light + (first - x));
}

/// Sums as samples; `factor_of` gives the factors of a vector of pixels.
template <class Factor>
void convert_sums(const float* sums, std::int16_t* samples, Factor factor_of) {
  const sample_curve curve = job.samples_of;
  for (int i = 0; i < kernel_strip::WIDTH; i += VECTOR_LANES)
    *reinterpret_cast<sample_vector*>(samples + i) =
        curve.of(*reinterpret_cast<const float_vector*>(sums + i) * factor_of(i));
}

void write_samples(const float* sums, strip_factors& factors, int x, int y) {
  constexpr int WIDTH = kernel_strip::WIDTH;
  std::int16_t* out = job.dest + std::int64_t(y) * job.width + x;
  const int count = fix_min(WIDTH, job.width - x);
  prefetch_row<true>(out, count, y);
  if (factors.same()) {
    const float factor = factors.of_row(y);
    convert_sums(sums, out, [factor](int) { return factor; });
    return;
  }
  std::int16_t samples[WIDTH];
  const float* const by_pixel = factors.of_pixels(y);
  convert_sums(sums, samples, [by_pixel](int i) { return *reinterpret_cast<const float_vector*>(by_pixel + i); });
  for (int i = 0; i < count; ++i) out[i] = samples[i];
}

/// Rows first to end - 1 of the strip at column x. The rows that are added at once begin at a multiple of their number
/// for every worker, so that sums are formed in the same order.
void filter_strip(kernel_strip& strip, int x, int first, int end) {
  const int reach = job.table->y_reach();
  constexpr int ROWS = kernel_strip::ROWS;
  const int start = (first - reach) & -ROWS;
  const auto in_image = [](int y) { return y + ROWS - 1 >= 0 && y < job.height; };
  const auto read_rows = [&](int y) {
    if (!in_image(y)) return;
    for (int row = 0; row < ROWS; ++row) read_light(x, y + row, strip.light(row));
  };
  strip_factors factors(x);
  strip.start();
  read_rows(start);
  for (int y = start; y - reach < end; y += ROWS) {
    if ((y - start) % 16 == 0 && stop_requested()) return;
    // The light of the next rows is read before these are added: what was just stored is slow to load.
    strip.take_light();
    read_rows(y + ROWS);
    if (in_image(y)) strip.add();
    for (int row = 0; row < ROWS; ++row) {
      const int done = y + row - reach;
      if (done >= first && done < end) write_samples(strip.finished(row), factors, x, done);
    }
    strip.advance();
  }
}

void forked_strips() {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  if (count <= 0) return;
  kernel_strip strip(*job.table, worker_memory());
  for (int x = 0; x < job.width && !abort_pending(); x += kernel_strip::WIDTH)
    filter_strip(strip, x, first, first + count);
}

// --- planes --------------------------------------------------------------------------------------------------

void defocus_plane(std::int16_t* dest, const std::int16_t* source, const defocus_table& table, fix gamma, fix scale) {
  job.table = &table;
  job.source = source;
  job.dest = dest;
  job.width = temp_raster_info.width;
  job.height = temp_raster_info.height;
  gamma = fix_clamp(gamma, LEAST_GAMMA, LARGEST_GAMMA);
  job.light_of = light_curve(gamma);
  job.samples_of = sample_curve(gamma, scale);
  job.strip_bytes = in_lines(kernel_strip::bytes_needed(table));
  job.column_bytes = in_lines((std::size_t(table.kernel_width()) + 2) * sizeof(float));
  job.memory = plane_scratch((job.strip_bytes + job.column_bytes) * std::size_t(get_n_procs()));
  fork_processes(forked_strips);
}

/// As in all blurs, a scale of one element leaves alpha alone.
fix scale_of_element(const node& n, int e) {
  const node& scale = *n.args[SCALE];
  const bool alpha = (e == ALPHA && scale.elnum < 4) || (n.elnum == 2 && e == 1 && scale.elnum == 1);
  return alpha ? FIX_ONE : scale.const_vals[e];
}

}  // namespace

void defocus(node& n) {
  check_image_planes(n, n.elnum + 1);
  settle_args(n, {RADIUS, SHAPE, GAMMA, SCALE, SUBPIXEL});
  // The image lies one plane further on than the result, so that each element goes from one plane to another.
  std::int16_t* const* const sources = n.images + 1;
  const int n_planes = fetch_image_arg(n, IMAGE, sources);
  defocus_table& table = get_defocus_table();
  table.prepare(defocus_inputs_of(n, temp_raster_info.width, temp_raster_info.height));
  const bool single_pixel = table.kernel_width() == 1 && table.kernel_height() == 1;

  for (int e = 0; e < n_planes && !abort_pending(); ++e) {
    const fix scale = scale_of_element(n, e);
    if (scale == 0 || single_pixel) {
      copy_plane(n.images[e], sources[e]);
      scale_plane(n.images[e], scale);
    } else {
      defocus_plane(n.images[e], sources[e], table, n.args[GAMMA]->const_vals[e], scale);
    }
  }
}

}  // namespace tessaron::TESSARON_LEVEL
