#include "host/widgets/picture_rect.h"

#include <algorithm>
#include <cmath>

#include "host/widgets/marks.h"

namespace tessaron {

layer_point picture_rect::center() const {
  return part(RECT_CENTER) ? param_place(*part(RECT_CENTER), plain()) : current_layer_frame().middle();
}

layer_point picture_rect::middle() const {
  return part(RECT_SHIFT) ? center() + param_step(*part(RECT_SHIFT), plain()) : center();
}

turned_point picture_rect::half_at_1() const {
  const layer_frame frame = current_layer_frame();
  const double share = type_has("_fullsize") ? 0.5 : 0.25;
  return {share * frame.width, share * frame.height * frame.par};
}

/// One channel is the distance for both directions.
double picture_rect::distance(int channel) const {
  param* p = part(RECT_Z_DIST);
  return p ? param_number(*p, std::min(channel, p->nchannels - 1)) : 1;
}

/// A picture at the eye or behind it can't be seen.
bool picture_rect::has_size() const { return distance(0) > 0 && distance(1) > 0; }

turned_box picture_rect::box_at(layer_point place) const {
  const turned_axes axes(place, part(RECT_ROTATE) ? param_angle(*part(RECT_ROTATE)) : 0);
  if (!has_size()) return {axes, {}};
  return {axes, {half_at_1().along / distance(0), half_at_1().up / distance(1)}};
}

widget_handle& picture_rect::add(moves what, const char* part_name, layer_point at) {
  moved_.push_back(what);
  return add_handle(part_name, at);
}

/// Handles that can't be held stay in the list, so that the others keep their numbers.
void picture_rect::add_distances() {
  const turned_box box = box_at(middle());
  const bool two = part(RECT_Z_DIST)->nchannels > 1;
  for (const box_spot spot : BOX_SPOTS) {
    if (!spot.is_corner() && !two) continue;
    widget_handle& handle = add(spot.is_corner() ? moves::corner : moves::side, "z_dist", box.spot(spot));
    spots_.push_back(spot);
    if (has_size() && (spot.is_corner() || !box.crowded(spot))) add_square(handle, rect_look());
  }
}

void picture_rect::add_angle() {
  const turned_box box = box_at(middle());
  const layer_point end = box.axes.place(box.arm_end());
  add_shape(gfx_segment(gfx(middle()), gfx(end), rect_look(gfx_line_style::dashed)));
  add_dot(add(moves::angle, "rotate", end), rect_look());
}

void picture_rect::prepare() {
  start();
  moved_.clear();
  spots_.clear();
  if (!part(RECT_Z_DIST) && !part(RECT_ROTATE) && !part(RECT_SHIFT) && !part(RECT_CENTER)) return;
  if (part(RECT_Z_DIST)) add_distances();
  if (part(RECT_ROTATE)) add_angle();
  add_places();
}

void picture_rect::begin_drag(int handle, float x, float y) {
  widget::begin_drag(handle, x, y);
  const turned_point half = box_at(middle()).half;
  tiny_along_ = is_tiny(half.along);
  tiny_up_ = is_tiny(half.up);
}

/// Size and distance are each other's inverse, so the size keeps away from 0.
void picture_rect::drag_distance(box_spot spot, turned_point to) {
  constexpr double LEAST = 0.5;  // half of the size, pixels
  param& p = *part(RECT_Z_DIST);
  const turned_point base = half_at_1();
  const double along = box_reach(to.along, spot.along, tiny_along_), up = box_reach(to.up, spot.up, tiny_up_);
  if (p.nchannels > 1) {
    if (spot.along) set_param_number(p, 0, base.along / std::max(along, LEAST));
    if (spot.up) set_param_number(p, 1, base.up / std::max(up, LEAST));
    return;
  }
  // The nearest place on the corner's ray.
  const double diagonal = std::hypot(base.along, base.up);
  const double reach = (along * base.along + up * base.up) / diagonal;
  set_param_number(p, 0, diagonal / std::max(reach, LEAST));
}

void picture_rect::drag(int handle, float x, float y) {
  const layer_point to = target(x, y);
  if (!is_finite(to)) return;
  const std::size_t i = std::size_t(handle);
  switch (moved_[i]) {
    case moves::corner:
    case moves::side:
      return drag_distance(spots_[i], box_at(middle()).axes.measure(to));
    case moves::angle:
      return drag_angle(*part(RECT_ROTATE), middle(), to);
    case moves::shift:
      set_param_step(*part(RECT_SHIFT), to - center(), plain());
      return;
    case moves::center:
      set_param_place(*part(RECT_CENTER), to, plain());
      return;
  }
}

}  // namespace tessaron
