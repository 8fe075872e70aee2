// `tessaron render` over several frames.
#include "cli.h"

namespace tessaron::cli {
namespace {

using ints = std::vector<int>;

class CliSequence : public Cli {
 protected:
  /// s.0001.ppm, s.0002.ppm ... with the frame's number times ten in every sample.
  void write_frames(std::initializer_list<int> frames) const {
    for (int frame : frames) {
      char name[32];
      std::snprintf(name, sizeof name, "s.%04d.ppm", frame);
      const int v = 10 * frame;
      folder.write(name, tiny_ppm({v, v, v, v, v, v}));
    }
  }
  std::string in() const { return path("s.####.ppm"); }
  int first_sample(const std::string& name) const { return samples(name).at(0); }
};

TEST_F(CliSequence, inputs_and_outputs_are_taken_at_the_frames_number) {
  write_frames({1, 2, 3});
  const auto result = render("Keep", {"-i", path("s.%04d.ppm"), "-o", path("o.###.ppm"), "--frames", "1-3x2"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(first_sample("o.001.ppm"), 10);
  EXPECT_EQ(first_sample("o.003.ppm"), 30);
  EXPECT_FALSE(std::filesystem::exists(path("o.002.ppm")));
  EXPECT_EQ(result.err, "");  // progress is for terminals
}

TEST_F(CliSequence, negative_frames_render_too) {
  const auto result = render("Flat", {"--size", "1x1", "-o", path("o.%03d.ppm"), "--frames", "-2--1"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(std::filesystem::exists(path("o.-02.ppm")));
  EXPECT_TRUE(std::filesystem::exists(path("o.-01.ppm")));
}

TEST_F(CliSequence, a_plain_image_serves_every_frame) {
  folder.write("one.ppm", tiny_ppm({7, 7, 7, 7, 7, 7}));
  ASSERT_EQ(render("Keep", {"-i", path("one.ppm"), "-o", path("o.#.ppm"), "--frames", "4,9"}).status, 0);
  EXPECT_EQ(first_sample("o.4.ppm"), 7);
  EXPECT_EQ(first_sample("o.9.ppm"), 7);
}

TEST_F(CliSequence, the_effect_sees_the_frame_number) {
  ASSERT_EQ(render("Frame", {"--size", "1x1", "-o", path("o.#.ppm"), "--frames", "25,50"}).status, 0);
  EXPECT_EQ(first_sample("o.25.ppm"), 0x40);  // 25 / 100 is 1024 of 4096; its 8 high bits
  EXPECT_EQ(first_sample("o.50.ppm"), 0x80);
}

TEST_F(CliSequence, percent_time_runs_over_the_longest_input) {
  write_frames({0, 1, 2, 3, 4});
  folder.write("p.text", "(define P (Source) () dest = (v3 (get_percent_time) 0 0))");
  const std::vector<std::string> base{"render", "P",        "--defs", path("p.text"), "-i",
                                      in(),     "--frames", "2",      "-o",           path("o.ppm")};
  ASSERT_EQ(run(base).status, 0);
  EXPECT_EQ(first_sample("o.ppm"), 0x80);  // 2 of 4
  std::vector<std::string> longer = base;
  longer.insert(longer.end(), {"--total-frames", "9"});
  ASSERT_EQ(run(longer).status, 0);
  EXPECT_EQ(first_sample("o.ppm"), 0x40);  // 2 of 8
}

TEST_F(CliSequence, keyed_parameters_move_from_frame_to_frame) {
  folder.write("in.ppm", tiny_ppm({32, 32, 32, 32, 32, 32}));
  const auto result =
      render("Gain", {"-i", path("in.ppm"), "-p", "Amount=0@1 4@5", "-o", path("o.#.ppm"), "--frames", "0-6"});
  ASSERT_EQ(result.status, 0) << result.err;
  const int expected[7] = {0, 0, 32, 64, 96, 128, 128};
  for (int frame = 0; frame < 7; ++frame)
    EXPECT_EQ(first_sample("o." + std::to_string(frame) + ".ppm"), expected[frame]) << frame;
}

TEST_F(CliSequence, a_missing_frame_stops_the_run_unless_told_otherwise) {
  write_frames({1, 3});
  const auto stopped = render("Keep", {"-i", in(), "-o", path("o.#.ppm"), "--frames", "1-3"});
  EXPECT_EQ(stopped.status, 1);
  EXPECT_TRUE(has(stopped.err, "s.0002.ppm")) << stopped.err;
  EXPECT_TRUE(std::filesystem::exists(path("o.1.ppm")));
  EXPECT_FALSE(std::filesystem::exists(path("o.3.ppm")));
  const auto skipped = render("Keep", {"-i", in(), "-o", path("o.#.ppm"), "--frames", "1-3", "--skip-bad-frames"});
  EXPECT_EQ(skipped.status, 1);
  EXPECT_FALSE(std::filesystem::exists(path("o.2.ppm")));
  EXPECT_EQ(first_sample("o.3.ppm"), 30);
}

TEST_F(CliSequence, missing_frames_may_be_black_or_held) {
  write_frames({1, 3});
  ASSERT_EQ(render("Keep", {"-i", in(), "-o", path("b.#.ppm"), "--frames", "1-3", "--missing", "black"}).status, 0);
  EXPECT_EQ(first_sample("b.1.ppm"), 10);
  EXPECT_EQ(first_sample("b.2.ppm"), 0);
  EXPECT_EQ(first_sample("b.3.ppm"), 30);
  ASSERT_EQ(render("Keep", {"-i", in(), "-o", path("h.#.ppm"), "--frames", "0-5", "--missing", "hold"}).status, 0);
  const int expected[6] = {10, 10, 10, 30, 30, 30};
  for (int frame = 0; frame < 6; ++frame)
    EXPECT_EQ(first_sample("h." + std::to_string(frame) + ".ppm"), expected[frame]) << frame;
}

TEST_F(CliSequence, no_clobber_leaves_existing_files_alone) {
  write_frames({1, 2});
  folder.write("o.1.ppm", "mine");
  const auto result = render("Keep", {"-i", in(), "-o", path("o.#.ppm"), "--frames", "1-2", "--no-clobber"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(folder.read("o.1.ppm"), "mine");
  EXPECT_EQ(first_sample("o.2.ppm"), 20);
}

TEST_F(CliSequence, no_clobber_leaves_each_existing_file_alone) {
  // The picture is there and the values are not, then the other way round.
  const std::vector<std::string> options = {"--size", "1x1",         "-o",          path("o.ppm"),
                                            "--fix",  path("o.npy"), "--no-clobber"};
  folder.write("o.ppm", "mine");
  ASSERT_EQ(render("Flat", options).status, 0);
  EXPECT_EQ(folder.read("o.ppm"), "mine");
  EXPECT_EQ(folder.read("o.npy").substr(1, 5), "NUMPY");
  std::filesystem::remove(path("o.ppm"));
  folder.write("o.npy", "mine");
  ASSERT_EQ(render("Flat", options).status, 0);
  EXPECT_EQ(folder.read("o.npy"), "mine");
  EXPECT_EQ(folder.read("o.ppm").substr(0, 2), "P6");
}

TEST_F(CliSequence, dry_run_says_what_it_would_do_and_does_nothing) {
  write_frames({1, 2});
  const auto result = render("Keep", {"-i", in(), "-o", path("o.#.ppm"), "--frames", "1-2", "--dry-run"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "frame 1: " + path("s.0001.ppm") + " -> " + path("o.1.ppm") +
                            "\nframe 2: " + path("s.0002.ppm") + " -> " + path("o.2.ppm") + "\n");
  EXPECT_FALSE(std::filesystem::exists(path("o.1.ppm")));
  const auto incomplete = render("Keep", {"-i", in(), "-o", path("o.#.ppm"), "--frames", "3", "--dry-run"});
  EXPECT_EQ(incomplete.status, 1);
  EXPECT_EQ(incomplete.out, "frame 3: (frame 3 is missing: " + path("s.0003.ppm") + ") -> " + path("o.3.ppm") + "\n");
}

TEST_F(CliSequence, progress_on_standard_output_counts_frames) {
  const auto result = render("Flat", {"--size", "1x1", "-o", path("o.#.ppm"), "--frames", "1-3", "--progress", "-"});
  ASSERT_EQ(result.status, 0);
  EXPECT_TRUE(has(result.out, "frame=3\nstate=done\n")) << result.out;
  EXPECT_TRUE(has(result.out, "done=3\nfailed=0\ntotal=3\n")) << result.out;
  EXPECT_TRUE(has(result.out, "progress=end\n")) << result.out;
}

TEST_F(CliSequence, many_frames_hold_memory_flat) {
  // A frame is 240,000 bytes: 200 frames that stay would be 48 MB. The address sanitizer's hoard of freed
  // blocks is kept small, so that it does not count.
  const auto result = run({"render", "Waves", "--size", "300x200", "--frames", "1-300", "--stats"},
                          "ASAN_OPTIONS=quarantine_size_mb=1 ");
  ASSERT_EQ(result.status, 0) << result.err;
  const auto peak_of = [&](int frame) {
    const std::size_t line = result.out.find("frame=" + std::to_string(frame) + " setup");
    return std::stoll(result.out.substr(result.out.find("peak_bytes=", line) + 11));
  };
  EXPECT_LT(peak_of(300) - peak_of(100), 8 << 20);
}

}  // namespace
}  // namespace tessaron::cli
