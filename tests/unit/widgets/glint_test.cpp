// Widgets of base type "glint".
#include "unit/widgets/round_kit.h"

namespace tessaron::testing {
namespace {

// The layer has 640 by 360 pixels: half its width is 320, and [360 243] lies in its middle.
std::string part(const std::string& name, const std::string& value, const std::string& type = "glint",
                 const std::string& list = "max 100") {
  return declared("P" + name, value, list, type + "." + name);
}
std::string center(const std::string& value = "[360 243]", const std::string& type = "glint",
                   const std::string& list = "screen") {
  return declared("Spot", value, list, type + ".center");
}
/// A place on an oval around the frame's middle.
gfx_point on(double x, double y, double degrees) {
  const double turn = degrees * 3.14159265358979323846 / 180;
  return {float(320 + x * std::cos(turn)), float(180 - y * std::sin(turn))};
}
void expect_on(const shown_handle& h, double x, double y, double degrees) {
  expect_at(h, double(on(x, y, degrees).x), double(on(x, y, degrees).y));
}
/// A ray from one end to the other.
bool drew_ray(const widget_host& host, double length, double degrees, int n_dashes = 0) {
  const gfx_point a = on(length, length, degrees), b = on(length, length, degrees + 180);
  return drew_line(host, double(a.x), double(a.y), double(b.x), double(b.y), n_dashes);
}

TEST(GlintWidget, SizeAloneIsAStarOfEightRays) {
  widget_host host(widget_effect(part("size", "0.25")));
  expect_on(host.handle("size"), 80, 80, -22.5);
  for (const double degrees : {0, 45, 90, 135}) EXPECT_TRUE(drew_ray(host, 80, degrees)) << degrees;
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].most, 80, 0.01);
  EXPECT_EQ(rings[0].n_dashes, 2);
  EXPECT_TRUE(is_color(rings[0].color, 255, 220, 70));
}

TEST(GlintWidget, DirectionsAreFactorsOfTheSize) {
  widget_host host(widget_effect(part("size", "0.25") + part("size_x", "1.5") + part("size_diag2", "0.5")));
  expect_on(host.handle("size_x"), 120, 120, 0);
  expect_on(host.handle("size_diag2"), 40, 40, 135);
  EXPECT_TRUE(drew_ray(host, 120, 0));
  EXPECT_TRUE(drew_ray(host, 40, 135));
  EXPECT_FALSE(drew_ray(host, 80, 90));  // rays that have no part
  EXPECT_FALSE(drew_ray(host, 80, 45));
  widget_host other(widget_effect(part("size", "0.25") + part("size_y", "0.5") + part("size_diag1", "2")));
  expect_on(other.handle("size_y"), 40, 40, 90);
  expect_on(other.handle("size_diag1"), 160, 160, 45);
  EXPECT_TRUE(drew_ray(other, 40, 90));
  EXPECT_TRUE(drew_ray(other, 160, 45));
}

TEST(GlintWidget, CommonPartMultipliesBothAxes) {
  widget_host two(widget_effect(part("size", "0.25") + part("size_xy", "[1.5 0.5]")));
  expect_on(two.handle("size_xy", 0, 0), 120, 120, 180);
  expect_on(two.handle("size_xy", 0, 1), 40, 40, 270);
  EXPECT_TRUE(drew_ray(two, 120, 0));
  EXPECT_TRUE(drew_ray(two, 40, 90));
  widget_host one(widget_effect(part("size", "0.25") + part("size_xy", "1.5") + part("size_x", "0.5")));
  expect_on(one.handle("size_xy"), 60, 60, 180);
  expect_on(one.handle("size_x"), 60, 60, 0);
  EXPECT_TRUE(drew_ray(one, 120, 90));
}

