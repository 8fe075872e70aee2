// Binding: turns the flat array that the statements left behind into the tree that the evaluator
// needs. References are snapped, dead nodes cleared, nodes ordered with arguments behind their users,
// one combo chosen for each function, constants and time dependency marked.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "genotype/reading.h"

namespace tessaron {

int dependency_analysis = 1;
node_kernel operator_cache_reader = read_cached_row;

namespace {

constexpr int MAX_BRANCHES = 16;     // `if` functions with a constant condition
constexpr int MAX_SHOWN_NAME = 100;  // characters of an unreferenced variable's name
constexpr int MAX_TREE_DEPTH = MAX_EXPRESSION_DEPTH;

const char* shown_name(const node& n) { return n.name ? n.name : "constant"; }

// -------------------------------------------------------------------------------------------------
// References

bool check_assignment(const genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) {
    const node& n = g.nodes[i];
    if (n.kind == KIND_UNSET && n.snap == 0) {
      reject(REPORT_ERROR, "In %s: the variable '%s' is not assigned.", g.name, shown_name(n));
      return false;
    }
  }
  return true;
}

/// Follows references down the tree and replaces them by what they lead to. A node's result is kept,
/// so a variable that many use is walked once.
class reference_snapper {
 public:
  explicit reference_snapper(genotype& g) : g_(g), result_(g.n_nodes, UNKNOWN), height_(g.n_nodes, 0) {}

  /// Index of the node that stands for node 0, or -1 after a report.
  int snap_root() {
    const int root = snap(0, 1);
    if (root == CYCLE) reject(REPORT_ERROR, "In %s: cyclic variable references!", g_.name);
    if (root == TOO_DEEP) reject(REPORT_ERROR, "In %s: the tree is more than %d levels deep.", g_.name, MAX_TREE_DEPTH);
    return std::max(root, -1);
  }

 private:
  enum { CYCLE = -1, TOO_DEEP = -2, UNKNOWN = -3 };

  int snap(int i, int level) {
    if (g_.nodes[i].visit) return CYCLE;
    if (result_[i] != UNKNOWN) return result_[i];
    return result_[i] = g_.nodes[i].kind == KIND_UNSET ? snap_alias(i, level) : snap_value(i, level);
  }

  /// A reference stands for what it leads to, over any number of others.
  int snap_alias(int i, int level) {
    std::vector<int> passed;
    while (g_.nodes[i].kind == KIND_UNSET && !g_.nodes[i].visit) {
      node& n = g_.nodes[i];
      if (n.snap == 0) fatal("snap_node_tree_references: unset node with no snap index.");
      n.visit = 1;
      passed.push_back(i);
      i = n.snap;
    }
    const int result = snap(i, level);
    for (int alias : passed) {
      g_.nodes[alias].visit = 0;
      result_[alias] = result;
    }
    return result;
  }

  int snap_value(int i, int level) {
    node& n = g_.nodes[i];
    height_[i] = 1;
    if (n.kind != KIND_FUNCTION) return i;
    if (level > MAX_TREE_DEPTH) return TOO_DEEP;
    n.visit = 1;
    int result = i;
    for (int k = 0; k < n.arg_number && result >= 0; ++k) {
      const int arg = snap(n.arg_indices[k], level + 1);
      if (arg < 0) {
        result = arg;
      } else {
        n.arg_indices[k] = std::int16_t(arg);
        height_[i] = std::max(height_[i], height_[arg] + 1);
      }
    }
    n.visit = 0;
    return result >= 0 && height_[i] > MAX_TREE_DEPTH ? TOO_DEEP : result;
  }

  genotype& g_;
  std::vector<int> result_;
  std::vector<int> height_;  // levels of the tree below and with the node
};

/// Makes node r, which `dest` stands for, node 0.
void move_root(genotype& g, int r) {
  if (r == 0) return;
  std::swap(g.nodes[0], g.nodes[r]);
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    for (int k = 0; k < n.arg_number; ++k) {
      if (n.arg_indices[k] == r)
        n.arg_indices[k] = 0;
      else if (n.arg_indices[k] == 0)
        n.arg_indices[k] = std::int16_t(r);
    }
  }
}

void mark_reachable(genotype& g, int i) {
  node& n = g.nodes[i];
  if (n.visit) return;
  n.visit = 1;
  for (int k = 0; k < n.arg_number; ++k) mark_reachable(g, n.arg_indices[k]);
}

void clear_unreachable(genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (n.visit) continue;
    const param* p = n.param_index > 0 ? g.params[n.param_index - 1] : nullptr;
    if (n.name && p && (p->flags[2] & PARAM2_IGNORE)) continue;
    if (n.name && n.kind != KIND_UNSET) {
      const long length = long(std::strlen(n.name));
      if (length > MAX_SHOWN_NAME)
        report(REPORT_WARNING, "*** Warning: in %s, node_name len= %ld! is not referenced.", g.name, length);
      else
        report(REPORT_WARNING, "*** Warning: in %s, '%s' is not referenced.", g.name, n.name);
    }
    free_text(n.name);
    n = node{};
  }
}

