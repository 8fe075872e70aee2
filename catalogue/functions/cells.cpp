// Patterns of cells: spots, voronoi and hex_tiles.
#include "catalogue/functions/cell_blocks.h"
#include "catalogue/functions/noises.h"
#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COORDS = 0, FREQUENCY = 1;

/// Coordinates on the lattice of spots and voronoi: frequency 1.0 has one cell for two units.
void lattice_coordinates(const node& n, int e, int first, int count, fix* out) {
  const sample_row coord = samples_of(n, COORDS, e), frequency = samples_of(n, FREQUENCY, e);
  for (int i = 0; i < count; ++i) out[i] = fix_mul(frequency[first + i] >> 1, coord[first + i]);
}

// --- spots -----------------------------------------------------------------------------------------------

constexpr fix MAX_RADIUS = 1536;  // in cells: 0.375

/// The soft spot of a cell, at a place that lies dx and dy from the cell's middle. `radius` as the argument.
static inline fix spot(std::uint32_t hash, fix dx, fix dy, fix radius) {
  const fix r = fix_min(wrap_abs(radius >> 2), MAX_RADIUS);  // in cells
  const fix rr = r * r >> FIX_BITS;
  const fix jitter = FIX_ONE - 2 * r;  // keeps the spot inside its cell
  const fix x = ((lattice_element<0>(hash) >> 1) * jitter >> FIX_BITS) - dx;
  const fix y = ((lattice_element<1>(hash) >> 1) * jitter >> FIX_BITS) - dy;
  const bool near = (wrap_abs(x) < r) & (wrap_abs(y) < r) & (rr != 0);
  const fix d = x * x + y * y;
  const fix place = row_div(d + (d >> 4), rr + fix(rr == 0));
  return bell_table[fix_min(place, BELL_TABLE_SIZE - 1)] & -fix(near);
}

/// Lays a layer's spots over those of the first one; where spots meet they combine as a screen.
void add_spots(const cell_block& block, std::uint32_t seed, const fix* radius, fix* out) {
  std::uint32_t hashes[MAX_WINDOW];
  block.each_cell(seed, [&](int at, std::uint32_t hash) { hashes[at] = hash; });
  const std::uint32_t* own = hashes + block.columns + 1;  // of a sample's own cell, from its first neighbour on
#pragma GCC ivdep
  for (int i = 0; i < block.count; ++i) {
    const fix value = spot(own[block.at[i]], block.dx[i], block.dy[i], radius[i]);
    out[i] += (FIX_ONE - out[i]) * value >> FIX_BITS;
  }
}

/// Two layers, half a cell apart.
void spots_rows(node& n) {
  constexpr int RADIUS = 2, SEED = 3;
  constexpr fix HALF_CELL = FIX_ONE / 2;
  if (!has_noise_cache(n, "fix_spots")) return;
  const int width = row_width(n);
  const sample_row radius = samples_of(n, RADIUS), seed = samples_of(n, SEED);
  fix x[BLOCK], y[BLOCK], radii[BLOCK];
  for (int first = 0; first < width; first += BLOCK) {
    const int count = fix_min(BLOCK, width - first);
    lattice_coordinates(n, 0, first, count, x);
    lattice_coordinates(n, 1, first, count, y);
    fix* out = n.rows[0] + first;
    for (int i = 0; i < count; ++i) {
      radii[i] = radius[first + i];
      out[i] = 0;
    }
    for (int layer = 0; layer < 2; ++layer) {
      for (int i = 0, end; i < count; i = end) {
        end = run_end(seed, seed, first + i, first + count) - first;
        in_windows(x + i, y + i, end - i, 0, [&](const cell_block& block, int piece) {
          add_spots(block, std::uint32_t(seed[first + i]) + std::uint32_t(layer), radii + i + piece, out + i + piece);
        });
      }
      for (int i = 0; i < count; ++i) {
        x[i] = wrap_add(x[i], HALF_CELL);
        y[i] = wrap_add(y[i], HALF_CELL);
      }
    }
  }
}

// --- voronoi ---------------------------------------------------------------------------------------------

constexpr int ROTATION = 2, SEED = 3;
constexpr fix SPREAD = 1638;  // 0.4: how far a centre may lie from the middle of its cell

/// The value from the squared distances, with 24 fraction bits, to the two nearest centres.
static inline fix edge_value(fix d1, fix d2) {
  const fix s1 = fix_mag2(d1), s2 = fix_mag2(d2);
  return s2 < 1 ? 0 : FIX_ONE - row_div(wrap_shl(s2 - s1, FIX_BITS), s2 + s1);
}

void voronoi_block(const cell_block& block, std::uint32_t seed, fix angle, fix* out) {
  fix centre_x[MAX_WINDOW], centre_y[MAX_WINDOW];
  const fix sine = fix_sin(angle), cosine = fix_cos(angle);
  block.each_cell(seed, [&](int at, std::uint32_t hash) {
    fix x = lattice_element<0>(hash), y = lattice_element<1>(hash);
    if (angle != 0) {
      const fix turned_x = (x * cosine >> FIX_BITS) - (y * sine >> FIX_BITS);
      y = (x * sine >> FIX_BITS) + (y * cosine >> FIX_BITS);
      x = turned_x;
    }
    centre_x[at] = x * SPREAD >> FIX_BITS;
    centre_y[at] = y * SPREAD >> FIX_BITS;
  });
  fix nearest[BLOCK], second[BLOCK];
  const int columns = block.columns;
#pragma GCC ivdep
  for (int i = 0; i < block.count; ++i) {
    fix d1 = INT32_MAX, d2 = INT32_MAX;
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) {
        const int at = block.at[i] + j * columns + k;
        const fix x = (k - 1) * FIX_ONE + centre_x[at] - block.dx[i];
        const fix y = (j - 1) * FIX_ONE + centre_y[at] - block.dy[i];
        const fix d = x * x + y * y;
        d2 = fix_min(d2, fix_max(d1, d));
        d1 = fix_min(d1, d);
      }
    nearest[i] = d1;
    second[i] = d2;
  }
  for (int i = 0; i < block.count; ++i) out[i] = edge_value(nearest[i], second[i]);
}

