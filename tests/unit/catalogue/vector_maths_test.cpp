// Lengths, products, extremes and angles of vectors: references from the rules, and values worked out
// by hand.
#include "evaluator/frame.h"
#include "support/plain_tables.h"

namespace tessaron::testing {
namespace {

// --- references --------------------------------------------------------------------------------------

/// Sum over the elements; the last element of the shorter argument spreads.
fix summed_products(const sample_input& in, int a, int b) {
  fix sum = 0;
  for (int e = 0; e < std::max(in.elnum[a], in.elnum[b]); ++e)
    sum = low32(wide(sum) + product(in.arg[a][std::min(e, in.elnum[a] - 1)], in.arg[b][std::min(e, in.elnum[b] - 1)]));
  return sum;
}

/// The difference of both arguments as argument 0.
sample_input as_difference(sample_input in) {
  for (int e = 0; e < in.elnum[0]; ++e) in.arg[0][e] = low32(wide(in.arg[0][e]) - in.arg[1][e]);
  return in;
}

/// A frame of 1920x1080 rendered at half resolution, with pixels 1.5 times as high as wide.
void half_resolution_frame() {
  display_dims.display_width = 960;
  display_dims.pixel_aspect_fix = 6144;
  display_dims.aspect_product_fix = 3456;  // 540 / 960 * 1.5
  render_info.downsample_x = render_info.downsample_y = 0.5;
}
/// Pixels of the render in half widths of the frame: parameters in pixels come at the scale of the render.
fix x_in_half_widths(fix pixels) { return low32(wide(pixels) * 2 / 960); }
fix y_in_half_widths(fix pixels) { return low32(wide(low32(wide(pixels) * 6144 >> 12)) * 2 / 960); }

const register_reference MAG_SQUARED("mag_squared",
                                     [](const sample_input& in, fix out[4]) { out[0] = summed_products(in, 0, 0); });
const register_reference MAG("mag", [](const sample_input& in, fix out[4]) {
  out[0] = plain_length_of(in.arg[0], in.elnum[0]);
});
const register_reference NORMALIZE("normalize", [](const sample_input& in, fix out[4]) {
  const fix length = plain_length_of(in.arg[0], in.elnum[0]);
  for (int e = 0; e < in.elnum[0]; ++e) out[e] = quotient(low32(wide(in.arg[0][e]) * 4096), length);
});
const register_reference SCREEN_TO_NORM(
    "screen_to_norm",
    [](const sample_input& in, fix out[4]) {
      out[0] = low32(wide(x_in_half_widths(in.arg[0][0])) - 4096);
      out[1] = low32(wide(y_in_half_widths(in.arg[0][1])) - 3456);
    },
    false, half_resolution_frame);
const register_reference SCREEN_TO_NORM_SCALE(
    "screen_to_norm_scale",
    [](const sample_input& in, fix out[4]) {
      out[0] = x_in_half_widths(in.arg[0][0]);
      if (in.elnum[0] == 2) out[1] = y_in_half_widths(in.arg[0][1]);
    },
    false, half_resolution_frame);
const register_reference DOT("dot", [](const sample_input& in, fix out[4]) { out[0] = summed_products(in, 0, 1); });
const register_reference CROSS("cross", [](const sample_input& in, fix out[4]) {
  const fix *a = in.arg[0], *b = in.arg[1];
  const auto minor = [&](int i, int j) { return low32(wide(product(a[i], b[j])) - product(a[j], b[i])); };
  if (in.elnum[0] == 2) {
    out[0] = minor(0, 1);
    return;
  }
  out[0] = minor(1, 2);
  out[1] = minor(2, 0);
  out[2] = minor(0, 1);
});
const register_reference DIST_SQUARED("dist_squared", [](const sample_input& in, fix out[4]) {
  out[0] = summed_products(as_difference(in), 0, 0);
});
const register_reference DIST("dist", [](const sample_input& in, fix out[4]) {
  const sample_input d = as_difference(in);
  out[0] = d.elnum[0] == 1 ? magnitude(d.arg[0][0]) : plain_length_of(d.arg[0], d.elnum[0]);
});
const register_reference MAX_ELEMENT("max_element", [](const sample_input& in, fix out[4]) {
  out[0] = *std::max_element(in.arg[0], in.arg[0] + in.elnum[0]);
});
const register_reference MIN_ELEMENT("min_element", [](const sample_input& in, fix out[4]) {
  out[0] = *std::min_element(in.arg[0], in.arg[0] + in.elnum[0]);
});
const register_reference AVE_ELEMENT("ave_element", [](const sample_input& in, fix out[4]) {
  fix sum = 0;
  for (int e = 0; e < in.elnum[0]; ++e) sum = low32(wide(sum) + in.arg[0][e]);
  out[0] = in.elnum[0] == 3 ? sum / 3 : floor_shift(sum, in.elnum[0] / 2);
});
const register_reference DIRECTION("direction", [](const sample_input& in, fix out[4]) {
  out[0] = low32(wide(plain_arc_tangent(in.arg[0][1], in.arg[0][0])) - in.arg[1][0]);
});

// --- values worked out by hand -----------------------------------------------------------------------

TEST(vector_maths, squares_are_shifted_before_they_are_summed) {
  expect_values("mag_squared", {{8192, 4096}}, {20480});
  expect_values("mag_squared", {{-4096, 4096, 4096}}, {12288});
  expect_values("mag_squared", {{63, 63, 63}}, {0});  // 3969 each, below one step
}

TEST(vector_maths, length_comes_from_the_root_table) {
  // 25.0 with 24 fraction bits: entry 400 is 20/64, shifted down by 8 it is 5.0.
  expect_values("mag", {{12288, 16384}}, {20480});
  expect_values("mag", {{0, -4096}}, {4096});
  expect_values("mag", {{0, 0}}, {0});
  expect_values("mag", {{2 * 4096, 3 * 4096, 6 * 4096}}, {7 * 4096});
}

TEST(vector_maths, length_of_20_is_16_because_the_sum_of_squares_wraps) {
  expect_values("mag", {{20 * 4096, 0}}, {16 * 4096});
  expect_values("dist", {{20 * 4096, 0, 0}, {0, 0, 0}}, {16 * 4096});
}

TEST(vector_maths, unit_vectors_truncate) {
  expect_values("normalize", {{12288, 16384}}, {2457, 3276});  // 0.6 and 0.8: 2457.6 and 3276.8
  expect_values("normalize", {{-12288, -16384}}, {-2457, -3276});
  expect_values("normalize", {{0, 8192, 0}}, {0, 4096, 0});
}

TEST(vector_maths, the_zero_vector_stays_zero) {
  expect_values("normalize", {{0, 0}}, {0, 0});
  expect_values("normalize", {{0, 0, 0}}, {0, 0, 0});
  // One step is too short for the root table: with a length of 0 the elements are only shifted.
  expect_values("normalize", {{1, 0}}, {4096, 0});
}

TEST(vector_maths, positions_in_pixels_become_coordinates) {
  expect_values("screen_to_norm", {{480 * 4096, 270 * 4096}}, {0, 0});
  expect_values("screen_to_norm", {{0, 0}}, {-4096, -3456});
  expect_values("screen_to_norm", {{960 * 4096, 540 * 4096}}, {4096, 3456});
}

TEST(vector_maths, lengths_in_pixels_become_half_widths) {
  expect_values("screen_to_norm_scale", {{48 * 4096}}, {409});  // 48 * 2 / 960 = 409.6
  expect_values("screen_to_norm_scale", {{-48 * 4096}}, {-409});
  expect_values("screen_to_norm_scale", {{48 * 4096, 48 * 4096}}, {409, 614});  // 72 * 2 / 960 = 614.4
}

TEST(vector_maths, dot_product_shifts_each_product) {
  expect_values("dot", {{4096, 8192}, {4096, 4096}}, {12288});
  expect_values("dot", {{-1, 0}, {1, 0}}, {-1});
  expect_values("dot", {{8192}, {4096, 8192, 12288}}, {49152});  // a scalar counts for each: 2 + 4 + 6
  expect_values("dot", {{4096, 8192, 12288}, {8192}}, {49152});
  expect_values("dot", {{4096, 0, 0, 4096}, {4096, 0, 0, -8192}}, {-4096});
}

TEST(vector_maths, cross_product_is_right_handed) {
  expect_values("cross", {{4096, 0}, {0, 4096}}, {4096});
  expect_values("cross", {{0, 4096}, {4096, 0}}, {-4096});
  expect_values("cross", {{4096, 0, 0}, {0, 4096, 0}}, {0, 0, 4096});
  // (1, 2, 3) x (4, 5, 6) = (2*6 - 3*5, 3*4 - 1*6, 1*5 - 2*4)
  expect_values("cross", {{4096, 8192, 12288}, {16384, 20480, 24576}}, {-3 * 4096, 6 * 4096, -3 * 4096});
}

TEST(vector_maths, distances) {
  expect_values("dist_squared", {{12288}, {4096}}, {16384});
  expect_values("dist_squared", {{4096, 4096}, {16384, 20480}}, {25 * 4096});
  expect_values("dist", {{4096}, {12288}}, {8192});
  expect_values("dist", {{4096, 4096}, {16384, 20480}}, {20480});
}

TEST(vector_maths, extremes_and_mean_of_the_elements) {
  expect_values("max_element", {{-5, 7, 3}}, {7});
  expect_values("max_element", {{-5, -7}}, {-5});
  expect_values("min_element", {{-5, 7, 3}}, {-5});
  expect_values("min_element", {{4, 3, 2, 1}}, {1});
  expect_values("ave_element", {{-1, -2}}, {-2});      // -3 >> 1
  expect_values("ave_element", {{-1, -1, -2}}, {-1});  // -4 / 3
  expect_values("ave_element", {{1, 2, 3, 5}}, {2});   // 11 >> 2
  expect_values("ave_element", {{9}}, {9});
}

TEST(vector_maths, direction_is_the_angle_less_the_offset) {
  expect_values("direction", {{0, 4096}, {100}}, {924});
  expect_values("direction", {{-4096, 0}, {0}}, {2048});
  expect_values("direction", {{0, 0}, {100}}, {-100});
}

}  // namespace
}  // namespace tessaron::testing
