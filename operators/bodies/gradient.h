// Slopes of images, and what is made from them.
#pragma once

#include <cstdint>

#include "base/fixed.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

// Bodies, as the catalogue names them.
void grad_image(node& n);
void grad_for_mipmap_image(node& n);
void edge_detect_image(node& n);
void grad_direction_image(node& n);
void grad_in_direction_image(node& n);

/// The differences of a plane's blurred neighbours, x to the right and y up, as two planes of the view's size.
/// `pre_blur` is a blur amount, `scale` a factor. A sample of the result is the difference over two pixels, held to
/// +-32767. `source` may be one of the results.
void blurred_gradient(const std::int16_t* source, std::int16_t* dx_plane, std::int16_t* dy_plane, fix pre_blur,
                      fix scale, bool subpixel);

}  // namespace tessaron::TESSARON_LEVEL
