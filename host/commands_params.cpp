// Params setup: the effects of a plug-in are read, set out in their table and declared to the host.
#include <algorithm>
#include <cstring>
#include <string>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "host/commands.h"
#include "host/configuration.h"
#include "host/effect_table.h"
#include "host/host_handles.h"
#include "host/host_state.h"
#include "host/live_records.h"
#include "host/parameters.h"
#include "host/widgets/declarations.h"
#include "installer/name_placeholder.h"

namespace tessaron {

namespace {

constexpr std::uint32_t EVENT_WINDOWS = 3;  // layer and composition windows
constexpr int CUSTOM_DESCRIPTOR_B = 10;

enum custom_reading_mode { NOT_READ = 0, BY_INDEX = 1, BY_NAME = 2 };

std::int32_t load_named_effects(const tessaron_plugin& plugin) {
  globals_record& record = *Globals;
  record.plugin_name = plugin.plugin_name;
  record.n_inputs_declared = plugin.n_inputs_declared;
  record.descriptor_a = plugin.descriptor_a;
  record.descriptor_b = plugin.descriptor_b;
  record.doc_name = plugin.doc_name;
  int n = 0;
  for (; plugin.effect_names && plugin.effect_names[n]; ++n) {
    if (n == MAX_EFFECTS_PER_PLUGIN) {
      report(REPORT_ERROR, "%s: too many effects in single plug-in\n", plugin.plugin_name ? plugin.plugin_name : "");
      break;
    }
    record.effect_names[n] = plugin.effect_names[n];
    const char* suffix = plugin.effect_suffixes ? plugin.effect_suffixes[n] : nullptr;
    if (!suffix || !*suffix) continue;
    record.effect_names[n] = copy_text((std::string(plugin.effect_names[n]) + suffix).c_str());
    record.owned_names_mask |= std::uint64_t(1) << n;
  }
  record.n_effects = std::int16_t(std::min<int>(plugin.n_effects, n));
  load_effects_from_strings();
  return record.genotypes[0] ? PF_Err_NONE : PF_Err_INTERNAL;
}

/// Customs are read by name or by index, one way in one process.
bool agree_on_reading_mode(custom_reading_mode mode, const char* name) {
  if (host_state.custom_reading_mode != NOT_READ && host_state.custom_reading_mode != mode) {
    report(REPORT_ERROR,
           "Can't mix reading custom plugins by index (%d) and by name (%s).\nMake sure all your customs have been "
           "properly configured.",
           host_state.customs_read, name);
    return false;
  }
  host_state.custom_reading_mode = mode;
  return true;
}

/// Place in the definitions file: the next one, and the same again when the plug-in is set up again.
int custom_index() {
  plugin_notes* notes = notes_of_plugin(Globals->in_data->global_data);
  if (!notes) return host_state.customs_read++;
  if (notes->custom_index < 0) notes->custom_index = host_state.customs_read++;
  return notes->custom_index;
}

std::int32_t load_custom_effect(const tessaron_plugin& plugin) {
  const char* name = plugin.plugin_name ? plugin.plugin_name : "";
  if (std::strcmp(name, installer::NAME_PLACEHOLDER) != 0) {
    if (!agree_on_reading_mode(BY_NAME, name)) return PF_Err_BAD_REQUEST;
    load_effect_by_name(name, config_path());
  } else {
    if (!agree_on_reading_mode(BY_INDEX, name)) return PF_Err_BAD_REQUEST;
    load_effect_by_index(custom_index(), config_path());
  }
  globals_record& record = *Globals;
  const genotype* g = record.genotypes[0];
  if (!g) return PF_Err_INTERNAL;
  record.plugin_name = record.effect_names[0] = copy_text(g->name);
  record.host_flags |= HOST_NAMES_ARE_HEAP | HOST_IS_CUSTOM;
  record.n_effects = 1;
  record.n_inputs_declared = g->n_inputs;
  record.descriptor_a = 0;
  record.descriptor_b = CUSTOM_DESCRIPTOR_B;
  record.doc_name = "Custom Plug-in (no documentation)";
  return PF_Err_NONE;
}

bool can_add_params(const pf_in_data& in_data) {
  if (in_data.inter.add_param) return true;
  report(REPORT_ERROR, "%s",
         host_state.host_app == HOST_FINAL_CUT
             ? "Missing API function. This is a Final Cut Pro bug.  If this happened due to pressing the About button "
               "while the plugin was disabled, just avoid doing that.  Please restart Final Cut as soon as possible."
             : "Host error: missing API function.  Please restart the application as soon as possible.");
  return false;
}

/// Declares the extra inputs, the popup of effects and all parameters. Host index 0 is the layer itself.
std::int32_t declare_all(pf_in_data& in_data, pf_out_data& out_data) {
  globals_record& record = *Globals;
  int next_index = 1, next_id = 1;
  record.input_param_index = 1;
  if (const std::int32_t error = declare_extra_inputs(in_data, next_index, next_id)) return error;
  const int popup_index = next_index;
  if (const std::int32_t error = declare_effect_popup(in_data, next_index, next_id)) return error;
  record.popup_param_index = std::uint8_t(next_index > popup_index ? popup_index : 0);
  record.first_param_index = std::uint8_t(next_index);
  if (const std::int32_t error = declare_params(in_data, next_index, next_id)) return error;
  share_enable_places();
  out_data.num_params = next_index;
  return PF_Err_NONE;
}

}  // namespace

std::int32_t load_plugin_effects(const tessaron_plugin& plugin) {
  return plugin.is_custom ? load_custom_effect(plugin) : load_named_effects(plugin);
}

std::int32_t params_setup(const command_call& call) {
  const call_record record(call.in_data, record_choice::plugin);
  if (!record) return PF_Err_INTERNAL;
  empty_plugin(call.in_data.global_data, *record);  // a host may ask twice
  if (const std::int32_t error = load_plugin_effects(call.plugin)) return error;
  record->effect_table = make_effect_table();
  check_shared_params();
  select_effect_i(0, 0);
  check_effect_grid(*record->effect_table);
  gather_plugin_widgets();
  if (!can_add_params(call.in_data)) return PF_Err_INTERNAL;
  if (const std::int32_t error = declare_all(call.in_data, *call.out_data)) return error;
  const std::int32_t result =
      call.in_data.inter.register_ui ? call.in_data.inter.register_ui(call.in_data.effect_ref, EVENT_WINDOWS) : 0;
  offer_about_lines(call.in_data);
  negotiate_native_format(*record);
  return result;
}

}  // namespace tessaron
