// PF_Cmd_ABOUT: who shows the dialog, one at a time, and what becomes of it.
#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <thread>

#include "host/help.h"
#include "host/host_state.h"
#include "platform/platform.h"
#include "support/fake_host.h"
#include "unit/log_help/desktop.h"

namespace tessaron {
namespace {

using testing::appl_id;
using testing::fake_host;
using testing::fake_plugin;
using testing::has;
using words = std::vector<std::string>;

constexpr const char* EFFECT =
    "// Copies.\n// All of it, with \\n and <b>.\n(define Plain_Copy (Source) (rgba_ok) dest = Source)";

/// A host that draws the window itself, as `answer` says.
struct drawing_host {
  tessaron_help_suite suite = {this, show, bring_forward};
  std::function<int(tessaron_help_window&)> answer = [](tessaron_help_window&) { return 1; };
  int shown = 0, raised = 0;

  static std::int32_t show(void* user, tessaron_help_window* window) {
    auto& self = *static_cast<drawing_host*>(user);
    ++self.shown;
    return self.answer(*window);
  }
  static void bring_forward(void* user) { ++static_cast<drawing_host*>(user)->raised; }
};

class help_window : public testing::fake_desktop {
 protected:
  help_window() {
    plugin.name = "Plain Copies";
    plugin.get();
    plugin.record.doc_name = "T_Plain_Copy";
    record = plugin.record;
    EXPECT_EQ(host.setup(&record), 0);
    host.messages.clear();
  }
  ~help_window() override { host.setdown(&record); }
  int about() { return host.call(&record, PF_Cmd_ABOUT); }
  /// The dialog's texts as one, for programs that show one text.
  std::string text() const {
    return "Tessaron Plug-ins for Motion: v1.10 of 8-jan-2007\nPlain Copy\nCopies.\nAll of it, with \\n and <b>.\nOS "
           "version " +
           platform::os_version();
  }
  std::string page() const { return "file://" + config() + "/docs/PlainCopy.html"; }

