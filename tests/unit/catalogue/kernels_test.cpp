// Every per-pixel function with arithmetic of its own, every combo, every instruction-set level.
#include <cctype>
#include <set>

#include "support/kernel_harness.h"

namespace tessaron::testing {
namespace {

/// Noise over coordinates, folding, patterns, fields and queries have tests of their own.
bool has_plain_arithmetic(const fun_info& fun) {
  static const std::set<int> CLASSES = {CLASS_PLAIN, CLASS_BITWISE, CLASS_MATH, CLASS_FRAME_NOISE};
  return !fun.is_image_fun && (CLASSES.count(fun.fun_class) || fun.name == std::string("spotlight"));
}

std::vector<std::string> functions_to_compare() {
  const fun_registry& registry = level_catalogue(cpu_level::generic);
  std::vector<std::string> names;
  for (int i = 0; i < registry.fun_count; ++i)
    if (has_plain_arithmetic(registry.table[i]) || references().count(registry.table[i].name))
      names.push_back(registry.table[i].name);
  return names;
}

class row_kernels : public ::testing::TestWithParam<std::string> {};

TEST_P(row_kernels, agree_with_their_reference_in_every_combo_and_level) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find(GetParam().c_str());
  const auto found = references().find(fun.name);
  ASSERT_TRUE(found != references().end())
      << fun.name << " has no reference: register one beside its hand-worked values";
  const std::uint32_t seed = std::random_device{}();
  for (int combo = 0; combo < fun.arg_type_combo_number; ++combo)
    EXPECT_EQ(compare_combo(fun, combo, found->second, seed + combo), "");
}

/// Punctuation has no place in a test's name: its code stands in.
std::string test_name(const ::testing::TestParamInfo<std::string>& info) {
  std::string text;
  for (char c : info.param) {
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '_')
      text += c;
    else
      text += "_x" + std::to_string(int(c));
  }
  return text;
}

INSTANTIATE_TEST_SUITE_P(catalogue, row_kernels, ::testing::ValuesIn(functions_to_compare()), test_name);

TEST(row_kernels, references_belong_to_functions_of_the_catalogue) {
  for (const auto& [name, reference] : references())
    EXPECT_NE(level_catalogue(cpu_level::generic).find(name.c_str()), nullptr) << name;
}

TEST(row_kernels, each_level_has_code_of_its_own) {
  const std::vector<cpu_level> levels = usable_levels();
  for (std::size_t i = 1; i < levels.size(); ++i)
    EXPECT_NE(level_catalogue(levels[i - 1]).find("+")->kernels[0], level_catalogue(levels[i]).find("+")->kernels[0])
        << cpu_level_name(levels[i]);
}

TEST(row_kernels, a_wrong_kernel_is_found) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("min");
  const reference_entry larger{[](const sample_input& in, fix out[4]) {
    for (int e = 0; e < in.result_elnum; ++e) out[e] = std::max(in.arg[0][e], in.arg[1][e]);
  }};
  EXPECT_NE(compare_combo(fun, 0, larger, 1), "");
}

TEST(row_kernels, a_row_written_too_far_is_found) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("abs");
  kernel_bench bench(fun, 0, 5, {arg_form::row});
  bench.run([](node& n) {
    for (int i = 0; i <= n.vars->row_width; ++i) n.rows[0][i] = 0;
  });
  EXPECT_EQ(bench.damage(), "guard words of result row 0");
}

}  // namespace
}  // namespace tessaron::testing
