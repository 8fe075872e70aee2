// Definitions found in a text, their reports, their plans, and the records as JSON.
#include "host/inspect.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "console/describe.h"
#include "console/json_records.h"
#include "console/plan_dot.h"
#include "support/scratch_folder.h"

namespace tessaron::console {
namespace {

using testing::scratch_folder;

std::vector<definition_text> scan(const std::string& source) {
  std::vector<definition_text> definitions;
  scan_definition_text(source, "some.text", definitions);
  return definitions;
}

genotype_ptr bind(const std::string& source) {
  std::vector<inspected_report> reports;
  genotype_ptr g(inspect_definition(scan(source).at(0), reports));
  EXPECT_TRUE(g) << source << (reports.empty() ? "" : reports[0].text);
  return g;
}

TEST(ScanDefinitions, finds_names_lines_and_texts) {
  const auto found = scan("key: value\n\n// A note.\n(define First ()\n  dest = 1)\n(def_effect Second () dest = 2)");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].name, "First");
  EXPECT_EQ(found[0].line, 4);
  EXPECT_EQ(found[0].text, "(define First ()\n  dest = 1)");
  EXPECT_EQ(found[0].comment, "A note.");
  EXPECT_EQ(found[1].name, "Second");
  EXPECT_EQ(found[1].line, 6);
  EXPECT_EQ(found[1].comment, "");
}

TEST(ScanDefinitions, comments_hold_no_definitions) { EXPECT_TRUE(scan("// (define A () dest = 1)\n").empty()); }

TEST(ScanDefinitions, brackets_in_strings_and_comments_do_not_count) {
  const auto found = scan("(define A ()\n a = 1 (page \"One (1)\") // )\n dest = a)\n(define B () dest = 1)");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].text, "(define A ()\n a = 1 (page \"One (1)\") // )\n dest = a)");
}

TEST(ScanDefinitions, an_unclosed_definition_runs_to_the_end) {
  const auto found = scan("(define A () dest = (+ 1 2)\n(define B () dest = 1)");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].text, "(define A () dest = (+ 1 2)\n(define B () dest = 1)");
}

TEST(ScanDefinitions, a_reference_brings_the_whole_text_along) {
  const std::string source = "(define Base a = 2)\n(define User () #ref Base dest = a)";
  const auto found = scan(source);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].whole_at, 0u);
  EXPECT_EQ(found[1].text, "(define User () #ref Base dest = a)\n" + source);
  EXPECT_EQ(found[1].text.substr(found[1].whole_at), source);
}

TEST(ScanDefinitions, files_that_cannot_be_read_are_named) {
  const scratch_folder folder;
  std::vector<definition_text> found;
  std::string error;
  EXPECT_FALSE(scan_definitions(folder.file("none"), found, error));
  EXPECT_NE(error.find("none"), std::string::npos);
  EXPECT_FALSE(scan_definitions(folder.path(), found, error));
  EXPECT_NE(error.find("is a directory"), std::string::npos);
  folder.write("binary", std::string("(define A\0 () dest = 1)", 23));
  EXPECT_FALSE(scan_definitions(folder.file("binary"), found, error));
  EXPECT_NE(error.find("not a text file"), std::string::npos);
  folder.write("empty", "");
  EXPECT_TRUE(scan_definitions(folder.file("empty"), found, error));
  EXPECT_TRUE(found.empty());
}

TEST(ScanDefinitions, definitions_may_come_through_a_pipe) {
  const scratch_folder folder;
  const std::string path = folder.file("pipe.text");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  std::string source = "// " + std::string(200000, 'x') + "\n";  // more than a pipe holds at once
  source += "(define Piped () dest = 1)";
  std::thread writer([&] { std::ofstream(path) << source; });
  std::vector<definition_text> found;
  std::string error;
  EXPECT_TRUE(scan_definitions(path, found, error)) << error;
  writer.join();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].name, "Piped");
  EXPECT_EQ(found[0].line, 2);
}

