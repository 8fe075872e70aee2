// Discs, blobs and hexagons. A row is walked outwards from the centre, to either side: distances grow, so that the
// pixels between two of a disc's radii are one stretch, which a plain loop fills. Distances are taken in 1/16 pixels
// and squared as integers; roots come from the table as far as it goes, and from the processor beyond it.
#include <cstdint>

#include "evaluator/tables.h"
#include "operators/bodies/flare_add.h"
#include "operators/bodies/flare_draw.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int BLOCK = 128;                   // pixels whose distances are known at once
constexpr int SIXTEENTH = 256;               // a sixteenth of a pixel, fix
constexpr std::int64_t TABLE_END = 4194304;  // squares from here on have no root in the table
constexpr std::int64_t INT_END = std::int64_t(1) << 31;

/// A row's stretch of pixels in the three planes.
struct light_row {
  std::int16_t* planes[3];
  light_row from(int x) const { return {{planes[0] + x, planes[1] + x, planes[2] + x}}; }
};

// --- distances -------------------------------------------------------------------------------------------------

/// Root of a square in 1/256 pixels below TABLE_END, as fix pixels: ranges of the table with 10, 8, 6 and 4 bits that
/// are rounded off.
static inline fix table_distance(fix d2) {
  const fix range = fix(d2 >= 0x400) + fix(d2 >= 0x4000) + fix(d2 >= 0x40000);
  const fix spare = range == 3 ? 2 : 0;
  const fix bits = 4 * range - spare;
  const fix i = d2 >> (4 * range);
  const fix part = (d2 >> spare) & ((1 << bits) - 1);
  const fix step = ((sqrt_table[i + 1] - sqrt_table[i]) * part) >> bits;
  return (sqrt_table[i] + (0x200 >> (2 * range)) + step) >> (10 - 2 * range);
}
static inline fix root_distance(float d2) { return fix(__builtin_sqrtf(d2) * 256.0f + 0.5f); }

/// How distances of a stretch are computed, by the largest square that it can hold.
enum reach_zone : int { WITHIN_TABLE, WITHIN_INT, BEYOND, N_ZONES };

template <reach_zone ZONE>
void disc_distances(fix dx, std::int64_t dy2, int n, fix* __restrict d) {
  const fix square = fix(dy2);
  if constexpr (ZONE == WITHIN_TABLE) {
    for (int i = 0; i < n; ++i) {
      const fix x = (dx + i * FIX_ONE) >> 8;
      d[i] = table_distance(x * x + square);
    }
  } else if constexpr (ZONE == WITHIN_INT) {
    for (int i = 0; i < n; ++i) {
      const fix x = (dx + i * FIX_ONE) >> 8;
      d[i] = root_distance(float(x * x + square));
    }
  } else {
    const double far_square = double(dy2);
    for (int i = 0; i < n; ++i) {
      const double x = (dx + i * FIX_ONE) >> 8;
      d[i] = root_distance(float(x * x + far_square));
    }
  }
}

/// Distances in a hexagon: the farthest of its sides, with the corners at the radius.
void hexagon_distances(const placed_spot& spot, fix dx, fix dy, int n, fix* __restrict d) {
  const float nx0 = spot.normal_x[0], nx1 = spot.normal_x[1], nx2 = spot.normal_x[2];
  const float y0 = spot.normal_y[0] * float(dy), y1 = spot.normal_y[1] * float(dy), y2 = spot.normal_y[2] * float(dy);
  for (int i = 0; i < n; ++i) {
    const float x = float(dx + i * FIX_ONE);
    const float a = __builtin_fabsf(nx0 * x + y0), b = __builtin_fabsf(nx1 * x + y1), c = __builtin_fabsf(nx2 * x + y2);
    const float ab = a > b ? a : b;
    d[i] = fix(ab > c ? ab : c);
  }
}

// --- colours ---------------------------------------------------------------------------------------------------

/// Adds the colours between knots k and k + 1.
void add_between_knots(const light_row& row, const placed_spot& spot, int k, const fix* __restrict d, int n) {
  std::int16_t* __restrict red = row.planes[0];
  std::int16_t* __restrict green = row.planes[1];
  std::int16_t* __restrict blue = row.planes[2];
  const fix from = spot.radius[k];
  const float r = spot.color[k][0], g = spot.color[k][1], b = spot.color[k][2];
  const float dr = spot.slope[k][0], dg = spot.slope[k][1], db = spot.slope[k][2];
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) {
    const float way = float(d[i] - from);
    red[i] = lit_sample(red[i], r + dr * way);
    green[i] = lit_sample(green[i], g + dg * way);
    blue[i] = lit_sample(blue[i], b + db * way);
  }
}

