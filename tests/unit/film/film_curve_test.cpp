// Splines, the response of films and the tables, bit for bit.
#include <gtest/gtest.h>

#include <random>

#include "evaluator/workers.h"
#include "film_reference.h"

namespace tessaron::testing {
namespace {

float spline_at(const film_spline& spline, float e) {
  spline_place place;
  return curve_value(spline, e, place);
}

// --- splines -------------------------------------------------------------------------------------------------

/// Second derivatives by elimination in double precision over the full matrix.
std::vector<double> dense_second_derivatives(const std::vector<double>& x, const std::vector<double>& y) {
  const std::size_t n = x.size();
  std::vector<std::vector<double>> a(n, std::vector<double>(n + 1));
  a[0][0] = a[n - 1][n - 1] = 1;
  for (std::size_t i = 1; i + 1 < n; ++i) {
    a[i][i - 1] = (x[i] - x[i - 1]) / 6;
    a[i][i] = (x[i + 1] - x[i - 1]) / 3;
    a[i][i + 1] = (x[i + 1] - x[i]) / 6;
    a[i][n] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]) - (y[i] - y[i - 1]) / (x[i] - x[i - 1]);
  }
  for (std::size_t i = 0; i < n; ++i)
    for (std::size_t k = 0; k < n; ++k) {
      if (k == i) continue;
      const double f = a[k][i] / a[i][i];
      for (std::size_t c = 0; c <= n; ++c) a[k][c] -= f * a[i][c];
    }
  std::vector<double> result;
  for (std::size_t i = 0; i < n; ++i) result.push_back(a[i][n] / a[i][i]);
  return result;
}

TEST(film_spline, solves_for_the_second_derivatives) {
  std::mt19937 random(3);
  for (int n : {2, 3, 4, 7, 20}) {
    std::vector<float> x, y;
    float at = -2;
    for (int i = 0; i < n; ++i) {
      x.push_back(at += 0.05f + float(random() % 100) / 200);
      y.push_back(float(random() % 100) / 40);
    }
    const film_spline spline = make_spline(x.data(), y.data(), n);
    const auto expected =
        dense_second_derivatives(std::vector<double>(x.begin(), x.end()), std::vector<double>(y.begin(), y.end()));
    for (int i = 0; i < n; ++i)
      EXPECT_NEAR(spline.y2[i], expected[std::size_t(i)], 1e-4 * (1 + std::abs(expected[std::size_t(i)])));
    for (int i = 0; i < n; ++i)
      EXPECT_EQ(spline_at(spline, x[std::size_t(i)]), y[std::size_t(i)]) << "goes through its points";
  }
}

// Three points 0, 1, 0 at 0, 1, 2: the one inner second derivative is 6 * (-1 - 1) / 4 = -3. Between the first two
// at 0.5: 0.5 + ((0.125 - 0.5) * -3) / 6 = 0.6875.
TEST(film_spline, has_values_worked_out_by_hand) {
  const float x[] = {0, 1, 2}, y[] = {0, 1, 0};
  const film_spline spline = make_spline(x, y, 3);
  EXPECT_EQ(spline.y2[0], 0);
  EXPECT_EQ(spline.y2[1], -3);
  EXPECT_EQ(spline.y2[2], 0);
  EXPECT_EQ(spline_at(spline, 0.5f), 0.6875f);
  // Beyond the end the polynomial goes on: at 3, a = -1, b = 2: -1 * 1 + 2 * 0 + ((-1 + 1) * -3) / 6 = -1.
  EXPECT_EQ(spline_at(spline, 3), -1);
}

// A parabola x^2 over 0, 1, 2 with its own slopes 0 and 4: the second derivative is 2 throughout.
TEST(film_spline, takes_slopes_at_its_ends) {
  const float x[] = {0, 1, 2}, y[] = {0, 1, 4};
  const film_spline spline = make_spline(x, y, 3, 0, 4);
  for (float second : {spline.y2[0], spline.y2[1], spline.y2[2]}) EXPECT_NEAR(second, 2, 1e-5);
  EXPECT_NEAR(spline_at(spline, 1.5f), 2.25f, 1e-6);
}

