// Drawing of flares into three planes, divided among the workers by rows.
#pragma once

#include <cstdint>

#include "operators/flare_shape.h"

namespace tessaron::TESSARON_LEVEL {

/// What is drawn into: planes of width x height samples, row after row.
struct flare_canvas {
  std::int16_t* planes[3];
  int width, height;
};

/// Adds the elements of a flare for each of the lights, spots before rays.
void add_flares(const flare_canvas& canvas, const flare_shape& shape, const flare_light* lights, int n_lights);
/// Each sample becomes 1.0 at most.
void limit_light(const flare_canvas& canvas);

// One element, in the rows first_row..end_row - 1.
void draw_spot(const flare_canvas& canvas, const placed_spot& spot, int first_row, int end_row);
void draw_rays(const flare_canvas& canvas, const placed_rays& rays, int first_row, int end_row);

}  // namespace tessaron::TESSARON_LEVEL
