// Frame setup: how big the output of a frame will be, and where the layer lies in it.
#include <algorithm>

#include "evaluator/bounds.h"
#include "evaluator/plan.h"
#include "genotype/genotype_reader.h"
#include "host/alpha_modes.h"
#include "host/display_globals.h"
#include "host/host_state.h"
#include "host/render_setup.h"

namespace tessaron {
namespace {

// A border reaches no further than the layer is large; a small layer counts as this.
constexpr int SMALL_LAYER_WIDTH = 360, SMALL_LAYER_HEIGHT = 270;
constexpr int FAR_SIDE = 16383;  // a region beyond this is unbounded

input_border unbounded_border() { return {-UNBOUNDED_SIDE, UNBOUNDED_SIDE, -UNBOUNDED_SIDE, UNBOUNDED_SIDE, 0}; }

/// Border of one input by the region that the output takes up when the input is `input`.
input_border border_around(const rectangle& input, const rectangle& reach, bool& unbounded) {
  if (reach.empty) return {0, 0, 0, 0, 1};
  for (int side : {reach.left, reach.top, reach.right, reach.bottom})
    if (side > FAR_SIDE || side < -FAR_SIDE) {
      unbounded = true;
      return unbounded_border();
    }
  const auto beyond = [](int amount) { return std::int16_t(std::max(0, amount)); };
  return {beyond(input.left - reach.left), beyond(reach.right - input.right), beyond(input.top - reach.top),
          beyond(reach.bottom - input.bottom), 0};
}

/// Makes the tree's constants those of this frame, as far as the bounds of its operators need them.
/// False when the tree doesn't fit the inputs' channels, which the render will report.
bool prepare_tree(const frame_effect& effect, const pf_in_data& in_data) {
  fill_source_rasters(effect.inputs, effect.bgra);
  set_frame_bounds(in_data);
  render_info.frame_x0 = render_info.frame_y0 = -UNBOUNDED_SIDE;
  render_info.frame_x1 = render_info.frame_y1 = UNBOUNDED_SIDE;
  set_pixel_aspect_ratio(render_pixel_aspect(in_data));
  set_layer_dims(in_data.width, in_data.height, render_info.downsample_x, render_info.downsample_y);
  display_dims.view_width = display_dims.view_height = UNBOUNDED_SIDE;
  set_time_globals(in_data);  // an amount may hang on time
  read_mix_params(*effect.g);
  set_genotype_arg_ptrs(*effect.g);
  choose_alpha_modes(*effect.g, effect.inputs);
  if (!resolve_element_counts(*effect.g)) return false;
  fold_and_pass(*effect.g);
  return true;
}

/// Sets Globals->input_borders; true when the effect reaches without end.
bool measure_borders(const frame_effect& effect) {
  bool unbounded = false;
  for (int i = 0; i < effect.inputs.count; ++i) {
    if (!effect.inputs.layer[i]) continue;
    const rectangle input = raster_rectangle(source_raster_info[i]);
    Globals->input_borders[i] = border_around(input, bounds_of_tree(*effect.g, input), unbounded);
  }
  return unbounded;
}

/// The border that serves every input.
input_border widest_border(int n_inputs) {
  input_border widest = {};
  for (int i = 0; i < n_inputs; ++i) {
    const input_border& border = Globals->input_borders[i];
    widest.left = std::max(widest.left, border.left);
    widest.right = std::max(widest.right, border.right);
    widest.top = std::max(widest.top, border.top);
    widest.bottom = std::max(widest.bottom, border.bottom);
  }
  return widest;
}

/// Puts the layer's bounds back into render_info whatever way frame setup ends.
struct frame_bounds_restorer {
  const pf_in_data& in_data;
  ~frame_bounds_restorer() { set_frame_bounds(in_data); }
};

}  // namespace

std::int32_t frame_setup(pf_in_data& in_data, pf_out_data& out_data, pf_param_def** params) {
  Globals->host_flags |= HOST_IN_FRAME_SETUP;
  const checkout_permission permission;
  if (!frame_usable(in_data, params)) return PF_Err_BAD_REQUEST;
  checked_out_inputs inputs(in_data, params);
  frame_effect effect;
  if (const std::int32_t error = choose_effect(params, inputs, effect)) return error;

  const pf_world& layer = params[0]->u.layer;
  const int width =
      layer.width > 0 ? layer.width : scaled_size(in_data.width, downsample_fraction(in_data.downsample_x));
  const int height =
      layer.height > 0 ? layer.height : scaled_size(in_data.height, downsample_fraction(in_data.downsample_y));

  input_border border = {};
  std::fill(std::begin(Globals->input_borders), std::end(Globals->input_borders), input_border{});
  if (effect.g->flags[0] & GENO0_MAY_GROW) {
    const frame_bounds_restorer restorer{in_data};
    if (prepare_tree(effect, in_data)) {
      const bool unbounded = measure_borders(effect);
      Globals->state_flags |= STATE_CONSTANTS_DIRTY;  // folded for a view without bounds
      if (mix_globals.borders_on && !unbounded) border = widest_border(effect.inputs.count);
    }
  }
  const int reach_x = std::max(width, SMALL_LAYER_WIDTH), reach_y = std::max(height, SMALL_LAYER_HEIGHT);
  const int left = std::min<int>(border.left, reach_x), right = std::min<int>(border.right, reach_x);
  const int top = std::min<int>(border.top, reach_y), bottom = std::min<int>(border.bottom, reach_y);
  out_data.origin_x = left;
  out_data.origin_y = top;
  out_data.width = width + left + right;
  out_data.height = height + top + bottom;
  return PF_Err_NONE;
}

}  // namespace tessaron
