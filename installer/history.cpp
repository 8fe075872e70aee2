#include "installer/history.h"

#include <iostream>

#include "installer/input_file.h"
#include "installer/state.h"

namespace tessaron::installer {
namespace {

constexpr const char* DEFAULT_INSTALL_DIR = "c:/Program Files/Adobe/After Effects 6.0/Plug-ins/Tessaron Plug-ins";

}  // namespace

void read_installer_history(const std::string& path) {
  std::ifstream file = open_input_file(path);
  if (!file) {
    std::cerr << "Can't open installer history file " << path << '\n';
    install_dirs.push_back(DEFAULT_INSTALL_DIR);
    return;
  }
  for (std::string line; std::getline(file, line);) install_dirs.push_back(line);
}

void read_old_names(const std::string& path) {
  std::ifstream file = open_input_file(path);
  if (!file) {
    if (verbose_count) std::cerr << "Can't open old-names file " << path << " (OK)\n";
    return;
  }
  for (std::string line; std::getline(file, line);) old_names.insert(line);
}

}  // namespace tessaron::installer
