// Widgets of base type "simple_rect": an upright rectangle of two corners, or of a number for each side.
//
// left_bottom and right_top are points; left, right, bottom and top are places along x or y and stand above the points.
// Plain numbers count from the middle in half widths of the frame, y upwards; in "simple_rect_1" they are shares of the
// frame, 0 at the left and the bottom, 1 at the right and the top. A side without a parameter is the frame's.
#include <array>
#include <cmath>

#include "host/widgets/marks.h"
#include "host/widgets/turned_axes.h"
#include "host/widgets/widget.h"

namespace tessaron {

namespace {

enum side_number { LEFT, BOTTOM, RIGHT, TOP, SIDES };
constexpr const char* SIDE_NAMES[SIDES] = {"left", "bottom", "right", "top"};
constexpr bool is_vertical(int side) { return side == BOTTOM || side == TOP; }  // its place lies along y

struct corner_sides {
  const char* name;
  side_number x, y;
};
constexpr corner_sides CORNERS[] = {
    {"right_top", RIGHT, TOP}, {"left_top", LEFT, TOP}, {"left_bottom", LEFT, BOTTOM}, {"right_bottom", RIGHT, BOTTOM}};
constexpr int FIRST_SIDE = int(std::size(CORNERS)), MIDDLE = FIRST_SIDE + SIDES;  // numbers of handles

class simple_rect_widget final : public widget {
 public:
  simple_rect_widget(const genotype& g, const widget_declaration& d) : widget(g, d) {
    check_type("SimpleRect", {"simple_rect", "simple_rect_1"});
  }

  void prepare() override;
  void begin_drag(int handle, float x, float y) override;
  void drag(int handle, float x, float y) override;

 private:
  using places = std::array<double, SIDES>;  // of the sides, pixels

  struct side_channel {
    param* p = nullptr;
    int channel = 0;
  };
  side_channel channel_of(int side) const;
  bool moves(int side) const { return channel_of(side).p != nullptr; }
  bool counts_shares(const param& p) const { return type_has("simple_rect_1") && p.units() == UNITS_NONE; }
  places sides() const;
  void set_side(int side, double place) const;
  gfx_look rect_look() const { return look(gfx_line_style::solid, gfx_color::cyan); }
  void add_corner(const places& at, const corner_sides& corner);
  void add_side(const places& at, int side);
  void add_middle(const places& at);

