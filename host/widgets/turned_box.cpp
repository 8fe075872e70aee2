#include "host/widgets/turned_box.h"

#include <algorithm>
#include <cmath>

#include "host/widgets/widget.h"

namespace tessaron {

gfx_primitive turned_box::outline(const gfx_look& look) const {
  std::vector<gfx_point> corners;
  for (int i = 0; i < BOX_CORNERS; ++i) corners.push_back(gfx(spot(BOX_SPOTS[std::size_t(i)])));
  return gfx_through(corners, true, look);
}

bool turned_box::crowded(box_spot side) const {
  constexpr double ROOM = 12;  // pixels of the window on either side
  return std::fabs(side.along == 0 ? half.along : half.up) < window_length(ROOM);
}

turned_point turned_box::arm_end() const {
  constexpr double SHARE = 0.6, LEAST = 16;  // of half the width; pixels of the window
  const double width = std::fabs(half.along), inside = SHARE * width, least = window_length(LEAST);
  return {inside >= least ? inside : width + least, 0};
}

double box_reach(double place, int side, bool was_tiny) { return was_tiny ? std::fabs(place) : place * side; }

bool is_tiny(double half) {
  constexpr double TINY = 3;  // pixels of the window
  return std::fabs(half) < window_length(TINY);
}

}  // namespace tessaron
