// paint: the image in strokes of a brush.
#pragma once

#include "operators/paint.h"

namespace tessaron {
struct node;
}

#ifndef TESSARON_LEVEL
#error "bodies are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {

/// Image body, as the catalogue names it.
void paint_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
