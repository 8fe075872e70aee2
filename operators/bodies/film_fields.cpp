// The fields of a picture for film_effect: film has whole frames, so the lines of one field, half a frame's time away,
// give way to lines that fit the others.
#include <cstddef>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "operators/bodies/film.h"
#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int KEEP_UPPER = 1, KEEP_LOWER = 2, BLEND = 3;
constexpr int ABORT_ROWS = 16;

struct {
  std::int16_t* plane;
  const std::int16_t* source;
  int width, height;
  int kept;  // parity of the rows that stay
} job;

/// The lines above and below row y; beyond an edge the one that there is.
struct neighbour_lines {
  const std::int16_t *above, *below;
};
neighbour_lines around(const std::int16_t* samples, int y) {
  const std::int16_t* line = samples + std::ptrdiff_t(y) * job.width;
  const bool first = y == 0, last = y == job.height - 1;
  if (first && last) return {line, line};
  return {first ? line + job.width : line - job.width, last ? line - job.width : line + job.width};
}

template <class RowFunction>
void for_each_row(RowFunction rebuild_row) {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  for (int y = first; y < first + count; ++y) {
    if (y % ABORT_ROWS == 0 && check_abort()) return;
    rebuild_row(y);
  }
}

void forked_drop_field() {
  for_each_row([](int y) {
    if ((y & 1) == job.kept) return;
    const neighbour_lines lines = around(job.plane, y);
    std::int16_t* out = job.plane + std::ptrdiff_t(y) * job.width;
#pragma GCC ivdep
    for (int x = 0; x < job.width; ++x) out[x] = std::int16_t((lines.above[x] + lines.below[x]) >> 1);
  });
}

void forked_blend_fields() {
  for_each_row([](int y) {
    const neighbour_lines lines = around(job.source, y);
    const std::int16_t* line = job.source + std::ptrdiff_t(y) * job.width;
    std::int16_t* out = job.plane + std::ptrdiff_t(y) * job.width;
#pragma GCC ivdep
    for (int x = 0; x < job.width; ++x) out[x] = std::int16_t((lines.above[x] + 2 * line[x] + lines.below[x] + 2) >> 2);
  });
}

}  // namespace

void rebuild_fields(std::int16_t* plane, std::int16_t* copy, int mode) {
  job = {plane, copy, temp_raster_info.width, temp_raster_info.height, 0};
  if (mode == KEEP_UPPER || mode == KEEP_LOWER) {
    // Fields count the frame's rows, of which the view may leave some out.
    job.kept = (mode - KEEP_UPPER + temp_raster_info.y0) & 1;
    fork_processes(forked_drop_field);
  } else if (mode == BLEND) {
    copy_plane(copy, plane);
    fork_processes(forked_blend_fields);
  }
}

}  // namespace tessaron::TESSARON_LEVEL
