// Vectors built, taken apart, widened and narrowed: references from the rules, and values worked out
// by hand.
#include "support/plain_tables.h"

namespace tessaron::testing {
namespace {

// --- references --------------------------------------------------------------------------------------

fix luma(const sample_input& in) { return in.elnum[0] < 3 ? in.arg[0][0] : plain_luma(in.arg[0]); }
fix alpha(const sample_input& in) { return in.elnum[0] % 2 ? 4096 : in.arg[0][in.elnum[0] - 1]; }

/// Element e of argument 0 in a wider type: 1 spreads, 2 get blue 0, missing alpha is 1.0.
fix widened(const sample_input& in, int e) {
  const int count = in.elnum[0];
  if (count == 1) return in.arg[0][0];
  if (e < count) return in.arg[0][e];
  return e == 2 ? 0 : 4096;
}
void coerced(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = widened(in, e);
}
/// The first elements of argument 0; a scalar spreads.
void colour_alone(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = in.arg[0][in.elnum[0] == 1 ? 0 : e];
}
void colour_and_alpha(const sample_input& in, fix out[4]) {
  for (int e = 0; e < 3; ++e) out[e] = in.arg[0][in.elnum[0] == 1 ? 0 : e];
  out[3] = in.arg[1][0];
}
void largest_as_alpha(const sample_input& in, fix out[4]) {
  for (int e = 0; e < 3; ++e) out[e] = in.arg[0][in.elnum[0] == 1 ? 0 : e];
  out[3] = product(std::max({out[0], out[1], out[2]}), in.arg[1][0]);
}
void arguments_as_elements(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = in.arg[e][0];
}

const register_reference MONOCHROME("monochrome", [](const sample_input& in, fix out[4]) { out[0] = luma(in); });
const register_reference MONOCHROME_A("monochrome_a", [](const sample_input& in, fix out[4]) {
  out[0] = luma(in);
  if (in.elnum[0] % 2 == 0) out[1] = alpha(in);
});
const register_reference V2("v2", arguments_as_elements);
const register_reference V3("v3", arguments_as_elements);
const register_reference V4("v4", arguments_as_elements);
const register_reference ELEMENT_OF("element_of", [](const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e)
    out[e] = in.arg[0][std::clamp(floor_shift(in.arg[1][e], 12), 0, in.elnum[0] - 1)];
});
const register_reference V3_TO_V4("v3_to_v4", colour_and_alpha);
const register_reference V3_TO_V4_IF4("v3_to_v4_if4", [](const sample_input& in, fix out[4]) {
  in.elnum[2] == 4 ? colour_and_alpha(in, out) : colour_alone(in, out);
});
const register_reference V3_TO_V4_IF4_A("v3_to_v4_if4_a", [](const sample_input& in, fix out[4]) {
  if (in.elnum[2] == 4)
    colour_and_alpha(in, out);
  else if (in.elnum[2] == 1 && in.elnum[0] == 1)
    out[0] = in.arg[1][0];
  else
    colour_alone(in, out);
});
const register_reference ALPHA_FROM_RGB_MAX_V4("alpha_from_rgb_max_v4", largest_as_alpha);
const register_reference ALPHA_FROM_RGB_MAX("alpha_from_rgb_max", [](const sample_input& in, fix out[4]) {
  in.elnum[2] == 4 ? largest_as_alpha(in, out) : colour_alone(in, out);
});
const register_reference COERCE_TO_V3("coerce_to_v3", coerced);
const register_reference COERCE_UP_TO_V3("coerce_up_to_v3", coerced);
const register_reference COERCE_TO_V4("coerce_to_v4", coerced);
const register_reference COERCE_UP("coerce_up", coerced);
const register_reference COERCE_UP_A1("coerce_up_a1", [](const sample_input& in, fix out[4]) {
  coerced(in, out);
  if (in.elnum[0] == 1 && in.result_elnum % 2 == 0) out[in.result_elnum - 1] = 4096;
});
const register_reference COERCE_TO("coerce_to", coerced);
const register_reference COERCE_TO_ALPHA("coerce_to_alpha", [](const sample_input& in, fix out[4]) {
  out[0] = in.elnum[0] % 2 ? in.arg[0][0] : alpha(in);
});
const register_reference GET_ALPHA("get_alpha", [](const sample_input& in, fix out[4]) { out[0] = alpha(in); });
const register_reference GET_ALPHA_OR_LUMA("get_alpha_or_luma", [](const sample_input& in, fix out[4]) {
  out[0] = in.elnum[0] == 3 ? luma(in) : alpha(in);
});
const register_reference REMOVE_ALPHA("remove_alpha", colour_alone);

// --- values worked out by hand -----------------------------------------------------------------------

const values AS_1(1), AS_2(2), AS_3(3), AS_4(4);  // arguments that only name a type

TEST(vector, luma_weighs_red_5_green_8_blue_3_sixteenths) {
  expect_values("monochrome", {{4096, 0, 0}}, {1280});  // (2048 + 0 + 512) >> 1
  expect_values("monochrome", {{0, 4096, 0}}, {2048});
  expect_values("monochrome", {{0, 0, 4096, 5}}, {768});  // (2048 + 0 - 512) >> 1
  expect_values("monochrome", {{-1, 0, 0}}, {-1});        // ((-1 >> 1) + 0 + (-1 >> 3)) >> 1 = -2 >> 1
  expect_values("monochrome", {{7}}, {7});
  expect_values("monochrome", {{7, 9}}, {7});
}

TEST(vector, luma_with_alpha_keeps_the_alpha_second) {
  expect_values("monochrome_a", {{4096, 0, 0, 77}}, {1280, 77});
  expect_values("monochrome_a", {{7, 9}}, {7, 9});
  expect_values("monochrome_a", {{0, 4096, 0}}, {2048});
}

TEST(vector, scalars_become_elements_in_order) {
  expect_values("v2", {{1}, {2}}, {1, 2});
  expect_values("v2", {{INT32_MIN}, {INT32_MAX}}, {INT32_MIN, INT32_MAX});
  expect_values("v3", {{1}, {2}, {3}}, {1, 2, 3});
  expect_values("v3", {{-1}, {0}, {-3}}, {-1, 0, -3});
  expect_values("v4", {{1}, {2}, {3}, {4}}, {1, 2, 3, 4});
  expect_values("v4", {{4}, {3}, {2}, {1}}, {4, 3, 2, 1});
}

TEST(vector, element_numbers_pick_elements_in_any_order) {
  expect_values("element_of", {{10, 20, 30}, {2 * 4096}}, {30});
  expect_values("element_of", {{10, 20, 30, 40}, {3 * 4096, 0, 4096}}, {40, 10, 20});
  expect_values("element_of", {{10, 20}, {4096, 4096, 0, 0}}, {20, 20, 10, 10});
}

TEST(vector, element_numbers_outside_the_vector_are_held_to_its_ends) {
  expect_values("element_of", {{10, 20, 30}, {9 * 4096}}, {30});
  expect_values("element_of", {{10, 20, 30}, {-4096}}, {10});
  expect_values("element_of", {{10, 20, 30}, {4096 + 4095}}, {20});  // a fraction is dropped
}

TEST(vector, element_numbers_are_those_of_the_row_s_first_sample) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("element_of");
  kernel_bench bench(fun, find_combo(fun, {{0, 0}, {0}}), 3, {arg_form::row, arg_form::row});
  for (int i = 0; i < 3; ++i) {
    bench.set(0, i, 0, 10 + i);
    bench.set(0, i, 1, 20 + i);
    bench.set(1, i, 0, i == 0 ? 4096 : 0);
  }
  bench.run(fun.kernels[find_combo(fun, {{0, 0}, {0}})]);
  EXPECT_EQ(bench.result(0, 0), 20);
  EXPECT_EQ(bench.result(1, 0), 21);
  EXPECT_EQ(bench.result(2, 0), 22);
}

