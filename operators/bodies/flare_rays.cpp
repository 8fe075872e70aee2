// Rays: thin wedges of light to opposite sides of a point. Across a ray light falls off evenly from its middle line to
// its edges; a ray thinner than a pixel keeps a pixel's width and loses brightness instead, so that all rays are smooth
// and move without jumps. Towards its tip a ray gets thinner and darker.
//
// A ray that is mostly horizontal measures its width down the columns, one that is mostly vertical along the rows.
#include "evaluator/pixel_loop.h"
#include "operators/bodies/flare_add.h"
#include "operators/bodies/flare_draw.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr float THINNEST = 1.0f;  // half width in pixels of what is drawn
constexpr int ABORT_PAIRS = 16;

/// What is common to the rays of a pair.
struct ray_profile {
  float half;              // half width across the longer axis, pixels
  float per_pixel;         // 1 / length along the longer axis
  float growth, at_start;  // of the width from the middle on
};

static inline float magnitude(float v) { return __builtin_fabsf(v); }
static inline double magnitude(double v) { return __builtin_fabs(v); }

/// How much of a ray's width of 2 * half lies on one side of `off`, counted from its middle line.
static inline float light_up_to(float off, float half) {
  const float held = off < -half ? -half : off > half ? half : off;
  return held - held * magnitude(held) / (2 * half);
}

/// Brightness of a pixel at `u` of a ray's length and `off` pixels from its middle line: the mean over the pixel, so
/// that a ray has the same light wherever it falls between pixels.
static inline float ray_light(const ray_profile& p, float u, float off) {
  const float left = u < 1.0f ? 1.0f - u : 0.0f;
  const float grown = u * p.growth + p.at_start;
  const float half = p.half * left * (grown < 1.0f ? grown : 1.0f);
  const float drawn = half > THINNEST ? half : THINNEST;
  return half * left / drawn * (light_up_to(off + 0.5f, drawn) - light_up_to(off - 0.5f, drawn));
}

/// First pixel at or behind a place, within 0..size.
int pixel_from(double place, int size) {
  const double up = __builtin_ceil(place);
  return up > 0 ? (up < size ? int(up) : size) : 0;
}

class ray_drawer {
 public:
  ray_drawer(const flare_canvas& canvas, const placed_rays& rays, int first_row, int end_row)
      : canvas_(canvas), rays_(rays), first_row_(first_row), end_row_(end_row) {}

  void pair(const ray_pair& ends) const {
    const float across = magnitude(ends.x), down = magnitude(ends.y);
    const float ys = magnitude(float(rays_.y_scale));
    const float length = __builtin_sqrtf(across * across + down * ys * (down * ys));
    ray_profile p = {};
    p.growth = rays_.taper > 0 ? 1 / rays_.taper : 0;
    p.at_start = rays_.taper > 0 ? 0 : 1;
    if (across >= down) {
      p.half = rays_.half_width * length / (across * ys);
      p.per_pixel = 1 / across;
      horizontal(ends, p);
    } else {
      p.half = rays_.half_width * length / (down * ys);
      p.per_pixel = 1 / down;
      vertical(ends, p);
    }
  }

 private:
  /// How far from its middle line a ray lights pixels.
  float widest(const ray_profile& p) const { return (p.half > THINNEST ? p.half : THINNEST) + 0.5f; }

  /// Rows of this worker that are no farther from the middle than `reach`.
  template <class ROW>
  void each_row(double reach, ROW row) const {
    const int end = pixel_from(rays_.y + reach, canvas_.height);
    int y = pixel_from(rays_.y - reach, canvas_.height);
    for (y = y > first_row_ ? y : first_row_; y < end && y < end_row_; ++y) row(y);
  }

  void horizontal(const ray_pair& ends, const ray_profile& p) const {
    const double slope = double(ends.y) / ends.x, length = magnitude(double(ends.x)), reach = widest(p);
    each_row(magnitude(double(ends.y)) + reach, [&](int y) {
      const double off = y - rays_.y;
      double from = -length, to = length;  // where the ray crosses the row
      if (magnitude(slope) * length > 1e-3) {
        const double a = (off - reach) / slope, b = (off + reach) / slope;
        const double low = a < b ? a : b, high = a < b ? b : a;
        from = low > from ? low : from;
        to = high < to ? high : to;
      }
      const int x = pixel_from(rays_.x + from, canvas_.width);
      const int end = pixel_from(rays_.x + to, canvas_.width);
      if (x < end) row(x, y, end - x, p, float(x - rays_.x), float(off), float(slope));
    });
  }

  void row(int x, int y, int n, const ray_profile& p, float dx, float off, float slope) const {
    const std::int64_t at = std::int64_t(y) * canvas_.width + x;
    std::int16_t* __restrict red = canvas_.planes[0] + at;
    std::int16_t* __restrict green = canvas_.planes[1] + at;
    std::int16_t* __restrict blue = canvas_.planes[2] + at;
    const ray_profile profile = p;
    const float r = rays_.color[0], g = rays_.color[1], b = rays_.color[2];
#pragma GCC ivdep
    for (int i = 0; i < n; ++i) {
      const float along = dx + float(i);
      const float light = ray_light(profile, magnitude(along) * profile.per_pixel, off - along * slope);
      red[i] = lit_sample(red[i], r * light);
      green[i] = lit_sample(green[i], g * light);
      blue[i] = lit_sample(blue[i], b * light);
    }
  }

  void vertical(const ray_pair& ends, const ray_profile& p) const {
    const double slope = double(ends.x) / ends.y, length = magnitude(double(ends.y)), reach = widest(p);
    each_row(length, [&](int y) {
      const double along = y - rays_.y;
      const double middle = rays_.x + along * slope;
      const float u = float(magnitude(along)) * p.per_pixel;
      const int end = pixel_from(middle + reach, canvas_.width);
      const std::int64_t at = std::int64_t(y) * canvas_.width;
      for (int x = pixel_from(middle - reach, canvas_.width); x < end; ++x) {
        const float light = ray_light(p, u, float(x - middle));
        for (int c = 0; c < 3; ++c) {
          std::int16_t& sample = canvas_.planes[c][at + x];
          sample = lit_sample(sample, rays_.color[c] * light);
        }
      }
    });
  }

  const flare_canvas& canvas_;
  const placed_rays& rays_;
  const int first_row_, end_row_;
};

}  // namespace

void draw_rays(const flare_canvas& canvas, const placed_rays& rays, int first_row, int end_row) {
  const double reach = (double(rays.reach) + rays.half_width) / magnitude(rays.y_scale) + 2;
  if (rays.y + reach < first_row || rays.y - reach >= end_row) return;
  const ray_drawer drawer(canvas, rays, first_row, end_row);
  for (int i = 0; i < rays.n_pairs; ++i) {
    if (i % ABORT_PAIRS == ABORT_PAIRS - 1 && check_abort()) return;
    drawer.pair(rays.pairs[i]);
  }
}

}  // namespace tessaron::TESSARON_LEVEL
