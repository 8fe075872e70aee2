// The plan of planes does not show in a picture: wherever nodes find their planes, a frame is what it is when
// every node has planes that nothing else is ever written to.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

const test_frame FRAME = {.width = 17, .height = 9};

fix source_pixel(int x, int y, int e) { return (x * 977 + y * 1361 + e * 523) % 5000 - 300; }

/// Gives each node with planes a place of its own behind all others.
void spread_planes(genotype& g) {
  int next = 0;
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    n.shared_image = 0;
    n.image_base = std::int8_t(next);
    next += n.image_count;
    n.image_top = std::int8_t(next);
  }
  ASSERT_LE(next, 127);
  g.n_temp_images = next;
  g.n_cache_images = 0;
}

std::vector<std::vector<fix>> frame_of(const std::string& definition, bool spread) {
  definition_renderer r(definition, FRAME);
  for (int source = 0; source < 2; ++source) r.set_source(source, source_pixel);
  r.fill_records();
  EXPECT_TRUE(resolve_element_counts(r.effect()));
  if (spread) spread_planes(r.effect());
  EXPECT_TRUE(r.render());
  return r.result();
}

void expect_the_plan_does_not_show(const std::string& definition) {
  report_capture reports;
  EXPECT_EQ(frame_of(definition, false), frame_of(definition, true)) << definition << reports.all();
}

/// A definition whose inner operator has planes for its other argument as well: they push its image up by one
/// place, so that it reaches into what the outer operator uses besides its result.
std::string over_moved(const std::string& dest) {
  return "(define P (A B) () matte = (gamma (element_of B 0) 2)"
         " moved = (masked_blur (coerce_to_v4 A) matte 0.1 0 1) dest = " +
         dest + ")";
}

TEST(plane_plan, of_an_image_that_is_fetched_beyond_the_result_does_not_show) {
  expect_the_plan_does_not_show(over_moved("(z_blur moved x 0.1 0.25 0 0.1 2 1)"));
  expect_the_plan_does_not_show(over_moved("(blur_warp moved xy (* xy 0.9) [1 1] 1 [0 0] 0 0)"));
}

TEST(plane_plan, of_an_image_below_a_matte_does_not_show) {
  expect_the_plan_does_not_show(over_moved("(+ x (ave_in_matte moved (+ x 1)))"));
}

}  // namespace
}  // namespace tessaron::testing
