// Row kernels that stand in for a node's own: readers of its planes.
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "genotype/genotype_reader.h"

namespace tessaron {
namespace {

// Planes lie outside the caches: what is read next is called for while this stretch is worked on.
void call_for_next_stretch(const std::int16_t* samples, int count) {
  constexpr int LINE_SAMPLES = 32;
  for (int i = 0; i < count; i += LINE_SAMPLES) __builtin_prefetch(samples + i);
}

void read_planes(node& n, int step) {
  const int width = n.vars->row_width;
  for (int e = 0; e < n.elnum; ++e) {
    const std::int16_t* plane = n.images[e] + n.pixel_index;
    fix* __restrict row = n.rows[e];
    call_for_next_stretch(plane + width * step, width * step);
    if (step == 1)  // the usual case, as a loop that vectorises
      for (int i = 0; i < width; ++i) row[i] = plane[i];
    else
      for (int i = 0; i < width; ++i) row[i] = plane[i * step];
  }
  n.pixel_index += width * step;
}

}  // namespace

void read_cached_row(node& n) { read_planes(n, 1); }

void read_cached_row_stepped(node& n) { read_planes(n, cache_step); }

}  // namespace tessaron
