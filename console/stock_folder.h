// What comes with the program.
#pragma once

#include <string>

namespace tessaron::console {

/// A file or folder, by its path below the prefix, of the installation that this program is part of, or of the build
/// tree where it was built; empty when there is none.
std::string installed_path(const std::string& below_prefix);

/// The folder of settings, stock effects and data files; empty when there is none.
std::string stock_folder();

}  // namespace tessaron::console
