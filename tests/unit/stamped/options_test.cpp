// What the options of render come to, each rendered from a definition's text and from the plug-in stamped of it.
#include "options_folder.h"

namespace tessaron::stamped {
namespace {

constexpr int ONE = 4096;
const char* const ALL_FORMATS[] = {"rgba8", "bgra8", "rgba16", "bgra16"};

using Options = OptionsFolder;

// --- the frame -----------------------------------------------------------------------------------

// Coordinates of pixel middles: x is -1 to 1 over 4 columns; y is half of that for 2 rows, and rounded down where x
// is rounded to the nearest.
constexpr int X[] = {-3072, -1024, 1024, 3072};

ints places(int y0, int y1, int aspect) {
  ints all;
  for (const int y : {y0, y1})
    for (const int x : X) all.insert(all.end(), {x, y, aspect});
  return all;
}

TEST_F(Options, size_is_the_layers_where_there_is_no_input) {
  EXPECT_EQ(root("Place", {"--size", "4x2"}), places(1023, -1025, ONE));
}

TEST_F(Options, pixel_aspect_is_what_hosts_report) {
  // A pixel twice as wide as high makes the engine's ratio, height to width, a half.
  EXPECT_EQ(root("Place", {"--size", "4x2", "--pixel-aspect", "2"}), places(511, -513, ONE / 2));
  EXPECT_EQ(root("Place", {"--size", "4x2", "--pixel-aspect", "0.5"}), places(2047, -2049, ONE * 2));
}

TEST_F(Options, downsample_is_reported_by_axis) {
  // Of 8 by 8 pixels 4 by 2 remain, each twice as high as wide.
  EXPECT_EQ(root("Place", {"--size", "8x8", "--downsample", "2x4"}), places(2047, -2049, ONE * 2));
  EXPECT_EQ(root("Place", {"--size", "8x4", "--downsample", "2"}), places(1023, -1025, ONE));
}

TEST_F(Options, downsampled_inputs_are_means_of_areas) {
  ints wide;
  for (int i = 0; i < 4; ++i)
    for (const int v : {0, 40, 80, 120}) wide.insert(wide.end(), {v, 255 - v, i * 60});
  const std::string image = write_picture("wide.ppm", 4, 4, wide);
  // Red 20 and 100, green 235 and 155, blue 90 in both: 0, 60, 120 and 180.
  for (const char* format : {"rgba8", "bgra8"})
    EXPECT_EQ(picture("Keep", {"-i", image, "--downsample", "2x4", "--pixel-format", format}),
              (ints{20, 235, 90, 100, 155, 90}))
        << format;
}

TEST_F(Options, time_is_frame_rate_and_length) {
  const ints values = root("Clip", {"--size", "1x1", "--frames", "5", "--fps", "25", "--total-frames", "11"});
  EXPECT_EQ(values, (ints{5 * ONE, 11 * ONE, 25 * ONE, ONE / 2}));
  EXPECT_EQ(root("Clip", {"--size", "1x1"}), (ints{0, ONE, 24 * ONE, 0}));
}

TEST_F(Options, a_field_is_rendered_into_the_first_input) {
  const std::string image = write_picture("lines.ppm", 1, 4, {16, 16, 16, 32, 32, 32, 48, 48, 48, 64, 64, 64});
  const auto lines = [&](const char* field, const char* format) {
    const ints all = picture("Invert", {"-i", image, "--field", field, "--pixel-format", format});
    ints red;
    for (std::size_t i = 0; i < all.size(); i += 3) red.push_back(all[i] > 255 ? all[i] / 257 : all[i]);
    return red;
  };
  // 1 - 16/255 and so on, to 8 bits. The upper field has the lines 0 and 2.
  for (const char* format : ALL_FORMATS) {
    EXPECT_EQ(lines("0", format), (ints{239, 223, 207, 191})) << format;
    EXPECT_EQ(lines("1", format), (ints{239, 32, 207, 64})) << format;
    EXPECT_EQ(lines("2", format), (ints{16, 223, 48, 191})) << format;
  }
}

// --- pixel formats -------------------------------------------------------------------------------

TEST_F(Options, every_pixel_format_reads_by_its_own_scale) {
  // 0x1234 of 65535 is 18.1 of 255 and 2330.04 of 32768. Fix: 18 * 16 + 1, 2330 / 8, 0x1234 / 16.
  const std::string image = write_picture("deep.ppm", 1, 1, {0xffff, 0x1234, 0});
  const std::string format = "--pixel-format";
  for (const char* eight : {"rgba8", "bgra8"})
    EXPECT_EQ(root("Keep", {"-i", image, format, eight}), (ints{4095, 289, 0, 4095})) << eight;
  EXPECT_EQ(root("Keep", {"-i", image, format, "rgba16"}), (ints{4096, 291, 0, 4096}));
  EXPECT_EQ(root("Keep", {"-i", image, format, "bgra16"}), (ints{4095, 291, 0, 4095}));
  EXPECT_EQ(root("Keep", {"-i", image}), (ints{4095, 291, 0, 4095})) << "a deep picture is bgra16 by itself";
  EXPECT_EQ(root("Keep", {"-i", write_picture("flat.ppm", 1, 1, {255, 18, 0})}), (ints{4095, 289, 0, 4095}));
}

TEST_F(Options, every_pixel_format_writes_by_its_own_scale) {
  const std::string image = write_picture("deep.ppm", 1, 1, {0xffff, 0x1234, 0});
  const auto written = [&](const char* format) { return picture("Keep", {"-i", image, "--pixel-format", format}); };
  EXPECT_EQ(written("rgba8"), (ints{255, 18, 0}));
  EXPECT_EQ(written("bgra8"), (ints{255, 18, 0}));
  EXPECT_EQ(written("rgba16"), (ints{65535, 4656, 0})) << "291 * 8 of 32768";
  EXPECT_EQ(written("bgra16"), (ints{65535, 4657, 0})) << "0x123 and its first digit again";
}

// --- inputs --------------------------------------------------------------------------------------

TEST_F(Options, inputs_are_bound_by_name_and_in_order_and_may_be_left_out) {
  const std::string a = write_picture("a.ppm", 1, 1, {160, 160, 160}), b = write_picture("b.ppm", 1, 1, {32, 32, 32});
  const std::string named = "Back=" + b;
  // 160 reads as 0xa0a, 32 as 0x202; the mean is 0x606, of which 0x60 is written.
  EXPECT_EQ(picture("Halves", {"-i", a, "-i", b}), ints(3, 0x60));
  EXPECT_EQ(picture("Halves", {"-i", named, "-i", a}), ints(3, 0x60));
  EXPECT_EQ(picture("Halves", {"-i", a}), ints(3, 160)) << "the optional one is the first again";
  EXPECT_EQ(picture("Strict", {"-i", a, "-i", b}), ints(3, 0x60));
  EXPECT_EQ(picture("Strict", {"-i", a}), ints(3, 80)) << "half of 0xa0a; the other is black";
  EXPECT_EQ(picture("Strict", {"-i", named}), ints(3, 16)) << "half of 0x202";
}

// --- parameters ----------------------------------------------------------------------------------

TEST_F(Options, numbers_are_in_the_definitions_units) {
  const std::vector<std::string> size = {"--size", "1x1"};
  EXPECT_EQ(root("Numbers", size), (ints{ONE / 2, ONE * 3 / 2, ONE * 3}));
  EXPECT_EQ(root("Numbers", {"--size", "1x1", "-p", "Amount=25", "-p", "Gain=-2.25", "-p", "Count=7"}),
            (ints{ONE / 4, -ONE * 9 / 4, ONE * 7}));
}

TEST_F(Options, popups_take_text_or_index_and_toggles_0_or_1) {
  EXPECT_EQ(root("Choices", {"--size", "1x1"}), (ints{ONE, 0, 0}));
  for (const char* best : {"Mode=Very best", "Mode=Very_best", "Mode=2"})
    EXPECT_EQ(root("Choices", {"--size", "1x1", "-p", best, "-p", "On=1"}), (ints{ONE * 2, ONE, 0})) << best;
  EXPECT_EQ(root("Choices", {"--size", "1x1", "-p", "Mode=Fast"}), (ints{0, 0, 0}));
}

TEST_F(Options, colours_are_bytes_of_the_host) {
  // A half is byte 127, a quarter byte 63: 127 / 255 and 63 / 255 in fix.
  EXPECT_EQ(root("Tint", {"--size", "1x1"}), (ints{ONE, 2040, 1012}));
  EXPECT_EQ(root("Tint", {"--size", "1x1", "-p", "Tint=0,1,0.5"}), (ints{0, ONE, 2040}));
}

TEST_F(Options, points_are_places_in_a_frame_of_720_by_486) {
  const std::vector<std::string> size = {"--size", "100x50"};
  const auto first = [&](const std::string& effect, std::vector<std::string> more) {
    more.insert(more.end(), size.begin(), size.end());
    const ints all = root(effect, more);
    return ints(all.begin(), all.begin() + std::min<std::ptrdiff_t>(2, std::ptrdiff_t(all.size())));
  };
  EXPECT_EQ(first("Corner", {}), (ints{50 * ONE, 25 * ONE})) << "the middle, from the lower left";
  EXPECT_EQ(first("Corner", {"-p", "Corner=180,0"}), (ints{25 * ONE, 0}));
  EXPECT_EQ(first("Middle", {}), (ints{0, -25 * ONE})) << "a point's height loses half the width";
  EXPECT_EQ(first("Middle", {"-p", "Middle=72,0"}), (ints{10 * ONE, -25 * ONE})) << "a tenth of 720 to the right";
  EXPECT_EQ(first("Shift", {"--downsample", "2x4"}), (ints{4 * ONE, -ONE})) << "pixels of the whole frame, y down";
  EXPECT_EQ(first("Shift", {"-p", "Shift=-3,0.5"}), (ints{-3 * ONE, -ONE / 2}));
}

TEST_F(Options, keys_are_linear_and_held) {
  const auto amount = [&](const char* frame) {
    return root("Ahead", {"--size", "1x1", "--frames", frame, "-p", "Amount=0@2 100@12"});
  };
  // Its value at the frame, and at the next one.
  EXPECT_EQ(amount("-5"), (ints{0, 0, 0}));
  EXPECT_EQ(amount("7"), (ints{ONE / 2, 2458, 0})) << "0.6 in fix";
  EXPECT_EQ(amount("40"), (ints{ONE, ONE, 0}));
}

TEST_F(Options, a_sequence_has_the_values_of_its_frames) {
  render("Ahead", {"--size", "1x1", "--frames", "2-12x5", "-p", "Amount=0@2 100@12", "-o", file("out.##.ppm")},
         "out.07.ppm");
  for (const auto& [frame, value] : {std::pair("02", 0), {"07", 128}, {"12", 255}})
    EXPECT_EQ(int(std::uint8_t(folder.read(std::string("out.") + frame + ".ppm")[11])), value) << frame;
}

}  // namespace
}  // namespace tessaron::stamped
