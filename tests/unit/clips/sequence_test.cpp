// Other frames of numbered sequences, through the console program.
#include <gtest/gtest.h>

#include "support/command.h"

namespace tessaron::testing {
namespace {

constexpr int FRAMES = 26;

class ConsoleSequence : public ::testing::Test {
 protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    fs::create_directory(folder.file("config"));
    folder.write("config/t_config.text", "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n");
    folder.write("defs.text",
                 "(define Back_3 (Source) () dest = (time_warp Source (- (get_frame_number) 3) 0))\n"
                 "(define Ahead_2 (Source) () dest = (get_frame Source (+ (get_frame_number) 2) 0))\n"
                 "(define Half (Source) () dest = (time_warp Source (* (get_frame_number) 0.5) 1))\n"
                 "(define Mean (A B) () dest = (interp A B 0.5))\n"
                 "(define Keep (Source) () dest = Source)\n"
                 "(define By_Column (Source) () dest = (time_warp Source (* (+ x 1) 2) 0))\n"
                 "(define Other (Front Plate) () dest = (+ (* Front 0) (get_frame Plate 20 0)))\n"
                 "(define Curve (Source) () Level = 0 (max 4)"
                 " dest = (+ (* Source 0) (* (get_curve_val Level 2) (v3 1 1 1))))\n"
                 "(define Trail (Source) () dest = (max (* (get_prev_dest 0) 0.5) Source))\n");
  }
  /// s.0000.ppm and on: 4 by 2 pixels, all of them frame * 9 + 5, from the first number on.
  void write_frames(int first, int count, const std::string& stem = "s") const {
    for (int frame = first; frame < first + count; ++frame) write_frame(frame, stem);
  }
  static int grey_of(int frame) { return frame % 27 * 9 + 5; }
  void write_frame(int frame, const std::string& stem = "s") const {
    char name[32];
    std::snprintf(name, sizeof name, ".%04d.ppm", frame);
    folder.write(stem + name, "P6\n4 2\n255\n" + std::string(4 * 2 * 3, char(grey_of(frame))));
  }
  command_result render(const std::string& effect, std::vector<std::string> more) const {
    more.insert(more.begin(), {"render", effect, "--defs", folder.file("defs.text")});
    return run_command(TESSARON_BINARY_DIR "/tessaron", more,
                       "TESSARON_CONFIG_DIR=" + shell_quoted(folder.file("config")) + " ");
  }
  command_result render_sequence(const std::string& effect, const std::string& frames,
                                 std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"-i", folder.file("s.####.ppm"), "-o", folder.file("o.####.ppm"), "--frames", frames});
    return render(effect, more);
  }
  /// Samples of an output file.
  std::vector<int> samples(int frame) const {
    char name[32];
    std::snprintf(name, sizeof name, "o.%04d.ppm", frame);
    const std::string bytes = folder.read(name);
    std::vector<int> values;
    for (std::size_t at = bytes.size() < 24 ? bytes.size() : bytes.size() - 24; at < bytes.size(); ++at)
      values.push_back(std::uint8_t(bytes[at]));
    return values;
  }
  int grey(int frame) const {
    const std::vector<int> values = samples(frame);
    if (values.size() != 24) return -1;
    for (const int v : values) EXPECT_EQ(v, values[0]);
    return values[0];
  }
  std::string in(const std::string& name) const { return folder.file(name); }

  scratch_folder folder;
};

TEST_F(ConsoleSequence, looks_back_and_ahead_in_a_sequence) {
  write_frames(0, FRAMES);
  ASSERT_EQ(render_sequence("Back_3", "0-25").status, 0);
  for (int frame = 0; frame < FRAMES; ++frame) EXPECT_EQ(grey(frame), grey_of(std::max(frame - 3, 0))) << frame;
  ASSERT_EQ(render_sequence("Ahead_2", "0-25").status, 0);
  for (int frame = 0; frame < FRAMES; ++frame)
    EXPECT_EQ(grey(frame), grey_of(std::min(frame + 2, FRAMES - 1))) << frame << ": the last frame holds";
}

