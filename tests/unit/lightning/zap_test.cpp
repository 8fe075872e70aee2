// zap in pictures: where bolts lie, how they move, what they are worth.
#include <gtest/gtest.h>

#include "evaluator/temp_images.h"
#include "lightning_kit.h"
#include "support/abort_questions.h"
#include "support/plane_checks.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

TEST(zap, of_a_straight_bolt_is_its_length_times_twice_its_width) {
  definition_renderer r(ZAP, ZAP_FRAME);
  r.set_param("wrinkle", {0, 0});
  // The width reaches to both sides: 0.05 of half the frame's width for each 1.0.
  for (const float width : {0.05f, 0.2f, 1.0f, 1.7f}) {
    r.set_param("width", {width, 0});
    ASSERT_TRUE(r.render());
    const double length = std::hypot(1.5 * 100, 0.3 * 100), half = 100 * 0.05 * double(width);
    // The outermost points have a third of the width: two segments lose a third each.
    const double segments = std::exp2(std::ceil(std::log2(length / 2)));
    const double area = length * 2 * half * (1 - 0.67 / segments);
    EXPECT_NEAR(measure(r).sum, area, area * 0.01) << width;
  }
}

TEST(zap, of_two_points_is_a_plain_strip) {
  // Less than two pixels are no more than two points, whose widths stay whole.
  definition_renderer r(ZAP, {.width = 40, .height = 40, .output_channels = 1});
  r.set_param("from", {0, 0});
  r.set_param("to", {0.09375f, 0});
  r.set_param("width", {4, 0});
  ASSERT_TRUE(r.render());
  const light_of_plane l = measure(r);
  EXPECT_NEAR(l.sum, 1.875 * 8, 1.875 * 8 * 0.01);
  EXPECT_EQ(l.left, 20);
  EXPECT_EQ(l.right, 21);
  EXPECT_EQ(l.top, 16);
  EXPECT_EQ(l.bottom, 23);
}

TEST(zap, lies_between_its_ends_wherever_the_picture_is_cut) {
  for (const float aspect : {1.0f, 2.0f, 0.5f})
    for (const bool cropped : {false, true}) {
      test_frame frame = {.width = 200, .height = 120, .output_channels = 1, .pixel_aspect = aspect};
      if (cropped) {
        frame.x0 = 31;
        frame.y0 = 17;
        frame.x1 = 180;
        frame.y1 = 103;
      }
      definition_renderer r(ZAP, frame);
      r.set_param("wrinkle", {0, 0});
      r.set_param("width", {0.4f, 0});
      r.set_param("from", {-0.25f, 0.1875f});
      r.set_param("to", {0.5f, -0.0625f});
      ASSERT_TRUE(r.render());
      const light_of_plane l = measure(r);
      // x of 1 is half the frame's width in pixels; y as much in pixel widths.
      EXPECT_NEAR(l.x, 100 + 100 * 0.125, 0.1) << aspect << cropped;
      EXPECT_NEAR(l.y, 60 - 100 * 0.0625 / aspect, 0.1) << aspect << cropped;
      EXPECT_NEAR(l.left, 75, 3);
      EXPECT_NEAR(l.right, 150, 3);
    }
}

TEST(zap, of_a_cropped_picture_is_the_same_part_of_the_whole) {
  definition_renderer whole(ZAP, ZAP_FRAME);
  const auto set = [](definition_renderer& r) {
    r.set_param("bolts", {4});
    r.set_param("branches", {1});
    ASSERT_TRUE(r.render());
  };
  set(whole);
  std::vector<fix> wanted;
  for (int y = 20; y <= 90; ++y)
    for (int x = 40; x <= 170; ++x) wanted.push_back(whole.at(0, x, y));
  definition_renderer part(
      ZAP, {.width = 200, .height = 120, .x0 = 40, .y0 = 20, .x1 = 170, .y1 = 90, .output_channels = 1});
  set(part);
  // Other roundings of single precision, no other bolts.
  for (std::size_t i = 0; i < wanted.size(); ++i) ASSERT_NEAR(part.result()[0][i], wanted[i], 12) << i;
}

TEST(zap, without_bolts_clears_the_plane) {
  definition_renderer r(ZAP, ZAP_FRAME);
  r.set_param("bolts", {3});
  ASSERT_TRUE(r.render());
  EXPECT_GT(measure(r).sum, 0);
  for (const float none : {0.0f, -2.0f, 0.99f}) {
    r.set_param("bolts", {none});
    ASSERT_TRUE(r.render());
    for (const fix v : r.result()[0]) ASSERT_EQ(v, 0) << none;
  }
}

