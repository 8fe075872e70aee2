// The raster of on-screen handles: shapes against coverage that is worked out by hand.
#include <limits>

#include "overlay_kit.h"

namespace tessaron::testing {
namespace {

using hostkit::overlay;

// --- lines ---------------------------------------------------------------------------------------

TEST_F(Overlay, a_sheet_begins_transparent) { EXPECT_EQ(ink(), 0); }

TEST_F(Overlay, a_line_of_one_pixel_through_the_middles_of_a_row_covers_that_row) {
  line(style(1), 2, 10.5, 8, 10.5);
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 100; ++x) ASSERT_EQ(alpha(x, y), y == 10 && x >= 2 && x < 8 ? 255 : 0) << x << " " << y;
}

TEST_F(Overlay, a_line_between_two_rows_covers_half_of_each) {
  line(style(1), 0, 10, 100, 10);
  for (int y : {9, 10}) EXPECT_NEAR(alpha(50, y), 127.5, 1.5) << y;
  EXPECT_EQ(alpha(50, 8), 0);
  EXPECT_EQ(alpha(50, 11), 0);
  EXPECT_NEAR(ink(), 100, 1);
}

TEST_F(Overlay, a_slanting_line_has_its_length_times_its_width_of_ink) {
  line(style(1.4f), 10, 10, 70, 50);
  EXPECT_NEAR(ink(), std::hypot(60, 40) * 1.4, std::hypot(60, 40) * 1.4 * 0.01);
}

TEST_F(Overlay, thin_lines_end_where_they_are_told_to_and_wide_ones_round) {
  line(style(1), 20, 20.5, 40, 20.5);
  EXPECT_EQ(alpha(19, 20), 0);
  EXPECT_EQ(alpha(40, 20), 0);
  line(style(3), 20, 40.5, 40, 40.5);
  EXPECT_EQ(alpha(19, 40), 255) << "frames the end of a thin line on top of it";
  EXPECT_EQ(alpha(40, 40), 255);
  EXPECT_EQ(alpha(17, 40), 0);
  // The rectangle and two half circles of radius 1.5.
  EXPECT_NEAR(ink(), 20 + 20 * 3 + PI * 1.5 * 1.5, 0.5);
}

TEST_F(Overlay, dashes_are_drawn_and_left_out_in_turn) {
  line(style(1, {3, 2}), 10, 5.5, 30, 5.5);
  for (int x = 0; x < 100; ++x) {
    const bool on = x >= 10 && x < 30 && (x - 10) % 5 < 3;
    EXPECT_EQ(alpha(x, 5), on ? 255 : 0) << x;
  }
}

TEST_F(Overlay, an_odd_list_of_dashes_goes_round_twice) {
  line(style(1, {2}), 10, 5.5, 30, 5.5);
  for (int x = 10; x < 30; ++x) EXPECT_EQ(alpha(x, 5), (x - 10) % 4 < 2 ? 255 : 0) << x;
}

TEST_F(Overlay, dashes_of_a_wide_line_are_no_longer_than_told) {
  line(style(4, {6, 4}), 10, 20, 60, 20);
  for (int x = 10; x < 60; ++x) EXPECT_EQ(alpha(x, 20), (x - 10) % 10 < 6 ? 255 : 0) << x;
}

TEST_F(Overlay, a_line_that_comes_from_far_is_cut_at_the_sheet) {
  line(style(1), -1e9f, 10.5, 1e9f, 10.5);
  for (int x = 0; x < 100; ++x) EXPECT_EQ(alpha(x, 10), 255) << x;
  EXPECT_NEAR(ink(), 100, 0.5);
  line(style(1), -1e30f, 30.5, std::numeric_limits<float>::max(), 30.5);
  for (int x = 0; x < 100; ++x) EXPECT_EQ(alpha(x, 30), 255) << x;
}

TEST_F(Overlay, dashes_of_a_line_that_comes_from_far_stay_in_step) {
  line(style(1, {6, 4}), -1000000, 10.5, 1000000, 10.5);
  for (int x = 0; x < 100; ++x) EXPECT_NEAR(alpha(x, 10), x % 10 < 6 ? 255 : 0, 2) << x;
}

TEST_F(Overlay, a_line_beside_the_sheet_leaves_nothing) {
  line(style(1), -50, -10, 200, -10);
  line(style(1), 300, 1e9f, 500, -1e9f);
  EXPECT_EQ(ink(), 0);
}

TEST_F(Overlay, a_closed_polyline_has_whole_corners) {
  polyline(style(1), {10.5, 10.5, 20.5, 10.5, 20.5, 15.5, 10.5, 15.5}, true);
  for (int y = 8; y < 18; ++y)
    for (int x = 8; x < 23; ++x) {
      const bool in = x >= 10 && x <= 20 && y >= 10 && y <= 15;
      const bool edge = in && (x == 10 || x == 20 || y == 10 || y == 15);
      ASSERT_EQ(alpha(x, y), edge ? 255 : 0) << x << " " << y;
    }
}

TEST_F(Overlay, an_open_polyline_lacks_its_last_side) {
  polyline(style(1), {10.5, 10.5, 20.5, 10.5, 20.5, 15.5, 10.5, 15.5}, false);
  EXPECT_EQ(alpha(15, 15), 255);
  EXPECT_EQ(alpha(10, 13), 0);
}

TEST_F(Overlay, a_polyline_that_leaves_for_afar_shows_what_is_near) {
  polyline(style(1), {10, 10.5, 1e9f, 10.5, 1e9f, 50.5, 10, 50.5}, false);
  EXPECT_EQ(alpha(90, 10), 255);
  EXPECT_EQ(alpha(90, 50), 255);
  EXPECT_NEAR(ink(), 180, 0.5);
}

TEST_F(Overlay, a_polyline_of_no_or_one_point_is_nothing) {
  const float xy[] = {10, 10};
  const pf_draw_style s = style(3);
  for (int n : {-5, 0, 1})
    for (int closed : {0, 1}) EXPECT_EQ(draw.polyline(draw.draw_ref, &s, xy, n, closed), 0);
  EXPECT_EQ(draw.polyline(draw.draw_ref, &s, nullptr, 4, 0), 0);
  EXPECT_EQ(ink(), 0);
}

// --- round things --------------------------------------------------------------------------------

TEST_F(Overlay, a_filled_circle_has_its_area) {
  for (float radius : {0.4f, 2.0f, 7.5f, 20.0f}) {
    overlay alone(60, 60);
    const pf_draw_callbacks& d = alone.callbacks();
    EXPECT_EQ(d.filled_circle(d.draw_ref, &WHITE, 30.25f, 29.5f, radius), 0);
    const image all = alone.premultiplied();
    double area = 0;
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 60; ++x) area += pixel(all, x, y).a / 255.0;
    EXPECT_NEAR(area, PI * radius * radius, std::max(PI * radius * radius * 0.01, 0.05)) << radius;
  }
}

