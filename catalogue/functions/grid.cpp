// A ruled plane in perspective.
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "operators/bodies/lightning.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// One plane an element, from no image.
constexpr image_needs DRAWN_PLANES = {.images_per_element = 1, .aux_count_a = 1};

}  // namespace

void define_grid(fun_registry& r) {
  define(r, {.name = "draw_grid",
             .args = {"boxes", "line_width", "center", "size", "z_dist", "latitude", "swing", "roll", "tele_lens_width",
                      "major_line_spacing", "major_line_width"},
             .doc = "A grid of lines in a plane that may be tilted in space.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT,
             .image = &DRAWN_PLANES,
             .combos = {{"2,2,2,2,1,1,1,1,1,1,1>1", draw_grid_image}}});
}

}  // namespace tessaron::TESSARON_LEVEL
