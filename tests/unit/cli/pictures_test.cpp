// The picture module: who does without it, and what is said when it isn't there.
#include "cli.h"

namespace tessaron::cli {
namespace {

namespace fs = std::filesystem;

/// The program as installations have it, without the module.
class Pictures : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    fs::create_directories(path("prefix/bin"));
    fs::copy_file(TESSARON_BINARY_DIR "/tessaron", program);
    fs::create_directories(fs::path(module).parent_path());
  }
  command_result run_installed(const std::vector<std::string>& arguments) const {
    return testing::run_command(program, arguments,
                                "TESSARON_CONFIG_DIR=" + testing::shell_quoted(path("config")) + " ");
  }
  command_result render_to(const std::string& output) const {
    return run_installed({"render", "Flat", "--defs", path("defs.text"), "-p", "Tint=1,0,1", "--size", "2x1", "--hash",
                          "-o", path(output)});
  }
  const std::string program = path("prefix/bin/tessaron");
  const std::string module = path("prefix/" + fs::relative(PICTURES_MODULE, TESSARON_BINARY_DIR).string());
};

TEST_F(Pictures, come_from_the_module_of_the_own_installation) {
  fs::copy_file(PICTURES_MODULE, module);
  const command_result result = render_to("out.png");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(fs::exists(path("out.png")));
}

TEST_F(Pictures, portable_maps_need_no_module) {
  const command_result result = render_to("out.ppm");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(samples("out.ppm"), (std::vector<int>{255, 0, 255, 255, 0, 255}));
}

TEST_F(Pictures, looking_needs_no_module) {
  for (const std::vector<std::string>& arguments :
       std::initializer_list<std::vector<std::string>>{{"--version"},
                                                       {"--help"},
                                                       {"list"},
                                                       {"functions", "blur"},
                                                       {"check", path("defs.text")},
                                                       {"info", "Flat", "--defs", path("defs.text"), "--json"},
                                                       {"plan", "Flat", "--defs", path("defs.text")}}) {
    const command_result result = run_installed(arguments);
    EXPECT_EQ(result.status, 0) << arguments.front() << ": " << result.err;
  }
}

TEST_F(Pictures, a_missing_module_is_named) {
  const command_result result = render_to("out.png");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("the picture module cannot be loaded from " + module.substr(path("prefix/").size())),
            std::string::npos)
      << result.err;
}

TEST_F(Pictures, a_module_that_cannot_be_loaded_is_named) {
  std::string bytes;
  {
    std::ifstream whole(PICTURES_MODULE, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(whole), {});
  }
  std::ifstream engine(TESSARON_BINARY_DIR "/libtessaron.so.1", std::ios::binary);
  const std::string other_library(std::istreambuf_iterator<char>(engine), {});
  const std::pair<std::string, std::string> faults[] = {{"", "it is empty"},
                                                        {"no module at all\n", "it is no shared object"},
                                                        {bytes.substr(0, bytes.size() / 2), "it is cut off"},
                                                        {other_library, "it has no tessaron_picture_library"}};
  for (const auto& [content, why] : faults) {
    std::ofstream(module, std::ios::binary) << content;
    const command_result result = render_to("out.png");
    EXPECT_EQ(result.status, 1) << why;
    EXPECT_NE(result.err.find("the picture module cannot be loaded from " + module + ": " + why), std::string::npos)
        << result.err;
    EXPECT_FALSE(fs::exists(path("out.png")));
  }
}

}  // namespace
}  // namespace tessaron::cli