TEST_F(ConsoleSequence, renders_the_same_frame_alone_and_in_a_run) {
  write_frames(0, FRAMES);
  for (const int frame : {0, 2, 3, 17, 25}) {
    ASSERT_EQ(render_sequence("Back_3", std::to_string(frame)).status, 0);
    EXPECT_EQ(grey(frame), grey_of(std::max(frame - 3, 0))) << frame;
  }
}

TEST_F(ConsoleSequence, holds_the_first_frame_of_a_sequence_that_starts_elsewhere) {
  write_frames(1001, FRAMES);
  ASSERT_EQ(render_sequence("Back_3", "1001-1026").status, 0);
  for (int frame = 1001; frame < 1001 + FRAMES; ++frame)
    EXPECT_EQ(grey(frame), grey_of(std::max(frame - 3, 1001))) << frame;
}

TEST_F(ConsoleSequence, between_frames_is_their_mix) {
  write_frames(0, FRAMES);
  ASSERT_EQ(render_sequence("Half", "0-25").status, 0);
  for (int frame = 0; frame < FRAMES; frame += 2) EXPECT_EQ(grey(frame), grey_of(frame / 2)) << frame;
  for (const int frame : {1, 7, 25}) {
    const int mixed = grey(frame);
    char below[32], above[32];
    std::snprintf(below, sizeof below, "s.%04d.ppm", frame / 2);
    std::snprintf(above, sizeof above, "s.%04d.ppm", frame / 2 + 1);
    ASSERT_EQ(render("Mean", {"-i", in(below), "-i", in(above), "-o", in("o.9999.ppm")}).status, 0);
    EXPECT_EQ(mixed, grey(9999)) << frame;
    EXPECT_GT(mixed, grey_of(frame / 2));
    EXPECT_LT(mixed, grey_of(frame / 2 + 1));
  }
}

TEST_F(ConsoleSequence, gives_each_column_a_time_of_its_own) {
  write_frames(0, FRAMES);
  ASSERT_EQ(render_sequence("By_Column", "12").status, 0);
  const std::vector<int> values = samples(12);
  // Columns at -3/4, -1/4, 1/4 and 3/4 ask for frames 0.5, 1.5, 2.5 and 3.5.
  for (int i = 0; i < 24; ++i) EXPECT_EQ(values.at(std::size_t(i)), grey_of(i / 3 % 4)) << i;
}

TEST_F(ConsoleSequence, reads_frames_of_the_input_that_is_named) {
  write_frames(0, FRAMES);
  write_frames(15, 8, "plate");
  ASSERT_EQ(render("Other", {"-i", in("s.####.ppm"), "-i", "Plate=" + in("plate.####.ppm"), "-o", in("o.####.ppm"),
                             "--frames", "16-18"})
                .status,
            0);
  for (int frame = 16; frame < 19; ++frame) EXPECT_EQ(grey(frame), grey_of(20));
}

TEST_F(ConsoleSequence, says_which_frame_is_missing) {
  write_frames(0, 10);
  write_frames(11, FRAMES - 11);
  const command_result stopped = render_sequence("Back_3", "11-20");
  EXPECT_EQ(stopped.status, 1);
  EXPECT_NE(stopped.err.find("frame 13: frame 10 is missing: " + in("s.0010.ppm")), std::string::npos) << stopped.err;
  EXPECT_EQ(grey(12), grey_of(9));
  EXPECT_EQ(grey(13), -1) << "nothing half-made";
  const command_result skipped = render_sequence("Back_3", "11-20", {"--skip-bad-frames"});
  EXPECT_EQ(skipped.status, 1);
  EXPECT_EQ(grey(13), -1);
  EXPECT_EQ(grey(14), grey_of(11));
}

