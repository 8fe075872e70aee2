// Definitions, statements, expressions: what they make, and what each fault says.
#include <string>
#include <utility>
#include <vector>

#include "base/report.h"
#include "definition.h"
#include "genotype/reading.h"

namespace tessaron::testing {
namespace {

// --- messages --------------------------------------------------------------------------------------

struct fault {
  const char* name;
  const char* text;
  const char* message;
};
void PrintTo(const fault& f, std::ostream* out) { *out << f.name; }

class statement_fault : public ::testing::TestWithParam<fault> {};

TEST_P(statement_fault, ends_the_definition_with_one_message) {
  report_capture reports;
  EXPECT_EQ(read_text(GetParam().text), nullptr);
  EXPECT_EQ(reports.severity_of(GetParam().message), REPORT_ERROR) << reports.all();
  EXPECT_EQ(reports.count(), 1u) << reports.all();
}

constexpr fault FAULTS[] = {
    {"nothing_assigned", "(define A)", "In A: the variable 'dest' is not assigned."},
    {"dest_of_itself", "(define A dest = dest)", "In A: 'dest' can not be referenced."},
    {"dest_in_another", "(define A dest = b b = dest)", "In A: 'dest' can not be referenced."},
    {"dest_as_an_argument", "(define A dest = (+ 1 dest))", "In A: 'dest' can not be referenced."},
    {"alias_cycle", "(define A dest = b b = a a = b)", "In A: cyclic variable references!"},
    {"alias_of_itself", "(define A dest = b b = b)", "In A: cyclic variable references!"},
    {"function_cycle", "(define A dest = (+ b 1) b = (+ 1 b))", "In A: cyclic variable references!"},
    {"coordinate_assigned", "(define A x = 1 dest = x)", "In A: 'x' should not be assigned."},
    {"image_assigned", "(define A _clip2 = 1 dest = 0)", "In A: '_clip2' should not be assigned."},
    {"input_assigned", "(define A (Src) Src = 1 dest = 0)", "In A: 'Src' should not be assigned."},
    {"number_assigned", "(define A 1a = 1 dest = 0)", "In A: '1a' should not be assigned."},
    {"constant_assigned_twice", "(define A a = 1 a = 2 dest = a)", "In A: 'a' is assigned more than once (type 1)."},
    {"function_assigned_twice", "(define A dest = (+ 1 2) dest = 2)",
     "In A: 'dest' is assigned more than once (type 2)."},
    {"input_variable_assigned_twice", "(define A (S) a = S a = 2 dest = a)",
     "In A: 'a' is assigned more than once (type 4)."},
    {"too_few_args", "(define A dest = (+ 1))", "In A: + has too few args: 1, needs 2."},
    {"too_many_args", "(define A dest = (+ 1 2 3))", "In A: + has too many args, needs 2."},
    {"unknown_function", "(define A dest = (nosuch 1))", "In A node 0: unknown function 'nosuch'"},
    {"unknown_function_below", "(define A dest = (abs (nosuch 1)))", "In A node 1: unknown function 'nosuch'"},
    {"bracket_for_a_name", "(define A [ = 1)", "In A: expected variable name or ')' but got [."},
    {"no_equals", "(define A dest 1)", "In A: expected 'dest =' but got 'dest 1'."},
    {"end_for_equals", "(define A dest", "In A: expected 'dest =' but got eof."},
    {"no_expression", "(define A dest = )", "In A: expected an expression after 'dest =' but got ')'."},
    {"equals_for_an_expression", "(define A dest = = 1)", "In A: expected an expression but got '='."},
    {"bracket_for_an_expression", "(define A dest = ])", "In A: expected an expression but got ']'."},
    {"five_elements", "(define A dest = [1 2 3 4 5])", "In A: a vector has > 4 elements."},
    {"no_elements", "(define A dest = [])", "In A: a vector has 0 elements."},
    {"a_name_in_a_vector", "(define A dest = [1 b])",
     "In A: non number 'b' in a vector, (use v2, v3, or v4 function)."},
    {"no_closing_bracket", "(define A dest = 0", "Eof reading genotype assignment."},
    {"nothing_behind_the_name", "(define A", "Eof reading genotype assignment."},
    {"end_behind_equals", "(define A dest =", "In A: the text ends before the definition does."},
    {"end_in_an_expression", "(define A dest = (+ 1", "In A: the text ends before the definition does."},
    {"end_in_a_vector", "(define A dest = [1", "In A: the text ends before the definition does."},
    {"end_in_a_declaration", "(define A a = 1 (min", "In A: the text ends before the definition does."},
    {"end_behind_ref", "(define A #ref", "In A: the text ends before the definition does."},
    {"variable_never_assigned", "(define A dest = (+ b 1))", "In A: the variable 'b' is not assigned."},
    {"alias_never_assigned", "(define A dest = b)", "In A: the variable 'b' is not assigned."},
    {"no_definition", "nothing (here) at all", "Eof reading genotype define from string."},
    {"unknown_reference", "(define A #ref B)", "Did not find reference to B. \n"},
    {"reference_to_itself", "(define A dest = 0 #ref A)", "In A: #ref A leads back to itself."},
    {"reference_circle", "(define A #ref B) (define B #ref C) (define C #ref B)", "In A: #ref B leads back to itself."},
};
INSTANTIATE_TEST_SUITE_P(all, statement_fault, ::testing::ValuesIn(FAULTS),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(statements, the_tables_must_be_ready) {
  report_capture reports;
  set_tables_and_globals();
  tables_ready = false;
  EXPECT_EQ(read_genotype("A"), nullptr);
  tables_ready = true;
  EXPECT_TRUE(reports.has("read_genotype: need to set_tables_and_globals."));
}

// --- what a definition makes -----------------------------------------------------------------------

TEST(statements, both_keywords_define_and_other_text_is_passed_over) {
  report_capture reports;
  EXPECT_NE(read_text("key: value (what) ( (def_effect A dest = 0) rest"), nullptr);
  EXPECT_NE(read_text("define ((define A dest = 0)"), nullptr);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST(statements, a_name_is_cut_at_31_characters_and_shows_blanks) {
  const auto g = read_text("(define An_effect_with_a_name_of_more_than_31 dest = 0)");
  ASSERT_NE(g, nullptr);
  EXPECT_STREQ(g->name, "An effect with a name of more t");
}

TEST(statements, a_constant_effect_has_one_node_and_a_parameter_named_dest) {
  const auto g = read_text("(define NoCustom dest = 0)");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->n_nodes, 1);
  EXPECT_EQ(g->n_inputs, 0);
  EXPECT_EQ(g->nodes[0].kind, KIND_CONSTANT);
  ASSERT_EQ(g->n_params, 1);
  EXPECT_STREQ(g->params[0]->name, "dest");
  EXPECT_EQ(g->params[0]->ptype, PTYPE_FLOAT);
  EXPECT_EQ(g->params[0]->param_node, &g->nodes[0]);
  EXPECT_EQ(g->nodes[0].param_index, 1);
}

/// const_vals of `dest = TEXT`.
std::vector<fix> values_of(const std::string& text) {
  const auto g = read_text("(define A dest = " + text + ")");
  return g ? std::vector<fix>(g->nodes[0].const_vals, g->nodes[0].const_vals + 4) : std::vector<fix>();
}

TEST(statements, a_vector_fills_its_unused_elements) {
  EXPECT_EQ(values_of("[1 2]"), (std::vector<fix>{4096, 8192, 8192, 8192}));
  EXPECT_EQ(values_of("[1 2 3]"), (std::vector<fix>{4096, 8192, 12288, 4096}));
  EXPECT_EQ(values_of("[1 2 3 4]"), (std::vector<fix>{4096, 8192, 12288, 16384}));
  EXPECT_EQ(values_of("[3]"), (std::vector<fix>{12288, 12288, 12288, 12288}));
}

TEST(statements, a_scalar_sets_its_first_element_only) {
  EXPECT_EQ(values_of("2"), (std::vector<fix>{8192, 0, 0, 0}));
  EXPECT_EQ(values_of("-0.5"), (std::vector<fix>{-2048, 0, 0, 0}));
}

TEST(statements, a_vector_parameter_takes_count_value_and_default_from_its_numbers) {
  const auto g = read_text("(define A v = [1 2.5] dest = v)");
  ASSERT_NE(g, nullptr);
  const param& p = *g->params[0];
  EXPECT_EQ(p.nchannels, 2);
  EXPECT_EQ(p.n_shown, 2);
  EXPECT_EQ(p.value[1], 2.5f);
  EXPECT_EQ(p.default_value[1], 2.5f);
}

TEST(statements, a_scalar_parameter_has_its_number_as_default_four_times) {
  const auto g = read_text("(define A v = 3 dest = v)");
  for (float d : g->params[0]->default_value) EXPECT_EQ(d, 3.0f);
  EXPECT_EQ(g->params[0]->value[0], 3.0f);
}

TEST(statements, an_unnamed_number_is_no_parameter) {
  const auto g = read_text("(define A dest = (+ 1 [1 2]))");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->n_params, 0);
  EXPECT_STREQ(g->nodes[0].name, "dest");
  EXPECT_EQ(g->nodes[1].name, nullptr);
}

TEST(statements, parameters_stand_in_the_order_of_their_assignments) {
  const auto g = read_text("(define A dest = (+ b a) a = 1 b = 2)");
  ASSERT_EQ(g->n_params, 2);
  EXPECT_STREQ(g->params[0]->name, "a");
  EXPECT_STREQ(g->params[1]->name, "b");
}

TEST(statements, an_alias_may_be_assigned_before_or_after_its_variable) {
  for (const char* text : {"(define A a = b b = 3 dest = (+ a 1))", "(define A b = 3 a = b dest = (+ a 1))"}) {
    const auto g = read_text(text);
    ASSERT_NE(g, nullptr) << text;
    EXPECT_STREQ(g->nodes[0].args[0]->name, "b") << text;
  }
}

TEST(statements, built_ins_have_two_names_and_inputs_their_own) {
  const std::pair<const char*, int> names[] = {{"x", 0},       {"X", 0},       {"y", 1},       {"Y", 1},
                                               {"xy", 2},      {"XY", 2},      {"_image", 3},  {"_clip1", 3},
                                               {"First", 3},   {"_image2", 4}, {"_clip2", 4},  {"Second", 4},
                                               {"_image3", 5}, {"_clip3", 5},  {"_image4", 6}, {"_clip4", 6}};
  const int elnums[] = {1, 1, 2, 3, 3, 3, 3};
  const char* table_names[] = {"x", "y", "xy", "_image", "_image2", "_image3", "_image4"};
  for (const auto& [name, index] : names) {
    const auto g = read_text(std::string("(define A (First Second) dest = (abs ") + name + "))");
    ASSERT_NE(g, nullptr) << name;
    const node& n = *g->nodes[0].args[0];
    EXPECT_EQ(n.kind, KIND_BUILT_IN) << name;
    EXPECT_EQ(n.var_index, index) << name;
    EXPECT_EQ(n.elnum, elnums[index]) << name;
    EXPECT_STREQ(n.name, table_names[index]);
  }
}

TEST(statements, output_is_a_constant_of_four_elements) {
  const auto g = read_text("(define A dest = Output)");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->nodes[0].kind, KIND_OUTPUT);
  EXPECT_EQ(g->nodes[0].elnum, 4);
}

TEST(statements, an_unnamed_function_is_named_after_it) {
  const auto g = read_text("(define A (S) dest = (+ (abs S) 1))");
  EXPECT_STREQ(g->nodes[0].args[0]->name, "_abs");
}

TEST(statements, nodes_remember_their_statement) {
  const auto g = read_text("(define A a = 1 b = 2 dest = (+ a b))");
  EXPECT_EQ(node_named(*g, "a")->assign_index, 0);
  EXPECT_EQ(node_named(*g, "b")->assign_index, 1);
  EXPECT_EQ(node_named(*g, "dest")->assign_index, 2);
}

TEST(statements, functions_tell_what_they_do_to_the_effect) {
  const auto flags = [](const char* expression) {
    const auto g = read_text(std::string("(define A (S) dest = ") + expression + ")");
    return g ? g->flags[0] & (GENO0_READS_CLIPS | GENO0_PREV_OUTPUT | GENO0_FRAME_DEPENDENT) : -1;
  };
  EXPECT_EQ(flags("(abs S)"), 0);
  EXPECT_EQ(flags("(get_time)"), GENO0_FRAME_DEPENDENT);
  EXPECT_EQ(flags("(get_frame 0 0 0)"), GENO0_READS_CLIPS);
  EXPECT_EQ(flags("(get_prev_dest S)"), GENO0_PREV_OUTPUT | GENO0_FRAME_DEPENDENT);
}

TEST(statements, an_opacity_parameter_is_noted) {
  EXPECT_TRUE(read_text("(define A opacity = 1 dest = opacity)")->flags[2] & GENO2_HAS_OPACITY);
  EXPECT_TRUE(read_text("(define A input_opacity = 1 dest = input_opacity)")->flags[2] & GENO2_HAS_OPACITY);
  EXPECT_FALSE(read_text("(define A opacities = 1 dest = opacities)")->flags[2] & GENO2_HAS_OPACITY);
}

// --- the input list --------------------------------------------------------------------------------

TEST(statements, an_input_name_of_12_characters_is_legal_and_one_of_13_is_left_out) {
  report_capture reports;
  auto g = read_text("(define A (abcdefghijkl) dest = abcdefghijkl)");
  ASSERT_NE(g, nullptr);
  EXPECT_STREQ(g->input_names[0], "abcdefghijkl");
  EXPECT_TRUE(reports.empty());
  g = read_text("(define A (abcdefghijklm Two) dest = Two)");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(reports.severity_of("A, input name abcdefghijklm is too long. \n"), REPORT_ERROR);
  EXPECT_STREQ(g->input_names[0], "");
  EXPECT_STREQ(g->input_names[1], "Two");
  EXPECT_EQ(g->n_inputs, 2);
}

TEST(statements, a_fifth_input_is_counted_and_reported) {
  report_capture reports;
  const auto g = read_text("(define A (a b c d e) dest = d)");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->n_inputs, 5);
  EXPECT_STREQ(g->input_names[3], "d");
  EXPECT_EQ(reports.severity_of("*** A warning: too many input names.\n"), REPORT_ERROR);
  EXPECT_EQ(read_text("(define A (a b c d e) dest = e)"), nullptr);
}

