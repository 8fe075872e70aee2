// The filtered warp: how fast the coordinates run from pixel to pixel says how many pixels of the image one pixel of
// the result covers, and so from which level of the sampling image it is read. Across (u) and down (v) have levels of
// their own.
//
// Planes 0 and 1 keep the positions with 14 bits for the frame, planes 2 and 3 half the levels; the result overwrites
// them pixel by pixel.
#include "operators/bodies/uv_levels.h"

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/workers.h"
#include "operators/bodies/sampling.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COORDS_ARG = 1;
constexpr int U_PLANE = 0, V_PLANE = 1, U_LEVELS = 2, V_LEVELS = 3;
constexpr int ABORT_ROWS = 16;
constexpr fix MIN_MODE_FILTER = 8191;  // above it the calmer of a pixel's two sides counts
// A step of so many 1/2048 pixels asks for the last level in any case, and sums of such steps stay in 32 bits.
constexpr std::uint32_t LARGEST_STEP = 1u << 29;

constinit growing_buffer<std::int32_t> u_memory, v_memory;

// Written before the workers start.
constinit struct {
  sampler image;
  coordinate_steps own;
  bool relative;
  int width, height;
  std::int16_t* const* planes;
  std::int32_t *u, *v;  // 1/2048 pixels of the image, before any wrap
  double u_scale, v_scale;
  bool u_min;
  wrap_kind wrap_x, wrap_y;
} job = {};

// --- coordinates -----------------------------------------------------------------------------------------

fix short_position(fix p, wrap_kind wrap) {
  if (wrap == WRAP_NONE) return fix_clamp(p, -32768, 32767);
  return wrap == WRAP_REPEAT ? p & 0x3fff : (p ^ wrap_neg((p >> 14) & 1)) & 0x3fff;
}

template <wrap_kind W>
void store_positions(std::int16_t* plane, const fix* p, int width) {
  for (int i = 0; i < width; ++i) plane[i] = std::int16_t(short_position(p[i], W));
}
using store_function = void (*)(std::int16_t*, const fix*, int);
constexpr store_function STORE_POSITIONS[3] = {store_positions<WRAP_NONE>, store_positions<WRAP_REPEAT>,
                                               store_positions<WRAP_MIRROR>};

/// Wraps; the steps between neighbours come out right all the same.
inline std::int32_t scaled_coordinate(fix v, double scale) { return nearest_int(double(v) * scale); }

/// Coordinates of a stretch, into the long images and, as 14-bit positions, into their planes.
void uv_sink(node& coords, std::int64_t offset, int width) {
  const int row = int(offset / job.width), column = int(offset % job.width);
  const fix own_y = job.relative ? y_of_line(job.own, row) : 0;
  const coordinate_steps own = job.own;
  const fix inv_aspect_fix = job.image.frame.inv_aspect_fix;
  const double u_scale = job.u_scale, v_scale = job.v_scale;
  alignas(64) fix x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
  for (int first = 0; first < width; first += SAMPLE_BLOCK) {
    const int count = fix_min(width - first, SAMPLE_BLOCK);
    const std::int64_t at = offset + first;
    for (int i = 0; i < count; ++i) {
      x[i] = coords.rows[0][first + i];
      y[i] = coords.rows[1][first + i];
    }
    if (job.relative)
      for (int i = 0; i < count; ++i) {
        x[i] = wrap_add(x[i], x_of_column(own, column + first + i));
        y[i] = wrap_add(y[i], own_y);
      }
    for (int i = 0; i < count; ++i) {
      job.u[at + i] = scaled_coordinate(x[i], u_scale);
      job.v[at + i] = scaled_coordinate(y[i], v_scale);
      x[i] = wrap_add(wrap_mul(x[i], 2), 8192);
      y[i] = wrap_add(wrap_mul(wrap_neg(y[i]), inv_aspect_fix) >> 11, 8192);
    }
    STORE_POSITIONS[job.wrap_x](job.planes[U_PLANE] + at, x, count);
    STORE_POSITIONS[job.wrap_y](job.planes[V_PLANE] + at, y, count);
  }
}

// --- levels ------------------------------------------------------------------------------------------------

/// Half the binary logarithm of c / 4096 as fix: exponent and mantissa of the number as a float, the mantissa taken
/// as it is.
inline std::int16_t half_log(std::int32_t c) {
  const float scaled = float(c) * 2097152.0f;
  std::uint32_t bits = 0;
  std::memcpy(&bits, &scaled, sizeof bits);
  const fix level = (fix((bits & 0x1fffffff) >> 11) - 131072) >> 1;
  return std::int16_t(fix_clamp(level, -32768, 32767));
}

template <bool MIN>
inline std::int32_t both_sides(std::int32_t before, std::int32_t here, std::int32_t behind) {
  const auto step = [](fix from, fix to) {
    const auto length = std::uint32_t(wrap_abs(wrap_sub(to, from)));
    return fix(length < LARGEST_STEP ? length : LARGEST_STEP);
  };
  const fix a = step(before, here), b = step(here, behind);
  return MIN ? 2 * fix_min(a, b) : a + b;
}

/// Larger plus half the smaller: near enough to the length of (x, y).
inline std::int32_t cheap_length(std::int32_t x, std::int32_t y) { return fix_max(x, y) + fix_min(x, y) / 2; }

