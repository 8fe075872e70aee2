// What the functions of the blur family share.
#pragma once

#include <cstdint>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/blur.h"
#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// How a function blurs its planes.
struct blur_manner {
  int edge_mode;
  int passes;
  bool subpixel;
};

/// filter_shape 0 is one box, 1 a triangle, 2 and above nearly a Gaussian.
static inline int passes_of_shape(const node& filter_shape) {
  return fix_clamp((filter_shape.const_vals[0] >> FIX_BITS) + 1, 1, MAX_BOX_PASSES);
}

/// A plane blurred and scaled into `dest`, which may be `source`. By no amount it is scaled alone.
static inline void blur_to_plane(std::int16_t* dest, const std::int16_t* source, blur_radii radii, fix scale,
                                 const blur_manner& manner) {
  if (scale == 0) return clear_plane(dest);
  if (radii.any())
    return blur_plane_to_plane(dest, source, scale, radii.x, radii.y, manner.edge_mode, manner.passes, manner.subpixel,
                               false, temp_raster_info.width, temp_raster_info.height);
  if (dest != source) copy_plane(dest, source);
  scale_plane(dest, scale);
}

/// A loop body over the planes' samples, spread over the workers. `loop` is called with a range and keeps what it
/// needs in itself; it ends between blocks of some rows when the render is aborted.
template <class LOOP>
void for_plane_slices(const LOOP& loop) {
  static const LOOP* current;
  current = &loop;
  fork_processes([] {
    constexpr std::int64_t BLOCK = 1 << 15;  // samples: at most 16 rows of a wide frame
    const plane_slice slice = slice_of_plane();
    for (std::int64_t at = 0; at < slice.count && !check_abort(); at += BLOCK)
      (*current)(slice.first + at, slice.first + (at + BLOCK < slice.count ? at + BLOCK : slice.count));
  });
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
