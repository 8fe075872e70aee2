// Where a parameter's values lie on the picture, and the other way round. Places are in pixels of the layer at full
// resolution, from its upper left corner, y downwards; lengths in the same pixels along x or y.
#pragma once

#include "genotype/genotype.h"

namespace tessaron {

/// A place or a step on the layer, in pixels, y downwards.
struct layer_point {
  double x = 0, y = 0;
  bool operator==(const layer_point&) const = default;
};

/// The layer of the call under way.
struct layer_frame {
  double width = 1, height = 1;
  double par = 1;  // a pixel's height over its width
  layer_point middle() const { return {width / 2, height / 2}; }
};
layer_frame current_layer_frame();

/// What a number without units of its own means: half the width of the frame is 1, or a pixel is.
enum class plain_numbers { norm, pixels };

// All of these read the parameter as the host has it now, through fetch_param.

/// The place that a parameter of two channels names. Plain numbers count from the middle, y upwards.
layer_point param_place(param& p, plain_numbers plain = plain_numbers::norm);
bool set_param_place(param& p, layer_point place, plain_numbers plain = plain_numbers::norm);
/// The step that a parameter of two channels names: its place less that of [0 0].
layer_point param_step(param& p, plain_numbers plain = plain_numbers::norm);
bool set_param_step(param& p, layer_point step, plain_numbers plain = plain_numbers::norm);

/// Pixels of a length in one channel. `vertical`: along y, where a norm unit has as many pixels as it is long on the
/// screen. `scale` multiplies the value first.
double param_length(param& p, int channel, bool vertical, plain_numbers plain = plain_numbers::norm, double scale = 1);
bool set_param_length(param& p, int channel, double pixels, bool vertical, plain_numbers plain = plain_numbers::norm,
                      double scale = 1);

/// The same along x for a width to both sides: one that is below 0 stays below.
bool set_param_width(param& p, double pixels);

/// Pixels of a length of 1.
double unit_length(const param& p, bool vertical, plain_numbers plain = plain_numbers::norm);

/// A channel's engine value as it is.
double param_number(param& p, int channel);
bool set_param_number(param& p, int channel, double value);

/// Degrees, counted as the engine does: from the right towards the top.
double param_angle(param& p);
/// The nearest of the angle's turns to the present value is written.
bool set_param_angle(param& p, double degrees);
/// The direction of an angle on the layer, and the angle of a direction; on the screen, pixels being square there.
layer_point angle_direction(double degrees);
double direction_angle(layer_point direction, const layer_frame& frame);

}  // namespace tessaron
