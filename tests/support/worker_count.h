// A number of workers other than the processor's, as long as this lives.
#pragma once

#include "evaluator/workers.h"

namespace tessaron::testing {

struct worker_count {
  explicit worker_count(int n) {
    stop_fork_workers();
    set_processor_override(n);
  }
  ~worker_count() {
    stop_fork_workers();
    set_processor_override(0);
  }
  worker_count(const worker_count&) = delete;
  worker_count& operator=(const worker_count&) = delete;
};

}  // namespace tessaron::testing
