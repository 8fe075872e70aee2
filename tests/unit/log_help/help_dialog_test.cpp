// What the help dialog says and does, without a window: texts, pages, items, position.
#include <gtest/gtest.h>

#include "host/help.h"
#include "host/host_report.h"
#include "host/host_state.h"
#include "platform/platform.h"
#include "support/fake_host.h"
#include "unit/log_help/desktop.h"

namespace tessaron {
namespace {

using platform::registry_root;
using testing::fake_host;
using testing::has;

constexpr const char* KEY = "Software\\Holvane\\Tessaron Motion\\1.10";

class help_texts : public testing::fake_desktop {
 protected:
  help_texts() {
    init_globals(record);
    record.in_data = &host.in_data;
    record.n_effects = 1;
    record.plugin_name = "My Plug-in";
    record.doc_name = "T_Blur_Monochrome";
    record.genotypes[0] = record.effect_genotype = &first;
    record.genotypes[1] = &second;
    std::snprintf(first.name, sizeof first.name, "Blur_Monochrome");
    std::snprintf(second.name, sizeof second.name, "T_wide glow");
    host_state.host_app = HOST_MOTION;
    Globals = &record;
  }
  ~help_texts() override {
    Globals = before;
    host_state = {};
  }
  help_dialog initialised() {
    help_dialog dialog;
    EXPECT_EQ(help_dialog_proc(dialog, reference(), help_message::initialise, 0), std::nullopt);
    return dialog;
  }
  help_reference reference() {
    help_reference r;
    r.globals = &record;
    return r;
  }
  std::optional<int> press(help_dialog& dialog, int item) {
    return help_dialog_proc(dialog, reference(), help_message::command, item);
  }
  void store(int x, int y) {
    platform::write_registry_number(registry_root::current_user, KEY, "help_dlg_x", x);
    platform::write_registry_number(registry_root::current_user, KEY, "help_dlg_y", y);
  }
  std::string stored() const {
    std::int32_t x = 0, y = 0;
    const bool has_x = platform::read_registry_number(registry_root::current_user, KEY, "help_dlg_x", x);
    const bool has_y = platform::read_registry_number(registry_root::current_user, KEY, "help_dlg_y", y);
    return (has_x ? std::to_string(x) : "-") + " " + (has_y ? std::to_string(y) : "-");
  }

