// The blur engine: four 16-bit planes of a frame by three box filters in each direction, in units of one pass over the
// same frame, and OpenCV's three box filters where it is installed.
#include <random>

#include "bench/frame_passes.h"
#include "catalogue/defuns.h"
#include "evaluator/frame.h"
#include "tests/support/plane_levels.h"

#ifdef TESSARON_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

using namespace tessaron;

namespace {

constexpr int PLANES = 4, PASSES = 3;

struct frame_size {
  const char* name;
  int width, height;
  std::size_t samples() const { return std::size_t(width) * height; }
};
constexpr frame_size FRAMES[] = {{"1920x1080", 1920, 1080}, {"3840x2160", 3840, 2160}};

std::vector<std::int16_t> random_plane(const frame_size& f) {
  std::mt19937 random(3);
  std::vector<std::int16_t> plane(f.samples());
  for (std::int16_t& v : plane) v = std::int16_t(random() % 4097);
  return plane;
}

void pass_over(benchmark::State& state, const frame_size& f) {
  std::vector<std::uint16_t> from(f.samples() * 4, 7), to(from.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < from.size(); ++i) to[i] = std::uint16_t(from[i] + 1);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
}

struct blur_case {
  const char* name;
  fix x, y;  // fix pixels
  bool subpixel;
};
constexpr blur_case CASES[] = {
    {"radius 10", 10 * 4096, 10 * 4096, false},    {"radius 100", 100 * 4096, 100 * 4096, false},
    {"radius 10.3, subpixel", 42189, 42189, true}, {"radius 10, across", 10 * 4096, 0, false},
    {"radius 10, down", 0, 10 * 4096, false},
};

void blur(benchmark::State& state, const frame_size& f, const blur_case& c, int threads) {
  stop_fork_workers();
  set_processor_override(threads);
  start_fork_workers();
  std::vector<std::vector<std::int16_t>> planes(PLANES, random_plane(f));
  const auto blur_plane_to_plane = testing::plane_loops_of(chosen_cpu_level()).blur_plane_to_plane;
  for (auto _ : state)
    for (std::vector<std::int16_t>& plane : planes)
      blur_plane_to_plane(plane.data(), plane.data(), FIX_ONE, c.x, c.y, blur_edge_mode, PASSES, c.subpixel, false,
                          f.width, f.height);
}

#ifdef TESSARON_BENCH_OPENCV
void opencv_boxes(benchmark::State& state, const frame_size& f, int radius, int threads) {
  cv::setNumThreads(threads);
  cv::Mat picture(f.height, f.width, CV_16SC4), other;
  cv::randu(picture, 0, 4097);
  for (auto _ : state)
    for (int i = 0, left = radius; i < PASSES; ++i) {
      const int r = left / (PASSES - i);
      left -= r;
      cv::blur(picture, other, cv::Size(2 * r + 1, 2 * r + 1), cv::Point(-1, -1), cv::BORDER_REFLECT);
      std::swap(picture, other);
    }
}
#endif

/// Each frame's blurs in passes over that frame.
class ratio_reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs)
      if (run.aggregate_name == "fastest")
        seconds_[run.run_name.function_name] =
            run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
  }
  void Finalize() override {
    std::printf("\nin frame passes, at level %s\n", cpu_level_name(chosen_cpu_level()));
    for (const frame_size& f : FRAMES)
      for (const auto& [name, seconds] : seconds_)
        if (name.rfind(f.name, 0) == 0 && seconds_[std::string(f.name) + " frame pass"] > 0)
          std::printf("%7.2f  %s\n", seconds / seconds_[std::string(f.name) + " frame pass"], name.c_str());
  }

 private:
  std::map<std::string, double> seconds_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const frame_size& f : FRAMES) {
    const std::string frame = f.name;
    bench::add(frame + " frame pass", [&f](benchmark::State& state) { pass_over(state, f); });
    for (const int threads : {1, 2}) {
      const std::string with = threads == 1 ? ", 1 thread" : ", 2 threads";
      for (const blur_case& c : CASES)
        bench::add(frame + " blur, " + c.name + with, [&f, &c, threads](benchmark::State& state) {
          blur(state, f, c, threads);
        })->UseRealTime();
#ifdef TESSARON_BENCH_OPENCV
      for (const int radius : {10, 100})
        bench::add(frame + " OpenCV's boxes, radius " + std::to_string(radius) + with, [&f, radius, threads](
                                                                                           benchmark::State& state) {
          opencv_boxes(state, f, radius, threads);
        })->UseRealTime();
#endif
    }
  }
  ratio_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
