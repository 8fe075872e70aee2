#include "operators/flood_stack.h"

#include <cstdlib>

#include "base/report.h"

namespace tessaron {
namespace {

constexpr std::size_t FIRST_CAPACITY = 1024;

}  // namespace

flood_stack::~flood_stack() { std::free(runs_); }

void flood_stack::push(const flood_run& run) {
  if (count_ == capacity_) {
    const std::size_t capacity = capacity_ ? 2 * capacity_ : FIRST_CAPACITY;
    flood_run* grown = static_cast<flood_run*>(std::realloc(runs_, capacity * sizeof *runs_));
    if (!grown) {
      set_message("Malloc %ld returned a null pointer.", long(capacity * sizeof *runs_));
      report_message(REPORT_ERROR);
      report(REPORT_ERROR, "Not enough memory.");
      fatal_exit(-100);
    }
    runs_ = grown;
    capacity_ = capacity;
  }
  runs_[count_++] = run;
}

bool flood_stack::pop(flood_run& run) {
  if (count_ == 0) return false;
  run = runs_[--count_];
  return true;
}

flood_stack& get_flood_stack() {
  static flood_stack stack;
  return stack;
}

}  // namespace tessaron
