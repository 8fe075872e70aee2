// Functions of two values: references from the rules, and values worked out by hand.
#include <limits>

#include "support/plain_tables.h"

namespace tessaron::testing {
namespace {

constexpr fix LOWEST = INT32_MIN, HIGHEST = INT32_MAX;

// --- references --------------------------------------------------------------------------------------

fix sum(fix a, fix b) { return low32(wide(a) + b); }
fix difference(fix a, fix b) { return low32(wide(a) - b); }
fix distance(fix a, fix b) { return magnitude(difference(a, b)); }
fix multiplied(fix a, fix b) { return product(a, b); }
fix divided(fix a, fix b) { return quotient(low32(wide(a) * 4096), b); }

fix modulo(fix a, fix limit) {
  if (limit == 0) return 0;
  const wide rest = remainder(a, limit);
  return low32(a < 0 ? rest + magnitude(limit) : rest);
}

fix bounce(fix a, fix limit) {
  const fix l = magnitude(limit);
  if (l == 0) return 0;
  const fix period = low32(2 * wide(l));
  fix r = remainder(a, period);
  if (r < 0) r = low32(wide(r) + period);
  if (r > l) r = low32(wide(period) - r);
  return r;
}

fix round_down(fix a, fix step) {
  if (step == 0) return a;
  const wide base = low32(wide(quotient(a, step)) * step);
  return a < 0 ? low32(base - magnitude(step)) : low32(base);
}

fix smaller(fix a, fix b) { return b < a ? b : a; }
fix larger(fix a, fix b) { return a < b ? b : a; }
fix exclusive_or(fix a, fix b) { return a ^ b; }
fix both(fix a, fix b) { return a & b; }
fix either(fix a, fix b) { return a | b; }
fix screened(fix a, fix b) { return low32(wide(a) + product(low32(4096 - wide(a)), b)); }

fix overlaid(fix back, fix front) {
  if (back < 0x801) return low32(2 * wide(product(front, back)));
  const wide light = low32(wide(back) + product(front, low32(4096 - wide(back))));
  return low32(low32(2 * light) - wide(4096));
}

fix power(fix base, fix exponent) { return nearest_fix(std::pow(real(magnitude(base)), real(exponent))); }

fix logarithm(fix a, fix base) {
  if (magnitude(a) == 4096) return 0;
  const double quotient = std::log(real(magnitude(a))) / std::log(real(magnitude(base)));
  return std::isfinite(quotient) ? nearest_fix(quotient) : std::numeric_limits<fix>::min();
}

/// Where only one argument has the last element, it goes through unchanged.
template <void (*PLAIN)(const sample_input&, fix*)>
void but_missing_alpha(const sample_input& in, fix out[4]) {
  PLAIN(in, out);
  const int last = in.result_elnum - 1;
  if (in.result_elnum % 2 == 1 || in.elnum[0] == in.elnum[1]) return;
  out[last] = in.arg[in.elnum[0] == in.result_elnum ? 0 : 1][last];
}

const register_reference ADD("+", by_element<sum>);
const register_reference ADD_RGB("add_rgb", but_missing_alpha<by_element<sum>>);
const register_reference SUBTRACT("-", by_element<difference>);
const register_reference SUBTRACT_RGB("subtract_rgb", but_missing_alpha<by_element<difference>>);
const register_reference DIFF("diff", by_element<distance>);
const register_reference MULTIPLY("*", by_element<multiplied>);
const register_reference SCALE_RGB("scale_rgb", but_missing_alpha<by_element<multiplied>>);
const register_reference DIVIDE("/", by_element<divided>);
const register_reference MOD("mod", by_element<modulo>);
const register_reference BOUNCE("bounce", by_element<bounce>);
const register_reference ROUND("round", by_element<round_down>);
const register_reference MIN("min", by_element<smaller>);
const register_reference MAX("max", by_element<larger>);
const register_reference XOR("xor", by_element<exclusive_or>);
const register_reference AND("and", by_element<both>);
const register_reference OR("or", by_element<either>);
const register_reference SCREEN("screen", by_element<screened>);
const register_reference OVERLAY("overlay", by_element<overlaid>);
const register_reference EXPT("expt", by_element<power>);
const register_reference LOG("log", by_element<logarithm>);
const register_reference ATAN("atan", by_element<plain_arc_tangent>);

// --- values worked out by hand -----------------------------------------------------------------------

TEST(binary, rgb_counts_as_opaque_against_rgba) {
  expect_values("+", {{1, 2, 3}, {10, 20, 30, 40}}, {11, 22, 33, 4136});
  expect_values("+", {{10, 20, 30, 40}, {1, 2, 3}}, {11, 22, 33, 4136});
  expect_values("-", {{1, 2, 3}, {10, 20, 30, 40}}, {-9, -18, -27, 4056});
  expect_values("diff", {{1, 2, 3}, {10, 20, 30, 40}}, {9, 18, 27, 4056});
}

TEST(binary, a_scalar_spreads_over_all_elements) {
  expect_values("+", {{7}, {10, 20, 30, 40}}, {17, 27, 37, 47});
  expect_values("*", {{100, 200}, {8192}}, {200, 400});
}

TEST(binary, rgb_forms_leave_the_alpha_of_the_other_argument_alone) {
  expect_values("add_rgb", {{10, 20, 30, 40}, {5}}, {15, 25, 35, 40});
  expect_values("add_rgb", {{1, 2, 3}, {10, 20, 30, 40}}, {11, 22, 33, 40});
  expect_values("add_rgb", {{10, 40}, {5}}, {15, 40});
  expect_values("subtract_rgb", {{5}, {10, 20, 30, 40}}, {-5, -15, -25, 40});
  expect_values("subtract_rgb", {{5}, {10, 40}}, {-5, 40});
  expect_values("scale_rgb", {{10, 20, 30, 40}, {8192}}, {20, 40, 60, 40});
  expect_values("scale_rgb", {{10, 20, 30, 40}, {8192, 8192, 8192}}, {20, 40, 60, 40});
}

TEST(binary, rgb_forms_are_the_plain_ones_for_equal_sizes) {
  expect_values("add_rgb", {{10, 20, 30, 40}, {1, 2, 3, 4}}, {11, 22, 33, 44});
  expect_values("scale_rgb", {{10, 20}, {8192, 4096}}, {20, 20});
}

TEST(binary, sums_and_differences_wrap) {
  expect_values("+", {{HIGHEST}, {1}}, {LOWEST});
  expect_values("-", {{LOWEST}, {1}}, {HIGHEST});
  expect_values("diff", {{LOWEST}, {0}}, {LOWEST});
}

TEST(binary, a_product_is_shifted_towards_minus_infinity) {
  expect_values("*", {{2048}, {2048}}, {1024});
  expect_values("*", {{-1}, {1}}, {-1});
  expect_values("*", {{1}, {1}}, {0});
}

TEST(binary, a_product_that_reaches_2_to_the_31_wraps) {
  expect_values("*", {{0x80000}, {0x80000}}, {0});        // 2^38: the low 32 bits are 0
  expect_values("*", {{0x10000}, {0x8000}}, {-0x80000});  // 2^31 is the most negative word
  expect_values("*", {{0x80001}, {0x80001}}, {0x100});    // 2^38 + 2^20 + 1: 2^20 + 1 stays
}

TEST(binary, a_quotient_truncates_and_a_divisor_of_0_leaves_the_shifted_value) {
  expect_values("/", {{4096}, {8192}}, {2048});
  expect_values("/", {{-1}, {3 * 4096}}, {0});
  expect_values("/", {{5}, {0}}, {5 << 12});
  expect_values("/", {{1 << 20}, {4096}}, {0});     // 2^32 has left the word
  expect_values("/", {{1 << 19}, {-1}}, {LOWEST});  // -2^31 / -1 wraps onto itself
}

TEST(binary, mod_of_a_negative_multiple_gives_the_limit) {
  expect_values("mod", {{-8192}, {4096}}, {4096});
  expect_values("mod", {{-8192}, {-4096}}, {4096});
  expect_values("mod", {{-1}, {4096}}, {4095});
  expect_values("mod", {{5000}, {4096}}, {904});
  expect_values("mod", {{5000}, {-4096}}, {904});
}

TEST(binary, mod_by_0_is_0) { expect_values("mod", {{5000}, {0}}, {0}); }
TEST(binary, mod_of_the_most_negative_value_by_minus_one_has_remainder_0) {
  expect_values("mod", {{LOWEST}, {-1}}, {1});
}

TEST(binary, bounce_is_a_triangle_wave) {
  expect_values("bounce", {{1000, 5000, 9000, -1000}, {4096, 4096, 4096, 4096}}, {1000, 3192, 808, 1000});
  expect_values("bounce", {{5000}, {-4096}}, {3192});
  expect_values("bounce", {{5000}, {0}}, {0});
  expect_values("bounce", {{4096}, {4096}}, {4096});
}

TEST(binary, round_of_a_negative_multiple_goes_one_step_down) {
  expect_values("round", {{-4096}, {4096}}, {-8192});
  expect_values("round", {{-1}, {4096}}, {-4096});
  expect_values("round", {{5000}, {4096}}, {4096});
  expect_values("round", {{8192}, {4096}}, {8192});
  expect_values("round", {{5000}, {-4096}}, {4096});
  expect_values("round", {{-5000}, {-4096}}, {-8192});
  expect_values("round", {{-5000}, {0}}, {-5000});
  // The quotient wraps to -2^31, times -1 wraps again, less 1.
  expect_values("round", {{LOWEST}, {-1}}, {HIGHEST});
}

TEST(binary, smaller_larger_and_bits) {
  expect_values("min", {{-5}, {3}}, {-5});
  expect_values("max", {{-5}, {3}}, {3});
  expect_values("min", {{5000, 0, 0}, {1, 1, 1, 5000}}, {1, 0, 0, 4096});
  expect_values("xor", {{0b1100}, {0b1010}}, {0b0110});
  expect_values("and", {{0b1100}, {0b1010}}, {0b1000});
  expect_values("or", {{0b1100}, {0b1010}}, {0b1110});
}

TEST(binary, screen_of_two_halves_is_three_quarters) {
  expect_values("screen", {{2048}, {2048}}, {3072});
  expect_values("screen", {{4096}, {77}}, {4096});
  expect_values("screen", {{0, 0, 0}, {1, 2, 3, 4}}, {1, 2, 3, 4096});
}

TEST(binary, overlay_changes_its_rule_above_one_half) {
  expect_values("overlay", {{2048}, {1024}}, {1024});  // 2 * (1/2 * 1/4)
  expect_values("overlay", {{3072}, {1024}}, {2560});  // 2 * (3/4 + 1/4 * 1/4) - 1 = 5/8
  // 0x801: (0x801 + (4096 * 2047 >> 12)) * 2 - 4096 = 4096
  expect_values("overlay", {{0x801}, {4096}}, {4096});
}

TEST(binary, powers_take_the_magnitude_of_the_base) {
  expect_values("expt", {{8192}, {3 * 4096}}, {8 * 4096});
  expect_values("expt", {{-4 * 4096}, {2048}}, {8192});
  expect_values("expt", {{0}, {0}}, {4096});
  expect_values("expt", {{8192}, {-4096}}, {2048});
  expect_values("expt", {{2048}, {2048}}, {2896});  // 0.70710678 * 4096 = 2896.3
}

TEST(binary, powers_round_to_nearest) {
  expect_values("expt", {{3072}, {8192}}, {2304});      // 9/16
  expect_values("expt", {{6 * 4096}, {-4096}}, {683});  // 682.67
}

TEST(binary, logarithms) {
  expect_values("log", {{8 * 4096}, {2 * 4096}}, {3 * 4096});
  expect_values("log", {{-8 * 4096}, {-2 * 4096}}, {3 * 4096});
  expect_values("log", {{2048}, {8192}}, {-4096});
}

TEST(binary, logarithm_of_one_is_0_and_what_has_none_converts_to_the_most_negative_word) {
  constexpr fix LOWEST = std::numeric_limits<fix>::min();
  expect_values("log", {{4096}, {8192}}, {0});
  expect_values("log", {{-4096}, {4096}}, {0});
  expect_values("log", {{0}, {8192}}, {LOWEST});
  expect_values("log", {{8192}, {4096}}, {LOWEST});
  expect_values("log", {{8192}, {0}}, {0});  // a finite logarithm over an infinite one
}

TEST(binary, arc_tangent_by_octants) {
  expect_values("atan", {{0}, {0}}, {0});
  // y, x: east, north-east, north, north-west, west, south-west, south, south-east
  expect_values("atan", {{0}, {4096}}, {0});
  expect_values("atan", {{4096}, {4096}}, {512});
  expect_values("atan", {{4096}, {0}}, {1024});
  expect_values("atan", {{4096}, {-4096}}, {1536});
  expect_values("atan", {{0}, {-4096}}, {2048});
  expect_values("atan", {{-4096}, {-4096}}, {-1536});
  expect_values("atan", {{-4096}, {0}}, {-1024});
  expect_values("atan", {{-4096}, {4096}}, {-512});
  expect_values("atan", {{1024}, {4096}}, {160});  // atan(1/4) is 14.036 degrees: 159.7 steps
}

}  // namespace
}  // namespace tessaron::testing
