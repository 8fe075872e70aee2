// Widgets of base types "rect" and "rectshift".
#include "unit/widgets/class_kit.h"

namespace tessaron::testing {
namespace {

std::string distance(const std::string& type, const char* value = "1") {
  return " Z = " + std::string(value) + " (max 1000 ignore widget " + type + ".z_dist)";
}
std::string turned(const std::string& type, double degrees) {
  return " Turn = " + host_angle(degrees) + " (angle ignore widget " + type + ".rotate)";
}
std::string center(const std::string& type) {
  return " Spot = [360 243] (screen ignore widget " + type + ".center)";  // the middle
}
std::string shift(const std::string& type) {
  return " Shift = [0.25 -0.125] (min -100 ignore widget " + type + ".shift)";  // 80 pixels right, 40 down
}

/// The corners of an upright rectangle, from the upper right one.
std::vector<gfx_point> corners(float left, float top, float right, float bottom) {
  return {{right, top}, {left, top}, {left, bottom}, {right, bottom}};
}

/// Drags a handle away from the middle of the layer, or towards it.
void check_scales(const std::string& definition, const std::string& part, int nth, double factor, double middle_x = 320,
                  double middle_y = 180) {
  check_handle_goes_to(
      definition, part, 0, nth,
      [&](const widget_host& host, const shown_handle& from) {
        const double x = host.window_x(middle_x), y = host.window_y(middle_y);
        return std::pair(x + factor * (from.x - x), y + factor * (from.y - y));
      },
      20);
}

// --- rect ----------------------------------------------------------------------------------------

// The layer has 640 by 360 pixels.
TEST(RectWidget, IsHalfTheFrameAtDistanceOneAndTheWholeWithFullsize) {
  const struct {
    const char *type, *z;
    float half_x, half_y;
  } cases[] = {{"rect", "1", 160, 90},           {"rect", "2", 80, 45},
               {"rect_fullsize", "1", 320, 180}, {"rect_fullsize", "4", 80, 45},
               {"rect_green", "1", 160, 90},     {"rect_green_fullsize", "0.5", 640, 360},
               {"rect_pix", "1", 160, 90},       {"rect_pix_fullsize", "1", 320, 180}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " at " + c.z);
    widget_host host(widget_effect(distance(c.type, c.z)));
    host.draw();
    EXPECT_TRUE(drew_polygon(host, corners(320 - c.half_x, 180 - c.half_y, 320 + c.half_x, 180 + c.half_y)));
    expect_at(host.handle("z_dist"), 320 + c.half_x, 180 - c.half_y);
    expect_at(host.handle("z_dist", 0, 2), 320 - c.half_x, 180 + c.half_y);
    EXPECT_EQ(host.handles.size(), 4u);
  }
}

TEST(RectWidget, CornersFollowTheMouseAlongTheirRays) {
  const std::string parts = widget_effect(distance("rect", "1.5") + turned("rect", 33) + center("rect"));
  for (int corner = 0; corner < 4; ++corner) {
    check_scales(parts, "z_dist", corner, 1.4);
    check_scales(parts, "z_dist", corner, 0.6);
  }
  const std::string percent = widget_effect(" Z = 150 (percent max 1000 ignore widget rect.z_dist)");
  check_scales(percent, "z_dist", 1, 1.25);
}

TEST(RectWidget, DistanceOfTwoChannelsHasAWidthAndAHeight) {
  const std::string parts = widget_effect(" Z = [2 1] (max 1000 ignore widget rect.z_dist)");
  widget_host host(parts);
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(240, 90, 400, 270)));
  EXPECT_EQ(host.handles.size(), 8u);
  expect_at(host.handle("z_dist", 0, 4), 400, 180);
  expect_at(host.handle("z_dist", 0, 5), 320, 90);
  ASSERT_TRUE(drag_by(host, {"z_dist", 80, 55, 0, 4}));  // the side only moves along x
  EXPECT_NEAR(host.control("Z X").u.slider.value / 65536.0, 1, 0.001);
  EXPECT_NEAR(host.control("Z Y").u.slider.value / 65536.0, 1, 0.001);
  check_handles_follow(parts,
                       {{"z_dist", 22, -31, 0, 0},
                        {"z_dist", -22, 31, 0, 2},
                        {"z_dist", 20, 0, 0, 4},
                        {"z_dist", 0, -20, 0, 5},
                        {"z_dist", -20, 0, 0, 6},
                        {"z_dist", 0, 20, 0, 7}},
                       20);
}

TEST(RectWidget, TurnsAboutItsMiddle) {
  const std::string parts = widget_effect(distance("rect", "1") + turned("rect", 90) + center("rect"));
  widget_host host(parts);
  host.draw();
  EXPECT_TRUE(drew_polygon(host, {{230, 20}, {230, 340}, {410, 340}, {410, 20}}));
  expect_at(host.handle("rotate"), 320, 180 - 96);  // at 0.6 of half the width
  EXPECT_GT(count_kind(host, "filled_circle"), 0);
  for (const double to : {150.0, -20.0})
    check_handle_goes_to(
        parts, "rotate", 0, 0,
        [&](const widget_host& h, const shown_handle& from) {
          const double radius = h.window_y(180) - from.y, turn = to * 3.14159265358979323846 / 180;
          return std::pair(h.window_x(320) + radius * std::cos(turn), h.window_y(180) - radius * std::sin(turn));
        },
        20);
}

