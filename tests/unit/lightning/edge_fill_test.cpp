// The scan fill against the areas of polygons cut to each pixel.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "lightning_kit.h"
#include "unit/operators/plane_kit.h"

namespace tessaron::testing {
namespace {

using polygon = std::vector<image_point>;

/// The part of a polygon on one side of a line.
polygon cut(const polygon& p, bool by_x, double at, bool above) {
  polygon kept;
  const auto value = [&](image_point q) { return (double(by_x ? q.x : q.y) - at) * (above ? 1 : -1); };
  for (std::size_t i = 0; i < p.size(); ++i) {
    const image_point a = p[i], b = p[(i + 1) % p.size()];
    const double va = value(a), vb = value(b);
    if (va >= 0) kept.push_back(a);
    if ((va >= 0) != (vb >= 0)) {
      const double t = va / (va - vb);
      kept.push_back({float(a.x + t * (double(b.x) - a.x)), float(a.y + t * (double(b.y) - a.y))});
    }
  }
  return kept;
}

double area(const polygon& p) {
  double sum = 0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    const image_point a = p[i], b = p[(i + 1) % p.size()];
    sum += double(a.x) * b.y - double(b.x) * a.y;
  }
  return sum / 2;
}

/// Fix: how much of a pixel convex polygons cover, each by its area, together at most all of it.
double covered(const std::vector<polygon>& polygons, int x, int y) {
  double sum = 0;
  for (const polygon& p : polygons)
    sum +=
        std::fabs(area(cut(cut(cut(cut(p, true, x, true), true, x + 1, false), false, y, true), false, y + 1, false)));
  return std::min(sum, 1.0) * 4096;
}

std::vector<fill_edge> edges_of(const std::vector<polygon>& polygons) {
  std::vector<fill_edge> edges;
  for (const polygon& p : polygons)
    for (std::size_t i = 0; i < p.size(); ++i)
      edges.push_back(edge_between(within_reach(p[i]), within_reach(p[(i + 1) % p.size()]), area(p) < 0 ? -1 : 1));
  return edges;
}

/// By the loops of all levels, which agree.
std::vector<std::int16_t> filled(std::span<const fill_edge> edges, int width, int height) {
  grouped_edges grouped(edges);
  std::vector<std::int16_t> first;
  for (const lightning_loops* loops : all_lightning_loops()) {
    std::vector<std::int16_t> plane(std::size_t(width) * std::size_t(height), -5);
    fill_edges(plane.data(), width, height, grouped.runs(), *loops);
    if (first.empty()) first = plane;
    EXPECT_EQ(plane, first);
  }
  return first;
}

void expect_areas(const std::vector<polygon>& polygons, int width, int height, double tolerance) {
  const std::vector<std::int16_t> plane = filled(edges_of(polygons), width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      ASSERT_NEAR(plane[std::size_t(y * width + x)], covered(polygons, x, y), tolerance) << x << "," << y;
}

polygon triangle(std::mt19937& random, float low, float high) {
  const auto any = [&] { return low + (high - low) * float(random() % 100001) / 100000; };
  return {{any(), any()}, {any(), any()}, {any(), any()}};
}

class edge_fill : public ::testing::Test {
 protected:
  plane_frame frame_{1};
};

TEST_F(edge_fill, of_a_box_between_pixels_is_its_area) {
  const std::vector<polygon> box = {{{1.25f, 0.5f}, {3.5f, 0.5f}, {3.5f, 2.0f}, {1.25f, 2.0f}}};
  const std::vector<std::int16_t> plane = filled(edges_of(box), 5, 3);
  const int wanted[3][5] = {{0, 1536, 2048, 1024, 0}, {0, 3072, 4096, 2048, 0}, {0, 0, 0, 0, 0}};
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 5; ++x) EXPECT_EQ(plane[std::size_t(y * 5 + x)], wanted[y][x]) << x << "," << y;
}

TEST_F(edge_fill, of_triangles_is_the_area_in_every_pixel) {
  std::mt19937 random(7);
  for (int i = 0; i < 150; ++i) expect_areas({triangle(random, -6, 22)}, 17, 13, 3);
}

TEST_F(edge_fill, of_slivers_is_the_area_in_every_pixel) {
  std::mt19937 random(8);
  for (int i = 0; i < 100; ++i) {
    polygon p = triangle(random, -3, 20);
    p[2] = {p[1].x + 0.05f, p[1].y + 0.03f};
    expect_areas({p}, 17, 17, 2);
  }
}

TEST_F(edge_fill, of_shapes_on_top_of_each_other_is_never_more_than_the_pixel) {
  std::mt19937 random(9);
  for (int i = 0; i < 40; ++i)
    expect_areas({triangle(random, -6, 22), triangle(random, 0, 16), triangle(random, 0, 16)}, 17, 13, 5);
}

TEST_F(edge_fill, of_shallow_slopes_across_the_sides_is_the_area_in_every_pixel) {
  std::mt19937 random(13);
  for (int i = 0; i < 60; ++i) {
    const float y = float(random() % 1000) / 100, tilt = float(random() % 200) / 100 - 1;
    expect_areas({{{-40.3f, y}, {55.8f, y + tilt}, {55.8f, y + tilt + 1.7f}, {-40.3f, y + 1.7f}}}, 17, 13, 3);
    const float x = float(random() % 400) / 100 - 3;
    expect_areas({{{x, 1.2f}, {x + 4.4f, 1.7f}, {x + 4.4f, 9.3f}, {x, 9.1f}}}, 5, 11, 3);
  }
}

TEST_F(edge_fill, takes_shapes_from_far_outside) {
  for (const float far : {100.0f, 50000.0f, 3e6f}) {
    // A band from far left below to far right above, and a box around it all.
    expect_areas({{{-far, 10 + far}, {-far, 6 + far}, {far, 6 - far}, {far, 10 - far}}}, 16, 16,
                 far > 1e6f ? 1500 : 40);
    expect_areas({{{-far, -far}, {far, -far}, {far, far}, {-far, far}}}, 9, 9, 0);
    expect_areas({{{-far, -far}, {4.5f, -far}, {4.5f, far}, {-far, far}}}, 9, 9, 0);
    expect_areas({{{-far, 4.5f}, {far, 4.5f}, {far, far}, {-far, far}}}, 9, 9, 0);
    expect_areas({{{-far, -far}, {-3, -far}, {-3, far}, {-far, far}}}, 9, 9, 0);
    expect_areas({{{12, -far}, {far, -far}, {far, far}, {12, far}}}, 9, 9, 0);
  }
}

TEST_F(edge_fill, takes_coordinates_that_are_no_numbers) {
  constexpr float NOT = std::numeric_limits<float>::quiet_NaN(), INF = std::numeric_limits<float>::infinity();
  const float odd[] = {NOT, INF, -INF, 1e30f, -1e30f, 3};
  std::vector<fill_edge> edges;
  for (const float a : odd)
    for (const float b : odd)
      for (const float c : odd) {
        const polygon p = {{a, b}, {b, c}, {c, a}};
        for (std::size_t i = 0; i < 3; ++i)
          edges.push_back(edge_between(within_reach(p[i]), within_reach(p[(i + 1) % 3])));
      }
  for (const std::int16_t v : filled(edges, 30, 20)) {
    EXPECT_GE(v, 0);
    EXPECT_LE(v, 4096);
  }
}

TEST_F(edge_fill, moves_evenly_with_its_vertices) {
  std::mt19937 random(10);
  for (int i = 0; i < 20; ++i) {
    polygon p = triangle(random, 0, 16);
    std::vector<std::int16_t> before = filled(edges_of({p}), 16, 16);
    for (int step = 0; step < 30; ++step) {
      p[0].x += 0.01f;
      p[1].y -= 0.007f;
      const std::vector<std::int16_t> now = filled(edges_of({p}), 16, 16);
      for (std::size_t k = 0; k < now.size(); ++k) ASSERT_LE(std::abs(now[k] - before[k]), 4096 * 0.025) << k;
      before = now;
    }
  }
}

TEST_F(edge_fill, without_edges_clears) {
  for (const std::int16_t v : filled({}, 7, 5)) EXPECT_EQ(v, 0);
}

TEST_F(edge_fill, holds_thousands_of_shapes_on_one_pixel) {
  const polygon box = {{2.2f, 1}, {2.8f, 1}, {2.8f, 3}, {2.2f, 3}};
  const std::vector<std::int16_t> plane = filled(edges_of(std::vector<polygon>(20000, box)), 6, 4);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x)
      EXPECT_EQ(plane[std::size_t(y * 6 + x)], x == 2 && (y == 1 || y == 2) ? 4096 : 0) << x << "," << y;
}

