// The installer history and the old names, read from files.
#include "installer/history.h"

#include <gtest/gtest.h>

#include "installer/state.h"
#include "support/scratch_folder.h"

namespace tessaron::installer {
namespace {

using lines = std::vector<std::string>;
using names = std::set<std::string>;

class History : public ::testing::Test {
 protected:
  void SetUp() override { forget(); }
  void TearDown() override { forget(); }
  static void forget() {
    install_dirs.clear();
    old_names.clear();
    verbose_count = 0;
  }
  lines dirs_of(const std::string& text) {
    install_dirs.clear();
    read_installer_history(folder.write("install_dirs.txt", text));
    return install_dirs;
  }
  names names_of(const std::string& text) {
    old_names.clear();
    read_old_names(folder.write("old", text));
    return old_names;
  }
  /// What a reading routine says on the standard error stream.
  std::string said(void (*read)(const std::string&), const std::string& path) {
    ::testing::internal::CaptureStderr();
    read(path);
    return ::testing::internal::GetCapturedStderr();
  }
  testing::scratch_folder folder;
};

const char* const DEFAULT_DIR = "c:/Program Files/Adobe/After Effects 6.0/Plug-ins/Tessaron Plug-ins";

TEST_F(History, lines_are_kept_in_order_with_repetitions) {
  EXPECT_EQ(dirs_of("/b\n/a\n/b\n"), (lines{"/b", "/a", "/b"}));
}

TEST_F(History, a_line_stands_as_it_is) {
  EXPECT_EQ(dirs_of(" /a b/ \n# c\n\"d\"\nc:\\e\r\n"), (lines{" /a b/ ", "# c", "\"d\"", "c:\\e\r"}));
}

TEST_F(History, empty_lines_count_and_the_last_line_end_adds_none) {
  EXPECT_EQ(dirs_of("\n/a\n\n"), (lines{"", "/a", ""}));
  EXPECT_EQ(dirs_of("/a\n/b"), (lines{"/a", "/b"}));
  EXPECT_EQ(dirs_of(""), lines{});
}

TEST_F(History, lines_and_files_may_be_long) {
  const std::string line(100000, 'x');
  std::string text;
  for (int i = 0; i < 300; ++i) text += line + "\n";
  EXPECT_EQ(dirs_of(text), lines(300, line));
}

TEST_F(History, the_default_directory_stands_in_for_a_file_that_can_not_be_opened) {
  const std::string path = folder.file("missing");
  EXPECT_EQ(said(read_installer_history, path), "Can't open installer history file " + path + "\n");
  EXPECT_EQ(install_dirs, lines{DEFAULT_DIR});
}

TEST_F(History, a_directory_can_not_be_opened) {
  EXPECT_EQ(said(read_installer_history, folder.path()), "Can't open installer history file " + folder.path() + "\n");
  EXPECT_EQ(install_dirs, lines{DEFAULT_DIR});
}

TEST_F(History, old_names_are_a_set_in_byte_order) {
  EXPECT_EQ(names_of("b\nA\na\nb\n_\n"), (names{"A", "_", "a", "b"}));
  const lines order(old_names.begin(), old_names.end());
  EXPECT_EQ(order, (lines{"A", "_", "a", "b"}));
}

TEST_F(History, an_old_name_with_a_trailing_blank_is_another_name) {
  EXPECT_FALSE(names_of("One \n").contains("One"));
  EXPECT_TRUE(old_names.contains("One "));
}

TEST_F(History, a_missing_old_names_file_is_spoken_of_only_when_verbose) {
  const std::string path = folder.file("missing");
  EXPECT_EQ(said(read_old_names, path), "");
  EXPECT_TRUE(old_names.empty());
  verbose_count = 1;
  EXPECT_EQ(said(read_old_names, path), "Can't open old-names file " + path + " (OK)\n");
  EXPECT_TRUE(old_names.empty());
}

}  // namespace
}  // namespace tessaron::installer
