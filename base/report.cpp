#include "base/report.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "base/lasting.h"

namespace tessaron {

namespace {

report_sink current_sink = nullptr;  // null: the default one
location_source current_location = nullptr;
std::FILE* note_stream = nullptr;  // null: standard output
lasting<std::string> message_of_process;
std::string& shared_message = message_of_process.value;

std::string format_arguments(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length <= 0) return {};
  std::string text(std::size_t(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

void send(int severity, const std::string& text) {
  (current_sink ? current_sink : default_report_sink)(severity, text.c_str());
}

}  // namespace

const char* severity_label(int severity) {
  static constexpr const char* LABELS[10] = {"", "Info",  "Note",    "Info",  "Note",
                                             "", "Alert", "Warning", "Error", "Fatal Error"};
  return LABELS[severity >= 0 && severity <= 9 ? severity : int(REPORT_WARNING)];
}

void report(int severity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string text = format_arguments(format, arguments);
  va_end(arguments);
  send(severity >= 0 && severity <= 9 ? severity : int(REPORT_WARNING), text);
}

void default_report_sink(int severity, const char* text) {
  const char* label = severity_label(severity);
  std::string line = *label ? std::string(label) + ": " : std::string();
  line += text;
  while (!line.empty() && line.back() == '\n') line.pop_back();
  line += '\n';
  const std::string location = report_location();
  if (!location.empty()) line += location + '\n';
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
  if (severity == REPORT_FATAL) std::exit(1);
}

report_sink set_report_sink(report_sink sink) {
  const report_sink before = current_sink ? current_sink : default_report_sink;
  current_sink = sink == default_report_sink ? nullptr : sink;
  return before;
}

void set_location_source(location_source source) { current_location = source; }

std::string report_location() { return current_location ? current_location() : std::string(); }

void print_note(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(note_stream ? note_stream : stdout, format, arguments);
  va_end(arguments);
}

void set_note_stream(std::FILE* stream) { note_stream = stream; }

void set_message(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  shared_message = format_arguments(format, arguments);
  va_end(arguments);
}

const std::string& message_buffer() { return shared_message; }

void clear_message() { std::string().swap(shared_message); }

void report_message(int severity) {
  if (shared_message.empty()) return;
  const std::string text = std::move(shared_message);
  shared_message.clear();
  send(severity, text);
}

void fatal_exit(int code) { throw TessaronAbortException(code); }

void fatal(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  shared_message = format_arguments(format, arguments);
  va_end(arguments);
  send(REPORT_ERROR, shared_message);  // and the words stay in the buffer
  fatal_exit(1);
}

}  // namespace tessaron
