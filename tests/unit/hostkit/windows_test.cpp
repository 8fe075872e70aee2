// The engine's handles in the windows of the host kit: the mouse on one side, values and pictures on the other.
#include <gtest/gtest.h>

#include <cmath>

#include "support/render_kit.h"

using namespace tessaron::testing;
using tessaron::hostkit::event_result;
using tessaron::hostkit::place;
using tessaron::hostkit::widget_handle;
using tessaron::hostkit::window_view;

namespace {

constexpr const char* SPOT =
    "(define Spot (Source) (rgba_ok)\n"
    "  Center = [360 243] (screen widget cross.center name Spot default_on)\n"
    "  Gain = 1\n"
    "  dest = (* Source (* Gain (element_of (* Center 0.01) 0))))";

window_view window_of(int width, int height) {
  window_view view;
  view.width = width;
  view.height = height;
  return view;
}

/// Callbacks that leave nothing, for the list of handles.
const pf_draw_callbacks NOWHERE = {};

class Windows : public ::testing::Test {
 protected:
  tessaron::hostkit::instance& host() { return effect.instance(); }
  std::vector<widget_handle> handles(const window_view& view) { return host().draw_handles(view, &NOWHERE).handles; }
  /// Presses on the first handle, moves by (dx, dy) and lets go; where the mouse was then.
  place drag_first(const window_view& view, double dx, double dy) {
    const place from = handles(view).at(0).at, to = {from.x + dx, from.y + dy};
    EXPECT_TRUE(host().click(view, from).send_drag);
    host().drag(view, {from.x + dx / 2, from.y + dy / 3});
    host().drag(view, to);
    host().release(view, to);
    return to;
  }

  rendered_effect effect{SPOT};
};

TEST_F(Windows, a_handle_lies_where_the_value_has_it) {
  host().values()[1].u.point.x = 25 * 65536;
  host().values()[1].u.point.y = 10 * 65536;
  window_view view = window_of(1000, 500);
  view.zoom = 2;
  view.pan_x = 7;
  const auto all = handles(view);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].part, "center");
  EXPECT_NEAR(all[0].at.x, 507, 0.01);
  EXPECT_NEAR(all[0].at.y, 100, 0.01);
}

TEST_F(Windows, a_drag_takes_the_handle_with_it_however_the_window_shows_the_layer) {
  for (double zoom : {0.25, 1.0, 4.0})
    for (double aspect : {1.0, 1.46})
      for (bool stretched : {false, true})
        for (int downsample : {1, 2}) {
          window_view view = window_of(720, 486);
          view.zoom = zoom;
          view.pixel_aspect = aspect;
          view.stretched = stretched;
          view.downsample_x = view.downsample_y = downsample;
          view.pan_x = 30;
          view.pan_y = -11;
          host().values()[1].u.point.x = host().values()[1].u.point.y = 50 * 65536;
          const place mouse = drag_first(view, 40, -25);
          const place at = handles(view).at(0).at;
          EXPECT_NEAR(at.x, mouse.x, 0.5) << zoom << " " << aspect << " " << downsample;
          EXPECT_NEAR(at.y, mouse.y, 0.5) << zoom << " " << aspect << " " << downsample;
          const place layer = view.to_layer(mouse);
          EXPECT_NEAR(host().values()[1].u.point.x / 65536.0, layer.x / 7.20, 0.1);
          EXPECT_NEAR(host().values()[1].u.point.y / 65536.0, layer.y / 4.86, 0.1);
        }
}

TEST_F(Windows, a_drag_tells_which_values_it_changed) {
  const window_view view = window_of(720, 486);
  const place from = handles(view).at(0).at;
  EXPECT_TRUE(host().click(view, from).changed.empty());
  const event_result moved = host().drag(view, {from.x + 9, from.y});
  EXPECT_EQ(moved.changed, (std::vector<int>{1}));
  EXPECT_TRUE(moved.redraw);
  EXPECT_TRUE(host().drag(view, {from.x + 9, from.y}).changed.empty()) << "the mouse has not moved";
}

TEST_F(Windows, a_drag_and_back_restores_the_value_to_its_precision) {
  const window_view view = window_of(1920, 1080);
  const pf_fixed x = host().values()[1].u.point.x, y = host().values()[1].u.point.y;
  drag_first(view, 301, -77);
  EXPECT_NE(host().values()[1].u.point.x, x);
  drag_first(view, -301, 77);
  EXPECT_NEAR(host().values()[1].u.point.x, x, 65536 / 50);  // a hundredth of a percent: a fifth of a pixel
  EXPECT_NEAR(host().values()[1].u.point.y, y, 65536 / 50);
}

