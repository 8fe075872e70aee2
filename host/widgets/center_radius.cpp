// Widgets of base type "center_radius": a cross on the middle of an outline whose size is a radius, a number of 1 being
// half the frame's width. One channel makes a circle, two make the half width and the half height of an oval, more make
// a circle for each colour.
//
// "yscale": the outline has the frame's proportions, a number of 1 being half the frame's width and half its height.
// "center_rel": the centre counts in whole frames from the lower left corner.
#include "host/widgets/round_widget.h"

namespace tessaron {

namespace {

class center_radius_widget final : public round_widget {
 public:
  center_radius_widget(const genotype& g, const widget_declaration& d) : round_widget(g, d) {
    check_type("CenterRadius", {"center_radius", "center_radius_yscale", "center_radius_center_rel"});
  }

  void prepare() override;

 private:
  place_rule center_rule(const param& center) const {
    return type_has("center_rel") && center.units() == UNITS_NONE ? place_rule::fraction : place_rule::place;
  }
  screen_step radius_unit(const param& radius) const;
};

screen_step center_radius_widget::radius_unit(const param& radius) const {
  const double x = unit_length(radius, false);
  if (type_has("yscale")) return {x, x * frame_proportion()};
  return {x, radius.nchannels == 2 ? unit_length(radius, true) * current_layer_frame().par : x};
}

void center_radius_widget::prepare() {
  param *center = part(CENTER_RADIUS_CENTER), *radius = part(CENTER_RADIUS_RADIUS);
  start_round(center ? place_of(*center, center_rule(*center)) : current_layer_frame().middle());
  if (!has_parts()) return;
  const gfx_look line = look(gfx_line_style::solid, gfx_color::cyan);
  if (radius) {
    const oval_size size{"radius", *radius, radius_unit(*radius)};
    add_shape(arm(on_oval(size.half(), 0), look(gfx_line_style::dashed, gfx_color::cyan)));
    add_size_squares(size, 4, line);
    if (!center) add_middle_mark(line);
  }
  if (center) add_mover("center", *center, center_rule(*center), line);
  if (radius) add_size_outlines({"radius", *radius, radius_unit(*radius)}, line);
}

}  // namespace

std::unique_ptr<widget> make_center_radius_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<center_radius_widget>(g, d);
}

}  // namespace tessaron
