// What the converters share: names of formats, spans, the choice of the loops.
#include "host/converters.h"

#include <algorithm>

#include "base/text.h"
#include "host/converters/row_converters.h"

namespace tessaron {

std::string native_format_name(int format) {
  static constexpr const char* NAMES[] = {"   ?",    "a8",     "rgb8",   "bgr8",   "rgba8", "bgra8", "a16",
                                          "rgb16",   "rgba16", "bgra16", "argb16", "af",    "rgbf",  "rgbaf",
                                          "rgba16z", "l8",     "l16",    "lf",     "la8",   "la16",  "laf"};
  if (format >= 0 && format < int(std::size(NAMES))) return NAMES[format];
  return format_text("%x??", unsigned(format));
}

row_span_result row_span(const raster_info& raster, int x0, int x1, int y) {
  const std::int64_t request = std::max<std::int64_t>(std::int64_t(x1) - x0 + 1, 0);
  const std::int64_t row = std::int64_t(y) - raster.y0;
  if (row < 0 || y > raster.y1 || x1 < raster.x0 || x0 > raster.x1 || request == 0) return {0, int(request), 0, 0};
  const std::int64_t inset = std::int64_t(raster.x0) - x0;
  const std::int64_t left = std::max<std::int64_t>(inset, 0);
  const std::int64_t right = std::max<std::int64_t>(std::int64_t(x1) - raster.x1, 0);
  const std::int64_t column = std::max<std::int64_t>(-inset, 0);
  const std::int64_t pad_bytes = std::int64_t(raster.row_pad) * raster.bits / 8;
  const std::int64_t offset = (raster.width * row + column) * raster.bytes_per_pixel + pad_bytes * row;
  return {int(request - left - right), int(left), int(right), offset};
}

row_converters make_row_converters(cpu_level level) {
  row_converters table{};
  switch (level) {
#define TESSARON_SET_CONVERTERS(LEVEL) \
  LEVEL::set_read_rows(table);         \
  LEVEL::set_texel_rows(table);        \
  LEVEL::set_write_rows(table);        \
  LEVEL::set_plane_rows(table);        \
  break
#ifdef TESSARON_HAS_SSE41
    case cpu_level::sse41:
      TESSARON_SET_CONVERTERS(level_sse41);
#endif
#ifdef TESSARON_HAS_AVX2
    case cpu_level::avx2:
      TESSARON_SET_CONVERTERS(level_avx2);
#endif
#ifdef TESSARON_HAS_AVX512
    case cpu_level::avx512:
      TESSARON_SET_CONVERTERS(level_avx512);
#endif
    default:
      TESSARON_SET_CONVERTERS(level_generic);
#undef TESSARON_SET_CONVERTERS
  }
  return table;
}

const row_converters& chosen_row_converters() {
  static const row_converters table = make_row_converters(chosen_cpu_level());
  return table;
}

}  // namespace tessaron
