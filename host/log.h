// The diagnostics log: what a support engineer wants to know of a process that has rendered.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tessaron {

/// A text that grows: the room for it is doubled as needed.
class log_buffer {
 public:
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);
  [[gnu::format(printf, 2, 0)]] void print_list(const char* format, va_list arguments);
  void append(std::string_view text);

  std::string_view text() const { return {room_.data(), used_}; }
  std::size_t capacity() const { return room_.size(); }

 private:
  void make_room(std::size_t more);

  std::vector<char> room_;
  std::size_t used_ = 0;
};

/// Formats one entry into the log under construction.
[[gnu::format(printf, 1, 2)]] void log_printf(const char* format, ...);

/// Path of t_log.text.
std::string log_path();

/// Writes the log if it is still to be written, once in a process. Nothing is reported: a log that cannot be
/// written is one that nobody has asked for.
void write_diagnostics_log();

}  // namespace tessaron
