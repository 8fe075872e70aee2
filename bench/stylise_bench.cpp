// Stylising operators over 1920x1080 pixels, in frame passes.
#include "bench/frame_passes.h"

#include <cmath>
#include <memory>

#include "genotype/genotype_reader.h"

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
void fold(benchmark::State& state, const char* name) {
  std::vector<fix> x(WIDTH), y(WIDTH), u(WIDTH), v(WIDTH);
  const fun_info& fun = *catalogue.find(name);
  expression_rows vars = {};
  vars.row_width = WIDTH;
  node coords = {}, scale = {}, n = {};
  coords.elnum = n.elnum = 2;
  scale.elnum = 1;
  scale.const_vals[0] = 3 * FIX_ONE;
  coords.rows[0] = x.data(), coords.rows[1] = y.data();
  scale.rows[0] = scale.const_vals;
  n.rows[0] = u.data(), n.rows[1] = v.data();
  n.fun = &fun;
  n.vars = &vars;
  n.arg_number = n.eval_arg_number = 2;
  n.args[0] = &coords, n.args[1] = &scale;
  n.arg_rows[0] = coords.rows, n.arg_rows[1] = scale.rows;
  n.uniform_args = 2;
  for (int i = 0; i < WIDTH; ++i) x[i] = i * 5 - 4800, y[i] = 2 * i;
  for (auto _ : state)
    for (int row = 0; row < HEIGHT; ++row) {
      fun.kernels[0](n);
      benchmark::DoNotOptimize(u.data());
      benchmark::ClobberMemory();
    }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  set_tables_and_globals();
  add("frame pass", frame_pass);
  for (const char* name : {"kaleido", "kaleido_diamonds", "kaleido_oct"})
    add(std::string(name) + ", 1 thread", [=](benchmark::State& state) { fold(state, name); });
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
  pass_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
