// Opens the files that the installer reads.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace tessaron::installer {

/// A file for reading; failed when it can't be opened. A directory, which some systems open as if it were an
/// empty file, counts as one that can't be.
inline std::ifstream open_input_file(const std::string& path, std::ios::openmode mode = std::ios::in) {
  std::ifstream file(path, mode);
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) file.setstate(std::ios::failbit);
  return file;
}

}  // namespace tessaron::installer
