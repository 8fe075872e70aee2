// Light on a surface whose height is an image.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

void emboss_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