  fake_host host;
  genotype first = {}, second = {};
  globals_record record = {};
  globals_record* before = Globals;
};

// --- keys and pages ------------------------------------------------------------------------------

TEST(help_key, is_the_name_without_mark_underscores_and_blanks) {
  EXPECT_EQ(help_key("T_Blur_Monochrome"), "BlurMonochrome");
  EXPECT_EQ(help_key("Blur_Monochrome"), "BlurMonochrome");
  EXPECT_EQ(help_key("T_T_Edge Tint"), "TEdgeTint") << "one mark is taken off";
  EXPECT_EQ(help_key("Tint_T_"), "TintT");
  EXPECT_EQ(help_key("T_"), "");
  EXPECT_EQ(help_key(""), "");
}

TEST_F(help_texts, a_plugin_with_one_effect_has_the_page_of_its_doc_name) {
  EXPECT_EQ(initialised().page, "file://" + config() + "/docs/BlurMonochrome.html");
  EXPECT_EQ(initialised().introduction, "file://" + config() + "/docs/intro.html");
}

TEST_F(help_texts, a_plugin_with_more_effects_has_the_page_of_the_current_one) {
  record.n_effects = 2;
  EXPECT_EQ(initialised().page, "file://" + config() + "/docs/BlurMonochrome.html");
  record.effect_genotype = &second;
  EXPECT_EQ(initialised().page, "file://" + config() + "/docs/wideglow.html");
}

TEST_F(help_texts, a_custom_plugin_has_the_page_of_custom_effects) {
  record.host_flags |= HOST_IS_CUSTOM;
  record.doc_name = "Custom Plug-in (no documentation)";
  EXPECT_EQ(initialised().page, "file://" + config() + "/docs/Custom.html");
}

TEST_F(help_texts, a_directory_that_is_no_whole_path_gets_no_prefix) {
  for (const auto& [directory, prefix] : {std::pair{"place/config", ""},
                                          {"c:/Tessaron", "file://"},
                                          {"\\\\server\\share", "file://"},
                                          {"/place", "file://"}}) {
    environment.set("TESSARON_CONFIG_DIR", directory);
    reset_custom_listing();
    EXPECT_EQ(initialised().page, std::string(prefix) + directory + "/docs/BlurMonochrome.html");
  }
}

TEST_F(help_texts, a_plugin_that_names_no_documentation_leads_to_the_introduction) {
  record.doc_name = nullptr;
  EXPECT_EQ(initialised().page, initialised().introduction);
}

// --- texts ---------------------------------------------------------------------------------------

TEST_F(help_texts, name_product_effect_and_system) {
  const help_dialog dialog = initialised();
  EXPECT_EQ(dialog.text(1012), "Tessaron Plug-ins for Motion: v1.10 of 8-jan-2007");
  EXPECT_EQ(dialog.text(1013), "Blur Monochrome");
  EXPECT_EQ(dialog.text(1014), "");
  EXPECT_EQ(dialog.text(1017), "(no documentation provided)");
  EXPECT_EQ(dialog.text(1018), "OS version " + platform::os_version());
  EXPECT_EQ(dialog.text(1016), "More &help on Blur Monochrome");
  for (const int button : {1, 2, 10, 1015}) EXPECT_NE(dialog.text(button), "") << button;
  EXPECT_EQ(dialog.text(3), "");
}

TEST_F(help_texts, the_description_is_the_effects_own) {
  std::string words = "Blurs.\nIn grey.";
  first.description = words.data();
  EXPECT_EQ(initialised().text(1017), words);
  words.clear();
  EXPECT_EQ(initialised().text(1017), "(no documentation provided)");
}

TEST_F(help_texts, settings_that_are_not_the_usual_ones_are_noted) {
  tessaron::config.multi_process_enable = 0;
  EXPECT_EQ(initialised().text(1014), "multiprocessing: OFF");
}

TEST_F(help_texts, the_button_of_a_custom_plugin_says_so) {
  record.host_flags |= HOST_IS_CUSTOM;
  EXPECT_EQ(initialised().text(1016), "&Help on Blur Monochrome (custom)");
}

TEST_F(help_texts, the_system_may_name_its_version_in_the_registry) {
  std::filesystem::create_directories(folder.file("settings/tessaron"));
  folder.write("settings/tessaron/registry", "Software\\Microsoft\\Windows NT\\CurrentVersion\\CurrentVersion=5.2\n");
  EXPECT_EQ(initialised().text(1018), "OS version 5.2");
}

TEST_F(help_texts, a_record_of_which_nothing_is_known_is_no_fault) {
  record = {};
  init_globals(record);
  const help_dialog dialog = initialised();
  EXPECT_EQ(dialog.text(1016), "More &help on ");
  EXPECT_EQ(dialog.text(1017), "(no documentation provided)");
  EXPECT_EQ(dialog.page, dialog.introduction);
}

// --- items and position --------------------------------------------------------------------------

TEST_F(help_texts, the_position_comes_from_the_hosts_own_key_when_both_values_are_there) {
  EXPECT_FALSE(initialised().placed);
  platform::write_registry_number(registry_root::current_user, KEY, "help_dlg_x", 12);
  EXPECT_FALSE(initialised().placed);
  store(12, -34);
  const help_dialog dialog = initialised();
  EXPECT_TRUE(dialog.placed);
  EXPECT_EQ(dialog.x, 12);
  EXPECT_EQ(dialog.y, -34);
  host_state.host_app = HOST_PREMIERE;
  EXPECT_FALSE(initialised().placed) << "another host's window has a place of its own";
}

TEST_F(help_texts, ok_and_the_close_box_store_the_position_and_end_with_1) {
  store(1, 2);
  help_dialog dialog = initialised();
  dialog.x = 30;
  dialog.y = 40;
  EXPECT_EQ(press(dialog, 1), 1);
  EXPECT_EQ(stored(), "30 40");
  dialog.x = 50;
  EXPECT_EQ(help_dialog_proc(dialog, reference(), help_message::system, 0xf060), 1);
  EXPECT_EQ(stored(), "50 40");
}

TEST_F(help_texts, cancel_ends_with_0_and_does_not_change_the_stored_position) {
  store(1, 2);
  help_dialog dialog = initialised();
  dialog.x = 30;
  EXPECT_EQ(press(dialog, 2), 0);
  EXPECT_EQ(stored(), "1 2");
}

TEST_F(help_texts, a_position_that_nobody_knows_is_not_stored) {
  help_dialog dialog = initialised();
  EXPECT_EQ(press(dialog, 1), 1);
  EXPECT_EQ(stored(), "- -");
}

TEST_F(help_texts, a_position_that_cannot_be_stored_stops_nothing) {
  folder.write("blocked", "a file where the folder should be");
  environment.set("XDG_CONFIG_HOME", folder.file("blocked"));
  help_dialog dialog = initialised();
  dialog.placed = true;
  EXPECT_EQ(press(dialog, 1), 1);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(help_texts, other_messages_leave_the_dialog_up) {
  help_dialog dialog = initialised();
  EXPECT_EQ(press(dialog, 1012), std::nullopt);
  EXPECT_EQ(help_dialog_proc(dialog, reference(), help_message::system, 0xf010), std::nullopt);
}

TEST_F(help_texts, each_link_stores_the_position_opens_its_page_and_ends_with_1) {
  show_a_display();
  add_program("xdg-open", "printf '%s' \"$PWD\" >\"$0.pwd\"");
  std::filesystem::create_directory(folder.file("config/docs"));
  for (const char* page : {"BlurMonochrome", "intro", "Custom"})
    folder.write(std::string("config/docs/") + page + ".html", "x");
  const auto opened_by = [&](int item) {
    store(0, 0);
    help_dialog dialog = initialised();
    dialog.x = item;
    EXPECT_EQ(press(dialog, item), 1);
    EXPECT_EQ(stored(), std::to_string(item) + " 0");
    return arguments_of("xdg-open");
  };
  using words = std::vector<std::string>;
  EXPECT_EQ(opened_by(1016), words{config() + "/docs/BlurMonochrome.html"});
  EXPECT_EQ(folder.read("bin/xdg-open.pwd"), config() + "/docs") << "the folder in which it works";
  EXPECT_EQ(opened_by(10), words{config() + "/docs/intro.html"});
  EXPECT_EQ(opened_by(1015), words{TESSARON_WEB_ADDRESS}) << "of the build";
  record.host_flags |= HOST_IS_CUSTOM;
  EXPECT_EQ(opened_by(1016), words{config() + "/docs/Custom.html"});
  EXPECT_TRUE(host.messages.empty()) << host.messages[0];
}

// --- opening documents ---------------------------------------------------------------------------

TEST(open_doc_errors, have_the_systems_words) {
  const std::pair<int, const char*> ROWS[] = {
      {0, "The operating system is out of memory or resources."},
      {2, "The file P was not found."},
      {3, "The path P was not found."},
      {5, "The operating system denied access to P."},
      {8, "There was not enough memory to complete the operation."},
      {11, "The .exe file is invalid (non-Win32.exe or error in .exe image)."},
      {26, "A sharing violation occurred."},
      {27, "The file name association for P is incomplete or invalid."},
      {28, "The DDE transaction could not be completed because the request timed out."},
      {29, "The DDE transaction failed."},
      {30, "The DDE transaction could not be completed because other DDE transactions were being processed."},
      {31,
       "There is no application associated with the file name extension for P:\nperhaps you need to install Adobe "
       "Acrobat?."},
      {32, "The specified dynamic-link library was not found."},
      {7, "The operating system could not open P: error 7."},
  };
  for (const auto& [result, text] : ROWS) EXPECT_EQ(open_doc_error_text(result, "P"), text);
}

class open_document : public help_texts {
 protected:
  open_document() {
    std::filesystem::create_directory(folder.file("config/docs"));
    page = "file://" + folder.write("config/docs/100% a b.html", "x");
  }
  /// What the host is told.
  std::string told(const std::string& path) {
    host.messages.clear();
    open_doc(path);
    return host.messages.empty() ? "" : host.messages[0];
  }
  std::string page;
};

TEST_F(open_document, that_is_not_there_or_cannot_be_read) {
  const std::string title = "Error Loading File|Warning: ";
  const std::string missing = "file://" + config() + "/docs/none.html",
                    nowhere = "file://" + config() + "/no/none.html";
  EXPECT_EQ(told(missing), title + "The file " + missing + " was not found.");
  EXPECT_EQ(told(nowhere), title + "The path " + nowhere + " was not found.");
  folder.write("a_file", "");
  const std::string below = "file://" + folder.file("a_file") + "/page.html";
  EXPECT_EQ(told(below), title + "The path " + below + " was not found.");
}

TEST_F(open_document, without_a_desktop_or_without_an_opener_has_no_application) {
  const std::string expected =
      "Error Loading File|Warning: There is no application associated with the file name "
      "extension for " +
      page + ":\nperhaps you need to install Adobe Acrobat?.";
  EXPECT_EQ(told(page), expected);
  show_a_display();
  EXPECT_EQ(told(page), expected);
}

TEST_F(open_document, reports_what_the_opener_ends_with) {
  show_a_display();
  const std::pair<const char*, std::string> ROWS[] = {
      {"exit 0", ""},
      {"exit 2", "The file " + page + " was not found."},
      {"exit 3", "There is no application associated with the file name extension for " + page +
                     ":\nperhaps you need to install Adobe Acrobat?."},
      {"kill -9 $$", "The file name association for " + page + " is incomplete or invalid."},
      {"exit 4", "The file name association for " + page + " is incomplete or invalid."},
  };
  for (const auto& [script, text] : ROWS) {
    add_program("xdg-open", script);
    EXPECT_EQ(told(page), text.empty() ? "" : "Error Loading File|Warning: " + text) << script;
    EXPECT_EQ(arguments_of("xdg-open"), std::vector<std::string>{folder.file("config/docs/100% a b.html")});
  }
}

TEST_F(open_document, an_opener_that_is_no_program_is_invalid) {
  show_a_display();
  std::filesystem::permissions(folder.write("bin/xdg-open", "neither a script nor a binary"),
                               std::filesystem::perms::owner_all);
  EXPECT_EQ(told(page), "Error Loading File|Warning: The .exe file is invalid (non-Win32.exe or error in .exe image).");
}

TEST_F(open_document, an_opener_that_stays_is_left_running) {
  show_a_display();
  add_program("xdg-open",
              "i=0; while [ ! -e \"$0.go\" ] && [ $i -lt 600 ]; do i=$((i+1)); /bin/sleep 0.05; done; : >\"$0.done\"");
  EXPECT_EQ(told(page), "");
  folder.write("bin/xdg-open.go", "");
  testing::wait_until([&] { return std::filesystem::exists(folder.file("bin/xdg-open.done")); });
  EXPECT_TRUE(std::filesystem::exists(folder.file("bin/xdg-open.done")));
}

TEST_F(open_document, a_program_of_the_current_directory_is_not_taken) {
  show_a_display();
  add_program("xdg-open", "exit 0");
  environment.set("PATH", ".:" + std::string() + ":bin");
  const auto stood_in = std::filesystem::current_path();
  std::filesystem::current_path(folder.file("bin"));
  EXPECT_TRUE(has(told(page), "There is no application"));
  std::filesystem::current_path(stood_in);
  EXPECT_FALSE(was_run("xdg-open"));
}

}  // namespace
}  // namespace tessaron
