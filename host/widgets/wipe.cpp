// Widgets of base type "wipe": a line across the frame where the wipe stands, with companions at its soft edge and its
// border.
//
// The line runs at right angles to grad_angle, from one side of the frame at an amount of 0 to the other one at 1.
// grad_add counts like the amount and is added to it. edge_softness and border_width are lengths to either side of
// the line. In "wipe_with_edge" the border's companions are solid, being edges of the picture, and the softness begins
// at them.
#include <algorithm>
#include <cmath>
#include <vector>

#include "evaluator/frame.h"
#include "genotype/globals.h"
#include "host/display_globals.h"
#include "host/widgets/marks.h"
#include "host/widgets/turned_axes.h"
#include "host/widgets/widget.h"

namespace tessaron {

namespace {

constexpr double ARM_SHARE = 0.3;  // length of the angle's arm, of the frame's short side
// Where on the line handles lie, as shares of half its length: apart, so that lengths of 0 leave them apart, too.
constexpr double ADD_UP = -0.5, SOFTNESS_UP = 0.6, BORDER_UP = 0.35;

/// What a number reads when the wipe is done: 1, or 100 for a percentage. The limits tell, or else the part's name.
double full_amount(const param& p, bool percent_by_name) {
  constexpr float LARGEST_SHARE = 2;
  if (p.flags[3] & PARAM3_PERCENT) return 1;
  const float limit = p.max_bound != UNSET_MAX ? p.max_bound : p.slider_max;
  if (limit != UNSET_MAX) return limit > LARGEST_SHARE ? 100 : 1;
  return percent_by_name ? 100 : 1;
}

/// A parameter that counts how far the wipe is.
struct share_part {
  param* p = nullptr;
  double full = 1;
  const char* name = "";  // of the part
  double read() const { return p ? param_number(*p, 0) / full : 0; }
  void write(double share) const { set_param_number(*p, 0, share * full); }
};

class wipe_widget final : public widget {
 public:
  wipe_widget(const genotype& g, const widget_declaration& d) : widget(g, d) {
    check_type("Wipe", {"wipe", "wipe_with_edge"});
  }

  void prepare() override;
  void drag(int handle, float x, float y) override;

 private:
  enum class moves { angle, add, softness, border, amount };
  struct companion {
    moves what;
    const char* part_name;
    double distance, up;
    gfx_line_style style;
    double apart_from = 0;  // the distance of other lines than the middle one
  };

  share_part share_in(int slot, bool percent_by_name) const;
  share_part amount_part() const;
  share_part add_part() const;
  bool driven_by_time() const;
  double time_share() const;
  double amount() const;
  turned_axes axes() const;
  double width(int slot) const { return part(slot) ? std::fabs(param_length(*part(slot), 0, false)) : 0; }
  /// How far from the line the softness begins.
  double softness_begin() const { return type_has("with_edge") ? width(WIPE_BORDER_WIDTH) : 0; }

  gfx_look wipe_look(gfx_line_style style = gfx_line_style::solid) const { return look(style, gfx_color::cyan); }
  gfx_primitive line_at(double along, gfx_line_style style) const;
  widget_handle& add(moves what, const char* part_name, turned_point at);
  void add_angle();
  void add_companions(const companion& c);
  void add_line();

