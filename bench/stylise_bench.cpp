// Stylising operators over 1920x1080 pixels, in frame passes.
#include "bench/frame_passes.h"

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

/// 100 discs of light.
fix discs(int x, int y, int) {
  const int dx = x % 192 - 96, dy = y % 108 - 54;
  return dx * dx + dy * dy < 400 ? FIX_ONE : 0;
}

/// The kernel of one fold over a frame of coordinates, row by row.
class fold_frame {
 public:
  explicit fold_frame(const char* name) : fun_(*catalogue.find(name)) {
    vars_.row_width = WIDTH;
    coords_.elnum = n_.elnum = 2;
    scale_.elnum = 1;
    scale_.const_vals[0] = 3 * FIX_ONE;
    coords_.rows[0] = x_.data(), coords_.rows[1] = y_.data();
    scale_.rows[0] = scale_.const_vals;
    n_.rows[0] = u_.data(), n_.rows[1] = v_.data();
    n_.fun = &fun_;
    n_.vars = &vars_;
    n_.arg_number = n_.eval_arg_number = 2;
    n_.args[0] = &coords_, n_.args[1] = &scale_;
    n_.arg_rows[0] = coords_.rows, n_.arg_rows[1] = scale_.rows;
    n_.uniform_args = 2;
    for (int i = 0; i < WIDTH; ++i) x_[std::size_t(i)] = i * 5 - 4800, y_[std::size_t(i)] = 2 * i;
  }
  fold_frame(const fold_frame&) = delete;
  fold_frame& operator=(const fold_frame&) = delete;

  void fold() {
    for (int row = 0; row < HEIGHT; ++row) {
      fun_.kernels[0](n_);
      benchmark::DoNotOptimize(u_.data());
      benchmark::ClobberMemory();
    }
  }

 private:
  const fun_info& fun_;
  std::vector<fix> x_ = std::vector<fix>(WIDTH), y_ = x_, u_ = x_, v_ = x_;
  expression_rows vars_ = {};
  node coords_ = {}, scale_ = {}, n_ = {};
};

/// On one thread.
timed_work fold_work(const char* name) {
  return [frame = std::make_shared<fold_frame>(name)] { return seconds_of([&] { frame->fold(); }); };
}

void add_cases() {
  for (const char* name : {"kaleido", "kaleido_diamonds", "kaleido_oct"})
    add_case(FRAME, name, [=](const frame_size&, int) { return fold_work(name); });
  // The image is an operator's planes, so that fetching it is a copy at most.
  const std::string three = "(gamma Source 0.9)", four = "(gamma (coerce_to_v4 Source) 0.9)";
  const std::string one = "(gamma (element_of Source 0) 0.9)";
  const auto fly = [](const std::string& image, const char* edge) {
    return "(flys_eye " + image + " xy [9 9] [0 0] 0.03 2.5 0 1 " + edge + " [2 2])";
  };
  add_operator("warp of three elements", "warp", "(warp " + three + " (* xy 0.9) [2 2] 0)", picture);
  add_operator("flys_eye of one element", "flys_eye", fly(one, "0"), picture);
  add_operator("flys_eye of three elements", "flys_eye", fly(three, "0"), picture);
  add_operator("flys_eye of four elements", "flys_eye", fly(four, "0"), picture);
  add_operator("flys_eye of four elements, soft edges", "flys_eye", fly(four, "0.3"), picture);
  add_operator("flys_eye of four elements, softest edges", "flys_eye", fly(four, "1"), picture);
  const auto rain = [&](const char* radii) {
    return "(drops " + one + " xy 0.02 [30 30] 0.2 0 " + radii + " [0.1 0.1] 100)";
  };
  add_operator("drops, 100 centres felt to 0.3", "drops", rain("[0.05 0.2]"), discs);
  add_operator("drops, 100 centres felt everywhere", "drops", rain("[0 4]"), discs);
  const auto paint = [](const std::string& image, const char* frequency) {
    return "(paint " + image + " " + frequency + " 0.02 1 0.04 1)";
  };
  for (const char* frequency : {"20", "60", "200"}) {
    add_operator("paint of three elements, " + std::string(frequency), "paint", paint(three, frequency), picture);
    add_operator("paint of four elements, " + std::string(frequency), "paint", paint(four, frequency), picture);
  }
}

}  // namespace

int main(int argc, char** argv) { return run_passes(argc, argv, add_cases); }
