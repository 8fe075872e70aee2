// The kernel of defocus, weight by weight.
#include "operators/defocus_table.h"

#include <gtest/gtest.h>

#include <cmath>

#include "evaluator/tables.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

constexpr int BIG = 2000;
constexpr int SHAPES[] = {SHAPE_CIRCLE, SHAPE_HEXAGON, SHAPE_HEXAGON_TURNED, SHAPE_OCTAGON, SHAPE_OCTAGON_TURNED};

/// How much of the pixel at distance i is between -half and half, as a weight; next to nothing is nothing.
fix covered_part(double half, int i) {
  const double part = std::min(half, i + 0.5) - std::max(-half, i - 0.5);
  const fix weight = fix(std::lrint(4096 * std::clamp(part, 0.0, 1.0)));
  return weight > 8 ? weight : 0;
}

/// Half the width of a shape at the distance y from its middle. The middle pixel is half a pixel of every radius.
double plain_half_width(const defocus_inputs& in, double rx, double ry, double y) {
  const double x_size = rx + 0.5, r = ry + 0.5, t = y / r;
  switch (in.shape) {
    case SHAPE_CIRCLE:
      return fix_sqrt(fix(std::lrint((r * r - y * y) * 4096))) / 4096.0 * x_size / r;
    case SHAPE_OCTAGON:
      return std::min(1.4142 - t, 1.0) * x_size;
    case SHAPE_OCTAGON_TURNED:
      return std::min(2.4142 - 2.4142 * t, 1 - 0.4142 * t) * x_size;
    default:
      return (1 - y * 0.5 / r) * x_size;
  }
}

fix plain_weight(const defocus_inputs& in, int x, int y) {
  x = std::abs(x);
  y = std::abs(y);
  if (!in.subpixel) {
    const double rx = int((in.x_radius * 2 + 1) / 2), ry = int((in.y_radius * 2 + 1) / 2);
    // A pixel whose middle lies on the outline belongs to the shape.
    return y <= ry && x <= plain_half_width(in, rx, ry, y) + 1e-4 ? 4096 : 0;
  }
  // The last row counts by what is covered of it, and is as wide as the shape in the middle of that.
  const double rows = std::clamp(double(in.y_radius) + 1 - y, 0.0, 1.0);
  const fix cover = covered_part(in.y_radius + 0.5, y);
  const double half = plain_half_width(in, in.x_radius, in.y_radius, y - (1 - rows) / 2);
  return covered_part(half, x) * cover >> 12;
}

TEST(defocus_kernel, follows_its_shapes_formulas_weight_by_weight) {
  build_tables();
  const float radii[] = {0.001f, 0.3f, 0.5f, 1, 2.5f, 3.7f, 11.2f, 20, 47.31f};
  for (const int shape : SHAPES)
    for (const bool subpixel : {false, true})
      for (const float rx : radii)
        for (const float ry : radii) {
          const defocus_inputs in = {rx, ry, subpixel, shape, BIG, BIG};
          defocus_table table;
          table.prepare(in);
          int largest = 0;
          for (int y = -50; y <= 50; ++y)
            for (int x = -50; x <= 50; ++x)
              largest = std::max(largest, std::abs(table.weight(x, y) - plain_weight(in, x, y)));
          // Half-widths are single precision numbers.
          EXPECT_LE(largest, subpixel ? 1 : 0) << "shape " << shape << " radii " << rx << " " << ry << " " << subpixel;
        }
}

TEST(defocus_kernel, of_a_circle_by_hand) {
  build_tables();
  // Radius 2 and the half of the middle pixel: 2.5, sqrt(6.25 - 1) = 2.29, sqrt(6.25 - 4) = 1.5.
  defocus_table table;
  table.prepare({2, 2, true, SHAPE_CIRCLE, BIG, BIG});
  EXPECT_EQ(table.kernel_width(), 5);
  EXPECT_EQ(table.kernel_height(), 5);
  const fix side = fix(std::lrint(4096 * (std::sqrt(5.25) - 1.5)));
  const fix expected[3][4] = {{4096, 4096, 4096, 0}, {4096, 4096, side, 0}, {4096, 4096, 0, 0}};
  for (int y = 0; y <= 2; ++y)
    for (int x = 0; x <= 3; ++x) EXPECT_NEAR(table.weight(x, y), expected[y][x], 2) << x << " " << y;
}

