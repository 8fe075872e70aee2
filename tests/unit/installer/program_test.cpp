// `install_custom_plugins` as a user runs it: what it writes, what it says and where, its exit status.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>

#include "installer_run.h"

namespace tessaron::installer {
namespace {

namespace fs = std::filesystem;

TEST_F(InstallerRun, every_custom_gets_its_plugin) {
  const command_result result = run();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Installed custom plugin One\nInstalled custom plugin Two\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(installed("One"), std::string("<One\0", 5) + PLACEHOLDER.substr(4) + ">");
  EXPECT_EQ(installed("Two"), std::string("<Two\0", 5) + PLACEHOLDER.substr(4) + ">");
}

TEST_F(InstallerRun, verbose_tells_each_step) {
  const std::string size = std::to_string(2 + PLACEHOLDER.size());
  const auto told = [&](const std::string& name) {
    return "Copying " + name + " from " + config + "/CustomAE.tmpl to " + target + "/" + name + ".aex\nFile is " +
           size + " bytes.\nRead " + size + " bytes.\nFound regular match at 1\nInstalled custom plugin " + name + "\n";
  };
  const command_result result = run({"-v"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Reading " + config + "/t_config.text: 2 customs...\nCustom 0: One (1 inputs)\n" + told("One") +
                            "Custom 1: Two (2 inputs)\n" + told("Two"));
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(run({"-v", "-v"}).out, result.out);
  EXPECT_EQ(run({"-vv"}).out, result.out);
}

TEST_F(InstallerRun, verbose_tells_a_counted_match) {
  write_config("CustomAE.tmpl", "ab\x1f" + PLACEHOLDER);
  EXPECT_NE(run({"-v"}).out.find("\nFound len-byte match at 2\nInstalled"), std::string::npos);
  EXPECT_EQ(installed("One"), std::string("ab\3One\0", 7) + PLACEHOLDER.substr(4));
}

TEST_F(InstallerRun, a_bad_option_gives_the_usage_without_a_line_end) {
  const command_result illegal = run({"-x"});
  EXPECT_EQ(illegal.status, 1);
  EXPECT_EQ(illegal.err, PROGRAM + ": illegal option -- x\nUsage: " + PROGRAM + " [-v(erbose)]");
  EXPECT_EQ(illegal.out, "");
  const command_result bare = run({"-v", "-o"});
  EXPECT_EQ(bare.status, 1);
  EXPECT_EQ(bare.err, PROGRAM + ": option requires an argument -- o\nUsage: " + PROGRAM + " [-v(erbose)]");
  EXPECT_FALSE(is_installed("One")) << "the options come first";
}

TEST_F(InstallerRun, other_words_change_nothing) {
  EXPECT_EQ(run({"--", "-x"}).out, "Installed custom plugin One\nInstalled custom plugin Two\n");
  EXPECT_EQ(run({"word", "-x"}).status, 0);
  EXPECT_EQ(run({"-", "-x"}).status, 0);
}

// --- what is to be installed ---------------------------------------------------------------------

TEST_F(InstallerRun, without_customs_nothing_is_done) {
  write_config("t_config.text", "use_dials: 1\n");
  EXPECT_EQ(run().status, 0);
  EXPECT_EQ(run().out, "");
  EXPECT_EQ(run({"-v"}).out, "Reading " + config + "/t_config.text: 0 customs...\n");
}

TEST_F(InstallerRun, a_missing_configuration_is_reported_and_no_failure) {
  fs::remove(config + "/t_config.text");
  const command_result result = run();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find(config + "/t_config.text"), std::string::npos) << result.err;
}

TEST_F(InstallerRun, a_broken_definition_is_reported_and_nothing_is_installed) {
  write_config("t_config.text", "(define One (A) () dest = A)\n(define Broken A)\n");
  const command_result result = run({"-v"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Reading " + config + "/t_config.text: 1 customs...\n");
  EXPECT_NE(result.err.find("Error while reading custom plug-in Broken"), std::string::npos) << result.err;
  EXPECT_FALSE(is_installed("One"));
}

TEST_F(InstallerRun, names_keep_their_underscores) {
  write_config("t_config.text", "(define My_Own_ () () dest = 1)");
  EXPECT_EQ(run().out, "Installed custom plugin My_Own_\n");
  EXPECT_TRUE(is_installed("My_Own_"));
}

TEST_F(InstallerRun, old_names_filter_what_is_installed) {
  const std::string old = folder.write("old names", "Two\nZero\n");
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"-o", old}, {"-o" + old}}) {
    const command_result result = run(arguments);
    EXPECT_EQ(result.out, "Installed custom plugin Two\n");
    EXPECT_EQ(result.err, "");
    EXPECT_FALSE(is_installed("One"));
  }
}

TEST_F(InstallerRun, old_names_are_printed_sorted_when_verbose) {
  const std::string old = folder.write("old", "Zero\nTwo \nAlpha\nZero");
  const std::string start = "Read old names from " + old + ":\nAlpha, Two , Zero, \n";
  const command_result result = run({"-vo", old});
  EXPECT_EQ(result.out, start + "Reading " + config +
                            "/t_config.text: 2 customs...\nCustom 0: One (1 inputs)\nIgnoring One, not in oldnames "
                            "list.\nCustom 1: Two (2 inputs)\nIgnoring Two, not in oldnames list.\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(InstallerRun, the_last_old_names_file_holds) {
  const std::string first = folder.write("first", "One\n"), last = folder.write("last", "Two\n");
  EXPECT_EQ(run({"-o", first, "-o", last}).out, "Installed custom plugin Two\n");
}

TEST_F(InstallerRun, without_the_old_names_file_nothing_is_installed) {
  const std::string missing = folder.file("missing");
  const command_result quiet = run({"-o", missing});
  EXPECT_EQ(quiet.status, 0);
  EXPECT_EQ(quiet.out + quiet.err, "");
  EXPECT_FALSE(is_installed("One"));
  const command_result verbose = run({"-v", "-o", missing});
  EXPECT_EQ(verbose.status, 0);
  EXPECT_EQ(verbose.err, "Can't open old-names file " + missing + " (OK)\n");
  EXPECT_EQ(verbose.out.substr(0, verbose.out.find("Reading")), "Read old names from " + missing + ":\n\n");
}

// --- where to ------------------------------------------------------------------------------------

TEST_F(InstallerRun, all_directories_get_one_custom_before_the_next) {
  fs::create_directory(folder.file("other"));
  write_config("install_dirs.txt", target + "\n" + folder.file("other"));
  const std::string out = run({"-v"}).out;
  std::string order;
  for (std::size_t at = 0; (at = out.find(" to ", at)) != std::string::npos; ++at)
    order += out.substr(at + 4, out.find('\n', at) - at - 4) + " ";
  const std::string other = folder.file("other");
  EXPECT_EQ(order, target + "/One.aex " + other + "/One.aex " + target + "/Two.aex " + other + "/Two.aex ");
  EXPECT_EQ(folder.read("other/Two.aex"), installed("Two"));
}

TEST_F(InstallerRun, a_directory_on_two_lines_is_installed_into_twice) {
  write_config("t_config.text", "(define One (Source) () dest = Source)");
  write_config("install_dirs.txt", target + "\n" + target + "\n");
  EXPECT_EQ(run().out, "Installed custom plugin One\nInstalled custom plugin One\n");
}

TEST_F(InstallerRun, a_directory_line_is_used_as_it_stands) {
  write_config("install_dirs.txt", target + "/\n");
  EXPECT_NE(run({"-v"}).out.find(" to " + target + "//One.aex\n"), std::string::npos);
  EXPECT_TRUE(is_installed("One"));
  write_config("install_dirs.txt", target + " \n");
  EXPECT_EQ(run().err, "Can't open output file " + target + " /One.aex\n");
}

TEST_F(InstallerRun, an_empty_line_is_the_directory_without_a_name) {
  write_config("t_config.text", "(define tessaron/no/such/folder () () dest = 1)");
  write_config("install_dirs.txt", "\n");
  const command_result result = run({"-v"});
  EXPECT_NE(result.out.find(".tmpl to /tessaron"), std::string::npos) << result.out << result.err;
  EXPECT_EQ(result.status, 1);
}

TEST_F(InstallerRun, an_empty_history_installs_nothing) {
  write_config("install_dirs.txt", "");
  const command_result result = run();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out + result.err, "");
}

TEST_F(InstallerRun, a_missing_history_names_the_default_directory) {
  fs::remove(config + "/install_dirs.txt");
  const command_result result = run();
  const std::string directory = "c:/Program Files/Adobe/After Effects 6.0/Plug-ins/Tessaron Plug-ins";
  EXPECT_EQ(result.err, "Can't open installer history file " + config + "/install_dirs.txt\nCan't open output file " +
                            directory + "/One.aex\n");
  EXPECT_EQ(result.status, 1);
}

// --- faults --------------------------------------------------------------------------------------

TEST_F(InstallerRun, a_missing_template_stops_at_the_first_custom_that_passes) {
  fs::remove(config + "/CustomAE.tmpl");
  const command_result result = run();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Can't open input file " + config + "/CustomAE.tmpl\n");
  EXPECT_EQ(result.out, "");
  EXPECT_FALSE(is_installed("One")) << "the template comes before the output";
  EXPECT_EQ(run({"-o", folder.file("missing")}).status, 0) << "none passes";
}

TEST_F(InstallerRun, a_directory_is_no_template) {
  fs::remove(config + "/CustomAE.tmpl");
  fs::create_directory(config + "/CustomAE.tmpl");
  EXPECT_EQ(run().err, "Can't open input file " + config + "/CustomAE.tmpl\n");
}

TEST_F(InstallerRun, a_pipe_is_no_template) {
  fs::remove(config + "/CustomAE.tmpl");
  ASSERT_EQ(mkfifo((config + "/CustomAE.tmpl").c_str(), 0600), 0);
  EXPECT_EQ(run().err, "Can't open input file " + config + "/CustomAE.tmpl\n") << "and nobody waits for a writer";
}

TEST_F(InstallerRun, old_names_may_come_through_a_pipe) {
  const command_result result =
      testing::run_command("/bin/bash", {"-c", "exec " + testing::shell_quoted(PROGRAM) + " -o <(echo Two)"},
                           "TESSARON_CONFIG_DIR=" + testing::shell_quoted(config) + " ");
  EXPECT_EQ(result.out, "Installed custom plugin Two\n") << result.err;
}

TEST_F(InstallerRun, a_missing_directory_is_not_made) {
  write_config("install_dirs.txt", target + "\n" + folder.file("none") + "\n");
  const command_result result = run();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "Installed custom plugin One\n");
  EXPECT_EQ(result.err, "Can't open output file " + folder.file("none") + "/One.aex\n");
  EXPECT_TRUE(is_installed("One")) << "what is written stays";
  EXPECT_FALSE(fs::exists(folder.file("none")));
}

