// Warps over frames of 1920x1080 pixels of four 16-bit samples, in units of one pass over the frame: reading one such
// frame, adding 1, writing another. "frame" is a whole frame from host pixels to host pixels with all that computes
// its coordinates; "operator" is the warp's part of it: reading its image, the sampling image, coordinates, samples.
// All figures are those of the fastest single frame, which other work of the machine disturbs least; "cpu" counts the
// processors' time instead of the clock's.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "evaluator/plan.h"
#include "evaluator/workers.h"
#include "genotype/genotype_reader.h"
#include "hostkit/host_kit.h"

using namespace tessaron;
using clock_type = std::chrono::steady_clock;

namespace {

constexpr int WIDTH = 1920, HEIGHT = 1080;

// A rotation and a ripple from the centre, both in time, so that every frame computes them.
constexpr const char* COORDS =
    "  turned = (rotate xy (* (+ (get_time) 1) 0.02) [0 0])\n"
    "  coords = (* turned (+ 1 (* (sin (- (* (mag xy) 5) (get_time))) 0.02)))\n";

std::string definition(const std::string& call) {
  return "(define Bench (Source) (rgba_ok)\n" + std::string(COORDS) + "  dest = " + call + ")";
}

const std::pair<const char*, std::string> CALLS[] = {
    {"copy", "Source"},
    {"coordinates alone", "(v4 (element_of coords 0) (element_of coords 1) 0 1)"},
    {"warp bilinear", "(warp Source coords [0 0] 0)"},
    {"warp bilinear repeated", "(warp Source coords [1 1] 0)"},
    {"warp bilinear mirrored", "(warp Source coords [2 2] 0)"},
    {"warp bilinear of one element", "(warp (element_of Source 1) coords [0 0] 0)"},
    {"warp bilinear of three elements", "(warp (remove_alpha Source) coords [0 0] 0)"},
    {"warp filtered", "(warp Source coords [0 0] 1)"},
    {"warp filtered, reduced 3 times", "(warp Source (* coords 3) [2 2] 1)"},
    {"warp_rel", "(warp_rel Source (* coords 0.05) [0 0] 0)"},
    {"warp_filter", "(warp_filter Source coords [0.4 0.7] [0 0])"},
    {"repeat_warp, 8 steps", "(repeat_warp Source xy coords [1 0.5] [0 0] 8)"},
    {"chroma_warp, 8 steps", "(chroma_warp Source xy coords [0 0] 8 [1 0 0] [0 1 0] [0 0 1] 1 1)"},
    {"blur_warp, 100 pixels", "(blur_warp Source (- xy [0.052 0]) (+ xy [0.052 0.02]) [1 1] 1 [2 2] 0 0)"},
    {"blur_warp, 100 soft pixels", "(blur_warp Source (- xy [0.052 0]) (+ xy [0.052 0.02]) [1 0] 1 [2 2] 1 0)"},
    {"blur_warp, 100 soft pixels, reduced",
     "(blur_warp Source (- xy [0.052 0]) (+ xy [0.052 0.02]) [1 0] 1 [2 2] 1 1)"},
};

double milliseconds_since(clock_type::time_point start) {
  return std::chrono::duration<double, std::milli>(clock_type::now() - start).count();
}

/// The fastest of the frames that it has timed.
class stopwatch {
 public:
  void start() {
    wall_ = clock_type::now();
    cpu_ = std::clock();
  }
  double stop() {
    const double ms = milliseconds_since(wall_);
    frame_ms_ = std::min(frame_ms_, ms);
    cpu_ms_ = std::min(cpu_ms_, double(std::clock() - cpu_) * 1000 / CLOCKS_PER_SEC);
    return ms;
  }
  void report(benchmark::State& state) const {
    state.counters["frame_ms"] = frame_ms_;
    state.counters["cpu_ms"] = cpu_ms_;
  }

