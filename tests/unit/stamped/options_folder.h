// Definitions whose pictures show what a render was given, as text and as stamped plug-ins, and the console over both.
#pragma once

#include <gtest/gtest.h>

#include "support/command.h"

namespace tessaron::stamped {

using ints = std::vector<int>;

inline const char* const SHOWING_DEFINITIONS =
    "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n"
    "(define Keep (Source) (rgba_ok) dest = Source)\n"
    "(define Invert (Source) () dest = (- 1 Source))\n"
    "(define Place () () dest = (v3 x y (get_aspect_ratio)))\n"
    "(define Clip () () dest = (v4 (get_frame_number) (get_total_frames) (get_frames_per_second) (get_percent_time)))\n"
    "(define Numbers () () Amount = 50 (percent) Gain = 1.5 Count = 3 (int)\n"
    "  dest = (v3 Amount Gain Count))\n"
    "(define Choices () () Mode = 1 (popup Fast Best \"Very best\") On = 0 (boolean) dest = (v3 Mode On 0))\n"
    "(define Tint () () Tint = [1 0.5 0.25] (color) dest = Tint)\n"
    "(define Corner () () Corner = [360 243] (screen)\n"
    "  dest = (v3 (element_of Corner 0) (element_of Corner 1) 0))\n"
    "(define Middle () () Middle = [0 0] (screen_center)\n"
    "  dest = (v3 (element_of Middle 0) (element_of Middle 1) 0))\n"
    "(define Shift () () Shift = [8 4] (screen_center0) dest = (v3 (element_of Shift 0) (element_of Shift 1) 0))\n"
    "(define Ahead () () Amount = 0 (percent) dest = (v3 Amount (get_curve_val Amount 1) 0))\n"
    "(define Halves (Front Back) (default_input_self 1) dest = (interp Front Back 0.5))\n"
    "(define Strict (Front Back) () dest = (interp Front Back 0.5))\n";

/// Runs the console with a definition's text and with the plug-in that was stamped of it. Both give the same.
class OptionsFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    fs::create_directory(file("config"));
    fs::create_directory(file("plugins"));
    folder.write("config/t_config.text", SHOWING_DEFINITIONS);
    folder.write("config/install_dirs.txt", file("plugins") + "\n");
    fs::copy(TESSARON_BINARY_DIR "/CustomAE.tmpl", file("config/CustomAE.tmpl"));
    const auto installed = testing::run_command(TESSARON_BINARY_DIR "/install_custom_plugins", {}, environment());
    ASSERT_EQ(installed.status, 0) << installed.err;
  }
  std::string file(const std::string& name) const { return folder.file(name); }
  std::string environment() const { return "TESSARON_CONFIG_DIR=" + testing::shell_quoted(file("config")) + " "; }

  /// Renders both ways; the file `made` of both, which is the same, or nothing after a failure.
  std::string render(const std::string& effect, std::vector<std::string> options, const std::string& made) const {
    options.insert(options.begin(), "render");
    std::vector<std::string> as_text = options, as_plugin = options;
    as_text.insert(as_text.end(), {effect, "--defs", file("config/t_config.text")});
    as_plugin.insert(as_plugin.end(), {"--plugin", file("plugins/" + effect + ".aex")});
    std::string bytes[2];
    for (const int way : {0, 1}) {
      std::filesystem::remove(file(made));
      const auto result =
          testing::run_command(TESSARON_BINARY_DIR "/tessaron", way ? as_plugin : as_text, environment());
      EXPECT_EQ(result.status, 0) << result.err;
      EXPECT_EQ(result.err, "");
      bytes[way] = folder.read(made);
    }
    EXPECT_TRUE(bytes[0] == bytes[1]) << effect << ": text and plug-in differ";
    return bytes[0];
  }
  /// The root's values, 4096 for 1.0.
  ints root(const std::string& effect, std::vector<std::string> options) const {
    options.insert(options.end(), {"--fix", file("root.npy")});
    const std::string bytes = render(effect, options, "root.npy");
    const std::size_t start = bytes.find('\n') + 1;
    ints values;
    for (std::size_t at = start; start && at + 4 <= bytes.size(); at += 4) {
      std::uint32_t value = 0;
      for (const int k : {3, 2, 1, 0}) value = value << 8 | std::uint8_t(bytes[at + std::size_t(k)]);
      values.push_back(int(value));
    }
    return values;
  }
  /// Samples of the picture, 8 or 16 bits.
  ints picture(const std::string& effect, std::vector<std::string> options) const {
    options.insert(options.end(), {"-o", file("out.ppm")});
    return samples(render(effect, options, "out.ppm"));
  }
  /// A colour picture; values above 255 make it one of 16 bits.
  std::string write_picture(const std::string& name, int width, int height, const ints& values) const {
    const bool deep = std::any_of(values.begin(), values.end(), [](int v) { return v > 255; });
    std::string bytes =
        "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n" + (deep ? "65535" : "255") + "\n";
    for (const int v : values) {
      if (deep) bytes += char(v >> 8);
      bytes += char(v);
    }
    return folder.write(name, bytes);
  }

  testing::scratch_folder folder;

 private:
  static ints samples(const std::string& bytes) {
    std::istringstream header(bytes);
    std::string kind;
    int width = 0, height = 0, full = 0;
    header >> kind >> width >> height >> full;
    const std::size_t size = full > 255 ? 2 : 1, count = std::size_t(width) * std::size_t(height) * 3;
    ints values;
    for (std::size_t i = 0, at = bytes.size() - count * size; i < count && at < bytes.size(); ++i, at += size)
      values.push_back(size == 2 ? std::uint8_t(bytes[at]) << 8 | std::uint8_t(bytes[at + 1])
                                 : std::uint8_t(bytes[at]));
    return values;
  }
};

}  // namespace tessaron::stamped