TEST_F(InstallerRun, a_plugin_that_can_not_be_written_over_stops_the_run) {
  fs::create_directory(target + "/One.aex");  // not even the system's administrator writes over a directory
  const command_result result = run();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Can't open output file " + target + "/One.aex\n");
}

TEST_F(InstallerRun, a_plugin_that_is_a_link_to_the_template_does_not_empty_it) {
  const std::string whole = folder.read("config/CustomAE.tmpl");
  fs::create_symlink(config + "/CustomAE.tmpl", target + "/One.aex");
  fs::create_hard_link(config + "/CustomAE.tmpl", target + "/Two.aex");
  for (const std::string name : {"One", "Two"}) {
    const command_result result = run({"-o", folder.write("old", name)});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "Can't open output file " + target + "/" + name + ".aex\n");
    EXPECT_EQ(folder.read("config/CustomAE.tmpl"), whole);
  }
}

TEST_F(InstallerRun, an_unwritable_directory_stops_the_run) {
  if (geteuid() == 0) {
    write_config("install_dirs.txt", "/proc\n");  // unwritable for the administrator too
  } else {
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_exec);
  }
  const std::string directory = geteuid() == 0 ? "/proc" : target;
  const command_result result = run();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Can't open output file " + directory + "/One.aex\n");
}

