#include "operators/defocus_table.h"

#include <algorithm>
#include <cmath>

#include "base/libm.h"
#include "base/report.h"
#include "evaluator/bounds.h"
#include "evaluator/tables.h"
#include "operators/planes.h"

namespace tessaron {
namespace {

constexpr float LEAST_RADIUS = 0.001f;  // pixels
/// Coverage that counts as none: twice that of the least radius, so that radius 0 gives a line or a single pixel.
constexpr fix LEAST_COVERAGE = 8;

/// A pixel whose middle lies on the outline belongs to the shape, whatever the last bits say; pixels.
constexpr float ON_OUTLINE = 1.0f / 8192;

constexpr double SQRT_RANGE = 524288;  // 2^19: what the square root table takes, and fix holds

bool known_shape(int shape) { return shape >= SHAPE_CIRCLE && shape <= SHAPE_OCTAGON_TURNED; }

/// Square root by the table, of a number of any size; values at or below 0 give 0.
double table_sqrt(double v) {
  double scale = 1;
  for (; v >= SQRT_RANGE; v /= 4) scale *= 2;
  return scale * fix_to_float(fix_sqrt(fix_from_double(v)));
}

/// Coverage of a pixel as a weight.
fix coverage(float part) {
  const fix weight = fix_from_double(std::clamp(part, 0.0f, 1.0f));
  return weight > LEAST_COVERAGE ? weight : 0;
}

}  // namespace

defocus_radii correct_for_shape(defocus_radii radii, int shape) {
  // Each polygon covers pi times the product of the radii that it was given.
  static constexpr defocus_radii FACTORS[] = {
      {1, 1}, {1.1f, 0.9526f}, {0.9526f, 1.1f}, {0.97368f, 0.97368f}, {1.0539f, 1.0539f}};
  const defocus_radii factor = FACTORS[known_shape(shape) ? shape : SHAPE_CIRCLE];
  return {std::max(radii.x, LEAST_RADIUS) * factor.x, std::max(radii.y, LEAST_RADIUS) * factor.y};
}

void defocus_table::prepare(const defocus_inputs& inputs) {
  if (inputs == inputs_) return;
  inputs_ = inputs;
  const auto extent = [&](float r) { return inputs.subpixel ? r : std::floor((r * 2 + 1) / 2); };
  x_radius_ = extent(inputs.x_radius);
  y_radius_ = extent(inputs.y_radius);
  if (!known_shape(inputs.shape))
    report(REPORT_PLAIN, "fill_circles_table_with_hex_or_oct: bad shape %d \n", inputs.shape);
  fill_circles_table();
}

void defocus_table::fill_circles_table() {
  rows_.clear();
  row_sums_.clear();
  has_fractions_ = false;
  const int last_column = inputs_.width - 1, last_row = inputs_.height - 1;
  double sum = 0;
  for (int y = 0; y <= last_row; ++y) {
    // A row that the shape covers in part is as wide as the shape in the middle of that part.
    const float part = std::min(y_radius_ + 1 - float(y), 1.0f);
    const fix cover = coverage(part);
    if (cover == 0) break;
    const float half = half_width(float(y) - (1 - part) / 2);
    kernel_row row;
    if (inputs_.subpixel)
      row = subpixel_row(std::min(half, float(last_column) + 0.5f), cover);
    else
      row = {int(std::min(half + ON_OUTLINE, float(last_column))), FIX_ONE, 0};
    has_fractions_ |= row.full_weight != FIX_ONE || row.edge_weight != 0;
    row.full = fix_to_float(row.full_weight);
    row.edge = fix_to_float(row.edge_weight);
    rows_.push_back(row);
    row_sums_.push_back(sum += (2.0 * row.last_full + 1) * row.full_weight + 2.0 * row.edge_weight);
  }
  // The middle row is the widest.
  x_reach_ = rows_[0].last_full + (rows_[0].edge_weight > 0);
  y_reach_ = int(rows_.size()) - 1;
  column_sums_.resize(std::size_t(kernel_width()) + 2);
  sum_columns(y_reach_, y_reach_, column_sums_.data());
  column_sums_.pop_back();
}

/// A row of which `half` pixels to either side of the middle are covered. Pixel i reaches from i - 0.5 to i + 0.5.
kernel_row defocus_table::subpixel_row(float half, fix cover) const {
  const float beyond_middle = half - 0.5f;
  if (beyond_middle < 0) return {0, fix_mul(coverage(2 * half), cover), 0};
  const int last_full = int(beyond_middle);
  return {last_full, cover, fix_mul(coverage(beyond_middle - float(last_full)), cover)};
}

/// Half the width of the shape at the distance y from its middle, in pixels.
float defocus_table::half_width(float y) const {
  if (inputs_.shape != SHAPE_CIRCLE && known_shape(inputs_.shape)) return fill_circles_table_with_hex_or_oct(y);
  const double r = double(y_radius_) + 0.5;
  return float(table_sqrt(r * r - double(y) * y) * ((double(x_radius_) + 0.5) / r));
}

float defocus_table::fill_circles_table_with_hex_or_oct(float y) const {
  const float x_size = x_radius_ + 0.5f;
  const float t = y / (y_radius_ + 0.5f);
  switch (inputs_.shape) {
    case SHAPE_OCTAGON:
      return std::min(1.4142f - t, 1.0f) * x_size;
    case SHAPE_OCTAGON_TURNED:
      return std::min(2.4142f - 2.4142f * t, 1 - 0.4142f * t) * x_size;
    default:
      return (1 - t * 0.5f) * x_size;
  }
}

fix defocus_table::weight(int x, int y) const {
  x = std::abs(x);
  y = std::abs(y);
  if (x > x_reach_ || y > y_reach_) return 0;
  const kernel_row& r = row(y);
  return x <= r.last_full ? r.full_weight : x == r.last_full + 1 ? r.edge_weight : 0;
}

void defocus_table::sum_columns(int above, int below, float* sums) const {
  // Each row is a rise at its left end and a fall at its right end: first the steps, then their running sums.
  const int width = kernel_width();
  float* const steps = sums + 1;
  std::fill(sums, steps + width + 1, 0.0f);
  for (int y = -above; y <= below; ++y) {
    const kernel_row& r = row(std::abs(y));
    const int left = x_reach_ - r.last_full, right = x_reach_ + r.last_full + 1;
    steps[left] += float(r.full_weight - r.edge_weight);
    steps[right] -= float(r.full_weight - r.edge_weight);
    if (r.edge_weight == 0) continue;
    steps[left - 1] += float(r.edge_weight);
    steps[right + 1] -= float(r.edge_weight);
  }
  double column = 0, running = 0;
  for (int i = 0; i < width; ++i) {
    column += steps[i];
    running += column;
    steps[i] = float(running);
  }
  sums[0] = float(running);
}

double defocus_table::sum_rows(int above, int below) const {
  return row_sums_[above] + row_sums_[below] - row_sums_[0];
}

defocus_table& get_defocus_table() {
  static defocus_table table;
  return table;
}

// -------------------------------------------------------------------------------------------------

namespace {

constexpr int IMAGE = 0, RADIUS = 1, SUBPIXEL = 4, SHAPE = 5;

/// Radii in pixels as they were asked for.
defocus_radii radii_of(const node& n) {
  const fix* radius = n.args[RADIUS]->const_vals;
  return {fix_to_float(amount_to_fix_pixels(radius[0])),
          fix_to_float(correct_pixel_aspect(amount_to_fix_pixels(radius[1])))};
}

}  // namespace

defocus_inputs defocus_inputs_of(const node& n, int width, int height) {
  const int shape = n.args[SHAPE]->const_vals[0] >> FIX_BITS;
  if (!known_shape(shape)) report(REPORT_PLAIN, "WARNING: Unknown defocus shape type: %d! \n", shape);
  const defocus_radii radii = correct_for_shape(radii_of(n), shape);
  return {radii.x, radii.y, n.args[SUBPIXEL]->const_vals[0] > 0, shape, width, height};
}

void bounds_defocus(node& n) {
  constexpr float LARGEST_FACTOR = 1.1f;  // of correct_for_shape()
  const auto constant = [&](int arg) { return n.args[arg]->node_flags & NODE_CONSTANT; };
  if (!constant(RADIUS)) return unbound_arg_bounds(n, IMAGE);
  const defocus_radii asked = radii_of(n);
  const defocus_radii reach = constant(SHAPE) ? correct_for_shape(asked, n.args[SHAPE]->const_vals[0] >> FIX_BITS)
                                              : defocus_radii{asked.x * LARGEST_FACTOR, asked.y * LARGEST_FACTOR};
  const auto pad = [](float radius, float r) { return radius > 0 ? int(std::ceil(r)) : 0; };
  grow_arg_bounds(n, IMAGE, pad(asked.x, reach.x), pad(asked.y, reach.y));
}

}  // namespace tessaron
