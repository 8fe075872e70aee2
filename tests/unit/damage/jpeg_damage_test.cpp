// jpeg_damage: what a codec does to a picture.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>

#include "damage_kit.h"
#include "operators/jpeg_strip.h"
#include "tests/support/abort_questions.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

// --- the codec ---------------------------------------------------------------------------------------------------

TEST(jpeg_damage, at_full_quality_without_errors_is_nearly_the_input) {
  // A step of 8 bits is 16; colours are kept at half the resolution.
  EXPECT_LE(largest_difference(damaged({}), picture(FRAME, hills)), 5 * 16);
  EXPECT_LE(mean_difference(damaged({}), picture(FRAME, hills)), 12);
}

TEST(jpeg_damage, keeps_black_and_white) {
  for (fix level : {0, 4096}) {
    const planes_of_result result = damaged({}, FRAME, [level](int, int, int) { return level; });
    for (const auto& plane : result)
      for (fix v : plane) ASSERT_EQ(v, level);
  }
  // What a byte can't hold counts as the nearest that it can.
  EXPECT_EQ(damaged({}, FRAME, [](int, int, int) { return 9000; })[1][77], 4096);
  EXPECT_EQ(damaged({}, FRAME, [](int, int, int) { return -9000; })[2][77], 0);
}

TEST(jpeg_damage, goes_through_the_codec_of_the_library) {
  // The same strips through the library, at every quality that sounds odd.
  for (double quality : {1.0, 10.9, 49.0, 50.0, 75.0, 100.0, 0.0, -5.0, 300.0}) {
    damage_numbers n;
    n.quality = quality;
    const planes_of_result result = damaged(n, FRAME, edges);
    std::vector<std::uint8_t> pixels;
    for (int y = 0; y < FRAME.height; ++y)
      for (int x = 0; x < FRAME.width; ++x)
        for (int e = 0; e < 3; ++e) pixels.push_back(std::uint8_t(std::clamp(edges(x, y, e) >> 4, 0, 255)));
    jpeg_settings settings;
    settings.quality = std::clamp(int(std::floor(quality)), 1, 100);
    // (120 + 15) / 4 = 33, whole blocks: 32.
    for (int strip = 0; strip < 4; ++strip)
      ASSERT_EQ(recode_strip(settings, pixels.data() + strip * 32 * FRAME.width * 3, FRAME.width,
                             strip == 3 ? 120 - 96 : 32, strip)
                    .outcome,
                jpeg_outcome::done);
    for (std::size_t i = 0; i < std::size_t(FRAME.width * FRAME.height); ++i)
      for (std::size_t e = 0; e < 3; ++e)
        ASSERT_EQ(result[e][i], fix(std::lrint(pixels[3 * i + e] * 4096 / 255.0))) << quality << " " << i;
  }
}

TEST(jpeg_damage, loses_more_at_less_quality) {
  double before = 0;
  for (double quality : {95.0, 70.0, 40.0, 15.0, 5.0, 1.0}) {
    damage_numbers n;
    n.quality = quality;
    const double lost = mean_difference(damaged(n, FRAME, edges), picture(FRAME, edges));
    EXPECT_GT(lost, before) << quality;
    before = lost;
  }
}

TEST(jpeg_damage, has_four_strips_that_know_nothing_of_each_other) {
  damage_numbers n;
  n.quality = 5;
  const auto changed_below = [](int x, int y, int e) { return edges(x, y, e) + (y >= 64 ? 700 : 0); };
  const planes_of_result a = damaged(n, FRAME, edges), b = damaged(n, FRAME, changed_below);
  for (std::size_t i = 0; i < std::size_t(64 * FRAME.width); ++i) ASSERT_EQ(a[0][i], b[0][i]) << i;
}

TEST(jpeg_damage, skips_strips_without_rows) {
  damage_numbers n;
  n.quality = 60;
  for (int height : {1, 2, 7, 8, 9, 15, 16, 17, 23, 24, 25, 31, 32, 33})
    for (int width : {1, 3, 16, 17, 33}) {
      const test_frame f = {.width = width, .height = height, .source_channels = 4};
      const auto grey = [](int, int, int) { return 2056; };
      const planes_of_result result = damaged(n, f, grey);
      for (fix v : result[1]) ASSERT_NEAR(v, 2056, 17) << width << "x" << height;
    }
}

