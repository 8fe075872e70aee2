// `tessaron render`: an effect over images, frame by frame.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/find_effect.h"

namespace tessaron::console {

/// The command line of render, as it was written.
struct render_options {
  effect_place place;
  std::string effect;
  std::string output;
  std::vector<std::string> inputs, params;
  std::string frames;
  double fps = 24;
  std::optional<int> total_frames;
  std::string size, pixel_format, downsample;
  double pixel_aspect = 1;
  int field = 0;
  std::optional<int> threads;
  std::string fix_file, missing = "error", progress_file;
  bool skip_bad_frames = false, no_clobber = false, dry_run = false, hash = false, stats = false;
};

/// Exit status; throws work_error or command_line_error.
int render_command(const render_options& options);

}  // namespace tessaron::console
