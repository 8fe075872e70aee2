// The plan of the scan fill: runs of edges sorted by their tops, bands of rows, and their memory.
//
// Workers take bands one after the other, since some hold much and others nothing. Runs of edges are sorted, not
// edges, so that a band sees little but its own; within a run edges follow each other as the outline does, and so do
// the places that they change.
#include "operators/edge_fill.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "operators/edge_runs.h"

namespace tessaron {
namespace {

constexpr std::int32_t ABOVE = -2;
constexpr int BAND = 64;  // rows; their sums fit in the second-level cache

struct {
  std::int16_t* plane;
  int width, height;
  std::span<const edge_run> runs;
  fill_band_fn fill;
  std::int32_t* growth;   // by worker: sums of a band
  std::uint8_t* touched;  // by worker: marks of a band
  std::atomic<int> next;
} job;

void forked_fill() {
  const auto worker = std::size_t(get_proc_number());
  std::int32_t* const growth = job.growth + worker * BAND * fill_stride(job.width);
  std::uint8_t* const touched = job.touched + worker * BAND * std::size_t(fill_blocks(job.width));
  for (int y = BAND * job.next++; y < job.height && !check_abort(); y = BAND * job.next++)
    job.fill({job.runs, y, std::min(y + BAND, job.height), job.width, growth, touched,
              job.plane + std::int64_t(y) * job.width});
}

int by_top(const void* a, const void* b) {
  const edge_run &left = *static_cast<const edge_run*>(a), &right = *static_cast<const edge_run*>(b);
  return left.top < right.top ? -1 : left.top > right.top;
}

}  // namespace

std::int32_t half_row(float y) {
  if (!(y >= 0)) return ABOVE;
  return std::int32_t(std::nearbyint(y) + std::nearbyint(y + 0.5f));
}

void make_runs(const edge_group* groups, std::size_t count, edge_run* runs) { runs_of_groups(groups, count, runs); }

void fill_edges(std::int16_t* plane, int width, int height, std::span<edge_run> runs, const lightning_loops& loops) {
  if (!runs.empty()) std::qsort(runs.data(), runs.size(), sizeof(edge_run), by_top);
  const std::size_t rows = BAND * std::size_t(get_n_procs());
  std::vector<std::int32_t> growth(rows * fill_stride(width));
  std::vector<std::uint8_t> touched(rows * std::size_t(fill_blocks(width)));
  job.plane = plane;
  job.width = width;
  job.height = height;
  job.runs = runs;
  job.fill = loops.fill;
  job.growth = growth.data();
  job.touched = touched.data();
  job.next = 0;
  fork_processes(forked_fill);
}

}  // namespace tessaron
