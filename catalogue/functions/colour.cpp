// Colour models. Hue is in revolutions, saturation and value are parts of 1.0; a colour whose
// negative side is the larger has a negative value and the hue of its opposite.
#include "base/fixed.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "evaluator/kernels.h"
#include "evaluator/tables.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// (hue, saturation, value) to (red, green, blue). Over the hue's six sectors each element stays at the
/// value for two, at value - chroma for two, and climbs or falls for one between them.
struct hsv_to_rgb {
  static inline void of(const fix* in, fix* out) {
    const bool opposite = in[1] < 0;
    const fix s = opposite ? wrap_neg(in[1]) : in[1];
    const fix h = opposite ? wrap_sub(in[0], FIX_ONE / 2) : in[0];
    const fix v = in[2];
    const fix x = (h & 0xfff) * 6;
    const fix sector = x >> FIX_BITS, f = x & 0xfff;
    const fix chroma = fix_mul(s, v);
    const fix part = fix_mul(sector & 1 ? f : FIX_ONE - f, chroma);
    out[0] = wrap_sub(v, loss(sector - 2, chroma, part));
    out[1] = wrap_sub(v, loss(sector - 4, chroma, part));
    out[2] = wrap_sub(v, loss(sector, chroma, part));
  }

 private:
  /// What an element lacks of the value, by the sector counted from the element's first low one. Masks
  /// instead of choices: the loop runs in vectors.
  static inline fix loss(fix sector, fix chroma, fix part) {
    const fix place = sector < 0 ? sector + 6 : sector;  // 0, 1 low; 2 climbs; 3, 4 high; 5 falls
    const fix low = -fix(place < 2), high = -fix(std::uint32_t(place - 3) < 2);
    return (low & chroma) | (~(low | high) & part);
  }
};

/// (red, green, blue) to (hue, saturation, value).
struct rgb_to_hsv {
  static inline void of(const fix* in, fix* out) {
    fix r = in[0], g = in[1], b = in[2];
    fix lo = fix_min(fix_min(r, g), b), hi = fix_max(fix_max(r, g), b);
    const bool keep_sign = wrap_neg(hi) == lo || wrap_neg(lo) < hi;
    out[2] = keep_sign ? hi : lo;
    if (!keep_sign) {
      r = wrap_neg(r), g = wrap_neg(g), b = wrap_neg(b);
      const fix old_lo = lo;
      lo = wrap_neg(hi), hi = wrap_neg(old_lo);
    }
    const fix chroma = wrap_sub(hi, lo);
    out[1] = hi == 0 ? 0 : wrap_div(wrap_shl(chroma, FIX_BITS), hi);
    out[0] = out[1] == 0 ? 0 : hue(r, g, b, hi, chroma);
  }

 private:
  /// Sixths of a turn: red at 0, green at 2, blue at 4.
  static inline fix hue(fix r, fix g, fix b, fix hi, fix chroma) {
    const bool red = r == hi, green = g == hi;
    const fix rise = red ? wrap_sub(g, b) : green ? wrap_sub(b, r) : wrap_sub(r, g);
    fix x = wrap_div(wrap_shl(rise, FIX_BITS), chroma);
    if (red)
      x = x < 0 ? wrap_add(x, 0x6000) : x;
    else
      x = wrap_add(x, green ? 0x2000 : 0x4000);
    return fix(float(x) * 0.1666667f);
  }
};

/// N elements of colour and a scale: between the luma (0) and the colour (1.0), and beyond. Alpha stays.
template <int N>
struct sat_scale {
  static inline void of(const fix* in, fix* out) {
    const fix grey = fix_mono(in[0], in[1], in[2]), s = in[N];
    const fix rest = fix_mul(grey, wrap_sub(FIX_ONE, s));
    for (int e = 0; e < 3; ++e) out[e] = s == 0 ? grey : wrap_add(fix_mul(in[e], s), rest);
    if constexpr (N == 4) out[3] = in[3];
  }
};

/// N elements of colour and a shift in revolutions. Alpha stays.
template <int N>
struct hue_shift {
  static inline void of(const fix* in, fix* out) {
    fix hsv[3];
    rgb_to_hsv::of(in, hsv);
    hsv[0] = wrap_add(hsv[0], in[N]);
    hsv_to_rgb::of(hsv, out);
    if constexpr (N == 4) out[3] = in[3];
  }
};

/// As hue_shift; what the luma lost or won is then given back to red, green and blue alike.
template <int N>
struct hue_shift_preserve_luma {
  static inline void of(const fix* in, fix* out) {
    hue_shift<N>::of(in, out);
    const fix lost = wrap_sub(fix_mono(in[0], in[1], in[2]), fix_mono(out[0], out[1], out[2]));
    for (int e = 0; e < 3; ++e) out[e] = wrap_add(out[e], lost);
  }
};

struct above_threshold {
  static inline fix of(fix a, fix threshold) { return fix_max(wrap_sub(a, threshold), 0); }
};

}  // namespace

void define_colour(fun_registry& r) {
  define(r, {.name = "hsv_to_rgb",
             .args = {"hsv"},
             .doc = "Hue (0 to 1), saturation and value to red, green and blue.",
             .cost = 3,
             .fun_class = CLASS_MATH,
             .combos = {{"3>3", vector_rows<hsv_to_rgb, 3, 3>}}});
  define(r, {.name = "rgb_to_hsv",
             .args = {"rgb"},
             .doc = "Red, green and blue to hue (0 to 1), saturation and value.",
             .cost = 3,
             .fun_class = CLASS_MATH,
             .combos = {{"3>3", vector_rows<rgb_to_hsv, 3, 3>}}});
  define(r, {.name = "sat_scale",
             .args = {"color", "scale"},
             .doc = "Between the luma (scale 0) and the colour (1.0); above 1.0 more colour.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .pass = [](const node& n) -> int { return arg_one(n, 1) || n.args[0]->elnum < 3 ? 0 : -1; },
             .combos = {{"1,1>1 2,1>2", copy_rows},
                        {"3,1>3", vector_rows<sat_scale<3>, 4, 3>},
                        {"4,1>4", vector_rows<sat_scale<4>, 5, 4>}}});
  define(r, {.name = "hue_shift",
             .args = {"color", "shift"},
             .doc = "Turns the hue by shift revolutions.",
             .cost = 3,
             .fun_class = CLASS_MATH,
             .pass = pass_if_second_is_zero,
             .combos = {{"1,1>1", copy_rows},
                        {"3,1>3", vector_rows<hue_shift<3>, 4, 3>},
                        {"4,1>4", vector_rows<hue_shift<4>, 5, 4>}}});
  define(r, {.name = "hue_shift_preserve_luma",
             .args = {"color", "shift"},
             .doc = "Turns the hue by shift revolutions and keeps the luma.",
             .cost = 3,
             .fun_class = CLASS_MATH,
             .pass = pass_if_second_is_zero,
             .combos = {{"1,1>1", copy_rows},
                        {"3,1>3", vector_rows<hue_shift_preserve_luma<3>, 4, 3>},
                        {"4,1>4", vector_rows<hue_shift_preserve_luma<4>, 5, 4>}}});
  define(r, {.name = "hotspots",
             .args = {"value", "threshold"},
             .doc = "What exceeds the threshold: max(value - threshold, 0).",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"1,1>1 1,3>1 2,1>2 3,1>3 3,3>3 4,3>3", binary<above_threshold>}}});
}

}  // namespace tessaron::TESSARON_LEVEL
