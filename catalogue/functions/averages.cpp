// Means of an image over a part of the frame.
#include "operators/bodies/averages.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// One plane an element, for the pixel loop to read.
constexpr image_needs PLANES_PER_ROW = {.image_arg_index = 0, .images_per_element = 1, .aux_count_b = 1};
constexpr image_needs AVE_IN_MATTE = {
    .image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_b = 1};

}  // namespace

void define_averages(fun_registry& r) {
  define(r, {.name = "ave_in_rect",
             .args = {"image", "rect_center", "rect_size"},
             .doc = "The mean of an image in a rectangle.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_REAL_IMAGE,
             .image = &PLANES_PER_ROW,
             .combos = {{"1,2,2>1 2,2,2>2 3,2,2>3 4,2,2>4", ave_in_rect_image}}});
  define(r, {.name = "ave_in_matte",
             .args = {"image", "matte"},
             .doc = "The mean of an image where a matte lets it count.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_REAL_IMAGE,
             .image = &AVE_IN_MATTE,
             .combos = {{"1,1>1 2,1>2 3,1>3 4,1>4", ave_in_matte_image}}});
}

}  // namespace tessaron::TESSARON_LEVEL
