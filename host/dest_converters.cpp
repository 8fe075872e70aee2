// Dest converters: rows of fix, or planes of a whole image, into the output.
#include <algorithm>

#include "base/report.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "host/converters.h"
#include "host/converters/row_converters.h"

namespace tessaron {
namespace {

// Rows that are made on their way (repeated samples, samples of planes) go through blocks that stay
// in the first cache.
constexpr int BLOCK = 256;

struct row_block {
  alignas(64) fix rows[4][BLOCK];
  const fix* const constant[4] = {rows[0], rows[1], rows[2], rows[3]};
};

constexpr int ALPHA_WRITTEN = 1, ALPHA_KEPT = 2, ALPHA_FULL = 3;

/// Legal: mode 1 for 2 and 4 elements, modes 1 to 3 for 1 and 3.
bool alpha_mode_legal(int n_elements, int mode) {
  return mode == ALPHA_WRITTEN || (n_elements % 2 == 1 && (mode == ALPHA_KEPT || mode == ALPHA_FULL));
}

/// The combination in `converter`'s words when it is refused.
bool accept_mode(const char* converter, int format, int n_elements, int alpha_mode) {
  if (alpha_mode_legal(n_elements, alpha_mode)) return true;
  report(REPORT_ERROR, "%s: invalid alpha mode %d for %d -> %s", converter, alpha_mode, n_elements,
         native_format_name(format).c_str());
  return false;
}

/// Columns `first` to `first` + n - 1 of a row in which each sample stands `col_step` times.
void repeat_samples(const fix* in, fix* out, int first, int n, int col_step) {
  for (int i = 0; i < n; ++i) out[i] = in[(first + i) / col_step];
}

template <int FORMAT, bool LUT>
bool write_dest(const raster_info& raster, int y, int x0, int n_columns, int col_step, const fix* const* planes,
                int n_elements, int alpha_mode) {
  if (n_elements < 1 || n_elements > 4) {
    report(REPORT_ERROR, "No fix->native conv for %d to %s", n_elements, native_format_name(FORMAT).c_str());
    return false;
  }
  if (!accept_mode("dest converter", FORMAT, n_elements, alpha_mode)) return false;
  const row_span_result span = row_span(raster, x0, x0 + n_columns - 1, y);
  if (span.n <= 0 || !raster.data) return true;
  const write_row_fn write =
      chosen_row_converters().write[host_format_slot(FORMAT)][n_elements - 1][LUT][alpha_mode == ALPHA_KEPT];
  std::uint8_t* pixels = raster.data + span.offset;

  const fix* rows[4] = {};
  if (col_step <= 1) {
    for (int e = 0; e < n_elements; ++e) rows[e] = planes[e] + span.left;
    write(pixels, rows, span.n);
    return true;
  }
  row_block block;
  for (int done = 0; done < span.n; done += BLOCK) {
    const int n = std::min(BLOCK, span.n - done);
    for (int e = 0; e < n_elements; ++e) repeat_samples(planes[e], block.rows[e], span.left + done, n, col_step);
    write(pixels + std::int64_t(done) * raster.bytes_per_pixel, block.constant, n);
  }
  return true;
}

void report_format_without_writer(int format) {
  report(REPORT_ERROR, "No fix->native converters for pixel type %d = %s", format, native_format_name(format).c_str());
}

// --- whole images ----------------------------------------------------------------------------------

/// What the row job reads; written before it starts.
struct plane_job {
  const std::int16_t* const* planes;
  int n_elements, alpha_mode;
  int x0, y0, x1, y1;  // frame coordinates
};
plane_job job;

/// One row of the planes, a block of samples at a time.
void write_plane_row(int y) {
  const int step = std::max(render_info.step, 1);
  const raster_info& view = temp_raster_info;
  const std::int64_t row = std::int64_t((y - view.y0) / step) * view.width;
  row_block block;
  for (int x = job.x0; x <= job.x1; x += BLOCK * step) {
    const std::int64_t offset = row + (x - view.x0) / step;
    const int columns = std::min(job.x1 - x + 1, BLOCK * step);
    const int samples = (columns + step - 1) / step;
    for (int e = 0; e < job.n_elements; ++e)
      chosen_row_converters().widen(job.planes[e] + offset, block.rows[e], samples);
    if (pixel_io.tap) pixel_io.tap(pixel_io.tap_user, y, x, samples, job.n_elements, block.constant);
    pixel_io.write_dest(dest_raster_info, y, x, columns, step, block.constant, job.n_elements, job.alpha_mode);
  }
}

void forked_write_planes() {
  int first = 0, count = 0;
  split_rows(job.y1 - job.y0 + 1, &first, &count);
  for (int line = first; line < first + count; ++line) {
    if ((line & 15) == 0 && check_abort()) return;
    const int y = job.y0 + line;
    if (field_globals.field_number && (y & 1) == field_globals.field_number - 1) continue;
    write_plane_row(y);
  }
}

}  // namespace

dest_writer choose_dest_writer(int format, bool lut_on) {
  switch (format) {
    case NATIVE_RGBA8:
      return lut_on ? write_dest<NATIVE_RGBA8, true> : write_dest<NATIVE_RGBA8, false>;
    case NATIVE_BGRA8:
      return lut_on ? write_dest<NATIVE_BGRA8, true> : write_dest<NATIVE_BGRA8, false>;
    case NATIVE_RGBA16:
      return lut_on ? write_dest<NATIVE_RGBA16, true> : write_dest<NATIVE_RGBA16, false>;
    case NATIVE_BGRA16:
      return lut_on ? write_dest<NATIVE_BGRA16, true> : write_dest<NATIVE_BGRA16, false>;
  }
  report_format_without_writer(format);
  return nullptr;
}

void write_planes_to_dest(const std::int16_t* const* planes, int n_elements, int alpha_mode) {
  const int format = dest_raster_info.format;
  if (host_format_slot(format) < 0 || !pixel_io.write_dest) {
    report_format_without_writer(format);
    return;
  }
  if (n_elements < 1 || n_elements > 4) {
    report(REPORT_ERROR, "No fix->native conv for 4 to %s", native_format_name(format).c_str());
    return;
  }
  if (!accept_mode("dest img converter", format, n_elements, alpha_mode)) return;
  const raster_info &dest = dest_raster_info, &view = temp_raster_info;
  job = {planes,
         n_elements,
         alpha_mode,
         std::max({render_info.render_x0, dest.x0, view.x0}),
         std::max({render_info.render_y0, dest.y0, view.y0}),
         std::min({render_info.render_x1, dest.x1, view.x1}),
         std::min({render_info.render_y1, dest.y1, view.y1})};
  if (job.x0 <= job.x1 && job.y0 <= job.y1) fork_processes(forked_write_planes);
  job = {};
}

}  // namespace tessaron
