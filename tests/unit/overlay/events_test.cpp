// Windows and the mouse: what the event command is given, and what becomes of the answer.
#include <gtest/gtest.h>

#include <cmath>

#include "scripted_engine.h"

namespace tessaron::testing {
namespace {

using hostkit::event_result;
using hostkit::host_error;
using hostkit::place;
using hostkit::window_view;

window_view hd_window() {
  window_view view;
  view.width = 1920;
  view.height = 1080;
  return view;
}

class Events : public ::testing::Test {
 protected:
  hostkit::instance& host() { return *engine.instance; }
  /// A place of the layer in 16.16, as the engine has the window convert it.
  static place converted(const pf_event_extra& extra, double x, double y) {
    pf_fixed fx = pf_fixed(x * 65536), fy = pf_fixed(y * 65536);
    EXPECT_EQ(extra.source_to_frame(extra.context_ref, &fx, &fy), 0);
    if (extra.layer_to_comp) {
      EXPECT_EQ(extra.layer_to_comp(extra.context_ref, &fx, &fy), 0);
    }
    return {fx / 65536.0, fy / 65536.0};
  }

  scripted_engine engine;
};

TEST_F(Events, each_call_sends_its_event) {
  const window_view view = hd_window();
  host().new_window(view);
  EXPECT_EQ(engine.last().extra.event, PF_Event_NEW_CONTEXT);
  host().click(view, {3, 4});
  EXPECT_EQ(engine.last().extra.event, PF_Event_DO_CLICK);
  EXPECT_EQ(engine.last().extra.continue_mark, 0);
  EXPECT_EQ(engine.last().extra.mouse_x, 3);
  EXPECT_EQ(engine.last().extra.mouse_y, 4);
  host().click(view, {3, 4}, true);
  EXPECT_EQ(engine.last().extra.continue_mark, 1);
  host().drag(view, {-7.5, 2000});
  EXPECT_EQ(engine.last().extra.event, PF_Event_DRAG);
  EXPECT_EQ(engine.last().extra.last_time, 0);
  EXPECT_EQ(engine.last().extra.mouse_x, -7.5f);
  EXPECT_EQ(engine.last().extra.mouse_y, 2000);
  host().release(view, {1, 2});
  EXPECT_EQ(engine.last().extra.event, PF_Event_DRAG);
  EXPECT_EQ(engine.last().extra.last_time, 1);
  host().hover(view, {5, 6});
  EXPECT_EQ(engine.last().extra.event, PF_Event_ADJUST_CURSOR);
  EXPECT_EQ(engine.last().extra.mouse_x, 5);
  pf_event_extra idle = {};
  idle.event = PF_Event_IDLE;
  host().send_event(view, idle);
  EXPECT_EQ(engine.last().extra.event, PF_Event_IDLE);
  for (const received_event& event : engine.events) EXPECT_EQ(event.extra.window_type, PF_Window_LAYER);
}

TEST_F(Events, another_kind_of_window_is_named) {
  window_view view = hd_window();
  view.window_type = PF_Window_COMPOSITION;
  host().click(view, {});
  EXPECT_EQ(engine.last().extra.window_type, PF_Window_COMPOSITION);
}

TEST_F(Events, drawing_hands_on_the_callbacks_and_the_pass) {
  const pf_draw_callbacks drawing = {};
  host().draw_handles(hd_window(), &drawing);
  EXPECT_EQ(engine.last().extra.event, PF_Event_DRAW);
  EXPECT_EQ(engine.last().extra.drawing, &drawing);
  EXPECT_EQ(engine.last().extra.later_pass, 0);
  host().draw_handles(hd_window(), nullptr, true);
  EXPECT_EQ(engine.last().extra.drawing, nullptr);
  EXPECT_EQ(engine.last().extra.later_pass, 1);
}

TEST_F(Events, the_frame_is_described_as_in_a_render) {
  window_view view = hd_window();
  view.downsample_x = 2;
  view.downsample_y = 4;
  view.pixel_aspect = 1.46;
  view.frame = 7;
  view.fps = 25;
  view.total_frames = 48;
  host().click(view, {});
  const pf_in_data& in = engine.last().in_data;
  EXPECT_EQ(in.width, 1920);
  EXPECT_EQ(in.height, 1080);
  EXPECT_EQ(in.downsample_x.num * 2, in.downsample_x.den);
  EXPECT_EQ(in.downsample_y.num * 4, in.downsample_y.den);
  EXPECT_NEAR(double(in.pixel_aspect_ratio.num) / in.pixel_aspect_ratio.den, 1.46, 1e-6);
  EXPECT_EQ(in.current_time, 7 * in.time_step);
  EXPECT_EQ(in.total_time, 48 * in.time_step);
  EXPECT_EQ(in.time_scale, 25u * unsigned(in.time_step));
  EXPECT_EQ(in.output_origin_x, 0);
  EXPECT_EQ(in.num_params, 4);
}

TEST_F(Events, points_are_in_pixels_of_the_whole_layer_at_any_downsampling) {
  window_view view = hd_window();
  for (int factor : {1, 2, 3}) {
    view.downsample_x = view.downsample_y = factor;
    host().click(view, {});
    const pf_param_def& center = engine.last().params[SCRIPTED_CENTER];
    EXPECT_EQ(center.u.point.x, 480 * 65536) << factor;
    EXPECT_EQ(center.u.point.y, 540 * 65536) << factor;
  }
}

TEST_F(Events, values_are_the_present_ones) {
  host().values()[SCRIPTED_RADIUS].u.slider.value = 12345;
  host().click(hd_window(), {});
  EXPECT_EQ(engine.last().params[SCRIPTED_RADIUS].u.slider.value, 12345);
}

TEST_F(Events, what_the_engine_changes_is_adopted_and_listed) {
  engine.on_event = [](pf_in_data&, pf_param_def** params, pf_event_extra&) {
    params[SCRIPTED_CENTER]->u.point.x = 960 * 65536;
    params[SCRIPTED_CENTER]->u.point.y = 108 * 65536;
    params[SCRIPTED_CENTER]->change_flags |= PF_ChangeFlag_CHANGED_VALUE;
    params[SCRIPTED_SHOWN]->u.checkbox.value = 0;
    params[SCRIPTED_SHOWN]->change_flags |= PF_ChangeFlag_CHANGED_VALUE;
    params[SCRIPTED_RADIUS]->u.slider.value = 1;  // not marked: not a change
    return 0;
  };
  const event_result result = host().drag(hd_window(), {});
  EXPECT_EQ(result.changed, (std::vector<int>{SCRIPTED_CENTER, SCRIPTED_SHOWN}));
  EXPECT_EQ(host().values()[SCRIPTED_CENTER].u.point.x, 50 * 65536);
  EXPECT_EQ(host().values()[SCRIPTED_CENTER].u.point.y, 10 * 65536);
  EXPECT_EQ(host().values()[SCRIPTED_SHOWN].u.checkbox.value, 0);
  EXPECT_EQ(host().values()[SCRIPTED_RADIUS].u.slider.value, 10 * 65536);
}

TEST_F(Events, a_change_is_news_once) {
  engine.on_event = [](pf_in_data&, pf_param_def** params, pf_event_extra&) {
    params[SCRIPTED_RADIUS]->u.slider.value = 5;
    params[SCRIPTED_RADIUS]->change_flags |= PF_ChangeFlag_CHANGED_VALUE;
    return 0;
  };
  host().drag(hd_window(), {});
  engine.on_event = nullptr;
  const event_result later = host().drag(hd_window(), {});
  EXPECT_TRUE(later.changed.empty());
  EXPECT_EQ(engine.last().params[SCRIPTED_RADIUS].change_flags, 0u);
  EXPECT_EQ(host().values()[SCRIPTED_RADIUS].u.slider.value, 5);
}

TEST_F(Events, the_answer_comes_back) {
  engine.on_event = [](pf_in_data&, pf_param_def**, pf_event_extra& extra) {
    extra.handled = extra.send_drag = extra.redraw = 1;
    extra.cursor = PF_Cursor_HANDLE;
    return 512;
  };
  const event_result result = host().hover(hd_window(), {});
  EXPECT_EQ(result.error, 512);
  EXPECT_TRUE(result.handled);
  EXPECT_TRUE(result.send_drag);
  EXPECT_TRUE(result.redraw);
  EXPECT_EQ(result.cursor, PF_Cursor_HANDLE);
  engine.on_event = nullptr;
  const event_result nothing = host().hover(hd_window(), {});
  EXPECT_FALSE(nothing.handled || nothing.send_drag || nothing.redraw || nothing.cursor || nothing.error);
}

// --- conversions ---------------------------------------------------------------------------------

TEST_F(Events, a_window_shows_the_layer_by_zoom_and_pan_whatever_the_downsampling) {
  window_view view = hd_window();
  view.zoom = 0.25;
  view.pan_x = 10;
  view.pan_y = -3.5;
  for (int factor : {1, 2}) {
    view.downsample_x = view.downsample_y = factor;
    int seen = 0;
    engine.on_event = [&](pf_in_data&, pf_param_def**, pf_event_extra& extra) {
      const place to = converted(extra, 100, 40);
      EXPECT_EQ(to.x, 35);
      EXPECT_EQ(to.y, 6.5);
      EXPECT_EQ(extra.layer_to_comp, nullptr);
      return ++seen, 0;
    };
    host().click(view, {});
    EXPECT_EQ(seen, 1);
  }
  EXPECT_EQ(view.to_window({100, 40}).x, 35);
  EXPECT_EQ(view.to_layer({35, 6.5}).x, 100);
  EXPECT_EQ(view.to_layer({35, 6.5}).y, 40);
}

TEST_F(Events, a_stretched_window_shows_pixels_in_their_shape) {
  window_view view = hd_window();
  view.pixel_aspect = 1.5;
  view.zoom = 2;
  engine.on_event = [&](pf_in_data&, pf_param_def**, pf_event_extra& extra) {
    const place to = converted(extra, 10, 10);
    EXPECT_EQ(to.x, view.stretched ? 30 : 20);
    EXPECT_EQ(to.y, 20);
    return 0;
  };
  for (bool stretched : {false, true}) {
    view.stretched = stretched;
    host().click(view, {});
    EXPECT_EQ(view.to_window({10, 10}).x, stretched ? 30 : 20);
    EXPECT_EQ(view.to_layer(view.to_window({10, 7})).x, 10);
  }
  EXPECT_EQ(engine.events.size(), 2u);
}

TEST_F(Events, places_outside_of_16_bits_stop_at_the_end) {
  window_view view = hd_window();
  view.zoom = 1e6;
  engine.on_event = [&](pf_in_data&, pf_param_def**, pf_event_extra& extra) {
    pf_fixed x = 65536, y = -65536;
    EXPECT_EQ(extra.source_to_frame(extra.context_ref, &x, &y), 0);
    EXPECT_EQ(x, 2147483647);
    EXPECT_EQ(y, -2147483647 - 1);
    return 0;
  };
  host().click(view, {});
}

TEST_F(Events, a_host_may_offer_no_conversion) {
  window_view view = hd_window();
  view.converts = false;
  view.layer_to_comp = [](pf_fixed&, pf_fixed&) { return 0; };
  host().click(view, {});
  EXPECT_EQ(engine.last().extra.source_to_frame, nullptr);
  EXPECT_EQ(engine.last().extra.layer_to_comp, nullptr);
}

TEST_F(Events, conversions_can_be_replaced_and_can_fail) {
  window_view view = hd_window();
  view.source_to_frame = [](pf_fixed& x, pf_fixed& y) {
    std::swap(x, y);
    return 0;
  };
  view.layer_to_comp = [](pf_fixed& x, pf_fixed&) {
    x += 65536;
    return 0;
  };
  engine.on_event = [&](pf_in_data&, pf_param_def**, pf_event_extra& extra) {
    const place to = converted(extra, 3, 8);
    EXPECT_EQ(to.x, 9);
    EXPECT_EQ(to.y, 3);
    return 0;
  };
  host().click(view, {});
  view.source_to_frame = [](pf_fixed&, pf_fixed&) { return 516; };
  int answer = 0;
  engine.on_event = [&](pf_in_data&, pf_param_def**, pf_event_extra& extra) {
    pf_fixed x = 0, y = 0;
    answer = extra.source_to_frame(extra.context_ref, &x, &y);
    return 0;
  };
  host().click(view, {});
  EXPECT_EQ(answer, 516);
}

TEST_F(Events, what_a_conversion_throws_passes_the_engine_by) {
  window_view view = hd_window();
  view.source_to_frame = [](pf_fixed&, pf_fixed&) -> int { throw std::range_error("no place"); };
  bool engine_went_on = false;
  engine.on_event = [&](pf_in_data&, pf_param_def**, pf_event_extra& extra) {
    pf_fixed x = 0, y = 0;
    engine_went_on = extra.source_to_frame(extra.context_ref, &x, &y) != 0;
    return 0;
  };
  EXPECT_THROW(host().click(view, {}), std::range_error);
  EXPECT_TRUE(engine_went_on);
  EXPECT_NO_THROW(host().click(hd_window(), {}));
}

// --- suites --------------------------------------------------------------------------------------

const void* suite_of(pf_in_data& in_data, const char* name) {
  const void* suite = nullptr;
  return in_data.pica_basic->acquire_suite(name, 1, &suite) == 0 ? suite : nullptr;
}

TEST_F(Events, lines_beside_the_mouse_are_kept) {
  engine.on_event = [](pf_in_data& in_data, pf_param_def**, pf_event_extra&) {
    const auto* suite = static_cast<const pf_adv_app_suite*>(suite_of(in_data, "PF AE Adv App Suite"));
    EXPECT_NE(suite, nullptr);
    EXPECT_EQ(suite->info_draw_text("first", nullptr), 0);
    EXPECT_EQ(suite->info_draw_text("one", "two"), 0);
    return 0;
  };
  EXPECT_EQ(host().hover(hd_window(), {}).info, (std::vector<std::string>{"one", "two"}));
}

TEST_F(Events, handles_are_kept_with_texts_of_their_own) {
  engine.on_event = [](pf_in_data& in_data, pf_param_def**, pf_event_extra&) {
    const auto* suite = static_cast<const tessaron_widget_suite*>(suite_of(in_data, "Tessaron Widget Suite"));
    EXPECT_NE(suite, nullptr);
    std::string part = "center";
    tessaron_widget_handle handle = {2, "cross", "center", "Flare", 3, 1, 1, 1, 0, part.c_str(), 10.5f, -4, 1, 1};
    suite->handle(suite->user, &handle);
    part = "xxxxxx";
    handle = {};
    handle.handle = -1;
    suite->handle(suite->user, &handle);
    return 0;
  };
  const event_result result = host().draw_handles(hd_window(), nullptr);
  ASSERT_EQ(result.handles.size(), 2u);
  const hostkit::widget_handle& h = result.handles[0];
  EXPECT_EQ(h.widget, 2);
  EXPECT_EQ(h.type_name, "cross");
  EXPECT_EQ(h.base_type, "center");
  EXPECT_EQ(h.name, "Flare");
  EXPECT_EQ(h.enable_index, 3);
  EXPECT_TRUE(h.enabled && h.visible && h.hot);
  EXPECT_EQ(h.n_handles, 1);
  EXPECT_EQ(h.handle, 0);
  EXPECT_EQ(h.part, "center");
  EXPECT_EQ(h.at.x, 10.5);
  EXPECT_EQ(h.at.y, -4);
  EXPECT_EQ(result.handles[1].handle, -1);
  EXPECT_EQ(result.handles[1].part, "");
}

TEST_F(Events, messages_of_an_event_are_its_own) {
  engine.on_event = [](pf_in_data& in_data, pf_param_def**, pf_event_extra&) {
    static_cast<const pf_vds_app_suite*>(suite_of(in_data, "VDS App Suite"))->message(8, "", "oh");
    return 0;
  };
  EXPECT_EQ(host().click(hd_window(), {}).messages, (std::vector<std::string>{"oh"}));
  engine.on_event = nullptr;
  EXPECT_TRUE(host().click(hd_window(), {}).messages.empty());
}

// --- bad requests --------------------------------------------------------------------------------

TEST_F(Events, a_view_that_makes_no_sense_is_refused) {
  const auto refused = [&](auto change) {
    window_view view = hd_window();
    change(view);
    EXPECT_THROW(host().click(view, {}), host_error);
  };
  const double nan = std::nan(""), inf = INFINITY;
  refused([](window_view& v) { v.width = 0; });
  refused([](window_view& v) { v.height = -1; });
  refused([](window_view& v) { v.zoom = 0; });
  refused([&](window_view& v) { v.zoom = nan; });
  refused([&](window_view& v) { v.zoom = inf; });
  refused([&](window_view& v) { v.pan_x = nan; });
  refused([&](window_view& v) { v.pan_y = -inf; });
  refused([](window_view& v) { v.downsample_x = 0; });
  refused([](window_view& v) { v.fps = 0; });
  refused([](window_view& v) {
    v.stretched = true;
    v.pixel_aspect = 0;
  });
  EXPECT_TRUE(engine.events.empty());
}

}  // namespace
}  // namespace tessaron::testing
