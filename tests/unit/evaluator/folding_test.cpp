// Constants: what is worked out before any pixel, and what it is worth.
#include <gtest/gtest.h>

#include "tests/unit/evaluator/planned.h"

namespace tessaron::testing {
namespace {

fix value_of(const std::string& expression, int e = 0) {
  planned plan(expression);
  EXPECT_TRUE(plan.constant()) << expression;
  return plan.root().const_vals[e];
}

TEST(folded_product, rounds_halves_away_from_zero) {
  // One step of fix is 1/4096: 0.5 * 0.000244140625 is half a step.
  EXPECT_EQ(value_of("(* 0.5 0.000244140625)"), 1);
  EXPECT_EQ(value_of("(* -0.5 0.000244140625)"), -1);
  EXPECT_EQ(value_of("(* 0.25 0.000244140625)"), 0);
}

TEST(folded_product, keeps_what_the_kernel_would_lose) {
  // 2000 * 100 in fix: the raw product is far beyond 2^31.
  EXPECT_EQ(value_of("(* 2000 100)"), 200000 * 4096);
  EXPECT_EQ(value_of("(* -2000 100)"), -200000 * 4096);
}

TEST(folded_product, of_values_beyond_32_bits_wraps_without_a_fault) {
  // 200000 * 200000 * 4096 is 9765625 * 2^24, and 9765625 ends in the byte 0xf9: -7 at the top of 32 bits.
  EXPECT_EQ(value_of("(* 200000 200000)"), -7 * 0x1000000);
}

TEST(folded_product, counts_a_missing_alpha_as_1) {
  planned plan("(* [1 1 1] [2 2 2 0.5])");
  ASSERT_TRUE(plan.constant());
  EXPECT_EQ(plan.root().const_vals[0], 8192);
  EXPECT_EQ(plan.root().const_vals[3], 2048);
}

TEST(folded_quotient, is_rounded_to_the_nearest_fix) {
  EXPECT_EQ(value_of("(/ 1 3)"), 1365);  // 1365.33
  EXPECT_EQ(value_of("(/ 2 3)"), 2731);  // 2730.67
  EXPECT_EQ(value_of("(/ -2 3)"), -2731);
}

TEST(folded_quotient, by_0_is_the_value_times_4096) { EXPECT_EQ(value_of("(/ 0.5 0)"), 2048 * 4096); }

TEST(folded_value, fills_four_elements) {
  planned three("(+ [1 2 3] 1)");
  ASSERT_TRUE(three.constant());
  EXPECT_EQ(three.root().const_vals[2], 4 * 4096);
  EXPECT_EQ(three.root().const_vals[3], 4096);
  planned two("(+ [1 2] 1)");
  EXPECT_EQ(two.root().const_vals[2], 3 * 4096);
  EXPECT_EQ(two.root().const_vals[3], 3 * 4096);
  EXPECT_EQ(value_of("(+ 1 1)", 3), 2 * 4096);
}

TEST(folded_value, of_3_elements_adds_1_to_alpha) {
  planned plan("(+ A (+ [1 2 3] 0.5))", 4);
  EXPECT_EQ(plan.root().args[1]->const_vals[3], 4096);
}

TEST(folded_operator, takes_the_value_of_its_image) {
  EXPECT_EQ(value_of("(blur [0.25 0.5 0.75] 1 0 0.5 0)", 1), 2048);
  EXPECT_EQ(value_of("(gamma 0.25 2)"), 1024);
}

TEST(folded_operator, that_takes_differences_is_0) {
  EXPECT_EQ(value_of("(edge_detect 1 0 1 0)"), 0);
  EXPECT_EQ(value_of("(grad 1 0 1 0)", 1), 0);
}

TEST(folded_operator, band_pass_is_the_middle_grey) { EXPECT_EQ(value_of("(band_pass 1 0 0 1)"), 2048); }

TEST(folding, runs_other_functions_by_their_kernel) {
  EXPECT_EQ(value_of("(sqrt 4)"), 8192);
  EXPECT_EQ(value_of("(if+ 0 5 7)"), 7 * 4096);
}

TEST(folding, leaves_functions_that_are_never_constant) {
  for (const char* expression : {"(static)", "(static2)", "(noise 1 1 [0 0] 0)"}) {
    planned plan(expression);
    EXPECT_FALSE(plan.constant()) << expression;
  }
}

TEST(folding, leaves_an_operator_on_lines_of_two_constants) {
  definition_renderer r("(define F () () dest = (gamma (interlace 0.25 0.5 0) 2))", {.width = 3, .height = 4});
  ASSERT_TRUE(r.render());
  for (int y = 0; y < 4; ++y) EXPECT_EQ(r.at(0, 1, y), y % 2 ? 1024 : 256) << y;
}

TEST(folding, follows_parameters) {
  definition_renderer r("(define F (Source) () p = 0.5 dest = (+ Source (* p 2)))");
  r.fill_records();
  ASSERT_TRUE(resolve_element_counts(r.effect()));
  fold_and_pass(r.effect());
  EXPECT_EQ(r.root().args[1]->const_vals[0], 4096);
  r.set_param("p", {0});
  fold_and_pass(r.effect());
  EXPECT_EQ(r.root().pass_arg, 0);
  r.set_param("p", {3});
  fold_and_pass(r.effect());
  EXPECT_EQ(r.root().pass_arg, -1);
  EXPECT_EQ(r.root().args[1]->const_vals[0], 6 * 4096);
}

TEST(folding, picks_one_branch_and_leaves_the_other_unmarked) {
  definition_renderer r(
      "(define F (Source) () p = 1 yes = (+ Source 1) no = (- Source 1) dest = (copy (if+ p yes no)))");
  r.fill_records();
  ASSERT_TRUE(resolve_element_counts(r.effect()));
  fold_and_pass(r.effect());
  EXPECT_TRUE(r.named("yes").node_flags & NODE_ACTIVE);
  EXPECT_FALSE(r.named("no").node_flags & NODE_ACTIVE);
  r.set_param("p", {0});
  fold_and_pass(r.effect());
  EXPECT_FALSE(r.named("yes").node_flags & NODE_ACTIVE);
  EXPECT_TRUE(r.named("no").node_flags & NODE_ACTIVE);
}

TEST(folding, leaves_no_noise_cache_behind) {
  planned plan("(+ A (warp_noise [0 0] 1 1 0))");
  for (node* n : plan.renderer().calls_of("warp_noise")) EXPECT_EQ(n->misc_ptr, nullptr);
}

TEST(element_counts, are_typed_anew_when_an_input_changes) {
  definition_renderer r("(define E (Source) () dest = (+ Source 1))", {.source_channels = 4});
  EXPECT_EQ(r.root().elnum, 3);  // while it was bound, sources had 3
  r.fill_records();
  ASSERT_TRUE(resolve_element_counts(r.effect()));
  EXPECT_EQ(r.root().elnum, 4);
}

TEST(element_counts, without_a_combo_are_reported_each_time) {
  definition_renderer r("(define E_f (Source) () dest = (dot Source [1 2 3]))", {.source_channels = 4});
  r.fill_records();
  for (int i = 0; i < 2; ++i) {
    report_capture reports;
    EXPECT_FALSE(resolve_element_counts(r.effect()));
    EXPECT_EQ(reports.severity_of("dot arg elnums: vector1 has 4, vector2 has 3.\n"), REPORT_ERROR) << reports.all();
    EXPECT_EQ(reports.severity_of("E f.dest has an invalid combo of arg types.\n"), REPORT_ERROR) << reports.all();
  }
}

TEST(element_counts, refuse_a_variable_that_does_not_exist) {
  definition_renderer r("(define E (Source) () dest = (+ Source 1))", {.source_channels = 4});
  r.fill_records();
  for (int i = 0; i < r.effect().n_nodes; ++i)
    if (r.effect().nodes[i].kind == KIND_BUILT_IN) r.effect().nodes[i].var_index = 7;
  report_capture reports;
  EXPECT_FALSE(resolve_element_counts(r.effect()));
  EXPECT_EQ(reports.severity_of("expression_var_ptr_from_index: bad index 7."), REPORT_ERROR);
}

}  // namespace
}  // namespace tessaron::testing
