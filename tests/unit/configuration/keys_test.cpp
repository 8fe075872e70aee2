// The keys of t_config.text and what is said about them.
#include "evaluator/frame.h"
#include "evaluator/workers.h"
#include "files.h"

namespace tessaron::testing {
namespace {

class ConfigKeys : public ConfigFolder {
 protected:
  /// Reads a file with both required keys and then `text`.
  void read(const std::string& text) { read_only("multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n" + text); }
  void read_only(const std::string& text) {
    forget();
    reports.clear();
    write("t_config.text", text);
    read_config();
  }
};

TEST_F(ConfigKeys, defaults) {
  read("");
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_EQ(config.multi_process_enable, 1);
  EXPECT_EQ(config.force_pixel_aspect_ratio, 0);
  EXPECT_EQ(config.allow_native_image_formats, 1);
  EXPECT_EQ(config.use_dials_for_angles_ae, 0);
  EXPECT_EQ(config.use_dials_for_angles_fcp, 0);
  EXPECT_EQ(config.use_dials_for_angles_df, 1);
  EXPECT_EQ(config.input_lut_on, 0);
  EXPECT_EQ(config.output_lut_on, 0);
}

TEST_F(ConfigKeys, every_key_is_read) {
  read_only(
      "multi_process_enable: 0 force_pixel_aspect_ratio: 1.5e0\nallow_native_image_formats:\n0\n"
      "use_dials_for_angles_ae: 1 use_dials_for_angles_fcp: -3 use_dials_for_angles_df: 0\n"
      "input_lut: /a/in.lut output_lut: out.lut");
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_EQ(config.multi_process_enable, 0);
  EXPECT_EQ(multi_process_enable, 0) << "the workers' switch";
  EXPECT_EQ(config.force_pixel_aspect_ratio, 1.5f);
  EXPECT_EQ(display_dims.pixel_aspect, 1.5f) << "takes effect at once";
  EXPECT_EQ(config.allow_native_image_formats, 0);
  EXPECT_EQ(config.use_dials_for_angles_ae, 1);
  EXPECT_EQ(config.use_dials_for_angles_fcp, 1);
  EXPECT_EQ(config.use_dials_for_angles_df, 0);
  EXPECT_EQ(config.input_lut, "/a/in.lut");
  EXPECT_EQ(config.input_lut_on, 1);
  EXPECT_EQ(config.output_lut, "out.lut");
  EXPECT_EQ(config.output_lut_on, 1);
}

TEST_F(ConfigKeys, a_missing_file_leaves_the_defaults_without_key_warnings) {
  read_config();
  ASSERT_EQ(reports.count(), 1u) << reports.all();
  EXPECT_EQ(reports.severity_of("Failed opening config file: " + (folder / "t_config.text").string() +
                                ": No such file or directory"),
            8)
      << reports.all();
  EXPECT_EQ(config.multi_process_enable, 1);
}

TEST_F(ConfigKeys, a_directory_in_place_of_the_file_is_told) {
  std::filesystem::create_directory(folder / "t_config.text");
  read_config();
  ASSERT_EQ(reports.count(), 1u) << reports.all();
  EXPECT_TRUE(reports.has_part(": Is a directory")) << reports.all();
}

TEST_F(ConfigKeys, a_file_of_definitions_alone_gives_two_warnings) {
  read_only("(define Glow (Source) (blur Source 0.1))\n");
  ASSERT_EQ(reports.count(), 2u) << reports.all();
  EXPECT_EQ(reports.severity_of("Expected to find multi_process_enable in config file, but didn't."), 7);
  EXPECT_EQ(reports.severity_of("Expected to find force_pixel_aspect_ratio in config file, but didn't."), 7);
}

TEST_F(ConfigKeys, an_empty_file_gives_two_warnings) {
  read_only("");
  EXPECT_EQ(reports.count(), 2u) << reports.all();
}

TEST_F(ConfigKeys, the_file_is_read_once) {
  read("use_dials_for_angles_ae: 1");
  write("t_config.text", "use_dials_for_angles_ae: 0");
  read_config();
  EXPECT_EQ(config.use_dials_for_angles_ae, 1);
}

TEST_F(ConfigKeys, a_missing_file_is_not_tried_again) {
  read_config();
  write("t_config.text", "use_dials_for_angles_ae: 1");
  read_config();
  EXPECT_EQ(config.use_dials_for_angles_ae, 0);
}

TEST_F(ConfigKeys, any_number_but_zero_is_on) {
  read_only("multi_process_enable: 5 force_pixel_aspect_ratio: 0 use_dials_for_angles_ae: 7up");
  EXPECT_EQ(config.multi_process_enable, 1);
  EXPECT_EQ(config.use_dials_for_angles_ae, 1);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST_F(ConfigKeys, a_word_for_a_number_is_illegal_and_the_key_stays_unseen) {
  read_only("multi_process_enable: yes force_pixel_aspect_ratio: 0");
  EXPECT_EQ(reports.severity_of("Illegal value in config file for multi_process_enable: yes"), 8) << reports.all();
  EXPECT_EQ(reports.severity_of("Expected to find multi_process_enable in config file, but didn't."), 7);
  EXPECT_EQ(config.multi_process_enable, 1);
}

TEST_F(ConfigKeys, an_illegal_value_does_not_make_the_next_one_a_second) {
  read("use_dials_for_angles_ae: x use_dials_for_angles_ae: 1");
  EXPECT_EQ(reports.count(), 1u) << reports.all();
  EXPECT_EQ(config.use_dials_for_angles_ae, 1);
}

TEST_F(ConfigKeys, aspect_ratios) {
  struct {
    const char* text;
    bool accepted;
    float value;
  } static constexpr CASES[] = {
      {"0", true, 0},         {"0.0", true, 0},   {"0.0005", false, 0},    {"0.001", false, 0},   {"-1", false, 0},
      {"abc", false, 0},      {".", false, 0},    {"1.5e0", true, 1.5f},   {"15e-1", true, 1.5f}, {"+.5", true, 0.5f},
      {"2.25x", true, 2.25f}, {"1e99", false, 0}, {"0.002", true, 0.002f}, {"1.2.3", true, 1.2f}, {"-0", true, 0}};
  for (const auto& c : CASES) {
    read_only(std::string("multi_process_enable: 1 force_pixel_aspect_ratio: ") + c.text);
    EXPECT_FLOAT_EQ(config.force_pixel_aspect_ratio, c.value) << c.text;
    EXPECT_EQ(reports.has(std::string("Illegal value in config file for force_pixel_aspect_ratio: ") + c.text),
              !c.accepted)
        << c.text;
    EXPECT_EQ(reports.has_part("Expected to find"), !c.accepted) << c.text;
  }
}

TEST_F(ConfigKeys, no_digit_clears_a_ratio_and_other_refusals_keep_it) {
  read("force_pixel_aspect_ratio: 2 force_pixel_aspect_ratio: none");
  EXPECT_EQ(config.force_pixel_aspect_ratio, 0);
  read("force_pixel_aspect_ratio: 2 force_pixel_aspect_ratio: -3");
  EXPECT_EQ(config.force_pixel_aspect_ratio, 2);
}

TEST_F(ConfigKeys, a_later_zero_leaves_the_ratio_to_the_host_again) {
  read("force_pixel_aspect_ratio: 2 force_pixel_aspect_ratio: 0");
  EXPECT_EQ(config.force_pixel_aspect_ratio, 0);
  EXPECT_EQ(reports.count_part("Illegal value"), 0) << reports.all();
  EXPECT_EQ(config_notes(), "");
}

TEST_F(ConfigKeys, a_key_twice_warns_and_the_second_value_stands) {
  read("use_dials_for_angles_df: 0 use_dials_for_angles_df: 1 input_lut: a input_lut: b");
  EXPECT_EQ(reports.severity_of("Already saw use_dials_for_angles_df in config file"), 7) << reports.all();
  EXPECT_EQ(config.use_dials_for_angles_df, 1);
  EXPECT_EQ(config.input_lut, "b");
}

TEST_F(ConfigKeys, the_end_in_place_of_a_value_ends_reading) {
  read_only("force_pixel_aspect_ratio: 0\nmulti_process_enable:  // nothing");
  ASSERT_EQ(reports.count(), 2u) << reports.all();
  EXPECT_EQ(reports.severity_of("EOF while reading value for multi_process_enable"), 8);
  EXPECT_EQ(reports.severity_of("Expected to find multi_process_enable in config file, but didn't."), 7);
}

TEST_F(ConfigKeys, unknown_words_and_other_case_are_passed_over) {
  read("no_such_key: 4 Use_Dials_For_Angles_AE: 1 use_dials_for_angles_ae 1 : :: input_lut\n");
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_EQ(config.use_dials_for_angles_ae, 0);
  EXPECT_EQ(config.input_lut_on, 0);
}

TEST_F(ConfigKeys, keys_and_definitions_share_the_file) {
  read("(define A (x) (+ x 1))\nuse_dials_for_angles_ae: 1\n(define B (y) y)\n");
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_EQ(config.use_dials_for_angles_ae, 1);
}

TEST_F(ConfigKeys, paths_that_do_not_fit_are_refused) {
  const std::string longest_input(287, 'a'), longest_output(291, 'b');
  read("input_lut: " + longest_input + " output_lut: " + longest_output);
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_EQ(config.input_lut, longest_input);
  EXPECT_EQ(config.output_lut, longest_output);
  read("input_lut: " + longest_input + "a output_lut: " + longest_output + "b");
  EXPECT_EQ(reports.count_part("Illegal value in config file for"), 2) << reports.all();
  EXPECT_EQ(config.input_lut_on, 0);
  EXPECT_EQ(config.output_lut_on, 0);
}

TEST_F(ConfigKeys, endless_tokens_are_reported_and_passed_over) {
  read("use_dials_for_angles_ae: 1 " + std::string(10000, 'k') + ": 4 use_dials_for_angles_fcp: 1\n");
  EXPECT_EQ(reports.count(), 1u) << reports.all();
  EXPECT_EQ(config.use_dials_for_angles_fcp, 1);
}

TEST_F(ConfigKeys, reports_know_their_line) {
  read("use_dials_for_angles_ae:\n\n x\n");
  ASSERT_EQ(reports.count(), 1u) << reports.all();
  EXPECT_EQ(reports.entries()[0].location, (folder / "t_config.text").string() + ":5");
}

TEST_F(ConfigKeys, binary_files_do_no_harm) {
  std::string garbage;
  for (int i = 0; i < 70000; ++i) garbage += char((i * 2654435761u) >> 13);
  read(garbage + " use_dials_for_angles_ae: 1 ");
  for (const auto& e : reports.entries()) EXPECT_GE(e.severity, 7);
}

TEST_F(ConfigKeys, paths_of_files) {
  EXPECT_EQ(config_path(), (folder / "t_config.text").string());
  EXPECT_EQ(data_file_path("t_glares.text"), (folder / "t_glares.text").string());
  const char* first = config_path();
  EXPECT_EQ(first, config_path()) << "built once";
}

TEST_F(ConfigKeys, notes_list_what_is_unusual_in_order) {
  EXPECT_EQ(config_notes(), "");
  host_state.use_dials = true;
  EXPECT_EQ(config_notes(), "using dials for angles");
  host_state.host_app = HOST_FUSION;
  EXPECT_EQ(config_notes(), "");
  host_state.use_dials = false;
  EXPECT_EQ(config_notes(), "NOT using dials for angles");
  config.force_progressive = 1;
  config.multi_process_enable = 0;
  config.allow_native_image_formats = 0;
  config.force_pixel_aspect_ratio = 1.422f;
  config.output_lut_on = 1;
  EXPECT_EQ(config_notes(),
            "force_progressive: ON, multiprocessing: OFF, native image format: DISABLED, NOT using dials for angles, "
            "pixel aspect ratio forced to 1.422, LUTs: ON");
}

TEST_F(ConfigKeys, about_text_takes_the_notes_on_a_second_line) {
  host_state.host_app = HOST_AFTER_EFFECTS;
  const std::string line =
      std::string("Tessaron Plug-ins for ") + host_app_name(HOST_AFTER_EFFECTS) + ": v1.10 of 8-jan-2007";
  EXPECT_EQ(about_line(), line);
  EXPECT_EQ(about_text(), line);
  config.input_lut_on = 1;
  EXPECT_EQ(about_text(), line + "\nLUTs: ON");
}

}  // namespace
}  // namespace tessaron::testing
