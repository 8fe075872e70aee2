// Reports and notices while a plug-in is alive: who gets them, and who is left alone.
#include <gtest/gtest.h>

#include "base/notice.h"
#include "base/report.h"
#include "host/host_report.h"
#include "host/host_state.h"
#include "support/fake_host.h"
#include "unit/log_help/desktop.h"

namespace tessaron {
namespace {

using testing::fake_host;
using testing::fake_plugin;
using testing::has;

constexpr const char* PLAIN = "(define Plain_Copy (Source) (rgba_ok) dest = Source)";

class messages : public testing::fake_desktop {
 protected:
  messages() {
    init_globals(record);
    record.in_data = &host.in_data;
    Globals = &record;
  }
  ~messages() override { Globals = before; }

  /// Standard error of `work`.
  template <class Work>
  std::string heard(Work work) {
    ::testing::internal::CaptureStderr();
    work();
    return ::testing::internal::GetCapturedStderr();
  }

  fake_host host;
  globals_record record = {};
  globals_record* before = Globals;
};

TEST_F(messages, a_report_before_any_setup_goes_to_standard_error) {
  Globals = before;
  EXPECT_EQ(heard([] { report(REPORT_WARNING, "Nobody %s.\n", "listens"); }), "Warning: Nobody listens.\n");
}

TEST_F(messages, the_debug_output_hears_what_the_host_takes_too) {
  environment.set("TESSARON_DEBUG", "1");
  EXPECT_EQ(heard([] { host_report(REPORT_ALERT, "Look.\n"); }), "Alert: Look.\n");
  EXPECT_EQ(host.messages, std::vector<std::string>{"Tessaron Plug-ins Alert|Alert: Look."});
}

TEST_F(messages, a_message_has_at_most_2038_characters_less_20) {
  host_report(REPORT_PLAIN, std::string(2018, 'x').c_str());
  host_report(REPORT_PLAIN, std::string(2019, 'x').c_str());
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[0], host.messages[1]);
}

TEST_F(messages, a_window_closes_after_half_a_minute_and_after_a_whole_one_from_a_warning_on) {
  show_a_display();
  add_program("notify-send", "");
  host.offered.clear();
  const struct {
    int severity;
    const char* title;
    const char* milliseconds;
  } ROWS[] = {{REPORT_PLAIN, "Tessaron Plug-ins ", "30000"},
              {REPORT_ALERT, "Tessaron Plug-ins Alert", "30000"},
              {REPORT_WARNING, "Tessaron Plug-ins Warning", "60000"},
              {REPORT_ERROR, "Tessaron Plug-ins Error", "60000"}};
  for (const auto& row : ROWS) {
    heard([&] { host_report(row.severity, "-a $(b) \"c\"\n"); });
    testing::wait_until([&] { return arguments_of("notify-send").size() == 5; });  // it runs by itself
    EXPECT_EQ(arguments_of("notify-send"),
              (std::vector<std::string>{"-t", row.milliseconds, "--", row.title, "-a $(b) \"c\""}));
    std::filesystem::remove(folder.file("bin/notify-send.argv"));
  }
}

TEST_F(messages, a_quiet_report_opens_no_window) {
  host.offered.clear();
  const quiet_reports quiet;
  EXPECT_EQ(heard([] { host_report(REPORT_ERROR, "Hush."); }), "");
}

TEST_F(messages, a_quiet_report_still_reaches_the_host_and_the_debug_output) {
  environment.set("TESSARON_DEBUG", "1");
  const quiet_reports quiet;
  EXPECT_EQ(heard([] { host_report(REPORT_ERROR, "Hush."); }), "Error: Hush.\n");
  EXPECT_EQ(host.messages.size(), 1u);
}

TEST_F(messages, the_render_of_a_thumbnail_is_quiet) {
  host.offered.clear();
  host_state.in_render = true;
  record.host_flags = HOST_THUMBNAIL_RENDER;
  EXPECT_EQ(heard([] { host_report(REPORT_ERROR, "Hush."); }), "");
  record.host_flags = 0;
  EXPECT_EQ(heard([] { host_report(REPORT_ERROR, "Loud."); }), "Tessaron Plug-ins Error: Loud.\n");
  host_state.in_render = false;
  record.host_flags = HOST_THUMBNAIL_RENDER;  // of the last render
  EXPECT_EQ(heard([] { host_report(REPORT_ERROR, "Loud."); }), "Tessaron Plug-ins Error: Loud.\n");
}

TEST_F(messages, a_notice_goes_to_the_host_first) {
  host_notice(REPORT_PLAIN, "Title", "Two\nlines");
  EXPECT_EQ(host.messages, std::vector<std::string>{"Title|Two\nlines"});
}

TEST_F(messages, a_notice_that_the_host_does_not_take_goes_to_the_hook_of_before) {
  host.offered.clear();
  EXPECT_EQ(heard([] { host_notice(REPORT_PLAIN, "Title", "Two\nlines"); }), "Title\nTwo\nlines\n");
}

TEST_F(messages, notices_are_dropped_on_a_render_node_and_in_the_background) {
  for (int* mark : {&host_state.batch_mode, &host_state.background_render}) {
    *mark = 1;
    host_notice(REPORT_PLAIN, "Title", "text");
    host.offered.clear();
    EXPECT_EQ(heard([] { host_notice(REPORT_PLAIN, "Title", "text"); }), "");
    host.offered.insert("VDS App Suite");
    *mark = 0;
  }
  EXPECT_TRUE(host.messages.empty());
}

std::string noticed;

TEST_F(messages, the_hook_of_notices_is_installed_from_the_first_setup_to_the_last_set_down) {
  Globals = before;
  noticed.clear();
  const notice_sink outer = set_notice_sink(
      [](int, const char* title, const char* text) { noticed += std::string(title) + ":" + text + ";"; });
  fake_plugin plugin({PLAIN}), second({PLAIN});
  fake_host other;
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  ASSERT_EQ(other.call(second.get(), PF_Cmd_GLOBAL_SETUP), 0);
  host_state.batch_mode = 1;
  notify_user(REPORT_PLAIN, "a", "dropped");
  host_state.batch_mode = 0;
  notify_user(REPORT_PLAIN, "b", "handed on");
  EXPECT_EQ(noticed, "b:handed on;");
  host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
  host_state.batch_mode = 1;
  notify_user(REPORT_PLAIN, "c", "still dropped, one is alive");
  host_state.batch_mode = 0;
  other.call(second.get(), PF_Cmd_GLOBAL_SETDOWN);
  host_state.batch_mode = 1;
  notify_user(REPORT_PLAIN, "d", "straight");
  host_state.batch_mode = 0;
  EXPECT_EQ(noticed, "b:handed on;d:straight;");
  EXPECT_EQ(set_notice_sink(outer == default_notice_sink ? nullptr : outer) == host_notice, false);
}

TEST_F(messages, the_last_set_down_forgets_what_a_fault_left_in_the_shared_buffer) {
  Globals = before;
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  set_message("left behind");
  host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
  EXPECT_EQ(message_buffer(), "");
  EXPECT_EQ(heard([] { report_message(); }), "");
}

}  // namespace
}  // namespace tessaron