TEST(defocus_kernel, is_as_wide_as_its_whole_radius) {
  defocus_table table;
  for (const int radius : {1, 2, 7, 40}) {
    for (const bool subpixel : {false, true}) {
      table.prepare({float(radius), float(2 * radius), subpixel, SHAPE_CIRCLE, BIG, BIG});
      EXPECT_EQ(table.kernel_width(), 1 + 2 * radius);
      EXPECT_EQ(table.kernel_height(), 1 + 4 * radius);
    }
    table.prepare({radius + 0.25f, radius + 0.25f, true, SHAPE_OCTAGON, BIG, BIG});
    EXPECT_EQ(table.kernel_width(), 3 + 2 * radius);
    EXPECT_EQ(table.kernel_height(), 3 + 2 * radius);
    table.prepare({radius + 0.49f, radius + 0.5f, false, SHAPE_OCTAGON, BIG, BIG});
    EXPECT_EQ(table.kernel_width(), 1 + 2 * radius);
    EXPECT_EQ(table.kernel_height(), 3 + 2 * radius);
  }
}

TEST(defocus_kernel, covers_as_much_in_every_shape) {
  for (const int shape : SHAPES)
    for (const bool subpixel : {false, true}) {
      const defocus_radii radii = correct_for_shape({30, 20}, shape);
      defocus_table table;
      table.prepare({radii.x, radii.y, subpixel, shape, BIG, BIG});
      const double area = table.sum_rows(table.y_reach(), table.y_reach()) / 4096;
      EXPECT_NEAR(area / (3.14159265 * 30.5 * 20.5), 1, subpixel ? 0.02 : 0.06) << shape << " " << subpixel;
    }
}

TEST(defocus_kernel, corrects_the_radii_by_shape) {
  const auto expect = [](int shape, float x, float y) {
    const defocus_radii radii = correct_for_shape({10, 20}, shape);
    EXPECT_FLOAT_EQ(radii.x, 10 * x) << shape;
    EXPECT_FLOAT_EQ(radii.y, 20 * y) << shape;
  };
  expect(0, 1, 1);
  expect(1, 1.1f, 0.9526f);
  expect(2, 0.9526f, 1.1f);
  expect(3, 0.97368f, 0.97368f);
  expect(4, 1.0539f, 1.0539f);
  expect(7, 1, 1);
  EXPECT_FLOAT_EQ(correct_for_shape({0, -5}, 0).x, 0.001f);
  EXPECT_FLOAT_EQ(correct_for_shape({0, -5}, 0).y, 0.001f);
}

TEST(defocus_kernel, of_radius_0_in_one_direction_is_a_line) {
  for (const int shape : SHAPES)
    for (const bool subpixel : {false, true}) {
      const defocus_radii flat = correct_for_shape({9, 0}, shape), upright = correct_for_shape({0, 9}, shape);
      defocus_table table;
      table.prepare({flat.x, flat.y, subpixel, shape, BIG, BIG});
      EXPECT_EQ(table.kernel_height(), 1) << shape;
      EXPECT_GT(table.kernel_width(), 15) << shape;
      table.prepare({upright.x, upright.y, subpixel, shape, BIG, BIG});
      EXPECT_EQ(table.kernel_width(), 1) << shape;
      EXPECT_GT(table.kernel_height(), 15) << shape;
    }
}

