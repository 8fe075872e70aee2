// Blurs and what is made of them.
#include "operators/bodies/blur.h"
#include "catalogue/functions/groups.h"
#include "evaluator/bounds.h"
#include "evaluator/pass_hooks.h"
#include "genotype/genotype_reader.h"
#include "operators/bodies/defocus.h"
#include "operators/planes.h"

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

// --- how far they reach ------------------------------------------------------------------------------------

constexpr int IMAGE_ARG = 0;

bool is_constant(const node& n, int arg) { return (n.args[arg]->node_flags & NODE_CONSTANT) != 0; }

/// Every argument that is blurred with the image is asked for as much around.
void grow_by_radii(node& n, blur_radii radii, int last_image_arg = IMAGE_ARG) {
  for (int arg = IMAGE_ARG; arg <= last_image_arg; ++arg)
    grow_arg_bounds(n, arg, whole_pixels(radii.x), whole_pixels(correct_pixel_aspect(radii.y)));
}
void unbound_args(node& n, int last_image_arg = IMAGE_ARG) {
  for (int arg = IMAGE_ARG; arg <= last_image_arg; ++arg) unbound_arg_bounds(n, arg);
}

/// The larger of two blurs in each direction.
blur_radii larger_radii(blur_radii a, blur_radii b) { return {fix_max(a.x, b.x), fix_max(a.y, b.y)}; }

void bounds_blur(node& n) {
  constexpr int AMOUNT = 1;
  if (!is_constant(n, AMOUNT)) return unbound_args(n);
  grow_by_radii(n, blur_radii_of(*n.args[AMOUNT]));
}

void bounds_blur_channels(node& n) {
  constexpr int AMOUNT = 1, CHANNEL_AMOUNT = 2;
  if (!is_constant(n, AMOUNT) || !is_constant(n, CHANNEL_AMOUNT)) return unbound_args(n);
  fix largest = 0;
  for (int c = 0; c < n.args[CHANNEL_AMOUNT]->elnum; ++c)
    largest = fix_max(largest, n.args[CHANNEL_AMOUNT]->const_vals[c]);
  grow_by_radii(n, channel_radii(blur_radii_of(*n.args[AMOUNT]), largest));
}

void bounds_masked_blur(node& n) {
  constexpr int MASK = 1, AMOUNT = 2;
  if (!is_constant(n, AMOUNT)) return unbound_args(n, MASK);
  grow_by_radii(n, blur_radii_of(*n.args[AMOUNT]), MASK);
}

void bounds_sharpen(node& n) {
  constexpr int GRANULARITY = 2;
  if (!is_constant(n, GRANULARITY)) return unbound_args(n);
  const fix granularity = amount_to_fix_pixels(n.args[GRANULARITY]->const_vals[0]);
  grow_by_radii(n, {granularity, granularity});
}

void bounds_band_pass(node& n) {
  constexpr int BLUR_AMOUNT1 = 1, BLUR_AMOUNT2 = 2;
  if (!is_constant(n, BLUR_AMOUNT1) || !is_constant(n, BLUR_AMOUNT2)) return unbound_args(n);
  grow_by_radii(n, larger_radii(blur_radii_of(*n.args[BLUR_AMOUNT1]), blur_radii_of(*n.args[BLUR_AMOUNT2])));
}

