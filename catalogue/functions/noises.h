// The parts of the noise group, and what their kernels share.
#pragma once

#include "catalogue/defuns.h"

#ifndef TESSARON_LEVEL
#error "node functions are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {

void define_solid_noises(fun_registry& r);   // warp_noise to warp_noise3
void define_cell_patterns(fun_registry& r);  // spots to hex_tiles

/// Whether a node of coordinate noise has the cache that the pixel loop gives to all of them. Without one the
/// render stops with a message that begins with `rule`, and the kernel leaves zeros.
bool has_noise_cache(node& n, const char* rule);

}  // namespace tessaron::TESSARON_LEVEL
