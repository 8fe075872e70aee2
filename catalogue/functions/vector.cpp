// Vectors built, taken apart, widened and narrowed. Element counts 2 and 4 carry alpha as their last
// element where a function speaks of colour.
#include "base/fixed.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "evaluator/kernels.h"
#include "evaluator/pass_hooks.h"
#include "evaluator/tables.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// Nothing to convert: the argument has the node's element count already.
int pass_if_same_count(const node& n) { return n.args[0]->elnum == n.elnum ? 0 : -1; }
/// A type without alpha wants the colour alone.
int pass_if_type_has_no_alpha(const node& n) { return n.args[2]->elnum & 1 ? 0 : -1; }

// --- luma ------------------------------------------------------------------------------------------

/// Luma of the first three of N elements; with N_OUT 2 the alpha follows.
template <int N, int N_OUT>
struct luma {
  static inline void of(const fix* in, fix* out) {
    out[0] = fix_mono(in[0], in[1], in[2]);
    if constexpr (N_OUT == 2) out[1] = in[N - 1];
  }
};

void define_luma(fun_registry& r) {
  define(r,
         {.name = "monochrome",
          .args = {"color"},
          .doc = "Luma of a colour, 5/16 red + 8/16 green + 3/16 blue; 1 or 2 elements give their first.",
          .cost = 1,
          .pass = pass_if_same_count,
          .combos = {
              {"1>1 2>1", copy_rows}, {"3>1", vector_rows<luma<3, 1>, 3, 1>}, {"4>1", vector_rows<luma<4, 1>, 4, 1>}}});
  define(r,
         {.name = "monochrome_a",
          .args = {"color"},
          .doc = "Luma of a colour; 2 and 4 elements keep their alpha as second element.",
          .cost = 1,
          .pass = pass_if_same_count,
          .combos = {
              {"1>1 2>2", copy_rows}, {"3>1", vector_rows<luma<3, 1>, 3, 1>}, {"4>2", vector_rows<luma<4, 2>, 4, 2>}}});
}

// --- building and taking apart -----------------------------------------------------------------------

/// Element e of the result is argument e.
void gather_args(node& n) {
  for (int e = 0; e < n.elnum; ++e) copy_row(n.rows[e], spread(n, e, 0), row_width(n));
}

/// Element numbers are read from the first sample of the row, and held to the elements that exist.
void pick_elements(node& n) {
  for (int e = 0; e < n.elnum; ++e) {
    const fix wanted = *n.arg_rows[1][e] >> FIX_BITS;
    copy_row(n.rows[e], spread(n, 0, fix_clamp(wanted, 0, n.args[0]->elnum - 1)), row_width(n));
  }
}

/// Three elements of argument 0, then the first of argument 1.
void join_alpha(node& n) {
  for (int e = 0; e < 3; ++e) copy_row(n.rows[e], spread(n, 0, e), row_width(n));
  copy_row(n.rows[3], spread(n, 1, 0), row_width(n));
}

