// Parameters read at other frames, for get_curve_val.
#pragma once

#include "genotype/genotype.h"

namespace tessaron {

/// Fills `values` (4) with a parameter's value `rel_frame` frames from the current one, in engine units.
/// The host adapter installs its own; null: the parameter's current value at every frame. `p` is null
/// where the node's argument is no parameter: that is reported, and the values are 0.
extern void (*read_curve_value)(param* p, float rel_frame, float* values);

/// Kernel of get_curve_val: all elements of const_vals. Runs while constants are folded. Arguments that vary
/// over the frame are refused before a render starts, since only the host's own thread may ask for parameters.
void get_curve_val(node& n);

}  // namespace tessaron
