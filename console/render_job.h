// What a render command comes to, once its options have been read against the effect.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/inputs.h"
#include "console/param_args.h"
#include "console/render_command.h"
#include "console/sequences.h"

namespace tessaron::console {

struct size_option {
  int width = 1920, height = 1080;
};
struct downsample_option {
  int x = 1, y = 1;
};

/// "1280x720". Throws command_line_error.
size_option parse_size(const std::string& text);
/// "2" or "2x4"; nothing is 1. Throws command_line_error.
downsample_option parse_downsample(const std::string& text);
/// rgba8, bgra8, rgba16, bgra16. Throws command_line_error.
hostkit::pixel_format parse_pixel_format(const std::string& text);

/// One frame to be made. `output` is empty when no picture is asked for.
struct frame_task {
  int frame;
  std::string output;
};

struct render_job {
  std::vector<frame_task> tasks;
  input_feeds feeds;
  std::vector<param_setting> params;
  std::optional<size_option> size;
  downsample_option downsample;
  std::optional<hostkit::pixel_format> format;  // empty: decided by the first frame's images
  int total_frames = 1;
};

/// Checks all of the command line that can be checked before a pixel is made. Throws command_line_error
/// or work_error.
render_job plan_job(const render_options& options, const genotype& g);

}  // namespace tessaron::console
