// The suites that the host kit offers, and the callbacks of a call.
#include <cstring>

#include "hostkit/instance_state.h"

namespace tessaron::hostkit {
namespace {

using state = instance::state;

thread_local state* caller = nullptr;

state& of(void* effect_ref) { return *static_cast<state*>(effect_ref); }

// --- messages ------------------------------------------------------------------------------------

std::int32_t take_message(std::int32_t severity, const char*, const char* text) {
  if (!caller || !text) return 1;  // not on a thread of this host
  caller->messages.emplace_back(text);
  if (caller->result) caller->result->messages.emplace_back(text);
  if (caller->event) caller->event->result.messages.emplace_back(text);
  if (caller->help) caller->help->messages.push_back({severity, text});
  if (caller->identity.on_message) caller->identity.on_message(severity, text);
  return 0;
}

std::int32_t take_about_lines(const char*, const char*) { return 0; }

constexpr pf_vds_app_suite MESSAGE_SUITE = {take_message, take_about_lines};

// --- pixel formats -------------------------------------------------------------------------------

std::int32_t offered_format(void* effect_ref, std::int32_t index, pf_image_format* format) {
  const host_identity& identity = of(effect_ref).identity;
  const pf_image_format formats[] = {{PF_PixelOrder_BGRA, 65535, identity.premultiplied},
                                     {PF_PixelOrder_ARGB, 32768, 0}};
  const int first = identity.offers_bgra ? 0 : 1;
  if (index < 0 || index + first > 1) return PF_Err_BAD_REQUEST;
  *format = formats[index + first];
  return 0;
}

std::int32_t accept_format(void* effect_ref, const pf_image_format* format) {
  of(effect_ref).bgra = format->order == PF_PixelOrder_BGRA;
  return 0;
}

constexpr pf_image_format_suite FORMAT_SUITE = {offered_format, accept_format};

// --- the observer --------------------------------------------------------------------------------

constexpr int MAX_ELEMENTS = 4;

void keep_root_row(void* user, std::int32_t y, std::int32_t x0, std::int32_t n_columns, std::int32_t n_elements,
                   const std::int32_t* const* rows) {
  state& host = of(user);
  root_values& root = host.result->root;
  host.root_elements = n_elements;
  const int row = y + host.in_data.output_origin_y, column = x0 + host.in_data.output_origin_x;
  if (row < 0 || row >= root.height || n_elements > MAX_ELEMENTS) return;
  for (int i = 0; i < n_columns; ++i) {
    if (column + i < 0 || column + i >= root.width) continue;
    std::int32_t* pixel = root.samples.data() + (std::size_t(row) * root.width + column + i) * MAX_ELEMENTS;
    for (int e = 0; e < n_elements; ++e) pixel[e] = rows[e][i];
  }
}

void keep_stats(void* user, const tessaron_frame_stats* stats) {
  stats_record& kept = of(user).result->stats;
  kept.setup_seconds = stats->setup_seconds;
  kept.output_seconds = stats->output_seconds;
  for (int i = 0; i < stats->n_image_nodes; ++i)
    kept.image_nodes.emplace_back(stats->image_node_names[i], stats->image_node_seconds[i]);
  kept.planes_in_use = stats->planes_in_use;
  kept.planes_planned = stats->planes_planned;
  kept.plane_bytes = stats->plane_bytes;
}

// --- the help window -----------------------------------------------------------------------------

std::int32_t show_help(void* user, tessaron_help_window* window) { return (*of(user).show_help)(*window); }

// --- events --------------------------------------------------------------------------------------

std::string text_of(const char* text) { return text ? text : ""; }

std::int32_t show_info(const char* line1, const char* line2) {
  if (!caller || !caller->event) return PF_Err_BAD_REQUEST;
  std::vector<std::string>& info = caller->event->result.info;
  info = {text_of(line1)};
  if (line2) info.push_back(line2);
  return 0;
}

constexpr pf_adv_app_suite INFO_SUITE = {show_info};

void keep_handle(void* user, const tessaron_widget_handle* handle) {
  const state& host = of(user);
  if (!host.event || !handle) return;
  const tessaron_widget_handle& h = *handle;
  host.event->result.handles.push_back({h.widget,
                                        text_of(h.type_name),
                                        text_of(h.base_type),
                                        text_of(h.name),
                                        h.enable_index,
                                        h.enabled != 0,
                                        h.visible != 0,
                                        h.n_handles,
                                        h.handle,
                                        text_of(h.part),
                                        {double(h.x), double(h.y)},
                                        h.can_be_held != 0,
                                        h.hot != 0});
}

// --- callbacks -----------------------------------------------------------------------------------

std::int32_t checkout_param(void* effect_ref, std::int32_t index, std::int32_t time, std::int32_t,
                            std::uint32_t time_scale, pf_param_def* param) {
  state& host = of(effect_ref);
  if (index < 0 || std::size_t(index) >= host.declared.size() || time_scale == 0) return PF_Err_BAD_REQUEST;
  // In the frame's own time scale a whole frame is a whole number.
  const double scales = double(host.in_data.time_scale) / time_scale;
  const double frame = time * scales / (host.in_data.time_step ? host.in_data.time_step : 1);
  const int slot = host.input_slot(std::size_t(index));
  if (slot >= 0) {
    try {
      *param = host.declared[std::size_t(index)];
      param->u.layer = host.input_world_at(std::size_t(slot), frame);
    } catch (...) {
      host.fault = std::current_exception();
      return PF_Err_INTERNAL;
    }
    ++host.checked_out;
    return 0;
  }
  *param = host.values_in_pixels(frame)[std::size_t(index)];
  ++host.checked_out;
  return 0;
}

std::int32_t checkin_param(void* effect_ref, pf_param_def*) {
  --of(effect_ref).checked_out;
  return 0;
}

std::int32_t add_param(void* effect_ref, std::int32_t, pf_param_def* def) {
  state& host = of(effect_ref);
  host.declared.push_back(*def);
  if (def->param_type == PF_Param_POPUP && def->u.popup.names) {
    // The texts are the engine's and last for this call only.
    host.declared.back().u.popup.names = host.popup_texts.emplace_back(def->u.popup.names).c_str();
  }
  return 0;
}

std::int32_t ask_abort(void* effect_ref) {
  const frame_request* request = of(effect_ref).request;
  return request && request->abort ? request->abort() : 0;
}

std::int32_t show_progress(void* effect_ref, std::int32_t current, std::int32_t total) {
  const frame_request* request = of(effect_ref).request;
  if (request && request->progress) request->progress(current, total);
  return ask_abort(effect_ref);
}

std::int32_t register_ui(void*, std::uint32_t) { return 0; }

}  // namespace

const pf_callbacks HOST_CALLBACKS = {checkout_param, checkin_param, add_param, ask_abort, show_progress, register_ui};

std::int32_t acquire_suite(const char* name, std::int32_t version, const void** suite) {
  if (!caller || !name || version != 1) return PF_Err_BAD_REQUEST;
  const auto is = [&](const char* known) { return std::strcmp(name, known) == 0; };
  if (is("VDS App Suite") && caller->identity.messages) {
    *suite = &MESSAGE_SUITE;
  } else if (is("Image Format Negotiation Suite")) {
    *suite = &FORMAT_SUITE;
  } else if (is("Tessaron Help Suite") && caller->show_help) {
    caller->help_suite = {caller, show_help, nullptr};
    *suite = &caller->help_suite;
  } else if (is("PF AE Adv App Suite") && caller->event) {
    *suite = &INFO_SUITE;
  } else if (is("Tessaron Widget Suite") && caller->event) {
    caller->widget_suite = {caller, keep_handle};
    *suite = &caller->widget_suite;
  } else if (is("Tessaron Observer Suite") && caller->request) {
    caller->observer.user = caller;
    caller->observer.root_row = caller->request->want_root ? keep_root_row : nullptr;
    caller->observer.frame_done = caller->request->want_stats ? keep_stats : nullptr;
    *suite = &caller->observer;
  } else {
    return PF_Err_BAD_REQUEST;
  }
  return 0;
}

std::int32_t release_suite(const char*, std::int32_t) { return 0; }

calling_instance::calling_instance(state& state) : before_(caller) { caller = &state; }
calling_instance::~calling_instance() { caller = before_; }

}  // namespace tessaron::hostkit
