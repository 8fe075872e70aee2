// The built catalogue against the table of all functions in tests/data/functions.tsv.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/kernel_harness.h"

namespace tessaron::testing {
namespace {

/// One line of the table, each field as the text that the file holds.
struct function_row {
  std::string name, args, cost, combos, fun_class, flags, flags2, image_arg, planes, runtime, counts, pass_hook;
};

std::vector<function_row> read_table() {
  std::ifstream file(TESSARON_SOURCE_DIR "/tests/data/functions.tsv");
  std::vector<function_row> rows;
  std::string line;
  std::getline(file, line);  // what the file is
  std::getline(file, line);  // the heads of the columns
  while (std::getline(file, line)) {
    std::istringstream fields(line);
    function_row row;
    for (std::string* field : {&row.name, &row.args, &row.cost, &row.combos, &row.fun_class, &row.flags, &row.flags2,
                               &row.image_arg, &row.planes, &row.runtime, &row.counts, &row.pass_hook})
      std::getline(fields, *field, '\t');
    rows.push_back(row);
  }
  return rows;
}

std::string joined(std::initializer_list<int> numbers) {
  std::string text;
  for (int n : numbers) text += (text.empty() ? "" : ",") + std::to_string(n);
  return text;
}

std::string hex(int v, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*x", digits, v);
  return text;
}

/// A record of the catalogue as a line of the table.
function_row describe(const fun_info& fun) {
  function_row row;
  row.name = fun.name;
  for (int a = 0; a < fun.arg_number; ++a) row.args += (a ? "," : "") + std::string(fun.arg_names[a]);
  if (fun.arg_number == 0) row.args = "-";
  row.cost = std::to_string(fun.fun_cost);
  for (int c = 0; c < fun.arg_type_combo_number; ++c)
    row.combos += (c ? " " : "") + combo_text(fun.arg_type_combos[c], fun.arg_number);
  row.fun_class = hex(fun.fun_class, 1);
  row.flags = hex(fun.fun_flags, 2);
  row.flags2 = hex(fun.fun_flags2, 2);
  row.image_arg = row.planes = row.runtime = row.counts = "-";
  if (fun.is_image_fun) {
    row.image_arg = std::to_string(fun.image_arg_index);
    row.planes = joined({fun.images_per_element, fun.extra_images, fun.min_images});
    row.runtime = joined({fun.arg_enable_runtime, fun.arg_scale_runtime, fun.arg_scale_passes});
    row.counts = joined({fun.aux_count_a, fun.aux_count_b});
  }
  row.pass_hook = fun.pass_hook ? "yes" : "no";
  return row;
}

const fun_registry& built() { return level_catalogue(cpu_level::generic); }

TEST(function_table, holds_172_functions) {
  EXPECT_EQ(built().fun_count, 172);
  EXPECT_EQ(read_table().size(), 172u);
}

TEST(function_table, equals_the_records_of_the_catalogue_in_order) {
  const std::vector<function_row> table = read_table();
  ASSERT_EQ(int(table.size()), built().fun_count);
  for (int i = 0; i < built().fun_count; ++i) {
    const function_row& expected = table[i];
    const function_row row = describe(built().table[i]);
    SCOPED_TRACE(expected.name);
    EXPECT_EQ(row.name, expected.name);
    EXPECT_EQ(row.args, expected.args);
    EXPECT_EQ(row.cost, expected.cost);
    EXPECT_EQ(row.combos, expected.combos);
    if (expected.fun_class != "-") {
      EXPECT_EQ(row.fun_class, expected.fun_class);
    }
    EXPECT_EQ(row.flags, expected.flags);
    EXPECT_EQ(row.flags2, expected.flags2);
    EXPECT_EQ(row.image_arg, expected.image_arg);
    EXPECT_EQ(row.planes, expected.planes);
    EXPECT_EQ(row.runtime, expected.runtime);
    EXPECT_EQ(row.counts, expected.counts);
    EXPECT_EQ(row.pass_hook, expected.pass_hook);
  }
}

TEST(function_table, starts_each_group_where_the_last_one_ends) {
  static const char* const GROUPS[][2] = {{"abs", "log_for_mipmap_rotate"},
                                          {"+", "gamma"},
                                          {"clamp", "posterize"},
                                          {"monochrome", "direction"},
                                          {"transpose", "spotlight"},
                                          {"warp_noise", "hex_tiles"},
                                          {"blur", "sharpen"},
                                          {"glow", "rainbow_glint"},
                                          {"grad", "emboss"},
                                          {"warp", "kaleido_oct"},
                                          {"lens_flare", "film_effect"}};
  const fun_info* next = built().table;
  for (const auto& [first, last] : GROUPS) {
    EXPECT_STREQ(next->name, first);
    next = built().find(last);
    ASSERT_NE(next, nullptr) << last;
    ++next;
  }
  EXPECT_EQ(next, built().table + built().fun_count);
}

TEST(function_table, gives_every_function_a_name_of_its_own_and_a_sentence_for_authors) {
  std::set<std::string> names;
  for (int i = 0; i < built().fun_count; ++i) {
    const fun_info& fun = built().table[i];
    EXPECT_TRUE(names.insert(fun.name).second) << fun.name;
    ASSERT_NE(fun.doc, nullptr) << fun.name;
    EXPECT_GT(std::string(fun.doc).size(), 8u) << fun.name;
  }
}

TEST(function_table, has_a_kernel_in_every_combo) {
  for (int i = 0; i < built().fun_count; ++i)
    for (int c = 0; c < built().table[i].arg_type_combo_number; ++c)
      EXPECT_NE(built().table[i].kernels[c], nullptr) << built().table[i].name << " combo " << c;
}

TEST(function_table, weighs_queries_0_image_operators_1_and_all_else_a_half) {
  for (int i = 0; i < built().fun_count; ++i) {
    const fun_info& fun = built().table[i];
    EXPECT_EQ(fun.fun_weight, fun.fun_class == CLASS_QUERY ? 0.0f : fun.is_image_fun ? 1.0f : 0.5f) << fun.name;
  }
}

TEST(function_table, is_the_same_at_every_level) {
  for (cpu_level level : usable_levels())
    for (int i = 0; i < built().fun_count; ++i) {
      const function_row generic = describe(built().table[i]), other = describe(level_catalogue(level).table[i]);
      EXPECT_EQ(other.name, generic.name) << cpu_level_name(level);
      EXPECT_EQ(other.combos, generic.combos) << cpu_level_name(level);
      EXPECT_EQ(other.flags, generic.flags) << cpu_level_name(level);
    }
}

TEST(function_table, plus_and_add_rgb_differ_only_in_their_element_rules) {
  static const char* const PAIRS[][2] = {{"+", "add_rgb"}, {"-", "subtract_rgb"}, {"*", "scale_rgb"}};
  for (const auto& [plain, rgb] : PAIRS) {
    // Equal and odd sizes agree; where one side has no alpha they part.
    EXPECT_EQ(evaluate(plain, {{100, 200, 300}, {7}}), evaluate(rgb, {{100, 200, 300}, {7}}));
    EXPECT_EQ(evaluate(plain, {{1, 2, 3, 4}, {5, 6, 7, 8}}), evaluate(rgb, {{1, 2, 3, 4}, {5, 6, 7, 8}}));
    values plain_mixed = evaluate(plain, {{1, 2, 3, 5000}, {2}}), rgb_mixed = evaluate(rgb, {{1, 2, 3, 5000}, {2}});
    EXPECT_NE(plain_mixed[3], 5000);
    EXPECT_EQ(rgb_mixed[3], 5000);
    plain_mixed.pop_back(), rgb_mixed.pop_back();
    EXPECT_EQ(plain_mixed, rgb_mixed);
  }
}

}  // namespace
}  // namespace tessaron::testing
