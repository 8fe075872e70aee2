// A frame through each of the four host layouts.
#include <gtest/gtest.h>

#include "support/render_kit.h"

using namespace tessaron::testing;

namespace {

constexpr pixel_format ALL_FORMATS[] = {pixel_format::rgba8, pixel_format::bgra8, pixel_format::rgba16,
                                        pixel_format::bgra16};

class Formats : public ::testing::TestWithParam<pixel_format> {};

// What a field becomes on its way to fix and back (an 8-bit field comes back as it was).
int through_fix(pixel_format format, int field) {
  if (format == pixel_format::bgra16) return (field >> 4) << 4 | (field >> 4) >> 8;
  if (format == pixel_format::rgba16) return (field >> 3) * 8;
  return field;
}

TEST_P(Formats, an_effect_that_is_its_source_gives_the_source_back) {
  const image source = noise_image(37, 11, GetParam());
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)", GetParam());
  const frame_result result = effect.render({&source});
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  for (int y = 0; y < 11; ++y)
    for (int x = 0; x < 37; ++x)
      for (int c = 0; c < 4; ++c)
        ASSERT_EQ(get_field(result.output, x, y, c), through_fix(GetParam(), get_field(source, x, y, c)))
            << x << " " << y << " " << c;
}

TEST_P(Formats, row_padding_of_either_image_is_passed_over_and_left_alone) {
  const image padded = noise_image(21, 6, GetParam(), 3, 24);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)", GetParam());
  frame_request request = effect.request({&padded});
  request.row_padding_bytes = 40;
  request.initial_fill = 0xc3;
  const frame_result result = effect.render(request);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 21; ++x)
      ASSERT_EQ(get_field(result.output, x, y, 0), through_fix(GetParam(), get_field(padded, x, y, 0)));
    for (int i = 0; i < 40; ++i) ASSERT_EQ(result.output.row(y)[21 * result.output.bytes_per_pixel() + i], 0xc3);
  }
}

INSTANTIATE_TEST_SUITE_P(All, Formats, ::testing::ValuesIn(ALL_FORMATS));

TEST(Formats, the_bgra_layouts_are_taken_only_where_the_host_offers_them) {
  rendered_effect plain("(define A (Source) (rgba_ok) dest = Source)", pixel_format::rgba8);
  EXPECT_FALSE(plain.instance().takes_bgra());
  rendered_effect offered("(define A (Source) (rgba_ok) dest = Source)", pixel_format::bgra8);
  EXPECT_TRUE(offered.instance().takes_bgra());
  const image wrong = noise_image(4, 4, pixel_format::bgra8);
  EXPECT_THROW(plain.instance().render(offered.request({&wrong})), tessaron::hostkit::host_error);
}

TEST(Formats, an_offer_of_premultiplied_colours_is_not_taken) {
  tessaron::hostkit::host_identity identity;
  identity.premultiplied = true;
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)", pixel_format::bgra8, identity);
  EXPECT_FALSE(effect.instance().takes_bgra());
}

}  // namespace