TEST(zap, is_coverage_and_the_same_everywhere) {
  for (const test_frame frame : {ZAP_FRAME, test_frame{.width = 61, .height = 7, .output_channels = 1},
                                 test_frame{.width = 1, .height = 1, .output_channels = 1},
                                 test_frame{.width = 2, .height = 90, .output_channels = 1}}) {
    definition_renderer r(ZAP, frame);
    r.set_param("bolts", {9});
    r.set_param("scatter", {0.4f});
    r.set_param("width", {0.7f, 0.6f});
    r.set_param("branches", {1.4f});
    r.set_param("pointiness", {0.4f});
    expect_coverage(same_everywhere(r));
  }
}

TEST(zap, is_the_same_for_ever_and_another_with_another_seed) {
  definition_renderer r(ZAP, ZAP_FRAME);
  r.set_param("branches", {1});
  std::vector<planes_of_result> by_seed;
  for (const float seed : {1.0f, 2.0f, 1.0f + 1 / 4096.0f, -1.0f, 0.0f}) {
    r.set_param("seed", {seed, 0});
    by_seed.push_back(rendered(r));
    EXPECT_EQ(by_seed.back(), rendered(r));
  }
  for (std::size_t i = 0; i < by_seed.size(); ++i)
    for (std::size_t k = 0; k < i; ++k) EXPECT_GT(light_difference(by_seed[i], by_seed[k]), 0.005) << i << " " << k;
}

TEST(zap, draws_bolts_that_differ_and_keeps_them_when_more_join) {
  definition_renderer r(ZAP, ZAP_FRAME);
  const auto with = [&](float bolts) {
    r.set_param("bolts", {bolts});
    return rendered(r);
  };
  const planes_of_result one = with(1), two = with(2), three = with(3);
  const double light = light_difference(one, planes_of_result(1, std::vector<fix>(one[0].size())));
  EXPECT_GT(light_difference(one, two), 0.3 * light);
  EXPECT_GT(light_difference(two, three), 0.3 * light);
  for (std::size_t i = 0; i < one[0].size(); ++i) ASSERT_LE(one[0][i], two[0][i]);
  for (std::size_t i = 0; i < one[0].size(); ++i) ASSERT_LE(two[0][i], three[0][i]);
}

TEST(zap, moves_evenly_with_its_phase) {
  definition_renderer r(ZAP, ZAP_FRAME);
  r.set_param("width", {0.5f, 0.3f});
  planes_of_result before = rendered(r), first = before;
  const double light = measure(r).sum / (200 * 120);
  double farthest = 0;
  for (int i = 1; i <= 100; ++i) {
    r.set_param("seed", {1, float(i) * 0.005f});
    const planes_of_result now = rendered(r);
    EXPECT_LT(light_difference(now, before), 0.25 * light) << i;
    farthest = std::max(farthest, light_difference(now, first));
    before = now;
  }
  EXPECT_GT(farthest, light * 0.8);
}

TEST(zap, moves_evenly_with_its_ends) {
  definition_renderer r(ZAP, ZAP_FRAME);
  r.set_param("width", {0.5f, 0});
  planes_of_result before = rendered(r);
  const double light = measure(r).sum / (200 * 120);
  for (int i = 1; i <= 60; ++i) {
    r.set_param("to", {0.7f, -0.1f + 0.3f * float(i) / 60});
    const planes_of_result now = rendered(r);
    EXPECT_LT(light_difference(now, before), 0.3 * light) << i;
    before = now;
  }
}

TEST(zap, scatters_its_ends_over_a_disc) {
  definition_renderer r(ZAP, ZAP_FRAME);
  r.set_param("to", {0.5f, 0});
  r.set_param("from", {0.5f, 0});
  r.set_param("wrinkle", {0, 0});
  r.set_param("width", {0.2f, 0});
  r.set_param("bolts", {300});
  r.set_param("scatter", {0.3f});
  ASSERT_TRUE(r.render());
  const light_of_plane l = measure(r);
  const double radius = 100 * 0.3 * 1.02;
  EXPECT_NEAR(l.left, 150 - radius, 3);
  EXPECT_NEAR(l.right, 150 + radius, 3);
  EXPECT_NEAR(l.top, 60 - radius, 3);
  EXPECT_NEAR(l.bottom, 60 + radius, 3);
  EXPECT_NEAR(l.x, 150, 2);
  EXPECT_NEAR(l.y, 60, 2);
}

