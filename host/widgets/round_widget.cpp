#include "host/widgets/round_widget.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/widgets/declarations.h"

namespace tessaron {

namespace {

constexpr double RADIAN = std::numbers::pi / 180;
constexpr double OUTLINE_GRIP_AT = 135;  // degrees: where an outline says that it is, away from the squares
constexpr double SMALLEST_FREQUENCY = 1 / 65536.0, SMALLEST_SIZE = 1e-6;
constexpr gfx_color CHANNEL_COLORS[] = {gfx_color::red, gfx_color::green, gfx_color::blue, gfx_color::white};

screen_step absolute(screen_step s) { return {std::fabs(s.x), std::fabs(s.y)}; }

}  // namespace

const char* round_widget::part_name(int slot) const { return part_in_slot(declaration(), slot)->name; }

bool round_widget::has_parts() const {
  for (int slot = 0; slot < MAX_WIDGET_PARTS; ++slot)
    if (part(slot)) return true;
  return false;
}

layer_point round_widget::place_of(param& p, place_rule rule) {
  const layer_frame frame = current_layer_frame();
  const double y = p.nchannels > 1 ? param_number(p, 1) : 0;
  switch (rule) {
    case place_rule::place:
      return param_place(p);
    case place_rule::step:
      return frame.middle() + param_step(p);
    case place_rule::fraction:
      return {param_number(p, 0) * frame.width, p.nchannels > 1 ? (1 - y) * frame.height : frame.height / 2};
    case place_rule::norm:
      break;
  }
  const double unit = frame.width / 2;
  return frame.middle() + layer_point{param_number(p, 0) * unit, -y * unit / frame.par};
}

void round_widget::set_place(param& p, place_rule rule, layer_point place) {
  const layer_frame frame = current_layer_frame();
  const layer_point step = place - frame.middle();
  const double unit = frame.width / 2;
  switch (rule) {
    case place_rule::place:
      set_param_place(p, place);
      return;
    case place_rule::step:
      set_param_step(p, step);
      return;
    case place_rule::fraction:
      set_param_number(p, 0, place.x / frame.width);
      if (p.nchannels > 1) set_param_number(p, 1, 1 - place.y / frame.height);
      return;
    case place_rule::norm:
      set_param_number(p, 0, step.x / unit);
      if (p.nchannels > 1) set_param_number(p, 1, -step.y * frame.par / unit);
  }
}

double round_widget::size_part::size() const {
  const double number = param_number(*p, channel);
  if (!frequency) return number;
  return number > 0 ? 1 / number : 0;
}

bool round_widget::size_part::is_usable() const { return !frequency || param_number(*p, channel) > 0; }

screen_step round_widget::oval_size::half(int channel) const {
  const double x = part(channel).size(), y = p.nchannels == 2 ? part(1).size() : x;
  return absolute({unit.x * x, unit.y * y});
}

bool round_widget::oval_size::is_usable() const {
  return part(0).is_usable() && (p.nchannels == 1 || part(1).is_usable());
}

void round_widget::set_size(const size_part& part, double size) {
  if (part.frequency) {
    const double least = part.p->ptype == PTYPE_INT ? 1 : SMALLEST_FREQUENCY;
    size = std::max(least, 1 / std::max(size, SMALLEST_SIZE));
  }
  set_param_number(*part.p, part.channel, size);
}

void round_widget::start_round(layer_point middle, double turn) {
  start();
  grips_.clear();
  middle_ = middle;
  turn_ = turn;
}

layer_point round_widget::around(screen_step s) const {
  const double c = std::cos(turn_ * RADIAN), sine = std::sin(turn_ * RADIAN);
  return middle_ + layer_point{s.x * c - s.y * sine, -(s.x * sine + s.y * c) / current_layer_frame().par};
}

screen_step round_widget::from_middle(layer_point at) const {
  const double c = std::cos(turn_ * RADIAN), sine = std::sin(turn_ * RADIAN);
  const double x = at.x - middle_.x, y = (middle_.y - at.y) * current_layer_frame().par;
  return {x * c + y * sine, y * c - x * sine};
}

layer_point round_widget::on_oval(screen_step half, double degrees) const {
  return around({half.x * std::cos(degrees * RADIAN), half.y * std::sin(degrees * RADIAN)});
}

/// The turned oval as an ellipse of the layer, whose pixels need not be square: the singular values of the matrix that
/// takes a circle to it are its half axes there.
gfx_primitive round_widget::oval(screen_step half, gfx_look look) const {
  const double par = current_layer_frame().par;
  const double c = std::cos(turn_ * RADIAN), s = std::sin(turn_ * RADIAN);
  const double m00 = half.x * c, m01 = -half.y * s, m10 = -half.x * s / par, m11 = -half.y * c / par;
  const double e = (m00 + m11) / 2, f = (m00 - m11) / 2, g = (m10 + m01) / 2, h = (m10 - m01) / 2;
  const double q = std::hypot(e, h), r = std::hypot(f, g);
  const double angle = (std::atan2(h, e) + std::atan2(g, f)) / 2 / RADIAN;
  return gfx_ellipse(gfx(middle_), {float(q + r), float(std::fabs(q - r))}, float(angle), look);
}

double round_widget::window_pixel() {
  const auto& m = gfx_top_matrix().m;
  const double length = std::hypot(double(m[0][0]), double(m[1][0]));
  return length > 0 ? 1 / length : 0;
}

double round_widget::frame_proportion() {
  const layer_frame frame = current_layer_frame();
  return frame.height * frame.par / frame.width;
}

void round_widget::add_mover(const char* part_name, param& p, place_rule rule, gfx_look look) {
  constexpr float GAP = 3, END = 11;
  widget_handle& handle = add_handle(part_name, middle_);
  for (const gfx_point d : {gfx_point{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
    handle.primitives.push_back(gfx_mark(handle.position, {d.x * GAP, d.y * GAP}, {d.x * END, d.y * END}, look));
  handle.primitives.push_back(gfx_ring(handle.position, 1, look));
  grip g;
  g.part.p = &p;
  g.rule = rule;
  grips_.push_back(g);
}

void round_widget::add_middle_mark(gfx_look look) {
  constexpr float END = 4;
  add_shape(gfx_mark(gfx(middle_), {-END, 0}, {END, 0}, look));
  add_shape(gfx_mark(gfx(middle_), {0, -END}, {0, END}, look));
}

widget_handle& round_widget::add_size(const char* part_name, const size_part& part, size_way way, double degrees,
                                      layer_point at) {
  grip g;
  g.kind = grip_kind::size;
  g.part = part;
  g.part.unit = absolute(part.unit);
  g.way = way;
  g.degrees = degrees;
  grips_.push_back(g);
  return add_handle(part_name, at);
}

void round_widget::add_square(const char* part_name, const size_part& part, size_way way, double degrees, gfx_look look,
                              bool shown) {
  widget_handle& handle = add_size(part_name, part, way, degrees, on_oval(absolute(part.unit * part.size()), degrees));
  if (shown && part.is_usable()) handle.primitives.push_back(gfx_square_handle(handle.position, look));
}

void round_widget::add_size_squares(const oval_size& size, int sides, gfx_look look) {
  const int channels = size.p.nchannels;
  if (channels == 2) {
    add_square(size.part_name, size.part(0), size_way::ray, 0, look);
    add_square(size.part_name, size.part(1), size_way::ray, 90, look);
    return;
  }
  if (channels == 1) {
    widget_handle& handle = add_size(size.part_name, size.part(0), size_way::outline, 0, on_oval(size.half(), 0));
    for (int side = 0; side < sides && size.part(0).is_usable(); ++side)
      handle.primitives.push_back(gfx_square_handle(gfx(on_oval(size.half(), side * 90)), look));
    return;
  }
  for (int channel = 0; channel < channels; ++channel) {
    look.color = CHANNEL_COLORS[channel];
    add_square(size.part_name, size.part(channel), size_way::outline, channel * 90, look);
  }
}

void round_widget::add_size_outlines(const oval_size& size, gfx_look look) {
  const int channels = size.p.nchannels;
  if (channels == 1) return add_outline(size.part_name, size.part(0), look);
  if (channels == 2) {
    const screen_step half = size.half();
    add_oval(add_common(size.part_name, size.part(0), half, OUTLINE_GRIP_AT), half, size.is_usable(), look);
    return;
  }
  for (int channel = 0; channel < channels; ++channel) {
    look.color = CHANNEL_COLORS[channel];
    add_outline(size.part_name, size.part(channel), look);
  }
}

void round_widget::add_outline(const char* part_name, const size_part& part, gfx_look look) {
  const screen_step half = absolute(part.unit * part.size());
  widget_handle& handle = add_size(part_name, part, size_way::outline, OUTLINE_GRIP_AT, on_oval(half, OUTLINE_GRIP_AT));
  add_oval(handle, half, part.is_usable(), look);
}

void round_widget::add_oval(widget_handle& handle, screen_step half, bool usable, gfx_look look) {
  if (usable && (half.x > 0 || half.y > 0)) handle.primitives.push_back(oval(half, look));
}

widget_handle& round_widget::add_common(const char* part_name, const size_part& part, screen_step half,
                                        double degrees) {
  grip g;
  g.kind = grip_kind::common;
  g.part = part;
  g.part.unit = half;
  grips_.push_back(g);
  return add_handle(part_name, on_oval(half, degrees));
}

void round_widget::add_turner(const char* part_name, param& p, double length, gfx_look arm_look, gfx_look look) {
  const layer_point end = around({length, 0});
  widget_handle& handle = add_handle(part_name, end);
  handle.primitives.push_back(gfx_round_handle(handle.position, look));
  handle.primitives.push_back(arm(end, arm_look));
  grip g;
  g.kind = grip_kind::turn;
  g.part.p = &p;
  grips_.push_back(g);
}

/// The size whose oval, ray or axis ends at the mouse.
double round_widget::measure(const grip& g, screen_step mouse) {
  const auto over = [](double a, double b) { return b > 0 ? std::fabs(a) / b : 0; };
  const screen_step unit = g.part.unit;
  const screen_step end{unit.x * std::cos(g.degrees * RADIAN), unit.y * std::sin(g.degrees * RADIAN)};
  switch (g.way) {
    case size_way::outline:
      return std::hypot(over(mouse.x, unit.x), over(mouse.y, unit.y));
    case size_way::ray:
      return over(mouse.x * end.x + mouse.y * end.y, end.x * end.x + end.y * end.y);
    case size_way::across:
      return over(mouse.x, std::fabs(end.x));
    case size_way::upwards:
      break;
  }
  return over(mouse.y, std::fabs(end.y));
}

void round_widget::begin_drag(int handle, float x, float y) {
  widget::begin_drag(handle, x, y);
  held_ = grips_[std::size_t(handle)];
  const layer_point mouse{double(x), double(y)};
  switch (held_.kind) {
    case grip_kind::move:
      break;
    case grip_kind::size:
    case grip_kind::common:
      held_.first_mouse = measure(held_, from_middle(mouse));
      held_.first[0] = held_.part.size();
      if (held_.kind == grip_kind::common) held_.first[1] = size_part{held_.part.p, 1, {}, held_.part.frequency}.size();
      break;
    case grip_kind::turn:
      held_.first[0] = param_angle(*held_.part.p);
      held_.first_mouse = mouse == middle_ ? turn_ : direction_angle(mouse - middle_, current_layer_frame());
      break;
  }
}

void round_widget::drag(int, float x, float y) {
  if (!std::isfinite(x) || !std::isfinite(y)) return;
  const layer_point mouse{double(x), double(y)};
  switch (held_.kind) {
    case grip_kind::move:
      return set_place(*held_.part.p, held_.rule, target(x, y));
    case grip_kind::size:
    case grip_kind::common:
      return drag_sizes(mouse);
    case grip_kind::turn:
      return drag_turn(mouse);
  }
}

void round_widget::drag_sizes(layer_point mouse) const {
  const double step = measure(held_, from_middle(mouse)) - held_.first_mouse;
  if (held_.kind == grip_kind::size) {
    const double grown = std::max(0.0, std::fabs(held_.first[0]) + step);
    return set_size(held_.part, std::copysign(grown, held_.first[0]));
  }
  const double factor = std::max(0.0, 1 + step);
  for (int channel = 0; channel < 2; ++channel)
    set_size({held_.part.p, channel, {}, held_.part.frequency}, held_.first[channel] * factor);
}

void round_widget::drag_turn(layer_point mouse) const {
  if (mouse == middle_) return;  // it has no direction there
  const double direction = direction_angle(mouse - middle_, current_layer_frame());
  set_param_angle(*held_.part.p, held_.first[0] + direction - held_.first_mouse);
}

}  // namespace tessaron
