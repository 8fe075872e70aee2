// A configuration directory of the test's own.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "host/inspect.h"
#include "tests/support/scratch_folder.h"

namespace tessaron::testing {

/// A directory with the given data files, names and texts; the engine's as long as this lives.
class config_folder {
 public:
  explicit config_folder(std::initializer_list<std::pair<const char*, std::string>> files) {
    for (const auto& [name, text] : files) folder_.write(name, text);
    if (const char* before = std::getenv(VARIABLE)) before_ = before;
    inspect_use_config_dir(folder_.path());
  }
  ~config_folder() {
    inspect_use_config_dir(before_.value_or(""));
    if (!before_) unsetenv(VARIABLE);
  }
  config_folder(const config_folder&) = delete;
  config_folder& operator=(const config_folder&) = delete;

  const scratch_folder& folder() const { return folder_; }

 private:
  static constexpr const char* VARIABLE = "TESSARON_CONFIG_DIR";
  scratch_folder folder_;
  std::optional<std::string> before_;
};

}  // namespace tessaron::testing
