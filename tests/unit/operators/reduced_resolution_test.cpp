// The bracket around work on a reduced image.
#include <gtest/gtest.h>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "operators/planes.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

/// The records of a frame as a render fills them.
struct filled_frame {
  explicit filled_frame(const test_frame& f) : renderer("(define F (Source) () dest = Source)", f) {
    renderer.fill_records();
  }
  definition_renderer renderer;
};

TEST(reduced_resolution, divides_sizes_rounding_the_working_size_up) {
  const filled_frame frame({.width = 101, .height = 67});
  enter_reduced_resolution(2);
  EXPECT_EQ(temp_raster_info.width, 26);  // (101 + 3) / 4
  EXPECT_EQ(temp_raster_info.height, 17);
  EXPECT_EQ(display_dims.view_width, 26);
  EXPECT_EQ(display_dims.view_height, 17);
  EXPECT_EQ(display_dims.display_width, 25);  // 101 / 4
  EXPECT_EQ(display_dims.display_height, 16);
  EXPECT_EQ(display_dims.full_width, 25);
  EXPECT_EQ(display_dims.full_height, 16);
  EXPECT_EQ(display_dims.n_pixels, 26 * 17);
  EXPECT_EQ(short_image_size, 2 * 26 * 17);
  EXPECT_EQ(amount_to_fix_pixels(4096), 25 * 4096 / 8);
  leave_reduced_resolution();
}

TEST(reduced_resolution, keeps_the_view_where_it_is_in_the_frame) {
  const filled_frame frame({.width = 200, .height = 100, .x0 = 41, .y0 = 20, .x1 = 140, .y1 = 79});
  enter_reduced_resolution(1);
  EXPECT_EQ(temp_raster_info.x0, 20);
  EXPECT_EQ(temp_raster_info.y0, 10);
  EXPECT_EQ(temp_raster_info.x1, 20 + 50 - 1);
  EXPECT_EQ(temp_raster_info.y1, 10 + 30 - 1);
  EXPECT_EQ(display_dims.x_origin_fix, 41 * 4096 / 2);
  EXPECT_EQ(display_dims.y_origin_fix, 20 * 4096 / 2);
  leave_reduced_resolution();
}

TEST(reduced_resolution, spans_the_same_coordinates_with_fewer_pixels) {
  const filled_frame frame({.width = 128, .height = 64});
  const coordinate_steps full = coordinates_from(0, 0);
  enter_reduced_resolution(3);
  const coordinate_steps reduced = coordinates_from(0, 0);
  leave_reduced_resolution();
  EXPECT_EQ(reduced.dx, 8 * full.dx);
  EXPECT_EQ(reduced.dy, 8 * full.dy);
}

TEST(reduced_resolution, is_undone_whole) {
  for (const int n : {0, 1, 2, 3, 4}) {
    const filled_frame frame({.width = 37, .height = 21, .pixel_aspect = 1.3f});
    const auto dims = display_dims;
    const auto view = temp_raster_info;
    const auto render = render_info;
    const auto bytes = short_image_size;
    enter_reduced_resolution(n);
    leave_reduced_resolution();
    EXPECT_EQ(display_dims, dims);
    EXPECT_EQ(temp_raster_info, view);
    EXPECT_EQ(render_info, render);
    EXPECT_EQ(short_image_size, bytes);
  }
}

TEST(reduced_resolution, of_a_tiny_frame_keeps_a_pixel) {
  const filled_frame frame({.width = 3, .height = 1});
  enter_reduced_resolution(4);
  EXPECT_EQ(temp_raster_info.width, 1);
  EXPECT_EQ(temp_raster_info.height, 1);
  EXPECT_EQ(display_dims.display_width, 1);
  EXPECT_EQ(display_dims.full_height, 1);
  leave_reduced_resolution();
}

TEST(reduced_resolution, does_not_nest_and_ends_with_its_render) {
  report_capture reports;
  {
    const filled_frame frame({.width = 64, .height = 32});
    enter_reduced_resolution(1);
    EXPECT_THROW(enter_reduced_resolution(1), TessaronAbortException);
  }
  // The next render sets the records anew; what a fault left open is forgotten.
  const filled_frame frame({.width = 64, .height = 32});
  EXPECT_NO_THROW(enter_reduced_resolution(1));
  leave_reduced_resolution();
  EXPECT_THROW(leave_reduced_resolution(), TessaronAbortException);
}

}  // namespace
}  // namespace tessaron::testing