TEST(film_spline, with_equal_x_says_so_and_stays_finite) {
  const float x[] = {0, 1, 1, 2}, y[] = {0, 1, 5, 0};
  report_capture reports;
  const film_spline spline = make_spline(x, y, 4);
  EXPECT_TRUE(reports.has("spline: x indices 1 and 2 are not distinct.")) << reports.all();
  EXPECT_EQ(reports.count(), 1u);
  EXPECT_EQ(spline_at(spline, 0.5f), 0.6875f) << "the second of the two is left out";
}

TEST(film_spline, with_fewer_than_two_points_gives_the_exposure) {
  const float x[] = {1, 1}, y[] = {3, 4};
  report_capture reports;
  EXPECT_EQ(spline_at(make_spline(x, y, 0), 0.25f), 0.25f);
  EXPECT_EQ(spline_at(make_spline(x, y, 1), -7), -7);
  EXPECT_EQ(spline_at(make_spline(x, y, 2), 5), 5) << "two equal points are one";
}

TEST(film_spline, does_not_depend_on_what_was_asked_before) {
  const float x[] = {0, 1, 2.5f, 3, 5}, y[] = {0, 1, 0.5f, 2, 2.5f};
  const float unordered[] = {0, 2, 1, 4, 3};
  std::mt19937 random(5);
  for (const float* xs : {x, unordered}) {
    const film_spline spline = make_spline(xs, y, 5);
    spline_place kept;
    for (int i = 0; i < 2000; ++i) {
      const float e = float(int(random() % 8000) - 1000) / 1000;
      EXPECT_EQ(curve_value(spline, e, kept), spline_at(spline, e)) << e;
    }
  }
}

// --- response and tables -------------------------------------------------------------------------------------

film_settings odd_settings() {
  film_numbers n;
  n.amount = 0.8;
  n.in_gamma = 1.2;
  n.out_gamma = 0.9;
  n.neg_exposure = 0.4;
  n.print_exposure[0] = -0.2;
  n.print_exposure[2] = 0.35;
  n.grain[0] = 0.5;
  n.grain[1] = 1.5;
  n.grain[2] = 2;
  n.middle[0] = 0.3;
  n.middle[2] = 0.8;
  n.grain_black = 0.2;
  n.grain_white = -0.1;
  return n.settings();
}

void expect_plain(const film_settings& s, const std::string& what) {
  const film_tables& tables = get_film_tables(s);
  const plain_film_tables plain = plain_tables(s);
  for (std::size_t c = 0; c < 3; ++c) {
    for (std::size_t k = 0; k < FILM_TABLE_SIZE; ++k)
      ASSERT_EQ(tables.response[c][k], plain.response[c][k]) << what << " channel " << c << " sample " << k;
    for (std::size_t j = 0; j < GRAIN_TABLE_SIZE; ++j)
      ASSERT_EQ(tables.grain[c][j], plain.grain[c][j]) << what << " channel " << c << " grain " << j;
  }
}

TEST(film_tables, are_their_rules_bit_for_bit_for_every_pair_of_films) {
  const film_directory directory;
  for (int neg : {NO_NEG, LOG, STOPS, LINEAR, POINT, PLAIN})
    for (int print : {NO_PRINT, PAPER, SLIDE})
      for (bool odd : {false, true}) {
        film_settings s = odd ? odd_settings() : film_settings();
        s.neg = neg;
        s.print = print;
        expect_plain(s, "negative " + std::to_string(neg) + ", print " + std::to_string(print));
      }
}

TEST(film_tables, stretch_a_print_between_black_and_white) {
  const film_directory directory;
  for (int neg : {LOG, STOPS}) {
    film_settings s;
    s.neg = neg;
    s.print = PAPER;
    const film_tables& t = get_film_tables(s);
    EXPECT_EQ(std::min({t.response[0][0], t.response[1][0], t.response[2][0]}), 0);
    EXPECT_EQ(std::max({t.response[0][4096], t.response[1][4096], t.response[2][4096]}), 4096);
  }
}

TEST(film_tables, without_films_are_a_pair_of_gammas) {
  const film_directory directory;
  EXPECT_EQ(get_film_tables({}).response[1][1000], 1000);
  film_settings s;
  s.in_gamma = 2;
  s.out_gamma = 0.5f;
  const film_tables& t = get_film_tables(s);
  for (int k : {0, 1024, 2048, 4096}) EXPECT_EQ(t.response[0][k], std::lround(std::pow(k / 4096.0, 4) * 4096));
}

