// Records that no frame can be made of: an error number and a report, never a fault.
#include <gtest/gtest.h>

#include <functional>

#include "support/render_kit.h"

using namespace tessaron::testing;

namespace {

using tamper = std::function<void(pf_in_data&, pf_param_def** params, pf_world& output)>;

struct bad_record {
  const char* name;
  tamper change;
  const char* report;
};

const bad_record BAD_RECORDS[] = {
    {"output_negative_width", [](auto&, auto**, auto& out) { out.width = -8; }, "Output of -8"},
    {"output_negative_height", [](auto&, auto**, auto& out) { out.height = -2147483647 - 1; }, "a negative size"},
    {"output_huge", [](auto&, auto**, auto& out) { out.width = 2147483647; }, "at most 32767"},
    {"output_no_pixels", [](auto&, auto**, auto& out) { out.data = nullptr; }, "no pixels"},
    {"output_short_rows", [](auto&, auto**, auto& out) { out.rowbytes = 31; }, "a row doesn't hold its pixels"},
    {"output_upside_down", [](auto&, auto**, auto& out) { out.rowbytes = -32; }, "a row doesn't hold its pixels"},
    {"output_deep_in_8_bit_rows", [](auto&, auto**, auto& out) { out.world_flags = PF_WorldFlag_DEEP; },
     "a row doesn't hold its pixels"},
    {"input_huge", [](auto&, auto** p, auto&) { p[0]->u.layer.height = 1000000; }, "Source of 8 by 1000000"},
    {"input_negative", [](auto&, auto** p, auto&) { p[0]->u.layer.width = -1; }, "a negative size"},
    {"input_short_rows", [](auto&, auto** p, auto&) { p[0]->u.layer.rowbytes = 0; }, "a row doesn't hold its pixels"},
    {"layer_negative", [](auto& in, auto**, auto&) { in.width = -1; }, "A layer of -1 by 6 pixels"},
    {"layer_huge", [](auto& in, auto**, auto&) { in.height = 2147483647; }, "A layer of 8 by 2147483647"},
    {"downsample_of_nothing",
     [](auto& in, auto**, auto&) {
       in.downsample_x = {0, 0};
     },
     "Downsample of 0/0 in x"},
    {"downsample_negative",
     [](auto& in, auto**, auto&) {
       in.downsample_y = {-1, 2};
     },
     "Downsample of -1/2 in y"},
    {"downsample_to_dust",
     [](auto& in, auto**, auto&) {
       in.downsample_x = {1, 1000000};
     },
     "leaves nothing of a layer of 8"},
    {"downsample_to_a_giant",
     [](auto& in, auto**, auto&) {
       in.downsample_x = {2147483647, 1};
     },
     "Downsample of 2147483647/1 in x makes too much of a layer of 8 pixels."},
    {"downsample_beyond_the_largest_side",
     [](auto& in, auto**, auto&) {
       in.downsample_y = {32768, 6};
     },
     "Downsample of 32768/6 in y makes too much of a layer of 6 pixels."},
    {"field_below_0", [](auto& in, auto**, auto&) { in.field = -1; }, "A frame of field -1"},
    {"no_checkin", [](auto& in, auto**, auto&) { in.inter.checkin_param = nullptr; }, "no call to check out"},
    {"no_layer_record", [](auto&, auto** p, auto&) { p[0] = nullptr; }, "gave no parameters with the frame"},
    {"field_3", [](auto& in, auto**, auto&) { in.field = 3; }, "A frame of field 3"},
    {"no_checkout", [](auto& in, auto**, auto&) { in.inter.checkout_param = nullptr; }, "no call to check out"},
};

class BadRecords : public ::testing::TestWithParam<bad_record> {};

TEST_P(BadRecords, give_516_and_a_report_and_the_next_frame_is_whole) {
  const image source = noise_image(8, 6, pixel_format::rgba8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)");
  frame_request request = effect.request({&source});
  request.before_render = GetParam().change;
  const frame_result bad = effect.render(request);
  EXPECT_EQ(bad.error, PF_Err_BAD_REQUEST);
  EXPECT_TRUE(mentions(bad.messages, GetParam().report)) << text_of(bad.messages);
  EXPECT_EQ(bad.inputs_left_out, 0);

  request.before_render = nullptr;
  const frame_result good = effect.render(request);
  EXPECT_EQ(good.error, 0);
  EXPECT_EQ(good.output.data, source.data);
}

INSTANTIATE_TEST_SUITE_P(Each, BadRecords, ::testing::ValuesIn(BAD_RECORDS),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(EmptyFrames, an_output_without_pixels_is_done_at_once) {
  const image source = noise_image(8, 6, pixel_format::rgba8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)");
  frame_request request = effect.request({&source});
  request.initial_fill = 0x55;
  request.before_render = [](pf_in_data&, pf_param_def**, pf_world& output) {
    output.width = 0;
    output.data = nullptr;
  };
  const frame_result result = effect.render(request);
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(result.output.data[0], 0x55);
}

TEST(EmptyFrames, a_layer_of_no_size_is_reported_and_rendered_with_the_old_dimensions) {
  const image source = noise_image(8, 6, pixel_format::rgba8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)");
  frame_request request = effect.request({&source});
  request.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) { in.width = 0; };
  const frame_result result = effect.render(request);
  EXPECT_EQ(result.error, 0);
  EXPECT_TRUE(mentions(result.messages, "set_display_dim_globals: dim should never be 0.")) << text_of(result.messages);
  EXPECT_EQ(result.output.data, source.data);
}

TEST(ExtremeFrames, ratios_at_their_limits_render) {
  for (double ratio : {0.00011, 9999.0}) {
    rendered_effect effect("(define A () (rgba_ok) dest = (+ (* x y) 0.5))");
    frame_request request = effect.request(1, 3000);
    request.pixel_aspect = ratio;
    EXPECT_EQ(effect.render(request).error, 0) << ratio;
  }
}

}  // namespace
