// The runs of samples that a flood fill has still to visit: an explicit stack, so that a region of any shape and size
// costs memory and no depth of calls.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessaron {

/// Samples first..last of a row.
struct flood_run {
  std::int32_t row, first, last;
};

class flood_stack {
 public:
  flood_stack() = default;
  ~flood_stack();
  flood_stack(const flood_stack&) = delete;
  flood_stack& operator=(const flood_stack&) = delete;

  /// Ends the render without memory.
  void push(const flood_run& run);
  /// False when there is none left.
  bool pop(flood_run& run);
  void clear() { count_ = 0; }

 private:
  flood_run* runs_ = nullptr;
  std::size_t count_ = 0, capacity_ = 0;
};

/// The engine's; floods come one after the other, on the main thread.
flood_stack& get_flood_stack();

}  // namespace tessaron