TEST(ScanDefinitions, a_device_without_an_end_is_too_large) {
  std::vector<definition_text> found;
  std::string error;
  EXPECT_FALSE(scan_definitions("/dev/zero", found, error));
  EXPECT_EQ(error, "/dev/zero: is too large for a text of definitions");
}

TEST(InspectDefinition, reports_carry_words_and_place) {
  std::vector<inspected_report> reports;
  EXPECT_EQ(inspect_definition(scan("\n\n(define A ()\n  dest = (+ 1))\n").at(0), reports), nullptr);
  ASSERT_FALSE(reports.empty());
  EXPECT_EQ(reports[0].text, "In A: + has too few args: 1, needs 2.");
  EXPECT_EQ(reports[0].location, "some.text:4");
  EXPECT_EQ(labelled_text(reports[0]), "Error: In A: + has too few args: 1, needs 2.");
}

TEST(InspectDefinition, a_fatal_report_fails_the_definition_and_nothing_else) {
  // Six entries for each of three elements, and an end mark for each: 21 texts where 20 fit.
  std::vector<inspected_report> reports;
  EXPECT_EQ(inspect_definition(scan("(define A () a = [1 1 1] (popup a b c d e f) dest = a)").at(0), reports), nullptr);
  ASSERT_FALSE(reports.empty());
  EXPECT_EQ(labelled_text(reports.back()), "Fatal Error: a: Too many state names (21, should be <20)");
  EXPECT_TRUE(bind("(define B () dest = 1)"));
}

TEST(InspectDefinition, the_comment_in_front_is_its_description) {
  const genotype_ptr g = bind("// Makes it\n// so.\n(define A () dest = 1)");
  ASSERT_TRUE(g && g->description);
  EXPECT_STREQ(g->description, "Makes it\nso.");
}

TEST(InspectPlan, folds_constants_and_passes_neutral_operations) {
  const genotype_ptr g = bind("(define A (Source) () Gain = 1 Add = 0 dest = (+ (* Source Gain) Add))");
  inspected_plan plan;
  std::vector<inspected_report> reports;
  ASSERT_TRUE(inspect_plan(*g, 64, 64, plan, reports));
  EXPECT_TRUE(plan.eval_nodes.empty());  // times 1 and plus 0: the source itself
  EXPECT_EQ(g->nodes[0].pass_arg, 0);
  ASSERT_TRUE(inspect_set_param(*g, "Gain", {0.5f}));
  EXPECT_FALSE(inspect_set_param(*g, "Gone", {0.5f}));
  inspected_plan again;
  ASSERT_TRUE(inspect_plan(*g, 64, 64, again, reports));
  ASSERT_EQ(again.eval_nodes.size(), 1u);
  EXPECT_STREQ(g->nodes[again.eval_nodes[0]].fun->name, "*");
}

TEST(InspectPlan, values_pass_through_their_host_controls) {
  const genotype_ptr g = bind("(define A () () C = [0.5 0.5 0.5] (color) P = 50 (percent) dest = (* (* C P) x))");
  inspected_plan plan;
  std::vector<inspected_report> reports;
  ASSERT_TRUE(inspect_plan(*g, 64, 64, plan, reports));
  for (int i = 0; i < g->n_nodes; ++i) {
    const std::string name = g->nodes[i].name ? g->nodes[i].name : "";
    if (name == "C") {
      EXPECT_EQ(g->nodes[i].const_vals[0], 2040);  // byte 127: 127 / 255 * 4096 = 2039.97
    } else if (name == "P") {
      EXPECT_EQ(g->nodes[i].const_vals[0], 2048);  // 50 percent is a half
    }
  }
}

TEST(Json, single_precision_numbers_have_the_fewest_digits) {
  EXPECT_EQ(record_json(0.001f).dump(), "0.001");
  EXPECT_EQ(record_json(0.1f).dump(), "0.1");
  EXPECT_EQ(record_json(1.0f).dump(), "1.0");
}

