// `tessaron widgets`: an effect's on-screen handles, drawn over the picture, dragged, or listed.
#pragma once

#include <string>
#include <vector>

#include "console/find_effect.h"
#include "hostkit/window.h"

namespace tessaron::console {

/// The command line of widgets, as it was written.
struct widgets_options {
  effect_place place;
  std::string effect;
  std::string output;
  std::vector<std::string> inputs, params, show;
  int frame = 0;
  double zoom = 1;
  std::string size, downsample, pixel_format;
  double pixel_aspect = 1;
  std::string drag;
  bool json = false;
};

/// The places of "X0,Y0:X1,Y1[:X2,Y2...]", at least two. Throws command_line_error.
std::vector<hostkit::place> parse_drag(const std::string& text);

/// Where the picture from before a drag goes: "shot.png" makes "shot.before.png".
std::string before_name(const std::string& path);

/// Exit status; throws work_error or command_line_error.
int widgets_command(const widgets_options& options);

}  // namespace tessaron::console