/// First of n distances that has reached a radius, where they rise; or fallen below it, where they fall.
template <bool RISING>
int crossing(const fix* d, int n, fix radius) {
  int low = 0, high = n;
  while (low < high) {
    const int middle = (low + high) / 2;
    if (RISING ? d[middle] >= radius : d[middle] < radius)
      high = middle;
    else
      low = middle + 1;
  }
  return low;
}

/// Adds the colours of a stretch whose distances only rise or only fall.
template <bool RISING>
void add_colors(const light_row& row, const placed_spot& spot, const fix* d, int n) {
  const int last = spot.n_knots - 1;
  int k = -1;  // the knot that was passed last, going outwards
  while (k < last && d[0] >= spot.radius[k + 1]) ++k;
  for (int i = 0; i < n;) {
    int end = n;
    if (RISING) {
      if (k == last) return;
      end = i + crossing<true>(d + i, n - i, spot.radius[k + 1]);
    } else {
      if (k < 0) return;
      end = i + crossing<false>(d + i, n - i, spot.radius[k]);
    }
    if (k >= 0 && k < last) add_between_knots(row.from(i), spot, k, d + i, end - i);
    i = end;
    k += RISING ? 1 : -1;
  }
}

/// A hexagon's distances fall to a smallest one and rise again.
void add_hexagon_colors(const light_row& row, const placed_spot& spot, const fix* d, int n) {
  int nearest = 0;
  for (int i = 1; i < n; ++i)
    if (d[i] < d[nearest]) nearest = i;
  if (nearest > 0) add_colors<false>(row, spot, d, nearest);
  add_colors<true>(row.from(nearest), spot, d + nearest, n - nearest);
}

/// A blob falls off from its middle to its radius by half a turn of a cosine. One that is smaller than a pixel keeps
/// its light and spreads it over one and a half, so that it doesn't flicker when it moves.
struct blob_fall {
  float steps;  // of the half turn's 2048, for each 1/4096 pixel
  float color[3];

  explicit blob_fall(const placed_spot& spot) {
    const fix radius = fix_max(spot.radius[0], SOFT_EDGE);
    const float part = float(spot.radius[0]) / float(radius);
    steps = 2048.0f / float(radius);
    for (int c = 0; c < 3; ++c) color[c] = spot.color[0][c] * (part * part) * (1.0f / 4096.0f);
  }
};
void add_blob_colors(const light_row& row, const blob_fall& blob, const fix* __restrict d, int n) {
  std::int16_t* __restrict red = row.planes[0];
  std::int16_t* __restrict green = row.planes[1];
  std::int16_t* __restrict blue = row.planes[2];
  const float steps = blob.steps, r = blob.color[0], g = blob.color[1], b = blob.color[2];
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) {
    const float turned = float(d[i]) * steps;
    // A quarter turn ahead of the sine, and so its table read backwards first.
    const fix at = fix(turned < 2048.0f ? turned + 0.5f : 2048.0f) - 1024;
    const fix quarter = sine_table[at < 0 ? -at : at];
    const fix sine = at < 0 ? quarter : -quarter;
    const float weight = float((sine >> 1) + 2048);
    red[i] = lit_sample(red[i], r * weight);
    green[i] = lit_sample(green[i], g * weight);
    blue[i] = lit_sample(blue[i], b * weight);
  }
}

// --- rows ------------------------------------------------------------------------------------------------------

/// The largest whole number with a square below `limit`, or -1.
std::int64_t root_below(std::int64_t limit) {
  if (limit <= 0) return -1;
  std::int64_t root = std::int64_t(__builtin_sqrt(double(limit)));
  while (root * root >= limit) --root;
  while ((root + 1) * (root + 1) < limit) ++root;
  return root;
}

std::int64_t first_pixel_from(std::int64_t place) { return (place + FIX_ONE - 1) >> FIX_BITS; }

class spot_drawer {
 public:
  spot_drawer(const flare_canvas& canvas, const placed_spot& spot) : canvas_(canvas), spot_(spot), blob_(spot) {
    outer_ = spot.kind == spot_kind::blob ? fix_max(spot.radius[0], SOFT_EDGE) : spot.radius[spot.n_knots - 1];
    // A hexagon's sides are nearer to its middle than its corners.
    const double hole = spot.kind == spot_kind::blob ? 0 : spot.radius[0] * (spot.kind == spot_kind::disc ? 1 : 0.866);
    hole_ = hole > 0 ? std::int64_t(hole) / SIXTEENTH - 2 : 0;
    reach_ = outer_ / SIXTEENTH + 2;
  }

