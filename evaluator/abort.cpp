// Whether a render is to stop. One thread asks the host, every thread reads the answer.
#include <atomic>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "platform/platform.h"

namespace tessaron {
namespace {

constexpr std::int64_t ASK_TICKS = 201;

abort_query query;
abort_clock ticks = platform::tick_ms;
bool asked_before;
std::int64_t last_asked;

}  // namespace

void set_abort_query(abort_query new_query) {
  query = new_query;
  asked_before = false;
}

void set_abort_clock(abort_clock new_clock) { ticks = new_clock ? new_clock : platform::tick_ms; }

bool abort_pending() { return std::atomic_ref(abort_requested).load(std::memory_order_relaxed) != 0; }

void request_abort() { std::atomic_ref(abort_requested).store(1, std::memory_order_relaxed); }

int check_abort() {
  if (!query) return 0;
  if (is_main_worker()) {
    const std::int64_t now = ticks();
    if (!asked_before || now - last_asked >= ASK_TICKS || now < last_asked) {
      asked_before = true;
      last_asked = now;
      if (query()) request_abort();
    }
  }
  return abort_pending();
}

}  // namespace tessaron
