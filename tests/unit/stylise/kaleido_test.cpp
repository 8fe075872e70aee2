// The foldings: kaleido_oct to the bit, the others by what mirrors do.
#include <cmath>
#include <complex>

#include "tests/support/kernel_harness.h"

namespace tessaron::testing {
namespace {

struct place {
  fix x, y;
};

/// One fold by the generic level's kernel.
place folded(const char* name, fix x, fix y, fix scale) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find(name);
  kernel_bench bench(fun, 0, 1, {arg_form::row, arg_form::row});
  bench.set(0, 0, 0, x);
  bench.set(0, 0, 1, y);
  bench.set(1, 0, 0, scale);
  bench.run(fun.kernels[0]);
  return {bench.result(0, 0), bench.result(0, 1)};
}

constexpr const char* FOLDS[] = {"kaleido", "kaleido_diamonds", "kaleido_oct"};

/// The rule of kaleido_oct word by word.
void plain_oct(const sample_input& in, fix out[4]) {
  const auto fold = [&](fix v) {
    const auto product = std::int32_t(std::uint32_t(v) * std::uint32_t(in.arg[1][0]));
    const std::int32_t a = (((product >> 12) - 4096) & 0x1fff) - 4096;
    return std::abs(a);
  };
  const fix a = fold(in.arg[0][0]), b = fold(in.arg[0][1]);
  out[0] = 2 * std::max(a, b) - 4096;
  out[1] = 2 * std::min(a, b) - 4096;
}

TEST(kaleido_oct, agrees_with_the_rule_at_every_level_and_in_every_form_of_arguments) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("kaleido_oct");
  for (const unsigned seed : {1u, 2u, 3u, 4u}) EXPECT_EQ(compare_combo(fun, 0, {plain_oct}, seed), "");
}

TEST(kaleido_oct, worked_by_hand) {
  const auto expect = [](fix x, fix y, fix scale, fix u, fix v) {
    const place p = folded("kaleido_oct", x, y, scale);
    EXPECT_EQ(p.x, u) << x << "," << y << " scale " << scale;
    EXPECT_EQ(p.y, v) << x << "," << y << " scale " << scale;
  };
  expect(0, 0, 4096, -4096, -4096);    // both fold to 0
  expect(4096, 0, 4096, 4096, -4096);  // -1.0 and 1.0 are one mirror
  expect(-4096, 0, 4096, 4096, -4096);
  expect(4096, 4096, 4096, 4096, 4096);
  expect(1024, 3072, 4096, 2048, -2048);  // the larger comes first
  expect(3072, 1024, 4096, 2048, -2048);
  expect(-1024, 3072, 4096, 2048, -2048);
  expect(8192, 0, 4096, -4096, -4096);  // one period on
  expect(1024, 0, 8192, 0, -4096);
  expect(1, 0, 4096, -4094, -4096);
  expect(4095, 0, 4096, 4094, -4096);
  expect(4097, 0, 4096, 4094, -4096);
  expect(123456, -98765, 0, -4096, -4096);  // no scale: all places are the middle
  expect(0x7fffffff, -0x7fffffff - 1, 4096, -4094, -4096);
}