  std::vector<moves> moved_;  // by handle
  double line_ = 0;           // where the line crosses the axis
};

share_part wipe_widget::amount_part() const {
  for (const int slot : {WIPE_WIPE_AMOUNT, WIPE_WIPE_AMT})
    if (part(slot)) return share_in(slot, false);
  for (const int slot : {WIPE_WIPE_PERCENT_SIGN, WIPE_MIX_PERCENT, WIPE_WIPE_PERCENT})
    if (part(slot)) return share_in(slot, true);
  return {};
}

share_part wipe_widget::add_part() const { return part(WIPE_GRAD_ADD) ? share_in(WIPE_GRAD_ADD, false) : share_part{}; }

share_part wipe_widget::share_in(int slot, bool percent_by_name) const {
  const char* name = slots_of_base_type("wipe")[std::size_t(slot)].name;
  return {part(slot), full_amount(*part(slot), percent_by_name), name};
}

bool wipe_widget::driven_by_time() const {
  const auto on = [&](int slot) { return part(slot) && param_number(*part(slot), 0) > 0; };
  return on(WIPE_AUTOTRANS_P) || on(WIPE_AUTO_TRANS);
}

/// How much of the clip has gone by, as effects read it.
double wipe_widget::time_share() const {
  constexpr int EASED = 2;
  set_time_globals(*Globals->in_data);
  const double t = double(time_globals.percent_time);
  const auto eases = [](const param* p) { return p && (p->flags[2] & PARAM2_AUTOTRANS) >> 4 == EASED; };
  const bool eased = eases(amount_part().p) || eases(part(WIPE_AUTOTRANS_P)) || eases(part(WIPE_AUTO_TRANS));
  return eased ? t * t * (3 - 2 * t) : t;
}

/// Without an amount the line is in the middle.
double wipe_widget::amount() const {
  if (driven_by_time()) return time_share();
  const share_part part = amount_part();
  return part.p ? part.read() : 0.5;
}

turned_axes wipe_widget::axes() const {
  return {current_layer_frame().middle(), part(WIPE_GRAD_ANGLE) ? param_angle(*part(WIPE_GRAD_ANGLE)) : 0};
}

gfx_primitive wipe_widget::line_at(double along, gfx_line_style style) const {
  const double half = axes().frame_reach().up;
  return gfx_segment(gfx(axes().place({along, -half})), gfx(axes().place({along, half})), wipe_look(style));
}

widget_handle& wipe_widget::add(moves what, const char* part_name, turned_point at) {
  moved_.push_back(what);
  return add_handle(part_name, axes().place(at));
}

void wipe_widget::add_angle() {
  const turned_point end{ARM_SHARE * short_side(), 0};
  add_shape(gfx_segment(gfx(axes().place({})), gfx(axes().place(end)), wipe_look(gfx_line_style::dashed)));
  add_dot(add(moves::angle, "grad_angle", end), wipe_look());
}

/// Companions that lie on other lines are held by their squares alone, so that those can be held, too.
void wipe_widget::add_companions(const companion& c) {
  constexpr double APART = 8;  // pixels of the window
  const bool free = std::min(c.distance, std::fabs(c.distance - c.apart_from)) > window_length(APART);
  const double up = c.up * axes().frame_reach().up;
  for (const double along : {line_ + c.distance, line_ - c.distance}) {
    widget_handle& handle = add(c.what, c.part_name, {along, up});
    if (free)
      handle.primitives.push_back(line_at(along, c.style));
    else
      add_shape(line_at(along, c.style));
    add_square(handle, wipe_look());
  }
}

void wipe_widget::add_line() {
  constexpr double TIP = 16, BARB = 9, HALF_BARB = 4;  // of the arrow towards the way it goes, pixels of the window
  const gfx_line_style style = driven_by_time() ? gfx_line_style::dotted : gfx_line_style::solid;
  const auto at = [&](double along, double up) {
    return gfx(axes().place({line_ + window_length(along), window_length(up)}));
  };
  add_shape(gfx_through({at(BARB, HALF_BARB), at(TIP, 0), at(BARB, -HALF_BARB)}, false, wipe_look()));
  const share_part amount = amount_part();
  if (!amount.p || driven_by_time()) add_shape(line_at(line_, style));
  if (!amount.p) return;
  // Kept in the list, so that a handle keeps its number.
  widget_handle& handle = add(moves::amount, amount.name, {line_, 0});
  if (driven_by_time()) return;
  handle.primitives.push_back(line_at(line_, style));
  add_square(handle, wipe_look());
}

void wipe_widget::prepare() {
  start();
  moved_.clear();
  line_ = (2 * (amount() + add_part().read()) - 1) * axes().frame_reach().along;
  if (part(WIPE_GRAD_ANGLE)) add_angle();
  if (part(WIPE_GRAD_ADD)) {
    widget_handle& handle = add(moves::add, "grad_add", {line_, ADD_UP * axes().frame_reach().up});
    add_dot(handle, wipe_look());
  }
  if (part(WIPE_EDGE_SOFTNESS))
    add_companions({moves::softness, "edge_softness", softness_begin() + width(WIPE_EDGE_SOFTNESS), SOFTNESS_UP,
                    gfx_line_style::dashed, width(WIPE_BORDER_WIDTH)});
  if (part(WIPE_BORDER_WIDTH))
    add_companions({moves::border, "border_width", width(WIPE_BORDER_WIDTH), BORDER_UP,
                    type_has("with_edge") ? gfx_line_style::solid : gfx_line_style::dashed});
  add_line();
}

void wipe_widget::drag(int handle, float x, float y) {
  const layer_point to = target(x, y);
  if (!is_finite(to)) return;
  const double along = axes().measure(to).along, distance = std::fabs(along - line_);
  const double share = (along / axes().frame_reach().along + 1) / 2;
  switch (moved_[std::size_t(handle)]) {
    case moves::angle:
      return drag_angle(*part(WIPE_GRAD_ANGLE), current_layer_frame().middle(), to);
    case moves::add:
      return add_part().write(share - amount());
    case moves::softness:
      set_param_width(*part(WIPE_EDGE_SOFTNESS), std::max(distance - softness_begin(), 0.0));
      return;
    case moves::border:
      set_param_width(*part(WIPE_BORDER_WIDTH), distance);
      return;
    case moves::amount:
      return amount_part().write(share - add_part().read());
  }
}

}  // namespace

std::unique_ptr<widget> make_wipe_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<wipe_widget>(g, d);
}

}  // namespace tessaron
