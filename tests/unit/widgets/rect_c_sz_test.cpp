// Widgets of base type "rect_c_sz".
#include "unit/widgets/class_kit.h"

namespace tessaron::testing {
namespace {

std::string center(const std::string& type) {
  return " Spot = [360 243] (screen ignore widget " + type + ".center)";  // the middle
}
/// 160 pixels wide and 80 high.
std::string size(const std::string& type, const char* value = "[0.5 0.25]") {
  return " Size = " + std::string(value) + " (max 100 ignore widget " + type + ".size)";
}
std::string turned(const std::string& type, double degrees) {
  return " Turn = " + host_angle(degrees) + " (angle ignore widget " + type + ".angle)";
}

const std::string BOTH = "rect_center_size", ALONE = "rect_size";

std::vector<gfx_point> corners(float left, float top, float right, float bottom) {
  return {{right, top}, {left, top}, {left, bottom}, {right, bottom}};
}

TEST(RectCenterSizeWidget, SizeIsTheWholeWidthAndHeight) {
  for (const std::string& type : {BOTH, ALONE}) {
    SCOPED_TRACE(type);
    widget_host host(widget_effect(center(type) + size(type)));
    host.draw();
    EXPECT_TRUE(drew_polygon(host, corners(240, 140, 400, 220)));
    expect_at(host.handle("size"), 400, 140);
    expect_at(host.handle("size", 0, 2), 240, 220);
    expect_at(host.handle("size", 0, 4), 400, 180);
    expect_at(host.handle("size", 0, 7), 320, 220);
  }
}

TEST(RectCenterSizeWidget, OneChannelIsASquareOfTheScreen) {
  widget_host host(widget_effect(center(BOTH) + size(BOTH, "0.25")), {.pixel_aspect = 2});
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(560, 100, 720, 260)));
  EXPECT_EQ(host.handles.size(), 5u);
}

TEST(RectCenterSizeWidget, EveryHandleFollowsTheMouseInEveryUnit) {
  const std::vector<handle_step> steps = {{"size", 20, -15, 0, 0}, {"size", -20, -11, 0, 1}, {"size", -30, 15, 0, 2},
                                          {"size", 20, 15, 0, 3},  {"size", 15, 0, 0, 4},    {"size", 0, -15, 0, 5},
                                          {"size", -15, 0, 0, 6},  {"size", 0, 15, 0, 7}};
  for (const std::string& type : {BOTH, ALONE})
    for (const char* list : {"[80 60] (percent", "[0.8 0.6] (step 0.1", "[250 160] (screen",
                             "[250 200] (screen_center0", "[250 200] (normalize_scale 0.5", "[500 40] (screen_center",
                             "[540 40] (normalize", "[480 300] (screen_to_norm", "[250 200] (screen_center_to_norm"}) {
      SCOPED_TRACE(type + ", " + list);
      check_handles_follow(
          widget_effect(center(type) + " Size = " + list + " min -100000 max 100000 ignore widget " + type + ".size)"),
          steps, 8);
    }
}

TEST(RectCenterSizeWidget, CenterAndOffsetFollowTheMouseInEveryUnit) {
  for (const char* units : {"screen", "screen_center", "screen_center0", "normalize", "normalize_scale 0.5",
                            "screen_to_norm", "screen_center_to_norm", "min -10"}) {
    SCOPED_TRACE(units);
    const std::string step = std::string(units) == "min -10" ? "[0.3 -0.2]" : "[120 100]";
    const std::string list = std::string(units) + " min -100000 max 100000 ignore widget rect_center_size";
    check_handles_follow(
        widget_effect(" Spot = [0.1 0.2] (" + list + ".center) Off = " + step + " (" + list +
                      ".offset) Back = 1 (boolean ignore widget rect_center_size.negate)" + size(BOTH)),
        {{"center", 57, -31}, {"offset", -40, 30}}, 5);
  }
}

TEST(RectCenterSizeWidget, OppositeCornerStaysWhereTheCenterMoves) {
  widget_host host(widget_effect(center(BOTH) + size(BOTH)));
  ASSERT_TRUE(drag_by(host, {"size", 40, -20, 0, 0}));
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(240, 120, 440, 220)));
  ASSERT_TRUE(drag_by(host, {"size", 20, 33, 0, 6}));  // the left side only moves along x
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(260, 120, 440, 220)));
  expect_at(host.handle("center"), 350, 170);
}

TEST(RectCenterSizeWidget, SizeAloneGrowsToBothSidesAndHasNoCenter) {
  widget_host host(widget_effect(center(ALONE) + size(ALONE)));
  ASSERT_TRUE(drag_by(host, {"size", 40, -20, 0, 0}));
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(200, 120, 440, 240)));
  for (const shown_handle& h : host.handles) EXPECT_EQ(h.part, "size");
  EXPECT_FALSE(host.click(320, 180));
}

