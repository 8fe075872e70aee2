// The pixel loops of the converters, compiled once per instruction-set level.
//
// A loop sees one stretch of pixels and one row per element; it knows nothing of rasters, spans and
// modes. Each combination is a function of its own, so that no loop tests anything.
#pragma once

#include <cstdint>

#include "catalogue/defuns.h"
#include "evaluator/frame.h"

namespace tessaron {

inline constexpr int N_HOST_FORMATS = 4;
/// Place of a host format in the tables below, -1 for any other format.
static inline constexpr int host_format_slot(int format) {
  return format == NATIVE_RGBA8    ? 0
         : format == NATIVE_BGRA8  ? 1
         : format == NATIVE_RGBA16 ? 2
         : format == NATIVE_BGRA16 ? 3
                                   : -1;
}
/// Place of an element count (1, 3, 4) in the table of readers, -1 for any other.
static inline constexpr int read_count_slot(int n_elements) {
  return n_elements == 1 ? 0 : n_elements == 3 ? 1 : n_elements == 4 ? 2 : -1;
}

using read_row_fn = void (*)(const std::uint8_t* pixels, fix* const* planes, int n);
/// Pixels to interleaved samples, held to 0..8191: what a sampling image is made of.
using read_texels_fn = void (*)(const std::uint8_t* pixels, std::int16_t* texels, int n);
using write_row_fn = void (*)(std::uint8_t* pixels, const fix* const* planes, int n);

struct row_converters {
  read_row_fn read[N_HOST_FORMATS][3][2][2];            // format, count slot, premultiply, input table
  read_texels_fn read_texels[N_HOST_FORMATS][2][2][2];  // format, elements - 3, premultiply, input table
  write_row_fn write[N_HOST_FORMATS][4][2][2];          // format, elements - 1, output table, alpha kept
  void (*write_alpha[N_HOST_FORMATS])(std::uint8_t* pixels, const fix* alpha, int n);
  /// Colours of one row over their alpha; `out` may be `in`.
  void (*postdiv)(const fix* in, fix* out, const fix* alpha, int n);
  void (*widen)(const std::int16_t* in, fix* out, int n);
};

#define TESSARON_DECLARE_CONVERTERS(LEVEL)    \
  namespace LEVEL {                           \
  void set_read_rows(row_converters& table);  \
  void set_texel_rows(row_converters& table); \
  void set_write_rows(row_converters& table); \
  void set_plane_rows(row_converters& table); \
  }

TESSARON_DECLARE_CONVERTERS(level_generic)
TESSARON_DECLARE_CONVERTERS(level_sse41)
TESSARON_DECLARE_CONVERTERS(level_avx2)
TESSARON_DECLARE_CONVERTERS(level_avx512)

/// Loops of a level that the processor runs. The engine uses those of chosen_cpu_level().
row_converters make_row_converters(cpu_level level);
const row_converters& chosen_row_converters();

}  // namespace tessaron
