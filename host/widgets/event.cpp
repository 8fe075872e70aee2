// PF_Cmd_EVENT: the host's windows and the user's mouse.
#include "base/report.h"
#include "base/text.h"
#include "host/commands.h"
#include "host/configuration.h"
#include "host/display_globals.h"
#include "host/effect_table.h"
#include "host/host_handles.h"
#include "host/host_state.h"
#include "host/host_suites.h"
#include "host/parameters.h"
#include "host/render_records.h"
#include "host/widgets/controller.h"

namespace tessaron {

namespace {

struct axes {
  gfx_point origin, x, y;  // where (0, 0), (1, 0) and (0, 1) lie
};

/// A place of the layer as the host shows it; false where it can't say.
bool to_window(const pf_event_extra& event, layer_point place, gfx_point& window) {
  pf_fixed x = fixed16_round(place.x), y = fixed16_round(place.y);
  if (!event.source_to_frame || event.source_to_frame(event.context_ref, &x, &y) != 0) return false;
  if (event.layer_to_comp && event.layer_to_comp(event.context_ref, &x, &y) != 0) return false;
  window = {float(x / FIXED16_ONE), float(y / FIXED16_ONE)};
  return true;
}

/// From the layer at full resolution to the window.
gfx_matrix layer_matrix(const pf_event_extra& event) {
  axes a;
  if (to_window(event, {0, 0}, a.origin) && to_window(event, {1, 0}, a.x) && to_window(event, {0, 1}, a.y))
    return {
        {{a.x.x - a.origin.x, a.y.x - a.origin.x, a.origin.x}, {a.x.y - a.origin.y, a.y.y - a.origin.y, a.origin.y}}};
  gfx_matrix plain;
  plain.m[0][0] = float(render_info.downsample_x);
  plain.m[1][1] = float(render_info.downsample_y);
  return plain;
}

/// The popup may have moved since the last frame: handles are those of the effect that it names.
void follow_popup(pf_param_def** params) {
  effect_table* table = Globals->effect_table;
  const int row = table && params ? popup_index_for_params(params) : -1;
  if (row < 0 || row >= count_table_popup(*table)) return;
  const genotype* selected = Globals->effect_genotype;
  if (selected && get_effect_index_from_genotype(selected->name) == row) return;
  const int effect_i = get_first_effect_from_table(*table, row);
  if (effect_i >= 0) select_effect_i(effect_i, 0);
}

/// What the units of parameters and the matrix need of the display.
bool set_display(const pf_in_data& in_data) {
  const double dsx = downsample_fraction(in_data.downsample_x), dsy = downsample_fraction(in_data.downsample_y);
  if (in_data.width < 1 || in_data.height < 1 || !(dsx > 0) || !(dsy > 0)) {
    report(REPORT_ERROR, "An event came for a layer of %d by %d pixels at %g by %g.", in_data.width, in_data.height,
           dsx, dsy);
    return false;
  }
  set_layer_dims(in_data.width, in_data.height, dsx, dsy);
  set_pixel_aspect_ratio(render_pixel_aspect(in_data));
  if (!render_info.valid) set_frame_bounds(in_data);
  render_info.downsample_x = render_info.scale_x = dsx;
  render_info.downsample_y = dsy;
  return true;
}

void click(pf_event_extra& event) {
  if (!widgets_mouse_down(event.mouse_x, event.mouse_y)) return;
  event.send_drag = 1;
  event.handled = 1;
}

void drag(pf_event_extra& event) {
  event.handled = Globals->widgets->dragging;
  if (event.last_time) return widgets_mouse_up(event.mouse_x, event.mouse_y);
  widgets_drag(event.mouse_x, event.mouse_y);
  event.send_drag = Globals->widgets->dragging;
}

void adjust_cursor(const pf_in_data& in_data, pf_event_extra& event) {
  const widget* hit = widgets_cursor(event.mouse_x, event.mouse_y);
  if (!hit) return;
  event.cursor = PF_Cursor_HANDLE;
  event.handled = 1;
  const held_suite<pf_adv_app_suite> suite(in_data, ADV_APP_SUITE);
  const std::string text = format_text("Tessaron %s widget", hit->declaration().type_name);
  if (suite && suite->info_draw_text) suite->info_draw_text(text.c_str(), nullptr);
}

void draw(pf_event_extra& event) {
  if (event.later_pass) return;
  static constexpr pf_draw_callbacks NONE = {};  // a host that only wants to know what handles there are
  widgets_draw(event.drawing ? *event.drawing : NONE);
  event.handled = event.drawing != nullptr;
}

void with_matrix(const command_call& call, pf_event_extra& event, int number) {
  const gfx_pushed kept;
  gfx_set_matrix(layer_matrix(event));
  switch (number) {
    case PF_Event_DRAW:
      return draw(event);
    case PF_Event_DO_CLICK:
      return click(event);
    case PF_Event_DRAG:
      return drag(event);
    default:
      return adjust_cursor(call.in_data, event);
  }
}

}  // namespace

std::int32_t event(const command_call& call) {
  const call_record record(call.in_data, record_choice::instance);
  // Only an instance with handles on the screen answers events.
  if (!record || !record->widgets) return PF_Err_NONE;
  if (!call.extra || !call.params) {
    report(REPORT_ERROR, "tessaron_main: command %d came without %s.\n", int(PF_Cmd_EVENT),
           call.extra ? "params" : "extra");
    return PF_Err_BAD_REQUEST;
  }
  pf_event_extra& event = *static_cast<pf_event_extra*>(call.extra);
  event.handled = event.send_drag = event.redraw = event.cursor = 0;
  if (event.window_type != PF_Window_LAYER) return PF_Err_NONE;
  record->param_flags &= std::uint8_t(~PARAM_MAY_CHECKOUT);
  record->params = call.params;
  follow_popup(call.params);
  if (record->widgets->made_for != record->effect_genotype) make_widgets();
  widget_controller* controller = record->widgets;
  if (!controller || controller->widgets.empty()) return PF_Err_NONE;
  const int number = event.event == PF_Event_DO_CLICK && event.continue_mark ? int(PF_Event_DRAG) : event.event;
  switch (number) {
    case PF_Event_NEW_CONTEXT:
      controller->fresh_look = true;
      break;
    case PF_Event_DRAW:
    case PF_Event_DO_CLICK:
    case PF_Event_DRAG:
    case PF_Event_ADJUST_CURSOR:
      if (!set_display(call.in_data)) return PF_Err_BAD_REQUEST;
      with_matrix(call, event, number);
      break;
    default:
      break;
  }
  event.redraw = record->widgets->redraw;
  return PF_Err_NONE;
}

}  // namespace tessaron
