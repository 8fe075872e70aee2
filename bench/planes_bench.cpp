// The blur engine: four 16-bit planes of a frame by three box filters in each direction, and OpenCV's three box filters
// where it is installed.
#include <random>

#include "bench/frame_cases.h"
#include "tests/support/plane_levels.h"

#ifdef TESSARON_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

using namespace tessaron;
using namespace tessaron::bench;

namespace {

constexpr int PLANES = 4, PASSES = 3;

std::vector<std::int16_t> random_plane(const frame_size& f) {
  std::mt19937 random(3);
  std::vector<std::int16_t> plane(f.samples());
  for (std::int16_t& v : plane) v = std::int16_t(random() % 4097);
  return plane;
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

timed_work blur(const frame_size& f, const blur_case& c, int threads) {
  using plane_set = std::vector<std::vector<std::int16_t>>;
  const auto planes = std::make_shared<plane_set>(PLANES, random_plane(f));
  const auto blur_plane_to_plane = testing::plane_loops_of(chosen_cpu_level()).blur_plane_to_plane;
  stop_fork_workers();
  set_processor_override(threads);
  start_fork_workers();
  return [=, &f] {
    return seconds_of([&] {
      for (std::vector<std::int16_t>& plane : *planes)
        blur_plane_to_plane(plane.data(), plane.data(), FIX_ONE, c.x, c.y, blur_edge_mode, PASSES, c.subpixel, false,
                            f.width, f.height);
    });
  };
}

#ifdef TESSARON_BENCH_OPENCV

timed_work opencv_boxes(const frame_size& f, int radius, int threads) {
  const auto picture = std::make_shared<cv::Mat>(f.height, f.width, CV_16SC4), other = std::make_shared<cv::Mat>();
  cv::randu(*picture, 0, 4097);
  return [=] {
    cv::setNumThreads(threads);
    return seconds_of([&] {
      for (int i = 0, left = radius; i < PASSES; ++i) {
        const int r = left / (PASSES - i);
        left -= r;
        cv::blur(*picture, *other, cv::Size(2 * r + 1, 2 * r + 1), cv::Point(-1, -1), cv::BORDER_REFLECT);
        std::swap(*picture, *other);
      }
    });
  };
}

void add_opencv(const frame_size& f) {
  for (const int radius : {10, 100})
    add_case(f, "OpenCV's boxes, radius " + std::to_string(radius),
             [radius](const frame_size& frame, int threads) { return opencv_boxes(frame, radius, threads); });
}

#else
void add_opencv(const frame_size&) {}
#endif

}  // namespace

int main(int argc, char** argv) {
  return run_cases(argc, argv, [](const frame_size& f) {
    for (const blur_case& c : CASES)
      add_case(f, std::string("blur, ") + c.name,
               [&c](const frame_size& frame, int threads) { return blur(frame, c, threads); });
    add_opencv(f);
  });
}
