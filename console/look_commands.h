// The verbs that look without rendering: list, info, plan, check, functions.
#pragma once

#include <string>
#include <vector>

#include "console/find_effect.h"

namespace tessaron::console {

struct look_options {
  effect_place place;
  std::string effect;               // info, plan
  std::vector<std::string> files;   // check
  std::vector<std::string> params;  // plan
  std::string size;                 // plan
  std::string function;             // functions
  bool json = false, dot = false;
};

// Each returns the exit status; throws work_error or command_line_error.
int list_command(const look_options& options);
int info_command(const look_options& options);
int plan_command(const look_options& options);
int check_command(const look_options& options);
int functions_command(const look_options& options);

}  // namespace tessaron::console
