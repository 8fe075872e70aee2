// The plan of a noise over the frame: which part of the lattice the image lies on, and how often it is doubled.
//
//   lattice     x   x   x   x   x        one sample a cell; the image's edges lie between samples
//   image         |-------|
//   doubled      x x x x x x x           twice as fine; lines lose one sample at each end
//
// Doublings go on until the samples are nearly as dense as pixels; the image then reads between them.
#pragma once

#include <cstdint>

#include "base/fixed.h"

namespace tessaron {

// No inline functions: code that is compiled per instruction-set level includes this.

/// One direction of the lattice.
struct noise_line {
  std::uint32_t first;  // lattice coordinate of sample 0, modulo 2^32
  int samples;
  int room;             // samples that a line may have
  std::int64_t offset;  // from sample 0 to the image's first edge, as a fix
  std::int64_t extent;  // from the image's first edge to the last, as a fix

  bool may_double() const;
  /// The line after a doubling. One that has no sample between two others comes down to a single sample.
  noise_line doubled() const;

  bool operator==(const noise_line&) const = default;
};

/// One step of the refinement: where it leads.
struct noise_level {
  noise_line x, y;
  bool doubles_x, doubles_y;  // on the way here
  int octave;                 // that is added here; 0: none
};

/// What a noise is asked for, in the frame's units: frequencies in cells for half the frame's width.
struct noise_request {
  float frequency_x, frequency_y;
  float octaves;
  float shift_x, shift_y;
};

/// The image and its place in the frame, in pixels; `aspect` is the frame's height over its width.
struct noise_view {
  int width, height;
  int x0, y0;
  int full_width, full_height;
  float aspect, pixel_aspect;
};
/// The view of the render under way.
noise_view current_noise_view();

/// The levels, coarsest first: each doubles a direction until lines have as many samples as an int counts.
struct noise_levels {
  static constexpr int MOST = 32;

  int count;
  noise_level at[MOST];
};
noise_levels plan_noise(const noise_request& request, const noise_view& view);

/// Where the samples of an image line lie between those of the finest lattice line, doubled once more: the sample
/// before, and how far behind it with 12 fraction bits.
struct noise_place {
  int sample;
  int fraction;
};
/// Of pixel i of `size`.
noise_place noise_place_of(const noise_line& doubled, int i, int size);

}  // namespace tessaron
