// PF_Cmd_EVENT: drawing, the mouse, the cursor, and hosts that can't do all of it.
#include "base/report.h"
#include "genotype/globals.h"
#include "unit/widgets/widget_kit.h"

namespace tessaron::testing {
namespace {

// A cross in the middle of the frame, and another whose checkbox starts off.
const char* const SPOT =
    "(define E () Spot = [360 243] (screen widget cross.center)"
    " Other = [0 0] (screen widget star8.center name Other default_off) dest = (v3 (element_of (+ Spot Other) 0) 0 0))";

TEST(WidgetEvents, DrawDescribesWidgetsAndDrawsTheEnabledOnes) {
  widget_host host(SPOT);
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
  EXPECT_TRUE(host.event.handled);
  ASSERT_EQ(host.handles.size(), 2u);
  EXPECT_TRUE(host.handles[0].enabled);
  EXPECT_TRUE(host.handles[0].visible);
  EXPECT_EQ(host.handles[0].n_handles, 1);
  EXPECT_EQ(host.handles[0].enable_index, 2);
  EXPECT_FALSE(host.handles[1].enabled);
  EXPECT_EQ(host.handles[1].n_handles, 0);
  EXPECT_EQ(host.handles[1].handle, -1);
  // Nothing is drawn near the corner where the other would lie.
  EXPECT_FALSE(host.shapes.empty());
  for (const drawn_shape& shape : host.shapes) EXPECT_GT(shape.numbers[0], 250) << shape.kind;
}

TEST(WidgetEvents, EachLineHasADarkRimUnderIt) {
  widget_host host(SPOT);
  host.draw();
  ASSERT_GE(host.shapes.size(), 2u);
  ASSERT_EQ(host.shapes.size() % 2, 0u);
  for (std::size_t i = 0; i < host.shapes.size(); i += 2) {
    const drawn_shape &rim = host.shapes[i], &line = host.shapes[i + 1];
    EXPECT_EQ(rim.numbers, line.numbers);
    EXPECT_GT(rim.width, line.width);
    EXPECT_LT(rim.color.red + rim.color.green + rim.color.blue, 60);
    EXPECT_GT(line.color.red + line.color.green + line.color.blue, 300);
  }
}

TEST(WidgetEvents, MarksKeepTheirSizeAtEveryZoom) {
  const auto extent = [](double zoom) {
    widget_host host(SPOT, {.zoom = zoom});
    host.draw();
    float left = 1e9f, right = -1e9f;
    for (const drawn_shape& shape : host.shapes)
      if (shape.kind == "line") {
        left = std::min({left, shape.numbers[0], shape.numbers[2]});
        right = std::max({right, shape.numbers[0], shape.numbers[2]});
      }
    return right - left;
  };
  EXPECT_GT(extent(1), 10);
  EXPECT_NEAR(extent(0.25), extent(1), 0.01);
  EXPECT_NEAR(extent(4), extent(1), 0.01);
}

TEST(WidgetEvents, ClickOnAHandleAsksForTheDrag) {
  widget_host host(SPOT);
  EXPECT_TRUE(host.click(320, 180));
  EXPECT_TRUE(host.event.redraw);
  EXPECT_TRUE(host.handle("center").hot);
}

TEST(WidgetEvents, ClickBesideEveryHandleIsTheHosts) {
  widget_host host(SPOT);
  EXPECT_FALSE(host.click(200, 100));
  EXPECT_FALSE(host.event.handled);
  EXPECT_FALSE(host.event.send_drag);
  host.drag_to(220, 110);
  EXPECT_FALSE(host.event.handled);
  EXPECT_FALSE(host.changed_anything());
}

TEST(WidgetEvents, AClickThatContinuesIsADrag) {
  widget_host host(SPOT);
  host.click(320, 180);
  host.event.continue_mark = 1;
  host.send(PF_Event_DO_CLICK, 330, 180);
  host.event.continue_mark = 0;
  EXPECT_TRUE(host.changed("Spot XY"));
  EXPECT_NEAR(host.point_x("Spot XY"), 330, 0.01);
}

TEST(WidgetEvents, ADragThatDoesNotMoveTheMouseWritesNothing) {
  widget_host host(SPOT);
  host.click(320, 180);
  host.drag_to(340, 180);
  EXPECT_TRUE(host.changed("Spot XY"));
  host.drag_to(340, 180);
  EXPECT_FALSE(host.changed_anything());
}

TEST(WidgetEvents, TheHandleKeepsItsDistanceFromTheMouse) {
  widget_host host(SPOT);
  ASSERT_TRUE(host.drag(322, 178, 372, 128));
  EXPECT_NEAR(host.point_x("Spot XY"), 370, 0.01);
  EXPECT_NEAR(host.point_y("Spot XY"), 130, 0.01);
}

TEST(WidgetEvents, ReleaseEndsTheDrag) {
  widget_host host(SPOT);
  host.click(320, 180);
  host.drag_to(330, 180);
  EXPECT_TRUE(host.event.send_drag);
  host.release(330, 180);
  EXPECT_TRUE(host.event.handled);
  EXPECT_TRUE(host.event.redraw);
  EXPECT_FALSE(host.event.send_drag);
}

TEST(WidgetEvents, ADisabledWidgetCannotBeHit) {
  widget_host host(SPOT);
  host.control("Show Center").u.checkbox.value = 0;
  EXPECT_FALSE(host.click(320, 180));
  host.control("Show Center").u.checkbox.value = 1;
  EXPECT_TRUE(host.click(320, 180));
}

TEST(WidgetEvents, TheFirstOfTwoWidgetsOnOnePlaceIsHitAndLiesOnTop) {
  widget_host host(
      "(define E () Spot = [360 243] (screen widget cross.center)"
      " Other = [360 243] (screen widget single_circle.center name Other) dest = (v3 (element_of (+ Spot Other) 0) 0 "
      "0))");
  host.drag(320, 180, 350, 180);
  EXPECT_TRUE(host.point_x("Spot XY") > 340);
  EXPECT_NEAR(host.point_x("Other XY"), 320, 0.01);
  host.draw();
  EXPECT_NE(host.shapes.front().kind, "line");  // the ring first, the cross over it
  EXPECT_EQ(host.handle("center", 0).widget, 0);
}

TEST(WidgetEvents, HandlesMayBeDraggedOutOfTheFrameAndBack) {
  widget_host host(SPOT);
  ASSERT_TRUE(host.drag(320, 180, -400, 1500));
  EXPECT_NEAR(host.point_x("Spot XY"), -400, 0.01);
  EXPECT_NEAR(host.point_y("Spot XY"), 1500, 0.01);
  EXPECT_NEAR(host.handle("center").y, 1500, 0.01);
  ASSERT_TRUE(host.drag(-400, 1500, 320, 180));
  EXPECT_NEAR(host.point_x("Spot XY"), 320, 0.01);
}

TEST(WidgetEvents, CursorOverAHandleSaysSo) {
  widget_host host(SPOT);
  host.send(PF_Event_ADJUST_CURSOR, 321, 180);
  EXPECT_EQ(host.event.cursor, 23);
  EXPECT_TRUE(host.event.handled);
  EXPECT_EQ(host.info_text, "Tessaron cross widget");
  host.send(PF_Event_ADJUST_CURSOR, 100, 100);
  EXPECT_EQ(host.event.cursor, 0);
  EXPECT_FALSE(host.event.handled);
  EXPECT_TRUE(host.event.redraw);  // the mark of the hot handle goes
}

TEST(WidgetEvents, OtherWindowsAreLeftAlone) {
  widget_host host(SPOT);
  host.event.window_type = PF_Window_COMPOSITION;
  EXPECT_FALSE(host.click(320, 180));
  EXPECT_TRUE(host.draw().empty());
  EXPECT_TRUE(host.shapes.empty());
}

TEST(WidgetEvents, LaterPassesAndHostsWithoutDrawingGetNothing) {
  widget_host host(SPOT);
  host.event.later_pass = 1;
  host.draw();
  EXPECT_FALSE(host.event.handled);
  host.event.later_pass = 0;
  host.offers_drawing = false;
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
  EXPECT_FALSE(host.event.handled);
}

TEST(WidgetEvents, EventsWithoutAMeaningChangeNothing) {
  widget_host host(SPOT);
  for (const int number : {0, 1, 5, 6, 7, 8, 10, -1, 1000}) {
    EXPECT_EQ(host.send(number, 320, 180), 0);
    EXPECT_FALSE(host.event.handled) << number;
    EXPECT_FALSE(host.changed_anything());
  }
}

TEST(WidgetEvents, AHostThatCannotConvertShowsTheLayerAtItsDownsampling) {
  widget_host host(SPOT, {.zoom = 3, .downsample = 2, .can_convert = false});
  EXPECT_NEAR(host.handle("center").x, 160, 0.01);
  EXPECT_NEAR(host.handle("center").y, 90, 0.01);
  ASSERT_TRUE(host.drag(160, 90, 170, 80));
  EXPECT_NEAR(host.handle("center").x, 170, 0.01);
  EXPECT_NEAR(host.handle("center").y, 80, 0.01);
}

TEST(WidgetEvents, AWindowOfNoSizePutsTheMouseInTheCorner) {
  widget_host host(SPOT, {.zoom = 1e-4});  // determinant 1e-08
  EXPECT_FALSE(host.click(0.03, 0.02));
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
}

TEST(WidgetEvents, MouseOfNoNumberHarmsNothing) {
  widget_host host(SPOT);
  const double nan = std::nan(""), infinite = INFINITY;
  EXPECT_FALSE(host.click(nan, infinite));
  host.click(320, 180);
  for (const double x : {nan, infinite, -infinite, 1e30}) host.drag_to(x, 100);
  host.release(nan, nan);
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
}

TEST(WidgetEvents, LayersWithoutASizeAreRefused) {
  widget_host host(SPOT);
  host.in_data.width = 0;
  EXPECT_NE(host.send(PF_Event_DRAW), 0);
  EXPECT_TRUE(host.has_message("An event came for a layer of 0 by 360 pixels"));
}

TEST(WidgetEvents, AnEventWithoutItsArgumentIsRefused) {
  widget_host host(SPOT);
  EXPECT_EQ(host.call(host.plugin.get(), PF_Cmd_EVENT), 516);
  EXPECT_TRUE(host.has_message("tessaron_main: command 15 came without extra."));
}

TEST(WidgetEvents, AnErrorOfTheHostEndsTheDrawing) {
  widget_host host(SPOT);
  host.drawing_error_after = 3;
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
  EXPECT_EQ(host.shapes.size(), 3u);
}

TEST(WidgetEvents, AHostWithLinesAloneGetsEverythingAsLines) {
  widget_host host(
      "(define E () Spot = [360 243] (screen widget cross_circle.center) dest = (v3 (element_of Spot 0) 0 0))");
  host.lines_only = true;
  host.draw();
  EXPECT_GT(host.shapes.size(), 40u);  // the ring's sides
  for (const drawn_shape& shape : host.shapes) EXPECT_EQ(shape.kind, "line");
}

TEST(WidgetEvents, HandlesComeBackWithAReloadedProject) {
  widget_host host(SPOT);
  host.draw();
  ASSERT_EQ(host.call(host.plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);  // no instance: nothing to do
  EXPECT_TRUE(host.handles.empty());
  ASSERT_EQ(host.call(host.plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_EQ(host.draw().size(), 2u);
}

TEST(WidgetEvents, EffectWithoutWidgetsLeavesEventsAlone) {
  widget_host host("(define E () Amount = 1 dest = (v3 Amount 0 0))");
  EXPECT_EQ(host.send(PF_Event_DRAW), 0);
  EXPECT_FALSE(host.event.handled);
  EXPECT_TRUE(host.handles.empty());
}

}  // namespace
}  // namespace tessaron::testing
