// The plug-in's own life: global setup and set-down, the about command, dynamic flags.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "base/report.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "genotype/genotype_reader.h"
#include "host/commands.h"
#include "host/configuration.h"
#include "host/help.h"
#include "host/host_handles.h"
#include "host/host_report.h"
#include "host/host_state.h"
#include "host/host_suites.h"
#include "host/live_records.h"
#include "operators/film_tables.h"
#include "operators/lens_flares.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

constexpr std::uint32_t NORMAL_VERSION = 0x88000, CUSTOM_VERSION = 1;
constexpr double VERSION_TOLERANCE = 0.001;

/// Routes reports, abort questions, memory and the configuration through the host adapter.
void install_hooks(const pf_in_data& in_data) {
  install_message_hooks();
  set_abort_query(ae_check_abort);
  read_configuration = read_config;
  if (const pf_utility_callbacks* utils = in_data.utils) {
    const handle_suite suite{utils->host_new_handle, utils->host_lock_handle, utils->host_unlock_handle,
                             utils->host_dispose_handle};
    set_handle_suite(&suite);
  }
}

/// The last plug-in is gone: gives the host's memory back and forgets everything about the host, so
/// that the next setup starts clean.
void end_process_life() {
  free_all_temp_images();
  free_flare_lists();
  reset_film_types();
  reset_film_tables();  // built from the types
  set_handle_suite(nullptr);
  set_abort_query(nullptr);
  remove_message_hooks();
  host_state_record fresh{};
  fresh.session_stamp = host_state.session_stamp;
  fresh.call_stamp = host_state.call_stamp;
  fresh.log_pending = host_state.log_pending;  // one log for the process, however often it starts anew
  host_state = fresh;
}

/// Counts a plug-in as alive; takes it back unless the setup came to its end.
class counted_setup {
 public:
  counted_setup() { ++host_state.n_global_setups; }
  ~counted_setup() {
    if (!done_ && --host_state.n_global_setups == 0) end_process_life();
  }
  bool first_of_process() const { return host_state.n_global_setups == 1; }
  void done() { done_ = true; }

 private:
  bool done_ = false;
};

bool version_matches(const tessaron_plugin& plugin) {
  if (std::fabs(1.1 - double(plugin.plugin_version)) <= VERSION_TOLERANCE) return true;
  report(REPORT_ERROR, "Plug-in version mismatch: plug-in is %g, DLL is %g.  Please reinstall Tessaron Plug-ins.",
         double(plugin.plugin_version), double(ENGINE_VERSION));
  return false;
}

/// The clock's second, or the one after the last session's: two sessions never share a stamp.
std::int32_t new_session_stamp() { return std::max(std::int32_t(std::time(nullptr)), host_state.session_stamp + 1); }

void describe_plugin(const tessaron_plugin& plugin, const pf_in_data& in_data, pf_out_data& out_data) {
  out_data.my_version = plugin.is_custom ? CUSTOM_VERSION : NORMAL_VERSION;
  std::snprintf(out_data.name, sizeof out_data.name, "%s", plugin.plugin_name ? plugin.plugin_name : "");
  out_data.out_flags = plugin.out_flags;
  if (in_data.version_major > 12 || (in_data.version_major == 12 && in_data.version_minor > 9))
    out_data.out_flags2 = plugin.out_flags2;
}

/// Each plug-in of Combustion acquires the suite; the engine keeps the table while one of them holds it.
void acquire_combustion_suite(const pf_in_data& in_data, plugin_notes& notes) {
  const void* table = held_suite<void>(in_data, COMBUSTION_SUITE).keep();
  if (!table) return;
  host_state.combustion_suite = table;
  notes.holds_combustion_suite = true;
}

void release_combustion_suite(const pf_in_data& in_data, plugin_notes& notes) {
  if (!notes.holds_combustion_suite) return;
  notes.holds_combustion_suite = false;
  if (!any_holds_combustion_suite()) host_state.combustion_suite = nullptr;
  if (in_data.pica_basic && in_data.pica_basic->release_suite) in_data.pica_basic->release_suite(COMBUSTION_SUITE, 1);
}

}  // namespace

std::int32_t about(const command_call& call) {
  const call_record record(call.in_data, record_choice::instance_or_plugin);
  if (!record) {
    std::snprintf(call.out_data->return_msg, sizeof call.out_data->return_msg, "Tessaron Plug-ins, version %s",
                  ENGINE_VERSION_TEXT);
    return PF_Err_NONE;
  }
  // Before params setup the record names nothing yet.
  if (!record->doc_name) record->doc_name = call.plugin.doc_name;
  if (!record->plugin_name) record->plugin_name = call.plugin.plugin_name;
  if (call.plugin.is_custom) record->host_flags |= HOST_IS_CUSTOM;
  help_reference reference;
  reference.module = reinterpret_cast<const void*>(&tessaron_main);
  reference.globals = &*record;
  return show_help_dialog(reference) == 0 ? PF_Err_NONE : PF_Err_INTERNAL;
}

std::int32_t global_setup(const command_call& call) {
  counted_setup setup;
  if (setup.first_of_process()) {
    install_hooks(call.in_data);
    if (!version_matches(call.plugin)) return PF_Err_INTERNAL;
    detect_host(call.in_data);
    host_state.session_stamp = new_session_stamp();
    // Premiere would unload the library between two uses.
    if (host_state.host_app == HOST_PREMIERE) platform::pin_module(reinterpret_cast<const void*>(&tessaron_main));
  }
  const pf_handle global_data = new_host_handle<globals_record>(call.in_data, [&](auto& record, pf_handle handle) {
    init_globals(record);
    record.temp_set = &record.temp_sets[0];
    record.host_flags |= HOST_IS_HANDLE_RECORD;
    record.session_stamp = host_state.session_stamp;
    record.in_data = &call.in_data;
    note_plugin(handle, record);
  });
  if (!global_data) return PF_Err_INTERNAL;
  call.out_data->global_data = global_data;
  describe_plugin(call.plugin, call.in_data, *call.out_data);
  if (host_state.host_app == HOST_COMBUSTION) acquire_combustion_suite(call.in_data, *notes_of_plugin(global_data));
  setup.done();
  return PF_Err_NONE;
}

std::int32_t global_setdown(const command_call& call) {
  plugin_notes* notes = notes_of_plugin(call.in_data.global_data);
  if (!notes) return PF_Err_NONE;
  {
    const call_record record(call.in_data, record_choice::plugin);
    release_combustion_suite(call.in_data, *notes);
    release_plugin(call.in_data.global_data, record ? &*record : nullptr);
    if (host_state.n_global_setups > 0 && --host_state.n_global_setups == 0) end_process_life();
  }
  dispose_host_handle(call.in_data, call.in_data.global_data);
  if (call.out_data) call.out_data->global_data = nullptr;
  return PF_Err_NONE;
}

std::int32_t query_dynamic_flags(const command_call& call) {
  const call_record record(call.in_data, record_choice::instance);
  if (!record || !record->effect_genotype) return PF_Err_NONE;
  const std::uint8_t flags = record->effect_genotype->flags[0];
  if (flags & GENO0_READS_CLIPS) call.out_data->out_flags |= PF_OutFlag_USES_TIME;
  if (flags & (GENO0_PREV_OUTPUT | GENO0_FRAME_DEPENDENT)) call.out_data->out_flags |= PF_OutFlag_WIDE_TIME;
  return PF_Err_NONE;
}

}  // namespace tessaron
