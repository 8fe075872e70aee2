// The round trip in an installation of its own: `cmake --install`, a definition in its settings, the plug-in that its
// installer makes of it, and pictures of both.
#include <dlfcn.h>

#include "hostkit/plugin_library.h"
#include "support/command.h"

#include <gtest/gtest.h>

namespace tessaron::stamped {
namespace {

namespace fs = std::filesystem;
using testing::command_result;

class Installation : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto installed = testing::run_command(
        CMAKE_PROGRAM, {"--install", TESSARON_BINARY_DIR, "--prefix", prefix, "--component", "runtime"});
    ASSERT_EQ(installed.status, 0) << installed.err;
    fs::create_directory(folder.file("plugins"));
    fs::create_directories(folder.file("user/tessaron"));
    std::ofstream(share + "/t_config.text", std::ios::app) << EDGE_TINT;
    std::ofstream(share + "/install_dirs.txt") << folder.file("plugins") << '\n';
    folder.write("in.ppm", "P6\n2 2\n255\n" + std::string("\x10\x20\x30\x40\x50\x60\x70\x80\x90\xa0\xb0\xc0", 12));
  }
  /// Runs an installed program for a user without settings.
  command_result run(const std::string& program, const std::vector<std::string>& arguments,
                     const std::string& more_environment = "") const {
    return testing::run_command(prefix + "/bin/" + program, arguments, clean_environment() + more_environment);
  }
  std::string clean_environment() const {
    return "env -u TESSARON_CONFIG_DIR -u LD_LIBRARY_PATH HOME=" + testing::shell_quoted(folder.path()) +
           " XDG_CONFIG_HOME=" + testing::shell_quoted(folder.file("user")) +
           " XDG_CONFIG_DIRS=" + testing::shell_quoted(folder.file("none")) + " ";
  }
  command_result render(std::vector<std::string> more, const std::string& environment = "") const {
    more.insert(more.begin(), {"render", "-i", folder.file("in.ppm"), "--hash"});
    return run("tessaron", more, environment);
  }
  std::string plugin() const { return folder.file("plugins/Edge_Tint.aex"); }
  /// Which directory the installer reads.
  std::string configured(const std::string& environment = "") const {
    const std::string out = run("install_custom_plugins", {"-v"}, environment).out;
    return out.substr(0, out.find("/t_config.text:"));
  }

  static constexpr const char* EDGE_TINT =
      "\n(define Edge_Tint (Source) ()\n"
      "  Tint = [1 0.7 0.4] (color)\n"
      "  Strength = 50 (percent)\n"
      "  dest = (interp Source (* Source Tint) Strength))\n";

  testing::scratch_folder folder;
  std::string prefix = folder.file("Présent d'été");
  std::string share = prefix + "/share/tessaron";
};

TEST_F(Installation, takes_a_definition_through_a_plug_in_to_a_picture) {
  const auto made = run("install_custom_plugins", {});
  ASSERT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(made.out, "Installed custom plugin Edge_Tint\n");
  for (const std::vector<std::string>& settings : {std::vector<std::string>{}, {"-p", "Strength=80"}}) {
    std::vector<std::string> as_plugin = {"--plugin", plugin()}, by_name = {"Edge_Tint"},
                             as_text = {"Edge Tint", "--defs", share + "/t_config.text"};
    for (auto* arguments : {&as_plugin, &by_name, &as_text})
      arguments->insert(arguments->end(), settings.begin(), settings.end());
    const auto from_plugin = render(as_plugin);
    EXPECT_EQ(from_plugin.status, 0) << from_plugin.err;
    EXPECT_EQ(from_plugin.err, "");
    EXPECT_EQ(from_plugin.out.size(), 67u) << "a frame number and a digest";
    EXPECT_EQ(render(by_name).out, from_plugin.out);
    EXPECT_EQ(render(as_text).out, from_plugin.out);
  }
  EXPECT_NE(render({"--plugin", plugin(), "-p", "Strength=0"}).out, render({"--plugin", plugin()}).out);
}

TEST_F(Installation, plug_ins_find_its_engine_from_anywhere) {
  ASSERT_EQ(run("install_custom_plugins", {}).status, 0);
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";  // the child starts anew, without an engine
  const auto loads_from = [](const std::string& plugin, const std::string& prefix) {
    const hostkit::plugin_library library(plugin);
    pf_in_data in = {};
    pf_out_data out = {};
    library.entry()(nullptr, PF_Cmd_ABOUT, &in, &out, nullptr, nullptr, nullptr);
    void* engine = dlopen("libtessaron.so.1", RTLD_NOW | RTLD_NOLOAD);
    Dl_info info = {};
    const void* entry = engine ? dlsym(engine, "tessaron_main") : nullptr;
    const bool good = entry && dladdr(entry, &info) && fs::equivalent(info.dli_fname, prefix + "/lib/libtessaron.so.1");
    std::fprintf(stderr, "%s\n", good ? "good" : out.return_msg);
    std::exit(good ? 0 : 1);
  };
  // In the child, which sets up an installation of its own.
  EXPECT_EXIT(loads_from(plugin(), prefix), ::testing::ExitedWithCode(0), "good");
  EXPECT_EXIT(
      {
        // Moved, it is found from the configuration directory.
        fs::rename(prefix, folder.file("moved"));
        setenv("TESSARON_CONFIG_DIR", folder.file("moved/share/tessaron").c_str(), 1);
        loads_from(plugin(), folder.file("moved"));
      },
      ::testing::ExitedWithCode(0), "good");
}

