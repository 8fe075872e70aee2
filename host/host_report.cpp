#include "host/host_report.h"

#include <string>

#include "base/notice.h"
#include "base/report.h"
#include "base/text.h"
#include "evaluator/workers.h"
#include "host/host_state.h"
#include "host/host_suites.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

constexpr std::size_t MESSAGE_BUFFER = 2038;               // characters of a formatted message
constexpr std::size_t MESSAGE_ROOM = MESSAGE_BUFFER - 20;  // what the text may fill of it
constexpr int SHORT_NOTICE_MS = 30000, LONG_NOTICE_MS = 60000;
constexpr int ALERT_HERTZ = 880, ALERT_MS = 100;

report_sink sink_before = nullptr;
notice_sink notices_before = nullptr;
int quiet_depth = 0;

/// The message without its line ends, cut to what the buffer holds.
std::string message_body(const char* text) {
  std::string body = text;
  while (!body.empty() && body.back() == '\n') body.pop_back();
  if (body.size() > MESSAGE_ROOM) body.resize(MESSAGE_ROOM);
  return body;
}

bool host_took(int severity, const char* title, const std::string& text) {
  // Only the host's own thread may call the host.
  if (in_parallel && !is_main_worker()) return false;
  if (!Globals->in_data) return false;
  const held_suite<pf_vds_app_suite> suite(*Globals->in_data, MESSAGE_SUITE);
  return suite && suite->message && suite->message(severity, title, text.c_str()) == 0;
}

bool quiet() { return quiet_depth > 0 || (host_state.in_render && Globals->host_flags & HOST_THUMBNAIL_RENDER); }

}  // namespace

void titled_host_report(int severity, const char* title, const char* text) {
  const std::string label = severity_label(severity);
  const std::string body = message_body(text);
  const std::string line = label.empty() ? body : label + ": " + body;
  platform::debug_output(line + "\n");
  if (host_took(severity, title, line)) return;
  platform::alert_sound(ALERT_HERTZ, ALERT_MS);
  if (quiet()) return;
  platform::show_message(title, body, severity < REPORT_WARNING ? SHORT_NOTICE_MS : LONG_NOTICE_MS);
}

void host_report(int severity, const char* text) {
  titled_host_report(severity, format_text("Tessaron Plug-ins %s", severity_label(severity)).c_str(), text);
}

void host_notice(int severity, const char* title, const char* text) {
  if (host_state.batch_mode || host_state.background_render) return;
  if (host_took(severity, title, text)) return;
  (notices_before ? notices_before : default_notice_sink)(severity, title, text);
}

void install_message_hooks() {
  sink_before = set_report_sink(host_report);
  notices_before = set_notice_sink(host_notice);
}

void remove_message_hooks() {
  set_report_sink(sink_before);
  set_notice_sink(notices_before);
  sink_before = nullptr;
  notices_before = nullptr;
  clear_message();
}

quiet_reports::quiet_reports() { ++quiet_depth; }
quiet_reports::~quiet_reports() { --quiet_depth; }

}  // namespace tessaron