TEST(foldings, agree_at_all_levels_in_rows_of_all_widths) {
  for (const char* name : FOLDS)
    for (const int width : {1, 2, 7, 63, 64, 65, 200})
      for (const auto& forms : std::vector<std::vector<arg_form>>{{arg_form::row, arg_form::constant},
                                                                  {arg_form::row, arg_form::row},
                                                                  {arg_form::uniform, arg_form::row},
                                                                  {arg_form::constant, arg_form::row}}) {
        std::vector<std::vector<fix>> first;
        for (const cpu_level level : usable_levels()) {
          const fun_info& fun = *level_catalogue(level).find(name);
          kernel_bench bench(fun, 0, width, forms);
          std::minstd_rand random(5);
          for (int a = 0; a < 2; ++a)
            for (int e = 0; e < bench.elnum(a); ++e)
              for (int i = 0; i < bench.samples_of(a); ++i)
                bench.set(a, i, e, fix(std::uint32_t(random()) * 2u) >> (i % 3 == 0 ? 0 : 17));
          bench.complete_constants();
          bench.run(fun.kernels[0]);
          EXPECT_EQ(bench.damage(), "");
          std::vector<std::vector<fix>> got(2);
          for (int e = 0; e < 2; ++e)
            for (int i = 0; i < width; ++i) got[std::size_t(e)].push_back(bench.result(i, e));
          if (first.empty()) first = got;
          EXPECT_EQ(got, first) << name << " at " << cpu_level_name(level) << ", " << width << " wide";
        }
      }
}

// --- laws of mirrors ---------------------------------------------------------------------------------------------

/// A fold doubles: neighbouring steps of fix give results at most 2 apart, and a little for rounding.
constexpr fix LARGEST_STEP = 3;

TEST(foldings, are_continuous_along_lines_across_many_mirrors) {
  for (const char* name : FOLDS)
    for (const place start : {place{-13000, -9001}, {-77, 5}, {1000000, -1200}, {-3000000, 2900000}})
      for (const place step : {place{1, 0}, {0, 1}, {1, 1}, {1, -1}}) {
        place before = folded(name, start.x, start.y, FIX_ONE);
        for (int i = 1; i < 9000; ++i) {
          const place p = folded(name, start.x + i * step.x, start.y + i * step.y, FIX_ONE);
          ASSERT_LE(std::abs(p.x - before.x), LARGEST_STEP * (std::abs(step.x) + std::abs(step.y))) << name << " " << i;
          ASSERT_LE(std::abs(p.y - before.y), LARGEST_STEP * (std::abs(step.x) + std::abs(step.y))) << name << " " << i;
          before = p;
        }
      }
}

TEST(foldings, keep_lengths_but_for_the_factor_of_two) {
  // Within one piece a fold is a reflection: offsets of 0.05 come out twice as long wherever no mirror lies between.
  for (const char* name : FOLDS) {
    int kept = 0, all = 0;
    for (int k = 0; k < 4000; ++k) {
      const double angle = k * 0.7, x = 3000 * std::sin(k * 1.3), y = 3000 * std::cos(k * 2.9);
      const fix dx = fix(std::lrint(205 * std::cos(angle))), dy = fix(std::lrint(205 * std::sin(angle)));
      const place a = folded(name, fix(x), fix(y), FIX_ONE), b = folded(name, fix(x) + dx, fix(y) + dy, FIX_ONE);
      const double length = std::hypot(b.x - a.x, b.y - a.y);
      EXPECT_LE(length, 416) << name;
      ++all;
      kept += length > 404;
    }
    EXPECT_GT(kept, all * 3 / 5) << name;  // the others have crossed a mirror
  }
}

bool near(place a, place b, fix tolerance) {
  return std::abs(a.x - b.x) <= tolerance && std::abs(a.y - b.y) <= tolerance;
}

TEST(foldings, repeat_with_a_period_of_two_and_scale_divides_it) {
  for (const char* name : FOLDS)
    for (int k = 0; k < 500; ++k) {
      const fix x = k * 37 - 9000, y = k * 53 - 13000;
      const place p = folded(name, x, y, FIX_ONE);
      EXPECT_TRUE(near(folded(name, x + 8192, y, FIX_ONE), p, 0)) << name;
      EXPECT_TRUE(near(folded(name, x - 5 * 8192, y, FIX_ONE), p, 0)) << name;
      EXPECT_TRUE(near(folded(name, x + 2048, y, 4 * FIX_ONE), folded(name, x, y, 4 * FIX_ONE), 0)) << name;
      // Twice the scale is the place twice as far out.
      EXPECT_TRUE(near(folded(name, x, y, 2 * FIX_ONE), folded(name, 2 * x, 2 * y, FIX_ONE), 0)) << name;
    }
  for (int k = 0; k < 500; ++k) {
    const fix x = k * 41 - 7000, y = k * 29 - 11000;
    for (const char* name : {"kaleido_diamonds", "kaleido_oct"}) {
      EXPECT_TRUE(near(folded(name, x, y + 8192, FIX_ONE), folded(name, x, y, FIX_ONE), 0)) << name;
    }
    // The triangles come again after three of their edges: 3 * 2 / sqrt(3) = 3.4641 in fix.
    EXPECT_TRUE(near(folded("kaleido", x, y + 14189, FIX_ONE), folded("kaleido", x, y, FIX_ONE), 3));
  }
}