TEST_F(Installation, stores_answer_before_its_own) {
  EXPECT_EQ(configured(), "Reading " + share);
  const std::string key = "Software\\Holvane\\Tessaron AE\\1.10\\ConfigDir=";
  EXPECT_EQ(folder.read("Présent d'été/share/tessaron/registry"), key + share + "\n");
  folder.write("user/tessaron/registry", key + "/the user's\n");
  EXPECT_EQ(configured(), "Reading /the user's");
  EXPECT_EQ(configured("TESSARON_CONFIG_DIR=/asked "), "Reading /asked");
  fs::remove(folder.file("user/tessaron/registry"));
  fs::create_directories(folder.file("none/tessaron"));
  folder.write("none/tessaron/registry", key + "/the system's\n");
  EXPECT_EQ(configured(), "Reading /the system's");
}

TEST_F(Installation, moved_it_still_has_its_stock_effects) {
  prefix = folder.file("moved");
  fs::rename(folder.file("Présent d'été"), prefix);
  const auto list = run("tessaron", {"list"});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_NE(list.out.find("Vignette  (stock, " + prefix), std::string::npos) << list.out;
  EXPECT_NE(list.out.find("Edge_Tint  (custom, " + prefix), std::string::npos) << list.out;
  const auto picture = render({"Edge_Tint"});
  EXPECT_EQ(picture.status, 0);
  EXPECT_EQ(picture.err, "");
}

TEST_F(Installation, serves_a_program_that_embeds_the_engine) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a program without the sanitizer can't load this engine";
#else
  const auto done = [](const command_result& r) { return r.status == 0 ? "" : "failed: " + r.out + r.err; };
  ASSERT_EQ(done(testing::run_command(
                CMAKE_PROGRAM, {"--install", TESSARON_BINARY_DIR, "--prefix", prefix, "--component", "development"})),
            "");
  ASSERT_EQ(done(testing::run_command(
                CMAKE_PROGRAM, {"-G", CMAKE_GENERATOR_NAME, "-S", TESSARON_SOURCE_DIR "/examples/minimal_host", "-B",
                                folder.file("example"), "-DCMAKE_PREFIX_PATH=" + prefix})),
            "");
  ASSERT_EQ(done(testing::run_command(CMAKE_PROGRAM, {"--build", folder.file("example")})), "");

  folder.write("gain.text", "(define Gain (Source) Level = 1 (slider_range 0 2) dest = (* Source Level))");
  const auto pixel = [&](const std::vector<std::string>& parameter, int x, int y) {
    std::vector<std::string> arguments = {folder.file("gain.text"), folder.file("out.ppm")};
    arguments.insert(arguments.end(), parameter.begin(), parameter.end());
    EXPECT_EQ(done(testing::run_command(folder.file("example/minimal_host"), arguments)), "");
    const std::string ppm = folder.read("out.ppm"), header = "P6\n320 240\n255\n";
    EXPECT_EQ(ppm.size(), header.size() + 320 * 240 * 3);
    const std::string rgb = ppm.substr(header.size() + std::size_t(y * 320 + x) * 3, 3);
    return std::vector<int>{std::uint8_t(rgb[0]), std::uint8_t(rgb[1]), std::uint8_t(rgb[2])};
  };
  EXPECT_EQ(pixel({}, 160, 120), (std::vector<int>{127, 127, 64}));  // the example's picture, as it is
  const std::vector<int> half = pixel({"Level", "0.5"}, 160, 0);
  EXPECT_NEAR(half[0], 127 / 2.0, 1);
  EXPECT_EQ(half[1], 0);
  EXPECT_NEAR(half[2], 64 / 2.0, 1);
  const auto wrong = testing::run_command(folder.file("example/minimal_host"),
                                          {folder.file("gain.text"), folder.file("out.ppm"), "Volume", "1"});
  EXPECT_EQ(wrong.status, 1);
  EXPECT_EQ(wrong.err, "minimal_host: no slider named Volume\n");
#endif
}

}  // namespace
}  // namespace tessaron::stamped
