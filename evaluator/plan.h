// The evaluation plan: element counts, constants, pass-through, and the two lists.
#pragma once

#include <vector>

#include "genotype/genotype.h"

namespace tessaron {

/// Types every node anew from Globals->image_channels and Globals->n_image_channels, chooses combos,
/// kernels and plane counts. False: no combo fits (reported). Does nothing when the counts are those
/// of the last call for this genotype.
bool resolve_element_counts(genotype& g);

/// Folds constants and runs the pass hooks, last node to first; then marks the active tree.
void fold_and_pass(genotype& g);

/// The node that stands in for `n` after its pass_arg chain.
node* follow_pass(node* n);

/// Fills Globals->eval_image_nodes_array: nodes that fill images, arguments before users.
void build_eval_image_nodes(genotype& g);

/// Fills eval_nodes_array for one loop. `filling` : the root's own planes are being computed.
void build_eval_nodes(node* root, bool filling);

/// Evaluation entry of one frame, after the host adapter has filled evaluator/frame.h and
/// Globals->effect_genotype is selected. 0, or -1 after a report.
int perform_effect();

/// What one frame cost, for --stats.
struct node_timing {
  const node* n;
  double seconds;
};
struct frame_stats {
  double setup_seconds = 0, output_seconds = 0;
  std::vector<node_timing> image_nodes;
  int planes_in_use = 0, planes_planned = 0;
  std::int64_t plane_bytes = 0;
};
extern frame_stats last_frame_stats;

}  // namespace tessaron
