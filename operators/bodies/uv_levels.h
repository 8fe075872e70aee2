// The filtered form of warp and warp_rel.
#pragma once

#include "genotype/genotype.h"

namespace tessaron::TESSARON_LEVEL {

/// Fills the node's planes with the image at its coordinates, each pixel from the levels that its neighbours'
/// coordinates ask for. `filter` above 8191 looks at the calmer side of each pixel across. `relative`: coordinates
/// count from each pixel's own.
void warp_by_uv_levels(node& n, fix wrap_x, fix wrap_y, fix filter, bool relative);

}  // namespace tessaron::TESSARON_LEVEL
