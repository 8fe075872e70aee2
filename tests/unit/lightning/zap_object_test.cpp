// zap_to, zap_from and zap_from_mask: where bolts start and end, and how they follow an object.
#include <gtest/gtest.h>

#include "lightning_kit.h"
#include "operators/outlines.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

constexpr const char* TO =
    "(define T (Source) ()\n"
    "  center = [-0.7 0]\n radius = 0\n bolts = [1 1]\n width = [0.1 0]\n pointiness = 0\n shown = [0 1]\n wrinkle = "
    "0\n"
    "  branches = 0\n branch = [0.5 0.5]\n seed = [1 0]\n show = [0.5 0]\n"
    "  dest = (zap_to (element_of Source 0) center radius bolts width pointiness shown wrinkle branches branch seed "
    "show))";
constexpr const char* FROM =
    "(define F (Source) ()\n"
    "  length = [0.2 0]\n spacing = 0\n bolts = 1\n width = [0.1 0]\n pointiness = 0\n shown = [0 1]\n"
    "  wrinkle = [0 0]\n branches = 0\n branch = [0.5 0.5]\n seed = [1 0]\n show = [0.5 0]\n"
    "  dest = (zap_from (element_of Source 0) length spacing bolts width pointiness shown wrinkle branches branch seed "
    "show))";
constexpr const char* FROM_MASK =
    "(define M (Source) ()\n"
    "  length = [0.2 0 0]\n bolts = 1\n width = [0.1 0]\n pointiness = 0\n shown = [0 1]\n"
    "  wrinkle = [0 0]\n branches = 0\n branch = [0.5 0.5]\n seed = [1 0]\n show = [0.5 0]\n"
    "  dest = (zap_from_mask (element_of Source 0) (element_of Source 1) length bolts width pointiness shown wrinkle "
    "branches branch seed show))";

constexpr test_frame FRAME = {.width = 200, .height = 120, .output_channels = 1};

using picture = definition_renderer::pixel_function;

/// A white disc with an edge one pixel soft.
picture disc(double x0, double y0, double radius, fix value = 4096) {
  return [=](int x, int y, int) {
    const double inside = radius - std::hypot(x + 0.5 - x0, y + 0.5 - y0) + 0.5;
    return fix(std::lrint(value * std::clamp(inside, 0.0, 1.0)));
  };
}
picture brighter_of(picture a, picture b) {
  return [=](int x, int y, int e) { return std::max(a(x, y, e), b(x, y, e)); };
}

// --- zap_to ------------------------------------------------------------------------------------------------

TEST(zap_to, ends_at_the_near_edge_of_an_object) {
  definition_renderer r(TO, FRAME);
  r.set_source(0, disc(140, 60, 20));
  ASSERT_TRUE(r.render());
  const light_of_plane l = measure(r);
  EXPECT_NEAR(l.left, 30, 1);  // the circle's middle: -0.7 of 100 pixels
  EXPECT_NEAR(l.right, 120, 1);
  EXPECT_NEAR(l.y, 60, 0.1);
  // An even strip of the middle's length; its outermost points are thinned.
  EXPECT_NEAR(l.sum, 90 * 2 * 0.5, 1.5);
}

TEST(zap_to, follows_a_moving_object_by_parts_of_a_pixel) {
  definition_renderer r(TO, FRAME);
  r.set_param("wrinkle", {0.5f});
  r.set_param("width", {0.4f, 0.3f});
  planes_of_result before;
  for (int i = 0; i <= 60; ++i) {
    r.set_source(0, disc(130 + 0.31 * i, 50 + 0.17 * i, 21));
    const planes_of_result now = rendered(r);
    const double light = measure(r).sum / (200 * 120);
    if (i > 0) {
      EXPECT_LT(light_difference(now, before), 0.35 * light) << i;
    }
    before = now;
  }
}