TEST(vector, alpha_joins_a_colour) {
  expect_values("v3_to_v4", {{1, 2, 3}, {9}}, {1, 2, 3, 9});
  expect_values("v3_to_v4", {{5}, {9, 8, 7}}, {5, 5, 5, 9});
  expect_values("v3_to_v4", {{1, 2, 3, 4}, {9}}, {1, 2, 3, 9});
}

TEST(vector, alpha_joins_only_where_the_type_has_four_elements) {
  expect_values("v3_to_v4_if4", {{1, 2, 3}, {9}, AS_4}, {1, 2, 3, 9});
  expect_values("v3_to_v4_if4", {{1, 2, 3}, {9}, AS_3}, {1, 2, 3});
  expect_values("v3_to_v4_if4", {{1, 2, 3}, {9}, AS_1}, {1, 2, 3});
  expect_values("v3_to_v4_if4", {{5}, {9}, AS_3}, {5, 5, 5});
  expect_values("v3_to_v4_if4", {{5}, {9}, AS_2}, {5, 5});
  expect_values("v3_to_v4_if4", {{5}, {9}, AS_1}, {5});
}

TEST(vector, a_scalar_type_picks_the_alpha_of_a_scalar) {
  expect_values("v3_to_v4_if4_a", {{5}, {9}, AS_1}, {9});
  expect_values("v3_to_v4_if4_a", {{5}, {9}, AS_4}, {5, 5, 5, 9});
  expect_values("v3_to_v4_if4_a", {{1, 2, 3}, {9}, AS_1}, {1, 2, 3});
}

