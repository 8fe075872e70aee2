// The loops over whole planes that image operators are made of, spread over the workers.
#pragma once

#include <cstdint>

#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {

/// Box-filters a plane into the long image and sets long_image_one. Amounts are fix pixels, the half-width
/// of the final kernel; passes is 1 to 3; edge_mode 1 mirrors, 0 has zeros beyond an edge. The plane itself
/// isn't written.
void blur_plane(const std::int16_t* plane, fix x_amount, fix y_amount, int edge_mode, int passes, bool subpixel,
                bool field_mode, int width, int height);

/// The long image into a plane: round(sample * factor), clamped to +-32767.
void long_to_plane(std::int16_t* dest, float factor);

/// Each sample times scale / 4096, rounded and clamped. A scale of 4096 does nothing, one of 0 clears.
void scale_plane(std::int16_t* plane, fix scale);

/// All samples 0.
void clear_plane(std::int16_t* plane);

}  // namespace tessaron::TESSARON_LEVEL
