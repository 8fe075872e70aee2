// repeat_warp and repeat_warp_filter: each pixel is the mean of the image over steps on a line from one coordinate to
// another, which may grow brighter or darker along the way. Copies of the image, or with many steps a smear.
#include "evaluator/pixel_loop.h"
#include "operators/bodies/sinks.h"
#include "operators/bodies/step_walk.h"
#include "operators/bodies/warps.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int FEWEST_STEPS = 2;

// Written before the workers start.
struct {
  sampler image;
  walk_args args;
  int n_steps;
  fix first_weight, weight_step;
} job;

template <int E>
inline void add_samples(sample_block<E>& sums, const sample_block<E>& samples) {
  for (int e = 0; e < E; ++e)
    for (int i = 0; i < SAMPLE_BLOCK; ++i) sums.of[e][i] = wrap_add(sums.of[e][i], samples.of[e][i]);
}
template <int E>
inline void add_weighted(sample_block<E>& sums, const sample_block<E>& samples, fix weight) {
  for (int e = 0; e < E; ++e)
    for (int i = 0; i < SAMPLE_BLOCK; ++i) sums.of[e][i] = wrap_add(sums.of[e][i], fix_mul(samples.of[e][i], weight));
}

template <int E, bool FILTERED>
void repeat_warp_row(node& n) {
  const int width = n.vars->row_width;
  const bool even = job.first_weight == FIX_ONE && job.weight_step == 0;
  sample_block<E> samples = {};
  for (int first = 0; first < width; first += SAMPLE_BLOCK) {
    const int count = fix_min(width - first, SAMPLE_BLOCK);
    step_walk walk(job.image, n, job.args, job.n_steps, first, count);
    sample_block<E> sums = {};
    fix weight = job.first_weight;
    for (int k = 0; k < job.n_steps; ++k) {
      walk.next<E, FILTERED>(samples);
      if (even)
        add_samples<E>(sums, samples);
      else
        add_weighted<E>(sums, samples, weight);
      weight = wrap_add(weight, job.weight_step);
    }
    for (int e = 0; e < E; ++e)
      for (int i = 0; i < count; ++i) n.rows[e][first + i] = nearest_int(double(sums.of[e][i]) / job.n_steps);
  }
}

constexpr node_kernel REPEAT_WARP_ROWS[5] = {nullptr, repeat_warp_row<1, false>, repeat_warp_row<2, false>,
                                             repeat_warp_row<3, false>, repeat_warp_row<4, false>};
constexpr node_kernel REPEAT_WARP_FILTER_ROWS[5] = {nullptr, repeat_warp_row<1, true>, repeat_warp_row<2, true>,
                                                    repeat_warp_row<3, true>, repeat_warp_row<4, true>};

/// Arguments behind those of the walk.
struct repeat_args {
  int ends_brightness, wrap, steps;
};

void repeat_warp_by(node& n, const walk_args& walk, const repeat_args& args, const node_kernel (&rows)[5]) {
  check_image_planes(n, n.elnum);
  const fix wrap_x = setting_value(n, args.wrap, 0), wrap_y = setting_value(n, args.wrap, 1);
  const int n_steps = fix_max(FEWEST_STEPS, setting_value(n, args.steps) >> FIX_BITS);
  const end_weights weights =
      end_weights_of(setting_value(n, args.ends_brightness, 0), setting_value(n, args.ends_brightness, 1));
  if (!prepare_sampling_image(n, wrap_x, wrap_y, walk.from_levels >= 0)) return;
  job = {sampler::of_current_image(), walk, n_steps, weights.first,
         wrap_sub(weights.last, weights.first) / (n_steps - 1)};
  finish_by_pixels(n, rows);
}

}  // namespace

void repeat_warp_image(node& n) {
  constexpr walk_args WALK = {.from_coords = 1, .to_coords = 2, .from_levels = -1, .to_levels = -1};
  constexpr repeat_args ARGS = {.ends_brightness = 3, .wrap = 4, .steps = 5};
  repeat_warp_by(n, WALK, ARGS, REPEAT_WARP_ROWS);
}

void repeat_warp_filter_image(node& n) {
  constexpr walk_args WALK = {.from_coords = 1, .to_coords = 2, .from_levels = 3, .to_levels = 4};
  constexpr repeat_args ARGS = {.ends_brightness = 5, .wrap = 6, .steps = 7};
  repeat_warp_by(n, WALK, ARGS, REPEAT_WARP_FILTER_ROWS);
}

}  // namespace tessaron::TESSARON_LEVEL
