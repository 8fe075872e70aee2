// Widgets of base type "timeslice".
#include "unit/widgets/class_kit.h"

namespace tessaron::testing {
namespace {

constexpr double ARM = 0.3 * 360;  // of the angle's handle, on the screen

const char* const ANGLE = " Turn = 0 (angle ignore widget timeslice.angle)";
const char* const WIDTH = " Slice = 20 (percent ignore widget timeslice.slice_width)";
const char* const OFFSET = " Off = 10 (percent min -1000 ignore widget timeslice.offset)";

TEST(TimesliceWidget, LineLiesAtTheAngleWithItsSliceAroundIt) {
  // 0.1 of half the width is 32 pixels up; a slice of 0.2 is 64 pixels wide.
  widget_host host(widget_effect(std::string(ANGLE) + WIDTH + OFFSET));
  expect_at(host.handle("offset"), 320, 148);
  expect_at(host.handle("angle"), 320 + ARM, 148);
  EXPECT_NEAR(host.handle("slice_width").y, 116, 0.02);
  EXPECT_NEAR(host.handle("slice_width", 0, 1).y, 180, 0.02);
  EXPECT_TRUE(drew_line(host, 0, 148, 640, 148));
  EXPECT_TRUE(drew_line(host, 0, 116, 640, 116, 2));
  EXPECT_TRUE(drew_line(host, 0, 180, 640, 180, 2));
  host.control("Turn").u.angle.value = -90 * 65536;  // upright: the offset goes to the left
  expect_at(host.handle("offset"), 288, 180);
  expect_at(host.handle("angle"), 288, 180 - ARM);
  EXPECT_TRUE(drew_line(host, 288, 0, 288, 360));
}

TEST(TimesliceWidget, WidthAndOffsetFollowTheMouseInEveryUnit) {
  for (const char* list :
       {"25 (percent", "0.25 (", "80 (screen", "80 (screen_center", "80 (screen_center0", "80 (normalize",
        "80 (normalize_scale 0.5", "80 (screen_to_norm", "80 (screen_center_to_norm"}) {
    SCOPED_TRACE(list);
    const std::string l = list;
    check_handles_follow(widget_effect("Turn = " + host_angle(25) + " (angle ignore widget timeslice.angle) Slice = " +
                                       l + " max 10000 min -10000 ignore widget timeslice.slice_width) Off = " + l +
                                       " min -10000 max 10000 ignore widget timeslice.offset)"),
                         {towards("slice_width", 115, 9), towards("slice_width", -65, 8, 1), towards("offset", 115, 30),
                          towards("offset", 115, -30)},
                         20);
  }
}

TEST(TimesliceWidget, OffsetOfTwoChannelsIsAStep) {
  const std::string parts =
      widget_effect(std::string(ANGLE) + WIDTH + " Off = [0.5 0.25] (min -100 ignore widget timeslice.offset)");
  widget_host host(parts);
  expect_at(host.handle("offset"), 320 + 160, 180 - 80);
  expect_at(host.handle("angle"), 480 + ARM, 100);
  check_handles_follow(parts, {{"offset", 33, -44}, around("angle", 0, 70, ARM), {"slice_width", 0, -20}}, 20);
}

TEST(TimesliceWidget, AngleFollowsTheMouseThoughTheLineIsOffTheMiddle) {
  // 32 pixels of the layer along x; on a screen of wider pixels that is more.
  for (const widget_view& view : all_views()) {
    SCOPED_TRACE(::testing::Message() << view);
    widget_host host(widget_effect(std::string(ANGLE) + OFFSET), view);
    const shown_handle from = host.handle("angle");
    const double middle_x = host.window_x(320), middle_y = host.window_y(180);
    const double dx = from.x - middle_x, dy = from.y - middle_y;
    EXPECT_NEAR(dx, ARM * view.zoom, 0.1);
    EXPECT_NEAR(dy, -32 * view.zoom * view.pixel_aspect, 0.1);
    const double x = middle_x + dy, y = middle_y - dx;  // a quarter of a turn to the left
    ASSERT_TRUE(host.drag(from.x, from.y, x, y));
    EXPECT_NEAR(host.control("Turn").u.angle.value / -65536.0, 90, 0.01);
    EXPECT_NEAR(host.handle("angle").x, x, 0.5);
    EXPECT_NEAR(host.handle("angle").y, y, 0.5);
  }
}

TEST(TimesliceWidget, WidthOfNothingIsPulledOutAndLeavesTheLineToBeHeld) {
  const std::string parts =
      widget_effect(std::string(OFFSET) + " Slice = 0 (percent max 1000 ignore widget timeslice.slice_width)");
  for (const double step : {16.0, -16.0}) {
    widget_host host(parts);
    ASSERT_TRUE(drag_by(host, {"slice_width", 0, step}));
    EXPECT_NEAR(host.slider("Slice"), 10, 0.001);
  }
  widget_host host(parts);
  ASSERT_TRUE(host.drag(600, 148, 600, 116));
  EXPECT_EQ(host.slider("Slice"), 0);
  EXPECT_NEAR(host.slider("Off"), 20, 0.001);
}

TEST(TimesliceWidget, MissingPartsHaveNoHandles) {
  widget_host host(widget_effect(WIDTH));
  host.draw();
  ASSERT_EQ(host.handles.size(), 2u);
  EXPECT_TRUE(drew_line(host, 0, 180, 640, 180));
  EXPECT_FALSE(host.click(320, 180));
  EXPECT_TRUE(host.click(320, 148));
}

TEST(TimesliceWidget, MouseBeyondAllNumbersDoesNoHarm) {
  expect_wild_mouse_does_no_harm(widget_effect(std::string(ANGLE) + WIDTH + OFFSET),
                                 {"angle", "slice_width", "offset"});
}

TEST(TimesliceWidget, IsWhite) {
  widget_host host(widget_effect(ANGLE));
  host.draw();
  EXPECT_TRUE(drew_color(host, 245, 245, 245));
}

TEST(TimesliceWidget, TypeThatIsNoneIsReported) {
  EXPECT_NE(reports_of_type(ANGLE, "slice").find("[7] Unknown Timeslice widget type slice"), std::string::npos);
  EXPECT_EQ(reports_of_type(ANGLE, "timeslice"), "");
}

}  // namespace
}  // namespace tessaron::testing
