// Units: what a number in a host's control means to an effect, both ways.
#include <algorithm>
#include <cmath>
#include <limits>

#include "evaluator/frame.h"
#include "genotype/globals.h"
#include "host/display_globals.h"
#include "host/parameters.h"

namespace tessaron {

namespace {

constexpr double REFERENCE_WIDTH = 720, REFERENCE_HEIGHT = 486;
constexpr double BYTE_SCALE = 255.99;
constexpr double LEAST_RATIO = 0.0001;

double usable_ratio(double ratio) { return ratio > LEAST_RATIO ? ratio : 1.0; }

/// Height to width of the frame on the screen at full resolution.
double frame_ratio(const unit_frame& f) { return (f.height * f.dsy) / (f.width * f.dsx) * f.par; }

/// Percent and whole numbers, after the units.
double finish_engine_value(const param& p, double v) {
  if (p.flags[3] & PARAM3_PERCENT) v /= 100.0;
  return p.ptype == PTYPE_INT ? std::floor(v + 0.5) : v;
}

// x of a slider and of a point follow one rule; y differs.

double x_to_engine(const param& p, const unit_frame& f, double v) {
  const double half = f.width / 2;
  switch (p.units()) {
    case UNITS_SCREEN_CENTER:
      return v - half;
    case UNITS_SCREEN_CENTER0:
      return v * f.dsx;
    case UNITS_NORMALIZE:
      return (2 / f.width) * (v - half);
    case UNITS_NORMALIZE_SCALE:
      return v * (2 / f.width) * p.normalize_scale;
    case UNITS_SCREEN_TO_NORM:
      return (v / f.width) * 2 - 1;
    case UNITS_SCREEN_CENTER_TO_NORM:
      return v / half;
    default:
      return v;
  }
}

double slider_y_to_engine(const param& p, const unit_frame& f, double v) {
  const double r = frame_ratio(f);
  switch (p.units()) {
    case UNITS_SCREEN:
      return f.height - v;
    case UNITS_SCREEN_CENTER:
      return -v - f.height / 2;
    case UNITS_SCREEN_CENTER0:
      return -v * f.dsy;
    case UNITS_NORMALIZE:
      return f.par * (-v - f.height / 2) * (2 / f.width);
    case UNITS_NORMALIZE_SCALE:
      return -(x_to_engine(p, f, v)) * (f.par * f.dsy / f.dsx);
    case UNITS_SCREEN_TO_NORM:
      return r * 2 * (v / f.height) - r;
    case UNITS_SCREEN_CENTER_TO_NORM:
      return r * (v / (f.height / 2));
    default:
      return v;
  }
}

// Not the slider's rule with y turned over: saved projects hold numbers that went through this one.
double point_y_to_engine(const param& p, const unit_frame& f, double y) {
  const double r = frame_ratio(f);
  switch (p.units()) {
    case UNITS_SCREEN_CENTER:
      return y - f.width / 2;
    case UNITS_SCREEN_CENTER0:
      return y * f.dsy;
    case UNITS_NORMALIZE:
      return f.par * (y - f.width / 2) * (2 / f.width);
    case UNITS_NORMALIZE_SCALE:
      return -(f.dsy * f.par / f.dsx) * (2 / f.width) * p.normalize_scale * y;
    case UNITS_SCREEN_TO_NORM:
      return (y / f.height) * 2 * r - r;
    case UNITS_SCREEN_CENTER_TO_NORM:
      return r * y / (f.width / 2);
    default:
      return y;
  }
}

double x_to_host(const param& p, const unit_frame& f, double v) {
  const double half = f.width / 2;
  switch (p.units()) {
    case UNITS_SCREEN_CENTER:
      return v + half;
    case UNITS_SCREEN_CENTER0:
      return v / f.dsx;
    case UNITS_NORMALIZE:
      return half + v * half;
    case UNITS_NORMALIZE_SCALE:
      return v / ((2 / f.width) * p.normalize_scale);
    case UNITS_SCREEN_TO_NORM:
      return (v + 1) / 2 * f.width;
    case UNITS_SCREEN_CENTER_TO_NORM:
      return v * half;
    default:
      return v;
  }
}

// Units 1 to 3 are written as x is; from 4 on this inverts slider_y_to_engine().
double y_to_host(const param& p, const unit_frame& f, double v) {
  const double r = frame_ratio(f);
  switch (p.units()) {
    case UNITS_SCREEN_CENTER:
      return v + f.height / 2;
    case UNITS_SCREEN_CENTER0:
      return v / f.dsy;
    case UNITS_NORMALIZE:
      return -(v / (f.par * (2 / f.width))) - f.height / 2;
    case UNITS_NORMALIZE_SCALE:
      return x_to_host(p, f, -v / (f.par * f.dsy / f.dsx));
    case UNITS_SCREEN_TO_NORM:
      return (v + r) / (r * 2) * f.height;
    case UNITS_SCREEN_CENTER_TO_NORM:
      return v / r * (f.height / 2);
    default:
      return v;
  }
}

}  // namespace

std::int32_t int_trunc(double v) {
  constexpr double LOW = std::numeric_limits<std::int32_t>::min(), HIGH = std::numeric_limits<std::int32_t>::max();
  return std::isnan(v) ? 0 : std::int32_t(std::clamp(v, LOW, HIGH));
}

std::uint8_t color_byte(float v) { return std::uint8_t(std::clamp(int_trunc(double(v) * BYTE_SCALE), 0, 255)); }

unit_frame current_unit_frame() {
  const pf_in_data* in_data = Globals->in_data;
  if (!in_data) return {REFERENCE_WIDTH, REFERENCE_HEIGHT, 1, 1, 1};
  const double dsx = downsample_fraction(in_data->downsample_x), dsy = downsample_fraction(in_data->downsample_y);
  const bool scaled = Globals->param_flags & PARAM_MAY_CHECKOUT;
  const int width = scaled ? scaled_size(in_data->width, dsx) : in_data->width;
  const int height = scaled ? scaled_size(in_data->height, dsy) : in_data->height;
  return {double(std::max(width, 1)), double(std::max(height, 1)), usable_ratio(dsx), usable_ratio(dsy),
          usable_ratio(double(display_dims.pixel_aspect))};
}

double host_to_engine(const param& p, int channel, const unit_frame& f, double v) {
  return finish_engine_value(p, channel == 1 ? slider_y_to_engine(p, f, v) : x_to_engine(p, f, v));
}

double point_to_engine(const param& p, int channel, const unit_frame& f, double v) {
  return finish_engine_value(p, channel == 1 ? point_y_to_engine(p, f, v) : x_to_engine(p, f, v));
}

double engine_to_host(const param& p, int channel, const unit_frame& f, double v) {
  if (p.flags[3] & PARAM3_PERCENT) v *= 100.0;
  return channel == 1 ? y_to_host(p, f, v) : x_to_host(p, f, v);
}

}  // namespace tessaron
