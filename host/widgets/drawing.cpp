#include "host/widgets/drawing.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace tessaron {

namespace {

constexpr float RIM = 2;  // pixels of the window that the dark rim is wider than its line
constexpr float HOT_WIDTH = 1;
constexpr pf_color DARK = {150, 0, 0, 0};
constexpr pf_color HOT = {255, 255, 255, 255};

const pf_draw_callbacks* target = nullptr;  // guarded by the entry's mutex
bool failed = false;

pf_color color_of(gfx_color color) {
  switch (color) {
    case gfx_color::red:
      return {255, 255, 90, 80};
    case gfx_color::green:
      return {255, 90, 235, 100};
    case gfx_color::blue:
      return {255, 110, 160, 255};
    case gfx_color::white:
      return {255, 245, 245, 245};
    case gfx_color::cyan:
      return {255, 90, 225, 235};
    case gfx_color::yellow:
      break;
  }
  return {255, 255, 220, 70};
}

std::span<const float> dashes_of(gfx_line_style style) {
  static constexpr float DASHED[] = {7, 5}, DOTTED[] = {1.5f, 4};
  if (style == gfx_line_style::dashed) return DASHED;
  if (style == gfx_line_style::dotted) return DOTTED;
  return {};
}

bool ready() { return target && !failed; }
void settle(std::int32_t error) { failed = failed || error != 0; }

/// Draws with the rim's style, then with the line's.
template <class Draw>
void twice(const gfx_look& look, Draw draw) {
  const std::span<const float> dashes = dashes_of(look.style);
  pf_draw_style style = {DARK, look.width + RIM, std::int32_t(dashes.size()), dashes.data()};
  draw(style);
  style.color = color_of(look.color);
  style.width = look.width;
  if (ready()) draw(style);
}

void window_polyline(const std::vector<gfx_point>& points, bool closed, const pf_draw_style& style) {
  if (target->polyline) {
    std::vector<float> xy;
    xy.reserve(points.size() * 2);
    for (const gfx_point& p : points) xy.insert(xy.end(), {p.x, p.y});
    return settle(target->polyline(target->draw_ref, &style, xy.data(), std::int32_t(points.size()), closed));
  }
  if (!target->line) return;
  const std::size_t n = points.size(), sides = closed ? n : n - 1;
  for (std::size_t i = 0; i < sides && ready(); ++i) {
    const gfx_point &a = points[i], &b = points[(i + 1) % n];
    settle(target->line(target->draw_ref, &style, a.x, a.y, b.x, b.y));
  }
}

std::vector<gfx_point> in_window(std::vector<gfx_point> points) {
  for (gfx_point& p : points) p = gfx_transform_point(p);
  return points;
}

/// Whether the matrix leaves circles round, and turns them the way they were.
bool keeps_circles() {
  const auto& m = gfx_top_matrix().m;
  const float tolerance = 1e-4f * gfx_matrix_scale();
  return std::fabs(m[0][0] - m[1][1]) <= tolerance && std::fabs(m[0][1] + m[1][0]) <= tolerance;
}

/// An outline that is an ellipse whose halves may be too wide for a host's circle.
void draw_ellipse(const gfx_primitive& p, const gfx_look& look) {
  const gfx_vertex& corner = p.corners[0];
  const float scale = gfx_matrix_scale();
  const float x = p.radii.x * scale + p.window_radii.x, y = p.radii.y * scale + p.window_radii.y;
  const bool round = keeps_circles() && std::fabs(x - y) < 0.01f && x > 0;
  const bool whole = std::fabs(p.sweep) >= 360;
  const auto& m = gfx_top_matrix().m;
  gfx_point middle = gfx_transform_point(corner.at);
  middle = {middle.x + corner.off.x, middle.y + corner.off.y};
  if (round && whole && target->circle)
    return twice(look, [&](const pf_draw_style& style) {
      settle(target->circle(target->draw_ref, &style, middle.x, middle.y, x));
    });
  if (round && !whole && target->arc) {
    constexpr float DEGREES = 57.29577951f;
    const float turned = std::atan2(m[1][0], m[0][0]) * DEGREES;
    return twice(look, [&](const pf_draw_style& style) {
      settle(target->arc(target->draw_ref, &style, middle.x, middle.y, x, p.start + p.turn + turned, p.sweep));
    });
  }
  const std::vector<gfx_point> points = in_window(p.outline());
  twice(look, [&](const pf_draw_style& style) { window_polyline(points, false, style); });
}

}  // namespace