void voronoi_rows(node& n) {
  if (!has_noise_cache(n, "fix_voronoi")) return;
  const int width = row_width(n);
  const sample_row angle = samples_of(n, ROTATION), seed = samples_of(n, SEED);
  fix x[BLOCK], y[BLOCK];
  for (int first = 0; first < width; first += BLOCK) {
    const int count = fix_min(BLOCK, width - first);
    lattice_coordinates(n, 0, first, count, x);
    lattice_coordinates(n, 1, first, count, y);
    for (int i = 0, end; i < count; i = end) {
      end = run_end(angle, seed, first + i, first + count) - first;
      in_windows(x + i, y + i, end - i, 0, [&](const cell_block& block, int piece) {
        voronoi_block(block, std::uint32_t(seed[first + i]), angle[first + i], n.rows[0] + first + i + piece);
      });
    }
  }
}

// --- hex_tiles -------------------------------------------------------------------------------------------

constexpr int REVS = 2;

/// What a tile's two measures count, so that the result goes from 0 to 1.0: the distance along the nearest of its axes,
/// and that from the axis. A twelfth of a turn makes hexagons of the lines of equal value.
struct hex_profile {
  float along, across;
  fix offset;
};
hex_profile hex_profile_of(fix revs) {
  const float c = fix_to_float(fix_cos(revs)) * 0.8660254f, s = fix_to_float(fix_sin(revs));
  const float m = 1.3333333f * c, p = 0.5f * s + c;
  float low = 0, high = 0;
  for (float v : {p, m}) {
    low = v < low ? v : low;
    high = v > high ? v : high;
  }
  const float q = 1 / (high - low);
  return {c * q, s * q, fix_from_double(-low * q)};
}

void hex_rows(node& n) {
  constexpr fix TILE = 8192, MASK = TILE - 1;
  const hex_profile profile = hex_profile_of(n.arg_rows[REVS][0][0]);
  const sample_row coord_x = samples_of(n, COORDS, 0), coord_y = samples_of(n, COORDS, 1);
  const sample_row frequency_x = samples_of(n, FREQUENCY, 0), frequency_y = samples_of(n, FREQUENCY, 1);
  const int width = row_width(n);
  fix u[BLOCK], v[BLOCK], along[BLOCK], across[BLOCK];
  for (int first = 0; first < width; first += BLOCK) {
    const int count = fix_min(BLOCK, width - first);
    const auto coordinate = [first](sample_row coord, sample_row frequency, int i) {
      return float(coord[first + i]) * float(frequency[first + i]) * (1.0f / FIX_ONE);
    };
    for (int i = 0; i < count; ++i) {
      u[i] = nearest_int(coordinate(coord_x, frequency_x, i) * 1.1547f);
      v[i] = nearest_int(coordinate(coord_y, frequency_y, i));
    }
    for (int i = 0; i < count; ++i) {
      // Two of the three axes of the tiling; the third follows from them.
      const fix a = u[i] & MASK, b = wrap_add(u[i] >> 1, v[i]) & MASK;
      const fix big = fix_max(a, b), half = big >> 1;
      fix small = fix_min(a, b);
      small = small < half ? big - small : small;
      const bool beyond = big + small > TILE;
      along[i] = beyond ? TILE - small : big;
      const fix other = beyond ? TILE - big : small;
      across[i] = wrap_abs(other - (along[i] >> 1));
    }
    fix* out = n.rows[0] + first;
    for (int i = 0; i < count; ++i)
      out[i] = nearest_int(float(along[i]) * profile.along + float(across[i]) * profile.across) + profile.offset;
  }
}

}  // namespace

void define_cell_patterns(fun_registry& r) {
  define(r, {.name = "spots",
             .args = {"coords", "frequency", "radius", "rand_seed"},
             .doc = "Soft spots, one in each cell of two lattices.",
             .cost = 20,
             .fun_class = CLASS_COORD_NOISE,
             .combos = {{"2,1,1,1>1 2,2,1,1>1", spots_rows}}});
  define(r, {.name = "voronoi",
             .args = {"coords", "frequency", "rotate_centers", "rand_seed"},
             .doc = "Voronoi cells: 1.0 on the edges, falling towards the centres.",
             .cost = 20,
             .fun_class = CLASS_COORD_NOISE,
             .combos = {{"2,1,1,1>1 2,2,1,1>1", voronoi_rows}}});
  define(r, {.name = "hex_tiles",
             .args = {"coords", "frequency", "revs"},
             .doc = "Hexagonal tiles as heights of 0 to 1; revs turns between the shapes of their slopes.",
             .cost = 2,
             .fun_class = CLASS_PATTERN,
             .row_start_args = 1 << REVS,
             .combos = {{"2,1,1>1 2,2,1>1", hex_rows}}});
}

}  // namespace tessaron::TESSARON_LEVEL
