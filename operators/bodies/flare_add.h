// Light into planes: what all elements of a flare end in.
#pragma once

#include <bit>
#include <cstdint>

#include "base/fixed.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// To the nearest, ties to even; for magnitudes below 2^22.
static inline std::int32_t nearest_small(float v) {
  constexpr float BIAS = 12582912.0f;
  return std::bit_cast<std::int32_t>(v + BIAS) - std::bit_cast<std::int32_t>(BIAS);
}

/// A sample with light on it, held to what a plane keeps.
static inline std::int16_t lit_sample(std::int16_t sample, float light) {
  constexpr float LARGEST = 32767.0f;
  const float held = light < -LARGEST ? -LARGEST : light > LARGEST ? LARGEST : light;
  const std::int32_t sum = sample + nearest_small(held);
  return std::int16_t(sum < -32767 ? -32767 : sum > 32767 ? 32767 : sum);
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
