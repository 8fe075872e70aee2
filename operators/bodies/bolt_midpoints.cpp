// Midpoints of a bolt's segments, a block at a time: hashes, sines and roots of many segments side by side.
#include "operators/bodies/lightning.h"

#include <bit>
#include <cmath>

#include "base/libm.h"
#include "evaluator/tables.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int SIZE = midpoint_block::SIZE;
constexpr int GROUP = 16;                       // loops do whole groups, so that none of them ends one by one
constexpr double TURN = 6.28318530718;          // radians
constexpr std::int32_t UNIT_MASK = 0x3fffffff;  // the bits of a hash that make a number from 0 to 1
constexpr double UNIT = 9.313225746154785e-10;

// -------------------------------------------------------------------------------------------------
// The sine, within one unit in the last place: the C library's differ from each other by as much, and call by call.

constexpr double LARGEST_ANGLE = 1 << 20;       // beyond it a quarter turn has too few bits
constexpr double ROUNDER = 6755399441055744.0;  // 1.5 * 2^52: a sum with it has no bits behind the point
// A quarter turn in three parts; multiples of the first two below 2^20 are exact.
constexpr double QUARTERS_PER_RADIAN = 0x1.45f306dc9c883p-1;
constexpr double QUARTER_1 = 0x1.921fb544p+0, QUARTER_2 = 0x1.0b4611a6p-34, QUARTER_3 = 0x1.3198a2e037073p-69;

/// Sines of angles up to LARGEST_ANGLE in radians, in place.
void sines(double* angles, int count) {
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) {
    const double x = angles[i];
    // What is left beside whole quarter turns: r, and what r has lost.
    const double rounded = x * QUARTERS_PER_RADIAN + ROUNDER, quarters = rounded - ROUNDER;
    const double after_1 = x - quarters * QUARTER_1, second = quarters * QUARTER_2;
    const double after_2 = after_1 - second;
    const double third = quarters * QUARTER_3 - ((after_1 - after_2) - second);
    const double r = after_2 - third, rest = (after_2 - r) - third;
    // Series of both functions around 0, the small terms first.
    const double z = r * r;
    const double s =
        -1.0 / 6 +
        z * (1.0 / 120 +
             z * (-1.0 / 5040 + z * (1.0 / 362880 + z * (-1.0 / 39916800 +
                                                         z * (1.0 / 6227020800 + z * (-1.0 / 1307674368000 +
                                                                                      z * (1.0 / 355687428096000)))))));
    const double c =
        1.0 / 24 +
        z * (-1.0 / 720 +
             z * (1.0 / 40320 + z * (-1.0 / 3628800 +
                                     z * (1.0 / 479001600 + z * (-1.0 / 87178291200 + z * (1.0 / 20922789888000))))));
    const double half = 0.5 * z, near_1 = 1 - half;
    const double sine = r + (r * z * s + rest * near_1);
    const double cosine = near_1 + (((1 - near_1) - half) + (z * z * c - r * rest));
    const std::uint64_t quarter = std::bit_cast<std::uint64_t>(rounded);
    const std::uint64_t odd = 0 - (quarter & 1), sign = (quarter & 2) << 62;
    const std::uint64_t bits =
        (std::bit_cast<std::uint64_t>(sine) & ~odd) | (std::bit_cast<std::uint64_t>(cosine) & odd);
    angles[i] = std::bit_cast<double>(bits ^ sign);
  }
}

/// -1 to 1: where hashes and phases have brought a swinging value.
void swings(const std::uint32_t* hashes, const float* phases, double* swung, int count, int padded) {
#pragma GCC ivdep
  for (int i = 0; i < padded; ++i) {
    const double u = double(std::int32_t(hashes[i]) & UNIT_MASK) * UNIT;
    swung[i] = (u + double(phases[i])) * TURN;
  }
  int far = 0;  // what is no number counts as far
  for (int i = 0; i < count; ++i) far |= !(std::fabs(swung[i]) <= LARGEST_ANGLE);
  if (far) {
    for (int i = 0; i < count; ++i) swung[i] = libm_sin(swung[i]);
  } else {
    sines(swung, padded);
  }
}

void hash_all(const std::uint32_t* from, std::uint32_t* to, int count) {
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) to[i] = hash4(from[i]);
}

}  // namespace

/// The displacement relative to a segment rises with its length up to that of the whole bolt and falls beyond; the
/// phase moves short segments faster than long ones.
void displace_midpoints(const midpoint_shape& shape, midpoint_block& b, int count) {
  if (count <= 0) return;
  const int padded = (count + GROUP - 1) / GROUP * GROUP;
  alignas(64) float dx[SIZE], dy[SIZE], length[SIZE], amplitude[SIZE], phase[SIZE];
  alignas(64) std::uint32_t v[SIZE], v2[SIZE], v3[SIZE];
  alignas(64) double swung[SIZE];
  const midpoint_shape s = shape;
#pragma GCC ivdep
  for (int i = 0; i < padded; ++i) {
    dx[i] = b.bx[i] - b.ax[i];
    dy[i] = b.by[i] - b.ay[i];
    length[i] = std::sqrt(dx[i] * dx[i] + dy[i] * dy[i]);
    const float beyond = s.peak / length[i], rising = s.slope * length[i] + s.wrinkle_low;
    amplitude[i] = rising < beyond ? rising : beyond;
    phase[i] = s.phase_scale / length[i];
  }
  hash_all(b.key, v, padded);
  hash_all(v, v2, padded);
  swings(v, phase, swung, count, padded);
#pragma GCC ivdep
  for (int i = 0; i < padded; ++i) {
    const float displacement = float(swung[i] * 0.5 * double(amplitude[i]));
    const double u = double(std::int32_t(v2[i]) & UNIT_MASK) * UNIT;
    const float f = float(0.5 + double(s.wrinkle_low) * 0.33 * (u - 0.5));
    b.x[i] = b.ax[i] + f * dx[i] + displacement * dy[i];
    b.y[i] = b.ay[i] + f * dy[i] - displacement * dx[i];
    b.width[i] = (b.awidth[i] + b.bwidth[i]) * 0.5f;
  }
  if (s.width_vary > 0) {
    hash_all(v2, v3, padded);
    swings(v3, phase, swung, count, padded);
    const float least = 1 - s.width_vary, most = 1 + s.width_vary;
#pragma GCC ivdep
    for (int i = 0; i < padded; ++i) {
      const float width = float(double(b.width[i]) + swung[i] * double(s.width_wrinkle) * double(length[i]));
      const float held = width < least ? least : width;
      b.width[i] = most < held ? most : held;
    }
  }
#pragma GCC ivdep
  for (int i = 0; i < padded; ++i) {
    const float before_x = b.x[i] - b.ax[i], before_y = b.y[i] - b.ay[i];
    const float behind_x = b.bx[i] - b.x[i], behind_y = b.by[i] - b.y[i];
    b.divide_before[i] = before_x * before_x + before_y * before_y > SHORT_BOLT_SQUARED;
    b.divide_behind[i] = behind_x * behind_x + behind_y * behind_y > SHORT_BOLT_SQUARED;
  }
}

}  // namespace tessaron::TESSARON_LEVEL