TEST(RectWidget, ShapeIsTurnedAsTheScreenShowsIt) {
  // Pixels twice as wide as high: on the screen the rectangle is 640 by 180, upright 180 by 640.
  widget_host host(widget_effect(distance("rect", "1") + turned("rect", 90)), {.pixel_aspect = 2});
  host.draw();
  EXPECT_TRUE(drew_polygon(host, {{550, -140}, {550, 500}, {730, 500}, {730, -140}}));
}

TEST(RectWidget, CenterFollowsTheMouseInEveryUnit) {
  for (const char* type : {"rect", "rect_pix", "rect_fullsize"})
    for (const char* units : {"screen", "screen_center", "screen_center0", "normalize", "normalize_scale 0.5",
                              "screen_to_norm", "screen_center_to_norm", "min -10"}) {
      SCOPED_TRACE(std::string(type) + ", " + units);
      const std::string t = type;
      check_handles_follow(widget_effect(distance(type) + " Spot = [0.1 0.2] (" + units +
                                         " min -100000 ignore widget " + t + ".center)"),
                           {{"center", 57, -31}}, 5);
    }
}

TEST(RectWidget, OutlineMovesTheCenter) {
  widget_host host(widget_effect(distance("rect") + center("rect")));
  ASSERT_TRUE(host.drag(400, 90, 430, 100));  // the upper side
  expect_at(host.handle("center"), 350, 190);
}

TEST(RectWidget, PixCountsPlainNumbersInPixels) {
  widget_host host(
      widget_effect(" Spot = [50 25] (min -1000 ignore widget rect_pix.center)"
                    " Shift = [8 -4] (min -1000 ignore widget rect_pix.shift)"));
  expect_at(host.handle("center"), 370, 155);
  EXPECT_TRUE(drew_polygon(host, corners(378 - 160, 159 - 90, 378 + 160, 159 + 90)));
}

TEST(RectWidget, ShiftMovesTheOutlineAgainstTheCenter) {
  widget_host host(widget_effect(distance("rect") + shift("rect") + center("rect")));
  expect_at(host.handle("center"), 320, 180);
  EXPECT_TRUE(drew_polygon(host, corners(240, 130, 560, 310)));
  EXPECT_TRUE(drew_line(host, 320, 180, 400, 220, 2));
  for (const shown_handle& h : host.handles) EXPECT_NE(h.part, "shift");
  ASSERT_TRUE(drag_by(host, {"center", 30, 10}));
  expect_at(host.handle("z_dist", 0, 1), 270, 140);
}

TEST(RectWidget, ShiftHasAHandleWhereThereIsNoCenter) {
  const std::string parts = widget_effect(distance("rect") + shift("rect"));
  widget_host host(parts);
  expect_at(host.handle("shift"), 400, 220);
  check_handles_follow(parts, {{"shift", -44, 25}});
}

TEST(RectWidget, DistanceOfNothingHasNoOutlineAndNothingToHold) {
  for (const char* z : {"0", "-2"}) {
    SCOPED_TRACE(z);
    widget_host host(widget_effect(" Z = " + std::string(z) + " (min -10 max 1000 ignore widget rect.z_dist)" +
                                   center("rect") + turned("rect", 0)));
    host.draw();
    EXPECT_EQ(count_kind(host, "polyline"), 0);
    EXPECT_EQ(count_kind(host, "filled_rect"), 0);
    EXPECT_TRUE(host.click(320, 180));
    expect_at(host.handle("rotate"), 336, 180);
  }
}

TEST(RectWidget, NeverGetsSmallerThanItCanBePulledOutAgain) {
  for (const char* z : {"1", "[1 1]"}) {
    SCOPED_TRACE(z);
    widget_host host(widget_effect(distance("rect", z) + center("rect")));
    // Beyond the middle: the corner stops there.
    ASSERT_TRUE(host.drag(480, 90, 100, 300));
    EXPECT_NEAR(host.handle("z_dist").x, 320, 1);
    EXPECT_NEAR(host.handle("z_dist").y, 180, 1);
    // Out again, to the other side.
    ASSERT_TRUE(host.drag(320, 180, 160, 270));
    EXPECT_NEAR(host.handle("z_dist", 0, 2).x, 160, 2);
    EXPECT_NEAR(host.handle("z_dist", 0, 2).y, 270, 2);
  }
}

TEST(RectWidget, MissingPartsHaveNoHandles) {
  widget_host turn(widget_effect(turned("rect", 0)));
  turn.draw();
  ASSERT_EQ(turn.handles.size(), 1u);
  EXPECT_TRUE(drew_polygon(turn, corners(160, 90, 480, 270)));
  EXPECT_FALSE(turn.click(480, 90));
  widget_host spot(widget_effect(center("rect")));
  spot.draw();
  ASSERT_EQ(spot.handles.size(), 1u);
}

