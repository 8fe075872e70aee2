// What film_effect has to hold to where its rules leave room: fields, blurred grain, odd arguments, missing files.
#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/bounds.h"
#include "film_effect_kit.h"
#include "tests/support/abort_questions.h"

namespace tessaron::testing {
namespace {

using film_looks = film_fixture;

planes_of_result fields_only(int mode, const test_frame& f, const definition_renderer::pixel_function& source) {
  film_numbers n;
  n.amount = 0;
  n.fields = mode;
  return developed(n, f, source);
}

TEST_F(film_looks, rebuilds_a_field_from_its_neighbours) {
  const auto source = random_picture(FRAME.width, -3000, 6000);
  for (const int y0 : {0, 3})
    for (const int mode : {1, 2}) {
      test_frame f = FRAME;
      f.y0 = y0;
      f.x1 = f.width - 1;
      f.y1 = f.height - 1;
      const planes_of_result result = fields_only(mode, f, source);
      for (int y = y0; y < f.height; ++y)
        for (int x = 0; x < f.width; ++x)
          for (int e = 0; e < 3; ++e) {
            const int got = result[std::size_t(e)][std::size_t((y - y0) * f.width + x)];
            if (y % 2 == mode - 1) {
              ASSERT_EQ(got, source(x, y, e)) << "the frame's rows count";
              continue;
            }
            const int above = source(x, y > y0 ? y - 1 : y + 1, e),
                      below = source(x, y + 1 < f.height ? y + 1 : y - 1, e);
            ASSERT_NEAR(got, (above + below) / 2.0, 1) << mode << " " << x << "," << y;
          }
    }
}

TEST_F(film_looks, blends_fields) {
  const auto combed = [](int, int y, int) { return y % 2 ? 4000 : 0; };
  const planes_of_result result = fields_only(3, FRAME, combed);
  for (fix v : result[0]) EXPECT_EQ(v, 2000);
  const auto ramp = [](int x, int y, int) { return 100 * y + x; };
  const planes_of_result slope = fields_only(3, FRAME, ramp);
  for (int y = 1; y + 1 < FRAME.height; ++y) EXPECT_EQ(slope[1][std::size_t(y * FRAME.width + 5)], 100 * y + 5);
}

TEST_F(film_looks, leaves_the_plane_in_other_field_modes_and_in_a_single_row) {
  const auto source = random_picture(FRAME.width, -3000, 6000);
  for (int mode : {0, 4, -1, 500}) EXPECT_EQ(fields_only(mode, FRAME, source), fields_only(0, FRAME, source)) << mode;
  const test_frame line = {.width = 9, .height = 1, .source_channels = 4};
  for (int mode : {1, 2, 3}) EXPECT_EQ(fields_only(mode, line, source), fields_only(0, line, source)) << mode;
}

/// Grain alone over an even grey.
planes_of_result grain_on_grey(double blur, int cadence, const test_frame& f, int frame = 0, double amp = 1) {
  film_numbers n = print_of(PLAIN, NO_PRINT);
  n.grain[0] = n.grain[1] = n.grain[2] = amp;
  for (double& b : n.grain_blur) b = blur;
  n.cadence = cadence;
  time_globals.current_frame = float(frame);
  return developed(n, f, [](int, int, int) { return 2048; });
}
struct spread {
  double mean, deviation;
};
spread spread_of(const std::vector<fix>& samples) {
  double sum = 0, squares = 0;
  for (fix v : samples) sum += v - 2048, squares += double(v - 2048) * (v - 2048);
  const double mean = sum / double(samples.size());
  return {mean, std::sqrt(squares / double(samples.size()) - mean * mean)};
}
/// Likeness of samples `step` apart, 0 for independent ones.
double correlation(const std::vector<fix>& samples, int width, int dx, int dy) {
  double sum = 0, squares = 0;
  const int height = int(samples.size()) / width;
  for (int y = 0; y + dy < height; ++y)
    for (int x = 0; x + dx < width; ++x) {
      const double a = samples[std::size_t(y * width + x)] - 2048,
                   b = samples[std::size_t((y + dy) * width + x + dx)] - 2048;
      sum += a * b;
      squares += a * a;
    }
  return sum / squares;
}

constexpr test_frame GREY = {.width = 320, .height = 200, .source_channels = 4};

TEST_F(film_looks, grain_is_even_and_as_strong_as_its_table_says) {
  // Bytes are even over -2048 to 2032; the table at the peak is 0.4 * 2 * 0.5 * 4 = 1.6: deviation 1.6 * 4096 /
  // sqrt(12).
  for (const auto& plane : grain_on_grey(0, 0, GREY, 0, 0.25)) {
    const spread s = spread_of(plane);
    EXPECT_NEAR(s.mean, -8 * 0.4, 6);
    EXPECT_NEAR(s.deviation, 0.4 * 4096 / std::sqrt(12), 8);
    for (const auto& [dx, dy] : {std::pair{1, 0}, {2, 0}, {3, 0}, {4, 0}, {0, 1}, {0, 2}, {1, 1}})
      EXPECT_NEAR(correlation(plane, GREY.width, dx, dy), 0, 0.02) << dx << "," << dy;
  }
}

TEST_F(film_looks, blurred_grain_is_coarser_and_about_as_strong) {
  for (const double pixels : {0.6, 1.0, 2.0, 4.0}) {
    const std::vector<fix> plane = grain_on_grey(pixels * 8 / GREY.width, 1, GREY, 0, 0.25)[1];
    const spread s = spread_of(plane), sharp = spread_of(grain_on_grey(0, 1, GREY, 0, 0.25)[1]);
    EXPECT_NEAR(s.mean, 0, 25) << pixels;
    EXPECT_GT(s.deviation, sharp.deviation * 0.3) << pixels;
    EXPECT_LT(s.deviation, sharp.deviation * 1.7) << pixels;
    EXPECT_GT(correlation(plane, GREY.width, 1, 0), 0.1) << pixels;
    EXPECT_GT(correlation(plane, GREY.width, 0, 1), 0.1) << pixels;
  }
}

TEST_F(film_looks, blurred_grain_keeps_fields_apart) {
  const double amount = 2.0 * 8 / GREY.width;
  const std::vector<fix> apart = grain_on_grey(amount, 0, GREY, 0, 0.25)[0],
                         whole = grain_on_grey(amount, 1, GREY, 0, 0.25)[0];
  EXPECT_NEAR(correlation(apart, GREY.width, 0, 1), 0, 0.06);
  EXPECT_GT(correlation(apart, GREY.width, 0, 2), 0.1);
  EXPECT_GT(correlation(whole, GREY.width, 0, 1), 0.3);
  EXPECT_GT(correlation(apart, GREY.width, 1, 0), 0.3);
}

TEST_F(film_looks, blurred_grain_grows_steadily) {
  film_numbers n = print_of(PLAIN, NO_PRINT);
  n.grain[0] = n.grain[1] = n.grain[2] = 0.25;
  std::vector<fix> before;
  for (double pixels = 0.5; pixels < 3; pixels += 0.05) {
    const std::vector<fix> now = grain_on_grey(pixels * 8 / GREY.width, 1, GREY, 0, 0.25)[0];
    if (!before.empty()) {
      double change = 0;
      for (std::size_t i = 0; i < now.size(); ++i) change += std::abs(now[i] - before[i]);
      EXPECT_LT(change / double(now.size()), 40) << pixels;
    }
    before = now;
  }
}

TEST_F(film_looks, grain_is_new_in_each_frame_and_repeats_exactly) {
  for (double blur : {0.0, 0.05}) {
    const planes_of_result first = grain_on_grey(blur, 0, GREY, 4);
    EXPECT_EQ(first, grain_on_grey(blur, 0, GREY, 4));
    EXPECT_NE(first, grain_on_grey(blur, 0, GREY, 5));
    EXPECT_NE(first[0], first[1]) << "each colour has grain of its own";
  }
}

TEST_F(film_looks, grain_stays_with_the_frame_when_a_part_is_rendered) {
  const film_numbers n = grainy();
  const auto source = random_picture(64, 0, 4096);
  const test_frame whole = {.width = 64, .height = 40, .source_channels = 4};
  test_frame part = whole;
  part.x0 = 13;
  part.y0 = 7;
  part.x1 = 50;
  part.y1 = 30;
  const planes_of_result all = developed(n, whole, source), some = developed(n, part, source);
  const int w = part.x1 - part.x0 + 1;
  for (int y = part.y0; y <= part.y1; ++y)
    for (int x = part.x0; x <= part.x1; ++x)
      for (std::size_t e = 0; e < 3; ++e)
        ASSERT_EQ(some[e][std::size_t((y - part.y0) * w + x - part.x0)], all[e][std::size_t(y * whole.width + x)])
            << x << "," << y;
}

TEST_F(film_looks, survives_every_argument) {
  const double odd[] = {0, -1, 1, 0.0003, 500000, -500000};
  const auto source = random_picture(FRAME.width, -30000, 30000);
  for (const test_frame f : {test_frame{.width = 1, .height = 1, .source_channels = 4}, FRAME})
    for (double v : odd)
      for (int what = 0; what < 17; ++what) {
        film_numbers n = grainy();
        n.soft = 0.1;
        n.grain_blur[1] = 0.1;
        double* const numbers[] = {&n.neg,           &n.print,     &n.fields,    &n.blur,          &n.amount,
                                   &n.in_gamma,      &n.out_gamma, &n.dominance, &n.neg_exposure,  &n.print_exposure[1],
                                   &n.low,           &n.high,      &n.glow[2],   &n.glow_width[2], &n.grain[0],
                                   &n.grain_blur[2], &n.cadence};
        *numbers[what] = v;
        ASSERT_EQ(developed(n, f, source).size(), 3u);
        film_numbers m = grainy();
        double* const more[] = {&m.middle[0], &m.mono, &m.seed, &m.grain_black, &m.grain_white, &m.soft};
        if (what < 6) {
          *more[what] = v;
          ASSERT_EQ(developed(m, f, source).size(), 3u);
        }
      }
}

TEST_F(film_looks, without_its_file_is_the_gammas) {
  std::filesystem::remove(directory.folder().file("t_filmtypes.text"));
  film_numbers n = print_of(3, 2);
  const auto source = random_picture(FRAME.width, 0, 4096);
  report_capture reports;
  const planes_of_result result = developed(n, FRAME, source);
  EXPECT_EQ(reports.count(), 2u) << reports.all();
  for (int x = 0; x < 20; ++x) EXPECT_EQ(result[1][std::size_t(x)], source(x, 0, 1));
}

TEST_F(film_looks, stops_where_the_user_asks) {
  film_numbers n = grainy();
  n.soft = 0.2;
  n.glow_width[0] = 0.5;
  n.grain_blur[0] = 0.1;
  definition_renderer r(n.text(), GREY);
  r.set_source(0, random_picture(GREY.width, 0, 4096));
  EXPECT_GT(stopped_renders(r, 120), 20);
  EXPECT_TRUE(r.render());
}

TEST_F(film_looks, asks_for_as_much_around_it_as_it_reads) {
  film_numbers n = print_of(LOG, PAPER);
  n.grain[0] = 1;
  n.grain_blur[0] = 4;
  const auto grown = [](const film_numbers& numbers) {
    definition_renderer r(numbers.text(), {.width = 800, .height = 600, .source_channels = 4});
    r.fill_records();
    EXPECT_TRUE(r.render());
    return bounds_of_tree(r.effect(), make_rectangle(0, 0, 799, 599));
  };
  EXPECT_EQ(grown(n).left, 0) << "grain reads nothing around it";
  n.glow_width[1] = 0.125;  // of an eighth of 800 pixels: 12.5
  EXPECT_EQ(grown(n).left, 0) << "a glow without strength reads nothing";
  n.soft = 0.5;
  EXPECT_EQ(grown(n).left, -13);
  n.blur = 0.0625;  // 6.25 pixels
  EXPECT_EQ(grown(n).left, -20);
  EXPECT_EQ(grown(n).top, -20);
  n.fields = 1;
  EXPECT_EQ(grown(n).top, -21);
}

}  // namespace
}  // namespace tessaron::testing
