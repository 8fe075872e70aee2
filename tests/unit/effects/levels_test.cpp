// Whole effects give the same bytes at every instruction-set level and on any number of processors.
#include <gtest/gtest.h>

#include "catalogue/defuns.h"
#include "support/definition_files.h"
#include "support/run_console.h"

namespace tessaron::testing {
namespace {

struct rendered_effect {
  const char* name;
  bool has_input;
};
// Between them: powers, hue and luma, tables and floating point, hashes, and sines.
constexpr rendered_effect EFFECTS[] = {{"Color_Corrector", true},
                                       {"Hue_Saturation", true},
                                       {"Spot_Light", true},
                                       {"Static_Grain", true},
                                       {"Waves", false}};

/// A small picture with all kinds of colours, as text.
std::string colourful_ppm() {
  std::string text = "P3\n61 37\n255\n";
  for (int i = 0; i < 61 * 37 * 3; ++i) text += std::to_string(i * 7919 % 256) + " ";
  return text;
}

std::string digest(const std::string& effect, const std::string& picture, const std::string& options,
                   const std::string& environment) {
  const std::string file = TESSARON_SOURCE_DIR "/effects/";
  for (const auto& definitions : test::files_with_ending(file, ".text")) {
    if (test::read_text_file(definitions).find("(define " + effect + " ") == std::string::npos) continue;
    const command_result result = run_console(
        "render " + effect + " --defs " + shell_quoted(definitions.string()) + " " + picture + " --hash " + options,
        environment);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }
  ADD_FAILURE() << "no file defines " << effect;
  return "";
}

TEST(whole_effects, give_the_same_bytes_at_every_level_and_on_any_number_of_processors) {
  const scratch_folder folder;
  folder.write("in.ppm", colourful_ppm());
  for (const auto& [effect, has_input] : EFFECTS) {
    const std::string input = has_input ? "-i " + shell_quoted(folder.file("in.ppm")) : "--size 61x37";
    const std::string plain = digest(effect, input, "--threads 1", "TESSARON_CPU_LEVEL=generic ");
    EXPECT_GT(plain.size(), 64u) << effect;
    EXPECT_EQ(digest(effect, input, "", ""), plain) << effect;
    for (int i = 1; i < N_CPU_LEVELS; ++i) {
      if (!cpu_level_usable(cpu_level(i))) continue;
      const std::string level = cpu_level_name(cpu_level(i));
      EXPECT_EQ(digest(effect, input, "", "TESSARON_CPU_LEVEL=" + level + " "), plain) << effect << " " << level;
    }
  }
}

}  // namespace
}  // namespace tessaron::testing
