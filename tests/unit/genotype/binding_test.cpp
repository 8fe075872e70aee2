// From statements to a bound tree: references, order, combos, constants, sharing, planes.
#include <cstring>
#include <string>
#include <vector>

#include "base/report.h"
#include "base/text.h"
#include "definition.h"
#include "genotype/reading.h"

namespace tessaron::testing {
namespace {

// --- the worked example ----------------------------------------------------------------------------

constexpr const char* EDGE_TINT_STATEMENTS =
    " Amount = 10 (min 0 slider_max 100 step 0.1)"
    " Strength = 0.5 (percent)"
    " Tint = [1 0.7 0.4] (color)"
    " soft = (blur Source Amount 0 1 0)"
    " dest = (+ Source (* soft (* Tint Strength))))";

std::vector<int> arguments(const node& n) { return {n.arg_indices, n.arg_indices + n.arg_number}; }
using indices = std::vector<int>;

/// The genotype of the example with its statements read and nothing bound.
owned_genotype unbound_edge_tint() {
  set_tables_and_globals();
  owned_genotype g(new genotype());
  std::strcpy(g->name, "Edge Tint");
  std::strcpy(g->input_names[0], "Source");
  g->n_inputs = 1;
  set_node_capacity(*g, NODE_GROWTH);
  g->nodes[add_nodes(*g, 1)].name = copy_text("dest");
  reading = {};
  open_reading_from_string(EDGE_TINT_STATEMENTS);
  int result = 0;
  while (result == 0) result = read_statement(*g);
  close_reading_from_string();
  EXPECT_EQ(result, 1);
  return g;
}

TEST(binding, the_example_makes_its_nodes_in_order_of_reading) {
  const auto g = unbound_edge_tint();
  const node* n = g->nodes;
  ASSERT_EQ(g->n_nodes, 16);
  EXPECT_EQ(arguments(n[0]), (indices{10, 11}));
  EXPECT_STREQ(n[0].fun->name, "+");
  EXPECT_EQ(n[1].const_vals[0], 40960);
  EXPECT_EQ(n[2].const_vals[0], 2048);
  const fix tint[4] = {4096, 2867, 1638, 4096};
  for (int e = 0; e < 4; ++e) EXPECT_EQ(n[3].const_vals[e], tint[e]);
  EXPECT_STREQ(n[4].fun->name, "blur");
  EXPECT_EQ(arguments(n[4]), (indices{5, 6, 7, 8, 9}));
  for (int i : {5, 10}) {
    EXPECT_EQ(n[i].kind, KIND_BUILT_IN);
    EXPECT_STREQ(n[i].name, "_image");
    EXPECT_EQ(n[i].var_index, 3);
  }
  const struct { int index, snap; } references[] = {{6, 1}, {12, 4}, {14, 3}, {15, 2}};
  for (const auto& r : references) {
    EXPECT_EQ(n[r.index].kind, KIND_UNSET);
    EXPECT_EQ(n[r.index].snap, r.snap);
    EXPECT_EQ(n[r.index].name, nullptr);
  }
  const fix constants[3] = {0, 4096, 0};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(n[7 + i].kind, KIND_CONSTANT);
    EXPECT_EQ(n[7 + i].const_vals[0], constants[i]);
    EXPECT_EQ(n[7 + i].param_index, 0);
  }
  EXPECT_STREQ(n[11].name, "_*");
  EXPECT_EQ(arguments(n[11]), (indices{12, 13}));
  EXPECT_EQ(arguments(n[13]), (indices{14, 15}));
  ASSERT_EQ(g->n_params, 3);
  EXPECT_STREQ(g->params[0]->name, "Amount");
  EXPECT_STREQ(g->params[1]->name, "Strength");
  EXPECT_STREQ(g->params[2]->name, "Tint");
}

TEST(binding, the_example_is_ordered_with_arguments_behind_their_users) {
  report_capture reports;
  const auto g =
      read_text(std::string("(define Edge_Tint (Source) (rgba_ok wont_make_colors_illegal)") + EDGE_TINT_STATEMENTS);
  ASSERT_NE(g, nullptr) << reports.all();
  EXPECT_STREQ(g->name, "Edge Tint");
  const node* n = g->nodes;
  EXPECT_EQ(arguments(n[0]), (indices{10, 1}));
  EXPECT_STREQ(n[0].name, "dest");
  EXPECT_EQ(arguments(n[1]), (indices{4, 2}));
  EXPECT_STREQ(n[1].name, "_*");
  EXPECT_EQ(arguments(n[2]), (indices{3, 13}));
  EXPECT_STREQ(n[3].name, "Tint");
  EXPECT_STREQ(n[4].name, "soft");
  EXPECT_EQ(arguments(n[4]), (indices{5, 11, 7, 8, 9}));
  EXPECT_STREQ(n[11].name, "Amount");
  EXPECT_STREQ(n[13].name, "Strength");
  for (int hole : {6, 12, 14, 15}) {
    EXPECT_EQ(n[hole].kind, KIND_UNSET) << hole;
    EXPECT_EQ(n[hole].name, nullptr) << hole;
  }
  EXPECT_EQ(g->params[0]->param_node, &n[11]);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

// --- references and dead nodes ---------------------------------------------------------------------

TEST(binding, a_root_that_is_an_alias_takes_the_variables_place_and_name) {
  const auto g = read_text("(define A a = 1 dest = a)");
  EXPECT_STREQ(g->nodes[0].name, "a");
  EXPECT_EQ(g->nodes[0].kind, KIND_CONSTANT);
  EXPECT_EQ(g->params[0]->param_node, &g->nodes[0]);
  EXPECT_EQ(node_named(*g, "dest"), nullptr);
}

TEST(binding, an_alias_root_moves_the_functions_arguments_with_it) {
  const auto g = read_text("(define A (S) a = (+ S 1) dest = b b = a)");
  ASSERT_NE(g, nullptr);
  EXPECT_STREQ(g->nodes[0].name, "a");
  EXPECT_EQ(g->nodes[0].args[0]->kind, KIND_BUILT_IN);
}

TEST(binding, an_unused_variable_is_warned_of_and_its_param_stays) {
  report_capture reports;
  const auto g = read_text("(define A unused = 1 dest = 0)");
  EXPECT_EQ(reports.severity_of("*** Warning: in A, 'unused' is not referenced."), REPORT_WARNING);
  ASSERT_EQ(g->n_params, 2);
  EXPECT_STREQ(g->params[0]->name, "unused");
  EXPECT_EQ(g->params[0]->param_node, nullptr);
  EXPECT_EQ(node_named(*g, "unused"), nullptr);
}

TEST(binding, an_unused_variable_with_a_long_name_is_warned_of_by_length) {
  report_capture reports;
  read_text("(define A " + std::string(100, 'n') + " = 1 " + std::string(101, 'm') + " = 1 dest = 0)");
  EXPECT_TRUE(reports.has("*** Warning: in A, '" + std::string(100, 'n') + "' is not referenced."));
  EXPECT_TRUE(reports.has("*** Warning: in A, node_name len= 101! is not referenced."));
}

TEST(binding, an_ignored_parameter_keeps_its_node_without_a_word) {
  report_capture reports;
  const auto g = read_text("(define A kept = 1 (ignore) dest = 0)");
  EXPECT_TRUE(reports.empty()) << reports.all();
  ASSERT_NE(node_named(*g, "kept"), nullptr);
  EXPECT_EQ(g->params[0]->param_node, node_named(*g, "kept"));
}

TEST(binding, arguments_stand_behind_their_users_whatever_the_order_of_statements) {
  for (const char* text : {"(define A (S) a = (+ S 1) b = (* a a) c = (+ (abs b) a) dest = (+ c (* b a)))",
                           "(define A (S) dest = (+ c (* b a)) c = (+ (abs b) a) b = (* a a) a = (+ S 1))",
                           "(define A (S) b = (* a a) dest = (+ c (* b a)) a = (+ S 1) c = (+ (abs b) a))"}) {
    const auto g = read_text(text);
    ASSERT_NE(g, nullptr);
    for (int i = 0; i < g->n_nodes; ++i)
      for (int k = 0; k < g->nodes[i].arg_number; ++k) {
        EXPECT_GT(g->nodes[i].arg_indices[k], i);
        EXPECT_EQ(g->nodes[i].args[k], &g->nodes[g->nodes[i].arg_indices[k]]);
      }
  }
}

// --- combos ----------------------------------------------------------------------------------------

TEST(binding, an_invalid_combo_lists_the_element_counts) {
  report_capture reports;
  EXPECT_EQ(read_text("(define A dest = (+ [1 2] [1 2 3]))"), nullptr);
  const fun_info* plus = find_fun("+");
  const std::string names =
      std::string("+ arg elnums: ") + plus->arg_names[0] + " has 2, " + plus->arg_names[1] + " has 3.\n";
  EXPECT_EQ(reports.severity_of(names), REPORT_ERROR) << reports.all();
  EXPECT_EQ(reports.severity_of("In A: dest has an invalid combo of arg types."), REPORT_ERROR);
}

TEST(binding, the_first_fitting_combo_gives_count_and_kernel) {
  const auto g = read_text("(define A dest = (+ [1 2 3] 1))");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->nodes[0].elnum, 3);
  EXPECT_NE(g->nodes[0].row_kernel, nullptr);
  EXPECT_EQ(g->nodes[0].row_kernel, g->nodes[0].own_kernel);
  EXPECT_EQ(g->nodes[0].image_fun, nullptr);
}

TEST(binding, an_image_operator_reads_its_planes_in_a_row) {
  const auto g = read_text("(define A (S) dest = (blur S 1 0 1 0))");
  EXPECT_EQ(g->nodes[0].row_kernel, read_cached_row);
  EXPECT_NE(g->nodes[0].image_fun, nullptr);
}

TEST(binding, sources_count_three_elements_also_with_rgba_ok) {
  const auto g = read_text("(define A (S T) (rgba_ok) dest = (+ S T))");
  EXPECT_EQ(g->nodes[0].elnum, 3);
  EXPECT_EQ(g->input_elnums[0], 3);
  EXPECT_EQ(g->input_elnums[1], 3);
  EXPECT_EQ(g->input_elnums[2], 0);
  EXPECT_EQ(g->output_elnum, 4);
}

// --- constants, time, branches ---------------------------------------------------------------------

bool constant(const node& n) {
  EXPECT_EQ((n.node_flags & NODE_CONSTANT) != 0, (n.node_flags & NODE_CONSTANT_AT_BIND) != 0);
  return n.node_flags & NODE_CONSTANT;
}
bool time_dependent(const node& n) { return n.node_flags & NODE_TIME_DEPENDENT; }

TEST(binding, a_function_of_constants_is_constant) {
  EXPECT_TRUE(constant(read_text("(define A dest = (+ 1 2))")->nodes[0]));
  EXPECT_TRUE(constant(read_text("(define A dest = Output)")->nodes[0]));
  EXPECT_TRUE(constant(read_text("(define A dest = (get_time))")->nodes[0]));
  EXPECT_FALSE(constant(read_text("(define A dest = (+ 1 x))")->nodes[0]));
  EXPECT_FALSE(constant(read_text("(define A dest = x)")->nodes[0]));
}

TEST(binding, what_differs_from_line_to_line_is_not_constant) {
  const auto g = read_text("(define A dest = (blur (interlace 0.25 0.75 0) 1 0 1 0))");
  EXPECT_FALSE(constant(*node_named(*g, "_interlace")));
  EXPECT_FALSE(constant(g->nodes[0]));
  EXPECT_EQ(g->nodes[0].image_count, 1);
}

TEST(binding, sources_and_frame_queries_vary_with_time_and_coordinates_do_not) {
  EXPECT_TRUE(time_dependent(read_text("(define A (S) dest = (abs S))")->nodes[0]));
  EXPECT_TRUE(time_dependent(read_text("(define A dest = (get_time))")->nodes[0]));
  EXPECT_TRUE(time_dependent(read_text("(define A dest = (force_no_cache x))")->nodes[0]));
  EXPECT_FALSE(time_dependent(read_text("(define A dest = (abs x))")->nodes[0]));
  EXPECT_TRUE(time_dependent(read_text("(define A a = 1 (autotrans) dest = (* a x))")->nodes[0]));
}

TEST(binding, between_frames_a_changed_value_counts_as_time) {
  const auto g = read_text("(define A a = 1 dest = (* a x))");
  param& p = *g->params[0];
  p.previous_value[0] = 1.0f;
  mark_time_dependency(*g, true);
  EXPECT_FALSE(time_dependent(g->nodes[0]));
  p.value[0] = 2.0f;
  mark_time_dependency(*g, true);
  EXPECT_TRUE(time_dependent(g->nodes[0]));
  EXPECT_FALSE(g->nodes[0].node_flags & NODE_TIME_DEPENDENT_AT_BIND);
  mark_time_dependency(*g, false);
  EXPECT_FALSE(time_dependent(g->nodes[0]));
}

TEST(binding, without_the_analysis_time_is_left_alone) {
  dependency_analysis = 0;
  const auto g = read_text("(define A (S) dest = (abs S))");
  dependency_analysis = 1;
  EXPECT_FALSE(time_dependent(g->nodes[0]));
}

TEST(binding, only_an_if_with_a_constant_condition_has_a_branch) {
  const report_capture reports;
  const auto branch = [](const char* expression) {
    return int(read_text(std::string("(define A (S) dest = ") + expression + ")")->nodes[0].branch_arg);
  };
  EXPECT_EQ(branch("(if+ 1 S (abs S))"), 2);
  EXPECT_EQ(branch("(if> 1 2 S (abs S))"), 3);
  EXPECT_EQ(branch("(if_eq 1 2 x y)"), 3);
  EXPECT_EQ(branch("(if+ x S (abs S))"), -1);
  EXPECT_EQ(branch("(if> 1 x S (abs S))"), -1);
  EXPECT_EQ(branch("(if+_coerce 1 S (abs S))"), -1);
  EXPECT_EQ(branch("(if+ 1 2 3)"), -1);  // constant as a whole
  EXPECT_EQ(branch("(abs S)"), -1);
}

/// `count` functions `(if+ 1 S S)`, added up.
std::string many_ifs(int count) {
  std::string text = "S";
  for (int i = 0; i < count; ++i) text = "(+ (if+ 1 S S) " + text + ")";
  return "(define A (S) dest = " + text + ")";
}

TEST(binding, sixteen_ifs_are_numbered_from_the_last_node_and_each_further_one_is_warned_of) {
  report_capture reports;
  auto g = read_text(many_ifs(16));
  EXPECT_TRUE(reports.empty());
  int expected = 0;
  for (int i = g->n_nodes - 1; i >= 0; --i)
    if (g->nodes[i].fun && std::string(g->nodes[i].fun->name) == "if+") {
      EXPECT_EQ(g->nodes[i].branch_bit, expected++);
    }
  EXPECT_EQ(expected, 16);
  g = read_text(many_ifs(18));
  EXPECT_EQ(reports.count(), 2u);
  EXPECT_EQ(reports.severity_of("A has 16 'if' funs, expected < 16. \n"), REPORT_WARNING);
  int branches = 0;
  for (int i = 0; i < g->n_nodes; ++i) branches += g->nodes[i].fun && g->nodes[i].branch_arg == 2;
  EXPECT_EQ(branches, 16);
}

// --- sharing ---------------------------------------------------------------------------------------

TEST(sharing, two_uses_in_one_pixel_loop_are_one) {
  const auto g = read_text("(define A (S) v = (abs S) dest = (+ v (* v v)))");
  EXPECT_EQ(node_named(*g, "v")->share_count, 1);
  EXPECT_EQ(node_named(*g, "v")->image_count, 0);
  EXPECT_EQ(g->n_cache_images, 0);
}

TEST(sharing, two_operators_make_two_loops_and_the_value_an_image) {
  const auto g = read_text("(define A (S) v = (abs S) dest = (+ (blur v 1 0 1 0) (blur v 2 0 1 0)))");
  const node& v = *node_named(*g, "v");
  EXPECT_EQ(v.share_count, 2);
  EXPECT_EQ(v.image_count, 3);
  EXPECT_EQ(v.shared_image, 1);
  EXPECT_EQ(v.image_base, 0);
  EXPECT_EQ(g->n_cache_images, 3);
  EXPECT_EQ(g->n_temp_images, 6);
}

TEST(sharing, the_image_and_the_other_arguments_of_an_operator_are_two_loops) {
  const auto g = read_text("(define A (S) v = (monochrome S) dest = (masked_blur v v 1 0 0))");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(node_named(*g, "v")->share_count, 2);
}

TEST(sharing, alternatives_of_one_if_are_one_use) {
  const auto shares = [](const std::string& condition) {
    const auto g =
        read_text("(define A (S) v = (abs S) dest = (if+ " + condition + " (blur v 1 0 1 0) (blur v 2 0 1 0)))");
    return int(node_named(*g, "v")->share_count);
  };
  EXPECT_EQ(shares("1"), 1);
  EXPECT_EQ(shares("x"), 2);
}

TEST(sharing, a_use_outside_the_alternatives_counts) {
  const auto g =
      read_text("(define A (S) v = (abs S) dest = (+ (blur v 3 0 1 0) (if+ 1 (blur v 1 0 1 0) (blur v 2 0 1 0))))");
  EXPECT_EQ(node_named(*g, "v")->share_count, 2);
}

TEST(sharing, a_root_that_stays_the_same_is_stored) {
  const auto g = read_text("(define A dest = (abs x))");
  EXPECT_EQ(g->nodes[0].share_count, 2);
  EXPECT_EQ(g->nodes[0].image_count, 1);
  EXPECT_EQ(g->nodes[0].shared_image, 1);
  EXPECT_EQ(g->n_cache_images, 1);
}

TEST(sharing, what_stays_the_same_is_stored_at_the_border_to_what_does_not) {
  const char* text = "(define A (S) still = (abs (sin x)) dest = (* S still))";
  auto g = read_text(text);
  EXPECT_EQ(node_named(*g, "still")->share_count, 2);
  EXPECT_EQ(node_named(*g, "_sin")->share_count, 1);
  EXPECT_EQ(g->nodes[0].share_count, 1);
  cache_static_branches = 0;
  g = read_text(text);
  cache_static_branches = 1;
  EXPECT_EQ(node_named(*g, "still")->share_count, 1);
}

TEST(sharing, every_node_but_the_root_is_an_image_on_request) {
  image_every_node = 1;
  const auto g = read_text("(define A (S) v = (abs S) dest = (+ v 1))");
  image_every_node = 0;
  EXPECT_EQ(node_named(*g, "v")->image_count, 3);
  EXPECT_EQ(g->nodes[0].image_count, 0);
}

TEST(sharing, the_steps_may_be_run_again_with_the_same_result) {
  const auto g = read_text("(define A (S) v = (abs S) dest = (+ (blur v 1 0 1 0) (blur (* v v) 2 0 1 0)))");
  std::vector<node> before(g->nodes, g->nodes + g->n_nodes);
  const int temp = g->n_temp_images, cache = g->n_cache_images;
  set_share_counts(*g);
  set_image_counts(*g, false);
  assign_image_planes(*g);
  mark_regions(*g);
  for (int i = 0; i < g->n_nodes; ++i) {
    EXPECT_EQ(g->nodes[i].share_count, before[i].share_count);
    EXPECT_EQ(g->nodes[i].image_count, before[i].image_count);
    EXPECT_EQ(g->nodes[i].image_base, before[i].image_base);
    EXPECT_EQ(g->nodes[i].node_flags, before[i].node_flags);
  }
  EXPECT_EQ(g->n_temp_images, temp);
  EXPECT_EQ(g->n_cache_images, cache);
}

// --- planes ----------------------------------------------------------------------------------------

TEST(planes, an_operator_needs_what_its_record_says) {
  // z_blur: two planes an element and four beyond.
  const auto g = read_text("(define A (S) z = (monochrome S) dest = (z_blur S z 0 1 0 1 4 0))");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->nodes[0].image_count, 10);
  EXPECT_EQ(g->n_temp_images, 10);
}