TEST(film_tables, of_a_reversal_print_ignore_the_negative) {
  const film_directory directory;
  film_settings s;
  s.print = SLIDE;
  s.grain_amp[0] = s.grain_amp[1] = s.grain_amp[2] = 1;
  const film_tables without = get_film_tables(s);
  s.neg = LOG;
  const film_tables with = get_film_tables(s);
  EXPECT_EQ(std::memcmp(&without, &with, sizeof with), 0);
  EXPECT_GT(with.response[1][4096], with.response[1][0]) << "it is a positive";
}

// Without a negative the input is turned around: a print then shows what is dark as dark.
TEST(film_tables, of_a_print_alone_turn_the_input_around_first) {
  const film_directory directory;
  film_settings s;
  s.print = PAPER;
  const film_tables t = get_film_tables(s);
  EXPECT_GT(t.response[0][4000], t.response[0][1000]);
  s.black_offset = FILM_BLACK;
  const film_curves none = curves_of(get_film_types().negatives[0]), paper = curves_of(get_film_types().prints[PAPER]);
  // At x = 0.5: v = 0.515873^0.45454544 * -0.5 + 0.5 = 0.1299.
  const float v = std::pow(0.515873f, 0.45454544f) * -0.5f + 0.5f;
  const float density = plain_density(*paper.film, 1, std::log10(v) + 0.75f);
  EXPECT_NEAR(film_curve(2048, none, paper, 1, s, false), std::pow(10.0f, -density), 1e-5);
}

TEST(film_curve, of_black_is_finite) {
  const film_directory directory;
  film_settings s;
  const film_curves log = curves_of(get_film_types().negatives[LOG]), paper = curves_of(get_film_types().prints[PAPER]);
  derive_settings(s, log, paper, curves_of(get_film_types().negatives[0]));
  EXPECT_EQ(s.black_offset, 0.015873f);
  EXPECT_TRUE(std::isfinite(film_curve(0, log, paper, 0, s, false)));
  for (int i = 0; i < 3; ++i) {
    film_settings neutral;
    neutral.black_offset = FILM_BLACK;
    EXPECT_NEAR(s.gray_scale[i] * film_curve(2048, log, curves_of(film_type()), i, neutral, true), 0.5f, 1e-6);
  }
}

TEST(film_tables, are_kept_while_nothing_changes) {
  const film_directory directory;
  film_settings s = odd_settings();
  s.neg = LOG;
  get_film_tables(s);
  const int built = film_tables_built();
  film_settings derived = s;
  derived.black_offset = 7;
  derived.out_scale = 3;
  get_film_tables(derived);
  EXPECT_EQ(film_tables_built(), built) << "derived fields don't count";
  int expected = built;
  const auto changes = [&](auto change) {
    change(s);
    get_film_tables(s);
    EXPECT_EQ(film_tables_built(), ++expected);
    get_film_tables(s);
    EXPECT_EQ(film_tables_built(), expected);
  };
  changes([](film_settings& f) { f.neg = STOPS; });
  changes([](film_settings& f) { f.print = PAPER; });
  changes([](film_settings& f) { f.film_amount += 0.1f; });
  changes([](film_settings& f) { f.in_gamma += 0.1f; });
  changes([](film_settings& f) { f.out_gamma += 0.1f; });
  changes([](film_settings& f) { f.neg_scale += 0.1f; });
  changes([](film_settings& f) { f.print_scale[2] += 0.1f; });
  changes([](film_settings& f) { f.grain_amp[1] += 0.1f; });
  changes([](film_settings& f) { f.grain_black += 0.1f; });
  changes([](film_settings& f) { f.grain_white += 0.1f; });
  changes([](film_settings& f) { f.grain_mid[0] += 0.1f; });
}

TEST(film_tables, are_the_same_with_any_number_of_workers) {
  const film_directory directory;
  film_settings s = odd_settings();
  s.neg = LOG;
  s.print = PAPER;
  const film_tables first = get_film_tables(s);
  for (int workers : {1, 2, 3, 7}) {
    stop_fork_workers();
    set_processor_override(workers);
    start_fork_workers();
    reset_film_tables();
    EXPECT_EQ(std::memcmp(&get_film_tables(s), &first, sizeof first), 0) << workers;
  }
  stop_fork_workers();
  set_processor_override(0);
}

