// blur_warp: every pixel is the mean of the image along a straight line of its own, from one coordinate to another:
// smears along a direction, away from a centre or around one. At a lower resolution (`log_res_factor`) long lines cost
// less and look the same.
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "operators/bodies/line_walk.h"
#include "operators/bodies/reduction.h"
#include "operators/bodies/sampling.h"
#include "operators/bodies/sinks.h"
#include "operators/bodies/warps.h"
#include "operators/sampling_reduced.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE_ARG = 0, FROM_ARG = 1, TO_ARG = 2, ENDS_ARG = 3, SCALE_ARG = 4, WRAP_ARG = 5, SUBPIXEL_ARG = 6,
              REDUCTION_ARG = 7;
constexpr int ABORT_ROWS = 16;

constinit growing_buffer<std::int32_t> place_memory;

// Written before the workers start.
constinit struct {
  sampler image;
  walk_settings settings;
  walk_axis columns, rows;
  walk_function walk_columns, walk_rows;  // lines that are longer across, and down
  void (*ends_of)(const sampler&, const position_block& from, const position_block& to, pixel_block& a, pixel_block& b);
} job = {};

// --- ends of the lines -------------------------------------------------------------------------------------

// Ends have positions of 13 bits: the frame spans 0 to 8192.
constexpr int FRAME_BITS = 13;
constexpr fix FRAME_MASK = (1 << FRAME_BITS) - 1;

void line_positions(const fix* x, const fix* y, position_block& out) {
  const fix inv_aspect_fix = job.image.frame.inv_aspect_fix;
  for (int i = 0; i < SAMPLE_BLOCK; ++i) {
    out.x[i] = wrap_add(x[i], FIX_ONE);
    out.y[i] = wrap_add(wrap_mul(wrap_neg(y[i]), inv_aspect_fix) >> FIX_BITS, FIX_ONE);
  }
}

/// Brings a line's start into the frame and its end along, so that the line keeps its length and, but for mirroring,
/// its direction. Where it leaves the frame the walk wraps.
template <wrap_kind W>
inline void enter_frame(fix& from, fix& to) {
  if constexpr (W == WRAP_NONE) return;
  const fix difference = wrap_sub(to, from);
  const bool mirrored = W == WRAP_MIRROR && (from >> FRAME_BITS & 1);
  from = (mirrored ? ~from : from) & FRAME_MASK;
  to = mirrored ? wrap_sub(from, difference) : wrap_add(from, difference);
}

template <wrap_kind WX, wrap_kind WY>
void ends_of(const sampler& s, const position_block& from, const position_block& to, pixel_block& a, pixel_block& b) {
  constexpr fix HALF_PIXEL = FIX_ONE / 2;
  const sampling_frame f = s.frame;
  for (int i = 0; i < SAMPLE_BLOCK; ++i) {
    fix ax = from.x[i], bx = to.x[i], ay = from.y[i], by = to.y[i];
    enter_frame<WX>(ax, bx);
    enter_frame<WY>(ay, by);
    a.x[i] = wrap_sub(wrap_sub(wrap_mul(ax, f.full_width) >> 1, HALF_PIXEL), f.origin_x);
    b.x[i] = wrap_sub(wrap_sub(wrap_mul(bx, f.full_width) >> 1, HALF_PIXEL), f.origin_x);
    a.y[i] = wrap_sub(wrap_sub(wrap_mul(ay, f.full_height) >> 1, HALF_PIXEL), f.origin_y);
    b.y[i] = wrap_sub(wrap_sub(wrap_mul(by, f.full_height) >> 1, HALF_PIXEL), f.origin_y);
  }
}

using ends_function = void (*)(const sampler&, const position_block&, const position_block&, pixel_block&,
                               pixel_block&);
constexpr ends_function ENDS_OF[3][3] = {
    {ends_of<WRAP_NONE, WRAP_NONE>, ends_of<WRAP_NONE, WRAP_REPEAT>, ends_of<WRAP_NONE, WRAP_MIRROR>},
    {ends_of<WRAP_REPEAT, WRAP_NONE>, ends_of<WRAP_REPEAT, WRAP_REPEAT>, ends_of<WRAP_REPEAT, WRAP_MIRROR>},
    {ends_of<WRAP_MIRROR, WRAP_NONE>, ends_of<WRAP_MIRROR, WRAP_REPEAT>, ends_of<WRAP_MIRROR, WRAP_MIRROR>},
};

