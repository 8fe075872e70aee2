// Distance of each pixel of a matte to the nearest pixel outside it.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// `image`, `scale` into plane 0: how many pixels (of a pixel's width) a sample above 0 lies from the nearest
/// sample at or below 0, times scale. 0 outside; without a pixel outside, as far as a plane can tell.
void edge_dist_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
