// The worker pool. Workers park on their "work" semaphores between rounds; a round releases them all,
// takes part as worker 0 and waits for every "done" semaphore.
#include "evaluator/workers.h"

#include <cstddef>
#include <exception>
#include <memory>
#include <new>
#include <vector>

#include "base/report.h"
#include "base/text.h"
#include "platform/platform.h"

namespace tessaron {

int multi_process_enable = 1;
int n_processors;
int hyper_threaded;
int forked;
int in_parallel;

namespace {

constexpr int WORKER_ERROR_OFFSET = 10000;  // added to the code of an exception that a round has held
constexpr int STACK_STEP = 1024;            // bytes between the hot frames of two threads of one core

int workers_ready;
int processor_override;
bool pool_on;  // more than one processor, and all semaphores and threads were had
fork_body worker_body;
int worker_error;

// By worker number; entry 0 is the main thread's and holds no semaphore. Never destroyed: workers are
// still parked on their semaphores when the process ends.
struct pool_record {
  std::vector<std::unique_ptr<platform::semaphore>> work_semas, done_semas;
  std::vector<std::unique_ptr<platform::thread>> threads;
  std::vector<std::uint32_t> thread_ids;
};
alignas(pool_record) std::byte pool_storage[sizeof(pool_record)];
pool_record& pool = *new (pool_storage) pool_record;

void report_fork_error(const std::string& text) {
  report(REPORT_ERROR, "%s %s", text.c_str(), platform::last_error_text().c_str());
}

// Moves down the stack before the call, so that two threads of one core use other cache sets.
[[gnu::noinline]] void run_staggered(fork_body body, int number) {
  volatile char* gap = static_cast<volatile char*>(__builtin_alloca(std::size_t(STACK_STEP) * number));
  gap[0] = 0;
  body();
}

void worker_function(int number) {
  pool.thread_ids[number] = platform::current_thread_id();
  pool.done_semas[number]->release();  // the identifier stands; see start_threads()
  for (;;) {
    pool.work_semas[number]->wait();
    const fork_body body = worker_body;
    if (!body) {
      if (!pool.done_semas[number]->release())
        report_fork_error(format_text("worker thread %d: err releasing 'done' sema for exit:", number));
      return;
    }
    if (hyper_threaded)
      run_staggered(body, number);
    else
      body();
    if (!pool.done_semas[number]->release())
      report_fork_error(format_text("worker thread %d: err releasing 'done' sema:", number));
  }
}

bool create_semaphore(std::vector<std::unique_ptr<platform::semaphore>>& semas, int number, const char* kind) {
  semas[number].reset(platform::semaphore::create(0, 1));
  if (semas[number]) return true;
  report_fork_error(format_text("tessaron fork error: can't create %s semaphore", kind));
  return false;
}

bool start_threads(int count) {
  for (int i = 1; i < count; ++i) {
    const bool work = create_semaphore(pool.work_semas, i, "work");
    if (!create_semaphore(pool.done_semas, i, "done") || !work) return false;
  }
  for (int i = 1; i < count; ++i) {
    pool.threads[i].reset(platform::thread::start(worker_function, i, format_text("TessaronWorker%d", i).c_str()));
    if (!pool.threads[i]) {
      report_fork_error("tessaron fork err: can't create thread");
      return false;
    }
    pool.done_semas[i]->wait();  // any thread of a round may read all identifiers
  }
  return true;
}

// Sends every thread that runs home. Only while no round runs.
void end_threads() {
  worker_body = nullptr;
  for (std::size_t i = 1; i < pool.threads.size(); ++i) {
    if (!pool.threads[i]) continue;
    pool.work_semas[i]->release();
    pool.threads[i]->join();
  }
  pool.threads.clear();
  pool.work_semas.clear();
  pool.done_semas.clear();
  pool.thread_ids.clear();
}

// Clears the marks of a round however it ends.
struct round_guard {
  ~round_guard() { in_parallel = forked = 0; }
};

}  // namespace

void start_fork_workers() {
  if (workers_ready) return;
  n_processors = processor_override > 0 ? processor_override : platform::affinity_count();
  if (n_processors < 1) n_processors = 1;
  hyper_threaded = n_processors > 1 && platform::processors_share_cores();
  worker_body = nullptr;
  pool.work_semas.resize(n_processors);
  pool.done_semas.resize(n_processors);
  pool.threads.resize(n_processors);
  pool.thread_ids.assign(n_processors, 0);
  pool.thread_ids[0] = platform::current_thread_id();
  pool_on = n_processors > 1 && start_threads(n_processors);
  if (!pool_on) end_threads();  // what was had of a pool that failed is given back: one thread does it all
  workers_ready = 1;
}

void stop_fork_workers() {
  if (!workers_ready || forked) return;
  end_threads();
  pool_on = false;
  workers_ready = 0;
  n_processors = 0;
}

void set_processor_override(int count) { processor_override = count; }

void fork_processes(fork_body body) {
  if (!workers_ready) {
    report(REPORT_ERROR, "Trying to fork, but not initialized yet!");
    body();
    return;
  }
  if (forked) {
    report(REPORT_ERROR, "Calling fork_processes() while forked");
    body();
    return;
  }
  forked = 1;
  const round_guard guard;
  const int n_procs = get_n_procs();
  if (n_procs < 2) {
    body();
    return;
  }
  in_parallel = 1;
  worker_body = body;
  worker_error = 0;
  pool.thread_ids[0] = platform::current_thread_id();
  // A worker whose semaphore could not be released stays parked, so that it must not be waited for.
  std::vector<bool> released(n_procs);
  for (int i = n_procs - 1; i >= 1; --i) {
    released[i] = pool.work_semas[i]->release();
    if (!released[i])
      report_fork_error(
          format_text("T_fork: thread %x: err(1) releasing sema for %d (not owner?):", pool.thread_ids[0], i));
  }
  std::exception_ptr other_error;
  try {
    body();
  } catch (const TessaronAbortException& fault) {
    worker_error = fault.code();
  } catch (...) {
    other_error = std::current_exception();
  }
  for (int i = n_procs - 1; i >= 1; --i)
    if (released[i]) pool.done_semas[i]->wait();
  if (other_error) std::rethrow_exception(other_error);
  if (worker_error) throw TessaronAbortException(worker_error + WORKER_ERROR_OFFSET);
}

int get_n_procs() {
  if (!multi_process_enable) return 1;
  start_fork_workers();
  return pool_on ? n_processors : 1;
}

int get_proc_number() {
  if (!pool_on || !in_parallel) return 0;
  const std::uint32_t self = platform::current_thread_id();
  for (std::size_t i = 0; i < pool.thread_ids.size(); ++i)
    if (pool.thread_ids[i] == self) return int(i);
  return 0;
}

void get_processor_info(int* proc_number, int* n_procs) {
  if (n_procs)
    *n_procs = get_n_procs();
  else
    report(REPORT_ERROR, "Error: NULL n_procs ptr in get_processor_info");
  if (proc_number) *proc_number = get_proc_number();
}

void split_rows(int total, int* first, int* count) {
  *first = 0;
  *count = total;
  if (!in_parallel) return;
  int number = 0, n_procs = 1;
  get_processor_info(&number, &n_procs);
  if (total >= n_procs) {
    *count = total / n_procs;
    *first = *count * number;
    if (number == n_procs - 1) *count = total - *first;
  } else {
    *count = total > number ? 1 : 0;
    *first = *count * number;
  }
}

int is_main_worker() { return !pool_on || get_proc_number() == 0; }

}  // namespace tessaron
