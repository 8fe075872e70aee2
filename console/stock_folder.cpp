#include "console/stock_folder.h"

#include <filesystem>

namespace tessaron::console {

std::string installed_path(const std::string& below_prefix) {
  namespace fs = std::filesystem;
  std::error_code failed;
  const fs::path program = fs::read_symlink("/proc/self/exe", failed);
  if (failed) return "";
  // An installed program stands in bin/, a built one beside what it needs or in a folder of its own.
  for (const fs::path& prefix : {program.parent_path().parent_path(), program.parent_path()})
    if (fs::exists(prefix / below_prefix, failed)) return (prefix / below_prefix).string();
  return "";
}

std::string stock_folder() { return installed_path("share/tessaron"); }

}  // namespace tessaron::console
