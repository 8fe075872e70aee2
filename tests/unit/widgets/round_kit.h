// What the tests of widgets around a middle share: sizes in every unit, and what was drawn around a place.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "unit/widgets/class_kit.h"

namespace tessaron::testing {

/// A parameter of two channels with the units of its list, and a value that is neither 0 nor far out in them.
struct unit_case {
  const char* value;
  const char* list;
};
inline const std::vector<unit_case>& pair_units() {
  static const std::vector<unit_case> cases = {
      {"[200 100]", "screen"},        {"[200 100]", "screen_center"},        {"[200 100]", "screen_center0"},
      {"[0.5 0.3]", "normalize"},     {"[200 100]", "normalize_scale 2"},    {"[200 100]", "normalize_scale 0.5"},
      {"[100 60]", "screen_to_norm"}, {"[100 60]", "screen_center_to_norm"}, {"[0.5 0.3]", "max 100"},
      {"[50 30]", "percent"},
  };
  return cases;
}
inline const std::vector<unit_case>& single_units() {
  static const std::vector<unit_case> cases = {
      {"0.4", "max 100"}, {"40", "percent"}, {"120", "normalize_scale 2"}, {"120", "normalize_scale 0.5"}};
  return cases;
}

/// "Name = value (units min -30000 ignore widget type.part) "
inline std::string declared(const std::string& name, const std::string& value, const std::string& list,
                            const std::string& type_and_part) {
  return name + " = " + value + " (" + list + " ignore widget " + type_and_part + ") ";
}

/// Distances from a place of the window to the corners of what was drawn as a line of many corners or a circle.
struct ring {
  double least, most;
  pf_color color;
  int n_dashes;
};
/// Rings without their rims, as they were drawn.
inline std::vector<ring> rings_around(const widget_host& host, double x, double y, double at_least = 15) {
  std::vector<ring> found;
  for (const drawn_shape& s : host.shapes) {
    if (s.width > 3) continue;
    ring r{std::numeric_limits<double>::max(), 0, s.color, s.n_dashes};
    if (s.kind == "circle") {
      const double off = std::hypot(s.numbers[0] - x, s.numbers[1] - y);
      r.least = s.numbers[2] - off;
      r.most = s.numbers[2] + off;
    } else if (s.kind == "polyline" && s.numbers.size() > 20) {
      for (std::size_t i = 0; i < s.numbers.size(); i += 2) {
        const double d = std::hypot(s.numbers[i] - x, s.numbers[i + 1] - y);
        r.least = std::min(r.least, d);
        r.most = std::max(r.most, d);
      }
    } else {
      continue;
    }
    if (r.most >= at_least) found.push_back(r);
  }
  return found;
}
inline bool is_color(const pf_color& c, int red, int green, int blue) {
  return c.red == red && c.green == green && c.blue == blue;
}

/// The direction of a place of the window from another: degrees, from the right towards the top.
inline double direction_from(double x, double y, const shown_handle& to) {
  return std::atan2(y - to.y, to.x - x) * 180 / 3.14159265358979323846;
}

/// Turns an arm's handle around a place of the layer in every view, in steps, and back again: it must stay under the
/// mouse, on its circle in the window, and the way back must restore the angle.
inline void check_arm_turns(const std::string& definition, const std::string& part, const std::string& control,
                            double middle_x, double middle_y, double degrees) {
  for (const widget_view& view : all_views()) {
    SCOPED_TRACE(::testing::Message() << view << ", " << part << " by " << degrees);
    widget_host host(definition, view);
    const double x = host.window_x(middle_x), y = host.window_y(middle_y);
    const shown_handle before = host.handle(part);
    const pf_param_def was = host.control(control);
    const double length = std::hypot(before.x - x, before.y - y), first = direction_from(x, y, before);
    ASSERT_GT(length, 10);
    ASSERT_TRUE(host.click(before.x, before.y));
    constexpr int STEPS = 8;
    for (int i = 1; i <= STEPS; ++i) {
      const double turn = (first + degrees * i / STEPS) * 3.14159265358979323846 / 180;
      const double to_x = x + length * std::cos(turn), to_y = y - length * std::sin(turn);
      host.drag_to(to_x, to_y);
      EXPECT_TRUE(host.changed_anything());
      const shown_handle after = host.handle(part);
      EXPECT_NEAR(after.x, to_x, 0.5);
      EXPECT_NEAR(after.y, to_y, 0.5);
    }
    for (int i = STEPS - 1; i >= 0; --i) {
      const double turn = (first + degrees * i / STEPS) * 3.14159265358979323846 / 180;
      host.drag_to(x + length * std::cos(turn), y - length * std::sin(turn));
    }
    host.release(before.x, before.y);
    const pf_param_def& is = host.control(control);
    const bool dial = was.param_type == PF_Param_ANGLE;
    // A window's place is a float: at a distance of 100 pixels a thousandth of a degree.
    EXPECT_NEAR(dial ? is.u.angle.value : is.u.slider.value, dial ? was.u.angle.value : was.u.slider.value, 200);
  }
}

/// Moves a held handle to places that are none; nothing may change but by places that are.
inline void check_bad_places(const std::string& definition, const std::string& part) {
  widget_host host(definition);
  const shown_handle at = host.handle(part);
  ASSERT_TRUE(host.click(at.x, at.y));
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  for (const auto& [x, y] :
       std::vector<std::pair<double, double>>{{nan, 10}, {10, nan}, {inf, 5}, {5, -inf}, {nan, inf}})
    host.drag_to(x, y);
  host.drag_to(1e30, -1e30);
  host.drag_to(at.x, at.y);
  host.release(nan, nan);
  for (const shown_handle& h : host.draw()) {
    EXPECT_TRUE(std::isfinite(h.x)) << h.part;
    EXPECT_TRUE(std::isfinite(h.y)) << h.part;
  }
  expect_at(host.handle(part), at.x, at.y);
}

}  // namespace tessaron::testing
