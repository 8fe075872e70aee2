// When each image is written and last read, and whether its planes hold that long.
//
// Slots of the working bank are given out by the shape of the tree. Three shapes outlive it: an image
// that is read in the loop of a cached node and again in the loop of that node's user, an image that one
// alternative of an `if` uses and something outside the `if` as well, and alternatives that are both
// computed because the condition has several elements. Such an image moves to the shared bank.
#include <algorithm>
#include <vector>

#include "genotype/genotype_reader.h"

namespace tessaron {
namespace {

constexpr int NEVER = -1;

bool is_live_function(const node& n) { return n.kind == KIND_FUNCTION && !(n.node_flags & NODE_CONSTANT_AT_BIND); }
bool keeps_own_planes(const node& n) { return n.fun->fun_flags & FUN_PREV_OUTPUT; }

/// The argument that an operator fetches into its own planes, behind all others; -1: none.
int fetched_last(const node& n) { return n.fun->is_image_fun && !keeps_own_planes(n) ? n.fun->image_arg_index : -1; }

class image_lister {
 public:
  explicit image_lister(const genotype& g) : g_(g), seen_(g.n_nodes, 0) {}

  std::vector<int> list() {
    if (g_.n_nodes > 0) walk(0);
    return std::move(images_);
  }

 private:
  void walk(int i) {
    const node& n = g_.nodes[i];
    if (seen_[i] || !is_live_function(n)) return;
    seen_[i] = 1;
    const int last = fetched_last(n);
    for (int k = 0; k < n.eval_arg_number; ++k)
      if (k != last) walk(n.arg_indices[k]);
    if (last >= 0 && last < n.eval_arg_number) walk(n.arg_indices[last]);
    if (n.image_count > 0) images_.push_back(i);
  }

  const genotype& g_;
  std::vector<char> seen_;
  std::vector<int> images_;
};

/// Which nodes the tree reaches when one argument of one node is left out.
class reach_without {
 public:
  reach_without(const genotype& g, int node_index, int arg) : node_(node_index), arg_(arg), reached_(g.n_nodes, 0) {
    walk(g, 0);
  }
  bool operator[](int i) const { return reached_[i]; }

 private:
  void walk(const genotype& g, int i) {
    if (reached_[i] || !is_live_function(g.nodes[i])) return;
    reached_[i] = 1;
    const node& n = g.nodes[i];
    for (int k = 0; k < n.eval_arg_number; ++k)
      if (i != node_ || k != arg_) walk(g, n.arg_indices[k]);
  }

  int node_, arg_;
  std::vector<char> reached_;
};

class lifetime_check {
 public:
  explicit lifetime_check(genotype& g)
      : g_(g),
        images_(list_image_nodes(g)),
        step_of_(g.n_nodes, NEVER),
        last_read_(g.n_nodes, NEVER),
        last_side_read_(g.n_nodes, NEVER) {
    for (std::size_t t = 0; t < images_.size(); ++t) step_of_[images_[t]] = int(t);
    for (std::size_t t = 0; t < images_.size(); ++t) note_reads_of(g.nodes[images_[t]], int(t));
    note_reads(0, int(images_.size()), false);
    find_branches();
  }

  /// Moves images that would be written over to the shared bank; true when there were any.
  bool share_overwritten() {
    bool moved = false;
    for (int i : images_) {
      node& n = g_.nodes[i];
      if (n.share_count >= 2 || keeps_own_planes(n) || !is_overwritten(i)) continue;
      n.share_count = 2;
      moved = true;
    }
    return moved;
  }

 private:
  struct branch {
    reach_without without_first, without_last;
  };

  void note_reads_of(const node& n, int t) {
    for (int k = 0; k < n.eval_arg_number; ++k)
      note_reads(n.arg_indices[k], t, k != fetched_last(n) && n.fun->is_image_fun);
  }

  /// Images that the loop at step t reads below node i, itself included. An operator's side arguments are
  /// read while its own planes are being filled already.
  void note_reads(int i, int t, bool aside) {
    std::vector<char> seen(g_.n_nodes, 0);
    std::vector<int> open{i};
    while (!open.empty()) {
      const int k = open.back();
      open.pop_back();
      const node& n = g_.nodes[k];
      if (seen[k] || !is_live_function(n)) continue;
      seen[k] = 1;
      if (n.image_count > 0) {
        last_read_[k] = std::max(last_read_[k], t);
        if (aside) last_side_read_[k] = std::max(last_side_read_[k], t);
      } else {
        open.insert(open.end(), n.arg_indices, n.arg_indices + n.eval_arg_number);
      }
    }
  }

  void find_branches() {
    for (int i = 0; i < g_.n_nodes; ++i) {
      const node& n = g_.nodes[i];
      if (!is_live_function(n) || n.branch_arg < 0 || n.image_count > 0) continue;
      const int first = n.branch_arg - 1;
      const bool one_runs =
          std::all_of(n.arg_indices, n.arg_indices + first, [this](int k) { return g_.nodes[k].elnum == 1; });
      if (one_runs) branches_.push_back({reach_without(g_, i, first), reach_without(g_, i, n.branch_arg)});
    }
  }

  bool never_in_one_frame(int a, int b) const {
    return std::any_of(branches_.begin(), branches_.end(), [a, b](const branch& f) {
      return (!f.without_first[a] && !f.without_last[b]) || (!f.without_last[a] && !f.without_first[b]);
    });
  }

  bool is_overwritten(int i) const {
    const node& n = g_.nodes[i];
    for (std::size_t t = std::size_t(step_of_[i]) + 1; t < images_.size(); ++t) {
      const node& writer = g_.nodes[images_[t]];
      if (writer.share_count >= 2 || keeps_own_planes(writer)) continue;
      const bool overlaps =
          n.image_base < writer.image_base + writer.image_count && writer.image_base < n.image_base + n.elnum;
      const bool still_wanted = last_read_[i] > int(t) || last_side_read_[i] == int(t);
      if (overlaps && still_wanted && !never_in_one_frame(i, images_[t])) return true;
    }
    return false;
  }

  genotype& g_;
  std::vector<int> images_;   // in the order in which they are made
  std::vector<int> step_of_;  // place of a node in images_
  std::vector<int> last_read_, last_side_read_;
  std::vector<branch> branches_;
};

}  // namespace

std::vector<int> list_image_nodes(const genotype& g) { return image_lister(g).list(); }

bool share_overwritten_images(genotype& g) { return lifetime_check(g).share_overwritten(); }

}  // namespace tessaron