TEST(zap_to, goes_to_the_brightest_regions_first) {
  definition_renderer r(TO, FRAME);
  // Below is the larger light; above a dim one; a speck is no region at all.
  r.set_source(0, brighter_of(brighter_of(disc(150, 95, 15), disc(150, 25, 15, 3000)), disc(60.5, 60.5, 0.1)));
  ASSERT_TRUE(r.render());
  EXPECT_GT(measure(r).y, 62);
  r.set_param("bolts", {2, 2});
  ASSERT_TRUE(r.render());
  const light_of_plane both = measure(r);
  EXPECT_LT(both.top, 40);
  EXPECT_GT(both.bottom, 80);
  // Both bolts to the one point.
  r.set_param("bolts", {2, 1});
  ASSERT_TRUE(r.render());
  EXPECT_GE(measure(r).top, 59);
}

TEST(zap_to, spreads_further_points_over_the_object) {
  definition_renderer r(TO, FRAME);
  r.set_source(0, disc(140, 60, 40));
  r.set_param("bolts", {12, 12});
  ASSERT_TRUE(r.render());
  const light_of_plane l = measure(r);
  EXPECT_GT(l.bottom - l.top, 20);
  EXPECT_LE(l.bottom - l.top, 80);
  EXPECT_LE(l.right, 140);
}

TEST(zap_to, starts_on_its_circle) {
  definition_renderer r(TO, FRAME);
  r.set_source(0, disc(160, 60, 15));
  r.set_param("radius", {0.25f});
  r.set_param("bolts", {40, 1});
  ASSERT_TRUE(r.render());
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 200; ++x)
      if (std::hypot(x + 0.5 - 30, y + 0.5 - 60) < 24) {
        ASSERT_EQ(r.at(0, x, y), 0) << x << "," << y;
      }
  EXPECT_NEAR(measure(r).right, 145, 2);
}

TEST(zap_to, leaves_an_object_that_it_starts_in) {
  definition_renderer r(TO, FRAME);
  r.set_source(0, brighter_of(disc(30, 60, 12), disc(150, 60, 20)));
  ASSERT_TRUE(r.render());
  EXPECT_NEAR(measure(r).right, 130, 1);
}

TEST(zap_to, without_an_object_is_empty) {
  definition_renderer r(TO, FRAME);
  r.set_source(0, [](int, int, int) { return 2000; });
  r.set_param("bolts", {5, 3});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(measure(r).sum, 0);
}

TEST(zap_to, shows_the_object_beneath) {
  definition_renderer r(TO, FRAME);
  r.set_source(0, disc(140, 60, 20));
  r.set_param("show", {0.5f, 0.25f});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 140, 60), 1024);
  EXPECT_EQ(r.at(0, 140, 100), 0);
  EXPECT_GT(r.at(0, 80, 60), 1024);
}

TEST(zap_to, is_coverage_and_the_same_everywhere) {
  for (const test_frame frame : {FRAME, test_frame{.width = 1, .height = 1, .output_channels = 1},
                                 test_frame{.width = 33, .height = 2, .output_channels = 1}}) {
    definition_renderer r(TO, frame);
    r.set_source(0, brighter_of(disc(140, 60, 20), disc(20, 1, 9)));
    r.set_param("radius", {0.1f});
    r.set_param("wrinkle", {0.5f});
    r.set_param("bolts", {9, 4});
    r.set_param("branches", {1});
    expect_coverage(same_everywhere(r));
  }
}

// --- outlines ----------------------------------------------------------------------------------------------

std::vector<std::int16_t> plane_of(const picture& p, int width, int height) {
  std::vector<std::int16_t> samples;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) samples.push_back(std::int16_t(p(x, y, 0)));
  return samples;
}

