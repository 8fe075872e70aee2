// drops: rings that run out from where drops fell, and push what is seen through the water to and fro along their
// slopes. The bright spots of the image are the drops.
//
//     shift = amplitude * sum over drops of amount * sin(frequency * r - phase) * (unit vector away from the drop)
//
// r is the distance from the drop, across the longer axis where the two frequencies make ellipses of the rings. The
// rings have their full height from the inner to the outer radius; `rotate` turns the push against its rings, so that
// with a quarter turn water is dragged around the drop.
#include "operators/bodies/drops.h"

#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"
#include "operators/bodies/sampling.h"
#include "operators/bodies/sinks.h"
#include "operators/drops.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COORDS_ARG = 1, AMPLITUDE_ARG = 2, FREQUENCY_ARG = 3, PHASE_ARG = 4, ROTATE_ARG = 5, RADS_ARG = 6,
              SOFT_ARG = 7, MAX_CENTERS_ARG = 8;
constexpr std::uint16_t RIPPLE_ARGS = 0xfc;  // amplitude to in_out_soft
constexpr int RESULT_ELNUM = 2;
constexpr float STEP = 1.0f / FIX_ONE;
constexpr float HARD_EDGE = 1e-6f;            // width of an edge that is not soft
constexpr float ROUNDING_BIAS = 12582912.0f;  // 1.5 * 2^23: added to a float below 2^22, leaves no fraction
constexpr float FARTHEST_RING = 1048576.0f;   // rings beyond this many are not told apart
constexpr float FULL_PUSH = 4.0f;             // from a quarter ring off the centre the push is whole
constexpr float LARGEST_SHIFT = 1048576.0f;   // steps of fix

// Written before the workers start.
drop_list job;

/// The rings of every drop, from the arguments. Distances are in norm coordinates.
struct ripple {
  float amplitude;             // steps of fix
  float frequency;             // rings to 1.0, along the axis that counts the distance
  float stretch_x, stretch_y;  // of offsets, so that rings become circles
  float phase;
  float cosine, sine;
  float in_start, in_slope;  // the envelope rises from here
  float out_end, out_slope;  // and falls to 0 here
  float reach_x, reach_y;    // no drop is felt farther than this
};

bool is_uniform(const node& n, int arg) { return n.uniform_args >> arg & 1; }

/// The arguments at sample i of the row.
ripple ripple_at(const node& n, int i) {
  const auto value = [&](int arg, int e) { return n.arg_rows[arg][e][is_uniform(n, arg) ? 0 : i]; };
  const auto distance = [&](int arg, int e) { return float(fix_max(value(arg, e), 0)) * STEP; };
  const float fx = float(value(FREQUENCY_ARG, 0)) * STEP, fy = float(value(FREQUENCY_ARG, 1)) * STEP;
  const float soft_in = distance(SOFT_ARG, 0) + HARD_EDGE, soft_out = distance(SOFT_ARG, 1) + HARD_EDGE;
  const float reach = distance(RADS_ARG, 1) + soft_out;
  ripple r;
  r.amplitude = float(value(AMPLITUDE_ARG, 0));
  r.frequency = fx != 0 ? fx : fy;
  r.stretch_x = fx != 0 ? 1.0f : 0.0f;
  r.stretch_y = r.frequency != 0 ? __builtin_fabsf(fy / r.frequency) : 0.0f;
  r.phase = float(value(PHASE_ARG, 0) & (FIX_ONE - 1)) * STEP;
  r.cosine = float(fix_cos(value(ROTATE_ARG, 0))) * STEP;
  r.sine = float(fix_sin(value(ROTATE_ARG, 0))) * STEP;
  r.in_start = distance(RADS_ARG, 0) - soft_in;
  r.in_slope = 1.0f / soft_in;
  r.out_end = reach;
  r.out_slope = 1.0f / soft_out;
  constexpr float EVERYWHERE = 1e9f;
  r.reach_x = r.stretch_x > 0 ? reach : EVERYWHERE;
  r.reach_y = r.stretch_y * EVERYWHERE > reach ? reach / r.stretch_y : EVERYWHERE;
  return r;
}

/// Places in norm coordinates, and the sums of what drops do there. Loops run over the whole block.
struct alignas(64) ripple_block {
  float x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
  float shift_x[SAMPLE_BLOCK], shift_y[SAMPLE_BLOCK];
};

/// A box around places.
struct place_bounds {
  float left, right, bottom, top;

