// How benchmarks of image operators report: in units of the "frame pass" benchmark of the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace tessaron::bench {

/// Keeps the fastest of each benchmark's repetitions, which the machine's other work disturbs least, and
/// prints them in frame passes.
class pass_reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs)
      if (run.aggregate_name == "fastest" || run.repetitions <= 1)
        seconds_[run.run_name.function_name] =
            run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
  }
  void Finalize() override {
    const double pass = seconds_["frame pass"];
    if (pass <= 0) return;
    std::printf("\nin frame passes\n");
    for (const auto& [name, seconds] : seconds_) std::printf("%7.2f  %s\n", seconds / pass, name.c_str());
  }

 private:
  std::map<std::string, double> seconds_;
};

}  // namespace tessaron::bench
