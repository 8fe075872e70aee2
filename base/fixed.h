// Fixed-point arithmetic: the one home of wrap-around sums and products.
//
// A `fix` is a signed 32-bit number with 12 fraction bits: 4096 is 1.0.
// Kernels never saturate. Sums and products wrap modulo 2^32, which is done on
// unsigned words because signed overflow is undefined. Right shifts are
// arithmetic and round towards minus infinity; division truncates towards zero.
#pragma once

#include <cstdint>
#include <cstring>

namespace tessaron {

using fix = std::int32_t;

inline constexpr fix FIX_ONE = 4096;
inline constexpr int FIX_BITS = 12;

// Everything here is `static inline` and free of library calls, so that the copies compiled for
// one instruction-set level never stand in for those of another at link time.
static inline constexpr fix wrap_add(fix a, fix b) { return fix(std::uint32_t(a) + std::uint32_t(b)); }
static inline constexpr fix wrap_sub(fix a, fix b) { return fix(std::uint32_t(a) - std::uint32_t(b)); }
static inline constexpr fix wrap_mul(fix a, fix b) { return fix(std::uint32_t(a) * std::uint32_t(b)); }
static inline constexpr fix wrap_neg(fix a) { return fix(0u - std::uint32_t(a)); }
static inline constexpr fix wrap_shl(fix a, int bits) { return fix(std::uint32_t(a) << bits); }

/// |a|; the most negative value keeps its bits.
static inline constexpr fix wrap_abs(fix a) { return a < 0 ? wrap_neg(a) : a; }

/// Product of two fix values: the low 32 bits of a * b, shifted right by 12.
static inline constexpr fix fix_mul(fix a, fix b) { return wrap_mul(a, b) >> FIX_BITS; }

/// Truncating quotient. A divisor of 0 counts as 1; the most negative value by -1 gives itself.
static inline constexpr fix wrap_div(fix a, fix b) {
  if (b == 0) return a;
  if (b == -1) return wrap_neg(a);
  return a / b;
}

/// Remainder of the truncating quotient. A divisor of 0 or -1 gives 0.
static inline constexpr fix wrap_rem(fix a, fix b) {
  if (b == 0 || b == -1) return 0;
  return a % b;
}

static inline constexpr fix fix_min(fix a, fix b) { return a < b ? a : b; }
static inline constexpr fix fix_max(fix a, fix b) { return a > b ? a : b; }
static inline constexpr fix fix_clamp(fix v, fix low, fix high) { return v < low ? low : v > high ? high : v; }

/// Nearest fix to `v` (ties to even), exact for magnitudes below 2^19. Larger values wrap;
/// infinities and NaN give some fixed number. Adding 2^40 + 2^19 leaves the 12 fraction bits at
/// the bottom of the mantissa.
static inline fix fix_from_double(double v) {
  const double shifted = v + 1099512152064.0;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &shifted, sizeof bits);
  return fix(std::uint32_t(bits) - 0x80000000u);
}

/// `f` in single precision; one step of fix is 1/4096.
static inline constexpr float fix_to_float(fix f) { return float(f) * 0.00024414063f; }

}  // namespace tessaron
