// The controller: picking, the hot handle, and a widget whose state is broken.
#include "host/widgets/controller.h"

#include "unit/widgets/widget_kit.h"

namespace tessaron::testing {
namespace {

const char* const SPOT =
    "(define E () Spot = [360 243] (screen widget simple_cross.center) dest = (v3 (element_of Spot 0) 0 0))";

/// The controller of a host's instance.
widget_controller& controller_of(widget_host& host) {
  auto* record = static_cast<globals_record*>(host.utils.host_lock_handle(host.in_data.sequence_data));
  host.utils.host_unlock_handle(host.in_data.sequence_data);
  return *record->widgets;
}

TEST(WidgetController, StartsVisibleEnabledAndWithoutAHandle) {
  widget_host host(SPOT);
  const widget_controller& c = controller_of(host);
  EXPECT_TRUE(c.visible);
  EXPECT_TRUE(c.enabled);
  EXPECT_EQ(c.active_handle, -1);
  EXPECT_FALSE(c.dragging);
  ASSERT_EQ(c.widgets.size(), 1u);
  EXPECT_EQ(c.widgets[0]->hot_handle, -1);
  EXPECT_EQ(c.widgets[0]->drag_handle, -1);
}

TEST(WidgetController, AClickSetsTheActiveHandleAndALaterMissClearsIt) {
  widget_host host(SPOT);
  host.click(320, 180);
  widget_controller& c = controller_of(host);
  EXPECT_EQ(c.active_widget, c.widgets[0].get());
  EXPECT_EQ(c.active_handle, 0);
  EXPECT_TRUE(c.dragging);
  EXPECT_EQ(c.last_x, -10000);
  EXPECT_EQ(c.widgets[0]->drag_handle, 0);
  host.drag_to(330, 185);
  EXPECT_NEAR(c.last_x, 330, 1e-3);
  EXPECT_NEAR(c.last_y, 185, 1e-3);
  host.release(330, 185);
  EXPECT_FALSE(c.dragging);
  EXPECT_EQ(c.widgets[0]->drag_handle, -1);
  EXPECT_FALSE(host.click(20, 20));
  EXPECT_EQ(c.active_handle, -1);
  EXPECT_EQ(c.widgets[0]->hot_handle, -1);
}

TEST(WidgetController, TurnedOffItHitsNothingAndDragsNothing) {
  widget_host host(SPOT);
  controller_of(host).enabled = false;
  EXPECT_FALSE(host.click(320, 180));
  host.drag_to(330, 180);
  EXPECT_FALSE(host.changed_anything());
  host.send(PF_Event_ADJUST_CURSOR, 320, 180);
  EXPECT_EQ(host.event.cursor, 0);
}

TEST(WidgetController, TurnedOffInTheMiddleOfADragItEndsTheDrag) {
  widget_host host(SPOT);
  host.click(320, 180);
  controller_of(host).enabled = false;
  host.release(330, 180);
  EXPECT_FALSE(controller_of(host).dragging);
  EXPECT_FALSE(host.changed_anything());
}

TEST(WidgetController, HiddenItDrawsNothing) {
  widget_host host(SPOT);
  controller_of(host).visible = false;
  host.draw();
  EXPECT_TRUE(host.shapes.empty());
}

// The margin is the length of the pick scales (1, 1), in pixels of the window, beside the line's own grip of 3. The
// cross has an arm of 9 pixels of the window to the right.
TEST(WidgetController, PickMarginIsTheSameAtEveryZoom) {
  const double reach = 3 + std::sqrt(2.0);
  for (const double zoom : {0.25, 1.0, 4.0, 32.0}) {
    widget_host host(SPOT, {.zoom = zoom});
    const double x = 320 * zoom + 9, y = 180 * zoom;
    EXPECT_TRUE(host.click(x, y + reach - 0.1)) << zoom;
    EXPECT_FALSE(host.click(x, y + reach + 0.1)) << zoom;
    EXPECT_TRUE(host.click(x + reach - 0.1, y)) << zoom;
    EXPECT_FALSE(host.click(x + reach + 0.1, y)) << zoom;
  }
}

TEST(WidgetController, ABrokenStateIsReportedAndTheOthersAreDrawn) {
  widget_host host(
      "(define E () Spot = [360 243] (screen widget simple_cross.center)"
      " Other = [100 100] (screen widget single_circle.center name Other) dest = (v3 (element_of (+ Spot Other) 0) 0 "
      "0))");
  host.draw();
  const std::size_t all = host.shapes.size();
  controller_of(host).widgets[0]->hot_handle = 7;
  host.draw();
  EXPECT_TRUE(host.has_message("simple_cross controller messed up"));
  EXPECT_GT(host.shapes.size(), 0u);
  EXPECT_LT(host.shapes.size(), all);
}

TEST(WidgetController, ANewWindowAsksForAFreshLookOnce) {
  widget_host host(SPOT);
  host.send(PF_Event_NEW_CONTEXT);
  EXPECT_TRUE(controller_of(host).fresh_look);
  host.draw();
  EXPECT_FALSE(controller_of(host).fresh_look);
}

TEST(WidgetController, TheTransformStackIsLeftAsItWas) {
  gfx_set_matrix({});
  const int depth = gfx_xform_stack_depth();
  widget_host host(SPOT, {.zoom = 3});
  host.draw();
  host.drag(960, 540, 990, 540);
  EXPECT_EQ(gfx_xform_stack_depth(), depth);
  EXPECT_EQ(gfx_top_matrix().m[0][0], 1);
}

}  // namespace
}  // namespace tessaron::testing
