// drops: what their rings do.
#include "stylise_kit.h"

namespace tessaron::testing {
namespace {

constexpr int WIDTH = 128, HEIGHT = 72;
constexpr test_frame FRAME = {.width = WIDTH, .height = HEIGHT};

const std::string SETTINGS =
    "  amplitude = 0.1 fx = 4 fy = 4 phase = 0 turn = 0 in = 0 out = 10 soft_in = 0 soft_out = 0 n = 10\n"
    "  here = (+ xy [0 0])\n";
std::string drops_definition(const std::string& coords = "here") {
  return "(define D (Source Map) ()\n" + SETTINGS + "  dest = (drops (element_of Source 0) " + coords +
         " amplitude (v2 fx fy) phase turn (v2 in out) (v2 soft_in soft_out) n))";
}

struct setting {
  const char* name;
  float value;
};
struct spot_at {
  int x, y, radius;
};
picture spots(const std::vector<spot_at>& list) {
  return [=](int x, int y, int) {
    for (const spot_at& s : list)
      if (std::abs(x - s.x) <= s.radius && std::abs(y - s.y) <= s.radius) return FIX_ONE;
    return 0;
  };
}
planes_of_result shift_of(const std::vector<setting>& settings, const picture& source,
                          const test_frame& frame = FRAME) {
  definition_renderer r(drops_definition(), frame);
  r.set_source(0, source);
  for (const setting& s : settings) r.set_param(s.name, {s.value});
  return rendered(r);
}
/// A spot of 9 x 9 pixels in the middle: more than the light of a full drop at this size.
const picture MIDDLE = [](int x, int y, int) {
  return std::abs(2 * x + 1 - WIDTH) < 9 && std::abs(2 * y + 1 - HEIGHT) < 9 ? FIX_ONE : 0;
};

std::pair<double, double> norm_place(int x, int y) {
  return {(x + 0.5) / WIDTH * 2 - 1, (0.5 - (y + 0.5) / HEIGHT) * 2 * HEIGHT / WIDTH};
}

TEST(drops, push_along_the_radius_by_the_sine_of_the_rings) {
  for (const float phase : {0.0f, 0.3f}) {
    const planes_of_result got = shift_of({{"phase", phase}}, MIDDLE);
    for (int y = 0; y < HEIGHT; ++y)
      for (int x = 0; x < WIDTH; ++x) {
        const auto [nx, ny] = norm_place(x, y);
        const double r = std::hypot(nx, ny);
        const double wave = std::sin((r * 4 - phase) * 2 * 3.14159265358979) * std::min(1.0, 4 * 4 * r) * 0.1 * 4096;
        const std::size_t i = std::size_t(y * WIDTH + x);
        ASSERT_NEAR(got[0][i], wave * nx / r, 4) << x << "," << y;
        ASSERT_NEAR(got[1][i], wave * ny / r, 4) << x << "," << y;
      }
  }
}

TEST(drops, of_a_symmetric_picture_shift_symmetrically) {
  const planes_of_result got =
      shift_of({{"phase", 0.2f}, {"out", 0.5f}, {"soft_out", 0.3f}},
               spots({{20, 30, 2}, {WIDTH - 21, 30, 2}, {20, HEIGHT - 31, 2}, {WIDTH - 21, HEIGHT - 31, 2}}));
  // Coordinates are rounded to one side: a step of them is up to 3 of a push for each drop.
  constexpr fix STEP = 10;
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      const std::size_t i = std::size_t(y * WIDTH + x), across = std::size_t(y * WIDTH + WIDTH - 1 - x),
                        down = std::size_t((HEIGHT - 1 - y) * WIDTH + x);
      ASSERT_NEAR(got[0][i], -got[0][across], STEP);
      ASSERT_NEAR(got[1][i], got[1][across], STEP);
      ASSERT_NEAR(got[0][i], got[0][down], STEP);
      ASSERT_NEAR(got[1][i], -got[1][down], STEP);
    }
}

TEST(drops, add_up) {
  const std::vector<setting> settings = {{"fx", 7}, {"fy", 7}, {"out", 0.6f}, {"soft_out", 0.4f}};
  const planes_of_result a = shift_of(settings, spots({{30, 20, 3}})), b = shift_of(settings, spots({{90, 50, 2}}));
  const planes_of_result both = shift_of(settings, spots({{30, 20, 3}, {90, 50, 2}}));
  for (std::size_t e = 0; e < 2; ++e)
    for (std::size_t i = 0; i < both[e].size(); ++i) ASSERT_NEAR(both[e][i], a[e][i] + b[e][i], 2);
}

TEST(drops, grow_with_amplitude_and_with_the_light_of_their_spot) {
  const planes_of_result one = shift_of({{"amplitude", 0.1f}}, MIDDLE), two = shift_of({{"amplitude", 0.2f}}, MIDDLE),
                         back = shift_of({{"amplitude", -0.1f}}, MIDDLE), none = shift_of({{"amplitude", 0}}, MIDDLE);
  for (std::size_t i = 0; i < one[0].size(); ++i) {
    ASSERT_NEAR(two[0][i], 2 * one[0][i], 2);
    ASSERT_NEAR(back[0][i], -one[0][i], 1);
    ASSERT_EQ(none[0][i], 0);
  }
  // One pixel's light of 1000 / 128^2 makes 0.061; half as bright, half the push.
  const auto strongest = [&](fix light) {
    const planes_of_result got =
        shift_of({{"amplitude", 1}}, [=](int x, int y, int) { return x == 64 && y == 36 ? light : 0; });
    return *std::max_element(got[0].begin(), got[0].end());
  };
  EXPECT_NEAR(strongest(4096), 4096 * 1000.0 / (128 * 128), 8);
  EXPECT_NEAR(strongest(2048), 2048 * 1000.0 / (128 * 128), 8);
}

TEST(drops, keep_between_their_inner_and_outer_radius) {
  const planes_of_result got =
      shift_of({{"in", 0.3f}, {"out", 0.5f}, {"soft_in", 0.1f}, {"soft_out", 0.1f}, {"phase", 0.1f}}, MIDDLE);
  const planes_of_result open = shift_of({{"phase", 0.1f}}, MIDDLE);
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      const auto [nx, ny] = norm_place(x, y);
      const double r = std::hypot(nx, ny);
      const std::size_t i = std::size_t(y * WIDTH + x);
      if (r < 0.199 || r > 0.601) {
        ASSERT_EQ(got[0][i], 0) << r;
      } else if (r > 0.301 && r < 0.499) {
        ASSERT_EQ(got[0][i], open[0][i]) << r;
      } else {
        ASSERT_LE(std::abs(got[0][i]), std::abs(open[0][i]) + 1) << r;
      }
    }
  // Half way through a soft edge the push has half its height.
  const auto at_x = [&](const planes_of_result& p, double nx) {
    return p[0][std::size_t(HEIGHT / 2 * WIDTH + int((nx + 1) / 2 * WIDTH))];
  };
  EXPECT_NEAR(at_x(got, 0.55), 0.5 * at_x(open, 0.55), 0.1 * std::abs(at_x(open, 0.55)) + 3);
}

