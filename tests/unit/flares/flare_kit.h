// What the tests of flares and glares share: data files of their own, and renders of one flare.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operators/lens_flares.h"
#include "tests/support/config_folder.h"
#include "tests/support/plane_checks.h"
#include "tests/support/report_capture.h"
#include "tests/support/spoilt_text.h"
#include "tests/unit/operators/gradient_kit.h"

namespace tessaron::testing {

/// A configuration directory with the given data files, while it lives.
class flare_files : public config_folder {
 public:
  explicit flare_files(const std::string& lens_flares, const std::string& glares = "")
      : config_folder({{"t_lensflares.text", lens_flares}, {"t_glares.text", glares}}) {}
  ~flare_files() { free_flare_lists(); }
};

/// One entry around elements.
inline std::string entry(const std::string& elements, const std::string& name = "Test") {
  return "begin " + name + "\n" + elements + "\nend\n";
}

/// Arguments of lens_flare.
struct flare_settings {
  std::string type = "0", hotspot = "[0 0]", pivot = "[0 0]", gamma = "1", saturation = "1", scale = "1", rotate = "0";
  std::string hotspot_color = "[1 1 1]", other_color = "[1 1 1]", rays_color = "[1 1 1]";

  std::string call() const {
    return "(lens_flare " + type + " " + hotspot + " " + pivot + " " + gamma + " " + saturation + " " + scale + " " +
           rotate + " " + hotspot_color + " " + other_color + " " + rays_color + ")";
  }
  std::string definition() const { return "(define F () dest = " + call() + ")"; }
};

inline planes_of_result rendered_flare(const flare_settings& s, const test_frame& frame) {
  definition_renderer r(s.definition(), frame);
  return rendered(r);
}

/// Sum of all samples of a plane.
inline double light_of(const std::vector<fix>& plane) {
  double sum = 0;
  for (const fix v : plane) sum += v;
  return sum;
}

}  // namespace tessaron::testing
