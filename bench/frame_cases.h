// Cases of image operators as a host would have them: whole frames of two sizes through the plug-in's entry, with one
// worker and with two, in units of one pass over the frame (reading a frame of four 16-bit samples, adding 1, writing
// another).
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/case_reporter.h"
#include "evaluator/plan.h"
#include "evaluator/workers.h"
#include "genotype/genotype_reader.h"
#include "hostkit/host_kit.h"

namespace tessaron::bench {

struct frame_size {
  const char* name;
  int width, height;
  int repeats;  // at most; the fastest counts
  std::size_t samples() const { return std::size_t(width) * height; }
};
inline constexpr frame_size FRAMES[] = {{"1920x1080", 1920, 1080, 30}, {"3840x2160", 3840, 2160, 8}};

/// Seconds of one repeat's work, or below 0 when it failed.
using timed_work = std::function<double()>;

template <class Work>
double seconds_of(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A case with one thread and with two. `prepare` makes what one repeat calls.
inline void add_case(const frame_size& f, const std::string& name,
                     std::function<timed_work(const frame_size& f, int threads)> prepare) {
  for (const int threads : {1, 2}) {
    const std::string full = std::string(f.name) + " " + name + (threads == 1 ? ", 1 thread" : ", 2 threads");
    const auto run = [&f, name, prepare, threads](benchmark::State& state) {
      constexpr double LONGEST = 0.5;  // seconds
      const timed_work work = prepare(f, threads);
      double& fastest = result_of({f.name, name}).seconds[threads - 1];
      // The first repeat touches memory for the first time; the fastest of all counts.
      for (auto _ : state) {
        double spent = 0;
        for (int i = 0; i == 0 || (i < f.repeats && spent < LONGEST); ++i)
          spent += seconds_of([&] {
            const double seconds = work();
            if (seconds >= 0 && (fastest <= 0 || seconds < fastest)) fastest = seconds;
          });
        if (fastest <= 0) return state.SkipWithError("the render failed");
        state.SetIterationTime(fastest);
      }
    };
    benchmark::RegisterBenchmark(full.c_str(), run)->Unit(benchmark::kMillisecond)->Iterations(1)->UseManualTime();
  }
}

/// One pass over the frame, by halves with two threads: how far memory lets a second one help.
inline void add_frame_pass(const frame_size& f) {
  add_case(f, FRAME_PASS, [](const frame_size& frame, int threads) -> timed_work {
    using samples = std::vector<std::uint16_t>;
    const std::size_t count = frame.samples() * 4;
    const auto pass = [from = std::make_shared<samples>(count, 7), to = std::make_shared<samples>(count)](
                          std::size_t first, std::size_t end) {
      const std::uint16_t* in = from->data();
      std::uint16_t* out = to->data();
      for (std::size_t i = first; i < end; ++i) out[i] = std::uint16_t(in[i] + 1);
      benchmark::DoNotOptimize(out);
      benchmark::ClobberMemory();
    };
    return [=] {
      return seconds_of([&] {
        std::thread other;
        if (threads == 2) other = std::thread(pass, count / 2, count);
        pass(0, count / threads);
        if (other.joinable()) other.join();
      });
    };
  });
}

/// Arithmetic in registers, by halves with two threads: how far the second processor is one of its own. Two that share
/// a core's units gain next to nothing here, and little in any loop that keeps the units busy.
inline void add_arithmetic(const frame_size& f) {
  add_case(f, "arithmetic alone", [](const frame_size&, int threads) -> timed_work {
    const auto work = [](int rounds) {
      constexpr int LANES = 128;
      std::uint32_t words[LANES];
      for (int i = 0; i < LANES; ++i) words[i] = unsigned(i);
      for (int k = 0; k < rounds; ++k)
        for (int i = 0; i < LANES; ++i) words[i] = words[i] * words[i] + unsigned(k);
      benchmark::DoNotOptimize(words);
    };
    return [=] {
      constexpr int ROUNDS = 40000;
      return seconds_of([&] {
        std::thread other;
        if (threads == 2) other = std::thread(work, ROUNDS / 2);
        work(ROUNDS / threads);
        if (other.joinable()) other.join();
      });
    };
  });
}

/// A host with one picture, a plug-in of one definition, and the frames that it renders.
class frame_host {
 public:
  frame_host(const frame_size& f, const std::string& dest, int threads)
      : plugin_("Bench", {"(define Bench (Source) (rgba_ok)\n" + dest + ")"}) {
    stop_fork_workers();
    set_processor_override(threads);
    hostkit::host_identity identity;
    identity.offers_bgra = false;
    instance_ = std::make_unique<hostkit::instance>(tessaron_main, plugin_.record(), identity);
    request_.format = hostkit::pixel_format::rgba16;
    input_ = hostkit::image::make(f.width, f.height, request_.format);
    output_ = hostkit::image::make(f.width, f.height, request_.format);
    fill(f);
    request_.inputs = {&input_};
    // Hosts keep their images: the output lies in memory that has been touched before. The clock starts here.
    request_.before_render = [this](pf_in_data&, pf_param_def**, pf_world& world) {
      world.data = output_.data.data();
      world.rowbytes = output_.rowbytes;
      start_ = std::chrono::steady_clock::now();
    };
  }

  /// Seconds of one frame, or of the calls of `function` in it; below 0 where it failed.
  double render(const char* function) {
    const hostkit::frame_result result = instance_->render(request_);  // giving its image back is not the engine's work
    const auto end = std::chrono::steady_clock::now();
    if (result.error) return -1;
    if (!function) return std::chrono::duration<double>(end - start_).count();
    double seconds = 0;
    for (const node_timing& t : last_frame_stats.image_nodes)
      if (t.n->kind == KIND_FUNCTION && std::strcmp(t.n->fun->name, function) == 0) seconds += t.seconds;
    return seconds;
  }

 private:
  /// Waves between black and white with a little noise, and one pixel in 500 far above white.
  void fill(const frame_size& f) {
    std::vector<float> across, down;
    for (int x = 0; x < f.width; ++x) across.push_back(std::sin(float(x) * 0.011f));
    for (int y = 0; y < f.height; ++y) down.push_back(12000 * std::cos(float(y) * 0.017f));
    for (int y = 0; y < f.height; ++y) {
      auto* row = reinterpret_cast<std::uint16_t*>(input_.data.data() + std::size_t(y) * input_.rowbytes);
      for (int x = 0; x < f.width; ++x) {
        const unsigned hash = unsigned(x + f.width * y) * 2654435761u;
        for (int e = 0; e < 4; ++e) {
          const float wave = across[std::size_t((x + 200 * e) % f.width)] * down[std::size_t(y)];
          row[4 * x + e] = hash % 500 == 0 ? 65535 : std::uint16_t(16384 + wave + float(hash >> 22));
        }
      }
    }
  }

  hostkit::plugin_texts plugin_;
  std::unique_ptr<hostkit::instance> instance_;
  hostkit::frame_request request_;
  hostkit::image input_, output_;
  std::chrono::steady_clock::time_point start_;
};

/// The calls of `function` in the definition whose body is `dest`, or the whole frame without a function.
inline void add_frames(const frame_size& f, const std::string& name, const char* function, const std::string& dest) {
  add_case(f, name, [=](const frame_size& frame, int threads) -> timed_work {
    const auto host = std::make_shared<frame_host>(frame, dest, threads);
    return [=] { return host->render(function); };
  });
}

/// An amount of so many pixels of the frame, as text.
inline std::string pixels(const frame_size& f, double count) { return std::to_string(count * 8 / f.width); }

/// The `main` of a benchmark whose cases `add` registers for each frame.
template <class Add>
int run_cases(int argc, char** argv, Add add) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  for (const frame_size& f : FRAMES) {
    add_frame_pass(f);
    add_arithmetic(f);
    add(f);
  }
  case_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}

}  // namespace tessaron::bench