TEST(drops, rotate_turns_every_push_about_its_drop) {
  const planes_of_result along = shift_of({{"turn", 0}}, MIDDLE), around = shift_of({{"turn", 0.25f}}, MIDDLE),
                         against = shift_of({{"turn", 0.5f}}, MIDDLE);
  for (std::size_t i = 0; i < along[0].size(); ++i) {
    ASSERT_NEAR(around[0][i], -along[1][i], 1);
    ASSERT_NEAR(around[1][i], along[0][i], 1);
    ASSERT_NEAR(against[0][i], -along[0][i], 1);
  }
}

TEST(drops, two_frequencies_make_ellipses) {
  // Twice the frequency down: the push at (0, y) is that of the circle at (0, 2y), as far as rings go.
  const planes_of_result got = shift_of({{"fx", 3}, {"fy", 6}}, MIDDLE),
                         circle = shift_of({{"fx", 3}, {"fy", 3}}, MIDDLE);
  const int column = WIDTH / 2;
  for (int k = 3; k < 17; ++k) {
    const auto at = [&](const planes_of_result& p, double rows) {
      const double y = HEIGHT / 2.0 - rows - 0.5;
      const int j = int(std::floor(y));
      const double f = y - j;
      return p[1][std::size_t(j * WIDTH + column)] * (1 - f) + p[1][std::size_t((j + 1) * WIDTH + column)] * f;
    };
    EXPECT_NEAR(at(got, k + 0.5), at(circle, 2 * k + 1), 12) << k;
  }
}

