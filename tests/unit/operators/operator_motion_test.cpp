// Plane operators in motion: a parameter that creeps through 60 small steps makes a picture that creeps. The limits are
// what the operator's rule gives for one step on a picture whose samples lie between 0.2 and 1.0 of white, and some
// rounding.
#include <gtest/gtest.h>

#include "gradient_kit.h"

namespace tessaron::testing {
namespace {

constexpr picture_size SIZE = {128, 72};
constexpr fix RANGE = 3280;  // of the picture: 0.8
constexpr fix ROUNDING = 8;

struct motion {
  const char* call;
  float from, to;
  fix limit;  // of 4096
};

constexpr motion MOTIONS[] = {
    // Sixths of pixels: the first gives a corner of the bar, 0.2 high, a sixth of a third of that in each direction.
    {"(blur_channels Source p [1 0.5 0.25] 2 1 1)", 0, 0.625f, 92},
    // The same where the mask is full, and no more where a part of the image stays.
    {"(masked_blur Source (element_of Mask 0) p 2 1)", 0, 0.625f, 100},
    // A thirtieth of the difference to the blurred picture, and twice that.
    {"(sharpen Source p 0.3)", 0, 2, RANGE / 30 + ROUNDING},
    {"(band_pass Source 0.1 0.5 p)", 0, 2, RANGE / 15 + ROUNDING},
    // Depth moves through a layer in 20 steps, and layers differ by less than the picture's range.
    {"(z_blur Source (+ (element_of Mask 0) p) 0 1 0 0.5 4 1)", 0, 1, RANGE / 20 + ROUNDING},
    {"(defocus Source 0.4 2 p 1 0)", 0, 2, 4096 / 30 + ROUNDING},
    // The mean of light goes from the picture's mean to its largest samples.
    {"(defocus Source 0.4 p 1 1 0)", 0.5f, 8, RANGE / 20 + ROUNDING},
    {"(glow Source 0.4 [1 1] 0.5 p 1 1)", 0, 1, 4096 / 60 + ROUNDING},
    // A threshold's step is a 67th, and stretched twice on the way.
    {"(glow Source p [1 1] 0.5 1 1 1)", 0, 0.9f, 4096 / 33 + ROUNDING},
    // Four rays, each 16 times size times brightness as strong as the light.
    {"(glint Source 0.5 0.1 1 p [1 1 1 1] [1 1 1 1] 1)", 0, 0.05f, 4 * 4096 * 16 / 20 / 60 + ROUNDING},
    {"(glint Source 0.5 0.1 1 0.05 [1 1 1 1] (v4 p p p p) 1)", 0, 1, 4 * 4096 * 16 / 20 / 60 + ROUNDING},
    // Half of the light in all: a threshold's step is a 100th and stretched five times, a blur's as above and twice.
    {"(glint Source p 0.1 1 0.03 [1 1 1 1] [1 1 1 1] 1)", 0.2f, 0.8f, 2 * 4096 * 5 / 100 + ROUNDING},
    {"(glint Source 0.3 p 1 0.03 [1 1 1 1] [1 1 1 1] 1)", 0, 0.625f, 2 * 92},
    // The bar's edge rises by 0.2 over a pixel or two.
    {"(edge_detect Source 0.1 p 1)", 0, 4, 4 * 2 * 820 / 60 + ROUNDING},
    {"(edge_detect Source p 1 1)", 0, 0.625f, 2 * 92},
    {"(grad_in_direction Source [1 1] p 1)", 0, 0.625f, 4 * 92},
    // An angle has a cut between 1 and 0, its sine has none: 2 pi over 60 of its range of 1.0.
    {"(sin (grad_direction Source 0.3 p 1))", 0, 1, 429 + ROUNDING},
    {"(edge_dist (- (element_of Source 0) 0.5) p)", 0, 0.1f,
     64 * 7 + ROUNDING},  // pixels to the farthest, a 600th each
};

/// From black to nearly white across the frame.
fix depth(int x, int y, int) { return 24 * x + 14 * y; }

TEST(operators_in_motion, change_the_picture_without_jumps) {
  for (const motion& m : MOTIONS) {
    definition_renderer r("(define M (Source Mask) () p = 0 (min -100 max 100) dest = " + std::string(m.call) + ")",
                          {.width = SIZE.width, .height = SIZE.height});
    r.set_source(0, landscape_picture(SIZE));
    r.set_source(1, depth);
    const fix step = largest_step(r, "p", {m.from}, {m.to});
    EXPECT_LE(step, m.limit) << m.call;
    EXPECT_GT(step, 0) << m.call;
  }
}

}  // namespace
}  // namespace tessaron::testing
