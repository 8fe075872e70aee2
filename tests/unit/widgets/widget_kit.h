// A host with a window on the layer: draws an effect's widgets, moves the mouse, looks at what the engine wrote.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_host.h"

namespace tessaron::testing {

/// How the window shows the layer.
struct widget_view {
  double zoom = 1;
  double pan_x = 0, pan_y = 0;  // of the layer's corner in the window
  double pixel_aspect = 1;      // a pixel's width over its height; the window stretches x by it
  int downsample = 1;
  bool can_convert = true;
};
inline std::ostream& operator<<(std::ostream& out, const widget_view& v) {
  return out << "zoom " << v.zoom << ", pixel aspect " << v.pixel_aspect << ", downsample " << v.downsample;
}

/// A handle as the engine described it while it drew.
struct shown_handle {
  int widget, handle, n_handles, enable_index;
  std::string type_name, base_type, name, part;
  bool enabled, visible, hot, can_be_held;
  double x, y;  // pixels of the window
};

/// A shape as the engine drew it.
struct drawn_shape {
  std::string kind;  // line, polyline, circle, arc, filled_rect, filled_circle, text
  pf_color color;
  float width;
  int n_dashes;
  std::vector<float> numbers;
  std::string text;
  float first_dash = 0;  // its length; 0: solid
};

class widget_host : public fake_host {
 public:
  explicit widget_host(const std::string& definition, const widget_view& window = {})
      : widget_host(fake_plugin({definition}), window) {}
  widget_host(fake_plugin effects, const widget_view& window = {}) : view(window), plugin(std::move(effects)) {
    layer.param_type = PF_Param_LAYER;
    in_data.width = 640;
    in_data.height = 360;
    tables["Tessaron Widget Suite"] = &suite_;
    tables["PF AE Adv App Suite"] = &ADV_APP;
    if (setup(plugin.get()) != 0) throw std::runtime_error(messages.empty() ? "no setup" : messages.front());
    // The first instance of a process reads the configuration, of which there is none.
    std::erase_if(messages, [](const std::string& m) { return m.find("config file") != std::string::npos; });
    for (pf_param_def& p : params) {
      if (p.param_type == PF_Param_POINT) {  // declared in percent
        p.u.point.x = pf_fixed(std::llround(p.u.point.default_x / 100.0 * in_data.width));
        p.u.point.y = pf_fixed(std::llround(p.u.point.default_y / 100.0 * in_data.height));
      }
      if (p.param_type == PF_Param_POPUP) p.u.popup.value = p.u.popup.default_value;
    }
  }
  ~widget_host() override { setdown(plugin.get()); }

  /// Sends an event; its answer is in `event`.
  int send(int number, double x = 0, double y = 0) {
    event.event = number;
    event.context_ref = this;
    event.source_to_frame = source_to_frame;
    event.drawing = offers_drawing ? &drawing_ : nullptr;
    drawing_ = {this, line, polyline, circle, arc, filled_rect, filled_circle, text};
    if (lines_only) drawing_ = {this, line};
    event.mouse_x = float(x);
    event.mouse_y = float(y);
    in_data.downsample_x = in_data.downsample_y = {1, view.downsample};
    in_data.pixel_aspect_ratio = {int(std::lround(view.pixel_aspect * 10000)), 10000};
    for (pf_param_def& p : params) p.change_flags = 0;
    shapes.clear();
    handles.clear();
    return call(plugin.get(), PF_Cmd_EVENT, &event);
  }
  const std::vector<shown_handle>& draw() {
    send(PF_Event_DRAW);
    return handles;
  }
  bool click(double x, double y) {
    send(PF_Event_DO_CLICK, x, y);
    return event.handled && event.send_drag;
  }
  void drag_to(double x, double y) { send(PF_Event_DRAG, x, y); }
  void release(double x, double y) {
    event.last_time = 1;
    send(PF_Event_DRAG, x, y);
    event.last_time = 0;
  }
  /// Takes hold at one place of the window and lets go at another.
  bool drag(double x0, double y0, double x1, double y1) {
    if (!click(x0, y0)) return false;
    drag_to(x1, y1);
    release(x1, y1);
    return true;
  }

