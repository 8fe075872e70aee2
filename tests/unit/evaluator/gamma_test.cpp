// gamma against the plain power.
#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/workers.h"
#include "operators/operators.h"
#include "tests/support/reference_frame.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

/// |base| to the power, rounded to the nearest fix and held to what a plane stores.
fix plain_gamma(fix base, fix power) {
  const double base_value = std::abs(std::clamp(base, -0x7fff, 0x7fff)) / 4096.0;
  const double value = std::pow(base_value, power / 4096.0) * 4096.0;
  return value > 0x7ffe ? 0x7fff : fix(std::nearbyint(value));
}

fix ramp(int x, int y, int e) { return 641 * x - 911 * y + 97 * e; }

TEST(gamma, raises_each_sample_to_the_power) {
  for (float power : {0.5f, 1.0f / 2.2f, 2.0f, 3.5f, -1.0f}) {
    definition_renderer r("(define G (Source) () p = 1.5 dest = (+ (gamma Source p) 0))", {.width = 40, .height = 20});
    r.set_source(0, ramp);
    r.set_param("p", {power});
    ASSERT_TRUE(r.render());
    for (int y = 0; y < 20; ++y)
      for (int x = 0; x < 40; ++x)
        for (int e = 0; e < 3; ++e) {
          if (ramp(x, y, e) == 0 && power < 0) continue;
          ASSERT_EQ(r.at(e, x, y), plain_gamma(ramp(x, y, e), fix_from_double(power))) << x << "," << y << " " << power;
        }
  }
}

TEST(gamma, of_black_and_white_leaves_them) {
  definition_renderer r("(define G (Source) () dest = (gamma Source 0.45))", {.width = 2, .height = 1});
  r.set_source(0, [](int x, int, int) { return x * 4096; });
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 0, 0), 0);
  EXPECT_EQ(r.at(0, 1, 0), 4096);
}

TEST(gamma, takes_a_power_for_each_element) {
  definition_renderer r("(define G (Source) () dest = (+ (gamma Source [0.5 1 2]) 0))", {.width = 30, .height = 4});
  r.set_source(0, ramp);
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 30; ++x)
    for (int e = 0; e < 3; ++e) EXPECT_EQ(r.at(e, x, 2), plain_gamma(ramp(x, 2, e), 2048 << e)) << x;
}

TEST(gamma, spreads_one_element_over_three_powers) {
  definition_renderer r("(define G (Source) () dest = (+ (gamma (element_of Source 1) [0.5 1 2]) 0))",
                        {.width = 30, .height = 4});
  r.set_source(0, ramp);
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 30; ++x)
    for (int e = 0; e < 3; ++e) EXPECT_EQ(r.at(e, x, 1), plain_gamma(ramp(x, 1, 1), 2048 << e)) << x;
}

TEST(gamma, of_a_tree_limits_it_as_planes_do) {
  definition_renderer r("(define G (Source) () dest = (+ (gamma (* Source 10) 0.5) 0))", {.width = 30, .height = 4});
  r.set_source(0, ramp);
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 30; ++x) EXPECT_EQ(r.at(0, x, 0), plain_gamma(ramp(x, 0, 0) * 10, 2048)) << x;
}

TEST(gamma, takes_a_power_that_changes_from_pixel_to_pixel) {
  for (const char* power : {"(+ x 1.5)", "(+ y 1.5)"}) {
    definition_renderer r(std::string("(define G (Source) () dest = (+ (gamma Source ") + power + ") 0))",
                          {.width = 30, .height = 9});
    r.set_source(0, ramp);
    ASSERT_TRUE(r.render());
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 30; ++x) {
        const fix p = (power[3] == 'x' ? reference_x(r.frame_size(), x) : reference_y(r.frame_size(), y)) + 6144;
        ASSERT_EQ(r.at(1, x, y), plain_gamma(ramp(x, y, 1), p)) << x << "," << y;
      }
  }
}

TEST(gamma, is_the_same_for_any_number_of_workers) {
  std::vector<std::vector<fix>> one;
  for (int count : {1, 2, 3, 7}) {
    stop_fork_workers();
    set_processor_override(count);
    start_fork_workers();
    definition_renderer r("(define G (Source) () dest = (+ (gamma (gamma Source 2) [0.5 0.7 3]) 0))",
                          {.width = 71, .height = 33});
    r.set_source(0, ramp);
    ASSERT_TRUE(r.render());
    if (count == 1)
      one = r.result();
    else
      EXPECT_EQ(r.result(), one) << count;
  }
  stop_fork_workers();
  set_processor_override(0);
}

TEST(operator_planes, are_checked_by_count_and_presence) {
  std::int16_t plane[4] = {};
  node n = {};
  n.name = "soft";
  n.image_count = 2;
  n.images[0] = plane;
  report_capture reports;
  EXPECT_THROW(check_image_planes(n, 3), TessaronAbortException);
  EXPECT_TRUE(reports.has("node soft has image_count 2, expected 3."));
  EXPECT_THROW(check_image_planes(n, 2), TessaronAbortException);
  EXPECT_TRUE(reports.has("node soft has NULL image 1."));
}

TEST(copy_plane, copies_small_and_large_planes_whole) {
  start_fork_workers();
  for (int samples : {1, 100, 511, 512, 513, 100003}) {
    std::vector<std::int16_t> from(samples), to(samples + 1, -7);
    for (int i = 0; i < samples; ++i) from[i] = std::int16_t(i * 31);
    short_image_size = 2 * samples;
    copy_plane(to.data(), from.data());
    EXPECT_TRUE(std::equal(from.begin(), from.end(), to.begin())) << samples;
    EXPECT_EQ(to[samples], -7);
  }
}

}  // namespace
}  // namespace tessaron::testing
