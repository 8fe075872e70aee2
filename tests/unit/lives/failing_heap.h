// The engine's own memory, which fails when it is told to.
#pragma once

#include <cstdint>

namespace tessaron::testing {

/// Allocations that the engine has made on this thread, between a host's calls and its callbacks.
extern std::int64_t engine_allocations;
/// The one that fails, counted from 0; -1: none.
extern std::int64_t failing_allocation;

/// Objects and arrays of the process, the host's own among them.
std::int64_t live_objects();

/// Bytes that the process has taken from its heap and not given back. A sanitizer's own heap counts nothing
/// here; its leak check sees to that.
std::int64_t heap_in_use();

}  // namespace tessaron::testing
