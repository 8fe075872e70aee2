// Declaration: what a host is shown of an effect's parameters.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/report.h"
#include "genotype/globals.h"
#include "host/configuration.h"
#include "host/effect_table.h"
#include "host/host_state.h"
#include "host/named_lists.h"
#include "host/parameters.h"
#include "host/widgets/declarations.h"

namespace tessaron {

namespace {

constexpr int GROUP_ID_BASE = 250, HIDDEN_ID_BASE = 250;
// Points are declared in percent of this frame.
constexpr double REFERENCE_WIDTH = 720, REFERENCE_HEIGHT = 486;
constexpr std::size_t SHORT_NAME = 11;  // characters from which a point's name takes no XY
// What an unset slider spans, in steps of the parameter.
constexpr float SLIDER_STEPS = 5000, VALID_STEPS = 50000;

bool shows_groups() { return host_state.host_app == HOST_AFTER_EFFECTS || host_state.host_app == HOST_PIE_FX; }

bool point_units(const param& p) {
  return p.units() == UNITS_SCREEN || p.units() == UNITS_SCREEN_CENTER || p.units() == UNITS_NORMALIZE;
}

/// Entries as a host takes them.
std::string joined(const std::vector<std::string>& entries) {
  std::string text;
  for (const std::string& entry : entries) text.append(&entry == entries.data() ? "" : "|").append(entry);
  return text;
}

struct slider_limits {
  float slider_min, slider_max, valid_min, valid_max;
  int precision;
};

slider_limits limits_of(const param& p) {
  slider_limits l{p.slider_min, p.slider_max, p.min_bound, p.max_bound, 0};
  if (l.slider_min == UNSET_MIN) l.slider_min = p.scale * -SLIDER_STEPS;
  if (l.slider_max == UNSET_MAX) l.slider_max = p.scale * SLIDER_STEPS;
  if (l.valid_min == UNSET_MIN) l.valid_min = std::min({l.slider_min, l.slider_min * 10, p.scale * -VALID_STEPS});
  if (l.valid_max == UNSET_MAX) {
    l.valid_max = std::max(l.slider_max, l.slider_max * 10);
    if (l.valid_max - l.valid_min > 10.5f) l.valid_max = std::max(l.valid_max, p.scale * VALID_STEPS);
  }
  if (p.ptype != PTYPE_INT) l.precision = calc_slider_granularity(l.valid_min, l.valid_max);
  const int host = host_state.host_app;
  if (host == HOST_FINAL_CUT || host == HOST_QUANTEL || host == HOST_LIBERTY) {
    const auto wide = [&](float bound) {
      return p.units() == UNITS_NORMALIZE_SCALE && std::fabs(bound) == 500 ? bound * 2 : bound;
    };
    if (p.fcp_min != UNSET_MIN) l.slider_min = wide(p.fcp_min);
    if (p.fcp_max != UNSET_MAX) l.slider_max = wide(p.fcp_max);
  }
  l.valid_min = std::min(l.valid_min, l.slider_min);
  l.valid_max = std::max(l.valid_max, l.slider_max);
  return l;
}

/// Adds host parameters one behind the other; the first error of the host ends the work.
class declaration {
 public:
  declaration(pf_in_data& in_data, int& next_index, int& next_id)
      : in_data_(in_data), next_index_(next_index), next_id_(next_id) {}

  std::int32_t error() const { return error_; }
  void declare(const genotype& g, param& p);
  /// The checkboxes of widgets that stand behind parameter k; k = n_params: those that are left.
  void declare_enables(genotype& g, int k);
  void add(pf_param_def& def, int type, int id, const std::string& name);

 private:
  void group_start(const genotype& g, const param& p);
  void group_end();
  void color(const param& p);
  void checkboxes(const param& p);
  void popups(const param& p);
  void named_list_popup(const genotype& g, const param& p);
  void dials(const param& p);
  void point(const param& p);
  void sliders(const param& p, int id, std::uint32_t ui_flags);

