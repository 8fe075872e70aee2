// What the image operators share: amounts, plane arithmetic and the box filters behind every blur.
// A plane holds frame.width x frame.height signed 16-bit samples of the view, 4096 for 1.0.
#pragma once

#include "base/fixed.h"

namespace tessaron {

/// Blur amount to fix pixels: 1.0 is an eighth of the frame's width; amounts beyond 64.0 count as 64.0.
fix amount_to_fix_pixels(fix value);

/// The value of the long image that stands for an input of exactly 1.0, after blur_plane.
extern std::int32_t long_image_one;

/// What every operator passes to blur_plane: samples beyond an edge mirror.
constexpr int blur_edge_mode = 1;

}  // namespace tessaron
