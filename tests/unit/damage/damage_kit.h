// What the tests of jpeg_damage share.
#pragma once

#include <cmath>
#include <string>

#include "unit/operators/gradient_kit.h"

namespace tessaron::testing {

/// Arguments as the definition's numbers.
struct damage_numbers {
  double quality = 100;
  double bands[3] = {1, 1, 1};
  double across = 1, down = 1;
  double chroma = 1, luma = 1;
  double rate = 0, density = 0, amp = 0, coherence = 0;
  double seed = 0;
  double res_x = 1, res_y = 1;

  std::string text() const {
    const auto number = [](double v) { return std::to_string(v) + " "; };
    return "(define D (Source) (rgba_ok) dest = (jpeg_damage (remove_alpha Source) " + number(quality) + "[" +
           number(bands[0]) + number(bands[1]) + number(bands[2]) + "] [" + number(across) + number(down) + "] [" +
           number(chroma) + number(luma) + "] " + number(rate) + number(density) + number(amp) + number(coherence) +
           number(seed) + "[" + number(res_x) + number(res_y) + "]))";
  }
  damage_numbers with_errors(double strength = 1) const {
    damage_numbers n = *this;
    n.rate = 0.3;
    n.density = 0.8;
    n.amp = strength;
    n.coherence = 0.5;
    return n;
  }
};

inline constexpr test_frame FRAME = {.width = 160, .height = 120, .source_channels = 4};
/// Of 600 macroblocks, for counts.
inline constexpr test_frame LARGE = {.width = 480, .height = 320, .source_channels = 4};

/// Soft hills of grey with a little colour.
inline fix hills(int x, int y, int e) {
  return fix(std::lrint(2048 + 1300 * std::sin(x * 0.05) * std::cos(y * 0.04) + 150 * std::sin(x * 0.02 + e)));
}
/// The same with hard edges, for what is lost at low quality.
inline fix edges(int x, int y, int e) { return hills(x, y, e) / 2 + ((x / 7 + y / 5) % 2 ? 1500 : 0); }

inline planes_of_result damaged(const damage_numbers& n, const test_frame& f = FRAME,
                                const definition_renderer::pixel_function& source = hills) {
  return rendered(n.text(), f, source);
}
inline planes_of_result picture(const test_frame& f, const definition_renderer::pixel_function& source) {
  planes_of_result planes;
  for (int e = 0; e < 3; ++e) {
    planes.emplace_back();
    for (int y = 0; y < f.height; ++y)
      for (int x = 0; x < f.width; ++x) planes.back().push_back(source(x, y, e));
  }
  return planes;
}

}  // namespace tessaron::testing
