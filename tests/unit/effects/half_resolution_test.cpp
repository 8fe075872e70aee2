// Stock effects at half the resolution: an artist who works on small pictures sees what the large ones will be.
#include <gtest/gtest.h>

#include <cmath>

#include "support/definition_files.h"
#include "support/render_kit.h"

namespace tessaron::testing {
namespace {

constexpr int WIDTH = 320, HEIGHT = 240;  // of the small picture
constexpr double ROUNDING = 0.35;         // to 8 bits, of one picture downwards

/// The large picture: hills, bars with edges some pixels wide, and lights.
image large_picture() {
  image picture = image::make(2 * WIDTH, 2 * HEIGHT, pixel_format::rgba8);
  for (int y = 0; y < 2 * HEIGHT; ++y)
    for (int x = 0; x < 2 * WIDTH; ++x) {
      const double px = (x + 0.5) / (2 * WIDTH), py = (y + 0.5) / (2 * WIDTH);
      const double bar = std::clamp(4 * std::sin(60 * px) * std::sin(40 * py) + 0.5, 0.0, 1.0);
      const double light =
          std::clamp(1.5 - 100 * std::hypot(std::fmod(px, 0.25) - 0.12, std::fmod(py, 0.2) - 0.1), 0.0, 1.0);
      const auto level = [=](double e) {
        return int(std::min(90 + 50 * std::sin(9 * px + e) * std::cos(8 * py - e) + 60 * bar + 255 * light, 255.0));
      };
      set_pixel(picture, x, y, {level(0), level(1), level(2), 255});
    }
  return picture;
}

/// The mean of two by two pixels.
image made_smaller(const image& large) {
  image small = image::make(WIDTH, HEIGHT, pixel_format::rgba8);
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x)
      for (int c = 0; c < 4; ++c) {
        int sum = 2;
        for (const int k : {0, 1, 2, 3}) sum += get_field(large, 2 * x + k % 2, 2 * y + k / 2, c);
        set_field(small, x, y, c, sum / 4);
      }
  return small;
}

image rendered(const std::string& definition, const image& source) {
  frame_result result = rendered_effect(definition).render({&source});
  EXPECT_EQ(result.error, 0) << text_of(result.messages);
  return std::move(result.output);
}

double mean_difference(const image& a, const image& b) {
  double sum = 0;
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x)
      for (int c = 0; c < 3; ++c) sum += std::abs(get_field(a, x, y, c) - get_field(b, x, y, c));
  return sum / (WIDTH * HEIGHT * 3);
}

class stock_effect : public ::testing::TestWithParam<const char*> {};

TEST_P(stock_effect, at_half_the_resolution_looks_like_the_picture_made_smaller) {
  const std::string text = test::read_text_file(std::string(TESSARON_SOURCE_DIR "/effects/") + GetParam() + ".text");
  const image large = large_picture(), small = made_smaller(large);
  const image result = rendered(text, small), wanted = made_smaller(rendered(text, large));
  const double difference = mean_difference(result, wanted), change = mean_difference(result, small);
  EXPECT_LT(difference, change / 4 + ROUNDING) << "of " << change;
}

INSTANTIATE_TEST_SUITE_P(files, stock_effect,
                         ::testing::Values("bokeh_highlights", "bump_glass", "channel_blur", "chromatic_aberration",
                                           "depth_of_field", "detail_pass", "directional_blur", "displace",
                                           "echo_copies", "edge_lines", "emboss_light", "glow",
                                           "gradient_direction_tint", "ink_outline", "kaleidoscope_diamonds",
                                           "lens_defocus", "lens_distortion", "light_tunnel", "prism", "rainbow_glint",
                                           "relief", "ripple", "soft_blur", "soft_focus", "soft_glow", "spin_blur",
                                           "star_glint", "swirl", "tilt_shift", "transform", "tunnel", "zoom_blur"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace tessaron::testing
