#include "evaluator/bounds.h"

#include <algorithm>
#include <vector>

#include "evaluator/plan.h"

namespace tessaron {
namespace {

bool is_constant(const node& n) { return n.node_flags & NODE_CONSTANT; }

void merge_into_arg(node& n, int arg, const rectangle& region) {
  if (arg < 0 || arg >= MAX_ARG_NUMBER || !n.args[arg] || is_constant(*n.args[arg])) return;
  rectangle& merged = n.args[arg]->bounds->region;
  merged = unite(merged, region);
}

/// The walk's records, taken away from the nodes when it ends.
class node_regions {
 public:
  explicit node_regions(genotype& g) : g_(g), records_(std::size_t(g.n_nodes)) {
    for (int i = 0; i < g.n_nodes; ++i) g.nodes[i].bounds = &records_[std::size_t(i)];
  }
  ~node_regions() {
    for (int i = 0; i < g_.n_nodes; ++i) g_.nodes[i].bounds = nullptr;
  }
  node_regions(const node_regions&) = delete;
  node_regions& operator=(const node_regions&) = delete;

 private:
  genotype& g_;
  std::vector<bounds_record> records_;
};

}  // namespace

void grow_arg_bounds(node& n, int arg, int pad_x, int pad_y) { grow_arg_bounds(n, arg, pad_x, pad_y, pad_x, pad_y); }

void grow_arg_bounds(node& n, int arg, int left, int top, int right, int bottom) {
  if (n.bounds->region.empty) return;
  if (std::max({left, top, right, bottom}) >= UNBOUNDED_SIDE) return unbound_arg_bounds(n, arg);
  const auto pad = [](int amount) { return std::max(amount, 0); };
  merge_into_arg(n, arg, grow(n.bounds->region, pad(left), pad(top), pad(right), pad(bottom)));
}

void unbound_arg_bounds(node& n, int arg) { merge_into_arg(n, arg, everything()); }

void pass_bounds_on(node& n) {
  for (int a = 0; a < n.eval_arg_number; ++a) merge_into_arg(n, a, n.bounds->region);
}

rectangle bounds_of_tree(genotype& g, const rectangle& input) {
  if (g.n_nodes < 1) return input;
  const node_regions regions(g);
  node& root = *follow_pass(&g.nodes[0]);
  root.bounds->region = input;
  // A function's arguments have larger indices than it has, so users come before what they use.
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (n.kind != KIND_FUNCTION || is_constant(n) || n.bounds->region.empty) continue;
    if (n.fun->bounds_hook)
      n.fun->bounds_hook(n);
    else
      pass_bounds_on(n);
  }
  rectangle reach = root.bounds->region;
  for (int i = 0; i < g.n_nodes; ++i)
    if (g.nodes[i].kind == KIND_BUILT_IN && g.nodes[i].var_index >= VAR_SOURCE0)
      reach = unite(reach, g.nodes[i].bounds->region);
  return reach;
}

}  // namespace tessaron