TEST(drops, phase_runs_the_rings_outwards_and_repeats) {
  const planes_of_result here = shift_of({{"phase", 0.25f}}, MIDDLE), turn = shift_of({{"phase", 5.25f}}, MIDDLE);
  EXPECT_EQ(first_difference(here, turn), "");
  // The first crest beyond a radius of 0.2 moves out with the phase.
  const auto crest = [&](float phase) {
    const planes_of_result got = shift_of({{"phase", phase}}, MIDDLE);
    int best = 0;
    for (int x = WIDTH / 2 + 13; x < WIDTH / 2 + 29; ++x)
      if (got[0][std::size_t(36 * WIDTH + x)] > got[0][std::size_t(36 * WIDTH + best)] || !best) best = x;
    return best;
  };
  EXPECT_GT(crest(0.2f), crest(0.0f));
}

TEST(drops, without_rings_or_drops_shift_nothing) {
  const auto zero = [](const planes_of_result& p) {
    for (const auto& plane : p)
      for (const fix v : plane)
        if (v) return false;
    return true;
  };
  EXPECT_TRUE(zero(shift_of({}, flat_picture(0))));
  EXPECT_TRUE(zero(shift_of({}, flat_picture(-5000))));
  EXPECT_TRUE(zero(shift_of({{"n", 0}}, MIDDLE)));
  EXPECT_TRUE(zero(shift_of({{"n", -3}}, MIDDLE)));
  EXPECT_TRUE(zero(shift_of({{"fx", 0}, {"fy", 0}}, MIDDLE)));
  EXPECT_TRUE(zero(shift_of({{"out", -1}}, MIDDLE)));
  EXPECT_FALSE(zero(shift_of({{"n", 1}}, MIDDLE)));
}

TEST(drops, energy_of_one_drop_is_that_of_its_wave) {
  // The mean square of a sine is a half: over whole rings the mean square of the push is half the amplitude's square.
  const planes_of_result got = shift_of({{"fx", 8}, {"fy", 8}, {"amplitude", 0.5f}}, MIDDLE);
  double sum = 0, count = 0;
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      const auto [nx, ny] = norm_place(x, y);
      const double r = std::hypot(nx, ny);
      if (r < 0.125 || r > 0.5) continue;
      const std::size_t i = std::size_t(y * WIDTH + x);
      sum += std::hypot(double(got[0][i]), double(got[1][i])) * std::hypot(double(got[0][i]), double(got[1][i]));
      ++count;
    }
  EXPECT_NEAR(sum / count / (2048.0 * 2048.0), 0.5, 0.02);
}

TEST(drops, look_the_same_at_half_the_resolution) {
  const auto disc = [](int width) -> picture {
    return [=](int x, int y, int) {
      const double dx = (x + 0.5) / width - 0.4, dy = (y + 0.5) / width - 0.25;
      return dx * dx + dy * dy < 0.0004 ? FIX_ONE : 0;
    };
  };
  const std::vector<setting> settings = {{"out", 0.4f}, {"soft_out", 0.2f}};
  const planes_of_result large = shift_of(settings, disc(256), {.width = 256, .height = 144});
  const planes_of_result small = shift_of(settings, disc(128), {.width = 128, .height = 72});
  for (int y = 0; y < 72; ++y)
    for (int x = 0; x < 128; ++x) {
      const auto mean =
          (large[0][std::size_t(2 * y * 256 + 2 * x)] + large[0][std::size_t(2 * y * 256 + 2 * x + 1)] +
           large[0][std::size_t((2 * y + 1) * 256 + 2 * x)] + large[0][std::size_t((2 * y + 1) * 256 + 2 * x + 1)]) /
          4;
      ASSERT_NEAR(small[0][std::size_t(y * 128 + x)], mean, 60) << x << "," << y;
    }
}