 private:
  clock_type::time_point wall_;
  std::clock_t cpu_ = 0;
  double frame_ms_ = 1e9, cpu_ms_ = 1e9;
};

void frame_pass(benchmark::State& state) {
  std::vector<std::uint16_t> from(std::size_t(WIDTH) * HEIGHT * 4, 7), to(from.size());
  stopwatch watch;
  for (auto _ : state) {
    watch.start();
    for (std::size_t i = 0; i < from.size(); ++i) to[i] = std::uint16_t(from[i] + 1);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
    watch.stop();
  }
  watch.report(state);
}

/// Milliseconds of the warp in the last frame.
double operator_ms() {
  double seconds = 0;
  for (const node_timing& t : last_frame_stats.image_nodes) seconds += t.seconds;
  return seconds * 1000;
}

void render(benchmark::State& state, const std::string& text, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  hostkit::plugin_texts plugin("Bench", {text.c_str()});
  hostkit::host_identity identity;
  identity.offers_bgra = false;
  hostkit::instance instance(tessaron_main, plugin.record(), identity);
  const hostkit::pixel_format format = hostkit::pixel_format::rgba16;
  hostkit::image input = hostkit::image::make(WIDTH, HEIGHT, format);
  for (std::size_t i = 0; i < input.data.size(); ++i) input.data[i] = std::uint8_t(i * 31 >> 3 & (i & 1 ? 0x7f : 0xff));
  hostkit::image output = hostkit::image::make(WIDTH, HEIGHT, format);
  hostkit::frame_request request;
  request.format = format;
  request.inputs = {&input};
  // Hosts keep their images: the output lies in memory that has been touched before.
  stopwatch watch;
  request.before_render = [&](pf_in_data&, pf_param_def**, pf_world& world) {
    world.data = output.data.data();
    world.rowbytes = output.rowbytes;
    watch.start();
  };
  double part_ms = 1e9;
  for (auto _ : state) {
    const hostkit::frame_result result = instance.render(request);
    state.SetIterationTime(watch.stop() / 1000);
    if (result.error) return state.SkipWithError("the render failed");
    part_ms = std::min(part_ms, operator_ms());
  }
  watch.report(state);
  state.counters["operator_ms"] = part_ms;
}

/// Prints the fastest frames in frame passes.
class pass_reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const auto counter = [&](const char* name) {
        const auto found = run.counters.find(name);
        return found == run.counters.end() ? 0.0 : found->second.value;
      };
      fastest_.push_back({run.run_name.function_name, counter("frame_ms"), counter("cpu_ms"), counter("operator_ms")});
    }
  }
  void Finalize() override {
    if (fastest_.empty() || fastest_[0].name != "frame pass") return;
    const result& pass = fastest_[0];
    std::printf("\nin frame passes of %.2f ms (cpu %.2f ms)\n   frame       cpu  operator\n", pass.frame_ms,
                pass.cpu_ms);
    for (std::size_t i = 1; i < fastest_.size(); ++i) {
      const result& r = fastest_[i];
      std::printf("%8.2f  %8.2f  %8.2f  %s\n", r.frame_ms / pass.frame_ms, r.cpu_ms / pass.cpu_ms,
                  r.operator_ms / pass.frame_ms, r.name.c_str());
    }
  }

 private:
  struct result {
    std::string name;
    double frame_ms, cpu_ms, operator_ms;
  };
  std::vector<result> fastest_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  const auto add = [](const std::string& name, auto function) {
    return benchmark::RegisterBenchmark(name.c_str(), function)->Unit(benchmark::kMillisecond)->MinTime(2);
  };
  add("frame pass", frame_pass);
  for (const auto& [name, call] : CALLS)
    for (int threads : {1, 2}) {
      const std::string text = definition(call);
      add(std::string(name) + (threads == 1 ? ", 1 thread" : ", 2 threads"), [text, threads](benchmark::State& state) {
        render(state, text, threads);
      })->UseManualTime();
    }
  pass_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
