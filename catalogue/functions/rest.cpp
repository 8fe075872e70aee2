// Lens effects, clips and fields, averages, lightning, grids and film.
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "genotype/genotype_reader.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr image_needs LENS_FLARE = {.extra_images = 3, .arg_scale_runtime = 5, .aux_count_a = 1};
constexpr image_needs LENS_FLARE_AUTO = {
    .image_arg_index = 0, .extra_images = 3, .arg_scale_runtime = 6, .aux_count_a = 3};
constexpr image_needs GLARE = {.image_arg_index = 0, .images_per_element = 2, .arg_scale_runtime = 3, .aux_count_b = 1};
/// One plane an element, from or beside an image.
constexpr image_needs PLANES_BY_IMAGE = {.image_arg_index = 0, .images_per_element = 1, .aux_count_a = 1};
constexpr image_needs PLANES_PER_ROW = {.image_arg_index = 0, .images_per_element = 1, .aux_count_b = 1};
constexpr image_needs AVE_IN_MATTE = {
    .image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_b = 1};
constexpr image_needs PREV_DEST = {.image_arg_index = 0, .extra_images = 3, .aux_count_a = 1};
/// One plane an element, from no image.
constexpr image_needs DRAWN_PLANES = {.images_per_element = 1, .aux_count_a = 1};
constexpr image_needs ZAP_FROM_MASK = {.image_arg_index = 0, .images_per_element = 2, .aux_count_a = 1};
constexpr image_needs FILM_EFFECT = {
    .image_arg_index = 0, .images_per_element = 1, .extra_images = 1, .aux_count_a = 1};

void define_lens_effects(fun_registry& r) {
  define(r, {.name = "lens_flare",
             .args = {"type", "hotspot", "pivot", "gamma", "saturation", "scale_size", "rotate", "hotspot_color",
                      "other_color", "rays_color"},
             .doc = "A lens flare drawn from its description.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_NEVER_CONSTANT,
             .image = &LENS_FLARE,
             .combos = {{"1,2,2,1,1,1,1,3,3,3>3 1,2,2,1,1,2,1,3,3,3>3 1,2,2,1,1,1,1,3,3,1>3 1,2,2,1,1,2,1,3,3,1>3",
                         not_built_yet}}});
  define(r, {.name = "lens_flare_auto",
             .args = {"image", "pre_blur", "type", "pivot", "gamma", "saturation", "scale_size", "rotate",
                      "hotspot_color", "other_color", "rays_color", "shift"},
             .doc = "A lens flare on each bright spot of the image.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &LENS_FLARE_AUTO,
             .combos = {{"1,1,1,2,1,1,2,1,3,3,3,2>3 1,1,1,2,1,1,2,1,3,3,1,2>3", not_built_yet}}});
  define(r, {.name = "glare",
             .args = {"image", "threshold", "pre_blur", "size", "brightness", "saturation", "type", "convolve?",
                      "rotate", "res_factor"},
             .doc = "A glare of a given type around what is brighter than the threshold.",
             .cost = 40,
             .weight = 1.0f,
             .fun_class = CLASS_PATTERN,
             .flags = FUN_REAL_IMAGE,
             .flags2 = FUN2_SMOOTHS,
             .image = &GLARE,
             .combos = {{"1,1,1,2,1,1,1,1,1,1>3 3,1,1,2,1,1,1,1,1,1>3 1,1,1,2,3,1,1,1,1,1>3 3,1,1,2,3,1,1,1,1,1>3 "
                         "1,3,1,2,1,1,1,1,1,1>3 3,3,1,2,1,1,1,1,1,1>3 1,3,1,2,3,1,1,1,1,1>3 3,3,1,2,3,1,1,1,1,1>3 "
                         "4,3,1,2,3,1,1,1,1,1>3",
                         not_built_yet}}});
}

