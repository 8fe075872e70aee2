// defocus against a plain weighted sum, and what an eye expects of a lens.
#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/bounds.h"
#include "gradient_kit.h"
#include "operators/defocus_table.h"
#include "tests/support/plane_checks.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

/// A defocus by pixels, of the red element unless `image` says otherwise.
struct lens {
  double x = 0, y = 0;
  double gamma = 1;
  double scale = 1;
  bool subpixel = true;
  int shape = 0;
  const char* image = "(element_of Source 0)";

  std::string text(int width) const {
    const auto amount = [&](double pixels) { return std::to_string(pixels * 8 / width); };
    return std::string("(define L (Source) (rgba_ok) radius = [") + amount(x) + " " + amount(y) + "] dest = (defocus " +
           image + " radius " + std::to_string(gamma) + " " + std::to_string(scale) + " " + (subpixel ? "1 " : "0 ") +
           std::to_string(shape) + "))";
  }
};

planes_of_result through(const lens& l, const test_frame& f, const definition_renderer::pixel_function& source) {
  return rendered(l.text(f.width), f, source);
}

/// The weighted mean of the light under the covered part of the kernel.
planes_of_result plain_defocus(const lens& l, const test_frame& f, const definition_renderer::pixel_function& source) {
  const auto pixels = [&](double p) {
    return float(std::min(fix_from_double(p * 8 / f.width), 64 * 4096) * f.width >> 3) / 4096;
  };
  const defocus_radii radii = correct_for_shape({pixels(l.x), pixels(l.y)}, l.shape);
  defocus_table table;
  table.prepare({radii.x, radii.y, l.subpixel, l.shape, f.width, f.height});
  const double gamma = fix_from_double(l.gamma) / 4096.0, scale = fix_from_double(l.scale);
  planes_of_result result(1, std::vector<fix>(std::size_t(f.width) * f.height));
  std::vector<double> light;
  for (int y = 0; y < f.height; ++y)
    for (int x = 0; x < f.width; ++x) {
      const double v = std::clamp(source(x, y, 0), -32767, 32767) / 4096.0;
      light.push_back(std::copysign(std::pow(std::abs(v), gamma), v));
    }
  for (int y = 0; y < f.height; ++y)
    for (int x = 0; x < f.width; ++x) {
      double sum = 0, weights = 0;
      for (int dy = -table.y_reach(); dy <= table.y_reach(); ++dy)
        for (int dx = -table.x_reach(); dx <= table.x_reach(); ++dx) {
          if (x + dx < 0 || x + dx >= f.width || y + dy < 0 || y + dy >= f.height) continue;
          sum += table.weight(dx, dy) * light[std::size_t(y + dy) * f.width + x + dx];
          weights += table.weight(dx, dy);
        }
      const double mean = sum / weights, value = std::copysign(std::pow(std::abs(mean), 1 / gamma), mean) * scale;
      result[0][std::size_t(y) * f.width + x] = fix(std::lrint(std::clamp(value, -32767.0, 32767.0)));
    }
  return result;
}

TEST(defocus, is_the_weighted_mean_of_the_light_under_the_kernel) {
  for (const picture_size size : {picture_size{1, 1}, {9, 1}, {1, 9}, {5, 4}, {67, 31}, {150, 20}})
    for (const int shape : {0, 1, 2, 3, 4})
      for (const lens& settings :
           {lens{3.3, 3.3, 1}, lens{2, 7.5, 2.2}, lens{40, 1.2, 2.2, 0.5}, lens{4, 4, 1, 1, false},
            lens{0.4, 0.4, 3, 1.5}, lens{6, 0, 0.5}, lens{0, 6, 1, -1}, lens{200, 200, 1}}) {
        lens l = settings;
        l.shape = shape;
        const test_frame f = {.width = size.width, .height = size.height};
        const auto source = random_picture(size.width, 0, 4096);
        // Light is summed in single precision.
        EXPECT_LE(largest_difference(through(l, f, source), plain_defocus(l, f, source)), 1)
            << size.width << "x" << size.height << " " << l.text(size.width);
      }
}

TEST(defocus, is_the_weighted_mean_where_its_strips_meet) {
  // Strips are 256 pixels wide; the middle one of 560 has the whole kernel over the image.
  for (const int width : {255, 256, 257, 560})
    for (const lens& l : {lens{5.6, 5.6, 2.2}, lens{17, 3, 1, 1, true, 1}, lens{31.5, 2, 3, -0.5, true, 2},
                          lens{20, 0, 1, 1, false}, lens{15.4, 40, 2.2, 1, true, 4}}) {
      const test_frame f = {.width = width, .height = 12};
      const auto source = random_picture(width, 0, 4096);
      EXPECT_LE(largest_difference(through(l, f, source), plain_defocus(l, f, source)), 1) << l.text(width);
    }
}

