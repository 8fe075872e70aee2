// Runs the built console program on a command line that is a shell text.
#pragma once

#include <filesystem>

#include "support/command.h"

namespace tessaron::testing {

/// Settings come from a copy of the source tree's, unless the arguments say otherwise: a render writes its log beside
/// them. `environment`: further assignments, such as "A=b ".
inline command_result run_console(const std::string& arguments, const std::string& environment = "") {
  const scratch_folder config;
  std::filesystem::copy(TESSARON_SOURCE_DIR "/config", config.path(),
                        std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing);
  return run_command("/bin/sh", {"-c", shell_quoted(TESSARON_BINARY_DIR "/tessaron") + " " + arguments},
                     "TESSARON_CONFIG_DIR=" + shell_quoted(config.path()) + " " + environment);
}

}  // namespace tessaron::testing
