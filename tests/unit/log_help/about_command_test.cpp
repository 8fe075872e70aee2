// `tessaron about`: the help dialog from the command line.
#include <gtest/gtest.h>

#include "unit/log_help/desktop.h"

namespace tessaron {
namespace {

using testing::command_result;
using testing::has;
using testing::shell_quoted;

class about_command : public testing::fake_desktop {
 protected:
  about_command() {
    folder.write("config/t_config.text",
                 "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n"
                 "// One of mine.\n(define My_Own (Source) (rgba_ok) dest = Source)\n");
    std::filesystem::create_directories(folder.file("config/effects"));
    std::filesystem::create_directories(folder.file("config/docs"));
    folder.write("config/effects/stock.text",
                 "// Copies its input.\n(define Plain_Copy (Source) (rgba_ok) dest = Source)\n");
    folder.write("config/docs/PlainCopy.html", "x");
    folder.write("config/docs/Custom.html", "x");
  }
  command_result about(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "about");
    // The variables of this process are those of the program.
    return testing::run_command(TESSARON_BINARY_DIR "/tessaron", arguments);
  }
  std::string address(const std::string& page) const { return "file://" + config() + "/docs/" + page; }
};

TEST_F(about_command, prints_the_help_where_there_is_no_desktop) {
  const command_result result = about({"Plain_Copy"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(has(result.out, "v1.10 of 8-jan-2007\nPlain Copy\nCopies its input.\n")) << result.out;
  EXPECT_TRUE(result.out.ends_with("\nHelp page: " + address("PlainCopy.html") +
                                   "\nIntroduction: " + address("intro.html") + "\n"))
      << result.out;
}

TEST_F(about_command, shows_the_dialog_on_a_desktop) {
  show_a_display();
  add_program("zenity", "exit 0");
  const command_result result = about({"Plain Copy"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out + result.err, "");
  EXPECT_TRUE(was_run("zenity"));
}

TEST_F(about_command, help_page_opens_the_page_at_once) {
  show_a_display();
  add_program("zenity", "exit 0");
  add_program("xdg-open", "");
  EXPECT_EQ(about({"Plain_Copy", "--help-page"}).status, 0);
  EXPECT_FALSE(was_run("zenity"));
  EXPECT_EQ(arguments_of("xdg-open"), std::vector<std::string>{config() + "/docs/PlainCopy.html"});
}

TEST_F(about_command, a_page_that_cannot_be_opened_fails) {
  std::filesystem::remove(folder.file("config/docs/PlainCopy.html"));
  const command_result result = about({"Plain_Copy", "--help-page"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "Warning: The file " + address("PlainCopy.html") + " was not found.\n");
}

TEST_F(about_command, a_custom_effect_leads_to_the_page_of_customs) {
  const command_result result = about({"My_Own"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(has(result.out, "\nMy Own\nOne of mine.\n")) << result.out;
  EXPECT_TRUE(has(result.out, "\nHelp page: " + address("Custom.html") + "\n")) << result.out;
}

TEST_F(about_command, an_effect_of_a_file_of_definitions_shows_its_comment) {
  folder.write("mine.text",
               "// Far.\n\n// First.\n// Second.\n(define Of_A_File (Source) #ref Shared dest = part)\n"
               "(define Shared part = (* Source 0.5))\n");
  const command_result result = about({"Of_A_File", "--defs", folder.file("mine.text")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(has(result.out, "\nOf A File\nFirst.\nSecond.\n")) << result.out;
}

TEST_F(about_command, a_dialog_that_cannot_be_made_fails) {
  show_a_display();
  add_program("zenity", "exit 255");
  const command_result result = about({"Plain_Copy"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "Error: The help window can't be shown: ")) << result.err;
  EXPECT_TRUE(has(result.err, "tessaron: the about command failed with error 512\n")) << result.err;
}

TEST_F(about_command, wrong_command_lines_have_status_2) {
  EXPECT_EQ(about({"Plain_Kopy"}).status, 2);
  EXPECT_TRUE(has(about({"Plain_Kopy"}).err, "Did you mean Plain_Copy?"));
  EXPECT_EQ(about({}).status, 2);
  EXPECT_EQ(about({"Plain_Copy", "--page"}).status, 2);
  const command_result help = about({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(has(help.out, "--help-page"));
}

TEST_F(about_command, a_definition_that_does_not_bind_fails) {
  folder.write("bad.text", "(define Bad () dest = (+ 1))\n");
  EXPECT_EQ(about({"Bad", "--defs", folder.file("bad.text")}).status, 1);
}

}  // namespace
}  // namespace tessaron
