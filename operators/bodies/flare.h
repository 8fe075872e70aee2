// lens_flare and lens_flare_auto: the reflections of a light in a lens.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Bodies of the node functions.
void lens_flare(node& n);
void lens_flare_auto(node& n);

}  // namespace tessaron::TESSARON_LEVEL
