// Widgets of base type "center".
#include "unit/widgets/widget_kit.h"

namespace tessaron::testing {
namespace {

TEST(CenterWidget, HandleLiesWhereThePointIs) {
  widget_host host("(define E () Spot = [360 121.5] (screen widget cross.center) dest = (v3 (element_of Spot 0) 0 0))");
  const shown_handle& h = host.handle("center");
  EXPECT_EQ(h.type_name, "cross");
  EXPECT_EQ(h.base_type, "center");
  EXPECT_EQ(h.name, "center");
  // Half of 640 columns; a quarter of 486 from below is three quarters of 360 from above.
  EXPECT_NEAR(h.x, 320, 0.01);
  EXPECT_NEAR(h.y, 270, 0.01);
}

TEST(CenterWidget, FollowsTheMouseInEveryUnit) {
  for (const char* units : {"screen", "screen_center", "screen_center0", "normalize", "normalize_scale 0.5",
                            "screen_to_norm", "screen_center_to_norm", "min -10"}) {
    SCOPED_TRACE(units);
    check_handles_follow(std::string("(define E () Spot = [0.1 0.2] (") + units +
                             " min -100000 widget cross_circle.center) dest = (v3 (element_of Spot 0) 0 0))",
                         {{"center", 57, -31}});
  }
}

TEST(CenterWidget, OffsetCountsFromTheCenterAndTurnsWithNegate) {
  const std::string parts =
      "(define E () Spot = [360 243] (screen widget cross_circle_offset_frac.center)"
      " Shift = [0.25 0.125] (min -1 widget cross_circle_offset_frac.offset)"
      " Back = 0 (boolean widget cross_circle_offset_frac.negate) dest = (* (v2 Back 0) (+ Spot Shift)))";
  widget_host host(parts);
  // A quarter of 640 to the right, an eighth of 360 upwards.
  EXPECT_NEAR(host.handle("offset").x, 480, 0.01);
  EXPECT_NEAR(host.handle("offset").y, 135, 0.01);
  host.control("Back").u.checkbox.value = 1;
  EXPECT_NEAR(host.handle("offset").x, 160, 0.01);
  EXPECT_NEAR(host.handle("offset").y, 225, 0.01);
  check_handles_follow(parts, {{"center", -40, 22}, {"offset", 33, 44}});
}

}  // namespace
}  // namespace tessaron::testing
