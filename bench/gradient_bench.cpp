// Gradients, emboss and edge distance over 1920x1080 samples, in frame passes; beside OpenCV where that is installed.
#include "bench/frame_passes.h"

#include <cmath>

#ifdef TESSARON_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

using namespace tessaron;
using namespace tessaron::bench;

namespace {

/// Waves with a little noise, between black and white.
fix picture(int x, int y, int e) {
  static const std::vector<fix> samples = [] {
    std::vector<fix> made;
    for (int i = 0; i < WIDTH * HEIGHT; ++i) {
      const unsigned hash = unsigned(i) * 2654435761u;
      const double wave = std::sin(i % WIDTH * 0.011) * std::cos(i / WIDTH * 0.017);
      made.push_back(fix(2048 + 1500 * wave) + fix(hash >> 25));
    }
    return made;
  }();
  return samples[std::size_t(y * WIDTH + (x + 200 * e) % WIDTH)];
}

#ifdef TESSARON_BENCH_OPENCV

cv::Mat as_mat(double factor, int type) {
  cv::Mat image(HEIGHT, WIDTH, CV_16S);
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) image.at<short>(y, x) = short(picture(x, y, 0));
  cv::Mat converted;
  image.convertTo(converted, type, factor);
  return converted;
}

void add_opencv() {
  for (const int threads : {1, 2}) {
    const std::string suffix = threads == 1 ? ", 1 thread" : ", 2 threads";
    add("OpenCV Sobel dx and dy, 16 bits" + suffix, [threads](benchmark::State& state) {
      cv::setNumThreads(threads);
      const cv::Mat image = as_mat(1, CV_16S);
      cv::Mat dx, dy;
      for (auto _ : state) {
        cv::Sobel(image, dx, CV_16S, 1, 0, 3);
        cv::Sobel(image, dy, CV_16S, 0, 1, 3);
      }
    });
    add("OpenCV distanceTransform, L2, 5x5" + suffix, [threads](benchmark::State& state) {
      cv::setNumThreads(threads);
      cv::Mat matte = as_mat(1.0 / 16, CV_8U) > 128, distance;
      for (auto _ : state) cv::distanceTransform(matte, distance, cv::DIST_L2, cv::DIST_MASK_5);
    });
    add("OpenCV distanceTransform, L2, exact" + suffix, [threads](benchmark::State& state) {
      cv::setNumThreads(threads);
      cv::Mat matte = as_mat(1.0 / 16, CV_8U) > 128, distance;
      for (auto _ : state) cv::distanceTransform(matte, distance, cv::DIST_L2, cv::DIST_MASK_PRECISE);
    });
  }
}

#else
void add_opencv() {}
#endif

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  add("frame pass", frame_pass);
  // The image is an operator's planes, so that fetching it is a copy at most.
  const std::string grey = "(gamma (element_of Source 0) 0.9)", colour = "(gamma Source 0.9)";
  add_operator("grad", "grad", "(grad " + grey + " 0 1 0)", picture);
  add_operator("grad, pre_blur 4 pixels", "grad", "(grad " + grey + " 0.0167 1 1)", picture);
  add_operator("edge_detect, 1 element", "edge_detect", "(edge_detect " + grey + " 0 1 0)", picture);
  add_operator("edge_detect, 3 elements", "edge_detect", "(edge_detect " + colour + " 0 1 0)", picture);
  add_operator("edge_detect, 3 elements, pre_blur 4 pixels", "edge_detect", "(edge_detect " + colour + " 0.0167 1 1)",
               picture);
  add_operator("grad_direction, 1 element", "grad_direction", "(grad_direction " + grey + " 0 0 0)", picture);
  add_operator("grad_in_direction, 1 element", "grad_in_direction", "(grad_in_direction " + grey + " [1 1] 0 0)",
               picture);
  add_operator("grad_for_mipmap", "grad_for_mipmap", "(grad_for_mipmap (grad " + grey + " 0 1 0) 1 0)", picture);
  add_operator("emboss", "emboss", "(emboss " + grey + " 0 1 0.5 [1 1 1] [-1 1] 0 20 0)", picture);
  add_operator("emboss with highlights", "emboss", "(emboss " + grey + " 0 1 0.5 [1 1 1] [-1 1] 0.5 20 0)", picture);
  add_operator("emboss of a coloured surface with highlights", "emboss",
               "(emboss " + grey + " 0 1 (gamma Source 0.5) [1 1 1] [-1 1] 0.5 20 0)", picture);
  add_operator("edge_dist", "edge_dist", "(edge_dist (grad_in_direction " + grey + " [8 8] 0.2 0) 0.01)", picture);
  add_opencv();
  pass_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
