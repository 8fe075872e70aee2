// Objects of the process that are still whole when its statics end.
#pragma once

#include <utility>

namespace tessaron {

/// Holds an object that no destructor ends: a host may set its plug-ins down while the process ends, out of a static of
/// its own that outlives ours. Hosts also unload the library: what the object owns is to be given back at the last
/// set-down.
template <class T>
union lasting {
  T value;

  template <class... Args>
  constexpr explicit lasting(Args&&... args) : value(std::forward<Args>(args)...) {}
  constexpr ~lasting() {}
  lasting(const lasting&) = delete;
  lasting& operator=(const lasting&) = delete;
};

}  // namespace tessaron