  place_bounds(const fix* x, const fix* y, int count) {
    fix low_x = x[0], high_x = x[0], low_y = y[0], high_y = y[0];
    for (int i = 0; i < count; ++i) {
      low_x = fix_min(low_x, x[i]);
      high_x = fix_max(high_x, x[i]);
      low_y = fix_min(low_y, y[i]);
      high_y = fix_max(high_y, y[i]);
    }
    left = float(low_x) * STEP;
    right = float(high_x) * STEP;
    bottom = float(low_y) * STEP;
    top = float(high_y) * STEP;
  }
  bool feels(const drop& d, const ripple& r) const {
    return d.x + r.reach_x > left && d.x - r.reach_x < right && d.y + r.reach_y > bottom && d.y - r.reach_y < top;
  }
};

void add_drop(const ripple& r, const drop& d, ripple_block& b) {
  const float steepest = FULL_PUSH * __builtin_fabsf(r.frequency);
  const float farthest = r.frequency != 0 ? FARTHEST_RING / __builtin_fabsf(r.frequency) : FARTHEST_RING;
#pragma GCC ivdep
  for (int i = 0; i < SAMPLE_BLOCK; ++i) {
    const float dx = (b.x[i] - d.x) * r.stretch_x, dy = (b.y[i] - d.y) * r.stretch_y;
    const float distance = __builtin_sqrtf(dx * dx + dy * dy);
    const float turns = smaller(distance, farthest) * r.frequency - r.phase;
    const float wave = wave_of(turns - ((turns + ROUNDING_BIAS) - ROUNDING_BIAS));
    // The nearer edge of the ring of full height decides.
    const float height =
        smooth_step(smaller((distance - r.in_start) * r.in_slope, (r.out_end - distance) * r.out_slope));
    // Where there is no direction there is no push.
    const float push = d.amount * (wave * height) * smaller(1.0f / distance, steepest);
    b.shift_x[i] += push * dx;
    b.shift_y[i] += push * dy;
  }
}

inline fix shift_value(float v) {
  const float held = smaller(larger(v, -LARGEST_SHIFT), LARGEST_SHIFT);
  return fix((held + ROUNDING_BIAS) - ROUNDING_BIAS);
}

void ripple_of_block(const ripple& r, const place_bounds& bounds, int count, ripple_block& b, fix* out_x, fix* out_y) {
  for (int i = 0; i < SAMPLE_BLOCK; ++i) b.shift_x[i] = b.shift_y[i] = 0;
  for (int k = 0; k < job.count; ++k)
    if (bounds.feels(job.drops[k], r)) add_drop(r, job.drops[k], b);
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) {
    out_x[i] = shift_value((b.shift_x[i] * r.cosine - b.shift_y[i] * r.sine) * r.amplitude);
    out_y[i] = shift_value((b.shift_x[i] * r.sine + b.shift_y[i] * r.cosine) * r.amplitude);
  }
}

void drops_row(node& n) {
  const int width = n.vars->row_width;
  const bool same_rings = (n.uniform_args & RIPPLE_ARGS) == RIPPLE_ARGS;
  const int step = is_uniform(n, COORDS_ARG) ? 0 : 1;
  const fix* x = n.arg_rows[COORDS_ARG][0];
  const fix* y = n.arg_rows[COORDS_ARG][1];
  ripple_block block = {};
  alignas(64) fix places[2][SAMPLE_BLOCK];
  // Rings that change from pixel to pixel are computed one by one.
  const int stretch = same_rings ? SAMPLE_BLOCK : 1;
  ripple rings = ripple_at(n, 0);
  for (int first = 0; first < width; first += stretch) {
    const int count = fix_min(width - first, stretch);
    if (!same_rings) rings = ripple_at(n, first);
    for (int i = 0; i < count; ++i) {
      places[0][i] = x[step * (first + i)];
      places[1][i] = y[step * (first + i)];
      block.x[i] = float(places[0][i]) * STEP;
      block.y[i] = float(places[1][i]) * STEP;
    }
    ripple_of_block(rings, place_bounds(places[0], places[1], count), count, block, n.rows[0] + first,
                    n.rows[1] + first);
  }
}

constexpr node_kernel DROPS_ROWS[5] = {nullptr, nullptr, drops_row, nullptr, nullptr};

}  // namespace

void drops_image(node& n) {
  check_image_planes(n, RESULT_ELNUM);
  const fix max_centers = setting_value(n, MAX_CENTERS_ARG);
  if (!prepare_sampling_image(n, 0, 0, false)) return;
  job = drops_of_sampling_image(max_centers >> FIX_BITS);
  image_process_pixels_loop(n, DROPS_ROWS, plane_sink);
}

}  // namespace tessaron::TESSARON_LEVEL
