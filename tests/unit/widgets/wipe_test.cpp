// Widgets of base type "wipe".
#include "unit/widgets/class_kit.h"

namespace tessaron::testing {
namespace {

constexpr double ARM = 0.3 * 360;  // of the angle's handle, on the screen

std::string wipe(const std::string& params) { return widget_effect(params); }

// The layer has 640 by 360 pixels.
TEST(WipeWidget, LineCrossesTheFrameAtTheAmount) {
  widget_host host(wipe("Amount = 25 (percent ignore widget wipe.wipe_amount)"));
  expect_at(host.handle("wipe_amount"), 160, 180);
  EXPECT_TRUE(drew_line(host, 160, 0, 160, 360));
  host.set_slider("Amount", 0);
  expect_at(host.handle("wipe_amount"), 0, 180);
  host.set_slider("Amount", 100);
  expect_at(host.handle("wipe_amount"), 640, 180);
}

TEST(WipeWidget, AmountIsAShareOrAPercentageByItsLimitsElseItsName) {
  const struct {
    const char* parameter;
    double x;
  } cases[] = {
      {"Amount = 25 (percent ignore widget wipe.wipe_amount)", 160},
      {"Amount = 0.25 (max 1 ignore widget wipe.wipe_amt)", 160},
      {"Amount = 0.25 (ignore widget wipe.wipe_amt)", 160},
      {"Amount = 25 (max 100 ignore widget wipe.wipe_amount)", 160},
      {"Amount = 25 (ignore widget wipe.wipe%)", 160},
      {"Amount = 25 (ignore widget wipe.mix_percent)", 160},
      {"Amount = 25 (ignore widget wipe.wipe_percent)", 160},
      {"Amount = 0.25 (max 1 ignore widget wipe.wipe_percent)", 160},
      {"Amount = 25 (percent ignore widget wipe.wipe_percent)", 160},
      {"Amount = 1.25 (autotrans ignore widget wipe.wipe_amount)", 800},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.parameter);
    widget_host host(wipe(c.parameter));
    host.draw();
    ASSERT_EQ(host.handles.size(), 1u);
    expect_at(host.handles[0], c.x, 180);
    EXPECT_NE(std::string(c.parameter).find("wipe." + host.handles[0].part + ")"), std::string::npos);
  }
}

TEST(WipeWidget, AngleCountsFromTheRightTowardsTheTop) {
  widget_host host(
      wipe("Amount = 75 (percent ignore widget wipe.wipe_amount)"
           " Turn = 0 (angle ignore widget wipe.grad_angle)"));
  expect_at(host.handle("wipe_amount"), 480, 180);
  expect_at(host.handle("grad_angle"), 320 + ARM, 180);
  const auto turn = [&](double degrees) { host.control("Turn").u.angle.value = pf_fixed(-degrees * 65536); };
  turn(90);
  expect_at(host.handle("wipe_amount"), 320, 90);
  expect_at(host.handle("grad_angle"), 320, 180 - ARM);
  EXPECT_TRUE(drew_line(host, 0, 90, 640, 90));
  turn(180);
  expect_at(host.handle("wipe_amount"), 160, 180);
  turn(45);  // the frame reaches (320 + 180) / sqrt(2) that way; half of it, in x and in y, is 125
  expect_at(host.handle("wipe_amount"), 445, 55);
}

TEST(WipeWidget, DiagonalsAreThoseOfTheScreen) {
  // Pixels twice as wide as high: the screen is 1280 by 360, and half its reach at 45 degrees is 205 both ways.
  widget_host host(wipe("Amount = 75 (percent ignore widget wipe.wipe_amount)"
                        " Turn = -45 (angle ignore widget wipe.grad_angle)"),
                   {.pixel_aspect = 2});
  expect_at(host.handle("wipe_amount"), 640 + 205, 180 - 205);
}

TEST(WipeWidget, LineFollowsTheMouse) {
  for (const char* amount : {"50 (percent ", "0.5 (max 1 ", "50 (max 100 "})
    for (const double turn : {0, 30, 135, -90, 400}) {
      SCOPED_TRACE(::testing::Message() << amount << turn);
      check_handles_follow(wipe(std::string("Amount = ") + amount + "ignore widget wipe.wipe_amount) Turn = " +
                                host_angle(turn) + " (angle ignore widget wipe.grad_angle)"),
                           {towards("wipe_amount", turn, 60), towards("wipe_amount", turn, -45)}, 20);
    }
}

TEST(WipeWidget, AmountOfWholeNumbersTakesTheNearest) {
  widget_host host(wipe("Amount = 50 (int max 100 ignore widget wipe.wipe_amount)"));
  ASSERT_TRUE(drag_by(host, {"wipe_amount", 62, 0}));  // 9.7 percent of 640
  EXPECT_EQ(host.slider("Amount"), 60);
}

TEST(WipeWidget, AngleHandleFollowsTheMouseRoundTheFramesMiddle) {
  for (const char* kind : {"angle", "angle_no_dial"}) {
    SCOPED_TRACE(kind);
    const std::string parts = wipe(std::string("Amount = 20 (percent ignore widget wipe.wipe_amount) Turn = -20 (") +
                                   kind + " ignore widget wipe.grad_angle)");
    check_handles_follow(parts, {around("grad_angle", 20, 95, ARM), around("grad_angle", 20, -130, ARM)}, 20);
  }
}

TEST(WipeWidget, AngleGoesOnPastATurn) {
  widget_host host(wipe("Turn = -170 (angle ignore widget wipe.grad_angle)"));
  ASSERT_TRUE(drag_by(host, around("grad_angle", 170, 200, ARM)));
  EXPECT_NEAR(host.control("Turn").u.angle.value / -65536.0, 200, 0.01);
  ASSERT_TRUE(drag_by(host, around("grad_angle", 200, 330, ARM)));
  ASSERT_TRUE(drag_by(host, around("grad_angle", 330, 380, ARM)));
  EXPECT_NEAR(host.control("Turn").u.angle.value / -65536.0, 380, 0.01);
}

TEST(WipeWidget, GradAddIsAddedToTheAmountAndHasAHandleOfItsOwn) {
  const std::string parts = wipe(
      "Amount = 25 (percent ignore widget wipe.wipe_amount) Add = 12.5 (percent min -100 ignore widget wipe.grad_add)");
  widget_host host(parts);
  EXPECT_NEAR(host.handle("wipe_amount").x, 240, 0.02);
  EXPECT_NEAR(host.handle("grad_add").x, 240, 0.02);
  ASSERT_TRUE(drag_by(host, {"grad_add", -160, 0}));
  EXPECT_NEAR(host.slider("Add"), -12.5, 0.001);
  EXPECT_NEAR(host.slider("Amount"), 25, 0.001);
  ASSERT_TRUE(drag_by(host, {"wipe_amount", 64, 0}));
  EXPECT_NEAR(host.slider("Add"), -12.5, 0.001);
  EXPECT_NEAR(host.slider("Amount"), 35, 0.001);
  check_handles_follow(parts, {{"wipe_amount", 40, 0}, {"grad_add", -40, 0}}, 5);
}

TEST(WipeWidget, CompanionsLieToEitherSideOfTheLine) {
  // 0.1 of half the width is 32 pixels.
  widget_host host(
      wipe("Amount = 50 (percent ignore widget wipe.wipe_amount)"
           " Soft = 10 (percent ignore widget wipe.edge_softness)"
           " Border = 5 (percent ignore widget wipe.border_width)"));
  EXPECT_NEAR(host.handle("edge_softness").x, 352, 0.02);
  EXPECT_NEAR(host.handle("edge_softness", 0, 1).x, 288, 0.02);
  EXPECT_NEAR(host.handle("border_width").x, 336, 0.02);
  EXPECT_NEAR(host.handle("border_width", 0, 1).x, 304, 0.02);
  for (const double x : {288, 304, 336, 352}) EXPECT_TRUE(drew_line(host, x, 0, x, 360, 2)) << x;
  EXPECT_TRUE(drew_line(host, 320, 0, 320, 360));
}

TEST(WipeWidget, WithEdgeTheBorderIsSolidAndTheSoftnessBeginsAtIt) {
  widget_host host(
      wipe("Amount = 50 (percent ignore widget wipe_with_edge.wipe_amount)"
           " Soft = 10 (percent ignore widget wipe_with_edge.edge_softness)"
           " Border = 5 (percent ignore widget wipe_with_edge.border_width)"));
  for (const double x : {320 + 48, 320 - 48}) {
    host.draw();
    EXPECT_TRUE(drew_line(host, x, 0, x, 360, 2)) << x;
  }
  for (const double x : {336, 320, 304}) EXPECT_TRUE(drew_line(host, x, 0, x, 360)) << x;
  ASSERT_TRUE(drag_by(host, {"edge_softness", 32, 0}));
  EXPECT_NEAR(host.slider("Soft"), 20, 0.001);
  EXPECT_NEAR(host.slider("Border"), 5, 0.001);
}

TEST(WipeWidget, CompanionsFollowTheMouseInEveryUnit) {
  for (const char* type : {"wipe", "wipe_with_edge"})
    for (const char* list :
         {"25 (percent max 1000", "0.25 (", "100 (screen", "100 (screen_center", "100 (screen_center0", "80 (normalize",
          "80 (normalize_scale 0.5", "80 (screen_to_norm", "80 (screen_center_to_norm"}) {
      SCOPED_TRACE(std::string(type) + ", " + list);
      const std::string t = type, l = list;
      check_handles_follow(wipe("Amount = 40 (percent ignore widget " + t + ".wipe_amount) Turn = -30 (angle ignore " +
                                "widget " + t + ".grad_angle) Soft = " + l + " ignore widget " + t +
                                ".edge_softness) Border = " + l + " ignore widget " + t + ".border_width)"),
                           {towards("edge_softness", 30, 25), towards("edge_softness", 30, -25, 1),
                            towards("border_width", 30, -20), towards("border_width", 30, 30, 1)},
                           20);
    }
}

TEST(WipeWidget, SoftnessOfNothingIsPulledOutToEitherSide) {
  for (const double step : {32.0, -32.0}) {
    widget_host host(
        wipe("Amount = 50 (percent ignore widget wipe.wipe_amount)"
             " Soft = 0 (percent ignore widget wipe.edge_softness)"));
    ASSERT_TRUE(drag_by(host, {"edge_softness", step, 0}));
    EXPECT_NEAR(host.slider("Soft"), 10, 0.001);
    EXPECT_EQ(host.slider("Amount"), 50);
  }
}

TEST(WipeWidget, LineCanBeHeldThoughItsSoftnessIsNothing) {
  widget_host host(
      wipe("Amount = 50 (percent ignore widget wipe.wipe_amount)"
           " Soft = 0 (percent ignore widget wipe.edge_softness)"));
  ASSERT_TRUE(host.drag(320, 300, 384, 300));
  EXPECT_NEAR(host.slider("Amount"), 60, 0.001);
  EXPECT_EQ(host.slider("Soft"), 0);
}

TEST(WipeWidget, CompanionIsHeldAnywhereOnItsLine) {
  widget_host host(
      wipe("Amount = 50 (percent ignore widget wipe.wipe_amount)"
           " Soft = 10 (percent ignore widget wipe.edge_softness)"));
  ASSERT_TRUE(host.drag(352, 350, 384, 20));
  EXPECT_NEAR(host.slider("Soft"), 20, 0.001);
}

TEST(WipeWidget, AmountStopsAtItsLimits) {
  widget_host host(wipe("Amount = 50 (percent ignore widget wipe.wipe_amount)"));
  ASSERT_TRUE(drag_by(host, {"wipe_amount", 5000, 0}));
  EXPECT_EQ(host.slider("Amount"), 100);
  ASSERT_TRUE(drag_by(host, {"wipe_amount", -5000, 0}));
  EXPECT_EQ(host.slider("Amount"), 0);
  ASSERT_TRUE(drag_by(host, {"wipe_amount", 64, 0}));
  EXPECT_NEAR(host.slider("Amount"), 10, 0.001);
}

TEST(WipeWidget, DrivenByTimeTheLineIsDottedAndStaysWhereTheClipHasIt) {
  for (const char* automatic : {"autotrans_p", "auto_trans"}) {
    SCOPED_TRACE(automatic);
    widget_host host(wipe(std::string("Amount = 50 (percent ignore widget wipe.wipe_amount)"
                                      " Auto = 1 (boolean ignore widget wipe.") +
                          automatic + ")"));
    host.in_data.total_time = 11;
    host.in_data.current_time = 3;
    host.draw();
    EXPECT_TRUE(drew_line(host, 192, 0, 192, 360, 2));
    for (const drawn_shape& s : host.shapes) EXPECT_LT(s.first_dash, 2);  // dots, not dashes
    EXPECT_FALSE(host.click(192, 180));
    EXPECT_FALSE(host.click(320, 180));
    EXPECT_FALSE(host.changed_anything());
    host.control("Auto").u.checkbox.value = 0;
    EXPECT_NEAR(host.handle("wipe_amount").x, 320, 0.02);
    EXPECT_TRUE(drew_line(host, 320, 0, 320, 360));
    EXPECT_TRUE(host.click(320, 180));
  }
}

TEST(WipeWidget, TimeIsEasedWhereTheParameterSaysSo) {
  widget_host host(
      wipe("Amount = 0.5 (autotrans_hermite ignore widget wipe.wipe_amount)"
           " Auto = 1 (boolean ignore widget wipe.auto_trans)"));
  host.in_data.total_time = 5;
  host.in_data.current_time = 1;  // t = 1/4: t t (3 - 2 t) = 5/32
  host.draw();
  EXPECT_TRUE(drew_line(host, 100, 0, 100, 360, 2));
}

TEST(WipeWidget, MissingPartsHaveNoHandles) {
  widget_host soft(wipe("Soft = 10 (percent ignore widget wipe.edge_softness)"));
  soft.draw();
  ASSERT_EQ(soft.handles.size(), 2u);
  EXPECT_EQ(soft.handles[0].part, "edge_softness");
  EXPECT_TRUE(drew_line(soft, 320, 0, 320, 360));  // the line itself is only shown
  EXPECT_FALSE(soft.click(320, 180));
  widget_host angle(wipe("Turn = 0 (angle ignore widget wipe.grad_angle)"));
  angle.draw();
  ASSERT_EQ(angle.handles.size(), 1u);
  EXPECT_EQ(angle.handles[0].part, "grad_angle");
}

TEST(WipeWidget, MouseBeyondAllNumbersDoesNoHarm) {
  expect_wild_mouse_does_no_harm(wipe("Amount = 50 (percent ignore widget wipe.wipe_amount)"
                                      " Turn = 20 (angle ignore widget wipe.grad_angle)"
                                      " Soft = 10 (percent ignore widget wipe.edge_softness)"),
                                 {"wipe_amount", "grad_angle", "edge_softness"});
}

TEST(WipeWidget, IsCyan) {
  widget_host host(wipe("Amount = 50 (percent ignore widget wipe.wipe_amount)"));
  host.draw();
  EXPECT_TRUE(drew_color(host, 90, 225, 235));
}

TEST(WipeWidget, TypeThatIsNoneIsReported) {
  EXPECT_NE(reports_of_type("Amount = 50 (percent ignore widget wipe.wipe_amount)", "swipe")
                .find("[7] Unknown Wipe widget type swipe"),
            std::string::npos);
  EXPECT_EQ(reports_of_type("Amount = 50 (percent ignore widget wipe.wipe_amount)", "wipe_with_edge"), "");
}

}  // namespace
}  // namespace tessaron::testing
