// Parameters as the host kit holds them: defaults, values in the definition's numbers, curves.
#include <gtest/gtest.h>

#include "support/parameter_value.h"
#include "support/render_kit.h"

using namespace tessaron::testing;

namespace {

using numbers = std::vector<float>;

std::vector<std::int32_t> root_of(rendered_effect& effect, int width, int height, int downsample = 1) {
  frame_request request = effect.request(width, height);
  request.downsample_x = request.downsample_y = downsample;
  request.want_root = true;
  const frame_result result = effect.render(request);
  EXPECT_EQ(result.error, 0) << text_of(result.messages);
  return result.root.samples;
}

struct kind {
  const char* name;
  const char* modifiers;
  const char* element;  // of the root
  int channels;
  numbers first, second;
  bool from_centre = false;
};

std::string text_of_numbers(const numbers& v) {
  if (v.size() == 1) return std::to_string(v[0]);
  std::string text = "[";
  for (float n : v) text += std::to_string(n) + " ";
  return text + "]";
}

std::string definition(const kind& k, const numbers& value) {
  return std::string("(define A () (rgba_ok) p = ") + text_of_numbers(value) + " (" + k.modifiers +
         ") dest = (+ p (* x 0)))";
}

const kind KINDS[] = {
    {"slider", "min -10 max 10", "", 1, {0.3f}, {-7.123f}},
    {"whole_number", "int min -10 max 10", "", 1, {3}, {-7}},
    {"percentage", "percent", "", 1, {50}, {12.5f}},
    {"toggle", "boolean", "", 1, {1}, {0}},
    {"popup", "popup One Two Three", "", 1, {0}, {2}},
    {"colour", "color", "", 3, {0.25f, 0.5f, 0.75f}, {1, 0, 0.1f}},
    {"vector", "min -10 max 10", "", 3, {0.25f, 0.5f, 0.75f}, {-1, 9, 0.1f}},
    {"angle", "angle", "", 1, {90}, {-123.25f}},
    {"point", "screen", "", 2, {360, 243}, {100, 17}},
    {"point_from_the_middle", "screen_center", "", 2, {0, 0}, {-100, 17}, true},
    {"normalised_point", "normalize", "", 2, {360, 243}, {100, 17}},
    {"frame_point", "screen_to_norm", "", 2, {360, 243}, {100, 17}},
};

class Values : public ::testing::TestWithParam<kind> {};

TEST_P(Values, set_to_a_number_render_as_if_it_were_the_default) {
  const kind& k = GetParam();
  rendered_effect defaulted(definition(k, k.second)), set(definition(k, k.first));
  definition_param param;
  param.channels = k.channels;
  param.from_centre = k.from_centre;
  parameter_map(set.instance().declared(), std::span(&param, 1)).set(set.instance().values(), 0, k.second);
  for (int downsample : {1, 2}) {
    const std::vector<std::int32_t> expected = root_of(defaulted, 40, 30, downsample);
    EXPECT_EQ(root_of(set, 40, 30, downsample), expected);
    rendered_effect other(definition(k, k.first));
    EXPECT_NE(root_of(other, 40, 30, downsample), expected);  // or nothing was shown
  }
}

INSTANTIATE_TEST_SUITE_P(Each, Values, ::testing::ValuesIn(KINDS),
                         [](const auto& info) { return std::string(info.param.name); });

// The middle of the reference frame is the middle of any layer; y counts from below.
TEST(Points, are_percent_of_the_layer_until_the_engine_sees_pixels) {
  rendered_effect effect("(define A () (rgba_ok) p = [360 121.5] (screen) dest = (+ p (* x 0)))");
  EXPECT_EQ(effect.instance().values()[1].u.point.x, 50 * 65536);
  EXPECT_EQ(effect.instance().values()[1].u.point.y, 75 * 65536);
  const std::vector<std::int32_t> full = root_of(effect, 40, 20), half = root_of(effect, 40, 20, 2);
  EXPECT_EQ(full[0], 20 * 4096);
  EXPECT_EQ(full[1], 5 * 4096);
  EXPECT_EQ(half[0], 10 * 4096);
  EXPECT_EQ(half[1], 5 * 2048);
}

TEST(Points, move_with_the_output_and_come_back_the_same) {
  rendered_effect effect("(define A (Source) (rgba_ok) p = [360 121.5] (screen) dest = (+ p (* x 0)))");
  const image source = noise_image(40, 20, pixel_format::rgba8);
  frame_request request = effect.request({&source});
  request.want_root = true;
  request.before_render = [](pf_in_data& in, pf_param_def** params, pf_world&) {
    in.output_origin_x = 3;
    in.output_origin_y = 2;
    EXPECT_EQ(params[1]->u.point.x, 20 * 65536);
    params[1]->u.point.x += 3 * 65536;
    params[1]->u.point.y += 2 * 65536;
  };
  const frame_result result = effect.render(request);
  const std::size_t corner = (2 * 40 + 3) * 2;  // of the layer in the output
  EXPECT_EQ(result.root.samples[corner], 20 * 4096);
  EXPECT_EQ(result.root.samples[corner + 1], 5 * 4096);
}

TEST(Curves, move_values_from_frame_to_frame) {
  rendered_effect effect("(define A () () p = 0 (max 100) dest = (+ p (* x 0)))");
  frame_request request = effect.request(4, 4);
  request.want_root = true;
  request.values_at = [](double frame, std::vector<host_param>& values) {
    values[1].u.slider.value = std::int32_t(frame * 65536 / 4);
  };
  for (int frame : {0, 3, 8}) {
    request.frame = frame;
    EXPECT_EQ(effect.render(request).root.samples[0], frame * 1024);
  }
  request.values_at = nullptr;
  EXPECT_EQ(effect.render(request).root.samples[0], 0);
}

TEST(Curves, are_asked_at_other_frames_too) {
  rendered_effect effect("(define A () () p = 0 (max 100) dest = (+ (get_curve_val p 2.5) (* x 0)))");
  frame_request request = effect.request(4, 4);
  request.want_root = true;
  request.frame = 3;
  request.total_frames = 10;
  request.values_at = [](double frame, std::vector<host_param>& values) {
    values[1].u.slider.value = std::int32_t(frame * 65536);
  };
  const frame_result result = effect.render(request);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(result.root.samples[0], 5.5 * 4096);
}

TEST(ParameterMap, passes_over_inputs_and_counts_channels) {
  rendered_effect effect(
      "(define A (Source Front) () v = [1 2 3] (max 9) c = [0 0 0] (color) s = 4 (max 9)"
      " dest = (+ (+ v c) (* s Front)))");
  const definition_param params[] = {{3}, {3}, {1}};
  const parameter_map map(effect.instance().declared(), params);
  EXPECT_EQ(map.host_index(0), 2);  // 0 and 1 are the inputs
  EXPECT_EQ(map.host_index(1), 5);
  EXPECT_EQ(map.host_index(2), 6);
  std::vector<host_param>& values = effect.instance().values();
  map.set(values, 0, numbers{5, 6, 7});
  EXPECT_EQ(values[3].u.slider.value, 6 * 65536);
  EXPECT_THROW(map.set(values, 0, numbers{5, 6}), host_error);
  const definition_param too_many[] = {{3}, {3}, {1}, {1}};
  EXPECT_THROW(parameter_map(effect.instance().declared(), too_many), host_error);
}

TEST(SetValue, truncates_as_the_declaration_does) {
  host_param p = {};
  p.param_type = PF_Param_FIX_SLIDER;
  set_value(p, numbers{-0.30001f});
  EXPECT_EQ(p.u.slider.value, -19661);  // -19661.45
  set_value(p, numbers{1e9f});
  EXPECT_EQ(p.u.slider.value, 2147483647);
  p.param_type = PF_Param_COLOR;
  set_value(p, numbers{1, 0.5f, -3});
  EXPECT_EQ(p.u.color.value.red, 255);
  EXPECT_EQ(p.u.color.value.green, 127);  // 127.995
  EXPECT_EQ(p.u.color.value.blue, 0);
  p.param_type = PF_Param_POPUP;
  set_value(p, numbers{2});
  EXPECT_EQ(p.u.popup.value, 3);
  p.param_type = PF_Param_ANGLE;
  set_value(p, numbers{90}, {.angle_offset = 90});
  EXPECT_EQ(p.u.angle.value, 180 * 65536);
  p.param_type = PF_Param_LAYER;
  EXPECT_THROW(set_value(p, numbers{1}), host_error);
}

}  // namespace
