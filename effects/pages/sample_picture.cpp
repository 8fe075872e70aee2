#include "effects/pages/sample_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "console/pixels.h"

namespace tessaron::pages {
namespace {

using hostkit::image;

// Coordinates: x from 0 to 1.5 across, y from 0 at the top to 1. Colours are 0 to 1, as they are shown.

struct colour {
  double r = 0, g = 0, b = 0;
};
colour operator+(colour a, colour b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
colour operator*(colour a, double k) { return {a.r * k, a.g * k, a.b * k}; }
double mix(double a, double b, double t) { return a + (b - a) * t; }
colour mix(colour a, colour b, double t) { return {mix(a.r, b.r, t), mix(a.g, b.g, t), mix(a.b, b.b, t)}; }

/// 0 below `from`, 1 above `to`, smooth between.
double step(double from, double to, double v) {
  const double t = std::clamp((v - from) / (to - from), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

// --- noise ---------------------------------------------------------------------------------------

double lattice(std::int64_t x, std::int64_t y, int seed) {
  std::uint64_t h = std::uint64_t(x) * 0x9e3779b97f4a7c15u ^ std::uint64_t(y) * 0xc2b2ae3d27d4eb4fu ^
                    std::uint64_t(seed) * 0x165667b19e3779f9u;
  h = (h ^ h >> 31) * 0xbf58476d1ce4e5b9u;
  h = (h ^ h >> 29) * 0x94d049bb133111ebu;
  return double((h ^ h >> 32) & 0xffff) / 65535;
}

/// Smooth noise of 0 to 1 with one hill in each unit square.
double hills(double x, double y, int seed) {
  const double fx = std::floor(x), fy = std::floor(y);
  const auto ix = std::int64_t(fx), iy = std::int64_t(fy);
  const double tx = step(0, 1, x - fx), ty = step(0, 1, y - fy);
  return mix(mix(lattice(ix, iy, seed), lattice(ix + 1, iy, seed), tx),
             mix(lattice(ix, iy + 1, seed), lattice(ix + 1, iy + 1, seed), tx), ty);
}

double cloudy(double x, double y, int seed, int octaves = 5) {
  double sum = 0, weight = 0, size = 1;
  for (int i = 0; i < octaves; ++i, size *= 0.5, x *= 2.03, y *= 2.03) {
    sum += size * hills(x, y, seed + i);
    weight += size;
  }
  return sum / weight;
}

// --- the lake ------------------------------------------------------------------------------------

constexpr double SUN_X = 1.08, SUN_Y = 0.335, SHORE = 0.66;

colour lake_sky(double x, double y) {
  const colour zenith{0.13, 0.29, 0.58}, middle{0.47, 0.66, 0.85}, horizon{1.0, 0.81, 0.58};
  colour sky = y < 0.3 ? mix(zenith, middle, y / 0.3) : mix(middle, horizon, step(0.3, 0.58, y));
  const double veil = step(0.5, 0.78, cloudy(x * 3, y * 9 + 0.6 * cloudy(x * 4, y * 4, 90), 11));
  sky = mix(sky, mix(colour{0.97, 0.95, 0.95}, colour{1.0, 0.78, 0.62}, step(0.1, 0.5, y)), veil * 0.75);
  const double away = std::hypot(x - SUN_X, y - SUN_Y);
  sky = mix(sky, {1.0, 0.9, 0.7}, 0.85 * std::exp(-away * 7));
  return mix(sky, {1.0, 0.99, 0.93}, 1 - step(0.028, 0.038, away));
}

struct ridge {
  double height, rise, detail;
  int seed;
  colour shade;
  double snow_line;  // above it: snow
};
constexpr ridge RIDGES[] = {{0.53, 0.3, 2.2, 21, {0.52, 0.58, 0.72}, 0.4},
                            {0.6, 0.2, 3.1, 37, {0.34, 0.43, 0.55}, 0.0},
                            {0.655, 0.12, 4.6, 53, {0.19, 0.31, 0.32}, 0.0},
                            {0.672, 0.05, 9.0, 71, {0.09, 0.19, 0.15}, 0.0}};

colour lake_land(double x, double y) {
  colour seen = lake_sky(x, y);
  for (const ridge& r : RIDGES) {
    const double top = r.height - r.rise * std::pow(cloudy(x * r.detail, 0.5, r.seed, 7), 1.6);
    if (y < top) continue;
    // Ribs run down from the top, some to the left and some to the right.
    const double rib = (x + (y - top) * (hills(x * 4, 0.5, r.seed + 9) - 0.5)) * r.detail * 3;
    const double slope = cloudy(rib + 0.08, y * 5, r.seed + 3, 4) - cloudy(rib - 0.08, y * 5, r.seed + 3, 4);
    const double grain = cloudy(x * 30, y * 55, r.seed + 5, 4) - 0.5;
    colour rock = r.shade * (1 + 0.5 * grain + std::clamp(slope * 2.5, -0.3, 0.4));
    if (y < r.snow_line + 0.05 * grain) rock = mix(rock, {0.95, 0.92, 0.95}, 0.8 + grain * 0.4);
    seen = mix(rock, {0.95, 0.8, 0.66}, 0.3 * step(top, SHORE + 0.05, y) * (r.seed < 60));
  }
  return seen;
}

struct balloon {
  double x, y, radius;
  colour stripes[2];
};
constexpr balloon BALLOONS[] = {{0.46, 0.27, 0.16, {{0.88, 0.1, 0.13}, {0.99, 0.83, 0.2}}},
                                {0.79, 0.16, 0.075, {{0.1, 0.3, 0.75}, {0.96, 0.96, 0.98}}},
                                {1.31, 0.3, 0.055, {{0.1, 0.55, 0.32}, {0.98, 0.55, 0.12}}}};

/// Paints a balloon over `seen` where it stands.
void add_balloon(const balloon& b, double x, double y, colour& seen) {
  const double u = (x - b.x) / b.radius;
  double v = (y - b.y) / b.radius;
  if (std::fabs(u) < 0.14 && v > 1.45 && v < 1.68) seen = colour{0.3, 0.19, 0.1} * (1.2 - 0.8 * std::fabs(u) / 0.14);
  if (v > 1.15 && v < 1.46 && std::fabs(std::fabs(u) - (0.3 - (v - 1.15) * 0.6)) < 0.012) seen = {0.2, 0.16, 0.14};
  if (v > 0) v *= 0.8;  // longer below
  // The hull narrows to its mouth.
  const double wide = v > 0 ? 1 - 0.55 * v * v : 1;
  const double across = u / std::max(wide, 0.1), out = across * across + v * v;
  if (out > 1 || v > 0.94) return;
  const double depth = std::sqrt(1 - out);
  const double gore = std::asin(std::clamp(across / std::sqrt(std::max(1 - v * v, 0.01)), -1.0, 1.0)) * 3.8 + 10.5;
  const double seam = gore - std::floor(gore);
  colour cloth = b.stripes[int(std::floor(gore)) % 2];
  if (v > -0.12 && v < 0.08) cloth = mix(cloth, {0.98, 0.97, 0.93}, 0.9);
  const double light = 0.45 + 0.65 * std::clamp(0.75 * across + 0.45 * depth - 0.3 * v, 0.0, 1.0);
  seen = cloth * (light - 0.12 * (seam < 0.06 || seam > 0.94));
  const double shine = std::exp(-30 * (std::pow(across - 0.5, 2) + std::pow(v + 0.35, 2)));
  seen = mix(seen, {1, 0.97, 0.9}, 0.55 * shine);
}

colour lake_above(double x, double y) {
  colour seen = lake_land(x, y);
  for (const balloon& b : BALLOONS) add_balloon(b, x, y, seen);
  return seen;
}

colour lake_water(double x, double y) {
  const double near = (y - SHORE) / (1 - SHORE);
  const double wave = hills(x * mix(60, 16, near), y * mix(300, 90, near), 301) - 0.5;
  const double ripple = wave * mix(0.012, 0.05, near);
  colour seen = lake_above(x + ripple, SHORE - (y - SHORE) * 1.35 - std::fabs(ripple)) * 0.72 +
                colour{0.02, 0.06, 0.09} * (0.6 + near);
  const double glitter = std::exp(-std::pow((x - SUN_X) / (0.02 + 0.1 * near), 2));
  if (wave > 0.2) seen = mix(seen, {1, 0.94, 0.78}, glitter * (wave - 0.2) * 3);
  return seen;
}

/// A bank of grass with poppies in front.
bool lake_bank(double x, double y, colour& seen) {
  const double blade = 0.07 * hills(x * 90, y * 2, 401) + 0.04 * hills(x * 210, y * 3, 402);
  const double edge = 0.97 - 0.13 * step(0.75, 0.0, x) - blade + 0.05 * step(0.0, 1.5, x);
  if (y < edge) return false;
  const double grain = cloudy(x * 80, y * 20, 411, 3);
  seen = mix(colour{0.08, 0.2, 0.06}, colour{0.45, 0.58, 0.16}, grain * (1.25 - step(edge, 1.0, y) * 0.7));
  const double cell = 0.055, cx = std::floor(x / cell), cy = std::floor(y / cell);
  const auto ix = std::int64_t(cx), iy = std::int64_t(cy);
  if (lattice(ix, iy, 420) < 0.45) return true;
  const double px = (cx + 0.3 + 0.4 * lattice(ix, iy, 421)) * cell, py = (cy + 0.3 + 0.4 * lattice(ix, iy, 422)) * cell;
  const double away = std::hypot(x - px, (y - py) * 1.3) / (0.006 + 0.009 * lattice(ix, iy, 423));
  if (away < 1) seen = away < 0.25 ? colour{0.1, 0.03, 0.05} : colour{0.9 - 0.3 * away, 0.1, 0.08};
  return true;
}

colour lake(double x, double y) {
  colour seen;
  if (lake_bank(x, y, seen)) return seen;
  return y < SHORE ? lake_above(x, y) : lake_water(x, y);
}

// --- the dunes -----------------------------------------------------------------------------------

colour night_sky(double x, double y) {
  colour sky = mix(colour{0.02, 0.03, 0.11}, colour{0.36, 0.19, 0.36}, step(0.0, 0.62, y));
  const double away = std::hypot(x - 0.36, y - 0.2), dark = std::hypot(x - 0.395, y - 0.185);
  sky = mix(sky, {0.5, 0.55, 0.75}, 0.5 * std::exp(-away * 9));
  const double moon = (1 - step(0.07, 0.074, away)) * step(0.062, 0.068, dark);
  sky = mix(sky, colour{0.98, 0.96, 0.86} * (0.85 + 0.15 * cloudy(x * 40, y * 40, 505)), moon);
  const double cell = 0.03, cx = std::floor(x / cell), cy = std::floor(y / cell);
  const auto ix = std::int64_t(cx), iy = std::int64_t(cy);
  if (lattice(ix, iy, 510) > 0.62) {
    const double star = std::hypot(x - (cx + 0.2 + 0.6 * lattice(ix, iy, 511)) * cell,
                                   y - (cy + 0.2 + 0.6 * lattice(ix, iy, 512)) * cell);
    sky = sky + colour{0.9, 0.92, 1} * (lattice(ix, iy, 513) * std::exp(-star * 900) * (1 - step(0.3, 0.55, y)));
  }
  return sky;
}

colour dunes(double x, double y) {
  colour seen = night_sky(x, y);
  for (int i = 0; i < 4; ++i) {
    const double scale = 1.6 - 0.25 * i;
    const double crest = 0.52 + 0.11 * i - 0.12 * cloudy(x * scale + 3.1 * i, 0.5, 600 + i, 3);
    if (y < crest) continue;
    const double below = (y - crest) * 6;
    const double turn = hills(x * scale * 2 + below, 2.0 * i, 620 + i);
    const double ripple = std::sin((y * 190 + 14 * hills(x * 6, y * 12, 640)) / (0.7 + 0.3 * i)) * 0.05;
    const double light = std::clamp(0.25 + 0.75 * step(0.35, 0.6, turn + 0.25 - below * 0.3) + ripple, 0.05, 1.0);
    seen = mix(colour{0.2, 0.08, 0.16}, colour{0.98, 0.62, 0.3}, light) * (0.72 + 0.09 * i);
  }
  return seen;
}

colour matte(double x, double y) {
  const double round = std::hypot((x - 0.66) / 1.1, y - 0.46) + 0.05 * (cloudy(x * 6, y * 6, 700) - 0.5);
  const double v = 1 - step(0.22, 0.36, round);
  return {v, v, v};
}

// --- into an image -------------------------------------------------------------------------------

/// Four samples a pixel.
template <class Scene>
image draw(int width, int height, Scene scene) {
  constexpr std::array<double, 2> AT = {0.25, 0.75};
  image picture = image::make(width, height, hostkit::pixel_format::rgba8);
  const console::field_order order = console::order_of(picture.format);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      colour sum;
      for (const double dy : AT)
        for (const double dx : AT) {
          const colour seen = scene((x + dx) / width * 1.5, (y + dy) / height);
          sum = sum + colour{std::clamp(seen.r, 0.0, 1.0), std::clamp(seen.g, 0.0, 1.0), std::clamp(seen.b, 0.0, 1.0)};
        }
      std::uint8_t* pixel = picture.row(y) + std::size_t(4 * x);
      const double samples[4] = {sum.r / 4, sum.g / 4, sum.b / 4, 1};
      for (int c = 0; c < 4; ++c) pixel[order.field[c]] = std::uint8_t(samples[c] * 255 + 0.5);
    }
  return picture;
}

}  // namespace

image draw_lake(int width, int height) { return draw(width, height, lake); }
image draw_dunes(int width, int height) { return draw(width, height, dunes); }
image draw_matte(int width, int height) { return draw(width, height, matte); }

}  // namespace tessaron::pages
