// An empty folder of a test, removed with all that is in it.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessaron::testing {

class scratch_folder {
 public:
  scratch_folder() {
    std::string name = (std::filesystem::temp_directory_path() / "tessaron-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no scratch folder");
    path_ = name;
  }
  ~scratch_folder() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  scratch_folder(const scratch_folder&) = delete;
  scratch_folder& operator=(const scratch_folder&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  /// Writes a file and returns its path.
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
  }
  std::string read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(file(name), std::ios::binary).rdbuf();
    return content.str();
  }
  /// Names of all that is in the folder, hidden files included, in order.
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      all.push_back(entry.path().filename().string());
    std::sort(all.begin(), all.end());
    return all;
  }

 private:
  std::string path_;
};

}  // namespace tessaron::testing
