// Functions of one value: sign, trigonometry, roots, and the logarithms that choose mipmap levels.
#include "base/fixed.h"
#include "catalogue/functions/groups.h"
#include "evaluator/kernels.h"
#include "evaluator/tables.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr const char* EACH_SIZE = "1>1 2>2 3>3 4>4";

/// -1..1 into 0..1.
static inline fix to_unit_range(fix wave) { return (wave >> 1) + FIX_ONE / 2; }

/// log2 of |a| straight from the bits of a single precision number: the exponent is the whole part,
/// the mantissa the fraction. The scale and the mask bring 1.0 to 0x20000; 0 gives -32.0.
struct fast_log2 {
  static inline fix of(fix a) {
    const float scaled = float(wrap_abs(a)) * 2097152.0f;
    std::uint32_t bits;
    std::memcpy(&bits, &scaled, sizeof bits);
    return fix((bits & 0x1fffffffu) >> 11) - 0x20000;
  }
};

/// Length of (a, b) without a root: the larger side and half the smaller.
static inline fix rough_length(fix a, fix b) {
  const fix p = wrap_abs(a), q = wrap_abs(b);
  return wrap_add(fix_max(p, q), fix_min(p, q) >> 1);
}

}  // namespace

void define_unary(fun_registry& r) {
  struct abs_value {
    static inline fix of(fix a) { return wrap_abs(a); }
  };
  define(r, {.name = "abs",
             .args = {"value"},
             .doc = "Absolute value of each element.",
             .cost = 1,
             .combos = {{EACH_SIZE, unary<abs_value>}}});

  struct negate {
    static inline fix of(fix a) { return wrap_neg(a); }
  };
  define(r, {.name = "negate",
             .args = {"value"},
             .doc = "0 - value, for each element.",
             .cost = 1,
             .combos = {{EACH_SIZE, unary<negate>}}});

  struct one_minus {
    static inline fix of(fix a) { return wrap_sub(FIX_ONE, a); }
  };
  define(r, {.name = "one_minus",
             .args = {"value"},
             .doc = "1.0 - value, for each element.",
             .cost = 1,
             .combos = {{EACH_SIZE, unary<one_minus>}}});

  struct sine {
    static inline fix of(fix a) { return fix_sin(a); }
  };
  define(r, {.name = "sin",
             .args = {"value"},
             .doc = "Sine of value in revolutions (1.0 is one turn), -1 to 1.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{EACH_SIZE, unary<sine>}}});

  struct cosine {
    static inline fix of(fix a) { return fix_cos(a); }
  };
  define(r, {.name = "cos",
             .args = {"value"},
             .doc = "Cosine of value in revolutions (1.0 is one turn), -1 to 1.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{EACH_SIZE, unary<cosine>}}});

  struct unit_sine {
    static inline fix of(fix a) { return to_unit_range(fix_sin(a)); }
  };
  define(r, {.name = "nsin",
             .args = {"value"},
             .doc = "Sine of value in revolutions, brought into 0 to 1.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{EACH_SIZE, unary<unit_sine>}}});

  struct unit_cosine {
    static inline fix of(fix a) { return to_unit_range(fix_cos(a)); }
  };
  define(r, {.name = "ncos",
             .args = {"value"},
             .doc = "Cosine of value in revolutions, brought into 0 to 1.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{EACH_SIZE, unary<unit_cosine>}}});

  struct square_root {
    static inline fix of(fix a) { return fix_sqrt(a); }
  };
  define(r, {.name = "sqrt",
             .args = {"value"},
             .doc = "Square root of each element; 0 for negative values.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{EACH_SIZE, unary<square_root>}}});

  /// Levels of the two source axes from a 2x2 Jacobian, one axis a pair of elements.
  struct jacobian_log2 {
    static inline void of(const fix* in, fix* out) {
      for (int axis = 0; axis < 2; ++axis) out[axis] = fast_log2::of(rough_length(in[2 * axis], in[2 * axis + 1]) >> 1);
    }
  };
  define(r, {.name = "log_for_mipmap",
             .args = {"value"},
             .doc = "Fast base 2 logarithm of abs(value), as a mipmap level; 4 elements are a 2x2 Jacobian.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{"1>1 2>2", unary<fast_log2>}, {"4>2", vector_rows<jacobian_log2, 4, 2>}}});

  /// A turn by in[0] and a scale by in[1] stretch both axes alike.
  struct rotation_log2 {
    static inline void of(const fix* in, fix* out) {
      out[0] = out[1] = fast_log2::of(rough_length(fix_mul(in[1], fix_cos(in[0])), fix_mul(in[1], fix_sin(in[0]))));
    }
  };
  define(r, {.name = "log_for_mipmap_rotate",
             .args = {"rotate", "scale"},
             .doc = "Mipmap levels of both axes for a rotation (in revolutions) and a scale.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{"1,1>2", vector_rows<rotation_log2, 2, 2>}}});
}

}  // namespace tessaron::TESSARON_LEVEL
