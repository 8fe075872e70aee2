// The guide's definitions are real ones.
#include <gtest/gtest.h>

#include "genotype/genotype.h"
#include "host/inspect.h"
#include "support/definition_files.h"
#include "support/scratch_folder.h"

namespace tessaron {
namespace {

const std::filesystem::path SOURCE = TESSARON_SOURCE_DIR;

std::vector<definition_text> definitions_of(const std::string& text) {
  const testing::scratch_folder folder;
  const std::string file = folder.write("guide.text", text);
  std::vector<definition_text> definitions;
  std::string error;
  EXPECT_TRUE(scan_definitions(file, definitions, error)) << error;
  return definitions;
}

TEST(language_guide, every_definition_binds_without_a_report) {
  const auto blocks = test::definition_blocks(test::read_text_file(SOURCE / "docs/language.md"));
  ASSERT_GE(blocks.size(), 6u);
  int bound = 0;
  for (const std::string& block : blocks) {
    for (const definition_text& definition : definitions_of(block)) {
      if (definition.name == "Border_Mask") continue;  // only referred to
      std::vector<inspected_report> reports;
      genotype* g = inspect_definition(definition, reports);
      EXPECT_NE(g, nullptr) << definition.name;
      for (const auto& report : reports) ADD_FAILURE() << definition.name << ": " << report.text;
      if (g) ++bound;
      free_inspected(g);
    }
  }
  EXPECT_GE(bound, 7);
}

TEST(language_guide, a_definition_that_is_only_referred_to_says_that_dest_is_missing) {
  const auto blocks = test::definition_blocks(test::read_text_file(SOURCE / "docs/language.md"));
  bool seen = false;
  for (const std::string& block : blocks)
    for (const definition_text& definition : definitions_of(block)) {
      if (definition.name != "Border_Mask") continue;
      seen = true;
      std::vector<inspected_report> reports;
      EXPECT_EQ(inspect_definition(definition, reports), nullptr);
      ASSERT_FALSE(reports.empty());
      EXPECT_EQ(reports.front().text, "In Border Mask: the variable 'dest' is not assigned.");
    }
  EXPECT_TRUE(seen);
}

TEST(stock_effects, each_binds_without_a_report_and_has_a_description) {
  int count = 0;
  for (const auto& file : test::files_with_ending(SOURCE / "effects", ".text")) {
    std::vector<definition_text> definitions;
    std::string error;
    ASSERT_TRUE(scan_definitions(file.string(), definitions, error)) << error;
    EXPECT_FALSE(definitions.empty()) << file;
    for (const definition_text& definition : definitions) {
      std::vector<inspected_report> reports;
      genotype* g = inspect_definition(definition, reports);
      for (const auto& report : reports) ADD_FAILURE() << definition.name << ": " << report.text;
      ASSERT_NE(g, nullptr) << definition.name;
      EXPECT_TRUE(g->description && *g->description) << definition.name;
      free_inspected(g);
      ++count;
    }
  }
  EXPECT_GE(count, 15);
}

}  // namespace
}  // namespace tessaron
