// Widgets of base type "radius": an outline around the middle of the frame whose size is a radius, a number of 1 being
// half the frame's width, twice, four or eight times that by type. One channel makes a circle, two make the half width
// and the half height of an oval, more make a circle for each colour.
//
// The radius is the part "radius", or the part of any name where there is none of that. With both, a part "center" is
// the middle, and one of another name is a second radius, drawn dashed.
#include <cstring>
#include <vector>

#include "host/widgets/round_widget.h"

namespace tessaron {

namespace {

class radius_widget final : public round_widget {
 public:
  radius_widget(const genotype& g, const widget_declaration& d) : round_widget(g, d) {
    check_type("Radius", {"radius", "radius_green", "radius2", "radius4", "radius8"});
  }

  void prepare() override;

 private:
  oval_size size_of(int slot) const;
};

radius_widget::oval_size radius_widget::size_of(int slot) const {
  param& p = *part(slot);
  const double x = unit_length(p, false);
  const double y = p.nchannels == 2 ? unit_length(p, true) * current_layer_frame().par : x;
  return {part_name(slot), p, screen_step{x, y} * type_scale()};
}

void radius_widget::prepare() {
  std::vector<int> sizes;
  param* center = nullptr;
  if (part(RADIUS_RADIUS)) sizes.push_back(RADIUS_RADIUS);
  if (part(RADIUS_RADIUS) && part(RADIUS_ANY) && std::strcmp(part_name(RADIUS_ANY), "center") == 0)
    center = part(RADIUS_ANY);
  else if (part(RADIUS_ANY))
    sizes.push_back(RADIUS_ANY);
  start_round(center ? param_place(*center) : current_layer_frame().middle());
  if (!has_parts()) return;
  const gfx_look line = look(gfx_line_style::solid, gfx_color::cyan);
  const gfx_look dashed = look(gfx_line_style::dashed, gfx_color::cyan);
  if (!sizes.empty()) add_shape(arm(on_oval(size_of(sizes[0]).half(), 0), dashed));
  for (const int slot : sizes) add_size_squares(size_of(slot), 4, line);
  if (center)
    add_mover("center", *center, place_rule::place, line);
  else
    add_middle_mark(line);
  for (const int slot : sizes) add_size_outlines(size_of(slot), slot == sizes[0] ? line : dashed);
}

}  // namespace

std::unique_ptr<widget> make_radius_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<radius_widget>(g, d);
}

}  // namespace tessaron