TEST_F(Windows, the_next_frame_has_what_the_mouse_set) {
  const image grey = filled(72, 48, pixel_format::rgba8, {60, 60, 60, 255});
  const window_view view = window_of(72, 48);
  const frame_result before = effect.render({&grey});
  drag_first(view, 30, 0);
  const frame_result after = effect.render({&grey});
  EXPECT_NE(before.output.data, after.output.data);
}

TEST_F(Windows, frames_between_the_events_of_a_drag_do_not_end_it) {
  const image grey = filled(72, 48, pixel_format::rgba8, {60, 60, 60, 255});
  const window_view view = window_of(72, 48);
  const place from = handles(view).at(0).at;
  ASSERT_TRUE(host().click(view, from).send_drag);
  effect.render({&grey});
  EXPECT_EQ(host().drag(view, {from.x + 5, from.y}).changed.size(), 1u);
  effect.render({&grey});
  EXPECT_EQ(host().drag(view, {from.x + 8, from.y}).changed.size(), 1u);
}

TEST_F(Windows, the_mouse_over_a_handle_asks_for_a_cursor_and_says_what_it_is) {
  const window_view view = window_of(720, 486);
  const place at = handles(view).at(0).at;
  const event_result over = host().hover(view, at);
  EXPECT_EQ(over.cursor, PF_Cursor_HANDLE);
  EXPECT_EQ(over.info, (std::vector<std::string>{"Tessaron cross widget"}));
  const event_result beside = host().hover(view, {at.x + 200, at.y});
  EXPECT_EQ(beside.cursor, 0);
  EXPECT_TRUE(beside.info.empty());
}

TEST_F(Windows, other_windows_and_idle_times_are_left_alone) {
  window_view view = window_of(720, 486);
  const place at = handles(view).at(0).at;
  view.window_type = PF_Window_COMPOSITION;
  EXPECT_FALSE(host().click(view, at).handled);
  EXPECT_TRUE(handles(view).empty());
  pf_event_extra idle = {};
  idle.event = PF_Event_IDLE;
  EXPECT_FALSE(host().send_event(window_of(720, 486), idle).handled);
}

TEST_F(Windows, a_host_that_can_not_convert_shows_the_layer_reduced) {
  window_view view = window_of(720, 486);
  view.downsample_x = view.downsample_y = 2;
  for (int way = 0; way < 2; ++way) {
    view.converts = way == 1;
    host().values()[1].u.point.x = 50 * 65536;
    view.source_to_frame = [](pf_fixed&, pf_fixed&) { return 516; };
    const place at = handles(view).at(0).at;
    EXPECT_NEAR(at.x, 180, 0.5);
    EXPECT_NEAR(at.y, 121.5, 0.5);
    EXPECT_TRUE(host().click(view, at).handled);
    EXPECT_EQ(host().drag(view, {at.x + 10, at.y}).error, 0);
    host().release(view, {at.x + 10, at.y});
    EXPECT_NEAR(handles(view).at(0).at.x, 190, 0.5);
  }
}

TEST_F(Windows, handles_that_are_switched_off_are_not_there) {
  const window_view view = window_of(720, 486);
  const widget_handle shown = handles(view).at(0);
  ASSERT_GT(shown.enable_index, 0);
  EXPECT_EQ(std::string(host().declared()[std::size_t(shown.enable_index)].name), "Show " + shown.name);
  host().values()[std::size_t(shown.enable_index)].u.checkbox.value = 0;
  const auto all = handles(view);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].handle, -1);
  EXPECT_FALSE(all[0].enabled);
  EXPECT_FALSE(host().click(view, shown.at).handled);
}

TEST_F(Windows, handles_come_back_with_a_saved_project) {
  const window_view view = window_of(720, 486);
  const auto saved = host().save();
  host().reload(saved);
  drag_first(view, 20, 20);
  EXPECT_NEAR(handles(view).at(0).at.x, 380, 0.5);
}

TEST_F(Windows, two_instances_have_handles_of_their_own) {
  rendered_effect other(SPOT);
  const window_view view = window_of(720, 486);
  const place at = handles(view).at(0).at;
  ASSERT_TRUE(host().click(view, at).send_drag);
  EXPECT_TRUE(other.instance().drag(view, {at.x + 50, at.y}).changed.empty()) << "nobody has pressed there";
  EXPECT_EQ(host().drag(view, {at.x + 50, at.y}).changed.size(), 1u);
}

TEST_F(Windows, an_effect_without_handles_answers_nothing) {
  rendered_effect plain("(define Plain (Source) () Gain = 1 dest = (* Source Gain))");
  const window_view view = window_of(720, 486);
  EXPECT_TRUE(plain.instance().draw_handles(view, &NOWHERE).handles.empty());
  const event_result result = plain.instance().click(view, {360, 243});
  EXPECT_FALSE(result.handled || result.send_drag || result.error);
}

}  // namespace
