// Values from the host: each kind and unit, at several frames, against the rules written out plainly.
#include <cmath>
#include <limits>

#include "parameter_fixture.h"

namespace tessaron {
namespace {

using testing::fixed16;
using fetch = testing::parameter_test;

struct frame_case {
  double W, H, dsx, dsy, par;
};
constexpr frame_case FRAMES[] = {
    {720, 486, 1, 1, 1},       {1920, 1080, 1, 1, 1},   {960, 540, 0.5, 0.5, 1},
    {960, 1080, 0.5, 1, 1.46}, {101, 37, 1, 0.25, 0.9}, {1, 1, 1, 1, 1.2},
};
constexpr double VALUES[] = {0, 1, -1, 0.5, 123.25, -77.125, 1000, 32000};

/// The unit table for sliders, one line for each cell.
double slider_rule(int units, int channel, const frame_case& f, double scale, double v) {
  const double W = f.W, H = f.H, r = (H * f.dsy) / (W * f.dsx) * f.par;
  if (channel != 1) {
    const double x[8] = {
        v, v, v - W / 2, v * f.dsx, (2 / W) * (v - W / 2), v * (2 / W) * scale, (v / W) * 2 - 1, v / (W / 2)};
    return x[units];
  }
  const double y[8] = {v,
                       H - v,
                       -v - H / 2,
                       -v * f.dsy,
                       f.par * (-v - H / 2) * (2 / W),
                       -(v * (2 / W) * scale) * (f.par * f.dsy / f.dsx),
                       r * 2 * (v / H) - r,
                       r * (v / (H / 2))};
  return y[units];
}

/// The point rule; y is the distance from the bottom.
double point_rule(int units, int channel, const frame_case& f, double scale, double v) {
  if (channel != 1) return slider_rule(units, 0, f, scale, v);
  const double W = f.W, H = f.H, r = (H * f.dsy) / (W * f.dsx) * f.par;
  const double y[8] = {v,
                       v,
                       v - W / 2,
                       v * f.dsy,
                       f.par * (v - W / 2) * (2 / W),
                       -(f.dsy * f.par / f.dsx) * (2 / W) * scale * v,
                       (v / H) * 2 * r - r,
                       r * v / (W / 2)};
  return y[units];
}

TEST(units, sliders_follow_the_table) {
  param p = {};
  p.ptype = PTYPE_FLOAT;
  p.normalize_scale = 2.5f;
  for (const frame_case& f : FRAMES)
    for (int units = 0; units < 8; ++units)
      for (int channel = 0; channel < 4; ++channel)
        for (const double v : VALUES) {
          p.flags[2] = std::uint8_t(units);
          EXPECT_DOUBLE_EQ(host_to_engine(p, channel, {f.W, f.H, f.dsx, f.dsy, f.par}, v),
                           slider_rule(units, channel, f, 2.5, v))
              << "units " << units << " channel " << channel << " value " << v << " width " << f.W;
        }
}

TEST(units, points_follow_their_own_table) {
  param p = {};
  p.ptype = PTYPE_FLOAT;
  p.normalize_scale = 2.5f;
  for (const frame_case& f : FRAMES)
    for (int units = 0; units < 8; ++units)
      for (int channel = 0; channel < 2; ++channel)
        for (const double v : VALUES) {
          p.flags[2] = std::uint8_t(units);
          EXPECT_DOUBLE_EQ(point_to_engine(p, channel, {f.W, f.H, f.dsx, f.dsy, f.par}, v),
                           point_rule(units, channel, f, 2.5, v))
              << "units " << units << " channel " << channel << " value " << v << " width " << f.W;
        }
}

TEST(units, percent_divides_by_100_and_whole_numbers_are_rounded_last) {
  param p = {};
  p.ptype = PTYPE_FLOAT;
  p.flags[3] = PARAM3_PERCENT;
  const unit_frame f = {100, 100, 1, 1, 1};
  EXPECT_DOUBLE_EQ(host_to_engine(p, 0, f, 25), 0.25);
  p.ptype = PTYPE_INT;
  EXPECT_DOUBLE_EQ(host_to_engine(p, 0, f, 250), 3.0);
  EXPECT_DOUBLE_EQ(host_to_engine(p, 0, f, -250), -2.0);
  p.flags[3] = 0;
  EXPECT_DOUBLE_EQ(host_to_engine(p, 0, f, 2.4999), 2.0);
  EXPECT_DOUBLE_EQ(host_to_engine(p, 0, f, -2.6), -3.0);
}

TEST(units, numbers_beyond_the_range_stop_at_its_ends) {
  EXPECT_EQ(int_trunc(1e20), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(int_trunc(-1e20), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(int_trunc(std::nan("")), 0);
  EXPECT_EQ(int_trunc(-1.9), -1);
  EXPECT_EQ(fixed16_trunc(40000), std::numeric_limits<std::int32_t>::max());
}

TEST_F(fetch, the_frame_is_the_hosts_until_parameters_may_be_checked_out) {
  host.in_data.width = 1001;
  host.in_data.height = 3;
  host.in_data.downsample_x = {1, 2};
  host.in_data.downsample_y = {1, 8};
  display_dims.pixel_aspect = 1.5f;
  unit_frame f = current_unit_frame();
  EXPECT_EQ(f.width, 1001);
  EXPECT_EQ(f.height, 3);
  EXPECT_EQ(f.dsx, 0.5);
  EXPECT_EQ(f.dsy, 0.125);
  EXPECT_EQ(f.par, 1.5);
  record.param_flags |= PARAM_MAY_CHECKOUT;
  f = current_unit_frame();
  EXPECT_EQ(f.width, 501) << "500.5 rounds up";
  EXPECT_EQ(f.height, 1) << "the floor";
}

TEST_F(fetch, ratios_that_are_nothing_read_as_1) {
  host.in_data.downsample_x = {0, 5};
  host.in_data.downsample_y = {1, 10000};
  display_dims.pixel_aspect = 0.0001f;
  const unit_frame f = current_unit_frame();
  EXPECT_EQ(f.dsx, 1);
  EXPECT_EQ(f.dsy, 1);
  EXPECT_EQ(f.par, 1) << "0.0001 in single precision is a trifle below";
  host.in_data.downsample_x = {3, 0};
  EXPECT_EQ(current_unit_frame().dsx, 3) << "a denominator of 0 counts as the numerator alone";
}

TEST_F(fetch, without_a_host_the_reference_frame_stands) {
  record.in_data = nullptr;
  const unit_frame f = current_unit_frame();
  EXPECT_EQ(f.width, 720);
  EXPECT_EQ(f.height, 486);
  EXPECT_EQ(f.dsx, 1);
  EXPECT_EQ(f.par, 1);
}

TEST_F(fetch, a_slider_is_read_into_value_and_node) {
  declare("a = [0.5 2] (min * )");
  record.genotypes[0]->params[0]->param_node = nullptr;
  node n = {};
  engine().param_node = &n;
  shown(1).u.slider.value = fixed16(0.75);
  shown(2).u.slider.value = fixed16(-3);
  host_state.call_stamp = 9;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 0.75f);
  EXPECT_EQ(engine().value[1], -3.0f);
  EXPECT_EQ(engine().stamp, 9u);
  EXPECT_EQ(n.const_vals[0], 3072);
  EXPECT_EQ(n.const_vals[1], -12288);
  EXPECT_EQ(n.const_vals[3], -12288) << "the last element is repeated";
}

TEST_F(fetch, one_host_call_reads_each_parameter_once) {
  declare("a = 1 (min * )");
  host_state.call_stamp = 5;
  refresh_params(*record.genotypes[0]);
  shown().u.slider.value = fixed16(8);
  refresh_params(*record.genotypes[0]);
  EXPECT_EQ(engine().value[0], 1.0f);
  host_state.call_stamp = 6;
  refresh_params(*record.genotypes[0]);
  EXPECT_EQ(engine().value[0], 8.0f);
}

TEST_F(fetch, nothing_happens_without_params_or_a_control) {
  declare("a = 1 (min * )");
  engine().value[0] = 5;
  record.params = nullptr;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 5.0f);
  point_at_params();
  engine().host_index = -100;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 5.0f);
  engine().host_index = 0;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 5.0f) << "index 0 is the layer";
  engine().host_index = 30;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 5.0f) << "the host has no such parameter";
}