TEST(statements, a_background_behind_the_first_input_is_the_alpha_and_z_input) {
  EXPECT_EQ(read_text("(define A (S Background) dest = S)")->alpha_z_input, 1);
  EXPECT_EQ(read_text("(define A (Background S) dest = S)")->alpha_z_input, 0);
}

TEST(statements, an_end_inside_the_input_list_leaves_no_inputs) {
  report_capture reports;
  EXPECT_EQ(read_text("(define A (S "), nullptr);
  EXPECT_TRUE(reports.has("Eof reading genotype assignment."));
}

// --- #ref -------------------------------------------------------------------------------------------

TEST(statements, a_reference_reads_the_statements_of_another_definition) {
  report_capture reports;
  const auto g = read_text("(define A (S) #ref Common dest = (* S gain))\n(define Common gain = 3 (max 9))");
  ASSERT_NE(g, nullptr) << reports.all();
  ASSERT_EQ(g->n_params, 1);
  EXPECT_STREQ(g->params[0]->name, "gain");
  EXPECT_EQ(g->params[0]->max_bound, 9.0f);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST(statements, a_reference_finds_definitions_on_both_sides_and_in_files) {
  const temporary_file file("(define Low a = 1)\n(define Main #ref Low #ref High dest = (+ a b))\n(define High b = 2)");
  globals_scope globals;
  load_effect_by_name("Main", file.path());
  EXPECT_EQ(globals->genotypes[0]->n_params, 2);
}

TEST(statements, a_referenced_definition_has_no_input_list) {
  report_capture reports;
  EXPECT_EQ(read_text("(define A #ref B dest = 0) (define B () a = 1)"), nullptr);
  EXPECT_TRUE(reports.has("In A: expected variable name or ')' but got (.")) << reports.all();
}

TEST(statements, references_that_fan_out_without_end_are_refused) {
  std::string text = "(define A #ref B0)";
  for (int i = 0; i < 60; ++i) {
    const std::string next = numbered("#ref B", i + 1);
    text += numbered("(define B", i) + " " + next + " " + next + ")";
  }
  report_capture reports;
  EXPECT_EQ(read_text(text + "(define B60)"), nullptr);
  EXPECT_TRUE(reports.has_part("In A: too many #ref, at B"));
}

// --- limits of our own -----------------------------------------------------------------------------

TEST(statements, forty_parameters_fit_and_one_more_is_refused) {
  std::string text = "(define A ";
  for (int i = 0; i < 39; ++i) text += numbered("p", i) + " = 1 ";
  report_capture reports;
  const auto g = read_text(text + "dest = 0)");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->n_params, 40);
  reports.clear();
  EXPECT_EQ(read_text(text + "p39 = 1 dest = 0)"), nullptr);
  EXPECT_TRUE(reports.has("In A: more than 40 parameters: 'dest'.")) << reports.all();
  EXPECT_EQ(read_text(text + "p39 = 1 p40 = [1 2] dest = 0)"), nullptr);
  EXPECT_TRUE(reports.has("In A: more than 40 parameters: 'p40'.")) << reports.all();
}

