// edge_dist: how deep a pixel lies inside a matte. Two passes over the rows, down and up again, carry to each
// pixel the offset of the nearest pixel outside: every pixel takes its neighbour's offset and one step more where
// that is nearer than what it has. What comes out is the Euclidean distance but for rare pixels that are off by
// a fraction of a pixel, where the nearest seed reaches no neighbour first.
//
//   forward    \ | /            backward   ->  .  <-   along the row, both ways
//           ->   .   <-                      / | \     from the row below
//
// The plane of x offsets holds the matte until the forward pass has read it.
#include "operators/bodies/edge_dist.h"

#include "base/fixed.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/gradient.h"
#include "operators/bodies/gradient_rows.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE_ARG = 0, SCALE_ARG = 1;
constexpr std::int16_t NO_SEED = -0x8000;  // in the plane of x offsets: nothing outside was met yet
constexpr fix LARGEST = 0x7fff;            // of what a plane holds

// -------------------------------------------------------------------------------------------------
// Units. A step along a row is 1; squared distances are sums of squares.

/// Square pixels: exact integers.
struct square_metric {
  using distance = std::int32_t;
  static constexpr distance FAR = 0x7fff0000;  // farther than any seed, with room for one more step
  distance across_step(fix dx) const { return 1 + 2 * dx; }
  distance down_step(fix dy) const { return 1 + 2 * dy; }
  distance squared(fix dx, fix dy) const { return dx * dx + dy * dy; }
};

/// Pixels that are not square: a row step is `row` pixel widths. Rows twice as far apart as columns (the lines of
/// one field) give steps in the proportion of 2 and 4.
struct stretched_metric {
  using distance = double;
  static constexpr distance FAR = 1e18;
  double row_squared;
  distance across_step(fix dx) const { return 1.0 + 2.0 * dx; }
  distance down_step(fix dy) const { return row_squared * (1.0 + 2.0 * dy); }
  distance squared(fix dx, fix dy) const { return double(dx) * dx + row_squared * (double(dy) * dy); }
};

// -------------------------------------------------------------------------------------------------
// Rows under way.

/// Offsets to the nearest seed and their squared distances. Without a seed the offsets are 0 and the distance FAR.
/// One entry more at either end stands for what lies beyond the row.
template <class M>
struct offset_row {
  fix* dx;
  fix* dy;
  typename M::distance* squared;

  void fill_far(int width) const {
    for (int x = -1; x <= width; ++x) {
      dx[x] = dy[x] = 0;
      squared[x] = M::FAR;
    }
  }
};

/// From the row above (side -1) or below (1): the neighbour straight on, then the diagonals. `current` holds what
/// the pixels have so far.
template <class M>
void take_from_row(const M m, const offset_row<M>& before, int side, const offset_row<M>& current, int width) {
  static constexpr int STEPS[] = {0, -1, 1};
  fix* __restrict dxs = current.dx, * __restrict dys = current.dy;
  const fix* __restrict dxs_before = before.dx, * __restrict dys_before = before.dy;
  typename M::distance* __restrict distances = current.squared;
  const typename M::distance* __restrict distances_before = before.squared;
#pragma GCC ivdep
  for (int x = 0; x < width; ++x) {
    fix dx = dxs[x], dy = dys[x];
    typename M::distance best = distances[x];
    for (const int step : STEPS) {
      const fix from_dx = dxs_before[x + step], from_dy = dys_before[x + step];
      typename M::distance d = distances_before[x + step] + m.down_step(side * from_dy);
      if (step) d += m.across_step(step * from_dx);
      const bool nearer = d < best;
      best = nearer ? d : best;
      dx = nearer ? from_dx + step : dx;
      dy = nearer ? from_dy + side : dy;
    }
    dxs[x] = dx;
    dys[x] = dy;
    distances[x] = best;
  }
}

/// Along the row: from the left neighbour (SIDE -1, walking right) or the right one (1, walking left). Each pixel
/// waits for the one before, so that seeds, which need nothing, are passed over quickly.
template <int SIDE, class M>
void take_along_row(const M m, const offset_row<M>& current, int width) {
  fix* __restrict dxs = current.dx, * __restrict dys = current.dy;
  typename M::distance* __restrict distances = current.squared;
  fix dx = 0, dy = 0;
  typename M::distance squared = M::FAR;
  for (int i = 0; i < width; ++i) {
    const int x = SIDE < 0 ? i : width - 1 - i;
    const typename M::distance own = distances[x];
    if (own == 0) {
      dx = dy = 0;
      squared = 0;
      continue;
    }
    const typename M::distance d = squared + m.across_step(SIDE * dx);
    const bool nearer = d < own;
    dx = nearer ? dx + SIDE : dxs[x];
    dy = nearer ? dy : dys[x];
    squared = nearer ? d : own;
    dxs[x] = dx;
    dys[x] = dy;
    distances[x] = squared;
  }
}

// -------------------------------------------------------------------------------------------------
// Between rows and planes.

template <class M>
void read_matte(const std::int16_t* __restrict matte, const offset_row<M>& row, int width) {
  fix* __restrict dxs = row.dx, * __restrict dys = row.dy;
  typename M::distance* __restrict distances = row.squared;
  for (int x = 0; x < width; ++x) {
    dxs[x] = dys[x] = 0;
    distances[x] = matte[x] > 0 ? M::FAR : typename M::distance(0);
  }
}

