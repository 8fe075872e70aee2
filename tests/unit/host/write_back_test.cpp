// The engine writes to the host: each kind, the inverse units, and what a changed control sets off.
#include <cmath>

#include "parameter_fixture.h"

namespace tessaron {
namespace {

using testing::fixed16;
using testing::report_capture;
using write_back = testing::parameter_test;

TEST(inverse_units, x_of_every_unit_and_y_from_unit_4_on_invert_the_table) {
  const unit_frame frames[] = {{720, 486, 1, 1, 1}, {960, 540, 0.5, 0.5, 1.46}, {101, 37, 1, 0.25, 0.9}};
  param p = {};
  p.ptype = PTYPE_FLOAT;
  p.normalize_scale = 2.5f;
  for (const unit_frame& f : frames)
    for (const int percent : {0, int(PARAM3_PERCENT)})
      for (int units = 0; units < 8; ++units)
        for (int channel = 0; channel < 2; ++channel) {
          if (channel == 1 && units >= 1 && units <= 3) continue;
          p.flags[2] = std::uint8_t(units);
          p.flags[3] = std::uint8_t(percent);
          for (const double v : {0.0, 1.5, -77.0, 600.0})
            EXPECT_NEAR(engine_to_host(p, channel, f, host_to_engine(p, channel, f, v)), v, 1e-9)
                << "units " << units << " channel " << channel;
        }
}

TEST(inverse_units, y_of_units_1_to_3_is_written_like_x) {
  const unit_frame f = {200, 100, 0.5, 0.25, 1};
  param p = {};
  p.ptype = PTYPE_FLOAT;
  p.flags[2] = UNITS_SCREEN;
  EXPECT_EQ(engine_to_host(p, 1, f, 30), 30);
  p.flags[2] = UNITS_SCREEN_CENTER;
  EXPECT_EQ(engine_to_host(p, 0, f, 30), 130);
  EXPECT_EQ(engine_to_host(p, 1, f, 30), 80);
  p.flags[2] = UNITS_SCREEN_CENTER0;
  EXPECT_EQ(engine_to_host(p, 0, f, 30), 60);
  EXPECT_EQ(engine_to_host(p, 1, f, 30), 120);
}

TEST_F(write_back, a_slider_is_rounded_and_marked_as_changed) {
  declare("a = [1 2] (min *)");
  const float values[] = {0.3f, 2.0f};
  EXPECT_EQ(set_param_value(engine(), 0, 2, values), 2);
  EXPECT_EQ(shown(1).u.slider.value, 19661);  // 19660.8 + 0.5
  EXPECT_EQ(shown(1).change_flags, 1u);
  EXPECT_EQ(shown(2).u.slider.value, fixed16(2));
  EXPECT_EQ(shown(2).change_flags, 0u) << "the same value is no change";
}

TEST_F(write_back, channels_beyond_the_parameter_are_cut_off) {
  declare("a = [1 2] (min *)");
  const float values[] = {5, 6, 7, 8};
  EXPECT_EQ(set_param_value(engine(), 2, 1, values), 0);
  EXPECT_EQ(set_param_value(engine(), -1, 1, values), 0);
  EXPECT_EQ(set_param_value(engine(), 1, 3, values), 1);
  EXPECT_EQ(shown(1).u.slider.value, fixed16(1));
  EXPECT_EQ(shown(2).u.slider.value, fixed16(5));
}

TEST_F(write_back, a_parameter_without_a_control_takes_nothing) {
  declare("a = 1 (min *)");
  engine().host_index = -100;
  const float value = 3;
  EXPECT_EQ(set_param_value(engine(), 0, 1, &value), 0);
}

TEST_F(write_back, a_colour_is_written_whole) {
  declare("tint = [1 0.5 0] (color)");
  const float values[] = {0, 1, 0.5f};
  EXPECT_EQ(set_param_value(engine(), 0, 3, values), 3);
  EXPECT_EQ(shown().u.color.value.red, 0);
  EXPECT_EQ(shown().u.color.value.green, 255);
  EXPECT_EQ(shown().u.color.value.blue, 127);
  EXPECT_EQ(shown().change_flags, 1u);
  report_capture reports;
  EXPECT_EQ(set_param_value(engine(), 1, 2, values), 0);
  EXPECT_EQ(reports.severity_of("Trying to set 2 channels of color tint starting with 1\n"), REPORT_ERROR);
}

TEST_F(write_back, toggles_popups_and_whole_numbers) {
  declare("on = 0 (boolean) mode = 0 (popup A B C) n = 0 (int min *)");
  const float third = 0.3f, two = 1.6f, minus = -2.4f;
  EXPECT_EQ(set_param_value(engine(0), 0, 1, &third), 1);
  EXPECT_EQ(shown(1).u.checkbox.value, 1);
  EXPECT_EQ(set_param_value(engine(1), 0, 1, &two), 1);
  EXPECT_EQ(shown(2).u.popup.value, 3);
  EXPECT_EQ(set_param_value(engine(2), 0, 1, &two), 1);
  EXPECT_EQ(shown(3).u.slider.value, fixed16(2));
  EXPECT_EQ(set_param_value(engine(2), 0, 1, &minus), 1);
  EXPECT_EQ(shown(3).u.slider.value, -65535) << "trunc(-1 * 65536 + 0.5), trunc(-2.4 + 0.5) being -1";
}

TEST_F(write_back, an_unknown_kind_is_reported) {
  declare("a = 1");
  engine().ptype = 12;
  const float value = 3;
  report_capture reports;
  EXPECT_EQ(set_param_value(engine(), 0, 1, &value), 0);
  EXPECT_EQ(reports.severity_of("Param a: unknown ptype 12\n"), REPORT_ERROR);
}

TEST_F(write_back, a_dial_adds_its_offset_as_it_is) {
  angle_dial_offset = 90;
  host_state.host_app = HOST_FUSION;
  declare("turn = 0 (angle)");
  const float value = 2;
  EXPECT_EQ(set_param_value(engine(), 0, 1, &value), 1);
  EXPECT_EQ(shown().u.angle.value, 90 - 131072);
}

TEST_F(write_back, a_point_is_written_in_pixels_from_the_top) {
  host.in_data.width = 200;
  host.in_data.height = 100;
  declare("at = [0 0] (screen)");
  const float values[] = {30, 20};
  EXPECT_EQ(set_param_value(engine(), 0, 2, values), 2);
  EXPECT_EQ(shown().u.point.x, fixed16(30));
  EXPECT_EQ(shown().u.point.y, fixed16(80));
  EXPECT_EQ(shown().change_flags, 1u);
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 30.0f);
  EXPECT_EQ(engine().value[1], 20.0f);
}

TEST_F(write_back, a_whole_number_point_leaves_the_other_axis_alone) {
  host.in_data.width = 200;
  host.in_data.height = 100;
  declare("at = [0 0] (screen int)");
  shown().u.point.x = fixed16(11);
  const float y = 20;
  EXPECT_EQ(set_param_value(engine(), 1, 1, &y), 1);
  EXPECT_EQ(shown().u.point.x, fixed16(11));
  EXPECT_EQ(shown().u.point.y, fixed16(80));
}

// --- changed parameters ------------------------------------------------------------------------------

float saved[4];
int saved_count;
int answer_saved_level(const node&, float (&values)[4]) {
  std::copy(std::begin(saved), std::end(saved), values);
  return saved_count;
}

struct changed_parameter : write_back {
  node button_node = {};
  void SetUp() override {
    write_back::SetUp();
    saved_level = answer_saved_level;
    saved_count = 0;
  }
  void TearDown() override {
    saved_level = nullptr;
    write_back::TearDown();
  }
  /// A button at index 1 and its target behind it, pressed.
  void press(const std::string& target, bool rendered) {
    declare("hold = 0 (set_hold_level ignore) " + target);
    engine(0).param_node = &button_node;
    if (rendered) record.host_flags |= HOST_RENDERED_ONCE;
    shown(1).u.checkbox.value = 1;
    on_user_changed_param(pointers.data(), 1);
  }
};

TEST_F(changed_parameter, an_index_of_no_parameter_only_clears_the_marks) {
  declare("a = 1 (min *)");
  shown(1).change_flags = 3;
  on_user_changed_param(pointers.data(), 7);
  EXPECT_EQ(shown(1).change_flags, 2u);
}

TEST_F(changed_parameter, the_saved_level_goes_to_the_target) {
  saved[0] = 0.25f;
  saved[1] = 0.5f;
  saved[2] = 0.75f;
  saved_count = 3;
  report_capture reports;
  press("level = [0 0 0] (hold_level ignore)", true);
  EXPECT_EQ(shown(2).u.slider.value, fixed16(0.25));
  EXPECT_EQ(shown(4).u.slider.value, fixed16(0.75));
  EXPECT_EQ(shown(1).u.checkbox.value, 0) << "the button springs back";
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST_F(changed_parameter, without_a_frame_there_is_no_level) {
  saved_count = 3;
  report_capture reports;
  press("level = [0 0 0] (hold_level ignore)", false);
  EXPECT_TRUE(reports.has("Set Hold Level: no saved level, first process a frame."));
  EXPECT_EQ(shown(1).u.checkbox.value, 0);
}

TEST_F(changed_parameter, a_level_of_another_count_does_not_fit) {
  saved_count = 1;
  report_capture reports;
  press("level = [0 0 0] (hold_level ignore)", true);
  EXPECT_TRUE(reports.has("Set Hold Level: no saved level, first process a frame."));
}

TEST_F(changed_parameter, a_button_without_a_target_is_reported) {
  saved_count = 3;
  report_capture reports;
  press("level = [0 0 0] (ignore)", true);
  EXPECT_EQ(reports.severity_of("set_hold_value_for_flicker: did not find hold_level node. \n"), REPORT_ERROR);
}

TEST_F(changed_parameter, a_button_that_is_off_does_nothing) {
  declare("hold = 0 (set_hold_level ignore)");
  report_capture reports;
  on_user_changed_param(pointers.data(), 1);
  EXPECT_TRUE(reports.empty());
}

TEST_F(changed_parameter, hidden_sliders_follow_their_dials) {
  config.use_dials_for_angles_ae = 1;
  host_state.host_app = HOST_AFTER_EFFECTS;
  host_state.interface_generation = 2;
  declare("turn = [10 20] (angle ignore)");
  shown(1).u.angle.value = fixed16(33);
  shown(2).u.angle.value = fixed16(-44.5);
  on_user_changed_param(pointers.data(), 1);
  EXPECT_EQ(shown(3).u.slider.value, fixed16(33));
  EXPECT_EQ(shown(4).u.slider.value, -2916351) << "-44.5 * 65536 is -2916352; one half more, truncated";
  EXPECT_EQ(shown(3).change_flags, 1u);
  EXPECT_EQ(shown(4).change_flags, 1u);
}

}  // namespace
}  // namespace tessaron
