#include "host/widgets/marks.h"

namespace tessaron {

void add_cross(widget_handle& handle, const gfx_look& look) {
  constexpr float GAP = 4, ARM = 13;
  for (const gfx_point d : {gfx_point{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
    handle.primitives.push_back(gfx_mark(handle.position, {d.x * GAP, d.y * GAP}, {d.x * ARM, d.y * ARM}, look));
  handle.primitives.push_back(gfx_ring(handle.position, 1, look));
}

void add_square(widget_handle& handle, const gfx_look& look) {
  handle.primitives.push_back(gfx_square_handle(handle.position, look));
}

void add_dot(widget_handle& handle, const gfx_look& look) {
  handle.primitives.push_back(gfx_round_handle(handle.position, look));
}

}  // namespace tessaron
