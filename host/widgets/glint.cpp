// Widgets of base type "glint": a star of rays around a middle, or the rings of a glow. `size` is the reach from the
// middle, a number of 1 being half the frame's width; of two channels, along and across the rows. `size_x`, `size_y`
// and `size_xy` are factors of it along and across the rows, `size_diag1` (from the lower left to the upper right) and
// `size_diag2` along the diagonals, and `size_red` to `size_alpha` in one colour. Where there is no size to be a factor
// of, they are reaches themselves.
//
// Rays are drawn for the directions that have a part, or for all when none has. The size shows as a dashed ring, a
// colour as a ray of its own between the others. With "glow" in the type's name, the size and its factors along x and y
// are an oval, each colour has one around that, and diagonals are dashed arms.
//
// By type: "no_rgb": without red, green and blue. "noxy": without x, y and their common part. "small": a number of 1 is
// an eighth of the frame's width, as it is for the width of a blur. "glow_alpha": the glow of a matte, white and with
// no colour but alpha.
#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "host/widgets/round_widget.h"

namespace tessaron {

namespace {

constexpr double USUAL_REACH = 1 / 8.0;  // of the frame's width, of a star without sizes
constexpr double SIZE_AT = -22.5;        // degrees, between the rays

struct color_row {
  int slot;
  const char* name;
  gfx_color color;
  double degrees;  // of its ray or its square, between the rays
};
constexpr color_row COLORS[] = {
    {GLINT_SIZE_RED, "size_red", gfx_color::red, 22.5},
    {GLINT_SIZE_GREEN, "size_green", gfx_color::green, 67.5},
    {GLINT_SIZE_BLUE, "size_blue", gfx_color::blue, 112.5},
    {GLINT_SIZE_ALPHA, "size_alpha", gfx_color::white, 157.5},
};

constexpr int NO_SLOT = -1;

class glint_widget final : public round_widget {
 public:
  glint_widget(const genotype& g, const widget_declaration& d) : round_widget(g, d) {
    check_type("Glint", {"glint", "glint_no_rgb", "glow", "glow_noxy", "glow_noxy_small", "glow_alpha"});
  }

  void prepare() override;

 private:
  param* used(int slot) const;
  double reach(std::initializer_list<int> slots, int axis, const param* without) const;
  /// Half axes of the size and a part that is a factor of it.
  screen_step sized(int slot, const param* without = nullptr) const {
    return {reach({GLINT_SIZE, slot}, 0, without), reach({GLINT_SIZE, slot}, 1, without)};
  }
  screen_step stretched(int slot, const param* without = nullptr) const;
  /// What a colour's part makes: an oval around that of the size or the glow.
  screen_step colored(int slot, const param* without) const {
    return is_glow() ? stretched(slot, without) : sized(slot, without);
  }
  bool is_glow() const { return type_has("glow"); }
  bool any_used(std::initializer_list<int> slots) const;
  gfx_look line(gfx_line_style style = gfx_line_style::solid) const {
    return look(style, type_has("glow_alpha") ? gfx_color::white : gfx_color::yellow);
  }