std::string nested(const std::string& open, int depth, const std::string& core, const std::string& close = ")") {
  std::string text;
  for (int i = 0; i < depth; ++i) text += open;
  text += core;
  for (int i = 0; i < depth; ++i) text += close;
  return text;
}

TEST(statements, a_thousand_levels_of_expressions_bind_and_five_thousand_are_refused) {
  report_capture reports;
  const auto g = read_text("(define A (S) dest = " + nested("(abs ", MAX_EXPRESSION_DEPTH - 1, "S") + ")");
  ASSERT_NE(g, nullptr) << reports.all();
  const owned_genotype copy(copy_genotype(*g));
  EXPECT_EQ(copy->n_nodes, g->n_nodes);
  EXPECT_EQ(read_text("(define A (S) dest = " + nested("(abs ", 5000, "S") + ")"), nullptr);
  EXPECT_TRUE(reports.has("In A: expressions are nested more than 1000 deep."));
}

TEST(statements, a_chain_of_variables_is_refused_at_the_same_depth) {
  std::string text = "(define A (S) v0 = S ";
  for (int i = 0; i < 3000; ++i) text += numbered("v", i + 1) + numbered(" = (abs v", i) + ") ";
  report_capture reports;
  EXPECT_EQ(read_text(text + "dest = v3000)"), nullptr);
  EXPECT_TRUE(reports.has("In A: the tree is more than 1000 levels deep.")) << reports.all();
  EXPECT_NE(read_text(text + "dest = v900)"), nullptr);
}

