// Functions of three and four values: limits, blends, compositing, choices, posterising.
#include "base/fixed.h"
#include "catalogue/functions/groups.h"
#include "evaluator/kernels.h"
#include "evaluator/pass_hooks.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

static inline fix blend(fix from, fix to, fix percent) { return wrap_add(fix_mul(wrap_sub(to, from), percent), from); }
struct interpolate {
  static inline fix of(fix from, fix to, fix percent) { return blend(from, to, percent); }
};

/// From here on a matte or a percentage counts as complete.
constexpr fix FULL = FIX_ONE - 1;

/// What shows of `back` behind a matte.
static inline fix seen_behind(fix back, fix matte) {
  const fix partly = fix_mul(back, wrap_sub(FIX_ONE, matte));
  return matte >= FULL ? 0 : matte < 1 ? back : partly;
}
/// Premultiplied colour over a back.
struct composite {
  static inline fix of(fix back, fix front, fix matte) { return wrap_add(front, seen_behind(back, matte)); }
};
/// Alpha of a front with alpha `matte` over a back.
struct composite_alpha {
  static inline fix of(fix back_alpha, fix matte) {
    const fix partly = wrap_add(fix_mul(back_alpha, wrap_sub(FIX_ONE, matte)), matte);
    return matte >= FULL ? FIX_ONE : matte < 1 ? back_alpha : partly;
  }
};

/// Front over back by the front's alpha. A scalar is its own alpha; a back without alpha is opaque.
void composite_rgba(node& n) {
  const row_view matte = spread(n, 1, 3);
  for (int e = 0; e < 3; ++e)
    each_sample<composite>(n.rows[e], row_width(n), {spread(n, 0, e), spread(n, 1, e), matte});
  each_sample<composite_alpha>(n.rows[3], row_width(n), {spread(n, 0, 3), matte});
}

/// The same for results without alpha.
void composite_scalar(node& n) {
  for (int e = 0; e < n.elnum; ++e)
    each_sample<composite>(n.rows[e], row_width(n), {spread(n, 0, e), spread(n, 1, e), spread(n, 1, e)});
}

/// The same for two complete pictures, in one pass that reads the matte once.
struct composite_pictures {
  static inline void of(const fix* in, fix* out) {
    const fix *back = in, *front = in + 4;
    const fix matte = front[3];
    for (int e = 0; e < 3; ++e) out[e] = composite::of(back[e], front[e], matte);
    out[3] = composite_alpha::of(back[3], matte);
  }
};
void composite_rgba4(node& n) { uniform(n, 1) ? composite_rgba(n) : vector_rows<composite_pictures, 8, 4>(n); }

/// A front without alpha is opaque and hides the back.
void front_alone(node& n) {
  for (int e = 0; e < n.elnum; ++e) copy_row(n.rows[e], as_picture(n, 1, e), row_width(n));
}

/// Composites by a separate matte; where rgb meets rgba the result is opaque.
void composite_to_opaque(node& n) {
  for (int e = 0; e < 3; ++e)
    each_sample<composite>(n.rows[e], row_width(n), {spread(n, 0, e), spread(n, 1, e), spread(n, 2, e)});
  copy_row(n.rows[3], {OPAQUE_ALPHA, true}, row_width(n));
}

struct choose_positive {
  static inline fix of(fix value, fix then, fix otherwise) { return value > 0 ? then : otherwise; }
};
struct choose_above {
  static inline fix of(fix value, fix limit, fix then, fix otherwise) { return limit < value ? then : otherwise; }
};

/// One decision for the whole row, by the first sample of both values.
void choose_equal(node& n) {
  bool equal = true;
  for (int e = 0; e < n.args[0]->elnum; ++e) equal = equal && *n.arg_rows[0][e] == *n.arg_rows[1][e];
  equal ? copy_arg<2>(n) : copy_arg<3>(n);
}

