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

// --- an unstamped copy ---------------------------------------------------------------------------

class UnstampedConsole : public ::testing::Test {
 protected:
  void SetUp() override {
    stamped_folder::get();
    std::filesystem::copy(BUILT_TEMPLATE, copy);
    folder.write("in.ppm", "P6\n2 1\n255\n" + std::string("\x10\x20\x30\x40\x50\x60", 6));
  }
  testing::command_result run(std::vector<std::string> arguments) const {
    return testing::run_command(TESSARON_BINARY_DIR "/tessaron", arguments);
  }
  /// Of the text and of the copy: what is printed.
  std::string hash(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all = {"render", "-i", folder.file("in.ppm"), "--hash"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const auto result = run(all);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  testing::scratch_folder folder;
  const std::string copy = folder.file("unstamped.aex");
};

TEST_F(UnstampedConsole, renders_the_first_custom_or_the_one_that_is_named) {
  const std::string text = stamped_folder::get().config_file();
  EXPECT_EQ(hash({"--plugin", copy}), hash({"Edge_Tint", "--defs", text}));
  for (const custom& c : customs())
    EXPECT_EQ(hash({c.name, "--plugin", copy}), hash({c.name, "--defs", text})) << c.name;
  EXPECT_EQ(hash({"Looks", "--plugin", copy, "-p", "Mode=0", "-p", "Gain=1.5"}),
            hash({"Looks", "--defs", text, "-p", "Mode=0", "-p", "Gain=1.5"}));
}

TEST_F(UnstampedConsole, offers_all_customs) {
  const std::string list = run({"list", "--plugin", copy}).out;
  std::size_t at = 0;
  for (const custom& c : customs()) {
    at = list.find(c.name + "  (plug-in, ", at);
    ASSERT_NE(at, std::string::npos) << c.name << "\n" << list;
  }
  const auto unknown = run({"render", "Edge_Tin", "--plugin", copy, "--hash"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_NE(unknown.err.find("Did you mean Edge_Tint?"), std::string::npos) << unknown.err;
}

TEST_F(UnstampedConsole, without_customs_there_is_nothing_to_render) {
  folder.write("t_config.text", "multi_process_enable: 1\n");
  const auto result = run({"render", "--plugin", copy, "--config-dir", folder.path(), "--hash"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("there is no custom effect in " + folder.file("t_config.text")), std::string::npos);
}

TEST_F(UnstampedConsole, a_stamped_name_that_is_not_defined_is_told) {
  folder.write("t_config.text", "(define Other () () dest = 1)\n");
  const auto result =
      run({"render", "--plugin", stamped_folder::get().plugin("A"), "--config-dir", folder.path(), "--hash"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("its effect 'A' is not in " + folder.file("t_config.text")), std::string::npos);
}

}  // namespace
}  // namespace tessaron::stamped
