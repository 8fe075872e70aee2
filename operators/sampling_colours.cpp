#include "operators/sampling_colours.h"

#include <algorithm>
#include <cmath>

#include "base/report.h"

namespace tessaron {
namespace {

constexpr double TABLE_ONE = 16.0;  // what a channel's weights sum to; sums lose four bits in the end
constexpr double EQUAL_SHARE = 0.33333;

std::vector<chroma_step> table;

struct bells {
  double first, middle, last;
};

/// How much of each colour a step takes at t = 0 (first) to 2 (last): squares of the three sum to 1.
bells bells_at(double t) {
  const double a = std::max(0.0, 1.0 - t), b = std::max(0.0, t - 1.0);
  const double m = (1.0 - a - b) / 2.0;
  const double k = 1.0 / (a + m + b);
  const auto root = [](double v) { return v > 0.0 ? std::sqrt(v) : 0.0; };
  return {root(a * k), root(m * k), root(b * k)};
}

void balance(double (&color)[3][3]) {
  for (int c = 0; c < 3; ++c) {
    const double sum = color[0][c] + color[1][c] + color[2][c];
    for (auto& one : color) one[c] = sum > 0.0 ? one[c] / sum : one[c] + EQUAL_SHARE;
  }
}

}  // namespace

void set_chroma_warp_color_scales(const chroma_settings& settings) {
  if (!table.empty()) fatal("set_chroma_warp_color_scales: was already set.");
  double color[3][3];
  for (int k = 0; k < 3; ++k)
    for (int c = 0; c < 3; ++c) color[k][c] = settings.colors[k][c] / 4096.0;
  if (settings.white_balance) balance(color);

  const int n = settings.n_steps;
  std::vector<bells> steps;
  bells sums = {};
  for (int i = 0; i < n; ++i) {
    steps.push_back(bells_at(2.0 * i / (n - 1)));
    sums.first += steps.back().first;
    sums.middle += steps.back().middle;
    sums.last += steps.back().last;
  }

  const double scale = settings.brightness / 4096.0 * TABLE_ONE;
  table.resize(std::size_t(n));
  for (int i = 0; i < n; ++i) {
    const bells& p = steps[std::size_t(i)];
    const double first = p.first / sums.first, middle = p.middle / sums.middle, last = p.last / sums.last;
    for (int c = 0; c < 3; ++c)
      table[std::size_t(i)].color[c] = float((first * color[0][c] + middle * color[1][c] + last * color[2][c]) * scale);
  }
}

void free_chroma_warp_color_scales() {
  table.clear();
  table.shrink_to_fit();
}

const std::vector<chroma_step>& chroma_warp_color_scales() { return table; }

}  // namespace tessaron