TEST(GlintWidget, WithoutASizePartsAreReaches) {
  widget_host host(widget_effect(part("size_x", "0.5") + part("size_diag1", "0.25") + part("size_red", "0.125")));
  expect_on(host.handle("size_x"), 160, 160, 0);
  expect_on(host.handle("size_diag1"), 80, 80, 45);
  expect_on(host.handle("size_red"), 40, 40, 22.5);
  EXPECT_TRUE(rings_around(host, 320, 180).empty());
}

TEST(GlintWidget, ColorsHaveRaysOfTheirOwn) {
  const struct {
    const char* name;
    double degrees;
    int red, green, blue;
  } colors[] = {{"size_red", 22.5, 255, 90, 80},
                {"size_green", 67.5, 90, 235, 100},
                {"size_blue", 112.5, 110, 160, 255},
                {"size_alpha", 157.5, 245, 245, 245}};
  for (const auto& c : colors) {
    SCOPED_TRACE(c.name);
    widget_host host(widget_effect(part("size", "0.25") + part(c.name, "1.25")));
    expect_on(host.handle(c.name), 100, 100, c.degrees);
    const gfx_point end = on(100, 100, c.degrees);
    EXPECT_TRUE(drew_line(host, 320, 180, double(end.x), double(end.y)));
    EXPECT_TRUE(drew_color(host, c.red, c.green, c.blue));
  }
  const std::string type = "glint_no_rgb";
  widget_host none(widget_effect(part("size", "0.25", type) + part("size_red", "1", type) +
                                 part("size_green", "1", type) + part("size_blue", "1", type) +
                                 part("size_alpha", "0.5", type)));
  none.draw();
  EXPECT_FALSE(drew_color(none, 255, 90, 80));
  EXPECT_FALSE(drew_color(none, 90, 235, 100));
  EXPECT_FALSE(drew_color(none, 110, 160, 255));
  expect_on(none.handle("size_alpha"), 40, 40, 157.5);
}

TEST(GlintWidget, SizeOfTwoChannelsStretchesTheStar) {
  const std::string parts = widget_effect(part("size", "[0.5 0.25]") + part("size_diag1", "1"));
  widget_host host(parts);
  expect_on(host.handle("size", 0, 0), 160, 80, -22.5);
  expect_on(host.handle("size", 0, 1), 160, 80, -67.5);
  expect_on(host.handle("size_diag1"), 160, 80, 45);
  widget_host wide(parts, {.pixel_aspect = 2});
  expect_at(wide.handle("size_diag1"), 640 + 320 * std::sqrt(0.5), 180 - 160 * std::sqrt(0.5));
  check_handles_follow(parts, {{"size", 20, 0, 0, 0}, {"size", 0, 14, 0, 1}, {"size_diag1", 30, -15}}, 20);
  // The ring keeps the proportions: to the left of the middle, half way below.
  check_handles_follow(widget_effect(part("size", "[0.5 0.25]")),
                       {{"size", -40 * std::cos(0.39269908), 20 * std::sin(0.39269908), 0, 2}});
}

TEST(GlintWidget, GlowIsAnOvalWithColorsAroundIt) {
  const std::string type = "glow";
  const std::string parts = widget_effect(part("size", "0.25", type) + part("size_x", "1.5", type) +
                                          part("size_y", "0.5", type) + part("size_green", "1.2", type));
  widget_host host(parts);
  expect_on(host.handle("size"), 120, 40, -22.5);
  expect_on(host.handle("size_x"), 120, 40, 0);
  expect_on(host.handle("size_y"), 120, 40, 90);
  expect_on(host.handle("size_green"), 144, 48, 67.5);
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 2u);
  EXPECT_TRUE(is_color(rings[1].color, 90, 235, 100));
  EXPECT_NEAR(rings[1].least, 48, 0.1);
  EXPECT_NEAR(rings[1].most, 144, 0.1);
  EXPECT_NEAR(rings[0].least, 40, 0.1);
  EXPECT_NEAR(rings[0].most, 120, 0.1);
  EXPECT_EQ(rings[0].n_dashes, 0);
  EXPECT_FALSE(drew_ray(host, 120, 0));
}

