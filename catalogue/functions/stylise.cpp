// Looks of a style: an insect's eye, drops of water, brush strokes, and the foldings of a kaleidoscope.
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "evaluator/bounds.h"
#include "evaluator/kernels.h"
#include "evaluator/pass_hooks.h"
#include "operators/bodies/drops.h"
#include "operators/bodies/flys_eye.h"
#include "operators/bodies/kaleido.h"
#include "operators/bodies/paint.h"
#include "operators/paint.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs SAMPLED = {.image_arg_index = 0, .images_per_element = 1, .aux_count_a = 1};
constexpr image_needs PAINT = {.image_arg_index = 0, .images_per_element = 1, .extra_images = 2, .aux_count_a = 3};

/// A stroke lies as far from where it takes its colour as it reaches, and a pixel further between samples. There the
/// image has been blurred, and the slopes that it follows, which come from one pixel further, again.
void bounds_paint(node& n) {
  constexpr int IMAGE = 0, FREQUENCY = 1, PRE_BLUR = 2, GRAD_BLUR = 4;
  if (!arg_constant(n, FREQUENCY) || !arg_constant(n, PRE_BLUR) || !arg_constant(n, GRAD_BLUR)) {
    unbound_arg_bounds(n, IMAGE);
  } else {
    const fix reach = fix_from_double(double(paint_reach(n.args[FREQUENCY]->const_vals[0])));
    fix across = 0, down = 0;
    for (const fix amount : {reach, amount_to_fix_pixels(n.args[PRE_BLUR]->const_vals[0]),
                             amount_to_fix_pixels(n.args[GRAD_BLUR]->const_vals[0])}) {
      const fix held = fix_max(amount, 0);
      across += whole_pixels(held);
      down += whole_pixels(correct_pixel_aspect(held));
    }
    grow_arg_bounds(n, IMAGE, across + 2, down + 2);
  }
  for (int a = 1; a < n.eval_arg_number; ++a) grow_arg_bounds(n, a, 0, 0);
}

}  // namespace

void define_stylisers(fun_registry& r) {
  define(r, {.name = "flys_eye",
             .args = {"image", "coords", "frequency", "shift", "rotate", "inside_zdist", "inside_rotate",
                      "overall_zdist", "edge_softness", "wrap"},
             .doc = "The image through hexagonal lenses.",
             .cost = 20,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_COORDS,
             .image = &SAMPLED,
             .combos = {{"1,2,2,2,1,1,1,1,1,2>1 2,2,2,2,1,1,1,1,1,2>2 3,2,2,2,1,1,1,1,1,2>3 4,2,2,2,1,1,1,1,1,2>4",
                         flys_eye_image}}});
  define(r, {.name = "drops",
             .args = {"image", "coords", "amplitude", "frequency", "phase", "rotate", "in_out_rads", "in_out_soft",
                      "max_centers"},
             .doc = "Ripples of drops that an image places, as a shift of coordinates.",
             .cost = 20,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_REAL_IMAGE,
             .image = &SAMPLED,
             .combos = {{"1,2,1,2,1,1,2,2,1>2", drops_image}}});
  define(r, {.name = "paint",
             .args = {"image", "frequency", "pre_blur", "follow_grad", "grad_blur", "rand_seed"},
             .doc = "Brush strokes in the colours of the image.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_PAINT,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &PAINT,
             .bounds = bounds_paint,
             .combos = {{"1,1,1,1,1,1>1 2,1,1,1,1,1>2 3,1,1,1,1,1>3 4,1,1,1,1,1>4", paint_image}}});
}

void define_foldings(fun_registry& r) {
  define(r, {.name = "kaleido",
             .args = {"coords", "scale"},
             .doc = "Folds coordinates into the triangles of a kaleidoscope.",
             .cost = 4,
             .fun_class = CLASS_KALEIDO,
             .combos = {{"2,1>2", vector_rows<kaleido_fold, 3, 2>}}});
  define(r, {.name = "kaleido_diamonds",
             .args = {"coords", "scale"},
             .doc = "Folds coordinates into diamonds.",
             .cost = 4,
             .fun_class = CLASS_KALEIDO,
             .combos = {{"2,1>2", vector_rows<kaleido_diamonds_fold, 3, 2>}}});
  define(r, {.name = "kaleido_oct",
             .args = {"coords", "scale"},
             .doc = "Folds coordinates into octagons.",
             .cost = 4,
             .fun_class = CLASS_KALEIDO,
             .combos = {{"2,1>2", vector_rows<kaleido_oct_fold, 3, 2>}}});
}

}  // namespace tessaron::TESSARON_LEVEL