  void add_size_squares();
  void add_axis_squares();
  void add_diagonal(int slot, const char* name, double degrees);
  void add_colors();
  void add_rays();
  void add_rings();
};

/// The parameter of a part, unless the type does without it.
param* glint_widget::used(int slot) const {
  if (slot == NO_SLOT) return nullptr;
  const bool xy = slot == GLINT_SIZE_X || slot == GLINT_SIZE_Y || slot == GLINT_SIZE_XY;
  const bool rgb = slot == GLINT_SIZE_RED || slot == GLINT_SIZE_GREEN || slot == GLINT_SIZE_BLUE;
  if (xy && type_has("noxy")) return nullptr;
  if (rgb && (type_has("no_rgb") || type_has("glow_alpha"))) return nullptr;
  return part(slot);
}

bool glint_widget::any_used(std::initializer_list<int> slots) const {
  return std::any_of(slots.begin(), slots.end(), [&](int slot) { return used(slot) != nullptr; });
}

/// The product of parts along an axis, of their magnitudes: the first of them that is there is a length, the others
/// are factors. 0: none is there. `without`: as if that one were 1.
double glint_widget::reach(std::initializer_list<int> slots, int axis, const param* without) const {
  constexpr double SMALL = 0.25;
  double product = 0;
  bool is_length = true;
  for (const int slot : slots) {
    param* p = used(slot);
    if (!p) continue;
    const int channel = p->nchannels > 1 ? axis : 0;
    if (is_length)
      product = unit_length(*p, channel == 1) * (channel == 1 ? current_layer_frame().par : 1) *
                (type_has("small") ? SMALL : 1);
    is_length = false;
    if (p != without) product *= std::fabs(param_number(*p, channel));
  }
  return std::fabs(product);
}

/// Half axes of all that stretches a glow, times a part that is a factor of it. An axis that nothing is said of is as
/// long as the other one.
screen_step glint_widget::stretched(int slot, const param* without) const {
  const double x = reach({GLINT_SIZE, GLINT_SIZE_XY, GLINT_SIZE_X, slot}, 0, without);
  const double y = reach({GLINT_SIZE, GLINT_SIZE_XY, GLINT_SIZE_Y, slot}, 1, without);
  const bool common = any_used({GLINT_SIZE, GLINT_SIZE_XY});
  if (!common && used(GLINT_SIZE_X) && !used(GLINT_SIZE_Y)) return {x, x};
  if (!common && used(GLINT_SIZE_Y) && !used(GLINT_SIZE_X)) return {y, y};
  return {x, y};
}

void glint_widget::add_size_squares() {
  param* size = used(GLINT_SIZE);
  if (!size) return;
  const screen_step unit = is_glow() ? stretched(NO_SLOT, size) : sized(NO_SLOT, size);
  if (size->nchannels == 1) return add_square("size", {size, 0, unit}, size_way::outline, SIZE_AT, line());
  const screen_step half = is_glow() ? stretched(NO_SLOT) : sized(NO_SLOT);
  const auto add = [&](int channel, size_way way, double degrees) {
    widget_handle& handle = add_size("size", {size, channel, unit}, way, degrees, on_oval(half, degrees));
    handle.primitives.push_back(gfx_square_handle(handle.position, line()));
  };
  add(0, size_way::across, SIZE_AT);
  add(1, size_way::upwards, -90 - SIZE_AT);
}

/// On the rays along and across the rows, or on the oval of a glow; the common part at the left and below.
void glint_widget::add_axis_squares() {
  param *x = used(GLINT_SIZE_X), *y = used(GLINT_SIZE_Y), *xy = used(GLINT_SIZE_XY);
  if (x) add_square("size_x", {x, 0, stretched(NO_SLOT, x)}, size_way::ray, 0, line());
  if (y) add_square("size_y", {y, 0, stretched(NO_SLOT, y)}, size_way::ray, 90, line());
  if (!xy) return;
  add_square("size_xy", {xy, 0, stretched(NO_SLOT, xy)}, size_way::ray, 180, line());
  if (xy->nchannels > 1) add_square("size_xy", {xy, 1, stretched(NO_SLOT, xy)}, size_way::ray, 270, line());
}

void glint_widget::add_diagonal(int slot, const char* name, double degrees) {
  param* p = used(slot);
  if (!p) return;
  const screen_step half = sized(slot);
  add_shape(gfx_segment(gfx(on_oval(half, degrees)), gfx(on_oval(half, degrees + 180)),
                        line(is_glow() ? gfx_line_style::dashed : gfx_line_style::solid)));
  add_square(name, {p, 0, sized(slot, p)}, size_way::ray, degrees, line());
}

void glint_widget::add_colors() {
  for (const color_row& row : COLORS) {
    param* p = used(row.slot);
    if (!p) continue;
    gfx_look l = line();
    l.color = row.color;
    if (!is_glow()) add_shape(arm(on_oval(colored(row.slot, nullptr), row.degrees), l));
    add_square(row.name, {p, 0, colored(row.slot, p)}, is_glow() ? size_way::outline : size_way::ray, row.degrees, l);
  }
}

/// The rays that have parts, or all of them.
void glint_widget::add_rays() {
  const auto add = [&](screen_step half, double degrees) {
    add_shape(gfx_segment(gfx(on_oval(half, degrees)), gfx(on_oval(half, degrees + 180)), line()));
  };
  const bool along_x = any_used({GLINT_SIZE_X, GLINT_SIZE_XY}), along_y = any_used({GLINT_SIZE_Y, GLINT_SIZE_XY});
  const screen_step axes = stretched(NO_SLOT);
  if (along_x) add(axes, 0);
  if (along_y) add(axes, 90);
  if (along_x || along_y || any_used({GLINT_SIZE_DIAG1, GLINT_SIZE_DIAG2})) return;
  screen_step half = sized(NO_SLOT);
  if (!used(GLINT_SIZE)) {
    if (any_used({GLINT_SIZE_RED, GLINT_SIZE_GREEN, GLINT_SIZE_BLUE, GLINT_SIZE_ALPHA})) return;
    half.x = half.y = current_layer_frame().width * USUAL_REACH;
  }
  for (const double degrees : {0, 45, 90, 135}) add(half, degrees);
}

/// Outlines that can be taken hold of: of the size, and of the colours of a glow.
void glint_widget::add_rings() {
  param* size = used(GLINT_SIZE);
  const screen_step half = is_glow() ? stretched(NO_SLOT) : sized(NO_SLOT);
  const gfx_look ring = line(is_glow() ? gfx_line_style::solid : gfx_line_style::dashed);
  if (is_glow()) {
    for (const color_row& row : COLORS) {
      gfx_look l = ring;
      l.color = row.color;
      if (param* p = used(row.slot)) add_outline(row.name, {p, 0, colored(row.slot, p)}, l);
    }
    if (!size && (half.x > 0 || half.y > 0)) add_shape(oval(half, ring));
  }
  if (!size) return;
  if (size->nchannels == 1)
    return add_outline("size", {size, 0, is_glow() ? stretched(NO_SLOT, size) : sized(NO_SLOT, size)}, ring);
  constexpr double AT = 202.5;
  add_oval(add_common("size", {size}, half, AT), half, true, ring);
}

void glint_widget::prepare() {
  param* center = part(GLINT_CENTER);
  start_round(center ? param_place(*center) : current_layer_frame().middle());
  if (!has_parts()) return;
  add_size_squares();
  add_axis_squares();
  add_diagonal(GLINT_SIZE_DIAG1, "size_diag1", 45);
  add_diagonal(GLINT_SIZE_DIAG2, "size_diag2", 135);
  add_colors();
  if (center)
    add_mover("center", *center, place_rule::place, line());
  else
    add_middle_mark(line());
  if (!is_glow()) add_rays();
  add_rings();
}

}  // namespace

std::unique_ptr<widget> make_glint_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<glint_widget>(g, d);
}

}  // namespace tessaron
