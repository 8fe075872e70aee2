// Plain forms of the look-up functions for references: entries are computed where they are read, and
// every step runs in 64 bits or in double.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/plain_arithmetic.h"

namespace tessaron::testing {

/// A turn in radians, as the tables take it: a single precision number.
inline const double PLAIN_TURN = double(6.2831855f);

/// The table covers a quarter turn; the other quarters mirror it.
inline fix plain_sine(fix a) {
  const int step = a & 0xfff, quarter = step / 1024, along = step % 1024;
  const int index = quarter % 2 ? 1024 - along : along;
  const fix s = fix(std::lround(4096 * std::sin(PLAIN_TURN * index / 4096)));
  return quarter < 2 ? s : -s;
}
inline fix plain_cosine(fix a) { return plain_sine(low32(wide(a) + 1024)); }

/// The arc whose tangent is ratio / 4096, in steps of 4; ratios that wrapped stand at the table's ends.
inline fix plain_arc(fix ratio) {
  const fix k = std::clamp(floor_shift(ratio, 2), 0, 1024);
  return fix(std::lround(4096 * std::atan(k / 1024.0) / PLAIN_TURN));
}

inline fix plain_arc_tangent(fix y, fix x) {
  const auto ratio = [](fix a, fix b) { return quotient(low32(wide(a) * 4096), b); };
  const fix mx = low32(-wide(x)), my = low32(-wide(y));
  if (x == 0 && y == 0) return 0;
  if (x < 0 && y < 0) return x < y ? plain_arc(ratio(my, mx)) - 0x800 : -0x400 - plain_arc(ratio(mx, my));
  if (x < 0) return my == x || mx < y ? plain_arc(ratio(mx, y)) + 0x400 : 0x800 - plain_arc(ratio(y, mx));
  if (y < 0) return my < x ? -plain_arc(ratio(my, x)) : plain_arc(ratio(x, my)) - 0x400;
  return y < x ? plain_arc(ratio(y, x)) : 0x400 - plain_arc(ratio(x, y));
}

/// sqrt(i / 4096) with 24 fraction bits.
inline fix plain_root_entry(int i) { return fix(std::sqrt(i / 4096.0) * 16777216 + 0.5); }

/// Root of a sum of squares with 24 fraction bits; a sum that wrapped below zero is 16.0.
inline fix plain_length(fix squares) {
  if (squares < 0) return 65536;
  struct step {
    wide below;
    int index_shift, fraction_shift, fraction_bits;
    fix rounding;
    int result_shift;
  };
  static const step STEPS[] = {{0x4000, 4, 0, 4, 0x8000, 16},     {0x40000, 8, 0, 8, 0x2000, 14},
                               {0x400000, 12, 2, 10, 0x800, 12},  {0x4000000, 16, 6, 10, 0x200, 10},
                               {0x40000000, 20, 10, 10, 0x80, 8}, {0x80000000, 22, 12, 10, 0x40, 7}};
  const step* s = STEPS;
  while (squares >= s->below) ++s;
  const int i = squares >> s->index_shift;
  const wide f = (squares >> s->fraction_shift) & ((1 << s->fraction_bits) - 1);
  const wide entry = plain_root_entry(i), d = plain_root_entry(i + 1) - entry;
  return floor_shift(entry + s->rounding + floor_shift(d * f, s->fraction_bits), s->result_shift);
}
/// Length of `n` elements.
inline fix plain_length_of(const fix* v, int n) {
  fix squares = 0;
  for (int e = 0; e < n; ++e) squares = low32(wide(squares) + low32(wide(v[e]) * v[e]));
  return plain_length(squares);
}

/// 5/16 red, 8/16 green, 3/16 blue, in shifts.
inline fix plain_luma(const fix* rgb) {
  const wide half = floor_shift(low32(wide(rgb[0]) + rgb[2]), 1), lean = floor_shift(low32(wide(rgb[0]) - rgb[2]), 3);
  return floor_shift(low32(low32(half + rgb[1]) + lean), 1);
}

/// One step of the hash of an index below 256.
inline std::uint32_t plain_hash_entry(std::uint32_t i) {
  static const std::vector<std::uint32_t> table = [] {
    std::vector<std::uint32_t> entries;
    std::uint64_t s = 0;
    for (int i = 0; i < 256; ++i) {
      std::uint64_t part[3];
      for (std::uint64_t& p : part) p = s = (s * 4096 + 150889) % 714025;
      entries.push_back(std::uint32_t(part[2] * 0x40000 + part[1] * 0x100 + part[0] / 4));
    }
    return entries;
  }();
  return table[i];
}
/// Four steps of the hash.
inline std::uint32_t plain_hash(std::uint32_t v) {
  for (int i = 0; i < 4; ++i) v = v / 256 + plain_hash_entry(v % 256);
  return v;
}

}  // namespace tessaron::testing
