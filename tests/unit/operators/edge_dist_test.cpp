// edge_dist against its passes written out plainly, and against the true distance.
#include <gtest/gtest.h>

#include "gradient_kit.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

using matte = std::function<bool(int x, int y)>;

const char* const INSIDE_DIST = "(define E (Source) () scale = 0.01 dest = (edge_dist (element_of Source 0) scale))";

definition_renderer::pixel_function picture_of(const matte& inside) {
  return [inside](int x, int y, int) { return inside(x, y) ? 1 + (x * 7 + y) % 4096 : -((x + y) % 3); };
}

/// The passes, pixel by pixel: what each pixel knows is an offset to a pixel outside, or nothing.
class plain_passes {
 public:
  plain_passes(picture_size size, const matte& inside, double row_step)
      : size_(size), row_step_(row_step), known_(std::size_t(size.width) * size.height) {
    for (int y = 0; y < size.height; ++y)
      for (int x = 0; x < size.width; ++x) at(x, y) = {0, 0, !inside(x, y)};
    for (int y = 0; y < size.height; ++y) visit_row(y, -1);
    for (int y = size.height - 1; y >= 0; --y) visit_row(y, 1);
  }
  /// As a plane stores it, at this scale.
  fix value(int x, int y, fix scale) {
    const offset o = at(x, y);
    if (!o.known) return scale > 0 ? 32767 : scale < 0 ? -32767 : 0;
    return fix(std::nearbyint(std::clamp(std::sqrt(squared(o)) * scale, -32767.0, 32767.0)));
  }
  double distance(int x, int y) { return std::sqrt(squared(at(x, y))); }

 private:
  struct offset {
    int dx, dy;
    bool known;
  };
  offset& at(int x, int y) { return known_[std::size_t(y) * size_.width + x]; }
  double squared(const offset& o) const { return double(o.dx) * o.dx + row_step_ * row_step_ * (double(o.dy) * o.dy); }
  void offer(int x, int y, int step_x, int step_y) {
    if (x + step_x < 0 || x + step_x >= size_.width || y + step_y < 0 || y + step_y >= size_.height) return;
    offset from = at(x + step_x, y + step_y);
    if (!from.known) return;
    from.dx += step_x;
    from.dy += step_y;
    offset& own = at(x, y);
    if (!own.known || squared(from) < squared(own)) own = from;
  }
  void visit_row(int y, int side) {
    for (int x = 0; x < size_.width; ++x) {
      offer(x, y, 0, side);
      offer(x, y, -1, side);
      offer(x, y, 1, side);
      offer(x, y, -1, 0);
    }
    for (int x = size_.width - 1; x >= 0; --x) offer(x, y, 1, 0);
  }

  picture_size size_;
  double row_step_;
  std::vector<offset> known_;
};

/// Blobs and single pixels.
matte random_matte(picture_size size, unsigned seed, int outside_of_100) {
  std::minstd_rand random(seed + 1);
  std::vector<bool> inside;
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x) {
      const double blob = std::sin(x * 0.21 + seed) + std::cos(y * 0.17 - seed);
      inside.push_back(int(random() % 100) >= outside_of_100 && blob > -0.8);
    }
  return [=](int x, int y) { return bool(inside[std::size_t(y) * size.width + x]); };
}

void expect_plain_passes(picture_size size, const matte& inside, float pixel_aspect, double row_step) {
  definition_renderer r(INSIDE_DIST, {.width = size.width, .height = size.height, .pixel_aspect = pixel_aspect});
  r.set_source(0, picture_of(inside));
  r.set_param("scale", {0.25f});
  const planes_of_result got = same_everywhere(r);
  plain_passes plain(size, inside, row_step);
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x)
      ASSERT_EQ(r.at(0, x, y), plain.value(x, y, 1024))
          << x << "," << y << " of " << size.width << "x" << size.height << ", aspect " << pixel_aspect;
}

TEST(edge_dist, carries_offsets_as_the_plain_passes_do_at_every_size) {
  for (const picture_size size : SIZES)
    for (const int holes : {0, 1, 12, 60})
      expect_plain_passes(size, random_matte(size, unsigned(holes), holes), 1.0f, 1.0);
}

TEST(edge_dist, counts_a_row_by_the_shape_of_the_pixels) {
  for (const picture_size size : {picture_size{67, 31}, picture_size{40, 61}})
    for (const float aspect : {2.0f, 0.5f, 1.25f}) expect_plain_passes(size, random_matte(size, 5, 2), aspect, aspect);
}

TEST(edge_dist, steps_across_and_down_field_lines_in_the_proportion_of_2_and_4) {
  definition_renderer r(INSIDE_DIST, {.width = 21, .height = 21, .pixel_aspect = 2.0f});
  r.set_source(0, [](int x, int y, int) { return x == 10 && y == 10 ? 0 : 4096; });
  r.set_param("scale", {0.125f});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 14, 10), 4 * 512);  // four columns
  EXPECT_EQ(r.at(0, 10, 12), 4 * 512);  // two rows are as far
  EXPECT_EQ(r.at(0, 13, 12), 5 * 512);  // 3 : 4 : 5
}

