// Widgets of base type "angle": an arm from a middle in the direction of an angle, with a round handle at its end and
// a dashed line where the angle is 0, to the right ("angle90": upwards). A stretch shows as an oval that is so many
// times as long along the arm as it is across; one of two channels is its length and its width. All of it keeps its
// size on the screen.
#include <algorithm>
#include <cmath>

#include "host/widgets/round_widget.h"

namespace tessaron {

namespace {

// Pixels of the window.
constexpr double ARM = 70;
constexpr double ARC = 34;
constexpr double STRETCH_OF_1 = 40;
constexpr double BEYOND_OVAL = 48;

class angle_widget final : public round_widget {
 public:
  angle_widget(const genotype& g, const widget_declaration& d) : round_widget(g, d) {
    check_type("Angle", {"angle", "angle90"});
  }

  void prepare() override;

 private:
  /// Degrees that the arm is ahead of the angle.
  double ahead() const { return type_has("angle90") ? 90 : 0; }
  void add_dial(double angle, gfx_look look);
};

/// The dashed line of 0 and an arc from there to the arm.
void angle_widget::add_dial(double angle, gfx_look look) {
  const layer_frame frame = current_layer_frame();
  const double radius = ARC * window_pixel();
  const layer_point zero = angle_direction(ahead()) * (ARM * window_pixel());
  add_shape(arm(middle() + zero, look));
  gfx_primitive arc = gfx_ellipse(gfx(middle()), {float(radius), float(radius / frame.par)}, 0, look);
  arc.look.style = gfx_line_style::dotted;
  arc.start = float(-ahead());
  arc.sweep = float(-std::remainder(angle, 360));
  if (arc.sweep != 0) add_shape(arc);
}

void angle_widget::prepare() {
  param *angle = part(ANGLE_ANGLE), *center = part(ANGLE_CENTER), *stretch = part(ANGLE_STRETCH);
  const double degrees = angle ? param_angle(*angle) : 0;
  start_round(center ? param_place(*center) : current_layer_frame().middle(), degrees + ahead());
  if (!has_parts()) return;
  const gfx_look line = look(gfx_line_style::solid, gfx_color::green);
  const gfx_look dashed = look(gfx_line_style::dashed, gfx_color::green);
  const double unit = STRETCH_OF_1 * window_pixel();
  if (angle) add_dial(degrees, dashed);
  double length = ARM * window_pixel();
  screen_step half{unit, unit};
  if (stretch) {
    // One channel stretches along the arm alone.
    half.x = std::fabs(param_number(*stretch, 0)) * unit;
    if (stretch->nchannels > 1) half.y = std::fabs(param_number(*stretch, 1)) * unit;
    length = std::max(length, half.x + BEYOND_OVAL * window_pixel());
    const bool both = stretch->nchannels > 1;
    add_square("stretch", {stretch, 0, {unit, unit}}, size_way::ray, 0, line);
    if (both) add_square("stretch", {stretch, 1, {unit, unit}}, size_way::ray, 90, line);
    add_shape(oval(half, line));
  }
  if (center) add_mover("center", *center, place_rule::place, line);
  if (!center) add_middle_mark(line);
  // Last, because its arm lies under the others.
  if (angle) add_turner(part_name(ANGLE_ANGLE), *angle, length, line, line);
}

}  // namespace

std::unique_ptr<widget> make_angle_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<angle_widget>(g, d);
}

}  // namespace tessaron
