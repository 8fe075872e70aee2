// Files that appear whole or not at all.
#pragma once

#include <cstddef>
#include <string>

namespace tessaron::console {

/// A name beside `path` for a file under construction, with the same extension.
std::string temporary_name(const std::string& path);

/// A file under construction: removed again unless it is published.
class unfinished_file {
 public:
  explicit unfinished_file(const std::string& path) : path_(path), temporary_(temporary_name(path)) {}
  ~unfinished_file();
  unfinished_file(const unfinished_file&) = delete;
  unfinished_file& operator=(const unfinished_file&) = delete;

  const std::string& name() const { return temporary_; }
  /// Makes sure that all is on the disk, and gives the file its name. Throws work_error.
  void publish();

 private:
  std::string path_, temporary_;
  bool published_ = false;
};

/// Writes a whole file. Throws work_error with the system's words.
void write_whole_file(const std::string& path, const void* data, std::size_t size);

}  // namespace tessaron::console