TEST(GlintWidget, GlowTypesSayWhatTheyDoWithout) {
  const auto all = [](const std::string& type) {
    return widget_effect(part("size", "0.5", type) + part("size_x", "1.5", type) + part("size_xy", "[2 2]", type) +
                         part("size_red", "1.2", type) + part("size_alpha", "0.8", type));
  };
  for (const char* type : {"glow_noxy", "glow_noxy_small"}) {
    SCOPED_TRACE(type);
    const double size = std::string(type) == "glow_noxy" ? 160 : 40;
    widget_host host(all(type));
    expect_on(host.handle("size"), size, size, -22.5);
    expect_on(host.handle("size_red"), size * 1.2, size * 1.2, 22.5);
    expect_on(host.handle("size_alpha"), size * 0.8, size * 0.8, 157.5);
    EXPECT_THROW(host.handle("size_x"), std::runtime_error);
    EXPECT_THROW(host.handle("size_xy"), std::runtime_error);
    ASSERT_TRUE(drag_by(host, towards("size", -22.5, size / 2)));
    EXPECT_NEAR(host.slider("Psize"), 0.75, 1e-4);
  }
  widget_host matte(all("glow_alpha"));
  expect_on(matte.handle("size_x"), 480, 320, 0);
  expect_on(matte.handle("size_alpha"), 384, 256, 157.5);
  EXPECT_THROW(matte.handle("size_red"), std::runtime_error);
  EXPECT_TRUE(drew_color(matte, 245, 245, 245));
  EXPECT_FALSE(drew_color(matte, 255, 220, 70));
}

TEST(GlintWidget, DiagonalsOfAGlowAreDashed) {
  widget_host host(widget_effect(part("size", "0.25", "glow") + part("size_diag1", "1.5", "glow")));
  expect_on(host.handle("size_diag1"), 120, 120, 45);
  EXPECT_TRUE(drew_ray(host, 120, 45, 2));
}

TEST(GlintWidget, GlowOfOneAxisIsRound) {
  widget_host host(widget_effect(part("size_y", "0.25", "glow")));
  expect_on(host.handle("size_y"), 80, 80, 90);
  const auto rings = rings_around(host, 320, 180);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, 80, 0.1);
}

TEST(GlintWidget, HandlesFollowTheMouse) {
  for (const char* type : {"glint", "glow"}) {
    SCOPED_TRACE(type);
    const std::string shape = part("size", "0.4", type) + center("[360 243]", type);
    check_handles_follow(widget_effect(shape + part("size_x", "1.3", type) + part("size_y", "0.9", type)),
                         {{"size_x", 30, 0}, {"size_y", 0, -20}, {"center", 18, 12}}, 20);
    check_handles_follow(widget_effect(shape + part("size_xy", "[1.2 0.8]", type)),
                         {{"size_xy", -30, 0, 0, 0}, {"size_xy", 0, 25, 0, 1}}, 20);
    check_handles_follow(widget_effect(shape + part("size_diag1", "1.2", type) + part("size_diag2", "0.7", type)),
                         {towards("size_diag1", 45, 25), towards("size_diag2", 135, -20), towards("size", -22.5, 30)},
                         20);
    check_handles_follow(widget_effect(shape + part("size_red", "1.2", type) + part("size_green", "0.8", type) +
                                       part("size_blue", "1.3", type) + part("size_alpha", "0.9", type)),
                         {towards("size_red", 22.5, 20), towards("size_green", 67.5, 20),
                          towards("size_blue", 112.5, -20), towards("size_alpha", 157.5, 25)},
                         20);
  }
}

