// The places of a drag, and the picture from before it.
#include <gtest/gtest.h>

#include "console/errors.h"
#include "console/widgets_command.h"

namespace tessaron::console {
namespace {

TEST(WidgetsOptions, a_drag_is_two_places_or_more) {
  const auto two = parse_drag("10,20:30.5,-4");
  ASSERT_EQ(two.size(), 2u);
  EXPECT_EQ(two[0].x, 10);
  EXPECT_EQ(two[0].y, 20);
  EXPECT_EQ(two[1].x, 30.5);
  EXPECT_EQ(two[1].y, -4);
  EXPECT_EQ(parse_drag("0,0:1,1:2,2:3,3").size(), 4u);
}

TEST(WidgetsOptions, anything_else_is_no_drag) {
  for (const char* text : {"", "1,2", "1,2:", ":1,2", "1,2:3", "1;2:3,4", "1,2:3,4:", "1,2:3,4 ", "a,2:3,4",
                           "1,2:nan,4", "1,2:3,inf", "1,2,3:4,5", "1, 2:3,4", "1,2:1e7,4", "1e300,2:3,4"})
    EXPECT_THROW(parse_drag(text), command_line_error) << text;
}

TEST(WidgetsOptions, the_picture_from_before_stands_beside_the_other) {
  EXPECT_EQ(before_name("shot.png"), "shot.before.png");
  EXPECT_EQ(before_name("/a/b.c/shot.0001.exr"), "/a/b.c/shot.0001.before.exr");
}

}  // namespace
}  // namespace tessaron::console
