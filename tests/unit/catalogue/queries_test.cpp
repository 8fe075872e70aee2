// The ease curve, time and frame queries, parameters at other frames, and the identities: references
// from the rules, and values worked out by hand.
#include "evaluator/queries.h"
#include "base/report.h"
#include "evaluator/frame.h"
#include "genotype/globals.h"
#include "support/plain_tables.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

// --- references --------------------------------------------------------------------------------------

/// The parabola at both ends; the quotient runs in 64 bits.
fix ease_parabola(wide t, fix part, fix slope) {
  const wide square = t * t / 4096 * 4096, divisor = product(part, slope);
  return floor_shift(low32(square / (divisor == 0 ? 1 : divisor)), 1);
}

fix slow_in_out(fix a, fix in_slowness, fix out_slowness) {
  if (a < 0) return 0;
  if (a > 4096) return 4096;
  fix i = std::max(floor_shift(in_slowness, 1), 0), o = std::max(floor_shift(out_slowness, 1), 0);
  if (wide(i) + o > 4096) {
    i = quotient(low32(wide(i) * 4096), low32(wide(i) + o));
    o = quotient(low32(wide(o) * 4096), low32(wide(o) + i));
  }
  const fix m = low32(wide(floor_shift(low32(wide(i) + o), 1)) - o + 4096 - i);
  if (a < i) return ease_parabola(a, i, m);
  if (a > low32(4096 - wide(o))) return low32(4096 - wide(ease_parabola(4096 - a, o, m)));
  return quotient(low32((wide(a) - floor_shift(i, 1)) * 4096), m);
}

fix same(fix a) { return a; }
void first_argument(const sample_input& in, fix out[4]) { std::copy(in.arg[0], in.arg[0] + in.result_elnum, out); }

/// The frame that the queries are asked about; tests change it for a while.
struct frame_globals {
  time_globals_record time{};
  display_dims_record dims{};
  double downsample_x = 1, downsample_y = 1;
};
frame_globals usual_frame() {
  frame_globals f;
  f.time.fps = 25;
  f.time.current_frame = 12;
  f.time.total_frames = 101;
  f.time.current_secs = 0.48f;
  f.time.percent_time = 0.12f;
  f.dims.display_width = 721;
  f.dims.display_height = 486;
  f.dims.view_width = 100;
  f.dims.view_height = 60;
  f.dims.xy_aspect = 0.6f;
  f.dims.pixel_aspect_inv = 1;
  f.dims.pixel_aspect_fix = 3686;
  f.downsample_x = 0.5;
  f.downsample_y = 0.25;
  return f;
}
frame_globals frame = usual_frame();
void set_frame() {
  time_globals = frame.time;
  display_dims = frame.dims;
  render_info.downsample_x = frame.downsample_x;
  render_info.downsample_y = frame.downsample_y;
}
struct query_test : ::testing::Test {
  ~query_test() override { frame = usual_frame(); }
};

template <fix (*ANSWER)()>
void answer(const sample_input&, fix out[4]) {
  out[0] = ANSWER();
}
template <float time_globals_record::*FIELD>
fix time_answer() {
  return nearest_fix(frame.time.*FIELD);
}

fix noise_limit() {
  const float across = std::floor((frame.dims.view_width - 4) / 2.0f);
  const float down = (2 * frame.dims.view_height - 4) * frame.dims.pixel_aspect_inv / (2 * frame.dims.xy_aspect);
  return floor_shift(nearest_fix(std::min(across, down)), 1);
}

constexpr bool ONE_PIXEL = true;
const register_reference SLOW_IN_OUT("slow_in_out", by_element<slow_in_out>);
const register_reference FRAME_NUMBER("get_frame_number", answer<time_answer<&time_globals_record::current_frame>>,
                                      ONE_PIXEL, set_frame);
const register_reference TOTAL_FRAMES("get_total_frames", answer<time_answer<&time_globals_record::total_frames>>,
                                      ONE_PIXEL, set_frame);
const register_reference TIME("get_time", answer<time_answer<&time_globals_record::current_secs>>, ONE_PIXEL,
                              set_frame);
const register_reference PERCENT_TIME("get_percent_time", answer<time_answer<&time_globals_record::percent_time>>,
                                      ONE_PIXEL, set_frame);
const register_reference FRAMES_PER_SECOND("get_frames_per_second", answer<time_answer<&time_globals_record::fps>>,
                                           ONE_PIXEL, set_frame);
const register_reference ASPECT_RATIO(
    "get_aspect_ratio", [](const sample_input&, fix out[4]) { out[0] = frame.dims.pixel_aspect_fix; }, ONE_PIXEL,
    set_frame);
