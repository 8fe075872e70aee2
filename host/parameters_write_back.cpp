// Write back: the engine's values in the host's controls, and what a changed control sets off.
#include <algorithm>
#include <cmath>

#include "base/report.h"
#include "genotype/globals.h"
#include "host/host_state.h"
#include "host/parameters.h"

namespace tessaron {

saved_level_query saved_level = nullptr;

namespace {

/// Stores a value in a host's record and marks the record if it is another one.
template <class T>
void write(pf_param_def& def, T& field, T value) {
  if (field == value) return;
  field = value;
  def.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
}

int write_color(param& p, int first, int count, const float* values) {
  if (first != 0 || count != 3) {
    report(REPORT_ERROR, "Trying to set %d channels of color %s starting with %d\n", count, p.name, first);
    return 0;
  }
  pf_param_def* def = host_param(p, 0);
  if (!def) return 0;
  pf_color& color = def->u.color.value;
  write(*def, color.red, color_byte(values[0]));
  write(*def, color.green, color_byte(values[1]));
  write(*def, color.blue, color_byte(values[2]));
  return count;
}

/// The number that a control takes for an engine value: of a slider in its units, of a point in pixels.
double control_number(const param& p, const pf_param_def& def, int channel, const unit_frame& f, double v) {
  const bool whole = p.ptype == PTYPE_INT;
  const bool point = shown_as_point(p, def);
  if ((p.flags[4] & PARAM4_ANGLE) && !whole && !point) v *= host_state.angle_sign;
  if (point || !whole) v = engine_to_host(p, channel, f, v);
  if (point) v = channel == 0 ? v / f.dsx : (f.height - v) / f.dsy;
  return v;
}

/// A number in a slider, or in half of a point. Whole numbers have no units in a slider.
void write_number(const param& p, pf_param_def& def, int channel, const unit_frame& f, double v) {
  const double number = control_number(p, def, channel, f, p.ptype == PTYPE_INT ? std::trunc(v + 0.5) : v);
  if (!shown_as_point(p, def)) return write(def, def.u.slider.value, fixed16_round(number));
  if (channel == 0) write(def, def.u.point.x, int_trunc(0.5 + number * FIXED16_ONE));
  if (channel == 1) write(def, def.u.point.y, int_trunc(0.5 + number * FIXED16_ONE));
}

/// A straight line through two values of a function.
struct line {
  double slope, offset;
  template <class Function>
  static line through(Function f) {
    constexpr double FAR = 1024;
    const double at_0 = f(0.0);
    return {(f(FAR) - at_0) / FAR, at_0};
  }
  double inverse(double value) const { return (value - offset) / slope; }
};

/// A number that a write turns into the nearest 16.16 one. It adds one half and cuts towards zero, which would take
/// one off below zero.
double written_as(double number) {
  const double fixed = std::round(number * FIXED16_ONE);
  return (fixed < 0 ? fixed - 0.75 : fixed) / FIXED16_ONE;
}

/// Sets a control's number of one channel, as a host holds it.
void set_control_number(pf_param_def& def, int channel, bool point, double number) {
  const pf_fixed fixed = fixed16_round(number);
  if (point)
    (channel == 0 ? def.u.point.x : def.u.point.y) = fixed;
  else if (def.param_type == PF_Param_ANGLE)
    def.u.angle.value = fixed;
  else
    def.u.slider.value = fixed;
}

bool write_channel(const param& p, int channel, const unit_frame& f, double v) {
  pf_param_def* def = host_param(p, channel);
  if (!def) return false;
  switch (control_of(p)) {
    case host_control::checkbox:
      write(*def, def->u.checkbox.value, std::int32_t(v != 0));
      break;
    case host_control::popup:
    case host_control::named_list:
      write(*def, def->u.popup.value, int_trunc(std::trunc(v + 0.5) + 1));
      break;
    case host_control::dial:
      // The offset is added as it is, in 1/65536 degree.
      write(*def, def->u.angle.value,
            int_trunc(p.angle_offset + double(host_state.pixel_scale * host_state.angle_sign) * fixed16_round(v)));
      break;
    default:
      write_number(p, *def, channel, f, v);
      break;
  }
  return true;
}

/// After a dial was turned: its hidden sliders follow.
void copy_dials_to_sliders(const param& p) {
  if (host_state.hidden_id_base == 0) return;
  for (int c = 0; c < p.n_shown; ++c) {
    const pf_param_def* dial = host_param(p, c);
    pf_param_def* slider = host_param(p, p.n_shown + c);
    if (!dial || !slider) continue;
    slider->u.slider.value = fixed16_round(dial->u.angle.value / FIXED16_ONE * host_state.pixel_scale);
    slider->change_flags |= PF_ChangeFlag_CHANGED_VALUE;
  }
}

/// The button that takes over the level of the frame last rendered.
void set_hold_value_for_flicker(const genotype& g, param& button) {
  float values[4] = {};
  const bool may_ask = button.param_node && (Globals->host_flags & HOST_RENDERED_ONCE) && saved_level;
  const int count = may_ask ? saved_level(*button.param_node, values) : 0;
  param* const* end = g.params + g.n_params;
  param* const* target =
      std::find_if<param* const*>(g.params, end, [](const param* p) { return p->flags[2] & PARAM2_HOLD_LEVEL; });
  if (target == end)
    report(REPORT_ERROR, "set_hold_value_for_flicker: did not find hold_level node. \n");
  else if (count < 1 || (*target)->nchannels != count)
    report(REPORT_ERROR, "Set Hold Level: no saved level, first process a frame.");
  else
    set_param_value(**target, 0, count, values);
}

}  // namespace

int set_param_value(param& p, int first_channel, int count, const float* values) {
  if (first_channel < 0 || first_channel >= p.nchannels || count < 1) return 0;
  count = std::min(count, p.nchannels - first_channel);
  switch (control_of(p)) {
    case host_control::none:
      report(REPORT_ERROR, "Param %s: unknown ptype %d\n", p.name, p.ptype);
      return 0;
    case host_control::color:
      return write_color(p, first_channel, count, values);
    default:
      break;
  }
  const unit_frame f = current_unit_frame();
  int written = 0;
  for (int i = 0; i < count; ++i) written += write_channel(p, first_channel + i, f, double(values[i]));
  return written;
}

bool set_fetched_value(param& p, int channel, double value) {
  pf_param_def* def = host_param(p, channel);
  if (!def || channel >= p.nchannels || !std::isfinite(value)) return false;
  const host_control control = control_of(p);
  const auto put = [&](double v) {
    const float written = float(v);
    return set_param_value(p, channel, 1, &written) == 1;
  };
  if (control == host_control::checkbox) return put(value);
  if (control == host_control::popup || control == host_control::named_list)
    return put(std::clamp(value, 0.0, std::max(0.0, def->u.popup.n_choices - 1.0)));
  if (control == host_control::color || control == host_control::none) return false;

  // Both ways are straight lines, but not always each other's inverse. A whole number's rounding would bend them.
  const unit_frame f = current_unit_frame();
  const bool point = shown_as_point(p, *def), dial = control == host_control::dial;
  param smooth = p;
  smooth.ptype = PTYPE_FLOAT;
  pf_param_def probe = *def;
  const line fetched = line::through([&](double number) {
    set_control_number(probe, channel, point, number);
    return fetched_value(smooth, channel, probe, f);
  });
  const line written = line::through([&](double v) {
    if (!dial) return control_number(p, *def, channel, f, v);
    return p.angle_offset / FIXED16_ONE + double(host_state.pixel_scale * host_state.angle_sign) * v;
  });
  if (fetched.slope == 0 || written.slope == 0) return false;
  double number = fetched.inverse(value);
  if (!point && !dial) {
    if (p.min_bound != UNSET_MIN) number = std::max(number, double(p.min_bound));
    if (p.max_bound != UNSET_MAX) number = std::min(number, double(p.max_bound));
  }
  double v = dial ? written_as(written.inverse(number)) : written.inverse(written_as(number));
  if (p.ptype == PTYPE_INT) {  // the write rounds by adding one half and cutting towards zero
    v = std::floor(v + 0.5);
    if (v < 0) v -= 0.5;
  }
  return put(v);
}

void on_user_changed_param(pf_param_def** params, int index) {
  genotype* g = Globals->effect_genotype;
  if (!g) return;
  Globals->params = params;
  for (int i = 0; i < Globals->in_data->num_params; ++i)
    if (params[i]) params[i]->change_flags &= ~std::uint32_t(PF_ChangeFlag_CHANGED_VALUE);
  param* const* end = g->params + g->n_params;
  param* const* found =
      std::find_if<param* const*>(g->params, end, [&](const param* p) { return p->host_index == index; });
  // The checkbox of a widget is nobody's value: the next drawing reads it.
  if (index < 1 || found == end) return;
  param& p = **found;
  if (control_of(p) == host_control::dial) return copy_dials_to_sliders(p);
  if (!(p.flags[2] & PARAM2_SET_HOLD_LEVEL)) return;
  fetch_param(p);
  if (!(p.value[0] > 0)) return;
  set_hold_value_for_flicker(*g, p);
  const float off = 0;
  set_param_value(p, 0, 1, &off);
}

}  // namespace tessaron
