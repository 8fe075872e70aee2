// Time, frame and parameter queries, and the identities that steer caches. A query runs while
// constants are folded and writes the node's constants; no pixel loop sees it.
#include "evaluator/queries.h"
#include "base/fixed.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "evaluator/frame.h"
#include "evaluator/kernels.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// An ease curve over 0..1: a parabola up to `in`, a straight line, a parabola down from 1.0 - `out`.
struct slow_in_out {
  static inline fix of(fix a, fix in_slowness, fix out_slowness) {
    if (a < 0) return 0;
    if (a > FIX_ONE) return FIX_ONE;
    fix in = fix_max(in_slowness >> 1, 0), out = fix_max(out_slowness >> 1, 0);
    if (in + out > FIX_ONE) {
      in = wrap_div(wrap_shl(in, FIX_BITS), in + out);
      out = wrap_div(wrap_shl(out, FIX_BITS), wrap_add(out, in));  // against the new `in`
    }
    const fix slope = wrap_sub(wrap_add(wrap_sub(wrap_add(in, out) >> 1, out), FIX_ONE), in);
    if (a < in) return parabola(a, in, slope);
    if (a > wrap_sub(FIX_ONE, out)) return wrap_sub(FIX_ONE, parabola(FIX_ONE - a, out, slope));
    return wrap_div(wrap_shl(wrap_sub(a, in >> 1), FIX_BITS), slope);
  }

 private:
  /// t is 0..1.0, so that its square fits.
  static inline fix parabola(fix t, fix part, fix slope) {
    return wrap_div((t * t) & ~0xfff, fix_mul(part, slope)) >> 1;
  }
};