TEST_F(InstallerRun, a_full_disk_is_no_success) {
  fs::create_symlink("/dev/full", target + "/One.aex");
  const command_result result = run();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "Can't write output file " + target + "/One.aex: No space left on device\n");
}

TEST_F(InstallerRun, a_plugin_that_could_be_written_only_in_part_is_emptied) {
  write_config("CustomAE.tmpl", std::string(100000, 'x'));
  // No file may grow beyond 20 KB; the signal of that is ignored, so that the write fails.
  const command_result result =
      testing::run_command("/bin/bash", {"-c", "trap '' XFSZ; ulimit -f 20; exec " + testing::shell_quoted(PROGRAM)},
                           "TESSARON_CONFIG_DIR=" + testing::shell_quoted(config) + " ");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Can't write output file " + target + "/One.aex: File too large\n");
  ASSERT_TRUE(is_installed("One"));
  EXPECT_EQ(installed("One"), "");
}

TEST_F(InstallerRun, a_full_standard_output_is_no_success) {
  const int status =
      std::system(("TESSARON_CONFIG_DIR=" + testing::shell_quoted(config) + " " + testing::shell_quoted(PROGRAM) +
                   " >/dev/full 2>" + testing::shell_quoted(folder.file("err")))
                      .c_str());
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_EQ(folder.read("err"), "Can't write to the standard output\n");
}

