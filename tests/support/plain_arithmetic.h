// Arithmetic for references: every step in 64 bits, then cut to 32, so that nothing is shared with the
// engine's own helpers.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "support/kernel_harness.h"

namespace tessaron::testing {

using wide = std::int64_t;

/// The low 32 bits, as a signed number.
inline fix low32(wide v) { return fix(std::uint32_t(std::uint64_t(v))); }
/// The low 32 bits of a product, shifted right by 12 towards minus infinity.
inline fix product(wide a, wide b) { return fix(std::floor(low32(a * b) / 4096.0)); }
/// v / 2^bits towards minus infinity.
inline fix floor_shift(wide v, int bits) { return fix(std::floor(double(v) / double(wide(1) << bits))); }
/// |v| in 32 bits: the most negative value stays.
inline fix magnitude(wide v) { return low32(v < 0 ? -v : v); }
/// Truncating quotient in 32 bits; a divisor of 0 counts as 1.
inline fix quotient(wide a, wide b) { return low32(b == 0 ? a : a / b); }
/// Remainder that belongs to quotient().
inline fix remainder(wide a, wide b) { return b == 0 ? 0 : low32(a % b); }
/// A real number as fix: the low 32 bits of the mantissa of v + 2^40 + 2^19, less 2^31.
inline fix nearest_fix(double v) {
  const double sum = v + 1099512152064.0;
  std::uint64_t bits;
  std::memcpy(&bits, &sum, sizeof bits);
  return low32(wide(bits & 0xffffffff) - 0x80000000);
}
/// A fix as a real number, by way of single precision.
inline double real(fix v) { return double(float(v)) / 4096.0; }

/// Element e of argument a by the element rule: the last element spreads, missing alpha of rgb is 1.0.
inline fix element(const sample_input& in, int a, int e) {
  if (e == 3 && in.elnum[a] == 3) return 4096;
  return in.arg[a][e < in.elnum[a] ? e : in.elnum[a] - 1];
}

// References of elementwise functions, from a formula for one element.

template <fix (*OF)(fix)>
void by_element(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = OF(element(in, 0, e));
}
template <fix (*OF)(fix, fix)>
void by_element(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = OF(element(in, 0, e), element(in, 1, e));
}
template <fix (*OF)(fix, fix, fix)>
void by_element(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = OF(element(in, 0, e), element(in, 1, e), element(in, 2, e));
}

}  // namespace tessaron::testing
