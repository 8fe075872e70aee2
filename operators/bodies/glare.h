// glare: what is bright in an image shines as a flare of its own, at each bright region or from every pixel.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "operators/flare_shape.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Body of the node function.
void glare(node& n);

/// Adds the flare `shape` to the planes `result`, once for each pixel of the planes `bright` and as bright as that.
/// Planes have the view's size. `gain`: of each plane, what a sample of 1.0 makes of the flare. Unless
/// `however_slow`, too much work is refused with a message.
void convolve_glare(std::int16_t* const* result, const std::int16_t* const* bright, const flare_shape& shape,
                    const double (&gain)[3], bool however_slow);

}  // namespace tessaron::TESSARON_LEVEL
