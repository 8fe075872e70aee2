#include "console/pixels.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

constexpr pixel_format ALL_FORMATS[] = {pixel_format::rgba8, pixel_format::bgra8, pixel_format::rgba16,
                                        pixel_format::bgra16};

std::uint32_t field(const image& picture, int x, int y, int k) {
  const int at = 4 * x + order_of(picture.format).field[k];
  return is_deep(picture.format) ? reinterpret_cast<const std::uint16_t*>(picture.row(y))[at] : picture.row(y)[at];
}

void set_field(image& picture, int x, int y, int k, std::uint32_t value) {
  const int at = 4 * x + order_of(picture.format).field[k];
  if (is_deep(picture.format))
    reinterpret_cast<std::uint16_t*>(picture.row(y))[at] = std::uint16_t(value);
  else
    picture.row(y)[at] = std::uint8_t(value);
}

TEST(Pixels, alpha_is_first_in_rgba_and_last_in_bgra) {
  EXPECT_EQ(order_of(pixel_format::rgba8).field[3], 0);
  EXPECT_EQ(order_of(pixel_format::rgba8).field[0], 1);
  EXPECT_EQ(order_of(pixel_format::bgra16).field[3], 3);
  EXPECT_EQ(order_of(pixel_format::bgra16).field[0], 2);
}

TEST(Pixels, full_scales_of_16_bits_differ) {
  EXPECT_EQ(full_scale(pixel_format::rgba16), 32768);
  EXPECT_EQ(full_scale(pixel_format::bgra16), 65535);
  EXPECT_EQ(full_scale(pixel_format::bgra8), 255);
}

TEST(Pixels, rescaling_to_the_15_bit_scale_rounds_to_nearest) {
  for (std::uint32_t s = 0; s <= 65535; ++s)
    ASSERT_EQ(rescale(s, 65535, 32768), std::uint32_t(std::floor(s * 32768.0 / 65535.0 + 0.5))) << s;
}

TEST(Pixels, rescaling_limits_samples_above_full_scale) { EXPECT_EQ(rescale(40000, 32768, 65535), 65535); }

TEST(Pixels, eight_bits_survive_every_format) {
  image from = image::make(256, 1, pixel_format::rgba8);
  for (int x = 0; x < 256; ++x)
    for (int k = 0; k < 4; ++k) set_field(from, x, 0, k, std::uint32_t(x + 7 * k) & 255);
  for (pixel_format format : ALL_FORMATS) {
    const image back = convert(convert(from, format), pixel_format::rgba8);
    EXPECT_EQ(back.data, from.data) << int(format);
  }
}

TEST(Pixels, fields_keep_their_meaning_between_layouts) {
  image from = image::make(1, 1, pixel_format::rgba8);
  for (int k = 0; k < 4; ++k) set_field(from, 0, 0, k, std::uint32_t(10 * (k + 1)));
  const image to = convert(from, pixel_format::bgra16);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(field(to, 0, 0, k), std::uint32_t(10 * (k + 1)) * 257) << k;
}

TEST(Pixels, row_padding_is_not_taken_for_pixels) {
  image from = image::make(2, 2, pixel_format::rgba8, 12);
  set_field(from, 1, 1, 2, 77);
  EXPECT_EQ(field(convert(from, pixel_format::bgra8), 1, 1, 2), 77u);
  EXPECT_EQ(field(reduce(from, 1, 2), 1, 0, 2), 39u);  // (0 + 77) / 2, rounded up at the half
}

TEST(Reduce, whole_cells_give_their_mean) {
  image from = image::make(4, 2, pixel_format::bgra16);
  const std::uint32_t values[2][4] = {{1, 2, 100, 200}, {3, 4, 300, 401}};
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) set_field(from, x, y, 0, values[y][x]);
  const image to = reduce(from, 2, 2);
  ASSERT_EQ(to.width, 2);
  ASSERT_EQ(to.height, 1);
  EXPECT_EQ(field(to, 0, 0, 0), 3u);    // 10 / 4 = 2.5
  EXPECT_EQ(field(to, 1, 0, 0), 250u);  // 1001 / 4 = 250.25
}

TEST(Reduce, cells_that_do_not_fit_share_pixels_by_area) {
  // 5 pixels into round(5 / 2) = 3: each covers 5/3 of a pixel.
  image from = image::make(5, 1, pixel_format::bgra16);
  const std::uint32_t values[5] = {300, 600, 900, 1200, 1500};
  for (int x = 0; x < 5; ++x) set_field(from, x, 0, 1, values[x]);
  const image to = reduce(from, 2, 1);
  ASSERT_EQ(to.width, 3);
  EXPECT_EQ(field(to, 0, 0, 1), 420u);   // (3 * 300 + 2 * 600) / 5
  EXPECT_EQ(field(to, 1, 0, 1), 900u);   // (1 * 600 + 3 * 900 + 1 * 1200) / 5
  EXPECT_EQ(field(to, 2, 0, 1), 1380u);  // (2 * 1200 + 3 * 1500) / 5
}

TEST(Reduce, sides_are_rounded_and_at_least_one_pixel) {
  EXPECT_EQ(reduced_size(1920, 2), 960);
  EXPECT_EQ(reduced_size(7, 2), 4);
  EXPECT_EQ(reduced_size(7, 3), 2);
  EXPECT_EQ(reduced_size(1, 8), 1);
}

TEST(Reduce, a_flat_picture_stays_flat) {
  for (pixel_format format : ALL_FORMATS) {
    const image to = reduce(black_image(13, 9, format), 4, 5);
    for (int y = 0; y < to.height; ++y)
      for (int x = 0; x < to.width; ++x) {
        EXPECT_EQ(field(to, x, y, 0), 0u);
        EXPECT_EQ(field(to, x, y, 3), std::uint32_t(full_scale(format)));
      }
  }
}

}  // namespace
}  // namespace tessaron::console
