// glint and rainbow_glint: rays from the bright points of an image, along its rows, columns and both diagonals, as a
// filter before the lens makes them. Light above a threshold is spread along each direction by box filters and laid
// over the image. The rays of a rainbow glint come apart into colours: red reaches furthest, as in light that is
// diffracted.
#include "operators/bodies/glint.h"

#include <cmath>

#include "evaluator/frame.h"
#include "operators/bodies/glint_lines.h"
#include "operators/bodies/glow_parts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int THRESHOLD = 1, PRE_BLUR = 2, SIZE = 3, BRIGHTNESS = 4, RAY_SIZES = 5, RAY_BRIGHTNESSES = 6;
constexpr int GLINT_SCALE_SOURCE = 7, COLOR_SPREAD = 7, RAINBOW_SCALE_SOURCE = 8;
constexpr int PASSES = 3;

/// A ray is thinner than it is long. Light that fills a spot of 1/154 of the frame's width comes out of a ray of any
/// length as bright as it went in: a ray of length 1.0, an eighth of the frame's width, is 16 times as strong.
constexpr fix LENGTH_GAIN = 16;

constexpr fix SQRT_HALF = 2896;  // steps along a diagonal for one along a row

/// Where the colours of a rainbow glint stand along its ray, at full spread, and how much shorter each is.
constexpr float PLACE[CHANNELS] = {0.8f, 0.58f, 0.42f};
constexpr float ORDER[CHANNELS] = {1, 0, -1};  // red is the longest
constexpr float NARROWING = 0.65f;             // of a colour's light, at full spread
constexpr float LEAST_PART = 0.1f;             // of a ray that a colour keeps

/// Sample for white that the sums leave room for: 8.0, the most that a plane holds.
constexpr std::int32_t ROOM_FOR = 8 * FIX_ONE;

fix held_fix(double v) { return fix(v < -2147483647.0 ? -2147483647.0 : v > 2147483647.0 ? 2147483647.0 : v); }

int line_length(ray_direction direction) {
  const int w = temp_raster_info.width, h = temp_raster_info.height;
  return direction == RAY_ROW ? w : direction == RAY_COLUMN ? h : fix_min(w, h);
}

/// Filters a channel's light along one direction and lays it over the image.
void lay_ray(std::int16_t* image, const std::int16_t* light, ray_direction direction, const ray& r) {
  if (r.strength <= 0) return;
  std::int32_t one = ROOM_FOR;
  const int n = line_length(direction);
  ray_job.light = light;
  ray_job.image = image;
  ray_job.width = temp_raster_info.width;
  ray_job.height = temp_raster_info.height;
  ray_job.direction = direction;
  ray_job.filters = make_pass_table(r.length, n, PASSES, false, one);
  // Shifted by more than the longest line, light would leave the picture.
  const int longest = fix_max(ray_job.width, ray_job.height);
  ray_job.shift = fix_clamp(r.shift, 0, fix_min(longest, 0x3ffff) * FIX_ONE);
  // What the first filter spreads beyond an end comes back in the others, and is then looked at beside the shift.
  ray_job.padding =
      ray_job.filters.pass[1].radius_low + ray_job.filters.pass[2].radius_low + (ray_job.shift >> FIX_BITS) + 1;
  ray_job.factor = float(double(ROOM_FOR) / double(one) * double(r.strength) / FIX_ONE);
  const std::size_t samples = std::size_t(longest) + 2 * std::size_t(ray_job.padding);
  ray_job.bundle_bytes = samples * LINES * sizeof(std::int32_t);
  ray_job.memory = plane_scratch(2 * ray_job.bundle_bytes * std::size_t(get_n_procs()));
  fork_processes(forked_ray);
}

using ray_rule = ray (*)(const node& n, int channel, ray_direction direction);

/// One channel: its light goes into the working plane, its rays over the image.
void glint_channel(node& n, int channel, std::int16_t* image, std::int16_t* light, fix scale_source, ray_rule rays) {
  const fix pre_blur = amount_to_fix_pixels(n.args[PRE_BLUR]->const_vals[0]);
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  blur_plane_to_plane(light, image, FIX_ONE, pre_blur, pre_blur, blur_edge_mode, PASSES, true, false, width, height);
  if (abort_pending()) return;
  scale_plane(image, scale_source);
  threshold_plane(light, light, n.args[THRESHOLD]->const_vals[channel]);
  for (int d = 0; d < N_RAYS && !abort_pending(); ++d)
    lay_ray(image, light, ray_direction(d), rays(n, channel, ray_direction(d)));
}

void glint_image(node& n, int scale_source_arg, ray_rule rays) {
  // Two planes for each element and a third working plane, which lines in a worker's memory stand in for.
  check_image_planes(n, 2 * n.elnum + 1);
  settle_args(n, {THRESHOLD, PRE_BLUR, SIZE, BRIGHTNESS, RAY_SIZES, RAY_BRIGHTNESSES, scale_source_arg});
  if (scale_source_arg == RAINBOW_SCALE_SOURCE) settle_args(n, {COLOR_SPREAD});
  fetch_colours(n);
  const fix scale_source = n.args[scale_source_arg]->const_vals[0];
  for (int c = 0; c < n.elnum && !abort_pending(); ++c)
    glint_channel(n, c, n.images[c], n.images[n.elnum + c], scale_source, rays);
}

}  // namespace

ray ray_of_glint(const node& n, int channel, ray_direction direction) {
  // Relative to the frame, as all amounts; negative sizes have no length.
  const double product = double(n.args[SIZE]->const_vals[channel]) * n.args[RAY_SIZES]->const_vals[direction];
  const fix size = fix_max(held_fix(std::round(product / FIX_ONE)), 0);
  fix length = amount_to_fix_pixels(size);
  constexpr float WIDE_RATIO = 1.6f;
  if (direction == RAY_COLUMN && display_dims.pixel_aspect >= WIDE_RATIO) length /= 2;
  if (direction >= RAY_DOWN_RIGHT) length = fix(std::int64_t(length) * SQRT_HALF >> FIX_BITS);
  const double gain = double(size) * LENGTH_GAIN;
  const double brightness = n.args[BRIGHTNESS]->const_vals[channel];
  const double ray_brightness = n.args[RAY_BRIGHTNESSES]->const_vals[direction];
  return {length, 0, held_fix(std::round(brightness * ray_brightness * gain / 16777216))};
}

ray ray_of_rainbow_glint(const node& n, int channel, ray_direction direction) {
  ray r = ray_of_glint(n, channel, direction);
  const fix* spread = n.args[COLOR_SPREAD]->const_vals;
  const float lengths = fix_to_float(spread[0]), places = fix_to_float(spread[1]);
  const auto at_least = [](float v, float least) { return v > least ? v : least; };
  const float reach = float(r.length) * at_least(1 + lengths * ORDER[channel] / 2, LEAST_PART);
  r.length = held_fix(reach * at_least(1 - NARROWING * std::abs(places), LEAST_PART));
  r.shift = held_fix(reach * std::abs(places) * PLACE[channel]);
  return r;
}

void glint(node& n) { glint_image(n, GLINT_SCALE_SOURCE, ray_of_glint); }

void rainbow_glint(node& n) { glint_image(n, RAINBOW_SCALE_SOURCE, ray_of_rainbow_glint); }

}  // namespace tessaron::TESSARON_LEVEL
