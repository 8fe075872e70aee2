// The person at the machine: notices, sound, documents.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "base/report.h"
#include "platform/platform.h"

extern char** environ;

namespace tessaron::platform {
namespace {

// Results of open_document(), the numbers of the system shell that the callers' texts are for.
enum shell_error : int {
  SHELL_OK = 0,
  SHELL_FILE_NOT_FOUND = 2,
  SHELL_PATH_NOT_FOUND = 3,
  SHELL_ACCESS_DENIED = 5,
  SHELL_NO_MEMORY = 8,
  SHELL_NO_APPLICATION = 31,
};

bool has_display() { return !environment("DISPLAY").empty() || !environment("WAYLAND_DISPLAY").empty(); }

/// Runs a short shell script with arguments $1, $2... and gives its exit status, -1 when none could start.
int run_script(const char* script, const std::vector<std::string>& arguments) {
  std::vector<const char*> words = {"sh", "-c", script, "sh"};
  for (const std::string& a : arguments) words.push_back(a.c_str());
  words.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, const_cast<char* const*>(words.data()), environ) != 0) return -1;
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

void debug_output(const std::string& text) {
  // There is no listener that a program could ask for, so the environment says whether one reads.
  if (environment("TESSARON_DEBUG").empty()) return;
  std::fputs(text.c_str(), stderr);
  std::fflush(stderr);
}

void alert_sound() {
  if (isatty(STDERR_FILENO)) std::fputc('\a', stderr);
}

void show_message(const std::string& title, const std::string& text, int close_after_ms) {
  std::string line = title + ": " + text;
  while (!line.empty() && line.back() == '\n') line.pop_back();
  line += '\n';
  const std::string location = report_location();
  if (!location.empty()) line += location + '\n';
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
  // Nobody watches the standard error of a program that was started from a desktop.
  if (has_display() && !isatty(STDERR_FILENO))
    run_script(
        "command -v notify-send >/dev/null || exit 0\n"
        "notify-send -t \"$1\" -- \"$2\" \"$3\" >/dev/null 2>&1 &",
        {std::to_string(close_after_ms), title, text});
}

int open_document(const std::string& path, const std::string& working_dir) {
  static const std::string FILE_SCHEME = "file://";
  const bool web = path.starts_with("http://") || path.starts_with("https://");
  if (!web) {
    const std::filesystem::path file = path.starts_with(FILE_SCHEME) ? path.substr(FILE_SCHEME.size()) : path;
    std::error_code failed;
    if (!std::filesystem::exists(file, failed)) {
      if (failed == std::errc::permission_denied) return SHELL_ACCESS_DENIED;
      return file.has_parent_path() && !std::filesystem::exists(file.parent_path(), failed) ? SHELL_PATH_NOT_FOUND
                                                                                            : SHELL_FILE_NOT_FOUND;
    }
    if (access(file.c_str(), R_OK) != 0) return SHELL_ACCESS_DENIED;
  }
  if (!has_display()) return SHELL_NO_APPLICATION;
  switch (
      run_script("command -v xdg-open >/dev/null || exit 31\n"
                 "cd -- \"$2\" 2>/dev/null\n"
                 "xdg-open \"$1\" >/dev/null 2>&1 &",
                 {path, working_dir})) {
    case 0:
      return SHELL_OK;
    case SHELL_NO_APPLICATION:
      return SHELL_NO_APPLICATION;
    default:
      return SHELL_NO_MEMORY;
  }
}

}  // namespace tessaron::platform
