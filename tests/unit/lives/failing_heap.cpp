#include "failing_heap.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "support/engine_code.h"

namespace tessaron::testing {

std::int64_t engine_allocations;
std::int64_t failing_allocation = -1;

namespace {

std::atomic<std::int64_t> live;

}  // namespace

std::int64_t live_objects() { return live; }

std::int64_t heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return std::int64_t(info.uordblks + info.hblkhd);
}

}  // namespace tessaron::testing

namespace {

/// Null when the memory fails or is told to.
void* take(std::size_t size) {
  using namespace tessaron::testing;
  const bool fails = engine_runs() && failing_allocation >= 0 && engine_allocations == failing_allocation;
  if (engine_runs()) ++engine_allocations;
  void* block = fails ? nullptr : std::malloc(size ? size : 1);
  if (block) ++live;
  return block;
}
void* take_or_throw(std::size_t size) {
  if (void* block = take(size)) return block;
  throw std::bad_alloc();
}
void give_back(void* block) {
  if (block) --tessaron::testing::live;
  std::free(block);
}

}  // namespace

// All forms that the compiler may call, so that none of them meets the library's own.
void* operator new(std::size_t size) { return take_or_throw(size); }
void* operator new[](std::size_t size) { return take_or_throw(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void operator delete(void* block) noexcept { give_back(block); }
void operator delete[](void* block) noexcept { give_back(block); }
void operator delete(void* block, std::size_t) noexcept { give_back(block); }
void operator delete[](void* block, std::size_t) noexcept { give_back(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { give_back(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { give_back(block); }
