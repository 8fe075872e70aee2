// Light back into samples: the inverse of a power, for a vector at a time. Additions, products and quotients of
// single precision only, so that all levels give the same bits.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "operators/bodies/vectors.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

typedef float float_vector __attribute__((vector_size(VECTOR_BYTES), may_alias));
typedef float float_vector_anywhere __attribute__((vector_size(VECTOR_BYTES), may_alias, aligned(4)));
typedef std::int16_t sample_vector __attribute__((vector_size(VECTOR_BYTES / 2), may_alias, aligned(2)));

/// Added to a number below 2^22 it leaves no bits for a fraction: the number is rounded, ties to even, and its
/// whole part stands at the bottom of the mantissa.
constexpr float ROUNDING_SHIFT = 12582912.0f;  // 1.5 * 2^23

/// How light becomes samples: its 1/gamma-th power, times a scale.
class sample_curve {
 public:
  sample_curve() = default;
  sample_curve(fix gamma, fix scale)
      : inverse_gamma_(float(FIX_ONE) / float(gamma)),
        linear_(gamma == FIX_ONE),
        scale_(float(scale < 0 ? -double(scale) : scale)),
        sign_(scale < 0 ? SIGN : 0) {
    // Powers below 2^-40 count as 0: they are no sample, and the powers' exponents stay small.
    constexpr float LEAST_POWER = 40;
    const float bits = -LEAST_POWER * float(gamma) / float(FIX_ONE);
    least_light_ = 1;
    for (float b = bits < -120 ? -120 : bits; b <= -1; b += 1) least_light_ /= 2;
  }

  sample_vector of(float_vector light) const {
    const int_vector sign = ((int_vector)light & SIGN) ^ sign_;
    const float_vector magnitude = (float_vector)((int_vector)light & ~SIGN);
    const int_vector scaled = (int_vector)((linear_ ? magnitude : power_of(magnitude)) * scale_);
    // Floats of at least 0 are in the order of their bits.
    const int_vector largest = LARGEST_SAMPLE - int_vector{};
    const float_vector held = (float_vector)((scaled < largest ? scaled : largest) | sign);
    return __builtin_convertvector((int_vector)(held + ROUNDING_SHIFT), sample_vector);
  }

 private:
  static constexpr std::int32_t SIGN = INT32_MIN;
  static constexpr std::int32_t LARGEST_SAMPLE = 0x46fffe00;  // bits of 32767.0f
  /// Added to a number below 2^22 it leaves no bits for a fraction: the number is rounded, ties to even, and its
  /// whole part stands at the bottom of the mantissa.
  static constexpr float ROUNDING_SHIFT = 12582912.0f;  // 1.5 * 2^23

  /// The relative error is 2^-18, and for exponents above 1 so many times 2^-18.
  float_vector power_of(float_vector m) const {
    // m is f * 2^e with f from sqrt(1/2) to sqrt(2), and log2 f an odd series in s = (f - 1) / (f + 1), cut where the
    // largest error is least.
    constexpr std::int32_t SQRT_HALF = 0x3f3504f3;  // bits of sqrt(1/2)
    constexpr int MANTISSA_BITS = 23;
    const int_vector bits = (int_vector)m;
    const int_vector e = (bits - SQRT_HALF) >> MANTISSA_BITS;
    const float_vector f = (float_vector)(bits - (e << MANTISSA_BITS));
    const float_vector s = (f - 1.0f) / (f + 1.0f);
    const float_vector log2_f = s * (2.88522863f + s * s * 0.983534515f);
    // 2^y: the whole part goes into the exponent, the rest t of at most 1/2 through a polynomial.
    const float_vector y = (log2_f + __builtin_convertvector(e, float_vector)) * inverse_gamma_;
    const float_vector shifted = y + ROUNDING_SHIFT, t = y - (shifted - ROUNDING_SHIFT);
    const float_vector rest =
        0.999999285f + t * (0.693121791f + t * (0.240247443f + t * (0.0559178591f + t * 0.00957010221f)));
    // Sums that wrap: what lies below the least light is put out afterwards.
    const sum_vector power = (sum_vector)rest + ((sum_vector)shifted << MANTISSA_BITS);
    return (float_vector)((int_vector)power & (m > least_light_));
  }

  float inverse_gamma_;
  bool linear_;
  float scale_;  // magnitude of the sample for light 1.0
  std::int32_t sign_;
  float least_light_;
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
