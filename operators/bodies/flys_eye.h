// flys_eye: the image through the lenses of an insect's eye.
//
// The lenses are the cells of a hexagonal lattice: centres in rows of height sqrt(3)/2, every other row shifted by a
// half, all in units of the distance between two lenses. A place belongs to the lens whose centre is nearest.
//
//        o     o     o        row 1: columns 1/2, 3/2 ...
//     o     o     o     o     row 0: columns 0, 1, 2 ...
#pragma once

#include "base/fixed.h"
#include "evaluator/tables.h"

namespace tessaron {
struct node;
}

#ifndef TESSARON_LEVEL
#error "bodies are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {

/// Image body, as the catalogue names it.
void flys_eye_image(node& n);

namespace {

inline constexpr float ROW_HEIGHT = 0.8660254f;      // sqrt(3) / 2
inline constexpr float ROWS_BY_2 = 0.57735026f;      // 1 / sqrt(3): pairs of rows in a distance of 1
inline constexpr float FARTHEST_LENS = 1048576.0f;   // lenses beyond this many from the middle are not told apart
inline constexpr float WIDEST_SOFT_EDGE = 0.25f;     // at softness 1.0: half way from edge to centre
inline constexpr float ROUNDING_BIAS = 12582912.0f;  // 1.5 * 2^23: added to a float below 2^22, leaves no fraction

/// Nearest whole number, ties to even, of a float below 2^22 in magnitude.
static inline float nearest_whole(float v) { return (v + ROUNDING_BIAS) - ROUNDING_BIAS; }

/// The lattice and what each lens does, from the arguments as fix values.
struct lens_array {
  float per_x, per_y;                // lenses to one step of fix
  float width, height;               // of the lattice's unit, in steps of fix; 0 where there is one lens alone
  float shift_x, shift_y;            // of the lattice, steps of fix
  float cosine, sine;                // of the lattice's turn
  float inside_cosine, inside_sine;  // of the turn inside each lens, times its zoom
  float overall;                     // zoom of the places that the lenses look at
  float edge;                        // 1 / width of a soft edge, in units of the lattice; 0 for hard edges

  static lens_array of(const fix* frequency, const fix* shift, fix rotate, fix inside_zdist, fix inside_rotate,
                       fix overall_zdist, fix edge_softness) {
    constexpr float STEP = 1.0f / FIX_ONE;
    const auto size = [](fix f) { return f ? float(FIX_ONE) * float(FIX_ONE) / float(f) : 0.0f; };
    const float soft = float(fix_clamp(edge_softness, 0, FIX_ONE)) * STEP * WIDEST_SOFT_EDGE;
    const float zoom = float(inside_zdist) * STEP;
    return {float(frequency[0]) * STEP * STEP,
            float(frequency[1]) * STEP * STEP,
            size(frequency[0]),
            size(frequency[1]),
            float(shift[0]),
            float(shift[1]),
            float(fix_cos(rotate)) * STEP,
            float(fix_sin(rotate)) * STEP,
            float(fix_cos(inside_rotate)) * STEP * zoom,
            float(fix_sin(inside_rotate)) * STEP * zoom,
            float(overall_zdist) * STEP,
            soft > 0 ? 1.0f / soft : 0.0f};
  }
};

/// A place, steps of fix.
struct lens_place {
  float x, y;
};

/// A lens by column and row, and where a place lies in it, from its centre, in units of the lattice.
struct lens_at {
  float column, row;
  float x, y;
};

static inline float held_to(float v, float limit) {
  const float not_below = v > -limit ? v : -limit;
  return not_below < limit ? not_below : limit;
}

static inline lens_at nearest_lens(const lens_array& a, lens_place p) {
  const float dx = p.x - a.shift_x, dy = p.y - a.shift_y;
  const float x = held_to((dx * a.cosine + dy * a.sine) * a.per_x, FARTHEST_LENS);
  const float y = held_to((dy * a.cosine - dx * a.sine) * a.per_y, FARTHEST_LENS);
  // The even and the odd rows are rectangular lattices: the nearer of the nearest centres of both.
  const float even_column = nearest_whole(x), even_row = 2.0f * nearest_whole(y * ROWS_BY_2);
  const float odd_column = nearest_whole(x - 0.5f) + 0.5f, odd_row = 2.0f * nearest_whole(y * ROWS_BY_2 - 0.5f) + 1.0f;
  const float even_x = x - even_column, even_y = y - even_row * ROW_HEIGHT;
  const float odd_x = x - odd_column, odd_y = y - odd_row * ROW_HEIGHT;
  const bool odd = odd_x * odd_x + odd_y * odd_y < even_x * even_x + even_y * even_y;
  return {odd ? odd_column : even_column, odd ? odd_row : even_row, odd ? odd_x : even_x, odd ? odd_y : even_y};
}

/// What a lens shows at a place: its centre, zoomed with the whole picture, and the way from there, zoomed and turned
/// inside the lens.
static inline lens_place seen_through(const lens_array& a, lens_place p, float column, float row) {
  const float x = column * a.width, y = row * ROW_HEIGHT * a.height;
  const float center_x = x * a.cosine - y * a.sine + a.shift_x, center_y = x * a.sine + y * a.cosine + a.shift_y;
  const float dx = p.x - center_x, dy = p.y - center_y;
  return {center_x * a.overall + (dx * a.inside_cosine + dy * a.inside_sine),
          center_y * a.overall + (dy * a.inside_cosine - dx * a.inside_sine)};
}

/// The two lenses beside a place that can have a share in it, and the shares of 4096.
struct lens_neighbours {
  float column[2], row[2];
  fix share[2];
};

/// Across an edge the shares of the two lenses change places: each counts by the square of how far the place lies
/// inside the edge's soft band, and the sum is 1. In a sixth of the lens the neighbour in its middle and the nearer of
/// the two beside it are the only ones whose bands can reach.
static inline lens_neighbours sharing_lenses(const lens_array& a, const lens_at& l) {
  const float side_x = l.x < 0 ? -1.0f : 1.0f, side_y = l.y < 0 ? -1.0f : 1.0f;
  const float x = __builtin_fabsf(l.x), y = __builtin_fabsf(l.y);
  // Distances to the edges that face 60, 0 and 120 degrees.
  const float to_60 = 0.5f - (0.5f * x + ROW_HEIGHT * y), to_0 = 0.5f - x, to_120 = 0.5f - (ROW_HEIGHT * y - 0.5f * x);
  const bool upright = to_120 < to_0;
  const float first = 1.0f - to_60 * a.edge, second = 1.0f - (upright ? to_120 : to_0) * a.edge;
  const float first_held = first > 0 ? first : 0.0f, second_held = second > 0 ? second : 0.0f;
  const float first_weight = first_held * first_held, second_weight = second_held * second_held;
  const float scale = float(FIX_ONE) / (1.0f + first_weight + second_weight);
  lens_neighbours n;
  n.column[0] = l.column + 0.5f * side_x;
  n.row[0] = l.row + side_y;
  n.column[1] = l.column + (upright ? -0.5f : 1.0f) * side_x;
  n.row[1] = l.row + (upright ? side_y : 0.0f);
  n.share[0] = fix(first_weight * scale + 0.5f);
  n.share[1] = fix(second_weight * scale + 0.5f);
  return n;
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
