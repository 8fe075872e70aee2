// Colour models: references from the rules, and values worked out by hand.
#include <array>

#include "support/plain_tables.h"

namespace tessaron::testing {
namespace {

using colour = std::array<fix, 3>;

// --- references --------------------------------------------------------------------------------------

colour rgb_of_hsv(fix h, fix s, fix v) {
  if (s == 0) return {v, v, v};
  if (s < 0) {
    s = low32(-wide(s));
    h = low32(wide(h) - 0x800);
  }
  fix x = (h & 0xfff) * 6;
  if (x > 0x5fff) x = 0;
  const int sector = x / 4096;
  const fix f = x - sector * 4096, c = product(s, v);
  const auto less = [v](fix amount) { return low32(wide(v) - amount); };
  switch (sector) {
    case 0:
      return {v, less(product(4096 - f, c)), less(c)};
    case 1:
      return {less(product(f, c)), v, less(c)};
    case 2:
      return {less(c), v, less(product(c, 4096 - f))};
    case 3:
      return {less(c), less(product(c, f)), v};
    case 4:
      return {less(product(4096 - f, c)), less(c), v};
    default:
      return {v, less(c), less(product(c, f))};
  }
}

colour hsv_of_rgb(fix r, fix g, fix b) {
  fix lo = std::min({r, g, b}), hi = std::max({r, g, b});
  fix value = hi;
  if (low32(-wide(hi)) != lo && low32(-wide(lo)) >= hi) {
    value = lo;
    r = low32(-wide(r));
    g = low32(-wide(g));
    b = low32(-wide(b));
    const fix largest = low32(-wide(lo));
    lo = low32(-wide(hi));
    hi = largest;
  }
  const fix c = low32(wide(hi) - lo);
  const fix saturation = hi == 0 ? 0 : quotient(low32(wide(c) * 4096), hi);
  if (saturation == 0) return {0, 0, value};
  const auto part = [c](fix p, fix q) { return quotient(low32(wide(low32(wide(p) - q)) * 4096), c); };
  fix x;
  if (r == hi) {
    x = part(g, b);
    if (x < 0) x = low32(wide(x) + 0x6000);
  } else if (g == hi) {
    x = low32(wide(part(b, r)) + 0x2000);
  } else {
    x = low32(wide(part(r, g)) + 0x4000);
  }
  return {fix(float(x) * 0.1666667f), saturation, value};
}

colour with_hue_turned(const fix* rgb, fix turn) {
  const colour hsv = hsv_of_rgb(rgb[0], rgb[1], rgb[2]);
  return rgb_of_hsv(low32(wide(hsv[0]) + turn), hsv[1], hsv[2]);
}

/// A scalar passes; 3 elements by the formula; the fourth passes.
template <colour (*OF)(const fix* rgb, fix second)>
void on_colour(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = in.arg[0][e];
  if (in.elnum[0] < 3) return;
  const colour changed = OF(in.arg[0], in.arg[1][0]);
  std::copy(changed.begin(), changed.end(), out);
}

colour saturated(const fix* rgb, fix scale) {
  const fix grey = plain_luma(rgb);
  if (scale == 0) return {grey, grey, grey};
  const fix rest = product(grey, low32(4096 - wide(scale)));
  colour out;
  for (int e = 0; e < 3; ++e) out[e] = low32(wide(product(rgb[e], scale)) + rest);
  return out;
}

colour turned_at_same_luma(const fix* rgb, fix turn) {
  colour out = with_hue_turned(rgb, turn);
  const wide lost = low32(wide(plain_luma(rgb)) - plain_luma(out.data()));
  for (fix& v : out) v = low32(v + lost);
  return out;
}

const register_reference HSV_TO_RGB("hsv_to_rgb", [](const sample_input& in, fix out[4]) {
  const colour rgb = rgb_of_hsv(in.arg[0][0], in.arg[0][1], in.arg[0][2]);
  std::copy(rgb.begin(), rgb.end(), out);
});
const register_reference RGB_TO_HSV("rgb_to_hsv", [](const sample_input& in, fix out[4]) {
  const colour hsv = hsv_of_rgb(in.arg[0][0], in.arg[0][1], in.arg[0][2]);
  std::copy(hsv.begin(), hsv.end(), out);
});
const register_reference SAT_SCALE("sat_scale", on_colour<saturated>);
const register_reference HUE_SHIFT("hue_shift", on_colour<with_hue_turned>);
const register_reference HUE_SHIFT_PRESERVE_LUMA("hue_shift_preserve_luma", on_colour<turned_at_same_luma>);
const register_reference HOTSPOTS("hotspots", [](const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e)
    out[e] = std::max(low32(wide(in.arg[0][e]) - in.arg[1][std::min(e, in.elnum[1] - 1)]), 0);
});

// --- values worked out by hand -----------------------------------------------------------------------

TEST(colour, hue_runs_through_six_sectors) {
  expect_values("hsv_to_rgb", {{0, 4096, 4096}}, {4096, 0, 0});
  expect_values("hsv_to_rgb", {{1365, 4096, 4096}}, {2, 4096, 0});        // 8190: sector 1, f 4094
  expect_values("hsv_to_rgb", {{1500, 4096, 4096}}, {0, 4096, 808});      // 9000: sector 2, f 808
  expect_values("hsv_to_rgb", {{2048, 4096, 4096}}, {0, 4096, 4096});     // 12288: sector 3, f 0
  expect_values("hsv_to_rgb", {{3000, 4096, 4096}}, {1616, 0, 4096});     // 18000: sector 4, f 1616
  expect_values("hsv_to_rgb", {{3414, 2048, 4096}}, {4096, 2048, 4094});  // 20484: sector 5, f 4
}

TEST(colour, without_saturation_all_elements_are_the_value) {
  expect_values("hsv_to_rgb", {{1234, 0, 2000}}, {2000, 2000, 2000});
}

TEST(colour, negative_saturation_turns_the_hue_half_a_turn) {
  expect_values("hsv_to_rgb", {{0, -4096, 4096}}, {0, 4096, 4096});
  EXPECT_EQ(evaluate("hsv_to_rgb", {{700, -3000, 4096}}), evaluate("hsv_to_rgb", {{700 + 2048, 3000, 4096}}));
}

TEST(colour, hue_saturation_and_value_of_a_colour) {
  expect_values("rgb_to_hsv", {{4096, 0, 0}}, {0, 4096, 4096});
  expect_values("rgb_to_hsv", {{0, 4096, 0}}, {1365, 4096, 4096});     // 0x2000 / 6
  expect_values("rgb_to_hsv", {{4096, 0, 4096}}, {3413, 4096, 4096});  // (-0x1000 + 0x6000) / 6
  expect_values("rgb_to_hsv", {{2000, 2000, 2000}}, {0, 0, 2000});
  expect_values("rgb_to_hsv", {{0, 0, 0}}, {0, 0, 0});
}

TEST(colour, a_mostly_negative_colour_has_a_negative_value) {
  expect_values("rgb_to_hsv", {{-4096, 0, 0}}, {0, 4096, -4096});
  // As far below zero as above: the value stays positive. Hue (-0x800 + 0x6000) / 6, saturation 2.0.
  expect_values("rgb_to_hsv", {{4096, -4096, 0}}, {3754, 8192, 4096});
}

TEST(colour, saturation_scale_moves_between_luma_and_colour) {
  expect_values("sat_scale", {{4096, 0, 0}, {0}}, {1280, 1280, 1280});
  expect_values("sat_scale", {{4096, 0, 0}, {8192}}, {6912, -1280, -1280});
  expect_values("sat_scale", {{4096, 0, 0, 55}, {2048}}, {2688, 640, 640, 55});
  expect_values("sat_scale", {{5, 6}, {0}}, {5, 6});
  expect_values("sat_scale", {{5}, {0}}, {5});
}

TEST(colour, a_saturation_scale_of_0_gives_the_luma_of_colours_that_would_wrap) {
  expect_values("sat_scale", {{1 << 20, 1 << 20, 1 << 20}, {0}}, {1 << 20, 1 << 20, 1 << 20});
}

TEST(colour, hue_shift_goes_through_hsv) {
  expect_values("hue_shift", {{4096, 0, 0}, {1365}}, {2, 4096, 0});
  expect_values("hue_shift", {{4096, 0, 0, 9}, {2048}}, {0, 4096, 4096, 9});
  expect_values("hue_shift", {{77}, {1024}}, {77});
}

TEST(colour, hue_shift_that_preserves_luma_gives_the_difference_back) {
  // Red has luma 1280, cyan 2816: all elements lose 1536.
  expect_values("hue_shift_preserve_luma", {{4096, 0, 0}, {2048}}, {-1536, 2560, 2560});
  expect_values("hue_shift_preserve_luma", {{4096, 0, 0, 9}, {2048}}, {-1536, 2560, 2560, 9});
  EXPECT_EQ(evaluate("monochrome", {{-1536, 2560, 2560}}), values{1280});
  expect_values("hue_shift_preserve_luma", {{77}, {1024}}, {77});
}

TEST(colour, hotspots_are_what_exceeds_the_threshold) {
  expect_values("hotspots", {{5}, {3}}, {2});
  expect_values("hotspots", {{3}, {5}}, {0});
  expect_values("hotspots", {{9}, {4, 99, 99}}, {5});
  expect_values("hotspots", {{9, 1}, {4}}, {5, 0});
  expect_values("hotspots", {{9, 8, 7, 6}, {1, 2, 30}}, {8, 6, 0});
}

}  // namespace
}  // namespace tessaron::testing
