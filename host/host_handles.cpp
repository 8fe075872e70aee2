#include "host/host_handles.h"

#include <cstring>

#include "host/host_state.h"

namespace tessaron {

void dispose_host_handle(const pf_in_data& in_data, pf_handle& handle) {
  if (handle && in_data.utils) in_data.utils->host_dispose_handle(handle);
  handle = nullptr;
}

bool is_live_instance(const void* block) {
  if (!block) return false;
  // The first word alone at first: a flat form is shorter than a record.
  std::uint32_t marker = 0;
  std::memcpy(&marker, block, sizeof marker);
  for (const std::uint32_t flat : {FLAT_MARKER, 0x777777u, 0x77777700u})
    if (marker == flat) return false;
  const auto& record = *static_cast<const globals_record*>(block);
  // The stamp before any pointer: those of another session lead nowhere.
  if (record.session_stamp != host_state.session_stamp) return false;
  return record.n_effects >= 1 && record.n_effects <= MAX_EFFECTS_PER_PLUGIN && record.plugin_name &&
         *record.plugin_name && record.effect_names[0] && *record.effect_names[0];
}

call_record::call_record(pf_in_data& in_data, record_choice choice)
    : before_(Globals),
      plugin_(in_data, in_data.global_data),
      instance_(in_data, choice == record_choice::plugin ? nullptr : in_data.sequence_data) {
  auto* plugin = static_cast<globals_record*>(plugin_.block());
  record_ = nullptr;
  if (is_live_instance(instance_.block())) {
    record_ = static_cast<globals_record*>(instance_.block());
    record_->global_globals = plugin;  // the block may have moved while it was unlocked
  } else if (choice != record_choice::instance) {
    record_ = plugin;
  }
  if (!record_) return;
  record_->in_data = &in_data;
  record_->temp_set = &record_->temp_sets[0];  // likewise a pointer into a block that moves
  Globals = record_;
}

}  // namespace tessaron
