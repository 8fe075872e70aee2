// The handlers behind the commands of tessaron_main, one function each.
#pragma once

#include <cstdint>

#include "genotype/globals.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// The arguments of one call. Pointers that a command needs have been checked.
struct command_call {
  const tessaron_plugin& plugin;
  pf_in_data& in_data;
  pf_out_data* out_data;
  pf_param_def** params;
  pf_world* output;
  void* extra;
};

// Each returns 0 or a host error number; a fatal fault leaves them as TessaronAbortException.
std::int32_t about(const command_call& call);
std::int32_t global_setup(const command_call& call);
std::int32_t global_setdown(const command_call& call);
std::int32_t params_setup(const command_call& call);
std::int32_t sequence_setup(const command_call& call);
std::int32_t sequence_resetup(const command_call& call);
std::int32_t sequence_flatten(const command_call& call);
std::int32_t sequence_setdown(const command_call& call);
std::int32_t frame_setup_command(const command_call& call);
std::int32_t render_command(const command_call& call);
std::int32_t user_changed_param(const command_call& call);
std::int32_t event(const command_call& call);
std::int32_t query_dynamic_flags(const command_call& call);

/// Frees what a record holds beyond its own block: genotypes, planes, its share of the effect table,
/// names. Goes on after a fault, which has been reported. The record may be filled or released again.
void release_record(globals_record& record);

/// Loads the effects of a descriptor into Globals. 0 or a host error number.
std::int32_t load_plugin_effects(const tessaron_plugin& plugin);

/// Agrees with the host on a pixel layout, and hands it the about lines if it takes them.
void negotiate_native_format(globals_record& record);
void offer_about_lines(const pf_in_data& in_data);

}  // namespace tessaron
