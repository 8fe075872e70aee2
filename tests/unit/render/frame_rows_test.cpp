// Rows of whole frames: padding, depth, mattes around operators, and what stands in for a missing effect.
#include <gtest/gtest.h>

#include <cstdlib>

#include "host/configuration.h"
#include "installer/custom_listing.h"
#include "installer/name_placeholder.h"
#include "support/render_kit.h"
#include "support/scratch_folder.h"

using namespace tessaron::testing;

namespace {

// --- rows of every layout ------------------------------------------------------------------------

class Layouts : public ::testing::TestWithParam<pixel_format> {};

TEST_P(Layouts, are_cleared_outside_what_is_wanted_and_nowhere_else) {
  constexpr int PADDING = 24, FILL = 0xee;
  for (const int width : {3, 40}) {  // few bytes to clear, and enough for the workers
    const image source = noise_image(width, 20, GetParam(), 5, 16);
    rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)", GetParam());
    frame_request request = effect.request({&source});
    request.row_padding_bytes = PADDING;
    request.initial_fill = FILL;
    for (const pf_rect wanted : {pf_rect{0, 0, width, 20}, pf_rect{1, 4, 2, 5}, pf_rect{0, 19, width, 20},
                                 pf_rect{2, 0, 3, 20}, pf_rect{1, 1, 1, 1}}) {
      request.extent = wanted;
      const frame_result result = effect.render(request);
      ASSERT_EQ(result.error, 0) << text_of(result.messages);
      const int row_bytes = width * source.bytes_per_pixel();
      for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < width; ++x) {
          const bool inside = x >= wanted.left && x < wanted.right && y >= wanted.top && y < wanted.bottom;
          ASSERT_EQ(pixel(result.output, x, y).a != 0 || pixel(result.output, x, y).r != 0,
                    inside && (pixel(source, x, y).a != 0 || pixel(source, x, y).r != 0))
              << x << " " << y;
        }
        for (int i = 0; i < PADDING; ++i) ASSERT_EQ(result.output.row(y)[row_bytes + i], FILL) << y;
      }
    }
  }
}

TEST_P(Layouts, take_the_backgrounds_alpha_from_rows_of_another_size) {
  const int top = GetParam() == pixel_format::rgba8 || GetParam() == pixel_format::bgra8 ? 255
                  : GetParam() == pixel_format::rgba16                                   ? 32768
                                                                                         : 65535;
  const image source = filled(5, 7, GetParam(), {top, 0, top, 0});
  image background = image::make(5, 7, GetParam(), 40);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 5; ++x) set_field(background, x, y, 3, (x + y) % 2 ? top : 0);
  rendered_effect effect("(define A (Source Background) () dest = Source)", GetParam());
  frame_request request = effect.request({&source, &background});
  for (const int padding : {0, 8}) {
    request.row_padding_bytes = padding;
    const frame_result result = effect.render(request);
    ASSERT_EQ(result.error, 0) << text_of(result.messages);
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 5; ++x)
        ASSERT_EQ(pixel(result.output, x, y), (rgba{top, 0, top, (x + y) % 2 ? top : 0})) << x << " " << y;
  }
}

INSTANTIATE_TEST_SUITE_P(Each, Layouts,
                         ::testing::Values(pixel_format::rgba8, pixel_format::bgra8, pixel_format::rgba16,
                                           pixel_format::bgra16));

// --- mattes ------------------------------------------------------------------------------------------

// The matte cuts the picture off, and not what an operator sees around it.
TEST(Mattes, do_not_hide_pixels_from_operators) {
  const image source = noise_image(24, 16, pixel_format::rgba8), matte = filled(8, 6, pixel_format::rgba8, {});
  for (const char* name : {"Matte", "Mask"}) {
    const std::string tree = " (set_alpha_to_one) dest = (edge_detect Source 0 1 0))";
    rendered_effect whole("(define A (Source)" + tree), cut(std::string("(define A (Source ") + name + ")" + tree);
    const frame_result all = whole.render({&source}), part = cut.render({&source, &matte});
    ASSERT_EQ(part.error, 0) << text_of(part.messages);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 24; ++x) {
        const bool inside = x >= 8 && x < 16 && y >= 5 && y < 11;  // 8 by 6 over the middle
        ASSERT_EQ(pixel(part.output, x, y), inside ? pixel(all.output, x, y) : rgba{}) << x << " " << y;
      }
  }
}