const register_reference FRAME_WIDTH(
    "get_frame_width", [](const sample_input&, fix out[4]) { out[0] = frame.dims.display_width * 4096; }, ONE_PIXEL,
    set_frame);
const register_reference FRAME_HEIGHT(
    "get_frame_height", [](const sample_input&, fix out[4]) { out[0] = frame.dims.display_height * 4096; }, ONE_PIXEL,
    set_frame);
const register_reference FRAME_HALF_DIMS(
    "get_frame_half_dims",
    [](const sample_input&, fix out[4]) {
      out[0] = frame.dims.display_width * 2048;
      out[1] = frame.dims.display_height * 2048;
    },
    ONE_PIXEL, set_frame);
const register_reference PIXEL_COORDS_SCALE(
    "get_pixel_coords_scale",
    [](const sample_input&, fix out[4]) {
      out[0] = nearest_fix(frame.downsample_x);
      out[1] = nearest_fix(frame.downsample_y);
    },
    ONE_PIXEL, set_frame);
const register_reference MAX_FNOISE_FREQ("get_max_fnoise_freq", answer<noise_limit>, ONE_PIXEL, set_frame);
const register_reference FORCE_NO_CACHE("force_no_cache", by_element<same>);
const register_reference NO_PASS_VARS("no_pass_vars", first_argument);
const register_reference COPY("copy", by_element<same>);

// --- the ease curve ------------------------------------------------------------------------------------

TEST(slow_in_out, without_slowness_is_the_identity_on_0_to_1) {
  for (fix a : {0, 1, 1000, 2048, 4095, 4096}) expect_values("slow_in_out", {{a}, {0}, {0}}, {a});
}

TEST(slow_in_out, clamps_outside_0_to_1) {
  expect_values("slow_in_out", {{-1}, {0}, {0}}, {0});
  expect_values("slow_in_out", {{4097}, {8192}, {8192}}, {4096});
}

TEST(slow_in_out, starts_and_ends_with_a_parabola) {
  // i = 2048, m = 1024 + 4096 - 2048 = 3072: 1024 * 1024 / (2048 * 3072 >> 12 = 1536) = 682, halved.
  expect_values("slow_in_out", {{1024}, {4096}, {0}}, {341});
  // Past i: (3072 - 1024) * 4096 / 3072 = 2730.7.
  expect_values("slow_in_out", {{3072}, {4096}, {0}}, {2730});
  expect_values("slow_in_out", {{3072}, {0}, {4096}}, {4096 - 341});
}

TEST(slow_in_out, shrinks_both_slownesses_whose_halves_sum_above_1) {
  // 4096 and 4096 become 2048 and 4096 * 4096 / (4096 + 2048) = 2730; m = 2389 - 2730 + 4096 - 2048 = 1707.
  expect_values("slow_in_out", {{1024}, {8192}, {8192}}, {614});          // 1048576 / 853 = 1229, halved
  expect_values("slow_in_out", {{2048}, {8192}, {8192}}, {4096 - 1844});  // 4194304 / 1137 = 3688, halved
}

TEST(slow_in_out, an_inner_divisor_of_0_counts_as_1) {
  expect_values("slow_in_out", {{0}, {2}, {0}}, {0});  // 1 * 4095 >> 12 is 0
}

// --- queries -------------------------------------------------------------------------------------------

TEST_F(query_test, time_queries_give_the_time_globals) {
  expect_values("get_frame_number", {}, {12 * 4096});
  expect_values("get_total_frames", {}, {101 * 4096});
  expect_values("get_time", {}, {1966});         // 0.48 * 4096 = 1966.08
  expect_values("get_percent_time", {}, {492});  // 0.12 * 4096 = 491.52
  expect_values("get_frames_per_second", {}, {25 * 4096});
  frame.time.current_frame = 12.5f;
  frame.time.total_frames = 1;
  frame.time.current_secs = 2;
  frame.time.percent_time = 1;
  frame.time.fps = 29.97f;
  expect_values("get_frame_number", {}, {51200});
  expect_values("get_total_frames", {}, {4096});
  expect_values("get_time", {}, {8192});
  expect_values("get_percent_time", {}, {4096});
  expect_values("get_frames_per_second", {}, {122757});  // 122757.12
}

