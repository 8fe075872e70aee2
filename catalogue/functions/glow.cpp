// Glows and glints: light that spreads from the bright parts of an image.
#include "catalogue/functions/groups.h"
#include "genotype/genotype_reader.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs GLOW = {.image_arg_index = 0, .images_per_element = 2, .arg_enable_runtime = 3, .aux_count_b = 2};
constexpr image_needs GLINT = {.image_arg_index = 0, .images_per_element = 2, .extra_images = 1, .aux_count_b = 4};

}  // namespace

void define_glow(fun_registry& r) {
  define(r, {.name = "glow",
             .args = {"image", "threshold", "width_xy", "width", "brightness", "scale_source", "subpixel"},
             .doc = "A glow around what is brighter than the threshold.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GLOW,
             .combos = {{"1,1,2,1,1,1,1>1 1,1,2,1,3,1,1>3 1,1,2,3,1,1,1>3 1,1,2,3,3,1,1>3 1,3,2,3,3,1,1>3 "
                         "3,1,2,1,1,1,1>3 3,1,2,1,3,1,1>3 3,1,2,3,1,1,1>3 3,1,2,3,3,1,1>3 3,3,2,1,1,1,1>3 "
                         "3,3,2,1,3,1,1>3 3,3,2,3,1,1,1>3 3,3,2,3,3,1,1>3 4,3,2,3,3,1,1>3",
                         not_built_yet}}});
  define(r, {.name = "glint",
             .args = {"image", "threshold", "pre_blur", "size", "brightness", "ray_sizes", "ray_brightnesses",
                      "scale_source"},
             .doc = "Star-shaped rays from what is brighter than the threshold.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GLINT,
             .combos = {{"1,1,1,1,1,4,4,1>1 1,1,1,1,3,4,4,1>3 1,1,1,3,1,4,4,1>3 1,1,1,3,3,4,4,1>3 "
                         "1,3,1,3,3,4,4,1>3 3,1,1,1,1,4,4,1>3 3,1,1,1,3,4,4,1>3 3,1,1,3,1,4,4,1>3 "
                         "3,1,1,3,3,4,4,1>3 3,3,1,1,1,4,4,1>3 3,3,1,1,3,4,4,1>3 3,3,1,3,1,4,4,1>3 "
                         "3,3,1,3,3,4,4,1>3 4,3,1,3,3,4,4,1>3",
                         not_built_yet}}});
  define(r, {.name = "rainbow_glint",
             .args = {"image", "threshold", "pre_blur", "size", "brightness", "ray_sizes", "ray_brightnesses",
                      "color_spread", "scale_source"},
             .doc = "As glint, with rays that spread into the colours of the rainbow.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GLINT,
             .combos = {{"1,1,1,1,1,4,4,2,1>3 3,1,1,1,1,4,4,2,1>3 3,3,1,1,1,4,4,2,1>3 1,1,1,1,3,4,4,2,1>3 "
                         "1,3,1,1,3,4,4,2,1>3 3,1,1,1,3,4,4,2,1>3 3,3,1,1,3,4,4,2,1>3 4,3,1,1,3,4,4,2,1>3",
                         not_built_yet}}});
}

}  // namespace tessaron::TESSARON_LEVEL
