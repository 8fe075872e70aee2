// warp, warp_rel and warp_filter: every pixel shows the image at a place of its own, which a tree of nodes computes.
// warp and warp_rel find out by themselves how far the image is reduced there (uv_levels.cpp) or take plain
// bilinear samples; warp_filter is told.
#include "operators/bodies/warps.h"

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "operators/bodies/sampling.h"
#include "operators/bodies/sinks.h"
#include "operators/bodies/uv_levels.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COORDS_ARG = 1;
constexpr int WARP_WRAP_ARG = 2, WARP_FILTER_ARG = 3;  // of warp and warp_rel
constexpr int LEVELS_ARG = 2, LEVELS_WRAP_ARG = 3;     // of warp_filter
constexpr int WARP_PLANES = 4;                         // two for positions, two for levels
constexpr fix NO_LEVEL = 2;                            // two levels below this (as fix) ask for the image as it is

// Written before the workers start.
struct {
  sampler image;
  coordinate_steps own;  // of the view's first pixel
} job;

bool one_place(const node& n) { return n.uniform_args >> COORDS_ARG & 1; }

/// The one sample of a row whose coordinates do not change along it, in all its pixels.
template <int E>
void spread_sample(const sample_block<E>& sample, node& n) {
  const int width = n.vars->row_width;
  for (int e = 0; e < E; ++e) {
    fix* row = n.rows[e];
    const fix value = sample.of[e][0];
    for (int i = 0; i < width; ++i) row[i] = value;
  }
}

// --- warp --------------------------------------------------------------------------------------------------

template <int E>
void warp_row(node& n) {
  const int width = n.vars->row_width;
  fix* const* coords = n.arg_rows[COORDS_ARG];
  if (one_place(n)) {
    position_block positions = {};
    pixel_block pixels;
    sample_block<E> samples;
    job.image.positions_of(coords[0], coords[1], 1, positions);
    job.image.pixels_of(positions, pixels);
    bilinear_samples<E>(job.image, pixels, 1, samples);
    spread_sample<E>(samples, n);
    return;
  }
  // Some blocks ahead, so that their memory has time to come.
  constexpr int AHEAD = 8;
  texel_block texels[AHEAD] = {};
  const texel_finder<E> find = texel_finder_of<E>(job.image);
  const int blocks = (width + SAMPLE_BLOCK - 1) / SAMPLE_BLOCK;
  int found = 0;
  for (int k = 0; k < blocks; ++k) {
    for (; found < blocks && found < k + AHEAD; ++found) {
      const int first = found * SAMPLE_BLOCK;
      find(job.image, coords[0] + first, coords[1] + first, fix_min(width - first, SAMPLE_BLOCK),
           texels[found % AHEAD]);
    }
    const int first = k * SAMPLE_BLOCK;
    sum_texels<E>(job.image, texels[k % AHEAD], fix_min(width - first, SAMPLE_BLOCK), n.rows, first);
  }
}

// --- warp_rel ------------------------------------------------------------------------------------------------

/// Offsets added to the own coordinates of the pixels from `first` on. `stride` is 0 for one offset for the row.
void add_own_place(const node& n, int first, int count, fix* x, fix* y) {
  fix* const* offsets = n.arg_rows[COORDS_ARG];
  const int step = one_place(n) ? 0 : 1;
  const int view_width = display_dims.view_width;
  const int row = n.pixel_index / view_width, column = n.pixel_index % view_width + first;
  const fix own_y = y_of_line(job.own, row);
  const coordinate_steps own = job.own;
  const fix* dx = offsets[0] + step * first;
  const fix* dy = offsets[1] + step * first;
  for (int i = 0; i < count; ++i) {
    x[i] = wrap_add(x_of_column(own, column + i), dx[step * i]);
    y[i] = wrap_add(own_y, dy[step * i]);
  }
}

