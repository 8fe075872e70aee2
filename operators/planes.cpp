// Amounts, pass tables and the reduced-resolution bracket.
#include "operators/planes.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <memory>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"

namespace tessaron {

std::int32_t long_image_one = FIX_ONE;

namespace {

constexpr fix LARGEST_AMOUNT = 64 * FIX_ONE;
constexpr std::size_t SCRATCH_GRAIN = 64;  // bytes, a cache line

int bits(std::int32_t v) { return int(std::bit_width(std::uint32_t(v))); }

struct free_block {
  void operator()(std::byte* p) const { std::free(p); }
};
std::unique_ptr<std::byte, free_block> scratch;
std::size_t scratch_bytes;

}  // namespace

fix amount_to_fix_pixels(fix value) {
  return wrap_mul(std::min(value, LARGEST_AMOUNT), display_dims.display_width) >> 3;
}

int whole_pixels(fix amount) { return amount > 0 ? int((std::int64_t(amount) + FIX_ONE - 1) >> FIX_BITS) : 0; }

fix correct_pixel_aspect(fix y_amount) {
  if (!display_dims.pixel_aspect_not_1) return y_amount;
  constexpr float LARGEST = 2147483520.0f;  // the largest float that a fix holds
  return fix(std::clamp(float(y_amount) * display_dims.pixel_aspect_inv, -LARGEST, LARGEST));
}

pass_table make_pass_table(fix amount, int size, int passes, bool subpixel, std::int32_t& running_scale) {
  pass_table table;
  table.count = std::clamp(passes, 1, MAX_BOX_PASSES);
  table.subpixel = subpixel;
  int low = wrap_add(amount, FIX_ONE / 2) >> FIX_BITS;
  int high = low;
  if (subpixel) {
    low = amount >> FIX_BITS;
    high = ((amount - 1) >> FIX_BITS) + 1;
    table.frac = float(amount - low * FIX_ONE) / FIX_ONE;
  }
  low = std::max(low, 0);
  high = std::max(high, 0);
  // A line of one sample has no neighbours; every radius leaves it as it is.
  const int limit = std::max((size >> 1) - 1, 0);
  for (int i = 0; i < table.count; ++i) {
    box_pass& pass = table.pass[i];
    pass.radius_low = std::min(limit, low / (table.count - i));
    pass.radius_high = std::min(limit, high / (table.count - i));
    low -= pass.radius_low;
    high -= pass.radius_high;
    const int box = 2 * pass.radius_high + 1;
    pass.pre_shift = std::max(0, bits(running_scale) + bits(box) - blur_sum_bits);
    running_scale = (running_scale >> pass.pre_shift) * box;
    const float ratio = float(box) / float(2 * pass.radius_low + 1);
    pass.low_weight = float(double(ratio) * double(1.0f - table.frac));
  }
  return table;
}

blur_plan plan_blur(fix x_amount, fix y_amount, int edge_mode, int passes, bool subpixel, bool field_mode, int width,
                    int height) {
  blur_plan plan = {};
  plan.edge_mode = edge_mode;
  plan.field_mode = field_mode;
  plan.one = FIX_ONE;
  if (x_amount > 0) plan.across = make_pass_table(x_amount, width, passes, subpixel, plan.one);
  if (field_mode) {
    y_amount >>= 1;
    height >>= 1;
  }
  if (y_amount > 0) plan.down = make_pass_table(correct_pixel_aspect(y_amount), height, passes, subpixel, plan.one);
  return plan;
}

worker_share share_of(int total) {
  if (!in_parallel) return {0, total};
  int number = 0, n_procs = 1;
  get_processor_info(&number, &n_procs);
  const auto start_of = [&](int worker) { return int(std::int64_t(total) * worker / n_procs); };
  return {start_of(number), start_of(number + 1)};
}

plane_slice slice_of_plane(std::int64_t total) {
  constexpr int GRAIN = 1024;  // samples
  const worker_share grains = share_of(int((total + GRAIN - 1) / GRAIN));
  const std::int64_t first = std::min(total, std::int64_t(grains.first) * GRAIN);
  return {first, std::min(total, std::int64_t(grains.end) * GRAIN) - first};
}
plane_slice slice_of_plane() { return slice_of_plane(short_image_size / std::int64_t(sizeof(std::int16_t))); }

std::byte* plane_scratch(std::size_t bytes) {
  const std::size_t needed = (bytes + SCRATCH_GRAIN - 1) / SCRATCH_GRAIN * SCRATCH_GRAIN;
  if (needed <= scratch_bytes) return scratch.get();
  scratch_bytes = 0;
  scratch.reset();
  scratch.reset(static_cast<std::byte*>(std::aligned_alloc(SCRATCH_GRAIN, needed)));
  if (!scratch) {
    set_message("Malloc %ld returned a null pointer.", long(needed));
    report_message(REPORT_ERROR);
    report(REPORT_ERROR, "Not enough memory.");
    fatal_exit(-100);
  }
  scratch_bytes = needed;
  return scratch.get();
}

// --- reduced resolution ----------------------------------------------------------------------------------

namespace {

struct resolution {
  display_dims_record dims;
  raster_info view;
  render_info_record render;