TEST(outlines, of_a_disc_is_a_circle) {
  const std::vector<std::int16_t> samples = plane_of(disc(50.3, 40.6, 20), 100, 80);
  const std::vector<outline> found = find_outlines(samples.data(), 100, 80, 2048, 3);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(found[0].closed());
  EXPECT_NEAR(found[0].length(), 2 * M_PI * 20, 1);
  for (int i = 0; i < 50; ++i) {
    const image_point p = found[0].at(found[0].length() * float(i) / 50);
    EXPECT_NEAR(std::hypot(p.x - 50.3, p.y - 40.6), 20, 0.1) << i;
  }
  // Arc length counts from the far right.
  EXPECT_NEAR(found[0].at(0).x, 70.3, 0.1);
  EXPECT_NEAR(found[0].at(0).y, 40.6, 0.3);
}

TEST(outlines, have_the_object_on_their_left) {
  const std::vector<std::int16_t> samples = plane_of(disc(50, 40, 20), 100, 80);
  const outline o = find_outlines(samples.data(), 100, 80, 2048, 3)[0];
  for (int i = 0; i < 20; ++i) {
    const float s = o.length() * float(i) / 20;
    const auto [a, b] = o.around(s, 2);
    const image_point p = o.at(s);
    // y is down: the left of (dx, dy) is (dy, -dx).
    EXPECT_LT((p.x - 50) * (b.y - a.y) - (p.y - 40) * (b.x - a.x), 0) << i;
  }
}

TEST(outlines, end_at_the_border_of_the_picture) {
  const std::vector<std::int16_t> samples = plane_of([](int x, int, int) { return x < 30 ? 4096 : 0; }, 60, 40);
  const std::vector<outline> found = find_outlines(samples.data(), 60, 40, 2048, 3);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_FALSE(found[0].closed());
  EXPECT_NEAR(found[0].length(), 39, 0.01);
  EXPECT_EQ(found[0].at(-5).x, 30);
  EXPECT_EQ(found[0].at(1000).x, 30);
}

TEST(outlines, are_as_long_as_they_are_on_the_screen) {
  // A circle of 15 on the screen, in pixels twice as high as wide.
  std::vector<std::int16_t> samples;
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 100; ++x)
      samples.push_back(std::int16_t(2048 + 200 * (15 - std::hypot(x + 0.5 - 50, 2 * (y + 0.5 - 20)))));
  const std::vector<outline> found = find_outlines(samples.data(), 100, 40, 2048, 3, 2);
  ASSERT_EQ(found.size(), 1u);
  const float length = found[0].length();
  EXPECT_NEAR(length, 2 * 3.14159 * 15, 0.5);
  // Quarters of it are quarters of the circle, from its right.
  const struct { float x, y; } QUARTERS[] = {{65, 20}, {50, 12.5f}, {35, 20}, {50, 27.5f}};
  for (int k = 0; k < 4; ++k) {
    const image_point p = found[0].at(length * float(k) / 4);
    EXPECT_NEAR(p.x, QUARTERS[k].x, 0.3) << k;
    EXPECT_NEAR(p.y, QUARTERS[k].y, 0.3) << k;
  }
}

TEST(outlines, of_several_objects_and_holes_come_by_length) {
  const picture ring = [](int x, int y, int) {
    const double d = std::hypot(x - 50.0, y - 40.0);
    return d < 30 && d > 12 ? 4096 : std::hypot(x - 90.0, y - 10.0) < 6 ? 4096 : 0;
  };
  const std::vector<std::int16_t> samples = plane_of(ring, 100, 80);
  const std::vector<outline> found = find_outlines(samples.data(), 100, 80, 2048, 3);
  ASSERT_EQ(found.size(), 3u);
  EXPECT_GT(found[0].length(), found[1].length());
  EXPECT_GT(found[1].length(), found[2].length());
  EXPECT_EQ(find_outlines(samples.data(), 100, 80, 2048, found[2].length() + 1).size(), 2u);
}

