// Where messages go while a plug-in is alive.
#pragma once

namespace tessaron {

/// Routes reports and notices through the host adapter; at the first global setup.
void install_message_hooks();
/// Puts back what was there before, and forgets what a fault left in the shared message buffer.
void remove_message_hooks();

/// The sink of reports. Cut to 2018 characters, a report goes to the debug output, and to the host's own message
/// call; what the host does not take sounds the alert and, unless it is quiet, opens a window that closes by itself.
void host_report(int severity, const char* text);
/// host_report() under a title of its own.
void titled_host_report(int severity, const char* title, const char* text);

/// The sink of notices meant for the user: to the host's message call, else to the sink of before. There is no
/// user on a render node: nothing is shown.
void host_notice(int severity, const char* title, const char* text);

/// While one of these lives, reports open no window. So are those of a thumbnail's render: a host that draws a page
/// of icons would bury its user.
class quiet_reports {
 public:
  quiet_reports();
  ~quiet_reports();
  quiet_reports(const quiet_reports&) = delete;
  quiet_reports& operator=(const quiet_reports&) = delete;
};

}  // namespace tessaron
