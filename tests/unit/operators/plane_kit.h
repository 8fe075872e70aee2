// What tests of plane loops share: the frame of one plane, and planes of random samples.
#pragma once

#include <random>

#include "evaluator/frame.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "tests/support/plain_blur.h"

namespace tessaron::testing {

/// The frame of one plane, and as many workers as asked for.
class plane_frame {
 public:
  explicit plane_frame(int workers = 1, float pixel_aspect = 1) {
    stop_fork_workers();
    set_processor_override(workers);
    start_fork_workers();
    abort_requested = 0;
    display_dims = {};
    display_dims.pixel_aspect = pixel_aspect;
    display_dims.pixel_aspect_inv = 1 / pixel_aspect;
    display_dims.pixel_aspect_not_1 = pixel_aspect != 1;
  }
  ~plane_frame() {
    stop_fork_workers();
    set_processor_override(0);
    display_dims = {};
    short_image_size = 0;
  }
};

inline plain_plane random_plane(int width, int height, unsigned seed, int low = -32767, int high = 32767) {
  std::mt19937 random(seed);
  return plain_plane(width, height, [&](int, int) { return low + int(random() % unsigned(high - low + 1)); });
}

}  // namespace tessaron::testing
