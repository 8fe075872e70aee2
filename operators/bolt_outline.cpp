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
  std::size_t groups, runs;
};
/// All that have one, and behind them an entry where the last one's end.
void list_outlined(const bolt& b, std::vector<outlined>& list) {
  if (b.shown() > 1) {
    const outlined last = list.back();
    const std::size_t most = most_edges(b.shown());
    list.back().b = &b;
    list.push_back({nullptr, last.groups + groups_of(most), last.runs + runs_of(most)});
  }
  for (int i = 0; i < b.n_children; ++i) list_outlined(*b.children[i], list);
}

struct {
  const outlined* list;
  int count;
  image_space space;
  edge_group* groups;
  edge_run* runs;
  const lightning_loops* loops;
} job;

void forked_outlines() {
  int first = 0, count = 0;
  split_rows(job.count, &first, &count);
  for (const outlined* o = job.list + first; o < job.list + first + count; ++o) {
    edge_group* const groups = job.groups + o->groups;
    edge_run* const runs = job.runs + o->runs;
    const std::size_t edges = job.loops->outline_bolt(*o->b, job.space, groups);
    job.loops->make_runs(groups, edges, runs);
    std::fill(runs + runs_of(edges), job.runs + o[1].runs, edge_run{});
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

std::size_t bolt_edges(const bolt& b, const image_space& space, edge_group* groups) {
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
  edge_writer out(groups);
  int second_before = 0;
  for (int i = 0; i + 1 < n; ++i) {
    const image_point l0 = ring[i], l1 = ring[i + 1], r0 = ring[2 * n - 1 - i], r1 = ring[2 * n - 2 - i];
    const int first = orientation(l0, l1, r0), second = orientation(r0, l1, r1);
    out.add(edge_between(l0, l1, first));
    out.add(edge_between(r1, r0, second));
    if (i == 0)
      out.add(edge_between(r0, l0, first));
    else if (second_before != first)
      out.add(edge_between(l0, r0, second_before - first));
    if (first != second) out.add(edge_between(l1, r0, first - second));
    second_before = second;
  }
  out.add(edge_between(ring[n - 1], ring[n], second_before));
  out.finish();
  return out.count();
}

std::size_t shown_points(const bolt& b) {
  std::size_t count = std::size_t(b.shown());
  for (int i = 0; i < b.n_children; ++i) count += shown_points(*b.children[i]);
  return count;
}

void draw_bolts(const bolt& root, std::int16_t* plane, const lightning_loops& loops) {
  if (abort_pending()) return;
  report_single_points(root);
  std::vector<outlined> list(1);
  list_outlined(root, list);
  std::vector<edge_run> runs(list.back().runs);
  auto* const groups = reinterpret_cast<edge_group*>(plane_scratch(list.back().groups * sizeof(edge_group)));
  job = {list.data(), int(list.size()) - 1, image_space_of_view(), groups, runs.data(), &loops};
  if (job.count > 0) fork_processes(forked_outlines);
  if (abort_pending()) return;
  fill_edges(plane, temp_raster_info.width, temp_raster_info.height, runs, loops);
}

}  // namespace tessaron
