// The blur engine the slow way, written from its rules: every box sum adds up its whole window. Knows nothing of
// groups of lines, workers or running sums.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/fixed.h"

namespace tessaron::testing {

/// Samples of a plane or of the long image, row by row.
template <class Sample>
struct plain_image {
  int width = 0, height = 0;
  std::vector<Sample> samples;

  plain_image() = default;
  plain_image(int w, int h, Sample value = 0) : width(w), height(h), samples(std::size_t(w) * std::size_t(h), value) {}
  plain_image(int w, int h, const std::function<int(int x, int y)>& of) : plain_image(w, h) {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) at(x, y) = Sample(of(x, y));
  }
  Sample& at(int x, int y) { return samples[std::size_t(y) * std::size_t(width) + std::size_t(x)]; }
  Sample at(int x, int y) const { return samples[std::size_t(y) * std::size_t(width) + std::size_t(x)]; }
  bool operator==(const plain_image&) const = default;
};
using plain_plane = plain_image<std::int16_t>;
using plain_long_image = plain_image<std::int32_t>;

/// The first sample in which two images differ, as text; empty when none does.
template <class Sample>
std::string first_difference(const plain_image<Sample>& got, const plain_image<Sample>& wanted) {
  if (got.width != wanted.width || got.height != wanted.height) return "other size";
  for (int y = 0; y < got.height; ++y)
    for (int x = 0; x < got.width; ++x)
      if (got.at(x, y) != wanted.at(x, y))
        return std::to_string(got.at(x, y)) + " instead of " + std::to_string(wanted.at(x, y)) + " at " +
               std::to_string(x) + "," + std::to_string(y);
  return "";
}

/// Nearest integer, ties to even, modulo 2^32.
inline std::int32_t plain_nearest(double v) {
  return std::int32_t(std::uint32_t(std::int64_t(std::nearbyint(std::fmod(v, 4294967296.0)))));
}
/// A product as a plane stores it.
inline std::int16_t plain_scaled(double product) {
  return std::int16_t(std::nearbyint(std::clamp(product, -32767.0, 32767.0)));
}

struct plain_blur_settings {
  fix x_amount = 0, y_amount = 0;  // fix pixels
  int edge_mode = 1;
  int passes = 3;
  bool subpixel = false, field_mode = false;
  bool pixel_aspect_on = false;
  float y_scale = 1;  // of vertical amounts while pixel_aspect_on
};

namespace plain {

using line = std::vector<std::int32_t>;

inline std::int32_t sample(const line& l, int i, int edge_mode) {
  const int n = int(l.size());
  if (i < 0) return edge_mode == 1 ? l[std::size_t(-1 - i)] : 0;
  if (i >= n) return edge_mode == 1 ? l[std::size_t(n - 1 - (i - n))] : 0;
  return l[std::size_t(i)];
}

inline line box_sums(const line& l, int r, int edge_mode) {
  line sums(l.size());
  for (int k = 0; k < int(l.size()); ++k) {
    std::uint32_t sum = 0;
    for (int i = k - r; i <= k + r; ++i) sum += std::uint32_t(sample(l, i, edge_mode));
    sums[std::size_t(k)] = std::int32_t(sum);
  }
  return sums;
}

struct pass {
  int low, high, shift;
  float low_weight;
};
struct direction {
  std::vector<pass> passes;
  float frac = 0;
};

inline int bit_count(int v) {
  int count = 0;
  for (; v > 0; v >>= 1) ++count;
  return count;
}

inline direction plan(fix amount, int size, int passes, bool subpixel, std::int32_t& running_scale) {
  direction d;
  int low, high;
  if (subpixel) {
    low = int(std::floor(amount / 4096.0));
    high = int(std::ceil(amount / 4096.0));
    d.frac = (float(amount) - float(low) * 4096.0f) / 4096.0f;
  } else {
    low = high = int(std::floor(amount / 4096.0 + 0.5));
  }
  const int limit = std::max(size / 2 - 1, 0);
  for (int i = 0; i < passes; ++i) {
    pass p = {};
    p.low = std::min(limit, low / (passes - i));
    p.high = std::min(limit, high / (passes - i));
    low -= p.low;
    high -= p.high;
    const int box = 2 * p.high + 1;
    p.shift = std::max(0, bit_count(running_scale) + bit_count(box) - 30);
    running_scale = (running_scale >> p.shift) * box;
    p.low_weight = float(double(float(box) / float(2 * p.low + 1)) * (1.0 - double(d.frac)));
    d.passes.push_back(p);
  }
  return d;
}

inline void filter(line& l, const direction& d, int edge_mode, bool subpixel) {
  for (const pass& p : d.passes) {
    for (std::int32_t& v : l) v >>= p.shift;
    if (subpixel && p.high != p.low) {
      const line high = box_sums(l, p.high, edge_mode), low = box_sums(l, p.low, edge_mode);
      for (std::size_t i = 0; i < l.size(); ++i)
        l[i] = plain_nearest(double(low[i]) * double(p.low_weight) + double(high[i]) * double(d.frac));
    } else if (p.low > 0) {
      l = box_sums(l, p.low, edge_mode);
    }
  }
}

}  // namespace plain