TEST(zap, shows_the_part_between_start_and_length) {
  definition_renderer r(ZAP, ZAP_FRAME);
  r.set_param("wrinkle", {0, 0});
  r.set_param("from", {-1, 0});
  r.set_param("to", {1, 0});
  for (const auto& [start, length, left, right] :
       {std::tuple{0.0f, 0.5f, 0, 100}, {0.25f, 0.5f, 50, 150}, {0.75f, 1.0f, 150, 199}, {-0.5f, 1.0f, 0, 100}}) {
    r.set_param("shown", {start, length});
    ASSERT_TRUE(r.render());
    const light_of_plane l = measure(r);
    EXPECT_NEAR(l.left, left, 3) << start;
    EXPECT_NEAR(l.right, right, 3) << start;
  }
  for (const auto& [start, length] : {std::pair{0.0f, 0.0f}, {1.0f, 1.0f}, {-2.0f, 1.0f}, {0.5f, -1.0f}}) {
    r.set_param("shown", {start, length});
    ASSERT_TRUE(r.render());
    EXPECT_EQ(measure(r).sum, 0) << start << " " << length;
  }
}

TEST(zap, with_branches_has_more_light_and_reaches_further_aside) {
  definition_renderer r(ZAP, ZAP_FRAME);
  ASSERT_TRUE(r.render());
  const light_of_plane bare = measure(r);
  r.set_param("branches", {2});
  ASSERT_TRUE(r.render());
  const light_of_plane branched = measure(r);
  EXPECT_GT(branched.sum, bare.sum * 1.3);
  EXPECT_GT(branched.bottom - branched.top, bare.bottom - bare.top + 10);
}

TEST(zap, looks_the_same_at_half_the_resolution) {
  definition_renderer full(ZAP, {.width = 400, .height = 240, .output_channels = 1});
  const auto set = [](definition_renderer& r) {
    r.set_param("bolts", {2});
    r.set_param("width", {0.5f, 0.3f});
    r.set_param("branches", {0.5f});
    ASSERT_TRUE(r.render());
  };
  set(full);
  std::vector<double> reduced;
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 200; ++x) {
      double sum = 0;
      for (int k = 0; k < 4; ++k) sum += full.at(0, 2 * x + k % 2, 2 * y + k / 2);
      reduced.push_back(sum / 4);
    }
  const double light = measure(full).sum / 4;
  definition_renderer half(ZAP, {.width = 200, .height = 120, .output_channels = 1, .scale = 0.5});
  set(half);
  EXPECT_NEAR(measure(half).sum, light, light * 0.05);
  double difference = 0;
  for (std::size_t i = 0; i < reduced.size(); ++i) difference += std::fabs(reduced[i] - half.result()[0][i]) / 4096;
  EXPECT_LT(difference, 0.3 * light);
}

TEST(zap, takes_any_numbers) {
  definition_renderer r(ZAP, {.width = 48, .height = 30, .output_channels = 1});
  const float odd[] = {-500000, -7.5f, 0, 500000};
  for (const char* name : {"from", "to", "width", "shown", "wrinkle", "branch", "seed"})
    for (const float a : odd)
      for (const float b : odd) {
        definition_renderer one(ZAP, {.width = 48, .height = 30, .output_channels = 1});
        one.set_param("branches", {0.5f});
        one.set_param(name, {a, b});
        ASSERT_TRUE(one.render()) << name;
        expect_coverage({one.result()[0]});
      }
  for (const char* name : {"scatter", "pointiness"})
    for (const float a : odd) {
      definition_renderer one(ZAP, {.width = 48, .height = 30, .output_channels = 1});
      one.set_param(name, {a});
      ASSERT_TRUE(one.render()) << name;
    }
}

TEST(zap, takes_any_count_of_bolts_and_branches) {
  definition_renderer r(ZAP, {.width = 48, .height = 30, .output_channels = 1});
  r.set_param("bolts", {500000});
  ASSERT_TRUE(r.render());
  expect_coverage({r.result()[0]});
  r.set_param("bolts", {30});
  r.set_param("branches", {60});
  ASSERT_TRUE(r.render());
  expect_coverage({r.result()[0]});
}

TEST(zap, ends_at_an_abort_at_any_stage) {
  const worker_count one(1);
  for (int question = 0; question < 12; ++question) {
    definition_renderer r(ZAP, ZAP_FRAME);
    r.set_param("bolts", {12});
    r.set_param("branches", {1});
    EXPECT_FALSE(render_until_question(r, question)) << question;
    EXPECT_TRUE(r.render());
  }
}

TEST(zap, refuses_missing_planes) {
  definition_renderer r(ZAP, ZAP_FRAME);
  expect_planes_are_checked(r, "zap", 1);
}

TEST(zap, is_never_folded) {
  definition_renderer r("(define Z () () dest = (+ 0.25 (zap [-1 0] [1 0] 0 1 [0.2 0] 0 [0 1] [0 0] 0 [0 0] [0 0])))",
                        ZAP_FRAME);
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 100, 5), 1024);
  EXPECT_GT(r.at(0, 100, 59), 1024);
}

}  // namespace
}  // namespace tessaron::testing
