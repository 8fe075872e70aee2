#include "host/output_rows.h"

#include <algorithm>
#include <cstring>

#include "evaluator/workers.h"
#include "host/converters.h"

namespace tessaron {
namespace {

constexpr std::int64_t PARALLEL_CLEAR_BYTES = 1024;

// Row `row` of the output is frame row dest_raster_info.y0 + row; fields count frame rows, as the pixel loop does.

/// Rows of the output that this render writes: all, or one field's.
bool row_of_this_field(int row) {
  return field_globals.field_number == 0 || ((dest_raster_info.y0 + row) & 1) != field_globals.field_number - 1;
}

std::int64_t row_step_bytes(const raster_info& raster) {
  return std::int64_t(raster.width) * raster.bytes_per_pixel + std::int64_t(raster.row_pad) * (raster.bits / 8);
}

void clear_columns(int row, int first, int count) {
  const raster_info& dest = dest_raster_info;
  if (count <= 0) return;
  std::memset(dest.data + row_step_bytes(dest) * row + std::int64_t(first) * dest.bytes_per_pixel, 0,
              std::size_t(count) * dest.bytes_per_pixel);
}

/// The render rectangle in columns and rows of the output; last ones outside, none where it is empty.
struct kept_part {
  int left, right, top, bottom;
};
kept_part part_to_keep() {
  const raster_info& dest = dest_raster_info;
  kept_part kept = {
      std::max(0, render_info.render_x0 - dest.x0), std::min(dest.width, render_info.render_x1 - dest.x0 + 1),
      std::max(0, render_info.render_y0 - dest.y0), std::min(dest.height, render_info.render_y1 - dest.y0 + 1)};
  if (kept.left >= kept.right || kept.top >= kept.bottom) kept = {};
  return kept;
}

void clear_band() {
  int first = 0, count = 0;
  split_rows(dest_raster_info.height, &first, &count);
  const kept_part kept = part_to_keep();
  for (int row = first; row < first + count; ++row) {
    if (!row_of_this_field(row)) continue;
    if (row < kept.top || row >= kept.bottom) {
      clear_columns(row, 0, dest_raster_info.width);
    } else {
      clear_columns(row, 0, kept.left);
      clear_columns(row, kept.right, dest_raster_info.width - kept.right);
    }
  }
}

raster_info alpha_source;

void copy_alpha_band() {
  int first = 0, count = 0;
  split_rows(render_info.render_y1 - render_info.render_y0 + 1, &first, &count);
  for (int y = render_info.render_y0 + first; count > 0; ++y, --count)
    if (row_of_this_field(y - dest_raster_info.y0))
      alpha_copy(dest_raster_info, alpha_source, y, render_info.render_x0, render_info.render_x1);
}

dest_writer straightened_writer;

/// Alpha of the first input under `n` samples, `col_step` columns apart.
void read_first_alpha(int y, int x0, int n, int col_step, fix* alpha) {
  for (int i = 0; i < n; i += col_step == 1 ? n : 1) {
    fix* const row = alpha + i;
    const int x = x0 + i * col_step;
    pixel_io.read_source[0](source_raster_info[0], y, x, col_step == 1 ? x + n - 1 : x, &row, 1, 0);
  }
}

// In blocks on the stack: a worker takes no memory, since it may not raise.
bool write_straightened(const raster_info& raster, int y, int x0, int n_columns, int col_step, const fix* const* planes,
                        int n_elements, int alpha_mode) {
  if (n_columns <= 0)  // only whether the combination is one that can be written
    return straightened_writer(raster, y, x0, n_columns, col_step, planes, n_elements, alpha_mode);
  constexpr int BLOCK = 512;
  const int step = std::max(col_step, 1);
  const int samples = (n_columns + step - 1) / step;  // repeated columns come from fewer samples
  fix straight[4][BLOCK], alpha[BLOCK];
  fix* const out[4] = {straight[0], straight[1], straight[2], straight[3]};
  bool written = true;
  for (int done = 0; done < samples; done += BLOCK) {
    const int n = std::min(BLOCK, samples - done), x = x0 + done * step;
    const fix* in[4] = {};
    for (int e = 0; e < n_elements; ++e) in[e] = planes[e] + done;
    if (n_elements % 2) read_first_alpha(y, x, n, step, alpha);
    postdiv(in, out, n_elements % 2 ? alpha : nullptr, n_elements, n);
    written &= straightened_writer(raster, y, x, std::min(n * step, n_columns - done * step), col_step, out, n_elements,
                                   alpha_mode);
  }
  return written;
}

}  // namespace

void clear_outside_render_rectangle() {
  const raster_info& dest = dest_raster_info;
  if (!dest.data || dest.width <= 0 || dest.height <= 0) return;
  const kept_part kept = part_to_keep();
  const std::int64_t outside =
      std::int64_t(dest.width) * dest.height - std::int64_t(kept.right - kept.left) * (kept.bottom - kept.top);
  if (outside == 0) return;
  if (outside * dest.bytes_per_pixel >= PARALLEL_CLEAR_BYTES)
    fork_processes(clear_band);
  else
    clear_band();
}

void copy_input_alpha(const raster_info& source) {
  alpha_source = source;
  fork_processes(copy_alpha_band);
}

void read_absent_source(const raster_info&, int, int x0, int x1, fix* const* planes, int n_elements, int) {
  for (int e = 0; e < n_elements; ++e) std::fill_n(planes[e], x1 - x0 + 1, 0);
}

dest_writer straightening_writer(dest_writer writer) {
  straightened_writer = writer;
  return write_straightened;
}

}  // namespace tessaron
