// One pixel of a blur along a line: the image's pixels from one point to another, weighed and summed.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "operators/sampling.h"

#ifndef TESSARON_LEVEL
#error "bodies are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {

/// One direction of the image that is walked over. Pixel p of the direction lies `place[p]` samples from the image's
/// start. With wrap p runs through one period, a mirrored one being twice the size less 1, and the period's own place is that
/// of 0. Without, -1 and `size` have the place of a black sample, which stands for all that lies beyond.
struct walk_axis {
  const std::uint32_t* place;
  int size, period;
};

/// A line from (a_major, a_minor) to (b_major, b_minor) in fix pixels; pixel p's middle is p * 4096. The two points
/// are at least as far apart along `major`, which is walked pixel by pixel, as along `minor`.
struct walk_line {
  fix a_major, a_minor, b_major, b_minor;
};

/// What all lines of an operator share.
struct walk_settings {
  const std::int16_t* image;  // interleaved; four samples can be read at every place
  end_weights ends;
  fix scale;
};

/// Four elements of the result; those that the image doesn't have hold anything.
struct alignas(16) walk_result {
  fix of[4];
};

using walk_function = void (*)(const walk_settings& s, const walk_axis& major, const walk_axis& minor,
                               const walk_line& line, walk_result& out);
/// The form for how the two directions wrap, with sharp or soft pixels.
walk_function choose_walk(bool subpixel, bool even_weights, bool major_wraps, bool minor_wraps);

}  // namespace tessaron::TESSARON_LEVEL
