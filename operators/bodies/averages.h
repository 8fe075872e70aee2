// Means of an image over a part of it, as a picture of that one value.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// `image`, `rect_center`, `rect_size`: over the pixels whose coordinates lie in a rectangle of the screen.
void ave_in_rect_image(node& n);

/// `image`, `matte`: each pixel counts as much as the matte lets it; 0 where it lets none.
void ave_in_matte_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