TEST(film_tables, with_grain_strongest_at_black_or_white_stay_finite) {
  const film_directory directory;
  for (float middle : {0.0f, 1.0f, -3.0f, 50.0f}) {
    film_settings s;
    s.neg = LOG;
    s.grain_amp[0] = s.grain_amp[1] = s.grain_amp[2] = 1;
    s.grain_mid[0] = s.grain_mid[1] = s.grain_mid[2] = middle;
    expect_plain(s, "middle " + std::to_string(middle));
    for (float g : get_film_tables(s).grain[0]) EXPECT_TRUE(std::isfinite(g));
  }
  // At the peak itself: u = 1, g = 1, grain 0.1 from a negative alone: (0.1 + 0.1) * 0.5 * 1 * 4.
  film_settings s;
  s.neg = LOG;
  s.grain_amp[0] = 1;
  EXPECT_FLOAT_EQ(get_film_tables(s).grain[0][32], 0.4f);
}

TEST(film_tables, take_no_film_for_what_is_not_in_the_file) {
  const film_directory directory;
  for (int index : {-1, 6, 1000000, INT32_MIN, INT32_MAX}) {
    film_settings s;
    s.neg = s.print = index;
    EXPECT_EQ(get_film_tables(s).response[0][1234], 1234) << index;
  }
}

TEST(film_tables, hold_samples_whatever_the_settings_are) {
  const film_directory directory;
  for (float odd : {0.0f, -1.0f, 1e30f, -1e30f, 1e-30f, 524287.0f})
    for (int what = 0; what < 5; ++what) {
      film_settings s;
      s.neg = LOG;
      s.print = PAPER;
      (what == 0   ? s.film_amount
       : what == 1 ? s.in_gamma
       : what == 2 ? s.out_gamma
       : what == 3 ? s.neg_scale
                   : s.print_scale[1]) = odd;
      for (const auto& table : get_film_tables(s).response)
        for (std::int32_t v : table) {
          ASSERT_GE(v, -32767);
          ASSERT_LE(v, 32767);
        }
    }
}

// --- cadence ---------------------------------------------------------------------------------------------------

TEST(film_cadence, gives_each_field_its_grain) {
  for (int f : {-3, 0, 1, 2, 100}) {
    EXPECT_EQ(grain_phases_of(0, f).first, 2 * f);
    EXPECT_EQ(grain_phases_of(0, f).second, 2 * f + 1);
    EXPECT_EQ(grain_phases_of(1, f).first, 2 * f);
    EXPECT_EQ(grain_phases_of(1, f).second, 2 * f);
  }
}

// From frame 2 in mode 2 (a = 0): fields 18, 19, 20, ... of five: phases by hand.
TEST(film_cadence, pulls_down_three_fields_and_two) {
  const int expected[][2] = {{7, 7}, {8, 8}, {9, 9}, {9, 10}, {10, 11}, {11, 11}};
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(grain_phases_of(2, 2 + i).first, expected[i][0]) << i;
    EXPECT_EQ(grain_phases_of(2, 2 + i).second, expected[i][1]) << i;
    EXPECT_EQ(grain_phases_of(4, 4 + i).first, expected[i][0]) << "mode moves the sequence";
  }
  // Every film frame stays for three fields, then two.
  std::vector<int> fields;
  for (int f = 2; f < 22; ++f) {
    fields.push_back(grain_phases_of(2, f).first);
    fields.push_back(grain_phases_of(2, f).second);
  }
  std::vector<int> lengths;
  for (std::size_t i = 0; i < fields.size();) {
    std::size_t end = i;
    while (end < fields.size() && fields[end] == fields[i]) ++end;
    lengths.push_back(int(end - i));
    i = end;
  }
  // The first and the last may be cut.
  for (std::size_t i = 1; i + 2 < lengths.size(); ++i) EXPECT_EQ(lengths[i] + lengths[i + 1], 5) << i;
}

}  // namespace
}  // namespace tessaron::testing