TEST(kaleido, turns_of_60_degrees_and_all_its_mirrors_change_nothing) {
  for (int k = 1; k < 400; ++k) {
    const std::complex<double> z = std::polar(30.0 * k, k * 0.37);
    const place p = folded("kaleido", fix(std::lrint(z.real())), fix(std::lrint(z.imag())), FIX_ONE);
    for (int turn = 0; turn < 6; ++turn) {
      // Mirrors of the kaleidoscope through the middle stand at 30, 90 and 150 degrees: the reflection of z is
      // conj(z) turned by twice the mirror's angle.
      const double mirror = (30 + 60 * turn) * 3.14159265358979 / 180;
      const std::complex<double> r = std::conj(z) * std::polar(1.0, 2 * mirror);
      const place q = folded("kaleido", fix(std::lrint(r.real())), fix(std::lrint(r.imag())), FIX_ONE);
      EXPECT_TRUE(near(p, q, 6)) << k << " mirror " << turn << ": " << p.x << "," << p.y << " " << q.x << "," << q.y;
    }
    // Upright mirrors at whole x.
    const fix x = fix(std::lrint(z.real())), y = fix(std::lrint(z.imag()));
    for (const fix at : {-8192, -4096, 0, 4096})
      EXPECT_TRUE(near(folded("kaleido", 2 * at - x, y, FIX_ONE), p, 3)) << k << " mirror at " << at;
  }
}

TEST(kaleido, corners_fold_to_the_corners_of_the_triangle) {
  EXPECT_TRUE(near(folded("kaleido", 0, 0, FIX_ONE), {-4096, 0}, 0));
  const fix edge = 4730;  // 2 / sqrt(3)
  // The six corners around the middle, 30 degrees and 60 degrees from there on, belong to the other two.
  EXPECT_TRUE(near(folded("kaleido", 4096, edge / 2, FIX_ONE), {4096, 4730}, 4) ||
              near(folded("kaleido", 4096, edge / 2, FIX_ONE), {4096, -4730}, 4));
  const place up = folded("kaleido", 0, edge, FIX_ONE), down = folded("kaleido", 0, -edge, FIX_ONE);
  EXPECT_NEAR(up.x, 4096, 4);
  EXPECT_NEAR(down.x, 4096, 4);
  EXPECT_NEAR(up.y, -down.y, 4);
  EXPECT_NEAR(std::abs(up.y), 4730, 4);
}

TEST(kaleido, a_place_of_the_triangle_itself_stays) {
  // The piece to the right of the middle: x' = 2x - 1, y' = 2y or its mirror image.
  for (int i = 1; i < 40; ++i)
    for (int j = -i; j <= i; ++j) {
      const fix x = i * 100, y = fix(j * 100 * 0.577);
      const place p = folded("kaleido", x, y, FIX_ONE);
      EXPECT_NEAR(p.x, 2 * x - 4096, 3);
      EXPECT_NEAR(std::abs(p.y), std::abs(2 * y), 4);
    }
}

