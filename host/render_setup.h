// What frame setup and render do alike before they part: checks, inputs, the effect of this frame.
#pragma once

#include "host/render_records.h"

namespace tessaron {

/// The parameters may be read from the host, at this time and at others, as long as this lives.
class checkout_permission {
 public:
  checkout_permission();
  ~checkout_permission();
  checkout_permission(const checkout_permission&) = delete;
  checkout_permission& operator=(const checkout_permission&) = delete;
};

/// Whether the call's records describe a frame that can be worked on; false after a report.
bool frame_usable(const pf_in_data& in_data, pf_param_def** params);

/// The effect of one frame and what it is fed with.
struct frame_effect {
  int effect_i = -1;
  genotype* g = nullptr;
  effect_inputs inputs;
  bool bgra = false;  // the host's images are in the bgra layouts
};

/// Checks the inputs out, finds column and row, and selects the effect there, not bound yet.
/// 0 or a host error number.
std::int32_t choose_effect(pf_param_def** params, checked_out_inputs& inputs, frame_effect& effect);

}  // namespace tessaron
