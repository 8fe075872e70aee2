// glow: the bright parts of an image, spread and laid back over it.
#pragma once

#include "base/fixed.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Body of the node function.
void glow(node& n);

/// Radii of a channel's glow in fix pixels.
struct glow_radii {
  fix x, y;
};
glow_radii glow_radii_of(const node& n, int channel);

}  // namespace tessaron::TESSARON_LEVEL
