// Reports: every message of the engine goes through one routine and one replaceable sink.
#pragma once

#include <cstdio>
#include <exception>
#include <string>

namespace tessaron {

/// Severities 0 to 9. 1 and 3 read "Info", 2 and 4 "Note", 6 "Alert", 7 "Warning", 8 "Error",
/// 9 "Fatal Error"; 0 and 5 have no label; any other number counts as 7.
enum severity : int {
  REPORT_PLAIN = 0,
  REPORT_INFO = 1,
  REPORT_NOTE = 2,
  REPORT_UNLABELLED = 5,
  REPORT_ALERT = 6,
  REPORT_WARNING = 7,
  REPORT_ERROR = 8,
  REPORT_FATAL = 9,
};

const char* severity_label(int severity);

/// A sink gets a severity and the finished text (trailing line ends kept as written).
using report_sink = void (*)(int severity, const char* text);

/// Formats and hands the text to the current sink.
[[gnu::format(printf, 2, 3)]] void report(int severity, const char* format, ...);

/// The default sink: standard error, label in front, `file:line` of the text being read on a line
/// of its own behind, flushed; ends the process with status 1 at severity 9.
void default_report_sink(int severity, const char* text);

/// Installs a sink and returns the one before; null puts the default back.
report_sink set_report_sink(report_sink sink);

/// Where the reader stands, as "file:line", or empty when nothing is being read. The text reader
/// installs the function; a sink that writes to a console adds the answer on a line of its own.
using location_source = std::string (*)();
void set_location_source(location_source source);
std::string report_location();

/// A line on standard output that is no report.
[[gnu::format(printf, 1, 2)]] void print_note(const char* format, ...);
/// Has notes written elsewhere by a program that keeps standard output for its results; null: standard output.
void set_note_stream(std::FILE* stream);

/// The shared message buffer: text left by a fault before it is reported or thrown.
[[gnu::format(printf, 1, 2)]] void set_message(const char* format, ...);
const std::string& message_buffer();
void clear_message();
/// Reports the message buffer at the given severity and clears it.
void report_message(int severity = REPORT_ERROR);

/// Thrown by a fatal fault; carries a code (1, or -100 for memory exhausted). The words are in
/// the message buffer and have been reported.
class TessaronAbortException : public std::exception {
 public:
  explicit TessaronAbortException(int code) : code_(code) {}
  int code() const { return code_; }
  const char* what() const noexcept override { return "tessaron: fatal fault"; }

 private:
  int code_;
};

/// The fatal exit: throws TessaronAbortException with `code`.
[[noreturn]] void fatal_exit(int code);
/// set_message, report at severity 8, fatal_exit(1).
[[noreturn]] [[gnu::format(printf, 1, 2)]] void fatal(const char* format, ...);

}  // namespace tessaron
