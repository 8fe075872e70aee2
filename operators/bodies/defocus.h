// defocus: what a lens out of focus makes of an image.
#pragma once

#include "operators/defocus_table.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Body of the node function.
void defocus(node& n);

}  // namespace tessaron::TESSARON_LEVEL