/// Swaps users with arguments that stand in front of them until none does. The exchanges are made on
/// a table of places first, so that each costs the same however many nodes there are.
void order_nodes(genotype& g) {
  const int count = g.n_nodes;
  std::vector<int> place(count), node_at(count);  // of each node by its first index, and back
  std::iota(place.begin(), place.end(), 0);
  std::iota(node_at.begin(), node_at.end(), 0);
  for (bool changed = true; changed;) {
    changed = false;
    for (int i = 0; i < count; ++i) {
      const node& n = g.nodes[node_at[i]];
      if (n.kind != KIND_FUNCTION) continue;
      int least = MAX_NODES;
      for (int k = 0; k < n.arg_number; ++k) least = std::min(least, place[n.arg_indices[k]]);
      if (least >= i) continue;
      std::swap(node_at[i], node_at[least]);
      place[node_at[i]] = i;
      place[node_at[least]] = least;
      changed = true;
    }
  }
  const std::vector<node> before(g.nodes, g.nodes + count);
  for (int i = 0; i < count; ++i) {
    node& n = g.nodes[i] = before[node_at[i]];
    for (int k = 0; k < n.arg_number; ++k) n.arg_indices[k] = std::int16_t(place[n.arg_indices[k]]);
  }
}

// -------------------------------------------------------------------------------------------------
// Kinds of values

void default_without_inputs(genotype& g) {
  if (g.n_inputs != 0) return;
  if (g.rgba_mode == RGBA_BY_INPUT) g.rgba_mode = RGBA_OPAQUE;
  if (g.z_mode == Z_DEFAULT) g.z_mode = Z_NO_INPUTS;
  if (g.rgba_mode != RGBA_ALPHA_AS_MASK) return;
  report(REPORT_FATAL,
         "%s: effect with no inputs has rgba_mode of use_alpha_as_mask.\nThis is not allowed.  It needs to use another "
         "rgba mode.\n",
         g.name);
  fatal_exit(1);
}

bool choose_all_combos(genotype& g) {
  for (int i = g.n_nodes - 1; i >= 0; --i) {
    node& n = g.nodes[i];
    if (n.kind != KIND_FUNCTION || choose_combo(n)) continue;
    report_arg_elnums(n);
    reject(REPORT_ERROR, "In %s: %s has an invalid combo of arg types.", g.name, shown_name(n));
    return false;
  }
  return true;
}

/// Index of the last alternative of an `if` whose condition is constant, or -1.
int constant_branch(const node& n) {
  const auto constant = [&n](int k) { return (n.args[k]->node_flags & NODE_CONSTANT) != 0; };
  if (same_text(n.fun->name, "if+")) return constant(0) ? 2 : -1;
  if (same_text(n.fun->name, "if>") || same_text(n.fun->name, "if_eq")) return constant(0) && constant(1) ? 3 : -1;
  return -1;
}

bool is_constant(const node& n) {
  if (n.kind == KIND_CONSTANT || n.kind == KIND_OUTPUT) return true;
  if (n.kind != KIND_FUNCTION) return false;
  // What differs from line to line is no constant, whatever its arguments are.
  if ((n.fun->fun_flags & FUN_NEVER_CONSTANT) || n.fun->position_dependent) return false;
  return std::all_of(n.args, n.args + n.eval_arg_number, [](const node* a) { return a->node_flags & NODE_CONSTANT; });
}

void mark_constants(genotype& g) {
  const int inputs = std::clamp(int(g.n_inputs), 0, MAX_INPUTS);
  for (int i = 0; i < inputs; ++i) g.input_elnums[i] = std::int8_t(Globals->image_channels[VAR_SOURCE0 + i]);
  g.output_elnum = std::int8_t(Globals->n_image_channels);
  int branches = 0;
  for (int i = g.n_nodes - 1; i >= 0; --i) {
    node& n = g.nodes[i];
    if (n.kind == KIND_UNSET) continue;
    n.node_flags &= std::uint8_t(~(NODE_CONSTANT | NODE_CONSTANT_AT_BIND));
    if (is_constant(n)) n.node_flags |= NODE_CONSTANT | NODE_CONSTANT_AT_BIND;
    if (n.kind != KIND_FUNCTION) continue;
    n.branch_arg = n.pass_arg = -1;
    if (n.node_flags & NODE_CONSTANT) continue;
    const int branch = constant_branch(n);
    if (branch < 0) continue;
    if (branches == MAX_BRANCHES) {
      report(REPORT_WARNING, "%s has %d 'if' funs, expected < %d. \n", g.name, branches, MAX_BRANCHES);
      continue;
    }
    n.branch_arg = std::int8_t(branch);
    n.branch_bit = std::uint8_t(branches++);
  }
}

// -------------------------------------------------------------------------------------------------
// Summaries

