// Widgets of base type "center_radius".
#include "unit/widgets/round_kit.h"

namespace tessaron::testing {
namespace {

// The layer has 640 by 360 pixels: half its width is 320, and [360 243] lies in its middle.
std::string with(const std::string& radius, const std::string& type = "center_radius", const std::string& list = "") {
  return widget_effect(declared("Spot", "[360 243]", "screen", type + ".center") +
                       declared("Size", radius, list, type + ".radius"));
}
const std::string RADIUS_ALONE = widget_effect(declared("Size", "0.25", "", "center_radius.radius"));

TEST(CenterRadiusWidget, RadiusOfOneIsHalfTheWidth) {
  widget_host host(with("0.25"));
  expect_at(host.handle("center"), 320, 180);
  expect_at(host.handle("radius"), 400, 180);
  EXPECT_EQ(host.handles.size(), 3u);  // and the outline
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, 80, 0.01);
  EXPECT_NEAR(rings[0].most, 80, 0.01);
  EXPECT_EQ(rings[0].n_dashes, 0);
  EXPECT_TRUE(is_color(rings[0].color, 90, 225, 235));
  EXPECT_TRUE(drew_line(host, 320, 180, 400, 180, 2));
  EXPECT_EQ(count_kind(host, "filled_rect"), 8);  // four squares with their rims
}

TEST(CenterRadiusWidget, TwoChannelsAreWidthAndHeight) {
  widget_host host(with("[0.5 0.25]"));
  expect_at(host.handle("radius", 0, 0), 480, 180);
  expect_at(host.handle("radius", 0, 1), 320, 100);
  expect_at(host.handle("radius", 0, 2), 320 - 160 * std::sqrt(0.5), 180 - 80 * std::sqrt(0.5));
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, 80, 0.1);
  EXPECT_NEAR(rings[0].most, 160, 0.1);
}

TEST(CenterRadiusWidget, CirclesAreRoundOnTheScreen) {
  // Pixels twice as wide as high.
  widget_host single(with("0.25"), {.pixel_aspect = 2});
  expect_at(single.handle("radius"), 800, 180);
  const auto rings = rings_around(single, 640, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, 160, 0.2);
  EXPECT_NEAR(rings[0].most, 160, 0.2);
  widget_host two(with("[0.5 0.25]"), {.pixel_aspect = 2});
  expect_at(two.handle("radius", 0, 0), 960, 180);
  expect_at(two.handle("radius", 0, 1), 640, 20);
}

TEST(CenterRadiusWidget, EveryColorHasACircle) {
  widget_host host(with("[0.25 0.5 0.125]"));
  expect_at(host.handle("radius", 0, 0), 400, 180);
  expect_at(host.handle("radius", 0, 1), 320, 20);
  expect_at(host.handle("radius", 0, 2), 280, 180);
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 3u);
  // The first handle lies on top.
  EXPECT_TRUE(is_color(rings[2].color, 255, 90, 80));
  EXPECT_NEAR(rings[2].most, 80, 0.01);
  EXPECT_TRUE(is_color(rings[1].color, 90, 235, 100));
  EXPECT_NEAR(rings[1].most, 160, 0.01);
  EXPECT_TRUE(is_color(rings[0].color, 110, 160, 255));
  EXPECT_NEAR(rings[0].most, 40, 0.01);
  check_handles_follow(with("[0.25 0.5 0.125]"),
                       {{"radius", 30, 0, 0, 0}, {"radius", 0, -25, 0, 1}, {"radius", -20, 0, 0, 2}});
}

TEST(CenterRadiusWidget, YscaleTakesTheFramesProportions) {
  widget_host single(with("0.5", "center_radius_yscale"));
  expect_at(single.handle("radius"), 480, 180);
  const auto rings = rings_around(single, 320, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, 90, 0.1);
  EXPECT_NEAR(rings[0].most, 160, 0.1);
  widget_host two(with("[0.5 0.25]", "center_radius_yscale"), {.pixel_aspect = 2});
  expect_at(two.handle("radius", 0, 0), 960, 180);
  expect_at(two.handle("radius", 0, 1), 640, 135);
  check_handles_follow(with("0.5", "center_radius_yscale"), {{"center", 40, 30}, {"radius", 30, 0}});
  check_handles_follow(with("[0.5 0.5]", "center_radius_yscale"), {{"radius", -30, 0}, {"radius", 0, -40, 0, 1}});
}

