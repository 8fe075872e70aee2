// The worker pool: one body at a time on all processors, contiguous bands of rows.
#pragma once

namespace tessaron {

using fork_body = void (*)();

extern int multi_process_enable;  // from t_config.text; 0: everything on one thread
extern int n_processors;          // bits of the process's affinity mask, once known
extern int hyper_threaded;
extern int forked;
extern int in_parallel;

/// Starts the pool, once per process.
void start_fork_workers();
/// Ends all workers by a null body and joins them; the next use starts a new pool. For tests and
/// for hosts that unload the library.
void stop_fork_workers();
/// Stands in for the affinity count at the next start of the pool; 0: the real count.
void set_processor_override(int count);

void fork_processes(fork_body body);
void get_processor_info(int* proc_number, int* n_procs);
int get_n_procs();
int get_proc_number();
void split_rows(int total, int* first, int* count);
int is_main_worker();

}  // namespace tessaron
