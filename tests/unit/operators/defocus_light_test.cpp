// Light and samples: powers by tables, against the C library's.
#define TESSARON_LEVEL level_of_this_test
#include "operators/bodies/defocus_light.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tessaron::testing {
namespace {

using namespace TESSARON_LEVEL;

float light_of_sample(fix gamma, int sample) {
  const sample_vector samples = std::int16_t(sample) - sample_vector{};
  return light_curve(gamma).of(samples)[0];
}

int sample_of_light(fix gamma, fix scale, float light) {
  return sample_curve(gamma, scale).of(light - float_vector{})[VECTOR_LANES - 1];
}

/// The largest relative error of powers of numbers from 2^low to 2^high.
double largest_error(double exponent, int low, int high) {
  const power p(exponent);
  double largest = 0;
  for (int e = low; e < high; ++e)
    for (int i = 0; i < 1000; ++i) {
      const float x = float(std::ldexp(1 + i / 1000.0, e));
      const double expected = std::pow(double(x), exponent);
      largest = std::max(largest, std::abs(double(p.of(x - float_vector{})[0]) - expected) / expected);
    }
  return largest;
}

TEST(power_by_tables, is_close_to_the_power_of_the_c_library) {
  for (const double exponent : {0.125, 0.3, 1 / 2.2, 0.5, 1.0, 1.5, 2.0, 2.2, 2.7, 3.0})
    EXPECT_LT(largest_error(exponent, -40, 14), std::ldexp(1, -21)) << exponent;
  for (const double exponent : {4.0, 5.5, 6.0, 7.25, 8.0})
    EXPECT_LT(largest_error(exponent, -12, 14), std::ldexp(1, -16)) << exponent;
}

TEST(power_by_tables, of_the_smallest_and_the_largest_numbers) {
  for (const double exponent : {0.125, 1.0, 8.0}) {
    const power p(exponent);
    for (const float x : {0.0f, 1e-45f, 1e-38f, std::ldexp(1.99f, -112)})
      EXPECT_EQ(p.of(x - float_vector{})[0], 0.0f) << x << " " << exponent;
  }
  EXPECT_NEAR(power(0.125).of(std::ldexp(1.0f, -104) - float_vector{})[0], std::ldexp(1.0f, -13), 1e-10);
  // Too large for a float: what follows holds it to the largest sample.
  EXPECT_GT(power(8).of(1e20f - float_vector{})[0], 1e37f);
}

TEST(power_by_tables, never_falls_as_its_base_grows) {
  for (const double exponent : {0.125, 1 / 2.2, 1.0, 2.2, 8.0}) {
    const power p(exponent);
    float before = 0;
    for (int sample = 0; sample <= 32767; ++sample) {
      const float light = p.of(float(sample) / 4096 - float_vector{})[0];
      EXPECT_GE(light, before) << sample << " " << exponent;
      before = light;
    }
  }
}

TEST(light, of_samples_is_their_power_with_their_sign) {
  for (const fix gamma : {512, 4096, 9011, 32768})
    for (const int sample : {0, 1, 5, 4095, 4096, 8192, 32767}) {
      const double expected = std::pow(sample / 4096.0, gamma / 4096.0);
      EXPECT_NEAR(light_of_sample(gamma, sample), expected, expected * std::ldexp(1, -16)) << gamma;
      EXPECT_EQ(light_of_sample(gamma, -sample), -light_of_sample(gamma, sample)) << gamma;
    }
}

TEST(light, of_gamma_1_is_the_sample_itself) {
  for (const int sample : {-32768, -1, 0, 1, 77, 4096, 32767}) {
    EXPECT_EQ(light_of_sample(FIX_ONE, sample), float(sample) / 4096);
    EXPECT_EQ(sample_of_light(FIX_ONE, FIX_ONE, float(sample) / 4096), std::max(sample, -32767));
  }
}

TEST(light, of_every_sample_gives_the_sample_back) {
  for (const fix gamma : {512, 1000, 4095, 4097, 7373, 9011, 16384, 32768})
    for (int sample = -32767; sample <= 32767; ++sample)
      ASSERT_EQ(sample_of_light(gamma, FIX_ONE, light_of_sample(gamma, sample)), sample) << gamma;
}

TEST(light, becomes_samples_times_a_scale_of_either_sign) {
  const float quarter = 0.25f;  // the light of 0.5 at gamma 2
  EXPECT_EQ(sample_of_light(2 * FIX_ONE, FIX_ONE, quarter), 2048);
  EXPECT_EQ(sample_of_light(2 * FIX_ONE, FIX_ONE / 2, quarter), 1024);
  EXPECT_EQ(sample_of_light(2 * FIX_ONE, -FIX_ONE, quarter), -2048);
  EXPECT_EQ(sample_of_light(2 * FIX_ONE, -FIX_ONE, -quarter), 2048);
  EXPECT_EQ(sample_of_light(2 * FIX_ONE, 100 * FIX_ONE, quarter), 32767);
  EXPECT_EQ(sample_of_light(2 * FIX_ONE, -100 * FIX_ONE, quarter), -32767);
  EXPECT_EQ(sample_of_light(2 * FIX_ONE, 100 * FIX_ONE, 0), 0);
}

}  // namespace
}  // namespace tessaron::testing