TEST(Json, genotype_fields_stand_in_order_and_whole) {
  const genotype_ptr g =
      bind("(define Edge_Tint (Source) (rgba_ok) Tint = [1 0.7 0.4] (color page Main) dest = (* Source Tint))");
  const record_json record = info_record(*g);
  std::vector<std::string> fields;
  for (const auto& [name, value] : record.items()) fields.push_back(name);
  EXPECT_EQ(fields,
            (std::vector<std::string>{"name", "input_names", "n_inputs", "rgba_mode", "z_mode", "rgba_ok_inputs",
                                      "default_none_inputs", "default_self_inputs", "alpha_z_input", "mask_input",
                                      "flags", "n_temp_images", "n_cache_images", "n_pages", "page_names", "groups",
                                      "effect_popup_name", "params", "nodes"}));
  EXPECT_EQ(record["name"], "Edge Tint");
  EXPECT_EQ(record["rgba_mode"], 1);
  EXPECT_EQ(record["flags"].size(), 3u);
  EXPECT_TRUE(record["effect_popup_name"].is_null());
  const record_json& p = record["params"][0];
  EXPECT_EQ(p["name"], "Tint");
  EXPECT_EQ(p["ptype"], 3);
  EXPECT_EQ(p["nchannels"], 3);
  EXPECT_EQ(p["n_shown"], 1);
  EXPECT_EQ(p["flags"].size(), 5u);
  EXPECT_EQ(p["popup_entry"].size(), 20u);
  EXPECT_TRUE(p["popup_entry"][0].is_null());
  EXPECT_TRUE(p["widgets"].is_array());
  EXPECT_EQ(p["default"][1], 0.7f);
  const record_json& root = record["nodes"][0];
  EXPECT_EQ(root["fun"], "*");
  EXPECT_EQ(root["arg_indices"].size(), 2u);
  EXPECT_FALSE(root.contains("pass_arg"));
}

TEST(Json, catalogue_is_in_table_order_with_readable_combos) {
  const record_json list = functions_record(inspect_catalogue());
  ASSERT_EQ(list.size(), 172u);
  EXPECT_EQ(list[0]["name"], "abs");
  EXPECT_EQ(list[0]["arg_type_combos"], (record_json{"1>1", "2>2", "3>3", "4>4"}));
  EXPECT_EQ(functions_record(inspect_catalogue(), "+")[0]["arg_names"], (record_json{"value", "offset"}));
}

TEST(Json, bytes_that_are_no_text_are_replaced) {
  const record_json record = {{"name", "a\xff"}};
  EXPECT_NO_THROW(json_text(record));
}

TEST(PlanDot, holds_the_running_nodes_and_their_arguments) {
  const genotype_ptr g = bind("(define A (Source) () Gain = 2 dest = (* Source Gain))");
  inspected_plan plan;
  std::vector<inspected_report> reports;
  ASSERT_TRUE(inspect_plan(*g, 8, 8, plan, reports));
  const std::string dot = plan_dot(*g, plan);
  EXPECT_EQ(dot.rfind("digraph \"A\" {", 0), 0u);
  EXPECT_NE(dot.find("label=\"Source\", shape=parallelogram"), std::string::npos) << dot;
  EXPECT_NE(dot.find("Gain = 2"), std::string::npos) << dot;
  EXPECT_EQ(std::count(dot.begin(), dot.end(), '>'), 2) << dot;  // two edges
}

TEST(Describe, a_reference_page_names_arguments_and_combos) {
  const fun_info* f = inspect_catalogue().find("clamp");
  ASSERT_TRUE(f);
  const std::string page = function_page(*f);
  EXPECT_EQ(page.rfind("(clamp ", 0), 0u) << page;
  EXPECT_NE(page.find("per pixel"), std::string::npos);
}

}  // namespace
}  // namespace tessaron::console