TEST(defocus_kernel, sums_its_columns_from_the_left) {
  for (const int shape : SHAPES)
    for (const bool subpixel : {false, true}) {
      defocus_table table;
      table.prepare({12.4f, 8.7f, subpixel, shape, BIG, BIG});
      const int reach = table.x_reach();
      const auto expect_sums = [&](const float* sums, int above, int below) {
        double running = 0;
        for (int x = -reach; x <= reach; ++x) {
          for (int y = -above; y <= below; ++y) running += table.weight(x, y);
          EXPECT_EQ(double(sums[x + reach + 1]), running) << shape << " column " << x;
        }
        EXPECT_EQ(double(sums[0]), running);
        EXPECT_EQ(table.sum_rows(above, below), running);
      };
      ASSERT_EQ(table.column_sums().size(), std::size_t(table.kernel_width()) + 1);
      expect_sums(table.column_sums().data(), table.y_reach(), table.y_reach());
      std::vector<float> cut(std::size_t(table.kernel_width()) + 2);
      for (const auto& [above, below] : {std::pair{0, 0}, {3, table.y_reach()}, {table.y_reach(), 1}}) {
        table.sum_columns(above, below, cut.data());
        expect_sums(cut.data(), above, below);
      }
    }
}

TEST(defocus_kernel, leaves_out_what_cannot_meet_the_image) {
  defocus_table table, whole;
  table.prepare({500, 700, true, SHAPE_CIRCLE, 30, 20});
  whole.prepare({500, 700, true, SHAPE_CIRCLE, BIG, BIG});
  EXPECT_EQ(table.kernel_width(), 59);
  EXPECT_EQ(table.kernel_height(), 39);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 30; ++x) ASSERT_EQ(table.weight(x, y), whole.weight(x, y)) << x << " " << y;
}

TEST(defocus_kernel, of_a_circle_beyond_the_roots_range_is_still_round) {
  defocus_table table;
  table.prepare({1500, 1500, false, SHAPE_CIRCLE, 4000, 4000});
  for (int y = 0; y <= 1500; y += 100)
    EXPECT_NEAR(table.row(y).last_full, std::sqrt(1500.5 * 1500.5 - double(y) * y), 2) << y;
}

TEST(defocus_kernel, of_an_unknown_shape_is_reported_when_it_is_filled_and_round) {
  defocus_table table, circle;
  report_capture reports;
  table.prepare({5.5f, 5.5f, true, 9, BIG, BIG});
  EXPECT_TRUE(reports.has("fill_circles_table_with_hex_or_oct: bad shape 9 \n")) << reports.all();
  table.prepare({5.5f, 5.5f, true, 9, BIG, BIG});
  EXPECT_EQ(reports.count(), 1u) << "filled again for the same inputs";
  table.prepare({5.5f, 5.5f, true, -1, BIG, BIG});
  EXPECT_TRUE(reports.has("fill_circles_table_with_hex_or_oct: bad shape -1 \n"));
  circle.prepare({5.5f, 5.5f, true, SHAPE_CIRCLE, BIG, BIG});
  for (int y = 0; y <= 7; ++y)
    for (int x = 0; x <= 7; ++x) EXPECT_EQ(table.weight(x, y), circle.weight(x, y));
}

TEST(defocus_kernel, is_filled_anew_when_any_input_differs) {
  const defocus_inputs first = {5.25f, 5.25f, true, SHAPE_CIRCLE, 100, 90};
  defocus_inputs others[6] = {first, first, first, first, first, first};
  others[0].x_radius = 6;
  others[1].y_radius = 6;
  others[2].subpixel = false;
  others[3].shape = SHAPE_HEXAGON;
  others[4].width = 4;
  others[5].height = 4;
  for (const defocus_inputs& other : others) {
    defocus_table table, fresh;
    table.prepare(first);
    table.prepare(other);
    fresh.prepare(other);
    EXPECT_EQ(table.kernel_width(), fresh.kernel_width());
    EXPECT_EQ(table.column_sums(), fresh.column_sums());
  }
}

}  // namespace
}  // namespace tessaron::testing
