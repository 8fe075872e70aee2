// Reports while a plug-in is alive: to the host's message call, else to the user.
#include <gtest/gtest.h>

#include <string>

#include "base/report.h"
#include "host/host_report.h"
#include "host/host_state.h"
#include "support/fake_host.h"

namespace tessaron {
namespace {

using testing::fake_host;
using testing::fake_plugin;

struct host_messages : ::testing::Test {
  fake_host host;
  globals_record record = {};
  globals_record* before = Globals;
  void SetUp() override {
    init_globals(record);
    record.in_data = &host.in_data;
    Globals = &record;
  }
  void TearDown() override { Globals = before; }
};

TEST_F(host_messages, the_host_gets_title_and_labelled_text) {
  host_report(REPORT_ERROR, "Something is wrong.\n\n");
  host_report(REPORT_WARNING, "Careful");
  host_report(REPORT_PLAIN, "  plain\n");
  ASSERT_EQ(host.messages.size(), 3u);
  EXPECT_EQ(host.messages[0], "Tessaron Plug-ins Error|Error: Something is wrong.");
  EXPECT_EQ(host.messages[1], "Tessaron Plug-ins Warning|Warning: Careful");
  EXPECT_EQ(host.messages[2], "Tessaron Plug-ins |  plain");
  EXPECT_EQ(host.held["VDS App Suite"], 0);
}

TEST_F(host_messages, a_long_message_is_cut) {
  host_report(REPORT_PLAIN, std::string(5000, 'x').c_str());
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].size(), std::string("Tessaron Plug-ins |").size() + 2018);
}

TEST_F(host_messages, what_the_host_does_not_take_goes_to_the_user) {
  host.offered.clear();
  ::testing::internal::CaptureStderr();
  host_report(REPORT_ERROR, "Something is wrong.\n");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Tessaron Plug-ins Error: Something is wrong.\n");
}

TEST_F(host_messages, without_a_host_the_user_is_told) {
  record.in_data = nullptr;
  ::testing::internal::CaptureStderr();
  host_report(REPORT_NOTE, "By the way");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Tessaron Plug-ins Note: By the way\n");
  EXPECT_TRUE(host.messages.empty());
}

int caught;
TEST(host_sink, is_installed_from_the_first_setup_to_the_last_set_down) {
  const report_sink before = set_report_sink([](int, const char*) { ++caught; });
  caught = 0;
  fake_host host;
  fake_plugin plugin({"(define A () dest = x)"});
  report(REPORT_NOTE, "to the sink of before");
  EXPECT_EQ(caught, 1);
  ASSERT_EQ(host.setup(plugin.get()), 0);
  ::testing::internal::CaptureStderr();
  report(REPORT_NOTE, "to the user");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Tessaron Plug-ins Note: to the user\n");
  EXPECT_EQ(caught, 1);
  host.setdown(plugin.get());
  report(REPORT_NOTE, "to the sink of before again");
  EXPECT_EQ(caught, 2);
  set_report_sink(before);
}

}  // namespace
}  // namespace tessaron