// --- rectshift -----------------------------------------------------------------------------------

TEST(RectshiftWidget, ShowsBothOutlinesAndDragsTheShift) {
  const std::string parts =
      widget_effect(distance("rectshift") + turned("rectshift", 0) + shift("rectshift") + center("rectshift"));
  widget_host host(parts);
  expect_at(host.handle("shift"), 400, 220);
  expect_at(host.handle("center"), 320, 180);
  expect_at(host.handle("z_dist"), 560, 130);
  EXPECT_TRUE(drew_polygon(host, corners(240, 130, 560, 310)));
  EXPECT_TRUE(drew_polygon(host, corners(160, 90, 480, 270), 2));
  check_handles_follow(parts, {{"shift", 31, -27}, {"center", -22, 40}}, 5);
  ASSERT_TRUE(drag_by(host, {"shift", 20, 30}));
  expect_at(host.handle("shift"), 420, 250);
  expect_at(host.handle("center"), 320, 180);
}

TEST(RectshiftWidget, ShiftFollowsTheMouseInEveryUnit) {
  for (const char* type : {"rectshift", "rectshift_pix", "rectshift_green"})
    for (const char* units : {"screen", "screen_center", "screen_center0", "normalize", "normalize_scale 0.5",
                              "screen_to_norm", "screen_center_to_norm", "min -10", "percent"}) {
      SCOPED_TRACE(std::string(type) + ", " + units);
      // A hundredth of a pixel is a whole number there, and finer than the mouse.
      const bool hundredths = type == std::string("rectshift_pix") && units == std::string("percent");
      const int precision = hundredths ? 400 : 5;
      check_handles_follow(widget_effect(distance(type) + " Shift = [0.1 0.2] (" + units +
                                         " min -100000 max 100000 ignore widget " + type + ".shift)"),
                           {{"shift", 57, -31}}, precision);
    }
}

TEST(RectshiftWidget, ShiftOfNothingLeavesTheCenterToBeHeld) {
  widget_host host(widget_effect(" Shift = [0 0] (min -100 ignore widget rectshift.shift)" + center("rectshift")));
  ASSERT_TRUE(host.drag(330, 180, 350, 200));  // an arm of the cross
  expect_at(host.handle("center"), 340, 200);
  ASSERT_TRUE(host.drag(340, 200, 360, 210));  // the square
  expect_at(host.handle("center"), 340, 200);
  expect_at(host.handle("shift"), 360, 210);
}

TEST(RectshiftWidget, WithoutAShiftIsOneOutline) {
  widget_host host(widget_effect(distance("rectshift") + center("rectshift")));
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(160, 90, 480, 270)));
  EXPECT_FALSE(drew_polygon(host, corners(160, 90, 480, 270), 2));
}

// --- both ----------------------------------------------------------------------------------------

TEST(RectWidget, ColorIsTheTypes) {
  for (const char* type : {"rect", "rect_pix", "rect_fullsize", "rect_pix_fullsize", "rectshift", "rectshift_pix"}) {
    widget_host host(widget_effect(distance(type)));
    host.draw();
    EXPECT_TRUE(drew_color(host, 110, 160, 255)) << type;
  }
  for (const char* type : {"rect_green", "rect_green_fullsize", "rectshift_green"}) {
    widget_host host(widget_effect(distance(type)));
    host.draw();
    EXPECT_TRUE(drew_color(host, 90, 235, 100)) << type;
  }
}

TEST(RectWidget, MouseBeyondAllNumbersDoesNoHarm) {
  for (const float wild : {std::nanf(""), INFINITY, -INFINITY, 3e38f})
    for (const std::string type : {"rect", "rectshift"}) {
      widget_host host(widget_effect(distance(type) + turned(type, 20) + shift(type) + center(type)));
      host.draw();
      for (std::size_t i = 0; i < 6; ++i) {
        const shown_handle h = host.handles[i];
        ASSERT_TRUE(host.click(h.x, h.y));
        host.drag_to(wild, wild);
        host.drag_to(h.x, h.y);
        host.release(h.x, h.y);
        host.draw();
        EXPECT_NEAR(host.handles[i].x, h.x, 0.1) << h.part;
        EXPECT_NEAR(host.handles[i].y, h.y, 0.1) << h.part;
      }
    }
}

TEST(RectWidget, TypeThatIsNoneIsReported) {
  EXPECT_NE(reports_of_type(center("rect"), "rect_red").find("[7] Unknown Rect widget type rect_red"),
            std::string::npos);
  EXPECT_NE(reports_of_type(center("rectshift"), "rect").find("[7] Unknown Rectshift widget type rect"),
            std::string::npos);
  for (const char* type :
       {"rect", "rect_pix", "rect_green", "rect_fullsize", "rect_green_fullsize", "rect_pix_fullsize"})
    EXPECT_EQ(reports_of_type(distance("rect"), type), "");
  for (const char* type : {"rectshift", "rectshift_pix", "rectshift_green"})
    EXPECT_EQ(reports_of_type(distance("rectshift"), type), "");
}

}  // namespace
}  // namespace tessaron::testing
