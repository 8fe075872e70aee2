// Samples into light and back: a power and its inverse, for a vector at a time. Additions, products and quotients of
// single precision only, so that all levels give the same bits.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cstdint>

#include "base/fixed.h"
#include "base/libm.h"
#include "operators/bodies/vectors.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

typedef float float_vector __attribute__((vector_size(VECTOR_BYTES), may_alias));
typedef float float_vector_anywhere __attribute__((vector_size(VECTOR_BYTES), may_alias, aligned(4)));
typedef std::int16_t sample_vector __attribute__((vector_size(VECTOR_BYTES / 2), may_alias, aligned(2)));

/// Added to a number below 2^22 it leaves no bits for a fraction: the number is rounded, ties to even, and its
/// whole part stands at the bottom of the mantissa.
constexpr float ROUNDING_SHIFT = 12582912.0f;  // 1.5 * 2^23

constexpr std::int32_t SIGN = INT32_MIN;  // bit of a float

/// Sixteen numbers, of which each lane picks one by the lowest four bits of its index.
struct float_table {
  alignas(CACHE_LINE) float entries[16] = {};

  float_vector operator[](int_vector index) const {
#if defined(__AVX512BW__)
    return float_vector(_mm512_maskz_permutexvar_ps(0xffff, __m512i(index), _mm512_load_ps(entries)));
#elif defined(__AVX2__)
    const __m256 low = _mm256_permutevar8x32_ps(_mm256_load_ps(entries), __m256i(index));
    const __m256 high = _mm256_permutevar8x32_ps(_mm256_load_ps(entries + 8), __m256i(index));
    return float_vector(_mm256_blendv_ps(low, high, __m256(index << 28)));
#else
    float_vector picked;
    for (int k = 0; k < VECTOR_LANES; ++k) picked[k] = entries[index[k] & 15];
    return picked;
#endif
  }
};

/// A power of numbers that are at least 0. Numbers below 2^-111 give 0. The relative error is below 2^-21 for exponents
/// from 1/8 to 3, and below 2^-16 up to 8.
class power {
 public:
  constexpr power() = default;
  explicit power(double exponent) {
    // A number is 2^(16 h + l - 127) * m with m from 1 to 2.
    for (int i = 0; i < 16; ++i) {
      by_high_exponent_.entries[i] =
          i == 0 ? 0 : float(std::min(libm_pow(2, (16 * i - 127) * exponent), double(FLT_MAX)));
      by_low_exponent_.entries[i] = float(libm_pow(2, i * exponent));
    }
    // m^exponent around the middle of each sixteenth of its range: the Taylor polynomial, whose fourth degree is
    // shared out between the lower ones as Chebyshev's polynomial of that degree has it.
    for (int i = 0; i < 16; ++i) {
      const double middle = 1 + (i + 0.5) / 16;
      double c[5] = {libm_pow(middle, exponent)};
      for (int k = 1; k < 5; ++k) c[k] = c[k - 1] * (exponent - (k - 1)) / (k * middle);
      c[2] += c[4] * HALF_RANGE * HALF_RANGE;
      c[0] -= c[4] * HALF_RANGE * HALF_RANGE * HALF_RANGE * HALF_RANGE / 8;
      for (int k = 0; k < 4; ++k) coefficients_[k].entries[i] = float(c[k]);
    }
  }

  float_vector of(float_vector x) const {
    constexpr std::int32_t ONE = 0x3f800000, LOW_MANTISSA = 0x7ffff;  // bits of 1.0f, and of what a sixteenth holds
    const int_vector bits = (int_vector)x, sixteenth = bits >> 19;
    const float_vector u = (float_vector)((bits & LOW_MANTISSA) | ONE) - float(1 + HALF_RANGE);
    const float_vector m =
        coefficients_[0][sixteenth] +
        u * (coefficients_[1][sixteenth] + u * (coefficients_[2][sixteenth] + u * coefficients_[3][sixteenth]));
    return by_high_exponent_[bits >> 27] * by_low_exponent_[bits >> 23] * m;
  }

 private:
  static constexpr double HALF_RANGE = 1.0 / 32;  // of a sixteenth

  float_table by_high_exponent_, by_low_exponent_, coefficients_[4];
};

/// How samples become light: (sample / 4096) ^ gamma, negative for a negative sample, whose light is taken away.
class light_curve {
 public:
  constexpr light_curve() = default;
  explicit light_curve(fix gamma) : linear_(gamma == FIX_ONE), power_(double(gamma) / FIX_ONE) {}

  float_vector of(sample_vector samples) const {
    const float_vector value =
        __builtin_convertvector(__builtin_convertvector(samples, int_vector), float_vector) * (1.0f / FIX_ONE);
    if (linear_) return value;
    const int_vector sign = (int_vector)value & SIGN;
    return (float_vector)((int_vector)power_.of((float_vector)((int_vector)value & ~SIGN)) | sign);
  }

 private:
  bool linear_ = true;
  power power_;
};

/// How light becomes samples: its 1/gamma-th power, times a scale.
class sample_curve {
 public:
  constexpr sample_curve() = default;
  sample_curve(fix gamma, fix scale)
      : linear_(gamma == FIX_ONE),
        power_(double(FIX_ONE) / gamma),
        scale_(float(scale < 0 ? -double(scale) : scale)),
        sign_(scale < 0 ? SIGN : 0) {}

  sample_vector of(float_vector light) const {
    const int_vector sign = ((int_vector)light & SIGN) ^ sign_;
    const float_vector magnitude = (float_vector)((int_vector)light & ~SIGN);
    const int_vector scaled = (int_vector)((linear_ ? magnitude : power_.of(magnitude)) * scale_);
    // Floats of at least 0 are in the order of their bits.
    const int_vector largest = LARGEST_SAMPLE - int_vector{};
    const float_vector held = (float_vector)((scaled < largest ? scaled : largest) | sign);
    return __builtin_convertvector((int_vector)(held + ROUNDING_SHIFT), sample_vector);
  }

 private:
  static constexpr std::int32_t LARGEST_SAMPLE = 0x46fffe00;  // bits of 32767.0f

  bool linear_ = true;
  power power_;
  float scale_ = 0;  // magnitude of the sample for light 1.0
  std::int32_t sign_ = 0;
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
