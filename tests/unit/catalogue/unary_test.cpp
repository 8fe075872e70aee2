// Functions of one value: references from the rules, and values worked out by hand.
#include "support/plain_tables.h"

namespace tessaron::testing {
namespace {

constexpr fix LOWEST = INT32_MIN;
// --- references --------------------------------------------------------------------------------------

fix absolute(fix a) { return magnitude(a); }
fix negated(fix a) { return low32(-wide(a)); }
fix one_less(fix a) { return low32(4096 - wide(a)); }

fix unit_sine(fix a) { return floor_shift(plain_sine(a), 1) + 2048; }
fix unit_cosine(fix a) { return floor_shift(plain_cosine(a), 1) + 2048; }

fix square_root(fix v) {
  if (v <= 0) return 0;
  if (v < 0x400) return floor_shift(plain_root_entry(v) + 0x800, 12);
  // Below the limit: index by this shift, so many bits of fraction from this place, rounding, shift.
  struct step {
    wide below;
    int index_shift, fraction_shift, fraction_bits;
    fix rounding;
    int result_shift;
  };
  static const step STEPS[] = {{0x4000, 4, 0, 4, 0x200, 10},   {0x40000, 8, 0, 8, 0x80, 8},
                               {0x400000, 12, 2, 10, 0x20, 6}, {0x4000000, 16, 6, 10, 8, 4},
                               {0x40000000, 20, 10, 10, 2, 2}, {0x80000000, 24, 14, 10, 0, 0}};
  const step* s = STEPS;
  while (v >= s->below) ++s;
  const int i = v >> s->index_shift;
  const wide f = (v >> s->fraction_shift) & ((1 << s->fraction_bits) - 1);
  const wide entry = plain_root_entry(i), d = plain_root_entry(i + 1) - entry;
  return floor_shift(entry + s->rounding + floor_shift(d * f, s->fraction_bits), s->result_shift);
}

/// Exponent and mantissa of |v| taken apart: whole part 31 - 12 for 2^31, fraction linear between.
fix fast_log(fix v) {
  const double a = std::fabs(double(float(magnitude(v))));
  if (a == 0) return -0x20000;
  int exponent;
  const double mantissa = 2 * std::frexp(a, &exponent);  // 1 <= mantissa < 2
  return (exponent - 1 - 12) * 4096 + fix(std::floor((mantissa - 1) * 4096));
}
fix rough_length(fix a, fix b) {
  const fix p = magnitude(a), q = magnitude(b);
  return low32(wide(std::max(p, q)) + floor_shift(std::min(p, q), 1));
}

const register_reference ABS("abs", by_element<absolute>);
const register_reference NEGATE("negate", by_element<negated>);
const register_reference ONE_MINUS("one_minus", by_element<one_less>);
const register_reference SIN("sin", by_element<plain_sine>);
const register_reference COS("cos", by_element<plain_cosine>);
const register_reference NSIN("nsin", by_element<unit_sine>);
const register_reference NCOS("ncos", by_element<unit_cosine>);
const register_reference SQRT("sqrt", by_element<square_root>);
const register_reference LOG_FOR_MIPMAP("log_for_mipmap", [](const sample_input& in, fix out[4]) {
  const fix* v = in.arg[0];
  for (int e = 0; e < in.result_elnum; ++e)
    out[e] = fast_log(in.elnum[0] == 4 ? floor_shift(rough_length(v[2 * e], v[2 * e + 1]), 1) : v[e]);
});
const register_reference LOG_FOR_MIPMAP_ROTATE("log_for_mipmap_rotate", [](const sample_input& in, fix out[4]) {
  const fix turn = in.arg[0][0], scale = in.arg[1][0];
  out[0] = out[1] = fast_log(rough_length(product(scale, plain_cosine(turn)), product(scale, plain_sine(turn))));
});

// --- values worked out by hand -----------------------------------------------------------------------

TEST(unary, abs_keeps_the_most_negative_value) {
  expect_values("abs", {{-4096}}, {4096});
  expect_values("abs", {{5, -5, 0, LOWEST}}, {5, 5, 0, LOWEST});
}

TEST(unary, negate_wraps_at_the_most_negative_value) { expect_values("negate", {{1, LOWEST}}, {-1, LOWEST}); }

TEST(unary, one_minus_of_the_ends) { expect_values("one_minus", {{0, 4096, 8192}}, {4096, 0, -4096}); }

TEST(unary, sine_reaches_one_at_a_quarter_turn_and_repeats_each_turn) {
  expect_values("sin", {{0, 1024, 2048, 3072}}, {0, 4096, 0, -4096});
  expect_values("sin", {{4096 + 1024, -1024}}, {4096, -4096});
  // A twelfth of a turn is 30 degrees; 341 steps are 29.97: 4096 * sin = 2046.1.
  expect_values("sin", {{341}}, {2046});
}

TEST(unary, cosine_is_sine_a_quarter_turn_on) { expect_values("cos", {{0, 1024, 2048, 3072}}, {4096, 0, -4096, 0}); }

TEST(unary, unit_waves_lie_between_0_and_1) {
  expect_values("nsin", {{0, 1024, 2048, 3072}}, {2048, 4096, 2048, 0});
  expect_values("ncos", {{0, 1024, 2048, 3072}}, {4096, 2048, 0, 2048});
}

TEST(unary, roots_of_squares_are_exact_in_every_range_of_the_table) {
  // sqrt(1/4096) = 1/64, sqrt(1/4) = 1/2, sqrt(4) = 2, sqrt(1024) = 32, sqrt(16384) = 128
  expect_values("sqrt", {{1, 1024, 4096}}, {64, 2048, 4096});
  expect_values("sqrt", {{4 << 12, 1024 << 12, 16384 << 12}}, {2 << 12, 32 << 12, 128 << 12});
}

TEST(unary, root_of_a_negative_value_is_0) { expect_values("sqrt", {{-1, 0, LOWEST}}, {0, 0, 0}); }

TEST(unary, mipmap_level_is_the_logarithm_to_base_2) {
  expect_values("log_for_mipmap", {{4096}}, {0});
  expect_values("log_for_mipmap", {{8192, -2048}}, {4096, -4096});
  expect_values("log_for_mipmap", {{6144}}, {2048});  // 1.5: the mantissa counts linearly
  expect_values("log_for_mipmap", {{0}}, {-32 * 4096});
}

TEST(unary, mipmap_level_of_a_jacobian_takes_half_of_the_larger_and_half_the_smaller) {
  // (4.0 + 0) / 2 = 2.0, level 1; (4.0 + 2.0 / 2) / 2 = 2.5, level 1 and a quarter.
  expect_values("log_for_mipmap", {{4 << 12, 0, -(2 << 12), 4 << 12}}, {4096, 4096 + 1024});
}

TEST(unary, mipmap_level_without_rotation_is_that_of_the_scale) {
  expect_values("log_for_mipmap_rotate", {{0}, {8192}}, {4096, 4096});
  expect_values("log_for_mipmap_rotate", {{1024}, {-8192}}, {4096, 4096});
}

}  // namespace
}  // namespace tessaron::testing
