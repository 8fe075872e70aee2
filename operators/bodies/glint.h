// glint and rainbow_glint: rays from the bright points of an image.
#pragma once

#include "base/fixed.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Bodies of the node functions.
void glint(node& n);
void rainbow_glint(node& n);

/// Directions of rays, in the order in which they are laid over the image and in which arguments name them.
enum ray_direction : int { RAY_ROW, RAY_COLUMN, RAY_DOWN_RIGHT, RAY_UP_RIGHT, N_RAYS };

/// A ray of one channel: light spread along a line to both sides of where it comes from.
struct ray {
  fix length;    // of the spread to either side, fix samples along the line
  fix shift;     // by which the spread light moves away to both sides, half each; fix samples
  fix strength;  // 4096: as much light as there is
};

/// The rays of a channel (0 to 2) of a glint.
ray ray_of_glint(const node& n, int channel, ray_direction direction);
/// The same for a rainbow glint.
ray ray_of_rainbow_glint(const node& n, int channel, ray_direction direction);

}  // namespace tessaron::TESSARON_LEVEL