// --- the row kernel ------------------------------------------------------------------------------------------

void read_coordinates(const node& n, int arg, int first, int count, position_block& out) {
  const int step = n.uniform_args >> arg & 1 ? 0 : 1;
  const fix* x = n.arg_rows[arg][0] + step * first;
  const fix* y = n.arg_rows[arg][1] + step * first;
  for (int i = 0; i < count; ++i) {
    out.x[i] = x[step * i];
    out.y[i] = y[step * i];
  }
}

inline bool same_place(const position_block& from, const position_block& to, int i) {
  return from.x[i] == to.x[i] && from.y[i] == to.y[i];
}

/// Pixels whose line has no length are bilinear samples, times the scale.
template <int E>
void sample_points(node& n, const position_block& from, const position_block& to, int first, int count) {
  bool any = false;
  for (int i = 0; i < count; ++i) any |= same_place(from, to, i);
  if (!any) return;
  position_block positions;
  pixel_block pixels;
  sample_block<E> samples;
  job.image.positions_of(from.x, from.y, SAMPLE_BLOCK, positions);
  job.image.pixels_of(positions, pixels);
  bilinear_samples<E>(job.image, pixels, count, samples);
  const fix scale = job.settings.scale;
  for (int e = 0; e < E; ++e)
    for (int i = 0; i < count; ++i) n.rows[e][first + i] = fix_mul(samples.of[e][i], scale);
}

/// A line of no length in pixels has no direction for soft pixels either; see walk_soft.
template <int E>
void blur_warp_row(node& n) {
  const int width = n.vars->row_width;
  position_block from = {}, to = {}, from_position, to_position;
  pixel_block a, b;
  for (int first = 0; first < width; first += SAMPLE_BLOCK) {
    const int count = fix_min(width - first, SAMPLE_BLOCK);
    read_coordinates(n, FROM_ARG, first, count, from);
    read_coordinates(n, TO_ARG, first, count, to);
    sample_points<E>(n, from, to, first, count);
    line_positions(from.x, from.y, from_position);
    line_positions(to.x, to.y, to_position);
    job.ends_of(job.image, from_position, to_position, a, b);
    for (int i = 0; i < count; ++i) {
      if (same_place(from, to, i)) continue;
      walk_result result;
      const std::int64_t dx = std::int64_t(b.x[i]) - a.x[i], dy = std::int64_t(b.y[i]) - a.y[i];
      if ((dx < 0 ? -dx : dx) >= (dy < 0 ? -dy : dy))
        job.walk_columns(job.settings, job.columns, job.rows, {a.x[i], a.y[i], b.x[i], b.y[i]}, result);
      else
        job.walk_rows(job.settings, job.rows, job.columns, {a.y[i], a.x[i], b.y[i], b.x[i]}, result);
      for (int e = 0; e < E; ++e) n.rows[e][first + i] = result.of[e];
    }
  }
}

constexpr node_kernel BLUR_WARP_ROWS[5] = {nullptr, blur_warp_row<1>, blur_warp_row<2>, blur_warp_row<3>,
                                           blur_warp_row<4>};

// --- the image -------------------------------------------------------------------------------------------------

constinit struct {
  std::int16_t* const* planes;
} interleave_job = {};

void forked_interleave() {
  const mipmap_table_record& t = mipmap_table;
  int first = 0, count = 0;
  split_rows(t.height, &first, &count);
  for (int k = first; k < first + count; ++k) {
    if (k % ABORT_ROWS == 0 && check_abort()) return;
    std::int16_t* row = mipmap_buffer + level_start(t, 0, 0) + std::int64_t(k) * t.row_stride;
    for (int e = 0; e < t.elnum; ++e) {
      const std::int16_t* plane = interleave_job.planes[e] + std::int64_t(k) * t.width;
      for (int x = 0; x < t.width; ++x) row[x * t.elnum + e] = plane[x];
    }
  }
}

/// Planes of the view into the sampling image, unlike the other warps' with all values that planes hold.
void interleave_planes(std::int16_t* const* planes, int elnum) {
  set_mipmap_table(temp_raster_info.width, temp_raster_info.height, elnum, false);
  interleave_job = {planes};
  fork_processes(forked_interleave);
  fill_mipmap_borders();
}

