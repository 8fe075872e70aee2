// Source converters: a row of an input image into rows of fix, or into interleaved samples.
#include <algorithm>

#include "base/report.h"
#include "host/converters.h"
#include "host/converters/row_converters.h"

namespace tessaron {
namespace {

constexpr fix OUTSIDE_VALUE = 0;  // transparent black

// Host images lie outside the caches: what is read next is called for while this stretch is worked on.
void call_for_next_stretch(const std::uint8_t* pixels, std::int64_t bytes) {
  constexpr int LINE_BYTES = 64;
  for (std::int64_t i = 0; i < bytes; i += LINE_BYTES) __builtin_prefetch(pixels + i);
}

template <int FORMAT, bool MIX, bool LUT>
void read_source(const raster_info& raster, int y, int x0, int x1, fix* const* planes, int n_elements, int) {
  const int count = read_count_slot(n_elements);
  if (count < 0) {
    report(REPORT_ERROR, "No native->fix line conv for %s to %d", native_format_name(FORMAT).c_str(), n_elements);
    return;
  }
  row_span_result span = row_span(raster, x0, x1, y);
  if (!raster.data && span.n > 0) span = {0, x1 - x0 + 1, 0, 0};
  fix* inside[4] = {};
  for (int e = 0; e < n_elements; ++e) {
    inside[e] = planes[e] + span.left;
    std::fill_n(planes[e], span.left, OUTSIDE_VALUE);
    std::fill_n(inside[e] + span.n, span.right, OUTSIDE_VALUE);
  }
  if (span.n <= 0) return;
  const std::uint8_t* pixels = raster.data + span.offset;
  const std::int64_t bytes = std::int64_t(span.n) * raster.bytes_per_pixel;
  call_for_next_stretch(pixels + bytes, bytes);
  chosen_row_converters().read[host_format_slot(FORMAT)][count][MIX][LUT](pixels, inside, span.n);
}

template <int FORMAT, bool MIX, bool LUT>
void read_texels(const raster_info& raster, int y, int x0, int x1, std::int16_t* texels, int n_elements) {
  row_span_result span = row_span(raster, x0, x1, y);
  if (!raster.data && span.n > 0) span = {0, x1 - x0 + 1, 0, 0};
  std::int16_t* const inside = texels + std::ptrdiff_t(span.left) * n_elements;
  std::int16_t* const behind = inside + std::ptrdiff_t(span.n) * n_elements;
  std::fill(texels, inside, std::int16_t(OUTSIDE_VALUE));
  std::fill_n(behind, std::ptrdiff_t(span.right) * n_elements, std::int16_t(OUTSIDE_VALUE));
  if (span.n <= 0) return;
  chosen_row_converters().read_texels[host_format_slot(FORMAT)][n_elements - 3][MIX][LUT](raster.data + span.offset,
                                                                                          inside, span.n);
}

template <int FORMAT>
constexpr texel_reader TEXEL_READERS[2][2] = {{read_texels<FORMAT, false, false>, read_texels<FORMAT, false, true>},
                                              {read_texels<FORMAT, true, false>, read_texels<FORMAT, true, true>}};

template <int FORMAT>
constexpr source_reader READERS[2][2] = {{read_source<FORMAT, false, false>, read_source<FORMAT, false, true>},
                                         {read_source<FORMAT, true, false>, read_source<FORMAT, true, true>}};

}  // namespace

source_reader choose_source_reader(int format, bool mix_input, bool lut_on) {
  switch (format) {
    case NATIVE_RGBA8:
      return READERS<NATIVE_RGBA8>[mix_input][lut_on];
    case NATIVE_BGRA8:
      return READERS<NATIVE_BGRA8>[mix_input][lut_on];
    case NATIVE_RGBA16:
      return READERS<NATIVE_RGBA16>[mix_input][lut_on];
    case NATIVE_BGRA16:
      return READERS<NATIVE_BGRA16>[mix_input][lut_on];
  }
  report(REPORT_ERROR, "No native->fix line conv for ptype %d = %s", format, native_format_name(format).c_str());
  return nullptr;
}

texel_reader choose_texel_reader(int format, bool mix_input, bool lut_on) {
  switch (format) {
    case NATIVE_RGBA8:
      return TEXEL_READERS<NATIVE_RGBA8>[mix_input][lut_on];
    case NATIVE_BGRA8:
      return TEXEL_READERS<NATIVE_BGRA8>[mix_input][lut_on];
    case NATIVE_RGBA16:
      return TEXEL_READERS<NATIVE_RGBA16>[mix_input][lut_on];
    case NATIVE_BGRA16:
      return TEXEL_READERS<NATIVE_BGRA16>[mix_input][lut_on];
  }
  return nullptr;
}

}  // namespace tessaron