  /// A handle of the drawing that has just been asked for, by what it moves: the nth of those.
  const shown_handle& handle(const std::string& part, int widget = 0, int nth = 0) {
    draw();
    for (const shown_handle& h : handles)
      if (h.widget == widget && h.part == part && nth-- == 0) return h;
    throw std::runtime_error("no handle " + part);
  }
  /// Whether the last event changed a control.
  bool changed(const std::string& name) const {
    const pf_param_def* p = param(name);
    return p && (p->change_flags & PF_ChangeFlag_CHANGED_VALUE);
  }
  bool changed_anything() const {
    for (const pf_param_def& p : params)
      if (p.change_flags & PF_ChangeFlag_CHANGED_VALUE) return true;
    return false;
  }
  pf_param_def& control(const std::string& name) {
    for (pf_param_def& p : params)
      if (name == p.name) return p;
    throw std::runtime_error("no control " + name);
  }
  double slider(const std::string& name) { return control(name).u.slider.value / 65536.0; }
  void set_slider(const std::string& name, double v) {
    control(name).u.slider.value = pf_fixed(std::lround(v * 65536));
  }
  double point_x(const std::string& name) { return control(name).u.point.x / 65536.0; }
  double point_y(const std::string& name) { return control(name).u.point.y / 65536.0; }

  /// A place of the layer in the window.
  double window_x(double x) const { return x * view.zoom * view.pixel_aspect + view.pan_x; }
  double window_y(double y) const { return y * view.zoom + view.pan_y; }

  widget_view view;
  fake_plugin plugin;
  pf_event_extra event = {.window_type = PF_Window_LAYER};
  std::vector<shown_handle> handles;
  std::vector<drawn_shape> shapes;
  std::string info_text;  // that the engine asked to show
  bool offers_drawing = true, lines_only = false;
  int drawing_error_after = -1;  // calls that succeed

 private:
  static widget_host& of(void* ref) { return *static_cast<widget_host*>(ref); }
  static std::int32_t source_to_frame(void* ref, pf_fixed* x, pf_fixed* y) {
    const widget_host& host = of(ref);
    if (!host.view.can_convert) return 1;
    *x = pf_fixed(std::lround(host.window_x(*x / 65536.0) * 65536));
    *y = pf_fixed(std::lround(host.window_y(*y / 65536.0) * 65536));
    return 0;
  }
  std::int32_t keep(drawn_shape shape) {
    if (drawing_error_after >= 0 && int(shapes.size()) >= drawing_error_after) return 5;
    shapes.push_back(std::move(shape));
    return 0;
  }
  static drawn_shape stroked(const char* kind, const pf_draw_style* s, std::vector<float> numbers) {
    return {kind, s->color, s->width, s->n_dashes, std::move(numbers), "", s->n_dashes > 0 ? s->dashes[0] : 0};
  }
  static std::int32_t line(void* ref, const pf_draw_style* s, float x0, float y0, float x1, float y1) {
    return of(ref).keep(stroked("line", s, {x0, y0, x1, y1}));
  }
  static std::int32_t polyline(void* ref, const pf_draw_style* s, const float* xy, std::int32_t n, std::int32_t) {
    return of(ref).keep(stroked("polyline", s, std::vector<float>(xy, xy + 2 * n)));
  }
  static std::int32_t circle(void* ref, const pf_draw_style* s, float x, float y, float r) {
    return of(ref).keep(stroked("circle", s, {x, y, r}));
  }
  static std::int32_t arc(void* ref, const pf_draw_style* s, float x, float y, float r, float start, float sweep) {
    return of(ref).keep(stroked("arc", s, {x, y, r, start, sweep}));
  }
  static std::int32_t filled_rect(void* ref, const pf_color* c, float left, float top, float width, float height) {
    return of(ref).keep({"filled_rect", *c, 0, 0, {left, top, width, height}, ""});
  }
  static std::int32_t filled_circle(void* ref, const pf_color* c, float x, float y, float r) {
    return of(ref).keep({"filled_circle", *c, 0, 0, {x, y, r}, ""});
  }
  static std::int32_t text(void* ref, const pf_color* c, float x, float y, float size, const char* utf8) {
    return of(ref).keep({"text", *c, 0, 0, {x, y, size}, utf8});
  }
  static void describe(void* user, const tessaron_widget_handle* h) {
    of(user).handles.push_back({h->widget, h->handle, h->n_handles, h->enable_index, h->type_name, h->base_type,
                                h->name, h->part, h->enabled != 0, h->visible != 0, h->hot != 0, h->can_be_held != 0,
                                double(h->x), double(h->y)});
  }
  static std::int32_t show_info(const char* first, const char*) {
    answering_widget_host().info_text = first;
    return 0;
  }
  static widget_host& answering_widget_host() { return dynamic_cast<widget_host&>(answering()); }

