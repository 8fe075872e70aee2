// Which directories settings and effects come from.
#include "cli.h"

namespace tessaron::cli {
namespace {

const std::string STOCK = TESSARON_BINARY_DIR "/share/tessaron";

/// A user who has configured nothing.
class CliPlaces : public Cli {
 protected:
  command_result run_bare(const std::vector<std::string>& arguments, const std::string& more_environment = "") const {
    return testing::run_command(TESSARON_BINARY_DIR "/tessaron", arguments,
                                "env -u TESSARON_CONFIG_DIR HOME=" + testing::shell_quoted(folder.path()) +
                                    " XDG_CONFIG_HOME=" + testing::shell_quoted(path("user")) +
                                    " XDG_CONFIG_DIRS=" + testing::shell_quoted(path("none")) + " " + more_environment);
  }
  void store(const std::string& directory) const {
    std::filesystem::create_directories(path("user/tessaron"));
    folder.write("user/tessaron/registry", "Software\\Holvane\\Tessaron AE\\1.10\\ConfigDir=" + directory + "\n");
  }
};

TEST_F(CliPlaces, nothing_configured_is_the_folder_that_comes_with_the_program) {
  const auto list = run_bare({"list"});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_TRUE(has(list.out, "Vignette  (stock, " + STOCK + "/effects/vignette.text:")) << list.out;
  EXPECT_FALSE(has(list.out, "(custom, "));
  for (const std::vector<std::string>& effect :
       {std::vector<std::string>{"Flat", "--defs", path("defs.text")}, {"Checker"}}) {
    std::vector<std::string> arguments = {"render", "--size", "4x3", "-o", path("out.ppm")};
    arguments.insert(arguments.end(), effect.begin(), effect.end());
    const auto result = run_bare(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "") << "no complaint of settings that nobody has";
  }
}

TEST_F(CliPlaces, a_stored_directory_is_taken_as_long_as_it_is_there) {
  store(path("config"));
  EXPECT_TRUE(has(run_bare({"list"}).out, "My_Own  (custom, " + path("config")));
  store(path("gone"));
  const auto list = run_bare({"list"});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_TRUE(has(list.out, "(stock, " + STOCK)) << list.out;
}

TEST_F(CliPlaces, a_directory_that_is_asked_for_and_is_not_there_is_told) {
  const std::string gone = "TESSARON_CONFIG_DIR=" + testing::shell_quoted(path("gone")) + " ";
  const auto list = run_bare({"list"}, gone);
  EXPECT_EQ(list.status, 1);
  EXPECT_TRUE(has(list.err, "there is no configuration directory " + path("gone"))) << list.err;
  const auto render = run_bare({"render", "Flat", "--defs", path("defs.text"), "--size", "2x2", "--hash"}, gone);
  EXPECT_EQ(render.status, 0) << "the settings have defaults";
  EXPECT_TRUE(has(render.err, path("gone") + "/t_config.text")) << render.err;
}

TEST_F(CliPlaces, stock_effects_are_there_beside_a_directory_of_ones_own) {
  std::filesystem::create_directory(path("own"));
  folder.write("own/t_config.text", "(define Mine () () dest = 1)\n");
  const auto list = run_bare({"list", "--config-dir", path("own")});
  EXPECT_TRUE(has(list.out, "(stock, " + STOCK)) << list.out;
  EXPECT_TRUE(has(list.out, "Mine  (custom, ")) << list.out;
  std::filesystem::create_directory(path("own/effects"));
  folder.write("own/effects/a.text", "(define Instead () () dest = 1)\n");
  const auto replaced = run_bare({"list", "--config-dir", path("own")});
  EXPECT_TRUE(has(replaced.out, "Instead  (stock, " + path("own"))) << replaced.out;
  EXPECT_FALSE(has(replaced.out, STOCK)) << "a directory with effects has all of them";
}

}  // namespace
}  // namespace tessaron::cli
