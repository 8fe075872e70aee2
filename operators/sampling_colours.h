// The colours of a chroma walk: what each step weighs in red, green and blue.
#pragma once

#include <vector>

#include "base/fixed.h"

namespace tessaron {

/// One step. Weights of a channel sum to 16 times its brightness over all steps.
struct chroma_step {
  float color[3];
};

struct chroma_settings {
  int n_steps;         // 3 or more
  fix colors[3][3];    // color1 to color3: at the first, the middle and the last step
  bool white_balance;  // each channel's three values are scaled to a sum of 1
  fix brightness;
};

/// Builds the table for one node. There is one at a time: a second call before free_chroma_warp_color_scales() is
/// fatal.
void set_chroma_warp_color_scales(const chroma_settings& settings);
void free_chroma_warp_color_scales();
/// The table, one entry a step; empty while there is none.
const std::vector<chroma_step>& chroma_warp_color_scales();

}  // namespace tessaron