TEST(outlines, cross_every_border_of_a_pattern_once) {
  // Random pixels: the crossings of all outlines together are the pairs of neighbours that differ.
  std::minstd_rand random(5);
  std::vector<std::int16_t> samples;
  for (int i = 0; i < 37 * 23; ++i) samples.push_back(random() % 2 ? 4096 : 0);
  double length = 0;
  for (const outline& o : find_outlines(samples.data(), 37, 23, 2048, 0)) length += o.length();
  // Every cell with different corners holds one or two pieces, each half a diagonal or a whole side long.
  double wanted = 0;
  for (int y = 0; y + 1 < 23; ++y)
    for (int x = 0; x + 1 < 37; ++x) {
      const bool a = samples[std::size_t(y * 37 + x)], b = samples[std::size_t(y * 37 + x + 1)],
                 c = samples[std::size_t((y + 1) * 37 + x + 1)], d = samples[std::size_t((y + 1) * 37 + x)];
      const int in = a + b + c + d;
      if (in == 1 || in == 3) wanted += std::sqrt(0.5);
      if (in == 2) wanted += a == c ? 2 * std::sqrt(0.5) : 1;
    }
  EXPECT_NEAR(length, wanted, 0.01);
}

TEST(outlines, of_pictures_without_cells_are_none) {
  const std::vector<std::int16_t> samples = {0, 4096, 0, 4096};
  EXPECT_TRUE(find_outlines(samples.data(), 4, 1, 2048, 0).empty());
  EXPECT_TRUE(find_outlines(samples.data(), 1, 4, 2048, 0).empty());
  EXPECT_EQ(find_outlines(samples.data(), 2, 2, 2048, 0).size(), 1u);
}

// --- zap_from ----------------------------------------------------------------------------------------------

TEST(zap_from, leaves_the_outline_straight_outwards) {
  definition_renderer r(FROM, FRAME);
  r.set_source(0, disc(100, 60, 20));
  // The first bolt of one stands half way round: to the left.
  ASSERT_TRUE(r.render());
  const light_of_plane one = measure(r);
  EXPECT_NEAR(one.left, 60, 1);
  EXPECT_NEAR(one.right, 80, 1);
  EXPECT_NEAR(one.y, 60, 0.5);
  EXPECT_NEAR(one.sum, 20 * 2 * 0.5, 1.5);

  r.set_param("bolts", {36});
  ASSERT_TRUE(r.render());
  const light_of_plane all = measure(r);
  EXPECT_NEAR(all.x, 100, 0.5);
  EXPECT_NEAR(all.y, 60, 0.5);
  EXPECT_NEAR(all.sum, 36 * one.sum, one.sum);
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 200; ++x) {
      const double d = std::hypot(x + 0.5 - 100, y + 0.5 - 60);
      if (d < 18.5 || d > 42) {
        ASSERT_EQ(r.at(0, x, y), 0) << x << "," << y;
      }
    }
}

TEST(zap_from, points_outwards_on_pixels_that_are_not_square) {
  for (const float aspect : {2.0f, 0.5f}) {
    definition_renderer r(FROM, {.width = 200, .height = 120, .output_channels = 1, .pixel_aspect = aspect});
    // A slope of one row a column: its normal has `aspect` columns for a row.
    r.set_source(0, [](int x, int y, int) { return x + y < 150 ? 4096 : 0; });
    ASSERT_TRUE(r.render());
    const light_of_plane l = measure(r);
    const double across = (l.right - l.left) * 1.0, down = (l.bottom - l.top) * double(aspect);
    EXPECT_NEAR(std::hypot(across, down), 20, 3) << aspect;
    EXPECT_NEAR(across / down, aspect, 0.25 * aspect) << aspect;
  }
}

