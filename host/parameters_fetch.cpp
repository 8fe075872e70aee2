// Fetch: the host's values read into an effect's parameters, once for each call.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/report.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "host/host_state.h"
#include "host/parameters.h"

namespace tessaron {

namespace {

constexpr int FARTHEST_ORIGIN = 50000;  // pixels; a host that says more has no origin to tell

double fixed16(pf_fixed v) { return v / FIXED16_ONE; }

/// The layer's origin in the host's points.
double point_origin(bool y) {
  const pf_in_data* in_data = Globals->in_data;
  if (!in_data || host_state.host_app == HOST_FINAL_CUT) return 0;
  const auto far = [](std::int32_t v) { return v > FARTHEST_ORIGIN || v < -FARTHEST_ORIGIN; };
  if (far(in_data->output_origin_x) || far(in_data->output_origin_y)) return 0;
  return y ? in_data->output_origin_y : in_data->output_origin_x;
}

double point_value(const param& p, int channel, const pf_param_def& def, const unit_frame& f) {
  const bool y = channel == 1;
  const double at = fixed16(y ? def.u.point.y : def.u.point.x) - point_origin(y);
  return point_to_engine(p, channel, f, y ? f.height - at : at);
}

/// Channels that a fetch reads: a colour has three, whatever the definition gave it.
int readable_channels(const param& p) {
  return std::min<int>(p.nchannels, control_of(p) == host_control::color ? 3 : 4);
}

}  // namespace

double fetched_value(const param& p, int channel, const pf_param_def& def, const unit_frame& f) {
  switch (control_of(p)) {
    case host_control::color: {
      const pf_color& c = def.u.color.value;
      return (channel == 0 ? c.red : channel == 1 ? c.green : c.blue) / 255.0;
    }
    case host_control::popup:
    case host_control::named_list:
      return std::max(std::int64_t(def.u.popup.value) - 1, std::int64_t(0));
    case host_control::checkbox:
      return def.u.checkbox.value;
    case host_control::dial:
      return fixed16(def.u.angle.value) * host_state.pixel_scale * host_state.angle_sign + p.angle_offset;
    default:
      break;
  }
  if (shown_as_point(p, def)) return point_value(p, channel, def, f);
  const double v = host_to_engine(p, channel, f, fixed16(def.u.slider.value));
  // Hosts turn the other way round than the engine, on a slider as on a dial.
  return p.flags[4] & PARAM4_ANGLE ? v * host_state.angle_sign : v;
}

bool shown_as_point(const param& p, const pf_param_def& def) {
  if (p.nchannels < 2 || (p.ptype != PTYPE_FLOAT && p.ptype != PTYPE_INT)) return false;
  const int units = p.units();
  const bool point_units = units == UNITS_SCREEN || units == UNITS_SCREEN_CENTER || units == UNITS_NORMALIZE;
  return def.param_type == PF_Param_POINT || (host_state.host_app == HOST_MOTION && point_units);
}

int host_slot(const param& p, int channel) {
  const host_control control = control_of(p);
  const bool one_for_all =
      control == host_control::color || control == host_control::point || control == host_control::named_list;
  return one_for_all ? p.host_index : p.host_index + channel;
}

pf_param_def* host_param(const param& p, int channel) {
  if (!Globals->params || p.host_index < 1) return nullptr;
  const int slot = host_slot(p, channel);
  if (Globals->in_data && Globals->in_data->num_params > 0 && slot >= Globals->in_data->num_params) return nullptr;
  return Globals->params[slot];
}

void fetch_param(param& p) {
  if (!Globals->params || p.host_index < 1) return;
  const unit_frame f = current_unit_frame();
  for (int c = 0; c < readable_channels(p); ++c)
    if (const pf_param_def* def = host_param(p, c)) p.value[c] = float(fetched_value(p, c, *def, f));
  p.stamp = host_state.call_stamp;
  store_param_in_node(p);
}

void refresh_params(genotype& g) {
  for (int k = 0; k < g.n_params; ++k)
    if (g.params[k]->stamp != host_state.call_stamp) fetch_param(*g.params[k]);
}

void get_curve_value_at_rel_frame(param* p, float rel_frame, float* values) {
  std::fill(values, values + 4, 0.0f);
  const pf_in_data* in_data = Globals->in_data;
  if (!in_data || !p) {
    report(REPORT_ERROR, "get_curve_value_at_rel_frame: NULL in_data(%d) or param(%d)", in_data != nullptr,
           p != nullptr);
    return;
  }
  if (p->host_index < 1 || !in_data->inter.checkout_param) return;
  const double time = std::floor(in_data->current_time + double(rel_frame) * in_data->time_step + 0.5);
  const unit_frame f = current_unit_frame();
  for (int c = 0; c < readable_channels(*p); ++c) {
    pf_param_def def{};
    if (in_data->inter.checkout_param(in_data->effect_ref, host_slot(*p, c), int_trunc(time), in_data->time_step,
                                      in_data->time_scale, &def) != 0)
      continue;
    values[c] = float(fetched_value(*p, c, def, f));
    if (in_data->inter.checkin_param) in_data->inter.checkin_param(in_data->effect_ref, &def);
  }
}

bool special_param_value(const genotype& g, const char* name, float& value) {
  for (int k = 0; k < g.n_params; ++k)
    if (std::strcmp(g.params[k]->name, name) == 0) {
      value = g.params[k]->value[0];
      return true;
    }
  return false;
}

}  // namespace tessaron
