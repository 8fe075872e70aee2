// Blurs and what is made of them.
#include "catalogue/functions/groups.h"
#include "evaluator/pass_hooks.h"
#include "genotype/genotype_reader.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs BLUR = {.image_arg_index = 0, .images_per_element = 1, .arg_enable_runtime = 1, .aux_count_b = 2};
constexpr image_needs MASKED_BLUR = {
    .image_arg_index = 0, .images_per_element = 1, .extra_images = 3, .arg_enable_runtime = 2, .aux_count_b = 4};
constexpr image_needs DEFOCUS = {
    .image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .arg_scale_runtime = 1, .aux_count_b = 1};
constexpr image_needs Z_BLUR = {.image_arg_index = 0,
                                .images_per_element = 2,
                                .extra_images = 4,
                                .arg_scale_runtime = 6,
                                .arg_scale_passes = 6,
                                .aux_count_a = 2,
                                .aux_count_b = 2};
constexpr image_needs BAND_PASS = {.image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_b = 4};
constexpr image_needs SHARPEN = {.image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_b = 2};

/// A blur by nothing at full scale is the image; one scaled to nothing is its (zero) scale.
int pass_blur(const node& n) {
  constexpr int IMAGE = 0, AMOUNT = 1, SCALE = 3;
  if (arg_zero(n, AMOUNT) && arg_one(n, SCALE)) return IMAGE;
  if (arg_zero(n, SCALE) && ((n.elnum & 1) || n.elnum == n.args[SCALE]->elnum)) return SCALE;
  return -1;
}

}  // namespace

void define_blur(fun_registry& r) {
  define(r, {.name = "blur",
             .args = {"image", "amount", "filter_shape", "scale", "subpixel"},
             .doc = "Blurs an image; an amount of 1.0 is an eighth of the frame's width.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &BLUR,
             .pass = pass_blur,
             .combos = {{"1,1,1,1,1>1 1,2,1,1,1>1 1,2,1,2,1>1 2,1,1,1,1>2 2,2,1,1,1>2 2,2,1,2,1>2 3,1,1,1,1>3 "
                         "3,2,1,1,1>3 3,2,1,3,1>3 3,2,1,4,1>3 4,1,1,1,1>4 4,2,1,1,1>4 4,2,1,4,1>4",
                         not_built_yet}}});
  define(r, {.name = "blur_channels",
             .args = {"image", "amount", "channel_amount", "filter_shape", "scale", "subpixel"},
             .doc = "Blurs an image by an amount of its own for each channel.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &BLUR,
             .combos = {{"3,2,3,1,1,1>3 3,1,3,1,1,1>3 1,2,3,1,1,1>3 1,1,3,1,1,1>3 2,2,2,1,1,1>2 2,1,2,1,1,1>2 "
                         "1,2,2,1,1,1>2 1,1,2,1,1,1>2 3,2,3,1,3,1>3 3,1,3,1,3,1>3 1,2,3,1,3,1>3 1,1,3,1,3,1>3 "
                         "2,2,2,1,2,1>2 2,1,2,1,2,1>2 1,2,2,1,2,1>2 1,1,2,1,2,1>2 1,2,4,1,4,1>1 3,2,4,1,4,1>3 "
                         "4,2,4,1,4,1>4",
                         not_built_yet}}});
  define(r, {.name = "masked_blur",
             .args = {"image", "mask", "amount", "filter_shape", "subpixel"},
             .doc = "Blurs an image where a mask lets it.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &MASKED_BLUR,
             .combos = {{"1,1,1,1,1>1 2,1,1,1,1>2 3,1,1,1,1>3 4,1,1,1,1>4 1,1,2,1,1>1 2,1,2,1,1>2 3,1,2,1,1>3 "
                         "4,1,2,1,1>4",
                         not_built_yet}}});
  define(r, {.name = "defocus",
             .args = {"image", "radius", "gamma", "scale", "subpixel", "shape"},
             .doc = "Blurs as a lens out of focus does, with a disc or a polygon.",
             .cost = 300,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &DEFOCUS,
             .combos = {{"1,1,1,1,1,1>1 2,1,1,1,1,1>2 3,1,1,1,1,1>3 4,1,1,1,1,1>4 1,2,1,1,1,1>1 2,2,1,1,1,1>2 "
                         "3,2,1,1,1,1>3 4,2,1,1,1,1>4",
                         not_built_yet}}});
  define(r, {.name = "z_blur",
             .args = {"image", "zbuffer", "z_near", "z_far", "blur_near", "blur_far", "n_layers", "combine"},
             .doc = "Blurs by depth, in layers.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &Z_BLUR,
             .combos = {{"1,1,1,1,1,1,1,1>1 3,1,1,1,1,1,1,1>3 4,1,1,1,1,1,1,1>4 1,1,1,1,2,2,1,1>1 "
                         "3,1,1,1,2,2,1,1>3 4,1,1,1,2,2,1,1>4",
                         not_built_yet}}});
  define(r, {.name = "band_pass",
             .args = {"image", "blur_amount1", "blur_amount2", "scale"},
             .doc = "The difference of two blurs, around 0.5.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &BAND_PASS,
             .combos = {{"1,1,1,1>1 2,1,1,1>2 3,1,1,1>3 1,2,2,1>1 2,2,2,1>2 3,2,2,1>3", not_built_yet}}});
  define(r, {.name = "sharpen",
             .args = {"image", "scale", "granularity"},
             .doc = "Unsharp mask.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &SHARPEN,
             .combos = {{"1,1,1>1 2,1,1>2 3,1,1>3 4,1,1>4", not_built_yet}}});
}

}  // namespace tessaron::TESSARON_LEVEL
