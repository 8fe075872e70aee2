// Rows between host pixels and fix: one function for each format, element count and table setting.
//
// A row position is given in frame coordinates; what lies outside a raster reads as 0 and is not
// written. The loops over pixels are in host/converters/, once per instruction-set level.
#pragma once

#include <cstdint>
#include <string>

#include "evaluator/frame.h"

namespace tessaron {

/// Name of a format number, "%x??" of it when there is none.
std::string native_format_name(int format);

struct row_span_result {
  int n, left, right;
  std::int64_t offset;
};  // offset in bytes to the first pixel inside
/// Where columns x0..x1 of frame row y lie in a raster. Wholly outside: n 0, left the whole request.
row_span_result row_span(const raster_info& raster, int x0, int x1, int y);

/// Reader for inputs of this render: by format, premultiply on reading, and input table. A format
/// that hosts do not use is reported and gives null.
source_reader choose_source_reader(int format, bool mix_input, bool lut_on);
/// The same reader's values as samples of a sampling image, without rows of fix between; null for other formats.
texel_reader choose_texel_reader(int format, bool mix_input, bool lut_on);
/// Writer for the output: by format and output table. A format that hosts do not use is reported and
/// gives null. A call of the writer with no columns only checks the combination.
dest_writer choose_dest_writer(int format, bool lut_on);

/// Straightens premultiplied rows of 1 to 4 elements; `in` and `out` may be the same. The last of 2
/// or 4 elements is alpha and kept. `alpha` null with 4 elements: plane 4 holds it.
void postdiv(const fix* const* in, fix* const* out, const fix* alpha, int n_elements, int width);
/// Writes a constant alpha (0 to 1) into columns x0..x1 of row y. 16-bit formats both take the scale
/// of 32768.
void alpha_copy_constant(const raster_info& raster, int y, int x0, int x1, float a);
/// Moves the alpha field of `from` into `to`, through fix; 0 where `from` has no pixel. False: no rule
/// for the formats (reported).
bool alpha_copy(const raster_info& to, const raster_info& from, int y, int x0, int x1);
/// Writes whole planes (short images of the view) to the render rectangle of the output as a row job,
/// with the writer of pixel_io. An illegal combination is reported and writes nothing.
void write_planes_to_dest(const std::int16_t* const* planes, int n_elements, int alpha_mode);

}  // namespace tessaron
