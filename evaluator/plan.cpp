// What runs, and in what order: element counts, constants, pass-through, and the two lists.
#include "evaluator/plan.h"

#include <algorithm>

#include "base/report.h"
#include "evaluator/constants.h"
#include "evaluator/pixel_loop.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"

namespace tessaron {
namespace {

constexpr int N_VARIABLES = 7;          // x, y, xy and four sources
constexpr std::int8_t UNRESOLVED = -1;  // no output has this element count
constexpr std::uint16_t ALL_UNIFORM = 0xffff;

bool is_function(const node& n) { return n.kind == KIND_FUNCTION; }
bool is_constant(const node& n) { return n.node_flags & NODE_CONSTANT; }
void set_flag(node& n, std::uint8_t flag, bool on) {
  n.node_flags = std::uint8_t(on ? n.node_flags | flag : n.node_flags & ~flag);
}

// --- element counts ----------------------------------------------------------------------------------

bool counts_stand(const genotype& g) {
  if (g.output_elnum != std::int8_t(Globals->n_image_channels)) return false;
  for (int i = 0; i < g.n_inputs && i < MAX_INPUTS; ++i)
    if (g.input_elnums[i] != std::int8_t(Globals->image_channels[VAR_SOURCE0 + i])) return false;
  return true;
}

void note_counts(genotype& g) {
  for (int i = 0; i < g.n_inputs && i < MAX_INPUTS; ++i)
    g.input_elnums[i] = std::int8_t(Globals->image_channels[VAR_SOURCE0 + i]);
  g.output_elnum = std::int8_t(Globals->n_image_channels);
}

bool resolve_node(const genotype& g, node& n) {
  switch (n.kind) {
    case KIND_BUILT_IN:
      if (n.var_index < 0 || n.var_index >= N_VARIABLES) {
        report(REPORT_ERROR, "expression_var_ptr_from_index: bad index %d.", n.var_index);
        return false;
      }
      n.elnum = std::int8_t(Globals->image_channels[n.var_index]);
      return true;
    case KIND_OUTPUT:
      n.elnum = std::int8_t(Globals->n_image_channels);
      return true;
    case KIND_FUNCTION:
      if (choose_combo(n)) return true;
      report_arg_elnums(n);
      report(REPORT_ERROR, "%s.%s has an invalid combo of arg types.\n", g.name, n.name ? n.name : n.fun->name);
      return false;
    default:
      return true;
  }
}

// --- folding -----------------------------------------------------------------------------------------

void bind_args_through_passes(genotype& g, node& n) {
  for (int a = 0; a < n.arg_number; ++a) {
    node* arg = follow_pass(&g.nodes[n.arg_indices[a]]);
    n.args[a] = arg;
    n.arg_rows[a] = arg->rows;
    n.arg_consts[a] = arg->const_vals;
  }
}

bool all_args_constant(const node& n) {
  for (int a = 0; a < n.eval_arg_number; ++a)
    if (!is_constant(*n.args[a])) return false;
  return true;
}

// A constant can be read as a value of any element count: a shorter one repeats its last element, rgb is opaque.
void fill_constant(node& n) {
  if (n.elnum == 3)
    n.const_vals[3] = FIX_ONE;
  else
    for (int e = std::max<int>(n.elnum, 1); e < 4; ++e) n.const_vals[e] = n.const_vals[e - 1];
}

void run_pass_hook(node& n) {
  const int a = n.fun->pass_hook(n);
  if (a < 0) return;
  const node& arg = *n.args[a];
  if (is_constant(arg)) {
    set_flag(n, NODE_CONSTANT, true);
    std::copy_n(arg.const_vals, 4, n.const_vals);
  } else if (arg.elnum == n.elnum && (!n.image_count || arg.kind == KIND_BUILT_IN)) {
    n.pass_arg = std::int8_t(a);
  }
}

void fold_node(genotype& g, node& n) {
  n.vars = &fold_rows;
  n.uniform_args = ALL_UNIFORM;
  if (is_function(n)) {
    bind_args_through_passes(g, n);
    // What differs from line to line is no constant.
    const bool foldable = !(n.fun->fun_flags & FUN_NEVER_CONSTANT) && !n.fun->position_dependent;
    set_flag(n, NODE_CONSTANT, foldable && all_args_constant(n));
    if (is_constant(n)) set_genotype_constant_vals(n);
  }
  if (is_constant(n)) fill_constant(n);
  n.pass_arg = -1;
  if (is_function(n) && !is_constant(n) && n.fun->pass_hook) run_pass_hook(n);
}

void mark_from(node& n) {
  if (!is_function(n) || (n.node_flags & NODE_ACTIVE) || is_constant(n)) return;
  set_flag(n, NODE_ACTIVE, true);
  for (int a = 0; a < n.eval_arg_number; ++a) mark_from(*n.args[a]);
}

// --- lists -------------------------------------------------------------------------------------------

bool is_listed(const node& n) {
  return n.eval_index >= 0 && n.eval_index < eval_nodes_count && eval_nodes_array[n.eval_index] == &n;
}

node_kernel kernel_in_loop(const node& n, bool filling_root) {
  if (n.fun->is_image_fun || (n.image_count > 0 && !filling_root))
    return cache_step > 1 ? read_cached_row_stepped : operator_cache_reader;
  return n.own_kernel;
}

void list_node(node* n, bool root, bool filling) {
  n = follow_pass(n);
  if (!is_function(*n) || is_constant(*n) || is_listed(*n)) return;
  const bool filling_root = root && filling;
  if (filling_root || n->image_count <= 0) {
    const int skipped = filling_root && n->fun->is_image_fun ? n->fun->image_arg_index : -1;
    for (int a = 0; a < n->eval_arg_number; ++a)
      if (a != skipped) list_node(n->args[a], false, filling);
  }
  if (eval_nodes_count >= MAX_EVAL_NODES) fatal("eval_nodes_array overflow");
  n->row_kernel = kernel_in_loop(*n, filling_root);
  n->eval_index = std::int16_t(eval_nodes_count);
  eval_nodes_array[eval_nodes_count++] = n;
}

}  // namespace

node* follow_pass(node* n) {
  while (n->pass_arg >= 0 && !is_constant(*n)) {
    if (n->pass_arg >= n->arg_number) {
      report(REPORT_WARNING, "maybe_pass_through_args: node %s, pass_arg %d >= arg_number %d", n->name ? n->name : "",
             n->pass_arg, n->arg_number);
      break;
    }
    n = n->args[n->pass_arg];
  }
  return n;
}

bool resolve_element_counts(genotype& g) {
  if (counts_stand(g)) return true;
  g.output_elnum = UNRESOLVED;
  // Sharing and planes are planned on the tree as it was bound: what the parameters of one frame fold or
  // pass through must not decide where the next frame finds its planes.
  set_genotype_arg_ptrs(g);
  for (int i = g.n_nodes - 1; i >= 0; --i) {
    node& n = g.nodes[i];
    set_flag(n, NODE_CONSTANT, n.node_flags & NODE_CONSTANT_AT_BIND);
    if (!resolve_node(g, n)) return false;
  }
  mark_time_dependency(g, false);
  set_image_counts(g, false);
  set_share_counts(g);
  set_image_counts(g, image_every_node);
  assign_image_planes(g);
  mark_regions(g);
  for (int i = 0; i < g.n_nodes; ++i) set_flag(g.nodes[i], NODE_IMAGES_VALID, false);
  if (&g == Globals->effect_genotype) build_eval_image_nodes(g);
  note_counts(g);
  return true;
}

void fold_and_pass(genotype& g) {
  for (int i = g.n_nodes - 1; i >= 0; --i) fold_node(g, g.nodes[i]);
  for (int i = 0; i < g.n_nodes; ++i) set_flag(g.nodes[i], NODE_ACTIVE, false);
  if (g.n_nodes > 0) mark_from(*follow_pass(&g.nodes[0]));
}

void build_eval_image_nodes(genotype& g) {
  const std::vector<int> images = list_image_nodes(g);
  Globals->n_eval_image_nodes = 0;
  for (int i : images) {
    if (Globals->n_eval_image_nodes >= MAX_EVAL_IMAGE_NODES) fatal("eval_image_nodes_array overflow");
    Globals->eval_image_nodes_array[Globals->n_eval_image_nodes++] = &g.nodes[i];
  }
}

void build_eval_nodes(node* root, bool filling) {
  // Nodes of an earlier list may be gone by now; only their places are forgotten.
  eval_nodes_count = 0;
  list_node(root, true, filling);
  for (int i = 0; i < eval_nodes_count; ++i) {
    node& n = *eval_nodes_array[i];
    n.visit = 0;
    for (int a = 0; a < n.arg_number; ++a)
      if (!is_listed(*n.args[a])) n.args[a]->eval_index = -1;
  }
}

}  // namespace tessaron