TEST(CenterRadiusWidget, RelativeCenterCountsInFramesFromTheLowerLeft) {
  const std::string parts = widget_effect(declared("Spot", "[0.25 0.75]", "", "center_radius_center_rel.center") +
                                          declared("Size", "0.2", "", "center_radius_center_rel.radius"));
  widget_host host(parts);
  expect_at(host.handle("center"), 160, 90);
  expect_at(host.handle("radius"), 224, 90);
  ASSERT_TRUE(drag_by(host, {"center", 64, 36}));
  EXPECT_NEAR(host.slider("Spot X"), 0.35, 1e-4);
  EXPECT_NEAR(host.slider("Spot Y"), 0.65, 1e-4);
  check_handles_follow(parts, {{"center", -30, 44}, {"radius", 25, 0}});
  // Units of its own hold.
  widget_host units(with("0.2", "center_radius_center_rel"));
  expect_at(units.handle("center"), 320, 180);
}

TEST(CenterRadiusWidget, HandlesFollowTheMouseInEveryUnit) {
  for (const unit_case& c : pair_units()) {
    SCOPED_TRACE(c.list);
    check_handles_follow(
        widget_effect(declared("Spot", c.value, std::string(c.list) + " min -30000", "center_radius.center") +
                      declared("Size", "0.3", "", "center_radius.radius")),
        {{"center", 31, -22}, {"radius", 40, 0}});
    check_handles_follow(with(c.value, "center_radius", std::string(c.list) + " min -30000"),
                         {{"radius", 35, 0}, {"radius", 0, -28, 0, 1}});
  }
  for (const unit_case& c : single_units()) {
    SCOPED_TRACE(c.list);
    check_handles_follow(with(c.value, "center_radius", c.list), {{"radius", 35, 0}, {"radius", 25, 25, 0, 1}}, 20);
  }
  check_handles_follow(with("[0.5 0.3]"), {{"radius", -50, -30, 0, 2}});
}

TEST(CenterRadiusWidget, CentersOfWholeNumbersTakeTheNearest) {
  widget_host host(widget_effect(declared("Spot", "[360 243]", "screen int", "center_radius.center")));
  ASSERT_TRUE(drag_by(host, {"center", 20.3, 10.4}));
  EXPECT_NEAR(host.handle("center").x, 340.3, 0.51);
  EXPECT_NEAR(host.handle("center").y, 190.4, 0.51);
}

TEST(CenterRadiusWidget, OutlineCanBeTakenHoldOfAnywhere) {
  widget_host host(with("0.25"));
  const double x = 320 + 80 * std::cos(4), y = 180 + 80 * std::sin(4);
  ASSERT_TRUE(host.drag(x, y, 320 + 100 * std::cos(4), 180 + 100 * std::sin(4)));
  EXPECT_NEAR(host.slider("Size"), 100 / 320.0, 2e-4);
  // Two pixels beside the line stay two pixels beside it.
  ASSERT_TRUE(
      host.drag(320 + 102 * std::cos(2), 180 + 102 * std::sin(2), 320 + 82 * std::cos(2), 180 + 82 * std::sin(2)));
  EXPECT_NEAR(host.slider("Size"), 80 / 320.0, 2e-4);
}

TEST(CenterRadiusWidget, OutlineOfTwoChannelsKeepsItsProportions) {
  widget_host host(with("[0.5 0.25]"));
  ASSERT_TRUE(
      host.drag(320 + 160 * std::cos(4), 180 + 80 * std::sin(4), 320 + 240 * std::cos(4), 180 + 120 * std::sin(4)));
  EXPECT_NEAR(host.slider("Size X"), 0.75, 2e-4);
  EXPECT_NEAR(host.slider("Size Y"), 0.375, 2e-4);
}

