// Lens flares and glares, drawn from descriptions in data files.
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "evaluator/bounds.h"
#include "operators/bodies/flare.h"
#include "operators/bodies/glare.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs LENS_FLARE = {.extra_images = 3, .arg_scale_runtime = 5, .aux_count_a = 1};
constexpr image_needs LENS_FLARE_AUTO = {
    .image_arg_index = 0, .extra_images = 3, .arg_scale_runtime = 6, .aux_count_a = 3};
constexpr image_needs GLARE = {.image_arg_index = 0, .images_per_element = 2, .arg_scale_runtime = 3, .aux_count_b = 1};

/// A light anywhere in the image may reach any pixel.
void bounds_whole_image(node& n) { unbound_arg_bounds(n, 0); }

}  // namespace

void define_flares(fun_registry& r) {
  define(r, {.name = "lens_flare",
             .args = {"type", "hotspot", "pivot", "gamma", "saturation", "scale_size", "rotate", "hotspot_color",
                      "other_color", "rays_color"},
             .doc = "A lens flare drawn from its description.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_NEVER_CONSTANT,
             .image = &LENS_FLARE,
             .combos = {{"1,2,2,1,1,1,1,3,3,3>3 1,2,2,1,1,2,1,3,3,3>3 1,2,2,1,1,1,1,3,3,1>3 1,2,2,1,1,2,1,3,3,1>3",
                         lens_flare}}});
  define(r, {.name = "lens_flare_auto",
             .args = {"image", "pre_blur", "type", "pivot", "gamma", "saturation", "scale_size", "rotate",
                      "hotspot_color", "other_color", "rays_color", "shift"},
             .doc = "A lens flare on the brightest spot of the image.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &LENS_FLARE_AUTO,
             .bounds = bounds_whole_image,
             .combos = {{"1,1,1,2,1,1,2,1,3,3,3,2>3 1,1,1,2,1,1,2,1,3,3,1,2>3", lens_flare_auto}}});
  define(r, {.name = "glare",
             .args = {"image", "threshold", "pre_blur", "size", "brightness", "saturation", "type", "convolve?",
                      "rotate", "res_factor"},
             .doc = "A glare of a given type around what is brighter than the threshold.",
             .cost = 40,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GLARE,
             .bounds = bounds_whole_image,
             .combos = {{"1,1,1,2,1,1,1,1,1,1>3 3,1,1,2,1,1,1,1,1,1>3 1,1,1,2,3,1,1,1,1,1>3 3,1,1,2,3,1,1,1,1,1>3 "
                         "1,3,1,2,1,1,1,1,1,1>3 3,3,1,2,1,1,1,1,1,1>3 1,3,1,2,3,1,1,1,1,1>3 3,3,1,2,3,1,1,1,1,1>3 "
                         "4,3,1,2,3,1,1,1,1,1>3",
                         glare}}});
}

}  // namespace tessaron::TESSARON_LEVEL
