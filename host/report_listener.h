// Reports of a stretch of work, kept instead of shown.
#pragma once

#include <vector>

#include "base/report.h"
#include "host/inspect.h"

namespace tessaron {

/// Collects reports while it lives. A report of a fatal fault stops the work instead of the process.
class report_listener {
 public:
  explicit report_listener(std::vector<inspected_report>& reports) : outer_(current()) {
    current() = &reports;
    before_ = set_report_sink([](int severity, const char* text) {
      if (current()) current()->push_back({severity, text, report_location()});
      if (severity == REPORT_FATAL) fatal_exit(1);
    });
  }
  ~report_listener() {
    set_report_sink(before_);
    current() = outer_;
  }
  report_listener(const report_listener&) = delete;
  report_listener& operator=(const report_listener&) = delete;

 private:
  static std::vector<inspected_report>*& current() {
    static std::vector<inspected_report>* reports = nullptr;
    return reports;
  }
  std::vector<inspected_report>* outer_;
  report_sink before_;
};

}  // namespace tessaron
