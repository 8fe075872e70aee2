// Parameters that are no numbers, or far beyond any picture, as a host may hand them over: a defined picture, the same
// one each time.
#include <gtest/gtest.h>

#include <cmath>

#include "gradient_kit.h"

namespace tessaron::testing {
namespace {

constexpr const char* CALLS[] = {
    "(blur Source p 2 p p)",
    "(blur_channels Source p (v3 p 1 p) p 1 p)",
    "(masked_blur Source (element_of Source 0) p 2 p)",
    "(z_blur Source (element_of Source 1) p 1 0 p 4 0)",
    "(z_blur Source (element_of Source 1) 0 p p 0.5 4 1)",
    "(sharpen Source p p)",
    "(band_pass Source p 0.3 p)",
    "(defocus Source p p p p p)",
    "(glow Source p (v2 p 1) p p p 1)",
    "(glint Source p p p p (v4 p p p p) (v4 p 1 1 p) p)",
    "(rainbow_glint Source p p p p (v4 p p p p) (v4 p 1 1 p) (v2 p p) p)",
    "(grad (element_of Source 0) p p p)",
    "(edge_detect Source p p p)",
    "(grad_direction Source p p p)",
    "(grad_in_direction Source (v2 p p) p p)",
    "(emboss (element_of Source 0) p p Source (v3 p p p) (v2 p p) p p p)",
    "(edge_dist (element_of Source 0) p)",
    "(warp Source (* xy p) (v2 p p) p)",
    "(warp_rel Source (v2 p p) (v2 p p) p)",
    "(warp_filter Source (+ xy p) (v2 p p) (v2 p p))",
    "(repeat_warp Source xy (* xy p) (v2 p p) (v2 p p) 5)",
    "(repeat_warp_filter Source xy (* xy p) (v2 p p) (v2 p p) (v2 p p) (v2 p p) 5)",
    "(chroma_warp Source xy (* xy p) (v2 p p) 5 (v3 p 0 p) (v3 0 p p) (v3 p p 0) p p)",
    "(chroma_warp_filter Source xy (* xy p) (v2 p p) (v2 p p) (v2 p p) 5 (v3 p 0 p) (v3 0 p p) (v3 p p 0) p p)",
    "(blur_warp Source xy (* xy p) (v2 p p) p (v2 p p) p p)",
};

TEST(bad_numbers, give_a_defined_picture) {
  for (const char* call : CALLS)
    for (const picture_size size : {picture_size{1, 1}, {33, 17}}) {
      definition_renderer r(std::string("(define B (Source) () p = 1 dest = ") + call + ")",
                            {.width = size.width, .height = size.height});
      r.set_source(0, random_picture(size.width, -500, 6000));
      for (const float value : {float(NAN), INFINITY, -INFINITY, 1e30f, -1e30f, 3e6f, -3e6f}) {
        SCOPED_TRACE(std::string(call) + " with " + std::to_string(value));
        r.set_param("p", {value});
        const planes_of_result first = rendered(r);
        r.set_param("p", {0.5f});
        rendered(r);
        r.set_param("p", {value});
        ASSERT_EQ(first_difference(rendered(r), first), "");
      }
    }
}

}  // namespace
}  // namespace tessaron::testing