/// Whether the function's tree below node n reads an input image.
bool reads_input(const genotype& g, const node& n, std::vector<char>& seen) {
  if (n.kind == KIND_BUILT_IN) return n.var_index >= VAR_SOURCE0;
  if (n.kind != KIND_FUNCTION || seen[&n - g.nodes]) return false;
  seen[&n - g.nodes] = 1;
  return std::any_of(n.args, n.args + n.eval_arg_number, [&](const node* a) { return reads_input(g, *a, seen); });
}

void summarise(genotype& g) {
  std::vector<char> seen(g.n_nodes, 0);
  for (int i = 0; i < g.n_nodes; ++i) {
    const node& n = g.nodes[i];
    if (n.kind != KIND_FUNCTION || !(n.fun->fun_flags & FUN_REAL_IMAGE)) continue;
    g.flags[0] |= GENO0_MAY_GROW;
    if (!(g.flags[2] & GENO2_IMAGE_BELOW_OPERATOR) && reads_input(g, n, seen)) g.flags[2] |= GENO2_IMAGE_BELOW_OPERATOR;
  }
  if (Globals->image_total < 0) {
    Globals->image_total = std::int16_t(g.n_temp_images + g.n_cache_images);
    Globals->n_inputs_declared = g.n_inputs;
  }
}

}  // namespace

bool choose_combo(node& n) {
  const fun_info& fun = *n.fun;
  for (int c = 0; c < fun.arg_type_combo_number; ++c) {
    const std::uint32_t combo = fun.arg_type_combos[c];
    bool fits = true;
    for (int k = 0; k < n.arg_number && fits; ++k) fits = int((combo >> (2 + 2 * k)) & 3) + 1 == n.args[k]->elnum;
    if (!fits) continue;
    n.elnum = std::int8_t((combo & 3) + 1);
    if (fun.is_image_fun) {
      n.image_fun = fun.kernels[c];
      n.row_kernel = operator_cache_reader;
    } else {
      n.row_kernel = n.own_kernel = fun.kernels[c];
      n.image_fun = nullptr;
    }
    return true;
  }
  return false;
}

void report_arg_elnums(const node& n) {
  std::string text = format_text("%s arg elnums: ", n.fun->name);
  for (int k = 0; k < n.arg_number; ++k)
    text += format_text("%s has %d%s", n.fun->arg_names[k] ? n.fun->arg_names[k] : "?", n.args[k]->elnum,
                        k + 1 < n.arg_number ? ", " : "");
  report(REPORT_ERROR, "%s.\n", text.c_str());
}

void mark_time_dependency(genotype& g, bool compare_values) {
  if (!dependency_analysis) return;
  const auto dependent = [](const node* a) { return (a->node_flags & NODE_TIME_DEPENDENT) != 0; };
  for (int i = g.n_nodes - 1; i >= 0; --i) {
    node& n = g.nodes[i];
    bool varies = false;
    if (n.kind == KIND_CONSTANT && n.param_index > 0) {
      const param& p = *g.params[n.param_index - 1];
      varies = (p.flags[2] & PARAM2_AUTOTRANS) != 0 ||
               (compare_values && !std::equal(p.value, p.value + p.nchannels, p.previous_value));
    } else if (n.kind == KIND_BUILT_IN) {
      varies = (Globals->default_image_channels[n.var_index] & 1) != 0;
    } else if (n.kind == KIND_FUNCTION) {
      varies = (n.fun->fun_flags & (FUN_FRAME_DEPENDENT | FUN_NO_CACHE)) != 0 ||
               std::any_of(n.args, n.args + n.eval_arg_number, dependent);
    }
    n.node_flags &= std::uint8_t(~NODE_TIME_DEPENDENT);
    if (varies) n.node_flags |= NODE_TIME_DEPENDENT;
    if (compare_values) continue;
    n.node_flags &= std::uint8_t(~NODE_TIME_DEPENDENT_AT_BIND);
    if (varies) n.node_flags |= NODE_TIME_DEPENDENT_AT_BIND;
  }
}

bool bind_genotype(genotype& g) {
  if (!check_assignment(g)) return false;
  for (int i = 0; i < g.n_nodes; ++i)
    if (g.nodes[i].snap == 0) g.nodes[i].snap = std::int16_t(i);
  const int root = reference_snapper(g).snap_root();
  if (root < 0) return false;
  move_root(g, root);
  mark_reachable(g, 0);
  clear_unreachable(g);
  order_nodes(g);
  set_genotype_arg_ptrs(g);
  bind_params_to_nodes(g);

  default_without_inputs(g);
  if (!choose_all_combos(g)) return false;
  mark_constants(g);
  mark_time_dependency(g, false);

  set_image_counts(g, false);
  set_share_counts(g);
  set_image_counts(g, image_every_node != 0);
  assign_image_planes(g);
  mark_regions(g);
  summarise(g);
  return true;
}

}  // namespace tessaron