void define_ease(fun_registry& r) {
  define(r, {.name = "slow_in_out",
             .args = {"value", "in_slowness", "out_slowness"},
             .doc = "Ease curve from 0 to 1 over value 0 to 1, slow at its start and end.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{"1,1,1>1", ternary<slow_in_out>}}});
}

// --- queries -----------------------------------------------------------------------------------------

/// `F::of` fills the N elements of the answer.
template <class F, int N = 1>
void query(node& n) {
  fix answer[N];
  F::of(answer);
  for (int e = 0; e < N; ++e) n.const_vals[e] = answer[e];
}

/// A float of the time globals as fix.
template <float time_globals_record::*FIELD>
struct time_value {
  static inline void of(fix* v) { v[0] = fix_from_double(time_globals.*FIELD); }
};

struct pixel_aspect {
  static inline void of(fix* v) { v[0] = display_dims.pixel_aspect_fix; }
};
struct frame_width {
  static inline void of(fix* v) { v[0] = wrap_shl(display_dims.display_width, FIX_BITS); }
};
struct frame_height {
  static inline void of(fix* v) { v[0] = wrap_shl(display_dims.display_height, FIX_BITS); }
};
struct frame_half_dims {
  static inline void of(fix* v) {
    frame_width::of(v);
    frame_height::of(v + 1);
    v[0] >>= 1, v[1] >>= 1;
  }
};
struct pixel_coords_scale {
  static inline void of(fix* v) {
    v[0] = fix_from_double(render_info.downsample_x);
    v[1] = fix_from_double(render_info.downsample_y);
  }
};

/// Cells narrower than two pixels alias: the lower limit of the two directions, in all four constants.
struct max_noise_frequency {
  static inline void of(fix* v) {
    const float across = float((display_dims.view_width - 4) >> 1);
    const float down =
        float(2 * display_dims.view_height - 4) * display_dims.pixel_aspect_inv / (2 * display_dims.xy_aspect);
    const fix limit = fix_from_double(down < across ? down : across) >> 1;
    for (int e = 0; e < 4; ++e) v[e] = limit;
  }
};

constexpr std::uint8_t CHANGES_WITH_TIME = FUN_FRAME_DEPENDENT | FUN_NO_CACHE;

void define_time_queries(fun_registry& r) {
  define(r, {.name = "get_curve_val",
             .args = {"param", "rel_frame"},
             .doc = "A parameter's value rel_frame frames from the current one.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .flags = CHANGES_WITH_TIME,
             .combos = {{"1,1>1 2,1>2 3,1>3 4,1>4", get_curve_val}}});
  define(r, {.name = "get_frame_number",
             .args = {},
             .doc = "The current frame's number.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .flags = CHANGES_WITH_TIME,
             .combos = {{">1", query<time_value<&time_globals_record::current_frame>>}}});
  define(r, {.name = "get_total_frames",
             .args = {},
             .doc = "The number of frames of the clip.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">1", query<time_value<&time_globals_record::total_frames>>}}});
  define(r, {.name = "get_time",
             .args = {},
             .doc = "The current time in seconds.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .flags = CHANGES_WITH_TIME,
             .combos = {{">1", query<time_value<&time_globals_record::current_secs>>}}});
  define(r, {.name = "get_percent_time",
             .args = {},
             .doc = "The current time as a part of the clip, 0 to 1.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .flags = CHANGES_WITH_TIME,
             .combos = {{">1", query<time_value<&time_globals_record::percent_time>>}}});
  define(r, {.name = "get_frames_per_second",
             .args = {},
             .doc = "The frame rate.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">1", query<time_value<&time_globals_record::fps>>}}});
}

void define_frame_queries(fun_registry& r) {
  define(r, {.name = "get_aspect_ratio",
             .args = {},
             .doc = "The pixel aspect ratio.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">1", query<pixel_aspect>}}});
  define(r, {.name = "get_frame_width",
             .args = {},
             .doc = "The frame's width in pixels, at the resolution of the render.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">1", query<frame_width>}}});
  define(r, {.name = "get_frame_height",
             .args = {},
             .doc = "The frame's height in pixels, at the resolution of the render.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">1", query<frame_height>}}});
  define(r, {.name = "get_frame_half_dims",
             .args = {},
             .doc = "Half the frame's width and height in pixels.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">2", query<frame_half_dims, 2>}}});
  define(r, {.name = "get_pixel_coords_scale",
             .args = {},
             .doc = "Pixels of the render for one pixel of the full frame, in x and y.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">2", query<pixel_coords_scale, 2>}}});
  define(r, {.name = "get_max_fnoise_freq",
             .args = {},
             .doc = "The largest useful noise frequency for this frame size.",
             .cost = 0,
             .weight = 0.0f,
             .fun_class = CLASS_QUERY,
             .combos = {{">1", query<max_noise_frequency, 4>}}});
}

// --- identities --------------------------------------------------------------------------------------

int pass_always(const node&) { return 0; }

void define_identities(fun_registry& r) {
  define(r, {.name = "force_no_cache",
             .args = {"value"},
             .doc = "The value, kept out of caches.",
             .cost = 0,
             .flags = FUN_NO_CACHE,
             .pass = pass_always,
             .combos = {{"1>1 2>2 3>3 4>4", copy_rows}}});
  define(r, {.name = "no_pass_vars",
             .args = {"value", "log_res_factor"},
             .doc = "The value; a variable is copied rather than passed through unless log_res_factor is 0.",
             .cost = 0,
             .pass = [](const node& n) -> int { return !arg_zero(n, 1) && n.args[0]->kind == KIND_BUILT_IN ? -1 : 0; },
             .combos = {{"1,1>1 2,1>2 3,1>3 4,1>4", copy_rows}}});
  define(r, {.name = "copy",
             .args = {"value"},
             .doc = "The value; as an argument of an if it keeps a cached value out of the other branch.",
             .cost = 0,
             .pass = pass_always,
             .combos = {{"1>1 2>2 3>3 4>4", copy_rows}}});
}

}  // namespace

void define_queries(fun_registry& r) {
  define_ease(r);
  define_time_queries(r);
  define_frame_queries(r);
  define_identities(r);
}

}  // namespace tessaron::TESSARON_LEVEL