template <class M>
void read_offsets(const M m, const std::int16_t* __restrict dx, const std::int16_t* __restrict dy,
                  const offset_row<M>& row, int width) {
  fix* __restrict dxs = row.dx, * __restrict dys = row.dy;
  typename M::distance* __restrict distances = row.squared;
  for (int x = 0; x < width; ++x) {
    const fix to_seed = dx[x] == NO_SEED ? 0 : dx[x];
    dxs[x] = to_seed;
    dys[x] = dy[x];
    // A sum: a choice would keep the loop scalar.
    distances[x] = m.squared(to_seed, dy[x]) + (dx[x] == NO_SEED ? M::FAR : typename M::distance(0));
  }
}

template <class M>
void write_offsets(const offset_row<M>& row, std::int16_t* __restrict dx, std::int16_t* __restrict dy, int width) {
  const fix* __restrict dxs = row.dx, * __restrict dys = row.dy;
  const typename M::distance* __restrict distances = row.squared;
  for (int x = 0; x < width; ++x) {
    const fix to_seed = fix_clamp(dxs[x], -LARGEST, LARGEST);
    dx[x] = std::int16_t(distances[x] < M::FAR ? to_seed : NO_SEED);
    dy[x] = std::int16_t(fix_clamp(dys[x], -LARGEST, LARGEST));
  }
}

// -------------------------------------------------------------------------------------------------
// The two passes.

/// Two rows of working memory, each with its spare entries.
template <class M>
struct row_pair {
  offset_row<M> row[2];

  explicit row_pair(int width) {
    const std::size_t entries = std::size_t(width) + 2;
    const std::size_t row_bytes = entries * (2 * sizeof(fix) + sizeof(typename M::distance));
    std::byte* at = plane_scratch(2 * row_bytes);
    // The widest entries first: all stay aligned.
    for (offset_row<M>& r : row) {
      r.squared = reinterpret_cast<typename M::distance*>(at) + 1;
      at += entries * sizeof(typename M::distance);
    }
    for (offset_row<M>& r : row) {
      r.dx = reinterpret_cast<fix*>(at) + 1;
      r.dy = r.dx + entries;
      at += 2 * entries * sizeof(fix);
      r.fill_far(width);
    }
  }
};

template <class M>
void find_seeds(const M& m, std::int16_t* dx_plane, std::int16_t* dy_plane, int width, int height) {
  const row_pair<M> rows(width);
  for (int pass = 0; pass < 2; ++pass) {
    const bool forward = pass == 0;
    const int side = forward ? -1 : 1;  // where the row before lies
    for (int i = 0; i < height; ++i) {
      if (i % ABORT_ROWS == 0 && check_abort()) return;
      const offset_row<M>&current = rows.row[i & 1], &before = rows.row[~i & 1];
      const std::int64_t at = std::int64_t(forward ? i : height - 1 - i) * width;
      if (forward)
        read_matte(dx_plane + at, current, width);
      else
        read_offsets(m, dx_plane + at, dy_plane + at, current, width);
      if (i > 0) take_from_row(m, before, side, current, width);
      take_along_row<-1>(m, current, width);
      take_along_row<1>(m, current, width);
      write_offsets(current, dx_plane + at, dy_plane + at, width);
    }
  }
}

// -------------------------------------------------------------------------------------------------
// The result.

struct {
  std::int16_t* dx;
  std::int16_t* dy;
  int width, height;
  double row_squared, scale;
} job;

void forked_lengths() {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  const double row_squared = job.row_squared, scale = job.scale;
  // Lengths are limited first: what they are multiplied to is within a plane's reach then.
  const double longest = (LARGEST + 1) / __builtin_fmax(__builtin_fabs(scale), 1.0);
  for (int y = first; y < first + count; ++y) {
    std::int16_t* __restrict dx = job.dx + std::int64_t(y) * job.width;
    const std::int16_t* __restrict dy = job.dy + std::int64_t(y) * job.width;
    for (int x = 0; x < job.width; ++x) {
      const double without = dx[x] == NO_SEED ? stretched_metric::FAR : 0.0;
      const double length = __builtin_sqrt(double(dx[x]) * dx[x] + row_squared * (double(dy[x]) * dy[x]) + without);
      const fix v = nearest((length < longest ? length : longest) * scale);
      dx[x] = std::int16_t(fix_clamp(v, -LARGEST, LARGEST));
    }
  }
}

}  // namespace

void edge_dist_image(node& n) {
  check_image_planes(n, n.elnum + 1);
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  const fix scale = setting_value(n, SCALE_ARG);
  fetch_image_arg(n, IMAGE_ARG, n.images);
  if (abort_pending()) return;

  // Ratios that no camera has would only use up the precision of squared distances.
  constexpr double TALLEST = 64.0;
  double row = display_dims.pixel_aspect;
  row = row > TALLEST ? TALLEST : row < 1 / TALLEST ? 1 / TALLEST : row;
  if (row == 1.0)
    find_seeds(square_metric(), n.images[0], n.images[1], width, height);
  else
    find_seeds(stretched_metric{row * row}, n.images[0], n.images[1], width, height);
  if (abort_pending()) return;

  job = {n.images[0], n.images[1], width, height, row * row, double(scale)};
  fork_processes(forked_lengths);
}

}  // namespace tessaron::TESSARON_LEVEL