TEST(planes, results_stay_and_scratch_is_free_again) {
  const auto g = read_text("(define A (S) z = (monochrome S) dest = (+ (z_blur S z 0 1 0 1 4 0) (blur S 1 0 1 0)))");
  const node& z_blur = *node_named(*g, "_z_blur");
  const node& blur = *node_named(*g, "_blur");
  EXPECT_EQ(z_blur.image_base, 0);
  EXPECT_EQ(z_blur.image_top, 3);
  EXPECT_EQ(blur.image_base, 3);
  EXPECT_EQ(blur.image_top, 6);
  EXPECT_EQ(g->n_temp_images, 10);
}

TEST(planes, an_operator_takes_the_place_of_its_image) {
  const auto g = read_text("(define A (S) dest = (blur (blur S 1 0 1 0) 1 0 1 0))");
  EXPECT_EQ(g->nodes[0].image_base, 0);
  EXPECT_EQ(node_named(*g, "_blur")->image_base, 0);
  EXPECT_EQ(g->n_temp_images, 3);
}

TEST(planes, alternatives_use_the_same_planes) {
  const auto g = read_text("(define A (S) dest = (if+ 1 (blur S 1 0 1 0) (blur S 2 0 1 0)))");
  EXPECT_EQ(g->nodes[0].args[1]->image_base, 0);
  EXPECT_EQ(g->nodes[0].args[2]->image_base, 0);
  EXPECT_EQ(g->n_temp_images, 3);
  EXPECT_EQ(read_text("(define A (S) dest = (if+ x (blur S 1 0 1 0) (blur S 2 0 1 0)))")->n_temp_images, 6);
}

