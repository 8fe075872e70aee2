// How far a tree reaches: regions from the root to the sources.
#include "evaluator/bounds.h"

#include <gtest/gtest.h>

#include <vector>

using namespace tessaron;

namespace {

constexpr int IMAGE = 0, MASK = 1;

void grow_by_7(node& n) { grow_arg_bounds(n, IMAGE, 7, 7); }

/// Nodes by hand: functions with their arguments, sources, constants.
class hand_made_tree {
 public:
  explicit hand_made_tree(int n) : nodes_(std::size_t(n)) {
    g_.nodes = nodes_.data();
    g_.n_nodes = n;
    for (node& each : nodes_) each.pass_arg = -1;
  }
  void function(int i, const fun_info& fun, std::initializer_list<int> args) {
    node& n = nodes_[std::size_t(i)];
    n.kind = KIND_FUNCTION;
    n.fun = &fun;
    for (int a : args) n.args[n.arg_number++] = &nodes_[std::size_t(a)];
    n.eval_arg_number = n.arg_number;
  }
  void source(int i, int number) {
    nodes_[std::size_t(i)].kind = KIND_BUILT_IN;
    nodes_[std::size_t(i)].var_index = std::int8_t(VAR_SOURCE0 + number);
  }
  void coordinate(int i) { nodes_[std::size_t(i)].kind = KIND_BUILT_IN; }
  void constant(int i) {
    nodes_[std::size_t(i)].kind = KIND_CONSTANT;
    nodes_[std::size_t(i)].node_flags = NODE_CONSTANT;
  }
  node& at(int i) { return nodes_[std::size_t(i)]; }
  rectangle reach(const rectangle& input) { return bounds_of_tree(g_, input); }

