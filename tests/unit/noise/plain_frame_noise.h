// Noise over the frame in plain form: whole pictures of numbers, one step after the other, coordinates as they are.
#pragma once

#include <cmath>
#include <vector>

#include "support/plain_tables.h"

namespace tessaron::testing {

struct frame_noise {
  fix frequency_x, frequency_y, octaves, shift_x, shift_y, seed;
  bool around_zero;  // noise2
  fix scale = 4096;
};

/// The image within its frame.
struct noise_image_place {
  int width, height, x0, y0, full_width, full_height;
  float aspect, pixel_aspect;
};

using plain_lines = std::vector<std::vector<int>>;

/// The image's edges in one direction, and the numbers of the first and behind the last lattice sample.
struct plain_window {
  double start, end;  // as fix numbers
  long long first, last;
  int count() const { return int(last - first); }
};

inline std::vector<int> plain_doubled(const std::vector<int>& in) {
  const int n = int(in.size());
  if (n == 1) return in;
  // Between all samples their means; then those that were there are smoothed; the ends are dropped.
  std::vector<int> all;
  for (int i = 0; i < n; ++i) {
    all.push_back(in[i]);
    if (i + 1 < n) all.push_back(floor_shift(wide(in[i]) + in[i + 1], 1));
  }
  std::vector<int> out;
  for (int i = 1; i + 1 < int(all.size()); ++i)
    out.push_back(i % 2 ? all[i] : floor_shift(wide(all[i - 1]) + 2 * wide(all[i]) + all[i + 1] + 1, 2));
  return out;
}
inline plain_window plain_doubled(const plain_window& w) {
  const int n = w.count() < 2 ? 1 : 2 * w.count() - 3;
  return {2 * w.start, 2 * w.end, 2 * w.first + 1, 2 * w.first + 1 + n};
}

inline plain_lines plain_transposed(const plain_lines& in) {
  plain_lines out(in[0].size(), std::vector<int>(in.size()));
  for (std::size_t y = 0; y < in.size(); ++y)
    for (std::size_t x = 0; x < in[0].size(); ++x) out[x][y] = in[y][x];
  return out;
}
inline plain_lines plain_all_doubled(const plain_lines& in) {
  plain_lines out;
  for (const std::vector<int>& line : in) out.push_back(plain_doubled(line));
  return out;
}

inline int plain_frame_lattice(long long x, long long y, std::uint32_t seed, int element) {
  const std::uint32_t v = plain_hash(plain_hash(seed ^ std::uint32_t(-16 * y)) + std::uint32_t(x));
  std::uint32_t bits = v;
  if (element == 1) bits = v >> 16;
  if (element > 1) bits = (v + hash_table[v % 256]) >> 8;
  return int(bits & 0x1fff) - 4096;
}

/// Lines read at so many places.
inline std::vector<int> plain_resampled(const std::vector<int>& line, const plain_window& w, int size) {
  const std::vector<int> doubled = plain_doubled(line);
  const plain_window window = plain_doubled(w);
  const long long step = (long long)((window.end - window.start) * 16) / size;
  std::vector<int> out;
  for (int i = 0; i < size; ++i) {
    const long long at = (long long)(window.start * 16) - window.first * 65536 + i * step;
    long long sample = at / 65536;
    int fraction = int(at / 16 % 4096);
    // Lines that were cut for lack of room have nothing behind their last sample.
    if (sample >= (long long)doubled.size() - 1) {
      sample = (long long)doubled.size() - 1;
      fraction = 0;
    }
    const int a = doubled[sample], b = fraction ? doubled[sample + 1] : a;
    out.push_back(a + floor_shift(wide(b - a) * fraction, 12));
  }
  return out;
}

/// One element of the image, row by row.
inline plain_lines plain_frame_noise(const frame_noise& n, const noise_image_place& p, int element) {
  const float fx = float(n.frequency_x) * 2 / 4096, fy = float(n.frequency_y) * 2 / 4096;
  float x_cells = std::abs(fx) * float(p.width) / float(p.full_width);
  float y_cells = std::abs(fy) * p.pixel_aspect * float(p.height) / float(p.full_height);
  const int oct = std::max(1, int(float(n.octaves) / 4096));
  const float limit_x = float(p.width >= 4 ? (p.width - 4) / 2 : -2), limit_y = float(p.height - 4) / (2 * p.aspect);
  bool long_image = y_cells > limit_y;
  for (int i = 1; i <= std::min(oct, 4) - 1; ++i)
    if (y_cells * std::pow(2.0f, float(i)) > limit_y && !(x_cells * std::pow(2.0f, float(i)) > limit_x))
      long_image = true;
  const int rows = long_image ? 2 * p.height : p.height;
  x_cells = p.width < 5 ? 0 : std::min(x_cells, limit_x);
  y_cells = p.height < 5 ? 0 : std::min(y_cells, float(rows - 4) / (2 * p.aspect));

  // The shift that makes the image's own -half .. half the frame's.
  const auto own_shift = [](double half, double shift, int at, int size, int full) {
    return float((half + shift - 2 * half * at / full) * full / size - half);
  };
  const float sx = own_shift(1, double(n.shift_x) / 4096, p.x0, p.width, p.full_width);
  const float sy = own_shift(p.aspect, double(n.shift_y) / 4096, p.y0, p.height, p.full_height);
  const auto window = [](float half, float shift, float cells, int room) {
    plain_window w = {};
    w.start = std::nearbyint(double((-half - shift) * cells) * 4096);
    w.end = std::nearbyint(double((half - shift) * cells) * 4096);
    w.first = (long long)std::floor(w.start / 4096) - 1;
    w.last = std::min((long long)std::ceil(w.end / 4096) + 2, w.first + room);
    return w;
  };
  plain_window x = window(1, sx, x_cells, p.width), y = window(p.aspect, sy, y_cells, rows);

  const std::uint32_t seed = std::uint32_t(n.seed);
  plain_lines lines(y.count(), std::vector<int>(x.count()));
  for (int r = 0; r < y.count(); ++r)
    for (int c = 0; c < x.count(); ++c) lines[r][c] = plain_frame_lattice(x.first + c, y.first + r, seed, element);
  for (int i = 1;; ++i) {
    const bool across = x.end > x.start && x.count() > 3 && 2 * x.count() - 3 <= p.width;
    const bool down = y.end > y.start && y.count() > 3 && 2 * y.count() - 3 <= rows;
    if (!across && !down) break;
    if (across) {
      lines = plain_all_doubled(lines);
      x = plain_doubled(x);
    }
    if (down) {
      lines = plain_transposed(plain_all_doubled(plain_transposed(lines)));
      y = plain_doubled(y);
    }
    if (across && down && i < oct)
      for (int r = 0; r < y.count(); ++r)
        for (int c = 0; c < x.count(); ++c)
          lines[r][c] +=
              floor_shift(plain_frame_lattice(x.first + c, y.first + r, seed ^ std::uint32_t(i), element), i);
  }
  for (std::vector<int>& line : lines)
    for (int& v : line) {
      if (n.scale == 4096)
        v = floor_shift(v, 1) + (n.around_zero ? 0 : 2048);
      else
        v = product(v, floor_shift(n.scale, 1));
      if (v > 0x7ffe) v = 0x7fff;
      if (v < -0x7ffe) v = -0x7fff;
    }
  for (std::vector<int>& line : lines) line = plain_resampled(line, x, p.width);
  lines = plain_transposed(lines);
  for (std::vector<int>& line : lines) line = plain_resampled(line, y, p.height);
  return plain_transposed(lines);
}

}  // namespace tessaron::testing
