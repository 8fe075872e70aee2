#include "console/stock_folder.h"

#include <filesystem>

namespace tessaron::console {

std::string stock_folder() {
  namespace fs = std::filesystem;
  std::error_code failed;
  const fs::path program = fs::read_symlink("/proc/self/exe", failed);
  if (failed) return "";
  // An installed program stands in bin/, a built one beside share/.
  for (const fs::path& prefix : {program.parent_path().parent_path(), program.parent_path()})
    if (fs::is_directory(prefix / "share/tessaron", failed)) return (prefix / "share/tessaron").string();
  return "";
}

}  // namespace tessaron::console
