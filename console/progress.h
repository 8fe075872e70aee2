// How far a render is: a line on the terminal, and key=value lines for programs.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace tessaron::console {

/// "1:02:03", "2:03", from seconds.
std::string clock_text(double seconds);

/// Counts finished frames. The terminal line appears only where standard error is a terminal.
class progress_display {
 public:
  /// `file`: where key=value lines go, "-" is standard output, empty is nowhere. Throws work_error.
  progress_display(int total, const std::string& file);
  ~progress_display();
  progress_display(const progress_display&) = delete;
  progress_display& operator=(const progress_display&) = delete;

  /// A frame has ended; `state` is "done", "skipped" or "failed".
  void frame_ended(int frame, const char* state, const std::string& output);
  /// The last lines: `state` is "end" or "failed".
  void finish(const char* state);
  /// Takes the terminal line away, before something else is written to standard error.
  void clear_line();

 private:
  double seconds_left() const;
  double frames_per_second() const;

  struct file_closer {
    void operator()(std::FILE* file) const;
  };
  int total_, ended_ = 0, failed_ = 0, rendered_ = 0;
  double start_;
  bool terminal_, line_shown_ = false;
  std::unique_ptr<std::FILE, file_closer> lines_;
};

}  // namespace tessaron::console