TEST(drops, agree_at_all_levels_and_with_any_number_of_workers) {
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{128, 72}, {1, 1}, {1, 5}, {67, 3}, {200, 31}}) {
    definition_renderer r(drops_definition(), {.width = width, .height = height});
    r.set_source(0, [w = width](int x, int y, int) { return (x * 7 + y * 13 + w) % 23 == 0 ? 3000 : 0; });
    r.set_param("amplitude", {1});
    r.set_param("fy", {5.5f});
    r.set_param("out", {0.5f});
    r.set_param("soft_out", {0.3f});
    r.set_param("n", {60});
    same_everywhere(r);
  }
}

TEST(drops, of_a_cropped_frame_shift_as_in_the_whole_one) {
  const auto shift = [&](const test_frame& frame) {
    definition_renderer r(drops_definition(), frame);
    r.set_source(0, spots({{50, 30, 2}, {70, 40, 1}}));
    r.set_param("amplitude", {1});
    return rendered(r);
  };
  const planes_of_result whole = shift(FRAME);
  test_frame part = FRAME;
  part.x0 = 40, part.y0 = 20, part.x1 = 99, part.y1 = 59;
  const planes_of_result cut = shift(part);
  for (std::size_t e = 0; e < 2; ++e)
    for (int y = part.y0; y <= part.y1; ++y)
      for (int x = part.x0; x <= part.x1; ++x)
        ASSERT_EQ(cut[e][std::size_t((y - part.y0) * 60 + x - part.x0)], whole[e][std::size_t(y * WIDTH + x)]);
}

TEST(drops, read_coordinates_and_settings_that_vary_from_pixel_to_pixel) {
  const std::string text =
      "(define D (Source Map) ()\n"
      "  dest = (drops (element_of Source 0) (+ xy [0 0]) (element_of Map 0) [4 4] 0 0 [0 10] [0 0] 10))";
  definition_renderer r(text, FRAME);
  r.set_source(0, MIDDLE);
  r.set_source(1, [](int x, int, int) { return x < 40 ? 0 : 410; });
  const planes_of_result got = same_everywhere(r);
  const planes_of_result same = shift_of({{"amplitude", 410 / 4096.0f}}, MIDDLE);
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      const std::size_t i = std::size_t(y * WIDTH + x);
      ASSERT_EQ(got[0][i], x < 40 ? 0 : same[0][i]);
    }
}

TEST(drops, run_smoothly_through_sweeps) {
  definition_renderer r(drops_definition(), FRAME);
  r.set_source(0, spots({{30, 20, 3}, {90, 50, 2}}));
  r.set_param("soft_in", {0.1f});
  r.set_param("soft_out", {0.2f});
  r.set_param("out", {0.5f});
  EXPECT_LT(sweep(r, "phase", {0}, {1}).largest, 100);  // 2 pi / 60 of two waves of 410
  EXPECT_LT(sweep(r, "turn", {0}, {1}).largest, 100);
  EXPECT_LT(sweep(r, "fx", {4}, {5}).largest, 100);
  EXPECT_LT(sweep(r, "in", {0}, {0.4f}).largest, 100);
  EXPECT_LT(sweep(r, "out", {0.1f}, {0.6f}).largest, 100);
}

TEST(drops, any_settings_at_all_stay_within_a_plane) {
  definition_renderer r(drops_definition(), {.width = 33, .height = 17});
  r.set_source(0, spots({{10, 8, 1}, {20, 9, 2}}));
  for (const char* name : {"amplitude", "fx", "fy", "phase", "turn", "in", "out", "soft_in", "soft_out", "n"})
    for (const float v : {0.0f, -1.0f, 1e-4f, 60.0f, 5e5f, -5e5f}) {
      for (const char* other : {"amplitude", "fx", "out"}) r.set_param(other, {1});
      r.set_param(name, {v});
      for (const auto& plane : rendered(r))
        for (const fix sample : plane) ASSERT_LE(std::abs(sample), 32767) << name << " " << v;
    }
}

TEST(drops, an_abort_ends_them_at_any_stage) {
  definition_renderer r(drops_definition(), {.width = 64, .height = 200});
  r.set_source(0, spots({{30, 20, 3}}));
  abort_at_every_question(r);
}

}  // namespace
}  // namespace tessaron::testing
