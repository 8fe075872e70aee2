// Plane operators at half the resolution: amounts are parts of the frame's width, so the small picture is the large one
// made smaller. What depends on neighbours (gradients) scales with the width, as definitions do it.
#include <gtest/gtest.h>

#include "gradient_kit.h"

namespace tessaron::testing {
namespace {

constexpr picture_size SMALL = {128, 96};

planes_of_result at(const std::string& call, int factor) {
  const picture_size size = {SMALL.width * factor, SMALL.height * factor};
  definition_renderer r("(define H (Source Mask) () dest = " + call + ")",
                        {.width = size.width, .height = size.height});
  r.set_source(0, landscape_picture(size));
  r.set_source(1, [size](int x, int y, int) { return 4096 * x / size.width / 2 + 4096 * y / size.height / 2; });
  return rendered(r);
}

/// Mean difference of samples between the small picture and the large one made smaller.
double mean_difference(const planes_of_result& small, const planes_of_result& large) {
  const int wide = 2 * SMALL.width;
  double sum = 0;
  for (std::size_t e = 0; e < small.size(); ++e)
    for (int y = 0; y < SMALL.height; ++y)
      for (int x = 0; x < SMALL.width; ++x) {
        const std::size_t top = std::size_t(2 * y) * wide + 2 * x, below = top + wide;
        const fix mean = (large[e][top] + large[e][top + 1] + large[e][below] + large[e][below + 1]) / 4;
        sum += std::abs(small[e][std::size_t(y) * SMALL.width + x] - mean);
      }
  return sum / double(small.size() * SMALL.width * SMALL.height);
}

/// Mean difference of the picture to the source.
double mean_change(const planes_of_result& small) {
  double sum = 0;
  for (std::size_t e = 0; e < small.size(); ++e)
    for (int y = 0; y < SMALL.height; ++y)
      for (int x = 0; x < SMALL.width; ++x)
        sum += std::abs(small[e][std::size_t(y) * SMALL.width + x] - landscape_picture(SMALL)(x, y, int(e)));
  return sum / double(small.size() * SMALL.width * SMALL.height);
}

class half_resolution : public ::testing::TestWithParam<const char*> {};

TEST_P(half_resolution, looks_like_the_picture_made_smaller) {
  const planes_of_result small = at(GetParam(), 1);
  const double difference = mean_difference(small, at(GetParam(), 2)), change = mean_change(small);
  EXPECT_LT(difference, 41);  // a hundredth
  EXPECT_LT(difference, change / 4) << "twice as far would not be seen";
}

// Whole radii are chosen so that both resolutions have them.
INSTANTIATE_TEST_SUITE_P(
    operators, half_resolution,
    ::testing::Values("(blur Source [0.75 0.375] 2 1 0)", "(blur Source [0.71 0.33] 1 1 1)",
                      "(blur_channels Source 0.75 [1 0.5 0.25] 2 1 1)",
                      "(masked_blur Source (element_of Mask 0) [0.75 0.5] 2 0)", "(sharpen Source 2 0.75)",
                      "(band_pass Source 0.25 0.75 2)", "(z_blur Source (element_of Mask 0) 1 0 0.75 0 4 0)",
                      "(z_blur Source (element_of Mask 0) 1 0 0.75 0 4 1)", "(defocus Source [0.6 0.4] 2.2 1 1 2)",
                      "(glow Source 0.4 [1 1] 0.5 1 1 1)", "(glint Source 0.6 0.1 1 0.05 [1 1 0.5 0.5] [1 1 1 1] 1)",
                      "(rainbow_glint Source 0.6 0.1 1 0.05 [1 1 0.5 0.5] [1 1 1 1] [0.5 0.5] 1)",
                      "(grad (element_of Source 0) 0.2 (/ (get_frame_width) 32) 1)",
                      "(edge_detect Source 0.2 (/ (get_frame_width) 32) 1)",
                      "(grad_in_direction Source (* [0.04 0.02] (/ (get_frame_width) 10)) 0.2 1)",
                      "(emboss (element_of Source 0) 0.2 (/ (get_frame_width) 32) Source [1 1 1] [0.7 0.7] 0.3 20 1)",
                      "(edge_dist (- (element_of Source 0) 0.5) (/ 6.4 (get_frame_width)))",
                      "(warp Source (* xy 0.7) [2 2] 0)", "(warp Source (* xy 1.6) [2 2] 1)",
                      "(warp_rel Source (v2 0.1 (* x 0.1)) [2 2] 0)",
                      "(repeat_warp Source xy (* xy 0.8) [1 0.3] [2 2] 9)",
                      "(chroma_warp Source xy (* xy 0.8) [2 2] 9 [1 0 0] [0 1 0] [0 0 1] 1 1)",
                      "(blur_warp Source xy (* xy 0.8) [1 0.3] 1 [2 2] 1 0)",
                      "(blur_warp Source xy (+ xy [0.2 0.1]) [1 1] 1 [1 1] 0 0)"));

}  // namespace
}  // namespace tessaron::testing
