#include "host/widgets/handle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tessaron {

namespace {

constexpr float LINE_GRIP = 3;  // pixels of the window on either side of a line
constexpr float FULL_TURN = 360;

gfx_point sum(gfx_point a, gfx_point b) { return {a.x + b.x, a.y + b.y}; }

/// A corner in the widget's coordinates.
gfx_point settled(const gfx_vertex& v) {
  if (v.off == gfx_point{}) return v.at;
  return sum(v.at, gfx_inverse_transform_vector(v.off));
}

float distance_to_segment(gfx_point p, gfx_point a, gfx_point b) {
  const float dx = b.x - a.x, dy = b.y - a.y;
  const float length = dx * dx + dy * dy;
  const float t = length > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length, 0.0f, 1.0f) : 0.0f;
  return std::hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
}

/// Sides that make an ellipse look round in the window.
int sides_of(gfx_point radii) {
  constexpr float SIDES_A_ROOT = 6;
  const float largest = std::max(std::fabs(radii.x), std::fabs(radii.y)) * gfx_matrix_scale();
  return std::isfinite(largest) ? int(std::clamp(SIDES_A_ROOT * std::sqrt(largest), 24.0f, 360.0f)) : 24;
}

std::vector<gfx_point> ellipse_outline(const gfx_primitive& p) {
  const float in_window = gfx_from_window(std::max(std::fabs(p.window_radii.x), std::fabs(p.window_radii.y)));
  const int all = sides_of({std::fabs(p.radii.x) + in_window, std::fabs(p.radii.y) + in_window});
  const int sides = std::max(1, int(std::ceil(all * std::min(std::fabs(p.sweep), FULL_TURN) / FULL_TURN)));
  const double radian = std::numbers::pi / 180;
  const double c = std::cos(p.turn * radian), s = std::sin(p.turn * radian);
  std::vector<gfx_point> points;
  points.reserve(std::size_t(sides) + 1);
  for (int i = 0; i <= sides; ++i) {
    const double angle = (double(p.start) + double(p.sweep) * i / sides) * radian;
    const double unit_x = std::cos(angle), unit_y = std::sin(angle);
    const double x = double(p.radii.x) * unit_x, y = double(p.radii.y) * unit_y;
    gfx_vertex v = p.corners[0];
    v.at = sum(v.at, {float(x * c - y * s), float(x * s + y * c)});
    v.off = sum(v.off, {float(double(p.window_radii.x) * unit_x), float(double(p.window_radii.y) * unit_y)});
    points.push_back(settled(v));
  }
  return points;
}

}  // namespace

std::vector<gfx_point> gfx_primitive::outline() const {
  if (corners.empty()) return {};
  if (shape == kind::ellipse) return ellipse_outline(*this);
  std::vector<gfx_point> points;
  if (shape == kind::square || shape == kind::dot) {
    const float half = size / 2;
    for (const gfx_point off : {gfx_point{-half, -half}, {half, -half}, {half, half}, {-half, half}, {-half, -half}})
      points.push_back(settled({corners[0].at, sum(corners[0].off, off)}));
    return points;
  }
  for (const gfx_vertex& corner : corners) points.push_back(settled(corner));
  if (shape == kind::polygon && points.size() > 1) points.push_back(points.front());
  return points;
}

bool gfx_primitive::hit(float x, float y, float pick_radius) const {
  if (shape == kind::text || corners.empty()) return false;
  if (shape == kind::square || shape == kind::dot) {
    const gfx_point at = settled(corners[0]);
    const float reach = gfx_from_window(size / 2) + pick_radius;
    if (shape == kind::dot) return std::hypot(x - at.x, y - at.y) <= reach;
    return std::fabs(x - at.x) <= reach && std::fabs(y - at.y) <= reach;
  }
  const std::vector<gfx_point> line = outline();
  const float reach = gfx_from_window(std::max(LINE_GRIP, look.width / 2)) + pick_radius;
  if (line.size() == 1) return std::hypot(x - line[0].x, y - line[0].y) <= reach;
  for (std::size_t i = 1; i < line.size(); ++i)
    if (distance_to_segment({x, y}, line[i - 1], line[i]) <= reach) return true;
  return false;
}

void widget_handle::find_bounds() {
  constexpr float FAR = std::numeric_limits<float>::max();
  bounds = {FAR, FAR, -FAR, -FAR};
  for (const gfx_primitive& primitive : primitives) {
    const float grip = gfx_from_window(LINE_GRIP);
    for (const gfx_point& p : primitive.outline())
      bounds = {std::min(bounds.left, p.x - grip), std::min(bounds.top, p.y - grip), std::max(bounds.right, p.x + grip),
                std::max(bounds.bottom, p.y + grip)};
  }
}

bool widget_handle::hit(float x, float y, float pick_radius) const {
  return bounds.contains(x, y, pick_radius) &&
         std::any_of(primitives.begin(), primitives.end(),
                     [&](const gfx_primitive& primitive) { return primitive.hit(x, y, pick_radius); });
}

gfx_primitive gfx_segment(gfx_point from, gfx_point to, gfx_look look) { return gfx_through({from, to}, false, look); }

gfx_primitive gfx_through(const std::vector<gfx_point>& corners, bool closed, gfx_look look) {
  gfx_primitive p;
  p.shape = closed ? gfx_primitive::kind::polygon : gfx_primitive::kind::polyline;
  for (const gfx_point& corner : corners) p.corners.push_back({corner, {}});
  p.look = look;
  return p;
}

gfx_primitive gfx_mark(gfx_point at, gfx_point from, gfx_point to, gfx_look look) {
  gfx_primitive p;
  p.corners = {{at, from}, {at, to}};
  p.look = look;
  return p;
}

gfx_primitive gfx_ellipse(gfx_point middle, gfx_point radii, float turn, gfx_look look) {
  gfx_primitive p;
  p.shape = gfx_primitive::kind::ellipse;
  p.corners = {{middle, {}}};
  p.radii = radii;
  p.turn = turn;
  p.look = look;
  return p;
}

gfx_primitive gfx_ring(gfx_point at, float radius, gfx_look look) {
  gfx_primitive p = gfx_ellipse(at, {}, 0, look);
  p.window_radii = {radius, radius};
  return p;
}

namespace {

gfx_primitive filled(gfx_primitive::kind shape, gfx_point at, gfx_look look) {
  gfx_primitive p;
  p.shape = shape;
  p.corners = {{at, {}}};
  p.look = look;
  return p;
}

}  // namespace

gfx_primitive gfx_square_handle(gfx_point at, gfx_look look) { return filled(gfx_primitive::kind::square, at, look); }

gfx_primitive gfx_round_handle(gfx_point at, gfx_look look) { return filled(gfx_primitive::kind::dot, at, look); }

gfx_primitive gfx_label(gfx_point at, gfx_point off, std::string text, gfx_look look) {
  gfx_primitive p = filled(gfx_primitive::kind::text, at, look);
  p.corners[0].off = off;
  p.size = 11;
  p.text = std::move(text);
  return p;
}

}  // namespace tessaron
