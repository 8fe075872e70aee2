// Writing so that a fetch reads what is wanted, whatever the two forms of a unit make of it.
#include <cmath>

#include "host/display_globals.h"
#include "parameter_fixture.h"

namespace tessaron {
namespace {

using testing::fixed16;
using fetched_value = testing::parameter_test;

/// Writes, fetches as the next call would, and gives what was read.
double written_and_fetched(param& p, int channel, double value) {
  EXPECT_TRUE(set_fetched_value(p, channel, value));
  ++host_state.call_stamp;
  fetch_param(p);
  return double(p.value[channel]);
}

TEST_F(fetched_value, every_unit_of_points_and_sliders_reads_what_was_written) {
  for (const int downsample : {1, 2, 3})
    for (const float aspect : {1.0f, 1.46f})
      for (const char* units : {"", "screen", "screen_center", "screen_center0", "normalize", "normalize_scale 0.25",
                                "screen_to_norm", "screen_center_to_norm", "percent"}) {
        SCOPED_TRACE(::testing::Message() << units << " at 1/" << downsample << ", aspect " << aspect);
        declare(std::string("a = [1 2] (") + units + " min -100000 max 100000)");
        host.in_data.downsample_x = host.in_data.downsample_y = {1, downsample};
        set_pixel_aspect_ratio(aspect);
        for (const double value : {0.0, 0.37, -1.25})
          for (const int channel : {0, 1}) EXPECT_NEAR(written_and_fetched(engine(), channel, value), value, 4e-5);
      }
}

TEST_F(fetched_value, angles_are_read_back_on_sliders_and_dials) {
  for (const bool dials : {false, true})
    for (const int app : {int(HOST_AFTER_EFFECTS), int(HOST_FUSION)}) {
      host_state.host_app = app;
      host_state.pixel_scale = app == HOST_FUSION ? -1 : 1;
      host_state.angle_sign = app == HOST_FUSION ? 1 : -1;
      config.use_dials_for_angles_ae = config.use_dials_for_angles_df = dials;
      angle_dial_offset = app == HOST_FUSION ? 90 : 0;
      SCOPED_TRACE(::testing::Message() << "dials " << dials << ", host " << app);
      declare("a = 30 (angle)");
      for (const double value : {-400.5, 0.0, 45.25, 359.0})
        EXPECT_NEAR(written_and_fetched(engine(), 0, value), value, 1e-3);
    }
}

TEST_F(fetched_value, whole_numbers_are_rounded_on_both_sides_of_zero) {
  declare("a = 3 (int min -50 max 50)");
  for (const auto& [value, read] : {std::pair{2.4, 2.0}, {2.6, 3.0}, {-2.4, -2.0}, {-2.6, -3.0}, {-7.0, -7.0}})
    EXPECT_EQ(written_and_fetched(engine(), 0, value), read) << value;
}

TEST_F(fetched_value, sliders_stop_at_the_limits) {
  declare("a = 3 (min -2 max 8)");
  EXPECT_EQ(written_and_fetched(engine(), 0, 100), 8);
  EXPECT_EQ(written_and_fetched(engine(), 0, -100), -2);
  declare("a = 30 (percent)");
  EXPECT_EQ(written_and_fetched(engine(), 0, 3), 1);  // 100 percent
}

TEST_F(fetched_value, points_may_lie_outside_the_frame) {
  declare("a = [1 2] (screen min 0 max 100)");
  EXPECT_NEAR(written_and_fetched(engine(), 0, -5000), -5000, 1e-3);
}

TEST_F(fetched_value, popups_and_toggles_take_whole_numbers) {
  declare("a = 1 (popup One Two Three)");
  EXPECT_EQ(written_and_fetched(engine(), 0, 2), 2);
  EXPECT_EQ(written_and_fetched(engine(), 0, 700), 2);  // the last entry
  EXPECT_EQ(written_and_fetched(engine(), 0, -3), 0);
  declare("a = 1 (boolean)");
  EXPECT_EQ(written_and_fetched(engine(), 0, 0), 0);
}

TEST_F(fetched_value, nothing_is_written_where_no_control_takes_it) {
  declare("a = [1 2] (min -9)");
  EXPECT_FALSE(set_fetched_value(engine(), 2, 1));
  EXPECT_FALSE(set_fetched_value(engine(), 0, std::nan("")));
  EXPECT_FALSE(set_fetched_value(engine(), 0, INFINITY));
  engine().host_index = NOT_SHOWN;
  EXPECT_FALSE(set_fetched_value(engine(), 0, 1));
  declare("a = [1 0 0] (color)");
  EXPECT_FALSE(set_fetched_value(engine(), 0, 0.5));
  EXPECT_EQ(shown().u.color.value.red, 255);
}

}  // namespace
}  // namespace tessaron
