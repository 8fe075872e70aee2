// Rays: their number, angles and lengths as the generator gives them, and smooth light whatever their place.
#include "flare_kit.h"
#include "operators/flare_shape.h"

namespace tessaron::testing {
namespace {

std::string rays(int number, double jitter, double start, double r0, double r1, double width, int seed,
                 const std::string& color = "1 1 1") {
  return "rays center 1 color " + color + " ray_number " + std::to_string(number) + " jitter_angles " +
         std::to_string(jitter) + " start_angle " + std::to_string(start) + " radius_range " + std::to_string(r0) +
         " " + std::to_string(r1) + " ray_width " + std::to_string(width) + " rand_seed " + std::to_string(seed);
}

/// A bundle at the middle of a frame, as it is to be drawn.
class planned_rays {
 public:
  explicit planned_rays(const std::string& element, fix rotate = 0, double aspect = 1) : files_(entry(element)) {
    display_dims = {};
    display_dims.pixel_aspect = float(aspect);
    flare_look look;
    look.rotate = rotate;
    look.pixels_per_unit = 100;
    shape_.build(*get_lens_flares().entries[0], look);
    const flare_light light = {50, 40, 50, 40, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}};
    drawn = shape_.n_rays() == 1 && shape_.place_rays(0, light, placed);
    display_dims = {};
  }
  bool drawn = false;
  placed_rays placed = {};
  int n() const { return drawn ? 2 * placed.n_pairs : 0; }

