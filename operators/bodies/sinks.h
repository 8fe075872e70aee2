// Where the rows of a pixel loop go, at the speed of the instruction-set level in hand.
#pragma once

#include <cstdint>

#include "evaluator/pixel_loop.h"

namespace tessaron::TESSARON_LEVEL {

/// Rows into the root's own planes, limited to +-0x7fff.
void plane_sink(node& root, std::int64_t offset, int width);

/// What an operator's rows may hold: anything, or nothing that a plane would limit.
enum class sample_range { any, plane };

/// The last step of an operator whose node's values are made pixel by pixel, as image_process_pixels_loop(): into the
/// node's planes, or where only the output reads these, into the output.
void finish_by_pixels(node& n, const node_kernel (&row_functions)[5], sample_range range = sample_range::any);

/// Rows into the top level of the sampling image, by element count.
extern const mipmap_sinks MIPMAP_SINKS;

}  // namespace tessaron::TESSARON_LEVEL