TEST(planes, an_if_that_is_itself_an_image_is_warned_of) {
  report_capture reports;
  read_text("(define A (S) c = 1 v = (if+ c S (abs S)) dest = (+ (blur v 1 0 1 0) (blur v 2 0 1 0)))");
  EXPECT_EQ(reports.severity_of("*** WARNING A if+ c has cache images, use (copy (if+...)) instead. \n"),
            REPORT_WARNING)
      << reports.all();
}

TEST(planes, thirteen_planes_of_one_node_are_fatal) {
  report_capture reports;
  const auto g = read_text("(define A (S) dest = (blur S 1 0 1 0))");
  fun_info greedy = *g->nodes[0].fun;
  greedy.images_per_element = 4;  // twelve planes
  g->nodes[0].fun = &greedy;
  set_image_counts(*g, false);
  EXPECT_EQ(g->nodes[0].image_count, 12);
  greedy.extra_images = 1;
  EXPECT_THROW(set_image_counts(*g, false), TessaronAbortException);
  EXPECT_TRUE(reports.has("dest has image_count 13 > MAX_NODE_IMAGE_COUNT 12")) << reports.all();
}

// --- regions and summaries -------------------------------------------------------------------------

TEST(regions, the_mark_ends_below_an_operator_that_reads_a_real_image) {
  const auto g = read_text("(define A (S) below = (abs S) dest = (+ 1 (blur below 1 0 1 0)))");
  EXPECT_TRUE(g->nodes[0].node_flags & NODE_NARROWED);
  EXPECT_TRUE(node_named(*g, "_blur")->node_flags & NODE_NARROWED);
  EXPECT_FALSE(node_named(*g, "below")->node_flags & NODE_NARROWED);
}