/// Rows above and below stand in for each other at the edges, and so do the pixels left and right: the one
/// difference that there is counts twice.
template <bool MIN>
void fill_level_row(std::int16_t* levels, const std::int32_t* above, const std::int32_t* row, const std::int32_t* below,
                    int width) {
  const auto level = [&](int x, int left, int right) {
    levels[x] = half_log(
        cheap_length(both_sides<MIN>(row[left], row[x], row[right]), both_sides<MIN>(above[x], row[x], below[x])));
  };
  const int last = width - 1;
  level(0, fix_min(1, last), fix_min(1, last));
  for (int x = 1; x < last; ++x) level(x, x - 1, x + 1);
  if (last > 0) level(last, last - 1, last - 1);
}

template <bool MIN>
void fill_levels_at(std::int16_t* plane, const std::int32_t* coordinates, int row) {
  const std::int64_t width = job.width;
  const int above = row > 0 ? row - 1 : fix_min(1, job.height - 1);
  const int below = row + 1 < job.height ? row + 1 : above;
  fill_level_row<MIN>(plane + row * width, coordinates + above * width, coordinates + row * width,
                      coordinates + below * width, job.width);
}

void forked_fill_levels() {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  for (int row = first; row < first + count; ++row) {
    if (row % ABORT_ROWS == 0 && check_abort()) return;
    if (job.u_min)
      fill_levels_at<true>(job.planes[U_LEVELS], job.u, row);
    else
      fill_levels_at<false>(job.planes[U_LEVELS], job.u, row);
    fill_levels_at<false>(job.planes[V_LEVELS], job.v, row);
  }
}

// --- samples -----------------------------------------------------------------------------------------------

/// Positions without wrap stop at two frames outside, where all is black as it is at the border.
inline void pixels_from_planes(std::int64_t at, int count, pixel_block& out) {
  constexpr fix HALF_PIXEL = 2048;
  const sampling_frame f = job.image.frame;
  const std::int16_t* u = job.planes[U_PLANE] + at;
  const std::int16_t* v = job.planes[V_PLANE] + at;
  for (int i = 0; i < count; ++i) {
    out.x[i] = wrap_sub((wrap_mul(u[i], f.full_width) >> 2) - HALF_PIXEL, f.origin_x);
    out.y[i] = wrap_sub((wrap_mul(v[i], f.full_height) >> 2) - HALF_PIXEL, f.origin_y);
    out.seen[i] = -1;
  }
}

template <int E>
void forked_set_images_from_uv_levels() {
  int first = 0, count = 0;
  split_rows(job.height, &first, &count);
  pixel_block pixels = {};
  level_block levels = {};
  sample_block<E> samples;
  for (int row = first; row < first + count; ++row) {
    if (row % ABORT_ROWS == 0 && check_abort()) return;
    for (int x = 0; x < job.width; x += SAMPLE_BLOCK) {
      const int n = fix_min(job.width - x, SAMPLE_BLOCK);
      const std::int64_t at = std::int64_t(row) * job.width + x;
      pixels_from_planes(at, n, pixels);
      for (int i = 0; i < n; ++i) {
        levels.x[i] = 2 * job.planes[U_LEVELS][at + i];
        levels.y[i] = 2 * job.planes[V_LEVELS][at + i];
      }
      mip_samples<E>(job.image, pixels, levels, n, samples);
      for (int e = 0; e < E; ++e)
        for (int i = 0; i < n; ++i) job.planes[e][at + i] = std::int16_t(samples.of[e][i]);
    }
  }
}

constexpr fork_body SET_IMAGES[5] = {nullptr, forked_set_images_from_uv_levels<1>, forked_set_images_from_uv_levels<2>,
                                     forked_set_images_from_uv_levels<3>, forked_set_images_from_uv_levels<4>};

}  // namespace

void warp_by_uv_levels(node& n, fix wrap_x, fix wrap_y, fix filter, bool relative) {
  node& coords = *n.args[COORDS_ARG];
  if (coords.kind == KIND_BUILT_IN) {
    fetch_image_arg(n, n.fun->image_arg_index, n.images);
    return;
  }
  if (n.elnum < 1 || n.elnum > 4) {
    report(REPORT_WARNING, "forked_set_images_from_uv_levels: unsupported elnum %d \n", n.elnum);
    return;
  }
  // The image first: its planes may be the node's own, which positions and levels are about to overwrite.
  if (!prepare_sampling_image(n, wrap_x, wrap_y, true)) return;

  // Coordinates, as 1/2048 pixels and as positions.
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  const std::size_t n_pixels = std::size_t(width) * std::size_t(height);
  const double pixels_of_1 = display_dims.full_width * 0.25;
  job = {sampler::of_current_image(),
         view_coordinates(),
         relative,
         width,
         height,
         n.images,
         u_memory.at_least(n_pixels),
         v_memory.at_least(n_pixels),
         pixels_of_1,
         -double(display_dims.pixel_aspect_inv) * pixels_of_1,
         filter > MIN_MODE_FILTER,
         x_wrap_kind(),
         y_wrap_kind()};
  eval_node_tree_pixel_loop(&coords, uv_sink, 0, 1);
  const std::size_t stride = std::size_t(width);
  for (std::int32_t* samples : {job.u, job.v}) fill_skipped_lines(samples, stride, stride);
  for (int k : {U_PLANE, V_PLANE}) fill_skipped_lines(n.images[k], stride, stride);
  if (check_abort()) return;

  // Levels from their differences, then the samples.
  fork_processes(forked_fill_levels);
  if (check_abort()) return;
  fork_processes(SET_IMAGES[n.elnum]);
}

}  // namespace tessaron::TESSARON_LEVEL
