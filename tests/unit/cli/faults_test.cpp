// What goes wrong ends with status 1 or 2, says why, and leaves nothing half-made.
#include <sys/mount.h>
#include <unistd.h>

#include "cli.h"

namespace tessaron::cli {
namespace {

TEST_F(Cli, help_and_version_end_well) {
  EXPECT_EQ(run({"--version"}).out.rfind("tessaron 1.10", 0), 0u);
  EXPECT_EQ(run({"--help"}).status, 0);
  for (const char* verb : {"render", "list", "info", "plan", "check", "functions"}) {
    const auto result = run({verb, "--help"});
    EXPECT_EQ(result.status, 0) << verb;
    EXPECT_TRUE(has(result.out, "--help")) << verb;
  }
}

TEST_F(Cli, a_command_line_without_a_known_verb_lists_the_verbs) {
  for (const std::vector<std::string>& arguments :
       std::initializer_list<std::vector<std::string>>{{}, {"rendr"}, {"--json"}}) {
    const auto result = run(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(has(result.err, "tessaron: expected a verb: render, list, info, plan, check")) << result.err;
  }
  EXPECT_TRUE(has(run({"rendr"}).err, "got 'rendr'. Did you mean render?"));
}

TEST_F(Cli, a_wrong_command_line_names_the_verb_whose_help_helps) {
  for (const std::vector<std::string>& arguments : std::initializer_list<std::vector<std::string>>{
           {"check"}, {"check", "--nosuch", "a"}, {"check", ""}, {"check", "--config-dir"}}) {
    const auto result = run(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.rfind("tessaron: ", 0), 0u) << result.err;
    EXPECT_TRUE(has(result.err, "\nRun tessaron check --help for the options.\n")) << result.err;
  }
}

TEST_F(Cli, an_empty_value_is_not_the_default) {
  for (const char* option : {"--defs", "--plugin", "--config-dir", "-o", "-i", "-p", "--frames", "--size", "--fix",
                             "--pixel-format", "--downsample", "--missing", "--progress"}) {
    const auto result = run({"render", "Invert", "--hash", option, ""});
    EXPECT_EQ(result.status, 2) << option;
    EXPECT_TRUE(has(result.err, "is empty")) << option << ": " << result.err;
    EXPECT_EQ(result.out, "") << option;
  }
}

struct fault_case {
  const char* what;
  std::vector<std::string> arguments;  // behind render; {in}, {out}, {dir} stand for paths
  int status;
  const char* words;
};

class CliFault : public Cli, public ::testing::WithParamInterface<fault_case> {};

TEST_P(CliFault, is_told_and_leaves_no_output) {
  folder.write("in.ppm", tiny_ppm({1, 2, 3, 4, 5, 6}));
  folder.write("garbage.png", "\x89PNG\r\n\x1a\nnothing of that kind");
  folder.write("bad.text", "(define Bad () dest = (+ 1))");
  folder.write("binary.text", std::string("(define\0\x01\x02", 10));
  std::filesystem::create_directory(path("dir"));
  std::vector<std::string> arguments{"render"};
  for (std::string argument : GetParam().arguments) {
    for (std::size_t at; (at = argument.find('{')) != std::string::npos;)
      argument.replace(at, argument.find('}') - at + 1, path(argument.substr(at + 1, argument.find('}') - at - 1)));
    arguments.push_back(argument);
  }
  const auto before = folder.names();
  const auto result = run(arguments);
  EXPECT_EQ(result.status, GetParam().status) << result.err;
  EXPECT_TRUE(has(result.err, GetParam().words)) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(folder.names(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Render, CliFault,
    ::testing::Values(
        fault_case{"unknown effect", {"Kep", "--defs", "{defs.text}", "-o", "{out.png}"}, 2, "Did you mean Keep?"},
        fault_case{"no effect", {"--defs", "{defs.text}", "-o", "{out.png}"}, 2, "EFFECT is missing"},
        fault_case{"unknown option", {"Keep", "--defs", "{defs.text}", "--frobnicate"}, 2, "--frobnicate"},
        fault_case{"no output", {"Keep", "--defs", "{defs.text}"}, 2, "-o is missing"},
        fault_case{"missing definitions", {"Keep", "--defs", "{none.text}", "-o", "{out.png}"}, 1, "none.text"},
        fault_case{"definitions in a folder", {"Keep", "--defs", "{dir}", "-o", "{out.png}"}, 1, "is a directory"},
        fault_case{"binary definitions", {"Keep", "--defs", "{binary.text}", "-o", "{out.png}"}, 1, "not a text file"},
        fault_case{"does not bind",
                   {"Bad", "--defs", "{bad.text}", "-o", "{out.png}"},
                   1,
                   "In Bad: + has too few args: 1, needs 2."},
        fault_case{"where it does not bind", {"Bad", "--defs", "{bad.text}", "-o", "{out.png}"}, 1, "bad.text:1"},
        fault_case{"missing image",
                   {"Keep", "--defs", "{defs.text}", "-i", "{none.png}", "-o", "{out.png}"},
                   1,
                   "no such file"},
        fault_case{"image is a folder",
                   {"Keep", "--defs", "{defs.text}", "-i", "{dir}", "-o", "{out.png}"},
                   1,
                   "is a directory"},
        fault_case{"image is garbage",
                   {"Keep", "--defs", "{defs.text}", "-i", "{garbage.png}", "-o", "{out.png}"},
                   1,
                   "garbage.png"},
        fault_case{
            "image is text", {"Keep", "--defs", "{defs.text}", "-i", "{defs.text}", "-o", "{out.png}"}, 1, "defs.text"},
        fault_case{"no such sequence",
                   {"Keep", "--defs", "{defs.text}", "-i", "{x.####.png}", "-o", "{out.png}"},
                   1,
                   "no image of"},
        fault_case{"too many images",
                   {"Keep", "--defs", "{defs.text}", "-i", "{in.ppm}", "-i", "{in.ppm}", "-o", "{out.png}"},
                   2,
                   "more images"},
        fault_case{"no input at all",
                   {"Flat", "--defs", "{defs.text}", "-i", "{in.ppm}", "-o", "{out.png}"},
                   2,
                   "it has none"},
        fault_case{"unknown input",
                   {"Mix", "--defs", "{defs.text}", "-i", "Frnt={in.ppm}", "-o", "{out.png}"},
                   2,
                   "Did you mean Front?"},
        fault_case{"input twice",
                   {"Mix", "--defs", "{defs.text}", "-i", "Front={in.ppm}", "-i", "Front={in.ppm}", "-o", "{out.png}"},
                   2,
                   "twice"},
        fault_case{"unknown parameter",
                   {"Gain", "--defs", "{defs.text}", "-p", "Amont=1", "-o", "{out.png}"},
                   2,
                   "Did you mean Amount?"},
        fault_case{
            "no number", {"Gain", "--defs", "{defs.text}", "-p", "Amount=lots", "-o", "{out.png}"}, 2, "not a number"},
        fault_case{"frames", {"Gain", "--defs", "{defs.text}", "--frames", "3-1", "-o", "{o.#.png}"}, 2, "backwards"},
        fault_case{"frames without pattern",
                   {"Gain", "--defs", "{defs.text}", "--frames", "1-3", "-o", "{out.png}"},
                   2,
                   "frame number"},
        fault_case{"one output twice",
                   {"Flat", "--defs", "{defs.text}", "--frames", "1,1", "-o", "{o.#.png}"},
                   2,
                   "two outputs"},
        fault_case{"output and fix are one",
                   {"Flat", "--defs", "{defs.text}", "-o", "{o.png}", "--fix", "{o.png}"},
                   2,
                   "two outputs"},
        fault_case{"fix of several frames",
                   {"Flat", "--defs", "{defs.text}", "--frames", "1-2", "--fix", "{o.npy}"},
                   2,
                   "single frame"},
        fault_case{"extension", {"Flat", "--defs", "{defs.text}", "-o", "{out.frob}"}, 2, "extension"},
        fault_case{
            "no output folder", {"Flat", "--defs", "{defs.text}", "-o", "{no}/out.png"}, 1, "there is no folder"},
        fault_case{"output is a folder", {"Flat", "--defs", "{defs.text}", "-o", "{config}"}, 2, "extension"},
        fault_case{
            "pixel format", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--pixel-format", "rgb8"}, 2, "rgba8"},
        fault_case{"size", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--size", "10"}, 2, "WIDTHxHEIGHT"},
        fault_case{"huge size", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--size", "99999x2"}, 2, "30000"},
        fault_case{"downsample", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--downsample", "0"}, 2, "NxM"},
        fault_case{"fps", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--fps", "0"}, 2, "--fps"},
        fault_case{
            "fps not a number", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--fps", "nan"}, 2, "--fps"},
        fault_case{"field", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--field", "3"}, 2, "--field"},
        fault_case{
            "aspect", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--pixel-aspect", "0"}, 2, "--pixel-aspect"},
        fault_case{"threads", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--threads", "0"}, 2, "--threads"},
        fault_case{
            "missing rule", {"Flat", "--defs", "{defs.text}", "-o", "{out.png}", "--missing", "guess"}, 2, "--missing"},
        fault_case{"plug-in is text", {"--plugin", "{defs.text}", "-o", "{out.png}"}, 1, "no shared object"},
        fault_case{"no plug-in", {"--plugin", "{none.aex}", "-o", "{out.png}"}, 1, "no such file"},
        fault_case{"config dir", {"Keep", "--config-dir", "{none}", "-o", "{out.png}"}, 1, "not a directory"},
        fault_case{
            "two sources", {"Keep", "--defs", "{defs.text}", "--plugin", "{x.aex}", "-o", "{out.png}"}, 2, "exclu"}),
    [](const auto& info) {
      std::string name = info.param.what;
      for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
      return name;
    });

TEST_F(Cli, an_unwritable_folder_is_an_error) {
  std::filesystem::create_directory(path("locked"));
  std::filesystem::permissions(path("locked"), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  std::string as_nobody;
  if (::geteuid() == 0) {  // to this user everything is writable
    as_nobody = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
    std::filesystem::permissions(folder.path(),
                                 std::filesystem::perms::others_read | std::filesystem::perms::others_exec,
                                 std::filesystem::perm_options::add);
    if (testing::run_command(TESSARON_BINARY_DIR "/tessaron", {"--version"}, as_nobody).status != 0)
      GTEST_SKIP() << "the program cannot be run as another user";
  }
  const auto result = testing::run_command(
      TESSARON_BINARY_DIR "/tessaron",
      {"render", "Flat", "--defs", path("defs.text"), "--size", "4x4", "-o", path("locked/out.png")}, as_nobody);
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "not writable")) << result.err;
}

TEST_F(Cli, a_file_that_cannot_grow_leaves_nothing_behind) {
  for (const char* name : {"out.ppm", "out.png", "out.exr", "out.tif", "out.sgi", "out.rla"}) {
    // Noise does not compress; the limit is below the size of any of these files.
    const auto result = run({"render", "Static_Grain", "--size", "300x200", "-o", path(name), "-p", "Amount=100"}, "");
    ASSERT_EQ(result.status, 0) << name << result.err;
    std::filesystem::remove(path(name));
    const auto full = testing::run_command(
        "/bin/sh", {"-c", "trap '' XFSZ; ulimit -f 4; exec " TESSARON_BINARY_DIR
                          "/tessaron render Static_Grain --size 300x200 -p Amount=100 --config-dir " +
                              testing::shell_quoted(path("config")) + " -o " + testing::shell_quoted(path(name))});
    EXPECT_EQ(full.status, 1) << name << full.err;
    EXPECT_TRUE(has(full.err, name)) << full.err;
    EXPECT_FALSE(std::filesystem::exists(path(name))) << name;
    expect_nothing_unfinished();
  }
}

TEST_F(Cli, a_full_disk_leaves_nothing_behind) {
  std::filesystem::create_directory(path("disk"));
  if (::mount("tmpfs", path("disk").c_str(), "tmpfs", 0, "size=16k") != 0)
    GTEST_SKIP() << "no small disk can be mounted here";
  for (const char* name : {"disk/out.png", "disk/out.ppm", "disk/out.sgi", "disk/out.rla"}) {
    const auto result = run({"render", "Static_Grain", "--size", "300x200", "-p", "Amount=100", "-o", path(name)});
    EXPECT_EQ(result.status, 1) << name;
    EXPECT_TRUE(has(result.err, name)) << result.err;
    EXPECT_TRUE(std::filesystem::is_empty(path("disk"))) << name;
  }
  ::umount(path("disk").c_str());
}

TEST_F(Cli, an_encoder_that_gives_up_silently_is_found_out) {
  // The JPEG 2000 writer wants six resolutions, which so small a picture does not have.
  const auto result = render("Flat", {"--size", "4x4", "-o", path("out.jp2")});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "out.jp2")) << result.err;
  EXPECT_FALSE(std::filesystem::exists(path("out.jp2")));
  expect_nothing_unfinished();
}

TEST_F(Cli, results_that_cannot_be_printed_are_a_failure) {
  const auto result = testing::run_command("/bin/sh", {"-c", TESSARON_BINARY_DIR "/tessaron functions >/dev/full"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "standard output")) << result.err;
}

}  // namespace
}  // namespace tessaron::cli