void define_clip_functions(fun_registry& r) {
  define(r, {.name = "time_warp",
             .args = {"clip", "frame", "interp"},
             .doc = "Other frames of a clip; the frame may differ from pixel to pixel.",
             .cost = 5,
             .weight = 1.0f,
             .fun_class = CLASS_CLIP,
             .flags = FUN_READS_CLIP | FUN_TIME_WARP,
             .flags2 = FUN2_SMOOTHS,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,1,1>1 3,1,1>3 4,1,1>4", not_built_yet}}});
  define(r, {.name = "get_frame",
             .args = {"clip", "frame", "interp"},
             .doc = "Another frame of a clip.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_CLIP,
             .flags = FUN_READS_CLIP,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,1,1>1 3,1,1>3 4,1,1>4", not_built_yet}}});
  define(r, {.name = "interlace_get_frames",
             .args = {"clip0", "frame0", "field0", "clip1", "frame1", "field1", "rev_field_mode", "field_dominance"},
             .doc = "Two fields of two clips at other frames, as one frame.",
             .cost = 3,
             .weight = 1.0f,
             .fun_class = CLASS_CLIP,
             .flags = FUN_READS_CLIP,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,1,1,1,1,1,1,1>1 3,1,1,3,1,1,1,1>3 4,1,1,4,1,1,1,1>4", not_built_yet}}});
  define(r, {.name = "extract_field",
             .args = {"image", "field"},
             .doc = "One field of an image, its lines spread over the frame.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .image = &PLANES_PER_ROW,
             .combos = {{"1,1>1 3,1>3 4,1>4", not_built_yet}}});
  define(r, {.name = "interlace",
             .args = {"frame1", "frame2", "dominance"},
             .doc = "Two images as the two fields of one frame.",
             .cost = 2,
             .fun_class = CLASS_OTHER,
             .combos = {{"1,1,1>1 2,2,1>1 3,3,1>1 4,4,1>1", not_built_yet}}});
  define(r, {.name = "ave_in_rect",
             .args = {"image", "rect_center", "rect_size"},
             .doc = "The mean of an image in a rectangle.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_REAL_IMAGE,
             .image = &PLANES_PER_ROW,
             .combos = {{"1,2,2>1 2,2,2>2 3,2,2>3 4,2,2>4", not_built_yet}}});
  define(r, {.name = "ave_in_matte",
             .args = {"image", "matte"},
             .doc = "The mean of an image where a matte lets it count.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_REAL_IMAGE,
             .image = &AVE_IN_MATTE,
             .combos = {{"1,1>1 2,1>2 3,1>3 4,1>4", not_built_yet}}});
  define(r, {.name = "get_prev_dest",
             .args = {"init_value"},
             .doc = "The effect's own output of the frame before, or init_value at the start of a run.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_FRAME_DEPENDENT | FUN_PREV_OUTPUT | FUN_NO_CACHE,
             .image = &PREV_DEST,
             .combos = {{"1>3 3>3 4>4", not_built_yet}}});
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
             .combos = {{"3,1,3,2,2,1,1,1,1,1,2>3", not_built_yet}}});
}

void define_drawings(fun_registry& r) {
  define(r, {.name = "zap",
             .args = {"start", "end", "vary_end", "bolts", "width_vary", "end_pointiness", "start_len", "wrinkle_curve",
                      "branchiness", "branch_ang_len", "seed_phase"},
             .doc = "Lightning from start to end.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT,
             .image = &DRAWN_PLANES,
             .combos = {{"2,2,1,1,2,1,2,2,1,2,2>1", not_built_yet}}});
  define(r, {.name = "zap_to",
             .args = {"to_obj", "center", "radius", "bolts_points", "width_vary", "end_pointiness", "start_len",
                      "wrinkle_amp", "branchiness", "branch_ang_len", "seed_phase", "threshold_show"},
             .doc = "Lightning from a circle to the edge of an object.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,2,1,2,2,1,2,1,1,2,2,2>1", not_built_yet}}});
  define(r, {.name = "zap_from",
             .args = {"from_obj", "max_len_vary", "vary_spacing", "bolts", "width_vary", "end_pointiness", "start_len",
                      "wrinkle_curve", "branchiness", "branch_ang_len", "seed_phase", "threshold_show"},
             .doc = "Lightning out of the edge of an object.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .image = &PLANES_BY_IMAGE,
             .combos = {{"1,2,1,1,2,1,2,2,1,2,2,2>1", not_built_yet}}});
  define(r, {.name = "zap_from_mask",
             .args = {"from_obj", "mask", "max_len_vary_spacing", "bolts", "width_vary", "end_pointiness", "start_len",
                      "wrinkle_curve", "branchiness", "branch_ang_len", "seed_phase", "threshold_show"},
             .doc = "Lightning out of the edge of an object, where a mask lets it start.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT | FUN_REAL_IMAGE,
             .image = &ZAP_FROM_MASK,
             .combos = {{"1,1,3,1,2,1,2,2,1,2,2,2>1", not_built_yet}}});
  define(r, {.name = "draw_grid",
             .args = {"boxes", "line_width", "center", "size", "z_dist", "latitude", "swing", "roll", "tele_lens_width",
                      "major_line_spacing", "major_line_width"},
             .doc = "A grid of lines in a plane that may be tilted in space.",
             .cost = 2,
             .weight = 1.0f,
             .fun_class = CLASS_OTHER,
             .flags = FUN_NEVER_CONSTANT,
             .image = &DRAWN_PLANES,
             .combos = {{"2,2,2,2,1,1,1,1,1,1,1>1", not_built_yet}}});
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

}  // namespace

void define_rest(fun_registry& r) {
  define_lens_effects(r);
  define_queries(r);
  define_clip_functions(r);
  define_drawings(r);
}

}  // namespace tessaron::TESSARON_LEVEL
