// A registry for systems without one: small text files of lines `key\value=text`, `#` for comments.
//
// Stores in the order in which they answer for the machine: the environment variable
// TESSARON_CONFIG_DIR (value "ConfigDir" only), the user's file, the files of the system's
// configuration directories, the file beside the installation. Names compare without case.
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "platform/platform.h"

namespace tessaron::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* STORE_NAME = "tessaron/registry";

/// $XDG_CONFIG_HOME or ~/.config; empty when neither is known.
fs::path user_store() {
  std::string base = environment("XDG_CONFIG_HOME");
  if (base.empty()) {
    const std::string home = environment("HOME");
    if (home.empty()) return {};
    base = home + "/.config";
  }
  return fs::path(base) / STORE_NAME;
}

/// Any address of this module.
const char module_mark = 0;

std::vector<fs::path> system_stores() {
  std::vector<fs::path> stores;
  std::string dirs = environment("XDG_CONFIG_DIRS");
  if (dirs.empty()) dirs = "/etc/xdg";
  for (std::size_t begin = 0; begin <= dirs.size();) {
    const std::size_t end = std::min(dirs.find(':', begin), dirs.size());
    if (end > begin) stores.push_back(fs::path(dirs.substr(begin, end - begin)) / STORE_NAME);
    begin = end + 1;
  }
  stores.push_back(fs::path("/etc") / STORE_NAME);
  const fs::path module = module_path(&module_mark);
  if (!module.empty()) stores.push_back(module.parent_path().parent_path() / "share" / STORE_NAME);
  return stores;
}

/// Name of a line before its first `=`; empty for comments and lines that assign nothing.
std::string_view line_name(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos || line.empty() || line.front() == '#') return {};
  return line.substr(0, equals);
}

bool same_name(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

/// Lines without their ends. A directory or a missing file has none; `whole` is false for a file that could not be
/// read to its end.
struct store_lines {
  std::vector<std::string> lines;
  bool whole = true;
};

store_lines read_lines(const fs::path& path) {
  store_lines store;
  std::error_code failed;
  if (path.empty() || !fs::is_regular_file(path, failed)) return store;
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    store.lines.push_back(line);
  }
  store.whole = file.eof();
  return store;
}

bool read_store(const fs::path& path, const std::string& name, std::string& out) {
  bool found = false;
  const store_lines store = read_lines(path);
  for (const std::string& line : store.lines) {
    if (!same_name(line_name(line), name)) continue;
    out = line.substr(name.size() + 1);
    found = true;  // of lines that repeat a name the last one holds
  }
  return found;
}

/// Replaces a file as a whole: a reader sees the old one or the new one.
bool write_file(const fs::path& path, const std::string& text) {
  std::error_code failed;
  fs::create_directories(path.parent_path(), failed);
  std::string temporary = path.string() + ".XXXXXX";
  const int descriptor = mkstemp(temporary.data());
  if (descriptor < 0) return false;
  std::FILE* file = fdopen(descriptor, "w");
  if (!file) {
    close(descriptor);
    unlink(temporary.c_str());
    return false;
  }
  bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  written = std::fflush(file) == 0 && fsync(descriptor) == 0 && written;
  written = std::fclose(file) == 0 && written;
  if (written && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
  unlink(temporary.c_str());
  return false;
}

}  // namespace

bool read_registry_text(registry_root root, const std::string& key, const std::string& value, std::string& out) {
  if (root == registry_root::local_machine && value == "ConfigDir") {
    const std::string directory = environment("TESSARON_CONFIG_DIR");
    if (!directory.empty()) {
      out = directory;
      return true;
    }
  }
  const std::string name = key + "\\" + value;
  if (read_store(user_store(), name, out)) return true;
  if (root == registry_root::current_user) return false;
  for (const fs::path& store : system_stores())
    if (read_store(store, name, out)) return true;
  return false;
}

bool read_registry_number(registry_root root, const std::string& key, const std::string& value, std::int32_t& out) {
  std::string text;
  if (!read_registry_text(root, key, value, text)) return false;
  const char* end = text.data() + text.size();
  std::int32_t number = 0;
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return false;
  out = number;
  return true;
}

bool write_registry_number(registry_root root, const std::string& key, const std::string& value, std::int32_t number) {
  // Only the user's own branch is written; the machine's is set up by whoever installs.
  const std::string name = key + "\\" + value;
  const fs::path store = user_store();
  if (root != registry_root::current_user || store.empty() || name.find_first_of("=\r\n") != std::string::npos ||
      name.front() == '#') {
    errno = EACCES;
    return false;
  }
  const store_lines before = read_lines(store);
  if (!before.whole) {  // what can't be read would be lost
    errno = EIO;
    return false;
  }
  std::string text;
  for (const std::string& line : before.lines)
    if (!same_name(line_name(line), name)) text += line + '\n';
  text += name + '=' + std::to_string(number) + '\n';
  return write_file(store, text);
}

}  // namespace tessaron::platform
