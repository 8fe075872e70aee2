// Widgets of base type "radius".
#include "unit/widgets/round_kit.h"

namespace tessaron::testing {
namespace {

// The layer has 640 by 360 pixels: half its width is 320.
std::string with(const std::string& value, const std::string& type = "radius", const std::string& list = "") {
  return widget_effect(declared("Size", value, list, type + ".radius"));
}

TEST(RadiusWidget, RingLiesAroundTheFramesMiddle) {
  widget_host host(with("0.25"));
  expect_at(host.handle("radius"), 400, 180);
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, 80, 0.01);
  EXPECT_NEAR(rings[0].most, 80, 0.01);
  EXPECT_EQ(rings[0].n_dashes, 0);
  EXPECT_TRUE(is_color(rings[0].color, 90, 225, 235));
}

TEST(RadiusWidget, TypesMultiplyTheNumberOrColorTheRing) {
  const struct {
    const char* type;
    double x;
  } cases[] = {{"radius", 360}, {"radius_green", 360}, {"radius2", 400}, {"radius4", 480}, {"radius8", 640}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    widget_host host(with("0.125", c.type));
    expect_at(host.handle("radius"), c.x, 180);
    const bool green = std::string(c.type) == "radius_green";
    EXPECT_EQ(drew_color(host, 90, 235, 100), green);
    EXPECT_EQ(drew_color(host, 90, 225, 235), !green);
    check_handles_follow(with("0.125", c.type), {{"radius", 40, 0}, {"radius", -30, -30, 0, 1}}, 20);
    ASSERT_TRUE(host.drag(c.x, 180, c.x + 32, 180));
    EXPECT_NEAR(host.slider("Size"), 0.125 * (c.x - 320 + 32) / (c.x - 320), 1e-4);
  }
}

TEST(RadiusWidget, TwoChannelsAreWidthAndHeight) {
  widget_host host(with("[0.2 0.1]", "radius2"), {.pixel_aspect = 2});
  expect_at(host.handle("radius", 0, 0), 896, 180);
  expect_at(host.handle("radius", 0, 1), 640, 52);
}

TEST(RadiusWidget, HandlesFollowTheMouseInEveryUnit) {
  for (const unit_case& c : pair_units()) {
    SCOPED_TRACE(c.list);
    check_handles_follow(with(c.value, "radius", std::string(c.list) + " min -30000"),
                         {{"radius", 35, 0}, {"radius", 0, -28, 0, 1}});
  }
  for (const unit_case& c : single_units()) {
    SCOPED_TRACE(c.list);
    check_handles_follow(with(c.value, "radius", c.list), {{"radius", 35, 0}}, 20);
  }
}

TEST(RadiusWidget, RadiusGoesByAnyName) {
  const std::string parts = widget_effect(declared("Blur_Width", "0.25", "", "radius.Blur_Width"));
  widget_host host(parts);
  expect_at(host.handle("Blur_Width"), 400, 180);
  EXPECT_EQ(host.handles[0].name, "Blur_Width");
  EXPECT_EQ(rings_around(host, 320, 180)[0].n_dashes, 0);
  check_handles_follow(parts, {{"Blur_Width", 40, 0}});
}

TEST(RadiusWidget, SecondRadiusIsDashed) {
  const std::string parts =
      widget_effect(declared("Size", "0.25", "", "radius.radius") + declared("Soft", "0.4", "", "radius.Soft"));
  widget_host host(parts);
  expect_at(host.handle("radius"), 400, 180);
  expect_at(host.handle("Soft"), 448, 180);
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 2u);
  EXPECT_NEAR(rings[0].most, 128, 0.01);
  EXPECT_EQ(rings[0].n_dashes, 2);
  EXPECT_NEAR(rings[1].most, 80, 0.01);
  EXPECT_EQ(rings[1].n_dashes, 0);
  check_handles_follow(parts, {{"radius", -25, 0}, {"Soft", 30, 0}});
}

TEST(RadiusWidget, OtherPartMayBeTheCenter) {
  const std::string parts = widget_effect(declared("Size", "0.25", "", "radius.radius") +
                                          declared("Spot", "[180 243]", "screen", "radius.center"));
  widget_host host(parts);
  expect_at(host.handle("center"), 160, 180);
  expect_at(host.handle("radius"), 240, 180);
  check_handles_follow(parts, {{"radius", 25, 0}, {"center", 30, -20}});
}

TEST(RadiusWidget, RadiusOfZeroComesOutAgainAndStopsAtItsLimits) {
  widget_host host(with("0", "radius", "max 0.5"));
  ASSERT_TRUE(host.click(320, 180));
  host.drag_to(320, 116);
  EXPECT_NEAR(host.slider("Size"), 0.2, 1e-4);
  host.drag_to(-500, 180);
  EXPECT_NEAR(host.slider("Size"), 0.5, 1e-4);
  host.drag_to(320, 180);
  host.release(320, 180);
  EXPECT_EQ(host.slider("Size"), 0);
}

TEST(RadiusWidget, OddPlacesDoNoHarm) { check_bad_places(with("0.25"), "radius"); }

TEST(RadiusWidget, OddTypeNameIsReported) {
  const std::string parts = declared("Size", "0.2", "", "radius.radius");
  EXPECT_EQ(reports_of_type(parts, "radius3"), "[7] Unknown Radius widget type radius3\n");
  for (const char* known : {"radius", "radius_green", "radius2", "radius4", "radius8"})
    EXPECT_EQ(reports_of_type(parts, known), "");
}

}  // namespace
}  // namespace tessaron::testing
