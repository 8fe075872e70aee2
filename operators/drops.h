// Where the drops of `drops` fall: the bright spots of an image.
#pragma once

#include <cstdint>
#include <vector>

#include "operators/sampling.h"

namespace tessaron {

/// One drop in norm coordinates. `amount` is 0 to 1: how much light its spot holds.
struct drop {
  float x, y, amount;
};

/// Samples of an image, 4096 for white; those at or below 0 are dark.
struct spot_image {
  const std::int16_t* samples;  // the first row's first
  std::ptrdiff_t stride;        // samples from row to row
  int width, height;
};

/// Each piece of connected bright pixels (corners connect too) is a drop, at its centre of light. Its amount is the sum
/// of its samples times 1000 / frame_width^2, at most 1.0: a white disc of a radius of 1.8% of the frame's width has
/// the full amount. The `max_drops` largest amounts of light, largest first; of equal ones the upper, then the left.
std::vector<drop> find_drops(const spot_image& image, const sampling_frame& frame, float y_aspect, int frame_width,
                             int max_drops);

/// The drops of the frame under way, found in the sampling image of one element. They stay until the next call.
struct drop_list {
  const drop* drops;
  int count;
};
drop_list drops_of_sampling_image(int max_drops);

}  // namespace tessaron
