// Rectangles of the render path: four 16-bit sides, the last column and row inside.
#pragma once

#include <cstdint>

namespace tessaron {

/// A side at this magnitude is unbounded; no side lies beyond it.
inline constexpr int UNBOUNDED_SIDE = 32767;

struct rectangle {
  std::int16_t left = 0, top = 0, right = -1, bottom = -1;
  std::uint8_t empty = 1;

  int width() const { return empty ? 0 : right - left + 1; }
  int height() const { return empty ? 0 : bottom - top + 1; }
  bool operator==(const rectangle&) const = default;
};

/// Limits the sides; a last column or row before the first gives an empty rectangle.
rectangle make_rectangle(std::int64_t left, std::int64_t top, std::int64_t right, std::int64_t bottom);
/// All four sides unbounded.
rectangle everything();
/// What both have in common.
rectangle clip(const rectangle& a, const rectangle& b);
/// The smallest rectangle around both; an empty one adds nothing.
rectangle unite(const rectangle& a, const rectangle& b);
/// Moves the sides outwards, by pixels; an unbounded side stays, an empty rectangle too.
rectangle grow(const rectangle& r, int left, int top, int right, int bottom);

/// Half of `sum`, halves rounded up.
std::int64_t half_rounded_up(std::int64_t sum);
/// How far a span (its first and last position) is shifted for its centre to agree with that of `first`.
int centre_shift(int first_start, int first_end, int start, int end);

}  // namespace tessaron
