// Lengths, products, extremes and angles of vectors. A square or product is shifted down before it
// is summed, except under a root, which reads the sum of squares with 24 fraction bits.
#include "base/fixed.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "catalogue/functions/vector_formulas.h"
#include "evaluator/frame.h"
#include "evaluator/kernels.h"
#include "evaluator/pass_hooks.h"
#include "evaluator/tables.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// A product with the zero vector is that zero.
int pass_product_with_zero(const node& n) { return arg_zero(n, 0) ? 0 : arg_zero(n, 1) ? 1 : -1; }

/// a - b, element by element.
template <int N>
struct difference {
  fix v[N];
  explicit inline difference(const fix* in) {
    for (int e = 0; e < N; ++e) v[e] = wrap_sub(in[e], in[N + e]);
  }
};

template <int N>
struct squared_length {
  static inline void of(const fix* in, fix* out) {
    out[0] = 0;
    for (int e = 0; e < N; ++e) out[0] = wrap_add(out[0], fix_mul(in[e], in[e]));
  }
};

/// A length in pixels of the render as a part of half the frame's width. Products keep all their bits before the
/// shift: positions in pixels pass the range of a 32-bit product at once.
static inline fix pixels_to_norm(fix pixels, fix aspect) {
  const fix square = fix((std::int64_t(pixels) * aspect) >> FIX_BITS);
  const int width = display_dims.display_width > 0 ? display_dims.display_width : 1;
  return fix(std::int64_t(square) * 2 / width);
}
static inline fix x_pixels_to_norm(fix x) { return pixels_to_norm(x, FIX_ONE); }
static inline fix y_pixels_to_norm(fix y) { return pixels_to_norm(y, display_dims.pixel_aspect_fix); }

/// Pixels from the lower left corner to coordinates around the centre.
struct position_to_norm {
  static inline void of(const fix* in, fix* out) {
    out[0] = wrap_sub(x_pixels_to_norm(in[0]), FIX_ONE);
    out[1] = wrap_sub(y_pixels_to_norm(in[1]), display_dims.aspect_product_fix);
  }
};
struct length_to_norm {
  static inline fix of(fix a) { return x_pixels_to_norm(a); }
};
struct size_to_norm {
  static inline void of(const fix* in, fix* out) {
    out[0] = x_pixels_to_norm(in[0]);
    out[1] = y_pixels_to_norm(in[1]);
  }
};

template <int N>
struct squared_distance {
  static inline void of(const fix* in, fix* out) { squared_length<N>::of(difference<N>(in).v, out); }
};
template <int N>
struct distance {
  static inline void of(const fix* in, fix* out) { length<N>::of(difference<N>(in).v, out); }
};
struct distance_1 {
  static inline fix of(fix a, fix b) { return wrap_abs(wrap_sub(a, b)); }
};

template <int N>
struct largest {
  static inline void of(const fix* in, fix* out) {
    out[0] = in[0];
    for (int e = 1; e < N; ++e) out[0] = fix_max(out[0], in[e]);
  }
};
template <int N>
struct smallest {
  static inline void of(const fix* in, fix* out) {
    out[0] = in[0];
    for (int e = 1; e < N; ++e) out[0] = fix_min(out[0], in[e]);
  }
};

/// Halves and quarters are floor shifts, thirds a truncating division.
template <int N>
struct mean {
  static inline void of(const fix* in, fix* out) {
    fix sum = 0;
    for (int e = 0; e < N; ++e) sum = wrap_add(sum, in[e]);
    out[0] = N == 2 ? sum >> 1 : N == 4 ? sum >> 2 : sum / N;
  }
};

struct angle_from {
  static inline void of(const fix* in, fix* out) { out[0] = wrap_sub(fix_atan2(in[1], in[0]), in[2]); }
};

}  // namespace

