// The registry's stand-in: which store answers, what a line is, how a value is written.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/report.h"
#include "platform/platform.h"
#include "support/scratch_folder.h"

namespace tessaron::platform {
namespace {

namespace fs = std::filesystem;
constexpr const char* KEY = "Software\\Holvane\\Tessaron AE\\1.10";

class Registry : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("XDG_CONFIG_HOME", (root / "user").c_str(), 1);
    setenv("XDG_CONFIG_DIRS", ((root / "first").string() + ":" + (root / "second").string()).c_str(), 1);
    unsetenv("TESSARON_CONFIG_DIR");
  }

  void write(const char* store, const std::string& text) {
    const fs::path file = root / store / "tessaron/registry";
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }
  std::string read_file(const char* store) {
    std::ostringstream text;
    text << std::ifstream(root / store / "tessaron/registry").rdbuf();
    return text.str();
  }
  static std::string line(const std::string& value) { return std::string(KEY) + "\\ConfigDir=" + value + "\n"; }
  static std::string config_dir(registry_root where = registry_root::local_machine) {
    std::string out = "unset";
    return read_registry_text(where, KEY, "ConfigDir", out) ? out : "missing";
  }

  testing::scratch_folder scratch;
  fs::path root = scratch.path();
};

TEST_F(Registry, a_missing_key_or_value_is_told) {
  EXPECT_EQ(config_dir(), "missing");
  write("user", std::string(KEY) + "\\Other=x\nSoftware\\Else\\ConfigDir=y\n");
  EXPECT_EQ(config_dir(), "missing");
}

TEST_F(Registry, stores_answer_in_their_order) {
  write("second", line("/second"));
  EXPECT_EQ(config_dir(), "/second");
  write("first", line("/first"));
  EXPECT_EQ(config_dir(), "/first");
  write("user", line("/user"));
  EXPECT_EQ(config_dir(), "/user");
  setenv("TESSARON_CONFIG_DIR", "/environment", 1);
  EXPECT_EQ(config_dir(), "/environment");
  std::string other;
  EXPECT_FALSE(read_registry_text(registry_root::local_machine, KEY, "Other", other)) << "only for ConfigDir";
}

TEST_F(Registry, the_users_branch_is_the_users_file_alone) {
  write("first", line("/first"));
  setenv("TESSARON_CONFIG_DIR", "/environment", 1);
  EXPECT_EQ(config_dir(registry_root::current_user), "missing");
  write("user", line("/user"));
  EXPECT_EQ(config_dir(registry_root::current_user), "/user");
}

TEST_F(Registry, lines_are_names_and_text) {
  write("user", "# " + line("/comment") + "#" + line("/comment") + "no assignment\n\n" +
                    "SOFTWARE\\holvane\\Tessaron AE\\1.10\\configdir= a = b \r\n");
  EXPECT_EQ(config_dir(), " a = b ");
  write("user", line("/one") + line("/two"));
  EXPECT_EQ(config_dir(), "/two") << "the last of two lines";
  write("user", line(""));
  EXPECT_EQ(config_dir(), "");
}

TEST_F(Registry, a_directory_in_place_of_a_store_is_no_store) {
  fs::create_directories(root / "user/tessaron/registry");
  write("first", line("/first"));
  EXPECT_EQ(config_dir(), "/first");
}

TEST_F(Registry, numbers_are_written_whole_and_read_back) {
  const auto user = registry_root::current_user;
  std::int32_t x = 7;
  EXPECT_FALSE(read_registry_number(user, KEY, "help_dlg_x", x));
  ASSERT_TRUE(write_registry_number(user, KEY, "help_dlg_x", -42));
  ASSERT_TRUE(write_registry_number(user, KEY, "help_dlg_y", 2147483647));
  ASSERT_TRUE(write_registry_number(user, KEY, "help_dlg_x", 43));
  ASSERT_TRUE(read_registry_number(user, KEY, "help_dlg_x", x));
  EXPECT_EQ(x, 43);
  ASSERT_TRUE(read_registry_number(user, KEY, "help_dlg_y", x));
  EXPECT_EQ(x, 2147483647);
  EXPECT_EQ(std::distance(fs::directory_iterator(root / "user/tessaron"), {}), 1) << "no temporary file is left";
}

