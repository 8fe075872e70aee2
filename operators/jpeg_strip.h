// One strip of a picture through libjpeg and back, in memory.
#pragma once

#include <cstdint>

#include "operators/jpeg_errors.h"

namespace tessaron {

inline constexpr int LEAST_JPEG_QUALITY = 1, BEST_JPEG_QUALITY = 100;

/// How coarsely the codec rounds. All factors are of the quantisation steps: 1.0 is as the quality has it, more is
/// coarser, 0 as fine as can be.
struct jpeg_settings {
  int quality = BEST_JPEG_QUALITY;
  float bands[3] = {1, 1, 1};  // long, middle and short waves
  float across = 1, down = 1;  // the shortest waves along rows and along columns; longer ones less
  float chroma = 1, luma = 1;
  jpeg_error_settings errors;
};

/// A standard quantisation step, `value` at waves (u, v) along rows and columns, under these settings: 1 to 8191.
int scaled_quantiser(int value, int u, int v, bool chroma, const jpeg_settings& settings);

enum class jpeg_outcome { done, stopped, out_of_memory, refused };
struct jpeg_result {
  jpeg_outcome outcome = jpeg_outcome::done;
  char message[JMSG_LENGTH_MAX] = "";  // the codec's, when it refused
};

/// Replaces `height` rows of `width` pixels of three bytes, red first. On any outcome but done the pixels are as they
/// were or partly replaced. Never throws; safe on workers.
jpeg_result recode_strip(const jpeg_settings& settings, std::uint8_t* pixels, int width, int height, int strip);

/// Bytes that the streams of one strip may take; for tests of what happens without memory. 0: no limit.
void set_jpeg_memory_limit(std::size_t bytes);

}  // namespace tessaron
