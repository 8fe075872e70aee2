#include "host/widgets/controller.h"

#include <algorithm>
#include <cmath>

#include "base/report.h"
#include "host/effect_table.h"
#include "host/host_suites.h"
#include "host/widgets/declarations.h"
#include "host/widgets/drawing.h"

namespace tessaron {

namespace {

constexpr float NOWHERE = -10000;
constexpr float PICK_SCALE_X = 1, PICK_SCALE_Y = 1;

/// How far beside a handle the mouse may be, in the widgets' coordinates: the pick scales, taken back like the mouse.
float pick_margin() { return gfx_from_window(std::hypot(PICK_SCALE_X, PICK_SCALE_Y)); }

/// Brings a widget up to date; false where it can't be seen.
bool ready_to_show(widget& w) {
  if (!w.is_enabled()) return false;
  w.prepare_handles();
  return w.is_visible();
}

struct found_handle {
  widget* owner = nullptr;
  int handle = -1;
};

/// The first handle under a place, widgets and handles in order.
found_handle find_handle(const widget_controller& controller, gfx_point at) {
  const float margin = pick_margin();
  for (const auto& w : controller.widgets) {
    if (!ready_to_show(*w)) continue;
    for (std::size_t i = 0; i < w->handles().size(); ++i)
      if (w->handles()[i].hit(at.x, at.y, margin)) return {w.get(), int(i)};
  }
  return {};
}

void set_hot(widget_controller& controller, const found_handle& found) {
  for (const auto& w : controller.widgets) {
    const int hot = w.get() == found.owner ? found.handle : -1;
    if (w->hot_handle != hot) controller.redraw = true;
    w->hot_handle = hot;
  }
}

/// The active handle, if the controller's widgets still have it.
widget* active(widget_controller& controller) {
  if (!controller.enabled || !controller.active_widget || controller.active_handle < 0) return nullptr;
  return controller.active_widget;
}

void draw_widget(const widget& w) {
  const gfx_pushed kept;
  const int n = int(w.handles().size());
  if (w.hot_handle >= n || w.drag_handle >= n) {
    report(REPORT_WARNING, "%s controller messed up", w.declaration().type_name);
    return;
  }
  for (const gfx_primitive& shape : w.shapes()) gfx_draw(shape, false);
  // The first handle is the first to be hit: it lies on top.
  for (int i = n; i-- > 0;)
    for (const gfx_primitive& shape : w.handles()[std::size_t(i)].primitives)
      gfx_draw(shape, i == w.hot_handle || i == w.drag_handle);
}

/// Tells a host that wants to know what there is to take hold of.
void describe(const tessaron_widget_suite& suite, int index, const widget& w, bool enabled, bool shown) {
  const widget_declaration& d = w.declaration();
  tessaron_widget_handle record = {};
  record.widget = index;
  record.type_name = d.type_name;
  record.base_type = d.base_type;
  record.name = widget_shown_name(d);
  record.enable_index = w.enabled_param() && w.enabled_param()->host_index > 0 ? w.enabled_param()->host_index : 0;
  record.enabled = enabled;
  record.visible = shown;
  record.n_handles = shown ? std::int32_t(w.handles().size()) : 0;
  record.handle = -1;
  record.part = "";
  if (record.n_handles == 0) return suite.handle(suite.user, &record);
  for (const widget_handle& handle : w.handles()) {
    ++record.handle;
    const gfx_point at = gfx_transform_point(handle.position);
    record.part = handle.part;
    record.x = at.x;
    record.y = at.y;
    record.can_be_held = !handle.primitives.empty();
    record.hot = record.handle == w.hot_handle;
    suite.handle(suite.user, &record);
  }
}

}  // namespace

void make_widgets() {
  free_widgets(*Globals);
  const genotype* g = Globals->effect_genotype;
  if (!g) return;
  auto controller = std::make_unique<widget_controller>();
  controller->made_for = g;
  const int row = Globals->effect_table ? get_effect_index_from_genotype(g->name) : -1;
  for (int i = 0; i < g->n_widgets; ++i) {
    const widget_declaration& d = g->widgets[i];
    // Effects that share a parameter share its widget entries, but not all of them want all widgets.
    if (row >= 0 && d.effect_mask && !(d.effect_mask >> row & 1)) continue;
    if (auto made = make_widget(*g, d)) controller->widgets.push_back(std::move(made));
  }
  // An effect without widgets has a controller, too, where another effect of the plug-in has some.
  bool any = false;
  for (int i = 0; i < Globals->n_effects; ++i) any = any || (Globals->genotypes[i] && Globals->genotypes[i]->n_widgets);
  if (any) Globals->widgets = controller.release();
}

void free_widgets(globals_record& record) {
  delete record.widgets;
  record.widgets = nullptr;
}

void widgets_draw(const pf_draw_callbacks& host) {
  widget_controller& controller = *Globals->widgets;
  controller.fresh_look = controller.redraw = false;
  if (!controller.visible) return;
  const gfx_target target(host);
  const held_suite<tessaron_widget_suite> suite(*Globals->in_data, WIDGET_SUITE);
  std::vector<bool> shown;
  for (std::size_t i = 0; i < controller.widgets.size(); ++i) {
    widget& w = *controller.widgets[i];
    shown.push_back(ready_to_show(w));
    if (suite && suite->handle) describe(*suite.operator->(), int(i), w, w.is_enabled(), shown.back());
  }
  // The first in the list is the first to be hit: it lies on top.
  for (std::size_t i = controller.widgets.size(); i-- > 0;)
    if (shown[i]) draw_widget(*controller.widgets[i]);
}

bool widgets_mouse_down(float x, float y) {
  widget_controller& controller = *Globals->widgets;
  if (!controller.enabled) return false;
  controller.dragging = false;
  controller.last_x = controller.last_y = NOWHERE;
  const gfx_point at = gfx_inverse_transform_point({x, y});
  controller.active_handle = -1;
  controller.active_widget = nullptr;
  const found_handle found = find_handle(controller, at);
  set_hot(controller, found);
  if (!found.owner) return false;
  controller.active_widget = found.owner;
  controller.active_handle = found.handle;
  controller.dragging = true;
  found.owner->drag_handle = found.handle;
  found.owner->begin_drag(found.handle, at.x, at.y);
  return true;
}

void widgets_drag(float x, float y) {
  widget_controller& controller = *Globals->widgets;
  widget* w = active(controller);
  if (!w) return;
  const gfx_point at = gfx_inverse_transform_point({x, y});
  if (at.x == controller.last_x && at.y == controller.last_y) return;
  controller.last_x = at.x;
  controller.last_y = at.y;
  controller.redraw = false;
  w->prepare_handles();
  if (controller.active_handle < int(w->handles().size())) w->drag(controller.active_handle, at.x, at.y);
  w->finish();
  controller.redraw = true;
}

void widgets_mouse_up(float x, float y) {
  widget_controller& controller = *Globals->widgets;
  if (widget* w = active(controller)) {
    const gfx_point at = gfx_inverse_transform_point({x, y});
    controller.redraw = false;
    w->drag_handle = -1;
    w->end_drag(controller.active_handle, at.x, at.y);
    controller.redraw = true;
  }
  controller.dragging = false;
}

widget* widgets_cursor(float x, float y) {
  widget_controller& controller = *Globals->widgets;
  if (!controller.enabled) return nullptr;
  const found_handle found = find_handle(controller, gfx_inverse_transform_point({x, y}));
  set_hot(controller, found);
  return found.owner;
}

}  // namespace tessaron