TEST_F(query_test, frame_queries_give_the_display_globals) {
  expect_values("get_aspect_ratio", {}, {3686});
  expect_values("get_frame_width", {}, {721 * 4096});
  expect_values("get_frame_height", {}, {486 * 4096});
  expect_values("get_frame_half_dims", {}, {360 * 4096 + 2048, 243 * 4096});
  expect_values("get_pixel_coords_scale", {}, {2048, 1024});
  frame.dims.pixel_aspect_fix = 8192;
  frame.dims.display_width = 64;
  frame.dims.display_height = 33;
  frame.downsample_x = frame.downsample_y = 1;
  expect_values("get_aspect_ratio", {}, {8192});
  expect_values("get_frame_width", {}, {64 * 4096});
  expect_values("get_frame_height", {}, {33 * 4096});
  expect_values("get_frame_half_dims", {}, {32 * 4096, 16 * 4096 + 2048});
  expect_values("get_pixel_coords_scale", {}, {4096, 4096});
}

TEST_F(query_test, the_largest_noise_frequency_is_half_the_smaller_limit) {
  expect_values("get_max_fnoise_freq", {}, {24 * 4096});  // (100 - 4) >> 1 = 48 across; 116 / 1.2 = 96.7 down
  frame.dims.xy_aspect = 2;
  expect_values("get_max_fnoise_freq", {}, {29 * 2048});  // 116 / 4 = 29 down
  frame.dims.pixel_aspect_inv = 0.5f;
  expect_values("get_max_fnoise_freq", {}, {29 * 1024});
}

TEST_F(query_test, the_largest_noise_frequency_fills_all_four_constants) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("get_max_fnoise_freq");
  set_frame();
  node n{};
  n.elnum = 1;
  fun.kernels[0](n);
  for (fix v : n.const_vals) EXPECT_EQ(v, 24 * 4096);
}

// --- parameters at other frames ------------------------------------------------------------------------

struct curve_test : ::testing::Test {
  curve_test() {
    g.n_params = 2;
    g.params[1] = &p;
    p.value[0] = 0.5f, p.value[1] = -2, p.value[2] = 3;
    Globals->effect_genotype = &g;
    args[0].elnum = n.elnum = 3;
    args[0].param_index = 2;
    for (int a = 0; a < 2; ++a) {
      args[a].node_flags = NODE_CONSTANT;
      for (int e = 0; e < 4; ++e) args[a].rows[e] = &args[a].const_vals[e];
      n.args[a] = &args[a];
      n.arg_rows[a] = args[a].rows;
    }
    args[1].elnum = 1;
  }
  ~curve_test() override {
    Globals->effect_genotype = nullptr;
    read_curve_value = nullptr;
  }

  genotype g{};
  param p{};
  node args[2]{}, n{};
};

TEST_F(curve_test, without_a_host_the_parameter_has_its_current_value_at_all_frames) {
  args[1].const_vals[0] = 7 * 4096;
  get_curve_val(n);
  EXPECT_EQ(n.const_vals[0], 2048);
  EXPECT_EQ(n.const_vals[1], -8192);
  EXPECT_EQ(n.const_vals[2], 12288);
}

TEST_F(curve_test, the_host_is_asked_for_the_parameter_at_the_relative_frame) {
  read_curve_value = [](param* asked, float rel_frame, float* values) { values[0] = asked->value[1] * 10 + rel_frame; };
  args[1].const_vals[0] = -6144;  // 1.5 frames back
  get_curve_val(n);
  EXPECT_EQ(n.const_vals[0], -88064);  // -21.5
}

TEST_F(curve_test, an_argument_that_is_no_parameter_is_reported_and_gives_0) {
  report_capture capture;
  args[0].param_index = 0;
  n.const_vals[0] = 99;
  get_curve_val(n);
  EXPECT_EQ(n.const_vals[0], 0);
  EXPECT_TRUE(capture.has_part("get_curve_value_at_rel_frame: NULL in_data(0) or param(0)")) << capture.all();
}

TEST_F(curve_test, a_relative_frame_that_varies_over_the_frame_stops_the_render_and_asks_nobody) {
  args[1].node_flags = 0;
  n.const_vals[0] = 99;
  abort_requested = 0;
  get_curve_val(n);
  EXPECT_NE(abort_requested, 0);
  EXPECT_EQ(n.const_vals[0], 99);
  abort_requested = 0;
}

// --- identities ----------------------------------------------------------------------------------------

TEST(identities, hand_their_value_on) {
  expect_values("copy", {{1, 2, 3, 4}}, {1, 2, 3, 4});
  expect_values("copy", {{INT32_MIN}}, {INT32_MIN});
  expect_values("force_no_cache", {{1, 2}}, {1, 2});
  expect_values("force_no_cache", {{5, 6, 7}}, {5, 6, 7});
  expect_values("no_pass_vars", {{1, 2, 3}, {4096}}, {1, 2, 3});
  expect_values("no_pass_vars", {{1}, {0}}, {1});
}

}  // namespace
}  // namespace tessaron::testing
