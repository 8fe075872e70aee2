// The person at the machine: notices, sound, documents.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "base/report.h"
#include "platform/platform.h"
#include "platform/posix/programs.h"

namespace tessaron::platform {
namespace {

// Results of open_document(), the numbers of the system shell that the callers' texts are for.
enum shell_error : int {
  SHELL_OUT_OF_RESOURCES = 0,
  SHELL_FILE_NOT_FOUND = 2,
  SHELL_PATH_NOT_FOUND = 3,
  SHELL_ACCESS_DENIED = 5,
  SHELL_NO_MEMORY = 8,
  SHELL_BAD_PROGRAM = 11,
  SHELL_SHARING_VIOLATION = 26,
  SHELL_BAD_ASSOCIATION = 27,
  SHELL_NO_APPLICATION = LAST_SHELL_ERROR,
  SHELL_OPENED = 42,  // any number above the errors
};

constexpr int OPENER_PATIENCE_MS = 1500;  // then it is taken to have become the application itself

/// The shell's number for an error of starting a program.
int start_error(int error) {
  switch (error) {
    case ENOENT:
      return SHELL_NO_APPLICATION;
    case EACCES:
    case EPERM:
      return SHELL_ACCESS_DENIED;
    case ENOMEM:
      return SHELL_NO_MEMORY;
    case ENOEXEC:
      return SHELL_BAD_PROGRAM;
    case ETXTBSY:
      return SHELL_SHARING_VIOLATION;
    default:
      return SHELL_OUT_OF_RESOURCES;
  }
}

/// The shell's number for what xdg-open ends with.
int opener_error(int status) {
  constexpr int NO_SUCH_FILE = 2, NO_TOOL = 3, NOT_FOUND = 127;
  switch (status) {
    case 0:
    case program::UNKNOWN:
      return SHELL_OPENED;
    case NO_SUCH_FILE:
      return SHELL_FILE_NOT_FOUND;
    case NO_TOOL:
    case NOT_FOUND:
      return SHELL_NO_APPLICATION;
    default:
      return SHELL_BAD_ASSOCIATION;
  }
}

/// Why a file cannot be read, or SHELL_OPENED.
int file_error(const std::filesystem::path& file) {
  std::error_code failed;
  if (!std::filesystem::exists(file, failed)) {
    if (failed == std::errc::permission_denied) return SHELL_ACCESS_DENIED;
    return std::filesystem::is_directory(file.parent_path(), failed) ? SHELL_FILE_NOT_FOUND : SHELL_PATH_NOT_FOUND;
  }
  return access(file.c_str(), R_OK) == 0 ? SHELL_OPENED : SHELL_ACCESS_DENIED;
}

}  // namespace

void debug_output(const std::string& text) {
  // There is no listener that a program could ask for, so the environment says whether one reads.
  if (environment("TESSARON_DEBUG").empty()) return;
  std::fputs(text.c_str(), stderr);
  std::fflush(stderr);
}

void alert_sound(int, int) {
  if (isatty(STDERR_FILENO)) std::fputc('\a', stderr);
}

void show_message(const std::string& title, const std::string& text, int close_after_ms) {
  std::string line = title;
  while (!line.empty() && line.back() == ' ') line.pop_back();
  line += ": " + text;
  while (!line.empty() && line.back() == '\n') line.pop_back();
  line += '\n';
  const std::string location = report_location();
  if (!location.empty()) line += location + '\n';
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
  // Nobody watches the standard error of a program that was started from a desktop.
  if (!has_display() || isatty(STDERR_FILENO)) return;
  const std::string notifier = find_program("notify-send");
  program notice;
  if (notifier.empty() ||
      notice.start(notifier, {"-t", std::to_string(close_after_ms), "--", title, text}, program::output::dropped) != 0)
    return;
  notice.wait(0);
  notice.leave();
}

int open_document(const std::string& path, const std::string& working_dir) {
  static const std::string FILE_SCHEME = "file://";
  std::string target = path;
  if (!path.starts_with("http://") && !path.starts_with("https://")) {
    // The plain path: in an address, blanks and percent signs would mean something else.
    const std::filesystem::path file = path.starts_with(FILE_SCHEME) ? path.substr(FILE_SCHEME.size()) : path;
    std::error_code ignored;
    target = std::filesystem::absolute(file, ignored).string();
    if (const int error = file_error(target); error != SHELL_OPENED) return error;
  }
  const std::string opener = has_display() ? find_program("xdg-open") : "";
  if (opener.empty()) return SHELL_NO_APPLICATION;
  std::error_code ignored;
  const bool has_folder = std::filesystem::is_directory(working_dir, ignored);
  program opening;
  if (const int error = opening.start(opener, {target}, program::output::dropped, has_folder ? working_dir : ""))
    return start_error(error);
  if (opening.wait(OPENER_PATIENCE_MS)) return opener_error(opening.status());
  opening.leave();
  return SHELL_OPENED;
}

}  // namespace tessaron::platform