TEST(statements, a_chain_of_aliases_may_be_long) {
  std::string text = "(define A (S) ";
  for (int i = 0; i < 4000; ++i) text += numbered("v", i) + numbered(" = v", i + 1) + " ";
  const auto g = read_text(text + "v4000 = S dest = v0)");
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->nodes[0].kind, KIND_BUILT_IN);
}

TEST(statements, a_variable_that_doubles_at_each_level_is_bound_in_no_time) {
  std::string text = "(define A (S) v0 = S ";
  for (int i = 0; i < 200; ++i) {
    const std::string v = numbered("v", i);
    text += numbered("v", i + 1) + " = (+ " + v + " " + v + ") ";
  }
  EXPECT_NE(read_text(text + "dest = v200)"), nullptr);
  EXPECT_NE(read_text(text + "dest = (if+ 1 S v200))"), nullptr);
}

TEST(statements, more_planes_than_a_node_can_name_are_refused) {
  std::string text = "S";
  for (int i = 0; i < 50; ++i) text = "(+ (blur S 1 0 1 0) " + text + ")";
  report_capture reports;
  EXPECT_THROW(read_text("(define A (S) dest = " + text + ")"), TessaronAbortException);
  EXPECT_TRUE(reports.has("In A: more than 127 image planes.")) << reports.all();
}

