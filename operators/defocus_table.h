// The kernel of a lens out of focus: a flat disc, hexagon or octagon of fix weights, kept between frames.
//
//        # # #            rows from -whole radius to +whole radius; each is full (4096) up to its last full
//      + # # # +          pixel, then a fraction of full at one edge pixel (+) to either side, then nothing.
//      # # # # #          Both halves are alike, so one row of the table stands for the rows y and -y.
//      + # # # +
//        # # #
#pragma once

#include <vector>

#include "base/fixed.h"

namespace tessaron {

enum defocus_shape : int { SHAPE_CIRCLE, SHAPE_HEXAGON, SHAPE_HEXAGON_TURNED, SHAPE_OCTAGON, SHAPE_OCTAGON_TURNED };

/// Radii in pixels of the frame.
struct defocus_radii {
  float x, y;
};

/// The radii by which a shape covers as much as a circle of these does. A radius below 0.001 counts as 0.001;
/// an unknown shape keeps its radii.
defocus_radii correct_for_shape(defocus_radii radii, int shape);

/// Everything that the table depends on.
struct defocus_inputs {
  float x_radius, y_radius;  // corrected for the shape
  bool subpixel;             // edge pixels keep their coverage; else radii are whole
  int shape;
  int width, height;  // of the image

  bool operator==(const defocus_inputs&) const = default;
};

/// One row, and with it the one on the other side of the middle.
struct kernel_row {
  int last_full = -1;        // pixels from the middle to the last full one; -1: not even the middle is
  fix full_weight = 0;       // 4096, or less in a row that the shape covers in part
  fix edge_weight = 0;       // of the pixel behind the last full one
  float full = 0, edge = 0;  // the weights as fractions of 4096
};

class defocus_table {
 public:
  /// Fills the table unless it was filled from the same inputs.
  void prepare(const defocus_inputs& inputs);

  /// 1 + 2 * whole radius. Columns and rows that cannot meet the image are left out: a whole radius is at most
  /// the image's size less 1.
  int kernel_width() const { return 1 + 2 * x_reach_; }
  int kernel_height() const { return 1 + 2 * y_reach_; }
  /// Whether any weight lies between 0 and 4096.
  bool has_fractions() const { return has_fractions_; }
  int x_reach() const { return x_reach_; }
  int y_reach() const { return y_reach_; }

  /// Row y of the distances 0 to y_reach() from the middle.
  const kernel_row& row(int y) const { return rows_[std::size_t(y)]; }
  /// Weight of column x and row y, both counted from the middle; 0 outside.
  fix weight(int x, int y) const;

  /// Running sums of the weights' column sums, from the left: entry 0 is the sum of all weights, entry i + 1 that
  /// of columns 0 to i.
  const std::vector<float>& column_sums() const { return column_sums_; }
  /// The same for the rows -above to below alone, as at the upper or lower edge of an image. Needs room for
  /// kernel_width() + 2 entries.
  void sum_columns(int above, int below, float* sums) const;
  /// Sum of the weights of the rows -above to below.
  double sum_rows(int above, int below) const;

 private:
  void fill_circles_table();
  float fill_circles_table_with_hex_or_oct(float y) const;
  float half_width(float y) const;
  kernel_row subpixel_row(float half, fix cover) const;

  defocus_inputs inputs_ = {};
  float x_radius_ = 0, y_radius_ = 0;  // whole without subpixel
  int x_reach_ = 0, y_reach_ = 0;
  bool has_fractions_ = false;
  std::vector<kernel_row> rows_;
  std::vector<double> row_sums_;  // entry y: the sum of the rows 0 to y
  std::vector<float> column_sums_;
};

/// The engine's table.
defocus_table& get_defocus_table();

struct node;

/// The kernel's inputs for a defocus node in an image of this size. Reports an unknown shape.
defocus_inputs defocus_inputs_of(const node& n, int width, int height);
/// Bounds hook: a pixel asks for as many around it as the radius reaches.
void bounds_defocus(node& n);

/// Exponents beyond these count as these.
inline constexpr fix LEAST_GAMMA = FIX_ONE / 8, LARGEST_GAMMA = 8 * FIX_ONE;

}  // namespace tessaron
