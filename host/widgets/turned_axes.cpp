#include "host/widgets/turned_axes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/widgets/transform.h"

namespace tessaron {

turned_axes::turned_axes(layer_point middle, double degrees)
    : frame_(current_layer_frame()),
      middle_(middle),
      cos_(std::cos(degrees * std::numbers::pi / 180)),
      sin_(std::sin(degrees * std::numbers::pi / 180)) {}

layer_point turned_axes::place(turned_point p) const {
  const double right = p.along * cos_ - p.up * sin_, top = p.along * sin_ + p.up * cos_;
  return {middle_.x + right, middle_.y - top / frame_.par};
}

turned_point turned_axes::measure(layer_point place) const {
  const double right = place.x - middle_.x, top = (middle_.y - place.y) * frame_.par;
  return {right * cos_ + top * sin_, top * cos_ - right * sin_};
}

turned_point turned_axes::frame_reach() const {
  const double right = frame_.width / 2, top = frame_.height * frame_.par / 2;
  const double c = std::fabs(cos_), s = std::fabs(sin_);
  return {right * c + top * s, right * s + top * c};
}

double short_side() {
  const layer_frame frame = current_layer_frame();
  return std::min(frame.width, frame.height * frame.par);
}

double window_length(double pixels_of_window) {
  const double scale = double(gfx_matrix_scale()) / std::sqrt(current_layer_frame().par);
  return scale > 0 && std::isfinite(scale) ? pixels_of_window / scale : pixels_of_window;
}

void drag_angle(param& p, layer_point middle, layer_point to, double ahead) {
  constexpr double NO_DIRECTION = 1e-6;  // pixels
  const layer_point arm{to.x - middle.x, to.y - middle.y};
  if (std::hypot(arm.x, arm.y) < NO_DIRECTION) return;
  set_param_angle(p, direction_angle(arm, current_layer_frame()) - ahead);
}

bool is_finite(layer_point p) { return std::isfinite(p.x) && std::isfinite(p.y); }

}  // namespace tessaron