TEST(regions, the_mark_ends_at_planes_that_stay_valid) {
  const auto g = read_text("(define A (S) still = (abs x) dest = (* S still))");
  EXPECT_FALSE(node_named(*g, "still")->node_flags & NODE_NARROWED);
  EXPECT_TRUE(g->nodes[0].node_flags & NODE_NARROWED);
}

TEST(regions, one_wide_use_is_enough_to_widen_a_node) {
  const auto g = read_text("(define A (S) v = (abs S) dest = (+ v (blur (* v v) 1 0 1 0)))");
  EXPECT_FALSE(node_named(*g, "v")->node_flags & NODE_NARROWED);
}

TEST(binding, operators_on_real_images_are_summarised) {
  auto g = read_text("(define A (S) dest = (blur S 1 0 1 0))");
  EXPECT_TRUE(g->flags[0] & GENO0_MAY_GROW);
  EXPECT_TRUE(g->flags[2] & GENO2_IMAGE_BELOW_OPERATOR);
  g = read_text("(define A (S) dest = (+ S (blur (abs x) 1 0 1 0)))");
  EXPECT_TRUE(g->flags[0] & GENO0_MAY_GROW);
  EXPECT_FALSE(g->flags[2] & GENO2_IMAGE_BELOW_OPERATOR);
  g = read_text("(define A (S) dest = (abs S))");
  EXPECT_FALSE(g->flags[0] & GENO0_MAY_GROW);
}

