// The definition calls and their start-up checks, look-ups, and combos as text.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "catalogue/defuns.h"
#include "genotype/genotype.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

void no_kernel(node&) {}

/// A registry with one function of two arguments, begun but without names or combos.
class registry : public ::testing::Test {
 protected:
  registry() { begin("f", 2); }
  void begin(const char* name, int args) { r.def_node_fun(name, args, 1, 0.5f, CLASS_PLAIN); }

  /// Expects a fatal exit with code 1 whose last report is these words.
  void expect_fatal(const std::string& words, const std::function<void()>& call) {
    report_capture capture;
    try {
      call();
      ADD_FAILURE() << "no fatal exit: " << words;
    } catch (const TessaronAbortException& exit) {
      EXPECT_EQ(exit.code(), 1);
    }
    EXPECT_TRUE(capture.has(words)) << capture.all();
  }

  fun_registry r{};
};

TEST_F(registry, a_new_record_has_its_numbers_and_no_runtime_indexes) {
  r.def_node_fun("g", 3, 300, 1.0f, CLASS_WARP);
  const fun_info& fun = r.table[1];
  EXPECT_EQ(r.fun_count, 2);
  EXPECT_EQ(r.current_fun, &fun);
  EXPECT_STREQ(fun.name, "g");
  EXPECT_EQ(fun.arg_number, 3);
  EXPECT_EQ(fun.fun_cost, 300);
  EXPECT_EQ(fun.fun_weight, 1.0f);
  EXPECT_EQ(fun.fun_class, 0x40);
  EXPECT_EQ(fun.fun_flags, 0);
  EXPECT_EQ(fun.fun_flags2, 0x01);
  EXPECT_EQ(fun.arg_enable_runtime, -1);
  EXPECT_EQ(fun.arg_scale_runtime, -1);
  EXPECT_EQ(fun.arg_scale_passes, -1);
}

TEST_F(registry, argument_0_may_be_a_runtime_index) {
  r.set_arg_enable_runtime(0);
  r.set_arg_scale_runtime(0);
  r.set_arg_scale_passes(1);
  EXPECT_EQ(r.table[0].arg_enable_runtime, 0);
  EXPECT_EQ(r.table[0].arg_scale_runtime, 0);
  EXPECT_EQ(r.table[0].arg_scale_passes, 1);
}

TEST_F(registry, a_runtime_index_beyond_the_arguments_is_printed_and_stored) {
  ::testing::internal::CaptureStdout();
  r.set_arg_enable_runtime(2);
  r.set_arg_scale_runtime(3);
  r.set_arg_scale_passes(4);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "*** f arg_enable_runtime 2 > arg_number 2 \n"
            "*** f arg_scale_runtime 3 > arg_number 2 \n"
            "*** f arg_scale_passes 4 > arg_number 2 \n");
  EXPECT_EQ(r.table[0].arg_enable_runtime, 2);
  EXPECT_EQ(r.table[0].arg_scale_runtime, 3);
  EXPECT_EQ(r.table[0].arg_scale_passes, 4);
}

TEST_F(registry, flags_are_ored_in) {
  r.or_flags(FUN_FRAME_DEPENDENT);
  r.or_flags(FUN_NO_CACHE);
  r.or_flags2(FUN2_TYPE_ONLY_LAST);
  EXPECT_EQ(r.table[0].fun_flags, 0x82);
  EXPECT_EQ(r.table[0].fun_flags2, 0x11);
}

TEST_F(registry, combos_keep_their_order_and_kernels) {
  r.def_arg(2, 0b101010, no_kernel);
  r.def_arg(2, 0b000000, nullptr);
  EXPECT_EQ(r.table[0].arg_type_combo_number, 2);
  EXPECT_EQ(r.table[0].arg_type_combos[0], 0b101010u);
  EXPECT_EQ(r.table[0].kernels[0], no_kernel);
  EXPECT_EQ(r.table[0].kernels[1], nullptr);
}

TEST_F(registry, a_function_without_arguments_has_one_combo_of_a_result_alone) {
  define(r, {.name = "now", .args = {}, .doc = "A query.", .combos = {{">3", no_kernel}}});
  EXPECT_EQ(r.current_fun->arg_number, 0);
  EXPECT_EQ(r.current_fun->arg_type_combo_number, 1);
  EXPECT_EQ(r.current_fun->arg_type_combos[0], 2u);
}

