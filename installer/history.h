// The two text files that steer the installer. Each line stands as it is: blanks count, an empty line is a line.
#pragma once

#include <string>

namespace tessaron::installer {

/// Fills `install_dirs` with the lines of a file; with the default directory, after a message, when the file
/// can't be opened.
void read_installer_history(const std::string& path);

/// Fills `old_names` with the lines of a file; leaves it empty when the file can't be opened, which is said
/// only when verbose.
void read_old_names(const std::string& path);

}  // namespace tessaron::installer
