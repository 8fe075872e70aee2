// The life of one effect instance: its copy of `Globals` with private genotypes, and its flat form.
#include <cstring>

#include "base/report.h"
#include "base/text.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/genotype_reader.h"
#include "host/commands.h"
#include "host/configuration.h"
#include "host/effect_table.h"
#include "host/host_handles.h"
#include "host/host_state.h"
#include "host/live_records.h"
#include "host/widgets/controller.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

/// Sequence data as a project file keeps it.
struct flat_record {
  std::uint32_t marker, version, reserved;
};
static_assert(sizeof(flat_record) == 12);

/// Whether the call's sequence data is in the flat form.
bool is_flat(const pf_in_data& in_data) {
  const locked_handle data(in_data, in_data.sequence_data);
  std::uint32_t marker = 0;
  if (!data.block() || !block_holds(in_data, in_data.sequence_data, sizeof marker)) return false;
  std::memcpy(&marker, data.block(), sizeof marker);
  return marker == FLAT_MARKER;
}

/// What a project that comes back must have kept.
bool is_complete(const globals_record& record) {
  return record.n_effects >= 1 && record.n_effects <= MAX_EFFECTS_PER_PLUGIN && record.plugin_name &&
         *record.plugin_name && record.effect_names[0] && *record.effect_names[0];
}

void free_owned_names(globals_record& record) {
  for (int i = 0; i < MAX_EFFECTS_PER_PLUGIN; ++i)
    if (record.owned_names_mask >> i & 1) {
      free_text(record.effect_names[i]);
      record.effect_names[i] = nullptr;
    }
  record.owned_names_mask = 0;
  if (record.host_flags & HOST_NAMES_ARE_HEAP) {
    // A custom's only effect goes by the same text.
    if (record.effect_names[0] == record.plugin_name) record.effect_names[0] = nullptr;
    free_text(record.plugin_name);
    record.plugin_name = nullptr;
    record.host_flags &= ~HOST_NAMES_ARE_HEAP;
  }
}

/// Makes `copy` a record of its own: what belongs to the plug-in stays the plug-in's, what an instance
/// changes is private.
void copy_record(globals_record& copy, globals_record& plugin) {
  copy = plugin;
  copy.global_globals = &plugin;
  copy.host_flags = std::uint8_t((copy.host_flags & ~HOST_NAMES_ARE_HEAP) | HOST_IS_HANDLE_RECORD);
  copy.owned_names_mask = 0;
  copy.param_flags &= ~PARAM_MAY_CHECKOUT;
  copy.temp_set = &copy.temp_sets[0];
  if (copy.effect_table) ++copy.effect_table->ref_count;
  copy.effect_genotype = nullptr;
  copy.widgets = nullptr;
  copy.n_eval_image_nodes = 0;
  for (genotype*& g : copy.genotypes) g = nullptr;
  for (int i = 0; i < plugin.n_effects; ++i)
    if (plugin.genotypes[i]) copy.genotypes[i] = copy_genotype(*plugin.genotypes[i]);
}

/// The first instance of the process brings up what all share.
void start_shared_data() {
  if (host_state.shared_data_ready) return;
  read_config();
  start_fork_workers();
  // The workers live until the process ends, and so must their code.
  if (n_processors > 1) platform::pin_module(reinterpret_cast<const void*>(&tessaron_main));
  load_luts();
  host_state.shared_data_ready = true;
}

/// Makes the zeroed record behind `handle` an instance of the plug-in; on a fault it holds nothing.
void build_instance(globals_record& copy, pf_handle handle, globals_record& plugin, pf_in_data& in_data) {
  globals_record* const before = Globals;
  try {
    copy_record(copy, plugin);
    copy.in_data = &in_data;
    Globals = &copy;
    check_shared_params();
    select_effect_i(0, 0);
    note_instance(handle, in_data.global_data, copy);
  } catch (...) {
    release_record(copy);
    Globals = before;
    throw;
  }
  Globals = before;
  plugin.current_effect_i = 0;
  plugin.effect_genotype = plugin.genotypes[0];
}

/// Takes the sequence data out of the call: what it owns is released, its handle disposed of.
void drop_sequence_data(const command_call& call) {
  {
    const call_record record(call.in_data, record_choice::instance);
    release_instance(call.in_data.sequence_data, record ? &*record : nullptr);
  }
  dispose_host_handle(call.in_data, call.in_data.sequence_data);
  if (call.out_data) call.out_data->sequence_data = nullptr;
}

}  // namespace

void release_record(globals_record& record) {
  free_widgets(record);  // they point into the genotypes
  for (genotype*& g : record.genotypes) {
    if (g) free_genotype(g);
    g = nullptr;
  }
  record.effect_genotype = nullptr;
  record.n_eval_image_nodes = 0;
  record.state_flags &= ~(STATE_EFFECT_SELECTED | STATE_EVAL_PREPARED);
  try {
    free_temp_sets(record);
  } catch (const TessaronAbortException&) {  // reported; the rest is released all the same
  }
  free_all_temp_images();
  record.temp_count = 0;
  unref_effect_table(record.effect_table);
  record.effect_table = nullptr;
  free_owned_names(record);
}

std::int32_t sequence_setup(const command_call& call) {
  const call_record plugin(call.in_data, record_choice::plugin);
  if (!plugin || !plugin->genotypes[0]) return PF_Err_INTERNAL;
  const bool live = bool(call_record(call.in_data, record_choice::instance));
  if (!live) {
    // What lies in the handle, if anything, is a flat form or of an earlier session.
    drop_sequence_data(call);
    call.in_data.sequence_data = new_host_handle<globals_record>(
        call.in_data,
        [&](globals_record& copy, pf_handle handle) { build_instance(copy, handle, *plugin, call.in_data); });
    if (!call.in_data.sequence_data) return PF_Err_INTERNAL;
  }
  call.out_data->sequence_data = call.in_data.sequence_data;
  try {
    const call_record record(call.in_data, record_choice::instance);
    start_shared_data();
    if (record) make_widgets();
  } catch (...) {
    if (!live) drop_sequence_data(call);  // a host takes nothing from a command that failed
    throw;
  }
  return PF_Err_NONE;
}

std::int32_t sequence_resetup(const command_call& call) {
  {
    const call_record record(call.in_data, record_choice::instance);
    if (record && is_complete(*record)) {
      call.out_data->sequence_data = call.in_data.sequence_data;
      return PF_Err_NONE;
    }
  }
  drop_sequence_data(call);
  free_all_temp_images();  // planes of the last frame are no longer this instance's
  return sequence_setup(call);
}

std::int32_t sequence_flatten(const command_call& call) {
  if (is_flat(call.in_data)) {
    release_instance(call.in_data.sequence_data, nullptr);  // of an instance that the host has written over
    call.out_data->sequence_data = call.in_data.sequence_data;
    call.out_data->flat_sdata_size = sizeof(flat_record);
    return PF_Err_NONE;
  }
  drop_sequence_data(call);
  call.out_data->flat_sdata_size = 0;
  call.out_data->sequence_data = new_host_handle<flat_record>(call.in_data, [](flat_record& flat, pf_handle) {
    flat = {FLAT_MARKER, 1, 0};
  });
  if (!call.out_data->sequence_data) return PF_Err_INTERNAL;
  call.out_data->flat_sdata_size = sizeof(flat_record);
  return PF_Err_NONE;
}

std::int32_t sequence_setdown(const command_call& call) {
  drop_sequence_data(call);
  return PF_Err_NONE;
}

}  // namespace tessaron