TEST(binding, the_first_effect_gives_the_plugin_its_totals) {
  globals_scope globals;
  EXPECT_LT(globals->image_total, 0);
  read_text("(define A (S T) v = (abs x) dest = (+ (blur S 1 0 1 0) v))");
  EXPECT_EQ(globals->image_total, 4);
  EXPECT_EQ(globals->n_inputs_declared, 2);
  read_text("(define B (S) dest = S)");
  EXPECT_EQ(globals->image_total, 4);
}

// --- faults that only a broken record can bring ----------------------------------------------------

TEST(binding, a_node_with_too_many_arguments_is_an_uncleared_node) {
  report_capture reports;
  const auto g = read_text("(define A dest = (+ x 1))");
  const auto arg_number = g->nodes[2].arg_number;
  g->nodes[2].arg_number = MAX_ARG_NUMBER + 1;
  EXPECT_THROW(set_genotype_arg_ptrs(*g), TessaronAbortException);
  g->nodes[2].arg_number = arg_number;
  EXPECT_TRUE(reports.has("node 2"));
  EXPECT_TRUE(reports.has("set_genotype_arg_ptrs: uncleared node"));
}

TEST(binding, alpha_as_mask_without_inputs_is_fatal) {
  report_capture reports;
  set_tables_and_globals();
  owned_genotype g(new genotype());
  std::strcpy(g->name, "A");
  set_node_capacity(*g, 1);
  g->nodes[add_nodes(*g, 1)].kind = KIND_OUTPUT;
  g->rgba_mode = 4;
  EXPECT_THROW(bind_genotype(*g), TessaronAbortException);
  EXPECT_EQ(reports.severity_of("A: effect with no inputs has rgba_mode of use_alpha_as_mask.\nThis is not allowed.  "
                                "It needs to use another rgba mode.\n"),
            REPORT_FATAL);
}

}  // namespace
}  // namespace tessaron::testing
