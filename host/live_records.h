// The records that hosts keep for the engine: which handles are plug-ins and instances of this session, and
// what each of them owns.
//
// A host owns the blocks, and may lose, copy or overwrite them. So a block counts as a record only under a
// handle that is known here, and what a record owns is known here as well: it is released with its plug-in
// at the latest, whatever the host did with the block. Process-wide plain data, guarded by the entry's mutex.
#pragma once

#include "genotype/globals.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// What is known of a plug-in beside its record.
struct plugin_notes {
  bool holds_combustion_suite = false;
  int custom_index = -1;  // place in the definitions file of a custom that is read by index
};

/// Notes a new record under its handle. A handle that is known already has been disposed of behind the
/// engine's back: what its record owned is released first.
void note_plugin(pf_handle handle, const globals_record& record);
void note_instance(pf_handle handle, pf_handle plugin, const globals_record& record);
/// Brings up to date what a record owns; nothing where the handle is not known.
void renew_notes(pf_handle handle, const globals_record& record);

/// The notes of a plug-in; null where the handle is none of this session.
plugin_notes* notes_of_plugin(pf_handle handle);
bool is_noted_instance(pf_handle handle);
/// The plug-in of an instance; null where either is not of this session.
pf_handle plugin_of_instance(pf_handle handle);
bool any_holds_combustion_suite();

/// Releases what an instance owns and forgets its handle; nothing where the handle is not known. `record` is
/// its block, null where that can't be had or is not a record any more.
void release_instance(pf_handle handle, globals_record* record);
/// The same of a plug-in, after those of its instances that have not been set down.
void release_plugin(pf_handle handle, globals_record* record);
/// Empties a plug-in's record for another parameter setup. Instances share texts with the plug-in: while one
/// lives, what the record owned is kept until the plug-in is released.
void empty_plugin(pf_handle handle, globals_record& record);

}  // namespace tessaron
