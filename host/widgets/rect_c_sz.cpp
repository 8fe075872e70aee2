// Widgets of base type "rect_c_sz": a rectangle of a centre and a size.
//
// `size` is the whole width and height; one channel is a square. The middle lies by `offset` beside the centre, on the
// other side of it while `negate` is on, and `angle` turns the rectangle about its middle. In "rect_center_size"
// dragging a corner or a side leaves the opposite one where it is; in "rect_size" the centre belongs to another
// widget: it has no handle here, and the rectangle grows to both sides.
#include <algorithm>
#include <cmath>
#include <vector>

#include "host/widgets/marks.h"
#include "host/widgets/turned_box.h"
#include "host/widgets/widget.h"

namespace tessaron {

namespace {

class rect_c_sz_widget final : public widget {
 public:
  rect_c_sz_widget(const genotype& g, const widget_declaration& d) : widget(g, d) {
    check_type("RectCSz", {"rect_center_size", "rect_size"});
  }

  void prepare() override;
  void begin_drag(int handle, float x, float y) override;
  void drag(int handle, float x, float y) override;

 private:
  enum class moves { size, angle, offset, center };

  bool center_moves() const { return part(RECT_C_SZ_CENTER) && !is_size_alone(); }
  bool is_size_alone() const { return !type_has("center"); }
  layer_point center() const;
  double sign() const { return part(RECT_C_SZ_NEGATE) && param_number(*part(RECT_C_SZ_NEGATE), 0) > 0 ? -1 : 1; }
  layer_point offset_step() const;
  turned_box box() const;
  gfx_look rect_look(gfx_line_style style = gfx_line_style::solid) const { return look(style, gfx_color::blue); }
  widget_handle& add(moves what, const char* part_name, layer_point at);
  void add_sizes();
  void add_places();
  void drag_size(box_spot spot, layer_point to);

  std::vector<moves> moved_;  // by handle
  turned_box begun_{{{}, 0}, {}};
};

layer_point rect_c_sz_widget::center() const {
  return part(RECT_C_SZ_CENTER) ? param_place(*part(RECT_C_SZ_CENTER)) : current_layer_frame().middle();
}

layer_point rect_c_sz_widget::offset_step() const {
  return part(RECT_C_SZ_OFFSET) ? param_step(*part(RECT_C_SZ_OFFSET)) * sign() : layer_point{};
}

turned_box rect_c_sz_widget::box() const {
  const turned_axes axes(center() + offset_step(), part(RECT_C_SZ_ANGLE) ? param_angle(*part(RECT_C_SZ_ANGLE)) : 0);
  param* size = part(RECT_C_SZ_SIZE);
  if (!size) return {axes, {}};
  const double half = param_length(*size, 0, false) / 2;
  if (size->nchannels < 2) return {axes, {half, half}};
  return {axes, {half, param_length(*size, 1, true) / 2 * current_layer_frame().par}};
}

widget_handle& rect_c_sz_widget::add(moves what, const char* part_name, layer_point at) {
  moved_.push_back(what);
  return add_handle(part_name, at);
}

void rect_c_sz_widget::add_sizes() {
  const turned_box b = box();
  for (const box_spot spot : BOX_SPOTS) {
    if (!spot.is_corner() && part(RECT_C_SZ_SIZE)->nchannels < 2) continue;
    widget_handle& handle = add(moves::size, "size", b.spot(spot));
    if (spot.is_corner() || !b.crowded(spot)) add_square(handle, rect_look());
  }
}

void rect_c_sz_widget::add_places() {
  const turned_box b = box();
  const layer_point middle = b.axes.place({});
  if (part(RECT_C_SZ_OFFSET)) {
    add_shape(gfx_segment(gfx(center()), gfx(middle), rect_look(gfx_line_style::dotted)));
    add_square(add(moves::offset, "offset", middle), rect_look());
  }
  if (center_moves()) {
    widget_handle& handle = add(moves::center, "center", center());
    add_cross(handle, rect_look());
    if (part(RECT_C_SZ_SIZE)) handle.primitives.push_back(b.outline(rect_look()));
  } else if (part(RECT_C_SZ_SIZE)) {
    add_shape(b.outline(rect_look()));
  }
}

void rect_c_sz_widget::prepare() {
  start();
  moved_.clear();
  if (part(RECT_C_SZ_SIZE)) add_sizes();
  if (part(RECT_C_SZ_ANGLE)) {
    const turned_box b = box();
    const layer_point middle = b.axes.place({}), end = b.axes.place(b.arm_end());
    add_shape(gfx_segment(gfx(middle), gfx(end), rect_look(gfx_line_style::dashed)));
    add_dot(add(moves::angle, "angle", end), rect_look());
  }
  add_places();
}

void rect_c_sz_widget::begin_drag(int handle, float x, float y) {
  widget::begin_drag(handle, x, y);
  begun_ = box();
}

/// The spot goes to the mouse. What lies opposite keeps its place where the centre moves, else the middle does.
void rect_c_sz_widget::drag_size(box_spot spot, layer_point to) {
  param& size = *part(RECT_C_SZ_SIZE);
  const turned_point from = begun_.half, at = begun_.axes.measure(to);
  const bool keeps_opposite = center_moves();
  // Of the size that the mouse asks for, on one axis: the whole of it or half of it, from what keeps its place.
  const auto asked = [&](double place, double half, int side) {
    const double kept = keeps_opposite ? -side * half : 0;
    return box_reach(place - kept, side, is_tiny(half)) * (keeps_opposite ? 1 : 2);
  };
  const double par = current_layer_frame().par;
  double along = asked(at.along, from.along, spot.along), up = asked(at.up, from.up, spot.up);
  if (size.nchannels < 2) {
    along = up = (along + up) / 2;  // nearest on the diagonal
    set_param_length(size, 0, along, false);
  } else {
    if (spot.along) set_param_length(size, 0, along, false);
    if (spot.up) set_param_length(size, 1, up / par, true);
  }
  if (!keeps_opposite) return;
  // What the parameter has become, limits and rounding included, tells where the middle is now.
  const turned_point now = box().half;
  const auto shift = [](double now_half, double half, int side, double place) {
    const double towards = is_tiny(half) ? std::copysign(1.0, place) : double(side);
    return side ? towards * (now_half - half) : 0.0;
  };
  const turned_point step{shift(now.along, from.along, spot.along, at.along), shift(now.up, from.up, spot.up, at.up)};
  set_param_place(*part(RECT_C_SZ_CENTER), begun_.axes.place(step) - offset_step());
}

void rect_c_sz_widget::drag(int handle, float x, float y) {
  const layer_point to = target(x, y);
  if (!is_finite(to)) return;
  switch (moved_[std::size_t(handle)]) {
    case moves::size:
      return drag_size(BOX_SPOTS[std::size_t(handle)], to);
    case moves::angle:
      return drag_angle(*part(RECT_C_SZ_ANGLE), box().axes.place({}), to);
    case moves::offset:
      set_param_step(*part(RECT_C_SZ_OFFSET), (to - center()) * sign());
      return;
    case moves::center:
      set_param_place(*part(RECT_C_SZ_CENTER), to);
      return;
  }
}

}  // namespace

std::unique_ptr<widget> make_rect_c_sz_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<rect_c_sz_widget>(g, d);
}

}  // namespace tessaron
