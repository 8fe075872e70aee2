#include "host/display_globals.h"

#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/frame.h"
#include "evaluator/temp_images.h"
#include "host/configuration.h"
#include "host/host_state.h"
#include "support/report_capture.h"

using namespace tessaron;
using tessaron::testing::report_capture;

namespace {

pf_in_data host_frame() {
  pf_in_data in = {};
  in.downsample_x = in.downsample_y = in.pixel_aspect_ratio = {1, 1};
  in.time_step = 1;
  in.time_scale = 25;
  in.width = 100;
  in.height = 50;
  return in;
}

/// Puts the process-wide records back behind each test.
class RenderGlobals : public ::testing::Test {
 protected:
  ~RenderGlobals() override {
    host_state = host_;
    config = config_;
    display_dims = dims_;
    time_globals = time_;
    temp_raster_info = temp_;
    render_info = info_;
    short_image_size = plane_;
  }
  pf_in_data in = host_frame();

 private:
  host_state_record host_ = host_state;
  config_values config_ = config;
  display_dims_record dims_ = display_dims;
  time_globals_record time_ = time_globals;
  raster_info temp_ = temp_raster_info;
  render_info_record info_ = render_info;
  std::int64_t plane_ = short_image_size;
};

// --- pixel aspect --------------------------------------------------------------------------------

using PixelAspect = RenderGlobals;

TEST_F(PixelAspect, is_den_over_num_times_the_downsample_ratios) {
  in.pixel_aspect_ratio = {2, 1};
  EXPECT_EQ(render_pixel_aspect(in), 0.5f);
  in.downsample_x = {1, 2};
  EXPECT_EQ(render_pixel_aspect(in), 0.25f);
  in.downsample_y = {1, 4};
  EXPECT_EQ(render_pixel_aspect(in), 1.0f);
}

TEST_F(PixelAspect, final_cut_takes_no_downsample_and_fusion_turns_the_ratio_over) {
  in.pixel_aspect_ratio = {2, 1};
  in.downsample_x = {1, 2};
  host_state.host_app = HOST_FINAL_CUT;
  EXPECT_EQ(render_pixel_aspect(in), 0.5f);
  host_state.host_app = HOST_FUSION;
  EXPECT_EQ(render_pixel_aspect(in), 1.0f);
}

TEST_F(PixelAspect, a_ratio_with_a_zero_is_1) {
  for (pf_rational ratio : {pf_rational{0, 1}, pf_rational{1, 0}, pf_rational{0, 0}}) {
    in.pixel_aspect_ratio = ratio;
    EXPECT_EQ(render_pixel_aspect(in), 1.0f);
  }
}

TEST_F(PixelAspect, is_taken_strictly_between_a_ten_thousandth_and_ten_thousand) {
  in.pixel_aspect_ratio = {1, 10000};
  EXPECT_EQ(render_pixel_aspect(in), 1.0f);
  in.pixel_aspect_ratio = {1, 9999};
  EXPECT_EQ(render_pixel_aspect(in), 9999.0f);
  in.pixel_aspect_ratio = {10000, 1};
  EXPECT_EQ(render_pixel_aspect(in), 1.0f);
  in.pixel_aspect_ratio = {-2, 1};
  EXPECT_EQ(render_pixel_aspect(in), 1.0f);
}

TEST_F(PixelAspect, a_forced_ratio_above_a_thousandth_wins) {
  in.pixel_aspect_ratio = {2, 1};
  config.force_pixel_aspect_ratio = 1.25f;
  EXPECT_EQ(render_pixel_aspect(in), 1.25f);
  config.force_pixel_aspect_ratio = 0.001f;
  EXPECT_EQ(render_pixel_aspect(in), 0.5f);
}

TEST_F(PixelAspect, sets_the_inverse_the_fixes_and_the_marks) {
  set_pixel_aspect_ratio(1.75f);
  EXPECT_EQ(display_dims.pixel_aspect_inv, 1 / 1.75f);
  EXPECT_EQ(display_dims.pixel_aspect_fix, 7168);      // 1.75 * 4096
  EXPECT_EQ(display_dims.pixel_aspect_inv_fix, 2341);  // 2340.57
  EXPECT_TRUE(display_dims.pixel_aspect_not_1);
  EXPECT_TRUE(display_dims.pixel_aspect_wide);
  set_pixel_aspect_ratio(1.5f);
  EXPECT_FALSE(display_dims.pixel_aspect_wide);
  set_pixel_aspect_ratio(1);
  EXPECT_EQ(display_dims.pixel_aspect_fix, 4096);
  EXPECT_EQ(display_dims.pixel_aspect_inv_fix, 4096);
  EXPECT_FALSE(display_dims.pixel_aspect_not_1);
}

TEST_F(PixelAspect, of_0_is_reported_and_changes_nothing) {
  set_pixel_aspect_ratio(2);
  report_capture reports;
  set_pixel_aspect_ratio(0);
  EXPECT_TRUE(reports.has("set_pixel_aspect_ratio: y_scale should not be 0."));
  EXPECT_EQ(display_dims.pixel_aspect, 2.0f);
}

// --- display dimensions --------------------------------------------------------------------------

using DisplayDims = RenderGlobals;

TEST_F(DisplayDims, a_downsample_denominator_of_0_counts_as_the_numerator_alone) {
  EXPECT_EQ(downsample_fraction({3, 0}), 3.0);
  EXPECT_EQ(downsample_fraction({1, 4}), 0.25);
}

TEST_F(DisplayDims, scaled_sizes_are_rounded_and_at_least_1) {
  EXPECT_EQ(scaled_size(1921, 0.5), 961);
  EXPECT_EQ(scaled_size(1921, 0.25), 480);
  EXPECT_EQ(scaled_size(1, 0.25), 1);
  EXPECT_EQ(scaled_size(3, 0.5), 2);
}

TEST_F(DisplayDims, scaled_sizes_beyond_whole_numbers_stop_at_their_end) {
  constexpr int MOST = 2147483647;
  EXPECT_EQ(scaled_size(32767, downsample_fraction({MOST, 1})), MOST);
  EXPECT_EQ(scaled_size(1, downsample_fraction({-MOST, 1})), 1);
  render_info = {};
  render_info.frame_x1 = 32766;
  render_info.scale_x = render_info.downsample_y = MOST;
  ASSERT_TRUE(set_display_dim_globals(32767, 1, MOST, MOST));
  EXPECT_EQ(display_dims.full_width, MOST);
  EXPECT_EQ(display_dims.full_height, MOST);
}

// Everything that a render sets of the display, from the rules, for layers of many kinds.
TEST_F(DisplayDims, follow_the_rules_for_any_layer_scale_and_view) {
  const pf_rational scales[] = {{1, 1}, {1, 2}, {1, 3}, {2, 3}, {3, 0}};
  const auto ratio = [](pf_rational q) { return q.den ? double(q.num) / q.den : double(q.num); };
  const auto nearest_fix = [](double v) { return fix(std::nearbyint(v * 4096)); };  // ties to even
  for (const auto& [width, height] : {std::pair(1920, 1080), std::pair(7, 5), std::pair(1, 333)})
    for (const pf_rational down_x : scales)
      for (const pf_rational down_y : scales)
        for (const float aspect : {1.0f, 0.9f, 1.46f}) {
          temp_raster_info = {};
          temp_raster_info.width = 13;
          temp_raster_info.height = 9;
          temp_raster_info.x0 = -4;
          temp_raster_info.y0 = 31;
          in.width = width;
          in.height = height;
          in.downsample_x = down_x;
          in.downsample_y = down_y;
          render_info = {};
          render_info.frame_x1 = width - 1;
          render_info.frame_y1 = height - 1;
          render_info.scale_x = render_info.downsample_x = ratio(down_x);
          render_info.downsample_y = ratio(down_y);
          set_pixel_aspect_ratio(aspect);
          ASSERT_TRUE(set_display_dim_globals(width, height, ratio(down_x), ratio(down_y)));
          const display_dims_record& d = display_dims;
          EXPECT_EQ(d.display_width, std::max(1, int(std::trunc(width * ratio(down_x) + 0.5))));
          EXPECT_EQ(d.display_height, std::max(1, int(std::trunc(height * ratio(down_y) + 0.5))));
          EXPECT_EQ(d.full_width, std::max(1, int(std::trunc(width * ratio(down_x)))));
          EXPECT_EQ(d.full_height, std::max(1, int(std::trunc(height * ratio(down_y)))));
          const float xy = float(d.display_height) / float(d.display_width);
          EXPECT_EQ(d.xy_aspect, xy);
          EXPECT_EQ(d.xy_aspect_fix, nearest_fix(xy));
          EXPECT_EQ(d.yx_aspect_fix, nearest_fix(1.0f / xy));
          EXPECT_EQ(d.aspect_product_fix, nearest_fix(xy * aspect));
          EXPECT_EQ(d.aspect_product_inv_fix, nearest_fix(1.0f / (xy * aspect)));
          EXPECT_EQ(d.n_pixels, 117);
          EXPECT_EQ(d.view_width, 13);
          EXPECT_EQ(d.view_height, 9);
          EXPECT_EQ(d.x_origin_fix, -16384);
          EXPECT_EQ(d.y_origin_fix, 126976);
        }
}

TEST_F(DisplayDims, the_origin_of_an_empty_view_stays) {
  temp_raster_info = {};
  temp_raster_info.width = temp_raster_info.height = 1;
  temp_raster_info.x0 = 5;
  ASSERT_TRUE(set_display_dim_globals(100, 50, 1, 1));
  temp_raster_info.width = 0;
  temp_raster_info.x0 = 9;
  ASSERT_TRUE(set_display_dim_globals(100, 50, 1, 1));
  EXPECT_EQ(display_dims.x_origin_fix, 5 << 12);
}

TEST_F(DisplayDims, hold_the_scaled_layer_its_ratio_and_the_view) {
  temp_raster_info = {};
  temp_raster_info.width = 40;
  temp_raster_info.height = 30;
  temp_raster_info.x0 = -3;
  temp_raster_info.y0 = 7;
  render_info = {};
  render_info.frame_x1 = 1919;
  render_info.frame_y1 = 1079;
  render_info.scale_x = render_info.downsample_y = 0.5;
  set_pixel_aspect_ratio(0.5f);
  ASSERT_TRUE(set_display_dim_globals(1920, 1080, 0.5, 0.5));
  EXPECT_EQ(display_dims.n_pixels, 1200);
  EXPECT_EQ(short_image_size, 2400);
  EXPECT_EQ(display_dims.display_width, 960);
  EXPECT_EQ(display_dims.display_height, 540);
  EXPECT_EQ(display_dims.full_width, 960);
  EXPECT_EQ(display_dims.full_height, 540);
  EXPECT_EQ(display_dims.view_width, 40);
  EXPECT_EQ(display_dims.view_height, 30);
  EXPECT_EQ(display_dims.xy_aspect, 0.5625f);
  EXPECT_EQ(display_dims.xy_aspect_fix, 2304);
  EXPECT_EQ(display_dims.yx_aspect_fix, 7282);       // 7281.78
  EXPECT_EQ(display_dims.aspect_product_fix, 1152);  // 0.28125
  EXPECT_EQ(display_dims.aspect_product_inv_fix, 14564);
  EXPECT_EQ(display_dims.x_origin_fix, -12288);
  EXPECT_EQ(display_dims.y_origin_fix, 28672);
}

TEST_F(DisplayDims, a_zero_dimension_is_reported_and_the_old_values_stay) {
  ASSERT_TRUE(set_display_dim_globals(100, 50, 1, 1));
  report_capture reports;
  EXPECT_FALSE(set_display_dim_globals(100, 0, 1, 1));
  EXPECT_TRUE(reports.has("set_display_dim_globals: dim should never be 0."));
  EXPECT_EQ(display_dims.display_height, 50);
}

// --- time ----------------------------------------------------------------------------------------

using TimeGlobals = RenderGlobals;

TEST_F(TimeGlobals, count_in_steps_of_the_hosts_time) {
  in.time_step = -10;
  in.time_scale = 250;
  in.current_time = 30;
  in.total_time = 110;
  set_time_globals(in);
  EXPECT_EQ(time_globals.frame_step, 10);
  EXPECT_EQ(time_globals.fps, 25);
  EXPECT_EQ(time_globals.current_frame, 3);
  EXPECT_EQ(time_globals.total_frames, 11);
  EXPECT_EQ(time_globals.total_secs, 11 / 25.0f);
  EXPECT_EQ(time_globals.current_secs, 3 / 25.0f);
  EXPECT_EQ(time_globals.percent_time, 3 / 10.0f);
}

TEST_F(TimeGlobals, a_step_of_0_counts_as_1) {
  in.time_step = 0;
  set_time_globals(in);
  EXPECT_EQ(time_globals.frame_step, 1);
}

TEST_F(TimeGlobals, a_time_scale_of_0_has_no_seconds) {
  in.time_scale = 0;
  in.current_time = 5;
  set_time_globals(in);
  EXPECT_EQ(time_globals.fps, 0);
  EXPECT_EQ(time_globals.current_secs, 0);
}

TEST_F(TimeGlobals, percent_time_of_one_frame_is_0_at_frame_0_and_1_behind_it) {
  in.total_time = 1;
  set_time_globals(in);
  EXPECT_EQ(time_globals.percent_time, 0);
  in.current_time = 1;
  set_time_globals(in);
  EXPECT_EQ(time_globals.percent_time, 1);
}

TEST_F(TimeGlobals, percent_time_is_limited_to_the_clip) {
  in.total_time = 11;
  in.current_time = 20;
  set_time_globals(in);
  EXPECT_EQ(time_globals.percent_time, 1);
  in.current_time = -5;
  set_time_globals(in);
  EXPECT_EQ(time_globals.percent_time, 0);
}

TEST_F(TimeGlobals, a_fixed_rate_stays) {
  set_fixed_frame_rate(30);
  set_time_globals(in);
  EXPECT_EQ(time_globals.fps, 30);
  set_fixed_frame_rate(0);
  set_time_globals(in);
  EXPECT_EQ(time_globals.fps, 25);
}

// --- unbroken runs -------------------------------------------------------------------------------

class TemporalRun : public RenderGlobals {
 protected:
  TemporalRun() {
    init_globals(record);
    in.time_step = 10;
  }
  /// The run's start after a frame at `time`.
  int at(int time, bool thumbnail = false) {
    in.current_time = time;
    note_temporal_run(record, in, thumbnail);
    return time_globals.run_start_time;
  }
  globals_record record = {};
};

TEST_F(TemporalRun, goes_on_over_steps_below_1_9_frames) {
  EXPECT_EQ(at(100), 100);
  EXPECT_EQ(at(110), 100);
  EXPECT_EQ(at(128), 100);  // 1.8 frames
  EXPECT_EQ(at(147), 147);  // 1.9 frames
}

TEST_F(TemporalRun, is_broken_by_a_jump_backwards_and_by_the_same_frame_again) {
  EXPECT_EQ(at(100), 100);
  EXPECT_EQ(at(90), 90);
  record.temp_sets[0].reset_mark = 1;
  EXPECT_EQ(at(90), 90);
  EXPECT_EQ(record.temp_sets[0].reset_mark, 0);
}

TEST_F(TemporalRun, keeps_the_reset_mark_while_it_lasts) {
  at(100);
  record.temp_sets[0].reset_mark = 1;
  at(110);
  EXPECT_EQ(record.temp_sets[0].reset_mark, 1);
}

TEST_F(TemporalRun, thumbnails_have_a_run_of_their_own) {
  EXPECT_EQ(at(100), 100);
  EXPECT_EQ(at(500, true), 500);
  EXPECT_EQ(record.temp_set, &record.temp_sets[1]);
  EXPECT_EQ(at(110), 100);
  EXPECT_EQ(record.temp_set, &record.temp_sets[0]);
}

}  // namespace
