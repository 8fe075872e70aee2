// `tessaron render` over single images: pixels, formats, parameters, what it prints.
#include "cli.h"

#include <cstring>

namespace tessaron::cli {
namespace {

using ints = std::vector<int>;

TEST_F(Cli, eight_bit_samples_come_back_unchanged) {
  folder.write("in.ppm", tiny_ppm({0, 1, 2, 127, 128, 255}));
  const auto result = render("Keep", {"-i", path("in.ppm"), "-o", path("out.ppm")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(samples("out.ppm"), (ints{0, 1, 2, 127, 128, 255}));
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

TEST_F(Cli, all_pixel_formats_give_the_same_picture) {
  folder.write("in.ppm", tiny_ppm({0, 50, 100, 150, 200, 255}));
  for (const char* format : {"rgba8", "bgra8", "rgba16", "bgra16"}) {
    const auto result =
        render("Keep", {"-i", path("in.ppm"), "-o", path(std::string(format) + ".png"), "--pixel-format", format});
    ASSERT_EQ(result.status, 0) << result.err;
    const image picture =
        console::convert(console::read_image_file(path(std::string(format) + ".png")), pixel_format::rgba8);
    EXPECT_EQ(picture.data, (std::vector<std::uint8_t>{255, 0, 50, 100, 255, 150, 200, 255})) << format;
  }
}

TEST_F(Cli, sixteen_bit_pictures_are_written_with_16_bits) {
  image deep = image::make(1, 1, pixel_format::bgra16);
  auto* fields = reinterpret_cast<std::uint16_t*>(deep.row(0));
  for (int k = 0; k < 4; ++k) fields[k] = std::uint16_t(0x1011 * (k + 1));
  console::write_image_file(path("deep.png"), deep);
  ASSERT_EQ(render("Keep", {"-i", path("deep.png"), "-o", path("out.png")}).status, 0);
  const image out = console::read_image_file(path("out.png"));
  ASSERT_EQ(out.format, pixel_format::bgra16);
  // The engine holds 12 bits: the top three digits, and the first one again below them.
  const auto* written = reinterpret_cast<const std::uint16_t*>(out.row(0));
  EXPECT_EQ(written[0], 0x1011);
  EXPECT_EQ(written[1], 0x2022);
  EXPECT_EQ(written[2], 0x3033);
  EXPECT_EQ(written[3], 0x4044);
}

TEST_F(Cli, transparent_samples_keep_their_colour) {
  image clear = image::make(1, 1, pixel_format::rgba8);
  clear.data = {0, 200, 100, 50};  // alpha first
  for (const char* name : {"a.png", "a.tif", "a.tga"}) {
    console::write_image_file(path(name), clear);
    EXPECT_EQ(console::read_image_file(path(name)).data, clear.data) << name;
    ASSERT_EQ(render("Keep", {"-i", path(name), "-o", path("out.png")}).status, 0);
    EXPECT_EQ(console::read_image_file(path("out.png")).data, clear.data) << name;
  }
}

/// The four numbers of a window in the header of an OpenEXR file: left, top, right, bottom.
ints exr_window(const std::string& bytes, const std::string& name) {
  const std::string mark = name + std::string("\0box2i\0", 7) + std::string("\x10\0\0\0", 4);
  const std::size_t at = bytes.find(mark);
  if (at == std::string::npos) return {};
  ints sides(4);
  for (int i = 0; i < 4; ++i) {
    std::int32_t side = 0;  // little-endian, as the machines that this runs on
    std::memcpy(&side, bytes.data() + at + mark.size() + std::size_t(i) * 4, 4);
    sides[std::size_t(i)] = side;
  }
  return sides;
}

TEST_F(Cli, a_grown_picture_keeps_its_place_in_the_file_s_data_window) {
  folder.write("defs.text",
               "(define Grow (Source) (rgba_ok) expand_borders = 1 (int) dest = (blur Source [0.5 0.25] 0 1 0))");
  image grey = image::make(64, 48, pixel_format::rgba8);
  std::fill(grey.data.begin(), grey.data.end(), std::uint8_t(128));
  console::write_image_file(path("in.png"), grey);
  ASSERT_EQ(render("Grow", {"-i", path("in.png"), "-o", path("out.exr")}).status, 0);
  // An amount of 1.0 is an eighth of the frame's width: 4 pixels to the sides, 2 up and down.
  const std::string bytes = folder.read("out.exr");
  EXPECT_EQ(exr_window(bytes, "dataWindow"), (ints{-4, -2, 67, 49}));
  EXPECT_EQ(exr_window(bytes, "displayWindow"), (ints{0, 0, 63, 47}));
  const image grown = console::read_image_file(path("out.exr"));
  EXPECT_EQ(grown.width, 72);
  EXPECT_EQ(grown.height, 52);
  ASSERT_EQ(render("Grow", {"-i", path("in.png"), "-o", path("out.png")}).status, 0);
  EXPECT_EQ(console::read_image_file(path("out.png")).width, 72) << "the picture, in a format without windows";
}

TEST_F(Cli, grey_pictures_feed_all_colours) {
  folder.write("in.pgm", std::string("P5\n2 1\n255\n") + char(10) + char(200));
  ASSERT_EQ(render("Keep", {"-i", path("in.pgm"), "-o", path("out.ppm")}).status, 0);
  EXPECT_EQ(samples("out.ppm"), (ints{10, 10, 10, 200, 200, 200}));
}

TEST_F(Cli, a_parameter_is_the_definitions_own_number) {
  folder.write("in.ppm", tiny_ppm({16, 32, 64, 0, 0, 0}));
  ASSERT_EQ(render("Gain", {"-i", path("in.ppm"), "-o", path("out.ppm"), "-p", "Amount=2"}).status, 0);
  EXPECT_EQ(samples("out.ppm"), (ints{32, 64, 128, 0, 0, 0}));
  const auto by_option = render("Flat", {"--size", "3x2", "--hash", "-p", "Tint=0.25,0.7,1"});
  folder.write("changed.text", "(define Flat () () Tint = [0.25 0.7 1] (color) dest = Tint)");
  const auto by_default = run({"render", "Flat", "--defs", path("changed.text"), "--size", "3x2", "--hash"});
  EXPECT_EQ(by_option.status, 0);
  EXPECT_EQ(by_option.out, by_default.out);
}

TEST_F(Cli, inputs_are_filled_by_name_and_in_order) {
  folder.write("a.ppm", tiny_ppm({80, 80, 80, 80, 80, 80}));
  folder.write("b.ppm", tiny_ppm({160, 160, 160, 160, 160, 160}));
  ASSERT_EQ(render("Mix", {"-i", path("a.ppm"), "-i", path("b.ppm"), "-p", "Mix=0", "-o", path("1.ppm")}).status, 0);
  EXPECT_EQ(samples("1.ppm")[0], 80);
  ASSERT_EQ(
      render("Mix", {"-i", "Back Plate=" + path("a.ppm"), "-i", path("b.ppm"), "-p", "Mix=0", "-o", path("2.ppm")})
          .status,
      0);
  EXPECT_EQ(samples("2.ppm")[0], 160);
}

TEST_F(Cli, an_input_left_out_is_no_layer) {
  const auto result = render("Keep", {"--size", "4x3", "-o", path("out.ppm")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(samples("out.ppm"), ints(36, 0));
}

TEST_F(Cli, fix_holds_the_root_before_limits_top_row_first) {
  folder.write("in.ppm", tiny_ppm({255, 16, 0, 1, 2, 3}));
  const auto result = render("Gain", {"-i", path("in.ppm"), "--fix", path("root.npy"), "-p", "Amount=4"});
  ASSERT_EQ(result.status, 0) << result.err;
  const std::string bytes = folder.read("root.npy");
  EXPECT_TRUE(has(bytes, "'shape': (1, 2, 3)")) << bytes.substr(0, 100);
  const auto* root = reinterpret_cast<const unsigned char*>(bytes.data()) + bytes.size() - 24;
  const auto sample = [&](int i) {
    return int(root[4 * i] | root[4 * i + 1] << 8 | root[4 * i + 2] << 16 | root[4 * i + 3] << 24);
  };
  EXPECT_EQ(sample(0), 4095 * 4);  // far above the 4095 that a pixel holds
  EXPECT_EQ(sample(1), 257 * 4);   // 16: 0x10 reads as 0x101
  EXPECT_EQ(sample(2), 0);
  EXPECT_EQ(sample(3), 16 * 4);
}

TEST_F(Cli, hash_is_of_the_output_pixels) {
  folder.write("in.ppm", tiny_ppm({1, 2, 3, 4, 5, 6}));
  const auto result = render("Keep", {"-i", path("in.ppm"), "--hash"});
  EXPECT_EQ(result.status, 0) << result.err;
  // SHA-256 of the bytes ff 01 02 03 ff 04 05 06, alpha first.
  EXPECT_EQ(result.out, "0 d84f8633b2813fed33ef9a28d2deaa191a27e2d74d6adb2de41e097726f243df\n");
}

TEST_F(Cli, any_number_of_threads_gives_the_same_pixels) {
  const auto one = run({"render", "Waves", "--size", "200x120", "--hash", "--threads", "1"});
  ASSERT_EQ(one.status, 0) << one.err;
  for (const char* count : {"2", "3", "7"})
    EXPECT_EQ(run({"render", "Waves", "--size", "200x120", "--hash", "--threads", count}).out, one.out) << count;
}

TEST_F(Cli, every_stock_effect_renders) {
  folder.write("in.ppm", tiny_ppm({10, 20, 30, 40, 50, 60}));
  const auto list = run({"list"});
  ASSERT_EQ(list.status, 0);
  int rendered = 0;
  std::istringstream lines(list.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == ' ') continue;
    const std::string name = line.substr(0, line.find(' '));
    const bool has_input = !has(run({"info", name}).out, "Inputs: none");
    std::vector<std::string> arguments{"render", name, "--size", "20x10", "-o", path("out.png")};
    if (has_input) arguments.insert(arguments.end(), {"-i", path("in.ppm")});
    const auto result = run(arguments);
    EXPECT_EQ(result.status, 0) << name << "\n" << result.err;
    EXPECT_EQ(result.err, "") << name;
    ++rendered;
  }
  EXPECT_GE(rendered, 16);
}

TEST_F(Cli, downsampling_reduces_the_input_and_the_output) {
  folder.write("in.ppm", tiny_ppm({10, 0, 0, 30, 0, 0, 50, 0, 0, 90, 0, 0}));
  ASSERT_EQ(render("Keep", {"-i", path("in.ppm"), "-o", path("out.ppm"), "--downsample", "2x1"}).status, 0);
  EXPECT_EQ(samples("out.ppm"), (ints{20, 0, 0, 70, 0, 0}));
}

TEST_F(Cli, places_on_the_screen_stay_where_they_are_at_less_resolution) {
  folder.write("place.text",
               "(define Place () P = [180 243] (screen) at = (screen_to_norm P)\n"
               "  dest = (v3 (element_of at 0) (element_of at 1) x))\n");
  const auto root = [&](const std::vector<std::string>& size) {
    std::vector<std::string> arguments = {"render", "Place",         "--defs", path("place.text"),
                                          "-o",     path("out.ppm"), "--fix",  path("root.npy")};
    arguments.insert(arguments.end(), size.begin(), size.end());
    const auto result = run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    return folder.read("root.npy");
  };
  EXPECT_EQ(root({"--size", "128x96", "--downsample", "2"}), root({"--size", "64x48"}));
}

TEST_F(Cli, a_field_leaves_the_other_fields_lines_as_the_input_has_them) {
  folder.write("in.ppm", "P6\n1 4\n255\n" + std::string(12, '\x40'));
  ASSERT_EQ(render("Gain", {"-i", path("in.ppm"), "-o", path("out.ppm"), "-p", "Amount=0", "--field", "1"}).status, 0);
  const ints out = samples("out.ppm");
  int kept = 0, rendered = 0;
  for (int y = 0; y < 4; ++y) (out[std::size_t(3 * y)] == 0x40 ? kept : rendered) += 1;
  EXPECT_EQ(kept, 2);
  EXPECT_EQ(rendered, 2);
}

TEST_F(Cli, stats_tell_seconds_planes_and_bytes) {
  const auto result = run({"render", "Waves", "--size", "20x10", "--stats"});
  ASSERT_EQ(result.status, 0) << result.err;
  for (const char* key : {"frame=0", "setup_seconds=", "output_seconds=", "planes=", "plane_bytes=", "peak_bytes="})
    EXPECT_TRUE(has(result.out, key)) << key << " in " << result.out;
}

TEST_F(Cli, every_common_image_format_is_written_and_read) {
  folder.write("in.ppm", tiny_ppm({0, 0, 0, 255, 255, 255}));
  for (const char* extension : {"png", "jpg", "tif", "exr", "bmp", "tga", "webp", "hdr", "jp2", "dpx", "sgi", "rla"}) {
    const std::string name = path(std::string("out.") + extension);
    const auto result = render("Flat", {"--size", "64x64", "-p", "Tint=1,1,1", "-o", name});
    ASSERT_EQ(result.status, 0) << extension << ": " << result.err;
    const image picture = console::convert(console::read_image_file(name), pixel_format::rgba8);
    EXPECT_EQ(picture.width, 64) << extension;
    EXPECT_GE(picture.data[1], 250) << extension;
  }
  expect_nothing_unfinished();
}

TEST_F(Cli, a_float_file_holds_what_16_bit_samples_say) {
  const auto result =
      render("Flat", {"--size", "4x4", "-p", "Tint=1,0,0", "--pixel-format", "bgra16", "-o", path("out.exr")});
  ASSERT_EQ(result.status, 0) << result.err;
  const image picture = console::read_image_file(path("out.exr"));
  EXPECT_EQ(picture.format, pixel_format::bgra16);
  EXPECT_EQ(reinterpret_cast<const std::uint16_t*>(picture.row(0))[2], 65535);
}

TEST_F(Cli, custom_effects_come_after_the_stock_effects) {
  folder.write("in.ppm", tiny_ppm({1, 2, 3, 4, 5, 6}));
  const auto result = run({"render", "My Own", "-i", path("in.ppm"), "-o", path("out.ppm")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(samples("out.ppm"), (ints{1, 2, 3, 4, 5, 6}));
}

}  // namespace
}  // namespace tessaron::cli
