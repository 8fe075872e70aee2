// emboss: an image's brightness as the height of a surface, lit by a distant light. Slopes that face the light
// brighten up to twice the surface's colour, slopes that turn away darken to black, flat parts keep their colour
// (times the light's). A highlight of the light's colour sits where the surface mirrors the light to the viewer.
//
//   lit                     gloss (times specular)
//   2 |        .---         1 |      _
//   1 |     _/              .5|     / \         wide for a small shininess,
//   0 |__.-'                0 |____/   \____    a spark for a large one
//    -1  0  1  2  3   d        away from the mirror direction
#include "operators/bodies/emboss.h"

#include "evaluator/kernels.h"
#include "evaluator/pixel_loop.h"
#include "operators/bodies/gradient.h"
#include "operators/bodies/gradient_rows.h"
#include "operators/operators.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int HEIGHT_ARG = 0, PRE_BLUR_ARG = 1, SCALE_HEIGHT_ARG = 2, SURFACE_ARG = 3, LIGHT_COLOR_ARG = 4,
              LIGHT_DIRECTION_ARG = 5, SPECULAR_ARG = 6, SHININESS_ARG = 7, SUBPIXEL_ARG = 8;

constexpr fix LIGHT_HEIGHT = 2048;  // of the light's vector above the picture, before it is normalised
constexpr float ONE = float(FIX_ONE);

// -------------------------------------------------------------------------------------------------
// One sample.

/// A direction to the light, fix length 4096.
struct light_vector {
  fix x, y, z;
};

inline light_vector light_towards(fix x, fix y) {
  const double squares = double(x) * x + double(y) * y + double(LIGHT_HEIGHT) * LIGHT_HEIGHT;
  const std::int64_t length = std::int64_t(__builtin_sqrt(squares) + 0.5);
  const auto part = [=](fix v) { return fix(std::int64_t(v) * FIX_ONE / length); };
  return {part(x), part(y), part(LIGHT_HEIGHT)};
}

/// What a slope is measured by.
struct light {
  float x, y;                          // of the light, for z of 1: a level surface gets what it is worth
  float mirror_x, mirror_y, mirror_z;  // unit vector halfway between light and viewer

  light(const light_vector& v) {
    // A light from the horizon still is a step above it.
    const float z = float(v.z > 0 ? v.z : 1);
    x = float(v.x) / z;
    y = float(v.y) / z;
    const float up = float(v.z) + ONE;
    const float length = __builtin_sqrtf(float(v.x) * float(v.x) + float(v.y) * float(v.y) + up * up);
    mirror_x = float(v.x) / length;
    mirror_y = float(v.y) / length;
    mirror_z = up / length;
  }
};

/// How much light falls on the surface. d is 1.0 where it is level and goes with the slope towards the light; from
/// -1.0 down there is none, from 3.0 up there is twice as much, and the curve enters both without a bend.
inline fix lit(float dx, float dy, float light_x, float light_y) {
  const fix d = FIX_ONE - fix(dx * light_x + dy * light_y);
  const fix off_level = fix_clamp(d, -FIX_ONE, 3 * FIX_ONE) - FIX_ONE;
  const fix size = off_level < 0 ? -off_level : off_level;
  const fix change = size - ((size * size) >> (FIX_BITS + 2));
  return off_level < 0 ? FIX_ONE - change : FIX_ONE + change;
}

/// The highlight, 0 to 1.0: a lobe around the mirror direction that ends at a finite angle. For a shininess of 4 it is
/// the fourth power of the cosine.
inline float lobe(float cosine, float shininess) {
  const float within = 1.0f - (1.0f - cosine) * shininess * 0.25f;
  const float inside = 0.5f * (within + __builtin_fabsf(within));  // 0 below 0
  return inside * inside * (inside * inside);
}

struct shade {
  static inline fix of(fix surface, fix color, fix light) { return fix_mul(fix_mul(surface, color), light); }
};
struct shade_and_gloss {
  static inline fix of(fix surface, fix color, fix light, fix gloss) {
    return wrap_add(fix_mul(fix_mul(surface, color), light), fix_mul(color, gloss));
  }
};
/// A highlight is no stronger than the surface is opaque.
struct covered {
  static inline fix of(fix gloss, fix alpha) { return fix_mul(gloss, alpha); }
};

// -------------------------------------------------------------------------------------------------
// A stretch of a row, in blocks.

/// An argument of one element, block by block, as floats.
class float_rows {
 public:
  float_rows(const node& n, int arg, fix least) : row_(n.arg_rows[arg][0]), uniform_(uniform(n, arg)), least_(least) {
    for (int i = 0; i < BLOCK && uniform_; ++i) values_[i] = value(*row_);
  }
  const float* block(int first, int count) {
    for (int i = 0; i < count && !uniform_; ++i) values_[i] = value(row_[first + i]);
    return values_;
  }

