// Glow, glints and defocus: the operator alone, its image in place. Beside them what OpenCV offers for the same, where
// that is installed: threshold, three box filters and a sum; a filter by a disc in floats.
#include "bench/frame_cases.h"

#ifdef TESSARON_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

using namespace tessaron;
using namespace tessaron::bench;

namespace {

void add_operator(const frame_size& f, const std::string& name, const char* function, const std::string& arguments,
                  int channels) {
  const std::string source = channels == 4 ? "Source" : "(remove_alpha Source)";
  add_frames(f, name, function, "dest = (" + std::string(function) + " (gamma " + source + " 0.9) " + arguments + ")");
}

#ifdef TESSARON_BENCH_OPENCV

timed_work opencv_glow(const frame_size& f, int threads) {
  constexpr int RADIUS = 50, PASSES = 3;
  const auto picture = std::make_shared<cv::Mat>(f.height, f.width, CV_16SC3);
  const auto light = std::make_shared<cv::Mat>(), other = std::make_shared<cv::Mat>();
  cv::randu(*picture, 0, 4097);
  return [=] {
    cv::setNumThreads(threads);
    return seconds_of([&] {
      cv::threshold(*picture, *light, 2457, 0, cv::THRESH_TOZERO);
      for (int i = 0, left = RADIUS; i < PASSES; ++i) {
        const int r = left / (PASSES - i);
        left -= r;
        cv::blur(*light, *other, cv::Size(2 * r + 1, 2 * r + 1), cv::Point(-1, -1), cv::BORDER_REFLECT);
        std::swap(*light, *other);
      }
      cv::add(*picture, *light, *other);
    });
  };
}

timed_work opencv_disc(const frame_size& f, int threads, int radius) {
  const auto picture = std::make_shared<cv::Mat>(f.height, f.width, CV_32FC4), result = std::make_shared<cv::Mat>();
  const auto disc = std::make_shared<cv::Mat>(2 * radius + 1, 2 * radius + 1, CV_32F, cv::Scalar(0));
  cv::randu(*picture, 0, 1);
  cv::circle(*disc, {radius, radius}, radius, cv::Scalar(1), cv::FILLED);
  *disc /= cv::sum(*disc)[0];
  return [=] {
    cv::setNumThreads(threads);
    return seconds_of([&] { cv::filter2D(*picture, *result, -1, *disc, {-1, -1}, 0, cv::BORDER_REPLICATE); });
  };
}

void add_opencv(const frame_size& f) {
  add_case(f, "OpenCV's threshold, boxes and sum, radius 50", opencv_glow);
  add_case(f, "OpenCV's filter2D, disc of radius 20",
           [](const frame_size& frame, int threads) { return opencv_disc(frame, threads, 20); });
}

#else
void add_opencv(const frame_size&) {}
#endif

}  // namespace

int main(int argc, char** argv) {
  return run_cases(argc, argv, [](const frame_size& f) {
    const auto size = [&f](double count) { return pixels(f, count); };
    // Arguments of defocus: radius, gamma, scale, subpixel, shape.
    add_operator(f, "defocus radius 20, circle", "defocus", size(20.3) + " 2.2 1 1 0", 4);
    add_operator(f, "defocus radius 20, circle, whole pixels", "defocus", size(20) + " 2.2 1 0 0", 4);
    add_operator(f, "defocus radius 20, hexagon", "defocus", size(20.3) + " 2.2 1 1 1", 4);
    add_operator(f, "defocus radius 20, gamma 1", "defocus", size(20.3) + " 1 1 1 0", 4);
    add_operator(f, "defocus radius 20, gamma 6", "defocus", size(20.3) + " 6 1 1 0", 4);
    add_operator(f, "defocus radius 100, circle", "defocus", size(100.3) + " 2.2 1 1 0", 4);
    // Arguments of glow: threshold, width_xy, width, brightness, scale_source, subpixel.
    add_operator(f, "glow radius 50", "glow", "0.6 [1 1] " + size(50.3) + " 1 1 1", 3);
    // Arguments of glint: threshold, pre_blur, size, brightness, ray_sizes, ray_brightnesses, scale_source.
    const std::string rays = "[1 1 1 1] [1 1 1 1] ";
    add_operator(f, "glint radius 100", "glint", "0.9 0.01 " + size(100) + " 1 " + rays + "1", 3);
    add_operator(f, "rainbow_glint radius 100", "rainbow_glint", "0.9 0.01 " + size(100) + " 1 " + rays + "[0.5 0.5] 1",
                 3);
    add_opencv(f);
  });
}
