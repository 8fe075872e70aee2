// Coverage from edges. For each row, every edge in it adds by how much the covered area grows from pixel to pixel; the
// running sum along the row is the coverage. The sums are whole numbers: they come out the same in any order, and
// nothing is left over where all outlines have closed.
//
//   edge  \        value of a pixel: area to the right of the edge
//   0 0 0 .3 .9 1 1 1
//
// Rows are done in bands, whose sums stay in the cache. Runs of edges are sorted by their tops, so that a band sees
// little but its own; within a run edges follow each other as the outline does, and so do the places that they change.
#include "operators/edge_fill.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "base/fixed.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"

namespace tessaron {
namespace {

constexpr std::int32_t ABOVE = -2;
constexpr int COVER_ONE = 1 << 14;  // a whole pixel in the sums: room for as many outlines on top of each other
constexpr int COVER_TO_FIX = 2;     // bits between these and fix
constexpr int BLOCK = 64;           // samples between two of a row's marks
constexpr int BAND = 16;            // rows

int blocks_of(int width) { return (width + BLOCK - 1) / BLOCK; }

struct {
  std::int16_t* plane;
  int width, height;
  std::span<const edge_run> runs;
  std::int32_t* growth;   // of coverage from the pixel before, width entries a row; of use where a block is marked
  std::uint8_t* touched;  // by row and block
} job;

// -------------------------------------------------------------------------------------------------
// One row.

struct row_sums {
  int width;
  std::int32_t* growth;
  std::uint8_t* touched;

  /// A piece of an edge within the row, from xa to xb, of height `cover` (of COVER_ONE).
  void add_piece(float xa, float xb, int cover, int winding) const {
    if (xa > xb) std::swap(xa, xb);
    if (xa < 0 || xb >= float(width)) {
      if (xa >= float(width)) return;  // nothing lies to its right
      if (xb <= 0) return add(0, winding * cover);
      if (xa < 0) {
        const int outside = int(float(cover) * (-xa / (xb - xa)));
        add(0, winding * outside);
        cover -= outside;
        xa = 0;
      }
      if (xb > float(width)) {
        cover = int(float(cover) * ((float(width) - xa) / (xb - xa)));
        xb = float(width);
      }
    }
    const int first = int(xa), last = int(xb);
    if (first == last) {
      const float mean = (xa + xb) * 0.5f - float(first);
      const int next = int(float(cover) * mean + 0.5f);
      add(first, winding * (cover - next));
      add_within(first + 1, winding * next);
      return;
    }
    // The area to the right of the piece: a triangle, then trapezoids, then all but a triangle.
    const float steepness = float(cover) / (xb - xa);
    const float into_first = float(first + 1) - xa, into_last = xb - float(last);
    int before = int(0.5f * steepness * into_first * into_first + 0.5f);
    add(first, winding * before);
    for (int x = first + 1; x < last; ++x) {
      const int value = int(steepness * (float(x) + 0.5f - xa) + 0.5f);
      add(x, winding * (value - before));
      before = value;
    }
    const int value = cover - int(0.5f * steepness * into_last * into_last + 0.5f);
    add_within(last, winding * (value - before));
    add_within(last + 1, winding * (cover - value));
  }

  /// The samples of the row.
  void resolve(std::int16_t* out) const {
    std::int32_t cover = 0;
    for (int x = 0; x < width; x += BLOCK) {
      const int n = std::min(BLOCK, width - x);
      if (!touched[x / BLOCK]) {
        std::fill(out + x, out + x + n, sample(cover));
        continue;
      }
      std::int32_t sums[BLOCK];
      for (int i = 0; i < n; ++i) sums[i] = cover = wrap_add(cover, growth[x + i]);
      for (int i = 0; i < n; ++i) out[x + i] = sample(sums[i]);
    }
  }

