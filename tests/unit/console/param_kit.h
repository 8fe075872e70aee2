// What the tests of -p share: an effect that is written in the test, and what is said of an argument.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/errors.h"
#include "console/find_effect.h"
#include "console/param_args.h"

namespace tessaron::console {

/// The one definition of a text, bound without a report.
inline genotype_ptr bound(const std::string& definition) {
  std::vector<definition_text> definitions;
  scan_definition_text(definition, "sample.text", definitions);
  std::vector<inspected_report> reports;
  genotype_ptr effect(inspect_definition(definitions.at(0), reports));
  for (const inspected_report& report : reports) ADD_FAILURE() << report.text;
  return effect;
}

/// The words with which -p is refused.
inline std::string fault_of(const std::string& argument, const genotype& effect) {
  try {
    parse_param(argument, effect);
  } catch (const command_line_error& error) {
    return error.what();
  }
  ADD_FAILURE() << argument << " was accepted";
  return "";
}

}  // namespace tessaron::console
