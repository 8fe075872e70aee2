// `--plugin`: plug-in files of one effect and of several, one with an engine of its own, and files that are none.
#include "cli.h"

namespace tessaron::cli {
namespace {

using ints = std::vector<int>;

class CliPlugin : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    folder.write("a.ppm", tiny_ppm({16, 32, 64, 1, 2, 3}));
    folder.write("b.ppm", tiny_ppm({100, 100, 100, 100, 100, 100}));
  }
  /// render with a plug-in; samples of the picture, or the message where there is none.
  ::testing::AssertionResult renders(const char* plugin, std::vector<std::string> more, const ints& expected,
                                     const std::string& environment = "") const {
    more.insert(more.begin(), "render");
    more.insert(more.end(), {"--plugin", plugin, "-o", path("out.ppm")});
    const auto result = run(more, environment);
    if (result.status != 0) return ::testing::AssertionFailure() << result.err;
    const ints out = samples("out.ppm");
    if (out == expected) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << ::testing::PrintToString(out);
  }
};

TEST_F(CliPlugin, a_plug_in_of_one_effect_needs_no_name) {
  for (const std::vector<std::string>& effect : {std::vector<std::string>{}, {"Plugged"}}) {
    std::vector<std::string> arguments = effect;
    arguments.insert(arguments.end(), {"-i", path("a.ppm"), "-p", "Gain=2"});
    EXPECT_TRUE(renders(SAMPLE_PLUGIN, arguments, {32, 64, 128, 2, 4, 6}));
  }
}

TEST_F(CliPlugin, the_entry_is_the_plug_ins_own) {
  EXPECT_TRUE(renders(OWN_ENGINE_PLUGIN, {"--size", "2x1"}, {3, 2, 0, 3, 2, 0}));
  EXPECT_TRUE(renders(OWN_ENGINE_PLUGIN, {"-i", path("a.ppm"), "-p", "Level=77"}, {77, 2, 0, 77, 2, 0}));
  EXPECT_TRUE(renders(OWN_ENGINE_PLUGIN, {"--size", "1x1", "-p", "Level=0@0 10@10", "--frames", "4"}, {4, 1, 0}));
}

TEST_F(CliPlugin, the_name_chooses_among_several_effects) {
  const std::vector<std::string> image = {"-i", path("a.ppm")};
  EXPECT_TRUE(renders(SEVERAL_PLUGIN, image, {16, 32, 64, 1, 2, 3})) << "the popup begins with Gain";
  EXPECT_TRUE(renders(SEVERAL_PLUGIN, {"Gain", "-i", path("a.ppm"), "-p", "Amount=2"}, {32, 64, 128, 2, 4, 6}));
  // 16 reads as 0x101 and 1 as 0x010: 0x1000 - 0x101 = 0xeff, and 0x1000 - 0x010 = 0xff0; 8 bits of 12 are written.
  for (const char* name : {"Lift_Off", "Lift Off"})
    EXPECT_TRUE(renders(SEVERAL_PLUGIN, {name, "-i", path("a.ppm")}, {239, 223, 191, 255, 254, 253})) << name;
}

TEST_F(CliPlugin, a_shared_parameter_is_the_plug_ins_one_until_it_is_set) {
  // Amount is 1 in the plug-in, and 2 in the text of Lift_Off: 2 - 16/255 is above white.
  EXPECT_TRUE(
      renders(SEVERAL_PLUGIN, {"Lift_Off", "-i", path("a.ppm"), "-p", "Amount=2"}, {255, 255, 255, 255, 255, 255}));
  EXPECT_TRUE(
      renders(SEVERAL_PLUGIN, {"Lift_Off", "-i", path("a.ppm"), "-p", "Amount=0.5"}, {111, 95, 63, 127, 126, 125}));
}

