// paint: the image in strokes of a brush, in its own colours, a ground of broad ones first, then the main ones, and
// fine ones over its details. Strokes run along edges; where the image has none they run with their neighbours.
//
// The two planes behind the image hold which way edges run: the direction of twice the angle, so that the two sides
// of a line, whose slopes are opposite, agree when they are blurred.
#include "operators/bodies/paint.h"

#include "evaluator/tables.h"
#include "operators/bodies/blur_parts.h"
#include "operators/bodies/gradient.h"
#include "operators/sampling.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE_ARG = 0, FREQUENCY_ARG = 1, PRE_BLUR_ARG = 2, FOLLOW_GRAD_ARG = 3, GRAD_BLUR_ARG = 4,
              RAND_SEED_ARG = 5;
constexpr int DIRECTION_PLANES = 2;
constexpr blur_manner MANNER = {.edge_mode = blur_edge_mode, .passes = 3, .subpixel = true};
constexpr int ALPHA = 3;

// Written before the workers start.
struct {
  std::int16_t* const* planes;
  int elnum, width, height;
} job;

// --- which way edges run ---------------------------------------------------------------------------------------

/// The luma of the image's planes into `luma`.
void fill_luma(const node& n, std::int16_t* luma) {
  if (n.elnum < 3) return copy_plane(luma, n.images[0]);
  const std::int16_t *r = n.images[0], *g = n.images[1], *b = n.images[2];
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
#pragma GCC ivdep
    for (std::int64_t i = first; i < end; ++i) luma[i] = std::int16_t(fix_mono(r[i], g[i], b[i]));
  });
}

/// Slopes to the direction of the edges that stand across them, as long as the slope is steep.
void slopes_to_directions(std::int16_t* across, std::int16_t* up) {
  // The slopes of a wide-pixelled frame come halved once already.
  const float up_scale = display_dims.pixel_aspect_inv * (display_dims.pixel_aspect_wide ? 2.0f : 1.0f);
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
#pragma GCC ivdep
    for (std::int64_t i = first; i < end; ++i) {
      const float x = float(across[i]), y = float(up[i]) * up_scale;
      const float length = __builtin_sqrtf(x * x + y * y);
      const float scale = length > 0 ? 1.0f / length : 0.0f;
      const float c = (y * y - x * x) * scale, s = -2.0f * x * y * scale;
      across[i] = std::int16_t(c > 32767.0f ? 32767.0f : c < -32767.0f ? -32767.0f : c);
      up[i] = std::int16_t(s > 32767.0f ? 32767.0f : s < -32767.0f ? -32767.0f : s);
    }
  });
}

void find_directions(const node& n, fix grad_blur) {
  std::int16_t *across = n.images[n.elnum], *up = n.images[n.elnum + 1];
  fill_luma(n, across);
  blurred_gradient(across, across, up, 0, PAINT_GRADIENT_GAIN * FIX_ONE, false);
  if (abort_pending()) return;
  slopes_to_directions(across, up);
  const fix radius = amount_to_fix_pixels(grad_blur);
  for (std::int16_t* plane : {across, up}) {
    if (abort_pending()) return;
    if (radius > 0) blur_to_plane(plane, plane, {radius, radius}, FIX_ONE, MANNER);
  }
}

// --- strokes ---------------------------------------------------------------------------------------------------

constexpr int STROKE_BLOCK = 64;  // pixels
constexpr int STROKE_LANES = 8;   // a stroke's row is computed in whole groups of so many

/// What pixels of a row keep of their own and what they take of the stroke's colour, with its brightness and without;
/// 4096 for all.
struct alignas(64) stroke_block {
  fix kept[STROKE_BLOCK], toned[STROKE_BLOCK], plain[STROKE_BLOCK];
};

static inline float held_to_1(float v) {
  const float not_below = v > 0.0f ? v : 0.0f;
  return not_below < 1.0f ? not_below : 1.0f;
}
/// 0 at whole numbers, 1 between them.
static inline float zigzag(float t) {
  const float f = t - ((t + 12582912.0f) - 12582912.0f);  // 1.5 * 2^23: to the nearest whole number
  return 2.0f * __builtin_fabsf(f);
}

/// Pixels from (dx, dy) off the stroke's centre on. Beyond the stroke they keep all of their own.
inline void cover_of_stroke(const paint_stroke& s, float dx, float dy, int count, stroke_block& out) {
  constexpr float ROUND_END = 0.12f;  // how much shorter a stroke's sides are than its middle
  constexpr float STREAKS = 0.045f;   // of brightness, between bristles
  constexpr float DRY = 0.45f;        // of the colour that some bristles have lost at the far end
  const float u0 = dx * s.u_x + dy * s.u_y, v0 = dx * s.v_x + dy * s.v_y;
  const float opacity = s.opacity * float(FIX_ONE), dry = s.ragged * DRY, tone = s.tone - 0.5f * STREAKS;
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) {
    const float u = u0 + float(i) * s.u_x, v = v0 + float(i) * s.v_x;
    const float coarse = zigzag(v * 1.7f + s.bristle[0]), fine = zigzag(v * 4.3f + s.bristle[1]);
    const float bristle = 0.55f * coarse + 0.45f * fine;
    const float end = 1.0f - ROUND_END * v * v - s.ragged * (u < 0 ? 0.5f - 0.5f * coarse : bristle);
    const float side_cover = held_to_1((1.0f - __builtin_fabsf(v)) * s.side_slope);
    const float end_cover = held_to_1((end - __builtin_fabsf(u)) * s.end_slope);
    const float dried = 1.0f - dry * held_to_1(u) * bristle;
    const float cover = side_cover * end_cover * dried * opacity;
    const float bright = tone + STREAKS * bristle + s.light * v;
    const fix part = fix(cover + 0.5f);
    out.plain[i] = part;
    out.kept[i] = FIX_ONE - part;
    out.toned[i] = fix(float(part) * bright + 0.5f);
  }
}

