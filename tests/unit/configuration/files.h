// A folder of its own for each test, as the configuration directory.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "genotype/text_reader.h"
#include "host/configuration.h"
#include "host/host_state.h"
#include "installer/custom_listing.h"
#include "support/report_capture.h"
#include "support/scratch_folder.h"

namespace tessaron::testing {

class ConfigFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TESSARON_CONFIG_DIR", folder.c_str(), 1);
    forget();
  }
  void TearDown() override {
    unsetenv("TESSARON_CONFIG_DIR");
    forget();
    set_pixel_aspect_ratio(1);
    EXPECT_EQ(open_file_count, 0) << "a file was left open";
    EXPECT_EQ(reading_from_file_ptr, nullptr);
  }
  static void forget() {
    reset_custom_listing();
    reset_config();
    reset_reader();
    host_state.use_dials = false;
    host_state.host_app = HOST_UNDETECTED;
  }
  std::string write(const char* name, const std::string& text) {
    const std::filesystem::path path = folder / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  scratch_folder scratch;
  std::filesystem::path folder = scratch.path();
  report_capture reports;
};

}  // namespace tessaron::testing
