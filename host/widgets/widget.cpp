#include "host/widgets/widget.h"

#include <algorithm>
#include <cstring>

#include "base/report.h"
#include "host/host_state.h"
#include "host/parameters.h"
#include "host/widgets/declarations.h"

namespace tessaron {

namespace {

struct widget_class {
  const char* base_type;
  widget_maker make;
};

constexpr widget_class CLASSES[] = {
    {"center", make_center_widget},       {"center_radius", make_center_radius_widget},
    {"radius", make_radius_widget},       {"ellipse", make_ellipse_widget},
    {"glint", make_glint_widget},         {"angle", make_angle_widget},
    {"wipe", make_wipe_widget},           {"rect", make_rect_widget},
    {"rectshift", make_rectshift_widget}, {"simple_rect", make_simple_rect_widget},
    {"rect_c_sz", make_rect_c_sz_widget}, {"timeslice", make_timeslice_widget},
};

}  // namespace

std::unique_ptr<widget> make_widget(const genotype& g, const widget_declaration& declaration) {
  for (const widget_class& row : CLASSES)
    if (std::strcmp(row.base_type, declaration.base_type) == 0) return row.make(g, declaration);
  report(REPORT_WARNING, "Can't get widget type for base type name %s", declaration.base_type);
  return nullptr;
}

widget::widget(const genotype& g, const widget_declaration& declaration)
    : declaration_(declaration), enabled_param_(enable_of_widget(g, declaration)) {
  for (int slot = 0; slot < MAX_WIDGET_PARTS; ++slot)
    if (const widget_part* found = part_in_slot(declaration, slot)) {
      param* p = param_of_part(g, *found);
      if (p && p->host_index >= 1 && control_of(*p) != host_control::color) slots_[std::size_t(slot)] = p;
    }
}

void widget::begin_drag(int handle, float x, float y) {
  const gfx_point at = handles_[std::size_t(handle)].position;
  grip_ = {double(at.x) - double(x), double(at.y) - double(y)};
}

void widget::end_drag(int, float, float) {}
void widget::finish() {}
bool widget::is_visible() { return !handles_.empty() || !shapes_.empty(); }

bool widget::is_enabled() const {
  if (!enabled_param_) return true;
  if (enabled_param_->stamp != host_state.call_stamp) fetch_param(*enabled_param_);
  return enabled_param_->value[0] != 0;
}

void widget::prepare_handles() {
  prepare();
  for (widget_handle& handle : handles_) handle.find_bounds();
}

bool widget::type_has(const char* word) const { return std::strstr(declaration_.type_name, word) != nullptr; }

void widget::check_type(const char* class_name, std::initializer_list<const char*> known) const {
  const auto is_it = [&](const char* name) { return std::strcmp(name, declaration_.type_name) == 0; };
  if (std::none_of(known.begin(), known.end(), is_it))
    report(REPORT_WARNING, "Unknown %s widget type %s", class_name, declaration_.type_name);
}

double widget::type_scale() const {
  if (type_has("scale2") || type_has("radius2")) return 2;
  if (type_has("scale4") || type_has("radius4")) return 4;
  return type_has("radius8") ? 8 : 1;
}

gfx_look widget::look(gfx_line_style style, gfx_color usual) const {
  gfx_look l;
  l.style = style;
  l.color = type_has("_green")   ? gfx_color::green
            : type_has("_red")   ? gfx_color::red
            : type_has("_white") ? gfx_color::white
                                 : usual;
  return l;
}

void widget::start() {
  handles_.clear();
  shapes_.clear();
}

widget_handle& widget::add_handle(const char* part_name, layer_point at) {
  widget_handle& handle = handles_.emplace_back();
  handle.part = part_name;
  handle.position = gfx(at);
  return handle;
}

}  // namespace tessaron
