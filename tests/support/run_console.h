// Runs the built console program on a command line that is a shell text.
#pragma once

#include "support/command.h"

namespace tessaron::testing {

/// Settings come from the source tree unless the arguments say otherwise. `environment`: further
/// assignments, such as "A=b ".
inline command_result run_console(const std::string& arguments, const std::string& environment = "") {
  return run_command("/bin/sh", {"-c", shell_quoted(TESSARON_BINARY_DIR "/tessaron") + " " + arguments},
                     "TESSARON_CONFIG_DIR=" + shell_quoted(TESSARON_SOURCE_DIR "/config") + " " + environment);
}

}  // namespace tessaron::testing
