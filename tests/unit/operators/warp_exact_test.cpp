// warp, warp_rel and warp_filter against the plain sampler.
#include <gtest/gtest.h>

#include "tests/support/reference_frame.h"
#include "warp_reference.h"

namespace tessaron::testing {
namespace {

std::string name_of(const test_frame& f, plain_wrap x, plain_wrap y, int elnum) {
  return std::to_string(f.width) + "x" + std::to_string(f.height) + " wrap " + std::to_string(int(x)) + "," +
         std::to_string(int(y)) + " elements " + std::to_string(elnum);
}

test_frame frame_of(picture_size size, float pixel_aspect = 1.0f) {
  return {.width = size.width, .height = size.height, .source_channels = MAP_CHANNELS, .pixel_aspect = pixel_aspect};
}

/// Calls `check` for all sizes and wraps, element counts taking turns.
template <class F>
void for_all_forms(const std::string& call_before, const std::string& call_behind, F&& check) {
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const plain_wrap wx : ALL_WRAPS)
      for (const plain_wrap wy : ALL_WRAPS) {
        const int elnum = 1 + turn++ % 4;
        const test_frame f = frame_of(size, turn % 3 == 0 ? 0.5f : turn % 3 == 1 ? 1.0f : 1.25f);
        definition_renderer r(warp_definition(call_before + image_of(elnum) + call_behind), f);
        const auto source = random_picture(size.width, -3000, 12000), map = scattered_map(size.width);
        r.set_source(0, source);
        r.set_source(1, map);
        r.set_param("wx", {wrap_value(wx)});
        r.set_param("wy", {wrap_value(wy)});
        ASSERT_TRUE(r.render());
        ASSERT_EQ(r.elnum(), elnum);
        plain_sampler plain(f, wx, wy, elnum, source);
        SCOPED_TRACE(name_of(f, wx, wy, elnum));
        ASSERT_EQ(first_wrong(r, check(plain, map, f)), "");
      }
}

TEST(warp, samples_bilinearly_at_each_pixels_coordinates) {
  for_all_forms("(warp ", FIRST_PAIR + " wrap 0)", [](plain_sampler& plain, const auto& map, const test_frame&) {
    return [&](int e, int x, int y) { return plain.bilinear(e, map(x, y, 0), map(x, y, 1)); };
  });
}

TEST(warp_rel, adds_the_pixels_own_coordinates) {
  for_all_forms("(warp_rel ", FIRST_PAIR + " wrap 0)", [](plain_sampler& plain, const auto& map, const test_frame& f) {
    return [&](int e, int x, int y) {
      return plain.bilinear(e, reference_x(f, x) + map(x, y, 0), reference_y(f, y) + map(x, y, 1));
    };
  });
}

/// Levels between -1.0 and 5.0, often equal or whole, also below the two steps that count as no level.
fix level_value(fix v) {
  const fix magnitude = std::abs(v);
  if (magnitude % 7 == 0) return magnitude % 4;
  if (magnitude % 5 == 0) return magnitude % 6 * 2048;
  return magnitude % 24576 - 4096;
}

TEST(warp_filter, samples_between_the_levels_that_it_is_told) {
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const plain_wrap wx : ALL_WRAPS)
      for (const plain_wrap wy : ALL_WRAPS) {
        const int elnum = (int[]){1, 3, 4}[turn++ % 3];
        const test_frame f = frame_of(size);
        definition_renderer r(
            warp_definition("(warp_filter " + image_of(elnum) + " " + FIRST_PAIR + " " + SECOND_PAIR + " wrap)"), f);
        const auto source = random_picture(size.width, -3000, 12000), scatter = scattered_map(size.width);
        const auto map = [&](int x, int y, int e) {
          const fix other = e == 3 && scatter(x, y, 0) % 3 == 0 ? scatter(x, y, 2) : scatter(x, y, e);
          return e < 2 ? scatter(x, y, e) : level_value(other);
        };
        r.set_source(0, source);
        r.set_source(1, map);
        r.set_param("wx", {wrap_value(wx)});
        r.set_param("wy", {wrap_value(wy)});
        ASSERT_TRUE(r.render());
        plain_sampler plain(f, wx, wy, elnum, source);
        SCOPED_TRACE(name_of(f, wx, wy, elnum));
        ASSERT_EQ(first_wrong(r,
                              [&](int e, int x, int y) {
                                const wide lx = map(x, y, 2), ly = map(x, y, 3);
                                if (lx < 2 && ly < 2) return plain.bilinear(e, map(x, y, 0), map(x, y, 1));
                                return plain.mip(e, map(x, y, 0), map(x, y, 1), 2 * lx, 2 * ly);
                              }),
                  "");
      }
}

