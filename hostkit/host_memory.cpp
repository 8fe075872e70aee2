#include "hostkit/host_memory.h"

#include <atomic>
#include <cstdlib>

#include "hostkit/host_kit.h"

namespace tessaron::hostkit {
namespace {

// Planes are worked on in wide registers.
constexpr std::size_t BLOCK_ALIGNMENT = 64;

/// What a handle points at: its first field is the block's address.
struct held_block {
  void* block;
  std::int64_t size;
};

std::atomic<int> n_live = 0;
std::atomic<int> blocks_left = -1;  // -1: no end

bool may_allocate() {
  int left = blocks_left.load();
  while (left > 0 && !blocks_left.compare_exchange_weak(left, left - 1)) {}
  return left != 0;
}

pf_handle new_handle(std::int64_t size) {
  if (size < 0 || !may_allocate()) return nullptr;
  const std::size_t rounded = (std::size_t(size) / BLOCK_ALIGNMENT + 1) * BLOCK_ALIGNMENT;
  auto* held = static_cast<held_block*>(std::malloc(sizeof(held_block)));
  if (!held) return nullptr;
  held->block = std::aligned_alloc(BLOCK_ALIGNMENT, rounded);
  if (!held->block) {
    std::free(held);
    return nullptr;
  }
  held->size = size;
  ++n_live;
  return &held->block;
}

void* lock_handle(pf_handle handle) { return handle ? *handle : nullptr; }

void unlock_handle(pf_handle) {}

void dispose_handle(pf_handle handle) {
  if (!handle) return;
  std::free(*handle);
  std::free(handle);
  --n_live;
}

std::int64_t handle_size(pf_handle handle) { return handle ? reinterpret_cast<held_block*>(handle)->size : 0; }

}  // namespace

pf_utility_callbacks host_memory = {new_handle, lock_handle, unlock_handle, dispose_handle, handle_size};

int live_handles() { return n_live; }

void fail_handles_after(int count) { blocks_left = count; }

}  // namespace tessaron::hostkit
