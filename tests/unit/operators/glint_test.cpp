// glint and rainbow_glint: which pixels a ray reaches and how brightly, against plain sums along its line.
#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/bounds.h"
#include "gradient_kit.h"
#include "tests/support/plain_blur.h"
#include "tests/support/plane_checks.h"

namespace tessaron::testing {
namespace {

struct step {
  int x, y;
};
constexpr step STEPS[4] = {{1, 0}, {0, 1}, {1, 1}, {1, -1}};  // by ray

std::string numbers(std::initializer_list<double> v) {
  std::string text = "[";
  for (double each : v) text += std::to_string(each) += ' ';
  return text += ']';
}
/// Four numbers, 0 but for one ray.
std::string one_ray(int ray, double value) {
  return numbers({ray == 0 ? value : 0, ray == 1 ? value : 0, ray == 2 ? value : 0, ray == 3 ? value : 0});
}

/// A glint of one element.
std::string glint_text(const std::string& arguments) {
  return "(define G (Source) () dest = (glint (element_of Source 0) " + arguments + "))";
}

definition_renderer::pixel_function point_at(int px, int py, fix value = 4096) {
  return [=](int x, int y, int) { return x == px && y == py ? value : 0; };
}

/// Three boxes one after the other at distance d of a point, as a part of its light.
double spread_at(int r, int d) {
  const int r1 = r / 3, r2 = (r - r1) / 2, r3 = r - r1 - r2;
  double sum = 0;
  for (int a = -r1; a <= r1; ++a)
    for (int b = -r2; b <= r2; ++b) sum += std::abs(d - a - b) <= r3;
  return sum / ((2 * r1 + 1.0) * (2 * r2 + 1) * (2 * r3 + 1));
}

TEST(glint, spreads_light_along_each_direction_by_three_boxes) {
  constexpr int SIZE = 160;
  const test_frame f = {.width = SIZE, .height = SIZE};
  for (int ray = 0; ray < 4; ++ray)
    for (const double pixels : {1.0, 2.0, 7.0, 20.0, 50.0}) {
      // A diagonal step is sqrt(2) pixels long: the ray is as long on the picture as the others.
      const int r = int(std::lrint(ray < 2 ? pixels : pixels * std::sqrt(0.5)));
      const double size = pixels * 8 / SIZE, strength = size * 16;
      const planes_of_result got =
          rendered(glint_text("0 0 " + std::to_string(size) + " 1 [1 1 1 1] " + one_ray(ray, 1) + " 1"), f,
                   point_at(80, 80, 2000));
      for (int y = 0; y < SIZE; ++y)
        for (int x = 0; x < SIZE; ++x) {
          const int d = (x - 80) * STEPS[ray].x + (STEPS[ray].x ? 0 : y - 80);
          const bool on_line = x - 80 == d * STEPS[ray].x && y - 80 == d * STEPS[ray].y;
          const double light = on_line ? std::min(2000 * spread_at(r, d) * strength, 4096.0) : 0;
          const double source = x == 80 && y == 80 ? 2000 : 0;
          ASSERT_NEAR(got[0][std::size_t(y) * SIZE + x], source + (4096 - source) * light / 4096, 1.5)
              << "ray " << ray << " of " << pixels << " at " << x << "," << y;
        }
    }
}

TEST(glint, takes_its_radius_to_the_nearest_whole_and_cuts_each_box_at_half_the_line) {
  const auto lit_columns = [](double pixels, int width) {
    const test_frame f = {.width = width, .height = 9};
    const planes_of_result r =
        rendered(glint_text("0 0 " + std::to_string(pixels * 8 / width) + " 30 [1 1 1 1] [1 0 0 0] 1"), f,
                 point_at(width / 2, 4, 32767));
    int lit = 0;
    for (int x = 0; x < width; ++x) lit += r[0][std::size_t(4) * width + x] > 0;
    return lit;
  };
  EXPECT_EQ(lit_columns(4.45, 101), 9);
  EXPECT_EQ(lit_columns(4.55, 101), 11);
  // Longer than the line: each box stops at 49 of 100 pixels, so the middle still gets light from everywhere.
  EXPECT_EQ(lit_columns(2000, 101), 101);
}

TEST(glint, takes_what_is_above_the_threshold_stretched) {
  // Above 0.5 by 0.25, stretched by 2, in a ray that is too short to spread: half of what screens to 1.
  const test_frame f = {.width = 800, .height = 6};
  const double size = 0.4 * 8 / 800;  // below half a pixel
  const planes_of_result r = rendered(glint_text("0.5 0 " + std::to_string(size) + " 10 [1 1 1 1] [1 0 0 0] 0"), f,
                                      [](int x, int, int) { return x % 2 ? 3072 : 2000; });
  const fix gain = fix_from_double(size) * 16;
  EXPECT_NEAR(r[0][801], 2048.0 * 10 * gain / 4096, 2);
  EXPECT_EQ(r[0][800], 0);
}

TEST(glint, takes_its_light_before_the_source_is_scaled_and_from_its_blur) {
  const test_frame f = {.width = 120, .height = 60};
  const auto source = random_picture(120, 0, 4096);
  plain_plane image(120, 60, [&](int x, int y) { return source(x, y, 0); });
  plain_blur_settings blur;
  blur.x_amount = blur.y_amount = fix_from_double(0.2) * 120 >> 3;
  blur.subpixel = true;
  const plain_plane soft = plain_blurred(image, blur);
  // The ray is shorter than half a pixel, and as strong as 1.0: size 0.02 times 16 times this brightness.
  const fix size = fix_from_double(0.02);
  const double brightness = 4096.0 / (size * 16);
  const planes_of_result r =
      rendered(glint_text("0.5 0.2 0.02 " + std::to_string(brightness) + " [1 1 1 1] [1 0 0 0] 0.5"), f, source);
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 120; ++x) {
      const double light = std::max(0, (soft.at(x, y) - 2048) * 2), v = std::lrint(image.at(x, y) / 2.0);
      ASSERT_NEAR(r[0][std::size_t(y) * 120 + x], v + (4096 - v) * light / 4096, 3) << x << " " << y;
    }
}

TEST(glint, of_a_point_is_the_same_star_wherever_it_stands) {
  const test_frame f = {.width = 120, .height = 100};
  const std::string text = glint_text("0.5 0 2 0.3 [1 0.8 0.6 1] [1 1 1 0.5] 1");
  const planes_of_result middle = rendered(text, f, point_at(60, 50));
  for (const step place : {step{0, 0}, {119, 99}, {3, 97}, {60, 0}, {0, 50}, {118, 2}}) {
    const planes_of_result moved = rendered(text, f, point_at(place.x, place.y));
    for (int y = 0; y < 100; ++y)
      for (int x = 0; x < 120; ++x) {
        const int mx = x - place.x + 60, my = y - place.y + 50;
        if (mx < 0 || mx >= 120 || my < 0 || my >= 100) continue;
        ASSERT_EQ(moved[0][std::size_t(y) * 120 + x], middle[0][std::size_t(my) * 120 + mx])
            << place.x << "," << place.y << " at " << x << "," << y;
      }
  }
}

TEST(glint, stays_as_bright_when_its_rays_grow) {
  // A highlight of some pixels, as wide as long rays spread it thin.
  const test_frame f = {.width = 400, .height = 20};
  const auto highlight = [](int x, int, int) { return std::abs(x - 200) < 2 ? 4096 : 0; };
  fix least = 4096, most = 0;
  for (const double size : {0.5, 0.8, 1.2, 2.0}) {
    const planes_of_result r =
        rendered(glint_text("0.5 0 " + std::to_string(size) + " 1 [1 1 1 1] [1 0 0 0] 0"), f, highlight);
    least = std::min(least, r[0][10 * 400 + 200]);
    most = std::max(most, r[0][10 * 400 + 200]);
  }
  EXPECT_GT(least, 1000);
  EXPECT_LT(most, least * 1.1);
}

TEST(glint, skips_rays_without_strength) {
  const auto source = random_picture(16, 0, 4096);
  for (const char* arguments :
       {"0.2 0 1 0 [1 1 1 1] [1 1 1 1] 0.5", "0.2 0 1 1 [1 1 1 1] [0 0 0 0] 0.5", "0.2 0 1 -1 [1 1 1 1] [1 1 1 1] 0.5",
        "0.2 0 0 1 [1 1 1 1] [1 1 1 1] 0.5", "0.2 0 -1 1 [1 1 1 1] [1 1 1 1] 0.5", "1 0 1 1 [1 1 1 1] [1 1 1 1] 0.5"}) {
    const planes_of_result r = rendered(glint_text(arguments), {}, source);
    for (int i = 0; i < 16 * 12; ++i) EXPECT_EQ(r[0][i], std::lrint(source(i % 16, i / 16, 0) / 2.0)) << arguments;
  }
}

TEST(glint, darkens_nothing_even_above_white) {
  const auto source = random_picture(64, 0, 20000);
  const planes_of_result r =
      rendered(glint_text("0.2 0.1 2 1 [1 1 1 1] [1 1 1 1] 1"), {.width = 64, .height = 48}, source);
  for (int i = 0; i < 64 * 48; ++i) EXPECT_GE(r[0][i], source(i % 64, i / 64, 0));
}

TEST(glint, halves_its_columns_on_wide_pixels) {
  const auto lit_rows = [](float aspect) {
    const test_frame f = {.width = 100, .height = 101, .pixel_aspect = aspect};
    const planes_of_result r = rendered(glint_text("0 0 1.6 30 [1 1 1 1] [0 1 0 0] 1"), f, point_at(50, 50, 32767));
    int lit = 0;
    for (int y = 0; y < 101; ++y) lit += r[0][std::size_t(y) * 100 + 50] > 0;
    return lit;
  };
  EXPECT_EQ(lit_rows(1), 41);  // 20 pixels to either side
  EXPECT_EQ(lit_rows(1.5f), 41);
  EXPECT_EQ(lit_rows(1.6f), 21);
  EXPECT_EQ(lit_rows(2), 21);
}

TEST(glint, has_a_threshold_a_size_and_a_brightness_for_each_channel) {
  const test_frame f = {.width = 101, .height = 9};
  const planes_of_result r =
      rendered("(define G (Source) () dest = (glint Source [0 0 2] 0 [1 2 2] [0.2 0.1 1] [1 1 1 1] [1 0 0 0] 1))", f,
               point_at(50, 4));
  for (const int d : {1, 5, 9, 12, 20}) {
    // Sizes 1 and 2 are 12.6 and 25.25 pixels, and 16 and 32 times as strong.
    EXPECT_NEAR(r[0][4 * 101 + 50 + d], 4096 * spread_at(13, d) * 16 * 0.2, 3) << d;
    EXPECT_NEAR(r[1][4 * 101 + 50 + d], 4096 * spread_at(25, d) * 32 * 0.1, 3) << d;
    EXPECT_EQ(r[2][4 * 101 + 50 + d], 0) << "below its threshold";
  }
}

TEST(glint, of_one_element_gives_colours_where_an_argument_has_them) {
  const test_frame f = {.width = 40, .height = 30};
  const auto source = random_picture(40, 0, 4096);
  const planes_of_result grey = rendered(glint_text("0.5 0.1 1 1 [1 1 1 1] [1 1 1 1] 1"), f, source);
  for (const char* arguments : {"0.5 0.1 1 [1 1 1] [1 1 1 1] [1 1 1 1] 1", "0.5 0.1 [1 1 1] 1 [1 1 1 1] [1 1 1 1] 1",
                                "[0.5 0.5 0.5] 0.1 [1 1 1] [1 1 1] [1 1 1 1] [1 1 1 1] 1"}) {
    const planes_of_result r = rendered(glint_text(arguments), f, source);
    ASSERT_EQ(r.size(), 3u) << arguments;
    for (int e = 0; e < 3; ++e) EXPECT_EQ(r[e], grey[0]) << arguments;
  }
}

TEST(glint, drops_alpha) {
  const planes_of_result r = rendered(
      "(define G (Source) (rgba_ok) dest = (glint Source [0.5 0.5 0.5] 0 [1 1 1] [1 1 1] [1 1 1 1] [1 1 1 1] 1))",
      {.width = 20, .height = 10, .source_channels = 4}, random_picture(20, 0, 4096));
  EXPECT_EQ(r.size(), 3u);
}

// --- rainbows ------------------------------------------------------------------------------------------------

std::string rainbow_text(const std::string& spread, const std::string& rays = "[1 0 0 0]") {
  return "(define R (Source) () dest = (rainbow_glint (element_of Source 0) 0.5 0 2 1 [1 1 1 1] " + rays + " " +
         spread + " 1))";
}

TEST(rainbow_glint, without_spread_is_a_glint) {
  const test_frame f = {.width = 90, .height = 70};
  const auto source = random_picture(90, 0, 4096);
  const planes_of_result rainbow = rendered(rainbow_text("[0 0]", "[1 0.5 1 0.2]"), f, source);
  const planes_of_result plain = rendered(glint_text("0.5 0 2 1 [1 1 1 1] [1 0.5 1 0.2] 1"), f, source);
  ASSERT_EQ(rainbow.size(), 3u);
  for (int e = 0; e < 3; ++e) EXPECT_EQ(rainbow[e], plain[0]);
}

/// Mean distance of a channel's light from the middle column of 301, and all of its light.
struct light_of_ray {
  double distance = 0, sum = 0;

