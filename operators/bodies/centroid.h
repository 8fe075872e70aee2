// Bright regions of an image, one after the other: how much light each holds and where its middle is.
#pragma once

#include <cstdint>

namespace tessaron::TESSARON_LEVEL {

/// The light of a region. Samples at or below 0 give none.
struct centroid_sums {
  std::int64_t light[3];  // sums of the samples of each plane, fix; of one plane: the first
  std::int64_t total;     // of all planes
  std::int64_t x, y;      // sums of column * light and row * light

  /// Middle in pixels of the planes; for regions with light.
  double center_x() const { return double(x) / double(total); }
  double center_y() const { return double(y) / double(total); }
};

/// The region of three planes of width x height samples that is connected to a start point: pixels with a sample above
/// 0 in any plane, neighbours by a side or a corner. Its samples are cleared, so that it is taken once. A start point
/// without light is reported and gives no light. Main thread only.
centroid_sums add_to_centroid(std::int16_t* const* planes, int width, int height, int x, int y);

/// The same in one plane.
centroid_sums add_to_bw_centroid(std::int16_t* plane, int width, int height, int x, int y);

/// The first pixel with light at or behind column x of row y, or the width.
int next_lit_pixel(const std::int16_t* const* planes, int width, int x, int y);
int next_lit_bw_pixel(const std::int16_t* plane, int width, int x, int y);

}  // namespace tessaron::TESSARON_LEVEL
