// Frames of other times, as the host has them.
#pragma once

#include "host/render_records.h"

namespace tessaron {

/// Lets node functions ask the host for other frames of the render's inputs, as long as this lives.
class clip_access {
 public:
  clip_access(const pf_in_data& in_data, const genotype& g, const effect_inputs& inputs, bool bgra);
  ~clip_access();
  clip_access(const clip_access&) = delete;
  clip_access& operator=(const clip_access&) = delete;
};

}  // namespace tessaron
