// The outlines of an object in a plane: lines along which its samples cross a threshold, by arc length.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "base/fixed.h"
#include "operators/edge_fill.h"

namespace tessaron {

/// One line between pixel centres, the object on its left. It ends where it meets the image's border, so that the cut
/// through an object that leaves the picture is no part of its outline.
class outline {
 public:
  /// `pixel_aspect`: a pixel's height over its width. Lengths are those on the screen.
  outline(std::vector<image_point> points, bool closed, float pixel_aspect = 1);

  bool closed() const { return closed_; }
  /// Widths of a pixel, as all lengths.
  float length() const { return length_; }
  /// The place at arc length s, which wraps on a closed line and is limited on an open one. On a closed line, s counts
  /// from where the line is farthest to the right at the height of its middle: a place that moves as the object does.
  image_point at(float s) const;
  /// The line around s: two places `reach` before and behind, nearer on a short line.
  std::pair<image_point, image_point> around(float s, float reach) const;

 private:
  void find_origin();

  std::vector<image_point> points_;
  std::vector<float> along_;  // arc length at each point; on a closed line one entry more
  float length_ = 0, origin_ = 0;
  bool closed_;
};

/// All outlines of samples above a threshold, the longest first. Those shorter than `shortest` are left out.
std::vector<outline> find_outlines(const std::int16_t* samples, int width, int height, fix threshold, float shortest,
                                   float pixel_aspect = 1);

}  // namespace tessaron
