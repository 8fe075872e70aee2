// Runs of edges with the boxes around them, for loops of any instruction-set level.
#pragma once

#include "operators/edge_fill.h"

namespace tessaron {

static inline float lesser(float a, float b) { return b < a ? b : a; }
static inline float greater(float a, float b) { return a < b ? b : a; }

/// As make_runs.
static inline void runs_of_groups(const edge_group* groups, std::size_t count, edge_run* runs) {
  const edge_group* const end = groups + groups_of(count);
  for (; groups < end; groups += GROUPS_OF_A_RUN, ++runs) {
    const std::size_t n = std::size_t(end - groups) < GROUPS_OF_A_RUN ? std::size_t(end - groups) : GROUPS_OF_A_RUN;
    // Lane by lane first.
    edge_group box = groups[0];
    for (int k = 0; k < edge_group::SIZE; ++k) {
      box.x0[k] = lesser(groups[0].x0[k], groups[0].x1[k]);
      box.x1[k] = greater(groups[0].x0[k], groups[0].x1[k]);
    }
    for (std::size_t g = 1; g < n; ++g)
      for (int k = 0; k < edge_group::SIZE; ++k) {
        box.x0[k] = lesser(box.x0[k], lesser(groups[g].x0[k], groups[g].x1[k]));
        box.x1[k] = greater(box.x1[k], greater(groups[g].x0[k], groups[g].x1[k]));
        box.y0[k] = lesser(box.y0[k], groups[g].y0[k]);
        box.y1[k] = greater(box.y1[k], groups[g].y1[k]);
      }
    for (int half = edge_group::SIZE / 2; half > 0; half /= 2)
      for (int k = 0; k < half; ++k) {
        box.x0[k] = lesser(box.x0[k], box.x0[k + half]);
        box.x1[k] = greater(box.x1[k], box.x1[k + half]);
        box.y0[k] = lesser(box.y0[k], box.y0[k + half]);
        box.y1[k] = greater(box.y1[k], box.y1[k + half]);
      }
    *runs = {{groups, n}, half_row(box.y0[0]), half_row(box.y1[0]), box.x0[0], box.y0[0], box.x1[0], box.y1[0]};
  }
}

}  // namespace tessaron
