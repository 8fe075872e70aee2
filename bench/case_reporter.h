// How benchmarks of image operators report: the fastest of a case's repeats, which other work of the machine disturbs
// least, in passes over the same frame, with one worker and with two.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "catalogue/defuns.h"

namespace tessaron::bench {

inline constexpr const char* FRAME_PASS = "frame pass";

/// What is measured: a case over frames of one size.
struct case_id {
  std::string frame, name;
  bool operator==(const case_id&) const = default;
};
/// The seconds of one case by threads - 1; 0: not measured.
struct case_result {
  case_id id;
  double seconds[2] = {};
};

inline std::vector<case_result>& results() {
  static std::vector<case_result> all;
  return all;
}

inline case_result& result_of(const case_id& id) {
  for (case_result& r : results())
    if (r.id == id) return r;
  return results().emplace_back(case_result{id, {}});
}

/// Beside the usual lines a table at the end; the column of ratios tells what the second worker brings.
class case_reporter : public benchmark::ConsoleReporter {
 public:
  void Finalize() override {
    std::printf("\nin frame passes, at level %s\n 1 thread  2 threads   ratio\n", cpu_level_name(chosen_cpu_level()));
    for (const case_result& r : results()) {
      const double pass = result_of({r.id.frame, FRAME_PASS}).seconds[0];
      if (pass <= 0) continue;
      for (const double seconds : r.seconds) std::printf("%9.2f  ", seconds / pass);
      const bool both = r.seconds[0] > 0 && r.seconds[1] > 0;
      std::printf("%6.2f  %s %s", both ? r.seconds[0] / r.seconds[1] : 1, r.id.frame.c_str(), r.id.name.c_str());
      if (r.id.name == FRAME_PASS) std::printf(" of %.2f ms", pass * 1000);
      std::printf("\n");
    }
  }
};

}  // namespace tessaron::bench
