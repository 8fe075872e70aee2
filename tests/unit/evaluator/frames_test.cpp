// Laws of a frame: how it is cut into bands, stretches and rectangles does not show in it.
#include <gtest/gtest.h>

#include "evaluator/workers.h"
#include "platform/platform.h"
#include "tests/support/reference_frame.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

class stretch_of {
 public:
  explicit stretch_of(int samples) { set_stretch_override(samples); }
  ~stretch_of() { set_stretch_override(0); }
};

class processors {
 public:
  explicit processors(int count) {
    stop_fork_workers();
    set_processor_override(count);
    start_fork_workers();
  }
  ~processors() {
    stop_fork_workers();
    set_processor_override(0);
  }
};

fix source_pixel(int x, int y, int e) { return (x * 977 + y * 1361 + e * 523) % 9000 - 700; }

// Rows of x, y, both and sources; values that are the same along a row; cached nodes and operators;
// positions (static); a kernel that looks at the first sample of its row (if_eq).
const char* const EVERYTHING =
    "(define Everything (Source) ()"
    "  tint = [0.9 1.1 0.7]"
    "  fall = (* y (+ y 0.25))"
    "  ring = (mag xy)"
    "  kept = (copy (* (interp Source tint ring) fall))"
    "  grey = (gamma kept 1.5)"
    "  turned = (rotate xy ring [0.1 0.2])"
    "  first = (if_eq (v4 x y y y) (v4 -0.9 y y y) 0.25 0.5)"
    "  dest = (+ (screen grey kept) (* first (+ (* 0.0625 (static)) (v3 (element_of turned 0) (element_of turned 1) "
    "fall)))))";

definition_renderer& rendered(definition_renderer& r) {
  r.set_source(0, source_pixel);
  EXPECT_TRUE(r.render());
  return r;
}

const test_frame WIDE = {.width = 203, .height = 11};

TEST(frame, is_the_same_for_any_number_of_workers) {
  std::vector<std::vector<fix>> first;
  for (int count : {1, 2, 3, 7}) {
    const processors pool(count);
    definition_renderer r(EVERYTHING, WIDE);
    rendered(r);
    if (count == 1)
      first = r.result();
    else
      EXPECT_EQ(r.result(), first) << count << " workers";
  }
}

TEST(frame, is_the_same_for_any_stretch) {
  std::vector<std::vector<fix>> whole_rows;
  for (int stretch : {1000, 1, 16, 64, 80, 202, 0}) {
    const stretch_of samples(stretch);
    definition_renderer r(EVERYTHING, WIDE);
    rendered(r);
    if (stretch == 1000)
      whole_rows = r.result();
    else
      EXPECT_EQ(r.result(), whole_rows) << "stretches of " << stretch;
  }
}

TEST(frame, of_a_kernel_that_reads_the_start_of_its_row_is_not_cut) {
  // At column 0 of 8, x is -0.875: only whole rows see it, and only there the comparison holds.
  const stretch_of samples(2);
  definition_renderer r("(define Start () () dest = (if_eq (v4 x 0 0 0) [-0.875 0 0 0] 0.25 0.75))",
                        {.width = 8, .height = 2});
  ASSERT_TRUE(r.render());
  for (int x = 0; x < 8; ++x) EXPECT_EQ(r.at(0, x, 1), 1024) << x;
}

TEST(frame, that_is_cropped_equals_that_part_of_the_whole) {
  const std::string definition =
      "(define Crop (Source) () ring = (mag xy) turned = (rotate xy ring [0.1 0.2])"
      " kept = (copy (* Source ring)) grey = (gamma kept 1.5)"
      " dest = (+ (screen grey kept) (* y (v3 (element_of turned 0) (element_of turned 1) x))))";
  definition_renderer whole(definition, {.width = 61, .height = 23});
  rendered(whole);
  const auto full = whole.result();
  struct {
    int x0, y0, x1, y1;
  } const parts[] = {{0, 0, 9, 5}, {13, 7, 60, 22}, {30, 11, 30, 11}, {1, 22, 59, 22}};
  for (const auto& p : parts) {
    definition_renderer part(definition, {.width = 61, .height = 23, .x0 = p.x0, .y0 = p.y0, .x1 = p.x1, .y1 = p.y1});
    rendered(part);
    for (int e = 0; e < 3; ++e)
      for (int y = p.y0; y <= p.y1; ++y)
        for (int x = p.x0; x <= p.x1; ++x)
          ASSERT_EQ(part.at(e, x, y), full[e][std::size_t(y) * 61 + x]) << e << " at " << x << "," << y;
  }
}

