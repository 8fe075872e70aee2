// Alpha apart from colours: division of premultiplied rows, alpha fields set and moved.
#include <algorithm>
#include <cstring>

#include "base/report.h"
#include "host/converters.h"
#include "host/converters/row_converters.h"

namespace tessaron {
namespace {

constexpr int BLOCK = 256;

/// Byte offset of the alpha field in a pixel of a host format.
int alpha_offset(int format) {
  switch (format) {
    case NATIVE_BGRA8:
      return 3;
    case NATIVE_BGRA16:
      return 6;
    default:
      return 0;
  }
}

template <class Field>
void fill_field(std::uint8_t* field, Field value, int n, int step) {
  for (int i = 0; i < n; ++i, field += step) std::memcpy(field, &value, sizeof value);
}

bool accept_format(int format) {
  if (host_format_slot(format) >= 0) return true;
  report(REPORT_ERROR, "No alpha-copy func defined for type %d", format);
  return false;
}

}  // namespace

void postdiv(const fix* const* in, fix* const* out, const fix* alpha, int n_elements, int width) {
  if (n_elements < 1 || n_elements > 4) {
    report(REPORT_ERROR, "Invalid output veclen %d in postdiv.", n_elements);
    return;
  }
  const int colours = n_elements % 2 == 0 ? n_elements - 1 : n_elements;
  if (colours < n_elements) {
    if (!alpha) alpha = in[colours];
    if (out[colours] != in[colours]) std::copy_n(in[colours], width, out[colours]);
  }
  if (!alpha) return;
  for (int e = 0; e < colours; ++e) chosen_row_converters().postdiv(in[e], out[e], alpha, width);
}

void alpha_copy_constant(const raster_info& raster, int y, int x0, int x1, float a) {
  if (!accept_format(raster.format)) return;
  const row_span_result span = row_span(raster, x0, x1, y);
  if (span.n <= 0 || !raster.data) return;
  const double opacity = a > 0 ? std::min(double(a), 1.0) : 0.0;
  std::uint8_t* field = raster.data + span.offset + alpha_offset(raster.format);
  const bool deep = raster.format == NATIVE_RGBA16 || raster.format == NATIVE_BGRA16;
  if (deep)
    fill_field(field, std::uint16_t(opacity * 32768.99), span.n, raster.bytes_per_pixel);
  else
    fill_field(field, std::uint8_t(opacity * 255.99), span.n, raster.bytes_per_pixel);
}

bool alpha_copy(const raster_info& to, const raster_info& from, int y, int x0, int x1) {
  if (!accept_format(from.format)) return false;
  const int to_slot = host_format_slot(to.format);
  if (to_slot < 0) {
    report(REPORT_ERROR, "No alpha-copy func defined for %s to type %d", native_format_name(from.format).c_str(),
           to.format);
    return false;
  }
  const row_span_result span = row_span(to, x0, x1, y);
  if (span.n <= 0 || !to.data) return true;
  const source_reader read = choose_source_reader(from.format, false, false);
  fix alpha[BLOCK];
  fix* const rows[1] = {alpha};
  for (int done = 0; done < span.n; done += BLOCK) {
    const int n = std::min(BLOCK, span.n - done);
    const int x = x0 + span.left + done;
    read(from, y, x, x + n - 1, rows, 1, 0);
    chosen_row_converters().write_alpha[to_slot](to.data + span.offset + std::int64_t(done) * to.bytes_per_pixel, alpha,
                                                 n);
  }
  return true;
}

}  // namespace tessaron
