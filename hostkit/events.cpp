// Windows and the mouse: the event command.
#include <algorithm>
#include <cmath>
#include <utility>

#include "hostkit/instance_state.h"

namespace tessaron::hostkit {
namespace {

constexpr double FIXED_ONE = 65536.0;

double stretch_of(const window_view& view) { return view.stretched ? view.pixel_aspect : 1; }

pf_fixed fixed_of(double v) {
  return pf_fixed(std::clamp(std::floor(v * FIXED_ONE + 0.5), -2147483648.0, 2147483647.0));
}

int by_zoom_and_pan(const window_view& view, pf_fixed& x, pf_fixed& y) {
  const place to = view.to_window({x / FIXED_ONE, y / FIXED_ONE});
  x = fixed_of(to.x);
  y = fixed_of(to.y);
  return 0;
}

/// A conversion of the view as the engine calls it. What it throws waits until the engine has returned.
std::int32_t convert(void* context, pf_fixed* x, pf_fixed* y, window_view::conversion window_view::*how) {
  event_under_way& event = *static_cast<event_under_way*>(context);
  try {
    const window_view::conversion& convert = event.view.*how;
    return convert ? convert(*x, *y) : by_zoom_and_pan(event.view, *x, *y);
  } catch (...) {
    event.fault = std::current_exception();
    return PF_Err_INTERNAL;
  }
}

std::int32_t source_to_frame(void* context, pf_fixed* x, pf_fixed* y) {
  return convert(context, x, y, &window_view::source_to_frame);
}
std::int32_t layer_to_comp(void* context, pf_fixed* x, pf_fixed* y) {
  return convert(context, x, y, &window_view::layer_to_comp);
}

void check_view(const window_view& view) {
  const auto refuse = [](const std::string& why) { throw host_error("Window: " + why + "."); };
  if (view.width <= 0 || view.height <= 0) refuse("the layer has no size");
  if (!(view.zoom > 0) || !std::isfinite(view.zoom)) refuse("the zoom is above 0");
  if (!std::isfinite(view.pan_x) || !std::isfinite(view.pan_y)) refuse("the pan is a number");
  if (view.stretched && !(view.pixel_aspect > 0 && std::isfinite(view.pixel_aspect)))
    refuse("a stretched window has a pixel aspect above 0");
}

/// The frame that a window shows, as a frame without pictures.
frame_request frame_of(const window_view& view, bool bgra) {
  frame_request request;
  request.frame = view.frame;
  request.fps = view.fps;
  request.total_frames = view.total_frames;
  request.downsample_x = view.downsample_x;
  request.downsample_y = view.downsample_y;
  request.pixel_aspect = view.pixel_aspect;
  request.width = view.width;
  request.height = view.height;
  request.format = bgra ? pixel_format::bgra8 : pixel_format::rgba8;
  return request;
}

pf_event_extra mouse_event(int number, place mouse) {
  pf_event_extra event = {};
  event.event = number;
  event.mouse_x = float(mouse.x);
  event.mouse_y = float(mouse.y);
  return event;
}

}  // namespace

place window_view::to_window(place of_layer) const {
  return {of_layer.x * zoom * stretch_of(*this) + pan_x, of_layer.y * zoom + pan_y};
}

place window_view::to_layer(place of_window) const {
  return {(of_window.x - pan_x) / (zoom * stretch_of(*this)), (of_window.y - pan_y) / zoom};
}

event_result instance::send_event(const window_view& view, pf_event_extra event) {
  state& host = *state_;
  check_view(view);
  event_result result;
  host.describe_frame(frame_of(view, host.bgra));
  host.layer_width = view.width;
  host.layer_height = view.height;
  host.place_params();

  event_under_way under_way{view, result, nullptr};
  struct event_scope {
    state& host;
    ~event_scope() { host.event = nullptr; }
  } scope{host};
  host.event = &under_way;

  event.window_type = view.window_type;
  event.context_ref = &under_way;
  event.source_to_frame = view.converts ? source_to_frame : nullptr;
  event.layer_to_comp = view.converts && view.layer_to_comp ? layer_to_comp : nullptr;
  result.error = host.call(PF_Cmd_EVENT, nullptr, &event);
  if (under_way.fault) std::rethrow_exception(under_way.fault);
  result.handled = event.handled != 0;
  result.send_drag = event.send_drag != 0;
  result.redraw = event.redraw != 0;
  result.cursor = event.cursor;
  result.changed = host.adopt_changes();
  return result;
}

event_result instance::new_window(const window_view& view) {
  return send_event(view, mouse_event(PF_Event_NEW_CONTEXT, {}));
}

event_result instance::draw_handles(const window_view& view, const pf_draw_callbacks* drawing, bool later_pass) {
  pf_event_extra event = mouse_event(PF_Event_DRAW, {});
  event.drawing = drawing;
  event.later_pass = later_pass;
  return send_event(view, event);
}

event_result instance::click(const window_view& view, place mouse, bool continuing) {
  pf_event_extra event = mouse_event(PF_Event_DO_CLICK, mouse);
  event.continue_mark = continuing;
  return send_event(view, event);
}

event_result instance::drag(const window_view& view, place mouse) {
  return send_event(view, mouse_event(PF_Event_DRAG, mouse));
}

event_result instance::release(const window_view& view, place mouse) {
  pf_event_extra event = mouse_event(PF_Event_DRAG, mouse);
  event.last_time = 1;
  return send_event(view, event);
}

event_result instance::hover(const window_view& view, place mouse) {
  return send_event(view, mouse_event(PF_Event_ADJUST_CURSOR, mouse));
}

}  // namespace tessaron::hostkit
