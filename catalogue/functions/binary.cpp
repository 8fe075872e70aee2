// Functions of two values: arithmetic, comparison, bits, blends, powers.
#include "base/fixed.h"
#include "base/libm.h"
#include "catalogue/functions/groups.h"
#include "evaluator/kernels.h"
#include "evaluator/pass_hooks.h"
#include "evaluator/tables.h"
#include "operators/operators.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// Any two sizes of which one is 1, equal sizes, and rgb with rgba.
constexpr const char* ANY_SIZES = "1,1>1 2,2>2 2,1>2 1,2>2 3,3>3 3,1>3 1,3>3 4,4>4 4,1>4 1,4>4 3,4>4 4,3>4";

// The functions that leave alpha alone have combos in which both arguments reach every element, and
// combos in which one argument says nothing about the last.
constexpr const char* COVERING_SIZES = "1,1>1 2,2>2 3,3>3 3,1>3 1,3>3 4,4>4";
constexpr const char* MIXED_SIZES = "3,4>4 4,3>4 2,1>2 1,2>2 4,1>4 1,4>4";

/// Mixed combos: the last element is that of the longer argument, unchanged.
template <class F>
void binary_but_last(node& n) {
  const int last = n.elnum - 1;
  for (int e = 0; e < last; ++e) each_sample<F>(n.rows[e], row_width(n), {spread(n, 0, e), spread(n, 1, e)});
  copy_row(n.rows[last], spread(n, n.args[0]->elnum == n.elnum ? 0 : 1, last), row_width(n));
}

// Which argument a node equals.

int pass_sum(const node& n) { return arg_zero(n, 1) ? 0 : arg_zero(n, 0) ? 1 : -1; }
int pass_difference(const node& n) { return arg_zero(n, 1) ? 0 : -1; }
int pass_one_factor(const node& n) { return arg_one(n, 1) ? 0 : arg_one(n, 0) ? 1 : -1; }
int pass_product(const node& n) { return arg_zero(n, 0) ? 0 : arg_zero(n, 1) ? 1 : pass_one_factor(n); }
/// Also of powers: 0 to any power, and x to the power 1.0.
int pass_quotient(const node& n) { return arg_zero(n, 0) || arg_one(n, 1) ? 0 : -1; }

}  // namespace

