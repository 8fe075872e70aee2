// The folder that comes with the program: settings, stock effects and data files.
#pragma once

#include <string>

namespace tessaron::console {

/// share/tessaron of the installation that this program is part of, or of the build tree where it was built;
/// empty when there is none.
std::string stock_folder();

}  // namespace tessaron::console
