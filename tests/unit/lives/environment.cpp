// All lives of this program find the same settings, whatever the machine has.
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/scratch_folder.h"

namespace {

class usual_settings : public ::testing::Environment {
 public:
  usual_settings() {
    folder_.write("t_config.text", "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n");
    ::setenv("TESSARON_CONFIG_DIR", folder_.path().c_str(), 1);
  }

 private:
  tessaron::testing::scratch_folder folder_;
};

// Owned by the test framework. Made before any test, and before the engine can look for its settings.
[[maybe_unused]] ::testing::Environment* const settings = ::testing::AddGlobalTestEnvironment(new usual_settings);

}  // namespace