TEST_F(edge_fill, is_the_same_in_any_order_and_in_any_runs) {
  std::mt19937 random(11);
  std::vector<polygon> shapes;
  for (int i = 0; i < 30; ++i) shapes.push_back(triangle(random, -5, 45));
  std::vector<fill_edge> edges = edges_of(shapes);
  const std::vector<std::int16_t> wanted = filled(edges, 40, 31);
  std::shuffle(edges.begin(), edges.end(), random);
  EXPECT_EQ(filled(edges, 40, 31), wanted);
  std::vector<std::int16_t> plane(wanted.size());
  const std::span<const fill_edge> all = edges;
  grouped_edges parts[] = {grouped_edges(all.subspan(11)), grouped_edges(all.first(2)),
                           grouped_edges(all.subspan(2, 9))};
  std::vector<edge_run> runs(1);
  for (grouped_edges& part : parts) runs.insert(runs.end(), part.runs().begin(), part.runs().end());
  fill_edges(plane.data(), 40, 31, runs, *all_lightning_loops()[0]);
  EXPECT_EQ(plane, wanted);
}

TEST(edge_fill_workers, give_the_same_samples_in_any_number) {
  std::mt19937 random(12);
  std::vector<polygon> shapes;
  for (int i = 0; i < 60; ++i) shapes.push_back(triangle(random, -20, 220));
  const std::vector<fill_edge> edges = edges_of(shapes);
  for (const auto& [width, height] : {std::pair{200, 150}, {1, 1}, {70, 2}, {1, 90}, {64, 64}}) {
    std::vector<std::int16_t> first;
    for (const int workers : {1, 2, 3, 7}) {
      const plane_frame frame(workers);
      const std::vector<std::int16_t> plane = filled(edges, width, height);
      if (first.empty()) first = plane;
      EXPECT_EQ(plane, first) << workers << " workers";
    }
  }
}

