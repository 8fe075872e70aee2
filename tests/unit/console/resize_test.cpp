// Pictures in another size.
#include "console/image_files.h"

#include <gtest/gtest.h>

#include "support/render_kit.h"

namespace tessaron::console {
namespace {

using testing::filled;
using testing::image;
using testing::pixel;
using testing::pixel_format;
using testing::rgba;
using testing::set_pixel;

TEST(Resize, one_colour_stays_it_at_every_size_and_depth) {
  for (const auto& [format, colour] : {std::pair{pixel_format::rgba8, rgba{200, 100, 50, 255}},
                                       std::pair{pixel_format::bgra16, rgba{40000, 20000, 1, 65535}}})
    for (const auto& [width, height] : {std::pair{3, 2}, std::pair{70, 40}, std::pair{1, 1}, std::pair{20, 10}}) {
      const image scaled = resized(filled(20, 10, format, colour), width, height);
      ASSERT_EQ(scaled.width, width);
      ASSERT_EQ(scaled.height, height);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
          const rgba got = pixel(scaled, x, y);
          ASSERT_NEAR(got.r, colour.r, 1);
          ASSERT_NEAR(got.g, colour.g, 1);
          ASSERT_NEAR(got.b, colour.b, 1);
          ASSERT_EQ(got.a, colour.a);
        }
    }
}

TEST(Resize, the_same_size_is_the_same_picture) {
  const image noise = testing::noise_image(9, 7, pixel_format::rgba8);
  EXPECT_EQ(resized(noise, 9, 7).data, noise.data);
}

TEST(Resize, halves_of_a_picture_keep_their_places) {
  image halves = filled(40, 8, pixel_format::rgba8, {0, 0, 0, 255});
  for (int y = 0; y < 8; ++y)
    for (int x = 20; x < 40; ++x) set_pixel(halves, x, y, {255, 255, 255, 255});
  const image large = resized(halves, 160, 32), small = resized(halves, 10, 2);
  EXPECT_LT(pixel(large, 72, 16).g, 10);
  EXPECT_GT(pixel(large, 87, 16).g, 245);
  EXPECT_LT(pixel(small, 3, 1).g, 20);
  EXPECT_GT(pixel(small, 6, 1).g, 235);
}

TEST(Resize, what_is_transparent_does_not_colour_its_neighbours) {
  image picture = filled(40, 8, pixel_format::rgba8, {0, 255, 0, 0});
  for (int y = 0; y < 8; ++y)
    for (int x = 20; x < 40; ++x) set_pixel(picture, x, y, {255, 0, 0, 255});
  const image large = resized(picture, 80, 16);
  for (int x = 0; x < 80; ++x) {
    EXPECT_EQ(pixel(large, x, 8).g, 0) << x;
    if (pixel(large, x, 8).a > 8) {
      EXPECT_GT(pixel(large, x, 8).r, 250) << x;
    }
  }
}

}  // namespace
}  // namespace tessaron::console