  bool operator==(const resolution&) const = default;
};
resolution current_resolution() { return {display_dims, temp_raster_info, render_info}; }
void set_resolution(const resolution& r) {
  display_dims = r.dims;
  temp_raster_info = r.view;
  render_info = r.render;
  short_image_size = std::int64_t(r.dims.n_pixels) * std::int64_t(sizeof(std::int16_t));
}

resolution full_resolution, reduced_resolution;
bool reduced;

void reduce_view(raster_info& view, int n) {
  const int f = 1 << n;
  view.width = (view.width + f - 1) >> n;
  view.height = (view.height + f - 1) >> n;
  // The last pixel follows from the working size.
  view.x0 >>= n;
  view.y0 >>= n;
  view.x1 = view.x0 + view.width - 1;
  view.y1 = view.y0 + view.height - 1;
}

void reduce_dims(display_dims_record& dims, const raster_info& view, int n) {
  const auto divided = [n](int size) { return std::max(size >> n, 1); };
  dims.n_pixels = view.width * view.height;
  dims.view_width = view.width;
  dims.view_height = view.height;
  dims.display_width = divided(dims.display_width);
  dims.display_height = divided(dims.display_height);
  dims.full_width = divided(dims.full_width);
  dims.full_height = divided(dims.full_height);
  dims.x_origin_fix >>= n;
  dims.y_origin_fix >>= n;
  dims.xy_aspect = float(dims.display_height) / float(dims.display_width);
  dims.xy_aspect_fix = fix_from_double(dims.xy_aspect);
  dims.yx_aspect_fix = fix_from_double(1.0f / dims.xy_aspect);
  const float product = dims.xy_aspect * dims.pixel_aspect;
  dims.aspect_product_fix = fix_from_double(product);
  dims.aspect_product_inv_fix = fix_from_double(1.0f / product);
}

void reduce_render(render_info_record& render, int n) {
  render.render_x0 >>= n;
  render.render_y0 >>= n;
  render.render_x1 >>= n;
  render.render_y1 >>= n;
  const int f = 1 << n;
  render.scale_x /= f;
  render.downsample_x /= f;
  render.downsample_y /= f;
}

}  // namespace

void enter_reduced_resolution(int n) {
  // A bracket that a fault has left open ends with its render: the next one has set the records anew.
  if (reduced && current_resolution() == reduced_resolution)
    fatal("enter_reduced_resolution: already at a reduced resolution.");
  full_resolution = reduced_resolution = current_resolution();
  reduce_view(reduced_resolution.view, n);
  reduce_dims(reduced_resolution.dims, reduced_resolution.view, n);
  reduce_render(reduced_resolution.render, n);
  set_resolution(reduced_resolution);
  reduced = true;
}

void leave_reduced_resolution() {
  if (!reduced) fatal("leave_reduced_resolution: not at a reduced resolution.");
  set_resolution(full_resolution);
  reduced = false;
}

}  // namespace tessaron
