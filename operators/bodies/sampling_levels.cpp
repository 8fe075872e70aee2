// Filling the sampling image: the image itself, its borders, and the levels.
#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/plan.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/sampling.h"
#include "operators/bodies/sinks.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int ABORT_ROWS = 16;

// --- borders -----------------------------------------------------------------------------------------------

// The sample beside an edge: nothing, the one that comes in from the opposite edge, or the edge's own.

template <int E>
void fill_row_border(std::int16_t* level, int width, wrap_kind wrap) {
  std::int16_t* left = level;
  std::int16_t* first = level + E;
  std::int16_t* last = level + E * width;
  std::int16_t* right = last + E;
  for (int e = 0; e < E; ++e) {
    left[e] = wrap == WRAP_NONE ? 0 : wrap == WRAP_REPEAT ? last[e] : first[e];
    right[e] = wrap == WRAP_NONE ? 0 : wrap == WRAP_REPEAT ? first[e] : last[e];
  }
}

void copy_samples(std::int16_t* to, const std::int16_t* from, int count) {
  std::memcpy(to, from, std::size_t(count) * sizeof *to);
}

void fill_top_and_bottom(int level, wrap_kind wrap) {
  const mipmap_table_record& t = mipmap_table;
  const int stride = t.row_stride;
  std::int16_t* top = mipmap_buffer + t.y_level_row[level];
  std::int16_t* first = top + stride;
  std::int16_t* last = top + std::int64_t(t.y_level_height[level]) * stride;
  std::int16_t* bottom = last + stride;
  if (wrap == WRAP_NONE) {
    std::memset(top, 0, std::size_t(stride) * sizeof *top);
    std::memset(bottom, 0, std::size_t(stride) * sizeof *bottom);
  } else {
    copy_samples(top, wrap == WRAP_REPEAT ? last : first, stride);
    copy_samples(bottom, wrap == WRAP_REPEAT ? first : last, stride);
  }
}

// --- halves ------------------------------------------------------------------------------------------------

// Samples are 0 to 8191, so sums of two stay in 16 bits and every way of halving them gives the same.

/// `width` samples of the next x level; a last pair of an odd width takes in the border.
template <int E>
inline void halve_row(std::int16_t* __restrict out, const std::int16_t* __restrict in, int width) {
  for (int k = 0; k < width; ++k)
    for (int e = 0; e < E; ++e) out[k * E + e] = std::int16_t((in[2 * k * E + e] + in[(2 * k + 1) * E + e]) >> 1);
}

inline void mean_of_rows(std::int16_t* __restrict out, const std::int16_t* __restrict a,
                         const std::int16_t* __restrict b, int count) {
  for (int i = 0; i < count; ++i) out[i] = std::int16_t(std::uint16_t(a[i] + b[i]) >> 1);
}

/// Row k of the image with its borders, left one first.
std::int16_t* image_row(const mipmap_table_record& t, int k) {
  return mipmap_buffer + t.y_level_row[0] + std::int64_t(k + 1) * t.row_stride;
}

/// The borders of an image row, and all its x levels.
template <int E>
void complete_row(const mipmap_table_record& t, std::int16_t* row, wrap_kind wrap) {
  fill_row_border<E>(row, t.width, wrap);
  for (int i = 1; i < t.x_level_count; ++i) {
    std::int16_t* level = row + t.x_level_offset[i];
    halve_row<E>(level + E, row + t.x_level_offset[i - 1] + E, t.x_level_width[i]);
    fill_row_border<E>(level, t.x_level_width[i], wrap);
  }
}

/// x levels of the rows of y level 0.
template <int E>
void forked_fill_mipmap_x_levels() {
  const mipmap_table_record& t = mipmap_table;
  const wrap_kind wrap = x_wrap_kind();
  int first = 0, count = 0;
  split_rows(t.height, &first, &count);
  for (int k = first; k < first + count; ++k) {
    if (k % ABORT_ROWS == 0 && check_abort()) return;
    complete_row<E>(t, image_row(t, k), wrap);
  }
}

constexpr fork_body FILL_X_LEVELS[5] = {nullptr, forked_fill_mipmap_x_levels<1>, forked_fill_mipmap_x_levels<2>,
                                        forked_fill_mipmap_x_levels<3>, forked_fill_mipmap_x_levels<4>};

