// Planes at half the resolution and back.
#pragma once

#include <cstdint>

namespace tessaron::TESSARON_LEVEL {

constexpr int half_size(int size) { return (size + 1) >> 1; }

/// A plane of width x height samples at half the resolution: each sample a 3 x 3 binomial mean of those around
/// (2x, 2y), edges repeated.
void reduce_plane(std::int16_t* dest, const std::int16_t* src, int width, int height);

/// Back to width x height samples, by linear interpolation at half steps.
void expand_plane(std::int16_t* dest, const std::int16_t* src, int width, int height);

}  // namespace tessaron::TESSARON_LEVEL
