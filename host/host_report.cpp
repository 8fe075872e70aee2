// Where reports go while a plug-in is alive: to the host's own message call, else to the user.
#include <string>

#include "base/report.h"
#include "evaluator/workers.h"
#include "host/host_state.h"
#include "host/host_suites.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

constexpr std::size_t MESSAGE_BUFFER = 2038;
constexpr std::size_t MESSAGE_ROOM = MESSAGE_BUFFER - 20;  // what a message may fill of it
constexpr int SHORT_NOTICE_MS = 30000, LONG_NOTICE_MS = 60000;

/// The message without its line ends, cut to what the buffer holds.
std::string message_body(const char* text) {
  std::string body = text;
  while (!body.empty() && body.back() == '\n') body.pop_back();
  if (body.size() > MESSAGE_ROOM) body.resize(MESSAGE_ROOM);
  return body;
}

bool host_took(int severity, const std::string& title, const std::string& text) {
  // Only the host's own thread may call the host.
  if (in_parallel && !is_main_worker()) return false;
  if (!Globals->in_data) return false;
  const held_suite<pf_vds_app_suite> suite(*Globals->in_data, MESSAGE_SUITE);
  return suite && suite->message && suite->message(severity, title.c_str(), text.c_str()) == 0;
}

}  // namespace

void host_report(int severity, const char* text) {
  const std::string label = severity_label(severity);
  const std::string body = message_body(text);
  const std::string line = label.empty() ? body : label + ": " + body;
  const std::string title = label.empty() ? "Tessaron Plug-ins" : "Tessaron Plug-ins " + label;
  platform::debug_output(line + "\n");
  if (host_took(severity, title, line)) return;
  platform::alert_sound();
  platform::show_message(title, body, severity < REPORT_WARNING ? SHORT_NOTICE_MS : LONG_NOTICE_MS);
}

}  // namespace tessaron