TEST_F(CliPlugin, the_images_choose_among_variants_of_an_effect) {
  const std::string a = path("a.ppm"), b = path("b.ppm");
  EXPECT_TRUE(renders(SEVERAL_PLUGIN, {"Gain", "-i", a, "-i", b}, ints(6, 100)));
  EXPECT_TRUE(renders(SEVERAL_PLUGIN, {"Gain", "-i", "Back Plate=" + b, "-i", a}, ints(6, 100)));
  EXPECT_TRUE(renders(SEVERAL_PLUGIN, {"Lift_Off", "-i", a, "-i", b}, ints(6, 155)));
  EXPECT_TRUE(renders(SEVERAL_PLUGIN, {"-i", "Back_Plate=" + b}, ints(6, 100)));
  const auto result = run({"render", "Gain", "--plugin", SEVERAL_PLUGIN, "-i", a, "-i", b, "-i", a, "--hash"});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(has(result.err, "more images than Gain has inputs; it has Source, Back_Plate")) << result.err;
}

TEST_F(CliPlugin, a_name_that_it_does_not_offer_is_a_wrong_command_line) {
  const auto result = run({"render", "Lift_Of", "--plugin", SEVERAL_PLUGIN, "-o", path("out.ppm")});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(has(result.err, "Did you mean Lift_Off")) << result.err;
}

TEST_F(CliPlugin, looks_show_what_it_offers) {
  const auto list = run({"list", "--plugin", SEVERAL_PLUGIN});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_TRUE(has(list.out, "Gain  (plug-in, ") && has(list.out, "Lift_Off  (plug-in, ")) << list.out;
  EXPECT_TRUE(has(run({"info", "--plugin", SAMPLE_PLUGIN}).out, "Plugged"));
  EXPECT_TRUE(has(run({"plan", "Lift_Off", "--plugin", SEVERAL_PLUGIN}).out, "-"));
}

// --- refusals ------------------------------------------------------------------------------------

TEST_F(CliPlugin, words_of_a_plug_in_that_refuses_are_shown) {
  for (const int command :
       {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_SEQUENCE_SETUP, PF_Cmd_FRAME_SETUP, PF_Cmd_RENDER}) {
    const auto result = run({"render", "--plugin", OWN_ENGINE_PLUGIN, "--size", "2x2", "-o", path("out.ppm")},
                            "OWN_ENGINE_REFUSES=" + std::to_string(command) + " ");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.err, "error 516")) << result.err;
    EXPECT_TRUE(has(result.err, "Own engine: no licence for this.")) << result.err;
    EXPECT_FALSE(std::filesystem::exists(path("out.ppm")));
  }
}

TEST_F(CliPlugin, a_picture_that_its_engine_does_not_take_is_told) {
  const auto result =
      run({"render", "--plugin", OWN_ENGINE_PLUGIN, "--pixel-format", "bgra8", "--size", "2x2", "--hash"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "does not take bgra8 images")) << result.err;
}

TEST_F(CliPlugin, a_damaged_file_is_told_for_every_verb) {
  const std::string whole = (std::ostringstream() << std::ifstream(SAMPLE_PLUGIN, std::ios::binary).rdbuf()).str();
  folder.write("cut.aex", whole.substr(0, whole.size() / 3));
  folder.write("noise.aex", whole.substr(0, 16) + std::string(5000, '\xa5'));
  for (const char* name : {"cut.aex", "noise.aex"})
    for (const std::vector<std::string>& verb :
         {std::vector<std::string>{"render", "--hash"}, {"list"}, {"info"}, {"plan"}}) {
      std::vector<std::string> arguments = verb;
      arguments.insert(arguments.end(), {"--plugin", path(name)});
      const auto result = run(arguments);
      EXPECT_EQ(result.status, 1) << name << ' ' << verb[0];
      EXPECT_TRUE(has(result.err, std::string(name) + " can't be loaded: it is ")) << result.err;
    }
}

TEST_F(CliPlugin, a_library_that_is_no_plug_in_is_told) {
  const auto result = run({"render", "--plugin", TESSARON_BINARY_DIR "/libtessaron.so.1", "--hash"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "has no tessaron_plugin_descriptor")) << result.err;
}

}  // namespace
}  // namespace tessaron::cli
