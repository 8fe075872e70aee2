// Definitions for tests, from files of the source tree.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tessaron::test {

inline std::string read_text_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

inline std::vector<std::filesystem::path> files_with_ending(const std::filesystem::path& folder,
                                                            const std::string& ending) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().extension() == ending) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

/// The fenced blocks of a Markdown text that are marked as definitions.
inline std::vector<std::string> definition_blocks(const std::string& markdown) {
  static const std::string OPEN = "```tessaron\n", CLOSE = "```";
  std::vector<std::string> blocks;
  for (std::size_t at = markdown.find(OPEN); at != std::string::npos; at = markdown.find(OPEN, at)) {
    at += OPEN.size();
    const std::size_t end = markdown.find(CLOSE, at);
    blocks.push_back(markdown.substr(at, end - at));
    at = end;
  }
  return blocks;
}

}  // namespace tessaron::test
