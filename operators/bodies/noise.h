// Fractal noise over the frame.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Body of noise, noise2 and noise3.
void noise_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
