// The noises at coordinates, one sample at a time and straight from their rules: no blocks, no windows, no caches.
#pragma once

#include <algorithm>
#include <cmath>

#include "support/plain_tables.h"

namespace tessaron::testing {

/// The bell over the squared distance, in 4608ths of the square of its reach.
inline fix plain_bell(int i) {
  const double d = std::sqrt(i / 4608.0);
  return fix(std::nearbyint(4096 * (d < 0.5 ? 1 - 2 * d * d : 2 * (1 - d) * (1 - d))));
}
inline int plain_bell_limit() {
  static const int limit = [] {
    int i = 0;
    while (plain_bell(i) != 0) ++i;
    return 2 * i;
  }();
  return limit;
}

/// The value of a cell, by element.
inline fix plain_lattice(wide x, wide y, fix seed, int element) {
  const std::uint32_t row = plain_hash(std::uint32_t(y * 16) ^ std::uint32_t(seed));
  const std::uint32_t v = plain_hash(std::uint32_t(x) + row);
  const std::uint32_t bits = element == 0 ? v : element == 1 ? v >> 16 : (v + plain_hash_entry(v % 256)) >> 8;
  return fix(bits & 0x1fff) - 4096;
}

/// The cell of a coordinate: the nearest whole one, a half going up.
inline wide plain_cell(fix v) { return floor_shift(low32(wide(v) + 2048), 12); }

/// One octave's part at (x, y), coordinates of its own lattice.
inline fix plain_octave(fix x, fix y, fix seed, int element, fix amplitude) {
  const wide cx = plain_cell(x), cy = plain_cell(y), fx = low32(x - cx * 4096), fy = low32(y - cy * 4096);
  wide weights = 0, sum = 0;
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i) {
      const wide d = fx * fx / 4096 - 2 * i * fx + i * i * 4096 + fy * fy / 4096 - 2 * j * fy + j * j * 4096;
      if (d >= plain_bell_limit()) continue;
      const wide w = plain_bell(int(d / 2));
      weights += w;
      sum += floor_shift(w * plain_lattice(cx + i, cy + j, seed, element), 12);
    }
  return floor_shift(sum * (wide(amplitude) * 4096 / weights), 12);
}

/// The sum of the octaves, around 0.
inline fix plain_solid_sum(fix x, fix y, fix octaves, fix seed, int element) {
  const int top = floor_shift(low32(wide(octaves) + 4095), 12) - 1;
  wide sum = 0;
  for (int o = 0; o <= std::min(top, 20); ++o) {
    const wide amplitude = o == 0 ? 4096 : floor_shift(o < top ? 4096 : octaves - top * 4096, o);
    sum += plain_octave(low32(wide(x) << o), low32(wide(y) << o), o ^ seed, element, fix(amplitude));
  }
  return low32(sum);
}

/// A coordinate of warp_noise on the lattice.
inline fix plain_warp_coordinate(fix coord, fix frequency) {
  const float product = float(coord) * float(frequency);
  return low32(wide(std::round(double(product) * 2 / 4096)));
}

inline void plain_warp_noise(const sample_input& in, fix out[4]) {
  const int last = in.elnum[1] - 1;
  const fix x = plain_warp_coordinate(in.arg[0][0], in.arg[1][0]);
  const fix y = plain_warp_coordinate(in.arg[0][1], in.arg[1][last]);
  for (int e = 0; e < in.result_elnum; ++e) {
    const fix sum = plain_solid_sum(x, y, in.arg[2][0], in.arg[3][0], e);
    out[e] = in.result_elnum == 2 ? product(sum, floor_shift(in.arg[4][0], 1)) : floor_shift(sum, 1) + 2048;
  }
}

// --- cells -----------------------------------------------------------------------------------------------

inline fix plain_cell_coordinate(fix coord, fix frequency) { return product(floor_shift(frequency, 1), coord); }