TEST_F(Registry, writing_keeps_the_other_lines) {
  write("user", "# mine\n" + line("/user") + std::string(KEY) + "\\n=1\n");
  ASSERT_TRUE(write_registry_number(registry_root::current_user, KEY, "n", 2));
  EXPECT_EQ(read_file("user"), "# mine\n" + line("/user") + std::string(KEY) + "\\n=2\n");
}

TEST_F(Registry, text_that_is_no_number_is_not_read_as_one) {
  std::int32_t n = 5;
  for (const char* text : {"", "abc", "12x", "99999999999"}) {
    write("user", std::string(KEY) + "\\n=" + text + "\n");
    EXPECT_FALSE(read_registry_number(registry_root::current_user, KEY, "n", n)) << text;
  }
  EXPECT_EQ(n, 5);
}

TEST_F(Registry, what_cannot_be_written_is_refused) {
  EXPECT_FALSE(write_registry_number(registry_root::local_machine, KEY, "n", 1));
  EXPECT_FALSE(write_registry_number(registry_root::current_user, KEY, "a=b", 1));
  EXPECT_FALSE(write_registry_number(registry_root::current_user, KEY, "a\nb", 1));
  std::ofstream(root / "a_file") << "x";
  setenv("XDG_CONFIG_HOME", (root / "a_file").c_str(), 1);
  EXPECT_FALSE(write_registry_number(registry_root::current_user, KEY, "n", 1));
}

TEST_F(Registry, a_store_that_cannot_be_read_is_not_written_over) {
  // A file that everyone may open, but whose first bytes nobody can read.
  const fs::path store = root / "user/tessaron/registry";
  fs::create_directories(store.parent_path());
  fs::create_symlink("/proc/self/mem", store);
  EXPECT_FALSE(write_registry_number(registry_root::current_user, KEY, "n", 1));
  EXPECT_TRUE(fs::is_symlink(store));
}

class Notices : public ::testing::Test {
 protected:
  void SetUp() override {
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
  }
  void TearDown() override { set_location_source(nullptr); }
};

TEST_F(Notices, go_to_standard_error_without_a_display) {
  ::testing::internal::CaptureStderr();
  show_message("Tessaron Plug-ins Error", "It broke.\n", 1000);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Tessaron Plug-ins Error: It broke.\n");
}

TEST_F(Notices, say_where_the_reader_stands) {
  set_location_source([] { return std::string("a.text:12"); });
  ::testing::internal::CaptureStderr();
  show_message("T", "x", 1000);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "T: x\na.text:12\n");
}

TEST_F(Notices, debug_output_is_heard_when_the_environment_asks) {
  unsetenv("TESSARON_DEBUG");
  ::testing::internal::CaptureStderr();
  debug_output("quiet\n");
  setenv("TESSARON_DEBUG", "1", 1);
  debug_output("heard\n");
  unsetenv("TESSARON_DEBUG");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "heard\n");
}

TEST_F(Notices, documents_that_cannot_be_opened_give_the_shells_numbers) {
  const testing::scratch_folder folder;
  const fs::path page = folder.file("page.html");
  EXPECT_EQ(open_document(page.string(), "/"), 2);
  EXPECT_EQ(open_document("file://" + page.string(), "/"), 2);
  EXPECT_EQ(open_document("/no/such/folder/page.html", "/"), 3);
  std::ofstream(page) << "x";
  EXPECT_EQ(open_document("file://" + page.string(), "/"), 31) << "no desktop, no application";
}

}  // namespace
}  // namespace tessaron::platform
