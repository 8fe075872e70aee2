// The scan fill: closed outlines, as edges, into the samples of a plane.
//
// A sample is the area of its pixel that the outlines cover, 4096 for all of it, computed exactly: it moves evenly with
// every vertex, however little that moves. An edge counts with its winding; outlines that run the same way round
// add up to at most the whole pixel, so that shapes which overlap neither cancel out nor shine twice.
#pragma once

#include <cstdint>
#include <span>
#include <utility>

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

/// Edges that lie close to each other: a short stretch of an outline is best.
inline constexpr std::size_t EDGES_OF_A_RUN = 64;
struct edge_run {
  const fill_edge* edges;
  std::int32_t count;
  std::int32_t top, bottom;  // half-rows that it reaches from and to
};
edge_run run_of(std::span<const fill_edge> edges);

/// Fills a plane of width x height samples with what the edges enclose, on all workers. The runs are put in order. On
/// an abort some rows stay as they are. Uses the long image.
void fill_edges(std::int16_t* plane, int width, int height, std::span<edge_run> runs);

}  // namespace tessaron
