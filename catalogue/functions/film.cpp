// Film stocks: curves, glow and grain.
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "genotype/genotype_reader.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs FILM_EFFECT = {
    .image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_a = 1};

}  // namespace

void define_film(fun_registry& r) {
  define(r, {.name = "film_effect",
             .args = {"image", "films_fields_blur", "cc_gammas", "neg_exposure", "print_exposure", "offset_scale",
                      "glow_brightness", "glow_soft_focus", "glow_width", "grain_amp", "midtones_mono", "grain_blur",
                      "grain_misc"},
             .doc = "The image as a negative and a print film would show it, with glow and grain.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_FRAME_DEPENDENT | FUN_NO_CACHE,
             .flags2 = FUN2_SMOOTHS,
             .image = &FILM_EFFECT,
             .combos = {{"3,4,4,1,3,2,3,1,3,3,4,3,4>3 4,4,4,1,3,2,3,1,3,3,4,3,4>4", not_built_yet}}});
}

}  // namespace tessaron::TESSARON_LEVEL
