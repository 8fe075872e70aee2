// The sampling image of an input as it stands is filled from the host's pixels; that of any other tree through rows of
// values. Both are the same image.
#include <gtest/gtest.h>

#include "evaluator/workers.h"
#include "tests/support/render_kit.h"
#include "tests/support/worker_count.h"

namespace tessaron::testing {
namespace {

using namespace hostkit;

constexpr int WIDTH = 53, HEIGHT = 37;

std::vector<std::uint8_t> rendered(const std::string& dest, pixel_format format, const std::string& flags,
                                   const frame_request& wanted) {
  plugin_texts plugin("Warped", {"(define Warped (Source) (" + flags + ") dest = " + dest + ")"});
  host_identity identity;
  identity.offers_bgra = format == pixel_format::bgra8 || format == pixel_format::bgra16;
  instance host(tessaron_main, plugin.record(), identity);
  const image input = noise_image(WIDTH, HEIGHT, format);
  frame_request request = wanted;
  request.format = format;
  request.inputs = {&input};
  const frame_result result = host.render(request);
  EXPECT_EQ(result.error, 0) << dest;
  return result.output.data;
}

/// What changes no value, but is no input either. In time, so that it isn't stored on its way.
constexpr const char* TREE = "(max Source (- (* (get_time) 0.0001) 1))";

void expect_same_picture(const std::string& before, const std::string& behind, pixel_format format,
                         const std::string& flags = "rgba_ok", const frame_request& wanted = {}) {
  for (const int workers : {1, 2, 3, 7}) {
    const worker_count count(workers);
    EXPECT_EQ(rendered(before + " Source " + behind, format, flags, wanted),
              rendered(before + " " + TREE + " " + behind, format, flags, wanted))
        << before << behind << " with " << workers << " workers";
  }
}

constexpr pixel_format FORMATS[] = {pixel_format::rgba8, pixel_format::bgra8, pixel_format::rgba16,
                                    pixel_format::bgra16};
constexpr const char* TURNED = "(rotate xy (+ (get_time) 0.07) [0.1 0])";

TEST(warp_input, is_the_image_that_a_tree_gives_in_all_formats_and_wrap_modes) {
  for (const pixel_format format : FORMATS)
    for (const char* wrap : {"[0 0]", "[1 2]", "[2 0]"})
      expect_same_picture("(warp", std::string(TURNED) + " " + wrap + " 0)", format);
}

TEST(warp_input, without_alpha_has_three_elements) {
  for (const pixel_format format : FORMATS) expect_same_picture("(warp", std::string(TURNED) + " [1 1] 0)", format, "");
}

TEST(warp_input, has_the_same_levels) {
  expect_same_picture("(warp", std::string("(* 3 ") + TURNED + ") [2 1] 1)", pixel_format::rgba16);
  expect_same_picture("(warp_filter", std::string(TURNED) + " [1.3 2.7] [0 1])", pixel_format::rgba8);
  expect_same_picture("(warp_filter", std::string(TURNED) + " [1.3 2.7] [0 1])", pixel_format::bgra16, "");
}

TEST(warp_input, holds_for_parts_of_the_frame_fields_and_less_resolution) {
  const std::string behind = std::string(TURNED) + " [1 0] 0)";
  frame_request part, fields, reduced;
  part.extent = pf_rect{7, 5, 30, 22};
  fields.field = 2;
  reduced.downsample_x = reduced.downsample_y = 2;
  for (const frame_request& request : {part, fields, reduced})
    expect_same_picture("(warp", behind, pixel_format::rgba16, "rgba_ok", request);
}

TEST(warp_input, holds_for_the_walks) {
  const std::string at = TURNED;
  expect_same_picture("(repeat_warp", "xy " + at + " [1 0.5] [0 0] 5)", pixel_format::rgba16);
  expect_same_picture("(chroma_warp", "xy " + at + " [0 0] 5 [1 0 0] [0 1 0] [0 0 1] 1 3)", pixel_format::bgra8);
}

}  // namespace
}  // namespace tessaron::testing
