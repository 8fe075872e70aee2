// glow bit for bit against its rules written out plainly, and what it has to look like.
#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/bounds.h"
#include "gradient_kit.h"
#include "tests/support/plain_blur.h"
#include "tests/support/plane_checks.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

/// Arguments of glow as numbers; those of one element stand for all three channels.
struct glow_settings {
  int image_elnum = 3;
  std::vector<double> threshold{0.5};
  double width_x = 1, width_y = 1;
  std::vector<double> width{1};
  std::vector<double> brightness{1};
  double scale_source = 1;
  bool subpixel = true;

  static std::string number(const std::vector<double>& v) {
    std::string text = v.size() > 1 ? "[" : "";
    for (double each : v) text += std::to_string(each) += ' ';
    return v.size() > 1 ? text += ']' : text;
  }
  std::string text() const {
    const char* image = image_elnum == 1 ? "(element_of Source 0)" : "Source";
    return std::string("(define G (Source) (rgba_ok) dest = (glow ") + image + " " + number(threshold) + " " +
           number({width_x, width_y}) + " " + number(width) + " " + number(brightness) + " " +
           std::to_string(scale_source) + (subpixel ? " 1" : " 0") + "))";
  }
  static fix of(const std::vector<double>& v, std::size_t c) { return fix_from_double(v[std::min(c, v.size() - 1)]); }
};

fix as_stored(std::int64_t v) { return fix(std::clamp<std::int64_t>(v, -32767, 32767)); }
fix low_bits(std::int64_t v) { return fix(std::uint32_t(v)); }

/// The parts above the thresholds.
void plain_threshold(std::vector<plain_plane>& planes, const fix* t) {
  const std::size_t n = planes.size();
  fix lowest = t[0];
  for (std::size_t c = 1; c < n; ++c) lowest = std::min(lowest, t[c]);
  const fix k = 16777216 / std::max(4096 - lowest, 32);
  if (n == 3 && t[0] == 0 && t[1] == 0 && t[2] == 0) return;
  for (std::size_t i = 0; i < planes[0].samples.size(); ++i) {
    if (n == 1) {
      std::int16_t& v = planes[0].samples[i];
      v = std::int16_t(as_stored(std::max(0, low_bits(std::int64_t(v - t[0]) * k) >> 12)));
      continue;
    }
    std::int64_t e = 0, s = 0;
    for (std::size_t c = 0; c < 3; ++c) {
      const fix v = planes[c].samples[i];
      if (v > t[c]) e += v - t[c];
      if (v > 0) s += v;
    }
    const fix q = e > 0 && s > 0 ? fix(low_bits(e * k) / s) : 0;
    for (std::size_t c = 0; c < 3; ++c)
      planes[c].samples[i] = std::int16_t(as_stored(low_bits(std::int64_t(planes[c].samples[i]) * q) >> 12));
  }
}

planes_of_result plain_glow(const glow_settings& g, const test_frame& f,
                            const definition_renderer::pixel_function& source) {
  const int w = f.width, h = f.height;
  const bool single = g.image_elnum == 1 && g.threshold.size() + g.width.size() + g.brightness.size() == 3;
  std::vector<plain_plane> image;
  for (int c = 0; c < (single ? 1 : 3); ++c)
    image.emplace_back(w, h, [&](int x, int y) { return as_stored(source(x, y, g.image_elnum == 1 ? 0 : c)); });
  std::vector<plain_plane> light = image;
  fix t[3];
  for (std::size_t c = 0; c < 3; ++c) t[c] = g.of(g.threshold, c);
  plain_threshold(light, t);

  planes_of_result result;
  for (std::size_t c = 0; c < image.size(); ++c) {
    const fix width = std::min(g.of(g.width, c), 262144) * w >> 3;
    plain_blur_settings blur;
    blur.x_amount = fix(std::round(float(width) * float(fix_from_double(g.width_x)) / 4096.0f));
    blur.y_amount = fix(std::round(float(width) * float(fix_from_double(g.width_y)) / 4096.0f));
    blur.subpixel = g.subpixel;
    blur.pixel_aspect_on = f.pixel_aspect != 1;
    blur.y_scale = 1 / f.pixel_aspect;
    const fix b = g.of(g.brightness, c), scale = fix_from_double(g.scale_source);
    if (scale == 0) {
      image[c] = b == 0 ? plain_plane(w, h) : plain_blurred(light[c], blur, b);
    } else {
      if (blur.x_amount > 0 || blur.y_amount > 0) light[c] = plain_blurred(light[c], blur);
      image[c] = plain_scale(image[c], scale);
      for (std::size_t i = 0; i < image[c].samples.size(); ++i) {
        if (b == 0 || light[c].samples[i] <= 0) continue;
        const fix v = low_bits(std::int64_t(light[c].samples[i]) * b) >> 12;
        std::int16_t& sample = image[c].samples[i];
        sample = std::int16_t(v < 4096 ? as_stored((low_bits(std::int64_t(4096 - v) * sample) >> 12) + std::int64_t(v))
                                       : 4096);
      }
    }
    result.emplace_back(image[c].samples.begin(), image[c].samples.end());
  }
  return result;
}