TEST(defocus, holds_over_the_whole_range_of_samples) {
  const test_frame f = {.width = 40, .height = 30};
  const auto source = random_picture(40, 0, 40000);  // planes hold 32767
  for (const double gamma : {0.125, 1.0, 2.2, 8.0})
    for (const double scale : {1.0, -3.0, 0.01}) {
      const lens l = {3.3, 5, gamma, scale};
      EXPECT_LE(largest_difference(through(l, f, source), plain_defocus(l, f, source)), 1) << l.text(40);
    }
}

TEST(defocus, takes_negative_light_away) {
  const test_frame f = {.width = 40, .height = 30};
  const auto source = random_picture(40, -3000, 9000);
  const lens l = {3, 3};
  EXPECT_LE(largest_difference(through(l, f, source), plain_defocus(l, f, source)), 1);
}

TEST(defocus, leaves_an_even_picture_as_it_is) {
  for (const double gamma : {0.125, 0.5, 1.0, 2.2, 8.0})
    for (const fix level : {-4096, -100, 0, 1, 37, 2048, 4095, 4096, 12000}) {
      const planes_of_result r =
          through({5.3, 8.1, gamma}, {.width = 50, .height = 40}, [level](int, int, int) { return level; });
      for (const fix v : r[0]) ASSERT_EQ(v, level) << gamma;
    }
}

TEST(defocus, makes_a_bright_point_an_even_disc_of_its_light) {
  // A point of light 1.0 on 81 x 81 black pixels; the disc of radius 10 has the light 1 / its area.
  for (const double gamma : {1.0, 2.2, 4.0})
    for (const int shape : {0, 1, 2, 3, 4}) {
      const test_frame f = {.width = 81, .height = 81};
      const lens l = {10, 10, gamma, 1, true, shape};
      const planes_of_result r = through(l, f, [](int x, int y, int) { return x == 40 && y == 40 ? 4096 : 0; });
      const fix middle = r[0][40 * 81 + 40];
      EXPECT_NEAR(middle, 4096 * std::pow(1 / (3.14159265 * 10.5 * 10.5), 1 / gamma), 2 + 0.03 * middle) << shape;
      for (int y = 0; y < 81; ++y)
        for (int x = 0; x < 81; ++x) {
          const double distance = std::hypot(x - 40, y - 40);
          const fix v = r[0][std::size_t(y) * 81 + x];
          EXPECT_TRUE(distance > 8.5 || v == middle) << x << " " << y << " shape " << shape << ": " << v;
          EXPECT_TRUE(distance < 13.5 || v == 0) << x << " " << y << " shape " << shape << ": " << v;
        }
    }
}

TEST(defocus, with_a_higher_gamma_keeps_discs_brighter) {
  fix before = 0;
  for (const double gamma : {1.0, 1.5, 2.2, 4.0, 8.0}) {
    const planes_of_result r = through({6, 6, gamma}, {.width = 41, .height = 41},
                                       [](int x, int y, int) { return x == 20 && y == 20 ? 4096 : 0; });
    EXPECT_GT(r[0][20 * 41 + 20], before) << gamma;
    before = r[0][20 * 41 + 20];
  }
}

TEST(defocus, counts_only_the_covered_part_at_the_edges) {
  // The left half is white: its outer border stays white, since what lies beyond counts for nothing.
  const planes_of_result r =
      through({7, 7, 2.2}, {.width = 60, .height = 20}, [](int x, int, int) { return x < 30 ? 4096 : 0; });
  for (int y = 0; y < 20; ++y) {
    for (int x = 0; x < 22; ++x) EXPECT_EQ(r[0][std::size_t(y) * 60 + x], 4096) << x << " " << y;
    for (int x = 38; x < 60; ++x) EXPECT_EQ(r[0][std::size_t(y) * 60 + x], 0) << x << " " << y;
  }
}

TEST(defocus, by_no_radius_leaves_the_image_to_the_scale) {
  const auto source = random_picture(31, -32767, 32767);
  const test_frame f = {.width = 31, .height = 17};
  for (const double radius : {0.0, -3.0})
    for (const bool subpixel : {false, true}) {
      const planes_of_result same = through({radius, radius, 2.2, 1, subpixel}, f, source);
      const planes_of_result half = through({radius, radius, 2.2, 0.5, subpixel}, f, source);
      for (int i = 0; i < 31 * 17; ++i) {
        const fix v = source(i % 31, i / 31, 0);
        EXPECT_EQ(same[0][i], v);
        EXPECT_EQ(half[0][i], fix(std::lrint(v / 2.0)));
      }
    }
}

