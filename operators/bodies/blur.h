// The blur family: functions that are the box filters and a little arithmetic.
#pragma once

#include "base/fixed.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

// Bodies of the node functions.
void blur(node& n);
void blur_channels(node& n);
void masked_blur(node& n);
void z_blur(node& n);
void band_pass(node& n);
void sharpen(node& n);

/// Radii of a blur in fix pixels, before the correction for pixels that are not square.
struct blur_radii {
  fix x, y;
  bool any() const { return x > 0 || y > 0; }
};

/// Of an amount argument; a single element counts for both directions.
blur_radii blur_radii_of(const node& amount);
/// Of one channel: the amount times channel_amount, without its sign.
blur_radii channel_radii(blur_radii total, fix channel_amount);

}  // namespace tessaron::TESSARON_LEVEL
