// The errors of a broken stream of compressed pictures, in the coefficients between compressor and decompressor.
//
// A stream is a sequence of macroblocks. An error begins at a macroblock and lasts for a run of them: brightness and
// colour are off, as when the sum of differences has gone wrong; blocks are filled with waves; one block is repeated;
// or the picture has slipped sideways. Everything is a pure hash of seed, strip and place.
#pragma once

#include <cstdint>
#include <cstdio>  // jpeglib.h needs it

#include <jpeglib.h>

#include "base/fixed.h"

namespace tessaron {

struct jpeg_error_settings {
  float rate = 0;       // share of macroblocks at which an error begins, 0 to 1
  float density = 0;    // share of a run's macroblocks that are damaged, 0 to 1
  float amp = 0;        // strength; at 1.0 brightness may go from black to white
  float coherence = 0;  // 0: single macroblocks, new for every seed; 1: runs of rows that last for several seeds
  std::int32_t seed = 0;

  bool none() const { return !(rate > 0 && density > 0 && amp > 0); }
};

/// Damages the coefficients that jpeg_read_coefficients() gave. May leave through the decompressor's error handler.
void damage_coefficients(jpeg_decompress_struct& picture, jvirt_barray_ptr* coefficients,
                         const jpeg_error_settings& settings, int strip);

}  // namespace tessaron
