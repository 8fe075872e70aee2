// The strokes of `paint`: where each begins, how it runs, and in which order they are laid on.
//
// Strokes stand on lattices that are fixed to the middle of the frame. All that is random in a stroke is a hash of its
// cell's numbers, so that it stays the same stroke while frequency or size change.
#pragma once

#include <cstdint>

#include "base/fixed.h"

namespace tessaron {

inline constexpr int PAINT_LAYERS = 3;  // ground, main strokes, details
inline constexpr int PAINT_BAND = 32;   // rows that are painted at once

/// One stroke of the brush. Places are in pixels of the view, a pixel's centre at a whole number, rows downwards.
/// Along the stroke u runs from -1 to 1, across it v.
struct paint_stroke {
  float x, y;                   // centre
  float u_x, u_y, v_x, v_y;     // u and v of one pixel to the right and one down
  float side_slope, end_slope;  // 1 / width of the soft edges, in v and u
  float ragged;                 // how much shorter the ends of some bristles are
  float bristle[3];             // phases of the bristles' pattern
  float light;                  // how much brighter the side is whose v is 1
  float tone;                   // 1 for the image's own brightness
  float opacity;                // 0 to 1
  std::int16_t color[4];
};

/// What the strokes are made from.
struct paint_settings {
  fix frequency;    // main strokes to a half of the frame's width; its sign does not count
  fix follow_grad;  // from 0, not at all
  fix rand_seed;
  int elnum;
  int width, height;                 // of the planes
  const std::int16_t* const* image;  // elnum planes
  const std::int16_t* direction[2];  // where edges run: (cos, sin) of twice the angle, long where they are sharp
};

/// `direction` samples are this many times the image's difference over two pixels.
inline constexpr int PAINT_GRADIENT_GAIN = 8;

/// How far a stroke's colour may come from, in pixels of the frame's width; 0 where nothing is painted.
float paint_reach(fix frequency);

/// Makes all strokes, with the workers' help. False: none, or the render is to stop.
bool plan_strokes(const paint_settings& settings);

/// The rows that a stroke touches; none when the last is before the first.
struct stroke_rows {
  std::int32_t first, last;
};

/// The strokes that touch a band of PAINT_BAND rows, in the order in which they are laid on.
struct stroke_list {
  const paint_stroke* strokes;
  const stroke_rows* rows;
  const std::int32_t* numbers;  // of strokes
  int count;
};
stroke_list strokes_of_band(int band);

}  // namespace tessaron
