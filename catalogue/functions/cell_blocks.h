// What the coordinate noises share: blocks of samples with the lattice's cells around them.
//
// A row is worked in blocks of neighbouring samples. Neighbours mostly lie in the same few cells, so a block hashes the
// cells of its window once and its samples only look them up. Where samples lie far apart, the block is cut into
// pieces, so that no window holds more cells than its samples have neighbours.
#pragma once

#include "base/fixed.h"
#include "evaluator/kernels.h"
#include "evaluator/lattice.h"
#include "genotype/genotype.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int NEIGHBOURS = 9;  // a cell and the eight around it
constexpr int MAX_WINDOW = NEIGHBOURS * BLOCK;

/// The cell whose middle is nearest to a coordinate.
static inline fix nearest_cell(fix v) { return wrap_add(v, FIX_ONE / 2) >> FIX_BITS; }

/// Up to BLOCK samples and the window of cells that holds the neighbours of all of them.
struct cell_block {
  int count;                  // samples
  int x0, y0, columns, rows;  // the window
  int at[BLOCK];              // place in the window of the first neighbour: left, and lower by number
  fix dx[BLOCK], dy[BLOCK];   // from the middle of the sample's cell to the sample, -0.5 to 0.5

  /// Takes `n` samples at coordinates times 2^octave. False: they lie too far apart.
  bool take(const fix* x, const fix* y, int n, int octave) {
    int cx[BLOCK], cy[BLOCK];
    int left = INT32_MAX, right = INT32_MIN, low = INT32_MAX, high = INT32_MIN;
    for (int i = 0; i < n; ++i) {
      const fix px = wrap_shl(x[i], octave), py = wrap_shl(y[i], octave);
      cx[i] = nearest_cell(px);
      cy[i] = nearest_cell(py);
      dx[i] = wrap_sub(px, wrap_shl(cx[i], FIX_BITS));
      dy[i] = wrap_sub(py, wrap_shl(cy[i], FIX_BITS));
      left = fix_min(left, cx[i]);
      right = fix_max(right, cx[i]);
      low = fix_min(low, cy[i]);
      high = fix_max(high, cy[i]);
    }
    count = n;
    x0 = left - 1;
    y0 = low - 1;
    columns = right - left + 3;
    rows = high - low + 3;
    if (std::int64_t(columns) * rows > NEIGHBOURS * n) return false;
    for (int i = 0; i < n; ++i) at[i] = (cy[i] - low) * columns + (cx[i] - left);
    return true;
  }

  /// Calls cell(place, hash) for every cell of the window.
  template <class CELL>
  void each_cell(std::uint32_t seed, CELL cell) const {
    for (int r = 0; r < rows; ++r) {
      const std::uint32_t key = lattice_key(std::uint32_t(y0 + r), seed);
      for (int c = 0; c < columns; ++c) cell(r * columns + c, lattice_hash(key, std::uint32_t(x0 + c)));
    }
  }
};

/// Calls use(block, first) for pieces of `n` samples, at most BLOCK, whose neighbours fit a window.
template <class USE>
void in_windows(const fix* x, const fix* y, int n, int octave, USE use) {
  cell_block block;
  for (int first = 0, piece = n; first < n;) {
    const int size = fix_min(piece, n - first);
    if (block.take(x + first, y + first, size, octave)) {
      use(block, first);
      first += size;
    } else {
      piece = (size + 1) / 2;  // one sample always fits
    }
  }
}

/// An argument's samples, or its one sample for the whole row.
struct sample_row {
  const fix* samples;
  int step;
  fix operator[](int i) const { return samples[i * step]; }
};
/// Element e of argument a; one element stands for all.
static inline sample_row samples_of(const node& n, int a, int e = 0) {
  return {arg_row(n, a, e), uniform(n, a) ? 0 : 1};
}

/// Samples from `first` on that have the same values in two rows as that one, up to `end`.
static inline int run_end(sample_row a, sample_row b, int first, int end) {
  if (a.step == 0 && b.step == 0) return end;
  int i = first + 1;
  while (i < end && a[i] == a[first] && b[i] == b[first]) ++i;
  return i;
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
