// Noises over frames of 1920x1080 pixels, in units of one pass over the frame: reading one frame of four 16-bit
// samples, adding 1, writing another. Of `noise` the operator alone is measured, of the noises at coordinates a pixel
// loop with all that computes their coordinates; "coordinates alone" is that part of it.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench/pass_reporter.h"
#include "evaluator/workers.h"
#include "tests/support/render_definition.h"

using namespace tessaron;

namespace {

constexpr int WIDTH = 1920, HEIGHT = 1080;

/// Seconds of processor time, which other programs on the machine disturb less than the clock on the wall does; with
/// several threads only that one counts.
double seconds_now(int threads) {
  timespec t = {};
  clock_gettime(threads == 1 ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &t);
  return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

template <class Work>
void time_iterations(benchmark::State& state, int threads, Work work) {
  for (auto _ : state) {
    const double start = seconds_now(threads);
    work();
    state.SetIterationTime(seconds_now(threads) - start);
  }
}

void frame_pass(benchmark::State& state) {
  std::vector<std::uint16_t> from(std::size_t(WIDTH) * HEIGHT * 4, 7), to(from.size());
  time_iterations(state, 1, [&] {
    for (std::size_t i = 0; i < from.size(); ++i) to[i] = std::uint16_t(from[i] + 1);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  });
}

const std::string TURNED = "(rotate xy 0.07 [0 0])";

/// One call of an operator that has no image argument.
void operate(benchmark::State& state, const char* function, const std::string& call, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  testing::definition_renderer r("(define Bench (Source) () dest = (+ Source (element_of " + call + " 0)))",
                                 {.width = WIDTH, .height = HEIGHT});
  if (!r.render()) return state.SkipWithError("the render failed");
  node& n = *r.calls_of(function)[0];
  time_iterations(state, threads, [&] { n.image_fun(n); });
}

/// A whole frame whose rows go nowhere.
void loop(benchmark::State& state, const std::string& dest, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  testing::definition_renderer r("(define Bench (Source) () dest = " + dest + ")", {.width = WIDTH, .height = HEIGHT});
  time_iterations(state, threads, [&] {
    r.fill_records();
    pixel_io.tap = [](void*, int, int, int, int, const fix* const*) {};
    perform_effect();
  });
}

template <class F>
void add(const std::string& name, F function) {
  benchmark::RegisterBenchmark(name.c_str(), function)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(1)
      ->Repetitions(15)
      ->ReportAggregatesOnly(true)
      ->ComputeStatistics("fastest", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); })
      ->UseManualTime();
}
template <class F>
void add_for_threads(const std::string& name, F function) {
  for (const int threads : {1, 2})
    add(name + ", " + std::to_string(threads) + (threads == 1 ? " thread" : " threads"),
        [=](benchmark::State& state) { function(state, threads); });
}

void add_loop(const std::string& name, const std::string& dest) {
  add_for_threads(name, [=](benchmark::State& state, int threads) { loop(state, dest, threads); });
}
void add_operator(const std::string& name, const char* function, const std::string& call) {
  add_for_threads(name, [=](benchmark::State& state, int threads) { operate(state, function, call, threads); });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  add("frame pass", frame_pass);
  add_operator("noise frequency 4, 6 octaves", "noise", "(noise 4 6 [0 0] 1)");
  add_operator("noise frequency 16, 6 octaves", "noise", "(noise 16 6 [0 0] 1)");
  add_operator("noise frequency 100, 6 octaves", "noise", "(noise 100 6 [0 0] 1)");
  add_operator("noise frequency 500, 1 octave", "noise", "(noise 500 1 [0 0] 1)");
  add_operator("noise3 frequency 4, 6 octaves", "noise3", "(noise3 4 6 [0 0] 1)");

  add_loop("coordinates alone", "(coerce_to_v3 (element_of " + TURNED + " 0))");
  add_loop("warp_noise frequency 4, 6 octaves", "(coerce_to_v3 (warp_noise " + TURNED + " 4 6 1))");
  add_loop("warp_noise frequency 60, 6 octaves", "(coerce_to_v3 (warp_noise " + TURNED + " 60 6 1))");
  add_loop("warp_noise at scattered places, 6 octaves", "(coerce_to_v3 (warp_noise (* (static2) 1) 60 6 1))");
  add_loop("warp_noise2 frequency 4, 6 octaves", "(coerce_to_v3 (element_of (warp_noise2 " + TURNED + " 4 6 1 1) 0))");
  add_loop("warp_noise3 frequency 4, 6 octaves", "(warp_noise3 " + TURNED + " 4 6 1)");
  add_loop("spots frequency 40", "(coerce_to_v3 (spots " + TURNED + " 40 1 1))");
  add_loop("voronoi frequency 40", "(coerce_to_v3 (voronoi " + TURNED + " 40 0.1 1))");
  add_loop("hex_tiles frequency 40", "(coerce_to_v3 (hex_tiles " + TURNED + " 40 0.1))");
  bench::pass_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
