// Film stocks: curves, glow and grain.
#include "operators/bodies/film.h"

#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "evaluator/bounds.h"
#include "operators/film_tables.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs FILM_EFFECT = {
    .image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_a = 1};

/// Blur and glow read around a pixel, and lines that are made anew read those beside them.
void bounds_film(node& n) {
  for (const int arg : {FILM_FILMS_FIELDS_BLUR, FILM_GLOW_WIDTH, FILM_GLOW_SOFT_FOCUS, FILM_GLOW_BRIGHTNESS})
    if (!(n.args[arg]->node_flags & NODE_CONSTANT)) return unbound_arg_bounds(n, FILM_IMAGE);
  const fix blur = amount_to_fix_pixels(n.args[FILM_FILMS_FIELDS_BLUR]->const_vals[3]);
  int pad_x = 0, pad_y = 0;
  for (int c = 0; c < FILM_CHANNELS; ++c) {
    const bool glows =
        n.args[FILM_GLOW_SOFT_FOCUS]->const_vals[0] > 0 || n.args[FILM_GLOW_BRIGHTNESS]->const_vals[c] > 0;
    const fix width = glows ? film_glow_width(n, c) : 0;
    pad_x = fix_max(pad_x, whole_pixels(width));
    pad_y = fix_max(pad_y, whole_pixels(correct_pixel_aspect(width)));
  }
  const int field_lines = n.args[FILM_FILMS_FIELDS_BLUR]->const_vals[2] >> FIX_BITS ? 1 : 0;
  grow_arg_bounds(n, FILM_IMAGE, pad_x + whole_pixels(blur),
                  pad_y + whole_pixels(correct_pixel_aspect(blur)) + field_lines);
}

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
             .bounds = bounds_film,
             .combos = {{"3,4,4,1,3,2,3,1,3,3,4,3,4>3 4,4,4,1,3,2,3,1,3,3,4,3,4>4", film_effect}}});
}

}  // namespace tessaron::TESSARON_LEVEL
