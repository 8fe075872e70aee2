// Bolts: points, cuts, tapers, branches and outlines, bit for bit against their rules written out plainly.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "lightning_kit.h"
#include "operators/bolt_outline.h"
#include "plain_bolts.h"
#include "support/report_capture.h"
#include "unit/operators/plane_kit.h"

namespace tessaron::testing {
namespace {

constexpr int PLENTY = 1 << 22;

bolt_builder builder_for(const bolt_settings& s, float scale, int most = PLENTY,
                         const lightning_loops& loops = *all_lightning_loops().back()) {
  return {s, set_wrinkle_scale(s, scale), most, loops.displace_midpoints};
}

bolt_settings settings_for(unsigned seed) {
  std::mt19937 random(seed);
  const auto any = [&](float low, float high) { return low + (high - low) * float(random() % 4097) / 4096.0f; };
  return {.width = any(0.1f, 9),
          .width_vary = seed % 4 == 0 ? 0 : any(0, 1.2f),
          .pointiness = seed % 5 == 0 ? 0 : any(-0.1f, 1.3f),
          .start = seed % 3 == 0 ? any(0, 0.7f) : 0,
          .end = seed % 3 == 1 ? any(0, 1) : any(1, 2),
          .wrinkle_low = any(0, 0.5f),
          .wrinkle_high = any(0, 0.5f),
          .branchiness = seed % 6 == 0 ? 0 : any(0, 9),
          .branch_angle = any(0, 2),
          .branch_length = any(0.05f, 1),
          .seed = fix(seed * 4096),
          .phase = seed % 2 ? any(-3, 3) : 0};
}

bool same_bits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

void expect_same(const bolt& got, const plain_bolt& wanted) {
  ASSERT_EQ(got.n_full, wanted.n_full);
  ASSERT_EQ(got.n_points, wanted.n_points);
  ASSERT_EQ(got.first_shown, wanted.first_shown);
  ASSERT_TRUE(same_bits(got.width, wanted.width));
  ASSERT_TRUE(same_bits(got.start, wanted.start));
  ASSERT_TRUE(same_bits(got.end, wanted.end));
  ASSERT_TRUE(same_bits(got.pointiness, wanted.pointiness));
  for (int i = 0; i < got.n_full; ++i) {
    const bolt_point &a = got.points[i], &b = wanted.points[std::size_t(i)];
    ASSERT_TRUE(same_bits(a.x, b.x) && same_bits(a.y, b.y) && same_bits(a.width, b.width))
        << "point " << i << ": " << a.x << "," << a.y << "," << a.width << " instead of " << b.x << "," << b.y << ","
        << b.width;
  }
  ASSERT_EQ(std::size_t(got.n_children), wanted.branches.size());
  for (int i = 0; i < got.n_children; ++i) expect_same(*got.children[i], wanted.branches[std::size_t(i)]);
}

TEST(bolts, are_their_rules_bit_for_bit) {
  abort_requested = 0;
  for (unsigned seed = 0; seed < 120; ++seed) {
    const bolt_settings s = settings_for(seed);
    const float x1 = float(seed % 7) * 137.25f - 300, y1 = 90.5f - float(seed % 11) * 31.0f;
    // Bolts without a scale are straight; branches would stand too close to count.
    const float scale = seed % 12 == 6 ? 0 : 150.0f + float(seed);
    for (const lightning_loops* loops : all_lightning_loops()) {
      const bolt_ptr got = builder_for(s, scale, PLENTY, *loops).build(seed * 977u, -210, 40, x1, y1, s.width);
      ASSERT_TRUE(got);
      expect_same(*got, plain_maker(s, scale).whole(seed * 977u, -210, 40, x1, y1));
    }
    if (HasFatalFailure()) FAIL() << "settings " << seed;
  }
}

TEST(bolts, hash_pairs_of_words_as_the_noise_does) {
  for (const std::uint32_t a : {0u, 1u, 4096u, 0xffffffffu})
    for (const std::uint32_t b : {0u, 7u, 0x80000000u}) EXPECT_EQ(hash2(a, b), plain_hash(b + plain_hash(a)));
}

TEST(bolts, of_two_pixels_and_less_are_their_two_ends) {
  const bolt_settings s = settings_for(1);
  for (const float length : {0.0f, 0.5f, 2.0f}) {
    const bolt_ptr b = builder_for(s, length).make_bolt(5, 5, 5 + length, 5, 1);
    ASSERT_EQ(b->n_points, 2);
    EXPECT_EQ(b->points[0].x, 5);
    EXPECT_EQ(b->points[1].x, 5 + length);
    EXPECT_EQ(b->points[1].width, 1);
  }
  EXPECT_GT(builder_for(s, 2.1f).make_bolt(0, 0, 2.1f, 0, 1)->n_points, 2);
}

TEST(bolts, are_divided_at_most_eleven_times) {
  bolt_settings s = {};
  s.width = 1;
  const bolt_ptr b = builder_for(s, 1e6f).make_bolt(0, 0, 1e6f, 0, 1);
  EXPECT_EQ(b->n_points, 2049);
  EXPECT_EQ(b->n_points, MAX_BOLT_POINTS);
}

TEST(bolts, without_wrinkles_are_straight_and_evenly_divided) {
  bolt_settings s = {};
  const bolt_ptr b = builder_for(s, 64).make_bolt(0, 0, 64, 0, 1);
  ASSERT_EQ(b->n_points, 33);
  for (int i = 0; i < 33; ++i) EXPECT_EQ(b->points[i].x, 2.0f * float(i)) << i;
}

TEST(bolts, grow_their_arrays_by_their_own_size_within_limits) {
  bolt b;
  std::vector<int> capacities;
  for (int i = 0; i < 600; ++i) {
    ASSERT_TRUE(append_point(b, {float(i), 0, 1}));
    if (capacities.empty() || capacities.back() != b.point_capacity) capacities.push_back(b.point_capacity);
  }
  EXPECT_EQ(capacities, (std::vector<int>{16, 32, 64, 128, 256, 384, 512, 640}));
  capacities.clear();
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(append_child(b, bolt_ptr(new bolt)));
    if (capacities.empty() || capacities.back() != b.child_capacity) capacities.push_back(b.child_capacity);
  }
  EXPECT_EQ(capacities, (std::vector<int>{8, 16, 32, 64, 96, 128}));
  EXPECT_EQ(b.points[599].x, 599);
}

/// Eleven points of width 1 in a row.
bolt_ptr row_of_points(int n = 11) {
  bolt_ptr b(new bolt);
  for (int i = 0; i < n; ++i) EXPECT_TRUE(append_point(*b, {float(i), 0, 1}));
  return b;
}

TEST(finish_bolt, tapers_from_nothing_at_the_end) {
  const bolt_ptr b = row_of_points(10);
  finish_bolt(*b, 8, 0, 1, 0.5f);
  // Five points carry the ramp of 8 / 5; the outermost two are thinned.
  const float wanted[] = {8 * 0.33f, 8, 8, 8, 8, 6.4f, 4.8f, 3.2f, 1.6f, 0};
  for (int i = 0; i < 10; ++i) EXPECT_NEAR(b->points[i].width, wanted[i], 1e-5f) << i;
  EXPECT_EQ(b->shown(), 10);
}

TEST(finish_bolt, cuts_the_end_to_the_nearest_point) {
  for (const auto& [end, points] : {std::pair{0.0f, 0}, {0.04f, 0}, {0.1f, 0}, {0.15f, 2}, {0.5f, 6}, {0.99f, 11}}) {
    const bolt_ptr b = row_of_points();
    finish_bolt(*b, 1, 0, end, 0);
    EXPECT_EQ(b->n_points, points) << end;
    EXPECT_EQ(b->n_full, 11);
  }
}

TEST(finish_bolt, hides_what_lies_before_the_start) {
  const bolt_ptr b = row_of_points();
  finish_bolt(*b, 2, 0.5f, 1, 0);
  EXPECT_EQ(b->first_shown, 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(b->points[i].width, 0) << i;
  EXPECT_FLOAT_EQ(b->points[5].width, 2 * 0.33f);
  EXPECT_FLOAT_EQ(b->points[6].width, 2);
}

TEST(finish_bolt, shows_nothing_when_less_than_a_segment_is_left) {
  for (const float start : {0.95f, 1.0f, 7.0f, 500000.0f}) {
    const bolt_ptr b = row_of_points();
    finish_bolt(*b, 2, start, 1, 0);
    EXPECT_EQ(b->shown(), 0) << start;
  }
}

TEST(finish_bolt, leaves_the_ends_of_a_bolt_of_two_points_alone) {
  const bolt_ptr b = row_of_points(2);
  finish_bolt(*b, 3, 0, 1, 0);
  EXPECT_EQ(b->points[0].width, 3);
  EXPECT_EQ(b->points[1].width, 3);
}

TEST(finish_bolt, takes_any_pointiness) {
  for (const float pointiness : {-500000.0f, -0.2f, 0.0f, 1.0f, 3.0f, 500000.0f}) {
    const bolt_ptr b = row_of_points();
    finish_bolt(*b, 2, 0, 1, pointiness);
    for (int i = 0; i < 11; ++i) EXPECT_TRUE(std::isfinite(b->points[i].width)) << pointiness;
    EXPECT_FLOAT_EQ(b->points[5].width, pointiness <= 0   ? 2.0f
                                        : pointiness == 1 ? 2 * 5 / 11.0f
                                                          : 2 * 5 / (11 * pointiness));
  }
}

TEST(branches, belong_to_bolts_two_levels_deep) {
  bolt_settings s = settings_for(2);
  s.start = 0;
  s.end = 1;
  s.branchiness = 12;
  s.branch_length = 0.7f;
  const bolt_ptr b = builder_for(s, 500).build(99, 0, 0, 500, 0, 4);
  int deeper = 0;
  for (int i = 0; i < b->n_children; ++i) {
    deeper += b->children[i]->n_children;
    for (int k = 0; k < b->children[i]->n_children; ++k) EXPECT_EQ(b->children[i]->children[k]->n_children, 0);
  }
  EXPECT_GT(b->n_children, 5);
  EXPECT_GT(deeper, 5);
}

TEST(branches, round_a_fractional_count_up_at_random) {
  bolt_settings s = {};
  s.width = 4;
  s.end = 1;
  s.branch_angle = 0.5f;
  s.branch_length = 1;
  int branches = 0;
  s.branchiness = 0.5f;
  constexpr int BOLTS = 400;
  for (int i = 0; i < BOLTS; ++i) {
    const bolt_ptr b = builder_for(s, 1e6f).build(plain_hash(std::uint32_t(i)), 0, 0, 5000, 0, 4);
    EXPECT_LE(b->n_children, 1);
    branches += b->n_children;
  }
  EXPECT_NEAR(branches, BOLTS / 2, 40);
}

TEST(branches, are_left_out_beyond_the_points_that_a_bolt_may_have) {
  bolt_settings s = settings_for(2);
  s.branchiness = 100000;
  s.branch_length = 1;
  s.end = 1;
  s.start = 0;
  constexpr int MOST = 20000;
  const bolt_ptr b = builder_for(s, 900, MOST).build(5, 0, 0, 900, 0, 5);
  ASSERT_TRUE(b);
  EXPECT_LE(shown_points(*b), std::size_t(MOST + MAX_BOLT_POINTS));
  EXPECT_GT(shown_points(*b), std::size_t(MOST / 2));
}

TEST(branches, end_at_an_abort) {
  bolt_settings s = settings_for(2);
  s.branchiness = 100000;
  abort_requested = 1;
  const bolt_ptr b = builder_for(s, 900).build(5, 0, 0, 900, 0, 5);
  abort_requested = 0;
  ASSERT_TRUE(b);
  EXPECT_EQ(b->n_children, 0);
}

TEST(branches, of_a_bolt_without_length_or_points_are_none) {
  bolt_settings s = settings_for(2);
  s.branchiness = 10;
  bolt_builder builder = builder_for(s, 10);
  EXPECT_EQ(builder.build(5, 3, 3, 3, 3, 5)->n_children, 0);
  bolt empty;
  builder.add_branches(empty, 10, 0, 0, 1, 0);
  EXPECT_EQ(empty.n_children, 0);
}

TEST(ring, is_its_rule_bit_for_bit) {
  abort_requested = 0;
  for (unsigned seed = 0; seed < 40; ++seed) {
    const bolt_settings s = settings_for(seed);
    const bolt_ptr got = builder_for(s, 300).build(seed, -100, 0, 180, 60, s.width);
    const plain_bolt plain = plain_maker(s, 300).whole(seed, -100, 0, 180, 60);
    if (got->shown() < 2) continue;
    std::vector<image_point> ring(std::size_t(2 * got->shown()));
    bolt_ring(*got, ring.data());
    const std::vector<image_point> wanted = plain_ring(plain);
    ASSERT_EQ(ring.size(), wanted.size());
    for (std::size_t i = 0; i < ring.size(); ++i)
      ASSERT_TRUE(ring[i].x == wanted[i].x && ring[i].y == wanted[i].y) << "vertex " << i << " of settings " << seed;
  }
}

TEST(ring, of_a_straight_bolt_runs_up_one_side_and_down_the_other) {
  const bolt_ptr b = row_of_points(3);
  image_point ring[6];
  bolt_ring(*b, ring);
  const image_point wanted[] = {{0, 1}, {1, 1}, {2, 1}, {2, -1}, {1, -1}, {0, -1}};
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(ring[i].x, wanted[i].x) << i;
    EXPECT_EQ(ring[i].y, wanted[i].y) << i;
  }
}

TEST(ring, passes_points_on_top_of_each_other) {
  bolt b;
  for (const float x : {0.0f, 0.0f, 3.0f, 3.0f, 3.0f, 6.0f}) ASSERT_TRUE(append_point(b, {x, 0, 1}));
  image_point ring[12];
  bolt_ring(b, ring);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(ring[i].y, 1) << i;
}

/// Whether a level's loop makes the very edges of bolt_edges, in their order, with the last group filled up.
void expect_plain_edges(const bolt& b, const lightning_loops& loops) {
  const image_space space = {100.5f, 50, -0.9f};
  const std::size_t most = groups_of(most_edges(b.n_points));
  std::vector<edge_group> got(most), wanted(most);
  const std::size_t count = bolt_edges(b, space, wanted.data());
  ASSERT_EQ(loops.outline_bolt(b, space, got.data()), count);
  for (std::size_t i = 0; i < groups_of(count) * edge_group::SIZE; ++i) {
    const int lane = int(i % edge_group::SIZE);
    const fill_edge e = got[i / edge_group::SIZE].at(lane), w = wanted[i / edge_group::SIZE].at(lane);
    ASSERT_EQ(e.winding, w.winding) << i << " of " << count;
    // An edge without height may lie either way round.
    const bool turned = e.y0 == e.y1 && e.x0 == w.x1 && e.x1 == w.x0;
    ASSERT_TRUE(turned || (e.x0 == w.x0 && e.x1 == w.x1)) << i << " of " << count;
    ASSERT_TRUE(e.y0 == w.y0 && e.y1 == w.y1) << i << " of " << count;
  }
}

TEST(outline, is_the_same_at_every_level) {
  abort_requested = 0;
  for (const lightning_loops* loops : all_lightning_loops()) {
    for (unsigned seed = 0; seed < 40; ++seed) {
      const bolt_settings s = settings_for(seed);
      bolt_builder builder = builder_for(s, 200, PLENTY, *loops);
      const bolt_ptr b = builder.build(seed, -90, 7, 95, float(seed), s.width);
      ASSERT_TRUE(b);
      expect_plain_edges(*b, *loops);
    }
    for (const int n : {2, 3, 4, 5, 64, 65, 66, 129, MAX_BOLT_POINTS}) expect_plain_edges(*row_of_points(n), *loops);
    bolt still;
    for (const float x : {0.0f, 0.0f, 3.0f, 3.0f, 6.0f}) ASSERT_TRUE(append_point(still, {x, x * x, 4}));
    expect_plain_edges(still, *loops);
  }
}

TEST(outline, of_a_bolt_without_folds_is_its_ring) {
  const bolt_ptr b = row_of_points(8);
  const image_space space = {100, 50, -1};
  edge_group groups[groups_of(most_edges(8))];
  ASSERT_EQ(bolt_edges(*b, space, groups), 16u);
  int along = 0, windings = 0;
  for (int i = 0; i < 16; ++i) {
    const fill_edge e = groups[0].at(i);
    along += e.y0 == e.y1;
    if (e.y0 != e.y1) windings += e.winding;
    EXPECT_GE(e.x0, 100);
    EXPECT_LE(e.x0, 107);
    EXPECT_GE(e.y0, 49);
    EXPECT_LE(e.y1, 51);
  }
  EXPECT_EQ(along, 14);
  EXPECT_EQ(windings, 0);  // one end of the strip up, the other down
}

TEST(draw_bolts, warns_of_a_bolt_with_one_point) {
  const plane_frame frame;
  report_capture reports;
  bolt root;
  bolt_ptr lone = row_of_points(1);
  ASSERT_TRUE(append_child(root, std::move(lone)));
  std::vector<std::int16_t> plane(1);
  raster_info before = temp_raster_info;
  temp_raster_info.width = temp_raster_info.height = 1;
  draw_bolts(root, plane.data(), *all_lightning_loops()[0]);
  temp_raster_info = before;
  EXPECT_EQ(reports.count(), 1u);
  EXPECT_EQ(reports.severity_of("warning! bolt with 1 point.\n"), REPORT_PLAIN);
}

TEST(draw_bolts, does_nothing_on_an_abort) {
  bolt root;
  std::vector<std::int16_t> plane(1, 77);
  abort_requested = 1;
  draw_bolts(root, plane.data(), *all_lightning_loops()[0]);
  abort_requested = 0;
  EXPECT_EQ(plane[0], 77);
}

}  // namespace
}  // namespace tessaron::testing
