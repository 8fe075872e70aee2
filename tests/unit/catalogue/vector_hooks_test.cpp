// Pass hooks of the vector, colour, geometry and image functions: which argument a node equals.
#include "support/pass_hook_kit.h"

namespace tessaron::testing {
namespace {

TEST(vector_hooks, conversions_pass_a_value_of_the_right_size) {
  for (const char* name : {"monochrome", "monochrome_a", "coerce_to_v3", "coerce_up_to_v3", "coerce_to_v4",
                           "coerce_to_alpha", "remove_alpha"}) {
    EXPECT_EQ(passes(name, 3, {row(3)}), 0) << name;
    EXPECT_EQ(passes(name, 3, {row(4)}), NONE) << name;
  }
  for (const char* name : {"coerce_up", "coerce_up_a1", "coerce_to"}) {
    EXPECT_EQ(passes(name, 4, {row(4), row(4)}), 0) << name;
    EXPECT_EQ(passes(name, 4, {row(3), row(4)}), NONE) << name;
  }
}

TEST(vector_hooks, one_element_is_its_own_element_extreme_and_mean) {
  for (const char* name : {"element_of", "max_element", "min_element", "ave_element"}) {
    EXPECT_EQ(passes(name, 1, {row(1), row(1)}), 0) << name;
    EXPECT_EQ(passes(name, 1, {row(3), row(1)}), NONE) << name;
  }
}

TEST(vector_hooks, a_type_with_an_odd_count_wants_the_colour_alone) {
  for (const char* name : {"v3_to_v4_if4", "alpha_from_rgb_max"}) {
    EXPECT_EQ(passes(name, 3, {row(3), row(1), row(3)}), 0) << name;
    EXPECT_EQ(passes(name, 1, {row(1), row(1), row(1)}), 0) << name;
    EXPECT_EQ(passes(name, 4, {row(3), row(1), row(4)}), NONE) << name;
    EXPECT_EQ(passes(name, 2, {row(1), row(1), row(2)}), NONE) << name;
  }
}

TEST(vector_hooks, a_scalar_type_wants_the_alpha_of_a_scalar) {
  EXPECT_EQ(passes("v3_to_v4_if4_a", 3, {row(3), row(1), row(3)}), 0);
  EXPECT_EQ(passes("v3_to_v4_if4_a", 1, {row(1), row(1), row(1)}), 1);
  EXPECT_EQ(passes("v3_to_v4_if4_a", 3, {row(3), row(1), row(1)}), NONE);
  EXPECT_EQ(passes("v3_to_v4_if4_a", 4, {row(1), row(1), row(4)}), NONE);
}

TEST(vector_hooks, products_with_zero_are_zero) {
  for (const char* name : {"dot", "cross"}) {
    EXPECT_EQ(passes(name, 1, {zero(2), row(2)}), 0) << name;
    EXPECT_EQ(passes(name, 1, {row(2), zero(2)}), 1) << name;
    EXPECT_EQ(passes(name, 1, {row(2), one(2)}), NONE) << name;
  }
}

TEST(vector_hooks, a_zero_of_three_elements_is_not_zero) {  // its fourth constant is 1.0
  EXPECT_EQ(passes("dot", 1, {zero(3), row(3)}), NONE);
  EXPECT_EQ(passes("shear", 2, {row(2), zero(3)}), NONE);
}

TEST(vector_hooks, turning_or_shearing_by_nothing) {
  for (const char* name : {"hue_shift", "hue_shift_preserve_luma", "rotate", "shear"}) {
    EXPECT_EQ(passes(name, 2, {row(2), zero(2), row(2)}), 0) << name;
    EXPECT_EQ(passes(name, 2, {row(2), row(2), row(2)}), NONE) << name;
  }
}

TEST(vector_hooks, saturation_of_a_grey_or_by_one) {
  EXPECT_EQ(passes("sat_scale", 3, {row(3), one(1)}), 0);
  EXPECT_EQ(passes("sat_scale", 2, {row(2), row(1)}), 0);
  EXPECT_EQ(passes("sat_scale", 3, {row(3), zero(1)}), NONE);
}

TEST(vector_hooks, noise_at_scale_zero_is_the_zero) {
  EXPECT_EQ(passes("noise2", 2, {row(1), row(1), row(2), row(1), zero(1)}), 4);
  EXPECT_EQ(passes("noise2", 2, {row(1), row(1), row(2), row(1), one(1)}), NONE);
}

TEST(vector_hooks, blur_by_nothing_and_blur_scaled_to_nothing) {
  EXPECT_EQ(passes("blur", 3, {row(3), zero(1), row(1), one(1), row(1)}), 0);
  EXPECT_EQ(passes("blur", 3, {row(3), zero(1), row(1), row(1), row(1)}), NONE);
  EXPECT_EQ(passes("blur", 3, {row(3), row(1), row(1), zero(1), row(1)}), 3);  // odd count
  EXPECT_EQ(passes("blur", 4, {row(4), row(2), row(1), zero(4), row(1)}), 3);  // equal counts
  EXPECT_EQ(passes("blur", 4, {row(4), row(2), row(1), zero(1), row(1)}), NONE);
}

TEST(vector_hooks, a_warp_to_each_pixel_s_own_place) {
  for (const char* name : {"warp", "warp_filter"}) {
    EXPECT_EQ(passes(name, 3, {row(3), variable(2, VAR_XY), row(2), row(1)}), 0) << name;
    EXPECT_EQ(passes(name, 3, {row(3), row(2), row(2), row(1)}), NONE) << name;
    EXPECT_EQ(passes(name, 3, {row(3), variable(2, VAR_SOURCE0), row(2), row(1)}), NONE) << name;
  }
  EXPECT_EQ(passes("warp_rel", 3, {row(3), zero(2), row(2), row(1)}), 0);
  EXPECT_EQ(passes("warp_rel", 3, {row(3), row(2), row(2), row(1)}), NONE);
}

TEST(vector_hooks, identities) {
  EXPECT_EQ(passes("copy", 3, {row(3)}), 0);
  EXPECT_EQ(passes("force_no_cache", 3, {row(3)}), 0);
  EXPECT_EQ(passes("no_pass_vars", 3, {variable(3, VAR_SOURCE0), zero(1)}), 0);
  EXPECT_EQ(passes("no_pass_vars", 3, {variable(3, VAR_SOURCE0), one(1)}), NONE);
  EXPECT_EQ(passes("no_pass_vars", 3, {variable(3, VAR_SOURCE0), row(1)}), NONE);
  EXPECT_EQ(passes("no_pass_vars", 3, {row(3), one(1)}), 0);
}

}  // namespace
}  // namespace tessaron::testing
