// Blocks of memory that the host owns, and the `Globals` record of a call that lives in one.
#pragma once

#include <cstddef>
#include <new>

#include "base/report.h"
#include "genotype/globals.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// A host handle, locked as long as this lives. The block is null where there is no handle or the host
/// can't lock it.
class locked_handle {
 public:
  locked_handle(const pf_in_data& in_data, pf_handle handle)
      : utils_(in_data.utils), handle_(handle), block_(utils_ && handle ? utils_->host_lock_handle(handle) : nullptr) {}
  ~locked_handle() { unlock(); }
  locked_handle(const locked_handle&) = delete;
  locked_handle& operator=(const locked_handle&) = delete;

  void* block() const { return block_; }
  void unlock() {
    if (block_) utils_->host_unlock_handle(handle_);
    block_ = nullptr;
  }

 private:
  const pf_utility_callbacks* utils_;
  pf_handle handle_;
  void* block_;
};

/// Gives a block back and clears the handle; a null one is left alone.
void dispose_host_handle(const pf_in_data& in_data, pf_handle& handle);

/// A new block that `fill(block, handle)` has filled, unlocked. Null after a report when the host has no
/// memory to give; a fault of `fill` passes through, with the block given back.
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
    fill(*new (lock.block()) Block{}, handle);
  } catch (...) {
    give_back();
    throw;
  }
  return handle;
}

/// Whether a handle's block has room for `size` bytes, as far as the host says.
bool block_holds(const pf_in_data& in_data, pf_handle handle, std::size_t size);

/// Whether a handle and its block are an instance of this session: not a flat form, not of an earlier run,
/// not a copy that the host has made.
bool is_live_instance(const pf_in_data& in_data, pf_handle handle, const void* block);

/// Which record a command works on.
enum class record_choice {
  instance,            // the sequence copy alone
  instance_or_plugin,  // the global copy stands in where there is no sequence copy
  plugin,              // the global copy alone
};

/// The `Globals` record of a call. Locks both handles of the call and makes the record current, with
/// its `in_data` set, as long as this lives. None where the handle is not of this session or can't be locked.
class call_record {
 public:
  call_record(pf_in_data& in_data, record_choice choice);
  ~call_record();
  call_record(const call_record&) = delete;
  call_record& operator=(const call_record&) = delete;

  explicit operator bool() const { return record_ != nullptr; }
  globals_record* operator->() const { return record_; }
  globals_record& operator*() const { return *record_; }

 private:
  globals_record* before_;
  pf_handle handle_ = nullptr;  // of the record
  locked_handle plugin_;
  locked_handle instance_;
  globals_record* record_;
};

}  // namespace tessaron