TEST(GlintWidget, HandlesFollowTheMouseInEveryUnit) {
  for (const unit_case& c : pair_units()) {
    SCOPED_TRACE(c.list);
    const std::string list = std::string(c.list) + " min -30000";
    check_handles_follow(widget_effect(part("size", "0.2") + center(c.value, "glint", list)), {{"center", 31, -22}});
    check_handles_follow(widget_effect(part("size", c.value, "glint", list)), {{"size", 30, 0}, {"size", 0, 25, 0, 1}});
    check_handles_follow(widget_effect(part("size_xy", c.value, "glint", list)),
                         {{"size_xy", -30, 0}, {"size_xy", 0, 25, 0, 1}});
  }
  for (const unit_case& c : single_units()) {
    SCOPED_TRACE(c.list);
    check_handles_follow(widget_effect(part("size", c.value, "glow", c.list)), {towards("size", -22.5, 30)}, 20);
    check_handles_follow(widget_effect(part("size_y", c.value, "glint", c.list)), {{"size_y", 0, -30}}, 20);
    check_handles_follow(widget_effect(part("size", "0.4") + part("size_blue", "60", "glint", "percent")),
                         {towards("size_blue", 112.5, 25)}, 20);
  }
}

TEST(GlintWidget, RingsCanBeTakenHoldOfAnywhere) {
  widget_host host(widget_effect(part("size", "0.25", "glow") + part("size_red", "1.5", "glow")));
  const gfx_point red = on(120, 120, 200), further = on(160, 160, 200);
  ASSERT_TRUE(host.drag(double(red.x), double(red.y), double(further.x), double(further.y)));
  EXPECT_NEAR(host.slider("Psize Red"), 2, 1e-3);
  const gfx_point size = on(80, 80, 250), nearer = on(64, 64, 250);
  ASSERT_TRUE(host.drag(double(size.x), double(size.y), double(nearer.x), double(nearer.y)));
  EXPECT_NEAR(host.slider("Psize"), 0.2, 1e-3);
}

TEST(GlintWidget, SizeOfZeroComesOutAgainAndStopsAtItsLimits) {
  widget_host host(widget_effect(part("size", "0", "glint", "max 0.5") + part("size_x", "1.5") + center()));
  ASSERT_TRUE(host.click(320, 180));
  host.drag_to(320, 260);
  EXPECT_NEAR(host.slider("Psize"), 0.25, 1e-4);
  host.drag_to(320, 1000);
  EXPECT_NEAR(host.slider("Psize"), 0.5, 1e-4);
  host.release(320, 1000);
  expect_on(host.handle("size_x"), 240, 240, 0);
  widget_host factor(widget_effect(part("size", "0.25") + part("size_x", "0")));
  ASSERT_TRUE(factor.drag(320, 180, 360, 180));
  EXPECT_NEAR(factor.slider("Psize X"), 0.5, 1e-4);
}

TEST(GlintWidget, CenterAloneIsAStarThatMoves) {
  const std::string parts = widget_effect(center());
  widget_host host(parts);
  expect_at(host.handle("center"), 320, 180);
  EXPECT_EQ(host.handles.size(), 1u);
  EXPECT_TRUE(drew_ray(host, 80, 45));
  check_handles_follow(parts, {{"center", 40, -30}});
}

TEST(GlintWidget, OddPlacesDoNoHarm) {
  for (const char* name : {"size", "size_x", "size_red", "center"})
    for (const char* type : {"glint", "glow"})
      check_bad_places(widget_effect(part("size", "0.25", type) + part("size_x", "1.5", type) +
                                     part("size_red", "2", type) + center("[180 300]", type)),
                       name);
}

TEST(GlintWidget, OddTypeNameIsReported) {
  const std::string parts = part("size", "0.2");
  EXPECT_EQ(reports_of_type(parts, "glitter"), "[7] Unknown Glint widget type glitter\n");
  for (const char* known : {"glint", "glint_no_rgb", "glow", "glow_noxy", "glow_noxy_small", "glow_alpha"})
    EXPECT_EQ(reports_of_type(parts, known), "");
}

}  // namespace
}  // namespace tessaron::testing
