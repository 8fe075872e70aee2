// What the tests of film share: a configuration directory with a film file of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "evaluator/workers.h"
#include "operators/film_tables.h"
#include "operators/film_types.h"
#include "tests/support/config_folder.h"
#include "tests/support/report_capture.h"
#include "tests/support/spoilt_text.h"

namespace tessaron::testing {

/// Stocks with every unit, with a curve for each layer and one for all, with and without grain.
inline const char* const FILMS = R"(
words outside // and a comment
begin Log
  color_curves log10 log10
    red   -1.5 0.1  -1 0.2  -0.5 0.5  0 0.8  0.5 1.1  1 1.2
    green -1.5 0.15 -1 0.3  -0.5 0.6  0 0.9  0.5 1.2  1 1.3
    blue  -1.5 0.1  -1 0.35 -0.5 0.7  0 1.1  0.5 1.3  1 1.5
  end_color_curves
  normal_gray_exposure -0.1
  grain [ 0.1 0.2 0.3 ]
end Log
begin Stops
  color_curves stops linear
    rgb -6 0.1 -3 0.4 -1 0.8 2 1.4 4 1.5
  end_color_curves
  normal_gray_exposure 0.25
  grain 0.15
end Stops
begin Linear
  color_curves lin log2
    rgb 0 1.2 0.3 0.9 0.6 0.5 1.2 0.1
  end_color_curves
end Linear
begin Point
  color_curves log log
    rgb 0 0.5
  end_color_curves
end Point
begin Plain
  grain 0.4
end Plain
begin Paper
  print_film
  color_curves log10 log10
    red   -1 0.05 -0.4 0.1 0 0.6 0.5 1.6 1 2.4 1.5 2.6
    green -1 0.05 -0.4 0.2 0 0.7 0.5 1.7 1 2.5 1.5 2.7
    blue  -1 0.10 -0.4 0.2 0 0.8 0.5 1.8 1 2.6 1.5 2.8
  end_color_curves
  normal_gray_exposure 0.05
  exposure_compensation 0.02 0 -0.03
  grain [ 0.05 0.05 0.35 ]
end Paper
begin Slide
  reversal_film
  color_curves log2 log10
    rgb -5 2.2 -3 1.6 -1 0.8 1 0.3 3 0.1
  end_color_curves
  normal_gray_exposure 0.1
  grain 0.2
end Slide
)";
enum negatives : int { NO_NEG, LOG, STOPS, LINEAR, POINT, PLAIN };
enum prints : int { NO_PRINT, PAPER, SLIDE };

/// A configuration directory with a film file, as long as it lives.
class film_directory : public config_folder {
 public:
  explicit film_directory(const std::string& films = FILMS) : config_folder({{"t_filmtypes.text", films}}) {
    start_fork_workers();
    forget();
  }
  ~film_directory() { forget(); }

 private:
  static void forget() {
    reset_film_types();
    reset_film_tables();
  }
};

}  // namespace tessaron::testing