/// The result without its alpha, if it has one.
planes_of_result glowing(const glow_settings& g, const test_frame& f,
                         const definition_renderer::pixel_function& source) {
  return rendered(g.text(), f, source);
}

constexpr fix LOW = -2000, HIGH = 9000;

void expect_as_plain(const glow_settings& g, const test_frame& f = {.width = 67, .height = 31}) {
  const auto source = random_picture(f.width, LOW, HIGH);
  EXPECT_EQ(first_difference(glowing(g, f, source), plain_glow(g, f, source)), "") << g.text();
}

TEST(glow, is_its_rules_bit_for_bit_in_every_combination_of_elements) {
  const std::vector<double> one{0.4}, three{0.3, 0.6, 0.45}, wide{1.1}, wides{0.5, 0.02, 1.7}, gain{1.3},
      gains{0.5, 3, 1};
  for (const auto& threshold : {one, three})
    for (const auto& width : {wide, wides})
      for (const auto& brightness : {gain, gains})
        for (const int image_elnum : {1, 3}) {
          // A single image takes thresholds by channel only with widths and brightnesses by channel.
          if (image_elnum == 1 && threshold.size() == 3 && (width.size() == 1 || brightness.size() == 1)) continue;
          for (const double scale : {1.0, 0.6, 0.0}) {
            glow_settings g;
            g.image_elnum = image_elnum;
            g.threshold = threshold;
            g.width = width;
            g.brightness = brightness;
            g.scale_source = scale;
            expect_as_plain(g);
          }
        }
}

TEST(glow, is_its_rules_bit_for_bit_for_all_kinds_of_values) {
  glow_settings g;
  for (const double threshold : {-0.5, 0.0, 0.99, 1.0, 3.0}) {
    g.threshold = {threshold};
    for (const int elnum : {1, 3}) {
      g.image_elnum = elnum;
      expect_as_plain(g);
    }
  }
  g = {};
  g.threshold = {0, 0, 0.2};
  expect_as_plain(g);
  for (const double brightness : {-0.7, 0.0, 20.0}) {
    g = {};
    g.brightness = {brightness};
    for (const double scale : {0.0, -1.0, 0.5, 1.0, 2.0}) {
      g.scale_source = scale;
      expect_as_plain(g);
    }
  }
  g = {};
  for (const bool subpixel : {false, true})
    for (const auto& [x, y] : {std::pair{1.0, 0.0}, {0.0, 1.0}, {-1.0, 2.5}, {0.01, 0.01}, {40.0, 0.3}}) {
      g.subpixel = subpixel;
      g.width_x = x;
      g.width_y = y;
      expect_as_plain(g);
    }
  g = {};
  expect_as_plain(g, {.width = 41, .height = 50, .pixel_aspect = 0.9f});
  for (const picture_size size : SIZES) expect_as_plain(g, {.width = size.width, .height = size.height});
}

TEST(glow, drops_alpha) {
  const test_frame f = {.width = 20, .height = 10, .source_channels = 4};
  const auto source = random_picture(20, 0, 4096);
  const planes_of_result with_alpha =
      rendered("(define G (Source) (rgba_ok) dest = (glow Source [0.5 0.5 0.5] [1 1] [1 1 1] [1 1 1] 1 1))", f, source);
  ASSERT_EQ(with_alpha.size(), 3u);
  test_frame without = f;
  without.source_channels = 3;
  EXPECT_EQ(with_alpha, glowing({}, without, source));
}

TEST(glow, of_nothing_but_darkness_is_black) {
  glow_settings g;
  g.scale_source = 0;
  g.brightness = {0};
  for (const auto& plane : glowing(g, {}, random_picture(16, 0, 9000)))
    for (const fix v : plane) EXPECT_EQ(v, 0);
}

TEST(glow, has_nothing_to_give_above_a_threshold_of_1) {
  const auto source = random_picture(16, 0, 4096);
  for (const double threshold : {1.0, 1.5}) {
    glow_settings g;
    g.threshold = {threshold};
    const planes_of_result r = glowing(g, {}, source);
    for (int e = 0; e < 3; ++e)
      for (int i = 0; i < 16 * 12; ++i) EXPECT_EQ(r[e][i], source(i % 16, i / 16, e));
  }
}

