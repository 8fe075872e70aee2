// Foldings of the plane as the mirrors of a kaleidoscope fold it: a place goes to the place that its reflections lead
// to in one piece of the picture. All three double what they show, as the mirrors stand a half of the frame apart.
//
// In: coordinates (2), scale. Products wrap; for x (and in the diamonds and octagons for y too) the wrap is a whole
// number of periods and so cannot be seen.
#pragma once

#include "base/fixed.h"

#ifndef TESSARON_LEVEL
#error "row kernels are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

/// Mirrors in both directions and along both diagonals, eight pieces to a period of 2.0: the triangle below the
/// diagonal from (-1, -1) to (1, 1).
struct kaleido_oct_fold {
  static inline fix folded(fix v, fix scale) { return ((fix_mul(v, scale) - FIX_ONE) & 0x1fff) - FIX_ONE; }
  static inline void of(const fix* in, fix* out) {
    const fix a = wrap_abs(folded(in[0], in[2])), b = wrap_abs(folded(in[1], in[2]));
    out[0] = 2 * fix_max(a, b) - FIX_ONE;
    out[1] = 2 * fix_min(a, b) - FIX_ONE;
  }
};

/// Mirrors along both diagonals alone: the diamond with its corners at -1 and 1 on the axes. The period is 2.0 in x
/// and in y.
///
///     u = x + y, v = x - y, each folded to 0..1; the diamond is their square, turned by 45 degrees.
struct kaleido_diamonds_fold {
  static constexpr fix ONE = 1 << 24;
  static inline fix folded(fix v) { return wrap_abs((wrap_sub(v, ONE) & (2 * ONE - 1)) - ONE); }
  static inline void of(const fix* in, fix* out) {
    const fix x = wrap_mul(in[0], in[2]), y = wrap_mul(in[1], in[2]);  // 24 fraction bits
    const fix a = folded(wrap_add(x, y)), b = folded(wrap_sub(x, y));
    out[0] = ((a + b) >> FIX_BITS) - FIX_ONE;
    out[1] = (a - b) >> FIX_BITS;
  }
};

/// Three families of mirrors, 60 degrees apart: equilateral triangles of height 1.0, six around each corner. The
/// triangle that is seen has its corners at (-1, 0), (1, 2/sqrt(3)) and (1, -2/sqrt(3)). The period is 2.0 across
/// every mirror, as x runs over the upright ones.
///
/// c0 and c1 count the mirrors of two families, c2 = -c0 - c1 those of the third. Between two mirrors of each family
/// lie a triangle that points left and one that points right. Every corner of the tiling has one of three colours,
/// (c0 - c1) mod 3, which reflections keep; the weights of a place in its triangle, by the corners' colours, are those
/// of the place that it folds to.
struct kaleido_fold {
  static constexpr int BITS = 16;  // fraction bits here
  static constexpr fix ONE = 1 << BITS;

  /// v * sqrt(3) / 2 of 24 bits and a sign, in two parts, since the product has more than 32.
  static inline fix times_sin_60(fix v) {
    constexpr fix SIN_60 = 454047;  // 19 fraction bits
    return ((v >> 12) * SIN_60 + (((v & 0xfff) * SIN_60) >> 12)) >> 7;
  }
  static inline void of(const fix* in, fix* out) {
    const fix c0 = wrap_mul(in[0], in[2]) >> (2 * FIX_BITS - BITS);
    const fix c1 = times_sin_60(wrap_mul(in[1], in[2]) >> (2 * FIX_BITS - BITS)) - (c0 >> 1);
    const fix f0 = c0 & (ONE - 1), f1 = c1 & (ONE - 1);
    const bool left = f0 + f1 <= ONE;
    const fix at_corner = wrap_abs(ONE - f0 - f1);  // of the corner's own colour
    const fix next = left ? f0 : ONE - f1, last = left ? f1 : ONE - f0;

    constexpr fix ABOVE_0 = 3 << 10;  // mirrors are counted within +-512
    const fix count = (c0 >> BITS) - (c1 >> BITS) + ABOVE_0;
    const fix color = count - 3 * ((count * 21846) >> 16);
    const fix w0 = color == 0 ? at_corner : color == 2 ? next : last;
    const fix w1 = color == 1 ? at_corner : color == 0 ? next : last;
    const fix w2 = color == 2 ? at_corner : color == 1 ? next : last;
    constexpr fix TWO_BY_SQRT_3 = 18919;  // 14 fraction bits
    out[0] = FIX_ONE - (w0 >> 3);
    out[1] = ((w1 - w2) * TWO_BY_SQRT_3) >> 18;
  }
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
