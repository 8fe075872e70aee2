// Lightning between points, to an object and out of one.
#include "operators/bodies/lightning.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "operators/bodies/zap_to.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// One plane an element, from or beside an image.
constexpr image_needs PLANES_BY_IMAGE = {.image_arg_index = 0, .images_per_element = 1, .aux_count_a = 1};
/// One plane an element, from no image.
constexpr image_needs DRAWN_PLANES = {.images_per_element = 1, .aux_count_a = 1};
constexpr image_needs ZAP_FROM_MASK = {.image_arg_index = 0, .images_per_element = 2, .aux_count_a = 1};

}  // namespace

void define_lightning(fun_registry& r) {
  define(r, {.name = "zap",
             .args = {"start", "end", "vary_end", "bolts", "width_vary", "end_pointiness", "start_len", "wrinkle_curve",
                      "branchiness", "branch_ang_len", "seed_phase"},
             .doc = "Lightning from start to end.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT,
             .image = &DRAWN_PLANES,
             .combos = {{"2,2,1,1,2,1,2,2,1,2,2>1", zap_image}}});
  define(r, {.name = "zap_to",
             .args = {"to_obj", "center", "radius", "bolts_points", "width_vary", "end_pointiness", "start_len",
                      "wrinkle_amp", "branchiness", "branch_ang_len", "seed_phase", "threshold_show"},
             .doc = "Lightning from a circle to the edge of an object.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,2,1,2,2,1,2,1,1,2,2,2>1", zap_to_image}}});
  define(r, {.name = "zap_from",
             .args = {"from_obj", "max_len_vary", "vary_spacing", "bolts", "width_vary", "end_pointiness", "start_len",
                      "wrinkle_curve", "branchiness", "branch_ang_len", "seed_phase", "threshold_show"},
             .doc = "Lightning out of the edge of an object.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,2,1,1,2,1,2,2,1,2,2,2>1", zap_from_image}}});
  define(r, {.name = "zap_from_mask",
             .args = {"from_obj", "mask", "max_len_vary_spacing", "bolts", "width_vary", "end_pointiness", "start_len",
                      "wrinkle_curve", "branchiness", "branch_ang_len", "seed_phase", "threshold_show"},
             .doc = "Lightning out of the edge of an object, where a mask lets it start.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .image = &ZAP_FROM_MASK,
             .combos = {{"1,1,3,1,2,1,2,2,1,2,2,2>1", zap_from_mask_image}}});
}

}  // namespace tessaron::TESSARON_LEVEL
