// Image planes: how many each node needs, which nodes are computed once for several pixel loops, and
// where in the two banks of planes each one's lie.
#include <algorithm>
#include <climits>
#include <vector>

#include "base/report.h"
#include "genotype/genotype_reader.h"

namespace tessaron {

int cache_static_branches = 1;
int image_every_node = 0;

namespace {

constexpr int SIDE_LOOP = 1000;  // added to the path key of arguments that an operator reads elsewhere
constexpr std::uint16_t NO_PATH = 0xFFFF;
constexpr int MAX_PLANES = SCHAR_MAX;  // image_base and image_top hold no more

bool is_constant(const node& n) { return (n.node_flags & NODE_CONSTANT) != 0; }
bool is_live_function(const node& n) { return n.kind == KIND_FUNCTION && !is_constant(n); }
bool varies_in_time(const node& n) { return (n.node_flags & NODE_TIME_DEPENDENT) != 0; }

// -------------------------------------------------------------------------------------------------
// Sharing: in how many separate pixel loops is a node's value wanted? A path key names a pixel loop; a
// second reference in the same loop costs nothing, since the row is there already. The alternatives
// of an `if` with a constant condition count as one use, since only one of them runs.

class share_counter {
 public:
  explicit share_counter(genotype& g) : g_(g) {}

  void count() {
    for (int i = 0; i < g_.n_nodes; ++i) {
      node& n = g_.nodes[i];
      n.share_count = 0;
      n.snap = std::int16_t(i);
      n.visit = NO_PATH;
      n.branch_mask = 0;
    }
    walk(g_.nodes[0], 0);
  }

 private:
  static void add_use(node& n) {
    if (n.share_count < SCHAR_MAX) ++n.share_count;
  }

  void walk(node& n, int path) {
    if (!is_live_function(n)) return;
    if (n.share_count == 0) {
      if (n.fun->is_image_fun)
        walk_own_loops(n);
      else
        walk_same_loop(n, path);
    }
    if (n.visit != path) {
      const std::uint16_t other_branches = inactive_ & n.branch_mask;
      if (other_branches == 0) {
        add_use(n);
      } else if (n.share_count < 2) {
        // The earlier visit lay on the other alternative of an `if` being walked: no new use.
        n.branch_mask = std::uint16_t((n.branch_mask & ~other_branches) | active_);
        for (int k = 0; k < n.eval_arg_number; ++k) merge_branch_mask(*n.args[k], other_branches);
      }
    }
    n.visit = std::uint16_t(path);
    n.branch_mask = active_;
  }

  /// Arguments of a per-pixel function run in the loop of its user.
  void walk_same_loop(node& n, int path) {
    std::uint16_t bit = n.branch_arg >= 0 ? std::uint16_t(1u << n.branch_bit) : std::uint16_t(0);
    active_ |= bit;
    for (int k = 0; k < n.eval_arg_number; ++k) {
      if (k == n.branch_arg) {
        active_ &= std::uint16_t(~bit);
        inactive_ |= bit;
      }
      walk(*n.args[k], path);
    }
    inactive_ &= std::uint16_t(~bit);
  }

  /// An operator reads its image in a loop of its own, and its other arguments in another.
  void walk_own_loops(node& n) {
    const int index = int(&n - g_.nodes);
    for (int k = 0; k < n.eval_arg_number; ++k)
      walk(*n.args[k], k == n.fun->image_arg_index ? index : index + SIDE_LOOP);
  }

  void merge_branch_mask(node& n, std::uint16_t bits) {
    if (!is_live_function(n)) return;
    if ((n.branch_mask & bits) == 0) return add_use(n);
    n.branch_mask = std::uint16_t((n.branch_mask & ~bits) | active_);
    for (int k = 0; k < n.eval_arg_number; ++k) merge_branch_mask(*n.args[k], bits);
  }

  genotype& g_;
  std::uint16_t active_ = 0;    // bits of the `if` functions whose first alternative is being walked
  std::uint16_t inactive_ = 0;  // and of those whose last one is
};

/// Stores what stays the same between frames at the border to what does not, so that it stays valid.
void share_static_branches(genotype& g) {
  node& root = g.nodes[0];
  if (is_live_function(root) && !varies_in_time(root)) {
    root.share_count = 2;
    return;
  }
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (!is_live_function(n) || !varies_in_time(n)) continue;
    for (int k = 0; k < n.eval_arg_number; ++k)
      if (node& arg = *n.args[k]; is_live_function(arg) && !varies_in_time(arg)) arg.share_count = 2;
  }
}

// -------------------------------------------------------------------------------------------------
// Planes: the working bank is a stack, the shared bank only grows.

class plane_assigner {
 public:
  explicit plane_assigner(genotype& g) : g_(g) {}

  void assign() {
    for (int i = 0; i < g_.n_nodes; ++i) g_.nodes[i].visit = 0;
    walk(g_.nodes[0]);
    if (branch_depth_ != 0)
      report(REPORT_WARNING, "WARNING: %s left share_images_branch_recurse_count %d \n", g_.name, branch_depth_);
    for (int i = 0; i < g_.n_nodes; ++i) {
      node& n = g_.nodes[i];
      n.visit = 0;
      n.shared_image = n.image_count > 0 && n.share_count >= 2;
    }
    g_.n_temp_images = working_high_;
    g_.n_cache_images = shared_high_;
  }

