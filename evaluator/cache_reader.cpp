// Row kernels that stand in for a node's own: readers of its planes, and the mark of a function whose
// kernel is not there.
#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "genotype/genotype_reader.h"

namespace tessaron {
namespace {

void read_planes(node& n, int step) {
  const int width = n.vars->row_width;
  for (int e = 0; e < n.elnum; ++e) {
    const std::int16_t* plane = n.images[e] + n.pixel_index;
    fix* __restrict row = n.rows[e];
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

// perform_effect() refuses a tree that would come here, so this is a net below the net: no row of
// such a kernel ever counts as a picture.
void not_built_yet(node& n) {
  report(REPORT_ERROR, "%s: the node function '%s' is not built yet.", n.name ? n.name : "", n.fun ? n.fun->name : "");
  request_abort();
}

}  // namespace tessaron
