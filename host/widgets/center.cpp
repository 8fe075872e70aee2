// Widgets of base type "center": a mark on a place, drawn by type as crosses, circles, a star or a line.
#include "host/widgets/widget.h"

namespace tessaron {

namespace {

class center_widget final : public widget {
 public:
  center_widget(const genotype& g, const widget_declaration& d) : widget(g, d) {
    check_type("center", {"cross_circle", "cross_circle_offset_frac", "cross", "simple_cross", "star8", "single_hline",
                          "single_circle"});
  }

  void prepare() override;
  void drag(int handle, float x, float y) override;

 private:
  enum handle_number { AT_CENTER, AT_OFFSET };

  layer_point middle() const;
  layer_point offset_step() const;
  void set_offset_step(layer_point step);
  double sign() const { return part(CENTER_NEGATE) && param_number(*part(CENTER_NEGATE), 0) > 0 ? -1 : 1; }
  void add_mark(widget_handle& handle, const gfx_look& look) const;
};

layer_point center_widget::middle() const {
  return part(CENTER_CENTER) ? param_place(*part(CENTER_CENTER)) : current_layer_frame().middle();
}

/// The offset as a step on the layer; as a fraction it counts in whole frames.
layer_point center_widget::offset_step() const {
  param& p = *part(CENTER_OFFSET);
  if (!type_has("offset_frac")) return param_step(p) * sign();
  const layer_frame frame = current_layer_frame();
  return layer_point{param_number(p, 0) * frame.width, p.nchannels > 1 ? -param_number(p, 1) * frame.height : 0} *
         sign();
}

void center_widget::set_offset_step(layer_point step) {
  param& p = *part(CENTER_OFFSET);
  step = step * sign();
  if (!type_has("offset_frac")) {
    set_param_step(p, step);
    return;
  }
  const layer_frame frame = current_layer_frame();
  set_param_number(p, 0, step.x / frame.width);
  if (p.nchannels > 1) set_param_number(p, 1, -step.y / frame.height);
}

void center_widget::add_mark(widget_handle& handle, const gfx_look& look) const {
  constexpr float ARM = 9, GAP = 3, RING = 6, STAR = 10, SLANT = 7, LINE = 26;
  const gfx_point at = handle.position;
  const auto arms = [&](float from, float to) {
    for (const gfx_point d : {gfx_point{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
      handle.primitives.push_back(gfx_mark(at, {d.x * from, d.y * from}, {d.x * to, d.y * to}, look));
  };
  if (type_has("single_hline")) {
    handle.primitives.push_back(gfx_mark(at, {-LINE, 0}, {LINE, 0}, look));
  } else if (type_has("single_circle")) {
    handle.primitives.push_back(gfx_ring(at, RING, look));
  } else if (type_has("simple_cross")) {
    arms(0, ARM);
  } else if (type_has("star8")) {
    arms(GAP, STAR);
    for (const gfx_point d : {gfx_point{1, 1}, {-1, 1}, {1, -1}, {-1, -1}})
      handle.primitives.push_back(gfx_mark(at, {d.x * GAP, d.y * GAP}, {d.x * SLANT, d.y * SLANT}, look));
  } else if (type_has("cross_circle")) {
    handle.primitives.push_back(gfx_ring(at, RING, look));
    arms(GAP, RING + ARM / 2);
  } else {
    arms(GAP, ARM + GAP);
  }
  // The middle of a mark that is open there can be taken hold of, too.
  handle.primitives.push_back(gfx_ring(at, 1, look));
}

void center_widget::prepare() {
  start();
  if (!part(CENTER_CENTER) && !part(CENTER_OFFSET)) return;
  const layer_point at = middle();
  if (part(CENTER_CENTER)) add_mark(add_handle("center", at), look());
  if (!part(CENTER_OFFSET)) return;
  const layer_point end = at + offset_step();
  add_shape(gfx_segment(gfx(at), gfx(end), look(gfx_line_style::dashed)));
  widget_handle& handle = add_handle("offset", end);
  handle.primitives.push_back(gfx_square_handle(gfx(end), look()));
}

void center_widget::drag(int handle, float x, float y) {
  const bool has_center = part(CENTER_CENTER) != nullptr;
  if (has_center && handle == AT_CENTER)
    set_param_place(*part(CENTER_CENTER), target(x, y));
  else
    set_offset_step(target(x, y) - middle());
}

}  // namespace

std::unique_ptr<widget> make_center_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<center_widget>(g, d);
}

}  // namespace tessaron