TEST(defocus, scales_the_result_and_leaves_alpha_alone) {
  lens l = {3, 3, 2.2, 0.5};
  l.image = "Source";
  const test_frame f = {.width = 20, .height = 20, .source_channels = 4};
  const auto even = [](int, int, int) { return 2000; };
  const planes_of_result r = through(l, f, even);
  ASSERT_EQ(r.size(), 4u);
  EXPECT_EQ(r[0][210], 1000);
  EXPECT_EQ(r[2][210], 1000);
  EXPECT_EQ(r[3][210], 2000);
  l.scale = 0;
  const planes_of_result none = through(l, f, even);
  EXPECT_EQ(none[1][210], 0);
  EXPECT_EQ(none[3][210], 2000);
  l.scale = -2;
  EXPECT_EQ(through(l, f, even)[0][210], -4000);
}

TEST(defocus, with_two_elements_leaves_the_second_to_be_alpha) {
  lens l = {3, 3, 1, 0.5};
  l.image = "(v2 (element_of Source 0) (element_of Source 1))";
  const planes_of_result r = through(l, {.width = 20, .height = 20}, [](int, int, int) { return 2000; });
  EXPECT_EQ(r[0][210], 1000);
  EXPECT_EQ(r[1][210], 2000);
}

TEST(defocus, is_as_tall_as_wide_on_pixels_that_are_not_square) {
  // Pixels twice as wide as tall: a disc of 8 columns has 16 rows to either side... of half the height each.
  for (const float aspect : {0.5f, 2.0f}) {
    const test_frame f = {.width = 81, .height = 81, .pixel_aspect = aspect};
    const planes_of_result r = through({8, 8}, f, [](int x, int y, int) { return x == 40 && y == 40 ? 30000 : 0; });
    const auto lit = [&](int x, int y) { return r[0][std::size_t(40 + y) * 81 + std::size_t(40 + x)] > 0; };
    EXPECT_TRUE(lit(8, 0));
    EXPECT_FALSE(lit(10, 0));
    const int rows = int(8 / aspect);
    EXPECT_TRUE(lit(0, rows - 1)) << aspect;
    EXPECT_FALSE(lit(0, rows + 2)) << aspect;
  }
}

TEST(defocus, of_what_other_operators_made_is_that_of_their_picture) {
  const test_frame f = {.width = 50, .height = 30, .source_channels = 4};
  const auto source = random_picture(50, 0, 4096);
  const auto definition = [](const std::string& body) { return "(define L (Source) (rgba_ok) " + body + ")"; };
  const auto picture = [](const planes_of_result& r) {
    return [&r](int x, int y, int e) { return r[std::size_t(e)][std::size_t(y) * 50 + std::size_t(x)]; };
  };
  const std::string arguments = " 0.6 2.2 1 1 0)";
  for (const char* inner : {"(blur Source 0.1 2 1 1)", "(gamma (blur Source 0.1 2 1 1) 0.8)",
                            "(max (blur Source 0.1 2 1 1) (blur Source 0.3 3 1 1))", "(defocus Source 0.2 1 1 1 0)"}) {
    const planes_of_result made = rendered(definition(std::string("dest = ") + inner), f, source);
    const planes_of_result wanted = rendered(definition("dest = (defocus Source" + arguments), f, picture(made));
    EXPECT_EQ(first_difference(rendered(definition("dest = (defocus " + (inner + arguments)), f, source), wanted), "")
        << inner;
    // Wanted twice, the operator's planes keep their picture.
    const planes_of_result twice =
        rendered(definition("made = " + (inner + (" dest = (- (defocus made" + arguments + " made)"))), f, source);
    ASSERT_EQ(twice.size(), 4u);
    for (std::size_t e = 0; e < 4; ++e)
      for (std::size_t i = 0; i < made[e].size(); ++i)
        ASSERT_EQ(twice[e][i], wanted[e][i] - made[e][i]) << inner << " element " << e << ", sample " << i;
  }
}

TEST(defocus, of_an_unknown_shape_warns_and_is_round) {
  const test_frame f = {.width = 40, .height = 30};
  const auto source = random_picture(40, 0, 4096);
  const lens circle = {4.5, 4.5, 2.2};
  lens unknown = circle;
  unknown.shape = 12;
  report_capture reports;
  EXPECT_EQ(through(unknown, f, source), through(circle, f, source));
  EXPECT_EQ(reports.severity_of("WARNING: Unknown defocus shape type: 12! \n"), REPORT_PLAIN) << reports.all();
  EXPECT_TRUE(reports.has("fill_circles_table_with_hex_or_oct: bad shape 12 \n")) << reports.all();
}