TEST(frame, equals_the_plain_reference_pixel_by_pixel) {
  for (const char* dest :
       {"Source", "x", "y", "xy", "0.5", "[1 2 3]", "(* y y)", "(v3 x y (* x y))", "(copy (* Source x))"}) {
    definition_renderer r(std::string("(define Plain (Source) () dest = ") + dest + ")", {.width = 37, .height = 19});
    rendered(r);
    EXPECT_EQ(first_difference(r, source_pixel), "") << dest;
    EXPECT_EQ(r.elnum(), follow_pass(&r.root())->elnum) << dest;
  }
}

TEST(frame, of_one_column_and_of_one_row_works) {
  for (const test_frame& size : {test_frame{.width = 1, .height = 5}, test_frame{.width = 7, .height = 1},
                                 test_frame{.width = 1, .height = 1}}) {
    definition_renderer r(
        "(define One (Source) () kept = (copy (* Source x)) dest = (+ (gamma kept 2) (interp kept Source y)))", size);
    rendered(r);
    EXPECT_EQ(first_difference(r, source_pixel), "") << size.width << "x" << size.height;
  }
}

TEST(frame, with_fewer_lines_than_workers_is_complete) {
  const processors pool(7);
  definition_renderer r("(define Few (Source) () dest = (+ Source y))", {.width = 20, .height = 3});
  rendered(r);
  EXPECT_EQ(first_difference(r, source_pixel), "");
}

// --- coordinates ---------------------------------------------------------------------------------------

TEST(coordinates, run_from_minus_1_to_1_at_pixel_centres) {
  definition_renderer r("(define XY () () dest = xy)", {.width = 8, .height = 4});
  ASSERT_TRUE(r.render());
  // A pixel is a quarter wide: centres at -0.875, -0.625, ... and y falls from 0.5 - 0.125.
  for (int x = 0; x < 8; ++x) EXPECT_EQ(r.at(0, x, 0), -3584 + 1024 * x);
  // The rounding is added before the sign is turned, so that an exact y comes out one step lower.
  for (int y = 0; y < 4; ++y) EXPECT_EQ(r.at(1, 0, y), 1536 - 1024 * y - 1);
}

TEST(coordinates, of_tall_pixels_stretch_y) {
  definition_renderer r("(define XY () () dest = xy)", {.width = 8, .height = 4, .pixel_aspect = 2.0f});
  ASSERT_TRUE(r.render());
  // The top edge is at 0.5 * 2, a row 0.5 high.
  for (int y = 0; y < 4; ++y) EXPECT_EQ(r.at(1, 0, y), 3072 - 2048 * y - 1);
}

TEST(coordinates, agree_with_the_real_numbers) {
  for (int width : {3, 7, 100, 640, 1919}) {
    const int height = width / 2 + 3;
    definition_renderer r("(define XY () () dest = xy)", {.width = width, .height = height});
    ASSERT_TRUE(r.render());
    for (int x = 0; x < width; ++x) {
      const double exact = (2.0 * (x + 0.5) / width - 1.0) * 4096;
      ASSERT_NEAR(r.at(0, x, 0), exact, 0.75) << width << " at " << x;
    }
    for (int y = 0; y < height; ++y) {
      const double exact = (double(height) - 2.0 * (y + 0.5)) / width * 4096;
      ASSERT_NEAR(r.at(1, 0, y), exact - 1, 0.75) << width << " at row " << y;
    }
  }
}

