// Bolts written out plainly from their rules: lists of points, no tree walk shared with the engine, its own hash.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "operators/bolts.h"
#include "operators/edge_fill.h"
#include "support/plain_tables.h"

namespace tessaron::testing {

struct plain_bolt {
  std::vector<bolt_point> points;
  std::vector<plain_bolt> branches;
  int n_full = 0, n_points = 0, first_shown = 0;
  float width = 0, start = 0, end = 0, pointiness = 0;
};

/// A number from 0 to 1 in double precision.
inline double plain_unit(std::uint32_t v) { return double(v % 0x40000000u) / 1073741824.0; }

class plain_maker {
 public:
  plain_maker(const bolt_settings& s, float whole_length) : s_(s) {
    const float length = whole_length < 0.001f ? 0.001f : whole_length;
    peak_ = s.wrinkle_high * length;
    const float rise = s.wrinkle_high - s.wrinkle_low;
    slope_ = (rise > 0 ? rise : 0.0f) / length;
    phase_scale_ = s.phase * length * 0.5f;
    branch_per_length_ = s.branchiness / length;
  }

  plain_bolt whole(std::uint32_t state, float x0, float y0, float x1, float y1) {
    state_ = state;
    plain_bolt b = line(x0, y0, x1, y1, s_.width);
    finish(b, s_.width, s_.start, s_.end, s_.pointiness);
    if (s_.branchiness > 0) branches(b, s_.branchiness, 0);
    return b;
  }

  static void finish(plain_bolt& b, float width, float start, float end, float pointiness) {
    b.width = width;
    b.start = start;
    b.end = end;
    b.pointiness = pointiness;
    const int all = int(b.points.size());
    b.n_full = all;
    int n = end < 1 ? int(std::trunc(float(all) * end + 0.5f)) : all;
    if (n == 1) n = 0;
    b.n_points = n;
    int first = int(std::trunc(start * float(all)));
    if (!(first < n - 1)) first = n;
    b.first_shown = first;
    const int q = std::min(std::max(int(std::trunc(float(n) * (1 - pointiness))), first), n);
    std::vector<float> factor(b.points.size(), 1.0f);
    for (int i = 0; i < all; ++i) {
      float& w = b.points[std::size_t(i)].width;
      if (i < first) w = 0;
      if (n > 2 && i == first && first < n) w *= 0.33f;
      if (n > 2 && i == n - 1) w *= 0.33f;
      if (i >= first && i < q) w *= width;
    }
    float ramp = 0;
    for (int i = n - 1; i >= q; --i) {
      b.points[std::size_t(i)].width *= ramp;
      ramp += width / (float(n) * pointiness);
    }
  }

 private:
  plain_bolt line(float x0, float y0, float x1, float y1, float width) {
    width_wrinkle_ = s_.width_vary * 0.2f / (width > 0.0001f ? width : 0.0001f);
    plain_bolt b;
    const bolt_point from = {x0, y0, 1}, to = {x1, y1, 1};
    divide(b.points, from, to, 0, 0);
    b.points.push_back(to);
    b.n_full = b.n_points = int(b.points.size());
    return b;
  }

  void divide(std::vector<bolt_point>& out, bolt_point a, bolt_point b, int depth, std::uint32_t index) const {
    const float dx = b.x - a.x, dy = b.y - a.y, squared = dx * dx + dy * dy;
    if (depth >= 11 || squared <= 4.0f) {
      out.push_back(a);
      return;
    }
    const float length = std::sqrt(squared);
    const float by_length = slope_ * length + s_.wrinkle_low, beyond = peak_ / length;
    const float amplitude = beyond < by_length ? beyond : by_length;
    const float moved = phase_scale_ / length;
    const std::uint32_t v = plain_hash((1u << depth) + state_ + index), v2 = plain_hash(v), v3 = plain_hash(v2);
    const float aside = float(std::sin((plain_unit(v) + moved) * 6.28318530718) * 0.5 * amplitude);
    const float f = float(0.5 + s_.wrinkle_low * 0.33 * (plain_unit(v2) - 0.5));
    bolt_point m;
    m.x = a.x + f * dx + aside * dy;
    m.y = a.y + f * dy + aside * -dx;
    m.width = (a.width + b.width) * 0.5f;
    if (s_.width_vary > 0) {
      const float w = float(m.width + std::sin((plain_unit(v3) + moved) * 6.28318530718) * width_wrinkle_ * length);
      const float low = 1 - s_.width_vary, high = 1 + s_.width_vary;
      m.width = w < low ? low : w > high ? high : w;
    }
    divide(out, a, m, depth + 1, index * 2);
    divide(out, m, b, depth + 1, index * 2 + 1);
  }

