// Warps in motion: coordinates that creep make pictures that creep. Each sweep goes through 60 small steps; no step may
// change a sample by more than the picture's own slope explains.
#include <gtest/gtest.h>

#include "warp_reference.h"

namespace tessaron::testing {
namespace {

constexpr picture_size SIZE = {128, 72};

/// A picture without edges, so that a change says how far it moved: at most 0.5 of white over an eighth of the frame.
fix soft_hills(int x, int y, int e) {
  return fix(std::lrint(2048 + 1500 * std::sin(0.05 * x + e) * std::cos(0.06 * y - e)));
}

fix sweep(const std::string& call, float from, float to) {
  definition_renderer r("(define W (Source) () p = 0 (min -100 max 100) dest = " + call + ")",
                        {.width = SIZE.width, .height = SIZE.height});
  r.set_source(0, soft_hills);
  return largest_step(r, "p", {from}, {to});
}

struct motion {
  const char* call;
  float from, to;
  fix limit;  // of 4096; a pixel of shift changes a sample by at most 90
};

// 60 steps of a shift by 0.1, which is 6 pixels, are 0.1 pixels each: 9 by the slope across and as much down. The rest
// is room for the steps of coordinates and, where filtered, of positions.
constexpr motion MOTIONS[] = {
    {"(warp Source (+ xy (v2 p p)) [2 2] 0)", 0, 0.1f, 40},
    {"(warp Source (+ xy (v2 p p)) [2 2] 1)", 0, 0.1f, 60},
    {"(warp_rel Source (v2 p (/ p 2)) [2 2] 0)", -0.05f, 0.05f, 40},
    {"(warp Source (rotate xy p [0 0]) [2 2] 0)", 0, 0.02f, 60},
    // From magnified to reduced, through the first levels.
    {"(warp Source (* xy p) [2 2] 1)", 0.5f, 1.5f, 260},
    {"(warp Source (* xy p) [2 2] 2)", 0.5f, 1.5f, 260},
    {"(warp_filter Source (v2 x y) (v2 p p) [2 2])", 0, 1.5f, 60},
    {"(warp_filter Source (v2 x y) (v2 p 0) [2 2])", 0, 1.5f, 60},
    {"(repeat_warp Source xy (* xy p) [1 0.3] [2 2] 9)", 0.7f, 1.0f, 90},
    {"(repeat_warp_filter Source xy (* xy p) [0 0] [0.5 0.5] [1 0.3] [2 2] 9)", 0.7f, 1.0f, 90},
    {"(repeat_warp_filter Source xy xy [0 0] (v2 p p) [1 1] [2 2] 9)", 0, 1.5f, 60},
    {"(chroma_warp Source xy (* xy p) [2 2] 9 [1 0 0] [0 1 0] [0 0 1] 1 1)", 0.7f, 1.0f, 140},
    {"(chroma_warp_filter Source xy (* xy p) [0 0] [0.5 0.5] [2 2] 9 [1 0 0] [0 1 0] [0 0 1] 1 1)", 0.7f, 1.0f, 140},
    // A line that grows from nothing, one that turns, one that moves; sharp pixels jump by whole ones, soft ones don't.
    {"(blur_warp Source xy (+ xy (v2 p p)) [1 1] 1 [2 2] 1 0)", 0, 0.2f, 40},
    {"(blur_warp Source xy (+ xy (v2 p (/ p 3))) [1 0] 1 [2 2] 1 0)", 0, 0.2f, 40},
    {"(blur_warp Source (+ xy (v2 p 0)) (+ xy (v2 (+ p 0.1) 0)) [0.3 1] 1 [2 2] 1 0)", 0, 0.1f, 50},
    {"(blur_warp Source xy (+ xy (rotate [0.2 0] p [0 0])) [1 1] 1 [2 2] 1 0)", 0, 0.25f, 60},
    {"(blur_warp Source xy (+ xy (v2 p p)) [1 1] 1 [2 2] 1 1)", 0, 0.2f, 90},  // pixels twice as large
};

TEST(warps_in_motion, change_the_picture_without_jumps) {
  for (const motion& m : MOTIONS) {
    const fix step = sweep(m.call, m.from, m.to);
    EXPECT_LE(step, m.limit) << m.call;
    EXPECT_GT(step, 0) << m.call;
  }
}

}  // namespace
}  // namespace tessaron::testing