TEST(Mattes, without_a_layer_cut_nothing_off) {
  const image source = noise_image(24, 16, pixel_format::rgba8);
  rendered_effect effect("(define A (Source Matte) (rgba_ok) dest = Source)");
  EXPECT_EQ(effect.render({&source, nullptr}).output.data, source.data);
}

// --- words of a refused tree ---------------------------------------------------------------------------

TEST(RefusedTrees, are_told_with_the_counts_of_their_arguments) {
  const image source = filled(4, 4, pixel_format::rgba8, {10, 20, 30, 40});
  rendered_effect effect("(define A_Cross (Source) (rgba_ok) turned = (cross Source [1 0 0]) dest = (+ turned 1))");
  const frame_result result = effect.render({&source});
  EXPECT_EQ(result.error, PF_Err_BAD_REQUEST);
  EXPECT_TRUE(mentions(result.messages, "Error: cross arg elnums: vector1 has 4, vector2 has 3."))
      << text_of(result.messages);
  EXPECT_TRUE(mentions(result.messages, "Error: A Cross.turned has an invalid combo of arg types."));
  EXPECT_FALSE(mentions(result.messages, "Error performing effect")) << "the frame ended before that";
}

// --- the effect that stands in for a missing one ---------------------------------------------------------

TEST(MissingCustomEffect, renders_opaque_black) {
  scratch_folder folder;
  folder.write("t_config.text", "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n");
  ::setenv("TESSARON_CONFIG_DIR", folder.path().c_str(), 1);
  tessaron::reset_custom_listing();
  tessaron::reset_config();
  {
    tessaron_plugin unstamped = {};
    unstamped.plugin_name = tessaron::installer::NAME_PLACEHOLDER;
    unstamped.is_custom = 1;
    unstamped.n_effects = 1;
    unstamped.plugin_version = 1.1f;
    tessaron::hostkit::instance instance(tessaron_main, unstamped);
    EXPECT_TRUE(mentions(instance.take_messages(), "You have tried to load the 1st custom effect from"));
    const image source = noise_image(9, 5, pixel_format::rgba8);
    frame_request request;
    request.inputs = {&source};
    request.initial_fill = 0xee;
    const frame_result result = instance.render(request);
    EXPECT_EQ(result.error, 0) << text_of(result.messages);
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 9; ++x) ASSERT_EQ(pixel(result.output, x, y), (rgba{0, 0, 0, 255}));
  }
  ::unsetenv("TESSARON_CONFIG_DIR");
  tessaron::reset_custom_listing();
  tessaron::reset_config();
}

// --- straightened rows ---------------------------------------------------------------------------

// Longer than any block in which rows are worked on, with an alpha of its own in each column.
TEST(StraightenedRows, are_whole_however_long) {
  constexpr int WIDTH = 1301;
  const auto colour_at = [](int x) { return x * 7 % 256; };
  const auto alpha_at = [](int x) { return x * 11 % 256; };
  image source = filled(WIDTH, 2, pixel_format::rgba8, {});
  for (int x = 0; x < WIDTH; ++x) set_pixel(source, x, 1, {colour_at(x), 100, 50, alpha_at(x)});
  for (const char* mode : {"set_alpha_to_one", "rgba_ok"}) {
    rendered_effect effect(std::string("(define A (Source) (") + mode + ") opacity = 1 (int) dest = Source)");
    const image output = effect.render({&source}).output;
    for (int x = 0; x < WIDTH; ++x) {
      const int colour = colour_at(x) * 16 + colour_at(x) / 16, alpha = alpha_at(x) * 16 + alpha_at(x) / 16;
      const int premultiplied = colour * alpha / 4096;
      const int straight = alpha == 0 ? 0 : alpha == 4095 ? premultiplied : premultiplied * 4096 / alpha;
      ASSERT_EQ(get_field(output, x, 1, 0), straight / 16) << mode << " at " << x;
    }
  }
}

}  // namespace