TEST(defocus, checks_its_planes) {
  definition_renderer r("(define L (Source) () soft = (defocus Source 0.1 1 1 1 0) dest = (+ soft 0))");
  expect_planes_are_checked(r, "defocus", 4);
}

TEST(defocus, is_the_same_at_every_level_and_for_any_number_of_workers) {
  for (const picture_size size : SIZES)
    for (const char* arguments : {"0.3 2.2 1 1 0", "[2 0.1] 1 0.7 1 1", "[0.1 0.9] 3.3 1 0 2", "0.02 0.4 1 1 3",
                                  "50 2.2 1 1 4", "[0.6 0] 2.2 1 1 0"}) {
      definition_renderer r(std::string("(define L (Source) (rgba_ok) dest = (defocus Source ") + arguments + "))",
                            {.width = size.width, .height = size.height, .source_channels = 4});
      r.set_source(0, random_picture(size.width, -500, 6000));
      same_everywhere(r);
    }
}

TEST(defocus, grows_without_jumps) {
  // From 3 to 6 pixels in steps of 0.05: the disc's area changes by a 30th at most in each.
  const test_frame f = {.width = 96, .height = 64};
  const auto text = [&](int subpixel, int shape) {
    return "(define L (Source) () radius = 0.25 dest = (defocus (element_of Source 0) radius 1 1 " +
           std::to_string(subpixel) + " " + std::to_string(shape) + "))";
  };
  const auto points = [](int x, int y, int) { return x % 16 == 8 && y % 16 == 8 ? 32767 : 0; };
  for (const int shape : {0, 1, 2, 3, 4}) {
    definition_renderer smooth(text(1, shape), f);
    smooth.set_source(0, points);
    const fix step = largest_step(smooth, "radius", {3 * 8 / 96.0f}, {6 * 8 / 96.0f});
    EXPECT_LT(step, 32767 / 38 / 6) << shape;  // a pixel of the least disc, by a sixth
    definition_renderer whole(text(0, shape), f);
    whole.set_source(0, points);
    EXPECT_GT(largest_step(whole, "radius", {3 * 8 / 96.0f}, {6 * 8 / 96.0f}), 32767 / 95 / 2) << shape;
  }
}

TEST(defocus, at_half_the_resolution_looks_like_the_picture_made_smaller) {
  const auto at_size = [](int width, int height) {
    return rendered("(define L (Source) () dest = (defocus (element_of Source 0) 0.9 2.2 1 1 0))",
                    {.width = width, .height = height}, landscape_picture({width, height}));
  };
  const planes_of_result large = at_size(160, 120), small = at_size(80, 60);
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 80; ++x) {
      const std::size_t at = std::size_t(2 * y) * 160 + 2 * x;
      const fix mean = (large[0][at] + large[0][at + 1] + large[0][at + 160] + large[0][at + 161]) / 4;
      EXPECT_NEAR(small[0][std::size_t(y) * 80 + x], mean, 41) << x << " " << y;  // a hundredth
    }
}

TEST(defocus, asks_for_as_many_pixels_around_as_it_reaches) {
  const auto reach = [](const std::string& arguments) {
    definition_renderer r("(define L (Source) () dest = (defocus Source " + arguments + "))",
                          {.width = 80, .height = 40});
    EXPECT_TRUE(r.render());
    return bounds_of_tree(r.effect(), make_rectangle(0, 0, 79, 39));
  };
  EXPECT_EQ(reach("[1 0.5] 1 1 1 0"), make_rectangle(-10, -5, 89, 44));  // an eighth of 80 pixels
  EXPECT_EQ(reach("[1 0] 1 1 1 0"), make_rectangle(-10, 0, 89, 39));
  EXPECT_EQ(reach("1 1 1 1 1"), make_rectangle(-11, -10, 90, 49));  // 1.1 and 0.9526 times 10
  EXPECT_EQ(reach("x 1 1 1 1"), everything());
}

TEST(defocus, stops_when_the_render_is_aborted) {
  definition_renderer r("(define L (Source) () dest = (defocus Source 1 2.2 1 1 0))", {.width = 64, .height = 48});
  r.set_source(0, [](int, int, int) {
    request_abort();
    return 0;
  });
  EXPECT_FALSE(r.render());
}

}  // namespace
}  // namespace tessaron::testing
