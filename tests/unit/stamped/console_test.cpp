// The console renders stamped plug-ins as it renders their definitions.
#include "stamped_folder.h"

namespace tessaron::stamped {
namespace {

class StampedConsole : public ::testing::TestWithParam<custom> {
 protected:
  testing::command_result render(std::vector<std::string> more) const {
    more.insert(more.begin(), "render");
    const int n_inputs = GetParam().name == "Two_Plates" ? 2 : 1;
    for (int k = 1; k <= n_inputs; ++k) {
      more.push_back("-i");
      more.push_back(folder.file(std::to_string(k) + ".ppm"));
    }
    more.push_back("--hash");
    return testing::run_command(TESSARON_BINARY_DIR "/tessaron", more);
  }
  testing::scratch_folder folder;
};

TEST_P(StampedConsole, plugin_and_definition_render_the_same) {
  const stamped_folder& stamped = stamped_folder::get();
  for (const int k : {1, 2}) {
    std::string picture = "P6\n8 4\n255\n";
    for (int i = 0; i < 8 * 4 * 3; ++i) picture += char(i * 29 * k);
    folder.write(std::to_string(k) + ".ppm", picture);
  }
  const auto from_text = render({GetParam().name, "--defs", stamped.config_file()});
  const auto from_plugin = render({"--plugin", stamped.plugin(GetParam().name)});
  ASSERT_EQ(from_text.status, 0) << from_text.err;
  EXPECT_EQ(from_plugin.status, 0) << from_plugin.err;
  EXPECT_NE(from_text.out, "");
  EXPECT_EQ(from_plugin.out, from_text.out);
}

INSTANTIATE_TEST_SUITE_P(Customs, StampedConsole, ::testing::ValuesIn(customs()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace tessaron::stamped
