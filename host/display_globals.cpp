#include "host/display_globals.h"

#include <algorithm>
#include <cmath>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/temp_images.h"
#include "host/configuration.h"
#include "host/host_state.h"
#include "host/parameters.h"

namespace tessaron {
namespace {

constexpr double RATIO_FLOOR = 0.0001, RATIO_CEILING = 10000.0;
constexpr float WIDE_RATIO = 1.6f;
constexpr double RUN_BREAK_STEPS = 1.9;  // frames; a later frame starts a new run

float fixed_fps = 0;

void set_aspect_products() {
  const float product = display_dims.xy_aspect * display_dims.pixel_aspect;
  display_dims.aspect_product_fix = fix_from_double(product);
  display_dims.aspect_product_inv_fix = fix_from_double(1.0f / product);
}

}  // namespace

double downsample_fraction(const pf_rational& r) { return r.den == 0 ? r.num : double(r.num) / r.den; }

int scaled_size(int size, double fraction) { return std::max(1, int_trunc(size * fraction + 0.5)); }

float render_pixel_aspect(const pf_in_data& in_data) {
  if (config.force_pixel_aspect_ratio > FORCED_ASPECT_FLOOR) return config.force_pixel_aspect_ratio;
  const double dsx = downsample_fraction(in_data.downsample_x), dsy = downsample_fraction(in_data.downsample_y);
  const double num = in_data.pixel_aspect_ratio.num, den = in_data.pixel_aspect_ratio.den;
  if (num == 0 || den == 0 || dsx == 0 || dsy == 0) return 1.0f;
  double ratio = 0;
  switch (host_state.host_app) {
    case HOST_FINAL_CUT:
      ratio = den / num;
      break;
    case HOST_FUSION:
      ratio = (dsx / dsy) * (num / den);
      break;
    default:
      ratio = (dsx / dsy) * (den / num);
      break;
  }
  return ratio > RATIO_FLOOR && ratio < RATIO_CEILING ? float(ratio) : 1.0f;
}

void set_pixel_aspect_ratio(float ratio) {
  if (ratio == 0) {
    report(REPORT_ERROR, "set_pixel_aspect_ratio: y_scale should not be 0.");
    return;
  }
  display_dims.pixel_aspect = ratio;
  display_dims.pixel_aspect_inv = 1.0f / ratio;
  display_dims.pixel_aspect_fix = fix_from_double(ratio);
  display_dims.pixel_aspect_inv_fix = fix_from_double(display_dims.pixel_aspect_inv);
  display_dims.pixel_aspect_not_1 = ratio != 1.0f;
  display_dims.pixel_aspect_wide = ratio > WIDE_RATIO;
  set_aspect_products();
}

void set_layer_dims(int layer_width, int layer_height, double dsx, double dsy) {
  display_dims.display_width = scaled_size(layer_width, dsx);
  display_dims.display_height = scaled_size(layer_height, dsy);
  display_dims.xy_aspect = float(display_dims.display_height) / float(display_dims.display_width);
  display_dims.xy_aspect_fix = fix_from_double(display_dims.xy_aspect);
  display_dims.yx_aspect_fix = fix_from_double(1.0f / display_dims.xy_aspect);
  set_aspect_products();
}

bool set_display_dim_globals(int layer_width, int layer_height, double dsx, double dsy) {
  if (layer_width == 0 || layer_height == 0) {
    report(REPORT_ERROR, "set_display_dim_globals: dim should never be 0.");
    return false;
  }
  display_dims.n_pixels = temp_raster_info.width * temp_raster_info.height;
  short_image_size = std::int64_t(display_dims.n_pixels) * 2;
  const auto full = [](int first, int last, double scale) {
    return std::max(1, int_trunc(double(std::int64_t(last) - first + 1) * scale));
  };
  display_dims.full_width = full(render_info.frame_x0, render_info.frame_x1, render_info.scale_x);
  display_dims.full_height = full(render_info.frame_y0, render_info.frame_y1, render_info.downsample_y);
  display_dims.view_width = temp_raster_info.width;
  display_dims.view_height = temp_raster_info.height;
  set_layer_dims(layer_width, layer_height, dsx, dsy);
  if (temp_raster_info.width > 0 && temp_raster_info.height > 0) {
    display_dims.x_origin_fix = wrap_shl(temp_raster_info.x0, FIX_BITS);
    display_dims.y_origin_fix = wrap_shl(temp_raster_info.y0, FIX_BITS);
  }
  return true;
}

void set_fixed_frame_rate(float fps) { fixed_fps = fps; }

void set_time_globals(const pf_in_data& in_data) {
  const double step = std::max(std::fabs(double(in_data.time_step)), 1.0);
  time_globals.frame_step = float(step);
  time_globals.fps = fixed_fps > 0 ? fixed_fps : float(in_data.time_scale / step);
  time_globals.current_frame = float(in_data.current_time / step);
  time_globals.total_frames = float(in_data.total_time / step);
  // A host that gives no time scale has no seconds.
  const bool has_rate = time_globals.fps > 0;
  time_globals.total_secs = has_rate ? time_globals.total_frames / time_globals.fps : 0.0f;
  time_globals.current_secs = has_rate ? time_globals.current_frame / time_globals.fps : 0.0f;
  const float last_frame = time_globals.total_frames - 1;
  time_globals.percent_time = last_frame > 0 ? std::clamp(time_globals.current_frame / last_frame, 0.0f, 1.0f)
                              : time_globals.current_frame > 0 ? 1.0f
                                                               : 0.0f;
}

void note_temporal_run(globals_record& record, const pf_in_data& in_data, bool thumbnail) {
  record.temp_set = &record.temp_sets[thumbnail ? 1 : 0];
  temp_set_record& set = *record.temp_set;
  const double elapsed = double(in_data.current_time) - set.last_time;
  if (elapsed <= 0 || elapsed >= RUN_BREAK_STEPS * in_data.time_step) {
    set.reset_mark = 0;
    set.run_start = in_data.current_time;
  }
  set.last_time = in_data.current_time;
  time_globals.run_start_time = set.run_start;
}

}  // namespace tessaron
