#include "console/frame_list.h"

#include <gtest/gtest.h>

#include "console/errors.h"

namespace tessaron::console {
namespace {

using frames = std::vector<int>;

TEST(FrameList, a_number_is_one_frame) { EXPECT_EQ(parse_frame_list("7"), (frames{7})); }

TEST(FrameList, a_range_holds_both_ends) { EXPECT_EQ(parse_frame_list("3-6"), (frames{3, 4, 5, 6})); }

TEST(FrameList, a_step_may_miss_the_last_frame) {
  EXPECT_EQ(parse_frame_list("1-8x3"), (frames{1, 4, 7}));
  EXPECT_EQ(parse_frame_list("1-8:3"), (frames{1, 4, 7}));
}

TEST(FrameList, commas_join_items_in_the_order_written) {
  EXPECT_EQ(parse_frame_list("1-3,7,20-30x5"), (frames{1, 2, 3, 7, 20, 25, 30}));
  EXPECT_EQ(parse_frame_list("9,2"), (frames{9, 2}));
}

TEST(FrameList, negative_numbers_stand_on_both_sides_of_the_dash) {
  EXPECT_EQ(parse_frame_list("-3--1"), (frames{-3, -2, -1}));
  EXPECT_EQ(parse_frame_list("-2-1"), (frames{-2, -1, 0, 1}));
  EXPECT_EQ(parse_frame_list("-5"), (frames{-5}));
}

TEST(FrameList, a_million_frames_is_the_most) {
  EXPECT_EQ(parse_frame_list("1-1000000").size(), 1000000u);
  EXPECT_THROW(parse_frame_list("0-1000000"), command_line_error);
  EXPECT_THROW(parse_frame_list("1,1-1000000"), command_line_error);
  EXPECT_THROW(parse_frame_list("-2147483648-2147483647"), command_line_error);
}

class FrameListFault : public testing::TestWithParam<const char*> {};

TEST_P(FrameListFault, is_refused_and_named) {
  try {
    parse_frame_list(GetParam());
    FAIL() << "accepted";
  } catch (const command_line_error& fault) {
    EXPECT_EQ(std::string(fault.what()).rfind(std::string("--frames ") + GetParam(), 0), 0u) << fault.what();
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, FrameListFault,
                         testing::Values("", "a", "1-", "1-x2", "1-4x", "1-4x0", "1-4x-1", "4-1", "1,,2", "1,", ",1",
                                         "1 2", "1-2-3", "1.5", "99999999999", "1-99999999999"));

}  // namespace
}  // namespace tessaron::console
