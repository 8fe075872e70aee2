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
  bool picture_wanted = true;  // false: -o may be left out
  bool skip_bad_frames = false, no_clobber = false, dry_run = false, hash = false, stats = false;
};

/// The effect to render, with its reports.
struct chosen_effect {
  found_effect effect;
  genotype_ptr g;
  std::vector<std::string> said;
};

/// Of variants for other inputs the first that has a place for all images of -i; the last one says what is too much.
chosen_effect choose_effect(const render_options& options);

/// Whether --no-clobber keeps this output from being written.
bool is_left_alone(const std::string& output, const render_options& options);

/// Exit status; throws work_error or command_line_error.
int render_command(const render_options& options);

}  // namespace tessaron::console
