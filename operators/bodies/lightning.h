// Lightning and ruled grids at one instruction-set level.
#pragma once

#include "operators/lightning_loops.h"

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// Lightning between two points: `start`, `end`, `vary_end`, `bolts`, `width_vary`, `end_pointiness`, `start_len`,
/// `wrinkle_curve`, `branchiness`, `branch_ang_len`, `seed_phase` into one plane.
void zap_image(node& n);
/// Lightning out of the outline of an object; with a mask, where that is.
void zap_from_image(node& n);
void zap_from_mask_image(node& n);
/// A plane ruled in boxes.
void draw_grid_image(node& n);

/// Midpoints of `count` segments of a block, at most midpoint_block::SIZE.
void displace_midpoints(const midpoint_shape& shape, midpoint_block& block, int count);
/// The edges of one bolt, as bolt_edges.
std::size_t outline_bolt(const bolt& b, const image_space& space, edge_group* groups);
/// The runs of these edges, as make_runs.
void make_bolt_runs(const edge_group* groups, std::size_t count, edge_run* runs);
/// The samples of a band of rows.
void fill_rows(const fill_band& band);

/// All of these, for what draws with them.
extern const lightning_loops LIGHTNING_LOOPS;

}  // namespace tessaron::TESSARON_LEVEL
