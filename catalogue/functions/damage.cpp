// The errors of a broken stream of compressed pictures.
#include "operators/bodies/jpeg_damage.h"

#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// One plane an element, from or beside an image.
constexpr image_needs PLANES_BY_IMAGE = {.image_arg_index = 0, .images_per_element = 1, .aux_count_a = 1};

}  // namespace

void define_damage(fun_registry& r) {
  define(r, {.name = "jpeg_damage",
             .args = {"image", "quality", "scale_freqs", "scale_xy_freqs", "chroma_luma", "error_rate", "error_density",
                      "error_amp", "error_coherence", "seed", "res_factor"},
             .doc = "The image after strong JPEG compression, with errors in its data.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"3,1,3,2,2,1,1,1,1,1,2>3", jpeg_damage}}});
}

}  // namespace tessaron::TESSARON_LEVEL
