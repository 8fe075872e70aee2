// Images that stay good from frame to frame: what is computed again, and that nothing stale is shown.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/reference_frame.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

fix source_pixel(int x, int y, int e) { return (x * 977 + y * 1361 + e * 523) % 5000; }

bool was_computed(const node& n) {
  const auto& images = last_frame_stats.image_nodes;
  return std::any_of(images.begin(), images.end(), [&n](const node_timing& t) { return t.n == &n; });
}

struct still_and_moving : definition_renderer {
  still_and_moving()
      : definition_renderer(
            "(define C (Source) () p = 0.5 q = 0.75 still = (gamma (* x (+ y p)) 0.5)"
            " moving = (gamma (* Source q) 0.5) dest = (+ moving still))",
            {.width = 11, .height = 7}) {
    set_source(0, source_pixel);
  }
  void frame() {
    ASSERT_TRUE(render());
    EXPECT_EQ(first_difference(*this, source_pixel), "");
  }
};

TEST(still_image, is_computed_once) {
  still_and_moving r;
  r.frame();
  EXPECT_TRUE(was_computed(r.named("still")));
  EXPECT_TRUE(was_computed(r.named("moving")));
  r.frame();
  EXPECT_FALSE(was_computed(r.named("still")));
  EXPECT_TRUE(was_computed(r.named("moving")));
}

TEST(still_image, is_computed_again_when_a_parameter_below_it_changes) {
  still_and_moving r;
  r.frame();
  r.set_param("p", {0.25f});
  r.frame();
  EXPECT_TRUE(was_computed(r.named("still")));
  r.frame();
  EXPECT_FALSE(was_computed(r.named("still")));
  r.set_param("q", {0.25f});
  r.frame();
  EXPECT_FALSE(was_computed(r.named("still")));
}

TEST(still_image, is_computed_again_when_the_frame_changes) {
  still_and_moving r;
  r.frame();
  for (const test_frame& frame : {test_frame{.width = 12, .height = 7}, test_frame{.width = 7, .height = 12},
                                  test_frame{.width = 12, .height = 7, .pixel_aspect = 2.0f},
                                  test_frame{.width = 30, .height = 20, .x0 = 1, .y0 = 0, .x1 = 12, .y1 = 6},
                                  test_frame{.width = 30, .height = 20, .x0 = 2, .y0 = 0, .x1 = 13, .y1 = 6}}) {
    r.set_frame(frame);
    r.frame();
    EXPECT_TRUE(was_computed(r.named("still")));
  }
}

TEST(still_image, is_computed_again_when_another_effect_ran_between) {
  still_and_moving r;
  r.frame();
  {
    definition_renderer other("(define O (Source) () two = (+ Source 1) dest = (+ two (gamma two 2)))", r.frame_size());
    ASSERT_TRUE(other.render());
  }
  r.frame();
  EXPECT_TRUE(was_computed(r.named("still")));
}

TEST(still_image, is_computed_again_after_the_pool_was_emptied) {
  still_and_moving r;
  r.frame();
  free_all_temp_images();
  r.frame();
  EXPECT_TRUE(was_computed(r.named("still")));
}

TEST(still_image, that_nobody_asked_for_while_it_changed_is_not_shown) {
  definition_renderer r(
      "(define C (Source) () show = 1 p = 0.5 still = (gamma (* x p) 0.5)"
      " dest = (+ Source (if+ show (copy still) 0.25)))");
  r.set_source(0, source_pixel);
  const auto frame = [&r](float show, float p) {
    r.set_param("show", {show});
    r.set_param("p", {p});
    ASSERT_TRUE(r.render());
    EXPECT_EQ(first_difference(r, source_pixel), "") << show << " " << p;
  };
  frame(1, 0.5f);
  frame(0, 0.5f);
  frame(0, 0.75f);  // changes while it is hidden
  frame(1, 0.75f);
}

TEST(still_image, under_a_node_that_passed_its_argument_on_follows_the_parameter) {
  definition_renderer r("(define C () () p = 1 dest = (+ (gamma x 0.5) (* y p)))");
  for (float p : {1.0f, 0.5f, 0.0f, 1.0f, 2.0f}) {
    r.set_param("p", {p});
    ASSERT_TRUE(r.render());
    EXPECT_EQ(first_difference(r, source_pixel), "") << p;
  }
}

TEST(inputs, are_read_anew_in_every_frame) {
  still_and_moving r;
  r.frame();
  const auto other = [](int x, int y, int e) { return source_pixel(y, x, e) / 2; };
  r.set_source(0, other);
  ASSERT_TRUE(r.render());
  EXPECT_EQ(first_difference(r, other), "");
}

TEST(frame_after_a_refused_one, trusts_nothing) {
  still_and_moving r;
  r.frame();
  {
    report_capture reports;
    r.record().state_flags &= std::uint8_t(~STATE_EFFECT_SELECTED);
    EXPECT_FALSE(r.render());
    EXPECT_TRUE(reports.has("perform_effect: eval_image_nodes has not been set."));
    r.record().state_flags |= STATE_EFFECT_SELECTED;
  }
  r.frame();
}

TEST(still_root, goes_to_the_output_by_its_planes_without_a_kernel) {
  definition_renderer r("(define C () () dest = (* x y))", {.width = 6, .height = 4});
  static int copies;
  static std::int16_t first_sample;
  copies = 0;
  const auto frame = [&r] {
    r.fill_records();
    pixel_io.write_planes = [](const std::int16_t* const* planes, int n_elements, int) {
      ++copies;
      EXPECT_EQ(n_elements, 1);
      first_sample = planes[0][0];
    };
    abort_requested = 0;
    return perform_effect();
  };
  ASSERT_EQ(frame(), 0);
  EXPECT_EQ(last_frame_stats.image_nodes.size(), 1u);
  ASSERT_EQ(frame(), 0);
  EXPECT_EQ(copies, 2);
  EXPECT_TRUE(last_frame_stats.image_nodes.empty());
  EXPECT_EQ(first_sample, fix_mul(reference_x(r.frame_size(), 0), reference_y(r.frame_size(), 0)));
}

TEST(still_root, is_limited_as_planes_are) {
  definition_renderer r("(define C () () dest = (* x 100))", {.width = 6, .height = 4});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 0, 0), -0x7fff);
  EXPECT_EQ(r.at(0, 5, 0), 0x7fff);
}

TEST(temporal_values, are_never_kept) {
  definition_renderer r("(define C () () dest = (+ (gamma (static) 0.5) (* x y)))");
  r.fill_records();
  time_globals.current_frame = 0;
  ASSERT_TRUE(r.render());
  const auto first = r.result();
  time_globals.current_frame = 1;
  ASSERT_TRUE(r.render());
  EXPECT_NE(r.result(), first);
  time_globals.current_frame = 0;
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.result(), first);
}

}  // namespace
}  // namespace tessaron::testing
