// The scan fill: closed outlines, as edges, into the samples of a plane.
//
// A sample is the area of its pixel that the outlines cover, 4096 for all of it, computed exactly: it moves evenly with
// every vertex, however little that moves. An edge counts with its winding; outlines that run the same way round
// add up to at most the whole pixel, so that shapes which overlap neither cancel out nor shine twice.
#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "operators/lightning_loops.h"

namespace tessaron {

/// A place in the image: pixels from its top left corner, y down.
struct image_point {
  float x, y;
};

/// One edge, from its upper end to its lower.
struct fill_edge {
  float x0, y0, x1, y1;
  std::int32_t winding;  // 1: ran upwards before it was ordered, -1: ran downwards; 2 and -2 count twice
};

/// Half rows from the top down to y (pixels), -2 above the image.
std::int32_t half_row(float y);

/// A coordinate that the fill's arithmetic holds: what is no number counts as 0, and far places are limited.
static inline float within_reach(float v) {
  constexpr float FARTHEST = 536870912.0f;  // half-row numbers hold as much
  return v > FARTHEST ? FARTHEST : v < -FARTHEST ? -FARTHEST : v == v ? v : 0.0f;
}
static inline image_point within_reach(image_point p) { return {within_reach(p.x), within_reach(p.y)}; }

/// The edge from a to b, both within reach, which counts `weight` times.
static inline fill_edge edge_between(image_point a, image_point b, int weight = 1) {
  if (a.y <= b.y) return {a.x, a.y, b.x, b.y, -weight};
  return {b.x, b.y, a.x, a.y, weight};
}

/// Edges as the fill takes them: so many side by side. What a group doesn't need has no height.
struct edge_group {
  static constexpr int SIZE = 16;
  alignas(64) float x0[SIZE], y0[SIZE], x1[SIZE], y1[SIZE];
  alignas(64) std::int32_t winding[SIZE];

  void set(int i, const fill_edge& e) {
    x0[i] = e.x0;
    y0[i] = e.y0;
    x1[i] = e.x1;
    y1[i] = e.y1;
    winding[i] = e.winding;
  }
  fill_edge at(int i) const { return {x0[i], y0[i], x1[i], y1[i], winding[i]}; }
};
constexpr std::size_t groups_of(std::size_t edges) { return (edges + edge_group::SIZE - 1) / edge_group::SIZE; }

/// Puts edges into groups, one after the other.
class edge_writer {
 public:
  explicit edge_writer(edge_group* groups) : group_(groups) {}

  void add(const fill_edge& e) {
    group_->set(lane_++, e);
    ++count_;
    if (lane_ == edge_group::SIZE) {
      ++group_;
      lane_ = 0;
    }
  }
  std::size_t count() const { return count_; }
  /// Fills the last group up, with edges without height where the last one ends. No more edges after this.
  void finish() {
    if (lane_ == 0) return;
    const float x = group_->x1[lane_ - 1], y = group_->y1[lane_ - 1];
    while (lane_ < edge_group::SIZE) group_->set(lane_++, {x, y, x, y, 0});
  }

 private:
  edge_group* group_;
  int lane_ = 0;
  std::size_t count_ = 0;
};

/// Edges that lie close to each other: a short stretch of an outline is best.
inline constexpr int GROUPS_OF_A_RUN = 4;
struct edge_run {
  std::span<const edge_group> groups;
  std::int32_t top, bottom;         // half-rows that it reaches from and to
  float left, upper, right, lower;  // the box around it, pixels
};
constexpr std::size_t runs_of(std::size_t edges) { return (groups_of(edges) + GROUPS_OF_A_RUN - 1) / GROUPS_OF_A_RUN; }
/// The runs of so many edges, runs_of(count) of them.
void make_runs(const edge_group* groups, std::size_t count, edge_run* runs);

/// Fills a plane of width x height samples with what the edges enclose, on all workers. The runs are put in order. On
/// an abort some rows stay as they are.
void fill_edges(std::int16_t* plane, int width, int height, std::span<edge_run> runs, const lightning_loops& loops);

}  // namespace tessaron
