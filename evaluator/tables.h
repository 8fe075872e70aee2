// Look-up tables and their readers: sines, roots, arc tangents, hashes. Built once per process.
#pragma once

#include <cstdint>

#include "base/fixed.h"

namespace tessaron {

inline constexpr int BELL_TABLE_SIZE = 4608;

extern fix sine_table[1025];   // a quarter turn, sin(2 pi i / 4096)
extern fix sqrt_table[1026];   // sqrt(i / 4096) with 24 fraction bits; one spare entry behind the last
extern fix atan_table[1025];   // atan(k / 1024) in revolutions
extern fix bell_table[BELL_TABLE_SIZE];  // quadratic bell over the squared radius
extern fix bell_limit;         // twice the index of the first 0 entry of bell_table
extern std::uint32_t hash_table[256];

/// Builds all of them. Safe to call again.
void build_tables();

// The readers are `static inline` for the same reason as the arithmetic in base/fixed.h.

/// Sine of v revolutions; only the low 12 bits of v count.
static inline fix fix_sin(fix v) {
  fix i = v & 0x3ff;
  if (v & 0x400) i = 0x400 - i;
  const fix s = sine_table[i];
  return (v & 0x800) ? -s : s;
}
static inline fix fix_cos(fix v) { return fix_sin(wrap_add(v, 0x400)); }

// One table step: entry i of sqrt_table, f of 2^bits towards the next, `round` added, shifted down.
static inline fix sqrt_step(fix i, fix f, int bits, fix round, int shift) {
  const fix d = sqrt_table[i + 1] - sqrt_table[i];
  return (sqrt_table[i] + round + ((d * f) >> bits)) >> shift;
}

/// Square root of a fix; values at or below 0 give 0.
static inline fix fix_sqrt(fix v) {
  if (v <= 0) return 0;
  if (v < 0x400) return (sqrt_table[v] + 0x800) >> 12;
  if (v < 0x4000) return sqrt_step(v >> 4, v & 0xf, 4, 0x200, 10);
  if (v < 0x40000) return sqrt_step(v >> 8, v & 0xff, 8, 0x80, 8);
  if (v < 0x400000) return sqrt_step(v >> 12, (v >> 2) & 0x3ff, 10, 0x20, 6);
  if (v < 0x4000000) return sqrt_step(v >> 16, (v >> 6) & 0x3ff, 10, 8, 4);
  if (v < 0x40000000) return sqrt_step(v >> 20, (v >> 10) & 0x3ff, 10, 2, 2);
  return sqrt_step(v >> 24, (v >> 14) & 0x3ff, 10, 0, 0);
}

/// Square root of a sum of squares with 24 fraction bits, as a fix. A wrapped (negative) sum is 16.0.
static inline fix fix_mag2(fix s) {
  if (s < 0) return 0x10000;
  if (s < 0x4000) return sqrt_step(s >> 4, s & 0xf, 4, 0x8000, 16);
  if (s < 0x40000) return sqrt_step(s >> 8, s & 0xff, 8, 0x2000, 14);
  if (s < 0x400000) return sqrt_step(s >> 12, (s >> 2) & 0x3ff, 10, 0x800, 12);
  if (s < 0x4000000) return sqrt_step(s >> 16, (s >> 6) & 0x3ff, 10, 0x200, 10);
  if (s < 0x40000000) return sqrt_step(s >> 20, (s >> 10) & 0x3ff, 10, 0x80, 8);
  return sqrt_step(s >> 22, (s >> 12) & 0x3ff, 10, 0x40, 7);
}

/// Angle of (x, y) in revolutions, by octants; (0, 0) gives 0.
fix fix_atan2(fix y, fix x);

/// Luma with weights 5/16, 8/16, 3/16.
static inline fix fix_mono(fix r, fix g, fix b) {
  return wrap_add(wrap_add(wrap_add(r, b) >> 1, g), wrap_sub(r, b) >> 3) >> 1;
}

static inline std::uint32_t hash_step(std::uint32_t v) { return (v >> 8) + hash_table[v & 255]; }
static inline std::uint32_t hash4(std::uint32_t v) { return hash_step(hash_step(hash_step(hash_step(v)))); }

}  // namespace tessaron