gfx_target::gfx_target(const pf_draw_callbacks& host) : before_(target) {
  target = &host;
  failed = false;
}

gfx_target::~gfx_target() { target = before_; }

void gfx_line(gfx_point from, gfx_point to, const gfx_look& look) {
  if (!ready()) return;
  const gfx_point a = gfx_transform_point(from), b = gfx_transform_point(to);
  twice(look, [&](const pf_draw_style& style) {
    if (target->line)
      settle(target->line(target->draw_ref, &style, a.x, a.y, b.x, b.y));
    else
      window_polyline({a, b}, false, style);
  });
}

void gfx_polyline(const std::vector<gfx_point>& points, bool closed, const gfx_look& look) {
  if (!ready() || points.size() < 2) return;
  const std::vector<gfx_point> window = in_window(points);
  twice(look, [&](const pf_draw_style& style) { window_polyline(window, closed, style); });
}

void gfx_circle(gfx_point middle, float radius, const gfx_look& look) { gfx_arc(middle, radius, 0, 360, look); }

void gfx_arc(gfx_point middle, float radius, float start, float sweep, const gfx_look& look) {
  if (!ready()) return;
  gfx_primitive p = gfx_ellipse(middle, {radius, radius}, 0, look);
  p.start = start;
  p.sweep = sweep;
  draw_ellipse(p, look);
}

void gfx_filled_handle(gfx_point at, float size, bool round, const gfx_look& look, bool hot) {
  if (!ready()) return;
  const gfx_point p = gfx_transform_point(at);
  const auto fill = [&](const pf_color& color, float side) {
    if (!ready()) return;
    if (round && target->filled_circle)
      settle(target->filled_circle(target->draw_ref, &color, p.x, p.y, side / 2));
    else if (target->filled_rect)
      settle(target->filled_rect(target->draw_ref, &color, p.x - side / 2, p.y - side / 2, side, side));
  };
  fill(DARK, size + RIM);
  fill(hot ? HOT : color_of(look.color), size);
  if (hot) fill(color_of(look.color), size / 2);
}

void gfx_text(gfx_point at, gfx_point off, const char* text, float size, const gfx_look& look) {
  if (!ready() || !target->text) return;
  const gfx_point p = gfx_transform_point(at);
  const pf_color color = color_of(look.color);
  settle(target->text(target->draw_ref, &DARK, p.x + off.x + 1, p.y + off.y + 1, size, text));
  if (ready()) settle(target->text(target->draw_ref, &color, p.x + off.x, p.y + off.y, size, text));
}

void gfx_draw(const gfx_primitive& p, bool hot) {
  if (!ready() || p.corners.empty()) return;
  gfx_look look = p.look;
  if (hot) look.width += HOT_WIDTH;
  switch (p.shape) {
    case gfx_primitive::kind::polyline:
    case gfx_primitive::kind::polygon: {
      std::vector<gfx_point> points = p.outline();
      const bool closed = p.shape == gfx_primitive::kind::polygon;
      if (closed) points.pop_back();
      if (points.size() == 2) return gfx_line(points[0], points[1], look);
      return gfx_polyline(points, closed, look);
    }
    case gfx_primitive::kind::ellipse:
      return draw_ellipse(p, look);
    case gfx_primitive::kind::square:
    case gfx_primitive::kind::dot:
      return gfx_filled_handle(p.corners[0].at, hot ? p.size + 2 : p.size, p.shape == gfx_primitive::kind::dot, look,
                               hot);
    case gfx_primitive::kind::text:
      return gfx_text(p.corners[0].at, p.corners[0].off, p.text.c_str(), p.size, look);
  }
}

}  // namespace tessaron
