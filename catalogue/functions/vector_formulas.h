// Formulas on vectors that several groups compose: products, lengths, unit vectors. All see the
// elements of their arguments one behind the other, as vector_rows() hands them over.
#pragma once

#include "base/fixed.h"
#include "evaluator/tables.h"

#ifndef TESSARON_LEVEL
#error "row kernels are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

/// Sum of products of N_A and N_B elements; the last element of the shorter spreads.
template <int N_A, int N_B>
struct dot_product {
  static inline void of(const fix* in, fix* out) {
    constexpr int N = N_A > N_B ? N_A : N_B;
    out[0] = 0;
    for (int e = 0; e < N; ++e)
      out[0] = wrap_add(out[0], fix_mul(in[e < N_A ? e : N_A - 1], in[N_A + (e < N_B ? e : N_B - 1)]));
  }
};

struct cross_2 {
  static inline void of(const fix* in, fix* out) { out[0] = wrap_sub(fix_mul(in[0], in[3]), fix_mul(in[1], in[2])); }
};
struct cross_3 {
  static inline void of(const fix* in, fix* out) {
    for (int e = 0; e < 3; ++e) {
      const int next = (e + 1) % 3, after = (e + 2) % 3;
      out[e] = wrap_sub(fix_mul(in[next], in[3 + after]), fix_mul(in[after], in[3 + next]));
    }
  }
};

/// The root reads the sum of squares with 24 fraction bits, so nothing is shifted before it.
template <int N>
struct length {
  static inline void of(const fix* in, fix* out) {
    fix squares = 0;
    for (int e = 0; e < N; ++e) squares = wrap_add(squares, wrap_mul(in[e], in[e]));
    out[0] = fix_mag2(squares);
  }
};

/// Each element over the length. Where the length is 0, the elements are only shifted: zero stays zero.
template <int N>
struct unit_vector {
  static inline void of(const fix* in, fix* out) {
    fix len;
    length<N>::of(in, &len);
    for (int e = 0; e < N; ++e) out[e] = wrap_div(wrap_shl(in[e], FIX_BITS), len);
  }
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