void define_binary(fun_registry& r) {
  struct add {
    static inline fix of(fix a, fix b) { return wrap_add(a, b); }
  };
  define(r, {.name = "+",
             .args = {"value", "offset"},
             .doc = "Sum, element by element; rgb counts as alpha 1.0 against rgba.",
             .cost = 1,
             .pass = pass_sum,
             .combos = {{ANY_SIZES, binary<add>}}});

  define(r, {.name = "add_rgb",
             .args = {"value", "scale"},
             .doc = "Sum in which a scalar or rgb value leaves the alpha of the other alone.",
             .cost = 2,
             .pass = pass_sum,
             .combos = {{COVERING_SIZES, binary<add>}, {MIXED_SIZES, binary_but_last<add>}}});

  struct subtract {
    static inline fix of(fix a, fix b) { return wrap_sub(a, b); }
  };
  define(r, {.name = "-",
             .args = {"value", "offset"},
             .doc = "Difference, element by element; rgb counts as alpha 1.0 against rgba.",
             .cost = 1,
             .pass = pass_difference,
             .combos = {{ANY_SIZES, binary<subtract>}}});

  define(r, {.name = "subtract_rgb",
             .args = {"value", "scale"},
             .doc = "Difference in which a scalar or rgb value leaves the alpha of the other alone.",
             .cost = 2,
             .pass = pass_difference,
             .combos = {{COVERING_SIZES, binary<subtract>}, {MIXED_SIZES, binary_but_last<subtract>}}});

  struct difference {
    static inline fix of(fix a, fix b) { return wrap_abs(wrap_sub(a, b)); }
  };
  define(r, {.name = "diff",
             .args = {"value", "value2"},
             .doc = "Absolute difference of each element.",
             .cost = 1,
             .combos = {{ANY_SIZES, binary<difference>}}});

  struct multiply {
    static inline fix of(fix a, fix b) { return fix_mul(a, b); }
  };
  define(r, {.name = "*",
             .args = {"value", "scale"},
             .doc = "Product, element by element; rgb counts as alpha 1.0 against rgba.",
             .cost = 2,
             .pass = pass_product,
             .combos = {{ANY_SIZES, binary<multiply>}}});

  // A zero factor decides only where it reaches the alpha as well.
  const pass_hook_fn pass_scale_rgb = [](const node& n) {
    const bool covering = n.args[0]->elnum == n.args[1]->elnum || n.elnum % 2 == 1;
    return covering ? pass_product(n) : pass_one_factor(n);
  };
  define(r, {.name = "scale_rgb",
             .args = {"value", "scale"},
             .doc = "Product in which a scalar or rgb value leaves the alpha of the other alone.",
             .cost = 2,
             .pass = pass_scale_rgb,
             .combos = {{COVERING_SIZES, binary<multiply>}, {MIXED_SIZES, binary_but_last<multiply>}}});

  /// A divisor of 0 leaves a << 12.
  struct divide {
    static inline fix of(fix a, fix b) { return row_div(wrap_shl(a, FIX_BITS), b); }
  };
  define(r, {.name = "/",
             .args = {"value", "inv_scale"},
             .doc = "Quotient, element by element.",
             .cost = 2,
             .pass = pass_quotient,
             .combos = {{ANY_SIZES, binary<divide>}}});

  /// 0 for a limit of 0. A negative exact multiple gives |limit|, not 0.
  struct modulo {
    static inline fix of(fix a, fix limit) { return wrap_add(row_rem(a, limit), a < 0 ? wrap_abs(limit) : 0); }
  };
  define(r, {.name = "mod",
             .args = {"value", "limit"},
             .doc = "Remainder of value by limit, brought above 0; 0 for a limit of 0.",
             .cost = 2,
             .combos = {{ANY_SIZES, binary<modulo>}}});

  /// Triangle wave between 0 and |limit|; 0 for a limit of 0, as the period is 0 then.
  struct bounce {
    static inline fix of(fix a, fix limit) {
      const fix l = wrap_abs(limit), period = wrap_shl(l, 1);
      fix phase = row_rem(a, period);
      if (phase < 0) phase = wrap_add(phase, period);
      return phase > l ? wrap_sub(period, phase) : phase;
    }
  };
  define(r, {.name = "bounce",
             .args = {"value", "limit"},
             .doc = "Triangle wave of value between 0 and limit; 0 for a limit of 0.",
             .cost = 2,
             .combos = {{ANY_SIZES, binary<bounce>}}});

  struct round_down {
    static inline fix of(fix a, fix step) {
      const fix below = step_below(a, step);
      return step == 0 ? a : below;
    }
  };
  define(r, {.name = "round",
             .args = {"value", "step"},
             .doc = "Rounds value down to a multiple of step; a step of 0 leaves it.",
             .cost = 2,
             .combos = {{ANY_SIZES, binary<round_down>}}});

  struct smaller {
    static inline fix of(fix a, fix b) { return fix_min(a, b); }
  };
  define(r, {.name = "min",
             .args = {"value", "bound"},
             .doc = "Smaller of the two.",
             .cost = 1,
             .combos = {{ANY_SIZES, binary<smaller>}}});

  struct larger {
    static inline fix of(fix a, fix b) { return fix_max(a, b); }
  };
  define(r, {.name = "max",
             .args = {"value", "bound"},
             .doc = "Larger of the two.",
             .cost = 1,
             .combos = {{ANY_SIZES, binary<larger>}}});

  struct bit_xor {
    static inline fix of(fix a, fix b) { return a ^ b; }
  };
  define(r, {.name = "xor",
             .args = {"value", "value2"},
             .doc = "Bitwise exclusive or of the fixed-point words.",
             .cost = 1,
             .fun_class = CLASS_BITWISE,
             .combos = {{ANY_SIZES, binary<bit_xor>}}});

  struct bit_and {
    static inline fix of(fix a, fix b) { return a & b; }
  };
  define(r, {.name = "and",
             .args = {"value", "value2"},
             .doc = "Bitwise and of the fixed-point words.",
             .cost = 1,
             .fun_class = CLASS_BITWISE,
             .combos = {{ANY_SIZES, binary<bit_and>}}});

  struct bit_or {
    static inline fix of(fix a, fix b) { return a | b; }
  };
  define(r, {.name = "or",
             .args = {"value", "value2"},
             .doc = "Bitwise or of the fixed-point words.",
             .cost = 1,
             .fun_class = CLASS_BITWISE,
             .combos = {{ANY_SIZES, binary<bit_or>}}});

  struct screen {
    static inline fix of(fix a, fix b) { return wrap_add(a, fix_mul(wrap_sub(FIX_ONE, a), b)); }
  };
  const pass_hook_fn pass_screen = [](const node& n) {
    if (arg_zero(n, 1)) return 0;
    if (arg_zero(n, 0) || arg_one(n, 1)) return 1;
    return arg_one(n, 0) ? 0 : -1;
  };
  define(r, {.name = "screen",
             .args = {"value", "value2"},
             .doc = "Screen blend: the product of the complements, complemented.",
             .cost = 1,
             .pass = pass_screen,
             .combos = {{ANY_SIZES, binary<screen>}}});

  /// Darkens where back is at or below 0.5, lightens above.
  struct overlay {
    static inline fix of(fix back, fix front) {
      const fix dark = wrap_shl(fix_mul(front, back), 1);
      const fix light = wrap_sub(wrap_shl(wrap_add(back, fix_mul(front, wrap_sub(FIX_ONE, back))), 1), FIX_ONE);
      return back <= FIX_ONE / 2 ? dark : light;
    }
  };
  define(r, {.name = "overlay",
             .args = {"back", "front"},
             .doc = "Overlay blend: multiplies where back is dark, screens where it is bright.",
             .cost = 1,
             .combos = {{ANY_SIZES, binary<overlay>}}});

  // Operands of powers and logarithms in single precision, as every fix that becomes a float; the
  // functions themselves in double.
  struct power {
    static inline fix of(fix base, fix exponent) {
      return fix_from_double(libm_pow(fix_to_float(wrap_abs(base)), fix_to_float(exponent)));
    }
  };
  define(r, {.name = "expt",
             .args = {"base", "power"},
             .doc = "abs(base) to the power.",
             .cost = 4,
             .fun_class = CLASS_MATH,
             .pass = pass_quotient,
             .combos = {{ANY_SIZES, binary<power>}}});

  /// 0 for a value of 1.0 to any base; a quotient that is no number converts like any other.
  struct logarithm {
    static inline fix of(fix a, fix base) {
      const fix v = wrap_abs(a), b = wrap_abs(base);
      if (v == FIX_ONE) return 0;
      return fix_from_double(libm_log(fix_to_float(v)) / libm_log(fix_to_float(b)));
    }
  };
  define(r, {.name = "log",
             .args = {"value", "base"},
             .doc = "Logarithm of abs(value) to the base abs(base).",
             .cost = 4,
             .fun_class = CLASS_MATH,
             .combos = {{ANY_SIZES, binary<logarithm>}}});

  struct arc_tangent {
    static inline fix of(fix y, fix x) { return fix_atan2(y, x); }
  };
  define(r, {.name = "atan",
             .args = {"y", "x"},
             .doc = "Angle of (x, y) in revolutions, -0.5 to 0.5; 0 for (0, 0).",
             .cost = 4,
             .fun_class = CLASS_MATH,
             .combos = {{ANY_SIZES, binary<arc_tangent>}}});

  static constexpr image_needs GAMMA_IMAGES = {.image_arg_index = 0, .images_per_element = 1, .aux_count_b = 1};
  define(r, {.name = "gamma",
             .args = {"base", "power"},
             .doc = "Image operator: base to the power, through a table made once an image.",
             .cost = 2,
             .weight = 1.0f,
             .image = &GAMMA_IMAGES,
             .pass = pass_quotient,
             .combos = {{"1,1>1 1,3>3 3,1>3 3,3>3 4,1>4 4,4>4", gamma_image}}});
}

}  // namespace tessaron::TESSARON_LEVEL
