#include "evaluator/tables.h"

#include <cmath>

namespace tessaron {

fix sine_table[1025];
fix sqrt_table[1026];
fix atan_table[1025];
fix bell_table[BELL_TABLE_SIZE];
fix bell_limit;
std::uint32_t hash_table[256];

namespace {

constexpr double TURN = double(6.2831855f);  // 2 pi as the single precision number

void build_hash_table() {
  std::uint32_t state = 0;
  const auto next = [&state] { return state = (state * 4096u + 150889u) % 714025u; };
  for (std::uint32_t& entry : hash_table) {
    const std::uint32_t s1 = next(), s2 = next(), s3 = next();
    entry = s3 * 0x40000u + s2 * 0x100u + (s1 >> 2);
  }
}

void build_bell_table() {
  bell_limit = 2 * BELL_TABLE_SIZE;
  for (int i = BELL_TABLE_SIZE - 1; i >= 0; --i) {
    const double t = std::sqrt(double(i) / BELL_TABLE_SIZE);
    bell_table[i] = fix_from_double(t < 0.5 ? 1 - 2 * t * t : 2 * (1 - t) * (1 - t));
    if (bell_table[i] == 0) bell_limit = 2 * i;
  }
}

// The quotient of two magnitudes, at most 1.0. Wrapped operands can leave that range: the table's
// ends stand in.
fix arc(fix ratio) { return atan_table[fix_clamp(ratio >> 2, 0, 1024)]; }

}  // namespace

void build_tables() {
  for (int i = 0; i <= 1024; ++i) {
    sine_table[i] = fix_from_double(std::sin(TURN * i / 4096));
    sqrt_table[i] = fix(std::sqrt(i / 4096.0) * 16777216 + 0.5);
    atan_table[i] = fix_from_double(std::atan(i / 1024.0) / TURN);
  }
  sqrt_table[1025] = sqrt_table[1024];
  build_bell_table();
  build_hash_table();
}

fix fix_atan2(fix y, fix x) {
  const auto quotient = [](fix a, fix b) { return wrap_div(wrap_mul(a, FIX_ONE), b); };
  const fix minus_x = wrap_neg(x), minus_y = wrap_neg(y);
  if (x == 0 && y == 0) return 0;
  if (x < 0) {
    if (y < 0) {
      if (x < y) return arc(quotient(minus_y, minus_x)) - 0x800;
      return -0x400 - arc(quotient(minus_x, minus_y));
    }
    if (minus_y == x || minus_x < y) return arc(quotient(minus_x, y)) + 0x400;
    return 0x800 - arc(quotient(y, minus_x));
  }
  if (y < 0) {
    if (minus_y < x) return -arc(quotient(minus_y, x));
    return arc(quotient(x, minus_y)) - 0x400;
  }
  if (y < x) return arc(quotient(y, x));
  return 0x400 - arc(quotient(x, y));
}

}  // namespace tessaron
