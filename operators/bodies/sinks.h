// Where the rows of a pixel loop go, at the speed of the instruction-set level in hand.
#pragma once

#include <cstdint>

#include "evaluator/pixel_loop.h"

namespace tessaron::TESSARON_LEVEL {

/// Rows into the root's own planes, limited to +-0x7fff.
void plane_sink(node& root, std::int64_t offset, int width);

/// Rows into the top level of the sampling image, by element count.
extern const mipmap_sinks MIPMAP_SINKS;

}  // namespace tessaron::TESSARON_LEVEL