TEST(coordinates, of_a_second_field_are_offset) {
  definition_renderer r("(define Y () () dest = y)", {.width = 8, .height = 8});
  r.fill_records();
  field_globals = {.field_number = 0, .field_offset = 0.5f, .merged_sources = 0};
  const coordinate_steps c = coordinates_from(0, 0);
  field_globals = {};
  const coordinate_steps plain = coordinates_from(0, 0);
  EXPECT_EQ(c.y_acc_first, plain.y_acc_first - plain.dy / 2);
  EXPECT_EQ(c.shift, (plain.dy / 2) >> 12);
  EXPECT_EQ(y_of_line(c, 0), y_of_line(plain, 0) + 512);  // half a row of 0.25
}

// --- fields -----------------------------------------------------------------------------------------------

TEST(fields, leave_the_other_lines_as_they_were) {
  for (int field : {1, 2}) {
    definition_renderer r("(define F (Source) () dest = (+ Source 1))", {.width = 5, .height = 6});
    r.set_source(0, source_pixel);
    field_globals.field_number = field;
    const bool rendered = r.render();
    field_globals = {};
    ASSERT_TRUE(rendered);
    for (int y = 0; y < 6; ++y) {
      const bool computed = (y & 1) != field - 1;
      EXPECT_EQ(r.at(0, 2, y), computed ? source_pixel(2, y, 0) + 4096 : definition_renderer::UNTOUCHED)
          << field << " " << y;
    }
  }
}

TEST(fields, average_the_lines_of_a_source_that_comes_as_frames) {
  definition_renderer r("(define F (Source) () dest = (+ Source 1))", {.width = 5, .height = 6});
  r.set_source(0, [](int x, int y, int) { return 100 * y + x; });
  field_globals.field_number = 2;  // lines 0, 2, 4
  field_globals.merged_sources = 1;
  const bool rendered = r.render();
  field_globals = {};
  ASSERT_TRUE(rendered);
  EXPECT_EQ(r.at(0, 3, 2), 4096 + (203 + 303) / 2);
}

// --- abort ----------------------------------------------------------------------------------------------

class abort_after {
 public:
  explicit abort_after(int questions) {
    asked() = 0;
    limit() = questions;
    set_abort_query([] { return ++asked() > limit() ? 1 : 0; });
  }
  ~abort_after() {
    set_abort_query(nullptr);
    abort_requested = 0;
  }
  static int& asked() {
    static int count;
    return count;
  }
  static int& limit() {
    static int count;
    return count;
  }
};

TEST(abort, is_seen_on_line_0) {
  const processors pool(1);
  const abort_after at_once(0);
  definition_renderer r("(define A (Source) () dest = (+ Source 1))", {.width = 5, .height = 40});
  r.set_source(0, source_pixel);
  EXPECT_FALSE(r.render());
  EXPECT_EQ(abort_requested, 1);
  EXPECT_EQ(r.at(0, 0, 0), definition_renderer::UNTOUCHED);
}

TEST(abort, asks_the_host_once_in_200_ms) {
  const abort_after never(1000000);
  const processors pool(2);
  definition_renderer r("(define A (Source) () dest = (+ Source 1))", {.width = 5, .height = 200});
  r.set_source(0, source_pixel);
  const double start = platform::seconds();
  ASSERT_TRUE(r.render());
  const double seconds = platform::seconds() - start;
  EXPECT_GE(abort_after::asked(), 1);
  EXPECT_LE(abort_after::asked(), 1 + int(seconds / 0.2));
}

TEST(abort, in_an_image_leaves_no_valid_planes_and_a_later_frame_is_whole) {
  const processors pool(3);
  definition_renderer r(
      "(define A (Source) () still = (gamma (* x y) 0.5) dest = (+ (gamma (* Source still) 2) still))",
      {.width = 33, .height = 40});
  r.set_source(0, source_pixel);
  {
    const abort_after at_once(0);
    EXPECT_FALSE(r.render());
  }
  for (int i = 0; i < r.effect().n_nodes; ++i) EXPECT_FALSE(r.effect().nodes[i].node_flags & NODE_IMAGES_VALID);
  ASSERT_TRUE(r.render());
  EXPECT_EQ(first_difference(r, source_pixel), "");
}

TEST(abort, without_a_question_is_never) {
  set_abort_query(nullptr);
  EXPECT_EQ(check_abort(), 0);
}

}  // namespace
}  // namespace tessaron::testing