inline void plain_spots(const sample_input& in, fix out[4]) {
  const int last = in.elnum[1] - 1;
  const fix x = plain_cell_coordinate(in.arg[0][0], in.arg[1][0]);
  const fix y = plain_cell_coordinate(in.arg[0][1], in.arg[1][last]);
  const fix r = std::min(magnitude(floor_shift(in.arg[2][0], 2)), 1536);
  const fix rr = r * r / 4096;
  out[0] = 0;
  if (rr == 0) return;
  for (int layer = 0; layer < 2; ++layer) {
    const fix px = low32(wide(x) + 2048 * layer), py = low32(wide(y) + 2048 * layer);
    const wide cx = plain_cell(px), cy = plain_cell(py);
    const fix seed = low32(wide(in.arg[3][0]) + layer);
    const auto offset = [&](int element, wide cell, fix at) {
      const fix halved = floor_shift(plain_lattice(cx, cy, seed, element), 1);
      return low32(floor_shift(wide(halved) * (4096 - 2 * r), 12) + cell * 4096 - at);
    };
    const wide dx = offset(0, cx, px), dy = offset(1, cy, py);
    if (std::abs(dx) >= r || std::abs(dy) >= r) continue;
    const wide d = dx * dx + dy * dy, i = (d + d / 16) / rr;
    if (i < 4608) out[0] += floor_shift(wide(4096 - out[0]) * plain_bell(int(i)), 12);
  }
}

inline void plain_voronoi(const sample_input& in, fix out[4]) {
  const int last = in.elnum[1] - 1;
  const fix x = plain_cell_coordinate(in.arg[0][0], in.arg[1][0]);
  const fix y = plain_cell_coordinate(in.arg[0][1], in.arg[1][last]);
  const fix angle = in.arg[2][0], seed = in.arg[3][0];
  const wide cx = plain_cell(x), cy = plain_cell(y), fx = low32(x - cx * 4096), fy = low32(y - cy * 4096);
  std::vector<wide> distances;
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i) {
      fix a = plain_lattice(cx + i, cy + j, seed, 0), b = plain_lattice(cx + i, cy + j, seed, 1);
      if (angle != 0) {
        const fix s = plain_sine(angle), c = plain_cosine(angle);
        const fix turned = product(a, c) - product(b, s);
        b = product(a, s) + product(b, c);
        a = turned;
      }
      const wide dx = i * 4096 + product(a, 1638) - fx, dy = j * 4096 + product(b, 1638) - fy;
      distances.push_back(dx * dx + dy * dy);
    }
  std::sort(distances.begin(), distances.end());
  const fix s1 = plain_length(fix(distances[0])), s2 = plain_length(fix(distances[1]));
  out[0] = s2 < 1 ? 0 : 4096 - (s2 - s1) * 4096 / (s2 + s1);
}

inline void plain_hex_tiles(const sample_input& in, fix out[4]) {
  const int last = in.elnum[1] - 1;
  const float c = float(plain_cosine(in.arg[2][0])) / 4096 * 0.8660254f, s = float(plain_sine(in.arg[2][0])) / 4096;
  const float m = 1.3333333f * c, p = 0.5f * s + c;
  const float lo = std::min({0.0f, p, m}), hi = std::max({0.0f, p, m}), q = 1 / (hi - lo);
  const auto nearest = [](float v) { return low32(wide(std::nearbyint(double(v)))); };
  const fix u = nearest(float(in.arg[0][0]) * float(in.arg[1][0]) / 4096 * 1.1547f);
  const fix v = nearest(float(in.arg[0][1]) * float(in.arg[1][last]) / 4096);
  const fix a = u & 0x1fff, b = low32(wide(floor_shift(u, 1)) + v) & 0x1fff;
  fix big = std::max(a, b), small = std::min(a, b), half = big / 2;
  if (small < half) small = big - small;
  if (big + small > 8192) {
    const fix turned = 8192 - small;
    small = 8192 - big;
    big = turned;
    half = big / 2;
  }
  const float light = float(big) * (c * q) + float(std::abs(small - half)) * (s * q);
  out[0] = nearest(light) + nearest_fix(-lo * q);
}

}  // namespace tessaron::testing
