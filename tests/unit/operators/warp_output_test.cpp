// A warp that is the picture itself writes the output as it goes; one that another function reads is stored and copied.
// Both are the same picture.
#include <gtest/gtest.h>

#include "evaluator/workers.h"
#include "tests/support/render_kit.h"
#include "tests/support/worker_count.h"

namespace tessaron::testing {
namespace {

using namespace hostkit;

constexpr int WIDTH = 45, HEIGHT = 31;

frame_result render(const std::string& dest, pixel_format format, const frame_request& wanted) {
  plugin_texts plugin("Warped", {"(define Warped (Source) (rgba_ok) dest = " + dest + ")"});
  instance host(tessaron_main, plugin.record());
  const image input = noise_image(WIDTH, HEIGHT, format);
  frame_request request = wanted;
  request.format = format;
  request.inputs = {&input};
  request.initial_fill = 0x5b;
  request.want_stats = true;
  frame_result result = host.render(request);
  EXPECT_EQ(result.error, 0) << dest;
  return result;
}

/// A function that changes nothing, since warps give nothing below 0, but reads the warp's planes.
std::string stored_form(const std::string& warp) { return "(max " + warp + " -1)"; }

void expect_same_picture(const std::string& warp, pixel_format format, const frame_request& wanted = {}) {
  for (const int workers : {1, 2, 3}) {
    const worker_count count(workers);
    const frame_result straight = render(warp, format, wanted), stored = render(stored_form(warp), format, wanted);
    EXPECT_EQ(straight.output.data, stored.output.data) << warp << " with " << workers << " workers";
  }
}

// In time: what stays the same from frame to frame is kept in planes.
constexpr const char* TURNED = "(rotate xy (+ (get_time) 0.07) [0.1 0])";

std::string warped(const std::string& image) { return "(warp " + image + " " + TURNED + " [2 1] 0)"; }

TEST(warp_output, is_what_the_stored_picture_gives_for_every_element_count) {
  for (const pixel_format format : {pixel_format::rgba8, pixel_format::rgba16}) {
    expect_same_picture(warped("(element_of Source 1)"), format);
    expect_same_picture(warped("(remove_alpha Source)"), format);
    expect_same_picture(warped("Source"), format);
  }
}

TEST(warp_output, holds_for_the_other_warps) {
  const std::string at = TURNED;
  expect_same_picture("(warp_rel Source (* xy (+ (get_time) 0.3)) [0 0] 0)", pixel_format::rgba16);
  expect_same_picture("(warp_filter Source " + at + " [0.5 0.7] [0 0])", pixel_format::rgba16);
  expect_same_picture("(repeat_warp Source xy " + at + " [1 0.5] [0 0] 5)", pixel_format::rgba16);
  expect_same_picture("(chroma_warp Source xy " + at + " [0 0] 5 [1 0 0] [0 1 0] [0 0 1] 1 3)", pixel_format::rgba16);
}

TEST(warp_output, is_made_without_a_second_walk) {
  EXPECT_EQ(render(warped("Source"), pixel_format::rgba16, {}).stats.output_seconds, 0);
  EXPECT_GT(render(stored_form(warped("Source")), pixel_format::rgba16, {}).stats.output_seconds, 0);
}

TEST(warp_output, stays_within_the_wanted_part) {
  frame_request request;
  request.extent = pf_rect{7, 5, 30, 22};
  expect_same_picture(warped("Source"), pixel_format::rgba8, request);
}

TEST(warp_output, holds_in_fields_and_at_less_resolution) {
  frame_request fields;
  fields.field = 1;
  expect_same_picture(warped("Source"), pixel_format::rgba8, fields);
  frame_request reduced;
  reduced.downsample_x = reduced.downsample_y = 2;
  expect_same_picture(warped("Source"), pixel_format::rgba8, reduced);
}

TEST(warp_output, does_not_keep_a_changed_picture_from_the_next_frame) {
  plugin_texts plugin("Warped", {"(define Warped (Source) (rgba_ok) dest = " + warped("Source") + ")"});
  instance host(tessaron_main, plugin.record());
  const image first = noise_image(WIDTH, HEIGHT, pixel_format::rgba8, 1);
  const image second = noise_image(WIDTH, HEIGHT, pixel_format::rgba8, 2);
  const auto rendered = [&](const image& input) {
    frame_request request;
    request.inputs = {&input};
    return host.render(request).output.data;
  };
  const auto of_first = rendered(first), of_second = rendered(second);
  EXPECT_NE(of_first, of_second);
  EXPECT_EQ(rendered(first), of_first);
  EXPECT_EQ(rendered(second), of_second);
}

}  // namespace
}  // namespace tessaron::testing