template <int E>
void warp_rel_row(node& n) {
  const int width = n.vars->row_width;
  position_block positions = {};
  alignas(64) fix x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
  pixel_block pixels;
  sample_block<E> samples;
  for (int first = 0; first < width; first += SAMPLE_BLOCK) {
    const int count = fix_min(width - first, SAMPLE_BLOCK);
    add_own_place(n, first, count, x, y);
    job.image.positions_of(x, y, count, positions);
    job.image.pixels_of(positions, pixels);
    bilinear_samples<E>(job.image, pixels, count, samples);
    store_samples<E>(samples, count, n.rows, first);
  }
}

// --- warp_filter ---------------------------------------------------------------------------------------------

template <int E>
void warp_filter_row(node& n) {
  const int width = n.vars->row_width;
  fix* const* coords = n.arg_rows[COORDS_ARG];
  fix* const* wanted = n.arg_rows[LEVELS_ARG];
  const int step = one_place(n) ? 0 : 1, level_step = n.uniform_args >> LEVELS_ARG & 1 ? 0 : 1;
  position_block positions = {};
  alignas(64) fix x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
  pixel_block pixels;
  level_block levels = {};
  sample_block<E> samples;
  for (int first = 0; first < width; first += SAMPLE_BLOCK) {
    const int count = fix_min(width - first, SAMPLE_BLOCK);
    for (int i = 0; i < count; ++i) {
      x[i] = coords[0][step * (first + i)];
      y[i] = coords[1][step * (first + i)];
      const fix level_x = wanted[0][level_step * (first + i)], level_y = wanted[1][level_step * (first + i)];
      const bool as_it_is = (level_x < NO_LEVEL) & (level_y < NO_LEVEL);
      levels.x[i] = as_it_is ? 0 : wrap_mul(level_x, 2);
      levels.y[i] = as_it_is ? 0 : wrap_mul(level_y, 2);
    }
    job.image.positions_of(x, y, count, positions);
    job.image.pixels_of(positions, pixels);
    mip_samples<E>(job.image, pixels, levels, count, samples);
    store_samples<E>(samples, count, n.rows, first);
  }
}

constexpr node_kernel WARP_ROWS[5] = {nullptr, warp_row<1>, warp_row<2>, warp_row<3>, warp_row<4>};
constexpr node_kernel WARP_REL_ROWS[5] = {nullptr, warp_rel_row<1>, warp_rel_row<2>, warp_rel_row<3>, warp_rel_row<4>};
constexpr node_kernel WARP_FILTER_ROWS[5] = {nullptr, warp_filter_row<1>, nullptr, warp_filter_row<3>,
                                             warp_filter_row<4>};

void warp_by(node& n, const node_kernel (&rows)[5], bool relative) {
  check_image_planes(n, WARP_PLANES);
  const fix wrap_x = setting_value(n, WARP_WRAP_ARG, 0), wrap_y = setting_value(n, WARP_WRAP_ARG, 1);
  const fix filter = setting_value(n, WARP_FILTER_ARG);
  if (filter >= 1) {
    warp_by_uv_levels(n, wrap_x, wrap_y, filter, relative);
    return;
  }
  if (!prepare_sampling_image(n, wrap_x, wrap_y, false)) return;
  job = {sampler::of_current_image(), view_coordinates()};
  finish_by_pixels(n, rows, sample_range::plane);  // means of the image's samples
}

}  // namespace

void warp_image(node& n) { warp_by(n, WARP_ROWS, false); }
void warp_rel_image(node& n) { warp_by(n, WARP_REL_ROWS, true); }

void warp_filter_image(node& n) {
  check_image_planes(n, n.elnum);
  const fix wrap_x = setting_value(n, LEVELS_WRAP_ARG, 0), wrap_y = setting_value(n, LEVELS_WRAP_ARG, 1);
  if (!prepare_sampling_image(n, wrap_x, wrap_y, true)) return;
  job = {sampler::of_current_image(), {}};
  finish_by_pixels(n, WARP_FILTER_ROWS, sample_range::plane);
}

}  // namespace tessaron::TESSARON_LEVEL
