// What benchmarks of image operators share: the time of one operator, its image in place, in units of one pass over the
// frame (reading one 1920x1080 frame of four 16-bit samples, adding 1, writing another).
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "bench/pass_reporter.h"
#include "evaluator/workers.h"
#include "tests/support/render_definition.h"

namespace tessaron::bench {

constexpr int WIDTH = 1920, HEIGHT = 1080;

inline void frame_pass(benchmark::State& state) {
  std::vector<std::uint16_t> from(std::size_t(WIDTH) * HEIGHT * 4, 7), to(from.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < from.size(); ++i) to[i] = std::uint16_t(from[i] + 1);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
}

/// The time of the calls of `function` in the definition `dest` of one input, over a picture.
inline void operate(benchmark::State& state, const char* function, const std::string& dest,
                    const testing::definition_renderer::pixel_function& picture, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  testing::definition_renderer r("(define Bench (Source) () dest = " + dest + ")", {.width = WIDTH, .height = HEIGHT});
  r.set_source(0, picture);
  for (auto _ : state) {
    if (!r.render()) return state.SkipWithError("the render failed");
    double seconds = 0;
    for (const node_timing& t : last_frame_stats.image_nodes)
      if (t.n->kind == KIND_FUNCTION && std::strcmp(t.n->fun->name, function) == 0) seconds += t.seconds;
    state.SetIterationTime(seconds);
  }
}

template <class F>
auto* add(const std::string& name, F function) {
  return benchmark::RegisterBenchmark(name.c_str(), function)
      ->Unit(benchmark::kMillisecond)
      ->Repetitions(5)
      ->ReportAggregatesOnly(true)
      ->ComputeStatistics("fastest",
                          [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });
}

/// One operator with one thread and with two.
inline void add_operator(const std::string& name, const char* function, const std::string& dest,
                         const testing::definition_renderer::pixel_function& picture) {
  for (const int threads : {1, 2})
    add(name + ", " + std::to_string(threads) + (threads == 1 ? " thread" : " threads"), [=](benchmark::State& state) {
      operate(state, function, dest, picture, threads);
    })->UseManualTime();
}

}  // namespace tessaron::bench
