// Row kernel loops, one per family: a function gives the formula for one sample, the loop owns rows,
// constants and the element rule.
//
// Included only by files that are compiled once per instruction-set level. Everything lies in an
// unnamed namespace, and nothing of the standard library is instantiated here, so that code of one
// level never stands in for another's at link time.
#pragma once

#include "base/fixed.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"
#include "genotype/genotype.h"

#ifndef TESSARON_LEVEL
#error "row kernels are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

inline int row_width(const node& n) { return n.vars->row_width; }
inline bool uniform(const node& n, int a) { return (n.uniform_args >> a) & 1; }

// wrap_div and wrap_rem for rows: by way of double, which holds every quotient of two 32-bit numbers
// closely enough to truncate it, and which vectorises where integer division doesn't.

static inline fix row_div(fix a, fix b) {
  const double q = double(a) / double(b + (b == 0));  // a sum: a choice would keep the loop scalar
  return fix(q > 2147483647.0 ? -2147483648.0 : q);
}
static inline fix row_rem(fix a, fix b) { return wrap_sub(a, wrap_mul(row_div(a, b), b + (b == 0))); }
/// The multiple of step (not 0) at or below v; one step lower still for exact multiples below zero.
static inline fix step_below(fix v, fix step) {
  const fix base = wrap_mul(row_div(v, step), step);
  return v < 0 ? wrap_sub(base, wrap_abs(step)) : base;
}

// -------------------------------------------------------------------------------------------------
// What an argument gives to one element of the result.

/// One row of an argument; `uniform`: the first sample stands for the whole row.
struct row_view {
  const fix* samples;
  bool uniform;
};

inline constexpr fix ZERO_SAMPLE[1] = {0};
inline constexpr fix OPAQUE_ALPHA[1] = {FIX_ONE};

/// Row e of argument a; the last element spreads over what is missing.
inline const fix* arg_row(const node& n, int a, int e) {
  const int last = n.args[a]->elnum - 1;
  return n.arg_rows[a][e < last ? e : last];
}

/// The element rule: the last element spreads, but the missing alpha of a 3-element value is 1.0.
inline row_view spread(const node& n, int a, int e) {
  if (e == 3 && n.args[a]->elnum == 3) return {OPAQUE_ALPHA, true};
  return {arg_row(n, a, e), uniform(n, a)};
}

/// As `coerce_up` widens: 1 element spreads into all, 2 elements get blue 0, 2 and 3 get alpha 1.0.
inline row_view widened(const node& n, int a, int e) {
  if (e == 2 && n.args[a]->elnum == 2) return {ZERO_SAMPLE, true};
  if (e == 3 && n.args[a]->elnum == 2) return {OPAQUE_ALPHA, true};
  return spread(n, a, e);
}

/// As a picture: whatever has no alpha of its own is opaque.
inline row_view as_picture(const node& n, int a, int e) {
  if (e == 3 && n.args[a]->elnum < 4) return {OPAQUE_ALPHA, true};
  return {arg_row(n, a, e), uniform(n, a)};
}

// -------------------------------------------------------------------------------------------------
// Loops over one row: `F::of` takes one sample of each argument and gives one sample of the result.

template <bool UNIFORM>
struct sample_source {
  const fix* samples;
  fix first;
  fix operator[](int i) const { return UNIFORM ? first : samples[i]; }
};

template <class F, class... S>
void sample_loop(fix* __restrict out, int width, S... in) {
#pragma GCC ivdep
  for (int i = 0; i < width; ++i) out[i] = F::of(in[i]...);
}

/// Runs the loop made for just these uniform arguments, so that each is read once, outside.
template <class F, int N, class... S>
void each_sample(fix* out, int width, const row_view (&in)[N], S... chosen) {
  if constexpr (sizeof...(S) == N) {
    sample_loop<F>(out, width, chosen...);
  } else {
    const row_view next = in[sizeof...(S)];
    if (next.uniform)
      each_sample<F>(out, width, in, chosen..., sample_source<true>{next.samples, *next.samples});
    else
      each_sample<F>(out, width, in, chosen..., sample_source<false>{next.samples, 0});
  }
}

struct identity {
  static inline fix of(fix a) { return a; }
};
inline void copy_row(fix* out, row_view a, int width) { each_sample<identity>(out, width, {a}); }

// -------------------------------------------------------------------------------------------------
// Kernels of elementwise functions: every element of the result by the same formula.

template <class F, int N, row_view (*ELEMENT)(const node&, int, int) = spread>
void elementwise(node& n) {
  for (int e = 0; e < n.elnum; ++e) {
    row_view in[N];
    for (int a = 0; a < N; ++a) in[a] = ELEMENT(n, a, e);
    each_sample<F>(n.rows[e], row_width(n), in);
  }
}

template <class F>
inline constexpr node_kernel unary = elementwise<F, 1>;
template <class F>
inline constexpr node_kernel binary = elementwise<F, 2>;
template <class F>
inline constexpr node_kernel ternary = elementwise<F, 3>;
template <class F>
inline constexpr node_kernel quaternary = elementwise<F, 4>;

/// Copies one argument, element by element, under the element rule.
template <int ARG>
void copy_arg(node& n) {
  for (int e = 0; e < n.elnum; ++e) copy_row(n.rows[e], spread(n, ARG, e), row_width(n));
}
inline void copy_rows(node& n) { copy_arg<0>(n); }

// -------------------------------------------------------------------------------------------------
// Functions that mix elements. `F::of(const fix* in, fix* out)` sees all elements of all arguments of
// one sample, one behind the other, and fills all elements of the result. Uniform arguments are spread
// over one short block once, so that the loop over samples has no test in it.

inline constexpr int BLOCK = 64;

template <class F, int N_IN, int N_OUT>
void vector_rows(node& n) {
  fix spread[N_IN][BLOCK];
  const fix* source[N_IN];
  bool steps[N_IN];
  int k = 0;
  for (int a = 0; a < n.eval_arg_number && k < N_IN; ++a)
    for (int e = 0; e < n.args[a]->elnum && k < N_IN; ++e, ++k) {
      steps[k] = !uniform(n, a);
      source[k] = n.arg_rows[a][e];
      if (!steps[k]) {
        const fix value = *n.arg_rows[a][e];
        for (int i = 0; i < BLOCK; ++i) spread[k][i] = value;
        source[k] = spread[k];
      }
    }
  const int width = row_width(n);
  for (int first = 0; first < width; first += BLOCK) {
    const int count = width - first < BLOCK ? width - first : BLOCK;
    const fix* in_rows[N_IN];
    for (k = 0; k < N_IN; ++k) in_rows[k] = steps[k] ? source[k] + first : source[k];
    fix* out_rows[N_OUT];
    for (int e = 0; e < N_OUT; ++e) out_rows[e] = n.rows[e] + first;
#pragma GCC ivdep
    for (int i = 0; i < count; ++i) {
      fix in[N_IN], out[N_OUT];
      for (int j = 0; j < N_IN; ++j) in[j] = in_rows[j][i];
      F::of(in, out);
      for (int e = 0; e < N_OUT; ++e) out_rows[e][i] = out[e];
    }
  }
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