TEST_F(edge_fill, stops_at_an_abort) {
  const std::vector<fill_edge> edges = edges_of({{{0, 0}, {8, 0}, {8, 8}}});
  std::vector<std::int16_t> plane(64, 77);
  grouped_edges grouped(edges);
  set_abort_query([] { return 1; });
  fill_edges(plane.data(), 8, 8, grouped.runs(), *all_lightning_loops()[0]);
  set_abort_query(nullptr);
  abort_requested = 0;
  EXPECT_EQ(plane, std::vector<std::int16_t>(64, 77));
}

TEST(half_row, is_the_number_of_halves_from_the_top) {
  EXPECT_EQ(half_row(0.3f), 1);
  EXPECT_EQ(half_row(0.6f), 2);
  EXPECT_EQ(half_row(7.1f), 15);
  EXPECT_EQ(half_row(7.9f), 16);
  EXPECT_EQ(half_row(1000.25f), 2001);
  // Ties go to even numbers, in both of its terms.
  EXPECT_EQ(half_row(0.0f), 0);
  EXPECT_EQ(half_row(0.5f), 1);
  EXPECT_EQ(half_row(1.0f), 3);
  EXPECT_EQ(half_row(1.5f), 4);
}

TEST(half_row, above_the_image_is_minus_2) {
  for (const float y : {-0.001f, -1.0f, -1e9f}) EXPECT_EQ(half_row(y), -2);
  EXPECT_EQ(half_row(std::numeric_limits<float>::quiet_NaN()), -2);
}

TEST(edge_runs, reach_from_their_highest_half_row_to_their_lowest) {
  const std::vector<fill_edge> edges = edges_of({{{1, 2.3f}, {5, 7.9f}, {3, 4}}});
  grouped_edges grouped(edges);
  ASSERT_EQ(grouped.runs().size(), 1u);
  const edge_run run = grouped.runs()[0];
  EXPECT_EQ(run.top, 5);
  EXPECT_EQ(run.bottom, 16);
  EXPECT_EQ(run.left, 1);
  EXPECT_EQ(run.right, 5);
  EXPECT_EQ(run.upper, 2.3f);
  EXPECT_EQ(run.lower, 7.9f);
  EXPECT_EQ(grouped_edges(edges_of({{{1, -3}, {5, -1}, {3, -2}}})).runs()[0].bottom, -2);
}

TEST(edge_runs, hold_all_edges_and_fill_up_with_none) {
  const std::vector<fill_edge> edges = edges_of(std::vector<polygon>(23, {{1, 2}, {5, 7}, {3, 4}}));
  grouped_edges grouped(edges);
  ASSERT_EQ(grouped.runs().size(), 2u);  // 69 edges
  std::size_t i = 0;
  for (const edge_run& run : grouped.runs())
    for (const edge_group& g : run.groups)
      for (int k = 0; k < edge_group::SIZE; ++k, ++i) {
        const fill_edge e = g.at(k);
        if (i >= edges.size()) {
          EXPECT_EQ(e.y0, e.y1);
        } else {
          EXPECT_TRUE(e.x0 == edges[i].x0 && e.y0 == edges[i].y0 && e.x1 == edges[i].x1 && e.y1 == edges[i].y1 &&
                      e.winding == edges[i].winding);
        }
      }
  EXPECT_EQ(i, 80u);
}

TEST(edge_fill_runs, are_sorted_by_their_tops) {
  const plane_frame frame;
  std::vector<grouped_edges> shapes;
  std::vector<edge_run> runs;
  for (const float top : {7.0f, -4.0f, 0.6f, 3.3f, 90.0f})
    shapes.emplace_back(edges_of({{{1, top}, {4, top + 2}, {2, top + 3}}}));
  for (grouped_edges& s : shapes) runs.push_back(s.runs()[0]);
  std::vector<std::int16_t> plane(100);
  fill_edges(plane.data(), 10, 10, runs, *all_lightning_loops()[0]);
  for (std::size_t i = 1; i < runs.size(); ++i) EXPECT_LE(runs[i - 1].top, runs[i].top);
  EXPECT_EQ(runs[0].top, -2);
}

TEST(edge_between, orders_by_height_and_tells_which_way_it_ran) {
  const fill_edge down = edge_between({1, 2}, {5, 7.75f}), up = edge_between({5, 7.75f}, {1, 2}, 2);
  for (const fill_edge& e : {down, up}) {
    EXPECT_EQ(e.x0, 1);
    EXPECT_EQ(e.y0, 2);
    EXPECT_EQ(e.x1, 5);
    EXPECT_EQ(e.y1, 7.75f);
  }
  EXPECT_EQ(down.winding, -1);
  EXPECT_EQ(up.winding, 2);
}

}  // namespace
}  // namespace tessaron::testing
