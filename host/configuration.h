// Settings and locations: t_config.text, the data files' paths, look-up tables.
//
// Read once per process, on the thread that sets up; everything here is read-only afterwards. A fault
// in a file is reported and leaves the default in place.
#pragma once

#include <cstdint>
#include <string>

#include "base/fixed.h"

namespace tessaron {

struct config_values {
  int multi_process_enable = 1;
  float force_pixel_aspect_ratio = 0;  // above 0.001: forced
  int allow_native_image_formats = 1;
  int use_dials_for_angles_ae = 0;  // After Effects and Pie FX
  int use_dials_for_angles_fcp = 0;
  int use_dials_for_angles_df = 1;
  std::string input_lut, output_lut;
  int input_lut_on = 0, output_lut_on = 0;
  int force_progressive = 0;
};
extern config_values config;

inline constexpr float FORCED_ASPECT_FLOOR = 0.001f;

/// Reads t_config.text into `config`; every call after the first returns at once.
void read_config();
/// Forgets what was read, so that the next read_config() reads again. For tests.
void reset_config();
/// Path of t_config.text.
const char* config_path();
/// Path of a file in the configuration directory.
std::string data_file_path(const char* name);
/// Builds the tables of `config.input_lut` and `config.output_lut`, once. A table that cannot be read
/// is reported and turned off.
void load_luts();
/// Settings that are not the usual ones for this host, in one line; empty when there are none.
std::string config_notes();
/// Product, host, version and date in one line.
std::string about_line();
/// About line and, if there are any, the notes on a second line.
std::string about_text();

extern fix input_lut8[256];             // 8-bit field to fix
extern fix input_lut12[4096];           // fix to fix
extern std::uint8_t output_lut8[4096];  // fix to 8-bit field
extern fix output_lut12[4096];          // fix to fix

}  // namespace tessaron
