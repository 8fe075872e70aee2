// Blocks of memory that the host owns, and the `Globals` record of a call that lives in one.
#pragma once

#include <new>

#include "base/report.h"
#include "genotype/globals.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// A host handle, locked as long as this lives. A null handle holds a null block.
class locked_handle {
 public:
  locked_handle(const pf_in_data& in_data, pf_handle handle)
      : utils_(in_data.utils),
        handle_(in_data.utils ? handle : nullptr),
        block_(handle_ ? utils_->host_lock_handle(handle_) : nullptr) {}
  ~locked_handle() { unlock(); }
  locked_handle(const locked_handle&) = delete;
  locked_handle& operator=(const locked_handle&) = delete;

  void* block() const { return block_; }
  void unlock() {
    if (handle_) utils_->host_unlock_handle(handle_);
    handle_ = nullptr;
    block_ = nullptr;
  }

 private:
  const pf_utility_callbacks* utils_;
  pf_handle handle_;
  void* block_;
};

/// Gives a block back and clears the handle; a null one is left alone.
void dispose_host_handle(const pf_in_data& in_data, pf_handle& handle);

/// A new block that `fill(block)` has filled, unlocked. Null after a report when the host has no memory
/// to give; a fault of `fill` passes through, with the block given back.
template <class Block, class Fill>
pf_handle new_host_handle(const pf_in_data& in_data, Fill fill) {
  pf_handle handle = in_data.utils ? in_data.utils->host_new_handle(sizeof(Block)) : nullptr;
  locked_handle lock(in_data, handle);
  const auto give_back = [&] {
    lock.unlock();
    dispose_host_handle(in_data, handle);
  };
  if (!lock.block()) {
    give_back();
    report(REPORT_ERROR, "Out of memory: the host gave no block of %d bytes.\n", int(sizeof(Block)));
    return nullptr;
  }
  try {
    fill(*new (lock.block()) Block{});
  } catch (...) {
    give_back();
    throw;
  }
  return handle;
}

/// Whether a block is an instance record of this session: not a flat form, not of an earlier run.
bool is_live_instance(const void* block);

/// Which record a command works on.
enum class record_choice {
  instance,            // the sequence copy alone
  instance_or_plugin,  // the global copy stands in where there is no sequence copy
  plugin,              // the global copy alone
};

/// The `Globals` record of a call. Locks both handles of the call and makes the record current, with
/// its `in_data` set, as long as this lives.
class call_record {
 public:
  call_record(pf_in_data& in_data, record_choice choice);
  ~call_record() { Globals = before_; }
  call_record(const call_record&) = delete;
  call_record& operator=(const call_record&) = delete;

  explicit operator bool() const { return record_ != nullptr; }
  globals_record* operator->() const { return record_; }
  globals_record& operator*() const { return *record_; }

 private:
  globals_record* before_;
  locked_handle plugin_;
  locked_handle instance_;
  globals_record* record_;
};

}  // namespace tessaron
