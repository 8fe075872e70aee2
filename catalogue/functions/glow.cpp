// Glows and glints: light that spreads from the bright parts of an image.
#include "operators/bodies/glow.h"
#include "catalogue/functions/groups.h"
#include "evaluator/bounds.h"
#include "operators/bodies/glint.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs GLOW = {.image_arg_index = 0, .images_per_element = 2, .arg_enable_runtime = 3, .aux_count_b = 2};
constexpr image_needs GLINT = {.image_arg_index = 0, .images_per_element = 2, .extra_images = 1, .aux_count_b = 4};

// --- how far they reach ------------------------------------------------------------------------------------

constexpr int IMAGE_ARG = 0;

bool constant_args(const node& n, std::initializer_list<int> args) {
  for (int a : args)
    if (!(n.args[a]->node_flags & NODE_CONSTANT)) return false;
  return true;
}

void bounds_glow(node& n) {
  constexpr int WIDTH_XY = 2, WIDTH = 3;
  if (!constant_args(n, {WIDTH_XY, WIDTH})) return unbound_arg_bounds(n, IMAGE_ARG);
  int pad_x = 0, pad_y = 0;
  for (int c = 0; c < n.elnum; ++c) {
    const glow_radii radii = glow_radii_of(n, c);
    pad_x = fix_max(pad_x, whole_pixels(radii.x));
    pad_y = fix_max(pad_y, whole_pixels(correct_pixel_aspect(radii.y)));
  }
  grow_arg_bounds(n, IMAGE_ARG, pad_x, pad_y);
}

template <class Rule>
void bounds_rays(node& n, Rule ray_of) {
  constexpr int PRE_BLUR = 2;
  const fix pre_blur = amount_to_fix_pixels(n.args[PRE_BLUR]->const_vals[0]);
  int across = 0, down = 0;
  for (int c = 0; c < n.elnum; ++c)
    for (int d = 0; d < N_RAYS; ++d) {
      const ray r = ray_of(n, c, ray_direction(d));
      if (r.strength <= 0) continue;
      const int reach = whole_pixels(r.length) + whole_pixels(r.shift);
      if (d != RAY_COLUMN) across = fix_max(across, reach);
      if (d != RAY_ROW) down = fix_max(down, reach);
    }
  grow_arg_bounds(n, IMAGE_ARG, across + whole_pixels(pre_blur), down + whole_pixels(correct_pixel_aspect(pre_blur)));
}

// Arguments: pre_blur, size, brightness, ray_sizes, ray_brightnesses, and the spread of a rainbow.
void bounds_glint(node& n) {
  if (!constant_args(n, {2, 3, 4, 5, 6})) return unbound_arg_bounds(n, IMAGE_ARG);
  bounds_rays(n, ray_of_glint);
}
void bounds_rainbow_glint(node& n) {
  if (!constant_args(n, {2, 3, 4, 5, 6, 7})) return unbound_arg_bounds(n, IMAGE_ARG);
  bounds_rays(n, ray_of_rainbow_glint);
}

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
             .bounds = bounds_glow,
             .combos = {{"1,1,2,1,1,1,1>1 1,1,2,1,3,1,1>3 1,1,2,3,1,1,1>3 1,1,2,3,3,1,1>3 1,3,2,3,3,1,1>3 "
                         "3,1,2,1,1,1,1>3 3,1,2,1,3,1,1>3 3,1,2,3,1,1,1>3 3,1,2,3,3,1,1>3 3,3,2,1,1,1,1>3 "
                         "3,3,2,1,3,1,1>3 3,3,2,3,1,1,1>3 3,3,2,3,3,1,1>3 4,3,2,3,3,1,1>3",
                         glow}}});
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
             .bounds = bounds_glint,
             .combos = {{"1,1,1,1,1,4,4,1>1 1,1,1,1,3,4,4,1>3 1,1,1,3,1,4,4,1>3 1,1,1,3,3,4,4,1>3 "
                         "1,3,1,3,3,4,4,1>3 3,1,1,1,1,4,4,1>3 3,1,1,1,3,4,4,1>3 3,1,1,3,1,4,4,1>3 "
                         "3,1,1,3,3,4,4,1>3 3,3,1,1,1,4,4,1>3 3,3,1,1,3,4,4,1>3 3,3,1,3,1,4,4,1>3 "
                         "3,3,1,3,3,4,4,1>3 4,3,1,3,3,4,4,1>3",
                         glint}}});
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
             .bounds = bounds_rainbow_glint,
             .combos = {{"1,1,1,1,1,4,4,2,1>3 3,1,1,1,1,4,4,2,1>3 3,3,1,1,1,4,4,2,1>3 1,1,1,1,3,4,4,2,1>3 "
                         "1,3,1,1,3,4,4,2,1>3 3,1,1,1,3,4,4,2,1>3 3,3,1,1,3,4,4,2,1>3 4,3,1,1,3,4,4,2,1>3",
                         rainbow_glint}}});
}

}  // namespace tessaron::TESSARON_LEVEL
