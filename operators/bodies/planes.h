// The loops over whole planes that image operators are made of, spread over the workers.
#pragma once

#include <cstdint>
#include <cstring>

#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// Added to a double below 2^51 in magnitude, leaves its nearest integer at the bottom of the mantissa.
constexpr double NEAREST_INT_BIAS = 6755399441055744.0;

/// Nearest integer, ties to even, modulo 2^32. For magnitudes below 2^51; others give some fixed number.
static inline std::int32_t nearest_int(double v) {
  const double shifted = v + NEAREST_INT_BIAS;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &shifted, sizeof bits);
  return std::int32_t(std::uint32_t(bits));
}

/// A product as a plane stores it: to the nearest, held to +-32767.
static inline std::int16_t scaled_sample(std::int32_t v, double factor) {
  const double scaled = v * factor;
  return std::int16_t(nearest_int(scaled < -32767.0 ? -32767.0 : scaled > 32767.0 ? 32767.0 : scaled));
}

/// a / b, truncated; b is above 0. By way of double, which vectorises and is exact for 32 bits.
static inline fix truncated_quotient(fix a, fix b) { return fix(double(a) / double(b)); }

/// The same for a b of at most 2^18. By way of single precision, at twice the speed: a quotient a little too small,
/// and what it leaves of a, which is below 2^19 and divided exactly.
static inline fix short_quotient(fix a, fix b) {
  const float divisor = float(b);
  const fix most = fix(float(a) / divisor * (1 - 0x1p-21f));
  return most + fix(float(a - most * b) / divisor);
}

}  // namespace

/// Box-filters a plane into the long image and sets long_image_one. Amounts are fix pixels, the half-width
/// of the final kernel; passes is 1 to 3; edge_mode 1 mirrors, 0 has zeros beyond an edge. The plane itself
/// isn't written.
void blur_plane(const std::int16_t* plane, fix x_amount, fix y_amount, int edge_mode, int passes, bool subpixel,
                bool field_mode, int width, int height);

/// The long image into a plane: round(sample * factor), clamped to +-32767.
void long_to_plane(std::int16_t* dest, float factor);

/// Each sample times scale / 4096, rounded and clamped. A scale of 4096 does nothing, one of 0 clears.
void scale_plane(std::int16_t* plane, fix scale);

/// All samples 0.
void clear_plane(std::int16_t* plane);

/// blur_plane() and long_to_plane(dest, (scale / 4096) / (long_image_one / 4096)) in one, the same bytes with less
/// memory traffic. `dest` may be `plane`. The long image holds nothing of use afterwards; long_image_one is set.
void blur_plane_to_plane(std::int16_t* dest, const std::int16_t* plane, fix scale, fix x_amount, fix y_amount,
                         int edge_mode, int passes, bool subpixel, bool field_mode, int width, int height);

}  // namespace tessaron::TESSARON_LEVEL