  fake_plugin plugin{{EFFECT}};
  tessaron_plugin record = {};
  fake_host host{appl_id("MOTN")};
};

// --- drawn by the host ---------------------------------------------------------------------------

TEST_F(help_window, a_host_that_draws_it_gets_all_items) {
  drawing_host drawer;
  host.help = &drawer.suite;
  std::map<int, std::string> items;
  bool placed = true;
  drawer.answer = [&](tessaron_help_window& window) {
    for (int i = 0; i < window.n_items; ++i) items[window.items[i].id] = window.items[i].text;
    placed = window.placed;
    return 1;
  };
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(items.size(), 10u);
  EXPECT_EQ(items[1012], "Tessaron Plug-ins for Motion: v1.10 of 8-jan-2007");
  EXPECT_EQ(items[1013], "Plain Copy");
  EXPECT_EQ(items[1017], "Copies.\nAll of it, with \\n and <b>.");
  EXPECT_EQ(items[1016], "More &help on Plain Copy");
  EXPECT_FALSE(placed);
  EXPECT_EQ(host.held["Tessaron Help Suite"], 0);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(help_window, the_place_where_the_host_left_it_is_found_again) {
  drawing_host drawer;
  host.help = &drawer.suite;
  int x = -1, y = -1;
  const auto end_at = [&](int end, int new_x, int new_y) {
    drawer.answer = [&, end, new_x, new_y](tessaron_help_window& window) {
      x = window.placed ? window.x : -1;
      y = window.placed ? window.y : -1;
      window.placed = 1;
      window.x = new_x;
      window.y = new_y;
      return end;
    };
    EXPECT_EQ(about(), 0);
  };
  end_at(TESSARON_HELP_OK, 70, 80);
  EXPECT_EQ(x, -1);
  end_at(TESSARON_HELP_CANCEL, 1, 1);
  EXPECT_EQ(x, 70);
  end_at(TESSARON_HELP_CLOSED, 90, 100);
  EXPECT_EQ(x, 70) << "Cancel stores nothing";
  EXPECT_EQ(y, 80);
  end_at(TESSARON_HELP_OK, 0, 0);
  EXPECT_EQ(x, 90);
  EXPECT_EQ(y, 100);
}

TEST_F(help_window, a_second_about_only_brings_it_forward) {
  drawing_host drawer;
  host.help = &drawer.suite;
  int inner = -1;
  drawer.answer = [&](tessaron_help_window&) {
    inner = about();
    return 1;
  };
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(inner, 0);
  EXPECT_EQ(drawer.shown, 1);
  EXPECT_EQ(drawer.raised, 1);
  drawer.answer = [](tessaron_help_window&) { return 1; };
  EXPECT_EQ(about(), 0) << "and when it is closed a new one comes up";
  EXPECT_EQ(drawer.shown, 2);
  EXPECT_EQ(drawer.raised, 1);
}

TEST_F(help_window, a_second_about_of_another_thread_does_not_wait_for_the_first) {
  drawing_host drawer;
  host.help = &drawer.suite;
  int other = -1;
  drawer.answer = [&](tessaron_help_window&) {
    std::thread([&] {
      pf_out_data out_data = {};
      other = tessaron_main(&record, PF_Cmd_ABOUT, &host.in_data, &out_data, nullptr, nullptr, nullptr);
    }).join();  // would stand still for ever behind the entry's lock
    return 1;
  };
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(other, 0);
  EXPECT_EQ(drawer.raised, 1);
}

TEST_F(help_window, a_host_without_a_way_to_raise_it_is_left_alone) {
  drawing_host drawer;
  drawer.suite.bring_forward = nullptr;
  host.help = &drawer.suite;
  int inner = -1;
  drawer.answer = [&](tessaron_help_window&) { return inner = about(), 1; };
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(inner, 0);
  EXPECT_EQ(drawer.shown, 1);
}

TEST_F(help_window, a_dialog_that_the_host_cannot_make_is_an_internal_failure) {
  drawing_host drawer;
  host.help = &drawer.suite;
  drawer.answer = [](tessaron_help_window&) { return -5; };
  EXPECT_EQ(about(), 512);
  EXPECT_TRUE(host.has_message("The help window can't be shown: the host gives error -5.")) << host.messages.size();
  drawer.answer = [](tessaron_help_window&) { return 1; };
  EXPECT_EQ(about(), 0) << "and the next one is not taken for a second one";
}

TEST_F(help_window, a_host_that_does_not_draw_it_now_leaves_it_to_the_desktop) {
  drawing_host drawer;
  host.help = &drawer.suite;
  drawer.answer = [](tessaron_help_window&) { return 0; };
  show_a_display();
  add_program("zenity", "exit 0");
  EXPECT_EQ(about(), 0);
  EXPECT_TRUE(was_run("zenity"));
}

TEST_F(help_window, before_params_setup_the_plugin_itself_is_named) {
  host.setdown(&record);
  drawing_host drawer;
  host.help = &drawer.suite;
  std::string effect;
  drawer.answer = [&](tessaron_help_window& window) {
    for (int i = 0; i < window.n_items; ++i)
      if (window.items[i].id == TESSARON_HELP_EFFECT_NAME) effect = window.items[i].text;
    return 1;
  };
  ASSERT_EQ(host.call(&record, PF_Cmd_GLOBAL_SETUP), 0);
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(effect, "Plain Copies");
}

TEST_F(help_window, a_custom_plugin_leads_to_the_custom_page_before_params_setup_too) {
  host.setdown(&record);
  tessaron_plugin custom = record;
  custom.plugin_name = custom.doc_name = "My_Own";
  custom.is_custom = 1;
  ASSERT_EQ(host.call(&custom, PF_Cmd_GLOBAL_SETUP), 0);
  host.messages.clear();
  ASSERT_EQ(host.call(&custom, PF_Cmd_ABOUT), 0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_TRUE(has(host.messages[0], "\nMy Own\n")) << host.messages[0];
  EXPECT_TRUE(has(host.messages[0], "\nHelp page: file://" + config() + "/docs/Custom.html\n")) << host.messages[0];
}

// --- drawn by the desktop ------------------------------------------------------------------------

TEST_F(help_window, zenity_asks_a_question_with_buttons_of_its_own) {
  show_a_display();
  add_program("zenity", "exit 0");
  EXPECT_EQ(about(), 0);
  std::string escaped = text();
  escaped.replace(escaped.find("\\n"), 2, "\\\\n");
  EXPECT_EQ(arguments_of("zenity"),
            (words{"--question", "--title=Tessaron Plug-ins", "--text=" + escaped, "--no-markup", "--width=480",
                   "--ok-label=OK", "--cancel-label=Cancel", "--extra-button=More _help on Plain Copy",
                   "--extra-button=_Introduction", "--extra-button=Tessaron on the _web"}));
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(help_window, a_button_of_zenity_opens_its_page) {
  show_a_display();
  add_program("xdg-open", "");
  std::filesystem::create_directory(folder.file("config/docs"));
  folder.write("config/docs/PlainCopy.html", "x");
  folder.write("config/docs/intro.html", "x");
  add_program("zenity", "echo 'More _help on Plain Copy'; exit 1");
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(arguments_of("xdg-open"), words{config() + "/docs/PlainCopy.html"});
  add_program("zenity", "echo _Introduction; exit 1");
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(arguments_of("xdg-open"), words{config() + "/docs/intro.html"});
  std::filesystem::remove(folder.file("bin/xdg-open.argv"));
  add_program("zenity", "exit 1");
  EXPECT_EQ(about(), 0);
  EXPECT_FALSE(was_run("xdg-open")) << "Cancel opens nothing";
}

TEST_F(help_window, kdialog_shows_a_menu) {
  show_a_display();
  add_program("kdialog", "echo 1016");
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(arguments_of("kdialog"),
            (words{"--title", "Tessaron Plug-ins", "--menu", text(), "1", "OK", "1016", "More help on Plain Copy", "10",
                   "Introduction", "1015", "Tessaron on the web"}));
  EXPECT_TRUE(host.has_message("Error Loading File|Warning: The path " + page() + " was not found."));
  host.messages.clear();
  add_program("kdialog", "exit 1");
  EXPECT_EQ(about(), 0);
  EXPECT_TRUE(host.messages.empty()) << "cancelled";
}

TEST_F(help_window, xmessage_answers_with_its_status) {
  show_a_display();
  add_program("xmessage", "exit 102");
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(arguments_of("xmessage"),
            (words{"-title", "Tessaron Plug-ins", "-center", "-buttons",
                   "OK:101,More help on Plain Copy:102,Introduction:103,Tessaron on the web:104,Cancel:105", text()}));
  EXPECT_TRUE(host.has_message("The path " + page() + " was not found."));
  host.messages.clear();
  for (const char* end : {"exit 1", "exit 101", "exit 105"}) {
    add_program("xmessage", end);
    EXPECT_EQ(about(), 0) << end;
  }
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(help_window, a_desktop_program_that_breaks_down_is_an_internal_failure) {
  show_a_display();
  for (const auto& [name, script] :
       {std::pair{"xmessage", "exit 77"}, {"kdialog", "echo 4711"}, {"zenity", "exit 255"}, {"zenity", "kill -9 $$"}}) {
    add_program(name, script);
    host.messages.clear();
    EXPECT_EQ(about(), 512) << name << ": " << script;
    EXPECT_TRUE(host.has_message("The help window can't be shown: ")) << name;
  }
}

TEST_F(help_window, a_desktop_program_that_cannot_start_is_an_internal_failure) {
  show_a_display();
  std::filesystem::permissions(folder.write("bin/zenity", "no program"), std::filesystem::perms::owner_all);
  EXPECT_EQ(about(), 512);
  EXPECT_TRUE(host.has_message("The help window can't be shown: Exec format error."));
}

TEST_F(help_window, a_program_that_says_much_does_not_stand_still) {
  show_a_display();
  add_program("zenity",
              "i=0; while [ $i -lt 3000 ]; do echo 'a warning of a toolkit that has much to say about its themes' >&2; "
              "i=$((i+1)); done; exit 0");
  EXPECT_EQ(about(), 0);
}

TEST_F(help_window, a_host_that_has_its_children_forgotten_can_show_it) {
  show_a_display();
  add_program("xdg-open", "");
  std::filesystem::create_directory(folder.file("config/docs"));
  folder.write("config/docs/intro.html", "x");
  const auto before = std::signal(SIGCHLD, SIG_IGN);
  for (const auto& [name, script] : {std::pair{"xmessage", "exit 101"},
                                     {"kdialog", "echo 10"},
                                     {"kdialog", "exit 1"},
                                     {"zenity", "echo _Introduction; exit 1"},
                                     {"zenity", "exit 0"}}) {
    std::filesystem::remove(folder.file("bin/xdg-open.argv"));
    add_program(name, script);
    EXPECT_EQ(about(), 0) << name << ": " << script;
    EXPECT_EQ(was_run("xdg-open"), testing::has(script, "echo")) << name << ": " << script;
  }
  std::signal(SIGCHLD, before);
  EXPECT_TRUE(host.messages.empty()) << host.messages[0];
}

// --- its place on the desktop --------------------------------------------------------------------

/// A window manager that knows one window, of the process that wrote zenity.pid.
constexpr const char* WINDOW_MANAGER =
    "echo \"$*\" >>\"$0.log\"\n"
    "here=${0%/*}\n"
    "[ \"$1\" = -l ] && [ -e \"$here/zenity.pid\" ] && read pid <\"$here/zenity.pid\" || exit 0\n"
    "echo 0x01 -1 1 0 0 10 10 here desktop\n"
    "echo \"0x02 0 $pid 210 320 400 300 here Tessaron Plug-ins\"\n"
    ": >\"$here/seen\"";

/// A dialog that stays until another program has left a file; it gives up in the end.
std::string dialog_until(const std::string& file) {
  return "here=${0%/*}; echo $$ >\"$here/zenity.pid\"; i=0\n"
         "while [ ! -e \"$here/" +
         file + "\" ] && [ $i -lt 600 ]; do i=$((i+1)); /bin/sleep 0.05; done";
}

TEST_F(help_window, the_window_manager_tells_where_the_user_left_it) {
  show_a_display();
  add_program("wmctrl", WINDOW_MANAGER);
  add_program("zenity", dialog_until("seen"));
  EXPECT_EQ(about(), 0);
  const char* key = "Software\\Holvane\\Tessaron Motion\\1.10";
  std::int32_t x = 0, y = 0;
  using platform::registry_root;
  EXPECT_TRUE(platform::read_registry_number(registry_root::current_user, key, "help_dlg_x", x));
  EXPECT_TRUE(platform::read_registry_number(registry_root::current_user, key, "help_dlg_y", y));
  EXPECT_EQ(x, 210);
  EXPECT_EQ(y, 320);
  EXPECT_FALSE(has(folder.read("bin/wmctrl.log"), " -e ")) << "nothing was stored, so nothing is moved";
}

TEST_F(help_window, the_window_manager_moves_it_to_its_stored_place) {
  show_a_display();
  const char* key = "Software\\Holvane\\Tessaron Motion\\1.10";
  using platform::registry_root;
  platform::write_registry_number(registry_root::current_user, key, "help_dlg_x", -7);
  platform::write_registry_number(registry_root::current_user, key, "help_dlg_y", 8);
  add_program("wmctrl", WINDOW_MANAGER);
  add_program("zenity", dialog_until("seen"));
  EXPECT_EQ(about(), 0);
  EXPECT_TRUE(has(folder.read("bin/wmctrl.log"), "-i -r 0x02 -e 0,-7,8,-1,-1\n")) << folder.read("bin/wmctrl.log");
}

TEST_F(help_window, a_window_manager_that_counts_frames_does_not_let_it_wander) {
  show_a_display();
  const char* key = "Software\\Holvane\\Tessaron Motion\\1.10";
  using platform::registry_root;
  platform::write_registry_number(registry_root::current_user, key, "help_dlg_x", -7);
  platform::write_registry_number(registry_root::current_user, key, "help_dlg_y", 8);
  // Told to move it to (-7, 8) it says (-5, 48); then the user moves it by (10, 20).
  add_program("wmctrl",
              "here=${0%/*}\n"
              "[ \"$1\" = -l ] && [ -e \"$here/zenity.pid\" ] && read pid <\"$here/zenity.pid\" || exit 0\n"
              "n=0; [ -e \"$here/count\" ] && read n <\"$here/count\"; n=$((n+1)); echo $n >\"$here/count\"\n"
              "case $n in 1) at='500 600';; 2) at='-5 48';; *) at='5 68'; : >\"$here/seen\";; esac\n"
              "echo \"0x02 0 $pid $at 400 300 here Tessaron Plug-ins\"");
  add_program("zenity", dialog_until("seen"));
  EXPECT_EQ(about(), 0);
  std::int32_t x = 0, y = 0;
  EXPECT_TRUE(platform::read_registry_number(registry_root::current_user, key, "help_dlg_x", x));
  EXPECT_TRUE(platform::read_registry_number(registry_root::current_user, key, "help_dlg_y", y));
  EXPECT_EQ(x, 3);
  EXPECT_EQ(y, 28);
}

TEST_F(help_window, an_about_of_another_thread_raises_the_window_of_the_desktop) {
  show_a_display();
  add_program("wmctrl", WINDOW_MANAGER);
  add_program("zenity", dialog_until("raised"));
  int second = -1;
  std::thread other([&] {
    testing::wait_until([&] { return folder.read("bin/zenity.pid").ends_with("\n"); });
    pf_out_data out_data = {};
    // Again until the first call has noted who shows the window.
    testing::wait_until([&] {
      second = tessaron_main(&record, PF_Cmd_ABOUT, &host.in_data, &out_data, nullptr, nullptr, nullptr);
      return has(folder.read("bin/wmctrl.log"), "-i -a 0x02");
    });
    folder.write("bin/raised", "");
  });
  EXPECT_EQ(about(), 0);
  other.join();
  EXPECT_EQ(second, 0);
  EXPECT_TRUE(has(folder.read("bin/wmctrl.log"), "-i -a 0x02\n"));
}

// --- as text -------------------------------------------------------------------------------------

TEST_F(help_window, without_a_display_its_texts_go_to_the_host) {
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(host.messages, words{"Tessaron Plug-ins|" + text() + "\nHelp page: " + page() + "\nIntroduction: file://" +
                                 config() + "/docs/intro.html"});
}

TEST_F(help_window, without_a_host_that_takes_texts_they_go_to_the_terminal) {
  host.offered.clear();
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(about(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Tessaron Plug-ins\n" + text() + "\nHelp page: " + page() +
                                                          "\nIntroduction: file://" + config() + "/docs/intro.html\n");
}

TEST_F(help_window, a_display_without_a_program_to_show_it_gets_the_texts) {
  show_a_display();
  EXPECT_EQ(about(), 0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_TRUE(has(host.messages[0], "Help page: "));
}

TEST_F(help_window, a_display_that_is_gone_gets_the_texts) {
  show_a_display();
  add_program("zenity", "echo 'Unable to init server: cannot open display: :99' >&2; exit 1");
  EXPECT_EQ(about(), 0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_TRUE(has(host.messages[0], "Help page: "));
}

TEST_F(help_window, on_a_render_node_nobody_reads_it) {
  host_state.batch_mode = 1;
  EXPECT_EQ(about(), 0);
  EXPECT_TRUE(host.messages.empty());
  host_state.batch_mode = 0;
}

}  // namespace
}  // namespace tessaron
