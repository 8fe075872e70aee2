// What hosts are shown of parameters: names, kinds, limits, groups, identifiers.
#include "parameter_fixture.h"

namespace tessaron {
namespace {

using testing::fixed16;
using declaration = testing::parameter_test;

TEST_F(declaration, a_slider_without_limits_spans_5000_steps) {
  ASSERT_EQ(declare("a = 7 (min * step 1 ignore)"), 0);
  ASSERT_EQ(shown().param_type, PF_Param_FIX_SLIDER);
  // 50000 is more than 16.16 holds: the valid limits stop at the ends of the number.
  EXPECT_EQ(shown().u.slider.slider_min, fixed16(-5000));
  EXPECT_EQ(shown().u.slider.slider_max, fixed16(5000));
  EXPECT_EQ(shown().u.slider.valid_min, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(shown().u.slider.valid_max, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(shown().u.slider.value, fixed16(7));
  EXPECT_EQ(shown().u.slider.default_value, fixed16(7));
  EXPECT_EQ(shown().u.slider.precision, 2);
  EXPECT_EQ(shown().u.slider.display_flags, 0u);
}

TEST_F(declaration, a_slider_with_small_steps_has_valid_limits_of_50000_steps) {
  declare("a = 1 (min * step 0.125 ignore)");
  EXPECT_EQ(shown().u.slider.slider_min, fixed16(-625));
  EXPECT_EQ(shown().u.slider.slider_max, fixed16(625));
  EXPECT_EQ(shown().u.slider.valid_min, fixed16(-6250));
  EXPECT_EQ(shown().u.slider.valid_max, fixed16(6250));
}

TEST_F(declaration, valid_limits_reach_ten_times_the_slider) {
  declare("a = 1 (min * slider_range -200 300 step 0.001 ignore)");
  EXPECT_EQ(shown().u.slider.slider_min, fixed16(-200));
  EXPECT_EQ(shown().u.slider.valid_max, fixed16(3000));
  // slider_range sets no minimum below what the bound says: * stands, so ten times the slider's end.
  EXPECT_EQ(shown().u.slider.valid_min, fixed16(-2000));
}

TEST_F(declaration, an_unset_maximum_of_a_short_slider_is_ten_times_it) {
  declare("a = 1 (min 0 slider_max 1 step 0.001 ignore)");
  EXPECT_EQ(shown().u.slider.valid_min, 0);
  EXPECT_EQ(shown().u.slider.valid_max, fixed16(10)) << "a span of 10 is not above 10.5";
  EXPECT_EQ(shown().u.slider.precision, 3);
}

TEST_F(declaration, precision_follows_the_valid_span) {
  declare(
      "a = 0 (min 0 max 1 ignore) b = 0 (min 0 max 100 ignore) c = 0 (min 0 max 10 ignore) d = 3 (int max 10 ignore)");
  EXPECT_EQ(shown(1).u.slider.precision, 4);
  EXPECT_EQ(shown(2).u.slider.precision, 2);
  EXPECT_EQ(shown(3).u.slider.precision, 3);
  EXPECT_EQ(shown(4).u.slider.precision, 0);
}

TEST_F(declaration, granularity_of_a_span_turned_over_is_printed_and_taken_by_magnitude) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(calc_slider_granularity(5, 0), 3);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "*** calc_slider_granularity: min 5 > max 0 \n");
  EXPECT_EQ(calc_slider_granularity(0, 10), 3);
  EXPECT_EQ(calc_slider_granularity(0, 10.5f), 2);
  EXPECT_EQ(calc_slider_granularity(0, 1), 4);
}

TEST_F(declaration, values_are_truncated_towards_zero) {
  declare("a = 0.1 (ignore) b = -0.1 (min -1 ignore)");
  // 0.1 in single precision times 65536 is 6553.6.
  EXPECT_EQ(shown(1).u.slider.value, 6553);
  EXPECT_EQ(shown(2).u.slider.value, -6553);
}

TEST_F(declaration, percent_is_shown_everywhere_but_in_combustion) {
  declare("a = 50 (percent ignore)");
  EXPECT_EQ(shown().u.slider.display_flags, std::uint32_t(PF_Display_PERCENT));
  EXPECT_EQ(shown().u.slider.value, fixed16(50));
  host_state.host_app = HOST_COMBUSTION;
  declare("a = 50 (percent ignore)");
  EXPECT_EQ(shown().u.slider.display_flags, 0u);
}

TEST_F(declaration, hosts_with_one_range_take_the_big_slider) {
  for (const int app : {HOST_FINAL_CUT, HOST_QUANTEL, HOST_LIBERTY}) {
    host_state.host_app = app;
    declare("a = 1 (min 0 max 20 slider_max 5 big_slider_range -8 50 ignore)");
    EXPECT_EQ(shown().u.slider.slider_min, fixed16(-8)) << app;
    EXPECT_EQ(shown().u.slider.slider_max, fixed16(50)) << app;
    EXPECT_EQ(shown().u.slider.valid_min, fixed16(-8)) << app;
    EXPECT_EQ(shown().u.slider.valid_max, fixed16(50)) << app;
  }
  host_state.host_app = HOST_UNKNOWN;
  declare("a = 1 (min 0 max 20 slider_max 5 big_slider_range -8 50 ignore)");
  EXPECT_EQ(shown().u.slider.slider_max, fixed16(5));
  EXPECT_EQ(shown().u.slider.valid_max, fixed16(20));
}

TEST_F(declaration, a_big_slider_of_500_is_doubled_in_units_5) {
  host_state.host_app = HOST_FINAL_CUT;
  declare("a = 1 (normalize_scale 1 min * slider_range -10 10 big_slider_range -500 500 ignore)");
  EXPECT_EQ(shown().u.slider.slider_min, fixed16(-1000));
  EXPECT_EQ(shown().u.slider.slider_max, fixed16(1000));
  declare("a = 1 (normalize_scale 1 min * slider_range -10 10 big_slider_range -400 499 ignore)");
  EXPECT_EQ(shown().u.slider.slider_min, fixed16(-400));
  EXPECT_EQ(shown().u.slider.slider_max, fixed16(499));
}

TEST_F(declaration, a_vector_has_a_slider_for_each_channel) {
  declare("edge_size = [1 2 3] (ignore)");
  ASSERT_EQ(host.params.size(), 4u);
  EXPECT_STREQ(shown(1).name, "Edge Size X");
  EXPECT_STREQ(shown(2).name, "Edge Size Y");
  EXPECT_STREQ(shown(3).name, "Edge Size Z");
  EXPECT_EQ(shown(3).u.slider.value, fixed16(3));
  EXPECT_EQ(engine().host_index, 1);
  EXPECT_EQ(engine().host_id, 1);
  EXPECT_EQ(shown(3).id, 3);
  EXPECT_EQ(next_index, 4);
  EXPECT_EQ(next_id, 4);
}

TEST_F(declaration, a_colour_of_1_is_byte_255) {
  declare("tint = [1 0.5 0] (color ignore)");
  ASSERT_EQ(host.params.size(), 2u);
  EXPECT_EQ(shown().param_type, PF_Param_COLOR);
  EXPECT_STREQ(shown().name, "Tint");
  const pf_color& c = shown().u.color.value;
  EXPECT_EQ(c.alpha, 255);
  EXPECT_EQ(c.red, 255);    // 255.99
  EXPECT_EQ(c.green, 127);  // 127.995
  EXPECT_EQ(c.blue, 0);
  EXPECT_EQ(shown().u.color.default_value.red, 255);
  EXPECT_EQ(next_id, 4) << "identifiers go by channels, indices by controls";
  EXPECT_EQ(next_index, 2);
}

TEST_F(declaration, colours_beyond_the_byte_stop_at_its_ends) {
  declare("tint = [2 -1 0.25] (color ignore)");
  EXPECT_EQ(shown().u.color.value.red, 255);
  EXPECT_EQ(shown().u.color.value.green, 0);
  EXPECT_EQ(shown().u.color.value.blue, 63);  // 63.9975
}

TEST_F(declaration, toggles_and_buttons_are_checkboxes) {
  declare("on = 1 (boolean ignore) off = 0.9 (boolean ignore)");
  EXPECT_EQ(shown(1).param_type, PF_Param_CHECKBOX);
  EXPECT_EQ(shown(1).u.checkbox.value, 1);
  EXPECT_EQ(shown(2).u.checkbox.value, 0);
  EXPECT_STREQ(shown(1).u.checkbox.label, "");
}

TEST_F(declaration, the_hold_level_button_is_marked_where_buttons_need_it) {
  const struct {
    int app;
    std::uint32_t flags;
  } ROWS[] = {{HOST_UNKNOWN, 0x46}, {HOST_COMBUSTION, 0x46}, {HOST_AFTER_EFFECTS, 0}, {HOST_PIE_FX, 0}};
  for (const auto& row : ROWS) {
    host_state.host_app = row.app;
    declare("hold = 0 (set_hold_level ignore)");
    EXPECT_EQ(shown().param_type, PF_Param_CHECKBOX);
    EXPECT_EQ(shown().flags, row.flags) << row.app;
  }
}

TEST_F(declaration, final_cut_hides_the_hold_level_button) {
  host_state.host_app = HOST_FINAL_CUT;
  declare("hold = 0 (set_hold_level ignore) b = 1 (ignore)");
  EXPECT_EQ(engine(0).host_index, -100);
  EXPECT_EQ(engine(0).host_id, -101);
  EXPECT_EQ(engine(1).host_index, 1);
}

TEST_F(declaration, border_switches_are_hidden_in_final_cut_and_digital_fusion) {
  for (const int app : {HOST_FINAL_CUT, HOST_FUSION}) {
    host_state.host_app = app;
    declare("soft_borders = 1 (ignore) expand_borders = 1 (ignore) b = 1 (ignore)");
    EXPECT_EQ(host.params.size(), 2u);
    EXPECT_EQ(engine(0).host_index, -100);
    EXPECT_EQ(engine(1).host_id, -100);
    EXPECT_EQ(engine(2).host_index, 1);
    EXPECT_EQ(engine(2).host_id, 1);
  }
  host_state.host_app = HOST_UNKNOWN;
  declare("soft_borders = 1 (ignore)");
  EXPECT_EQ(engine(0).host_index, 1);
}

TEST_F(declaration, a_popup_lists_its_entries) {
  declare("mode = 1 (popup Fast Best \"Very best\" ignore_me) b = 2");
  EXPECT_EQ(shown(1).param_type, PF_Param_POPUP);
  EXPECT_EQ(host.popup_texts.back().empty(), true);
  EXPECT_EQ(host.popup_texts[host.popup_texts.size() - 2], "Fast|Best|Very best|ignore me");
  EXPECT_EQ(shown(1).u.popup.n_choices, 4);
  EXPECT_EQ(shown(1).u.popup.default_value, 2) << "the host counts from 1";
}

TEST_F(declaration, a_vector_of_popups_is_one_control_for_each_channel) {
  declare("mode = [0 1] (popup A B)");
  ASSERT_EQ(host.params.size(), 3u);
  EXPECT_EQ(host.popup_texts[host.popup_texts.size() - 2], "A X|B X");
  EXPECT_EQ(host.popup_texts.back(), "A Y|B Y");
  EXPECT_EQ(shown(1).u.popup.default_value, 1);
  EXPECT_EQ(shown(2).u.popup.default_value, 2);
}

TEST_F(declaration, points_are_percent_of_720_by_486) {
  declare("a = [180 121.5] (screen ignore) b = [0 0] (screen_center ignore) c = [36 -48.6] (screen_center ignore)");
  EXPECT_EQ(shown(1).param_type, PF_Param_POINT);
  EXPECT_STREQ(shown(1).name, "A XY");
  EXPECT_EQ(shown(1).u.point.x, 25 * 65536);
  EXPECT_EQ(shown(1).u.point.y, 75 * 65536);
  EXPECT_EQ(shown(2).u.point.x, 50 * 65536);
  EXPECT_EQ(shown(2).u.point.y, 50 * 65536);
  EXPECT_EQ(shown(3).u.point.x, 55 * 65536);
  EXPECT_EQ(shown(3).u.point.y, 60 * 65536);
  EXPECT_EQ(shown(3).u.point.default_y, 60 * 65536);
  EXPECT_EQ(next_index, 4);
  EXPECT_EQ(next_id, 7);
}

TEST_F(declaration, other_units_are_sliders) {
  declare("a = [1 2] (screen_center0 ignore) b = [1 2] (screen_to_norm ignore) c = 3 (normalize_scale 2 ignore)");
  for (int i = 1; i <= 5; ++i) EXPECT_EQ(shown(i).param_type, PF_Param_FIX_SLIDER);
  EXPECT_STREQ(shown(1).name, "A X");
  EXPECT_STREQ(shown(3).name, "B");
}

TEST_F(declaration, dials_stand_for_angles_where_the_configuration_wants_them) {
  config.use_dials_for_angles_ae = 1;
  host_state.host_app = HOST_PIE_FX;
  declare("turn = 30 (angle ignore) slide = 10 (angle_no_dial ignore)");
  EXPECT_EQ(shown(1).param_type, PF_Param_ANGLE);
  EXPECT_EQ(shown(1).flags, 0x20u);
  EXPECT_EQ(shown(1).u.angle.value, fixed16(30));
  EXPECT_EQ(shown(2).param_type, PF_Param_FIX_SLIDER);
  config.use_dials_for_angles_ae = 0;
  declare("turn = 30 (angle ignore)");
  EXPECT_EQ(shown(1).param_type, PF_Param_FIX_SLIDER);
}

TEST_F(declaration, dials_of_digital_fusion_start_at_90_degrees) {
  angle_dial_offset = 90;
  host_state.host_app = HOST_FUSION;
  declare("turn = 0.25 (angle ignore)");
  EXPECT_EQ(shown(1).param_type, PF_Param_ANGLE);
  EXPECT_EQ(shown(1).u.angle.value, 5914624);  // 90.25 * 65536
  EXPECT_EQ(host_state.pixel_scale, -1);
  EXPECT_EQ(host_state.angle_sign, 1);
}

TEST_F(declaration, the_second_generation_hides_sliders_behind_dials) {
  config.use_dials_for_angles_ae = 1;
  host_state.host_app = HOST_AFTER_EFFECTS;
  host_state.interface_generation = 2;
  declare("turn = [30 60] (angle ignore) b = 1 (ignore)");
  ASSERT_EQ(host.params.size(), 6u);
  EXPECT_EQ(shown(1).param_type, PF_Param_ANGLE);
  EXPECT_EQ(shown(2).param_type, PF_Param_ANGLE);
  EXPECT_EQ(shown(3).param_type, PF_Param_FIX_SLIDER);
  EXPECT_EQ(shown(3).ui_flags, 0x8u);
  EXPECT_EQ(shown(3).id, 251);
  EXPECT_EQ(shown(4).id, 252);
  EXPECT_EQ(shown(4).u.slider.value, fixed16(60));
  EXPECT_EQ(engine(1).host_index, 5);
  EXPECT_EQ(engine(1).host_id, 3);
}

TEST_F(declaration, dials_by_host) {
  config.use_dials_for_angles_ae = config.use_dials_for_angles_fcp = config.use_dials_for_angles_df = 1;
  const struct {
    int app;
    bool dials;
  } ROWS[] = {{HOST_AFTER_EFFECTS, true}, {HOST_COMBUSTION, false}, {HOST_FINAL_CUT, true}, {HOST_PREMIERE, false},
              {HOST_FUSION, true},        {HOST_PIE_FX, true},      {HOST_UNKNOWN, false}};
  for (const auto& row : ROWS) {
    host_state = {};
    host_state.host_app = row.app;
    set_host_wide_values();
    EXPECT_EQ(host_state.use_dials, row.dials) << row.app;
    EXPECT_EQ(host_state.hidden_id_base, 0) << row.app;
  }
}

TEST_F(declaration, groups_open_and_close_in_hosts_that_have_them) {
  const char* text =
      "a = 1 (page \"My page\" group_start One ignore) b = 2 (group_end One ignore) "
      "c = 3 (group_start_open Two group_end Two ignore)";
  host_state.host_app = HOST_AFTER_EFFECTS;
  declare(text);
  ASSERT_EQ(host.params.size(), 8u);
  EXPECT_EQ(shown(1).param_type, PF_Param_GROUP_START);
  EXPECT_STREQ(shown(1).name, "My Page");
  EXPECT_EQ(shown(1).id, 251);
  EXPECT_EQ(shown(1).flags, 0x20u);
  EXPECT_EQ(engine(0).host_index, 2);
  EXPECT_EQ(shown(4).param_type, PF_Param_GROUP_END);
  EXPECT_EQ(shown(4).id, 254);
  EXPECT_EQ(shown(5).param_type, PF_Param_GROUP_START);
  EXPECT_EQ(shown(5).flags, 0u);
  EXPECT_EQ(shown(7).param_type, PF_Param_GROUP_END);
  EXPECT_EQ(next_index, 8);
  host_state.host_app = HOST_UNKNOWN;
  declare(text);
  EXPECT_EQ(host.params.size(), 4u);
}

TEST_F(declaration, identifiers_are_given_relative_or_kept) {
  declare("a = 1 (ignore) b = 2 (id 20 ignore) c = 3 (id +5 ignore) d = 4 (id_insert 40 ignore) e = 5 (ignore)");
  EXPECT_EQ(engine(0).host_id, 1);
  EXPECT_EQ(engine(1).host_id, 20);
  EXPECT_EQ(engine(2).host_id, 5 + 3);
  EXPECT_EQ(engine(3).host_id, 40);
  EXPECT_EQ(engine(4).host_id, 4) << "an inserted parameter leaves the count alone";
  EXPECT_EQ(engine(4).host_index, 5);
}

TEST_F(declaration, host_bits_reach_the_first_control_only) {
  declare("a = [1 2] (ignore)");
  engine().flags[4] |= PARAM4_COLLAPSE_TWIRL | PARAM4_KEYFRAME_HOLD;
  const auto again = [&](int app) {
    host_state.host_app = app;
    host.params.clear();
    int index = 1, id = 1;
    declare_params(host.in_data, index, id);
  };
  again(HOST_COMBUSTION);
  EXPECT_EQ(shown(1).ui_flags, 0x100000u);
  EXPECT_EQ(shown(1).flags, 0u);
  EXPECT_EQ(shown(2).ui_flags, 0u);
  again(HOST_AFTER_EFFECTS);
  EXPECT_EQ(shown(1).flags, 0x10u);
  EXPECT_EQ(shown(1).ui_flags, 0u);
  EXPECT_EQ(shown(2).flags, 0u);
}

TEST_F(declaration, an_unknown_kind_is_refused) {
  declare("a = 1 (ignore)");
  engine().ptype = 9;
  host.params.clear();
  int index = 1, id = 1;
  testing::report_capture reports;
  EXPECT_NE(declare_params(host.in_data, index, id), 0);
  EXPECT_TRUE(reports.has("Param a: unknown ptype 9\n"));
}

TEST_F(declaration, names_of_positions) {
  param p = {};
  char name[40] = "center";
  p.name = name;
  p.nchannels = p.n_shown = 2;
  p.flags[2] = UNITS_SCREEN_CENTER;
  EXPECT_EQ(host_param_name(p, -1), "Center XY");
  EXPECT_EQ(host_param_name(p, 0), "Center XY");
  std::snprintf(name, sizeof name, "center_abc");  // 10 characters
  EXPECT_EQ(host_param_name(p, -1), "Center Abc XY");
  std::snprintf(name, sizeof name, "center_abcd");  // 11
  EXPECT_EQ(host_param_name(p, -1), "Center Abcd");
  p.flags[2] = UNITS_NONE;
  EXPECT_EQ(host_param_name(p, 1), "Center Abcd Y");
  EXPECT_EQ(host_param_name(p, -1), "Center Abcd");
  p.n_shown = 1;
  EXPECT_EQ(host_param_name(p, 1), "Center Abcd");
}

TEST_F(declaration, the_name_filter) {
  EXPECT_EQ(shown_name("blur_amount"), "Blur Amount");
  EXPECT_EQ(shown_name("a__b c"), "A B C");
  EXPECT_EQ(shown_name("trailing_ "), "Trailing");
  EXPECT_EQ(shown_name("tab\tand\x01more"), "Tabandmore");
  EXPECT_EQ(shown_name("3d_x2"), "3d X2");
  EXPECT_EQ(shown_name(""), "");
}

}  // namespace
}  // namespace tessaron