TEST(glow, with_all_thresholds_0_takes_the_planes_as_they_are) {
  // Without source and width the glow is what the threshold leaves.
  const auto source = random_picture(16, -3000, 9000);
  glow_settings g;
  g.threshold = {0};
  g.width = {0};
  g.scale_source = 0;
  const planes_of_result r = glowing(g, {}, source);
  for (int e = 0; e < 3; ++e)
    for (int i = 0; i < 16 * 12; ++i) EXPECT_EQ(r[e][i], source(i % 16, i / 16, e));
}

TEST(glow, keeps_the_colour_of_what_glows) {
  // An orange above the threshold: 0.9, 0.6, 0.3 over 0.5 leaves 0.4 + 0.1 of 1.8, stretched by 2.
  glow_settings g;
  g.width = {0};
  g.scale_source = 0;
  const planes_of_result r = glowing(g, {}, [](int, int, int e) { return 3686 - 1229 * e; });
  for (int e = 0; e < 3; ++e) EXPECT_NEAR(r[e][50], (3686 - 1229 * e) * 0.5 / 1.8 * 2, 2);
}

TEST(glow, spreads_evenly_and_brightens_only) {
  const test_frame f = {.width = 81, .height = 81};
  const auto point = [](int x, int y, int) { return std::abs(x - 40) < 3 && std::abs(y - 40) < 3 ? 4096 : 400; };
  glow_settings g;
  g.width = {2};
  const planes_of_result r = glowing(g, f, point);
  for (int y = 0; y < 81; ++y)
    for (int x = 0; x < 81; ++x) {
      const fix v = r[0][std::size_t(y) * 81 + x];
      EXPECT_GE(v, point(x, y, 0));
      EXPECT_EQ(v, r[0][std::size_t(80 - y) * 81 + x]);
      EXPECT_EQ(v, r[0][std::size_t(y) * 81 + 80 - x]);
    }
  for (int x = 43; x < 60; ++x) EXPECT_LE(r[0][40 * 81 + x + 1], r[0][40 * 81 + x]) << x;
  EXPECT_GT(r[0][40 * 81 + 50], 400);
}

TEST(glow, widens_without_jumps) {
  definition_renderer r("(define G (Source) () width = 1 dest = (glow (element_of Source 0) 0.5 [1 1] width 1 1 1))",
                        {.width = 96, .height = 64});
  r.set_source(0, [](int x, int y, int) { return x > 40 && x < 56 && y > 24 && y < 40 ? 4096 : 0; });
  // From 6 to 12 pixels, in 60 steps: the light at an edge changes by a 60th of its depth at most.
  EXPECT_LT(largest_step(r, "width", {0.5f}, {1}), 4096 / 60);
}

TEST(glow, checks_its_planes) {
  definition_renderer r("(define G (Source) () shine = (glow Source 0.5 [1 1] 1 1 1 1) dest = (+ shine 0))");
  expect_planes_are_checked(r, "glow", 6);
}

TEST(glow, is_the_same_at_every_level_and_for_any_number_of_workers) {
  for (const picture_size size : SIZES)
    for (const char* arguments :
         {"0.4 [1 0.5] 1.5 1.2 1 1", "[0.1 0.2 0.3] [1 1] [0.1 2 0] [1 2 3] 0.7 0", "0.5 [1 1] 1 1 0 1"}) {
      definition_renderer r(std::string("(define G (Source) () dest = (glow Source ") + arguments + "))",
                            {.width = size.width, .height = size.height});
      r.set_source(0, random_picture(size.width, LOW, HIGH));
      same_everywhere(r);
    }
}

TEST(glow, asks_for_as_many_pixels_around_as_it_spreads) {
  const auto reach = [](const std::string& arguments) {
    definition_renderer r("(define G (Source) () dest = (glow Source 0.5 " + arguments + " 1 1 1))",
                          {.width = 80, .height = 40});
    EXPECT_TRUE(r.render());
    return bounds_of_tree(r.effect(), make_rectangle(0, 0, 79, 39));
  };
  EXPECT_EQ(reach("[1 0.5] 1"), make_rectangle(-10, -5, 89, 44));  // an eighth of 80 pixels
  EXPECT_EQ(reach("[1 1] [0.1 0.2 0.5]"), make_rectangle(-5, -5, 84, 44));
  EXPECT_EQ(reach("[1 1] y"), everything());
}

}  // namespace
}  // namespace tessaron::testing