TEST(warp_filter, with_a_level_in_one_direction_only_still_samples_levels) {
  definition_renderer r("(define W (Source) () dest = (warp_filter Source (v2 x y) [2 0] [1 1]))",
                        {.width = 64, .height = 8});
  r.set_source(0, [](int x, int, int) { return x % 2 ? 4096 : 0; });
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 64; ++x) EXPECT_EQ(r.at(0, x, 3), 2048);  // stripes of one pixel are gone
}

TEST(warp, of_one_place_gives_its_sample_to_all_pixels) {
  const test_frame f = frame_of({37, 9});
  definition_renderer r(warp_definition("(warp Source [0.3 -0.1] wrap 0)"), f);
  const auto source = random_picture(37, 0, 8191);
  r.set_source(0, source);
  ASSERT_TRUE(r.render());
  plain_sampler plain(f, plain_wrap::none, plain_wrap::none, 4, source);
  EXPECT_EQ(
      first_wrong(r, [&](int e, int, int) { return plain.bilinear(e, fix_from_double(0.3), fix_from_double(-0.1)); }),
      "");
}

TEST(warp, is_black_beyond_one_frame_outside_and_on_the_border_before) {
  // At x = -3.0 a position is -65536; one step further it is black by rule, before it by the border.
  definition_renderer r("(define W (Source Map) () dest = (warp Source (v2 (element_of Map 0) 0) [0 0] 0))",
                        {.width = 16, .height = 9});
  r.set_source(0, [](int, int, int) { return 4096; });
  r.set_source(1, [](int x, int, int) { return x * 512 - 13000; });
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 16; ++x) {
    const fix coordinate = x * 512 - 13000;
    if (coordinate < -4096 - 256) {
      EXPECT_EQ(r.at(0, x, 4), 0) << x;
    } else if (coordinate > -4096 + 256) {
      EXPECT_EQ(r.at(0, x, 4), 4096) << x;
    }
  }
}

/// Coordinates of the pixels' middles in a square frame of 64, which are whole steps there.
fix exact_place(int x, int y, int e) { return e == 0 ? 128 * x - 4032 : 4032 - 128 * y; }

TEST(warp, holds_its_image_to_0_and_nearly_2) {
  definition_renderer r(warp_definition("(warp Source " + FIRST_PAIR + " wrap 0)"), frame_of({64, 64}));
  const fix values[4] = {-500, 8191, 8192, 30000}, held[4] = {0, 8191, 8191, 8191};
  r.set_source(0, [&](int x, int, int) { return values[x % 4]; });
  r.set_source(1, exact_place);
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 64; ++x) EXPECT_EQ(r.at(1, x, 2), held[x % 4]) << x;
}

TEST(warp, of_exact_pixel_positions_repeats_the_image) {
  for (const char* filter : {"0", "1", "2"}) {
    definition_renderer r(warp_definition("(warp Source " + FIRST_PAIR + " wrap " + filter + ")"), frame_of({64, 64}));
    const auto source = random_picture(64, 0, 8191);
    r.set_source(0, source);
    r.set_source(1, exact_place);
    ASSERT_TRUE(r.render());
    EXPECT_EQ(first_wrong(r, [&](int e, int x, int y) { return source(x, y, e); }), "") << filter;
  }
}

TEST(warp, four_quarter_turns_restore_the_picture) {
  std::string turned = "Source";
  for (int i = 0; i < 4; ++i) turned = "(warp " + turned + " q wrap 0)";
  definition_renderer r(
      "(define W (Source Map) (rgba_ok)\n  wrap = [0 0]\n"
      "  q = (v2 (negate (element_of Map 1)) (element_of Map 0))\n  dest = " +
          turned + ")",
      frame_of({64, 64}));
  const auto source = random_picture(64, 0, 8191);
  r.set_source(0, source);
  r.set_source(1, exact_place);
  ASSERT_TRUE(r.render());
  EXPECT_EQ(first_wrong(r, [&](int e, int x, int y) { return source(x, y, e); }), "");
}

