// lens_flare draws a flare for a light at a given place, lens_flare_auto for the brightest place of an image.
#include "operators/bodies/flare.h"

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/flare_draw.h"
#include "operators/bodies/planes.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int PLANES = 3;
constexpr int PASSES = 3;

/// Where the two functions have the arguments that they share.
struct flare_arguments {
  int type, pivot, gamma, saturation, scale_size, rotate, hotspot_color, other_color, rays_color;
};
constexpr int HOTSPOT = 1;
constexpr flare_arguments GIVEN = {0, 2, 3, 4, 5, 6, 7, 8, 9};
constexpr int IMAGE = 0, PRE_BLUR = 1, SHIFT = 11;
constexpr flare_arguments AUTO = {2, 3, 4, 5, 6, 7, 8, 9, 10};

double setting(node& n, int arg, int e = 0) { return setting_value(n, arg, e) / 4096.0; }

/// Fills the node's planes with the flare alone, for a light at a point of the view.
void draw_flare(node& n, const flare_arguments& args, pixel_point hotspot) {
  for (int c = 0; c < PLANES; ++c) clear_plane(n.images[c]);
  const lens_flare_def* flare = flare_of_type(get_lens_flares(), setting_value(n, args.type) >> FIX_BITS);
  if (!flare) return;
  const pixel_point pivot = view_point(setting(n, args.pivot, 0), setting(n, args.pivot, 1));
  flare_light light = {.x = hotspot.x, .y = hotspot.y, .pivot_x = pivot.x, .pivot_y = pivot.y};
  for (int c = 0; c < PLANES; ++c) {
    light.hotspot_color[c] = float(setting(n, args.hotspot_color, c));
    light.other_color[c] = float(setting(n, args.other_color, c));
    light.rays_color[c] = float(setting(n, args.rays_color, c));
  }
  flare_look look;
  look.gamma = setting_value(n, args.gamma);
  look.saturation = setting_value(n, args.saturation);
  look.scale_x = setting_value(n, args.scale_size, 0);
  look.scale_y = setting_value(n, args.scale_size, 1);
  look.rotate = setting_value(n, args.rotate);
  look.pixels_per_unit = display_dims.display_width / 2.0;
  flare_shape& shape = get_flare_shape();
  shape.build(*flare, look);
  const flare_canvas canvas = {
      {n.images[0], n.images[1], n.images[2]}, temp_raster_info.width, temp_raster_info.height};
  add_flares(canvas, shape, &light, 1);
  if (!abort_pending()) limit_light(canvas);
}

// --- the brightest place -----------------------------------------------------------------------------------

constexpr fix DARKEST = -9999;  // what is below is never the brightest

/// The largest sample that a worker has seen, and where it has it.
struct brightest {
  fix sample;
  std::int64_t x, y, count;
};

constinit struct {
  const std::int16_t* plane;
  brightest* found;  // by worker
} search = {};

void forked_search() {
  int number = 0, n_procs = 1, first = 0, count = 0;
  get_processor_info(&number, &n_procs);
  const int width = temp_raster_info.width;
  split_rows(temp_raster_info.height, &first, &count);
  brightest b = {DARKEST, 0, 0, 0};
  for (int y = first; y < first + count; ++y) {
    const std::int16_t* row = search.plane + std::int64_t(y) * width;
    std::int16_t largest = row[0];
    for (int x = 1; x < width; ++x) largest = row[x] > largest ? row[x] : largest;
    if (largest < b.sample) continue;
    if (largest > b.sample) b = {largest, 0, 0, 0};
    for (int x = 0; x < width; ++x) {
      if (row[x] != largest) continue;
      b.x += x;
      b.y += y;
      ++b.count;
    }
  }
  search.found[number] = b;
}

/// The middle of the brightest samples; false where all are too dark.
bool find_brightest(const std::int16_t* plane, pixel_point& middle) {
  const int n_procs = get_n_procs();
  search = {plane, reinterpret_cast<brightest*>(plane_scratch(std::size_t(n_procs) * sizeof(brightest)))};
  for (int i = 0; i < n_procs; ++i) search.found[i] = {DARKEST, 0, 0, 0};
  fork_processes(forked_search);
  brightest all = {DARKEST, 0, 0, 0};
  for (int i = 0; i < n_procs; ++i) {
    const brightest& b = search.found[i];
    if (b.sample > all.sample) all = {b.sample, 0, 0, 0};
    if (b.sample < all.sample) continue;
    all.x += b.x;
    all.y += b.y;
    all.count += b.count;
  }
  if (all.count == 0) return false;
  middle = {double(all.x) / double(all.count), double(all.y) / double(all.count)};
  return true;
}

}  // namespace

void lens_flare(node& n) {
  check_image_planes(n, PLANES);
  draw_flare(n, GIVEN, view_point(setting(n, HOTSPOT, 0), setting(n, HOTSPOT, 1)));
}

void lens_flare_auto(node& n) {
  check_image_planes(n, PLANES);
  const fix pre_blur = amount_to_fix_pixels(setting_value(n, PRE_BLUR));
  const double shift_x = setting(n, SHIFT, 0), shift_y = setting(n, SHIFT, 1);
  fetch_image_arg(n, IMAGE, n.images);
  if (check_abort()) return;
  if (pre_blur > 0)
    blur_plane_to_plane(n.images[0], n.images[0], FIX_ONE, pre_blur, pre_blur, blur_edge_mode, PASSES, false, false,
                        temp_raster_info.width, temp_raster_info.height);
  if (abort_pending()) return;
  pixel_point hotspot = {};
  if (!find_brightest(n.images[0], hotspot)) {
    for (int c = 0; c < PLANES; ++c) clear_plane(n.images[c]);
    return;
  }
  // The shift is a distance: what lies between two points.
  const pixel_point from = view_point(0, 0), to = view_point(shift_x, shift_y);
  draw_flare(n, AUTO, {hotspot.x + to.x - from.x, hotspot.y + to.y - from.y});
}

}  // namespace tessaron::TESSARON_LEVEL