void define_vector_maths(fun_registry& r) {
  define(r, {.name = "mag_squared",
             .args = {"vector"},
             .doc = "Sum of the squares of the elements.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"2>1", vector_rows<squared_length<2>, 2, 1>}, {"3>1", vector_rows<squared_length<3>, 3, 1>}}});
  define(r, {.name = "mag",
             .args = {"vector"},
             .doc = "Length of a vector, good below 11.3.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"2>1", vector_rows<length<2>, 2, 1>}, {"3>1", vector_rows<length<3>, 3, 1>}}});
  define(r, {.name = "normalize",
             .args = {"vector"},
             .doc = "The vector at length 1.0; the zero vector stays zero.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"2>2", vector_rows<unit_vector<2>, 2, 2>}, {"3>3", vector_rows<unit_vector<3>, 3, 3>}}});
  define(r, {.name = "screen_to_norm",
             .args = {"vector"},
             .doc = "A position in pixels from the lower left corner as coordinates around the frame's centre.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"2>2", vector_rows<position_to_norm, 2, 2>}}});
  define(r, {.name = "screen_to_norm_scale",
             .args = {"vector"},
             .doc = "A length in pixels in units of half the frame's width.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"1>1", unary<length_to_norm>}, {"2>2", vector_rows<size_to_norm, 2, 2>}}});
  define(r, {.name = "dot",
             .args = {"vector1", "vector2"},
             .doc = "Sum of the products of the elements; a scalar counts for each.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .pass = pass_product_with_zero,
             .combos = {{"2,2>1", vector_rows<dot_product<2, 2>, 4, 1>},
                        {"3,3>1", vector_rows<dot_product<3, 3>, 6, 1>},
                        {"4,4>1", vector_rows<dot_product<4, 4>, 8, 1>},
                        {"1,3>1", vector_rows<dot_product<1, 3>, 4, 1>},
                        {"3,1>1", vector_rows<dot_product<3, 1>, 4, 1>}}});
  define(r, {.name = "cross",
             .args = {"vector1", "vector2"},
             .doc = "Cross product: a 3-vector, or for 2-vectors its z.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .pass = pass_product_with_zero,
             .combos = {{"2,2>1", vector_rows<cross_2, 4, 1>}, {"3,3>3", vector_rows<cross_3, 6, 3>}}});
  define(r, {.name = "dist_squared",
             .args = {"arg1", "arg2"},
             .doc = "Squared distance of two vectors.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"1,1>1", vector_rows<squared_distance<1>, 2, 1>},
                        {"2,2>1", vector_rows<squared_distance<2>, 4, 1>},
                        {"3,3>1", vector_rows<squared_distance<3>, 6, 1>}}});
  define(r, {.name = "dist",
             .args = {"arg1", "arg2"},
             .doc = "Distance of two vectors, good below 11.3; for scalars the absolute difference.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"1,1>1", binary<distance_1>},
                        {"2,2>1", vector_rows<distance<2>, 4, 1>},
                        {"3,3>1", vector_rows<distance<3>, 6, 1>}}});
  define(r, {.name = "max_element",
             .args = {"vector"},
             .doc = "The largest element.",
             .cost = 1,
             .pass = pass_if_scalar,
             .combos = {{"1>1", copy_rows},
                        {"2>1", vector_rows<largest<2>, 2, 1>},
                        {"3>1", vector_rows<largest<3>, 3, 1>},
                        {"4>1", vector_rows<largest<4>, 4, 1>}}});
  define(r, {.name = "min_element",
             .args = {"vector"},
             .doc = "The smallest element.",
             .cost = 1,
             .pass = pass_if_scalar,
             .combos = {{"1>1", copy_rows},
                        {"2>1", vector_rows<smallest<2>, 2, 1>},
                        {"3>1", vector_rows<smallest<3>, 3, 1>},
                        {"4>1", vector_rows<smallest<4>, 4, 1>}}});
  define(r, {.name = "ave_element",
             .args = {"vector"},
             .doc = "The mean of the elements.",
             .cost = 1,
             .pass = pass_if_scalar,
             .combos = {{"1>1", copy_rows},
                        {"2>1", vector_rows<mean<2>, 2, 1>},
                        {"3>1", vector_rows<mean<3>, 3, 1>},
                        {"4>1", vector_rows<mean<4>, 4, 1>}}});
  define(r, {.name = "direction",
             .args = {"vector", "offset"},
             .doc = "Angle of a 2-vector less offset, in revolutions.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"2,1>1", vector_rows<angle_from, 3, 1>}}});
}

}  // namespace tessaron::TESSARON_LEVEL
