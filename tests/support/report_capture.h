// Catches the reports of a test: while a report_capture lives, every report lands in it instead of
// on standard error. One may live at a time, or nested in stack order.
#pragma once

#include <string>
#include <vector>

#include "base/report.h"

namespace tessaron::testing {

class report_capture {
 public:
  struct entry {
    int severity;
    std::string text;
    std::string location;  // "file:line" of the text being read, or empty
  };

  report_capture() : outer_(current()) {
    current() = this;
    before_ = set_report_sink([](int severity, const char* text) {
      current()->entries_.push_back({severity, text, report_location()});
    });
  }
  ~report_capture() {
    set_report_sink(before_);
    current() = outer_;
  }
  report_capture(const report_capture&) = delete;
  report_capture& operator=(const report_capture&) = delete;

  const std::vector<entry>& entries() const { return entries_; }
  bool empty() const { return entries_.empty(); }
  std::size_t count() const { return entries_.size(); }
  void clear() { entries_.clear(); }

  /// Severity of the first report with exactly this text, or -1.
  int severity_of(const std::string& text) const {
    for (const entry& e : entries_)
      if (e.text == text) return e.severity;
    return -1;
  }
  bool has(const std::string& text) const { return severity_of(text) != -1; }
  bool has_part(const std::string& part) const {
    for (const entry& e : entries_)
      if (e.text.find(part) != std::string::npos) return true;
    return false;
  }
  /// How many reports contain `part`.
  int count_part(const std::string& part) const {
    int n = 0;
    for (const entry& e : entries_) n += e.text.find(part) != std::string::npos;
    return n;
  }
  /// Forgets the reports that contain `part`: what every definition of a kind says.
  void drop_part(const std::string& part) {
    std::erase_if(entries_, [&part](const entry& e) { return e.text.find(part) != std::string::npos; });
  }
  /// All reports, one a line, for failure messages.
  std::string all() const {
    std::string text;
    for (const entry& e : entries_) {
      text += '[';
      text += std::to_string(e.severity);
      text += "] " + e.text + "\n";
    }
    return text;
  }

 private:
  static report_capture*& current() {
    static report_capture* capture = nullptr;
    return capture;
  }
  report_capture* outer_;
  report_sink before_ = nullptr;
  std::vector<entry> entries_;
};

}  // namespace tessaron::testing
