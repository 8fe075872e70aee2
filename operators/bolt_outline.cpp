// From points with widths to edges.
//
//   left   0---1---2---3        ring: 0 1 2 3 4 5 6 7 and back to 0
//   bolt   o---o---o---o
//   right  7---6---5---4
#include "operators/bolt_outline.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "operators/planes.h"

namespace tessaron {
namespace {

struct direction {
  float x, y;
};

/// Of one segment; that of the segment before where it has no length.
direction direction_of(const bolt_point& a, const bolt_point& b, direction before) {
  const float dx = b.x - a.x, dy = b.y - a.y;
  const float length = std::sqrt(dx * dx + dy * dy);
  if (!(length > 0)) return before;
  return {dx / length, dy / length};
}

/// 1 where a, b, c run the way an outline does that doesn't fold, -1 where they run the other way.
int orientation(image_point a, image_point b, image_point c) {
  return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y) < 0 ? -1 : 1;
}

void report_single_points(const bolt& b) {
  if (b.shown() == 1) report(REPORT_PLAIN, "warning! bolt with 1 point.\n");
  for (int i = 0; i < b.n_children; ++i) report_single_points(*b.children[i]);
}

/// A bolt with an outline: where its edges and the runs of them go.
struct outlined {
  const bolt* b;
  std::size_t edges, runs;
};
/// All that have one, and behind them an entry where the last one's end.
void list_outlined(const bolt& b, std::vector<outlined>& list) {
  if (b.shown() > 1) {
    const outlined last = list.back();
    const std::size_t most = most_edges(b.shown());
    list.back().b = &b;
    list.push_back({nullptr, last.edges + most, last.runs + (most + EDGES_OF_A_RUN - 1) / EDGES_OF_A_RUN});
  }
  for (int i = 0; i < b.n_children; ++i) list_outlined(*b.children[i], list);
}

struct {
  const outlined* list;
  int count;
  image_space space;
  fill_edge* edges;
  edge_run* runs;
} job;

void forked_outlines() {
  int first = 0, count = 0;
  split_rows(job.count, &first, &count);
  for (const outlined* o = job.list + first; o < job.list + first + count; ++o) {
    fill_edge* const edges = job.edges + o->edges;
    const std::size_t n = bolt_edges(*o->b, job.space, edges);
    std::size_t at = 0;
    for (edge_run* run = job.runs + o->runs; run < job.runs + o[1].runs; ++run, at += EDGES_OF_A_RUN)
      *run = run_of({edges + std::min(at, n), std::min(at + EDGES_OF_A_RUN, n) - std::min(at, n)});
  }
}

}  // namespace

image_space image_space_of_view() {
  return {0.5f * float(temp_raster_info.width), 0.5f * float(temp_raster_info.height), -display_dims.pixel_aspect_inv};
}

void bolt_ring(const bolt& b, image_point* ring) {
  const int n = b.shown();
  if (n < 1) return;
  const bolt_point* const points = b.points + b.first_shown;
  // A bolt that begins with points on top of each other takes the first way it goes.
  direction after = {0, 0};
  for (int i = 0; i + 1 < n && after.x == 0 && after.y == 0; ++i) after = direction_of(points[i], points[i + 1], after);
  for (int i = 0; i < n; ++i) {
    const direction before = after;
    if (i + 1 < n) after = direction_of(points[i], points[i + 1], before);
    const direction d1 = i == 0 ? after : before, d2 = after;
    const bolt_point& p = points[i];
    const float m = (1 - 0.5f * (d1.x * d2.x + d1.y * d2.y)) * p.width;
    const float across_x = d1.y + d2.y, across_y = d1.x + d2.x;
    ring[i] = {p.x - m * across_x, p.y + m * across_y};
    ring[2 * n - 1 - i] = {p.x + m * across_x, p.y - m * across_y};
  }
}

std::size_t bolt_edges(const bolt& b, const image_space& space, fill_edge* edges) {
  const int n = b.shown();
  if (n < 2 || n > MAX_BOLT_POINTS) return 0;
  image_point ring[2 * MAX_BOLT_POINTS];
  bolt_ring(b, ring);
  for (int i = 0; i < 2 * n; ++i) ring[i] = within_reach(space.of(ring[i].x, ring[i].y));

  // The bolt is a strip of triangles, two for a segment. A triangle that the outline runs round the wrong way is turned
  // over, and what its sides then count twice joins the edges: all triangles cover what they cover.
  //
  //   l0 --- l1      first: l0 l1 r0
  //    | 1 / |       second: r0 l1 r1
  //    | / 2 |
  //   r0 --- r1
  fill_edge* out = edges;
  int second_before = 0;
  for (int i = 0; i + 1 < n; ++i) {
    const image_point l0 = ring[i], l1 = ring[i + 1], r0 = ring[2 * n - 1 - i], r1 = ring[2 * n - 2 - i];
    const int first = orientation(l0, l1, r0), second = orientation(r0, l1, r1);
    *out++ = edge_between(l0, l1, first);
    *out++ = edge_between(r1, r0, second);
    if (i == 0)
      *out++ = edge_between(r0, l0, first);
    else if (second_before != first)
      *out++ = edge_between(l0, r0, second_before - first);
    if (first != second) *out++ = edge_between(l1, r0, first - second);
    second_before = second;
  }
  *out++ = edge_between(ring[n - 1], ring[n], second_before);
  return std::size_t(out - edges);
}

std::size_t shown_points(const bolt& b) {
  std::size_t count = std::size_t(b.shown());
  for (int i = 0; i < b.n_children; ++i) count += shown_points(*b.children[i]);
  return count;
}

void draw_bolts(const bolt& root, std::int16_t* plane) {
  if (abort_pending()) return;
  report_single_points(root);
  std::vector<outlined> list(1);
  list_outlined(root, list);
  std::vector<edge_run> runs(list.back().runs);
  fill_edge* const edges = reinterpret_cast<fill_edge*>(plane_scratch(list.back().edges * sizeof(fill_edge)));
  job = {list.data(), int(list.size()) - 1, image_space_of_view(), edges, runs.data()};
  if (job.count > 0) fork_processes(forked_outlines);
  if (abort_pending()) return;
  fill_edges(plane, temp_raster_info.width, temp_raster_info.height, runs);
}

}  // namespace tessaron