/// The long image that blur_plane leaves; `one` is what stands for 1.0 in it.
inline plain_long_image plain_blur(const plain_plane& plane, const plain_blur_settings& s, std::int32_t& one) {
  plain_long_image image(plane.width, plane.height);
  std::copy(plane.samples.begin(), plane.samples.end(), image.samples.begin());
  one = 4096;
  if (s.x_amount > 0) {
    const plain::direction d = plain::plan(s.x_amount, plane.width, s.passes, s.subpixel, one);
    for (int y = 0; y < plane.height; ++y) {
      plain::line l;
      for (int x = 0; x < plane.width; ++x) l.push_back(image.at(x, y));
      plain::filter(l, d, s.edge_mode, s.subpixel);
      for (int x = 0; x < plane.width; ++x) image.at(x, y) = l[std::size_t(x)];
    }
  }
  const int fields = s.field_mode ? 2 : 1;
  fix y_amount = s.y_amount / fields;
  if (y_amount > 0) {
    if (s.pixel_aspect_on) y_amount = fix(float(y_amount) * s.y_scale);
    const plain::direction d = plain::plan(y_amount, plane.height / fields, s.passes, s.subpixel, one);
    for (int x = 0; x < plane.width; ++x)
      for (int field = 0; field < fields; ++field) {
        plain::line l;
        for (int y = field; y < plane.height; y += fields) l.push_back(image.at(x, y));
        plain::filter(l, d, s.edge_mode, s.subpixel);
        for (int k = 0; k < int(l.size()); ++k) image.at(x, field + k * fields) = l[std::size_t(k)];
      }
  }
  return image;
}

/// The long image as long_to_plane() stores it.
inline plain_plane plain_normalised(const plain_long_image& image, float factor) {
  plain_plane plane(image.width, image.height);
  for (std::size_t i = 0; i < plane.samples.size(); ++i)
    plane.samples[i] = plain_scaled(double(image.samples[i]) * double(factor));
  return plane;
}

inline plain_plane plain_scale(plain_plane plane, fix scale) {
  for (std::int16_t& v : plane.samples)
    if (scale != 4096) v = plain_scaled(double(v) * (scale / 4096.0));
  return plane;
}

/// A plane blurred and brought back at `scale`, as most operators do it.
inline plain_plane plain_blurred(const plain_plane& plane, const plain_blur_settings& s, fix scale = 4096) {
  std::int32_t one = 0;
  const plain_long_image image = plain_blur(plane, s, one);
  return plain_normalised(image, (float(scale) / 4096.0f) / (float(one) / 4096.0f));
}

}  // namespace tessaron::testing
