// Axes that are turned on the layer as they look on the screen: what lines at an angle and turned rectangles are
// measured in.
#pragma once

#include "host/widgets/places.h"

namespace tessaron {

/// Lengths along both axes, in pixels of the layer along x.
struct turned_point {
  double along = 0, up = 0;
};

/// A middle and two axes, at right angles on the screen: `along` at an angle from the right towards the top, `up` a
/// quarter of a turn further.
class turned_axes {
 public:
  turned_axes(layer_point middle, double degrees);

  layer_point place(turned_point p) const;
  turned_point measure(layer_point place) const;
  /// How far the frame reaches from its own middle along both axes.
  turned_point frame_reach() const;

 private:
  layer_frame frame_;
  layer_point middle_;
  double cos_, sin_;
};

/// The frame's width or height, whichever looks shorter, in pixels along x.
double short_side();
/// A length on the screen as one on the layer along x.
double window_length(double pixels_of_window);

/// Writes the angle of a handle that goes round a middle, `ahead` degrees before the angle itself. On the middle a
/// handle has no direction, and the angle stays.
void drag_angle(param& p, layer_point middle, layer_point to, double ahead = 0);

bool is_finite(layer_point p);

}  // namespace tessaron
