#include "operators/noise_plan.h"

#include <algorithm>
#include <cmath>

#include "evaluator/frame.h"

namespace tessaron {
namespace {

/// Octaves that have to find room for the taller buffer to be worth its while.
constexpr int COUNTED_OCTAVES = 4;

/// Cells for half an image that leave room for the margins of a line of `size` samples.
float x_limit(int size) { return float((size - 4) >> 1); }
float y_limit(int size, float aspect) { return float(size - 4) / (2 * aspect); }

std::int64_t fix_of(float v) { return std::int64_t(std::nearbyint(double(v) * FIX_ONE)); }

/// The lattice below an image that runs from -half - shift to half - shift.
noise_line line_under(float cells, float half, float shift, int room) {
  const std::int64_t start = fix_of((-half - shift) * cells), end = fix_of((half - shift) * cells);
  // One cell more before, and up to two behind, for the neighbours that doubling takes in.
  const std::int64_t first = (start >> FIX_BITS) - 1, last = ((end + FIX_ONE - 1) >> FIX_BITS) + 2;
  const int samples = int(std::min<std::int64_t>(last - first, room));
  return {std::uint32_t(first), samples, room, start - first * FIX_ONE, end - start};
}

/// The shift, as seen from an image of `size` pixels from `origin` on in a frame of `full` pixels. `half` is half the
/// frame in the shift's units.
float shift_in_view(float half, float shift, int origin, int size, int full) {
  const double h = half;
  return float((h + shift - 2 * h * origin / full) * full / size - h);
}

}  // namespace

bool noise_line::may_double() const { return extent > 0 && samples > 3 && 2 * std::int64_t(samples) - 3 <= room; }

noise_line noise_line::doubled() const {
  return {2 * first + 1, samples > 2 ? 2 * samples - 3 : 1, room, 2 * offset - FIX_ONE, 2 * extent};
}

noise_view current_noise_view() {
  const display_dims_record& d = display_dims;
  return {temp_raster_info.width,
          temp_raster_info.height,
          d.x_origin_fix >> FIX_BITS,
          d.y_origin_fix >> FIX_BITS,
          std::max(d.full_width, 1),
          std::max(d.full_height, 1),
          d.xy_aspect > 0 ? d.xy_aspect : 1,
          d.pixel_aspect};
}

noise_levels plan_noise(const noise_request& request, const noise_view& view) {
  const int w = view.width, h = view.height;
  float x_cells = std::fabs(request.frequency_x) * float(w) / float(view.full_width);
  float y_cells = std::fabs(request.frequency_y) * view.pixel_aspect * float(h) / float(view.full_height);
  const int octaves = std::max(1, int(request.octaves));

  // Lines that run down may be twice as dense as pixels where otherwise y ran out of room before x.
  bool tall = y_cells > y_limit(h, view.aspect);
  for (int i = 1; i < std::min(octaves, COUNTED_OCTAVES); ++i) {
    const float factor = float(1 << i);
    tall = tall || (y_cells * factor > y_limit(h, view.aspect) && x_cells * factor <= x_limit(w));
  }
  const int rows = tall ? 2 * h : h;

  x_cells = w < 5 ? 0 : std::clamp(x_cells, 0.0f, x_limit(w));
  y_cells = h < 5 ? 0 : std::clamp(y_cells, 0.0f, y_limit(rows, view.aspect));

  const float shift_x = shift_in_view(1, request.shift_x, view.x0, w, view.full_width);
  const float shift_y = shift_in_view(view.aspect, request.shift_y, view.y0, h, view.full_height);
  noise_levels levels = {};
  levels.at[levels.count++] = {line_under(x_cells, 1, shift_x, w), line_under(y_cells, view.aspect, shift_y, rows),
                               false, false, 0};
  for (int i = 1; levels.count < noise_levels::MOST; ++i) {
    const noise_level& last = levels.at[levels.count - 1];
    const bool x = last.x.may_double(), y = last.y.may_double();
    if (!x && !y) break;
    levels.at[levels.count++] = {x ? last.x.doubled() : last.x, y ? last.y.doubled() : last.y, x, y,
                                 x && y && i < octaves ? i : 0};
  }
  return levels;
}

noise_place noise_place_of(const noise_line& doubled, int i, int size) {
  const std::int64_t step = doubled.extent * 16 / size;
  const std::int64_t at = doubled.offset * 16 + i * step;  // 16 fraction bits
  const std::int64_t sample = at >> 16;
  // Only lines that were cut short end before the image does.
  if (sample >= doubled.samples - 1) return {doubled.samples - 1, 0};
  return {int(sample), int(at >> 4 & 0xfff)};
}

}  // namespace tessaron
