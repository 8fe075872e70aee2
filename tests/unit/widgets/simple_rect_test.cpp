// Widgets of base type "simple_rect".
#include "unit/widgets/class_kit.h"

namespace tessaron::testing {
namespace {

/// Two points: of the layer's 640 by 360 pixels, (160, 270) and (480, 90).
const std::string POINTS =
    " From = [180 121.5] (screen ignore widget simple_rect.left_bottom)"
    " To = [540 364.5] (screen ignore widget simple_rect.right_top)";

/// A number for each side, which stand at the same places: half of half the width, and 90 pixels up and down.
std::string numbers(const std::string& type = "simple_rect") {
  const auto number = [&](const char* name, const char* value, const char* part) {
    return std::string(" ") + name + " = " + value + " (min -100 ignore widget " + type + "." + part + ")";
  };
  return number("L", "-0.5", "left") + number("B", "-0.28125", "bottom") + number("R", "0.5", "right") +
         number("T", "0.28125", "top");
}

void expect_box(widget_host& host, double left, double top, double right, double bottom) {
  expect_at(host.handle("left_bottom"), left, bottom);
  expect_at(host.handle("right_top"), right, top);
  expect_at(host.handle("left_top"), left, top);
  expect_at(host.handle("right_bottom"), right, bottom);
  expect_at(host.handle("left"), left, (top + bottom) / 2);
  expect_at(host.handle("top"), (left + right) / 2, top);
  expect_at(host.handle("right"), right, (top + bottom) / 2);
  expect_at(host.handle("bottom"), (left + right) / 2, bottom);
  expect_at(host.handle("center"), (left + right) / 2, (top + bottom) / 2);
}

TEST(SimpleRectWidget, LiesBetweenTwoPoints) {
  widget_host host(widget_effect(POINTS));
  expect_box(host, 160, 90, 480, 270);
  host.draw();
  EXPECT_EQ(host.handles.size(), 9u);
  EXPECT_TRUE(drew_line(host, 160, 90, 480, 90));
  EXPECT_TRUE(drew_line(host, 480, 90, 480, 270));
  EXPECT_TRUE(drew_line(host, 480, 270, 160, 270));
  EXPECT_TRUE(drew_line(host, 160, 270, 160, 90));
}

TEST(SimpleRectWidget, LiesBetweenFourNumbers) {
  widget_host host(widget_effect(numbers()));
  expect_box(host, 160, 90, 480, 270);
}

TEST(SimpleRectWidget, NumbersOfTheFirstVariantAreSharesOfTheFrame) {
  widget_host host(
      widget_effect(" L = 10 (percent ignore widget simple_rect_1.left)"
                    " B = 0.25 (ignore widget simple_rect_1.bottom)"
                    " R = 0.75 (ignore widget simple_rect_1.right)"
                    " T = 80 (percent ignore widget simple_rect_1.top)"));
  expect_box(host, 64, 72, 480, 270);
  widget_host points(
      widget_effect(" From = [0.25 0.25] (ignore widget simple_rect_1.left_bottom)"
                    " To = [0.75 0.75] (ignore widget simple_rect_1.right_top)"));
  expect_box(points, 160, 90, 480, 270);
  // Numbers with units are what they are everywhere.
  widget_host screen(
      widget_effect(" From = [180 121.5] (screen ignore widget simple_rect_1.left_bottom)"
                    " To = [540 364.5] (screen ignore widget simple_rect_1.right_top)"));
  expect_box(screen, 160, 90, 480, 270);
}

TEST(SimpleRectWidget, EveryHandleFollowsTheMouseInEveryUnit) {
  const std::vector<handle_step> steps = {{"left_bottom", -31, 22}, {"right_top", 27, 33}, {"left_top", 20, -15},
                                          {"right_bottom", 8, 30},  {"left", 25, 0},       {"bottom", 0, -25},
                                          {"right", -25, 0},        {"top", 0, 25},        {"center", 33, -21}};
  for (const char* units : {"screen", "screen_center", "screen_center0", "normalize", "normalize_scale 0.5",
                            "screen_to_norm", "screen_center_to_norm", "percent", "step 0.1"})
    for (const char* type : {"simple_rect", "simple_rect_1"}) {
      SCOPED_TRACE(std::string(type) + ", " + units);
      const std::string list = std::string(units) + " min -100000 max 100000 ignore widget " + type;
      const bool plain = std::string(units) == "step 0.1", percent = std::string(units) == "percent";
      const std::string from = plain ? "[0.2 0.1]" : percent ? "[20 10]" : "[200 100]";
      const std::string to = plain ? "[0.7 0.5]" : percent ? "[70 50]" : "[500 300]";
      check_handles_follow(
          widget_effect(" From = " + from + " (" + list + ".left_bottom) To = " + to + " (" + list + ".right_top)"),
          steps, 4);
    }
}

TEST(SimpleRectWidget, NumbersFollowTheMouseInEveryUnit) {
  for (const char* units : {"screen", "screen_center", "screen_center0", "normalize", "normalize_scale 0.5",
                            "screen_to_norm", "screen_center_to_norm", "percent"}) {
    SCOPED_TRACE(units);
    const auto number = [&](const char* name, const char* value, const char* part) {
      return std::string(" ") + name + " = " + value + " (" + units + " min -100000 max 100000 ignore widget " +
             "simple_rect." + part + ")";
    };
    check_handles_follow(widget_effect(number("L", "20", "left") + number("B", "-30", "bottom") +
                                       number("R", "180", "right") + number("T", "110", "top")),
                         {{"left_bottom", 11, 12},
                          {"right_top", 27, -33},
                          {"left_top", -20, -15},
                          {"right_bottom", 8, 10},
                          {"center", 33, -21}},
                         4);
  }
}

TEST(SimpleRectWidget, CornersAndSidesLeaveTheOppositeOnesWhereTheyAre) {
  widget_host host(widget_effect(POINTS));
  ASSERT_TRUE(drag_by(host, {"left_top", -20, -10}));
  expect_box(host, 140, 80, 480, 270);
  ASSERT_TRUE(drag_by(host, {"bottom", 77, 20}));
  expect_box(host, 140, 80, 480, 290);
}

TEST(SimpleRectWidget, SideIsHeldAnywhereAndTheMiddleMovesAll) {
  widget_host host(widget_effect(numbers()));
  ASSERT_TRUE(host.drag(160, 110, 180, 140));
  expect_box(host, 180, 90, 480, 270);
  ASSERT_TRUE(drag_by(host, {"center", 15, 25}));
  expect_box(host, 195, 115, 495, 295);
}

TEST(SimpleRectWidget, MovingFindsBackFromALimit) {
  // The left side may go to a quarter of half the width beside the middle.
  widget_host host(
      widget_effect(" L = -0.5 (min -0.75 max 2 ignore widget simple_rect.left)"
                    " R = 0.5 (min -0.75 max 2 ignore widget simple_rect.right)"));
  expect_box(host, 160, 0, 480, 360);
  ASSERT_TRUE(host.click(320, 180));
  host.drag_to(120, 180);
  expect_box(host, 80, 0, 280, 360);
  host.drag_to(340, 180);
  expect_box(host, 180, 0, 500, 360);
}

TEST(SimpleRectWidget, SidesWithoutAParameterAreTheFramesAndCantBeHeld) {
  widget_host host(widget_effect(" L = -0.5 (min -100 ignore widget simple_rect.left)"));
  host.draw();
  EXPECT_EQ(count_kind(host, "filled_rect"), 2 * 3);  // two corners and a side, each with its rim
  EXPECT_TRUE(drew_line(host, 160, 0, 640, 0));
  EXPECT_FALSE(host.click(640, 180));
  EXPECT_FALSE(host.click(400, 180));
  ASSERT_TRUE(drag_by(host, {"left_top", 32, 50}));
  expect_box(host, 192, 0, 640, 360);
}

TEST(SimpleRectWidget, NumbersStandAboveThePoints) {
  widget_host host(widget_effect(POINTS + " T = 0.5 (min -100 ignore widget simple_rect.top)"));
  expect_box(host, 160, 20, 480, 270);
  ASSERT_TRUE(drag_by(host, {"top", 0, 10}));
  EXPECT_NEAR(host.point_y("To XY"), 90, 0.01);
  EXPECT_NEAR(host.slider("T"), 150.0 / 320, 0.001);
}

TEST(SimpleRectWidget, OfNoWidthIsPulledOutAgain) {
  widget_host host(
      widget_effect(" From = [360 243] (screen ignore widget simple_rect.left_bottom)"
                    " To = [360 243] (screen ignore widget simple_rect.right_top)"));
  ASSERT_TRUE(host.drag(320, 180, 380, 120));
  expect_box(host, 320, 120, 380, 180);
}

TEST(SimpleRectWidget, SmallOnesDontCoverTheirCornersWithTheSides) {
  widget_host host(widget_effect(POINTS), {.zoom = 0.05});  // 16 by 9 pixels of the window
  host.draw();
  EXPECT_EQ(count_kind(host, "filled_rect"), 2 * 4);
}

TEST(SimpleRectWidget, MouseBeyondAllNumbersDoesNoHarm) {
  for (const float wild : {std::nanf(""), INFINITY, -INFINITY}) {
    widget_host host(widget_effect(numbers()));
    for (const char* part : {"left_bottom", "right", "center"}) {
      const shown_handle h = host.handle(part);
      ASSERT_TRUE(host.click(h.x, h.y));
      host.drag_to(wild, wild);
      host.release(wild, wild);
    }
    expect_box(host, 160, 90, 480, 270);
  }
}

TEST(SimpleRectWidget, IsCyan) {
  widget_host host(widget_effect(POINTS));
  host.draw();
  EXPECT_TRUE(drew_color(host, 90, 225, 235));
}

TEST(SimpleRectWidget, TypeThatIsNoneIsReported) {
  EXPECT_NE(reports_of_type(POINTS, "simple_rect_2").find("[7] Unknown SimpleRect widget type simple_rect_2"),
            std::string::npos);
  for (const char* type : {"simple_rect", "simple_rect_1"}) EXPECT_EQ(reports_of_type(POINTS, type), "");
}

}  // namespace
}  // namespace tessaron::testing
