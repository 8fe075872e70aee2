// The worker pool: rounds, shares, nesting and faults, at any number of processors.
#include "evaluator/workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <stdexcept>
#include <vector>

#include "base/report.h"
#include "platform/platform.h"
#include "tests/support/report_capture.h"

namespace tessaron {
namespace {

using testing::report_capture;

/// A pool of `count` processors for one test.
class pool_of {
 public:
  explicit pool_of(int count) {
    stop_fork_workers();
    set_processor_override(count);
    start_fork_workers();
  }
  ~pool_of() {
    stop_fork_workers();
    set_processor_override(0);
  }
};

constexpr int MOST_PROCESSORS = 16;

struct share {
  int first, count;
};
std::vector<share> shares;
std::vector<std::uint32_t> thread_of;
int total_rows;
std::atomic<int> runs;

void note_share() {
  int number = -1, n_procs = -1;
  get_processor_info(&number, &n_procs);
  ++runs;
  thread_of[number] = platform::current_thread_id();
  split_rows(total_rows, &shares[number].first, &shares[number].count);
}

void run_shares(int rows) {
  shares.assign(MOST_PROCESSORS, {-1, -1});
  thread_of.assign(MOST_PROCESSORS, 0);
  total_rows = rows;
  runs = 0;
  fork_processes(note_share);
}

class every_pool : public ::testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(processors, every_pool, ::testing::Values(1, 2, 3, 7));

TEST_P(every_pool, runs_the_body_once_on_each_processor) {
  const pool_of pool(GetParam());
  EXPECT_EQ(get_n_procs(), GetParam());
  run_shares(100);
  EXPECT_EQ(runs, GetParam());
  for (int a = 0; a < GetParam(); ++a)
    for (int b = 0; b < a; ++b) EXPECT_NE(thread_of[a], thread_of[b]);
  EXPECT_EQ(thread_of[0], platform::current_thread_id());
}

TEST_P(every_pool, gives_each_row_to_exactly_one_worker) {
  const pool_of pool(GetParam());
  for (int rows : {0, 1, 2, 3, 5, 6, 7, 8, 100, 101}) {
    run_shares(rows);
    std::vector<int> covered(rows);
    for (int i = 0; i < GetParam(); ++i)
      for (int k = 0; k < shares[i].count; ++k) ++covered.at(shares[i].first + k);
    EXPECT_EQ(covered, std::vector<int>(rows, 1)) << rows << " rows";
  }
}

TEST(split_rows, gives_the_remainder_to_the_last_worker) {
  const pool_of pool(3);
  run_shares(11);  // 3, 3 and 5
  EXPECT_EQ(shares[0].first, 0);
  EXPECT_EQ(shares[0].count, 3);
  EXPECT_EQ(shares[1].first, 3);
  EXPECT_EQ(shares[1].count, 3);
  EXPECT_EQ(shares[2].first, 6);
  EXPECT_EQ(shares[2].count, 5);
}

TEST(split_rows, gives_one_row_each_to_the_first_workers_when_there_are_fewer) {
  const pool_of pool(7);
  run_shares(3);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(shares[i].count, i < 3 ? 1 : 0) << i;
  EXPECT_EQ(shares[2].first, 2);
}

TEST(split_rows, outside_a_round_is_everything) {
  const pool_of pool(3);
  int first = -1, count = -1;
  split_rows(40, &first, &count);
  EXPECT_EQ(first, 0);
  EXPECT_EQ(count, 40);
}

TEST(one_processor, has_no_parallel_round) {
  const pool_of pool(1);
  static int seen_parallel, seen_forked;
  fork_processes([] {
    seen_parallel = in_parallel;
    seen_forked = forked;
  });
  EXPECT_EQ(seen_parallel, 0);
  EXPECT_EQ(seen_forked, 1);
  EXPECT_EQ(forked, 0);
}

TEST(multi_process_enable, off_leaves_the_pool_idle) {
  const pool_of pool(3);
  multi_process_enable = 0;
  EXPECT_EQ(get_n_procs(), 1);
  run_shares(10);
  multi_process_enable = 1;
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(shares[0].count, 10);
  EXPECT_EQ(n_processors, 3);
}

TEST(fork_before_start, is_reported_and_runs_in_place) {
  stop_fork_workers();
  report_capture reports;
  static int ran;
  ran = 0;
  fork_processes([] { ++ran; });
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(reports.severity_of("Trying to fork, but not initialized yet!"), REPORT_ERROR);
}

std::atomic<int> nested_rows;

TEST(nested_fork, runs_on_the_calling_thread_with_that_threads_share) {
  const pool_of pool(2);
  report_capture reports;
  nested_rows = 0;
  // Only the main thread nests, so that one report comes; its share of 10 rows stays 5.
  fork_processes([] {
    if (!is_main_worker()) return;
    fork_processes([] {
      int first, count;
      split_rows(10, &first, &count);
      nested_rows += count;
    });
  });
  EXPECT_EQ(nested_rows, 5);
  EXPECT_EQ(reports.severity_of("Calling fork_processes() while forked"), REPORT_ERROR);
  EXPECT_EQ(forked, 0);
  run_shares(4);
  EXPECT_EQ(runs, 2);
}

std::atomic<int> finished_workers;

TEST(exception_on_the_main_thread, is_held_until_all_workers_are_back) {
  const pool_of pool(3);
  finished_workers = 0;
  int code = 0;
  try {
    fork_processes([] {
      if (is_main_worker()) throw TessaronAbortException(7);
      const double start = platform::seconds();
      while (platform::seconds() - start < 0.05) {}
      ++finished_workers;
    });
  } catch (const TessaronAbortException& fault) {
    code = fault.code();
  }
  EXPECT_EQ(code, 10007);
  EXPECT_EQ(finished_workers, 2);
  EXPECT_EQ(forked, 0);
  EXPECT_EQ(in_parallel, 0);
  run_shares(9);
  EXPECT_EQ(runs, 3);
}

TEST(exception_on_the_main_thread, of_another_type_waits_too_and_stays_what_it_is) {
  const pool_of pool(2);
  finished_workers = 0;
  EXPECT_THROW(fork_processes([] {
                 if (is_main_worker()) throw std::runtime_error("other");
                 ++finished_workers;
               }),
               std::runtime_error);
  EXPECT_EQ(finished_workers, 1);
  EXPECT_EQ(in_parallel, 0);
}

TEST(exception_on_one_processor, keeps_its_code_and_ends_the_round) {
  const pool_of pool(1);
  int code = 0;
  try {
    fork_processes([] { throw TessaronAbortException(-100); });
  } catch (const TessaronAbortException& fault) {
    code = fault.code();
  }
  EXPECT_EQ(code, -100);
  EXPECT_EQ(forked, 0);
}

TEST(get_processor_info, reports_a_missing_count_and_still_gives_the_number) {
  const pool_of pool(2);
  report_capture reports;
  int number = -1;
  get_processor_info(&number, nullptr);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(reports.severity_of("Error: NULL n_procs ptr in get_processor_info"), REPORT_ERROR);
}

TEST(pool, takes_its_size_from_the_affinity_mask) {
  const pool_of pool(0);
  EXPECT_EQ(get_n_procs(), platform::affinity_count());
}

TEST(pool, starts_again_after_it_was_stopped) {
  for (int count : {2, 3, 1, 2}) {
    const pool_of pool(count);
    run_shares(20);
    EXPECT_EQ(runs, count);
  }
}

TEST(worker_number, is_0_on_a_thread_that_is_no_worker) {
  const pool_of pool(2);
  EXPECT_EQ(get_proc_number(), 0);
  EXPECT_TRUE(is_main_worker());
}

std::vector<long> sums;

TEST(rounds, order_what_is_written_before_and_after) {
  const pool_of pool(3);
  static std::vector<int> data;
  for (int round = 1; round <= 200; ++round) {
    data.assign(999, round);
    sums.assign(3, 0);
    fork_processes([] {
      int number, n_procs, first, count;
      get_processor_info(&number, &n_procs);
      split_rows(int(data.size()), &first, &count);
      sums[number] = std::accumulate(data.begin() + first, data.begin() + first + count, 0L);
    });
    ASSERT_EQ(sums[0] + sums[1] + sums[2], 999L * round);
  }
}

}  // namespace
}  // namespace tessaron