TEST(jpeg_damage, quantisers_follow_their_factors) {
  jpeg_settings s;
  EXPECT_EQ(scaled_quantiser(16, 3, 5, false, s), 16);
  s.luma = 2;
  EXPECT_EQ(scaled_quantiser(16, 0, 0, false, s), 32);
  EXPECT_EQ(scaled_quantiser(16, 0, 0, true, s), 16);
  s.chroma = 0.5f;
  EXPECT_EQ(scaled_quantiser(16, 0, 0, true, s), 8);
  s = {};
  s.bands[0] = 1;
  s.bands[1] = 3;
  s.bands[2] = 7;
  EXPECT_EQ(scaled_quantiser(10, 0, 0, false, s), 10);
  EXPECT_EQ(scaled_quantiser(10, 7, 0, false, s), 30) << "the middle is 7 of 14";
  EXPECT_EQ(scaled_quantiser(10, 7, 7, false, s), 70);
  s = {};
  s.across = 8;
  EXPECT_EQ(scaled_quantiser(10, 7, 0, false, s), 80);
  EXPECT_EQ(scaled_quantiser(10, 0, 7, false, s), 10);
  EXPECT_EQ(scaled_quantiser(10, 1, 0, false, s), 20);
  s = {};
  s.down = 15;
  EXPECT_EQ(scaled_quantiser(10, 7, 1, false, s), 30);
  for (float odd : {0.0f, -5.0f, 1e30f, -1e30f}) {
    s.luma = odd;
    const int value = scaled_quantiser(255, 4, 4, false, s);
    EXPECT_GE(value, 1);
    EXPECT_LE(value, 8191);
  }
}

TEST(jpeg_damage, steps_beyond_every_coefficient_leave_the_middle_grey) {
  // At quality 50 the first step of brightness is 16: these make it 8192 and more, up to a 16-bit number's end.
  for (float luma : {512.0f, 1024.0f, 1500.0f, 2047.9f, 1e9f}) {
    jpeg_settings s;
    s.quality = 50;
    s.luma = luma;
    std::uint8_t pixels[16 * 16 * 3];
    for (int i = 0; i < 16 * 16 * 3; ++i) pixels[i] = std::uint8_t(i / 3);  // grey
    ASSERT_EQ(recode_strip(s, pixels, 16, 16, 0).outcome, jpeg_outcome::done);
    for (std::uint8_t v : pixels) ASSERT_EQ(v, 128) << luma;
  }
}

TEST(jpeg_damage, coarse_colours_leave_brightness_alone) {
  damage_numbers n;
  n.chroma = 200;
  const auto colourful = [](int x, int y, int e) { return e == 0 ? (x % 32 < 16 ? 3000 : 1000) : 1500 + 5 * y; };
  const planes_of_result result = damaged(n, FRAME, colourful), clean = damaged({}, FRAME, colourful);
  const auto luma = [](const planes_of_result& p, std::size_t i) {
    return 0.299 * p[0][i] + 0.587 * p[1][i] + 0.114 * p[2][i];
  };
  double luma_change = 0, colour_change = 0;
  for (std::size_t i = 0; i < result[0].size(); ++i) {
    luma_change += std::abs(luma(result, i) - luma(clean, i));
    colour_change += std::abs((result[0][i] - result[2][i]) - (clean[0][i] - clean[2][i]));
  }
  EXPECT_GT(colour_change / double(result[0].size()), 200);
  EXPECT_LT(luma_change / double(result[0].size()), 30);
}

TEST(jpeg_damage, directions_of_waves_are_told_apart) {
  damage_numbers rows, columns;
  rows.across = 3000;
  columns.down = 3000;
  const auto stripes = [](int x, int, int) { return x % 4 < 2 ? 3000 : 1000; };
  EXPECT_GT(mean_difference(damaged(rows, FRAME, stripes), picture(FRAME, stripes)), 300);
  EXPECT_LT(mean_difference(damaged(columns, FRAME, stripes), picture(FRAME, stripes)), 30);
}

// --- resolution --------------------------------------------------------------------------------------------------

TEST(jpeg_damage, at_less_resolution_has_larger_blocks) {
  damage_numbers n;
  n.quality = 1;
  n.res_x = 2;
  n.res_y = 4;
  const auto slope = [](int x, int y, int) { return 10 * x + 12 * y; };
  const planes_of_result result = damaged(n, {.width = 256, .height = 256, .source_channels = 4}, slope);
  // Places along a line where brightness jumps: blocks of 8 of the codec's pixels.
  const auto jumps = [&](bool along_row) {
    std::set<int> places;
    for (int i = 4; i < 252; ++i) {
      const auto at = [&](int k) { return result[1][std::size_t(along_row ? 100 * 256 + k : k * 256 + 100)]; };
      const int step = std::abs(at(i + 1) - at(i - 1));
      if (step > 40) places.insert((i + 4) / (along_row ? 16 : 32) * (along_row ? 16 : 32));
    }
    return places.size();
  };
  EXPECT_LE(jumps(true), 16u);
  EXPECT_LE(jumps(false), 8u);
  EXPECT_GE(jumps(true), 3u);
}