TEST(RectCenterSizeWidget, TurnsAboutItsMiddle) {
  const std::string parts = widget_effect(center(BOTH) + size(BOTH) + turned(BOTH, 90));
  widget_host host(parts);
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(280, 100, 360, 260)) ||
              drew_polygon(host, {{280, 100}, {280, 260}, {360, 260}, {360, 100}}));
  expect_at(host.handle("angle"), 320, 180 - 48);  // at 0.6 of half the width
  for (const double to : {150.0, -20.0})
    check_handle_goes_to(
        parts, "angle", 0, 0,
        [&](const widget_host& h, const shown_handle& from) {
          const double radius = h.window_y(180) - from.y, turn = to * 3.14159265358979323846 / 180;
          return std::pair(h.window_x(320) + radius * std::cos(turn), h.window_y(180) - radius * std::sin(turn));
        },
        20);
  check_handles_follow(parts, {{"size", 12, 15, 0, 0}, {"size", 0, -12, 0, 4}, {"center", 8, 9}}, 20);
  check_handles_follow(widget_effect(center(BOTH) + size(BOTH) + turned(BOTH, 33)),
                       {{"size", 12, 15, 0, 1}, {"size", -7, -9, 0, 3}}, 20);
}

TEST(RectCenterSizeWidget, OffsetTurnsWithNegate) {
  const std::string parts = widget_effect(center(BOTH) + size(BOTH) +
                                          " Off = [0.25 0.125] (min -10 ignore widget rect_center_size.offset)"
                                          " Back = 0 (boolean ignore widget rect_center_size.negate)");
  widget_host host(parts);
  expect_at(host.handle("offset"), 400, 140);
  EXPECT_TRUE(drew_polygon(host, corners(320, 100, 480, 180)));
  host.control("Back").u.checkbox.value = 1;
  expect_at(host.handle("offset"), 240, 220);
  EXPECT_TRUE(drew_polygon(host, corners(160, 180, 320, 260)));
  // The size leaves the opposite corner and the offset alone.
  ASSERT_TRUE(drag_by(host, {"size", 10, -20, 0, 0}));
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(160, 160, 330, 260)));
  EXPECT_NEAR(host.control("Off X").u.slider.value / 65536.0, 0.25, 0.001);
}

TEST(RectCenterSizeWidget, SizeStopsAtItsLimitsAndTheOppositeCornerStays) {
  widget_host host(widget_effect(center(BOTH) + " Size = [0.5 0.25] (max 0.75 ignore widget rect_center_size.size)"));
  ASSERT_TRUE(drag_by(host, {"size", 300, -300, 0, 0}));
  host.draw();
  EXPECT_TRUE(drew_polygon(host, corners(240, -20, 480, 220)));
  ASSERT_TRUE(drag_by(host, {"size", -400, 400, 0, 0}));  // beyond the opposite corner
  expect_at(host.handle("size", 0, 0), 240, 220);
  expect_at(host.handle("size", 0, 2), 240, 220);
}

TEST(RectCenterSizeWidget, OfNoSizeIsPulledOutToAnySide) {
  for (const auto& [type, value] :
       {std::pair(BOTH, "[0 0]"), std::pair(BOTH, "0"), std::pair(ALONE, "[0 0]"), std::pair(ALONE, "0")})
    for (const double side : {1.0, -1.0}) {
      SCOPED_TRACE(type + value);
      widget_host host(widget_effect(center(type) + size(type, value)));
      ASSERT_TRUE(host.drag(320, 180, 320 + 40 * side, 180 - 40 * side));
      bool there = false;
      host.draw();
      for (const shown_handle& h : host.handles)
        there = there || (std::fabs(h.x - 320 - 40 * side) < 0.1 && std::fabs(h.y - 180 + 40 * side) < 0.1);
      EXPECT_TRUE(there);
    }
}

TEST(RectCenterSizeWidget, MissingPartsHaveNoHandles) {
  widget_host spot(widget_effect(center(BOTH)));
  spot.draw();
  ASSERT_EQ(spot.handles.size(), 1u);
  EXPECT_EQ(count_kind(spot, "polyline"), 0);
  widget_host sized(widget_effect(size(BOTH)));  // in the middle, and grows to both sides
  ASSERT_TRUE(drag_by(sized, {"size", 40, -20, 0, 0}));
  sized.draw();
  EXPECT_TRUE(drew_polygon(sized, corners(200, 120, 440, 240)));
}

TEST(RectCenterSizeWidget, MouseBeyondAllNumbersDoesNoHarm) {
  for (const float wild : {std::nanf(""), INFINITY, -INFINITY}) {
    widget_host host(widget_effect(center(BOTH) + size(BOTH) + turned(BOTH, 0)));
    host.draw();
    for (std::size_t i = 0; i < host.handles.size(); ++i) {
      const shown_handle h = host.handles[i];
      ASSERT_TRUE(host.click(h.x, h.y));
      host.drag_to(wild, wild);
      host.release(wild, wild);
      host.draw();
      EXPECT_TRUE(drew_polygon(host, corners(240, 140, 400, 220))) << h.part;
    }
  }
}

TEST(RectCenterSizeWidget, IsBlue) {
  widget_host host(widget_effect(size(BOTH)));
  host.draw();
  EXPECT_TRUE(drew_color(host, 110, 160, 255));
}

TEST(RectCenterSizeWidget, TypeThatIsNoneIsReported) {
  EXPECT_NE(reports_of_type(center(BOTH), "rect_center").find("[7] Unknown RectCSz widget type rect_center"),
            std::string::npos);
  for (const std::string& type : {BOTH, ALONE}) EXPECT_EQ(reports_of_type(center(BOTH), type.c_str()), "");
}

}  // namespace
}  // namespace tessaron::testing