TEST(CenterRadiusWidget, OffTheRayTheRadiusIsTheDistance) {
  widget_host host(with("0.25"));
  ASSERT_TRUE(host.drag(400, 180, 320 - 30, 180 - 40));
  EXPECT_NEAR(host.slider("Size"), 50 / 320.0, 1e-4);
}

TEST(CenterRadiusWidget, PartsThatAreMissingHaveNoHandle) {
  widget_host radius(RADIUS_ALONE);
  expect_at(radius.handle("radius"), 400, 180);
  EXPECT_THROW(radius.handle("center"), std::runtime_error);
  EXPECT_EQ(rings_around(radius, 320, 180).size(), 1u);
  widget_host center(widget_effect(declared("Spot", "[180 243]", "screen", "center_radius.center")));
  expect_at(center.handle("center"), 160, 180);
  EXPECT_EQ(center.handles.size(), 1u);
  EXPECT_TRUE(rings_around(center, 160, 180).empty());
}

TEST(CenterRadiusWidget, RadiusStopsAtItsLimits) {
  widget_host host(with("0.25", "center_radius", "min 0.1 max 0.5"));
  ASSERT_TRUE(host.click(400, 180));
  host.drag_to(620, 180);
  EXPECT_NEAR(host.slider("Size"), 0.5, 1e-4);
  host.drag_to(321, 180);
  EXPECT_NEAR(host.slider("Size"), 0.1, 1e-4);
  host.drag_to(400, 180);
  host.release(400, 180);
  EXPECT_NEAR(host.slider("Size"), 0.25, 1e-4);
}

TEST(CenterRadiusWidget, RadiusOfZeroComesOutAgain) {
  widget_host host(with("0"));
  EXPECT_TRUE(rings_around(host, 320, 180).empty());
  ASSERT_TRUE(host.drag(320, 180, 320, 180 + 64));
  EXPECT_NEAR(host.slider("Size"), 0.2, 1e-4);
  EXPECT_FALSE(host.changed("Spot"));
  // The centre's arms can be taken hold of all the time.
  widget_host arm(with("0"));
  ASSERT_TRUE(arm.drag(329, 180, 339, 190));
  expect_at(arm.handle("center"), 330, 190);
  EXPECT_EQ(arm.slider("Size"), 0);
  widget_host two(with("[0 0]"));
  ASSERT_TRUE(two.drag(320, 180, 384, 180));
  EXPECT_NEAR(two.slider("Size X"), 0.2, 1e-4);
  EXPECT_EQ(two.slider("Size Y"), 0);
  ASSERT_TRUE(two.drag(320, 180, 320, 148));
  EXPECT_NEAR(two.slider("Size Y"), 0.1, 1e-4);
}

TEST(CenterRadiusWidget, NegativeRadiusKeepsItsSign) {
  widget_host host(with("-0.25", "center_radius", "min -2"));
  expect_at(host.handle("radius"), 400, 180);
  ASSERT_TRUE(host.drag(400, 180, 432, 180));
  EXPECT_NEAR(host.slider("Size"), -0.35, 1e-4);
}

TEST(CenterRadiusWidget, HugeSizesAndOddPlacesDoNoHarm) {
  widget_host host(with("[30000 30000]", "center_radius", "max 30000"));
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
  expect_at(host.handle("center"), 320, 180);
  for (const char* part : {"center", "radius"}) {
    check_bad_places(with("0.25"), part);
    check_bad_places(with("[0.5 0.25]"), part);
  }
}

TEST(CenterRadiusWidget, OddTypeNameIsReported) {
  const std::string parts =
      declared("Spot", "[0 0]", "screen", "center_radius.center") + declared("Size", "0.2", "", "center_radius.radius");
  EXPECT_EQ(reports_of_type(parts, "center_radius_odd"), "[7] Unknown CenterRadius widget type center_radius_odd\n");
  for (const char* known : {"center_radius", "center_radius_yscale", "center_radius_center_rel"})
    EXPECT_EQ(reports_of_type(parts, known), "");
}

}  // namespace
}  // namespace tessaron::testing