TEST(statements, more_than_ten_thousand_nodes_are_refused) {
  std::string text = "(define A (S) dest = S ";
  for (int i = 0; i < 3400; ++i) text += numbered("v", i) + " = (+ S 1) ";
  report_capture reports;
  EXPECT_EQ(read_text(text + ")"), nullptr);
  EXPECT_TRUE(reports.has("In A: more than 10000 nodes.")) << reports.all();
}

TEST(statements, an_overlong_token_fails_the_definition_with_one_report) {
  const std::string word(10000, 'b');
  for (const std::string& text :
       {"(define A dest = (+ " + word + " 1))", "(define A dest = (" + word + " 1))", "(define A " + word + " = 1)",
        "(define A a = 1 (" + word + ") dest = 0)", "(define A a = 1 (popup " + word + ") dest = 0)"}) {
    report_capture reports;
    EXPECT_EQ(read_text(text), nullptr);
    EXPECT_EQ(reports.count_part("In A: a token is longer than 1023 characters: 'bbbb"), 1) << reports.all();
    EXPECT_EQ(reports.count(), 1u) << reports.all();
  }
}

TEST(statements, an_overlong_token_in_front_of_a_reference_fails_the_definition_too) {
  const std::string word(3000, 'b');
  for (const std::string& list : {"a = 1 (page " + word + ")", "a = 1 (popup x " + word + ")"}) {
    report_capture reports;
    EXPECT_EQ(read_text("(define A " + list + " #ref B dest = (+ a b)) (define B b = 1)"), nullptr);
    EXPECT_EQ(reports.count_part("a token is longer than 1023 characters"), 1) << reports.all();
    EXPECT_EQ(reports.count(), 1u) << reports.all();
  }
}

