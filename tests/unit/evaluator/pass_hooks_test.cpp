// Every pass hook of the table, both ways: what a node may be left out for, and what keeps it.
#include <gtest/gtest.h>

#include <vector>

#include "tests/unit/evaluator/planned.h"

namespace tessaron::testing {
namespace {

constexpr int STAYS = -1;
constexpr int IS_CONSTANT = -2;

struct pass_case {
  const char* expression;
  int result;  // argument that stands in for the node, or one of the above
  std::vector<fix> values = {};
  int channels = 3;
};

const std::vector<fix> ZEROS = {0, 0, 0, 0}, ONES = {4096, 4096, 4096, 4096};

const std::vector<pass_case> CASES = {
    {"(+ A 0)", 0},
    {"(+ 0 A)", 1},
    {"(+ A 1)", STAYS},
    {"(+ A [0 0 0])", STAYS},  // its fourth value is 1.0
    {"(add_rgb A 0)", 0},
    {"(add_rgb 0 A)", 1},
    {"(add_rgb A 1)", STAYS},
    {"(comp_rgba A [0 0 0 0])", 0, {}, 4},
    {"(comp_rgba [0 0 0 0] A)", 1, {}, 4},
    {"(comp_rgba A B)", STAYS, {}, 4},
    {"(comp_rgba A [0 0 0 0])", STAYS},  // rgb cannot stand for rgba
    {"(- A 0)", 0},
    {"(- 0 A)", STAYS},
    {"(- A 1)", STAYS},
    {"(subtract_rgb A 0)", 0},
    {"(subtract_rgb 0 A)", STAYS},
    {"(* A 0)", IS_CONSTANT, ZEROS},
    {"(* 0 A)", IS_CONSTANT, ZEROS},
    {"(* A 1)", 0},
    {"(* 1 A)", 1},
    {"(* A 0.5)", STAYS},
    {"(scale_rgb A 0)", IS_CONSTANT, ZEROS},
    {"(scale_rgb A 1)", 0},
    {"(scale_rgb A 0.5)", STAYS},
    {"(scale_rgb A 0)", STAYS, {}, 4},
    {"(scale_rgb A 1)", 0, {}, 4},
    {"(scale_rgb A [0 0 0 0])", IS_CONSTANT, ZEROS, 4},
    {"(/ 0 A)", IS_CONSTANT, ZEROS},
    {"(/ A 1)", 0},
    {"(/ A 2)", STAYS},
    {"(*+ A 0 B)", 2},
    {"(*+ 0 A B)", 2},
    {"(*+ A 1 0)", 0},
    {"(*+ 1 A 0)", 1},
    {"(*+ A 2 0)", STAYS},
    {"(*+ A 1 B)", STAYS},
    {"(expt 0 A)", IS_CONSTANT, ZEROS},
    {"(expt A 1)", 0},
    {"(expt A 2)", STAYS},
    {"(gamma A 1)", 0},
    {"(gamma v 1)", STAYS},  // planes pass only to a variable
    {"(gamma 0 A)", IS_CONSTANT, ZEROS},
    {"(gamma A 2)", STAYS},
    {"(screen A 0)", 0},
    {"(screen 0 A)", 1},
    {"(screen A 1)", IS_CONSTANT, ONES},
    {"(screen 1 A)", IS_CONSTANT, ONES},
    {"(screen A 0.5)", STAYS},
    {"(interp A B 0)", 0},
    {"(interp A B 1)", 1},
    {"(interp v v a)", STAYS},
    {"(interp 0 1 a)", 2},
    {"(interp A B 0.5)", STAYS},
    {"(interp 2 2 a)", IS_CONSTANT, {8192, 8192, 8192, 8192}},
    {"(dissolve A B 0)", 0},
    {"(dissolve A B -1)", 0},
    {"(dissolve A B 1)", 1},
    {"(dissolve A B 2)", 1},
    {"(dissolve v v a)", STAYS},
    {"(dissolve 2 2 a)", IS_CONSTANT, {8192, 8192, 8192, 8192}},
    {"(dissolve A B 0.5)", STAYS},
    {"(if+ 1 A B)", 1},
    {"(if+ 0 A B)", 2},
    {"(if+ -1 A B)", 2},
    {"(if+ [1 0 1] A B)", STAYS},
    {"(if+ a A B)", STAYS},
    {"(if+_coerce 1 A B)", 1},
    {"(if+_coerce 0 A B)", 2},
    {"(if+_coerce a A B)", STAYS},
    {"(if> 2 1 A B)", 2},
    {"(if> 1 1 A B)", 3},
    {"(if> 0 1 A B)", 3},
    {"(if> [1 0 0] [0 1 0] A B)", STAYS},
    {"(if> a 1 A B)", STAYS},
    {"(if>_coerce 2 1 A B)", 2},
    {"(if>_coerce 1 1 A B)", 3},
    {"(if>_coerce a b A B)", STAYS},
    {"(if_eq [1 2 3 4] [1 2 3 4] A B)", 2},
    {"(if_eq [1 2 3 4] [5 6 7 8] A B)", 3},
    {"(if_eq [1 2 3 4] [1 6 7 8] A B)", STAYS},
    {"(dot 0 A)", IS_CONSTANT, ZEROS},
    {"(dot A 0)", IS_CONSTANT, ZEROS},
    {"(dot A B)", STAYS},
    {"(cross xy [0 0])", IS_CONSTANT, ZEROS},
    {"(cross [0 0] xy)", IS_CONSTANT, ZEROS},
    {"(cross A [0 0 0])", STAYS},
    {"(monochrome a)", 0},
    {"(monochrome A)", STAYS},
    {"(monochrome_a a)", 0},
    {"(monochrome_a A)", STAYS},
    {"(coerce_to_v3 A)", 0},
    {"(coerce_to_v3 a)", STAYS},
    {"(coerce_up_to_v3 A)", 0},
    {"(coerce_up_to_v3 a)", STAYS},
    {"(coerce_to_v4 A)", 0, {}, 4},
    {"(coerce_to_v4 A)", STAYS},
    {"(coerce_up A B)", 0},
    {"(coerce_up a B)", STAYS},
    {"(coerce_up_a1 A B)", 0},
    {"(coerce_up_a1 a B)", STAYS},
    {"(coerce_to A B)", 0},
    {"(coerce_to a B)", STAYS},
    {"(coerce_to_alpha a)", 0},
    {"(coerce_to_alpha A)", STAYS},
    {"(remove_alpha A)", 0},
    {"(remove_alpha A)", STAYS, {}, 4},
    {"(element_of a 0)", 0},
    {"(element_of A 0)", STAYS},
    {"(max_element a)", 0},
    {"(max_element A)", STAYS},
    {"(min_element a)", 0},
    {"(min_element A)", STAYS},
    {"(ave_element a)", 0},
    {"(ave_element A)", STAYS},
    {"(v3_to_v4_if4 A b B)", 0},
    {"(v3_to_v4_if4 A b B)", STAYS, {}, 4},
    {"(alpha_from_rgb_max A b B)", 0},
    {"(alpha_from_rgb_max A b B)", STAYS, {}, 4},
    {"(v3_to_v4_if4_a A b B)", 0},
    {"(v3_to_v4_if4_a a b b)", 1},
    {"(v3_to_v4_if4_a A b B)", STAYS, {}, 4},
    {"(comp_rgba1 A B)", 1},
    {"(comp_rgba1 A B)", STAYS, {}, 4},
    {"(posterize A 0 0.5 0)", 0},
    {"(posterize A 0.5 1 0)", 0},
    {"(posterize A 0.5 0.5 0)", STAYS},
    {"(hue_shift A 0)", 0},
    {"(hue_shift A 0.5)", STAYS},
    {"(hue_shift_preserve_luma A 0)", 0},
    {"(hue_shift_preserve_luma A 0.5)", STAYS},
    {"(rotate xy 0 [0 0])", 0},
    {"(rotate xy 0.25 [0 0])", STAYS},
    {"(shear xy [0 0])", 0},
    {"(shear xy [1 0])", STAYS},
    {"(sat_scale A 1)", 0},
    {"(sat_scale a 0.5)", 0},
    {"(sat_scale A 0.5)", STAYS},
    {"(noise2 1 1 [0 0] 0 0)", IS_CONSTANT, ZEROS},
    {"(noise2 1 1 [0 0] 0 1)", STAYS},
    {"(blur A 0 0 1 0)", 0},
    {"(blur v 0 0 1 0)", STAYS},
    {"(blur A 1 0 1 0)", STAYS},
    {"(blur A 1 0 0 0)", IS_CONSTANT, ZEROS},
    {"(blur A 1 0 0 0)", STAYS, {}, 4},
    {"(warp A xy [0 0] 0)", 0},
    {"(warp A [0 0] [0 0] 0)", STAYS},
    {"(warp_filter A xy [0 0] [0 0])", 0},
    {"(warp_filter A [0 0] [0 0] [0 0])", STAYS},
    {"(warp_rel A [0 0] [0 0] 0)", 0},
    {"(warp_rel A [0.5 0] [0 0] 0)", STAYS},
    {"(force_no_cache v)", 0},
    {"(copy A)", 0},
    {"(copy v)", 0},
    {"(no_pass_vars A 0)", 0},
    {"(no_pass_vars A 1)", STAYS},
    {"(no_pass_vars v 1)", 0},
};

TEST(pass_hooks, tell_which_argument_a_node_equals) {
  for (const pass_case& c : CASES) {
    planned plan(c.expression, c.channels);
    SCOPED_TRACE(std::string(c.expression) + ", inputs of " + std::to_string(c.channels));
    ASSERT_TRUE(plan.resolved());
    const node& root = plan.root();
    EXPECT_EQ(plan.constant() ? IS_CONSTANT : int(root.pass_arg), c.result);
    for (std::size_t e = 0; e < c.values.size(); ++e) EXPECT_EQ(root.const_vals[e], c.values[e]);
  }
}

TEST(pass_through, of_a_copy_with_planes_stays_unless_it_copies_a_variable) {
  // Used in the loop of the root and in the loop of an operator, each copy gets planes of its own.
  report_capture reports;
  definition_renderer r(
      "(define C (Source) () kept = (copy (+ Source 1)) passed = (copy Source)"
      " dest = (+ (+ kept (gamma kept 2)) (+ passed (gamma passed 2))))");
  r.fill_records();
  ASSERT_TRUE(resolve_element_counts(r.effect()));
  fold_and_pass(r.effect());
  EXPECT_EQ(r.named("kept").image_count, 3);
  EXPECT_EQ(r.named("kept").pass_arg, -1);
  EXPECT_EQ(r.named("passed").image_count, 3);
  EXPECT_EQ(r.named("passed").pass_arg, 0);
}

TEST(pass_through, chain_that_ends_in_a_constant_is_constant) {
  planned plan("(copy (force_no_cache (+ 0 (* A 0))))");
  EXPECT_TRUE(plan.constant());
  EXPECT_EQ(plan.root().const_vals[0], 0);
}

TEST(pass_through, number_beyond_the_arguments_is_reported_and_ends_the_chase) {
  planned plan("(+ A 1)");
  report_capture reports;
  plan.root().pass_arg = 5;
  EXPECT_EQ(follow_pass(&plan.root()), &plan.root());
  EXPECT_EQ(reports.severity_of("maybe_pass_through_args: node dest, pass_arg 5 >= arg_number 2"), REPORT_WARNING);
}

TEST(pass_through, looks_beyond_nodes_that_pass_when_arguments_are_bound) {
  planned plan("(+ (copy (copy A)) (* B 1))");
  EXPECT_EQ(plan.root().args[0]->kind, KIND_BUILT_IN);
  EXPECT_EQ(plan.root().args[0]->var_index, VAR_SOURCE0);
  EXPECT_EQ(plan.root().args[1]->var_index, VAR_SOURCE0 + 1);
}

}  // namespace
}  // namespace tessaron::testing