inline void lay_on(std::int16_t* row, const fix* kept, const fix* taken, int count, fix color) {
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) {
    const fix mixed = (row[i] * kept[i] + color * taken[i] + FIX_ONE / 2) >> FIX_BITS;
    row[i] = std::int16_t(fix_clamp(mixed, -32767, 32767));
  }
}

/// A stroke and what its rows have in common.
struct stroke_walk {
  const paint_stroke& s;
  float columns_of_u, columns_of_v;  // pixels to the right by which u and v grow by 1; 0 where they do not

  explicit stroke_walk(const paint_stroke& stroke) : s(stroke) {
    const auto inverse = [](float step) {
      constexpr float FLAT = 1e-9f;
      return step > -FLAT && step < FLAT ? 0.0f : 1.0f / step;
    };
    columns_of_u = inverse(s.u_x);
    columns_of_v = inverse(s.v_x);
  }
  /// Columns where a0, which grows by 1 in `columns`, lies between -1 and 1.
  static void limit_columns(float a0, float columns, float& first, float& last) {
    if (columns == 0) {
      if (a0 < -1 || a0 > 1) last = first - 1;
      return;
    }
    const float p = (-1 - a0) * columns, q = (1 - a0) * columns;
    const float low = p < q ? p : q, high = p < q ? q : p;
    first = first > low ? first : low;
    last = last < high ? last : high;
  }

  void paint_row(int y) const {
    const float dy = float(y) - s.y;
    float first = -s.x, last = float(job.width - 1) - s.x;
    limit_columns(dy * s.u_y, columns_of_u, first, last);
    limit_columns(dy * s.v_y, columns_of_v, first, last);
    if (!(first <= last)) return;
    const int begin = fix_max(int(first + s.x), 0), end = fix_min(int(last + s.x) + 1, job.width);
    stroke_block block;
    for (int x = begin; x < end; x += STROKE_BLOCK) {
      // Whole groups as long as the row goes on: what they hold beyond the stroke stays as it is.
      const int wanted = (fix_min(end - x, STROKE_BLOCK) + STROKE_LANES - 1) / STROKE_LANES * STROKE_LANES;
      const int count = fix_min(wanted, job.width - x);
      cover_of_stroke(s, float(x) - s.x, dy, wanted, block);
      for (int e = 0; e < job.elnum; ++e)
        lay_on(job.planes[e] + std::int64_t(y) * job.width + x, block.kept, e == ALPHA ? block.plain : block.toned,
               count, s.color[e]);
    }
  }
};

/// Bands are painted one by one, so that their rows stay in the cache.
void forked_paint() {
  const worker_share bands = share_of((job.height + PAINT_BAND - 1) / PAINT_BAND);
  for (int band = bands.first; band < bands.end; ++band) {
    const stroke_list list = strokes_of_band(band);
    const int top = band * PAINT_BAND, bottom = fix_min(top + PAINT_BAND, job.height) - 1;
    for (int k = 0; k < list.count; ++k) {
      constexpr int ABORT_STROKES = 256;
      if (k % ABORT_STROKES == 0 && check_abort()) return;
      const int number = list.numbers[k];
      const stroke_walk walk(list.strokes[number]);
      const int first = fix_max(list.rows[number].first, top), last = fix_min(list.rows[number].last, bottom);
      for (int y = first; y <= last; ++y) walk.paint_row(y);
    }
  }
}

}  // namespace

void paint_image(node& n) {
  check_image_planes(n, n.elnum + DIRECTION_PLANES);
  const fix frequency = setting_value(n, FREQUENCY_ARG), pre_blur = setting_value(n, PRE_BLUR_ARG);
  const fix follow_grad = setting_value(n, FOLLOW_GRAD_ARG), grad_blur = setting_value(n, GRAD_BLUR_ARG);
  const fix rand_seed = setting_value(n, RAND_SEED_ARG);
  const int elnum = fetch_image_arg(n, IMAGE_ARG, n.images);
  const fix radius = amount_to_fix_pixels(pre_blur);
  for (int e = 0; e < elnum; ++e) {
    if (abort_pending()) return;
    if (radius > 0) blur_to_plane(n.images[e], n.images[e], {radius, radius}, FIX_ONE, MANNER);
  }

  // Strokes take their colours before any is painted.
  find_directions(n, grad_blur);
  if (abort_pending()) return;
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  const paint_settings settings = {frequency, follow_grad, rand_seed, elnum,
                                   width,     height,      n.images,  {n.images[n.elnum], n.images[n.elnum + 1]}};
  if (!plan_strokes(settings)) return;
  job = {n.images, elnum, width, height};
  fork_processes(forked_paint);
}

}  // namespace tessaron::TESSARON_LEVEL
