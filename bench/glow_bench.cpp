// Glow, glints and defocus over four 16-bit planes of 1920x1080 samples, in units of one pass over the frame: reading
// one frame of four 16-bit samples, adding 1, writing another. Measured is the operator alone, its image in place.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "bench/pass_reporter.h"
#include "evaluator/workers.h"
#include "tests/support/render_definition.h"

using namespace tessaron;

namespace {

constexpr int WIDTH = 1920, HEIGHT = 1080;

/// An amount of so many pixels, as text.
std::string pixels(double count) { return std::to_string(count * 8 / WIDTH); }

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

/// One call of `function`, whose image argument is another operator: its planes are there.
void operate(benchmark::State& state, const char* function, const std::string& arguments, int channels, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  const std::string source = channels == 4 ? "Source" : "(remove_alpha Source)";
  testing::definition_renderer r("(define Bench (Source) (rgba_ok) dest = (" + std::string(function) + " (gamma " +
                                     source + " 0.9) " + arguments + "))",
                                 {.width = WIDTH, .height = HEIGHT, .source_channels = 4});
  if (!r.render()) return state.SkipWithError("the render failed");
  node& n = *r.calls_of(function)[0];
  // A picture between black and white, with one pixel in 500 far above.
  for (int e = 0; e < channels; ++e)
    for (int y = 0; y < HEIGHT; ++y)
      for (int x = 0; x < WIDTH; ++x) {
        const unsigned hash = unsigned(x + WIDTH * y) * 2654435761u;
        n.images[e][y * WIDTH + x] =
            hash % 500 == 0 ? 3 * FIX_ONE : std::int16_t((x * 3 + y * 5 + e * 700 + int(hash >> 24)) % 4000);
      }
  time_iterations(state, threads, [&] { n.image_fun(n); });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  const auto add = [](const std::string& name, auto function) {
    return benchmark::RegisterBenchmark(name.c_str(), function)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1)
        ->Repetitions(25)
        ->ReportAggregatesOnly(true)
        ->ComputeStatistics("fastest",
                            [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); })
        ->UseManualTime();
  };
  const auto add_operator = [&](const std::string& name, const char* function, const std::string& arguments,
                                int channels) {
    for (int threads : {1, 2}) {
      const std::string full = name + ", " + std::to_string(threads) + (threads == 1 ? " thread" : " threads");
      add(full, [=](benchmark::State& state) { operate(state, function, arguments, channels, threads); });
    }
  };
  add("frame pass", frame_pass);
  // Arguments of defocus: radius, gamma, scale, subpixel, shape.
  add_operator("defocus radius 20, circle", "defocus", pixels(20.3) + " 2.2 1 1 0", 4);
  add_operator("defocus radius 20, circle, whole pixels", "defocus", pixels(20) + " 2.2 1 0 0", 4);
  add_operator("defocus radius 20, hexagon", "defocus", pixels(20.3) + " 2.2 1 1 1", 4);
  add_operator("defocus radius 20, gamma 1", "defocus", pixels(20.3) + " 1 1 1 0", 4);
  add_operator("defocus radius 20, gamma 6", "defocus", pixels(20.3) + " 6 1 1 0", 4);
  add_operator("defocus radius 100, circle", "defocus", pixels(100.3) + " 2.2 1 1 0", 4);
  // Arguments of glow: threshold, width_xy, width, brightness, scale_source, subpixel.
  add_operator("glow radius 50", "glow", "0.6 [1 1] " + pixels(50.3) + " 1 1 1", 3);
  // Arguments of glint: threshold, pre_blur, size, brightness, ray_sizes, ray_brightnesses, scale_source.
  const std::string rays = "[1 1 1 1] [1 1 1 1] ";
  add_operator("glint radius 100", "glint", "0.9 0.01 " + pixels(100) + " 1 " + rays + "1", 3);
  add_operator("rainbow_glint radius 100", "rainbow_glint", "0.9 0.01 " + pixels(100) + " 1 " + rays + "[0.5 0.5] 1",
               3);
  bench::pass_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
