// list, info, plan, check and functions.
#include <nlohmann/json.hpp>

#include "cli.h"

namespace tessaron::cli {
namespace {

using nlohmann::json;

TEST_F(Cli, list_holds_stock_and_custom_effects_with_inputs_and_parameters) {
  const auto result = run({"list"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(has(result.out, "Vignette  (stock, ")) << result.out;
  EXPECT_TRUE(has(result.out, "My_Own  (custom, ")) << result.out;
  EXPECT_TRUE(has(result.out, "inputs: Source"));
  const json list = json::parse(run({"list", "--json"}).out);
  EXPECT_GE(list.size(), 16u);
  EXPECT_EQ(list.back()["name"], "My_Own");
  EXPECT_EQ(list.back()["input_names"], json({"Source"}));
  EXPECT_EQ(list.back()["params"][0]["name"], "Amount");
}

TEST_F(Cli, config_dir_option_wins_over_the_environment) {
  scratch_folder other;
  other.write("t_config.text", "(define Elsewhere () () dest = 1)\n");
  const auto result = run({"list", "--config-dir", other.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(has(result.out, "Elsewhere  (custom, " + other.path() + "/t_config.text:1)")) << result.out;
  EXPECT_FALSE(has(result.out, "My_Own"));
}

TEST_F(Cli, info_reads_as_json_and_as_text) {
  const json record = json::parse(run({"info", "Vignette", "--json"}).out);
  EXPECT_EQ(record["name"], "Vignette");
  EXPECT_EQ(record["input_names"], json({"Source"}));
  EXPECT_EQ(record["nodes"][0]["fun"], "interp");
  for (const char* field :
       {"index", "name", "kind", "elnum", "var_index", "fun", "arg_indices", "const_vals", "node_flags", "image_count",
        "image_base", "image_top", "shared_image", "share_count", "branch_arg", "branch_bit", "param_index"})
    EXPECT_TRUE(record["nodes"][0].contains(field)) << field;
  const auto text = run({"info", "Vignette"});
  for (const char* part : {"Inputs: Source", "Modifiers: ", "Parameters", "Tree"})
    EXPECT_TRUE(has(text.out, part)) << part;
}

TEST_F(Cli, plan_follows_the_parameters) {
  const std::string defs = path("defs.text");
  const json passed = json::parse(run({"plan", "Gain", "--defs", defs, "--json"}).out);
  EXPECT_EQ(passed["eval_nodes_array"], json::array());  // times 1
  EXPECT_EQ(passed["nodes"][0]["pass_arg"], 0);
  const json kept = json::parse(run({"plan", "Gain", "--defs", defs, "--json", "-p", "Amount=2"}).out);
  EXPECT_EQ(kept["eval_nodes_array"], json({0}));
  EXPECT_EQ(kept["nodes"][0]["pass_arg"], -1);
  EXPECT_TRUE(kept.contains("eval_image_nodes_array"));
  EXPECT_TRUE(has(run({"plan", "Gain", "--defs", defs, "--dot", "-p", "Amount=2"}).out, "digraph"));
  EXPECT_EQ(run({"plan", "Gain", "--defs", defs, "--dot", "--json"}).status, 2);
}

TEST_F(Cli, check_reports_every_definition_in_its_own_words) {
  folder.write("mixed.text",
               "(define Good () dest = 1)\n"
               "(define Few () dest = (+ 1))\n"
               "(define Twice () dest = 1 dest = 2)\n"
               "(define Good () dest = 2)\n");
  const auto result = run({"check", path("mixed.text")});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "In Few: + has too few args: 1, needs 2.\n" + path("mixed.text") + ":2\n")) << result.err;
  EXPECT_TRUE(has(result.err, "In Twice: 'dest' is assigned more than once (type 1).\n" + path("mixed.text") + ":3\n"))
      << result.err;
  EXPECT_TRUE(has(result.err, "Good is defined twice")) << result.err;
  EXPECT_TRUE(has(result.out, path("mixed.text") + ":1: Good: ok\n")) << result.out;
  EXPECT_TRUE(has(result.out, path("mixed.text") + ":2: Few: failed\n")) << result.out;
}

TEST_F(Cli, check_of_good_files_ends_well) {
  const auto result = run({"check", path("defs.text"), path("config/t_config.text")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(has(result.out, "Mix: ok"));
  EXPECT_TRUE(has(result.out, "My_Own: ok"));
}

TEST_F(Cli, check_needs_files_with_definitions) {
  folder.write("empty.text", "");
  EXPECT_EQ(run({"check"}).status, 2);
  EXPECT_EQ(run({"check", path("none.text")}).status, 1);
  const auto result = run({"check", path("empty.text")});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "no definition")) << result.err;
}

TEST_F(Cli, functions_list_the_catalogue) {
  const json list = json::parse(run({"functions", "--json"}).out);
  ASSERT_EQ(list.size(), 172u);
  EXPECT_EQ(list[171]["name"], "film_effect");
  const auto page = run({"functions", "interp"});
  EXPECT_EQ(page.status, 0);
  EXPECT_TRUE(has(page.out, "(interp from to percent)")) << page.out;
  EXPECT_EQ(json::parse(run({"functions", "interp", "--json"}).out).size(), 1u);
  const auto unknown = run({"functions", "intrp"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_TRUE(has(unknown.err, "Did you mean interp?")) << unknown.err;
}

}  // namespace
}  // namespace tessaron::cli