TEST(zap_from, looks_the_same_on_pixels_that_are_not_square) {
  const picture object = disc(90, 70, 30);
  const auto set = [](definition_renderer& r) {
    r.set_param("bolts", {7});
    r.set_param("spacing", {0.5f});
    r.set_param("width", {0.6f, 0});
    ASSERT_TRUE(r.render());
  };
  definition_renderer square(FROM, FRAME);
  square.set_source(0, object);
  set(square);
  definition_renderer tall(FROM, {.width = 200, .height = 60, .output_channels = 1, .pixel_aspect = 2});
  tall.set_source(0, [&](int x, int y, int e) { return (object(x, 2 * y, e) + object(x, 2 * y + 1, e)) / 2; });
  set(tall);
  double difference = 0, light = 0;
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 200; ++x) {
      const double mean = (square.at(0, x, 2 * y) + square.at(0, x, 2 * y + 1)) / 2.0;
      difference += std::fabs(mean - tall.at(0, x, y));
      light += mean;
    }
  EXPECT_LT(difference, 0.25 * light) << "of bolts elsewhere it would be twice the light";
}

TEST(zap_from, follows_a_moving_object_by_parts_of_a_pixel) {
  definition_renderer r(FROM, FRAME);
  r.set_param("bolts", {14});
  r.set_param("wrinkle", {0.5f, 0.5f});
  r.set_param("width", {0.4f, 0.3f});
  r.set_param("spacing", {0.6f});
  r.set_param("length", {0.25f, 0.5f});
  planes_of_result before;
  for (int i = 0; i <= 60; ++i) {
    r.set_source(0, disc(80 + 0.31 * i, 50 + 0.17 * i, 21 + 0.05 * i));
    const planes_of_result now = rendered(r);
    const double light = measure(r).sum / (200 * 120);
    if (i > 0) {
      EXPECT_LT(light_difference(now, before), 0.45 * light) << i;
    }
    before = now;
  }
}

TEST(zap_from, spaces_evenly_or_at_random) {
  definition_renderer r(FROM, FRAME);
  r.set_source(0, disc(100, 60, 20));
  r.set_param("bolts", {12});
  const planes_of_result even = rendered(r);
  r.set_param("spacing", {1});
  EXPECT_GT(light_difference(rendered(r), even), 0.001);
  r.set_param("spacing", {0});
  EXPECT_EQ(rendered(r), even);
}

TEST(zap_from, varies_its_lengths_within_the_longest) {
  definition_renderer r(FROM, FRAME);
  r.set_source(0, disc(100, 60, 20));
  r.set_param("bolts", {40});
  ASSERT_TRUE(r.render());
  const double whole = measure(r).sum;
  r.set_param("length", {0.2f, 1});
  ASSERT_TRUE(r.render());
  EXPECT_LT(measure(r).sum, 0.7 * whole);
  EXPECT_GT(measure(r).sum, 0.3 * whole);
  for (int x = 143; x < 200; ++x) EXPECT_EQ(r.at(0, x, 60), 0);
}

TEST(zap_from, gives_each_outline_its_share) {
  definition_renderer r(FROM, FRAME);
  r.set_source(0, brighter_of(disc(50, 60, 20), disc(150, 60, 10)));
  r.set_param("bolts", {15});
  ASSERT_TRUE(r.render());
  double left = 0, right = 0;
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 200; ++x) (x < 100 ? left : right) += r.at(0, x, y) / 4096.0;
  EXPECT_NEAR(left / right, 2, 0.2);
}

TEST(zap_from, without_an_outline_is_empty) {
  definition_renderer r(FROM, FRAME);
  for (const fix value : {0, 4096}) {
    r.set_source(0, [=](int, int, int) { return value; });
    ASSERT_TRUE(r.render());
    EXPECT_EQ(measure(r).sum, 0);
  }
  r.set_source(0, disc(100, 60, 20));
  r.set_param("bolts", {0});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(measure(r).sum, 0);
}

TEST(zap_from, shows_the_object_beneath) {
  definition_renderer r(FROM, FRAME);
  r.set_source(0, disc(100, 60, 20));
  r.set_param("show", {0.5f, 0.25f});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 100, 60), 1024);
  EXPECT_EQ(r.at(0, 100, 100), 0);
}

