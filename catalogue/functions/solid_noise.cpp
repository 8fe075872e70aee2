// warp_noise, warp_noise2, warp_noise3: solid noise at any coordinates. Every cell of a lattice has random values that
// a round bell spreads over the cells around it; sums over finer and finer lattices make the octaves.
#include "base/report.h"
#include "catalogue/functions/cell_blocks.h"
#include "catalogue/functions/noises.h"
#include "evaluator/workers.h"
#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COORDS = 0, FREQUENCY = 1, OCTAVES = 2, SEED = 3, SCALE = 4;

/// Octaves from this one on have no amplitude left.
constexpr int OCTAVE_END = 13;

// --- coordinates -----------------------------------------------------------------------------------------

/// The nearest integer, halves away from zero, modulo 2^32. For magnitudes up to 2^51.
static inline fix rounded_away(double v) {
  const double even = (v + NEAREST_INT_BIAS) - NEAREST_INT_BIAS;
  const double rest = v - even;
  // Ties that went towards zero go the other way.
  const double away = rest == 0.5 && v > 0 ? 1.0 : rest == -0.5 && v < 0 ? -1.0 : 0.0;
  return nearest_int(even + away);
}

/// Coordinates on the lattice: frequency 1.0 has two cells for each unit.
void lattice_coordinates(const node& n, int e, int first, int count, fix* out) {
  const sample_row coord = samples_of(n, COORDS, e), frequency = samples_of(n, FREQUENCY, e);
  float products[BLOCK];
  for (int i = 0; i < count; ++i) products[i] = float(coord[first + i]) * float(frequency[first + i]);
  for (int i = 0; i < count; ++i) out[i] = rounded_away(double(products[i]) * (2.0 / FIX_ONE));
}

// --- octaves ---------------------------------------------------------------------------------------------

/// n / d rounded down, for n up to 2^24 and d above 0.
static inline fix small_quotient(fix n, fix d) {
  const fix q = fix(float(n) / float(d));
  return q - fix(q * d > n);
}

/// Adds one octave, its bells normalised to a sum of 1.0, to the values of a block.
template <int N>
void add_octave(const cell_block& block, std::uint32_t seed, fix amplitude, fix* const (&values)[N]) {
  fix lattice[N][MAX_WINDOW];
  block.each_cell(seed, [&](int at, std::uint32_t hash) {
    lattice[0][at] = lattice_element<0>(hash);
    if constexpr (N > 1) lattice[1][at] = lattice_element<1>(hash);
    if constexpr (N > 2) lattice[2][at] = lattice_element<2>(hash);
  });
  const fix full = amplitude << FIX_BITS;
  const int columns = block.columns;
#pragma GCC ivdep
  for (int i = 0; i < block.count; ++i) {
    const fix x = block.dx[i], y = block.dy[i];
    const fix mid_x = x * x >> FIX_BITS, mid_y = y * y >> FIX_BITS;
    // Squared distances to the neighbours: the part of each column and each row.
    const fix part_x[3] = {mid_x + 2 * x + FIX_ONE, mid_x, mid_x - 2 * x + FIX_ONE};
    const fix part_y[3] = {mid_y + 2 * y + FIX_ONE, mid_y, mid_y - 2 * y + FIX_ONE};
    fix weights = 0, sums[N] = {};
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) {
        // Beyond its limit the bell is 0, as is its last entry.
        const fix w = bell_table[fix_min((part_x[k] + part_y[j]) >> 1, BELL_TABLE_SIZE - 1)];
        const int at = block.at[i] + j * columns + k;
        weights += w;
        for (int e = 0; e < N; ++e) sums[e] += w * lattice[e][at] >> FIX_BITS;
      }
    const fix factor = small_quotient(full, weights);
    for (int e = 0; e < N; ++e) values[e][i] += sums[e] * factor >> FIX_BITS;
  }
}

