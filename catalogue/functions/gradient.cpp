// Gradients of images: slopes, edges, and light on a height map.
#include "operators/bodies/gradient.h"
#include "catalogue/functions/groups.h"
#include "evaluator/bounds.h"
#include "evaluator/pass_hooks.h"
#include "operators/bodies/emboss.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs GRADIENT = {.image_arg_index = 0, .images_per_element = 1, .aux_count_b = 2};
constexpr image_needs EMBOSS = {.image_arg_index = 0, .extra_images = 2, .aux_count_a = 8};

/// A slope reaches as far as the blur before it, and one pixel for the difference. Other arguments are read in place.
template <int PRE_BLUR>
void bounds_gradient(node& n) {
  constexpr int IMAGE = 0;
  const auto whole = [](fix amount) { return (amount + (FIX_ONE - 1)) >> FIX_BITS; };
  if (arg_constant(n, PRE_BLUR)) {
    const fix amount = fix_max(amount_to_fix_pixels(n.args[PRE_BLUR]->const_vals[0]), 0);
    grow_arg_bounds(n, IMAGE, whole(amount) + 1, whole(correct_pixel_aspect(amount)) + 1);
  } else {
    unbound_arg_bounds(n, IMAGE);
  }
  for (int a = 1; a < n.eval_arg_number; ++a) grow_arg_bounds(n, a, 0, 0);
}

}  // namespace

void define_gradient(fun_registry& r) {
  define(r, {.name = "grad",
             .args = {"image", "pre_blur", "scale", "subpixel_blur"},
             .doc = "The slope of an image in x and y.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_GRADIENT,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GRADIENT,
             .bounds = bounds_gradient<1>,
             .combos = {{"1,1,1,1>2", grad_image}}});
  define(r, {.name = "grad_for_mipmap",
             .args = {"image", "scale", "rel_p"},
             .doc = "How fast coordinates change, as mipmap levels.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_GRADIENT,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GRADIENT,
             .combos = {{"2,1,1>2", grad_for_mipmap_image}}});
  define(r, {.name = "edge_detect",
             .args = {"image", "pre_blur", "scale", "subpixel_blur"},
             .doc = "The steepness of an image.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_GRADIENT,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GRADIENT,
             .bounds = bounds_gradient<1>,
             .combos = {{"1,1,1,1>1 2,1,1,1>2 3,1,1,1>3", edge_detect_image}}});
  define(r, {.name = "grad_direction",
             .args = {"image", "pre_blur", "offset", "subpixel_blur"},
             .doc = "The direction of an image's slope, in revolutions.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_GRADIENT,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GRADIENT,
             .bounds = bounds_gradient<1>,
             .combos = {{"1,1,1,1>1 2,1,1,1>2 3,1,1,1>3", grad_direction_image}}});
  define(r, {.name = "grad_in_direction",
             .args = {"image", "direction", "pre_blur", "subpixel_blur"},
             .doc = "The slope of an image along a direction.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_GRADIENT,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GRADIENT,
             .bounds = bounds_gradient<2>,
             .combos = {{"1,2,1,1>1 2,2,1,1>2 3,2,1,1>3", grad_in_direction_image}}});
  define(
      r,
      {.name = "emboss",
       .args = {"height_map", "pre_blur", "scale_height", "surface_color", "light_color", "light_direction", "specular",
                "shininess", "subpixel_blur"},
       .doc = "Light on a surface whose height is an image.",
       .cost = 10,
       .weight = 1.0f,
       .fun_class = CLASS_GRADIENT,
       .flags = FUN_REAL_IMAGE,
       .flags2 = FUN2_SMOOTHS,
       .image = &EMBOSS,
       .bounds = bounds_gradient<1>,
       .combos = {{"1,1,1,3,3,2,1,1,1>3 1,1,1,1,3,2,1,1,1>3 1,1,1,3,1,2,1,1,1>3 1,1,1,4,3,2,1,1,1>4", emboss_image}}});
}

}  // namespace tessaron::TESSARON_LEVEL
