// Opens the files that the installer reads.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace tessaron::installer {

/// A file for reading; failed when it can't be opened. A directory, which some systems open as if it were an
/// empty file, counts as one that can't be, and so does a pipe where bytes are asked for: one that nobody writes to
/// would never open.
inline std::ifstream open_input_file(const std::string& path, std::ios::openmode mode = std::ios::in) {
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(path, ignored);
  std::ifstream file;
  if (is_directory(status) || ((mode & std::ios::binary) && is_fifo(status)))
    file.setstate(std::ios::failbit);
  else
    file.open(path, mode);
  return file;
}

}  // namespace tessaron::installer