/// Sums of all octaves at `count` places, at most BLOCK. -2.0 to 2.0.
template <int N>
void sum_octaves(const fix* x, const fix* y, int count, fix octaves, fix seed, fix* const (&values)[N]) {
  for (int e = 0; e < N; ++e)
    for (int i = 0; i < count; ++i) values[e][i] = 0;
  const int top = (wrap_add(octaves, FIX_ONE - 1) >> FIX_BITS) - 1;
  for (int o = 0; o <= top && o < OCTAVE_END; ++o) {
    // The last one counts by the fraction that is asked for.
    const fix amplitude = o == 0 ? FIX_ONE : (o == top ? octaves - top * FIX_ONE : FIX_ONE) >> o;
    if (amplitude == 0) continue;
    in_windows(x, y, count, o, [&](const cell_block& block, int first) {
      fix* piece[N];
      for (int e = 0; e < N; ++e) piece[e] = values[e] + first;
      add_octave<N>(block, std::uint32_t(o) ^ std::uint32_t(seed), amplitude, piece);
    });
  }
}

// --- rows ------------------------------------------------------------------------------------------------

/// Around 0.5, or around 0 and scaled.
template <int N, bool SCALED>
void warp_noise_rows(node& n) {
  if (!has_noise_cache(n, "fix_solid_noise")) return;
  const int width = row_width(n);
  const sample_row octaves = samples_of(n, OCTAVES), seed = samples_of(n, SEED);
  fix x[BLOCK], y[BLOCK];
  for (int first = 0; first < width; first += BLOCK) {
    const int count = fix_min(BLOCK, width - first);
    lattice_coordinates(n, 0, first, count, x);
    lattice_coordinates(n, 1, first, count, y);
    for (int i = 0, end; i < count; i = end) {
      end = run_end(octaves, seed, first + i, first + count) - first;
      fix* values[N];
      for (int e = 0; e < N; ++e) values[e] = n.rows[e] + first + i;
      sum_octaves<N>(x + i, y + i, end - i, octaves[first + i], seed[first + i], values);
    }
    for (int e = 0; e < N; ++e) {
      fix* out = n.rows[e] + first;
      if constexpr (SCALED) {
        const sample_row scale = samples_of(n, SCALE);
        for (int i = 0; i < count; ++i) out[i] = fix_mul(out[i], scale[first + i] >> 1);
      } else {
        for (int i = 0; i < count; ++i) out[i] = (out[i] >> 1) + FIX_ONE / 2;
      }
    }
  }
}

}  // namespace

bool has_noise_cache(node& n, const char* rule) {
  if (n.misc_ptr) return true;
  for (int e = 0; e < n.elnum; ++e)
    for (int i = 0; i < row_width(n); ++i) n.rows[e][i] = 0;
  // All workers meet the fault; only the calling thread may throw.
  if (is_main_worker()) fatal("%s: noise_cache is NULL.", rule);
  request_abort();
  return false;
}

void define_solid_noises(fun_registry& r) {
  define(r, {.name = "warp_noise",
             .args = {"coords", "frequency", "octaves", "rand_seed"},
             .doc = "Solid noise at any coordinates, around 0.5.",
             .cost = 20,
             .fun_class = CLASS_COORD_NOISE,
             .combos = {{"2,1,1,1>1 2,2,1,1>1", warp_noise_rows<1, false>}}});
  define(r, {.name = "warp_noise2",
             .args = {"coords", "frequency", "octaves", "rand_seed", "scale"},
             .doc = "Two elements of solid noise at any coordinates, around 0, times scale.",
             .cost = 20,
             .fun_class = CLASS_COORD_NOISE,
             .combos = {{"2,1,1,1,1>2 2,2,1,1,1>2", warp_noise_rows<2, true>}}});
  define(r, {.name = "warp_noise3",
             .args = {"coords", "frequency", "octaves", "rand_seed"},
             .doc = "Three elements of solid noise at any coordinates, around 0.5.",
             .cost = 20,
             .fun_class = CLASS_COORD_NOISE,
             .combos = {{"2,1,1,1>3 2,2,1,1>3", warp_noise_rows<3, false>}}});
}

}  // namespace tessaron::TESSARON_LEVEL
