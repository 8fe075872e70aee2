// The raster of on-screen handles: its colours over pictures, sizes, and numbers that make no sense.
#include <limits>

#include "overlay_kit.h"

namespace tessaron::testing {
namespace {

using hostkit::host_error;
using hostkit::overlay;

// --- colours -------------------------------------------------------------------------------------

TEST_F(Overlay, colours_are_straight) {
  const pf_color half_orange = {128, 255, 128, 0};
  EXPECT_EQ(draw.filled_rect(draw.draw_ref, &half_orange, 0, 0, 10, 10), 0);
  const rgba straight = pixel(sheet.straight(), 5, 5), multiplied = pixel(sheet.premultiplied(), 5, 5);
  EXPECT_EQ(straight.a, 128);
  EXPECT_NEAR(straight.r, 255, 1);
  EXPECT_NEAR(straight.g, 128, 1);
  EXPECT_EQ(straight.b, 0);
  EXPECT_NEAR(multiplied.r, 128, 1);
  EXPECT_NEAR(multiplied.g, 64, 1);
  EXPECT_EQ(pixel(sheet.straight(), 50, 5), rgba{});
}

TEST_F(Overlay, no_alpha_is_no_ink) {
  const pf_color clear = {0, 255, 255, 255};
  draw.filled_rect(draw.draw_ref, &clear, 0, 0, 10, 10);
  pf_draw_style s = style(4);
  s.color = clear;
  line(s, 0, 0, 50, 50);
  EXPECT_EQ(ink(), 0);
}

TEST_F(Overlay, lies_over_an_opaque_picture_by_its_alpha_in_every_format) {
  const pf_color half_red = {51, 255, 0, 0};  // a fifth
  draw.filled_rect(draw.draw_ref, &half_red, 0, 0, 10, 60);
  draw.filled_rect(draw.draw_ref, &WHITE, 20, 0, 10, 60);
  for (const auto& [format, full] : {std::pair{pixel_format::rgba8, 255}, std::pair{pixel_format::bgra8, 255},
                                     std::pair{pixel_format::rgba16, 32768}, std::pair{pixel_format::bgra16, 65535}}) {
    image picture = filled(100, 60, format, {full * 2 / 5, full * 4 / 5, full, full});
    const rgba before = pixel(picture, 50, 30);
    sheet.draw_over(picture);
    const rgba mixed = pixel(picture, 5, 30);
    const double off = full / 255.0 + 1;
    EXPECT_NEAR(mixed.r, full * 0.2 + full * 0.4 * 0.8, off);
    EXPECT_NEAR(mixed.g, full * 0.8 * 0.8, off);
    EXPECT_NEAR(mixed.b, full * 0.8, off);
    EXPECT_EQ(mixed.a, full);
    EXPECT_EQ(pixel(picture, 25, 30), (rgba{full, full, full, full}));
    EXPECT_EQ(pixel(picture, 50, 30), before);
  }
}

TEST_F(Overlay, shows_as_it_is_over_a_transparent_picture) {
  const pf_color half_red = {51, 255, 0, 0};
  draw.filled_rect(draw.draw_ref, &half_red, 0, 0, 10, 60);
  image picture = filled(100, 60, pixel_format::rgba8, {0, 255, 0, 0});
  sheet.draw_over(picture);
  EXPECT_EQ(pixel(picture, 5, 30), (rgba{255, 0, 0, 51}));
  EXPECT_EQ(pixel(picture, 50, 30), (rgba{0, 255, 0, 0})) << "hidden colours stay";
}

TEST_F(Overlay, mixes_with_a_half_transparent_picture) {
  const pf_color red = {102, 255, 0, 0};  // 0.4
  draw.filled_rect(draw.draw_ref, &red, 0, 0, 10, 60);
  image picture = filled(100, 60, pixel_format::bgra16, {0, 0, 65535, 32768});
  sheet.draw_over(picture);
  // 0.4 of red over 0.6 * 0.5 of blue: 0.7 in all, of which 4 parts are red and 3 blue.
  const rgba mixed = pixel(picture, 5, 30);
  EXPECT_NEAR(mixed.a, 0.7 * 65535, 2);
  EXPECT_NEAR(mixed.r, 4.0 / 7 * 65535, 2);
  EXPECT_NEAR(mixed.b, 3.0 / 7 * 65535, 2);
}

TEST_F(Overlay, lies_only_over_a_picture_of_its_size) {
  image picture = image::make(99, 60, pixel_format::rgba8);
  EXPECT_THROW(sheet.draw_over(picture), host_error);
}

// --- sizes and bad numbers -----------------------------------------------------------------------

TEST_F(Overlay, sizes_that_can_not_be_made_are_refused) {
  for (const auto& [width, height] : {std::pair{0, 5}, std::pair{5, 0}, std::pair{-1, 5}, std::pair{40000, 5}})
    EXPECT_THROW(overlay(width, height), host_error) << width << " " << height;
}

TEST_F(Overlay, a_sheet_of_one_pixel_takes_every_shape) {
  overlay one(1, 1);
  const pf_draw_callbacks& d = one.callbacks();
  const pf_draw_style s = {WHITE, 1, 0, nullptr};
  const float xy[] = {0, 0, 1, 1, 0, 1};
  EXPECT_EQ(d.line(d.draw_ref, &s, 0, 0.5, 1, 0.5), 0);
  EXPECT_EQ(pixel(one.straight(), 0, 0), (rgba{255, 255, 255, 255}));
  EXPECT_EQ(d.polyline(d.draw_ref, &s, xy, 3, 1), 0);
  EXPECT_EQ(d.circle(d.draw_ref, &s, 0.5, 0.5, 3), 0);
  EXPECT_EQ(d.arc(d.draw_ref, &s, 0.5, 0.5, 3, 0, 10), 0);
  EXPECT_EQ(d.filled_rect(d.draw_ref, &WHITE, 0, 0, 1, 1), 0);
  EXPECT_EQ(d.filled_circle(d.draw_ref, &WHITE, 0, 0, 1), 0);
  EXPECT_EQ(d.text(d.draw_ref, &WHITE, 0, 1, 12, "x"), 0);
  image picture = filled(1, 1, pixel_format::rgba8, {9, 9, 9, 255});
  one.draw_over(picture);
  EXPECT_EQ(pixel(picture, 0, 0), (rgba{255, 255, 255, 255}));
}

TEST_F(Overlay, numbers_that_make_no_sense_leave_nothing_and_spoil_nothing) {
  const float nan = std::nanf(""), inf = INFINITY, most = std::numeric_limits<float>::max();
  const std::vector<float> odd = {nan, inf, -inf, most, -most, 1e7f, -1e7f, 0, -1, 1e-40f};
  pf_draw_style s = style(1);
  for (float a : odd)
    for (int place = 0; place < 6; ++place) {
      float v[6] = {20, 20, 8, 8, 10, 10};
      v[place] = a;
      EXPECT_EQ(draw.line(draw.draw_ref, &s, v[0], v[1], v[2], v[3]), 0);
      EXPECT_EQ(draw.polyline(draw.draw_ref, &s, v, 3, place & 1), 0);
      EXPECT_EQ(draw.circle(draw.draw_ref, &s, v[0], v[1], v[2]), 0);
      EXPECT_EQ(draw.arc(draw.draw_ref, &s, v[0], v[1], v[2], v[3], v[4]), 0);
      EXPECT_EQ(draw.filled_rect(draw.draw_ref, &WHITE, v[0], v[1], v[2], v[3]), 0);
      EXPECT_EQ(draw.filled_circle(draw.draw_ref, &WHITE, v[0], v[1], v[2]), 0);
      EXPECT_EQ(draw.text(draw.draw_ref, &WHITE, v[0], v[1], v[2], "x"), 0);
    }
  EXPECT_EQ(draw.filled_rect(draw.draw_ref, &WHITE, 0, 0, 100, 60), 0);
  EXPECT_EQ(ink(), 6000);
}

TEST_F(Overlay, not_a_number_draws_nothing) {
  const float nan = std::nanf("");
  const pf_draw_style s = style(3);
  draw.line(draw.draw_ref, &s, nan, 0, 50, 50);
  draw.line(draw.draw_ref, &s, 0, 0, 50, INFINITY);
  const float xy[] = {0, 0, nan, 10, 50, 50};
  draw.polyline(draw.draw_ref, &s, xy, 3, 1);
  draw.circle(draw.draw_ref, &s, 20, nan, 10);
  draw.circle(draw.draw_ref, &s, 20, 20, nan);
  draw.circle(draw.draw_ref, &s, 20, 20, -5);
  draw.circle(draw.draw_ref, &s, 20, 20, 0);
  draw.arc(draw.draw_ref, &s, 20, 20, 10, nan, 90);
  draw.arc(draw.draw_ref, &s, 20, 20, 10, 0, nan);
  draw.filled_rect(draw.draw_ref, &WHITE, nan, 0, 10, 10);
  draw.filled_rect(draw.draw_ref, &WHITE, 0, 0, -10, 10);
  draw.filled_rect(draw.draw_ref, &WHITE, -INFINITY, 0, INFINITY, 10);
  draw.filled_circle(draw.draw_ref, &WHITE, 0, 0, -10);
  draw.filled_circle(draw.draw_ref, &WHITE, nan, 0, 10);
  draw.text(draw.draw_ref, &WHITE, nan, 20, 20, "x");
  draw.text(draw.draw_ref, &WHITE, 20, 20, 0, "x");
  for (float width : {0.0f, -3.0f, nan, float(INFINITY)}) {
    pf_draw_style odd = s;
    odd.width = width;
    draw.line(draw.draw_ref, &odd, 0, 0, 50, 50);
    draw.circle(draw.draw_ref, &odd, 20, 20, 10);
  }
  EXPECT_EQ(ink(), 0);
}

TEST_F(Overlay, dashes_that_make_no_sense_come_out_solid) {
  const std::vector<std::vector<float>> lists = {{0, 0}, {-3, 2}, {std::nanf(""), 2}, {3, INFINITY}, {1e-6f, 1e-6f}};
  for (const std::vector<float>& dashes : lists) {
    overlay fresh(100, 60);
    const pf_draw_callbacks& d = fresh.callbacks();
    const pf_draw_style s = {WHITE, 1, int(dashes.size()), dashes.data()};
    EXPECT_EQ(d.line(d.draw_ref, &s, 0, 10.5, 100, 10.5), 0);
    for (int x = 0; x < 100; ++x) ASSERT_EQ(pixel(fresh.premultiplied(), x, 10).a, 255) << dashes[0] << " " << x;
  }
  for (int count : {-1, 1000000}) {
    overlay fresh(100, 60);
    const pf_draw_callbacks& d = fresh.callbacks();
    const float two[] = {3, 2};
    const pf_draw_style s = {WHITE, 1, count, count < 0 ? two : nullptr};
    EXPECT_EQ(d.line(d.draw_ref, &s, 0, 10.5, 100, 10.5), 0);
    EXPECT_EQ(pixel(fresh.premultiplied(), 14, 10).a, 255);
  }
}

TEST_F(Overlay, dashes_of_a_huge_circle_take_no_time) {
  const pf_draw_style s = style(1, {1, 1});
  EXPECT_EQ(draw.circle(draw.draw_ref, &s, 50, 3000000, 2999970.5f), 0);
  EXPECT_GT(alpha(50, 30) + alpha(50, 29), 200) << "it passes here";
}

TEST_F(Overlay, records_that_are_not_there_are_an_error) {
  EXPECT_NE(draw.line(draw.draw_ref, nullptr, 0, 0, 1, 1), 0);
  EXPECT_NE(draw.filled_rect(draw.draw_ref, nullptr, 0, 0, 1, 1), 0);
  const pf_draw_style s = style(1);
  EXPECT_NE(draw.circle(nullptr, &s, 0, 0, 1), 0);
}

}  // namespace
}  // namespace tessaron::testing