  void add(int x, std::int32_t amount) const {
    const unsigned block = unsigned(x) / BLOCK;
    if (!touched[block]) [[unlikely]]
      begin_block(block);
    growth[x] = wrap_add(growth[x], amount);
  }
  void add_within(int x, std::int32_t amount) const {
    if (x < width) add(x, amount);
  }
  [[gnu::noinline]] void begin_block(unsigned block) const {
    touched[block] = 1;
    const int from = int(block) * BLOCK;
    std::fill(growth + from, growth + std::min(from + BLOCK, width), 0);
  }
  static std::int16_t sample(std::int32_t cover) {
    constexpr std::int32_t HALF = 1 << (COVER_TO_FIX - 1);
    const std::int32_t held = cover < 0 ? 0 : cover > COVER_ONE ? COVER_ONE : cover;
    return std::int16_t((held + HALF) >> COVER_TO_FIX);
  }
};

// -------------------------------------------------------------------------------------------------
// A band of one worker's rows.

class band_sums {
 public:
  /// The memory is that of the plane's rows from `first` on.
  explicit band_sums(int first)
      : width_(job.width),
        blocks_(blocks_of(job.width)),
        growth_(job.growth + std::int64_t(first) * width_),
        touched_(job.touched + std::int64_t(first) * blocks_) {}

  void begin(int first, int end) {
    first_ = first;
    end_ = end;
    std::memset(touched_, 0, std::size_t(end - first) * std::size_t(blocks_));
  }

  void add_edge(const fill_edge& e) const {
    if (!(e.y1 > float(first_) && e.y0 < float(end_))) return;
    const int top = std::max(int(e.y0), first_);
    if (e.y0 >= float(top) && e.y1 <= float(top + 1)) {
      const int cover = depth_in_row(e.y1, top) - depth_in_row(e.y0, top);
      if (cover > 0) row(top).add_piece(e.x0, e.x1, cover, e.winding);
      return;
    }
    // In double precision: an edge may come from far away.
    const double slope = (double(e.x1) - double(e.x0)) / (double(e.y1) - double(e.y0));
    const auto x_at = [&](float y) { return float(double(e.x0) + (double(y) - double(e.y0)) * slope); };
    float y = std::max(e.y0, float(first_)), x = y == e.y0 ? e.x0 : x_at(y);
    for (int r = top; r < end_; ++r) {
      const float below = float(r + 1);
      const bool ends = e.y1 <= below;
      const float next_y = ends ? e.y1 : below, next_x = ends ? e.x1 : x_at(below);
      const int cover = depth_in_row(next_y, r) - depth_in_row(y, r);
      if (cover > 0) row(r).add_piece(x, next_x, cover, e.winding);
      if (ends) return;
      y = next_y;
      x = next_x;
    }
  }

  void resolve() const {
    for (int y = first_; y < end_; ++y) row(y).resolve(job.plane + std::int64_t(y) * width_);
  }

 private:
  row_sums row(int y) const {
    const std::int64_t at = y - first_;
    return {width_, growth_ + at * width_, touched_ + at * blocks_};
  }
  /// Parts of COVER_ONE from the top of a row down to y.
  static int depth_in_row(float y, int row) { return int((y - float(row)) * float(COVER_ONE) + 0.5f); }

  int first_ = 0, end_ = 0;
  int width_, blocks_;
  std::int32_t* growth_;
  std::uint8_t* touched_;
};

void forked_fill() {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  if (count <= 0) return;
  band_sums band(first);
  for (int y = first; y < first + count; y += BAND) {
    if (check_abort()) return;
    const int end = std::min(y + BAND, first + count);
    band.begin(y, end);
    for (const edge_run& run : job.runs) {
      if (run.top > 2 * end) break;
      if (run.bottom < 2 * y) continue;
      for (int i = 0; i < run.count; ++i) band.add_edge(run.edges[i]);
    }
    band.resolve();
  }
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

edge_run run_of(std::span<const fill_edge> edges) {
  constexpr float LARGEST = std::numeric_limits<float>::max();
  float top = edges.empty() ? 0 : LARGEST, bottom = edges.empty() ? 0 : -LARGEST;
  for (const fill_edge& e : edges) {
    top = std::min(top, e.y0);
    bottom = std::max(bottom, e.y1);
  }
  return {edges.data(), std::int32_t(edges.size()), half_row(top), half_row(bottom)};
}

void fill_edges(std::int16_t* plane, int width, int height, std::span<edge_run> runs) {
  if (!runs.empty()) std::qsort(runs.data(), runs.size(), sizeof(edge_run), by_top);
  std::vector<std::uint8_t> touched(std::size_t(height) * std::size_t(blocks_of(width)));
  job.plane = plane;
  job.width = width;
  job.height = height;
  job.runs = runs;
  job.growth = get_long_image(width, height);
  job.touched = touched.data();
  fork_processes(forked_fill);
}

}  // namespace tessaron
