// Lightning and grids over a frame of 1920x1080 pixels, in units of one pass over the frame: reading one frame of four
// 16-bit samples, adding 1, writing another. Measured is the operator alone, its image in place.
#include <time.h>

#include "bench/frame_passes.h"

using namespace tessaron;

namespace {

constexpr int REPETITIONS = 15;

/// Seconds of processor time, which other programs on the machine disturb less than the clock on the wall does; with
/// several threads that of the calling one, which is the last to end.
double seconds_now(int threads) {
  timespec t = {};
  clock_gettime(threads == 1 ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_THREAD_CPUTIME_ID, &t);
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
  std::vector<std::uint16_t> from(std::size_t(bench::WIDTH) * bench::HEIGHT * 4, 7), to(from.size());
  time_iterations(state, 1, [&] {
    for (std::size_t i = 0; i < from.size(); ++i) to[i] = std::uint16_t(from[i] + 1);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  });
}

/// A disc and a bar, white on black.
std::int16_t object(int x, int y) {
  const int dx = x - 1300, dy = y - 420;
  return dx * dx + dy * dy < 180 * 180 || (x > 300 && x < 700 && y > 700 && y < 850) ? FIX_ONE : 0;
}

/// One call of `function`, whose image argument, if it has one, is another operator: its planes are there.
void operate(benchmark::State& state, const char* function, const std::string& arguments, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  testing::definition_renderer r("(define Bench (Source) () dest = (" + std::string(function) + " " + arguments + "))",
                                 {.width = bench::WIDTH, .height = bench::HEIGHT});
  if (!r.render()) return state.SkipWithError("the render failed");
  for (node* n : r.calls_of("gamma"))
    for (int y = 0; y < bench::HEIGHT; ++y)
      for (int x = 0; x < bench::WIDTH; ++x) n->images[0][y * bench::WIDTH + x] = object(x, y);
  node& n = *r.calls_of(function)[0];
  n.image_fun(n);
  time_iterations(state, threads, [&] { n.image_fun(n); });
}

auto* once(benchmark::internal::Benchmark* b) { return b->Iterations(1)->Repetitions(REPETITIONS)->UseManualTime(); }

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  once(bench::add("frame pass", frame_pass));
  const auto add = [](const std::string& name, const char* function, const std::string& arguments) {
    for (const int threads : {1, 2})
      once(bench::add(name + ", " + std::to_string(threads) + (threads == 1 ? " thread" : " threads"),
                      [=](benchmark::State& state) { operate(state, function, arguments, threads); }));
  };
  // In this order: width_vary, end_pointiness, start_len, wrinkle_curve, branchiness, branch_ang_len, seed_phase.
  const std::string image = "(gamma (element_of Source 0) 0.9) ", ends = "[-0.9 0.5] [0.9 -0.5] ";
  const std::string shape = " [0.1 0.4] 0.4 [0 1] [0.5 0.5] ", seed = " [0.5 0.4] [3 0.2] ";
  add("zap, 40 bolts with branches", "zap", ends + "0.8 40" + shape + "1" + seed);
  add("zap, 40 bolts with branches, half as long", "zap", "[-0.45 0.3] [0.45 -0.2] 0.4 40" + shape + "0.5" + seed);
  add("zap, 40 wide bolts with branches", "zap", ends + "0.8 40 [1 0.4] 0.4 [0 1] [0.5 0.5] 1" + seed);
  add("zap, 40 bare bolts", "zap", ends + "0.8 40" + shape + "0" + seed);
  add("zap, 3 bolts with branches", "zap", ends + "0.8 3" + shape + "1" + seed);
  add("zap_to, 12 bolts", "zap_to", image + "[-0.7 0.4] 0.1 [12 4] [0.1 0.4] 0.4 [0 1] 0.5 1" + seed + "[0.5 0]");
  add("zap_from, 120 bolts", "zap_from", image + "[0.3 0.5] 0.3 120" + shape + "0.5" + seed + "[0.5 0]");
  add("draw_grid, 40 x 40 boxes in perspective", "draw_grid",
      "[40 40] [0.05 0.05] [0 0] [8 8] 0.2 0.21 0.02 0 0.4 5 2");
  bench::pass_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
