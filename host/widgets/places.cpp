#include "host/widgets/places.h"

#include <cmath>
#include <numbers>

#include "evaluator/frame.h"
#include "genotype/globals.h"
#include "host/host_state.h"
#include "host/parameters.h"

namespace tessaron {

namespace {

/// place = origin + (x.scale * value, -y.scale * value): how a unit lies on the layer.
struct unit_axes {
  layer_point origin;
  double x_scale, y_scale;  // pixels of one unit
};

/// The ratio of a pixel of the layer: that of the render's pixels less what the downsampling makes of it.
double full_ratio(const unit_frame& f) { return f.par * f.dsy / f.dsx; }

unit_axes axes_of(const param& p, plain_numbers plain) {
  const unit_frame f = current_unit_frame();
  const double norm_x = f.width / 2, norm_y = norm_x / full_ratio(f);
  const layer_point middle{f.width / 2, f.height / 2}, lower_left{0, f.height};
  switch (p.units()) {
    case UNITS_SCREEN:
      return {lower_left, 1, 1};
    case UNITS_SCREEN_CENTER:
      return {middle, 1, 1};
    case UNITS_SCREEN_CENTER0:
      return {middle, 1 / f.dsx, 1 / f.dsy};
    case UNITS_NORMALIZE:  // its rule takes the render's ratio as it is
      return {middle, norm_x, norm_x / f.par};
    case UNITS_SCREEN_TO_NORM:
      return {middle, norm_x, norm_y};
    case UNITS_NORMALIZE_SCALE: {
      const double scale = p.normalize_scale != 0 ? p.normalize_scale : 1;
      return {middle, norm_x / scale, norm_y / scale};
    }
    case UNITS_SCREEN_CENTER_TO_NORM:
      return {lower_left, norm_x, norm_y};
    default:
      return plain == plain_numbers::pixels ? unit_axes{middle, 1, 1} : unit_axes{middle, norm_x, norm_y};
  }
}

/// Reads the host's controls once a call, and again after a write.
void refresh(param& p) {
  if (p.stamp != host_state.call_stamp) fetch_param(p);
}

bool write_channel(param& p, int channel, double value) {
  if (!set_fetched_value(p, channel, value)) return false;
  fetch_param(p);
  return true;
}

bool write_pair(param& p, layer_point values) {
  const bool x = write_channel(p, 0, values.x);
  return write_channel(p, 1, values.y) && x;
}

}  // namespace

layer_frame current_layer_frame() {
  const unit_frame f = current_unit_frame();
  return {f.width, f.height, full_ratio(f)};
}

layer_point param_place(param& p, plain_numbers plain) {
  const layer_point step = param_step(p, plain), origin = axes_of(p, plain).origin;
  return {origin.x + step.x, origin.y + step.y};
}

bool set_param_place(param& p, layer_point place, plain_numbers plain) {
  const layer_point origin = axes_of(p, plain).origin;
  return set_param_step(p, {place.x - origin.x, place.y - origin.y}, plain);
}

layer_point param_step(param& p, plain_numbers plain) {
  refresh(p);
  const unit_axes axes = axes_of(p, plain);
  const double y = p.nchannels > 1 ? double(p.value[1]) : 0;
  return {axes.x_scale * double(p.value[0]), -axes.y_scale * y};
}

bool set_param_step(param& p, layer_point step, plain_numbers plain) {
  const unit_axes axes = axes_of(p, plain);
  if (p.nchannels < 2) return write_channel(p, 0, step.x / axes.x_scale);
  return write_pair(p, {step.x / axes.x_scale, -step.y / axes.y_scale});
}

double param_length(param& p, int channel, bool vertical, plain_numbers plain, double scale) {
  refresh(p);
  const unit_axes axes = axes_of(p, plain);
  return double(p.value[channel]) * scale * (vertical ? axes.y_scale : axes.x_scale);
}

bool set_param_length(param& p, int channel, double pixels, bool vertical, plain_numbers plain, double scale) {
  const unit_axes axes = axes_of(p, plain);
  const double unit = scale * (vertical ? axes.y_scale : axes.x_scale);
  return unit != 0 && write_channel(p, channel, pixels / unit);
}

bool set_param_width(param& p, double pixels) {
  return set_param_length(p, 0, param_length(p, 0, false) < 0 ? -pixels : pixels, false);
}

double unit_length(const param& p, bool vertical, plain_numbers plain) {
  const unit_axes axes = axes_of(p, plain);
  return vertical ? axes.y_scale : axes.x_scale;
}

double param_number(param& p, int channel) {
  refresh(p);
  return double(p.value[channel]);
}

bool set_param_number(param& p, int channel, double value) { return write_channel(p, channel, value); }

double param_angle(param& p) { return param_number(p, 0); }

bool set_param_angle(param& p, double degrees) {
  const double now = param_angle(p);
  return write_channel(p, 0, degrees + 360 * std::round((now - degrees) / 360));
}

layer_point angle_direction(double degrees) {
  const double turn = degrees * std::numbers::pi / 180;
  return {std::cos(turn), -std::sin(turn) / current_layer_frame().par};
}

double direction_angle(layer_point direction, const layer_frame& frame) {
  return std::atan2(-direction.y * frame.par, direction.x) * 180 / std::numbers::pi;
}

}  // namespace tessaron