 private:
  float value(fix v) const { return fix_to_float(fix_max(v, least_)); }

  const fix* row_;
  bool uniform_;
  fix least_;
  float values_[BLOCK];
};

/// The light of each sample of a block.
class light_rows {
 public:
  explicit light_rows(const node& n) : n_(n), uniform_(uniform(n, LIGHT_DIRECTION_ARG)) {
    for (int i = 0; i < BLOCK && uniform_; ++i) set(i, 0);
  }
  void block(int first, int count) {
    for (int i = 0; i < count && !uniform_; ++i) set(i, first + i);
  }
  float x[BLOCK], y[BLOCK], mirror_x[BLOCK], mirror_y[BLOCK], mirror_z[BLOCK];

 private:
  void set(int i, int sample) {
    fix* const* rows = n_.arg_rows[LIGHT_DIRECTION_ARG];
    const light l(light_towards(rows[0][sample], rows[1][sample]));
    x[i] = l.x;
    y[i] = l.y;
    mirror_x[i] = l.mirror_x;
    mirror_y[i] = l.mirror_y;
    mirror_z[i] = l.mirror_z;
  }

  const node& n_;
  bool uniform_;
};

row_view part_of(const row_view& row, int first) {
  return {row.uniform ? row.samples : row.samples + first, row.uniform};
}

void light_block(const std::int16_t* dx, const std::int16_t* dy, const light_rows& l, fix* light, int count) {
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) light[i] = lit(dx[i], dy[i], l.x[i], l.y[i]);
}

void gloss_block(const std::int16_t* dx, const std::int16_t* dy, const light_rows& l, const float* specular,
                 const float* shininess, fix* gloss, int count) {
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) {
    const float x = dx[i], y = dy[i];
    const float length = __builtin_sqrtf(x * x + y * y + ONE * ONE);
    const float cosine = (ONE * l.mirror_z[i] - x * l.mirror_x[i] - y * l.mirror_y[i]) / length;
    gloss[i] = limited_sample(nearest(ONE * specular[i] * lobe(cosine, shininess[i])));
  }
}

/// Lights a stretch. The node's first two planes hold the slopes; the rows go where they were.
template <int N>
void light_row(node& n) {
  const std::int16_t *dx = n.images[0] + n.pixel_index, *dy = n.images[1] + n.pixel_index;
  const bool glossy = !uniform(n, SPECULAR_ARG) || *n.arg_rows[SPECULAR_ARG][0] != 0;
  light_rows light(n);
  float_rows specular(n, SPECULAR_ARG, INT32_MIN), shininess(n, SHININESS_ARG, 0);
  fix lights[BLOCK], bare_gloss[BLOCK], covered_gloss[BLOCK];
  const row_view light_view{lights, false}, bare_view{bare_gloss, false};
  const row_view gloss_view{N == 4 ? covered_gloss : bare_gloss, false};
  for (int first = 0; first < row_width(n); first += BLOCK) {
    const int count = row_width(n) - first < BLOCK ? row_width(n) - first : BLOCK;
    light.block(first, count);
    light_block(dx + first, dy + first, light, lights, count);
    if (glossy) {
      gloss_block(dx + first, dy + first, light, specular.block(first, count), shininess.block(first, count),
                  bare_gloss, count);
      if (N == 4) each_sample<covered>(covered_gloss, count, {bare_view, part_of(spread(n, SURFACE_ARG, 3), first)});
    }
    for (int e = 0; e < 3; ++e) {
      const row_view surface = part_of(spread(n, SURFACE_ARG, e), first);
      const row_view color = part_of(spread(n, LIGHT_COLOR_ARG, e), first);
      if (glossy)
        each_sample<shade_and_gloss>(n.rows[e] + first, count, {surface, color, light_view, gloss_view});
      else
        each_sample<shade>(n.rows[e] + first, count, {surface, color, light_view});
    }
    if (N == 4) copy_row(n.rows[3] + first, part_of(spread(n, SURFACE_ARG, 3), first), count);
  }
}

constexpr node_kernel LIGHT_ROWS[5] = {nullptr, nullptr, nullptr, light_row<3>, light_row<4>};

}  // namespace

void emboss_image(node& n) {
  check_image_planes(n, n.elnum);
  const fix pre_blur = setting_value(n, PRE_BLUR_ARG), scale_height = setting_value(n, SCALE_HEIGHT_ARG);
  const bool subpixel = setting_value(n, SUBPIXEL_ARG) > 0;
  fetch_image_arg(n, HEIGHT_ARG, n.images);
  if (abort_pending()) return;
  blurred_gradient(n.images[0], n.images[0], n.images[1], pre_blur, scale_height, subpixel);
  if (abort_pending()) return;
  image_process_pixels_loop(n, LIGHT_ROWS);
}

}  // namespace tessaron::TESSARON_LEVEL
