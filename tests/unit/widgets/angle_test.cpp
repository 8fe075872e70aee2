// Widgets of base type "angle". All of it keeps its size in the window: the arm is 70 pixels long, a stretch of 1
// is 40.
#include "unit/widgets/round_kit.h"

namespace tessaron::testing {
namespace {

constexpr double ARM = 70, STRETCH = 40, BEYOND = 48;

std::string angle(double degrees, const std::string& type = "angle", const std::string& kind = "angle") {
  return declared("Turn", host_angle(degrees), kind, type + ".angle");
}
std::string center(const std::string& value = "[180 243]", const std::string& type = "angle") {
  return declared("Spot", value, "screen", type + ".center");
}
std::string stretch(const std::string& value, const std::string& list = "") {
  return declared("Long", value, list, "angle.stretch");
}

TEST(AngleWidget, ArmPointsFromTheRightTowardsTheTop) {
  for (const char* kind : {"angle", "angle_no_dial"}) {
    SCOPED_TRACE(kind);
    widget_host host(widget_effect(angle(30, "angle", kind)));
    const double x = 320 + ARM * std::sqrt(0.75), y = 180 - ARM / 2;
    expect_at(host.handle("angle"), x, y);
    EXPECT_TRUE(drew_line(host, 320, 180, x, y));
    EXPECT_TRUE(drew_line(host, 320, 180, 320 + ARM, 180, 2));  // where it is 0
    EXPECT_EQ(count_kind(host, "filled_circle"), 2);            // round, with its rim
    EXPECT_EQ(count_kind(host, "filled_rect"), 0);
    EXPECT_TRUE(drew_color(host, 90, 235, 100));
  }
}

TEST(AngleWidget, ArcLeadsFromZeroToTheArm) {
  for (const double degrees : {30.0, -100.0, 400.0}) {
    SCOPED_TRACE(degrees);
    widget_host host(widget_effect(angle(degrees)));
    host.draw();
    const drawn_shape* arc = nullptr;
    for (const drawn_shape& s : host.shapes)
      if (s.kind == "arc") arc = &s;
    ASSERT_NE(arc, nullptr);
    EXPECT_NEAR(arc->numbers[3], 0, 0.01);
    EXPECT_NEAR(arc->numbers[4], degrees == 400 ? -40 : -degrees, 0.01);  // hosts count towards y
    EXPECT_EQ(arc->n_dashes, 2);
  }
}

TEST(AngleWidget, Angle90CountsFromTheTop) {
  widget_host host(widget_effect(declared("Turn", host_angle(0), "angle", "angle90.rotate")));
  expect_at(host.handle("rotate"), 320, 180 - ARM);
  host.control("Turn").u.angle.value = pf_fixed(-90 * 65536);  // engine: +90
  expect_at(host.handle("rotate"), 320 - ARM, 180);
  EXPECT_TRUE(drew_line(host, 320, 180, 320, 180 - ARM, 2));
  check_arm_turns(widget_effect(angle(20, "angle90")), "angle", "Turn", 320, 180, 100);
}

TEST(AngleWidget, ArmKeepsItsLengthAtEveryZoomAndAspect) {
  for (const widget_view& view : all_views()) {
    SCOPED_TRACE(::testing::Message() << view);
    widget_host host(widget_effect(angle(50) + center()), view);
    const double x = host.window_x(160), y = host.window_y(180);
    expect_at(host.handle("center"), x, y);
    const shown_handle end = host.handle("angle");
    EXPECT_NEAR(std::hypot(end.x - x, end.y - y), ARM, 0.02);
    EXPECT_NEAR(direction_from(x, y, end), 50, 0.02);
  }
}

TEST(AngleWidget, ArmFollowsTheMouse) {
  for (const char* kind : {"angle", "angle_no_dial", "min -3600 max 3600"})
    for (const double degrees : {75.0, -160.0, 700.0}) {
      SCOPED_TRACE(::testing::Message() << kind << " " << degrees);
      check_arm_turns(widget_effect(angle(20, "angle", kind) + center()), "angle", "Turn", 160, 180, degrees);
    }
}

TEST(AngleWidget, TurnsAddUp) {
  widget_host host(widget_effect(angle(170)));
  const auto place = [](double degrees) {
    const handle_step s = towards("", degrees, ARM);
    return gfx_point{float(320 + s.x), float(180 + s.y)};
  };
  ASSERT_TRUE(host.click(double(place(170).x), double(place(170).y)));
  for (double degrees = 170; degrees <= 750; degrees += 20)
    host.drag_to(double(place(degrees).x), double(place(degrees).y));
  host.release(double(place(750).x), double(place(750).y));
  EXPECT_NEAR(host.control("Turn").u.angle.value / 65536.0, -750, 0.01);
}

TEST(AngleWidget, ArmCanBeTakenHoldOfAnywhere) {
  widget_host host(widget_effect(angle(0)));
  ASSERT_TRUE(host.click(320 + 30, 180 + 1));
  host.drag_to(320 - 1, 180 - 30 * 1.0);  // the same place of the arm, a quarter turn on
  EXPECT_NEAR(host.control("Turn").u.angle.value / 65536.0, -90 - 2 * std::atan2(1, 30) * 180 / 3.14159265358979, 4);
  EXPECT_NEAR(direction_from(320, 180, host.handle("angle")), 90, 4);
}

TEST(AngleWidget, MouseOnTheMiddleHasNoDirection) {
  widget_host host(widget_effect(angle(40)));
  const shown_handle end = host.handle("angle");
  ASSERT_TRUE(host.click(end.x, end.y));
  host.drag_to(320, 180);
  EXPECT_NEAR(host.control("Turn").u.angle.value / 65536.0, -40, 1e-4);
  host.drag_to(320, 100);
  EXPECT_NEAR(host.control("Turn").u.angle.value / 65536.0, -90, 0.01);
}

TEST(AngleWidget, StretchIsAnOvalAlongTheArm) {
  widget_host host(widget_effect(angle(90) + center() + stretch("3")));
  expect_at(host.handle("center"), 160, 180);
  expect_at(host.handle("stretch"), 160, 180 - 3 * STRETCH);
  expect_at(host.handle("angle"), 160, 180 - 3 * STRETCH - BEYOND);
  const auto rings = rings_around(host, 160, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, STRETCH, 0.1);
  EXPECT_NEAR(rings[0].most, 3 * STRETCH, 0.1);
  widget_host two(widget_effect(angle(0) + stretch("[2 0.5]")));
  expect_at(two.handle("stretch", 0, 0), 320 + 2 * STRETCH, 180);
  expect_at(two.handle("stretch", 0, 1), 320, 180 - STRETCH / 2);
}

TEST(AngleWidget, StretchFollowsTheMouse) {
  check_handles_follow(widget_effect(angle(0) + center() + stretch("2")), {{"stretch", 15, 0}, {"center", 25, 14}});
  check_handles_follow(widget_effect(angle(90) + center() + stretch("200", "percent max 1000")), {{"stretch", 0, -15}},
                       20);
  check_handles_follow(widget_effect(angle(0) + stretch("[2.5 2]")), {{"stretch", 15, 0}, {"stretch", 0, -9, 0, 1}});
  check_arm_turns(widget_effect(angle(20) + center() + stretch("[2 0.5]")), "angle", "Turn", 160, 180, -130);
}

TEST(AngleWidget, CentersFollowTheMouseInEveryUnit) {
  for (const unit_case& c : pair_units()) {
    SCOPED_TRACE(c.list);
    check_handles_follow(
        widget_effect(angle(45) + declared("Spot", c.value, std::string(c.list) + " min -30000", "angle.center")),
        {{"center", 31, -22}});
  }
}

TEST(AngleWidget, StretchOfZeroComesOutAgainAndStopsAtItsLimits) {
  widget_host host(widget_effect(angle(0) + stretch("0", "max 3")));
  ASSERT_TRUE(host.click(320, 180));
  host.drag_to(320 + STRETCH, 180);
  EXPECT_NEAR(host.slider("Long"), 1, 1e-3);
  host.drag_to(620, 180);
  EXPECT_NEAR(host.slider("Long"), 3, 1e-3);
  host.drag_to(320, 180);
  host.release(320, 180);
  EXPECT_EQ(host.slider("Long"), 0);
}

TEST(AngleWidget, PartsThatAreMissingHaveNoHandle) {
  widget_host alone(widget_effect(stretch("2")));
  expect_at(alone.handle("stretch"), 320 + 2 * STRETCH, 180);
  EXPECT_EQ(alone.handles.size(), 1u);
  EXPECT_EQ(count_kind(alone, "filled_circle"), 0);
  widget_host spot(widget_effect(center()));
  expect_at(spot.handle("center"), 160, 180);
  EXPECT_EQ(spot.handles.size(), 1u);
}

TEST(AngleWidget, OddPlacesDoNoHarm) {
  for (const char* part : {"angle", "center", "stretch"})
    check_bad_places(widget_effect(angle(20) + center() + stretch("2")), part);
}

TEST(AngleWidget, WindowOfNoSizeDoesNoHarm) {
  widget_host host(widget_effect(angle(20) + center() + stretch("2")), {.zoom = 0});
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
  host.click(0, 0);
  host.drag_to(10, 10);
  host.release(10, 10);
  for (const shown_handle& h : host.draw()) EXPECT_TRUE(std::isfinite(h.x) && std::isfinite(h.y)) << h.part;
}

TEST(AngleWidget, OddTypeNameIsReported) {
  EXPECT_EQ(reports_of_type(angle(0), "angle45"), "[7] Unknown Angle widget type angle45\n");
  EXPECT_EQ(reports_of_type(angle(0), "angle90"), "");
}

}  // namespace
}  // namespace tessaron::testing