 private:
  /// A node is walked again only at a higher top, so the limit on planes bounds the repeats.
  void walk(node& n) {
    if (n.kind != KIND_FUNCTION) return;
    if (n.visit) {
      if (branch_depth_ == 0 || n.share_count > 1) return;
      if (n.image_base >= top_) {
        top_ = n.image_top;
        return;
      }
    }
    n.visit = 1;

    const fun_info& fun = *n.fun;
    const bool has_branch = n.branch_arg >= 0;
    const bool keeps_planes = (fun.fun_flags & FUN_PREV_OUTPUT) != 0;  // in a set of its own
    const bool staged = fun.is_image_fun && !keeps_planes;
    if (has_branch && n.image_count > 0)
      report(REPORT_WARNING, "*** WARNING %s %s %s has cache images, use (copy (%s...)) instead. \n", g_.name, fun.name,
             n.args[0]->name ? n.args[0]->name : "", fun.name);

    // Planes of the side arguments are needed only while the operator's inputs are made.
    if (staged)
      for (int k = 0; k < n.eval_arg_number; ++k)
        if (k != fun.image_arg_index) walk(*n.args[k]);

    const int base = top_;
    int high = base;
    for (int k = 0; k < n.eval_arg_number; ++k) {
      if (staged && k != fun.image_arg_index) continue;
      const bool alternative = k == n.branch_arg;
      branch_depth_ += alternative;
      walk(*n.args[k]);
      branch_depth_ -= alternative;
      if (has_branch) {
        high = std::max(high, top_);
        top_ = base;
      }
    }
    if (n.image_count > 0 && !keeps_planes) {
      place(n, base);
    } else {
      if (has_branch) top_ = high;
      n.image_base = n.image_top = plane_index(top_);
    }
  }

  void place(node& n, int base) {
    if (n.share_count < 2) {
      n.image_base = plane_index(base);
      working_high_ = std::max(working_high_, base + n.image_count);
      top_ = base + n.elnum;  // the scratch planes above the result are free again
      n.image_top = plane_index(top_);
    } else {
      top_ = base;
      n.image_base = plane_index(next_);
      shared_high_ = std::max(shared_high_, next_ + n.image_count);
      next_ += n.elnum;
      n.image_top = plane_index(base);
    }
  }

  std::int8_t plane_index(int plane) const {
    if (plane > MAX_PLANES) fatal("In %s: more than %d image planes.", g_.name, MAX_PLANES);
    return std::int8_t(plane);
  }

  genotype& g_;
  int top_ = 0, working_high_ = 0;
  int next_ = 0, shared_high_ = 0;
  int branch_depth_ = 0;  // `if` alternatives being walked
};

// -------------------------------------------------------------------------------------------------

/// Clears the narrowed mark below planes that stay valid and below operators that read real images. A
/// node that has been walked with its mark left standing has nothing new to learn from another true.
class region_marker {
 public:
  explicit region_marker(genotype& g) : g_(g), walked_(g.n_nodes, 0) {}

  void walk(node& n, bool narrowed) {
    if (n.kind != KIND_FUNCTION || !(n.node_flags & NODE_NARROWED)) return;
    char& walked = walked_[&n - g_.nodes];
    if (walked && narrowed) return;
    walked = 1;
    const bool kept = n.shared_image && !varies_in_time(n) && dependency_analysis;
    if (!narrowed || kept) n.node_flags &= std::uint8_t(~NODE_NARROWED);
    const bool below = narrowed && !kept && !(n.fun->fun_flags & FUN_REAL_IMAGE);
    for (int k = 0; k < n.eval_arg_number; ++k) walk(*n.args[k], below);
  }

 private:
  genotype& g_;
  std::vector<char> walked_;
};

int operator_planes(const node& n) {
  const fun_info& fun = *n.fun;
  return std::max({n.elnum * fun.images_per_element + fun.extra_images, int(n.elnum), int(fun.min_images)});
}

}  // namespace

void set_image_counts(genotype& g, bool cache_all) {
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    int count = 0;
    if (is_live_function(n)) {
      if (n.fun->is_image_fun)
        count = operator_planes(n);
      else if (n.share_count > 1 || (cache_all && i != 0))
        count = n.elnum;
    }
    if (count > MAX_NODE_IMAGE_COUNT)
      fatal("%s has image_count %d > MAX_NODE_IMAGE_COUNT %d", n.name ? n.name : n.fun->name, count,
            MAX_NODE_IMAGE_COUNT);
    n.image_count = std::int8_t(count);
  }
}

void set_share_counts(genotype& g) {
  share_counter(g).count();
  if (cache_static_branches) share_static_branches(g);
}

void assign_image_planes(genotype& g) {
  do plane_assigner(g).assign();
  while (share_overwritten_images(g));
}

void mark_regions(genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) g.nodes[i].node_flags |= NODE_NARROWED;
  region_marker(g).walk(g.nodes[0], true);
}

}  // namespace tessaron