TEST_F(ConsoleSequence, holds_or_blackens_what_is_missing_when_told_to) {
  write_frames(0, 10);
  write_frames(11, FRAMES - 11);
  ASSERT_EQ(render_sequence("Back_3", "12-14", {"--missing", "hold"}).status, 0);
  EXPECT_EQ(grey(13), grey_of(9));
  ASSERT_EQ(render_sequence("Back_3", "12-14", {"--missing", "black"}).status, 0);
  EXPECT_EQ(grey(13), 0);
  EXPECT_EQ(grey(14), grey_of(11));
  ASSERT_EQ(render_sequence("Ahead_2", "24-25", {"--missing", "black"}).status, 0);
  EXPECT_EQ(grey(25), 0) << "what is missing is black beyond the end too";
}

TEST_F(ConsoleSequence, of_one_image_is_that_image_at_every_time) {
  write_frame(7);
  ASSERT_EQ(render("Ahead_2", {"-i", in("s.0007.ppm"), "-o", in("o.0003.ppm"), "--frames", "3"}).status, 0);
  EXPECT_EQ(grey(3), grey_of(7));
}

TEST_F(ConsoleSequence, is_the_same_in_both_layouts_and_at_less_resolution) {
  write_frames(0, FRAMES);
  for (const char* format : {"rgba8", "bgra8"}) {
    ASSERT_EQ(render_sequence("Back_3", "4-9", {"--pixel-format", format}).status, 0) << format;
    for (int frame = 4; frame < 10; ++frame) EXPECT_EQ(grey(frame), grey_of(frame - 3)) << format;
  }
  ASSERT_EQ(render_sequence("Back_3", "9", {"--downsample", "2", "--hash"}).status, 0);
  const std::string half = folder.read("o.0009.ppm");
  EXPECT_EQ(half.substr(half.size() - 6), std::string(6, char(grey_of(6))));
}

TEST_F(ConsoleSequence, keeps_its_previous_output_from_frame_to_frame) {
  write_frames(0, 4);
  write_frames(20, 4);
  folder.write("white.text", "(define Fade (Source) () dest = (* (get_prev_dest Source) 0.5))");
  ASSERT_EQ(render_sequence("Trail", "0-3").status, 0);
  EXPECT_EQ(grey(3), grey_of(3));
  const command_result fade = run_command(TESSARON_BINARY_DIR "/tessaron",
                                          {"render", "Fade", "--defs", in("white.text"), "-i", in("s.####.ppm"), "-o",
                                           in("o.####.ppm"), "--frames", "20-23"},
                                          "TESSARON_CONFIG_DIR=" + shell_quoted(folder.file("config")) + " ");
  ASSERT_EQ(fade.status, 0) << fade.err;
  for (int frame = 20; frame < 24; ++frame)
    EXPECT_NEAR(grey(frame), double(grey_of(20)) / (2 << (frame - 20)), 1) << "of the first frame of the run alone";
}

TEST_F(ConsoleSequence, reads_a_keyed_parameter_ahead_of_its_time) {
  write_frames(0, 8);
  ASSERT_EQ(render_sequence("Curve", "0-5", {"-p", "Level=0@0 1@4"}).status, 0);
  for (int frame = 0; frame < 6; ++frame) EXPECT_NEAR(grey(frame), std::min(frame + 2, 4) * 255 / 4.0, 1) << frame;
}

TEST_F(ConsoleSequence, of_wild_frame_numbers_ends_soon_with_the_frames_at_its_ends) {
  write_frames(0, 4);
  folder.write("wild.text", "(define Wild (Source) () dest = (time_warp Source (if+ x 300000 -300000) 1))");
  const command_result wild = run_command(
      TESSARON_BINARY_DIR "/tessaron",
      {"render", "Wild", "--defs", in("wild.text"), "-i", in("s.####.ppm"), "-o", in("o.0002.ppm"), "--frames", "2"},
      "TESSARON_CONFIG_DIR=" + shell_quoted(folder.file("config")) + " ");
  ASSERT_EQ(wild.status, 0) << wild.err;
  EXPECT_EQ(samples(2).at(0), grey_of(0));
  EXPECT_EQ(samples(2).at(11), grey_of(3));
}

}  // namespace
}  // namespace tessaron::testing