 private:
  std::vector<node> nodes_;
  genotype g_ = {};
};

constexpr int L = -7, R = 16;  // 0 to 9, grown by 7
const rectangle INPUT = make_rectangle(0, 0, 9, 9);

fun_info with_hook(bounds_hook_fn hook) {
  fun_info fun = {};
  fun.bounds_hook = hook;
  return fun;
}

TEST(Bounds, go_from_the_root_to_the_sources_through_hooks_and_plain_nodes) {
  const fun_info plain = {}, growing = with_hook(grow_by_7);
  hand_made_tree tree(4);
  tree.function(0, plain, {1, 2});
  tree.function(1, growing, {3});
  tree.source(2, 0);
  tree.source(3, 1);
  EXPECT_EQ(tree.reach(INPUT), make_rectangle(L, L, R, R));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(tree.at(i).bounds, nullptr) << "the records go with the walk";
}

TEST(Bounds, of_operators_in_a_row_add_up) {
  const fun_info growing = with_hook(grow_by_7);
  hand_made_tree tree(3);
  tree.function(0, growing, {1});
  tree.function(1, growing, {2});
  tree.source(2, 0);
  EXPECT_EQ(tree.reach(INPUT), make_rectangle(-14, -14, 23, 23));
}

TEST(Bounds, that_meet_in_a_node_are_united_before_it_hands_them_on) {
  // Root: plain of g(shared) and of shared; shared: h(source).
  const fun_info plain = {}, growing = with_hook(grow_by_7);
  hand_made_tree tree(4);
  tree.function(0, plain, {2, 1});
  tree.function(1, growing, {2});
  tree.function(2, growing, {3});
  tree.source(3, 0);
  EXPECT_EQ(tree.reach(INPUT), make_rectangle(-14, -14, 23, 23));
}

TEST(Bounds, stop_at_constants_and_at_what_is_not_in_use) {
  const fun_info plain = {}, growing = with_hook(grow_by_7);
  hand_made_tree tree(5);
  tree.function(0, plain, {1, 2});
  tree.function(1, growing, {3});
  tree.constant(1);  // folded: its argument is not asked for anything
  tree.source(2, 0);
  tree.source(3, 1);
  tree.function(4, growing, {2});  // in nobody's tree
  EXPECT_EQ(tree.reach(INPUT), INPUT);
}

TEST(Bounds, begin_where_the_root_passes_to) {
  const fun_info growing = with_hook(grow_by_7);
  hand_made_tree tree(3);
  tree.function(0, growing, {1});
  tree.function(1, growing, {2});
  tree.source(2, 0);
  tree.at(0).pass_arg = 0;
  EXPECT_EQ(tree.reach(INPUT), make_rectangle(L, L, R, R));
}

TEST(Bounds, of_a_tree_without_sources_are_the_roots) {
  const fun_info growing = with_hook(grow_by_7);
  hand_made_tree tree(2);
  tree.function(0, growing, {1});
  tree.coordinate(1);
  EXPECT_EQ(tree.reach(INPUT), INPUT);
}

// --- what hooks call ---------------------------------------------------------------------------------------

/// Region of the argument after one call of a hook on a node with this region.
rectangle asked_of(bounds_hook_fn hook, int arg, const rectangle& region) {
  node n = {}, args[2] = {};
  bounds_record mine{region}, theirs[2];
  n.bounds = &mine;
  n.arg_number = n.eval_arg_number = 2;
  for (int a = 0; a < 2; ++a) {
    n.args[a] = &args[a];
    args[a].bounds = &theirs[a];
  }
  hook(n);
  return theirs[arg].region;
}

int pad_left, pad_top, pad_right, pad_bottom;
void grow_each_side(node& n) { grow_arg_bounds(n, MASK, pad_left, pad_top, pad_right, pad_bottom); }
rectangle grown(const rectangle& r, int left, int top, int right, int bottom) {
  pad_left = left;
  pad_top = top;
  pad_right = right;
  pad_bottom = bottom;
  return asked_of(grow_each_side, MASK, r);
}

TEST(GrowingBounds, moves_each_side_by_its_own_amount) {
  EXPECT_EQ(grown(INPUT, 1, 2, 3, 4), make_rectangle(-1, -2, 12, 13));
  EXPECT_EQ(grown(INPUT, 0, 0, 0, 0), INPUT);
}

TEST(GrowingBounds, by_less_than_nothing_is_growing_by_nothing) { EXPECT_EQ(grown(INPUT, -5, -1, -5, -1), INPUT); }

TEST(GrowingBounds, saturates_at_32767) {
  EXPECT_EQ(grown(INPUT, 32766, 0, 32766, 0), make_rectangle(-32766, 0, 32767, 9));
  EXPECT_EQ(grown(make_rectangle(-9, 0, 9, 9), 32766, 0, 0, 0), make_rectangle(-32767, 0, 9, 9));
}

TEST(GrowingBounds, by_32767_on_any_side_is_everything) {
  EXPECT_EQ(grown(INPUT, 32767, 0, 0, 0), everything());
  EXPECT_EQ(grown(INPUT, 0, 0, 0, 2000000000), everything());
}

TEST(GrowingBounds, keeps_unbounded_sides) { EXPECT_EQ(grown(everything(), 5, 5, 5, 5), everything()); }

TEST(GrowingBounds, of_a_node_that_nobody_asks_asks_for_nothing) { EXPECT_TRUE(grown({}, 5, 5, 5, 5).empty); }

TEST(GrowingBounds, leaves_the_other_arguments_alone) {
  EXPECT_TRUE(asked_of(grow_by_7, MASK, INPUT).empty);
  EXPECT_EQ(asked_of(grow_by_7, IMAGE, INPUT), make_rectangle(L, L, R, R));
}

TEST(GrowingBounds, passed_on_they_reach_every_argument) {
  EXPECT_EQ(asked_of(pass_bounds_on, IMAGE, INPUT), INPUT);
  EXPECT_EQ(asked_of(pass_bounds_on, MASK, INPUT), INPUT);
}

TEST(GrowingBounds, without_end_are_everything) {
  EXPECT_EQ(asked_of([](node& n) { unbound_arg_bounds(n, IMAGE); }, IMAGE, INPUT), everything());
}

}  // namespace