/// `table` holds 2 * size + 2 entries.
walk_axis make_axis(std::uint32_t* table, int size, wrap_kind wrap, std::uint32_t distance) {
  std::uint32_t* place = table + 1;
  // A walk that is turned round at the low end goes on at pixel 1, at the high end at the last pixel once more.
  const int period = wrap == WRAP_MIRROR ? 2 * size - 1 : size;
  for (int p = 0; p < period; ++p) place[p] = std::uint32_t(p < size ? p + 1 : 2 * size - p) * distance;
  place[-1] = 0;  // the border in front, which is black without wrap
  place[period] = wrap == WRAP_NONE ? 0 : place[0];
  return {place, size, period};
}

void plan_walks(const end_weights& ends, fix scale, bool subpixel) {
  const mipmap_table_record& t = mipmap_table;
  const std::size_t n_columns = 2 * std::size_t(t.width) + 2, n_rows = 2 * std::size_t(t.height) + 2;
  auto* places = reinterpret_cast<std::uint32_t*>(place_memory.at_least(n_columns + n_rows));
  job.image = sampler::of_current_image();
  job.settings = {mipmap_buffer, ends, scale};
  job.columns = make_axis(places, t.width, x_wrap_kind(), std::uint32_t(t.elnum));
  job.rows = make_axis(places + n_columns, t.height, y_wrap_kind(), std::uint32_t(t.row_stride));
  const bool even = ends.first == ends.last;
  job.walk_columns = choose_walk(subpixel, even, wrap_x_on, wrap_y_on);
  job.walk_rows = choose_walk(subpixel, even, wrap_y_on, wrap_x_on);
  job.ends_of = ENDS_OF[x_wrap_kind()][y_wrap_kind()];
}

// --- resolutions -----------------------------------------------------------------------------------------------

struct plane_size {
  int width, height;
};
plane_size reduced_by(plane_size size, int n) {
  for (int i = 0; i < n; ++i) size = {half_size(size.width), half_size(size.height)};
  return size;
}

/// Halves the planes of `a` n times, with those of `b` as room; where the result lies.
std::int16_t* const* reduce_planes(std::int16_t* const* a, std::int16_t* const* b, int count, plane_size size, int n) {
  for (int i = 0; i < n && !abort_pending(); ++i) {
    const plane_size from = reduced_by(size, i);
    for (int e = 0; e < count; ++e) reduce_plane(b[e], a[e], from.width, from.height);
    std::int16_t* const* reduced = b;
    b = a;
    a = reduced;
  }
  return a;
}

/// Planes of `result`, reduced n times, back to `size`, with those of `room`.
void expand_planes(std::int16_t* const* result, std::int16_t* const* room, int count, plane_size size, int n) {
  for (int e = 0; e < count; ++e) {
    std::int16_t *from = result[e], *to = room[e];
    for (int i = n - 1; i >= 0 && !abort_pending(); --i) {
      const plane_size larger = reduced_by(size, i);
      expand_plane(to, from, larger.width, larger.height);
      std::int16_t* expanded = to;
      to = from;
      from = expanded;
    }
    if (from != result[e]) copy_plane(result[e], from);
  }
}

}  // namespace

void blur_warp_image(node& n) {
  check_image_planes(n, 2 * n.elnum);
  const int reductions = fix_clamp(setting_value(n, REDUCTION_ARG) >> FIX_BITS, 0, MAX_REDUCTIONS);
  const end_weights ends = end_weights_of(setting_value(n, ENDS_ARG, 0), setting_value(n, ENDS_ARG, 1));
  const fix scale = setting_value(n, SCALE_ARG);
  const bool subpixel = setting_value(n, SUBPIXEL_ARG) > 0;
  set_wrap_flags(setting_value(n, WRAP_ARG, 0), setting_value(n, WRAP_ARG, 1));

  std::int16_t* const* room = n.images + n.elnum;
  const plane_size size = {temp_raster_info.width, temp_raster_info.height};
  const int count = fetch_image_arg(n, IMAGE_ARG, room);
  if (check_abort()) return;
  std::int16_t* const* image = reduce_planes(room, n.images, count, size, reductions);
  if (abort_pending()) return;

  {
    reduced_resolution reduced(reductions);
    interleave_planes(image, n.elnum);
    plan_walks(ends, scale, subpixel);
    image_process_pixels_loop(n, BLUR_WARP_ROWS, plane_sink);
  }
  if (!abort_pending()) expand_planes(n.images, room, count, size, reductions);
}

}  // namespace tessaron::TESSARON_LEVEL
