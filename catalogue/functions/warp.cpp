// Warps: images read at computed coordinates.
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "evaluator/pass_hooks.h"
#include "genotype/genotype_reader.h"
#include "operators/bodies/edge_dist.h"
#include "operators/bodies/warps.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs WARP = {.image_arg_index = 0, .extra_images = 4, .aux_count_a = 1};
constexpr image_needs WARP_FILTER = {.image_arg_index = 0, .images_per_element = 1, .aux_count_a = 1};
constexpr image_needs BLUR_WARP = {.image_arg_index = 0, .images_per_element = 2, .aux_count_a = 1};
constexpr image_needs REPEAT_WARP = {
    .image_arg_index = 0, .images_per_element = 1, .arg_scale_runtime = 5, .aux_count_a = 1};
constexpr image_needs REPEAT_WARP_FILTER = {
    .image_arg_index = 0, .images_per_element = 1, .arg_scale_runtime = 7, .aux_count_a = 1};
constexpr image_needs CHROMA_WARP = {
    .image_arg_index = 0, .images_per_element = 1, .arg_scale_runtime = 4, .aux_count_a = 1};
constexpr image_needs CHROMA_WARP_FILTER = {
    .image_arg_index = 0, .images_per_element = 1, .arg_scale_runtime = 6, .aux_count_a = 1};
constexpr image_needs EDGE_DIST = {.image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_a = 1};

/// Reading each pixel at its own place changes nothing.
int pass_own_place(const node& n) {
  return n.args[1]->kind == KIND_BUILT_IN && n.args[1]->var_index == VAR_XY ? 0 : -1;
}

void define_warps(fun_registry& r) {
  define(r, {.name = "warp",
             .args = {"image", "coords", "wrap", "filter"},
             .doc = "The image at other coordinates.",
             .cost = 6,
             .weight = 1.0f,
             .fun_class = CLASS_WARP,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_COORDS | FUN2_COORDS_FREE,
             .image = &WARP,
             .pass = pass_own_place,
             .combos = {{"1,2,2,1>1 2,2,2,1>2 3,2,2,1>3 4,2,2,1>4", warp_image}}});
  define(r, {.name = "warp_rel",
             .args = {"image", "coords", "wrap", "filter"},
             .doc = "The image at coordinates relative to each pixel's own.",
             .cost = 6,
             .weight = 1.0f,
             .fun_class = CLASS_WARP,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_COORDS,
             .image = &WARP,
             .pass = [](const node& n) -> int { return arg_zero(n, 1) ? 0 : -1; },
             .combos = {{"1,2,2,1>1 2,2,2,1>2 3,2,2,1>3 4,2,2,1>4", warp_rel_image}}});
  define(r, {.name = "warp_filter",
             .args = {"image", "coords", "mipmap_levels", "wrap"},
             .doc = "The image at other coordinates, filtered through mipmap levels.",
             .cost = 6,
             .weight = 1.0f,
             .fun_class = CLASS_WARP,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_COORDS | FUN2_COORDS_FREE,
             .image = &WARP_FILTER,
             .pass = pass_own_place,
             .combos = {{"1,2,2,2>1 3,2,2,2>3 4,2,2,2>4", warp_filter_image}}});
  define(r, {.name = "blur_warp",
             .args = {"image", "from_coords", "to_coords", "ends_brightness", "scale", "wrap", "subpixel",
                      "log_res_factor"},
             .doc = "Smears the image smoothly from one set of coordinates to another.",
             .cost = 100,
             .weight = 1.0f,
             .fun_class = CLASS_WARP,
             .flags = FUN_REAL_IMAGE,
             .image = &BLUR_WARP,
             .combos = {{"1,2,2,2,1,2,1,1>1 2,2,2,2,1,2,1,1>2 3,2,2,2,1,2,1,1>3 4,2,2,2,1,2,1,1>4", blur_warp_image}}});
  define(r, {.name = "repeat_warp",
             .args = {"image", "from_coords", "to_coords", "ends_brightness", "wrap", "steps"},
             .doc = "The mean of the image over steps from one set of coordinates to another.",
             .cost = 4,
             .weight = 1.0f,
             .fun_class = CLASS_WARP,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_COORDS,
             .image = &REPEAT_WARP,
             .combos = {{"1,2,2,2,2,1>1 2,2,2,2,2,1>2 3,2,2,2,2,1>3 4,2,2,2,2,1>4", repeat_warp_image}}});
  define(r,
         {.name = "repeat_warp_filter",
          .args = {"image", "from_coords", "to_coords", "from_levels", "to_levels", "ends_brightness", "wrap", "steps"},
          .doc = "As repeat_warp, filtered through mipmap levels.",
          .cost = 4,
          .weight = 1.0f,
          .fun_class = CLASS_WARP,
          .flags = FUN_REAL_IMAGE,
          .flags2 = FUN2_COORDS | FUN2_COORDS_FREE,
          .image = &REPEAT_WARP_FILTER,
          .combos = {
              {"1,2,2,2,2,2,2,1>1 2,2,2,2,2,2,2,1>2 3,2,2,2,2,2,2,1>3 4,2,2,2,2,2,2,1>4", repeat_warp_filter_image}}});
  define(r, {.name = "chroma_warp",
             .args = {"image", "from_coords", "to_coords", "wrap", "steps", "color1", "color2", "color3",
                      "white_balance", "brightness"},
             .doc = "As repeat_warp, with a colour of its own for each step.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_WARP,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_COORDS,
             .image = &CHROMA_WARP,
             .combos = {{"1,2,2,2,1,3,3,3,1,1>3 3,2,2,2,1,3,3,3,1,1>3 4,2,2,2,1,3,3,3,1,1>4", chroma_warp_image}}});
  define(r, {.name = "chroma_warp_filter",
             .args = {"image", "from_coords", "to_coords", "from_levels", "to_levels", "wrap", "steps", "color1",
                      "color2", "color3", "white_balance", "brightness"},
             .doc = "As chroma_warp, filtered through mipmap levels.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_WARP,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_COORDS | FUN2_COORDS_FREE,
             .image = &CHROMA_WARP_FILTER,
             .combos = {{"1,2,2,2,2,2,1,3,3,3,1,1>3 3,2,2,2,2,2,1,3,3,3,1,1>3 4,2,2,2,2,2,1,3,3,3,1,1>4",
                         chroma_warp_filter_image}}});
}

void define_edge_distance(fun_registry& r) {
  define(r, {.name = "edge_dist",
             .args = {"image", "scale"},
             .doc = "Distance to the nearest edge of a matte.",
             .cost = 8,
             .weight = 1.0f,
             .fun_class = CLASS_PAINT,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .image = &EDGE_DIST,
             .combos = {{"1,1>1", edge_dist_image}}});
}

}  // namespace

void define_warp(fun_registry& r) {
  define_warps(r);
  define_stylisers(r);
  define_edge_distance(r);
  define_foldings(r);
}

}  // namespace tessaron::TESSARON_LEVEL