TEST(zap_from, is_coverage_and_the_same_everywhere) {
  for (const char* text : {FROM, FROM_MASK})
    for (const test_frame frame : {FRAME, test_frame{.width = 1, .height = 1, .output_channels = 1},
                                   test_frame{.width = 33, .height = 2, .output_channels = 1}}) {
      definition_renderer r(text, frame);
      r.set_source(0, brighter_of(disc(140, 60, 20), disc(20, 1, 9)));
      r.set_param("wrinkle", {0.5f, 0.4f});
      r.set_param("bolts", {30});
      r.set_param("branches", {1});
      expect_coverage(same_everywhere(r));
    }
}

TEST(zap_from, takes_any_numbers) {
  for (const char* name : {"length", "width", "shown", "wrinkle", "branch", "seed", "show"})
    for (const float a : {-500000.0f, -1.5f, 500000.0f}) {
      definition_renderer r(FROM, {.width = 48, .height = 30, .output_channels = 1});
      r.set_source(0, disc(24, 15, 8));
      r.set_param("bolts", {7});
      r.set_param(name, {a, a});
      ASSERT_TRUE(r.render()) << name;
    }
}

// --- zap_from_mask -----------------------------------------------------------------------------------------

picture masked_disc(const picture& mask) {
  return [=](int x, int y, int e) { return e == 0 ? disc(100, 60, 20)(x, y, e) : mask(x, y, e); };
}

TEST(zap_from_mask, starts_where_the_mask_is) {
  definition_renderer r(FROM_MASK, FRAME);
  r.set_param("bolts", {36});
  r.set_source(0, masked_disc([](int x, int, int) { return x < 100 ? 4096 : 0; }));
  ASSERT_TRUE(r.render());
  const light_of_plane l = measure(r);
  EXPECT_NEAR(l.sum, 18 * 20, 25);
  EXPECT_LE(l.right, 102);
  EXPECT_LT(l.left, 62);
}

TEST(zap_from_mask, of_white_is_zap_from) {
  definition_renderer r(FROM_MASK, FRAME);
  r.set_param("bolts", {20});
  r.set_source(0, masked_disc([](int, int, int) { return 4096; }));
  const planes_of_result all = rendered(r);
  definition_renderer plain(FROM, FRAME);
  plain.set_param("bolts", {20});
  plain.set_source(0, disc(100, 60, 20));
  EXPECT_EQ(rendered(plain), all);
}

TEST(zap_from_mask, of_black_is_empty) {
  definition_renderer r(FROM_MASK, FRAME);
  r.set_param("bolts", {20});
  for (const fix value : {0, -4096}) {
    r.set_source(0, masked_disc([=](int, int, int) { return value; }));
    ASSERT_TRUE(r.render());
    EXPECT_EQ(measure(r).sum, 0);
  }
}

TEST(zap_from_mask, lets_bolts_grow_as_the_mask_comes) {
  definition_renderer r(FROM_MASK, FRAME);
  r.set_param("bolts", {20});
  double before = -1;
  for (int i = 0; i <= 16; ++i) {
    r.set_source(0, masked_disc([=](int, int, int) { return 256 * i; }));
    ASSERT_TRUE(r.render());
    EXPECT_GE(measure(r).sum, before) << i;
    before = measure(r).sum;
  }
}

TEST(zap_from_mask, refuses_missing_planes) {
  definition_renderer r(FROM_MASK, FRAME);
  ASSERT_TRUE(r.render());
  node& n = *r.calls_of("zap_from_mask")[0];
  const std::string name = n.name ? n.name : "zap_from_mask";
  report_capture reports;
  std::int16_t* const plane = n.images[1];
  n.images[1] = nullptr;
  EXPECT_THROW(n.image_fun(n), TessaronAbortException);
  EXPECT_TRUE(reports.has("node " + name + " has NULL image 1."));
  n.images[1] = plane;
}

}  // namespace
}  // namespace tessaron::testing
