// film_effect bit for bit against its rules written out plainly.
#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/tables.h"
#include "film_effect_kit.h"

namespace tessaron::testing {
namespace {

std::int16_t held(std::int64_t v) { return std::int16_t(std::clamp<std::int64_t>(v, -32767, 32767)); }
fix low_bits(std::int64_t v) { return fix(std::uint32_t(v)); }

/// The random byte of a pixel: four neighbours share the word of one chain, whose counter is the place of the first.
int plain_byte(std::uint32_t field_seed, int x, int y, int width) {
  std::uint32_t v = field_seed + std::uint32_t(y * width + x / 4 * 4);
  for (int i = 0; i < 4; ++i) v = (v >> 8) + hash_table[v & 255];
  return int(v >> 8 * (x % 4)) & 255;
}

/// Seeds of the even and the odd rows.
struct field_seeds {
  std::uint32_t even, odd;
};
field_seeds plain_seeds(const film_numbers& n, int c, int frame, int pixels) {
  const int mode = int(n.cadence), a = (frame - mode) * 2;
  int first = 2 * frame, second = 2 * frame + (mode == 0);
  if (mode > 1) {
    first = (a + 18) / 5 * 2 + ((a + 18) % 5 > 1);
    second = (a + 19) / 5 * 2 + ((a + 19) % 5 > 1);
  }
  if (int(n.dominance) & 1) std::swap(first, second);
  const std::uint32_t seed = std::uint32_t(n.mono > 0 ? 1 : c) * 10001u + std::uint32_t(fix_from_double(n.seed));
  return {seed + std::uint32_t(first) * std::uint32_t(pixels + 7),
          seed + std::uint32_t(second) * std::uint32_t(pixels + 7)};
}

fix amount_in_pixels(double v, int width) {
  return low_bits(std::int64_t(std::min(fix_from_double(v), 262144)) * width) >> 3;
}

planes_of_result plain_film(const film_numbers& n, const test_frame& f,
                            const definition_renderer::pixel_function& source, int frame = 0, bool alpha = false) {
  const int w = f.width, h = f.height;
  const plain_film_tables tables = plain_tables(n.settings());
  planes_of_result result;
  for (int c = 0; c < (alpha ? 4 : 3); ++c) {
    const std::size_t e = std::size_t(c);
    plain_plane p(w, h, [&](int x, int y) { return held(source(x, y, c)); });
    if (const fix blur = amount_in_pixels(n.blur, w); blur > 0) {
      plain_blur_settings s;
      s.x_amount = s.y_amount = blur;
      p = plain_blurred(p, s);
    }
    if (c < 3) {
      if (n.amount > 0)
        for (auto& v : p.samples) v = tables.response[e][std::size_t(std::clamp<int>(v, 0, 4096))];
      const double s = fix_from_double(n.soft) / 4096.0, b = fix_from_double(n.glow[c]) / 4096.0;
      if (s > 0 || b > 0) {
        plain_blur_settings blur;
        blur.x_amount = blur.y_amount =
            fix_from_double(double(float(fix_from_double(n.glow_width[c])) / 4096.0f * float(w) * 0.125f));
        std::int32_t one = 4096;
        const plain_long_image light = plain_blur(p, blur, one);
        const double k = 1 / (one / 4096.0);
        for (std::size_t i = 0; i < p.samples.size(); ++i) {
          const double P = p.samples[i], L = light.samples[i];
          p.samples[i] = to_16_bits((1 - s) * P + (s + b) * k * L - (L * P * b * k) / 4096);
        }
      }
      if (n.grain[c] > 0) {
        const field_seeds seeds = plain_seeds(n, c, frame, w * h);
        for (int y = 0; y < h; ++y)
          for (int x = 0; x < w; ++x) {
            const int byte = plain_byte(y % 2 ? seeds.odd : seeds.even, x, y, w);
            const float g = tables.grain[e][std::size_t(std::clamp(p.at(x, y) >> 6, 0, 64))];
            p.at(x, y) =
                held(p.at(x, y) + std::int64_t(std::nearbyint(std::clamp(float(byte * 16 - 2048) * g, -1e6f, 1e6f))));
          }
      }
      const fix low = fix_from_double(n.low), high = fix_from_double(n.high),
                range = low_bits(std::int64_t(high) - low);
      if (!(low == 0 && high == 4096))
        for (auto& v : p.samples) {
          const fix levelled = low_bits(std::int64_t(low_bits(std::int64_t(v) * range) >> 12) + low);
          v = range > 4096 || low < 0 ? held(levelled) : std::int16_t(std::uint16_t(levelled));
        }
    }
    result.emplace_back(p.samples.begin(), p.samples.end());
  }
  return result;
}

struct film_effect : film_fixture {
  void expect_plain(const film_numbers& n, const test_frame& f = FRAME, int frame = 0) {
    const auto source = random_picture(f.width, -1500, 6000);
    time_globals.current_frame = float(frame);
    EXPECT_EQ(first_difference(developed(n, f, source), plain_film(n, f, source, frame)), "") << n.text();
  }
};

TEST_F(film_effect, applies_the_tables) {
  for (int neg : {NO_NEG, LOG, STOPS})
    for (int print : {NO_PRINT, PAPER, SLIDE}) expect_plain(print_of(neg, print));
}

TEST_F(film_effect, without_amount_leaves_samples_alone) {
  film_numbers n = print_of(LOG, PAPER);
  n.amount = 0;
  const auto source = random_picture(FRAME.width, -9000, 9000);
  const planes_of_result result = developed(n, FRAME, source);
  for (int e = 0; e < 3; ++e)
    for (int y = 0; y < FRAME.height; ++y)
      for (int x = 0; x < FRAME.width; ++x)
        ASSERT_EQ(result[std::size_t(e)][std::size_t(y * FRAME.width + x)], source(x, y, e));
  n.amount = -1;
  EXPECT_EQ(developed(n, FRAME, source), result);
}

TEST_F(film_effect, glows) {
  film_numbers n = print_of(LOG, PAPER);
  n.glow_width[0] = 0.6;
  n.glow_width[1] = 0.2;
  n.glow_width[2] = 3;
  n.soft = 0.3;
  expect_plain(n);
  n.glow[0] = 0.5;
  n.glow[2] = 2;
  expect_plain(n);
  n.soft = 0;
  expect_plain(n);
  n.soft = -0.5;
  expect_plain(n);
  n.soft = 0.3;
  n.glow_width[0] = n.glow_width[2] = 0;
  n.glow_width[1] = -1;
  expect_plain(n);
}

TEST_F(film_effect, lays_grain) {
  for (int frame : {0, 1, 17})
    for (int cadence : {0, 1, 2, 4, 6})
      for (int dominance : {0, 1}) {
        film_numbers n = grainy();
        n.cadence = cadence;
        n.dominance = dominance;
        expect_plain(n, FRAME, frame);
      }
  film_numbers mono = grainy();
  mono.mono = 1;
  expect_plain(mono);
  film_numbers strong = grainy();
  strong.grain[0] = 300;
  expect_plain(strong);
  for (int width : {1, 2, 3, 4, 5, 8, 255, 256, 257, 515})
    expect_plain(grainy(), {.width = width, .height = 3, .source_channels = 4});
}

TEST_F(film_effect, sets_levels) {
  const double levels[][2] = {{0, 0.5}, {0.1, 0.9}, {-0.1, 1}, {0, 1.2}, {0.5, 0.2}, {7, 7.5}, {-3, 20}, {100, 50}};
  for (const auto& [low, high] : levels) {
    film_numbers n = grainy();
    n.low = low;
    n.high = high;
    expect_plain(n);
  }
}

TEST_F(film_effect, does_all_at_once) {
  film_numbers n = grainy();
  n.blur = 0.3;
  n.glow[0] = n.glow[1] = n.glow[2] = 0.4;
  n.glow_width[0] = n.glow_width[1] = n.glow_width[2] = 0.5;
  n.soft = 0.2;
  n.low = 0.05;
  n.high = 0.95;
  n.amount = 0.9;
  n.out_gamma = 1.1;
  expect_plain(n);
  // Alpha is blurred, and no more.
  const auto source = random_picture(FRAME.width, 0, 4096);
  const planes_of_result with_alpha = developed(n, FRAME, source, true);
  ASSERT_EQ(with_alpha.size(), 4u);
  EXPECT_EQ(first_difference(with_alpha, plain_film(n, FRAME, source, 0, true)), "");
}

TEST_F(film_effect, is_the_same_at_all_levels_and_with_any_number_of_workers) {
  film_numbers n = grainy();
  n.fields = 3;
  n.blur = 0.1;
  n.soft = 0.2;
  n.glow_width[0] = n.glow_width[1] = n.glow_width[2] = 0.5;
  n.low = 0.05;
  n.grain_blur[1] = 0.2;
  n.grain_blur[2] = 0.05;
  for (int cadence : {0, 1}) {
    n.cadence = cadence;
    for (const test_frame f : {FRAME, test_frame{.width = 333, .height = 50, .source_channels = 4},
                               test_frame{.width = 1, .height = 1, .source_channels = 4}}) {
      definition_renderer r(n.text(), f);
      r.set_source(0, random_picture(f.width, -1500, 6000));
      same_everywhere(r);
    }
  }
}

}  // namespace
}  // namespace tessaron::testing
