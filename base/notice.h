// Notices: texts meant for the person at the machine. They are no faults, so they do not go the way of reports.
#pragma once

namespace tessaron {

/// Gets a severity, the title of a window and a text of one or more lines.
using notice_sink = void (*)(int severity, const char* title, const char* text);

/// Hands a notice to the current sink.
void notify_user(int severity, const char* title, const char* text);

/// The default sink: standard error, the title on a line of its own in front, flushed.
void default_notice_sink(int severity, const char* title, const char* text);

/// Installs a sink and returns the one before; null puts the default back.
notice_sink set_notice_sink(notice_sink sink);

}  // namespace tessaron
