// glow: the bright parts of an image, spread and laid back over it.
#pragma once

#include <cstdint>

#include "base/fixed.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Body of the node function.
void glow(node& n);

/// What three planes have above the thresholds `t` of each, in the colours that it had there, stretched back to 1.0.
/// All thresholds 0: the planes as they are. `dest` are other planes than `source`.
void threshold_planes(std::int16_t* const* dest, const std::int16_t* const* source, const fix* t);

/// Radii of a channel's glow in fix pixels.
struct glow_radii {
  fix x, y;
};
glow_radii glow_radii_of(const node& n, int channel);

}  // namespace tessaron::TESSARON_LEVEL
