// The modifier list, and the channel counts that input names ask for.
#include <string>

#include "base/report.h"
#include "definition.h"

namespace tessaron::testing {
namespace {

/// An effect of one input with these modifiers.
owned_genotype modified(const std::string& modifiers) {
  return read_text("(define A (Source) (" + modifiers + ") dest = Source)");
}

TEST(modifiers, an_empty_list_leaves_the_defaults) {
  const auto g = modified("");
  EXPECT_EQ(g->rgba_mode, 2);
  EXPECT_EQ(g->z_mode, 0);
  EXPECT_EQ(g->alpha_z_input, 0);
}

TEST(modifiers, an_effect_without_inputs_is_opaque_unless_it_says_otherwise) {
  auto g = read_text("(define A () () dest = 0)");
  EXPECT_EQ(g->rgba_mode, 3);
  EXPECT_EQ(g->z_mode, 2);
  g = read_text("(define A () (rgba_ok) dest = 0)");
  EXPECT_EQ(g->rgba_mode, 1);
  EXPECT_EQ(g->z_mode, 2);
  g = read_text("(define A () (z min) dest = 0)");
  EXPECT_EQ(g->z_mode, 3);
}

TEST(modifiers, the_first_list_names_inputs) {
  const auto g = read_text("(define A (rgba_ok) dest = 0)");
  EXPECT_EQ(g->n_inputs, 1);
  EXPECT_STREQ(g->input_names[0], "rgba_ok");
  EXPECT_EQ(g->rgba_mode, 2);
}

TEST(modifiers, the_last_alpha_mode_wins) {
  EXPECT_EQ(modified("rgba_ok set_alpha_to_one")->rgba_mode, 3);
  EXPECT_EQ(modified("set_alpha_to_one rgba_ok")->rgba_mode, 1);
}

TEST(modifiers, words_set_their_bits) {
  const struct {
    const char* word;
    int byte, bits;
  } flags[] = {
      {"share_all", 0, 0x10},
      {"wont_make_colors_illegal", 0, 0x20},
      {"renders_everywhere", 0, 0x40},
      {"rgba_ok luma_alpha_ok", 0, 0x80},
      {"effect_select_with_radio", 1, 0x01},
      {"effect_select_with_yes_no", 1, 0x03},
      {"mask_color", 1, 0x04},
      {"generates_color", 1, 0x08},
      {"generates_alpha", 1, 0x10},
      {"source_alpha_affects_rgb", 1, 0x20},
      {"needs_bg_pixel", 1, 0x40},
      {"combines_2_inputs", 1, 0x80},
      {"combines_2_constant_inputs", 1, 0x80},
      {"combines_2_constant_inputs", 2, 0x01},
      {"generates_color generates_alpha", 1, 0x18},
  };
  for (const auto& f : flags) {
    report_capture reports;
    EXPECT_EQ(modified(f.word)->flags[f.byte], f.bits) << f.word;
    EXPECT_TRUE(reports.empty()) << reports.all();
  }
}

TEST(modifiers, input_numbers_set_bits_and_only_their_low_five_bits_count) {
  EXPECT_EQ(modified("rgba_ok_for_input 0 rgba_ok_for_input 2")->rgba_ok_inputs, 0x05);
  EXPECT_EQ(modified("default_input_none 1")->default_none_inputs, 0x02);
  EXPECT_EQ(modified("default_input_self 7")->default_self_inputs, 0x80);
  EXPECT_EQ(modified("default_input_self 33")->default_self_inputs, 0x02);
  EXPECT_EQ(modified("default_input_self 8")->default_self_inputs, 0);
}

TEST(modifiers, inputs_for_alpha_and_masks) {
  EXPECT_EQ(modified("copy_alpha_z 1")->alpha_z_input, 1);
  const auto g = modified("background_input 2");
  EXPECT_EQ(g->alpha_z_input, 2);
  EXPECT_EQ(g->mask_input, 2);
  EXPECT_EQ(modified("mask_input 3")->mask_input, 3);
  EXPECT_EQ(read_text("(define A (S Background) (copy_alpha_z 0) dest = S)")->alpha_z_input, 0);
}

TEST(modifiers, the_popup_name_is_a_word) {
  EXPECT_STREQ(modified("effect_popup_name Best_one")->effect_popup_name, "Best_one");
  EXPECT_STREQ(modified("effect_popup_name One effect_popup_name Two")->effect_popup_name, "Two");
}

TEST(modifiers, an_unknown_z_mode_is_reported_and_the_list_goes_on) {
  report_capture reports;
  const auto g = modified("z max rgba_ok");
  EXPECT_EQ(g->z_mode, 0);
  EXPECT_EQ(g->rgba_mode, 1);
  EXPECT_EQ(reports.severity_of("\n*** Warning: A unknown z mode: max \n"), REPORT_ERROR);
  EXPECT_EQ(modified("z process")->z_mode, 1);
}

TEST(modifiers, an_unknown_word_is_reported_and_the_list_goes_on) {
  report_capture reports;
  EXPECT_EQ(modified("nonsense rgba_ok")->rgba_mode, 1);
  EXPECT_EQ(reports.severity_of("\n*** Warning: A unknown genotype modifier: nonsense \n"), REPORT_ERROR);
}

TEST(modifiers, luma_alpha_wants_rgba_ok) {
  report_capture reports;
  EXPECT_TRUE(modified("luma_alpha_ok")->flags[0] & GENO0_LUMA_ALPHA_OK);
  EXPECT_EQ(reports.severity_of("\n*** Warning: A has luma_alpha but not rgba_ok. \n"), REPORT_ERROR);
}

TEST(modifiers, a_bad_number_ends_the_list_and_the_rest_is_read_as_statements) {
  const struct {
    const char* word;
    const char* message;
  } faults[] = {
      {"rgba_ok_for_input", "For A non-number following rgba_ok_for_input: 'q'."},
      {"default_input_none", "For A non-number following default_input_none: 'q'."},
      {"default_input_self", "For A non-number following default_input_self: 'q'."},
      {"copy_alpha_z", "For A non-number following copy_alpha_z: 'q'."},
      {"background_input", "For A non-number following background_input: 'q'."},
      {"mask_input", "For A non-number following background_input: 'q'."},
  };
  for (const auto& f : faults) {
    report_capture reports;
    EXPECT_EQ(modified(std::string(f.word) + " q"), nullptr) << f.word;
    EXPECT_EQ(reports.severity_of(f.message), REPORT_ERROR) << reports.all();
    EXPECT_EQ(reports.has("Use 0 for first input."), std::string(f.word) == "rgba_ok_for_input");
    EXPECT_TRUE(reports.has("In A: the variable 'dest' is not assigned.")) << reports.all();
  }
}

TEST(modifiers, an_end_inside_the_list_is_told_by_the_statements) {
  report_capture reports;
  EXPECT_EQ(read_text("(define A (S) (copy_alpha_z"), nullptr);
  EXPECT_TRUE(reports.has("Eof reading genotype assignment."));
  EXPECT_EQ(read_text("(define A (S) (effect_popup_name"), nullptr);
  EXPECT_EQ(reports.severity_of("EOF while reading effect_popup_name"), REPORT_ERROR);
}

// --- channel counts by input name ------------------------------------------------------------------

int channels(const char* input, const char* effect = "Any", const char* definition = "(define A (S) dest = S)") {
  const auto g = read_text(definition);
  return default_input_channels(*g, input, effect);
}

TEST(modifiers, pictures_want_four_channels) {
  for (const char* name : {"Source", "Sourceless", "Background", "Back", "Front", "Foreground", "From", "To", "Matte2",
                           "Anything", "Fronts", "FromObject", "ToObj"})
    EXPECT_EQ(channels(name), 4) << name;
}

TEST(modifiers, some_roles_want_one_channel_or_what_the_host_has) {
  for (const char* name : {"EdgeGen", "ZBuffer"}) EXPECT_EQ(channels(name), 1) << name;
  for (const char* name : {"Matte", "Mask", "Track", "Lens", "Bumps", "Centers", "Match", "Depth", "DepthMap"})
    EXPECT_EQ(channels(name), 0) << name;
}

TEST(modifiers, mattes_are_pictures_of_three_channels_with_mask_color) {
  const char* definition = "(define A (S) (mask_color) dest = S)";
  EXPECT_EQ(channels("Matte", "Any", definition), 3);
  EXPECT_EQ(channels("Mask", "Any", definition), 3);
}

TEST(modifiers, objects_follow_the_second_input) {
  const char* definition = "(define A (S BackDrop) dest = S)";
  EXPECT_EQ(channels("FromObj", "Any", definition), 0);
  EXPECT_EQ(channels("ToObj2", "Any", definition), 0);
}

TEST(modifiers, a_ufo_mask_follows_the_effects_name) {
  EXPECT_EQ(channels("Ufo_Mask", "Blur More"), 0);
  EXPECT_EQ(channels("Ufo_Mask", "Sharpen"), 3);
}

}  // namespace
}  // namespace tessaron::testing