// An image that is an input as it stands needs no rows of fix: its pixels become samples at once, and each row is
// completed while it is in cache.

constinit struct {
  texel_reader read;
  raster_info raster;
} input_job = {};

template <int E>
void forked_read_input() {
  const mipmap_table_record& t = mipmap_table;
  const raster_info& view = temp_raster_info;
  const wrap_kind wrap = x_wrap_kind();
  int first = 0, count = 0;
  split_rows(t.height, &first, &count);
  for (int k = first; k < first + count; ++k) {
    if (k % ABORT_ROWS == 0 && check_abort()) return;
    std::int16_t* row = image_row(t, k);
    input_job.read(input_job.raster, view.y0 + k, view.x0, view.x0 + t.width - 1, row + E, E);
    complete_row<E>(t, row, wrap);
  }
}

/// Fills level (0, 0) and its x levels from an input. False, and nothing done, where its pixels can't be taken as they
/// are.
bool read_input(node& image) {
  const node& input = *follow_pass(&image);
  const int number = input.var_index - VAR_SOURCE0;
  if (input.kind != KIND_BUILT_IN || number < 0 || input.elnum < 3) return false;
  if (!pixel_io.read_texels[number] || render_info.step > 1 || cache_step > 1 || field_globals.field_number)
    return false;
  input_job = {pixel_io.read_texels[number], source_raster_info[number]};
  fork_processes(input.elnum == 3 ? forked_read_input<3> : forked_read_input<4>);
  return true;
}

int y_level;  // of the round under way

/// The whole rows, so that all x levels are reduced at once.
void forked_fill_mipmap_y_level() {
  const mipmap_table_record& t = mipmap_table;
  int first = 0, count = 0;
  split_rows(t.y_level_height[y_level], &first, &count);
  const std::int16_t* from = mipmap_buffer + t.y_level_row[y_level - 1] + t.row_stride;
  std::int16_t* to = mipmap_buffer + t.y_level_row[y_level] + t.row_stride;
  for (int k = first; k < first + count; ++k) {
    if (k % ABORT_ROWS == 0 && check_abort()) return;
    const std::int16_t* pair = from + 2 * std::int64_t(k) * t.row_stride;
    mean_of_rows(to + std::int64_t(k) * t.row_stride, pair, pair + t.row_stride, t.row_stride);
  }
}

}  // namespace

void fill_mipmap_y_level(int level) {
  if (level < 1) {
    report(REPORT_ERROR, "forked_fill_mipmap_y_level should not get level %d. \n", level);
    return;
  }
  y_level = level;
  fork_processes(forked_fill_mipmap_y_level);
  fill_top_and_bottom(level, y_wrap_kind());
}

void fill_mipmap_borders() {
  fork_processes(FILL_X_LEVELS[mipmap_table.elnum]);
  fill_top_and_bottom(0, y_wrap_kind());
}

bool prepare_sampling_image(node& n, fix wrap_x, fix wrap_y, bool want_levels) {
  node& image = *n.args[n.fun->image_arg_index];
  set_wrap_flags(wrap_x, wrap_y);
  if (image.elnum < 1 || image.elnum > 4) {
    eval_node_tree_into_mipmap_toplevel(image, {});  // reports the count
    return false;
  }
  set_mipmap_table(temp_raster_info.width, temp_raster_info.height, image.elnum, want_levels);
  const mipmap_table_record& t = mipmap_table;
  if (read_input(image)) {
    fill_top_and_bottom(0, y_wrap_kind());
  } else {
    eval_node_tree_into_mipmap_toplevel(image, {mipmap_buffer, t.row_stride, t.elnum}, &MIPMAP_SINKS);
    fill_skipped_lines(mipmap_buffer + level_start(t, 0, 0), std::size_t(t.row_stride), std::size_t(t.width) * t.elnum);
    fill_mipmap_borders();
  }
  for (int j = 1; j < t.y_level_count && !check_abort(); ++j) fill_mipmap_y_level(j);
  return !abort_pending();
}

}  // namespace tessaron::TESSARON_LEVEL
