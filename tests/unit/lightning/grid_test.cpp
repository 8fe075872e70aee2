// draw_grid: lines where they belong, in perspective, as bright as they are wide.
#include <gtest/gtest.h>

#include "lightning_kit.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

constexpr const char* GRID =
    "(define G () ()\n"
    "  boxes = [4 2]\n width = [0.1 0.1]\n center = [0 0]\n size = [1.6 0.8]\n z = 0\n latitude = 0\n swing = 0\n"
    "  roll = 0\n lens = 0\n spacing = 0\n major = 2\n"
    "  dest = (draw_grid boxes width center size z latitude swing roll lens spacing major))";

// A norm unit is 100 pixels; a box of the grid above is 40.
constexpr test_frame FRAME = {.width = 200, .height = 120, .output_channels = 1};

TEST(draw_grid, rules_boxes) {
  definition_renderer r(GRID, FRAME);
  ASSERT_TRUE(r.render());
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 200; ++x) {
      // Lines of four pixels at 20, 60, 100, 140 and 180 across, and at 20, 60 and 100 down, from one outer side to the
      // other.
      const bool inside = x >= 18 && x < 182 && y >= 18 && y < 102;
      const bool line = (x + 22) % 40 < 4 || (y + 22) % 40 < 4;
      // Arguments are steps of 1/4096: sides are off by a hundredth of a pixel.
      ASSERT_NEAR(r.at(0, x, y), inside && line ? 4096 : 0, 80) << x << "," << y;
    }
}

TEST(draw_grid, fades_lines_thinner_than_a_pixel_by_their_area) {
  definition_renderer r(GRID, FRAME);
  r.set_param("boxes", {4, 0});
  for (const float width : {0.1f, 0.02f, 0.005f}) {
    r.set_param("width", {width, 0});
    ASSERT_TRUE(r.render());
    const double pixels = std::nearbyint(double(width) * 4096) / 4096 * 40;
    EXPECT_NEAR(measure(r).sum, 5 * pixels * 80, 5 * pixels * 80 * 0.01) << width;
  }
}

TEST(draw_grid, draws_every_so_many_lines_wider) {
  definition_renderer r(GRID, FRAME);
  r.set_param("boxes", {4, 0});
  r.set_param("spacing", {2});
  ASSERT_TRUE(r.render());
  for (const auto& [x, value] : {std::pair{16, 4096},
                                 {23, 4096},
                                 {24, 0},
                                 {56, 0},
                                 {58, 4096},
                                 {61, 4096},
                                 {62, 0},
                                 {96, 4096},
                                 {103, 4096},
                                 {104, 0}})
    EXPECT_NEAR(r.at(0, x, 60), value, 40) << x;
  r.set_param("major", {0});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 100, 60), 0);
  EXPECT_NEAR(r.at(0, 60, 60), 4096, 40);
}

TEST(draw_grid, moves_shrinks_and_turns) {
  definition_renderer r(GRID, FRAME);
  r.set_param("center", {0.125f, -0.125f});
  ASSERT_TRUE(r.render());
  EXPECT_NEAR(measure(r).x, 112.5, 0.1);
  EXPECT_NEAR(measure(r).y, 72.5, 0.1);
  const double whole = measure(r).sum;
  r.set_param("z", {1});
  ASSERT_TRUE(r.render());
  EXPECT_NEAR(measure(r).x, 112.5, 0.1);
  EXPECT_NEAR(measure(r).sum, whole / 4, whole / 200);
  EXPECT_EQ(measure(r).left, 71);
  r.set_param("roll", {0.25f});
  ASSERT_TRUE(r.render());
  EXPECT_NEAR(measure(r).right - measure(r).left, 42, 1);
  EXPECT_NEAR(measure(r).bottom - measure(r).top, 82, 1);
}

TEST(draw_grid, rolls_to_the_left) {
  definition_renderer r(GRID, FRAME);
  r.set_param("boxes", {0.5f, 0});  // one line, at the left
  r.set_param("size", {0.8f, 0.4f});
  r.set_param("roll", {0.125f});
  ASSERT_TRUE(r.render());
  EXPECT_LT(measure(r).x, 90);
  EXPECT_GT(measure(r).y, 70);  // the left side goes down
}

TEST(draw_grid, leans_its_top_and_swings_its_right_away) {
  // Without a lens only the height shrinks, by the cosine.
  definition_renderer r(GRID, FRAME);
  r.set_param("latitude", {1.0f / 6});
  ASSERT_TRUE(r.render());
  EXPECT_NEAR(measure(r).bottom - measure(r).top, 84 * 0.5, 1.5);
  EXPECT_NEAR(measure(r).right - measure(r).left, 164, 1.5);
  EXPECT_NEAR(measure(r).y, 60, 0.5);
  // With one, what is far away is small.
  r.set_param("lens", {0.8f});
  ASSERT_TRUE(r.render());
  const auto width_of_row = [&](int y) {
    int first = 200, last = -1;
    for (int x = 0; x < 200; ++x)
      if (r.at(0, x, y) > 0) first = std::min(first, x), last = std::max(last, x);
    return last - first;
  };
  EXPECT_LT(width_of_row(measure(r).top + 1), width_of_row(measure(r).bottom - 1) - 30);
  r.set_param("latitude", {0});
  r.set_param("swing", {1.0f / 6});
  ASSERT_TRUE(r.render());
  const auto height_of_column = [&](int x) {
    int first = 200, last = -1;
    for (int y = 0; y < 120; ++y)
      if (r.at(0, x, y) > 0) first = std::min(first, y), last = std::max(last, y);
    return last - first;
  };
  EXPECT_LT(height_of_column(measure(r).right - 1), height_of_column(measure(r).left + 1) - 20);
}

