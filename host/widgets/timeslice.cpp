// Widgets of base type "timeslice": a line at `angle`, and the edges of a slice around it.
//
// slice_width is the whole width of the slice. An offset of one channel moves the line to its upper side (at an angle
// of 0: upwards), one of two channels is a step on the layer.
#include <cmath>
#include <numbers>
#include <vector>

#include "host/widgets/marks.h"
#include "host/widgets/turned_axes.h"
#include "host/widgets/widget.h"

namespace tessaron {

namespace {

class timeslice_widget final : public widget {
 public:
  timeslice_widget(const genotype& g, const widget_declaration& d) : widget(g, d) {
    check_type("Timeslice", {"timeslice"});
  }

  void prepare() override;
  void drag(int handle, float x, float y) override;

 private:
  enum class moves { angle, width, offset };

  /// How far the line is from the frame's middle; an offset of two channels moves the axes instead.
  double line_up() const;
  turned_axes axes() const;
  layer_point axes_middle() const;
  gfx_look slice_look(gfx_line_style style = gfx_line_style::solid) const { return look(style, gfx_color::white); }
  gfx_primitive line_at(double up, gfx_line_style style) const;
  widget_handle& add(moves what, const char* part_name, turned_point at);
  void add_edges();
  static double arm() { return 0.3 * short_side(); }

  std::vector<moves> moved_;  // by handle
};

double timeslice_widget::line_up() const {
  param* offset = part(TIMESLICE_OFFSET);
  return offset && offset->nchannels < 2 ? param_length(*offset, 0, false) : 0;
}

layer_point timeslice_widget::axes_middle() const {
  param* offset = part(TIMESLICE_OFFSET);
  const layer_point middle = current_layer_frame().middle();
  return offset && offset->nchannels > 1 ? middle + param_step(*offset) : middle;
}

turned_axes timeslice_widget::axes() const {
  return {axes_middle(), part(TIMESLICE_ANGLE) ? param_angle(*part(TIMESLICE_ANGLE)) : 0};
}

gfx_primitive timeslice_widget::line_at(double up, gfx_line_style style) const {
  const double half = axes().frame_reach().along;
  return gfx_segment(gfx(axes().place({-half, up})), gfx(axes().place({half, up})), slice_look(style));
}

widget_handle& timeslice_widget::add(moves what, const char* part_name, turned_point at) {
  moved_.push_back(what);
  return add_handle(part_name, axes().place(at));
}

/// Edges on the line itself are held by their squares alone, so that the line can be held, too.
void timeslice_widget::add_edges() {
  constexpr double APART = 8;  // pixels of the window
  const double half = std::fabs(param_length(*part(TIMESLICE_SLICE_WIDTH), 0, false)) / 2;
  for (const double up : {line_up() + half, line_up() - half}) {
    widget_handle& handle = add(moves::width, "slice_width", {-arm(), up});
    if (half > window_length(APART))
      handle.primitives.push_back(line_at(up, gfx_line_style::dashed));
    else
      add_shape(line_at(up, gfx_line_style::dashed));
    add_square(handle, slice_look());
  }
}

void timeslice_widget::prepare() {
  start();
  moved_.clear();
  if (!part(TIMESLICE_ANGLE) && !part(TIMESLICE_SLICE_WIDTH) && !part(TIMESLICE_OFFSET)) return;
  if (part(TIMESLICE_ANGLE)) add_dot(add(moves::angle, "angle", {arm(), line_up()}), slice_look());
  if (part(TIMESLICE_SLICE_WIDTH)) add_edges();
  const gfx_primitive line = line_at(line_up(), gfx_line_style::solid);
  if (!part(TIMESLICE_OFFSET)) return add_shape(line);
  widget_handle& handle = add(moves::offset, "offset", {0, line_up()});
  handle.primitives.push_back(line);
  add_square(handle, slice_look());
}

void timeslice_widget::drag(int handle, float x, float y) {
  const layer_point to = target(x, y);
  if (!is_finite(to)) return;
  const double up = axes().measure(to).up;
  switch (moved_[std::size_t(handle)]) {
    case moves::angle:
      // The handle goes round the frame's middle, not round the line's.
      return drag_angle(*part(TIMESLICE_ANGLE), axes_middle(), to,
                        std::atan2(line_up(), arm()) * 180 / std::numbers::pi);
    case moves::width:
      set_param_width(*part(TIMESLICE_SLICE_WIDTH), 2 * std::fabs(up - line_up()));
      return;
    case moves::offset:
      if (part(TIMESLICE_OFFSET)->nchannels > 1)
        set_param_step(*part(TIMESLICE_OFFSET), to - current_layer_frame().middle());
      else
        set_param_length(*part(TIMESLICE_OFFSET), 0, up, false);
      return;
  }
}

}  // namespace

std::unique_ptr<widget> make_timeslice_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<timeslice_widget>(g, d);
}

}  // namespace tessaron