/// To the nearest multiple of step, counted from phase.
struct posterize_hard {
  static inline fix of(fix value, fix step, fix phase) {
    return wrap_add(step_below(wrap_add(wrap_sub(value, phase), step >> 1), step), phase);
  }
};
/// The same with a ramp between steps: `smooth` is the share of a step that the ramp takes.
struct posterize_soft {
  static inline fix of(fix value, fix step, fix smooth, fix phase) {
    const fix v = wrap_sub(value, phase), base = step_below(v, step), half = step >> 1;
    const double steepness = 1.0 / (smooth / 4096.0);
    const fix ramp = fix_from_double(wrap_sub(wrap_sub(v, base), half) * steepness / 4096.0);
    return wrap_add(wrap_add(wrap_add(base, fix_clamp(ramp, wrap_neg(half), half)), half), phase);
  }
};

/// All but the value hold for the row, by their first samples.
void posterize(node& n) {
  for (int e = 0; e < n.elnum; ++e) {
    const row_view value = spread(n, 0, e);
    const row_view step = {arg_row(n, 1, e), true}, smooth = {arg_row(n, 2, e), true}, phase = {arg_row(n, 3, e), true};
    if (*step.samples == 0 || *smooth.samples >= FIX_ONE)
      copy_row(n.rows[e], value, row_width(n));
    else if (*smooth.samples == 0)
      each_sample<posterize_hard>(n.rows[e], row_width(n), {value, step, phase});
    else
      each_sample<posterize_soft>(n.rows[e], row_width(n), {value, step, smooth, phase});
  }
}

// Which argument a node equals.

/// Whether all four values of a constant argument pass a test.
template <class TEST>
bool all_values(const node& n, int a, TEST test) {
  if (!arg_constant(n, a)) return false;
  for (fix v : n.args[a]->const_vals)
    if (!test(v)) return false;
  return true;
}
/// Whether all four pairs of values of two constant arguments pass a test.
template <class TEST>
bool all_pairs(const node& n, int a, int b, TEST test) {
  if (!arg_constant(n, a) || !arg_constant(n, b)) return false;
  for (int e = 0; e < 4; ++e)
    if (!test(n.args[a]->const_vals[e], n.args[b]->const_vals[e])) return false;
  return true;
}

int pass_if_positive(const node& n) {
  if (all_values(n, 0, [](fix v) { return v > 0; })) return 1;
  return all_values(n, 0, [](fix v) { return v < 1; }) ? 2 : -1;
}
int pass_if_above(const node& n) {
  if (all_pairs(n, 0, 1, [](fix value, fix limit) { return value > limit; })) return 2;
  return all_pairs(n, 0, 1, [](fix value, fix limit) { return value <= limit; }) ? 3 : -1;
}

}  // namespace