TEST(warp, reads_a_part_of_the_frame_at_its_place_in_the_frame) {
  test_frame f = frame_of({64, 64});
  f.x0 = 10, f.y0 = 7, f.x1 = 40, f.y1 = 33;
  definition_renderer r(warp_definition("(warp Source " + FIRST_PAIR + " wrap 0)"), f);
  const auto source = random_picture(64, 0, 8191);
  r.set_source(0, source);
  r.set_source(1, exact_place);
  for (const plain_wrap w : ALL_WRAPS) {
    r.set_param("wx", {wrap_value(w)});
    r.set_param("wy", {wrap_value(w)});
    ASSERT_TRUE(r.render());
    EXPECT_EQ(first_wrong(r, [&](int e, int x, int y) { return source(x, y, e); }), "");
  }
}

TEST(warp, by_wrapped_coordinates_of_a_part_of_the_frame_stays_inside_its_memory) {
  test_frame f = frame_of({64, 48});
  f.x0 = 30, f.y0 = 20, f.x1 = 34, f.y1 = 21;
  for (const char* call : {"(warp Source ", "(warp_rel Source ", "(repeat_warp Source xy "}) {
    const std::string tail = std::string(call).find("repeat") != std::string::npos ? " [1 0] wrap 3)" : " wrap ";
    for (const char* filter : {"0)", "1)", "2)"}) {
      definition_renderer r(warp_definition(call + FIRST_PAIR + (tail.back() == ')' ? tail : tail + filter)), f);
      r.set_source(0, random_picture(64, 0, 8191));
      r.set_source(1, scattered_map(64));
      for (const plain_wrap w : ALL_WRAPS) {
        r.set_param("wx", {wrap_value(w)});
        r.set_param("wy", {wrap_value(w)});
        ASSERT_TRUE(r.render());
        for (fix v : r.result()[0]) EXPECT_TRUE(v >= 0 && v <= 8191);
      }
    }
  }
}

TEST(warps, are_the_same_at_every_level_and_for_any_number_of_workers) {
  const std::string calls[] = {
      "(warp Source " + FIRST_PAIR + " wrap 0)",
      "(warp (element_of Source 1) " + FIRST_PAIR + " wrap 0)",
      "(warp " + image_of(2) + " " + FIRST_PAIR + " wrap 1)",
      "(warp " + image_of(3) + " " + FIRST_PAIR + " wrap 2)",
      "(warp_rel Source (* xy [0.3 0.2]) wrap 1)",
      "(warp_rel " + image_of(3) + " " + FIRST_PAIR + " wrap 0)",
      "(warp_filter Source (* xy 3) [1 0.4] wrap)",
      "(warp_filter (element_of Source 2) " + FIRST_PAIR + " " + SECOND_PAIR + " wrap)",
      "(repeat_warp Source " + FIRST_PAIR + " " + SECOND_PAIR + " [1 0.3] wrap 7)",
      "(repeat_warp_filter " + image_of(3) + " " + FIRST_PAIR + " " + SECOND_PAIR + " [0 1] [2 0.2] [1 1] wrap 5)",
      "(chroma_warp Source (* xy 0.9) " + SECOND_PAIR + " wrap 9 [1 0 0.2] [0 1 0] [0.3 0 1] 1 1.2)",
      "(chroma_warp_filter (element_of Source 0) " + FIRST_PAIR + " xy [1 0] [0 1] wrap 6 [1 1 0] [0 1 1] [1 0 1] 0 1)",
      "(blur_warp Source " + FIRST_PAIR + " " + SECOND_PAIR + " [1 0.5] 1 wrap 1 0)",
      "(blur_warp " + image_of(3) + " xy " + SECOND_PAIR + " [1 1] 0.7 wrap 0 1)",
      "(blur_warp (element_of Source 0) " + FIRST_PAIR + " xy [0.2 1] 1 wrap 1 2)",
  };
  for (const std::string& call : calls) {
    SCOPED_TRACE(call);
    definition_renderer r(warp_definition(call), frame_of({141, 53}));
    r.set_source(0, random_picture(141, -3000, 12000));
    r.set_source(1, scattered_map(141));
    r.set_param("wx", {2});
    r.set_param("wy", {1});
    same_everywhere(r);
  }
}

}  // namespace
}  // namespace tessaron::testing
