// Widgets of base type "ellipse": an outline whose size is its whole width, a number of 1 being half the frame's width;
// of two channels, its width and its height. It is turned by `angle`, and `rel_xy`, `rel_x` and `rel_y` make it so many
// times as wide and as high. `offset` is a step of its middle from the middle of the frame.
//
// By type: "scale4": four times as large. "_rad": the size is a radius. "_freq": the size is one over the number, as
// that of a wave of a pattern is; a number of 0 or below has none. "no_rel": the rel parts play no part. "altctr": the
// offset is the place of the middle, in its own units. "center_norm": the same, in half widths of the frame from its
// middle, whatever its units. "lensflare": the size is a radius, as that of a flare is, and the offset is the place of
// its light, from where a dashed line leads through the middle of the frame. "no_handles": the outline alone.
#include <algorithm>
#include <cmath>

#include "host/widgets/round_widget.h"

namespace tessaron {

namespace {

constexpr double TURNER_BEYOND = 48;    // pixels of the window from the outline to the handle that turns it
constexpr double USUAL_HALF = 1 / 8.0;  // of the frame's width, without a size

class ellipse_widget final : public round_widget {
 public:
  using round_widget::round_widget;
  void prepare() override;

 private:
  /// A half axis: what makes it, and how long it is.
  struct axis {
    double unit = 0;  // of a size of 1, without the rel parts
    double size = 1;
    double rel = 1;     // of rel_x or rel_y
    double rel_xy = 1;  // of the common part
    bool usable = true;
    double half() const { return std::fabs(unit * size * rel * rel_xy); }
    /// Half axis for 1 of one of the factors.
    double without_size() const { return std::fabs(unit * rel * rel_xy); }
    double without_rel() const { return std::fabs(unit * size * rel_xy); }
    double without_rel_xy() const { return std::fabs(unit * size * rel); }
  };

  param* rel_part(int slot) const { return type_has("no_rel") ? nullptr : part(slot); }
  bool is_frequency() const { return type_has("_freq"); }
  place_rule offset_rule() const;
  axis make_axis(int channel) const;
  void add_width_squares(const gfx_look& line);
  void add_rel_squares(const gfx_look& line);
  void add_outlines(const gfx_look& line);
  void add_lone_arm(const gfx_look& dashed);
  void add_flare_line(const gfx_look& dashed);

