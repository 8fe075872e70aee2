// Warps: whole frames, with all that computes their coordinates, from host pixels to host pixels. Beside them the same
// rotation and ripple by OpenCV, where that is installed: its map, and the image read through it.
#include "bench/frame_cases.h"

#ifdef TESSARON_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

using namespace tessaron;
using namespace tessaron::bench;

namespace {

// A rotation and a ripple from the centre, both in time, so that every frame computes them.
constexpr const char* COORDS =
    "  turned = (rotate xy (* (+ (get_time) 1) 0.02) [0 0])\n"
    "  coords = (* turned (+ 1 (* (sin (- (* (mag xy) 5) (get_time))) 0.02)))\n";

struct warp_case {
  const char *name, *dest;
};
constexpr warp_case CASES[] = {
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
    {"blur_warp, 1% of the width", "(blur_warp Source (- xy [0.01 0]) (+ xy [0.01 0.004]) [1 1] 1 [2 2] 0 0)"},
    {"blur_warp, 1%, subpixel", "(blur_warp Source (- xy [0.01 0]) (+ xy [0.01 0.004]) [1 0] 1 [2 2] 1 0)"},
    {"blur_warp, 5%, subpixel, reduced", "(blur_warp Source (- xy [0.05 0]) (+ xy [0.05 0.02]) [1 0] 1 [2 2] 1 1)"},
};

#ifdef TESSARON_BENCH_OPENCV

/// The places that the definition above computes, in pixels, one float a direction.
void make_map(cv::Mat& map_x, cv::Mat& map_y, float time) {
  const float width = float(map_x.cols), half_y = float(map_x.rows) / width;
  const float s = std::sin((time + 1) * 0.1256637f), c = std::cos((time + 1) * 0.1256637f);
  cv::parallel_for_({0, map_x.rows}, [&](const cv::Range& rows) {
    for (int row = rows.start; row < rows.end; ++row) {
      const float y = half_y - (float(row) + 0.5f) * 2 / width;
      float* to_x = map_x.ptr<float>(row);
      float* to_y = map_y.ptr<float>(row);
      for (int i = 0; i < map_x.cols; ++i) {
        const float x = (float(i) + 0.5f) * 2 / width - 1;
        const float ripple = 1 + std::sin((std::sqrt(x * x + y * y) * 5 - time) * 6.2831853f) * 0.02f;
        to_x[i] = ((x * c - y * s) * ripple + 1) * width / 2 - 0.5f;
        to_y[i] = (half_y - (x * s + y * c) * ripple) * width / 2 - 0.5f;
      }
    }
  });
}

struct remapping {
  cv::Mat picture, result, map_x, map_y;
  explicit remapping(const frame_size& f)
      : picture(f.height, f.width, CV_16SC4), map_x(f.height, f.width, CV_32F), map_y(f.height, f.width, CV_32F) {
    cv::randu(picture, 0, 4097);
    make_map(map_x, map_y, 0);
  }
  void remap() { cv::remap(picture, result, map_x, map_y, cv::INTER_LINEAR, cv::BORDER_CONSTANT); }
};

void add_opencv(const frame_size& f) {
  for (const bool computed : {true, false})
    add_case(f, computed ? "OpenCV's map and remap" : "OpenCV's remap alone",
             [computed](const frame_size& frame, int threads) -> timed_work {
               const auto job = std::make_shared<remapping>(frame);
               return [=, time = 0.0f]() mutable {
                 cv::setNumThreads(threads);
                 time += 0.04f;
                 return seconds_of([&] {
                   if (computed) make_map(job->map_x, job->map_y, time);
                   job->remap();
                 });
               };
             });
}

#else
void add_opencv(const frame_size&) {}
#endif

}  // namespace

int main(int argc, char** argv) {
  return run_cases(argc, argv, [](const frame_size& f) {
    for (const warp_case& c : CASES) add_frames(f, c.name, nullptr, std::string(COORDS) + "  dest = " + c.dest);
    add_opencv(f);
  });
}
