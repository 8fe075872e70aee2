// The four host formats: where a pixel's fields lie and how a field and a fix become each other.
//
// Included only by files that are compiled once per instruction-set level. Pixels are taken as 32-bit
// words and fields cut out by shifts, which the compiler turns into vector code where loads of single
// fields would need a gather. Rows of fix and host memory never overlap: loops say so with `ivdep`.
#pragma once

#include <bit>
#include <cstdint>

#include "base/fixed.h"
#include "host/configuration.h"
#include "host/converters/row_converters.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// Host memory: any alignment, any type.
using word [[gnu::may_alias, gnu::aligned(1)]] = std::uint32_t;

enum channel : int { RED, GREEN, BLUE, ALPHA };

/// Place of a channel's field in a pixel.
template <bool ALPHA_FIRST>
constexpr int field_place(int c) {
  return ALPHA_FIRST ? (c == ALPHA ? 0 : 1 + c) : (c == ALPHA ? 3 : 2 - c);
}

/// Bits to shift a field of `bits` bits at `place` of its word.
constexpr int field_shift(int place, int bits) {
  return std::endian::native == std::endian::little ? place * bits : 32 - bits - place * bits;
}

/// A pixel of 8-bit fields is one word.
template <int FORMAT, bool ALPHA_FIRST>
struct layout_8 {
  static constexpr int SLOT = host_format_slot(FORMAT);
  static constexpr int WORDS = 1;
  static constexpr std::uint32_t FULL_SCALE = 255;

  static constexpr int shift(int c) { return field_shift(field_place<ALPHA_FIRST>(c), 8); }
  static constexpr int word_of(int) { return 0; }
  static constexpr std::uint32_t MASK = 0xff;

  static inline fix to_fix(std::uint32_t v) { return fix(v << 4 | v >> 4); }
  static inline fix table_to_fix(std::uint32_t v) { return input_lut8[v]; }
  static inline std::uint32_t from_fix(fix f) { return std::uint32_t(fix_clamp(f, 0, 4095)) >> 4; }
  static inline std::uint32_t table_from_fix(fix f) { return output_lut8[fix_clamp(f, 0, 4095)]; }
};

/// A pixel of 16-bit fields is two words.
template <int FORMAT, bool ALPHA_FIRST>
struct layout_16 {
  static constexpr int SLOT = host_format_slot(FORMAT);
  static constexpr int WORDS = 2;

  static constexpr int shift(int c) { return field_shift(field_place<ALPHA_FIRST>(c) % 2, 16); }
  static constexpr int word_of(int c) { return field_place<ALPHA_FIRST>(c) / 2; }
  static constexpr std::uint32_t MASK = 0xffff;
};

struct rgba8 : layout_8<NATIVE_RGBA8, true> {};
struct bgra8 : layout_8<NATIVE_BGRA8, false> {};

/// White at 32768.
struct rgba16 : layout_16<NATIVE_RGBA16, true> {
  static constexpr std::uint32_t FULL_SCALE = 32768;
  static inline fix to_fix(std::uint32_t v) { return fix(v >> 3); }
  /// White and what is above it read the table's last entry.
  static inline fix table_to_fix(std::uint32_t v) { return input_lut12[fix_min(to_fix(v), 4095)]; }
  static inline std::uint32_t from_fix(fix f) { return std::uint32_t(fix_clamp(f, 0, 4096)) << 3; }
  static inline std::uint32_t table_from_fix(fix f) {
    const std::uint32_t t = std::uint32_t(output_lut12[fix_clamp(f, 0, 4095)]);
    return t << 3 | t >> 9;
  }
};

/// White at 65535.
struct bgra16 : layout_16<NATIVE_BGRA16, false> {
  static constexpr std::uint32_t FULL_SCALE = 65535;
  static inline std::uint32_t spread(std::uint32_t t) { return t << 4 | t >> 8; }
  static inline fix to_fix(std::uint32_t v) { return fix(v >> 4); }
  static inline fix table_to_fix(std::uint32_t v) { return input_lut12[v >> 4]; }
  static inline std::uint32_t from_fix(fix f) { return spread(std::uint32_t(fix_clamp(f, 0, 4095))); }
  static inline std::uint32_t table_from_fix(fix f) {
    return spread(std::uint32_t(output_lut12[fix_clamp(f, 0, 4095)]));
  }
};

/// The field of channel C of the pixel at `p`.
template <class F, int C>
inline std::uint32_t field(const word* p) {
  return p[F::word_of(C)] >> F::shift(C) & F::MASK;
}

/// One colour: through the table when there is one, then times alpha when rows are premultiplied.
template <class F, int C, bool MIX, bool TABLE>
inline fix read_colour(const word* p, fix alpha) {
  const std::uint32_t v = field<F, C>(p);
  const fix colour = TABLE ? F::table_to_fix(v) : F::to_fix(v);
  return MIX ? fix_mul(colour, alpha) : colour;
}

/// Ones in word W where channel C lies, 0 when it lies in another word.
template <class F, int C, int W>
constexpr std::uint32_t field_mask() {
  return F::word_of(C) == W ? F::MASK << F::shift(C) : 0;
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