void define_ternary(fun_registry& r) {
  struct limit {
    static inline fix of(fix value, fix bound1, fix bound2) {
      return fix_clamp(value, fix_min(bound1, bound2), fix_max(bound1, bound2));
    }
  };
  define(r, {.name = "clamp",
             .args = {"value", "bound1", "bound2"},
             .doc = "Limits value to the range between two bounds, in whichever order they stand.",
             .cost = 1,
             .combos = {{"1,1,1>1 2,1,1>2 2,2,2>2 3,1,1>3 1,1,3>3 3,3,3>3 4,1,1>4 4,4,4>4", ternary<limit>}}});

  struct multiply_add {
    static inline fix of(fix value, fix scale, fix offset) { return wrap_add(fix_mul(value, scale), offset); }
  };
  const pass_hook_fn pass_multiply_add = [](const node& n) {
    if (arg_zero(n, 0) || arg_zero(n, 1)) return 2;
    if (!arg_zero(n, 2)) return -1;
    return arg_one(n, 1) ? 0 : arg_one(n, 0) ? 1 : -1;
  };
  define(r, {.name = "*+",
             .args = {"value", "scale", "offset"},
             .doc = "value * scale + offset, element by element.",
             .cost = 2,
             .pass = pass_multiply_add,
             .combos = {{"1,1,1>1 2,2,2>2 2,2,1>2 2,1,2>2 2,1,1>2 1,2,2>2 1,2,1>2 1,1,2>2 "
                         "3,3,3>3 3,3,1>3 3,1,3>3 3,1,1>3 1,3,3>3 1,3,1>3 1,1,3>3",
                         ternary<multiply_add>}}});

  const pass_hook_fn pass_interp = [](const node& n) {
    if (arg_zero(n, 2)) return 0;
    if (arg_one(n, 2)) return 1;
    if (args_same(n, 0, 1)) return 0;
    return arg_zero(n, 0) && arg_one(n, 1) ? 2 : -1;
  };
  define(r, {.name = "interp",
             .args = {"from", "to", "percent"},
             .doc = "Linear blend: from at percent 0, to at percent 1.0, and on beyond both.",
             .cost = 2,
             .pass = pass_interp,
             .combos = {{"1,1,1>1 2,2,1>2 2,1,1>2 1,2,1>2 3,3,1>3 3,1,1>3 1,3,1>3 2,2,2>2 2,1,2>2 1,2,2>2 "
                         "3,3,3>3 3,1,3>3 1,3,3>3 1,1,3>3 1,1,4>4 4,4,1>4 1,4,1>4 4,1,1>4 3,4,1>4 4,3,1>4",
                         ternary<interpolate>}}});

  struct dissolve {
    static inline fix of(fix from, fix to, fix percent) {
      const fix mixed = blend(from, to, percent);
      return percent <= 0 ? from : percent >= FULL ? to : mixed;
    }
  };
  // A constant percentage takes the plain blend: the ends are the pass hook's.
  const node_kernel dissolve_rows = [](node& n) {
    arg_constant(n, 2) ? ternary<interpolate>(n) : ternary<dissolve>(n);
  };
  const pass_hook_fn pass_dissolve = [](const node& n) {
    if (all_values(n, 2, [](fix v) { return v < 1; })) return 0;
    if (all_values(n, 2, [](fix v) { return v >= FIX_ONE; })) return 1;
    return args_same(n, 0, 1) ? 0 : -1;
  };
  define(r, {.name = "dissolve",
             .args = {"from", "to", "percent"},
             .doc = "Blend that stops at both ends: exactly from at percent 0 and below, to at 1.0 and above.",
             .cost = 2,
             .pass = pass_dissolve,
             .combos = {{"1,1,1>1 2,2,2>2 3,3,3>3 2,2,1>2 2,1,1>2 1,2,1>2 3,3,1>3 3,1,1>3 1,3,1>3 "
                         "4,4,1>4 4,1,1>4 1,4,1>4 3,4,1>4 4,3,1>4 2,4,1>4 4,2,1>4 2,3,1>4 3,2,1>4",
                         dissolve_rows}}});

  define(r, {.name = "comp_premult",
             .args = {"back", "front", "matte"},
             .doc = "Premultiplied front over back by a separate matte.",
             .cost = 2,
             .combos = {{"4,4,1>4 3,3,1>3 1,3,1>3 3,1,1>3 3,3,3>3 1,1,1>1 1,4,1>4 4,1,1>4", ternary<composite>},
                        {"4,3,1>4 3,4,1>4", composite_to_opaque}}});

  define(r, {.name = "comp_rgba",
             .args = {"back", "front"},
             .doc = "Premultiplied front over back, by the alpha of the front.",
             .cost = 2,
             .pass = [](const node& n) { return arg_zero(n, 1)   ? 0
                                                : arg_zero(n, 0) ? 1
                                                                 : -1; },
             .combos = {{"4,4>4", composite_rgba4},
                        {"3,4>4 1,4>4", composite_rgba},
                        {"4,3>4 3,3>3 1,3>3", front_alone},
                        {"4,1>4", composite_rgba},
                        {"3,1>3 1,1>1", composite_scalar}}});
  define(r, {.name = "comp_rgba1",
             .args = {"back", "front"},
             .doc = "As comp_rgba; a front without alpha stands for the whole node.",
             .cost = 2,
             .pass = [](const node& n) { return n.args[1]->elnum < 4 ? 1 : -1; },
             .combos = {{"4,4>4", composite_rgba4},
                        {"3,4>4 1,4>4", composite_rgba},
                        {"4,3>3 3,3>3 1,3>3 4,1>1 3,1>1 1,1>1", front_alone}}});

  define(r, {.name = "if+",
             .args = {"value", "then", "else"},
             .doc = "then where value is above 0, else elsewhere.",
             .cost = 1,
             .pass = pass_if_positive,
             .combos = {{"1,1,1>1 1,2,2>2 1,3,3>3 1,4,4>4 2,2,2>2 3,3,3>3 4,4,4>4", ternary<choose_positive>}}});
  define(r, {.name = "if+_coerce",
             .args = {"value", "then", "else"},
             .doc = "As if+; the branch with fewer elements is widened.",
             .cost = 1,
             .pass = pass_if_positive,
             .combos = {{"1,1,1>1 1,2,2>2 1,3,3>3 1,4,4>4 1,1,2>2 1,2,1>2 1,1,3>3 1,3,1>3 "
                         "1,1,4>4 1,4,1>4 1,3,4>4 1,4,3>4 2,2,2>2 3,3,3>3 4,4,4>4",
                         elementwise<choose_positive, 3, widened>}}});

  define(r, {.name = "if>",
             .args = {"value", "limit", "then", "else"},
             .doc = "then where value is above limit, else elsewhere.",
             .cost = 1,
             .pass = pass_if_above,
             .combos = {{"1,1,1,1>1 1,1,2,2>2 1,1,3,3>3 1,1,4,4>4 2,2,2,2>2 3,3,3,3>3 4,4,4,4>4 3,1,3,3>3 1,3,3,3>3",
                         quaternary<choose_above>}}});
  define(r, {.name = "if>_coerce",
             .args = {"value", "limit", "then", "else"},
             .doc = "As if>; the branch with fewer elements is widened.",
             .cost = 1,
             .pass = pass_if_above,
             .combos = {{"1,1,1,1>1 1,1,2,2>2 1,1,3,3>3 1,1,4,4>4 2,2,2,2>2 3,3,3,3>3 1,1,2,1>2 1,1,1,2>2 "
                         "1,1,3,1>3 1,1,1,3>3 1,1,1,4>4 1,1,4,1>4 1,1,3,4>4 1,1,4,3>4 3,1,3,3>3 1,3,3,3>3 "
                         "3,1,1,1>3 4,1,4,4>4 1,1,2,4>4 1,1,4,2>4 1,1,2,3>4 1,1,3,2>4",
                         elementwise<choose_above, 4, widened>}}});

  const pass_hook_fn pass_if_equal = [](const node& n) {
    if (args_same(n, 0, 1)) return 2;
    return all_pairs(n, 0, 1, [](fix a, fix b) { return a != b; }) ? 3 : -1;
  };
  define(r, {.name = "if_eq",
             .args = {"value", "value2", "then", "else"},
             .doc = "then if all elements of value equal those of value2, else otherwise; decided once a row.",
             .cost = 1,
             .pass = pass_if_equal,
             .row_start_args = 0b0011,
             .combos = {{"1,1,1,1>1 4,4,1,1>1 4,4,3,3>3", choose_equal}}});

  define(r,
         {.name = "posterize",
          .args = {"value", "step", "smooth", "phase"},
          .doc = "Steps of size step with a soft edge of smooth, offset by phase; all but value are read once a row.",
          .cost = 2,
          .pass = [](const node& n) { return arg_zero(n, 1) || arg_one(n, 2) ? 0 : -1; },
          .row_start_args = 0b1110,
          .combos = {{"3,1,1,1>3 3,3,1,1>3 3,1,1,3>3 3,3,1,3>3 2,1,1,1>2 2,2,1,1>2 1,1,1,1>1", posterize}}});
}

}  // namespace tessaron::TESSARON_LEVEL