  axis x_, y_;
};

ellipse_widget::place_rule ellipse_widget::offset_rule() const {
  if (type_has("center_norm")) return place_rule::norm;
  return type_has("altctr") || type_has("lensflare") ? place_rule::place : place_rule::step;
}

ellipse_widget::axis ellipse_widget::make_axis(int channel) const {
  const layer_frame frame = current_layer_frame();
  axis a;
  a.unit = frame.width * USUAL_HALF;
  if (param* width = part(ELLIPSE_WIDTH)) {
    const int own = width->nchannels > 1 ? channel : 0;
    const double of_number = type_has("_rad") || type_has("lensflare") ? 1 : 0.5;
    if (is_frequency())
      a.unit = of_number * frame.width / 2;
    else
      a.unit = of_number * type_scale() * unit_length(*width, own == 1) * (own == 1 ? frame.par : 1);
    const size_part size{width, own, {}, is_frequency()};
    a.size = size.size();
    a.usable = size.is_usable();
  }
  if (param* rel = rel_part(channel == 0 ? ELLIPSE_REL_X : ELLIPSE_REL_Y)) a.rel = param_number(*rel, 0);
  if (param* rel = rel_part(ELLIPSE_REL_XY)) a.rel_xy = param_number(*rel, rel->nchannels > 1 ? channel : 0);
  return a;
}

void ellipse_widget::add_width_squares(const gfx_look& line) {
  param* width = part(ELLIPSE_WIDTH);
  if (!width) return;
  const screen_step unit{x_.without_size(), y_.without_size()};
  if (width->nchannels == 1) {
    add_size_squares({"width", *width, unit, is_frequency()}, 2, line);
    return;
  }
  add_square("width", {width, 0, unit, is_frequency()}, size_way::ray, 0, line);
  add_square("width", {width, 1, unit, is_frequency()}, size_way::ray, 90, line);
}

/// At the left and below, where the width has no squares; a common part that shares them with others at a slant.
void ellipse_widget::add_rel_squares(const gfx_look& line) {
  constexpr double LEFT = 180, BELOW = 270, SLANT = 225;
  param *rel_x = rel_part(ELLIPSE_REL_X), *rel_y = rel_part(ELLIPSE_REL_Y), *rel_xy = rel_part(ELLIPSE_REL_XY);
  const screen_step unit{x_.without_rel(), y_.without_rel()};
  const screen_step common{x_.without_rel_xy(), y_.without_rel_xy()};
  if (rel_x) add_square("rel_x", {rel_x, 0, unit}, size_way::ray, LEFT, line, x_.usable);
  if (rel_y) add_square("rel_y", {rel_y, 0, unit}, size_way::ray, BELOW, line, y_.usable);
  if (!rel_xy) return;
  if (rel_xy->nchannels > 1 && !rel_x && !rel_y) {
    add_square("rel_xy", {rel_xy, 0, common}, size_way::ray, LEFT, line, x_.usable);
    add_square("rel_xy", {rel_xy, 1, common}, size_way::ray, BELOW, line, y_.usable);
    return;
  }
  const bool shown = x_.usable && y_.usable;
  if (rel_xy->nchannels == 1) return add_square("rel_xy", {rel_xy, 0, common}, size_way::outline, SLANT, line, shown);
  widget_handle& handle = add_common("rel_xy", {rel_xy}, {x_.half(), y_.half()}, SLANT);
  if (shown) handle.primitives.push_back(gfx_square_handle(handle.position, line));
}

void ellipse_widget::add_outlines(const gfx_look& line) {
  param* width = part(ELLIPSE_WIDTH);
  const screen_step half{x_.half(), y_.half()};
  const bool usable = x_.usable && y_.usable;
  if (!width || type_has("no_handles")) {
    if (usable && (half.x > 0 || half.y > 0)) add_shape(oval(half, line));
    return;
  }
  if (width->nchannels == 1)
    return add_outline("width", {width, 0, {x_.without_size(), y_.without_size()}, is_frequency()}, line);
  constexpr double SLANT = 135;
  add_oval(add_common("width", {width, 0, {}, is_frequency()}, half, SLANT), half, usable, line);
}

/// A half axis whose partner has no length.
void ellipse_widget::add_lone_arm(const gfx_look& dashed) {
  if (x_.usable == y_.usable) return;
  add_shape(arm(x_.usable ? around({x_.half(), 0}) : around({0, y_.half()}), dashed));
}

void ellipse_widget::add_flare_line(const gfx_look& dashed) {
  const layer_point pivot = current_layer_frame().middle();
  add_shape(arm(pivot + (pivot - middle()), dashed));
}

void ellipse_widget::prepare() {
  param *offset = part(ELLIPSE_OFFSET), *angle = part(ELLIPSE_ANGLE);
  start_round(offset ? place_of(*offset, offset_rule()) : current_layer_frame().middle(),
              angle ? param_angle(*angle) : 0);
  if (!has_parts()) return;
  x_ = make_axis(0);
  y_ = make_axis(1);
  const gfx_look line = look(gfx_line_style::solid, gfx_color::blue);
  const gfx_look dashed = look(gfx_line_style::dashed, gfx_color::blue);
  if (type_has("no_handles")) return add_outlines(line);
  add_width_squares(line);
  add_rel_squares(line);
  add_lone_arm(dashed);
  if (type_has("lensflare")) add_flare_line(dashed);
  if (offset)
    add_mover("offset", *offset, offset_rule(), line);
  else
    add_middle_mark(line);
  if (angle) {
    const double reach = x_.usable ? x_.half() : y_.half();
    add_turner(part_name(ELLIPSE_ANGLE), *angle, reach + TURNER_BEYOND * window_pixel(), dashed, line);
  }
  add_outlines(line);
}

}  // namespace

std::unique_ptr<widget> make_ellipse_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<ellipse_widget>(g, d);
}

}  // namespace tessaron