  light_of_ray(const planes_of_result& r, int e) {
    for (int x = 0; x < 301; ++x) {
      const double v = x == 150 ? 0 : r[e][4 * 301 + x];
      distance += v * std::abs(x - 150);
      sum += v;
    }
    distance /= sum;
  }
};

TEST(rainbow_glint, carries_red_furthest_and_blue_least) {
  const test_frame f = {.width = 301, .height = 9};
  for (const char* spread : {"[0.5 0]", "[0 0.5]", "[0.4 0.8]", "[0 1]"}) {
    const planes_of_result r = rendered(rainbow_text(spread), f, point_at(150, 4));
    const light_of_ray red(r, 0), green(r, 1), blue(r, 2);
    EXPECT_GT(red.distance, green.distance * 1.1) << spread;
    EXPECT_GT(green.distance, blue.distance * 1.1) << spread;
    // Each colour has the same light, so that all together are white. (What is far above white is cut.)
    EXPECT_NEAR(red.sum / green.sum, 1, 0.1) << spread;
    EXPECT_NEAR(blue.sum / green.sum, 1, 0.1) << spread;
    for (int e = 0; e < 3; ++e)
      for (int x = 0; x < 150; ++x) ASSERT_EQ(r[e][4 * 301 + x], r[e][4 * 301 + 300 - x]) << "both sides are alike";
  }
}

TEST(rainbow_glint, spreads_more_with_more_spread) {
  const test_frame f = {.width = 301, .height = 9};
  double before = 0;
  for (const char* spread : {"[0 0]", "[0 0.25]", "[0 0.5]", "[0 0.75]", "[0 1]"}) {
    const planes_of_result r = rendered(rainbow_text(spread), f, point_at(150, 4));
    const double apart = light_of_ray(r, 0).distance - light_of_ray(r, 2).distance;
    EXPECT_GE(apart, before) << spread;
    before = apart + 1;
  }
}

TEST(rainbow_glint, spreads_without_jumps) {
  definition_renderer r(
      "(define R (Source) () spread = [0 0] dest = (rainbow_glint (element_of Source 0) 0.5 0.2 3 1 [1 1 1 1] "
      "[1 1 1 1] spread 1))",
      {.width = 200, .height = 120});
  r.set_source(0, [](int x, int y, int) { return std::hypot(x - 100, y - 60) < 3 ? 4096 : 0; });
  EXPECT_LT(largest_step(r, "spread", {0, 0}, {0.5f, 1}), 4096 / 12);
}

TEST(glints, are_the_same_at_every_level_and_for_any_number_of_workers) {
  for (const picture_size size : SIZES)
    for (const char* call :
         {"(glint Source 0.5 0.1 1 1 [1 0.7 1 0.3] [1 1 0.5 2] 1)",
          "(glint (element_of Source 1) 0 0 30 0.1 [1 0.7 1 0.3] [1 1 0.5 2] 0.6)",
          "(rainbow_glint Source [0.1 0.5 0.9] 0.05 2 [1 0.4 3] [1 0.7 1 0.3] [1 1 0.5 2] [0.4 0.9] 1)",
          "(rainbow_glint Source 0.7 0 60 0.1 [1 1 1 1] [1 1 1 1] [8 -8] 0)"}) {
      definition_renderer r(std::string("(define G (Source) () dest = ") + call + ")",
                            {.width = size.width, .height = size.height});
      r.set_source(0, random_picture(size.width, -2000, 9000));
      same_everywhere(r);
    }
}

TEST(glints, check_their_planes) {
  for (const char* call : {"(glint Source 0.5 0 1 1 [1 1 1 1] [1 1 1 1] 1)",
                           "(rainbow_glint Source 0.5 0 1 1 [1 1 1 1] [1 1 1 1] [1 1] 1)"}) {
    definition_renderer r(std::string("(define G (Source) () star = ") + call + " dest = (+ star 0))");
    const bool rainbow = std::string(call).find("rainbow") != std::string::npos;
    expect_planes_are_checked(r, rainbow ? "rainbow_glint" : "glint", 7);
  }
}

TEST(glints, at_half_the_resolution_look_like_the_picture_made_smaller) {
  const auto at_size = [](int width, int height) {
    const auto spots = [=](int x, int y, int) {
      const double px = (x + 0.5) / width * 8, py = (y + 0.5) / width * 8;
      return std::hypot(px - 2, py - 2) < 0.3 || std::hypot(px - 6, py - 3) < 0.15 ? 4096 : 300;
    };
    return rendered(glint_text("0.6 0.15 1.5 0.5 [1 1 0.7 0.7] [1 1 1 1] 1"), {.width = width, .height = height},
                    spots);
  };
  const planes_of_result large = at_size(320, 240), small = at_size(160, 120);
  double sum = 0;
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 160; ++x) {
      const std::size_t at = std::size_t(2 * y) * 320 + 2 * x;
      const fix mean = (large[0][at] + large[0][at + 1] + large[0][at + 320] + large[0][at + 321]) / 4;
      sum += std::abs(small[0][std::size_t(y) * 160 + x] - mean);
    }
  EXPECT_LT(sum / (120 * 160), 41);  // a hundredth, on average
}