  void branches(plain_bolt& parent, float count, int depth) {
    if (parent.n_points == 0) return;
    std::uint32_t v = state_;
    const auto u = [&v] { return float((v = plain_hash(v)) % 0x40000000u) * 9.313226e-10f; };
    const int n = int(std::trunc(count + u()));
    const int last = parent.n_full - 1;
    const bolt_point base = parent.points[0], tip = parent.points[std::size_t(last)];
    const float dx = tip.x - base.x, dy = tip.y - base.y, len = std::sqrt(dx * dx + dy * dy);
    if (len == 0) return;
    const float ux = dx / len, uy = dy / len;
    const float limit = s_.branch_length * len;
    for (int k = 0; k < n; ++k) {
      const int i = int(std::trunc(u() * float(last)));
      if (i >= parent.n_points) continue;
      const float t = float(i) / float(parent.n_full);
      const float w = parent.width * (1 - t);
      if (w < 0.01f) continue;
      const auto part = [t](float of_parent) {
        const float p = (of_parent - t) / (1 - t);
        return p < 0 ? 0.0f : p > 1 ? 1.0f : p;
      };
      const bolt_point p = parent.points[std::size_t(i)];
      const float rx = p.x - base.x, ry = p.y - base.y;
      float length = (len - std::sqrt(rx * rx + ry * ry)) * u();
      if (limit < length) length = limit;
      if (length < 2.0f) continue;
      const float angle = s_.branch_angle * 3.1415927f * (u() - 0.5f);
      const float c = float(std::cos(double(angle))), s = float(std::sin(double(angle)));
      v = plain_hash(v);
      state_ = v;
      plain_bolt child = line(p.x, p.y, p.x + length * (c * ux + s * uy), p.y + length * (c * uy - s * ux), w);
      finish(child, w, part(parent.start), part(parent.end), parent.pointiness);
      if (depth == 0) branches(child, length * branch_per_length_, 1);
      parent.branches.push_back(child);
    }
  }

  bolt_settings s_;
  float peak_, slope_, phase_scale_, branch_per_length_, width_wrinkle_ = 0;
  std::uint32_t state_ = 0;
};

/// The ring around the shown points.
inline std::vector<image_point> plain_ring(const plain_bolt& b) {
  const int n = b.n_points - b.first_shown;
  std::vector<image_point> ring(std::size_t(2 * n));
  const auto unit_way = [&](int i) {  // of segment i of the shown ones
    const bolt_point &p = b.points[std::size_t(b.first_shown + i)], &q = b.points[std::size_t(b.first_shown + i + 1)];
    const float dx = q.x - p.x, dy = q.y - p.y, length = std::sqrt(dx * dx + dy * dy);
    return image_point{dx / length, dy / length};
  };
  for (int i = 0; i < n; ++i) {
    const image_point d1 = unit_way(std::max(i - 1, 0)), d2 = unit_way(std::min(i, n - 2));
    const bolt_point& p = b.points[std::size_t(b.first_shown + i)];
    const float m = (1 - 0.5f * (d1.x * d2.x + d1.y * d2.y)) * p.width;
    ring[std::size_t(i)] = {p.x + m * -(d1.y + d2.y), p.y + m * (d1.x + d2.x)};
    ring[std::size_t(2 * n - 1 - i)] = {p.x + m * (d1.y + d2.y), p.y + m * -(d1.x + d2.x)};
  }
  return ring;
}

}  // namespace tessaron::testing