  places begun_{};  // sides when the drag began
};

layer_point middle_of(const std::array<double, SIDES>& at) {
  return {(at[LEFT] + at[RIGHT]) / 2, (at[BOTTOM] + at[TOP]) / 2};
}

simple_rect_widget::side_channel simple_rect_widget::channel_of(int side) const {
  constexpr int OWN[SIDES] = {SIMPLE_RECT_LEFT, SIMPLE_RECT_BOTTOM, SIMPLE_RECT_RIGHT, SIMPLE_RECT_TOP};
  if (part(OWN[side])) return {part(OWN[side]), 0};
  param* point = part(side == LEFT || side == BOTTOM ? SIMPLE_RECT_LEFT_BOTTOM : SIMPLE_RECT_RIGHT_TOP);
  const int channel = is_vertical(side) ? 1 : 0;
  return point && point->nchannels > channel ? side_channel{point, channel} : side_channel{};
}

simple_rect_widget::places simple_rect_widget::sides() const {
  const layer_frame frame = current_layer_frame();
  places at = {0, frame.height, frame.width, 0};
  for (int side = 0; side < SIDES; ++side) {
    const side_channel s = channel_of(side);
    if (!s.p) continue;
    if (counts_shares(*s.p)) {
      const double share = param_number(*s.p, s.channel);
      at[std::size_t(side)] = is_vertical(side) ? frame.height * (1 - share) : frame.width * share;
      continue;
    }
    const layer_point origin = param_place(*s.p) - param_step(*s.p);
    const double length = param_length(*s.p, s.channel, is_vertical(side));
    at[std::size_t(side)] = is_vertical(side) ? origin.y - length : origin.x + length;
  }
  return at;
}

void simple_rect_widget::set_side(int side, double place) const {
  const side_channel s = channel_of(side);
  if (!s.p) return;
  const layer_frame frame = current_layer_frame();
  if (counts_shares(*s.p)) {
    set_param_number(*s.p, s.channel, is_vertical(side) ? 1 - place / frame.height : place / frame.width);
    return;
  }
  const layer_point origin = param_place(*s.p) - param_step(*s.p);
  set_param_length(*s.p, s.channel, is_vertical(side) ? origin.y - place : place - origin.x, is_vertical(side));
}

void simple_rect_widget::add_corner(const places& at, const corner_sides& corner) {
  widget_handle& handle = add_handle(corner.name, {at[corner.x], at[corner.y]});
  if (moves(corner.x) || moves(corner.y)) add_square(handle, rect_look());
}

/// A side is held by its whole line. The square on its middle is left out where it would cover those of the corners.
void simple_rect_widget::add_side(const places& at, int side) {
  constexpr double ROOM = 24;  // pixels of the window
  const layer_frame frame = current_layer_frame();
  const layer_point middle = middle_of(at), half{(at[RIGHT] - at[LEFT]) / 2, (at[TOP] - at[BOTTOM]) / 2};
  const double place = at[std::size_t(side)];
  const layer_point on = is_vertical(side) ? layer_point{middle.x, place} : layer_point{place, middle.y};
  const layer_point arm = is_vertical(side) ? layer_point{half.x, 0} : layer_point{0, half.y};
  const gfx_primitive line = gfx_segment(gfx(on - arm), gfx(on + arm), rect_look());
  widget_handle& handle = add_handle(SIDE_NAMES[side], on);
  if (!moves(side)) return add_shape(line);
  handle.primitives.push_back(line);
  if (2 * std::hypot(arm.x, arm.y * frame.par) >= window_length(ROOM)) add_square(handle, rect_look());
}

void simple_rect_widget::add_middle(const places& at) {
  widget_handle& handle = add_handle("center", middle_of(at));
  if ((moves(LEFT) && moves(RIGHT)) || (moves(BOTTOM) && moves(TOP))) add_cross(handle, rect_look());
}

/// Handles that can't be held stay in the list, so that all keep their numbers.
void simple_rect_widget::prepare() {
  start();
  if (!moves(LEFT) && !moves(BOTTOM) && !moves(RIGHT) && !moves(TOP)) return;
  const places at = sides();
  for (const corner_sides& corner : CORNERS) add_corner(at, corner);
  for (int side = 0; side < SIDES; ++side) add_side(at, side);
  add_middle(at);
}

void simple_rect_widget::begin_drag(int handle, float x, float y) {
  widget::begin_drag(handle, x, y);
  begun_ = sides();
}

void simple_rect_widget::drag(int handle, float x, float y) {
  const layer_point to = target(x, y);
  if (!is_finite(to)) return;
  const auto set = [&](int side) { set_side(side, is_vertical(side) ? to.y : to.x); };
  if (handle < FIRST_SIDE) {
    set(CORNERS[handle].x);
    set(CORNERS[handle].y);
    return;
  }
  if (handle < MIDDLE) return set(handle - FIRST_SIDE);
  // From where the drag began: a side that a limit has stopped finds its way back. Sides move in pairs, or the
  // rectangle would change its size.
  const layer_point step = to - middle_of(begun_);
  const bool along_x = moves(LEFT) && moves(RIGHT), along_y = moves(BOTTOM) && moves(TOP);
  for (int side = 0; side < SIDES; ++side)
    if (is_vertical(side) ? along_y : along_x)
      set_side(side, begun_[std::size_t(side)] + (is_vertical(side) ? step.y : step.x));
}

}  // namespace

std::unique_ptr<widget> make_simple_rect_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<simple_rect_widget>(g, d);
}

}  // namespace tessaron
