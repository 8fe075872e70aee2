// A rectangle at an angle, with a handle on each corner and each side.
#pragma once

#include <array>

#include "host/widgets/handle.h"
#include "host/widgets/turned_axes.h"

namespace tessaron {

/// A corner or the middle of a side: -1, 0 or 1 along both axes.
struct box_spot {
  int along, up;
  bool is_corner() const { return along != 0 && up != 0; }
};
/// The upper right corner first, counterclockwise: corners, then sides.
inline constexpr std::array<box_spot, 8> BOX_SPOTS = {
    {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}, {1, 0}, {0, 1}, {-1, 0}, {0, -1}}};
inline constexpr int BOX_CORNERS = 4;

struct turned_box {
  turned_axes axes;
  turned_point half;  // half of its width and height

  layer_point spot(box_spot s) const { return axes.place({s.along * half.along, s.up * half.up}); }
  gfx_primitive outline(const gfx_look& look) const;
  /// Whether a side is so short in the window that the handle on its middle would cover those of its corners.
  bool crowded(box_spot side) const;
  /// Where the handle of a box's angle lies: along the angle, between the middle and the side, or beyond the side of a
  /// box that has no room.
  turned_point arm_end() const;
};

/// How far a handle is from its box's middle along an axis, on its own side of it; a box that was too small to see
/// when it was taken hold of may be pulled out to either side.
double box_reach(double place, int side, bool was_tiny);
bool is_tiny(double half);

}  // namespace tessaron