TEST(foldings, folding_what_was_folded_changes_nothing) {
  // A result, taken back to the piece that it stands for, folds to itself.
  for (int k = 0; k < 2000; ++k) {
    const fix x = k * 977 % 40000 - 20000, y = k * 613 % 30000 - 15000;
    for (const char* name : FOLDS) {
      const place p = folded(name, x, y, FIX_ONE);
      const bool oct = name == std::string("kaleido_oct");
      const place back = {(p.x + FIX_ONE) >> 1, (oct ? p.y + FIX_ONE : p.y) >> 1};
      const place again = folded(name, back.x, back.y, FIX_ONE);
      EXPECT_TRUE(near(again, p, 5)) << name << " " << x << "," << y << ": " << p.x << "," << p.y << " then " << again.x
                                     << "," << again.y;
    }
  }
}

TEST(kaleido_diamonds, mirrors_stand_along_both_diagonals) {
  for (int k = 0; k < 800; ++k) {
    const fix x = k * 91 % 20000 - 10000, y = k * 67 % 20000 - 10000;
    const place p = folded("kaleido_diamonds", x, y, FIX_ONE);
    for (const place q : {place{y, x}, {-y, -x}, {-x, -y}, {4096 - y, 4096 - x}, {4096 + y, x - 4096}})
      EXPECT_TRUE(near(folded("kaleido_diamonds", q.x, q.y, FIX_ONE), p, 1)) << x << "," << y;
  }
}

TEST(foldings, results_stay_in_their_piece_for_any_coordinates_at_all) {
  std::minstd_rand random(9);
  for (int k = 0; k < 20000; ++k) {
    const auto any = [&] { return fix(std::uint32_t(random()) * 2u + 1u) >> (random() % 20); };
    const fix extremes[] = {0x7fffffff, -0x7fffffff - 1, 0, 1, -1};
    const fix x = k % 7 ? any() : extremes[k / 7 % 5], y = k % 11 ? any() : extremes[k / 11 % 5];
    const fix scale = k % 13 ? any() : extremes[k / 13 % 5];
    const place oct = folded("kaleido_oct", x, y, scale), diamond = folded("kaleido_diamonds", x, y, scale);
    const place triangle = folded("kaleido", x, y, scale);
    EXPECT_TRUE(oct.x >= oct.y && oct.y >= -4096 && oct.x <= 4096);
    EXPECT_LE(std::abs(diamond.x) + std::abs(diamond.y), 4097) << diamond.x << "," << diamond.y;
    EXPECT_TRUE(std::abs(triangle.x) <= 4096 && std::abs(triangle.y) <= (triangle.x + 4096) * 0.57735 + 3)
        << triangle.x << "," << triangle.y;
  }
}

TEST(foldings, are_seamless_where_products_wrap) {
  // x * scale goes from the largest word to the smallest between these two.
  for (const char* name : FOLDS) {
    const fix scale = 4 * FIX_ONE, last = 0x7fffffff / scale;
    const place a = folded(name, last, 1234, scale), b = folded(name, last + 1, 1234, scale);
    EXPECT_TRUE(near(a, b, 4 * LARGEST_STEP)) << name << " " << a.x << "," << a.y << " " << b.x << "," << b.y;
  }
  for (const char* name : {"kaleido_diamonds", "kaleido_oct"}) {
    const fix scale = 4 * FIX_ONE, last = 0x7fffffff / scale;
    EXPECT_TRUE(near(folded(name, 777, last, scale), folded(name, 777, last + 1, scale), 4 * LARGEST_STEP)) << name;
  }
}

TEST(foldings, a_negative_scale_turns_the_picture_half_a_turn) {
  for (const char* name : FOLDS)
    for (int k = 0; k < 300; ++k) {
      const fix x = k * 71 - 8000, y = 6000 - k * 43;
      EXPECT_TRUE(near(folded(name, x, y, -5000), folded(name, -x, -y, 5000), 2)) << name;
    }
}

}  // namespace
}  // namespace tessaron::testing