TEST_F(fetch, a_colour_is_bytes_over_255) {
  declare("tint = [1 0.5 0] (color)");
  shown().u.color.value = {0, 51, 102, 255};
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], float(51 / 255.0));
  EXPECT_EQ(engine().value[1], float(102 / 255.0));
  EXPECT_EQ(engine().value[2], 1.0f);
}

TEST_F(fetch, a_popups_first_entry_is_0) {
  declare("mode = 1 (popup A B C)");
  const struct {
    int host;
    float engine;
  } ROWS[] = {{1, 0}, {2, 1}, {3, 2}, {0, 0}, {-7, 0}};
  for (const auto& row : ROWS) {
    shown().u.popup.value = row.host;
    fetch_param(engine());
    EXPECT_EQ(engine().value[0], row.engine) << row.host;
  }
}

TEST_F(fetch, a_toggle_is_its_number) {
  declare("on = 1 (boolean)");
  shown().u.checkbox.value = 0;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 0.0f);
  shown().u.checkbox.value = 1;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 1.0f);
}

TEST_F(fetch, dials_turn_against_the_engines_angles) {
  config.use_dials_for_angles_ae = 1;
  host_state.host_app = HOST_PIE_FX;
  declare("turn = 30 (angle)");
  shown().u.angle.value = fixed16(45.5);
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], -45.5f);
}