TEST(edge_dist, of_one_hole_is_the_exact_distance) {
  definition_renderer r(INSIDE_DIST, {.width = 41, .height = 33});
  r.set_source(0, [](int x, int y, int) { return x == 17 && y == 11 ? 0 : 4096; });
  r.set_param("scale", {0.125f});
  ASSERT_TRUE(r.render());
  for (int y = 0; y < 33; ++y)
    for (int x = 0; x < 41; ++x)
      EXPECT_EQ(r.at(0, x, y), std::lrint(std::hypot(x - 17, y - 11) * 512)) << x << "," << y;
}

TEST(edge_dist, stays_near_the_true_distance) {
  constexpr picture_size SIZE = {90, 60};
  for (const unsigned seed : {1u, 2u, 3u, 4u}) {
    const matte inside = random_matte(SIZE, seed, 1);
    definition_renderer r(INSIDE_DIST, {.width = SIZE.width, .height = SIZE.height});
    r.set_source(0, picture_of(inside));
    r.set_param("scale", {0.125f});
    ASSERT_TRUE(r.render());
    for (int y = 0; y < SIZE.height; ++y)
      for (int x = 0; x < SIZE.width; ++x) {
        int squared = 1 << 30;
        for (int v = 0; v < SIZE.height; ++v)
          for (int u = 0; u < SIZE.width; ++u)
            if (!inside(u, v)) squared = std::min(squared, (u - x) * (u - x) + (v - y) * (v - y));
        const double nearest = std::sqrt(squared);
        const double got = r.at(0, x, y) / 512.0;
        ASSERT_GE(got, nearest - 0.002) << x << "," << y;
        ASSERT_LE(got, nearest + 0.3) << x << "," << y;
      }
  }
}

TEST(edge_dist, counts_samples_above_0_as_inside) {
  definition_renderer r(INSIDE_DIST, {.width = 5, .height = 1});
  r.set_source(0, [](int x, int, int) { return std::vector<fix>{-5, 0, 1, 2, 20000}[std::size_t(x)]; });
  r.set_param("scale", {1.0f / 8});
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 5; ++x) EXPECT_EQ(r.at(0, x, 0), 512 * std::max(x - 1, 0)) << x;
}

TEST(edge_dist, without_anything_outside_is_as_far_as_a_plane_can_tell) {
  definition_renderer r(INSIDE_DIST, {.width = 9, .height = 7});
  r.set_source(0, [](int, int, int) { return 4096; });
  for (const float scale : {0.01f, -0.01f, 0.0f}) {
    r.set_param("scale", {scale});
    ASSERT_TRUE(r.render());
    const fix far = scale > 0 ? 32767 : scale < 0 ? -32767 : 0;
    for (int x = 0; x < 9; ++x) EXPECT_EQ(r.at(0, x, 3), far) << scale;
  }
}

TEST(edge_dist, outside_is_0) {
  definition_renderer r(INSIDE_DIST, {.width = 9, .height = 7});
  r.set_source(0, [](int, int, int) { return 0; });
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 9; ++x) EXPECT_EQ(r.at(0, x, 3), 0);
}

TEST(edge_dist, is_multiplied_by_the_scale_and_held_to_what_a_plane_stores) {
  definition_renderer r(INSIDE_DIST, {.width = 400, .height = 1});
  r.set_source(0, [](int x, int, int) { return x; });
  for (const float scale : {1.0f, 0.5f, -0.25f, 0.003f, 100000.0f, -100000.0f}) {
    r.set_param("scale", {scale});
    ASSERT_TRUE(r.render());
    const double steps = std::nearbyint(double(scale) * 4096);
    for (int x = 0; x < 400; ++x)
      ASSERT_EQ(r.at(0, x, 0), std::lrint(std::clamp(x * steps, -32767.0, 32767.0))) << scale << " " << x;
  }
}

TEST(edge_dist, takes_the_middle_of_a_scale_that_varies_over_the_picture) {
  definition_renderer r("(define E (Source) () dest = (edge_dist (element_of Source 0) (* (element_of Source 1) 1)))",
                        {.width = 31, .height = 5});
  r.set_source(0, [](int x, int y, int e) { return e == 0 ? x : x == 15 && y == 2 ? 100 : 7; });
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 9, 0), 900);
}

TEST(edge_dist, is_never_folded) {
  definition_renderer r("(define E (Source) () dest = (+ Source (edge_dist 1 0.5)))", {.width = 6, .height = 4});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 3, 2), 32767);
}

TEST(edge_dist, changes_evenly_with_its_scale) {
  definition_renderer r(INSIDE_DIST, {.width = 80, .height = 60});
  r.set_source(0, picture_of(random_matte({80, 60}, 8, 1)));
  // The farthest pixel is less than 40 away: one step of a sixtieth moves it by 40/60 of the way.
  EXPECT_LE(largest_step(r, "scale", {0}, {0.1f}), 40 * 0.1 / 60 * 4096 + 40);
}

}  // namespace
}  // namespace tessaron::testing
