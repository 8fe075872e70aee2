// `tessaron about`: the help dialog of an effect.
#pragma once

#include <string>

#include "console/find_effect.h"

namespace tessaron::console {

struct about_options {
  effect_place place;
  std::string effect;
  bool help_page = false;  // open the page of the effect, without the dialog in front
};

/// Exit status; throws work_error or command_line_error.
int about_command(const about_options& options);

}  // namespace tessaron::console