TEST_F(InstallerRun, a_name_of_30_characters_fits_and_one_of_31_leaves_an_empty_file) {
  const std::string fits(30, 'n'), too_long(31, 'm');
  write_config("t_config.text", "(define " + fits + " () () dest = 1) (define " + too_long + " () () dest = 1)");
  const command_result result = run();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "Installed custom plugin " + fits + "\n");
  EXPECT_EQ(result.err, "ERROR: name " + too_long + " is too long; only 30 chars allowed.\n");
  EXPECT_EQ(installed(fits), "<" + fits + '\0' + ">");
  ASSERT_TRUE(is_installed(too_long));
  EXPECT_EQ(fs::file_size(target + "/" + too_long + ".aex"), 0u);
}

// --- templates of all sizes ----------------------------------------------------------------------

TEST_F(InstallerRun, an_empty_template_gives_an_empty_plugin_whatever_the_name) {
  const std::string too_long(31, 'm');
  write_config("t_config.text", "(define " + too_long + " () () dest = 1)");
  write_config("CustomAE.tmpl", "");
  const command_result result = run({"-v"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("File is 0 bytes.\nRead 0 bytes.\nInstalled custom plugin "), std::string::npos);
  ASSERT_TRUE(is_installed(too_long));
  EXPECT_EQ(installed(too_long), "");
}

TEST_F(InstallerRun, a_template_may_be_nothing_but_the_placeholder) {
  write_config("CustomAE.tmpl", PLACEHOLDER);
  EXPECT_EQ(run().status, 0);
  EXPECT_EQ(installed("One"), std::string("One\0", 4) + PLACEHOLDER.substr(4));
  const std::string other(31, 'x');
  write_config("CustomAE.tmpl", other);
  EXPECT_EQ(run().status, 0);
  EXPECT_EQ(installed("One"), other);
}

TEST_F(InstallerRun, a_template_without_the_placeholder_is_copied) {
  std::string all;
  for (unsigned i = 0; i < 100000; ++i) all += char(i * i >> 3);
  write_config("CustomAE.tmpl", all);
  EXPECT_EQ(run({"-v"}).out.find("Found"), std::string::npos);
  EXPECT_TRUE(installed("One") == all);
}

TEST_F(InstallerRun, a_short_read_is_no_error) {
  // The system's own files say that they are larger than what they give.
  const std::string short_file = "/sys/devices/system/cpu/online";
  std::error_code missing;
  const auto size = fs::file_size(short_file, missing);
  std::ostringstream given;
  given << std::ifstream(short_file, std::ios::binary).rdbuf();
  if (missing || given.str().empty() || given.str().size() >= size) GTEST_SKIP() << "no such file on this system";
  fs::remove(config + "/CustomAE.tmpl");
  fs::create_symlink(short_file, config + "/CustomAE.tmpl");
  const command_result result = run({"-v"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("File is " + std::to_string(size) + " bytes.\nRead " + std::to_string(given.str().size()) +
                            " bytes.\nInstalled"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(installed("One"), given.str() + std::string(size - given.str().size(), '\0'));
}

TEST_F(InstallerRun, a_template_of_200_megabytes_is_copied_whole) {
  constexpr std::size_t SIZE = 200u << 20;
  write_config("t_config.text", "(define One (Source) () dest = Source)");
  const std::string path = folder.write("config/CustomAE.tmpl", PLACEHOLDER);
  fs::resize_file(path, SIZE - 31);  // a hole
  std::ofstream(path, std::ios::binary | std::ios::app) << PLACEHOLDER;
  const command_result result = run({"-v"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("Found regular match at 0\nFound regular match at " + std::to_string(SIZE - 31) + "\n"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(fs::file_size(target + "/One.aex"), SIZE);
  std::ifstream end(target + "/One.aex", std::ios::binary);
  end.seekg(-32, std::ios::end);
  std::string last(32, '?');
  end.read(last.data(), 32);
  EXPECT_EQ(last, std::string("\0One\0", 5) + PLACEHOLDER.substr(4));
}

TEST_F(InstallerRun, a_template_beyond_memory_is_a_failure) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer needs the memory that this takes away";
#endif
  const std::string path = config + "/CustomAE.tmpl";
  int n_sizes = 0;
  // Holes of 4 TB, and of all that a file can be, which few file systems have.
  for (const std::uintmax_t size : {std::uintmax_t(1) << 42, std::uintmax_t(INT64_MAX)}) {
    std::error_code refused;
    fs::resize_file(path, size, refused);
    if (refused) continue;
    ++n_sizes;
    const command_result result =
        testing::run_command("/bin/sh", {"-c", "ulimit -v 4000000; exec " + testing::shell_quoted(PROGRAM)},
                             "TESSARON_CONFIG_DIR=" + testing::shell_quoted(config) + " ");
    EXPECT_EQ(result.status, 1) << size;
    EXPECT_EQ(result.err, "Not enough memory.\n") << size;
  }
  if (n_sizes == 0) GTEST_SKIP() << "the file system has no files of these sizes";
}

TEST_F(InstallerRun, directories_may_have_blanks_and_letters_beyond_ascii) {
  const std::string elsewhere = folder.file("Réglages d'été 設定"), into = folder.file("Mes plug-ins é");
  fs::copy(config, elsewhere);
  fs::create_directory(into);
  std::ofstream(elsewhere + "/install_dirs.txt") << into << '\n';
  const command_result result =
      testing::run_command(PROGRAM, {"-v"}, "TESSARON_CONFIG_DIR=" + testing::shell_quoted(elsewhere) + " ");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("Reading " + elsewhere + "/t_config.text: 2 customs...\n"), std::string::npos);
  EXPECT_NE(result.out.find("Copying One from " + elsewhere + "/CustomAE.tmpl to " + into + "/One.aex\n"),
            std::string::npos);
  EXPECT_TRUE(fs::exists(into + "/One.aex"));
}

}  // namespace
}  // namespace tessaron::installer
