// Widgets of base type "ellipse".
#include "unit/widgets/round_kit.h"

namespace tessaron::testing {
namespace {

// The layer has 640 by 360 pixels: half its width is 320, and [360 243] lies in its middle.
constexpr double BEYOND = 48;  // from the outline to the handle that turns it, pixels of the window

std::string part(const std::string& name, const std::string& value, const std::string& type = "ellipse",
                 const std::string& list = "") {
  return declared("P" + name, value, list, type + "." + name);
}
std::string width(const std::string& value, const std::string& type = "ellipse", const std::string& list = "") {
  return part("width", value, type, list);
}
std::string angle(double degrees, const std::string& type = "ellipse", const std::string& name = "angle") {
  return part(name, host_angle(degrees), type, "angle");
}
void expect_half_axes(widget_host& host, double x, double y, double at_x = 320, double at_y = 180) {
  host.draw();
  const auto rings = rings_around(host, at_x, at_y);
  ASSERT_EQ(rings.size(), 1u);
  EXPECT_NEAR(rings[0].least, std::min(x, y), 0.2);
  EXPECT_NEAR(rings[0].most, std::max(x, y), 0.2);
}

TEST(EllipseWidget, WidthIsTheWholeWidth) {
  widget_host single(widget_effect(width("0.5")));
  expect_at(single.handle("width"), 400, 180);
  expect_half_axes(single, 80, 80);
  widget_host two(widget_effect(width("[1 0.5]")));
  expect_at(two.handle("width", 0, 0), 480, 180);
  expect_at(two.handle("width", 0, 1), 320, 100);
  expect_half_axes(two, 160, 80);
  EXPECT_TRUE(drew_color(two, 110, 160, 255));
}

TEST(EllipseWidget, AngleTurnsIt) {
  for (const char* name : {"angle", "rotate"}) {
    SCOPED_TRACE(name);
    widget_host host(widget_effect(angle(90, "ellipse", name) + width("[1 0.5]")));
    expect_at(host.handle("width", 0, 0), 320, 20);
    expect_at(host.handle("width", 0, 1), 240, 180);
    expect_at(host.handle(name), 320, 20 - BEYOND);
    EXPECT_TRUE(drew_line(host, 320, 180, 320, 20 - BEYOND, 2));
    expect_half_axes(host, 160, 80);
  }
  widget_host slanted(widget_effect(angle(30) + width("[1 0.5]")));
  expect_at(slanted.handle("width"), 320 + 160 * std::sqrt(0.75), 180 - 80);
  expect_half_axes(slanted, 160, 80);
}

TEST(EllipseWidget, ShapeAndTurnAreThoseOfTheScreen) {
  // Pixels twice as wide as high.
  widget_host host(widget_effect(angle(30) + width("[1 0.5]")), {.pixel_aspect = 2});
  expect_at(host.handle("width", 0, 0), 640 + 320 * std::sqrt(0.75), 180 - 160);
  expect_at(host.handle("width", 0, 1), 640 - 160 * 0.5, 180 - 160 * std::sqrt(0.75));
  expect_half_axes(host, 320, 160, 640, 180);
}

TEST(EllipseWidget, RelPartsAreFactors) {
  const std::string parts = width("0.5") + part("rel_x", "2") + part("rel_y", "0.5");
  widget_host host(widget_effect(parts));
  expect_at(host.handle("width"), 480, 180);
  expect_at(host.handle("rel_x"), 160, 180);
  expect_at(host.handle("rel_y"), 320, 220);
  expect_half_axes(host, 160, 40);
  widget_host pair(widget_effect(width("0.5") + part("rel_xy", "[2 0.5]")));
  expect_at(pair.handle("rel_xy", 0, 0), 160, 180);
  expect_at(pair.handle("rel_xy", 0, 1), 320, 220);
  widget_host all(widget_effect(parts + part("rel_xy", "[0.5 2]")));
  expect_half_axes(all, 80, 80);
  expect_at(all.handle("rel_xy"), 320 - 80 * std::sqrt(0.5), 180 + 80 * std::sqrt(0.5));
  widget_host common(widget_effect(width("0.5") + part("rel_xy", "1.5")));
  expect_half_axes(common, 120, 120);
  expect_at(common.handle("rel_xy"), 320 - 120 * std::sqrt(0.5), 180 + 120 * std::sqrt(0.5));
  widget_host alone(widget_effect(part("rel_xy", "[2 1]")));  // of an eighth of the frame
  expect_half_axes(alone, 160, 80);
}

TEST(EllipseWidget, ScaleAndRadiusTypes) {
  const struct {
    const char *type, *value;
    double half;
  } cases[] = {
      {"ellipse_scale4", "0.2", 128},
      {"ellipse_green_scale4", "0.2", 128},
      {"ellipse_rad", "0.2", 64},
      {"lensflare_ellipse", "0.2", 64},
      {"ellipse_freq", "2", 80},
      {"ellipse_freq_no_rel", "4", 40},
      {"ellipse_freq_center_norm", "4", 40},
      {"ellipse_altctr", "0.5", 80},
      {"ellipse_green", "0.5", 80},
      {"ellipse_white", "0.5", 80},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    widget_host host(widget_effect(width(c.value, c.type, "max 100")));
    expect_at(host.handle("width"), 320 + c.half, 180);
    expect_half_axes(host, c.half, c.half);
    const std::string type = c.type;
    EXPECT_EQ(drew_color(host, 90, 235, 100), type.find("green") != std::string::npos);
    EXPECT_EQ(drew_color(host, 245, 245, 245), type.find("white") != std::string::npos);
    check_handles_follow(widget_effect(width(c.value, c.type, "max 100")),
                         {{"width", 25, 0}, {"width", -20, -20, 0, 1}}, 20);
    ASSERT_TRUE(host.drag(320 + c.half, 180, 320 + c.half * 1.5, 180));
    const bool frequency = type.find("freq") != std::string::npos;
    EXPECT_NEAR(host.slider("Pwidth"), std::atof(c.value) * (frequency ? 1 / 1.5 : 1.5), 1e-3);
  }
}

TEST(EllipseWidget, NoHandlesLeavesTheOutline) {
  const struct {
    const char* type;
    double half;
    pf_color color;
  } cases[] = {
      {"ellipse_no_handles_red", 80, {0, 255, 90, 80}},
      {"ellipse_no_handles_green", 80, {0, 90, 235, 100}},
      {"ellipse_no_handles_white", 80, {0, 245, 245, 245}},
      {"ellipse_no_handles_red_scale4", 320, {0, 255, 90, 80}},
      {"ellipse_no_handles_green_scale4", 320, {0, 90, 235, 100}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    widget_host host(widget_effect(width("0.5", c.type) + angle(20, c.type) + part("offset", "[0 0]", c.type)));
    host.draw();
    ASSERT_EQ(host.handles.size(), 1u);
    EXPECT_EQ(host.handles[0].n_handles, 0);
    EXPECT_TRUE(host.handles[0].visible);
    EXPECT_EQ(host.shapes.size(), 2u);  // the outline and its rim
    expect_half_axes(host, c.half, c.half);
    EXPECT_TRUE(drew_color(host, c.color.red, c.color.green, c.color.blue));
    EXPECT_FALSE(host.click(320 + c.half, 180));
  }
}

TEST(EllipseWidget, OffsetIsAStepFromTheFramesMiddle) {
  widget_host norm(widget_effect(width("0.5") + part("offset", "[0.25 0.125]")));
  expect_at(norm.handle("offset"), 400, 140);
  expect_at(norm.handle("width"), 480, 140);
  // [72 48.6] is a tenth of the reference frame: 64 and 36 pixels of this one, from whatever corner.
  widget_host pixels(widget_effect(width("0.5") + part("offset", "[72 48.6]", "ellipse", "screen")));
  expect_at(pixels.handle("offset"), 384, 144);
}

TEST(EllipseWidget, OffsetIsThePlaceByType) {
  for (const char* type : {"ellipse_altctr", "lensflare_ellipse"}) {
    SCOPED_TRACE(type);
    widget_host host(widget_effect(width("0.5", type) + part("offset", "[72 48.6]", type, "screen")));
    expect_at(host.handle("offset"), 64, 324);
    check_handles_follow(widget_effect(width("0.2", type) + part("offset", "[300 200]", type, "screen")),
                         {{"offset", 20, -30}, {"width", 12, 0}});
  }
  // The number is in half widths, though the control's units are others.
  const std::string parts =
      widget_effect(width("4", "ellipse_freq_center_norm", "max 100") +
                    part("offset", "[160 -80]", "ellipse_freq_center_norm", "normalize_scale 0.5 min -30000"));
  widget_host host(parts);  // 160 pixels are 0.25, and 80 are 0.125
  expect_at(host.handle("offset"), 400, 140);
  check_handles_follow(parts, {{"offset", -40, 30}, {"width", 15, 0}}, 200);
}

TEST(EllipseWidget, FlareHasALineThroughTheFramesMiddle) {
  widget_host host(
      widget_effect(width("0.1", "lensflare_ellipse") + part("offset", "[180 364.5]", "lensflare_ellipse", "screen")));
  host.draw();
  EXPECT_TRUE(drew_line(host, 160, 90, 480, 270, 2));
}

TEST(EllipseWidget, FrequencyWithoutAnInverseHasNoHandle) {
  for (const char* value : {"0", "-2"}) {
    SCOPED_TRACE(value);
    widget_host single(widget_effect(width(value, "ellipse_freq", "min -10")));
    EXPECT_FALSE(single.handle("width").can_be_held);
    EXPECT_TRUE(rings_around(single, 320, 180).empty());
    widget_host half(
        widget_effect(width("[2 " + std::string(value) + "]", "ellipse_freq", "min -10") + angle(0, "ellipse_freq")));
    expect_at(half.handle("width"), 400, 180);
    EXPECT_FALSE(half.handle("width", 0, 1).can_be_held);
    EXPECT_TRUE(rings_around(half, 320, 180).empty());
    EXPECT_TRUE(drew_line(half, 320, 180, 400, 180, 2));
    expect_at(half.handle("angle"), 400 + BEYOND, 180);
  }
}

TEST(EllipseWidget, FrequencyComesBackFromBothEnds) {
  widget_host host(widget_effect(width("2", "ellipse_freq", "max 100")));
  ASSERT_TRUE(host.click(400, 180));
  host.drag_to(320, 180);  // no width: as high as it can be
  EXPECT_NEAR(host.slider("Pwidth"), 100, 0.01);
  host.drag_to(480, 180);
  EXPECT_NEAR(host.slider("Pwidth"), 1, 1e-3);
  host.drag_to(1e12, 180);
  EXPECT_GT(host.slider("Pwidth"), 0);
  host.drag_to(400, 180);
  host.release(400, 180);
  EXPECT_NEAR(host.slider("Pwidth"), 2, 1e-4);
  widget_host whole(widget_effect(width("4", "ellipse_freq", "int max 100")));
  ASSERT_TRUE(whole.drag(360, 180, 5000, 180));
  EXPECT_EQ(whole.slider("Pwidth"), 1);
}

TEST(EllipseWidget, NoRelTypeLeavesTheRelPartsOut) {
  widget_host host(widget_effect(width("2", "ellipse_freq_no_rel", "max 100") +
                                 part("rel_x", "3", "ellipse_freq_no_rel") +
                                 part("rel_xy", "[3 3]", "ellipse_freq_no_rel")));
  expect_half_axes(host, 80, 80);
  EXPECT_THROW(host.handle("rel_x"), std::runtime_error);
  EXPECT_THROW(host.handle("rel_xy"), std::runtime_error);
  // With them, twice as wide is twice as wide whatever the number means.
  widget_host with(widget_effect(width("2", "ellipse_freq", "max 100") + part("rel_x", "2", "ellipse_freq")));
  expect_half_axes(with, 160, 80);
}

TEST(EllipseWidget, HandlesFollowTheMouseInEveryUnit) {
  for (const unit_case& c : pair_units()) {
    SCOPED_TRACE(c.list);
    const std::string list = std::string(c.list) + " min -30000";
    check_handles_follow(widget_effect(width(c.value, "ellipse_rad", list)),
                         {{"width", 25, 0}, {"width", 0, -22, 0, 1}});
    check_handles_follow(widget_effect(width("0.5") + part("offset", c.value, "ellipse", list)), {{"offset", 31, -22}});
    check_handles_follow(
        widget_effect(width("0.5", "ellipse_altctr") + part("offset", c.value, "ellipse_altctr", list)),
        {{"offset", -31, 22}});
  }
  for (const unit_case& c : single_units()) {
    SCOPED_TRACE(c.list);
    check_handles_follow(widget_effect(width(c.value, "ellipse_rad", c.list)), {{"width", 25, 0}}, 20);
  }
}

TEST(EllipseWidget, TurnedHandlesFollowTheMouse) {
  const std::string parts = angle(60) + width("[0.9 0.5]") + part("offset", "[0.2 0]", "ellipse", "min -5");
  check_handles_follow(widget_effect(parts), {towards("width", 60, 20), towards("width", 150, 15, 1)});
  check_handles_follow(widget_effect(angle(60) + width("0.8") + part("rel_x", "1.5") + part("rel_y", "0.7")),
                       {towards("width", 60, 20), towards("rel_x", 240, 30), towards("rel_y", 330, -25)}, 20);
  check_handles_follow(widget_effect(angle(60) + width("0.8") + part("rel_xy", "[1.4 0.8]")),
                       {towards("rel_xy", 240, 30), towards("rel_xy", 330, 25, 1)}, 20);
  // Half axes of 112 and 112 by one common factor: it moves along its slant, to the lower left.
  check_handles_follow(widget_effect(width("0.7") + part("rel_xy", "1")), {towards("rel_xy", 225, 20)}, 20);
  check_handles_follow(widget_effect(width("0.7") + part("rel_x", "1") + part("rel_xy", "[1 1]")),
                       {towards("rel_xy", 225, 20)}, 20);
  check_arm_turns(widget_effect(parts), "angle", "Pangle", 384, 180, 130);
  check_arm_turns(widget_effect(parts), "angle", "Pangle", 384, 180, -400);
}

TEST(EllipseWidget, SizeOfZeroComesOutAgainAndStopsAtItsLimits) {
  widget_host host(widget_effect(width("[0 0]", "ellipse", "max 1")));
  ASSERT_TRUE(host.drag(320, 180, 380, 180));
  EXPECT_NEAR(host.slider("Pwidth X"), 0.375, 1e-4);
  ASSERT_TRUE(host.drag(320, 180, 320, 140));
  EXPECT_NEAR(host.slider("Pwidth Y"), 0.25, 1e-4);
  ASSERT_TRUE(host.drag(380, 180, 2000, 180));
  EXPECT_NEAR(host.slider("Pwidth X"), 1, 1e-4);
  // A factor of nothing can't be read off the mouse.
  widget_host nothing(widget_effect(width("0") + part("rel_x", "1")));
  const shown_handle at = nothing.handle("rel_x");
  expect_at(at, 320, 180);
  nothing.drag(320, 180, 200, 180);
  EXPECT_NEAR(nothing.slider("Prel X"), 1, 1e-4);
}

TEST(EllipseWidget, MouseBeyondTheMiddleMirrorsTheOutline) {
  widget_host host(widget_effect(width("[1 0.5]")));
  ASSERT_TRUE(host.drag(480, 180, 320 - 96, 180));
  EXPECT_NEAR(host.slider("Pwidth X"), 0.6, 1e-4);
}

TEST(EllipseWidget, OddPlacesDoNoHarm) {
  const std::string parts = widget_effect(angle(20) + width("[1 0.5]") + part("rel_xy", "[1 1]") +
                                          part("offset", "[0 0]", "ellipse", "min -5"));
  for (const char* name : {"angle", "width", "rel_xy", "offset"}) check_bad_places(parts, name);
}

}  // namespace
}  // namespace tessaron::testing
