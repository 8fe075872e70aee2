// Parameters between a definition and its host: declaration, reading, writing, units.
#pragma once

#include <cstdint>
#include <string>

#include "genotype/genotype.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// Bits of param::flags[4] that only a host's layout looks at; no keyword of the language sets them.
enum param_host_flag : std::uint8_t { PARAM4_COLLAPSE_TWIRL = 0x08, PARAM4_KEYFRAME_HOLD = 0x10 };

/// The kind of control that stands for a parameter in the host.
enum class host_control { slider, dial, point, color, popup, named_list, checkbox, none };
host_control control_of(const param& p);
/// host_index of a parameter that this host does not show; below 1 no control is read or written.
inline constexpr std::int16_t NOT_SHOWN = -100, ANOTHER_STANDS_FOR_IT = -101;

/// Adds a layer parameter for each input name behind the first, and the popup of the effects where there
/// are several. Non-zero: the host's error.
std::int32_t declare_extra_inputs(pf_in_data& in_data, int& next_index, int& next_id);
std::int32_t declare_effect_popup(pf_in_data& in_data, int& next_index, int& next_id);
/// Sets the host-wide values of angles and hidden controls, by the host and the configuration.
void set_host_wide_values();
/// Adds the host parameters of the selected effect; both counters are in-out. Non-zero: the host's error.
std::int32_t declare_params(pf_in_data& in_data, int& next_index, int& next_id);
int calc_slider_granularity(float min, float max);
/// The text the user sees; channel -1: the whole parameter.
std::string host_param_name(const param& p, int channel);
/// The filter that every shown name goes through: one blank for `_` and blanks, words capitalised.
std::string shown_name(const char* name);
/// `v` truncated; what does not fit gives the nearest end, NaN gives 0.
std::int32_t int_trunc(double v);
/// The 16.16 number of `v`, truncated, and rounded by adding one half before the truncation.
inline constexpr double FIXED16_ONE = 65536.0;
inline pf_fixed fixed16_trunc(double v) { return int_trunc(v * FIXED16_ONE); }
inline pf_fixed fixed16_round(double v) { return int_trunc(v * FIXED16_ONE + 0.5); }

/// Reads all channels from the host into `value` and into the node.
void fetch_param(param& p);
/// fetch_param for each parameter whose stamp is older than this call.
void refresh_params(genotype& g);
/// A colour channel of 0 to 1 as the host's byte.
std::uint8_t color_byte(float v);

struct unit_frame { double width, height, dsx, dsy, par; };
/// The frame that host values refer to in the call under way; 720 by 486 and ratios of 1 without one.
unit_frame current_unit_frame();
/// The host's control of a channel in the call under way; null where there is none.
pf_param_def* host_param(const param& p, int channel);
/// Index of a channel's control in the host's array.
int host_slot(const param& p, int channel);
/// Whether the host shows a parameter's two channels as one point.
bool shown_as_point(const param& p, const pf_param_def& def);
/// Host value to engine value, one channel of a slider. Percent and integer rounding included.
double host_to_engine(const param& p, int channel, const unit_frame& f, double v);
/// The point rule: y arrives with H - y already taken.
double point_to_engine(const param& p, int channel, const unit_frame& f, double v);
/// What a host's control says of one channel, in engine units.
double fetched_value(const param& p, int channel, const pf_param_def& def, const unit_frame& f);
/// Engine value to slider value, the inverse as it is defined for writing back.
double engine_to_host(const param& p, int channel, const unit_frame& f, double v);

/// The engine writes to the host; returns the number of channels written.
int set_param_value(param& p, int first_channel, int count, const float* values);
/// Writes so that a fetch then reads `value`, whatever the two forms of the units make of it. Values beyond the
/// parameter's limits stop there, the control's precision rounds. False where no control takes the channel.
bool set_fetched_value(param& p, int channel, double value);
/// The level that an effect's node keeps for a hold-level button: fills values and returns their number, 0
/// if there is none. Null until a node function offers one.
using saved_level_query = int (*)(const node& n, float (&values)[4]);
extern saved_level_query saved_level;
void on_user_changed_param(pf_param_def** params, int index);
/// Value of a parameter's channels at a frame offset from the current one, in engine units. `values` has
/// room for 4.
void get_curve_value_at_rel_frame(param* p, float rel_frame, float* values);

/// Reads a special parameter of the selected effect by name; false if there is none.
bool special_param_value(const genotype& g, const char* name, float& value);

}  // namespace tessaron