TEST(jpeg_damage, at_less_resolution_keeps_an_even_picture_and_its_slopes) {
  for (double factor : {1.0, 1.5, 2.0, 3.7, 8.0, 1000.0}) {
    damage_numbers n;
    n.res_x = n.res_y = factor;
    const planes_of_result even = damaged(n, FRAME, [](int, int, int) { return 3000; });
    for (fix v : even[0]) ASSERT_NEAR(v, 3000, 20) << factor;
    if (factor > 8) continue;
    const auto slope = [](int x, int y, int) { return 500 + 10 * x + 8 * y; };
    const planes_of_result result = damaged(n, FRAME, slope);
    for (int y = 20; y < 100; ++y)
      for (int x = 20; x < 140; ++x)
        ASSERT_NEAR(result[1][std::size_t(y * FRAME.width + x)], slope(x, y, 1), 70) << factor << " " << x << "," << y;
  }
  for (double factor : {0.5, 0.0, -3.0}) {
    damage_numbers n;
    n.res_x = n.res_y = factor;
    EXPECT_EQ(damaged(n), damaged({})) << factor;
  }
}

// --- everywhere the same, and safe -------------------------------------------------------------------------------

TEST(jpeg_damage, is_the_same_at_all_levels_and_with_any_number_of_workers) {
  damage_numbers n = damage_numbers{}.with_errors();
  n.quality = 12;
  n.res_y = 1.7;
  for (const double res_x : {1.0, 2.5})
    for (const test_frame f : {FRAME, test_frame{.width = 37, .height = 29, .source_channels = 4},
                               test_frame{.width = 1, .height = 1, .source_channels = 4}}) {
      n.res_x = res_x;
      definition_renderer r(n.text(), f);
      r.set_source(0, edges);
      same_everywhere(r);
    }
}

TEST(jpeg_damage, survives_every_argument) {
  for (double v : {0.0, -1.0, 1.0, 0.0003, 500000.0, -500000.0})
    for (int what = 0; what < 15; ++what) {
      damage_numbers n = damage_numbers{}.with_errors();
      double* const numbers[] = {&n.quality, &n.bands[0],  &n.bands[1], &n.bands[2], &n.across,
                                 &n.down,    &n.chroma,    &n.luma,     &n.rate,     &n.density,
                                 &n.amp,     &n.coherence, &n.seed,     &n.res_x,    &n.res_y};
      *numbers[what] = v;
      ASSERT_EQ(damaged(n, {.width = 45, .height = 37, .source_channels = 4}, edges).size(), 3u);
    }
}

/// The code with which a render was given up; 0: it was not.
int fault_of(definition_renderer& r) {
  try {
    r.render();
  } catch (const TessaronAbortException& fault) {
    return fault.code();
  }
  return 0;
}

TEST(jpeg_damage, without_memory_fails_cleanly) {
  definition_renderer r(damage_numbers{}.with_errors().text(), {.width = 700, .height = 700, .source_channels = 4});
  r.set_source(0, random_picture(700, 0, 4096));
  for (std::size_t limit : {1u, 65536u, 100000u}) {
    set_jpeg_memory_limit(limit);
    report_capture reports;
    EXPECT_EQ(fault_of(r), -100) << limit;
    EXPECT_TRUE(reports.has("Not enough memory.")) << reports.all();
    set_jpeg_memory_limit(0);
  }
  EXPECT_EQ(fault_of(r), 0);
}

TEST(jpeg_damage, of_a_picture_too_wide_for_the_format_fails_with_the_codecs_words) {
  definition_renderer r(damage_numbers{}.text(), {.width = 65600, .height = 9, .source_channels = 4});
  r.set_source(0, [](int, int, int) { return 1000; });
  report_capture reports;
  EXPECT_EQ(fault_of(r), 1);
  EXPECT_TRUE(reports.has_part("jpeg_damage: ")) << reports.all();
  EXPECT_TRUE(reports.has_part("65500")) << reports.all();
}

TEST(jpeg_damage, stops_where_the_user_asks) {
  definition_renderer r(damage_numbers{}.with_errors().text(), {.width = 200, .height = 200, .source_channels = 4});
  r.set_source(0, edges);
  EXPECT_GT(stopped_renders(r, 80), 20);
  EXPECT_TRUE(r.render());
}

}  // namespace
}  // namespace tessaron::testing
