// The loops of lightning and of the scan fill that are compiled once per instruction-set level. Bodies hand their
// level's set on to what plans and draws; all levels give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tessaron {

struct bolt;
struct edge_group;
struct edge_run;
struct image_space;

/// A segment of two pixels isn't divided further.
inline constexpr float SHORT_BOLT_SQUARED = 4.0f;

/// How midpoints stray; see bolt_settings and wrinkle_scale.
struct midpoint_shape {
  float wrinkle_low, peak, slope, phase_scale;
  float width_vary, width_wrinkle;
};

/// Segments of one depth, from a to b, and what divides them. Loops may read all entries.
struct midpoint_block {
  static constexpr int SIZE = 64;
  alignas(64) std::uint32_t key[SIZE];  // what the hash of a segment starts from
  alignas(64) float ax[SIZE], ay[SIZE], awidth[SIZE], bx[SIZE], by[SIZE], bwidth[SIZE];
  // The results: the midpoints, and whether the segments to either side of them are to be divided in turn.
  alignas(64) float x[SIZE], y[SIZE], width[SIZE];
  alignas(64) std::int32_t divide_before[SIZE], divide_behind[SIZE];
};
using displace_midpoints_fn = void (*)(const midpoint_shape& shape, midpoint_block& block, int count);

/// Rows first..end - 1 of a plane that is filled from runs of edges, sorted by their tops.
struct fill_band {
  std::span<const edge_run> runs;
  int first, end, width;
  std::int32_t* growth;   // fill_stride(width) entries a row, all 0; they are so again afterwards
  std::uint8_t* touched;  // one byte a row and block
  std::int16_t* rows;     // out: the samples of row `first` and on
};
using fill_band_fn = void (*)(const fill_band& band);

/// The edges of one bolt, as bolt_edges, and the runs of edges, as make_runs.
using outline_bolt_fn = std::size_t (*)(const bolt& b, const image_space& space, edge_group* groups);
using make_runs_fn = void (*)(const edge_group* groups, std::size_t count, edge_run* runs);

inline constexpr int FILL_BLOCK = 64;   // samples between two of a row's marks
inline constexpr int FILL_MARGIN = 16;  // entries to either side of a row's sums: places beyond its ends
constexpr int fill_blocks(int width) { return (width + FILL_BLOCK - 1) / FILL_BLOCK; }
constexpr std::size_t fill_stride(int width) {
  return std::size_t(fill_blocks(width)) * FILL_BLOCK + 2 * std::size_t(FILL_MARGIN);
}

struct lightning_loops {
  displace_midpoints_fn displace_midpoints;
  outline_bolt_fn outline_bolt;
  make_runs_fn make_runs;
  fill_band_fn fill;
};

}  // namespace tessaron
