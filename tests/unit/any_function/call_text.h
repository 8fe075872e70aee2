// Calls of any function of the catalogue, written as definitions: one text for each combination of element counts.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "catalogue/defuns.h"
#include "genotype/genotype_reader.h"
#include "tests/support/kernel_harness.h"

namespace tessaron::testing {

/// Names of all functions, in the catalogue's order.
inline std::vector<std::string> function_names() {
  set_tables_and_globals();
  const fun_registry& catalogue = level_catalogue(chosen_cpu_level());
  std::vector<std::string> names;
  for (int i = 0; i < catalogue.fun_count; ++i) names.push_back(catalogue.table[i].name);
  return names;
}

/// An argument that differs from pixel to pixel.
inline std::string varying_text(int elnum) {
  static const char* const TEXTS[] = {"(* x 0.8)", "xy", "(v3 x y 0.5)", "(v4 x y 0.25 1)"};
  return TEXTS[elnum - 1];
}

/// Fix values that have broken arithmetic before: zeros, signs, the ends of the range, fractions.
inline const std::vector<std::string>& hostile_numbers() {
  static const std::vector<std::string> NUMBERS = {
      "0",    "0.000244140625", "-0.000244140625", "0.5",    "1",      "-1", "1.5", "2", "-3", "7.25", "100",
      "-100", "1000",           "-30000.5",        "524287", "-524288"};
  return NUMBERS;
}

/// The same for arguments that say how often something is done: half a million layers are a defined picture too, but
/// not one to wait for.
inline const std::vector<std::string>& hostile_counts() {
  static const std::vector<std::string> NUMBERS = {"0", "0.000244140625", "-1", "0.5", "1", "1.5",
                                                   "2", "-524288",        "40"};
  return NUMBERS;
}
inline bool is_count(const std::string& arg_name) {
  static const std::vector<std::string> COUNTS = {"n_layers", "steps",       "bolts",       "bolts_points", "octaves",
                                                  "boxes",    "max_centers", "branchiness", "max_len_vary"};
  return std::find(COUNTS.begin(), COUNTS.end(), arg_name) != COUNTS.end();
}

/// Numbers of a picture that an author might write.
inline const std::vector<std::string>& sane_numbers() {
  static const std::vector<std::string> NUMBERS = {"0.05", "0.1", "0.25", "0.5", "0.75", "1", "2", "3"};
  return NUMBERS;
}

/// The call with constants drawn from `all_numbers`; what the function reads as an image or as coordinates varies, and
/// with `all_vary` every other argument may vary as well.
inline std::string call_text(const fun_info& fun, int combo, const std::vector<std::string>& all_numbers,
                             std::mt19937& random, bool all_vary) {
  std::string call = std::string("(") + fun.name;
  for (int a = 0; a < fun.arg_number; ++a) {
    const int elnum = combo_arg_elnum(fun.arg_type_combos[combo], a);
    const std::string arg_name = fun.arg_names[a];
    const std::vector<std::string>& numbers =
        &all_numbers == &hostile_numbers() && is_count(arg_name) ? hostile_counts() : all_numbers;
    const bool image = a == fun.image_arg_index || arg_name == "coords" || arg_name == "image";
    if (arg_name.rfind("clip", 0) == 0) {
      call += " Source";
    } else if (image || (all_vary && random() % 3 == 0)) {
      call += ' ';
      call += varying_text(elnum);
    } else if (elnum == 1) {
      call += ' ';
      call += numbers[random() % numbers.size()];
    } else {
      call += " [";
      for (int e = 0; e < elnum; ++e) call += (e ? " " : "") + numbers[random() % numbers.size()];
      call += "]";
    }
  }
  return call + ")";
}

}  // namespace tessaron::testing
