// drops: the ripples that drops leave on water, as a shift of coordinates.
#pragma once

#include "base/fixed.h"

namespace tessaron {
struct node;
}

#ifndef TESSARON_LEVEL
#error "bodies are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {

/// Image body, as the catalogue names it.
void drops_image(node& n);

namespace {

// Written so that each choice is one instruction.
static inline float smaller(float a, float b) { return a < b ? a : b; }
static inline float larger(float a, float b) { return a > b ? a : b; }

/// Sine of t revolutions, -0.5 to 0.5, to a thousandth; smooth everywhere. A parabola through its zeros and peaks,
/// mixed with its own square.
static inline float wave_of(float t) {
  const float y = t * (8.0f - 16.0f * __builtin_fabsf(t));
  return y * (0.775f + 0.225f * __builtin_fabsf(y));
}

/// 0 up to 0, 1 from 1 on, without corners between.
static inline float smooth_step(float t) {
  const float held = smaller(larger(t, 0.0f), 1.0f);
  return held * held * (3.0f - 2.0f * held);
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
