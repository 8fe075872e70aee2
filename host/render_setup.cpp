#include "host/render_setup.h"

#include <algorithm>
#include <bit>

#include "base/report.h"
#include "evaluator/queries.h"
#include "host/display_globals.h"
#include "host/parameters.h"

namespace tessaron {
namespace {

constexpr int LAYER_SIDE_LIMIT = 32767;

// Coordinates step by 2 / scaled size in 24 fractional bits; below this size a step outgrows 32 bits.
constexpr double SMALLEST_SCALED_SIZE = 1.0 / 32;

bool scale_usable(int size, const pf_rational& downsample, const char* axis) {
  const double fraction = downsample_fraction(downsample);
  const auto refuse = [&](const char* what) {
    report(REPORT_ERROR, "Downsample of %d/%d in %s %s a layer of %d pixels.", downsample.num, downsample.den, axis,
           what, size);
    return false;
  };
  if (!(fraction > 0) || (size > 0 && size * fraction < SMALLEST_SCALED_SIZE)) return refuse("leaves nothing of");
  if (std::max(size, 1) * fraction > LAYER_SIDE_LIMIT) return refuse("makes too much of");
  return true;
}

/// The column for the connected inputs. An optional input that no column does without stays in, however
/// unconnected: it is then fed with the first input.
std::uint32_t fitting_column(const effect_table& table, std::uint32_t connected) {
  const effect_column* nearest = nullptr;
  for (const effect_column& column : table.columns) {
    if (column.input_mask == connected) return connected;
    const bool covers = (column.input_mask & connected) == connected;
    if (covers && (!nearest || std::popcount(column.input_mask) < std::popcount(nearest->input_mask)))
      nearest = &column;
  }
  return nearest ? nearest->input_mask : connected;
}

}  // namespace

checkout_permission::checkout_permission() {
  Globals->param_flags |= PARAM_MAY_CHECKOUT;
  read_curve_value = get_curve_value_at_rel_frame;
}

checkout_permission::~checkout_permission() {
  Globals->param_flags &= std::uint8_t(~PARAM_MAY_CHECKOUT);
  read_curve_value = nullptr;
}

bool frame_usable(const pf_in_data& in_data, pf_param_def** params) {
  if (!params || !params[0]) {
    report(REPORT_ERROR, "The host gave no parameters with the frame.");
    return false;
  }
  if (!in_data.inter.checkout_param || !in_data.inter.checkin_param) {
    report(REPORT_ERROR, "The host gave no call to check out inputs.");
    return false;
  }
  if (in_data.width < 0 || in_data.height < 0 || in_data.width > LAYER_SIDE_LIMIT ||
      in_data.height > LAYER_SIDE_LIMIT) {
    report(REPORT_ERROR, "A layer of %d by %d pixels: a side is 0 to %d.", in_data.width, in_data.height,
           LAYER_SIDE_LIMIT);
    return false;
  }
  if (in_data.field < 0 || in_data.field > 2) {
    report(REPORT_ERROR, "A frame of field %d: 0 is the whole frame, 1 and 2 its fields.", in_data.field);
    return false;
  }
  return scale_usable(in_data.width, in_data.downsample_x, "x") &&
         scale_usable(in_data.height, in_data.downsample_y, "y");
}

std::int32_t choose_effect(pf_param_def** params, checked_out_inputs& inputs, frame_effect& effect) {
  if (!Globals->effect_table) {
    report(REPORT_ERROR, "A frame was asked for before the parameters were set up.");
    return PF_Err_INTERNAL;
  }
  effect_table& table = *Globals->effect_table;
  if (const std::int32_t error = inputs.check_out(count_table_inputs(table))) return error;
  const std::uint32_t column =
      fitting_column(table, connected_input_mask(inputs.present_mask(), inputs.pixels().data()));
  effect.effect_i = find_effect(column, popup_index_for_params(params));
  if (effect.effect_i < 0 || effect.effect_i >= MAX_EFFECTS_PER_PLUGIN) return PF_Err_BAD_REQUEST;
  effect.g = Globals->genotypes[effect.effect_i];
  if (!effect.g || effect.g->n_nodes < 1) {
    report(REPORT_ERROR, "Effect %d of %s has not been read.", effect.effect_i,
           Globals->plugin_name ? Globals->plugin_name : "the plug-in");
    return PF_Err_INTERNAL;
  }
  effect.inputs = feed_inputs(*effect.g, table, inputs);
  for (int i = 0; i < effect.inputs.count; ++i)
    if (effect.inputs.layer[i] && !world_usable(*effect.inputs.layer[i], effect.g->input_names[i]))
      return PF_Err_BAD_REQUEST;
  effect.bgra = Globals->host_flags & HOST_NATIVE_FORMATS_OK;
  select_effect_i(effect.effect_i, 0);
  return PF_Err_NONE;
}

}  // namespace tessaron