TEST(glints, ask_for_as_many_pixels_around_as_their_rays_reach) {
  const auto reach = [](const std::string& call) {
    definition_renderer r("(define G (Source) () dest = " + call + ")", {.width = 80, .height = 40});
    EXPECT_TRUE(r.render());
    return bounds_of_tree(r.effect(), make_rectangle(0, 0, 79, 39));
  };
  // An eighth of 80 pixels; diagonals reach 10 / sqrt(2) in both directions.
  EXPECT_EQ(reach("(glint Source 0.5 0 1 1 [1 0.5 1 0] [1 1 0 1] 1)"), make_rectangle(-10, -5, 89, 44));
  EXPECT_EQ(reach("(glint Source 0.5 0 1 1 [1 0.5 1 1] [0 1 1 1] 1)"), make_rectangle(-8, -8, 87, 47));
  EXPECT_EQ(reach("(glint Source 0.5 0.2 1 1 [1 1 1 1] [1 0 0 0] 1)"), make_rectangle(-12, -2, 91, 41));
  EXPECT_EQ(reach("(glint Source 0.5 0 x 1 [1 1 1 1] [1 1 1 1] 1)"), everything());
  const rectangle rainbow = reach("(rainbow_glint Source 0.5 0 1 1 [1 1 1 1] [1 0 0 0] [0 1] 1)");
  EXPECT_EQ(rainbow.top, 0);
  EXPECT_LE(rainbow.left, -11);  // 0.8 and 0.35 times 10
  EXPECT_GE(rainbow.left, -13);
}

}  // namespace
}  // namespace tessaron::testing
