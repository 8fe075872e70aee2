// The two ways in which a verb fails, by exit status.
#pragma once

#include <stdexcept>

namespace tessaron::console {

inline constexpr int EXIT_DONE = 0;
inline constexpr int EXIT_WORK_FAILED = 1;
inline constexpr int EXIT_COMMAND_LINE = 2;

/// The work failed: an unreadable image, a definition that does not bind, a failed render.
struct work_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The command line is wrong.
struct command_line_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace tessaron::console
