// The built `tessaron` program, with a configuration directory of the source tree's stock effects.
#pragma once

#include <gtest/gtest.h>

#include "console/image_files.h"
#include "console/pixels.h"
#include "support/command.h"

namespace tessaron::cli {

using hostkit::image;
using hostkit::pixel_format;
using testing::command_result;
using testing::scratch_folder;

/// A 2 by 1 picture in the binary portable format, 8 bits: six numbers.
inline std::string tiny_ppm(std::initializer_list<int> samples) {
  std::string bytes = "P6\n" + std::to_string(samples.size() / 3) + " 1\n255\n";
  for (int s : samples) bytes += char(s);
  return bytes;
}

/// Samples of an 8-bit portable file, headers of one line each.
inline std::vector<int> ppm_samples(const std::string& bytes) {
  std::size_t at = 0;
  for (int line = 0; line < 3; ++line) at = bytes.find('\n', at) + 1;
  std::vector<int> samples;
  for (; at < bytes.size(); ++at) samples.push_back(std::uint8_t(bytes[at]));
  return samples;
}

class Cli : public ::testing::Test {
 protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    fs::copy(TESSARON_SOURCE_DIR "/config", folder.file("config"));
    fs::copy(TESSARON_SOURCE_DIR "/effects", folder.file("config/effects"), fs::copy_options::recursive);
    folder.write("config/t_config.text",
                 "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n"
                 "(define My_Own (Source) (rgba_ok) Amount = 1 dest = (* Source Amount))\n");
    folder.write("defs.text",
                 "(define Keep (Source) (rgba_ok) dest = Source)\n"
                 "(define Gain (Source) () Amount = 1 (min 0 max 8) dest = (* Source Amount))\n"
                 "(define Flat () () Tint = [1 0.5 0] (color) dest = Tint)\n"
                 "(define Mix (Front Back_Plate) () Mix = 50 (percent) dest = (interp Front Back_Plate Mix))\n"
                 "(define Frame () () dest = (v3 (/ (get_frame_number) 100) 0 0))\n");
  }
  command_result run(std::vector<std::string> arguments, const std::string& environment = "") const {
    return testing::run_command(
        TESSARON_BINARY_DIR "/tessaron", arguments,
        "TESSARON_CONFIG_DIR=" + testing::shell_quoted(folder.file("config")) + " " + environment);
  }
  /// render of an effect of defs.text.
  command_result render(const std::string& effect, std::vector<std::string> more) const {
    more.insert(more.begin(), {"render", effect, "--defs", folder.file("defs.text")});
    return run(more);
  }
  std::string path(const std::string& name) const { return folder.file(name); }
  std::vector<int> samples(const std::string& name) const { return ppm_samples(folder.read(name)); }
  /// No file of the folder is one that was left unfinished.
  void expect_nothing_unfinished() const {
    for (const std::string& name : folder.names()) EXPECT_EQ(name.find("unfinished"), std::string::npos) << name;
  }

  scratch_folder folder;
};

inline bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace tessaron::cli
