// The blur engine against box sums that are added up window by window: every size, edge, shape and level gives the
// same bits.
#include <gtest/gtest.h>

#include <random>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "tests/support/kernel_harness.h"
#include "tests/support/plain_blur.h"
#include "tests/support/plane_levels.h"
#include "unit/operators/plane_kit.h"

namespace tessaron::testing {
namespace {

std::string describe(const plain_plane& plane, const plain_blur_settings& s) {
  std::ostringstream text;
  text << plane.width << "x" << plane.height << ", amounts " << s.x_amount << " " << s.y_amount << ", edges "
       << s.edge_mode << ", passes " << s.passes << ", subpixel " << s.subpixel << ", fields " << s.field_mode;
  return text.str();
}

plain_long_image blur(const plane_loops& loops, const plain_plane& plane, const plain_blur_settings& s) {
  const plain_plane before = plane;
  loops.blur_plane(plane.samples.data(), s.x_amount, s.y_amount, s.edge_mode, s.passes, s.subpixel, s.field_mode,
                   plane.width, plane.height);
  EXPECT_EQ(plane, before) << "the plane was written to";
  plain_long_image image(plane.width, plane.height);
  std::copy_n(current_long_image(), image.samples.size(), image.samples.begin());
  return image;
}

/// In place, and into a plane of its own.
void expect_same_planes(const plane_loops& loops, const plain_plane& plane, const plain_blur_settings& s, fix scale,
                        const plain_plane& wanted, const std::string& what) {
  plain_plane in_place = plane, other(plane.width, plane.height, 77);
  for (plain_plane* dest : {&other, &in_place}) {
    const std::int16_t* source = dest == &in_place ? in_place.samples.data() : plane.samples.data();
    loops.blur_plane_to_plane(dest->samples.data(), source, scale, s.x_amount, s.y_amount, s.edge_mode, s.passes,
                              s.subpixel, s.field_mode, plane.width, plane.height);
    ASSERT_EQ(first_difference(*dest, wanted), "") << what << (dest == &in_place ? ", in place" : "");
  }
}

/// The long image, what stands for 1.0 in it, and the plane made of it, on every level.
void expect_plain_blur(const plain_plane& plane, const plain_blur_settings& s, fix scale = 4096) {
  std::int32_t one = 0;
  const plain_long_image wanted = plain_blur(plane, s, one);
  const float factor = (float(scale) / 4096.0f) / (float(one) / 4096.0f);
  const plain_plane wanted_plane = plain_normalised(wanted, factor);
  for (const cpu_level level : usable_levels()) {
    const plane_loops loops = plane_loops_of(level);
    const std::string what = describe(plane, s) + ", level " + cpu_level_name(level);
    ASSERT_EQ(first_difference(blur(loops, plane, s), wanted), "") << what;
    ASSERT_EQ(long_image_one, one) << what;
    plain_plane normalised(plane.width, plane.height);
    loops.long_to_plane(normalised.samples.data(), factor);
    ASSERT_EQ(first_difference(normalised, wanted_plane), "") << what;
    expect_same_planes(loops, plane, s, scale, wanted_plane, what);
  }
}

struct size {
  int width, height;
};
constexpr size SIZES[] = {{1, 1},   {1, 9},   {9, 1},   {2, 2},   {3, 2},   {2, 3},   {4, 5},   {15, 16},
                          {16, 15}, {17, 33}, {31, 64}, {64, 31}, {65, 18}, {130, 7}, {333, 77}};

TEST(blur_engine, gives_the_plain_sums_for_every_size_radius_and_shape) {
  const plane_frame frame;
  for (const size& s : SIZES) {
    const plain_plane plane = random_plane(s.width, s.height, 5);
    for (const int radius : {0, 1, 2, 3, 10, 40, 500})
      for (int passes = 1; passes <= 3; ++passes)
        for (const int edge_mode : {0, 1})
          expect_plain_blur(
              plane, {.x_amount = radius * 4096, .y_amount = radius * 4096, .edge_mode = edge_mode, .passes = passes});
  }
}

TEST(blur_engine, gives_the_plain_blend_of_two_windows_with_subpixel) {
  const plane_frame frame;
  for (const size& s : SIZES) {
    const plain_plane plane = random_plane(s.width, s.height, 6);
    for (const fix amount : {1, 100, 4095, 4097, 3 * 4096 + 2048, 5 * 4096 + 1, 11 * 4096 + 77, 200 * 4096 + 5})
      for (int passes = 1; passes <= 3; ++passes)
        for (const int edge_mode : {0, 1})
          expect_plain_blur(plane, {.x_amount = amount,
                                    .y_amount = amount + amount / 3,
                                    .edge_mode = edge_mode,
                                    .passes = passes,
                                    .subpixel = true});
  }
}

TEST(blur_engine, agrees_on_settings_at_random) {
  const plane_frame frame;
  std::mt19937 random(11);
  const auto amount = [&]() -> fix {
    switch (random() % 4) {
      case 0:
        return 0;
      case 1:
        return fix(random() % (3 * 4096));
      case 2:
        return fix(random() % 40) * 4096;
      default:
        return fix(random() % (60 * 4096));
    }
  };
  for (int i = 0; i < 150; ++i) {
    const plain_plane plane = random_plane(1 + int(random() % 90), 1 + int(random() % 60), random());
    plain_blur_settings s;
    s.x_amount = amount();
    s.y_amount = amount();
    s.edge_mode = int(random() % 2);
    s.passes = 1 + int(random() % 3);
    s.subpixel = random() % 2;
    s.field_mode = random() % 4 == 0;
    expect_plain_blur(plane, s, random() % 2 ? 4096 : fix(random() % 20000) - 8000);
  }
}

TEST(blur_engine, filters_one_direction_alone) {
  const plane_frame frame;
  const plain_plane plane = random_plane(77, 53, 7);
  expect_plain_blur(plane, {.x_amount = 5 * 4096});
  expect_plain_blur(plane, {.y_amount = 5 * 4096});
  expect_plain_blur(plane, {.x_amount = 5 * 4096, .y_amount = -4096});
  expect_plain_blur(plane, {.x_amount = -4096, .y_amount = 9000, .subpixel = true});
}

// --- edge cases -------------------------------------------------------------------------------------------

TEST(blur_engine, cuts_a_radius_that_no_pass_can_have) {
  const plane_frame frame;
  // A line of 20 allows a radius of 9: each pass averages 19 of 20 samples and the image does not go black.
  const plain_plane white(20, 20, 4096);
  const plane_loops loops = plane_loops_of(cpu_level::generic);
  plain_plane blurred = white;
  loops.blur_plane_to_plane(blurred.samples.data(), blurred.samples.data(), 4096, 1000 * 4096, 1000 * 4096, 1, 3, false,
                            false, 20, 20);
  EXPECT_EQ(blurred, white);
  std::int32_t one = 4096;
  EXPECT_EQ(make_pass_table(1000 * 4096, 20, 3, false, one).pass[2].radius_low, 9);
}

TEST(blur_engine, divides_a_radius_with_the_remainder_in_the_later_passes) {
  std::int32_t one = 4096;
  const pass_table table = make_pass_table(10 * 4096, 1000, 3, false, one);
  EXPECT_EQ(table.pass[0].radius_low, 3);
  EXPECT_EQ(table.pass[1].radius_low, 3);
  EXPECT_EQ(table.pass[2].radius_low, 4);
  EXPECT_EQ(one, 4096 * 7 * 7 * 9);
}

TEST(blur_engine, shifts_before_a_pass_that_would_take_white_to_30_bits) {
  // 4096 has 13 bits; boxes of 67, 67 and 69 have 7 each. After two passes white has 4096 * 67 * 67 = 18386944, 25
  // bits, and the third loses 25 + 7 - 30 = 2.
  std::int32_t one = 4096;
  const pass_table table = make_pass_table(100 * 4096, 1920, 3, false, one);
  EXPECT_EQ(table.pass[0].pre_shift, 0);
  EXPECT_EQ(table.pass[1].pre_shift, 0);
  EXPECT_EQ(table.pass[2].pre_shift, 2);
  EXPECT_EQ(one, (18386944 >> 2) * 69);
}

TEST(blur_engine, keeps_white_below_30_bits_for_any_amounts) {
  for (const int size : {4, 100, 1920, 30000})
    for (const fix amount : {4096, 50 * 4096, 3000 * 4096, 240000 * 4096})
      for (const bool subpixel : {false, true}) {
        const blur_plan plan = plan_blur(amount, amount, 1, 3, subpixel, false, size, size);
        EXPECT_GT(plan.one, 0) << size << " " << amount;
        EXPECT_LT(plan.one, 1 << 30) << size << " " << amount;
      }
}

TEST(blur_engine, passes_an_amount_below_half_a_pixel_through_the_long_image) {
  const plane_frame frame;
  const plain_plane plane = random_plane(40, 9, 8);
  expect_plain_blur(plane, {.x_amount = 2047, .y_amount = 2047});
  plain_plane same = plane;
  plane_loops_of(cpu_level::generic)
      .blur_plane_to_plane(same.samples.data(), same.samples.data(), 4096, 2047, 2047, 1, 3, false, false, 40, 9);
  EXPECT_EQ(same, plane);
  EXPECT_EQ(long_image_one, 4096);
}

TEST(blur_engine, runs_one_window_at_a_whole_pixel_with_subpixel) {
  const plane_frame frame;
  const plain_plane plane = random_plane(60, 21, 9);
  const plain_blur_settings whole = {.x_amount = 4 * 4096, .y_amount = 4 * 4096},
                            subpixel = {.x_amount = 4 * 4096, .y_amount = 4 * 4096, .subpixel = true};
  const plane_loops loops = plane_loops_of(cpu_level::generic);
  EXPECT_EQ(blur(loops, plane, subpixel), blur(loops, plane, whole));
  std::int32_t one = 4096;
  const pass_table table = make_pass_table(4 * 4096, 60, 3, true, one);
  EXPECT_EQ(table.frac, 0);
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(table.blends(i));
}

TEST(blur_engine, widens_steadily_with_subpixel) {
  const plane_frame frame;
  // A white bar's height falls while the blur grows, by no more than a little in each of 60 steps.
  const plain_plane bar(64, 3, [](int x, int) { return x >= 30 && x < 34 ? 4096 : 0; });
  const plane_loops loops = plane_loops_of(cpu_level::generic);
  int before = 4096;
  for (int step = 1; step <= 60; ++step) {
    plain_plane blurred = bar;
    loops.blur_plane_to_plane(blurred.samples.data(), blurred.samples.data(), 4096, step * 512, 0, 1, 3, true, false,
                              64, 3);
    const int height = blurred.at(32, 1);
    EXPECT_LE(height, before + 1) << step;
    EXPECT_GE(height, before - 200) << step;
    before = height;
  }
  EXPECT_LT(before, 2000);
}

TEST(blur_engine, in_field_mode_blurs_even_and_odd_rows_apart_and_half_as_far) {
  const plane_frame frame;
  // Rows 0, 2, 4 ... are 1000 and the others 3000: fields that are blurred apart keep their values.
  const plain_plane stripes(9, 20, [](int, int y) { return y % 2 ? 3000 : 1000; });
  const plane_loops loops = plane_loops_of(cpu_level::generic);
  plain_plane blurred = stripes;
  loops.blur_plane_to_plane(blurred.samples.data(), blurred.samples.data(), 4096, 0, 6 * 4096, 1, 3, false, true, 9,
                            20);
  EXPECT_EQ(blurred, stripes);
  // A single bright row of the even field reaches 3 rows of that field, so 6 of the frame, to either side.
  plain_plane dot(9, 40, [](int, int y) { return y == 20 ? 30000 : 0; });
  loops.blur_plane_to_plane(dot.samples.data(), dot.samples.data(), 4096, 0, 6 * 4096, 1, 1, false, true, 9, 40);
  for (int y = 0; y < 40; ++y) EXPECT_EQ(dot.at(4, y) != 0, y >= 14 && y <= 26 && y % 2 == 0) << y;
}

TEST(blur_engine, blurs_every_row_of_an_odd_number_in_field_mode) {
  const plane_frame frame;
  const plain_plane white(5, 21, 4096);
  plain_plane blurred = white;
  plane_loops_of(cpu_level::generic)
      .blur_plane_to_plane(blurred.samples.data(), blurred.samples.data(), 4096, 4096, 8 * 4096, 1, 3, false, true, 5,
                           21);
  EXPECT_EQ(blurred, white);
}

TEST(blur_engine, takes_vertical_amounts_by_the_pixels_shape) {
  // A ratio of 2 means pixels twice as high as wide: a blur as tall as it is wide reaches half as many rows.
  for (const float aspect : {2.0f, 0.5f, 1.0666f}) {
    const plane_frame frame(1, aspect);
    const plain_plane plane = random_plane(50, 50, 12);
    plain_blur_settings s = {
        .x_amount = 6 * 4096, .y_amount = 6 * 4096, .pixel_aspect_on = true, .y_scale = 1 / aspect};
    expect_plain_blur(plane, s);
    s.subpixel = true;
    expect_plain_blur(plane, s);
  }
  const plane_frame frame(1, 2.0f);
  plain_plane dot(41, 41, [](int x, int y) { return x == 20 && y == 20 ? 32000 : 0; });
  plane_loops_of(cpu_level::generic)
      .blur_plane_to_plane(dot.samples.data(), dot.samples.data(), 4096, 8 * 4096, 8 * 4096, 1, 1, false, false, 41,
                           41);
  for (int i = 0; i < 41; ++i) {
    EXPECT_EQ(dot.at(i, 20) != 0, i >= 12 && i <= 28) << i;
    EXPECT_EQ(dot.at(20, i) != 0, i >= 16 && i <= 24) << i;
  }
}

TEST(blur_engine, keeps_the_amount_of_light_but_for_the_rounding) {
  const plane_frame frame;
  const plain_plane plane = random_plane(90, 70, 13, 0, 4096);
  plain_plane blurred = plane;
  plane_loops_of(cpu_level::generic)
      .blur_plane_to_plane(blurred.samples.data(), blurred.samples.data(), 4096, 7 * 4096, 4 * 4096, 1, 3, false, false,
                           90, 70);
  double before = 0, after = 0;
  for (const int v : plane.samples) before += v;
  for (const int v : blurred.samples) after += v;
  EXPECT_NEAR(after / before, 1, 0.0005);
}

// --- workers, aborts ----------------------------------------------------------------------------------------

TEST(blur_engine, is_the_same_for_any_number_of_workers) {
  struct one_case {
    size s;
    plain_blur_settings blur;
  };
  const one_case cases[] = {
      {{333, 177}, {.x_amount = 9 * 4096, .y_amount = 7 * 4096}},
      {{333, 177}, {.x_amount = 9 * 4096, .y_amount = 7 * 4096 + 99, .edge_mode = 0, .subpixel = true}},
      {{333, 177}, {.x_amount = 80 * 4096, .y_amount = 80 * 4096}},
      {{97, 200}, {.y_amount = 7 * 4096}},
      {{97, 200}, {.x_amount = 7 * 4096}},
      {{97, 201}, {.x_amount = 7 * 4096, .y_amount = 20 * 4096, .field_mode = true}},
      {{5, 3}, {.x_amount = 4096, .y_amount = 4096}},
      {{64, 40}, {.x_amount = 2047, .y_amount = 1}},
  };
  for (const one_case& c : cases) {
    const plain_plane plane = random_plane(c.s.width, c.s.height, 14);
    for (const int workers : {2, 3, 7}) {
      const plane_frame frame(workers);
      expect_plain_blur(plane, c.blur, 3000);
    }
  }
}

TEST(blur_engine, leaves_the_long_images_scale_alone_once_a_render_is_aborted) {
  const plane_frame frame;
  const plain_plane plane = random_plane(200, 200, 15);
  long_image_one = 1234;
  request_abort();
  const plane_loops loops = plane_loops_of(cpu_level::generic);
  loops.blur_plane(plane.samples.data(), 9 * 4096, 9 * 4096, 1, 3, false, false, 200, 200);
  EXPECT_EQ(long_image_one, 1234);
  plain_plane dest(200, 200, 55);
  loops.blur_plane_to_plane(dest.samples.data(), plane.samples.data(), 4096, 9 * 4096, 9 * 4096, 1, 3, false, false,
                            200, 200);
  abort_requested = 0;
  EXPECT_EQ(dest, plain_plane(200, 200, 55)) << "an aborted blur wrote on";
  long_image_one = 4096;
}

int queries_until_abort;

TEST(blur_engine, looks_for_an_abort_within_16_rows_of_a_pass) {
  const plane_frame frame;
  const plain_plane plane = random_plane(64, 320, 16);
  plain_plane dest(64, 320, 55);
  queries_until_abort = 0;
  set_abort_query([] { return int(++queries_until_abort == 1); });
  plane_loops_of(cpu_level::generic)
      .blur_plane_to_plane(dest.samples.data(), plane.samples.data(), 4096, 4096, 4096, 1, 3, false, false, 64, 320);
  set_abort_query(nullptr);
  abort_requested = 0;
  EXPECT_EQ(queries_until_abort, 1);
  EXPECT_EQ(dest, plain_plane(64, 320, 55)) << "the first look at the host came after the first rows";
}

}  // namespace
}  // namespace tessaron::testing
