// What the tests of the widgets' classes share.
#pragma once

#include <string>

#include "genotype/genotype_reader.h"
#include "host/widgets/declarations.h"
#include "host/widgets/widget.h"
#include "support/report_capture.h"
#include "unit/widgets/widget_kit.h"

namespace tessaron::testing {

/// An effect of parameters that nothing but its widgets reads; each has `ignore` in its list.
inline std::string widget_effect(const std::string& params) { return "(define E () " + params + " dest = x)"; }

/// A number for an angle whose value in the engine is to be `degrees`: hosts count the other way round.
inline std::string host_angle(double degrees) { return std::to_string(-degrees); }

/// The reports of making a widget under another type name.
inline std::string reports_of_type(const std::string& params, const char* type_name) {
  set_tables_and_globals();
  genotype* g = nullptr;
  {
    report_capture reading;
    g = load_effect_from_string(widget_effect(params).c_str());
    if (!g) throw std::runtime_error(reading.all());
  }
  std::string said;
  {
    report_capture reports;
    widget_numbering numbering = widget_numbering::unknown;
    gather_widgets(*g, numbering);
    widget_declaration odd = g->widgets[0];
    odd.type_name = type_name;
    if (!make_widget(*g, odd)) throw std::runtime_error("no widget");
    said = reports.all();
  }
  free_genotype(g);
  return said;
}

/// A step in the direction of an angle: degrees, from the right towards the top.
inline handle_step towards(const std::string& part, double degrees, double distance, int nth = 0) {
  const double turn = degrees * 3.14159265358979323846 / 180;
  return {part, distance * std::cos(turn), -distance * std::sin(turn), 0, nth};
}
/// A step from one angle to another on a circle.
inline handle_step around(const std::string& part, double from, double to, double radius) {
  const handle_step a = towards(part, from, radius), b = towards(part, to, radius);
  return {part, b.x - a.x, b.y - a.y};
}

/// Drags a handle by a step in the host's view.
inline bool drag_by(widget_host& host, const handle_step& step) {
  const shown_handle from = host.handle(step.part, step.widget, step.nth);
  return host.drag(from.x, from.y, from.x + step.x * host.view.zoom, from.y + step.y * host.view.zoom);
}

inline void expect_at(const shown_handle& h, double x, double y) {
  EXPECT_NEAR(h.x, x, 0.02) << h.part;
  EXPECT_NEAR(h.y, y, 0.02) << h.part;
}

/// Whether a line was drawn, without its rim, from one place to another or back; `dashes` as the host is given them.
inline bool drew_line(const widget_host& host, double x0, double y0, double x1, double y1, int n_dashes = 0) {
  const auto near = [](float a, double b) { return std::fabs(double(a) - b) < 0.1; };
  for (const drawn_shape& s : host.shapes) {
    if (s.kind != "line" || s.n_dashes != n_dashes || s.width > 3) continue;
    const auto& n = s.numbers;
    if (near(n[0], x0) && near(n[1], y0) && near(n[2], x1) && near(n[3], y1)) return true;
    if (near(n[0], x1) && near(n[1], y1) && near(n[2], x0) && near(n[3], y0)) return true;
  }
  return false;
}
/// Whether a closed shape of these corners was drawn, in this order from any of them.
inline bool drew_polygon(const widget_host& host, const std::vector<gfx_point>& corners, int n_dashes = 0) {
  const std::size_t count = corners.size();
  for (const drawn_shape& s : host.shapes) {
    if (s.kind != "polyline" || s.n_dashes != n_dashes || s.numbers.size() != 2 * count) continue;
    for (std::size_t first = 0; first < count; ++first) {
      bool same = true;
      for (std::size_t i = 0; i < count; ++i) {
        const gfx_point& c = corners[(first + i) % count];
        same = same && std::fabs(s.numbers[2 * i] - c.x) < 0.1f && std::fabs(s.numbers[2 * i + 1] - c.y) < 0.1f;
      }
      if (same) return true;
    }
  }
  return false;
}
/// Drags each handle to where no number leads and back: it must stand where it stood.
inline void expect_wild_mouse_does_no_harm(const std::string& definition, std::initializer_list<const char*> parts) {
  for (const float wild : {std::nanf(""), INFINITY, -INFINITY, 3e38f}) {
    widget_host host(definition);
    for (const char* part : parts) {
      const shown_handle h = host.handle(part);
      ASSERT_TRUE(host.click(h.x, h.y)) << part;
      host.drag_to(wild, wild);
      host.drag_to(h.x, h.y);
      host.release(h.x, h.y);
      expect_at(host.handle(part), h.x, h.y);
    }
  }
}
/// Whether any shape has this colour.
inline bool drew_color(const widget_host& host, int red, int green, int blue) {
  for (const drawn_shape& s : host.shapes)
    if (s.color.red == red && s.color.green == green && s.color.blue == blue) return true;
  return false;
}
inline int count_kind(const widget_host& host, const std::string& kind) {
  int n = 0;
  for (const drawn_shape& s : host.shapes) n += s.kind == kind;
  return n;
}

}  // namespace tessaron::testing
