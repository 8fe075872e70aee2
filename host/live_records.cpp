#include "host/live_records.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "host/commands.h"
#include "host/host_state.h"

namespace tessaron {

namespace {

struct live_plugin {
  globals_record owned;  // as the last command left the record
  plugin_notes notes;
  std::vector<globals_record> former;  // of earlier parameter setups
};

struct live_instance {
  globals_record owned;
  pf_handle plugin;
};

struct record_book {
  std::unordered_map<pf_handle, live_plugin> plugins;
  std::unordered_map<pf_handle, live_instance> instances;
};

// There while a plug-in lives. Without a destructor: a host may set its plug-ins down while the process ends.
record_book* book = nullptr;

template <class Entry>
Entry* find_in(std::unordered_map<pf_handle, Entry> record_book::*part, pf_handle handle) {
  if (!book) return nullptr;
  const auto found = (book->*part).find(handle);
  return found == (book->*part).end() ? nullptr : &found->second;
}
live_plugin* find_plugin(pf_handle handle) { return find_in(&record_book::plugins, handle); }
live_instance* find_instance(pf_handle handle) { return find_in(&record_book::instances, handle); }

/// One of a plug-in's instances; null when there are none.
pf_handle instance_of(pf_handle plugin) {
  if (!book) return nullptr;
  const auto found = std::find_if(book->instances.begin(), book->instances.end(),
                                  [&](const auto& entry) { return entry.second.plugin == plugin; });
  return found == book->instances.end() ? nullptr : found->first;
}

void close_empty_book() {
  if (!book || !book->plugins.empty() || !book->instances.empty()) return;
  delete book;
  book = nullptr;
}

void release_all(std::vector<globals_record>& records) {
  for (globals_record& record : records) release_record(record);
  records.clear();
}

/// Forgets what a record owns without releasing it.
void disown(globals_record& record) {
  std::fill(std::begin(record.genotypes), std::end(record.genotypes), nullptr);
  std::fill(std::begin(record.effect_names), std::end(record.effect_names), nullptr);
  record.effect_genotype = nullptr;
  record.n_eval_image_nodes = 0;
  record.effect_table = nullptr;
  record.plugin_name = nullptr;
  record.owned_names_mask = 0;
  record.host_flags &= std::uint8_t(~HOST_NAMES_ARE_HEAP);
}

/// What the host gives out anew, it has taken back before.
void release_lost(pf_handle handle) {
  release_instance(handle, nullptr);
  if (!find_plugin(handle)) return;
  release_plugin(handle, nullptr);
  --host_state.n_global_setups;
}

}  // namespace

void note_plugin(pf_handle handle, const globals_record& record) {
  release_lost(handle);
  if (!book) book = new record_book;
  book->plugins[handle].owned = record;
}

void note_instance(pf_handle handle, pf_handle plugin, const globals_record& record) {
  release_lost(handle);
  if (!book) book = new record_book;
  book->instances[handle] = {record, plugin};
}

void renew_notes(pf_handle handle, const globals_record& record) {
  if (live_instance* instance = find_instance(handle))
    instance->owned = record;
  else if (live_plugin* plugin = find_plugin(handle))
    plugin->owned = record;
}

plugin_notes* notes_of_plugin(pf_handle handle) {
  live_plugin* plugin = find_plugin(handle);
  return plugin ? &plugin->notes : nullptr;
}

bool is_noted_instance(pf_handle handle) { return find_instance(handle) != nullptr; }

pf_handle plugin_of_instance(pf_handle handle) {
  const live_instance* instance = find_instance(handle);
  return instance ? instance->plugin : nullptr;
}

bool any_holds_combustion_suite() {
  return book && std::any_of(book->plugins.begin(), book->plugins.end(),
                             [](const auto& entry) { return entry.second.notes.holds_combustion_suite; });
}

// A release may end in a message of the host, and that in other calls: it comes when the book is in order, and
// nothing of the book is kept over it.

void release_instance(pf_handle handle, globals_record* record) {
  const live_instance* instance = find_instance(handle);
  if (!instance) return;
  globals_record owned = instance->owned;
  book->instances.erase(handle);
  close_empty_book();
  release_record(record ? *record : owned);
}

void release_plugin(pf_handle handle, globals_record* record) {
  while (const pf_handle forgotten = instance_of(handle)) release_instance(forgotten, nullptr);
  live_plugin* plugin = find_plugin(handle);
  if (!plugin) return;
  live_plugin gone = std::move(*plugin);
  book->plugins.erase(handle);
  close_empty_book();
  release_all(gone.former);
  release_record(record ? *record : gone.owned);
}

void empty_plugin(pf_handle handle, globals_record& record) {
  live_plugin* plugin = find_plugin(handle);
  if (plugin && instance_of(handle)) {
    plugin->former.push_back(record);
    return disown(record);
  }
  if (plugin) {
    std::vector<globals_record> former = std::move(plugin->former);
    plugin->former.clear();
    release_all(former);
  }
  release_record(record);
}

}  // namespace tessaron