TEST_F(fetch, dials_of_digital_fusion) {
  angle_dial_offset = 90;
  host_state.host_app = HOST_FUSION;
  declare("turn = 30 (angle)");
  shown().u.angle.value = fixed16(120);
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], -30.0f);  // 120 * -1 * 1 + 90
}

TEST_F(fetch, an_angle_on_a_slider_turns_like_one_on_a_dial) {
  declare("a = 1 (angle)");
  shown().u.slider.value = fixed16(2);
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], -2.0f);
}

TEST_F(fetch, a_point_loses_the_layers_origin_and_is_turned_over) {
  host.in_data.width = 200;
  host.in_data.height = 100;
  declare("at = [0 0] (screen)");
  shown().u.point.x = fixed16(30.5);
  shown().u.point.y = fixed16(20);
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 30.5f);
  EXPECT_EQ(engine().value[1], 80.0f);
  host.in_data.output_origin_x = 10;
  host.in_data.output_origin_y = 5;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 20.5f);
  EXPECT_EQ(engine().value[1], 85.0f);
  host.in_data.output_origin_y = 50001;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 30.5f) << "a host that says this much has no origin to tell";
  EXPECT_EQ(engine().value[1], 80.0f);
  host.in_data.output_origin_y = 5;
  host_state.host_app = HOST_FINAL_CUT;
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 30.5f);
}

TEST_F(fetch, a_centred_point_subtracts_half_the_width_on_both_axes) {
  host.in_data.width = 200;
  host.in_data.height = 100;
  declare("at = [0 0] (screen_center)");
  shown().u.point.x = fixed16(100);
  shown().u.point.y = fixed16(50);
  fetch_param(engine());
  EXPECT_EQ(engine().value[0], 0.0f);
  EXPECT_EQ(engine().value[1], -50.0f);
}

TEST_F(fetch, special_parameters_are_found_by_name) {
  declare("opacity = 0.25 (min 0) b = 2");
  float value = -1;
  fetch_param(engine(0));
  EXPECT_TRUE(special_param_value(*record.genotypes[0], "opacity", value));
  EXPECT_EQ(value, 0.25f);
  EXPECT_FALSE(special_param_value(*record.genotypes[0], "input_opacity", value));
}

TEST_F(fetch, a_curve_is_read_at_another_frame) {
  declare("a = [1 2] (min *)");
  host.in_data.current_time = 40;
  host.in_data.time_step = 4;
  host.on_checkout = [](int time, pf_param_def& def) { def.u.slider.value = fixed16(time / 10.0); };
  float values[4] = {9, 9, 9, 9};
  get_curve_value_at_rel_frame(&engine(), -2, values);
  EXPECT_EQ(host.checked_out_times, (std::vector<int>{32, 32}));
  EXPECT_NEAR(values[0], 3.2f, 1e-4);
  EXPECT_NEAR(values[1], 3.2f, 1e-4);
  EXPECT_EQ(values[2], 0.0f);
}

TEST_F(fetch, a_position_curve_is_one_control) {
  host.in_data.width = 200;
  host.in_data.height = 100;
  declare("at = [0 0] (screen)");
  host.on_checkout = [](int, pf_param_def& def) {
    def.u.point.x = fixed16(12);
    def.u.point.y = fixed16(34);
  };
  float values[4] = {};
  get_curve_value_at_rel_frame(&engine(), 1, values);
  EXPECT_EQ(values[0], 12.0f);
  EXPECT_EQ(values[1], 66.0f);
}

TEST_F(fetch, a_curve_without_parameter_or_host_is_reported_and_0) {
  declare("a = 1 (min *)");
  float values[4] = {9, 9, 9, 9};
  testing::report_capture reports;
  get_curve_value_at_rel_frame(nullptr, 1, values);
  EXPECT_EQ(values[0], 0.0f);
  EXPECT_EQ(reports.severity_of("get_curve_value_at_rel_frame: NULL in_data(1) or param(0)"), REPORT_ERROR);
  record.in_data = nullptr;
  get_curve_value_at_rel_frame(&engine(), 1, values);
  EXPECT_TRUE(reports.has("get_curve_value_at_rel_frame: NULL in_data(0) or param(1)"));
}

// The console sets a value by the number's own declaration, so a default and a set value are one thing.
TEST_F(fetch, a_default_comes_back_as_it_was_declared) {
  declare("a = 0.3 (min *) mode = 2 (popup A B C) on = 1 (boolean) tint = [0.2 0.4 0.6] (color)");
  host_state.call_stamp = 3;
  refresh_params(*record.genotypes[0]);
  EXPECT_EQ(engine(0).value[0], float(19660 / 65536.0));  // 0.3 * 65536 is 19660.8
  EXPECT_EQ(engine(1).value[0], 2.0f);
  EXPECT_EQ(engine(2).value[0], 1.0f);
  EXPECT_EQ(engine(3).value[0], float(51 / 255.0));  // 51.198
}

}  // namespace
}  // namespace tessaron
