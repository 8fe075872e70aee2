// The values of -p: `NAME=V[,V...]` and keyed `NAME=V@F V@F ...`, in the definition's own numbers.
#pragma once

#include <string>
#include <vector>

#include "genotype/genotype.h"

namespace tessaron::console {

/// A value at a frame.
struct param_key {
  int frame;
  std::vector<float> values;
};

/// One -p: a parameter and its keys in rising order; a value that is not keyed is one key.
struct param_setting {
  std::string name;
  std::vector<param_key> keys;

  bool keyed() const { return keys.size() > 1; }
  /// Linear between keys, held outside them.
  std::vector<float> at(double frame) const;
};

/// Reads one -p for the parameters of `g`. Throws command_line_error that names the effect and what
/// it has instead.
param_setting parse_param(const std::string& text, const genotype& g);

/// All of them; a parameter that is set twice is refused.
std::vector<param_setting> parse_params(const std::vector<std::string>& texts, const genotype& g);

/// Puts the values of a frame into the genotype, as if they were its defaults.
void apply_params(const std::vector<param_setting>& settings, double frame, genotype& g);

}  // namespace tessaron::console
