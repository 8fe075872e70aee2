#include "host/host_handles.h"

#include "host/host_state.h"
#include "host/live_records.h"

namespace tessaron {

void dispose_host_handle(const pf_in_data& in_data, pf_handle& handle) {
  if (handle && in_data.utils) in_data.utils->host_dispose_handle(handle);
  handle = nullptr;
}

bool block_holds(const pf_in_data& in_data, pf_handle handle, std::size_t size) {
  const auto get_size = in_data.utils ? in_data.utils->host_get_handle_size : nullptr;
  return !get_size || get_size(handle) >= std::int64_t(size);
}

bool is_live_instance(const pf_in_data& in_data, pf_handle handle, const void* block) {
  // What the engine has not made is not read: it may be of any size, and its pointers lead nowhere.
  if (!block || !is_noted_instance(handle) || !block_holds(in_data, handle, sizeof(globals_record))) return false;
  const auto& record = *static_cast<const globals_record*>(block);
  // The host may have put something else into the block. The marker is first: a flat form is shorter.
  return record.flat_marker == 0 && record.session_stamp == host_state.session_stamp;
}

call_record::call_record(pf_in_data& in_data, record_choice choice)
    : before_(Globals),
      plugin_(in_data, notes_of_plugin(in_data.global_data) ? in_data.global_data : nullptr),
      instance_(in_data, choice != record_choice::plugin && is_noted_instance(in_data.sequence_data)
                             ? in_data.sequence_data
                             : nullptr) {
  auto* plugin = static_cast<globals_record*>(plugin_.block());
  record_ = nullptr;
  if (is_live_instance(in_data, in_data.sequence_data, instance_.block())) {
    record_ = static_cast<globals_record*>(instance_.block());
    record_->global_globals = plugin;  // the block may have moved while it was unlocked
    handle_ = in_data.sequence_data;
  } else if (choice != record_choice::instance) {
    record_ = plugin;
    handle_ = in_data.global_data;
  }
  if (!record_) return;
  record_->in_data = &in_data;
  record_->temp_set = &record_->temp_sets[0];  // likewise a pointer into a block that moves
  Globals = record_;
}

call_record::~call_record() {
  if (record_) renew_notes(handle_, *record_);
  Globals = before_;
}

}  // namespace tessaron