  pf_in_data& in_data_;
  int& next_index_;
  int& next_id_;
  std::int32_t error_ = 0;
  std::uint32_t first_flags_ = 0, first_ui_flags_ = 0;  // what the parameter's first control takes besides
};

void declaration::add(pf_param_def& def, int type, int id, const std::string& name) {
  if (error_) return;
  def.id = id;
  def.param_type = type;
  def.flags |= first_flags_;
  def.ui_flags |= first_ui_flags_;
  first_flags_ = first_ui_flags_ = 0;
  std::snprintf(def.name, sizeof def.name, "%s", name.c_str());
  error_ = in_data_.inter.add_param(in_data_.effect_ref, next_index_, &def);
  if (!error_) ++next_index_;
}

void declaration::group_start(const genotype& g, const param& p) {
  pf_param_def def{};
  if (!(p.flags[3] & PARAM3_GROUP_OPEN)) def.flags = PF_ParamFlag_START_COLLAPSED;
  const char* title = p.page >= 0 && p.page < MAX_PAGES ? g.page_names[p.page + 1] : nullptr;
  if (!title && p.group >= 0 && p.group < MAX_PARAM_GROUP_NUMBER) title = g.groups[p.group].name;
  add(def, PF_Param_GROUP_START, next_index_ + GROUP_ID_BASE, shown_name(title ? title : ""));
}

void declaration::group_end() {
  pf_param_def def{};
  add(def, PF_Param_GROUP_END, next_index_ + GROUP_ID_BASE, "");
}

void declaration::color(const param& p) {
  pf_param_def def{};
  def.u.color.value = {255, color_byte(p.default_value[0]), color_byte(p.default_value[1]),
                       color_byte(p.default_value[2])};
  def.u.color.default_value = def.u.color.value;
  add(def, PF_Param_COLOR, p.host_id, host_param_name(p, -1));
}

void declaration::checkboxes(const param& p) {
  for (int c = 0; c < p.nchannels; ++c) {
    pf_param_def def{};
    if (p.ptype == PTYPE_BUTTON && (p.flags[2] & PARAM2_SET_HOLD_LEVEL) && !shows_groups())
      def.flags = PF_ParamFlag_BUTTON;
    def.u.checkbox.value = def.u.checkbox.default_value = int_trunc(p.default_value[c]);
    add(def, PF_Param_CHECKBOX, p.host_id + c, host_param_name(p, c));
  }
}

void declaration::popups(const param& p) {
  const int n = p.n_popup_entries;
  for (int c = 0; c < p.nchannels; ++c) {
    std::vector<std::string> entries;
    for (int i = c * (n + 1); i < c * (n + 1) + n && i < MAX_POPUP_TEXTS && p.popup_entry[i]; ++i)
      entries.emplace_back(p.popup_entry[i]);
    const std::string names = joined(entries);
    pf_param_def def{};
    def.u.popup.value = int_trunc(double(p.default_value[c]) + 0.5);
    def.u.popup.default_value = int_trunc(double(def.u.popup.value) + 1);
    def.u.popup.n_choices = n;
    def.u.popup.names = names.c_str();
    add(def, PF_Param_POPUP, p.host_id + c, host_param_name(p, c));
  }
}

/// The definition's number counts the list's names from 1, as the host does.
void declaration::named_list_popup(const genotype& g, const param& p) {
  const named_list list = named_list_of(p);
  const list_loader loader = named_list_loader(list);
  if (!loader) {
    report(REPORT_ERROR, "%s: the list of %s for parameter %s is not built yet.\n", g.name, named_list_title(list),
           p.name);
    error_ = PF_Err_INTERNAL;
    return;
  }
  const std::vector<std::string> entries = loader();
  const std::string names = joined(entries);
  pf_param_def def{};
  def.u.popup.value = def.u.popup.default_value = int_trunc(double(p.default_value[0]) + 0.5);
  def.u.popup.n_choices = int(entries.size());
  def.u.popup.names = names.c_str();
  add(def, PF_Param_POPUP, p.host_id, host_param_name(p, -1));
}

void declaration::dials(const param& p) {
  for (int c = 0; c < p.n_shown; ++c) {
    pf_param_def def{};
    def.flags = PF_ParamFlag_START_COLLAPSED;
    def.u.angle.value = def.u.angle.default_value = fixed16_trunc(p.angle_offset + double(p.default_value[c]));
    add(def, PF_Param_ANGLE, p.host_id + c, host_param_name(p, c));
  }
  if (host_state.hidden_id_base) sliders(p, p.host_id + host_state.hidden_id_base, PF_UIFlag_HIDDEN);
}

void declaration::point(const param& p) {
  const bool from_center = p.units() == UNITS_SCREEN_CENTER;
  const double x = p.default_value[0] + (from_center ? REFERENCE_WIDTH / 2 : 0);
  const double y = p.default_value[1] + (from_center ? REFERENCE_HEIGHT / 2 : 0);
  pf_param_def def{};
  def.u.point.x = def.u.point.default_x = fixed16_round(x / REFERENCE_WIDTH * 100);
  def.u.point.y = def.u.point.default_y = fixed16_round(100 - y / REFERENCE_HEIGHT * 100);
  add(def, PF_Param_POINT, p.host_id, host_param_name(p, -1));
}

void declaration::sliders(const param& p, int id, std::uint32_t ui_flags) {
  const slider_limits limits = limits_of(p);
  for (int c = 0; c < p.n_shown; ++c) {
    pf_param_def def{};
    def.ui_flags = ui_flags;
    auto& s = def.u.slider;
    s.valid_min = fixed16_trunc(limits.valid_min);
    s.valid_max = fixed16_trunc(limits.valid_max);
    s.slider_min = fixed16_trunc(limits.slider_min);
    s.slider_max = fixed16_trunc(limits.slider_max);
    s.precision = limits.precision;
    if ((p.flags[3] & PARAM3_PERCENT) && host_state.host_app != HOST_COMBUSTION) s.display_flags = PF_Display_PERCENT;
    const int scale = p.flags[4] & PARAM4_ANGLE ? host_state.pixel_scale : 1;
    s.value = s.default_value = fixed16_trunc(double(p.default_value[c]) * scale);
    add(def, PF_Param_FIX_SLIDER, id + c, host_param_name(p, c));
  }
}

void declaration::declare(const genotype& g, param& p) {
  if ((p.flags[3] & PARAM3_GROUP_START) && shows_groups()) group_start(g, p);
  const int host = host_state.host_app;
  const bool borders = !std::strcmp(p.name, "soft_borders") || !std::strcmp(p.name, "expand_borders");
  if (borders && (host == HOST_FINAL_CUT || host == HOST_FUSION)) {
    p.host_index = p.host_id = NOT_SHOWN;
    return;
  }
  if (host == HOST_FINAL_CUT && (p.flags[2] & PARAM2_SET_HOLD_LEVEL)) {
    p.host_index = NOT_SHOWN;
    p.host_id = ANOTHER_STANDS_FOR_IT;
    return;
  }
  p.host_index = std::int16_t(next_index_);
  if (p.host_id < 1) p.host_id = std::int16_t(next_id_);
  if (p.group_mode & 2) p.host_id = std::int16_t(p.host_id + next_id_);
  const int kept_id = next_id_;
  if (p.flags[4] & PARAM4_COLLAPSE_TWIRL && host == HOST_COMBUSTION) first_ui_flags_ = PF_UIFlag_COLLAPSE_TWIRL;
  if (p.flags[4] & PARAM4_KEYFRAME_HOLD && shows_groups()) first_flags_ = PF_ParamFlag_KEYFRAME_HOLD;
  switch (control_of(p)) {
    case host_control::color:
      color(p);
      break;
    case host_control::checkbox:
      checkboxes(p);
      break;
    case host_control::popup:
      popups(p);
      break;
    case host_control::dial:
      dials(p);
      break;
    case host_control::point:
      point(p);
      break;
    case host_control::slider:
      sliders(p, p.host_id, 0);
      break;
    case host_control::named_list:
      named_list_popup(g, p);
      break;
    case host_control::none:
      report(REPORT_ERROR, "Param %s: unknown ptype %d\n", p.name, p.ptype);
      error_ = PF_Err_INTERNAL;
      break;
  }
  next_id_ = p.group_mode & 1 ? kept_id : next_id_ + p.nchannels;
  if ((p.flags[3] & PARAM3_GROUP_END) && shows_groups()) group_end();
}

void declaration::declare_enables(genotype& g, int k) {
  while (widget_declaration* w = error_ ? nullptr : next_enable_behind(g, k)) {
    param& p = *w->enable_param;
    p.host_index = std::int16_t(next_index_);
    p.host_id = std::int16_t(next_id_++);
    pf_param_def def{};
    def.flags = PF_ParamFlag_ENABLE;
    def.u.checkbox.value = def.u.checkbox.default_value = w->default_on_p;
    add(def, PF_Param_CHECKBOX, p.host_id, host_param_name(p, -1));
    w->placed = true;
  }
}

/// Adds to a name; a letter that begins a word becomes a capital.
void append_shown(std::string& name, char c) {
  const bool word_start = name.empty() || name.back() == ' ';
  const auto u = static_cast<unsigned char>(c);
  if (c == '_' || c == ' ') {
    if (name.empty() || name.back() != ' ') name += ' ';
  } else if (u < 0x80 && std::isprint(u)) {
    name += word_start ? char(std::toupper(u)) : c;
  }
}

}  // namespace

host_control control_of(const param& p) {
  if (p.flags[1] & PARAM1_NAMED_LIST) return host_control::named_list;
  switch (p.ptype) {
    case PTYPE_COLOR:
      return host_control::color;
    case PTYPE_POPUP:
      return host_control::popup;
    case PTYPE_TOGGLE:
    case PTYPE_BUTTON:
      return host_control::checkbox;
    case PTYPE_FLOAT:
    case PTYPE_INT:
      break;
    default:
      return host_control::none;
  }
  if (host_state.use_dials && (p.flags[4] & PARAM4_DIAL)) return host_control::dial;
  return point_units(p) && p.n_shown == 2 ? host_control::point : host_control::slider;
}

std::string shown_name(const char* name) {
  std::string shown;
  for (; *name; ++name) append_shown(shown, *name);
  while (!shown.empty() && shown.back() == ' ') shown.pop_back();
  return shown;
}

std::string host_param_name(const param& p, int channel) {
  static constexpr const char* CHANNEL_NAMES[4] = {"X", "Y", "Z", "W"};
  const int units = p.units();
  std::string name = p.name;
  if (units == UNITS_NONE || units == UNITS_SCREEN_CENTER0 || units == UNITS_NORMALIZE_SCALE) {
    if (p.n_shown > 1 && channel >= 0 && channel < 4) name += std::string(" ") + CHANNEL_NAMES[channel];
  } else if (point_units(p) && p.n_shown == 2 && name.size() < SHORT_NAME) {
    name += " XY";
  }
  return shown_name(name.c_str());
}

int calc_slider_granularity(float min, float max) {
  if (min > max) std::fprintf(stderr, "*** calc_slider_granularity: min %g > max %g \n", double(min), double(max));
  const float span = std::fabs(max - min);
  return span > 10 ? 2 : span <= 1 ? 4 : 3;
}

void set_host_wide_values() {
  switch (host_state.host_app) {
    case HOST_COMBUSTION:
      host_state.use_dials = false;
      break;
    case HOST_FINAL_CUT:
      host_state.use_dials = config.use_dials_for_angles_fcp;
      break;
    case HOST_FUSION:
      host_state.use_dials = config.use_dials_for_angles_df;
      host_state.pixel_scale = -1;
      host_state.angle_sign = 1;
      break;
    case HOST_AFTER_EFFECTS:
    case HOST_PIE_FX:
      host_state.use_dials = config.use_dials_for_angles_ae;
      break;
    default:
      break;
  }
  if (host_state.host_app == HOST_AFTER_EFFECTS && host_state.interface_generation == 2)
    host_state.hidden_id_base = HIDDEN_ID_BASE;
}

std::int32_t declare_extra_inputs(pf_in_data& in_data, int& next_index, int& next_id) {
  effect_table& table = *Globals->effect_table;
  declaration out(in_data, next_index, next_id);
  for (int i = 1; i < count_table_inputs(table); ++i) {
    pf_param_def def{};
    out.add(def, PF_Param_LAYER, next_id++, shown_name(table.input_names[i]));
  }
  return out.error();
}

std::int32_t declare_effect_popup(pf_in_data& in_data, int& next_index, int& next_id) {
  effect_table& table = *Globals->effect_table;
  const int n = count_table_popup(table);
  if (n < 2) return PF_Err_NONE;
  std::vector<std::string> entries;
  for (int i = 0; i < n; ++i) {
    const int effect_i = get_first_effect_from_table(table, i);
    const genotype* g = effect_i < 0 ? nullptr : Globals->genotypes[effect_i];
    const char* name = g && g->effect_popup_name ? g->effect_popup_name : table.popup_names[i];
    entries.push_back(shown_name(name));
  }
  const std::string names = joined(entries);
  pf_param_def def{};
  def.u.popup = {1, 1, n, names.c_str()};
  declaration out(in_data, next_index, next_id);
  out.add(def, PF_Param_POPUP, next_id++, "Effect");
  return out.error();
}

std::int32_t declare_params(pf_in_data& in_data, int& next_index, int& next_id) {
  set_host_wide_values();
  genotype& g = *Globals->effect_genotype;
  declaration out(in_data, next_index, next_id);
  start_enable_placement(g);
  for (int k = 0; k < g.n_params && !out.error(); ++k) {
    out.declare(g, *g.params[k]);
    out.declare_enables(g, k);
  }
  out.declare_enables(g, g.n_params);
  return out.error();
}

}  // namespace tessaron
