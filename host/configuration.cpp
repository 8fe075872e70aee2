#include "host/configuration.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "base/report.h"
#include "base/text.h"
#include "evaluator/workers.h"
#include "genotype/text_reader.h"
#include "host/host_state.h"
#include "host/lut.h"
#include "installer/custom_listing.h"

namespace tessaron {

config_values config;

namespace {

constexpr const char* BUILD_DATE = "8-jan-2007";
// Paths that do not fit their buffers, terminator included, are refused.
constexpr std::size_t INPUT_LUT_PATH_SIZE = 288, OUTPUT_LUT_PATH_SIZE = 292;

/// Gets the value's token; false: not acceptable.
using value_parser = bool (*)(const char* token);

struct config_key {
  const char* name;
  bool required;
  value_parser accept;
  bool seen = false;
};

template <int config_values::*TARGET>
bool accept_boolean(const char* token) {
  int value = 0;
  if (!scan_integer(token, value)) return false;
  config.*TARGET = value != 0;
  return true;
}

/// A path also turns its table on.
template <std::string config_values::*TARGET, std::size_t SIZE, int config_values::*ON>
bool accept_path(const char* token) {
  if (std::strlen(token) >= SIZE) return false;
  config.*TARGET = token;
  config.*ON = 1;
  return true;
}

bool accept_multi_process(const char* token) {
  if (!accept_boolean<&config_values::multi_process_enable>(token)) return false;
  multi_process_enable = config.multi_process_enable;
  return true;
}

bool accept_pixel_aspect_ratio(const char* token) {
  float ratio = 0;
  if (!parse_number(token, ratio)) {
    config.force_pixel_aspect_ratio = 0;
    return false;
  }
  if (ratio == 0) {
    config.force_pixel_aspect_ratio = 0;  // also after a line that forced one: the later value wins
    return true;
  }
  if (!(ratio > FORCED_ASPECT_FLOOR) || !std::isfinite(ratio)) return false;
  config.force_pixel_aspect_ratio = ratio;
  set_pixel_aspect_ratio(ratio);
  return true;
}

config_key keys[] = {
    {"multi_process_enable", true, accept_multi_process},
    {"force_pixel_aspect_ratio", true, accept_pixel_aspect_ratio},
    {"allow_native_image_formats", false, accept_boolean<&config_values::allow_native_image_formats>},
    {"use_dials_for_angles_ae", false, accept_boolean<&config_values::use_dials_for_angles_ae>},
    {"use_dials_for_angles_fcp", false, accept_boolean<&config_values::use_dials_for_angles_fcp>},
    {"use_dials_for_angles_df", false, accept_boolean<&config_values::use_dials_for_angles_df>},
    {"input_lut", false, accept_path<&config_values::input_lut, INPUT_LUT_PATH_SIZE, &config_values::input_lut_on>},
    {"output_lut", false, accept_path<&config_values::output_lut, OUTPUT_LUT_PATH_SIZE, &config_values::output_lut_on>},
};

bool config_read = false;
bool luts_loaded = false;
std::string config_file_path;

/// The key that a token names ("key:"), null for anything else.
config_key* find_key(std::string token) {
  if (token.empty() || token.back() != ':') return nullptr;
  token.pop_back();
  for (config_key& key : keys)
    if (token == key.name) return &key;
  return nullptr;
}

/// Reads key after key to the end of the source.
void read_keys() {
  char token[TOKEN_SIZE];
  while (get_token(token) == 0) {
    config_key* key = find_key(token);
    if (!key) continue;
    if (key->seen) report(REPORT_WARNING, "Already saw %s in config file", key->name);
    if (get_token(token) != 0) {
      report(REPORT_ERROR, "EOF while reading value for %s", key->name);
      return;
    }
    if (key->accept(token))
      key->seen = true;
    else
      report(REPORT_ERROR, "Illegal value in config file for %s: %s", key->name, token);
  }
}

/// 0, or the system's number of why a file cannot be read as text.
int why_unreadable(const char* path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) return EISDIR;
  std::FILE* probe = std::fopen(path, "r");
  if (!probe) return errno;
  std::fclose(probe);
  return 0;
}

}  // namespace

std::string data_file_path(const char* name) { return format_text("%s%c%s", get_config_dir(), '/', name); }

const char* config_path() {
  if (config_file_path.empty()) config_file_path = data_file_path("t_config.text");
  return config_file_path.c_str();
}

void read_config() {
  if (config_read) return;
  config_read = true;
  const char* path = config_path();
  if (const int error = why_unreadable(path)) {
    report(REPORT_ERROR, "Failed opening config file: %s: %s", path, std::strerror(error));
    return;
  }
  {
    const file_source file(path);
    if (!file.stream) return;
    read_keys();
  }
  for (const config_key& key : keys)
    if (key.required && !key.seen) report(REPORT_WARNING, "Expected to find %s in config file, but didn't.", key.name);
}

void reset_config() {
  config = {};
  multi_process_enable = config.multi_process_enable;
  for (config_key& key : keys) key.seen = false;
  config_read = luts_loaded = false;
  config_file_path.clear();
}

void load_luts() {
  if (luts_loaded) return;
  luts_loaded = true;
  if (config.input_lut_on) config.input_lut_on = load_input_lut(config.input_lut.c_str()) == 0;
  if (config.output_lut_on) config.output_lut_on = load_output_lut(config.output_lut.c_str()) == 0;
}

std::string config_notes() {
  std::string notes;
  const auto prefix = [&notes] { return notes.empty() ? "" : ", "; };
  if (config.force_progressive) notes += format_text("%sforce_progressive: ON", prefix());
  if (config.multi_process_enable != 1) notes += format_text("%smultiprocessing: OFF", prefix());
  if (config.allow_native_image_formats != 1) notes += format_text("%snative image format: DISABLED", prefix());
  const bool usual_dials = host_state.host_app == HOST_FUSION;
  if (host_state.use_dials != usual_dials)
    notes += format_text("%s%susing dials for angles", prefix(), host_state.use_dials ? "" : "NOT ");
  if (config.force_pixel_aspect_ratio > FORCED_ASPECT_FLOOR)
    notes += format_text("%spixel aspect ratio forced to %g", prefix(), double(config.force_pixel_aspect_ratio));
  if (config.input_lut_on || config.output_lut_on) notes += format_text("%sLUTs: ON", prefix());
  return notes;
}

std::string about_line() {
  return format_text("Tessaron Plug-ins for %s: v%s of %s%s", host_app_name(host_state.host_app), ENGINE_VERSION_TEXT,
                     BUILD_DATE, "");
}

std::string about_text() {
  const std::string notes = config_notes();
  return notes.empty() ? about_line() : about_line() + "\n" + notes;
}

}  // namespace tessaron