void bounds_z_blur(node& n) {
  constexpr int ZBUFFER = 1, BLUR_NEAR = 4, BLUR_FAR = 5;
  if (!is_constant(n, BLUR_NEAR) || !is_constant(n, BLUR_FAR)) return unbound_args(n, ZBUFFER);
  const auto magnitude = [](blur_radii r) { return blur_radii{wrap_abs(r.x), wrap_abs(r.y)}; };
  grow_by_radii(n,
                larger_radii(magnitude(blur_radii_of(*n.args[BLUR_NEAR])), magnitude(blur_radii_of(*n.args[BLUR_FAR]))),
                ZBUFFER);
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
             .bounds = bounds_blur,
             .combos = {{"1,1,1,1,1>1 1,2,1,1,1>1 1,2,1,2,1>1 2,1,1,1,1>2 2,2,1,1,1>2 2,2,1,2,1>2 3,1,1,1,1>3 "
                         "3,2,1,1,1>3 3,2,1,3,1>3 3,2,1,4,1>3 4,1,1,1,1>4 4,2,1,1,1>4 4,2,1,4,1>4",
                         blur}}});
  define(r, {.name = "blur_channels",
             .args = {"image", "amount", "channel_amount", "filter_shape", "scale", "subpixel"},
             .doc = "Blurs an image by an amount of its own for each channel.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &BLUR,
             .bounds = bounds_blur_channels,
             .combos = {{"3,2,3,1,1,1>3 3,1,3,1,1,1>3 1,2,3,1,1,1>3 1,1,3,1,1,1>3 2,2,2,1,1,1>2 2,1,2,1,1,1>2 "
                         "1,2,2,1,1,1>2 1,1,2,1,1,1>2 3,2,3,1,3,1>3 3,1,3,1,3,1>3 1,2,3,1,3,1>3 1,1,3,1,3,1>3 "
                         "2,2,2,1,2,1>2 2,1,2,1,2,1>2 1,2,2,1,2,1>2 1,1,2,1,2,1>2 1,2,4,1,4,1>1 3,2,4,1,4,1>3 "
                         "4,2,4,1,4,1>4",
                         blur_channels}}});
  define(r, {.name = "masked_blur",
             .args = {"image", "mask", "amount", "filter_shape", "subpixel"},
             .doc = "Blurs an image where a mask lets it.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &MASKED_BLUR,
             .bounds = bounds_masked_blur,
             .combos = {{"1,1,1,1,1>1 2,1,1,1,1>2 3,1,1,1,1>3 4,1,1,1,1>4 1,1,2,1,1>1 2,1,2,1,1>2 3,1,2,1,1>3 "
                         "4,1,2,1,1>4",
                         masked_blur}}});
  define(r, {.name = "defocus",
             .args = {"image", "radius", "gamma", "scale", "subpixel", "shape"},
             .doc = "Blurs as a lens out of focus does, with a disc or a polygon.",
             .cost = 300,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &DEFOCUS,
             .bounds = bounds_defocus,
             .combos = {{"1,1,1,1,1,1>1 2,1,1,1,1,1>2 3,1,1,1,1,1>3 4,1,1,1,1,1>4 1,2,1,1,1,1>1 2,2,1,1,1,1>2 "
                         "3,2,1,1,1,1>3 4,2,1,1,1,1>4",
                         defocus}}});
  define(r, {.name = "z_blur",
             .args = {"image", "zbuffer", "z_near", "z_far", "blur_near", "blur_far", "n_layers", "combine"},
             .doc = "Blurs by depth, in layers.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &Z_BLUR,
             .bounds = bounds_z_blur,
             .combos = {{"1,1,1,1,1,1,1,1>1 3,1,1,1,1,1,1,1>3 4,1,1,1,1,1,1,1>4 1,1,1,1,2,2,1,1>1 "
                         "3,1,1,1,2,2,1,1>3 4,1,1,1,2,2,1,1>4",
                         z_blur}}});
  define(r, {.name = "band_pass",
             .args = {"image", "blur_amount1", "blur_amount2", "scale"},
             .doc = "The difference of two blurs, around 0.5.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &BAND_PASS,
             .bounds = bounds_band_pass,
             .combos = {{"1,1,1,1>1 2,1,1,1>2 3,1,1,1>3 1,2,2,1>1 2,2,2,1>2 3,2,2,1>3", band_pass}}});
  define(r, {.name = "sharpen",
             .args = {"image", "scale", "granularity"},
             .doc = "Unsharp mask.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_BLUR,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &SHARPEN,
             .bounds = bounds_sharpen,
             .combos = {{"1,1,1>1 2,1,1>2 3,1,1>3 4,1,1>4", sharpen}}});
}

}  // namespace tessaron::TESSARON_LEVEL