 private:
  flare_files files_;
  flare_shape shape_;
};

TEST(flare_rays, come_in_pairs) {
  for (const auto& [number, wanted] : {std::pair{5, 4}, {4, 4}, {1, 0}, {0, 0}, {-7, 0}, {100, 100}, {3, 2}})
    EXPECT_EQ(planned_rays(rays(number, 0, 0, 0.5, 0.5, 0.1, 1)).n(), wanted) << number;
}

TEST(flare_rays, have_the_angles_and_lengths_of_the_generator) {
  for (const int seed : {0, 1, 12345, 714024, 2000000}) {
    const double start = 20, jitter = 0.8, turn = 0.125, r0 = 0.3, r1 = 0.9;
    const planned_rays p(rays(10, jitter, start, r0, r1, 0.02, seed), 512);
    ASSERT_EQ(p.placed.n_pairs, 5);
    std::uint32_t s = std::uint32_t(seed);
    const auto next = [&s] { return (s = (s * 4096u + 150889u) % 714025u) / 714025.0; };
    const double step = 2 * M_PI / 10, half = step * 0.5 * float(jitter);
    for (int i = 0; i < 5; ++i) {
      const double angle = i * step + (start + turn * 360) * M_PI / 180 - half + next() * 2 * half;
      const double length = 100 * (r0 + next() * (r1 - r0));
      EXPECT_NEAR(p.placed.pairs[i].x, length * std::cos(angle), 1e-3) << seed << " " << i;
      EXPECT_NEAR(p.placed.pairs[i].y, -length * std::sin(angle), 1e-3) << seed << " " << i;
    }
  }
}

TEST(flare_rays, are_as_long_on_the_screen_in_all_directions) {
  const planned_rays p(rays(4, 0, 0, 0.5, 0.5, 0.1, 1), 0, 0.8);
  EXPECT_NEAR(p.placed.pairs[0].x, 50, 1e-4);
  EXPECT_NEAR(p.placed.pairs[1].y, -50 / 0.8, 1e-3) << "rows are 0.8 pixels high";
}

TEST(flare_rays, taper_from_seven_on) {
  EXPECT_EQ(planned_rays(rays(6, 0, 0, 0.5, 0.5, 0.1, 1)).placed.taper, 0);
  EXPECT_NEAR(planned_rays(rays(8, 0, 0, 0.5, 0.5, 0.1, 1)).placed.taper, 3 * 5 / 50.0, 1e-6);
  EXPECT_NEAR(planned_rays(rays(7, 0, 0, 0.5, 0.5, 0.1, 1)).placed.taper, 0, 1e-6) << "six are drawn";
  EXPECT_EQ(planned_rays(rays(8, 0, 0, 0.1, 0.5, 0.1, 1)).placed.taper, 0.5f) << "half of a ray at most";
  EXPECT_EQ(planned_rays(rays(8, 0, 0, 0, 0.5, 0.1, 1)).placed.taper, 0.5f);
}

TEST(flare_rays, of_no_extent_are_left_out) {
  EXPECT_FALSE(planned_rays(rays(8, 0, 0, 0, 0, 0.1, 1)).drawn);
  EXPECT_FALSE(planned_rays(rays(8, 0, 0, 0.5, 0.5, 0, 1)).drawn);
}

TEST(flare_rays, are_capped_in_number) {
  EXPECT_EQ(planned_rays(rays(2000000000, 0, 0, 0.1, 0.1, 0.01, 1)).n(), 65536);
}

// --- pictures ----------------------------------------------------------------------------------------------

constexpr int SIDE = 161, MIDDLE = 80;
planes_of_result picture(const std::string& element, flare_settings s = {}) {
  const flare_files files(entry(element));
  return rendered_flare(s, {.width = SIDE, .height = SIDE});
}

TEST(flare_rays, reach_as_far_as_they_are_long_and_no_farther) {
  const planes_of_result r = picture(rays(4, 0, 0, 0.5, 0.5, 0.05, 1));
  const auto across = [&](int x) { return r[0][MIDDLE * SIDE + MIDDLE + x]; };
  const auto down = [&](int y) { return r[0][(MIDDLE + y) * SIDE + MIDDLE]; };
  for (int i = 2; i < 40; ++i) {
    EXPECT_GT(across(i), across(i + 1)) << i;  // darker towards the tip
    EXPECT_NEAR(across(i), across(-i), 1);
    EXPECT_NEAR(across(i), down(i), 1);
    EXPECT_NEAR(across(i), down(-i), 1);
  }
  EXPECT_EQ(across(41), 0);
  EXPECT_EQ(r[0][(MIDDLE + 30) * SIDE + MIDDLE + 30], 0);
  for (const auto& plane : r)
    for (const fix v : plane) {
      EXPECT_GE(v, 0);
      EXPECT_LE(v, 4096);
    }
}

TEST(flare_rays, have_the_same_light_in_every_direction) {
  // Rays a pixel thin and three wide, each alone, turned from flat to upright.
  for (const double width : {0.012, 0.04}) {
    double least = 1e9, most = 0;
    for (int degrees = 0; degrees <= 90; degrees += 3) {
      const double light = light_of(picture(rays(2, 0, degrees, 0.8, 0.8, width, 1))[0]);
      least = std::min(least, light);
      most = std::max(most, light);
    }
    EXPECT_GT(least, 0);
    EXPECT_LT(most / least, 1.06) << width;
  }
}

TEST(flare_rays, move_and_turn_without_jumps) {
  const flare_files files(entry(rays(12, 0.5, 0, 0.4, 0.8, 0.02, 3)));
  definition_renderer r(
      "(define F () place = [0 0] turn = 0 dest = (lens_flare 0 place [0 0] 1 1 1 turn [1 1 1] [1 1 1] [1 1 1]))",
      {.width = SIDE, .height = SIDE});
  // Three pixels and a sixtieth of a turn, in 60 steps each.
  EXPECT_LT(largest_step(r, "place", {0, 0}, {0.0375f, 0.02f}), 600);
  EXPECT_LT(largest_step(r, "turn", {0}, {0.0167f}), 1000);
}

TEST(flare_rays, are_the_same_everywhere) {
  for (const picture_size size : {picture_size{161, 97}, {1, 1}, {7, 300}, {300, 7}})
    for (const float aspect : {1.0f, 0.8f}) {
      const flare_files files(
          entry(rays(60, 1, 10, 0.1, 2, 0.03, 3, "1 0.8 0.4") + "\n" + rays(2, 0, 0, 4, 4, 0.2, 1)));
      flare_settings s;
      s.hotspot = "[0.123 -0.2]";
      s.rotate = "0.03";
      definition_renderer r(s.definition(), {.width = size.width, .height = size.height, .pixel_aspect = aspect});
      same_everywhere(r);
    }
}

TEST(flare_rays, take_both_colours) {
  flare_settings s;
  s.hotspot_color = "[1 0.5 1]";
  s.rays_color = "[0.5 1 0]";
  const planes_of_result r = picture(rays(2, 0, 0, 0.5, 0.5, 0.1, 1), s),
                         white = picture(rays(2, 0, 0, 0.5, 0.5, 0.1, 1));
  for (std::size_t i = 0; i < r[0].size(); ++i) {
    EXPECT_NEAR(r[0][i], white[0][i] / 2.0, 1);
    EXPECT_NEAR(r[1][i], white[0][i] / 2.0, 1);
    EXPECT_EQ(r[2][i], 0);
  }
}

}  // namespace
}  // namespace tessaron::testing
