// What the stock effects show of the catalogue: every operator that reads whole images has one to
// learn from.
#include <gtest/gtest.h>

#include <set>

#include "catalogue/defuns.h"
#include "genotype/genotype.h"
#include "host/inspect.h"
#include "support/definition_files.h"
#include "support/kernel_harness.h"

namespace tessaron::testing {
namespace {

std::set<std::string> functions_of_stock_effects() {
  std::set<std::string> names;
  for (const auto& file : test::files_with_ending(std::filesystem::path(TESSARON_SOURCE_DIR) / "effects", ".text")) {
    std::vector<definition_text> definitions;
    std::string error;
    EXPECT_TRUE(scan_definitions(file.string(), definitions, error)) << error;
    for (const definition_text& definition : definitions) {
      std::vector<inspected_report> reports;
      genotype* g = inspect_definition(definition, reports);
      if (!g) continue;
      for (int i = 0; i < g->n_nodes; ++i)
        if (g->nodes[i].kind == KIND_FUNCTION) names.insert(g->nodes[i].fun->name);
      free_inspected(g);
    }
  }
  return names;
}

TEST(stock_effects, show_every_operator_that_reads_whole_images) {
  const std::set<std::string> shown = functions_of_stock_effects();
  const fun_registry& catalogue = level_catalogue(chosen_cpu_level());
  int operators = 0;
  for (int i = 0; i < catalogue.fun_count; ++i) {
    const fun_info& fun = catalogue.table[i];
    // gamma works on planes but isn't about neighbours.
    if (!fun.is_image_fun || fun.image_arg_index < 0 || std::string(fun.name) == "gamma") continue;
    ++operators;
    EXPECT_TRUE(shown.contains(fun.name)) << fun.name;
  }
  EXPECT_GE(operators, 25);
}

}  // namespace
}  // namespace tessaron::testing
