// film_effect: video as if shot on a negative and printed.
#pragma once

#include <cstdint>

#include "genotype/genotype.h"

namespace tessaron::TESSARON_LEVEL {

void film_effect(node& n);

/// Half-width of a channel's glow in fix pixels.
fix film_glow_width(const node& n, int channel);

/// The lines of one field made anew, or all lines, from those around them. `copy` is as large as the plane.
///   1, 2: the lines of the upper or the lower field stay, the others become the mean of those beside them
///   3:    every line becomes the mean of the two fields around it
void rebuild_fields(std::int16_t* plane, std::int16_t* copy, int mode);

}  // namespace tessaron::TESSARON_LEVEL
