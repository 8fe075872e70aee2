#include "hostkit/plugin_library.h"

#include <gtest/gtest.h>

using tessaron::hostkit::host_error;
using tessaron::hostkit::plugin_library;

namespace {

std::string refusal(const std::string& path) {
  try {
    const plugin_library library(path);
    return "";
  } catch (const host_error& fault) {
    return fault.what();
  }
}

TEST(PluginLibrary, names_the_file_that_can_not_be_loaded) {
  EXPECT_NE(refusal("/no/such/plugin.aex").find("/no/such/plugin.aex can't be loaded"), std::string::npos);
  EXPECT_NE(refusal(TESSARON_SOURCE_DIR "/CMakeLists.txt").find("CMakeLists.txt can't be loaded"), std::string::npos);
}

TEST(PluginLibrary, is_not_found_in_the_search_directories_of_the_system) {
  EXPECT_NE(refusal("libm.so.6").find("can't be loaded"), std::string::npos);
}

TEST(PluginLibrary, needs_an_entry) {
  std::string path;
  for (const char* candidate :
       {"/lib/x86_64-linux-gnu/libm.so.6", "/usr/lib/aarch64-linux-gnu/libm.so.6", "/lib64/libm.so.6"})
    if (refusal(candidate).find("can't be loaded") == std::string::npos) path = candidate;
  if (path.empty()) GTEST_SKIP() << "no system library in a known place";
  EXPECT_NE(refusal(path).find("has no tessaron_main"), std::string::npos) << refusal(path);
}

}  // namespace
