// The rule of what a number is, and what it is worth.
#include <cmath>

#include <gtest/gtest.h>

#include "base/text.h"

namespace tessaron::testing {
namespace {

struct written_number {
  const char* text;
  float value;
};

void expect_values(std::initializer_list<written_number> numbers) {
  for (const written_number& n : numbers) {
    float value = -77.0f;
    EXPECT_TRUE(parse_number(n.text, value)) << n.text;
    EXPECT_EQ(value, n.value) << n.text;
  }
}

TEST(numbers, have_a_sign_a_point_and_an_exponent) {
  expect_values({{"0", 0.0f},
                 {"12", 12.0f},
                 {"+4", 4.0f},
                 {"-4", -4.0f},
                 {"2.5", 2.5f},
                 {"1.", 1.0f},
                 {".5", 0.5f},
                 {"-.25", -0.25f},
                 {"3e2", 300.0f},
                 {"3E+2", 300.0f},
                 {"-1.5e3", -1500.0f},
                 {"25e-2", 0.25f},
                 {" 7", 7.0f},
                 {"-0", -0.0f}});
  float zero = 1.0f;
  EXPECT_TRUE(parse_number("-0", zero));
  EXPECT_TRUE(std::signbit(zero));
}

TEST(numbers, end_where_they_stop_making_sense) {
  expect_values({{"5abc", 5.0f},
                 {"1.5.3", 1.5f},
                 {"12e", 12.0f},
                 {"12ex", 12.0f},
                 {"2e1.9", 20.0f},
                 {"1-2", 1.0f},
                 {"3 4", 3.0f},
                 {"1a", 1.0f},
                 {"0x10", 0.0f}});
}

TEST(numbers, need_a_digit_in_front_of_anything_else) {
  for (const char* text : {"", "abc", ".", "-", "+", "-e5", "e5", "--1", "+-1", "-+1", "..5", "inf", "nan", " ", "*"}) {
    float value = 0.0f;
    EXPECT_FALSE(parse_number(text, value)) << text;
  }
}

// Worked out with each product and sum rounded to single precision; the nearest floats are other ones.
TEST(numbers, are_added_up_digit_by_digit_in_single_precision) {
  expect_values({{"0.77679", 0x1.8db76ap-1f},
                 {"0.17095", 0x1.5e1b0ap-3f},
                 {"0.72193", 0x1.71a0ccp-1f},
                 {"0.79298", 0x1.960176p-1f},
                 {"4294967295", 0x1.fffffep+31f}});
}

TEST(numbers, may_leave_the_range_of_floats) {
  float value = 0.0f;
  EXPECT_TRUE(parse_number("1e99999999999999999999", value));
  EXPECT_EQ(value, INFINITY);
  EXPECT_TRUE(parse_number("-1e39", value));
  EXPECT_EQ(value, -INFINITY);
  EXPECT_TRUE(parse_number("1e-99", value));
  EXPECT_EQ(value, 0.0f);
}

}  // namespace
}  // namespace tessaron::testing
