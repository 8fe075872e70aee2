#include "base/notice.h"

#include <cstdio>
#include <string>

namespace tessaron {

namespace {

notice_sink current_sink = default_notice_sink;

}  // namespace

void notify_user(int severity, const char* title, const char* text) { current_sink(severity, title, text); }

void default_notice_sink(int, const char* title, const char* text) {
  std::string lines = *title ? std::string(title) + "\n" : "";
  lines += text;
  if (lines.empty() || lines.back() != '\n') lines += '\n';
  std::fputs(lines.c_str(), stderr);
  std::fflush(stderr);
}

notice_sink set_notice_sink(notice_sink sink) {
  const notice_sink before = current_sink;
  current_sink = sink ? sink : default_notice_sink;
  return before;
}

}  // namespace tessaron