void define_building(fun_registry& r) {
  define(
      r,
      {.name = "v2", .args = {"x", "y"}, .doc = "Builds a 2-vector.", .cost = 1, .combos = {{"1,1>2", gather_args}}});
  define(r, {.name = "v3",
             .args = {"red", "green", "blue"},
             .doc = "Builds a 3-vector.",
             .cost = 1,
             .combos = {{"1,1,1>3", gather_args}}});
  define(r, {.name = "v4",
             .args = {"red", "green", "blue", "alpha"},
             .doc = "Builds a 4-vector.",
             .cost = 1,
             .combos = {{"1,1,1,1>4", gather_args}}});
  define(
      r,
      {.name = "element_of",
       .args = {"vector", "element_n"},
       .doc = "Picks elements by number, one for each element of element_n; 0 is the first.",
       .cost = 1,
       .pass = pass_if_scalar,
       .row_start_args = 1 << 1,
       .combos = {{"1,1>1 2,1>1 2,2>2 2,3>3 2,4>4 3,1>1 3,2>2 3,3>3 3,4>4 4,1>1 4,2>2 4,3>3 4,4>4", pick_elements}}});
  define(r, {.name = "v3_to_v4",
             .args = {"v3", "alpha"},
             .doc = "A colour and a separate alpha as 4 elements; 3 elements of alpha give their first.",
             .cost = 1,
             .combos = {{"3,1>4 3,3>4 4,1>4 4,3>4 1,1>4 1,3>4", join_alpha}}});
  define(r,
         {.name = "v3_to_v4_if4",
          .args = {"v3", "alpha", "to_vect_type"},
          .doc = "As v3_to_v4 if to_vect_type has 4 elements, else the colour alone.",
          .cost = 1,
          .flags2 = FUN2_TYPE_ONLY_LAST,
          .pass = pass_if_type_has_no_alpha,
          .combos = {{"3,1,4>4 4,1,4>4 1,1,4>4", join_alpha}, {"3,1,3>3 1,1,3>3 3,1,1>3 1,1,1>1 1,1,2>2", copy_rows}}});
  define(r, {.name = "v3_to_v4_if4_a",
             .args = {"v3", "alpha", "to_vect_type"},
             .doc = "As v3_to_v4_if4, but a scalar type picks the alpha of a scalar.",
             .cost = 1,
             .flags2 = FUN2_TYPE_ONLY_LAST,
             .pass = [](const node& n) -> int {
               if (n.args[2]->elnum == 3) return 0;
               return n.args[0]->elnum == 1 && n.args[2]->elnum == 1 ? 1 : -1;
             },
             .combos = {{"3,1,4>4 4,1,4>4 1,1,4>4", join_alpha},
                        {"3,1,3>3 1,1,3>3 3,1,1>3", copy_rows},
                        {"1,1,1>1", copy_arg<1>},
                        {"1,1,2>2", copy_rows}}});
}

// --- alpha from a colour -----------------------------------------------------------------------------

/// N elements of colour, and the largest of red, green and blue times the scale as alpha.
template <int N>
struct largest_as_alpha {
  static inline void of(const fix* in, fix* out) {
    for (int e = 0; e < 3; ++e) out[e] = in[e < N ? e : N - 1];
    out[3] = fix_mul(fix_max(fix_max(out[0], out[1]), out[2]), in[N]);
  }
};

void define_alpha_from_colour(fun_registry& r) {
  define(r, {.name = "alpha_from_rgb_max_v4",
             .args = {"rgb", "scale"},
             .doc = "A colour with alpha = max(red, green, blue) * scale, as 4 elements.",
             .cost = 1,
             .combos = {{"1,1>4", vector_rows<largest_as_alpha<1>, 2, 4>},
                        {"3,1>4", vector_rows<largest_as_alpha<3>, 4, 4>},
                        {"4,1>4", vector_rows<largest_as_alpha<4>, 5, 4>}}});
  define(r, {.name = "alpha_from_rgb_max",
             .args = {"rgb", "scale", "coerce_to"},
             .doc = "As alpha_from_rgb_max_v4 if coerce_to has 4 elements, else the colour as 3 elements.",
             .cost = 1,
             .flags2 = FUN2_TYPE_ONLY_LAST,
             .pass = pass_if_type_has_no_alpha,
             .combos = {{"1,1,4>4", vector_rows<largest_as_alpha<1>, 2, 4>},
                        {"3,1,4>4", vector_rows<largest_as_alpha<3>, 4, 4>},
                        {"4,1,4>4", vector_rows<largest_as_alpha<4>, 5, 4>},
                        {"1,1,3>3 3,1,3>3 4,1,3>3 1,1,1>3 3,1,1>3 4,1,1>3", copy_rows}}});
}

// --- widening and narrowing ----------------------------------------------------------------------------

constexpr auto coerce = elementwise<identity, 1, widened>;

/// As `widened`, but a scalar that becomes a value with alpha (2 or 4 elements) is opaque.
row_view widened_opaque(const node& n, int a, int e) {
  const bool alpha = e == 1 ? n.elnum == 2 : e == 3;
  if (n.args[a]->elnum == 1 && alpha) return {OPAQUE_ALPHA, true};
  return widened(n, a, e);
}

