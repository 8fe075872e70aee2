// Other frames of a clip, fields, and the output of the frame before.
#include "operators/clips.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "operators/bodies/fields.h"
#include "operators/bodies/time_warp.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// One plane an element, from or beside an image.
constexpr image_needs PLANES_BY_IMAGE = {.image_arg_index = 0, .images_per_element = 1, .aux_count_a = 1};
/// One plane an element, for the pixel loop to read.
constexpr image_needs PLANES_PER_ROW = {.image_arg_index = 0, .images_per_element = 1, .aux_count_b = 1};
constexpr image_needs PREV_DEST = {.image_arg_index = 0, .extra_images = 3, .aux_count_a = 1};

}  // namespace

void define_clips(fun_registry& r) {
  define(r, {.name = "time_warp",
             .args = {"clip", "frame", "interp"},
             .doc = "Other frames of a clip; the frame may differ from pixel to pixel.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_CLIP,
             .flags = FUN_READS_CLIP | FUN_TIME_WARP,
             .flags2 = FUN2_SMOOTHS,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,1,1>1 3,1,1>3 4,1,1>4", time_warp_image}}});
  define(r, {.name = "get_frame",
             .args = {"clip", "frame", "interp"},
             .doc = "Another frame of a clip.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_CLIP,
             .flags = FUN_READS_CLIP,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,1,1>1 3,1,1>3 4,1,1>4", get_frame_image}}});
  define(r, {.name = "interlace_get_frames",
             .args = {"clip0", "frame0", "field0", "clip1", "frame1", "field1", "rev_field_mode", "field_dominance"},
             .doc = "Two fields of two clips at other frames, as one frame.",
             .cost = 3,
             .weight = 1.0f,
             .fun_class = CLASS_CLIP,
             .flags = FUN_READS_CLIP,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,1,1,1,1,1,1,1>1 3,1,1,3,1,1,1,1>3 4,1,1,4,1,1,1,1>4", interlace_get_frames_image}}});
  define(r, {.name = "extract_field",
             .args = {"image", "field"},
             .doc = "One field of an image, its lines spread over the frame.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .image = &PLANES_PER_ROW,
             .combos = {{"1,1>1 3,1>3 4,1>4", extract_field_image}}});
  define(r, {.name = "interlace",
             .args = {"frame1", "frame2", "dominance"},
             .doc = "Two images as the two fields of one frame.",
             .cost = 2,
             .fun_class = CLASS_OTHER,
             .row_start_args = 1 << 2,  // dominance
             .position_dependent = true,
             .combos = {{"1,1,1>1 2,2,1>1 3,3,1>1 4,4,1>1", interlace}}});
}

void define_previous_output(fun_registry& r) {
  define(r, {.name = "get_prev_dest",
             .args = {"init_value"},
             .doc = "The effect's own output of the frame before, or init_value at the start of a run.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_FRAME_DEPENDENT | FUN_PREV_OUTPUT | FUN_NO_CACHE,
             .image = &PREV_DEST,
             .combos = {{"1>3 3>3 4>4", prev_dest_image}}});
}

}  // namespace tessaron::TESSARON_LEVEL
