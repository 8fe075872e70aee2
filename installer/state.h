// What the installer's routines share: the options, and what the two text files say.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace tessaron::installer {

inline int verbose_count = 0;           // number of -v; any makes the tool verbose
inline int old_names_option_count = 0;  // number of -o; any turns on the filter by old names
inline std::string old_names_path;      // argument of the last -o
inline std::set<std::string> old_names;
inline std::vector<std::string> install_dirs;  // in file order, duplicates kept

}  // namespace tessaron::installer