void define_coercions(fun_registry& r) {
  define(r, {.name = "coerce_to_v3",
             .args = {"v"},
             .doc = "To 3 elements: 1 spreads, 2 get blue 0, 4 lose their alpha.",
             .cost = 1,
             .pass = pass_if_same_count,
             .combos = {{"1>3 2>3 3>3 4>3", coerce}}});
  define(r, {.name = "coerce_up_to_v3",
             .args = {"v"},
             .doc = "To 3 elements: 1 spreads, 2 get blue 0; 4 stay 4.",
             .cost = 1,
             .pass = pass_if_same_count,
             .combos = {{"1>3 2>3 3>3 4>4", coerce}}});
  define(r, {.name = "coerce_to_v4",
             .args = {"v"},
             .doc = "To 4 elements: 1 spreads into all four, 3 get alpha 1.0.",
             .cost = 1,
             .pass = pass_if_same_count,
             .combos = {{"1>4 3>4 4>4", coerce}}});
  define(r,
         {.name = "coerce_up",
          .args = {"vector", "to_vect_type"},
          .doc = "Widens to the element count of to_vect_type, never narrows: 1 spreads, missing alpha is 1.0.",
          .cost = 1,
          .flags2 = FUN2_TYPE_ONLY_LAST,
          .pass = pass_if_same_count,
          .combos = {{"1,2>2 1,3>3 1,4>4 3,4>4 1,1>1 2,1>2 2,2>2 3,1>3 3,3>3 4,1>4 4,3>4 4,4>4 2,3>3 2,4>4", coerce}}});
  define(r, {.name = "coerce_up_a1",
             .args = {"vector", "to_vect_type"},
             .doc = "As coerce_up, but a scalar widened to 2 or 4 elements gets alpha 1.0.",
             .cost = 1,
             .flags2 = FUN2_TYPE_ONLY_LAST,
             .pass = pass_if_same_count,
             .combos = {{"1,2>2 1,4>4 1,3>3 3,4>4 1,1>1 2,1>2 2,2>2 3,1>3 3,3>3 4,1>4 4,3>4 4,4>4 2,3>3 2,4>4",
                         elementwise<identity, 1, widened_opaque>}}});
  define(r, {.name = "coerce_to",
             .args = {"vector", "to_vect_type"},
             .doc = "Widens or narrows to the element count of to_vect_type.",
             .cost = 1,
             .flags2 = FUN2_TYPE_ONLY_LAST,
             .pass = pass_if_same_count,
             .combos = {{"4,4>4 3,4>4 1,4>4 4,3>3 3,3>3 1,3>3 1,2>2 1,1>1 2,1>1", coerce}}});
}

// --- alpha taken out -------------------------------------------------------------------------------------

/// The last element: the alpha of 2 or 4 elements.
void copy_last(node& n) { copy_row(n.rows[0], spread(n, 0, n.args[0]->elnum - 1), row_width(n)); }
void fill_opaque(node& n) { copy_row(n.rows[0], {OPAQUE_ALPHA, true}, row_width(n)); }

void define_alpha_access(fun_registry& r) {
  define(r, {.name = "coerce_to_alpha",
             .args = {"v"},
             .doc = "The last of 2 or 4 elements, the first of 1 or 3.",
             .cost = 1,
             .pass = pass_if_same_count,
             .combos = {{"1>1", copy_rows}, {"2>1", copy_last}, {"3>1", copy_rows}, {"4>1", copy_last}}});
  define(r, {.name = "get_alpha",
             .args = {"v"},
             .doc = "The alpha of 2 or 4 elements; 1.0 for 1 or 3.",
             .cost = 1,
             .combos = {{"1>1", fill_opaque}, {"2>1", copy_last}, {"3>1", fill_opaque}, {"4>1", copy_last}}});
  define(r,
         {.name = "get_alpha_or_luma",
          .args = {"v"},
          .doc = "The alpha of 2 or 4 elements, the luma of 3; 1.0 for 1.",
          .cost = 1,
          .combos = {
              {"1>1", fill_opaque}, {"2>1", copy_last}, {"3>1", vector_rows<luma<3, 1>, 3, 1>}, {"4>1", copy_last}}});
  define(r, {.name = "remove_alpha",
             .args = {"v"},
             .doc = "Drops the alpha: 2 elements become 1, 4 become 3.",
             .cost = 1,
             .pass = pass_if_same_count,
             .combos = {{"1>1 2>1 3>3 4>3", copy_rows}}});
}

}  // namespace

void define_vector(fun_registry& r) {
  define_luma(r);
  define_building(r);
  define_alpha_from_colour(r);
  define_coercions(r);
  define_alpha_access(r);
  define_vector_maths(r);
}

}  // namespace tessaron::TESSARON_LEVEL