TEST_F(Overlay, a_circle_is_a_line_around_nothing) {
  const pf_draw_style s = style(2);
  EXPECT_EQ(draw.circle(draw.draw_ref, &s, 50, 30, 20), 0);
  EXPECT_NEAR(ink(), 2 * PI * 20 * 2, 2 * PI * 20 * 2 * 0.01);
  EXPECT_EQ(alpha(50, 30), 0);
  for (int k = 0; k < 360; k += 15)
    EXPECT_GT(most_around(50 + 20 * std::cos(k * PI / 180), 30 + 20 * std::sin(k * PI / 180)), 200) << k;
}

TEST_F(Overlay, an_arc_runs_clockwise_from_the_right) {
  arc(style(1), 50, 30, 20, 0, 90);
  EXPECT_NEAR(ink(), PI / 2 * 20, PI / 2 * 20 * 0.02);
  EXPECT_GT(most_around(70, 31), 120) << "where it begins";
  EXPECT_GT(most_around(51, 50), 120) << "where it ends: below the middle";
  EXPECT_GT(most_around(50 + 20 * std::sqrt(0.5), 30 + 20 * std::sqrt(0.5)), 120);
  EXPECT_EQ(most_around(50, 10), 0);
  EXPECT_EQ(most_around(30, 30), 0);
  EXPECT_EQ(most_around(70, 27), 0);
}

TEST_F(Overlay, an_arc_can_run_the_other_way) {
  arc(style(1), 50, 30, 20, 90, -180);
  EXPECT_GT(most_around(70, 30), 120);
  EXPECT_GT(most_around(51, 10), 120);
  EXPECT_EQ(most_around(30, 30), 0);
  EXPECT_NEAR(ink(), PI * 20, PI * 20 * 0.02);
}

TEST_F(Overlay, a_sweep_of_more_than_a_turn_is_one_turn) {
  arc(style(1), 50, 30, 20, 725, 100000);
  EXPECT_NEAR(ink(), 2 * PI * 20, 2 * PI * 20 * 0.01);
}

// --- areas and texts -----------------------------------------------------------------------------

TEST_F(Overlay, a_filled_rectangle_covers_pixels_by_area) {
  EXPECT_EQ(draw.filled_rect(draw.draw_ref, &WHITE, 10.5f, 20, 3, 2.25f), 0);
  EXPECT_NEAR(ink(), 6.75, 0.05);
  EXPECT_NEAR(alpha(10, 20), 127.5, 1.5);
  EXPECT_EQ(alpha(11, 21), 255);
  EXPECT_NEAR(alpha(11, 22), 63.75, 1.5);
  EXPECT_EQ(alpha(14, 20), 0);
}

TEST_F(Overlay, a_rectangle_of_any_size_covers_the_sheet_at_most) {
  EXPECT_EQ(draw.filled_rect(draw.draw_ref, &WHITE, -1e30f, -5, std::numeric_limits<float>::max(), 1e20f), 0);
  EXPECT_EQ(ink(), 6000);
}

TEST_F(Overlay, a_text_stands_on_its_baseline) {
  text("HEX", 10, 40, 20);
  const double small = ink();
  EXPECT_GT(small, 40) << "three capitals of some 15 pixels";
  int lowest = 0, highest = 60, leftmost = 100;
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 100; ++x)
      if (alpha(x, y) > 40) {
        lowest = std::max(lowest, y);
        highest = std::min(highest, y);
        leftmost = std::min(leftmost, x);
      }
  EXPECT_NEAR(lowest, 39, 1);
  EXPECT_NEAR(highest, 40 - 0.73 * 20, 2.5);  // capitals are about 0.73 of the size high
  EXPECT_NEAR(leftmost, 11, 2);
}

TEST_F(Overlay, a_text_grows_with_its_size) {
  text("H", 5, 50, 10);
  const double small = ink();
  text("H", 40, 50, 40);
  EXPECT_GT(ink() - small, 8 * small);
}

TEST_F(Overlay, bytes_that_are_no_text_do_not_spoil_the_next) {
  text("\xff\xfe");
  text(std::string(100000, 'H').c_str());
  text("");
  EXPECT_EQ(draw.text(draw.draw_ref, &WHITE, 5, 40, 20, nullptr), 0);
  EXPECT_EQ(ink(), 0);
  text(
      "\xc3\xa9"
      "H");
  EXPECT_GT(ink(), 10);
}

}  // namespace
}  // namespace tessaron::testing