TEST(statements, an_overlong_token_in_front_of_a_definition_is_passed_over) {
  report_capture reports;
  EXPECT_NE(read_text(std::string(5000, 'z') + " (define A dest = 0)"), nullptr);
  EXPECT_EQ(reports.count(), 1u);
}

// --- descriptions ----------------------------------------------------------------------------------

TEST(statements, the_comment_block_in_front_of_a_definition_describes_it) {
  const auto g = read_text("// File header.\n\n// Tints the edges.\n// Try it.\n(define A dest = 0)");
  ASSERT_NE(g, nullptr);
  EXPECT_STREQ(g->description, "Tints the edges.\nTry it.");
  EXPECT_EQ(read_text("// Far away.\n\n(define A dest = 0)")->description, nullptr);
  EXPECT_EQ(read_text("(define A dest = 0)")->description, nullptr);
}

// --- copies ----------------------------------------------------------------------------------------

TEST(statements, a_copy_has_its_own_nodes_and_params_and_shares_the_texts) {
  const auto g =
      read_text("// About.\n(define A (S) a = 2 (page One popup X Y widget ring group_start G) dest = (+ S (* a a)))");
  ASSERT_NE(g, nullptr);
  const owned_genotype copy(copy_genotype(*g));
  EXPECT_NE(copy->shares_strings, 0);
  EXPECT_NE(copy->nodes, g->nodes);
  EXPECT_EQ(copy->nodes[0].name, g->nodes[0].name);
  EXPECT_EQ(copy->page_names[1], g->page_names[1]);
  EXPECT_STREQ(copy->description, "About.");
  for (int i = 0; i < copy->n_nodes; ++i)
    for (int k = 0; k < copy->nodes[i].arg_number; ++k) {
      node& arg = copy->nodes[copy->nodes[i].arg_indices[k]];
      EXPECT_EQ(copy->nodes[i].args[k], &arg);
      EXPECT_EQ(copy->nodes[i].arg_rows[k], arg.rows);
      EXPECT_EQ(copy->nodes[i].arg_consts[k], arg.const_vals);
      EXPECT_EQ(arg.rows[0], arg.const_vals);
    }
  ASSERT_NE(copy->params[0], g->params[0]);
  EXPECT_EQ(copy->params[0]->ref_count, 1);
  EXPECT_EQ(copy->params[0]->param_node, node_named(*copy, "a"));
  copy->params[0]->value[0] = 5.0f;
  store_param_in_node(*copy->params[0]);
  EXPECT_EQ(node_named(*copy, "a")->const_vals[0], 5 * FIX_ONE);
  EXPECT_EQ(node_named(*g, "a")->const_vals[0], 2 * FIX_ONE);
}

TEST(statements, a_shared_param_lives_until_its_last_user_is_gone) {
  auto one = read_text("(define A a = 1 dest = a)");
  auto two = read_text("(define B a = 1 dest = a)");
  release_param(two->params[0]);
  two->params[0] = one->params[0];
  ++one->params[0]->ref_count;
  one.reset();
  EXPECT_EQ(two->params[0]->ref_count, 1);
  EXPECT_STREQ(two->params[0]->name, "a");
}

}  // namespace
}  // namespace tessaron::testing
