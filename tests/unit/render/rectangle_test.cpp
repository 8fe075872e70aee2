#include "evaluator/rectangle.h"

#include <gtest/gtest.h>

using namespace tessaron;

namespace {

TEST(Rectangle, a_last_column_before_the_first_is_empty) {
  EXPECT_TRUE(make_rectangle(4, 0, 3, 9).empty);
  EXPECT_TRUE(make_rectangle(0, 9, 3, 8).empty);
  EXPECT_EQ(make_rectangle(4, 0, 4, 0).width(), 1);
}

TEST(Rectangle, sides_are_limited_to_32767_either_way) {
  const rectangle r = make_rectangle(-100000, -32768, 100000, 40000);
  EXPECT_EQ(r.left, -32767);
  EXPECT_EQ(r.top, -32767);
  EXPECT_EQ(r.right, 32767);
  EXPECT_EQ(r.bottom, 32767);
  EXPECT_EQ(r, everything());
}

TEST(Rectangle, clip_keeps_what_both_have) {
  EXPECT_EQ(clip(make_rectangle(0, 0, 9, 9), make_rectangle(5, -3, 20, 4)), make_rectangle(5, 0, 9, 4));
  EXPECT_TRUE(clip(make_rectangle(0, 0, 4, 4), make_rectangle(5, 0, 9, 4)).empty);
  EXPECT_TRUE(clip(rectangle{}, everything()).empty);
}

TEST(Rectangle, union_of_an_empty_rectangle_adds_nothing) {
  const rectangle r = make_rectangle(2, 3, 4, 5);
  EXPECT_EQ(unite(r, rectangle{}), r);
  EXPECT_EQ(unite(rectangle{}, r), r);
  EXPECT_EQ(unite(r, make_rectangle(-1, 4, 3, 9)), make_rectangle(-1, 3, 4, 9));
}

TEST(Rectangle, growing_moves_bounded_sides_and_keeps_unbounded_ones) {
  EXPECT_EQ(grow(make_rectangle(0, 0, 9, 9), 1, 2, 3, 4), make_rectangle(-1, -2, 12, 13));
  const rectangle half_open = make_rectangle(-UNBOUNDED_SIDE, 0, 9, UNBOUNDED_SIDE);
  EXPECT_EQ(grow(half_open, 5, 5, 5, -5), make_rectangle(-UNBOUNDED_SIDE, -5, 14, UNBOUNDED_SIDE));
  EXPECT_TRUE(grow(rectangle{}, 5, 5, 5, 5).empty);
}

TEST(Rectangle, shrinking_past_the_middle_is_empty) {
  EXPECT_TRUE(grow(make_rectangle(0, 0, 3, 3), -2, 0, -2, 0).empty);
}

// A span of 4 over one of 8: the middles are ceil(7 / 2) = 4 and ceil(3 / 2) = 2.
TEST(Rectangle, centres_agree_with_halves_rounded_up) {
  EXPECT_EQ(centre_shift(0, 7, 0, 3), 2);
  EXPECT_EQ(centre_shift(0, 7, 0, 2), 3);
  EXPECT_EQ(centre_shift(0, 3, 0, 7), -2);
  EXPECT_EQ(centre_shift(0, 6, 0, 6), 0);
  EXPECT_EQ(centre_shift(-5, -2, 0, 0), -3);  // ceil(-3.5) = -3
}

}  // namespace