TEST_F(registry, the_183rd_function_is_refused) {
  while (r.fun_count < MAX_FUN_NUMBER) begin("f", 2);
  report_capture capture;
  EXPECT_THROW(begin("one_more", 0), TessaronAbortException);
  ASSERT_EQ(capture.count(), 2u) << capture.all();
  EXPECT_EQ(capture.entries()[0].text, "MAX_FUN_NUMBER: 182 \n");
  EXPECT_EQ(capture.entries()[1].text, "ERROR: def_node_funs exceeded MAX_FUN_NUMBER, increase in defuns.h.");
  EXPECT_EQ(r.fun_count, 182);
}

TEST_F(registry, a_14th_argument_is_refused) {
  begin("thirteen", 13);
  expect_fatal("def_node_fun wide, 14 args is > MAX_ARG_NUMBER 13.", [&] { begin("wide", 14); });
}

TEST_F(registry, a_name_of_31_characters_is_the_longest) {
  const std::string longest(31, 'n');
  begin(longest.c_str(), 1);
  EXPECT_EQ(r.current_fun->name, longest);
  const std::string longer(32, 'n');
  expect_fatal("def_node_fun " + longer + ", name is > MAX_FUN_NAME_LEN.", [&] { begin(longer.c_str(), 1); });
}

TEST(registry_without_a_function, refuses_every_definition_call) {
  fun_registry empty{};
  const std::string words = "check_fun_arg_number: no fun_info";
  report_capture capture;
  EXPECT_THROW(empty.def_arg(1, 0, no_kernel), TessaronAbortException);
  EXPECT_THROW(empty.def_arg_names({"a"}), TessaronAbortException);
  EXPECT_EQ(capture.count_part(words), 2) << capture.all();
}

TEST_F(registry, calls_that_do_not_fit_the_argument_number_are_refused) {
  expect_fatal("called def_3arg_ but f def_node_fun said 2 args.", [&] { r.def_arg(3, 0, no_kernel); });
  expect_fatal("called def_1arg_ but f def_node_fun said 2 args.", [&] { r.def_arg_names({"a"}); });
}

TEST_F(registry, the_23rd_combo_is_refused) {
  for (int i = 0; i < MAX_ARG_TYPE_COMBOS; ++i) r.def_arg(2, i, no_kernel);
  expect_fatal("arg_type_combo_number > MAX_ARG_TYPE_COMBOS", [&] { r.def_arg(2, 0, no_kernel); });
  EXPECT_EQ(r.table[0].arg_type_combo_number, 22);
}

TEST_F(registry, a_start_up_fault_is_reported_once_as_an_error) {
  report_capture capture;
  EXPECT_THROW(r.def_arg(3, 0, no_kernel), TessaronAbortException);
  ASSERT_EQ(capture.count(), 1u) << capture.all();
  EXPECT_EQ(capture.entries()[0].severity, REPORT_ERROR);
}

TEST_F(registry, the_first_exact_match_is_found) {
  begin("fan", 1);
  begin("f", 1);
  EXPECT_EQ(r.find("f"), &r.table[0]);
  EXPECT_EQ(r.find("fan"), &r.table[1]);
  EXPECT_EQ(r.find("fa"), nullptr);
  EXPECT_EQ(r.find("F"), nullptr);
  EXPECT_EQ(r.find(""), nullptr);
}

TEST_F(registry, clear_leaves_nothing) {
  r.clear();
  EXPECT_EQ(r.fun_count, 0);
  EXPECT_EQ(r.current_fun, nullptr);
  EXPECT_EQ(r.find("f"), nullptr);
}

TEST_F(registry, a_declaration_fills_the_whole_record) {
  static constexpr image_needs NEEDS = {.image_arg_index = 0,
                                        .images_per_element = 2,
                                        .extra_images = 4,
                                        .min_images = 3,
                                        .arg_enable_runtime = 0,
                                        .arg_scale_runtime = 1,
                                        .arg_scale_passes = 1,
                                        .aux_count_a = 5,
                                        .aux_count_b = 6};
  const pass_hook_fn pass = [](const node&) { return -1; };
  define(r, {.name = "smear",
             .args = {"image", "size"},
             .doc = "Smears.",
             .cost = 9,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &NEEDS,
             .pass = pass,
             .bounds = no_kernel,
             .row_start_args = 2,
             .combos = {{"1,1>1 3,1>3", no_kernel}, {"4,1>4", nullptr}}});
  const fun_info& fun = *r.find("smear");
  EXPECT_EQ(fun.is_image_fun, 1);
  EXPECT_EQ(fun.images_per_element, 2);
  EXPECT_EQ(fun.extra_images, 4);
  EXPECT_EQ(fun.min_images, 3);
  EXPECT_EQ(fun.arg_enable_runtime, 0);
  EXPECT_EQ(fun.arg_scale_runtime, 1);
  EXPECT_EQ(fun.arg_scale_passes, 1);
  EXPECT_EQ(fun.aux_count_a, 5);
  EXPECT_EQ(fun.aux_count_b, 6);
  EXPECT_EQ(fun.fun_flags, 0x08);
  EXPECT_EQ(fun.fun_flags2, 0x03);
  EXPECT_EQ(fun.pass_hook, pass);
  EXPECT_EQ(fun.bounds_hook, no_kernel);
  EXPECT_EQ(fun.row_start_args, 2);
  EXPECT_STREQ(fun.arg_names[1], "size");
  EXPECT_EQ(fun.arg_names[2], nullptr);
  EXPECT_EQ(fun.arg_type_combo_number, 3);
  EXPECT_EQ(fun.kernels[1], no_kernel);
  EXPECT_EQ(fun.kernels[2], nullptr);
}