TEST(vector, the_largest_of_red_green_blue_makes_the_alpha) {
  expect_values("alpha_from_rgb_max_v4", {{100, 300, 200}, {4096}}, {100, 300, 200, 300});
  expect_values("alpha_from_rgb_max_v4", {{100, 300, 200, 9999}, {2048}}, {100, 300, 200, 150});
  expect_values("alpha_from_rgb_max_v4", {{100}, {0}}, {100, 100, 100, 0});
  expect_values("alpha_from_rgb_max", {{100, 300, 200}, {4096}, AS_4}, {100, 300, 200, 300});
  expect_values("alpha_from_rgb_max", {{100, 300, 200, 7}, {4096}, AS_3}, {100, 300, 200});
  expect_values("alpha_from_rgb_max", {{100}, {4096}, AS_1}, {100, 100, 100});
}

TEST(vector, coercion_to_rgb_spreads_pads_and_drops) {
  expect_values("coerce_to_v3", {{5}}, {5, 5, 5});
  expect_values("coerce_to_v3", {{5, 6}}, {5, 6, 0});
  expect_values("coerce_to_v3", {{5, 6, 7, 8}}, {5, 6, 7});
  expect_values("coerce_up_to_v3", {{5, 6}}, {5, 6, 0});
  expect_values("coerce_up_to_v3", {{5, 6, 7, 8}}, {5, 6, 7, 8});
}

TEST(vector, coercion_to_rgba_spreads_a_scalar_into_alpha_too) {
  expect_values("coerce_to_v4", {{5}}, {5, 5, 5, 5});
  expect_values("coerce_to_v4", {{5, 6, 7}}, {5, 6, 7, 4096});
}

TEST(vector, coercion_up_never_narrows) {
  expect_values("coerce_up", {{5, 6, 7, 8}, AS_1}, {5, 6, 7, 8});
  expect_values("coerce_up", {{5, 6, 7}, AS_4}, {5, 6, 7, 4096});
  expect_values("coerce_up", {{5, 6}, AS_3}, {5, 6, 0});
  expect_values("coerce_up", {{5, 6}, AS_4}, {5, 6, 0, 4096});
  expect_values("coerce_up", {{5}, AS_4}, {5, 5, 5, 5});
  expect_values("coerce_up", {{5}, AS_2}, {5, 5});
}

TEST(vector, coercion_up_opaque_gives_a_scalar_alpha_1) {
  expect_values("coerce_up_a1", {{5}, AS_2}, {5, 4096});
  expect_values("coerce_up_a1", {{5}, AS_3}, {5, 5, 5});
  expect_values("coerce_up_a1", {{5}, AS_4}, {5, 5, 5, 4096});
  expect_values("coerce_up_a1", {{5, 6}, AS_4}, {5, 6, 0, 4096});
}

TEST(vector, coercion_to_a_type_goes_both_ways) {
  expect_values("coerce_to", {{5, 6, 7, 8}, AS_3}, {5, 6, 7});
  expect_values("coerce_to", {{5, 6}, AS_1}, {5});
  expect_values("coerce_to", {{5}, AS_4}, {5, 5, 5, 5});
  expect_values("coerce_to", {{5, 6, 7}, AS_4}, {5, 6, 7, 4096});
}

TEST(vector, alpha_is_the_last_of_two_or_four_elements) {
  expect_values("coerce_to_alpha", {{5, 6}}, {6});
  expect_values("coerce_to_alpha", {{5, 6, 7}}, {5});
  expect_values("coerce_to_alpha", {{5, 6, 7, 8}}, {8});
  expect_values("get_alpha", {{5}}, {4096});
  expect_values("get_alpha", {{5, 6}}, {6});
  expect_values("get_alpha", {{5, 6, 7}}, {4096});
  expect_values("get_alpha", {{5, 6, 7, 8}}, {8});
  expect_values("get_alpha_or_luma", {{5}}, {4096});
  expect_values("get_alpha_or_luma", {{5, 6}}, {6});
  expect_values("get_alpha_or_luma", {{4096, 0, 0}}, {1280});
  expect_values("get_alpha_or_luma", {{4096, 0, 0, 8}}, {8});
  expect_values("remove_alpha", {{5, 6}}, {5});
  expect_values("remove_alpha", {{5, 6, 7, 8}}, {5, 6, 7});
}

}  // namespace
}  // namespace tessaron::testing
