// The memory of a host's process, as strict as a host can be: a block holds exactly what was asked for, moves
// when its last lock goes, and its handle goes to the next block as soon as it is free. Every misuse is
// written down. One for the process, as in a host; unguarded, so that a thread sanitizer sees two callers.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "support/engine_code.h"
#include "tessaron/host_interface.h"

namespace tessaron::testing {

class strict_memory {
 public:
  static strict_memory& get() {
    static strict_memory memory;
    return memory;
  }
  /// The host's calls. `sizes`: the host also tells the size of a block.
  static pf_utility_callbacks calls(bool sizes = true) {
    return {[](std::int64_t size) { return get().make(size); }, [](pf_handle handle) { return get().lock(handle); },
            [](pf_handle handle) { get().unlock(handle); }, [](pf_handle handle) { get().dispose(handle); },
            sizes ? +[](pf_handle handle) { return get().size(handle); } : nullptr};
  }

  /// Asked before each new block and each lock; true refuses it.
  std::function<bool()> refuse_block, refuse_lock;
  std::vector<std::string> faults;
  int made = 0, locked = 0;  // since clear(); locks that are held

  int live() const { return int(live_.size()); }
  bool is_live(pf_handle handle) const { return live_.count(handle) != 0; }
  /// Counts from 0 again. What is still live stays so.
  void clear() {
    faults.clear();
    made = 0;
  }

  /// A block that the host itself makes, from bytes of its own.
  pf_handle make_of(const std::vector<std::uint8_t>& bytes) {
    const pf_handle handle = new_entry(std::int64_t(bytes.size()));
    if (!bytes.empty()) std::memcpy(*handle, bytes.data(), bytes.size());
    return handle;
  }
  std::vector<std::uint8_t> bytes_of(pf_handle handle) const {
    const auto* from = static_cast<const std::uint8_t*>(*handle);
    return {from, from + entry_of(handle)->size};
  }
  /// The host throws a block away without telling anybody.
  void drop(pf_handle handle) { remove(handle); }
  /// The host makes a block shorter.
  void cut(pf_handle handle, std::int64_t size) { reallocate(entry_of(handle), size); }

 private:
  struct entry {
    void* data;  // first: what the handle points at
    std::int64_t size;
    int locks;
  };
  static entry* entry_of(pf_handle handle) { return reinterpret_cast<entry*>(handle); }

  pf_handle make(std::int64_t size) {
    const host_code own;
    if (refuse_block && refuse_block()) return nullptr;
    ++made;
    if (size < 0) fault("a block of a negative size");
    return new_entry(size);
  }
  void* lock(pf_handle handle) {
    const host_code own;
    if (!known(handle, "lock")) return nullptr;
    if (refuse_lock && refuse_lock()) return nullptr;
    ++locked;
    ++entry_of(handle)->locks;
    return *handle;
  }
  void unlock(pf_handle handle) {
    const host_code own;
    if (!known(handle, "unlock")) return;
    if (entry_of(handle)->locks == 0) return fault("unlock without a lock");
    --locked;
    if (--entry_of(handle)->locks == 0) reallocate(entry_of(handle), entry_of(handle)->size);
  }
  void dispose(pf_handle handle) {
    const host_code own;
    if (!known(handle, "dispose")) return;
    if (entry_of(handle)->locks) fault("dispose of a locked block");
    remove(handle);
  }
  std::int64_t size(pf_handle handle) { return known(handle, "size") ? entry_of(handle)->size : 0; }

  pf_handle new_entry(std::int64_t size) {
    entry* e = nullptr;
    if (free_entries_.empty()) {
      e = new entry;
    } else {
      e = free_entries_.back();
      free_entries_.pop_back();
    }
    *e = {std::malloc(std::size_t(size)), size, 0};
    std::memset(e->data, 0x5a, std::size_t(size));  // not zeroed: nobody promised it
    live_.insert(&e->data);
    return &e->data;
  }
  void remove(pf_handle handle) {
    entry* e = entry_of(handle);
    locked -= e->locks;
    std::free(e->data);
    e->data = nullptr;
    live_.erase(handle);
    free_entries_.push_back(e);
  }
  static void reallocate(entry* e, std::int64_t size) {
    void* moved = std::malloc(std::size_t(size));
    std::memcpy(moved, e->data, std::size_t(std::min(size, e->size)));
    std::memset(e->data, 0xdd, std::size_t(e->size));
    std::free(e->data);
    e->data = moved;
    e->size = size;
  }
  bool known(pf_handle handle, const char* call) {
    if (is_live(handle)) return true;
    fault(std::string(call) + " of a handle that is not live");
    return false;
  }
  void fault(const std::string& what) { faults.push_back(what); }

  ~strict_memory() {
    for (entry* e : free_entries_) delete e;
  }
  std::set<pf_handle> live_;
  std::vector<entry*> free_entries_;
};

}  // namespace tessaron::testing
