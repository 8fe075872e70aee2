#include "console/progress.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>

#include "console/errors.h"

namespace tessaron::console {
namespace {

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

}  // namespace

std::string clock_text(double seconds) {
  const long all = long(std::lround(std::fmax(seconds, 0)));
  char text[40];
  if (all >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", all / 3600, all / 60 % 60, all % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld", all / 60, all % 60);
  return text;
}

void progress_display::file_closer::operator()(std::FILE* file) const {
  if (file != stdout) std::fclose(file);
}

progress_display::progress_display(int total, const std::string& file)
    : total_(total), start_(now()), terminal_(::isatty(STDERR_FILENO) == 1) {
  if (file == "-")
    lines_.reset(stdout);
  else if (!file.empty())
    lines_.reset(std::fopen(file.c_str(), "w"));
  if (!file.empty() && !lines_) throw work_error("cannot write " + file + ": " + std::strerror(errno));
}

progress_display::~progress_display() { clear_line(); }

double progress_display::frames_per_second() const {
  const double spent = now() - start_;
  return spent > 0 ? rendered_ / spent : 0;
}

double progress_display::seconds_left() const {
  const double rate = frames_per_second();
  return rate > 0 ? (total_ - ended_) / rate : 0;
}

void progress_display::frame_ended(int frame, const char* state, const std::string& output) {
  ++ended_;
  rendered_ += std::strcmp(state, "done") == 0;
  failed_ += std::strcmp(state, "failed") == 0;
  if (lines_) {
    std::fprintf(
        lines_.get(),
        "frame=%d\nstate=%s\noutput=%s\ndone=%d\nfailed=%d\ntotal=%d\nfps=%.3f\nseconds_left=%.3f\nprogress=continue\n",
        frame, state, output.c_str(), ended_, failed_, total_, frames_per_second(), seconds_left());
    std::fflush(lines_.get());
  }
  if (terminal_ && total_ > 1) {
    std::fprintf(stderr, "\r\033[K%d/%d frames  %.2f frames/s  %s left", ended_, total_, frames_per_second(),
                 clock_text(seconds_left()).c_str());
    std::fflush(stderr);
    line_shown_ = true;
  }
}

void progress_display::finish(const char* state) {
  clear_line();
  if (terminal_ && total_ > 1 && rendered_ > 0)
    std::fprintf(stderr, "%d frames in %s, %.2f frames/s\n", rendered_, clock_text(now() - start_).c_str(),
                 frames_per_second());
  if (lines_) {
    std::fprintf(lines_.get(), "done=%d\nfailed=%d\ntotal=%d\nseconds=%.3f\nprogress=%s\n", ended_, failed_, total_,
                 now() - start_, state);
    std::fflush(lines_.get());
  }
}

void progress_display::clear_line() {
  if (line_shown_) std::fputs("\r\033[K", stderr);
  line_shown_ = false;
}

}  // namespace tessaron::console