  static constexpr pf_adv_app_suite ADV_APP = {show_info};
  pf_draw_callbacks drawing_ = {};
  tessaron_widget_suite suite_ = {this, describe};
};

/// Every view that handles must be right in.
inline std::vector<widget_view> all_views() {
  std::vector<widget_view> views;
  for (const double zoom : {0.25, 1.0, 4.0})
    for (const double aspect : {1.0, 1.46})
      for (const int downsample : {1, 2}) views.push_back({zoom, 30, -20, aspect, downsample, true});
  return views;
}

/// Where a handle is to be dragged: a step on the layer, in pixels of a square screen at zoom 1, y downwards. A handle
/// that only moves along a line or a circle gets a step that stays on it.
struct handle_step {
  std::string part;
  double x, y;
  int widget = 0;
  int nth = 0;  // of the handles that move the part
};

/// Whether controls hold what they held, to within `precision` (1/65536: what a host holds).
inline void expect_same_controls(const std::vector<pf_param_def>& values, const std::vector<pf_param_def>& now,
                                 int precision) {
  for (std::size_t i = 1; i < values.size(); ++i) {
    const pf_param_def &was = values[i], &is = now[i];
    SCOPED_TRACE(was.name);
    switch (was.param_type) {
      case PF_Param_POINT:
        EXPECT_NEAR(is.u.point.x, was.u.point.x, precision);
        EXPECT_NEAR(is.u.point.y, was.u.point.y, precision);
        break;
      case PF_Param_FIX_SLIDER:
        EXPECT_NEAR(is.u.slider.value, was.u.slider.value, precision);
        break;
      case PF_Param_ANGLE:
        EXPECT_NEAR(is.u.angle.value, was.u.angle.value, precision);
        break;
      case PF_Param_CHECKBOX:
        EXPECT_EQ(is.u.checkbox.value, was.u.checkbox.value);
        break;
      default:
        break;
    }
  }
}

/// Drags a handle in every view to where `target` says: a place of the window, of the host and the handle before. The
/// handle must end under the mouse to half a pixel, and the way back must restore the controls.
template <class Target>
void check_handle_goes_to(const std::string& definition, const std::string& part, int widget, int nth, Target target,
                          int precision) {
  for (const widget_view& view : all_views()) {
    SCOPED_TRACE(::testing::Message() << view << ", " << part << " " << nth);
    widget_host host(definition, view);
    const shown_handle before = host.handle(part, widget, nth);
    const std::vector<pf_param_def> values = host.params;
    const auto [x, y] = target(host, before);
    ASSERT_TRUE(host.click(before.x, before.y));
    host.drag_to(x, y);
    EXPECT_TRUE(host.changed_anything());
    EXPECT_TRUE(host.event.redraw);
    const shown_handle after = host.handle(part, widget, nth);
    EXPECT_NEAR(after.x, x, 0.5);
    EXPECT_NEAR(after.y, y, 0.5);
    host.drag_to(before.x, before.y);
    host.release(before.x, before.y);
    expect_same_controls(values, host.params, precision);
  }
}

/// Drags handles by steps in every view, as above.
inline void check_handles_follow(const std::string& definition, const std::vector<handle_step>& steps,
                                 int precision = 2) {
  for (const handle_step& step : steps)
    check_handle_goes_to(
        definition, step.part, step.widget, step.nth,
        [&](const widget_host& host, const shown_handle& from) {
          return std::pair(from.x + step.x * host.view.zoom, from.y + step.y * host.view.zoom);
        },
        precision);
}

}  // namespace tessaron::testing