  void rows(int first, int end) const {
    // Rows that the spot can reach, generously; each looks for itself.
    const double rows_of_reach = (double(outer_) / FIX_ONE + 2) / spot_.y_scale;
    const double reach = (rows_of_reach < 0 ? -rows_of_reach : rows_of_reach) + 1;
    const double middle = double(spot_.y) / FIX_ONE;
    if (!(reach < 1e9)) return rows_between(first, end);
    const double from = middle - reach, to = middle + reach;
    if (!(to >= first) || !(from < end)) return;
    rows_between(from > first ? int(from) : first, to + 1 < end ? int(to) + 1 : end);
  }

 private:
  void rows_between(int first, int end) const {
    for (int y = first; y < end; ++y) row(y);
  }

  void row(int y) const {
    const std::int64_t dy = distance_down(y);
    const std::int64_t y16 = dy >> 8, dy2 = y16 * y16;
    const std::int64_t outer = root_below(reach_ * reach_ - dy2);
    if (outer < 0) return;
    const auto held = [outer](std::int64_t half) { return half < outer ? half : outer; };
    std::int64_t half[N_ZONES + 1];  // half widths at which the zones end
    half[0] = held(hole_ > 0 ? root_below(hole_ * hole_ - dy2) : -1);
    half[1] = held(root_below(TABLE_END - dy2));
    half[2] = held(root_below(INT_END - dy2));
    half[3] = outer;
    for (int z = 1; z < N_ZONES; ++z)
      if (half[z] < half[0]) half[z] = half[0];
    sides<WITHIN_TABLE>(y, fix(dy), dy2, half[0], half[1]);
    sides<WITHIN_INT>(y, fix(dy), dy2, half[1], half[2]);
    sides<BEYOND>(y, fix(dy), dy2, half[2], half[3]);
  }

  std::int64_t distance_down(int y) const {
    const std::int64_t dy = std::int64_t(y) * FIX_ONE - spot_.y;
    if (spot_.y_scale == 1) return dy;
    constexpr double FARTHEST = 1 << 30;
    const double scaled = double(dy) * spot_.y_scale;
    const double limited = scaled > -FARTHEST ? (scaled < FARTHEST ? scaled : FARTHEST) : -FARTHEST;
    return std::int64_t(__builtin_floor(limited + 0.5));
  }

  /// The pixels of both sides that are farther than `inner` from the centre and not farther than `outer`.
  template <reach_zone ZONE>
  void sides(int y, fix dy, std::int64_t dy2, std::int64_t inner, std::int64_t outer) const {
    if (outer <= inner) return;
    const std::int64_t x = spot_.x;
    const std::int64_t middle = first_pixel_from(x);
    const std::int64_t left = first_pixel_from(x - outer * SIXTEENTH);
    const std::int64_t left_end = inner < 0 ? middle : first_pixel_from(x - inner * SIXTEENTH);
    stretch<ZONE, false>(y, dy, dy2, left, left_end);
    stretch<ZONE, true>(y, dy, dy2, first_pixel_from(x + (inner + 1) * SIXTEENTH),
                        first_pixel_from(x + (outer + 1) * SIXTEENTH));
  }

  template <reach_zone ZONE, bool RISING>
  void stretch(int y, fix dy, std::int64_t dy2, std::int64_t from, std::int64_t to) const {
    const int first = int(from < 0 ? 0 : from), end = int(to < canvas_.width ? to : canvas_.width);
    const std::int64_t at = std::int64_t(y) * canvas_.width;
    const light_row row = {{canvas_.planes[0] + at, canvas_.planes[1] + at, canvas_.planes[2] + at}};
    fix d[BLOCK];
    for (int x = first; x < end; x += BLOCK) {
      const int n = fix_min(end - x, BLOCK);
      const fix dx = fix(std::int64_t(x) * FIX_ONE - spot_.x);
      if (spot_.kind == spot_kind::hexagon) {
        hexagon_distances(spot_, dx, dy, n, d);
        add_hexagon_colors(row.from(x), spot_, d, n);
        continue;
      }
      disc_distances<ZONE>(dx, dy2, n, d);
      if (spot_.kind == spot_kind::blob)
        add_blob_colors(row.from(x), blob_, d, n);
      else
        add_colors<RISING>(row.from(x), spot_, d, n);
    }
  }

  const flare_canvas& canvas_;
  const placed_spot& spot_;
  const blob_fall blob_;
  fix outer_;                  // beyond it there is nothing
  std::int64_t hole_, reach_;  // squares of 1/16 pixels within and beyond which there is nothing, roots of
};

}  // namespace

void draw_spot(const flare_canvas& canvas, const placed_spot& spot, int first_row, int end_row) {
  spot_drawer(canvas, spot).rows(first_row, end_row);
}

}  // namespace tessaron::TESSARON_LEVEL