TEST_F(registry, a_per_pixel_declaration_has_no_principal_image) {
  define(r, {.name = "plain", .args = {"value"}, .doc = "Plain.", .combos = {{"1>1", no_kernel}}});
  EXPECT_EQ(r.current_fun->is_image_fun, 0);
  EXPECT_EQ(r.current_fun->image_arg_index, -1);
}

// --- combos ------------------------------------------------------------------------------------------

TEST(combo, packs_the_result_lowest_and_each_argument_two_bits_up) {
  static constexpr combo_list combos = "3,1>3 4,2,1>2 >1";
  static_assert(combos.count == 3);
  static_assert(combos.words[0] == (2u | 2u << 2 | 0u << 4));
  static_assert(combos.words[1] == (1u | 3u << 2 | 1u << 4 | 0u << 6));
  static_assert(combos.words[2] == 0u);
  EXPECT_EQ(combos.arg_counts[0], 2);
  EXPECT_EQ(combos.arg_counts[1], 3);
  EXPECT_EQ(combos.arg_counts[2], 0);
}

TEST(combo, the_13th_argument_lies_in_bits_26_and_27) {
  static constexpr combo_list combos = "1,1,1,1,1,1,1,1,1,1,1,1,4>1";
  EXPECT_EQ(combos.words[0], 3u << 26);
}

TEST(combo, text_and_word_are_one_thing_in_every_function) {
  fun_registry built{};
  build_catalogue(built, cpu_level::generic);
  for (int i = 0; i < built.fun_count; ++i)
    for (int c = 0; c < built.table[i].arg_type_combo_number; ++c) {
      const int args = built.table[i].arg_number;
      const std::uint32_t word = built.table[i].arg_type_combos[c];
      const std::string text = combo_text(word, args);
      ASSERT_EQ(int(text.size()), args ? 2 * args + 1 : 2) << built.table[i].name;
      std::uint32_t packed = std::uint32_t(text.back() - '1');
      for (int a = 0; a < args; ++a) packed |= std::uint32_t(text[2 * a] - '1') << (2 + 2 * a);
      EXPECT_EQ(packed, word) << built.table[i].name << ' ' << text;
    }
}

TEST(combo, of_the_coerce_family_is_decided_by_the_type_only_argument) {
  fun_registry built{};
  build_catalogue(built, cpu_level::generic);
  const fun_info& fun = *built.find("coerce_to");
  EXPECT_TRUE(fun.fun_flags2 & FUN2_TYPE_ONLY_LAST);
  // 4 elements to the type of 4, 3 and so on: the result has the count of the type.
  for (int c = 0; c < fun.arg_type_combo_number; ++c)
    EXPECT_EQ(fun.arg_type_combos[c] & 3, (fun.arg_type_combos[c] >> 4) & 3) << combo_text(fun.arg_type_combos[c], 2);
}

// --- levels ------------------------------------------------------------------------------------------

TEST(cpu_levels, generic_is_always_usable) { EXPECT_TRUE(cpu_level_usable(cpu_level::generic)); }

TEST(cpu_levels, the_environment_forces_a_level) {
  setenv("TESSARON_CPU_LEVEL", "generic", 1);
  EXPECT_EQ(chosen_cpu_level(), cpu_level::generic);
  unsetenv("TESSARON_CPU_LEVEL");
  EXPECT_TRUE(cpu_level_usable(chosen_cpu_level()));
}

TEST(cpu_levels, an_unknown_level_is_reported) {
  report_capture capture;
  setenv("TESSARON_CPU_LEVEL", "abacus", 1);
  EXPECT_TRUE(cpu_level_usable(chosen_cpu_level()));
  unsetenv("TESSARON_CPU_LEVEL");
  EXPECT_TRUE(capture.has_part("abacus")) << capture.all();
}

}  // namespace
}  // namespace tessaron::testing