TEST(draw_grid, meets_the_lens_formula) {
  definition_renderer r(GRID, FRAME);
  r.set_param("boxes", {0, 2});
  r.set_param("width", {0, 0.05f});
  r.set_param("latitude", {0.125f});
  r.set_param("lens", {0.5f});
  ASSERT_TRUE(r.render());
  // The top line lies 0.4 up the plane: (0.4 cos 45) / (1 + 0.5 * 0.4 sin 45) above the middle.
  const double d = 0.4 * std::sqrt(0.5), top = 60 - 100 * d / (1 + 0.5 * d), bottom = 60 + 100 * d / (1 - 0.5 * d);
  EXPECT_NEAR(measure(r).top + 1, top, 1.2);
  EXPECT_NEAR(measure(r).bottom, bottom, 1.2);
}

TEST(draw_grid, is_cut_where_it_passes_the_eye) {
  definition_renderer r(GRID, FRAME);
  r.set_param("boxes", {40, 40});
  r.set_param("size", {60, 60});
  r.set_param("z", {0.2f});
  r.set_param("latitude", {0.22f});
  r.set_param("lens", {0.5f});
  const planes_of_result floor = same_everywhere(r);
  expect_coverage(floor);
  // The horizon is where the depth grows without end: cos / (lens * sin) above the middle, beyond the frame's top here;
  // below, the floor fills the frame.
  double light = 0;
  for (int x = 0; x < 200; ++x) light += r.at(0, x, 119);
  EXPECT_GT(light, 0);
}

TEST(draw_grid, is_coverage_and_the_same_everywhere) {
  for (const test_frame frame : {FRAME, test_frame{.width = 1, .height = 1, .output_channels = 1},
                                 test_frame{.width = 33, .height = 2, .output_channels = 1}}) {
    definition_renderer r(GRID, frame);
    r.set_param("boxes", {20, 30});
    r.set_param("roll", {0.07f});
    r.set_param("latitude", {0.2f});
    r.set_param("lens", {0.6f});
    expect_coverage(same_everywhere(r));
  }
}

TEST(draw_grid, moves_evenly_with_everything) {
  for (const char* name : {"z", "latitude", "swing", "roll", "lens"}) {
    definition_renderer r(GRID, FRAME);
    r.set_param("latitude", {0.1f});
    r.set_param("lens", {0.4f});
    planes_of_result before;
    for (int i = 0; i <= 20; ++i) {
      r.set_param(name, {0.1f + 0.001f * float(i)});
      const planes_of_result now = rendered(r);
      if (i > 0) {
        EXPECT_LT(light_difference(now, before), 0.03) << name << i;
      }
      before = now;
    }
  }
}

TEST(draw_grid, reports_more_lines_than_its_table_holds) {
  report_capture reports;
  definition_renderer r(GRID, FRAME);
  r.set_param("boxes", {100000, 0});
  ASSERT_TRUE(r.render());
  // Four edges a line; the table ends at 65536.
  EXPECT_EQ(reports.severity_of("grid error: n_edges 65532 + 5 >= n_edge_structs 65536 \n"), REPORT_PLAIN)
      << reports.all();
  EXPECT_EQ(reports.count(), 1u);
  EXPECT_GT(measure(r).sum, 0);
}

TEST(draw_grid, without_lines_clears_the_plane) {
  definition_renderer r(GRID, FRAME);
  ASSERT_TRUE(r.render());
  for (const auto& [a, b] : {std::pair{0.0f, 0.0f}, {-3.0f, -1.0f}}) {
    r.set_param("boxes", {a, b});
    ASSERT_TRUE(r.render());
    EXPECT_EQ(measure(r).sum, 0);
  }
}

TEST(draw_grid, takes_any_numbers) {
  for (const char* name :
       {"boxes", "width", "center", "size", "z", "latitude", "swing", "roll", "lens", "spacing", "major"})
    for (const float a : {-500000.0f, -1.0f, 0.3f, 500000.0f}) {
      report_capture reports;
      definition_renderer r(GRID, {.width = 48, .height = 30, .output_channels = 1});
      r.set_param("latitude", {0.1f});
      r.set_param("lens", {0.5f});
      r.set_param(name, {a, a});
      ASSERT_TRUE(r.render()) << name;
      expect_coverage({r.result()[0]});
    }
}

TEST(draw_grid, lies_in_place_on_pixels_that_are_not_square_and_in_cut_pictures) {
  test_frame frame = {
      .width = 200, .height = 120, .x0 = 10, .y0 = 7, .x1 = 190, .y1 = 113, .output_channels = 1, .pixel_aspect = 2};
  definition_renderer r(GRID, frame);
  r.set_param("center", {0.0625f, 0.25f});
  ASSERT_TRUE(r.render());
  EXPECT_NEAR(measure(r).x, 106.25, 0.1);
  EXPECT_NEAR(measure(r).y, 60 - 12.5, 0.1);
  EXPECT_NEAR(measure(r).bottom - measure(r).top + 1, 42, 1);
}

}  // namespace
}  // namespace tessaron::testing
