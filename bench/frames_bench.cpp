// Whole frames, from host pixels to host pixels, in units of one pass over the frame: reading one
// 1920x1080 frame of four 16-bit samples, adding 1, writing another. Also reading and binding.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "evaluator/workers.h"
#include "genotype/genotype_reader.h"
#include "hostkit/host_kit.h"

using namespace tessaron;
using clock_type = std::chrono::steady_clock;

namespace {

constexpr int WIDTH = 1920, HEIGHT = 1080;

// t falls from 1 at the centre to 0 near the edges, m is its smooth step; inside m the picture is graded.
constexpr const char* GRADE =
    "(define Grade (Source) (rgba_ok)\n"
    "  tint   = [1.1 0.9 0.8 1]\n"
    "  gain   = 1.2\n"
    "  offset = [0.02 0.01 0.05 0]\n"
    "  t      = (clamp (- 1.4 (+ (* x x) (* y y))) 0 1)\n"
    "  m      = (* (* t t) (- 3 (* 2 t)))\n"
    "  dest   = (+ Source (* (- (+ (* (* tint Source) gain) offset) Source) m)))";

constexpr const char* COPY = "(define Copy (Source) (rgba_ok) dest = Source)";

/// A sum of 100 nodes over a few variables.
std::string hundred_nodes() {
  std::string text = "(define Hundred (Source)\n";
  for (int i = 0; i < 8; ++i) text += "  p" + std::to_string(i) + " = 0.5 (min 0 max 1 slider_range 0 1)\n";
  std::string sum = "x";
  for (int i = 0; i < 30; ++i) sum = "(+ " + sum + " (* p" + std::to_string(i % 8) + " y))";
  return text + "  dest = (* Source " + sum + "))";
}

void frame_pass(benchmark::State& state) {
  std::vector<std::uint16_t> from(std::size_t(WIDTH) * HEIGHT * 4, 7), to(from.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < from.size(); ++i) to[i] = std::uint16_t(from[i] + 1);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
}

void render(benchmark::State& state, const char* definition, hostkit::pixel_format format, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  hostkit::plugin_texts plugin("Bench", {definition});
  hostkit::host_identity identity;
  identity.offers_bgra = format == hostkit::pixel_format::bgra8 || format == hostkit::pixel_format::bgra16;
  hostkit::instance instance(tessaron_main, plugin.record(), identity);

  hostkit::image input = hostkit::image::make(WIDTH, HEIGHT, format);
  for (std::size_t i = 0; i < input.data.size(); ++i) input.data[i] = std::uint8_t(i * 31 >> 3);
  hostkit::image output = hostkit::image::make(WIDTH, HEIGHT, format);
  hostkit::frame_request request;
  request.format = format;
  request.inputs = {&input};
  // Hosts keep their images: the output lies in memory that has been touched before.
  clock_type::time_point start;
  request.before_render = [&](pf_in_data&, pf_param_def**, pf_world& world) {
    world.data = output.data.data();
    world.rowbytes = output.rowbytes;
    start = clock_type::now();
  };
  for (auto _ : state) {
    const hostkit::frame_result result = instance.render(request);
    state.SetIterationTime(std::chrono::duration<double>(clock_type::now() - start).count());
    if (result.error) state.SkipWithError("the render failed");
  }
}

void bind_definition(benchmark::State& state) {
  const std::string text = hundred_nodes();
  for (auto _ : state) {
    genotype* g = load_effect_from_string(text.c_str());
    if (!g) return state.SkipWithError("the definition does not bind");
    state.counters["nodes"] = g->n_nodes;
    free_genotype(g);
  }
}

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
    for (const auto& [name, seconds] : seconds_)
      if (name.rfind("render", 0) == 0) std::printf("%7.2f  %s\n", seconds / pass, name.c_str());
    const double one = seconds_["render grade rgba16, 1 thread"], two = seconds_["render grade rgba16, 2 threads"];
    if (two > 0) std::printf("two threads against one: %.2f\n", one / two);
    std::printf("reading and binding 100 nodes: %.3f ms\n", seconds_["bind 100 nodes"] * 1000);
  }

 private:
  std::map<std::string, double> seconds_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  const auto add = [](const char* name, auto function) {
    return benchmark::RegisterBenchmark(name, function)
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(9)
        ->ReportAggregatesOnly(true)
        ->ComputeStatistics("fastest",
                            [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });
  };
  using hostkit::pixel_format;
  const auto add_render = [&](const char* name, const char* definition, pixel_format format, int threads) {
    add(name, [=](benchmark::State& state) { render(state, definition, format, threads); })->UseManualTime();
  };
  add("frame pass", frame_pass);
  add_render("render copy rgba16, 1 thread", COPY, pixel_format::rgba16, 1);
  add_render("render grade rgba16, 1 thread", GRADE, pixel_format::rgba16, 1);
  add_render("render grade rgba16, 2 threads", GRADE, pixel_format::rgba16, 2);
  add_render("render grade bgra16, 1 thread", GRADE, pixel_format::bgra16, 1);
  add_render("render grade rgba8, 1 thread", GRADE, pixel_format::rgba8, 1);
  add("bind 100 nodes", bind_definition);
  pass_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
