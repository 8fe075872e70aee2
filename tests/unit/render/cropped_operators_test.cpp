// Parts of a frame of effects that work on whole images: what an operator reads around the part is fetched, so that
// the part is that of the whole frame.
#include <gtest/gtest.h>

#include "support/render_kit.h"

using namespace tessaron::testing;

namespace {

struct cropped_effect {
  const char* name;
  const char* call;
};

class cropped : public ::testing::TestWithParam<cropped_effect> {};

TEST_P(cropped, render_is_that_part_of_the_full_one) {
  constexpr int WIDTH = 160, HEIGHT = 120;
  const image source = noise_image(WIDTH, HEIGHT, pixel_format::rgba8);
  rendered_effect effect(std::string("(define A (Source) () dest = ") + GetParam().call + ")");
  const frame_result full = effect.render({&source});
  ASSERT_EQ(full.error, 0) << text_of(full.messages);
  frame_request request = effect.request({&source});
  for (const pf_rect wanted : {pf_rect{60, 50, 97, 71}, pf_rect{0, 0, 40, 30}, pf_rect{159, 119, 160, 120},
                               pf_rect{30, 100, 31, 120}, pf_rect{2, 60, 158, 61}}) {
    request.extent = wanted;
    const frame_result part = effect.render(request);
    ASSERT_EQ(part.error, 0);
    for (int y = wanted.top; y < wanted.bottom; ++y)
      for (int x = wanted.left; x < wanted.right; ++x)
        ASSERT_EQ(pixel(part.output, x, y), pixel(full.output, x, y)) << x << " " << y;
  }
}

INSTANTIATE_TEST_SUITE_P(
    operators, cropped,
    ::testing::Values(
        cropped_effect{"blur", "(blur Source [0.3 0.2] 2 1 0)"},
        cropped_effect{"subpixel_blur", "(blur Source [0.31 0.22] 2 1 1)"},
        cropped_effect{"blur_of_blur", "(blur (blur Source [0.2 0.1] 2 1 0) [0.1 0.2] 1 1 0)"},
        cropped_effect{"blur_channels", "(blur_channels Source [0.3 0.2] [1 0.5 0.25] 2 1 0)"},
        cropped_effect{"masked_blur", "(masked_blur Source (* x x) [0.3 0.2] 2 0)"},
        cropped_effect{"sharpen", "(sharpen Source 2 0.2)"},
        cropped_effect{"band_pass", "(band_pass Source [0.1 0.1] [0.3 0.3] 1)"},
        cropped_effect{"z_blur", "(z_blur Source (* (+ x 1) 0.5) 1 0 [0.2 0.2] [0 0] 4 1)"},
        cropped_effect{"layered_z_blur", "(z_blur Source (* (+ x 1) 0.5) 1 0 [0.2 0.2] [0 0] 4 0)"},
        cropped_effect{"glow", "(glow Source 0.25 [1 1] 0.3 1 1 0)"},
        cropped_effect{"glint", "(glint Source 0.4 0.1 0.5 0.3 [1 1 0.5 0.7] [1 1 1 1] 1)"},
        cropped_effect{"rainbow_glint", "(rainbow_glint Source 0.4 0.1 0.5 0.3 [1 1 0.5 0.7] [1 1 1 1] [0.5 0.7] 1)"},
        cropped_effect{"defocus", "(defocus Source [0.2 0.2] 2 1 0 0)"},
        cropped_effect{"subpixel_defocus", "(defocus Source [0.73 0.21] 2.2 1 1 2)"},
        cropped_effect{"grad", "(* [1 1 1] (mag (grad (mag Source) 0.1 1 0)))"},
        cropped_effect{"edge_detect", "(edge_detect Source 0.1 1 0)"},
        cropped_effect{"grad_direction", "(grad_direction Source 0.1 0 0)"},
        cropped_effect{"grad_in_direction", "(grad_in_direction Source [0.5 1] 0.1 1)"},
        cropped_effect{"grad_for_mipmap", "(warp_filter Source (* xy 1.7) (grad_for_mipmap (* xy 1.7) 1 0) [2 1])"},
        cropped_effect{"emboss", "(emboss (element_of Source 0) 0.1 2 Source 1 [0.5 0.7] 0.5 20 1)"},
        cropped_effect{"edge_dist", "(* [1 1 1] (edge_dist (- (element_of Source 0) 0.9) 0.05))"},
        cropped_effect{"paint", "(paint Source 24 0.02 1 0.04 1)"},
        cropped_effect{"warp", "(warp Source (* xy 0.7) [0 0] 0)"},
        cropped_effect{"warp_rel", "(warp_rel Source [0.1 0.05] [1 1] 0)"},
        cropped_effect{"filtered_warp", "(warp Source (* (rotate xy 0.1 [0 0]) 1.6) [2 1] 2)"},
        cropped_effect{"filtered_warp_rel", "(warp_rel Source (* xy 0.9) [1 2] 1)"},
        cropped_effect{"warp_filter", "(warp_filter Source (* xy 1.5) (v2 0.5 (abs x)) [1 0])"},
        cropped_effect{"blur_warp", "(blur_warp Source xy (* xy 0.7) [1 0.2] 1 [1 0] 1 0)"},
        cropped_effect{"reduced_blur_warp", "(blur_warp Source xy (* xy 0.7) [1 1] 1 [2 2] 0 1)"},
        cropped_effect{"repeat_warp_filter", "(repeat_warp_filter Source xy (* xy 0.8) [0 0] [0.5 1] [1 0.3] [2 0] 5)"},
        cropped_effect{"chroma_warp_filter",
                       "(chroma_warp_filter Source xy (* xy 0.8) [0 0] [1 0.5] [0 1] 6 [1 0 0] [0 1 0] "
                       "[0 0 1] 1 1)"},
        cropped_effect{"repeat_warp", "(repeat_warp Source xy (* xy 0.8) [1 1] [2 2] 5)"},
        cropped_effect{"chroma_warp", "(chroma_warp Source xy (* xy 0.8) [2 2] 6 [1 0 0] [0 1 0] [0 0 1] 1 1)"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
