// Pass hooks of arithmetic, blends and choices: which argument a node equals.
#include "support/pass_hook_kit.h"

namespace tessaron::testing {
namespace {

TEST(arithmetic_hooks, a_sum_with_zero_is_the_other_argument) {
  for (const char* name : {"+", "add_rgb", "comp_rgba"}) {
    EXPECT_EQ(passes(name, 4, {row(4), zero(4)}), 0) << name;
    EXPECT_EQ(passes(name, 4, {zero(4), row(4)}), 1) << name;
    EXPECT_EQ(passes(name, 4, {row(4), one(4)}), NONE) << name;
    EXPECT_EQ(passes(name, 4, {row(4), row(4)}), NONE) << name;
  }
}

TEST(arithmetic_hooks, three_zeros_are_not_zero_as_their_alpha_is_1) {
  EXPECT_EQ(passes("+", 3, {row(3), zero(3)}), NONE);
  EXPECT_EQ(passes("*", 3, {row(3), zero(3)}), NONE);
  EXPECT_EQ(passes("*", 3, {row(3), one(3)}), 0);
}

TEST(arithmetic_hooks, a_difference_passes_only_what_zero_is_taken_from) {
  for (const char* name : {"-", "subtract_rgb"}) {
    EXPECT_EQ(passes(name, 1, {row(1), zero(1)}), 0) << name;
    EXPECT_EQ(passes(name, 1, {zero(1), row(1)}), NONE) << name;
  }
}

TEST(arithmetic_hooks, a_product_passes_to_its_zero_or_past_its_one) {
  EXPECT_EQ(passes("*", 1, {zero(1), row(1)}), 0);
  EXPECT_EQ(passes("*", 1, {row(1), zero(1)}), 1);
  EXPECT_EQ(passes("*", 1, {row(1), one(1)}), 0);
  EXPECT_EQ(passes("*", 1, {one(1), row(1)}), 1);
  EXPECT_EQ(passes("*", 1, {row(1), constant({2048})}), NONE);
}

TEST(arithmetic_hooks, scale_rgb_by_zero_passes_only_where_it_reaches_alpha) {
  EXPECT_EQ(passes("scale_rgb", 4, {row(4), zero(4)}), 1);  // counts agree
  EXPECT_EQ(passes("scale_rgb", 3, {row(3), zero(1)}), 1);  // no alpha at all
  EXPECT_EQ(passes("scale_rgb", 4, {row(4), zero(1)}), NONE);
  EXPECT_EQ(passes("scale_rgb", 2, {zero(1), row(2)}), NONE);
  EXPECT_EQ(passes("scale_rgb", 4, {row(4), one(1)}), 0);
  EXPECT_EQ(passes("scale_rgb", 2, {one(1), row(2)}), 1);
}

TEST(arithmetic_hooks, quotients_and_powers_of_zero_or_by_one) {
  for (const char* name : {"/", "expt", "gamma"}) {
    EXPECT_EQ(passes(name, 1, {zero(1), row(1)}), 0) << name;
    EXPECT_EQ(passes(name, 1, {row(1), one(1)}), 0) << name;
    EXPECT_EQ(passes(name, 1, {row(1), zero(1)}), NONE) << name;
    EXPECT_EQ(passes(name, 1, {one(1), row(1)}), NONE) << name;
  }
}

TEST(arithmetic_hooks, screen_with_black_or_white) {
  EXPECT_EQ(passes("screen", 1, {row(1), zero(1)}), 0);
  EXPECT_EQ(passes("screen", 1, {zero(1), row(1)}), 1);
  EXPECT_EQ(passes("screen", 1, {row(1), one(1)}), 1);
  EXPECT_EQ(passes("screen", 1, {one(1), row(1)}), 0);
  EXPECT_EQ(passes("screen", 1, {row(1), constant({5})}), NONE);
}

TEST(arithmetic_hooks, multiply_add_without_a_product_or_without_a_sum) {
  EXPECT_EQ(passes("*+", 1, {zero(1), row(1), row(1)}), 2);
  EXPECT_EQ(passes("*+", 1, {row(1), zero(1), row(1)}), 2);
  EXPECT_EQ(passes("*+", 1, {row(1), one(1), zero(1)}), 0);
  EXPECT_EQ(passes("*+", 1, {one(1), row(1), zero(1)}), 1);
  EXPECT_EQ(passes("*+", 1, {row(1), row(1), zero(1)}), NONE);
  EXPECT_EQ(passes("*+", 1, {row(1), one(1), row(1)}), NONE);
}

TEST(blend_hooks, interp_at_its_ends_and_between_equals) {
  EXPECT_EQ(passes("interp", 1, {row(1), row(1), zero(1)}), 0);
  EXPECT_EQ(passes("interp", 1, {row(1), row(1), one(1)}), 1);
  EXPECT_EQ(passes("interp", 1, {constant({7}), constant({7}), row(1)}), 0);
  EXPECT_EQ(passes("interp", 1, {constant({7}), constant({8}), row(1)}), NONE);
  EXPECT_EQ(passes("interp", 1, {zero(1), one(1), row(1)}), 2);
  EXPECT_EQ(passes("interp", 1, {row(1), row(1), constant({8192})}), NONE);
}

TEST(blend_hooks, dissolve_beyond_its_ends) {
  EXPECT_EQ(passes("dissolve", 1, {row(1), row(1), constant({-5})}), 0);
  EXPECT_EQ(passes("dissolve", 1, {row(1), row(1), zero(1)}), 0);
  EXPECT_EQ(passes("dissolve", 1, {row(1), row(1), constant({1})}), NONE);
  EXPECT_EQ(passes("dissolve", 1, {row(1), row(1), constant({4095})}), NONE);
  EXPECT_EQ(passes("dissolve", 1, {row(1), row(1), constant({9999})}), 1);
  EXPECT_EQ(passes("dissolve", 2, {row(2), row(2), constant({0, 1})}), NONE);
  EXPECT_EQ(passes("dissolve", 1, {constant({7}), constant({7}), row(1)}), 0);
  EXPECT_EQ(passes("dissolve", 1, {row(1), row(1), row(1)}), NONE);
}

TEST(blend_hooks, comp_rgba1_passes_a_front_without_alpha) {
  for (int elnum = 1; elnum < 4; ++elnum) EXPECT_EQ(passes("comp_rgba1", 3, {row(3), row(elnum)}), 1) << elnum;
  EXPECT_EQ(passes("comp_rgba1", 4, {row(4), row(4)}), NONE);
}

TEST(choice_hooks, if_positive_with_one_sign_in_all_four_values) {
  for (const char* name : {"if+", "if+_coerce"}) {
    EXPECT_EQ(passes(name, 1, {constant({1}), row(1), row(1)}), 1) << name;
    EXPECT_EQ(passes(name, 1, {constant({0}), row(1), row(1)}), 2) << name;
    EXPECT_EQ(passes(name, 2, {constant({1, 0}), row(2), row(2)}), NONE) << name;
    EXPECT_EQ(passes(name, 3, {constant({0, 0, 0}), row(3), row(3)}), NONE) << name;  // its alpha is above 0
    EXPECT_EQ(passes(name, 1, {row(1), row(1), row(1)}), NONE) << name;
  }
}

TEST(choice_hooks, if_above_with_two_constants) {
  for (const char* name : {"if>", "if>_coerce"}) {
    EXPECT_EQ(passes(name, 1, {constant({6}), constant({5}), row(1), row(1)}), 2) << name;
    EXPECT_EQ(passes(name, 1, {constant({5}), constant({5}), row(1), row(1)}), 3) << name;
    EXPECT_EQ(passes(name, 2, {constant({6, 5}), constant({5, 5}), row(2), row(2)}), NONE) << name;
    EXPECT_EQ(passes(name, 1, {constant({6}), row(1), row(1), row(1)}), NONE) << name;
    EXPECT_EQ(passes(name, 1, {row(1), constant({5}), row(1), row(1)}), NONE) << name;
  }
}

TEST(choice_hooks, if_eq_with_four_equal_or_four_different_values) {
  const given value = constant({1, 2, 3, 4});
  EXPECT_EQ(passes("if_eq", 1, {value, value, row(1), row(1)}), 2);
  EXPECT_EQ(passes("if_eq", 1, {value, constant({5, 6, 7, 8}), row(1), row(1)}), 3);
  EXPECT_EQ(passes("if_eq", 1, {value, constant({1, 6, 7, 8}), row(1), row(1)}), NONE);
  EXPECT_EQ(passes("if_eq", 1, {value, row(4), row(1), row(1)}), NONE);
}

TEST(choice_hooks, posterize_without_steps_or_all_ramp) {
  EXPECT_EQ(passes("posterize", 1, {row(1), zero(1), row(1), row(1)}), 0);
  EXPECT_EQ(passes("posterize", 1, {row(1), row(1), one(1), row(1)}), 0);
  EXPECT_EQ(passes("posterize", 1, {row(1), one(1), zero(1), row(1)}), NONE);
}

}  // namespace
}  // namespace tessaron::testing
