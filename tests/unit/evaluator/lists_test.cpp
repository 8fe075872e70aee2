// The two lists: which nodes fill images and in what order, which nodes run in one loop.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/unit/evaluator/planned.h"

namespace tessaron::testing {
namespace {

struct listed : definition_renderer {
  explicit listed(const std::string& text) : definition_renderer(text) {
    fill_records();
    EXPECT_TRUE(resolve_element_counts(effect()));
    fold_and_pass(effect());
    build_eval_image_nodes(effect());
  }
  int place_of_image(const node& n) {
    const auto end = record().eval_image_nodes_array + record().n_eval_image_nodes;
    const auto found = std::find(record().eval_image_nodes_array, end, &n);
    return found == end ? -1 : int(found - record().eval_image_nodes_array);
  }
};

int place_in_loop(const node& n) {
  const auto found = std::find(eval_nodes_array, eval_nodes_array + eval_nodes_count, &n);
  return found == eval_nodes_array + eval_nodes_count ? -1 : int(found - eval_nodes_array);
}

TEST(image_list, has_arguments_before_their_users) {
  listed r("(define L (Source) () a = (gamma Source 2) b = (gamma (+ a 1) 3) dest = (+ b 1))");
  EXPECT_EQ(r.place_of_image(r.named("a")), 0);
  EXPECT_EQ(r.place_of_image(r.named("b")), 1);
  EXPECT_EQ(r.record().n_eval_image_nodes, 2);
}

TEST(image_list, has_the_image_of_an_operator_behind_its_other_arguments) {
  listed r(
      "(define L (Source) () image = (gamma Source 2) power = (gamma (element_of Source 0) 2)"
      " dest = (+ (gamma image power) 1))");
  EXPECT_LT(r.place_of_image(r.named("power")), r.place_of_image(r.named("image")));
}

TEST(image_list, of_more_than_100_nodes_is_fatal) {
  std::string text = "(define L (Source) () v0 = (gamma x 2)";
  for (int i = 1; i <= 100; ++i) text += " v" + std::to_string(i) + " = (gamma v" + std::to_string(i - 1) + " 2)";
  report_capture reports;
  try {
    definition_renderer r(text + " dest = (+ v100 Source))");
    FAIL();
  } catch (const TessaronAbortException&) {}
  EXPECT_TRUE(reports.has("eval_image_nodes_array overflow"));
}

TEST(loop_list, has_each_node_once_and_arguments_first) {
  listed r("(define L (Source) () a = (+ Source 1) b = (* a a) dest = (- b a))");
  build_eval_nodes(&r.root(), false);
  EXPECT_EQ(eval_nodes_count, 3);
  EXPECT_EQ(place_in_loop(r.named("a")), 0);
  EXPECT_EQ(place_in_loop(r.named("b")), 1);
  EXPECT_EQ(place_in_loop(r.root()), 2);
  EXPECT_EQ(r.root().eval_index, 2);
}

TEST(loop_list, leaves_out_what_passes_and_what_is_constant) {
  listed r("(define L (Source) () c = (+ (+ 1 2) 3) a = (copy (+ Source c)) dest = (- a (* a 0)))");
  build_eval_nodes(&r.root(), false);
  ASSERT_EQ(eval_nodes_count, 1);
  EXPECT_EQ(std::string(eval_nodes_array[0]->fun->name), "+");
}

TEST(loop_list, stops_at_nodes_that_have_planes) {
  listed r("(define L (Source) () a = (gamma (+ Source 1) 2) dest = (+ a 1))");
  build_eval_nodes(&r.root(), false);
  EXPECT_EQ(eval_nodes_count, 2);
  EXPECT_EQ(place_in_loop(r.named("a")), 0);
  EXPECT_EQ(r.named("a").row_kernel, read_cached_row);
}

TEST(loop_list, computes_a_cached_node_only_at_the_root_of_its_own_fill) {
  listed r("(define L (Source) () a = (+ Source 1) dest = (+ a (gamma a 2)))");
  node& a = r.named("a");
  ASSERT_EQ(a.image_count, 3);
  build_eval_nodes(&a, true);
  EXPECT_EQ(a.row_kernel, a.own_kernel);
  build_eval_nodes(&r.root(), false);
  EXPECT_EQ(a.row_kernel, read_cached_row);
  EXPECT_GE(place_in_loop(a), 0);
}

TEST(loop_list, of_an_operators_fill_walks_all_but_its_image) {
  listed r("(define L (Source) () power = (+ y 2) image = (+ Source 1) g = (gamma image power) dest = (+ g 1))");
  // A 3-element image takes a 1-element power.
  build_eval_nodes(&r.named("g"), true);
  EXPECT_GE(place_in_loop(r.named("power")), 0);
  EXPECT_EQ(place_in_loop(r.named("image")), -1);
  EXPECT_EQ(place_in_loop(r.named("g")), eval_nodes_count - 1);
}

TEST(loop_list, of_a_variable_or_a_constant_is_empty) {
  for (const char* dest : {"Source", "0.5", "(* Source 0)", "(copy Source)"}) {
    listed r(std::string("(define L (Source) () dest = ") + dest + ")");
    build_eval_nodes(&r.root(), false);
    EXPECT_EQ(eval_nodes_count, 0) << dest;
  }
}

TEST(loop_list, of_more_than_200_nodes_is_fatal) {
  std::string text = "(define L (Source) () v0 = (+ Source 1)";
  for (int i = 1; i <= 200; ++i) text += " v" + std::to_string(i) + " = (+ v" + std::to_string(i - 1) + " 1)";
  listed r(text + " dest = (* v200 2))");
  report_capture reports;
  EXPECT_THROW(build_eval_nodes(&r.root(), false), TessaronAbortException);
  EXPECT_TRUE(reports.has("eval_nodes_array overflow"));
}

}  // namespace
}  // namespace tessaron::testing
