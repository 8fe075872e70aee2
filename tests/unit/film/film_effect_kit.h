// What the tests of film_effect share: a frame, film files, and numbers for a print with grain.
#pragma once

#include "film_reference.h"
#include "unit/operators/gradient_kit.h"

namespace tessaron::testing {

inline constexpr test_frame FRAME = {.width = 67, .height = 22, .source_channels = 4};

inline planes_of_result developed(const film_numbers& n, const test_frame& f,
                                  const definition_renderer::pixel_function& source, bool alpha = false) {
  return rendered(n.text(alpha), f, source);
}

/// Film files, and time at its start.
struct film_fixture : ::testing::Test {
  void SetUp() override { time_globals = {}; }
  void TearDown() override { time_globals = {}; }

  film_directory directory;
};

inline film_numbers print_of(int neg, int print) {
  film_numbers n;
  n.neg = neg;
  n.print = print;
  return n;
}
inline film_numbers grainy() {
  film_numbers n = print_of(LOG, PAPER);
  n.grain[0] = 0.8;
  n.grain[1] = 1.2;
  n.grain[2] = 0.4;
  n.middle[1] = 0.35;
  n.grain_black = 0.25;
  n.grain_white = 0.1;
  n.seed = 1.5;
  return n;
}

}  // namespace tessaron::testing
