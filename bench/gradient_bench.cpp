// Gradients, emboss and edge distance: the operator alone, its image in place; beside OpenCV where that is installed.
#include "bench/frame_cases.h"

#ifdef TESSARON_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

using namespace tessaron;
using namespace tessaron::bench;

namespace {

#ifdef TESSARON_BENCH_OPENCV

/// Waves between 0 and 4096.
cv::Mat waves(const frame_size& f) {
  cv::Mat image(f.height, f.width, CV_16S);
  for (int y = 0; y < f.height; ++y)
    for (int x = 0; x < f.width; ++x)
      image.at<short>(y, x) = short(2048 + 1500 * std::sin(float(x) * 0.011f) * std::cos(float(y) * 0.017f));
  return image;
}

timed_work opencv_sobel(const frame_size& f, int threads) {
  const auto image = std::make_shared<cv::Mat>(waves(f)), dx = std::make_shared<cv::Mat>(),
             dy = std::make_shared<cv::Mat>();
  return [=] {
    cv::setNumThreads(threads);
    return seconds_of([&] {
      cv::Sobel(*image, *dx, CV_16S, 1, 0, 3);
      cv::Sobel(*image, *dy, CV_16S, 0, 1, 3);
    });
  };
}

timed_work opencv_distance(const frame_size& f, int threads, int mask) {
  const auto matte = std::make_shared<cv::Mat>(waves(f) > 2048), distance = std::make_shared<cv::Mat>();
  return [=] {
    cv::setNumThreads(threads);
    return seconds_of([&] { cv::distanceTransform(*matte, *distance, cv::DIST_L2, mask); });
  };
}

void add_opencv(const frame_size& f) {
  add_case(f, "OpenCV's Sobel, dx and dy, 16 bits", opencv_sobel);
  add_case(f, "OpenCV's distanceTransform, L2, 5x5",
           [](const frame_size& frame, int threads) { return opencv_distance(frame, threads, cv::DIST_MASK_5); });
  add_case(f, "OpenCV's distanceTransform, L2, exact",
           [](const frame_size& frame, int threads) { return opencv_distance(frame, threads, cv::DIST_MASK_PRECISE); });
}

#else
void add_opencv(const frame_size&) {}
#endif

}  // namespace

int main(int argc, char** argv) {
  return run_cases(argc, argv, [](const frame_size& f) {
    // The image is an operator's planes, so that fetching it is a copy at most.
    const std::string grey = "(gamma (element_of Source 1) 0.9) ", colour = "(gamma (remove_alpha Source) 0.9) ";
    const std::string four_pixels = pixels(f, 4);
    const auto add = [&](const std::string& name, const char* function, const std::string& arguments) {
      add_frames(f, name, function, "dest = (" + std::string(function) + " " + arguments + ")");
    };
    add("grad", "grad", grey + "0 1 0");
    add("grad, pre_blur 4 pixels", "grad", grey + four_pixels + " 1 1");
    add("edge_detect, 1 element", "edge_detect", grey + "0 1 0");
    add("edge_detect, 3 elements", "edge_detect", colour + "0 1 0");
    add("edge_detect, 3 elements, pre_blur 4 pixels", "edge_detect", colour + four_pixels + " 1 1");
    add("grad_direction, 1 element", "grad_direction", grey + "0 0 0");
    add("grad_in_direction, 1 element", "grad_in_direction", grey + "[1 1] 0 0");
    add("grad_for_mipmap", "grad_for_mipmap", "(grad " + grey + "0 1 0) 1 0");
    add("emboss", "emboss", grey + "0 1 0.5 [1 1 1] [-1 1] 0 20 0");
    add("emboss with highlights", "emboss", grey + "0 1 0.5 [1 1 1] [-1 1] 0.5 20 0");
    add("emboss of a coloured surface with highlights", "emboss",
        grey + "0 1 (gamma (remove_alpha Source) 0.5) [1 1 1] [-1 1] 0.5 20 0");
    add("edge_dist", "edge_dist", "(grad_in_direction " + grey + "[8 8] 0.2 0) 0.01");
    add_opencv(f);
  });
}
