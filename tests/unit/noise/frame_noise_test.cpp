// noise, noise2 and noise3 against their plain form, and what holds of the pictures.
#include "unit/noise/plain_frame_noise.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "evaluator/workers.h"
#include "genotype/genotype_reader.h"
#include "operators/noise_plan.h"
#include "support/abort_questions.h"
#include "support/kernel_harness.h"
#include "support/render_definition.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

std::string number(fix v) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12f", v / 4096.0);
  return text;
}
std::string pair_of(fix a, fix b) { return std::string("[") + number(a) + " " + number(b) + "]"; }

std::string call_of(const frame_noise& n, int elements) {
  std::string call = "(noise";
  if (elements > 1) call += std::to_string(elements);
  call += " ";
  call += pair_of(n.frequency_x, n.frequency_y) + " " + number(n.octaves) + " " + pair_of(n.shift_x, n.shift_y) + " " +
          number(n.seed);
  if (elements == 2) call += ' ' + number(n.scale);
  return call + ')';
}

/// The planes of the first noise of a rendered definition.
struct rendered_noise {
  std::vector<std::vector<int>> planes;
  noise_image_place place;

  explicit rendered_noise(const std::string& call, const test_frame& frame = {.width = 64, .height = 48},
                          int workers = 1) {
    stop_fork_workers();
    set_processor_override(workers);
    definition_renderer r("(define N (Source) () n = " + call + " dest = (+ Source (element_of n 0)))", frame);
    EXPECT_TRUE(r.render());
    const noise_view v = current_noise_view();
    place = {v.width, v.height, v.x0, v.y0, v.full_width, v.full_height, v.aspect, v.pixel_aspect};
    for (const char* name : {"noise", "noise2", "noise3"})
      for (const node* n : r.calls_of(name))
        for (int e = 0; e < n->elnum; ++e)
          planes.emplace_back(n->images[e], n->images[e] + std::size_t(v.width) * v.height);
    stop_fork_workers();
    set_processor_override(0);
  }
  int at(int x, int y, int e = 0) const { return planes[e][std::size_t(y) * place.width + x]; }
  int width() const { return place.width; }
  int height() const { return place.height; }
};

std::string compare(const frame_noise& n, int elements, const test_frame& frame, int workers = 1) {
  const std::string call = call_of(n, elements);
  const rendered_noise got(call, frame, workers);
  if (int(got.planes.size()) != elements) return call + " has another number of planes";
  frame_noise wanted = n;
  wanted.around_zero = elements == 2;
  if (elements != 2) wanted.scale = 4096;
  for (int e = 0; e < elements; ++e) {
    const plain_lines expected = plain_frame_noise(wanted, got.place, e);
    for (int y = 0; y < got.height(); ++y)
      for (int x = 0; x < got.width(); ++x)
        if (got.at(x, y, e) != expected[y][x])
          return call + " at " + std::to_string(got.width()) + "x" + std::to_string(got.height()) + ", sample " +
                 std::to_string(x) + ", " + std::to_string(y) + " of element " + std::to_string(e) + ": " +
                 std::to_string(got.at(x, y, e)) + ", expected " + std::to_string(expected[y][x]);
  }
  return {};
}

// --- against the plain form --------------------------------------------------------------------------------

TEST(noise, agrees_with_its_plain_form_at_any_size) {
  const std::pair<int, int> SIZES[] = {{1, 1},   {1, 9},   {9, 1},    {2, 2},   {3, 3},   {4, 4},
                                       {5, 5},   {6, 5},   {7, 8},    {16, 5},  {5, 40},  {33, 4},
                                       {64, 48}, {48, 64}, {127, 31}, {100, 7}, {333, 77}};
  int round = 0;
  for (const auto& [width, height] : SIZES)
    for (fix frequency : {0, 2048, 5000, 4 * 4096, 9 * 4096 + 77, 40 * 4096}) {
      const frame_noise n = {frequency, frequency, (round % 6) * 4096 + 900, 300, -777, 5 + round, false, 4096};
      EXPECT_EQ(compare(n, 1 + round % 3, {.width = width, .height = height}), "");
      ++round;
    }
}

TEST(noise, agrees_with_its_plain_form_for_any_arguments) {
  std::mt19937 random(99);
  const auto any = [&](fix low, fix high) { return low + fix(random() % unsigned(high - low + 1)); };
  for (int round = 0; round < 150; ++round) {
    frame_noise n = {};
    const fix reach = 4096 << (round % 8);
    n.frequency_x = any(-reach, reach);
    n.frequency_y = round % 2 ? n.frequency_x : any(-reach, reach);
    n.octaves = any(-4096, 10 * 4096);
    n.shift_x = any(-10 * 4096, 10 * 4096);
    n.shift_y = any(-10 * 4096, 10 * 4096);
    n.seed = any(-1000000, 1000000);
    n.scale = round % 5 ? any(-9 * 4096, 9 * 4096) : 4096;
    if (n.scale == 0) n.scale = 1;
    test_frame frame = {.width = int(any(1, 90)), .height = int(any(1, 70))};
    frame.pixel_aspect = round % 3 == 0 ? 1.0f : round % 3 == 1 ? 1.0926f : 0.5f;
    EXPECT_EQ(compare(n, 1 + round % 3, frame), "");
  }
}

TEST(noise, takes_frequencies_and_shifts_of_any_size) {
  for (fix frequency : {1, 4096 * 1000, 500000 * 4096 / 4, -4096 * 300})
    for (fix shift : {0, 4096 * 1000, -4096 * 1000, 4096 * 500000}) {
      const frame_noise n = {frequency, frequency, 8 * 4096, shift, -shift / 2, 3, false, 4096};
      EXPECT_EQ(compare(n, 1, {.width = 40, .height = 30}), "");
    }
}

TEST(noise, agrees_with_its_plain_form_in_part_of_a_frame) {
  for (float pixel_aspect : {1.0f, 1.4f}) {
    const frame_noise n = {6 * 4096, 5 * 4096, 4 * 4096, 1000, 2000, 12, false, 4096};
    EXPECT_EQ(
        compare(n, 1,
                {.width = 100, .height = 60, .x0 = 20, .y0 = 10, .x1 = 79, .y1 = 49, .pixel_aspect = pixel_aspect}),
        "");
    EXPECT_EQ(
        compare(n, 3, {.width = 100, .height = 60, .x0 = 1, .y0 = 0, .x1 = 1, .y1 = 59, .pixel_aspect = pixel_aspect}),
        "");
  }
}

TEST(noise, agrees_with_its_plain_form_in_a_view_beyond_the_frame) {
  const frame_noise n = {6 * 4096, 5 * 4096, 4 * 4096, 1000, 2000, 12, false, 4096};
  EXPECT_EQ(compare(n, 1, {.width = 100, .height = 60, .x0 = -10, .y0 = -6, .x1 = 109, .y1 = 65}), "");
}

TEST(noise, is_the_same_with_any_workers) {
  const frame_noise n = {4 * 4096, 3 * 4096, 5 * 4096, 100, 200, 12, false, 7000};
  for (int elements : {1, 2, 3}) {
    const rendered_noise alone(call_of(n, elements), {.width = 480, .height = 170});
    for (int workers : {2, 3, 7})
      EXPECT_EQ(rendered_noise(call_of(n, elements), {.width = 480, .height = 170}, workers).planes, alone.planes);
  }
}

/// The body that a level's catalogue names, on the node of a render.
TEST(noise, is_the_same_at_every_level) {
  for (int elements : {1, 2, 3}) {
    const std::string name = elements == 1 ? "noise" : "noise" + std::to_string(elements);
    const frame_noise n = {7 * 4096 + 5, 3 * 4096, 6 * 4096, 100, 200, 12, false, 7000};
    for (const test_frame& frame : {test_frame{.width = 333, .height = 77}, test_frame{.width = 61, .height = 9}}) {
      definition_renderer r(
          "(define N (Source) () n = " + call_of(n, elements) + " dest = (+ Source (element_of n 0)))", frame);
      ASSERT_TRUE(r.render());
      node& call = *r.calls_of(name.c_str())[0];
      const std::size_t count = std::size_t(r.cols()) * r.lines();
      std::vector<std::vector<std::int16_t>> first;
      for (int e = 0; e < elements; ++e) first.emplace_back(call.images[e], call.images[e] + count);
      for (cpu_level level : usable_levels()) {
        for (int e = 0; e < elements; ++e) std::fill_n(call.images[e], count, std::int16_t(-1));
        level_catalogue(level).find(name.c_str())->kernels[1](call);
        for (int e = 0; e < elements; ++e)
          EXPECT_EQ(first[e], std::vector<std::int16_t>(call.images[e], call.images[e] + count))
              << cpu_level_name(level);
      }
    }
  }
}

// --- values worked out by hand -----------------------------------------------------------------------------

TEST(noise, without_a_frequency_is_one_smoothed_lattice_value) {
  // Where the image's middle lies on cell (0, 0), doubling gives masks 1 6 1 over 8 in both directions.
  const rendered_noise got("(noise 0 1 [0 0] 0)");
  const auto lattice = [](int x, int y) { return (plain_frame_lattice(x, y, 0, 0) >> 1) + 2048; };
  double expected = 0;
  for (int y = -1; y <= 1; ++y)
    for (int x = -1; x <= 1; ++x) expected += lattice(x, y) * (x ? 1 : 6) * (y ? 1 : 6) / 64.0;
  for (int y = 0; y < 48; y += 7)
    for (int x = 0; x < 64; x += 7) {
      EXPECT_NEAR(got.at(x, y), expected, 2);
      EXPECT_EQ(got.at(x, y), got.at(0, 0));
    }
}

TEST(noise, goes_around_a_half_and_noise2_around_0) {
  for (const char* call : {"(noise 8 4 [0 0] 3)", "(noise3 8 4 [0 0] 3)", "(noise2 8 4 [0 0] 3 1)"}) {
    const rendered_noise got(call, {.width = 320, .height = 200});
    const double middle = std::string(call).find("noise2") == std::string::npos ? 2048 : 0;
    for (const std::vector<int>& plane : got.planes) {
      double sum = 0, squares = 0;
      for (int v : plane) {
        sum += v - middle;
        squares += (v - middle) * (v - middle);
      }
      EXPECT_LT(std::abs(sum / double(plane.size())), 150) << call;
      EXPECT_GT(std::sqrt(squares / double(plane.size())), 300) << call;
    }
  }
}

TEST(noise, elements_are_different_pictures) {
  const rendered_noise got("(noise3 8 4 [0 0] 3)");
  EXPECT_NE(got.planes[0], got.planes[1]);
  EXPECT_NE(got.planes[1], got.planes[2]);
  EXPECT_NE(got.planes[0], got.planes[2]);
  // The first is that of `noise`.
  EXPECT_EQ(got.planes[0], rendered_noise("(noise 8 4 [0 0] 3)").planes[0]);
}

TEST(noise, repeats_for_the_same_seed_and_shift) {
  const rendered_noise first("(noise 8 4.7 [0.3 0.2] 3)");
  EXPECT_EQ(rendered_noise("(noise 8 4.7 [0.3 0.2] 3)").planes, first.planes);
  EXPECT_EQ(rendered_noise("(noise -8 4 [0.3 0.2] 3)").planes, first.planes) << "a frequency counts without its sign";
  EXPECT_NE(rendered_noise("(noise 8 4 [0.3 0.2] 4)").planes, first.planes);
  EXPECT_NE(rendered_noise("(noise 8 4 [0.3 0.21] 3)").planes, first.planes);
}

TEST(noise, has_at_least_one_octave) {
  const rendered_noise one("(noise 8 1 [0 0] 3)");
  for (const char* octaves : {"0", "-5", "0.9", "1.99"})
    EXPECT_EQ(rendered_noise(std::string("(noise 8 ") + octaves + " [0 0] 3)").planes, one.planes) << octaves;
}

TEST(noise, one_frequency_counts_in_both_directions) {
  EXPECT_EQ(rendered_noise("(noise 8 3 [0 0] 3)").planes, rendered_noise("(noise [8 8] 3 [0 0] 3)").planes);
}

TEST(noise, arguments_that_vary_count_with_the_middle_of_the_picture) {
  // At column 32 of 64 and row 24 of 48 x is a half pixel right of 0, y a half pixel below.
  const test_frame frame = {.width = 64, .height = 48};
  const rendered_noise constant("(noise 8 3 [0 0] 3)", frame);
  report_capture reports;
  EXPECT_EQ(rendered_noise("(noise (round (+ 8.4 (* x 3)) 1) 3 [0 0] 3)", frame).planes, constant.planes);
  EXPECT_EQ(rendered_noise("(noise 8 3 [0 0] (round (+ 3.4 (* x 3)) 1))", frame).planes, constant.planes);
  EXPECT_EQ(rendered_noise("(noise 8 3 (- (round (+ (* xy 4) 1.3) 1) 1) 3)", frame).planes, constant.planes);
  EXPECT_EQ(reports.count_part("takes one value for the whole image"), 3);
}

// --- shift and crop ----------------------------------------------------------------------------------------

/// The largest difference, and the mean, between a picture and another one moved by whole pixels.
struct difference {
  int largest;
  double mean;
};
difference moved_by(const rendered_noise& a, const rendered_noise& b, int dx, int dy) {
  int largest = 0, count = 0;
  double sum = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      const int bx = x + dx, by = y + dy;
      if (bx < 0 || by < 0 || bx >= b.width() || by >= b.height()) continue;
      const int d = std::abs(a.at(x, y) - b.at(bx, by));
      largest = std::max(largest, d);
      sum += d;
      ++count;
    }
  return {largest, sum / count};
}

TEST(noise, a_shift_moves_the_picture_to_the_right_and_down) {
  // 0.25 is an eighth of the frame's width, and of its height where the frame is square.
  const test_frame frame = {.width = 128, .height = 128};
  const rendered_noise still("(noise 4 3 [0 0] 3)", frame);
  EXPECT_LE(moved_by(still, rendered_noise("(noise 4 3 [0.25 0] 3)", frame), 16, 0).largest, 4);
  EXPECT_LE(moved_by(still, rendered_noise("(noise 4 3 [0 0.25] 3)", frame), 0, 16).largest, 4);
}

TEST(noise, moves_smoothly_with_an_animated_shift) {
  const test_frame frame = {.width = 128, .height = 96};
  for (int t = 0; t < 40; ++t) {
    const auto at = [&](int k) { return rendered_noise("(noise 2 3 [" + std::to_string(k * 0.003) + " 0] 3)", frame); };
    // 0.003 is a fifth of a pixel.
    EXPECT_LT(moved_by(at(t), at(t + 1), 0, 0).largest, 130) << t;
  }
}

TEST(noise, of_part_of_a_frame_is_that_part_of_the_whole) {
  // What holds exactly: the lattice. Doublings end a step apart in pictures of different sizes, and the image reads
  // between their samples: the limit curve is the same, the chords of its last pieces are not.
  const test_frame whole = {.width = 256, .height = 192};
  for (const char* call : {"(noise 2 1 [0 0] 3)", "(noise 3 3 [0.4 0.1] 3)", "(noise [2 5] 4 [-7 3] 3)"}) {
    const rendered_noise full(call, whole);
    for (const auto& [x0, y0, w, h] :
         {std::array{0, 0, 128, 96}, {64, 50, 128, 96}, {128, 96, 128, 96}, {31, 17, 150, 150}}) {
      test_frame part = whole;
      part.x0 = x0;
      part.y0 = y0;
      part.x1 = x0 + w - 1;
      part.y1 = y0 + h - 1;
      const difference d = moved_by(rendered_noise(call, part), full, x0, y0);
      EXPECT_LE(d.largest, 90) << call << ' ' << x0 << ' ' << y0;
      EXPECT_LE(d.mean, 12) << call << ' ' << x0 << ' ' << y0;
    }
  }
}

TEST(noise, in_half_the_resolution_is_the_same_picture) {
  const rendered_noise full("(noise 3 3 [0.4 0.1] 3)", {.width = 256, .height = 192});
  const rendered_noise half("(noise 3 3 [0.4 0.1] 3)", {.width = 128, .height = 96, .scale = 0.5});
  int largest = 0;
  for (int y = 0; y < 96; ++y)
    for (int x = 0; x < 128; ++x) largest = std::max(largest, std::abs(half.at(x, y) - full.at(2 * x, 2 * y)));
  EXPECT_LE(largest, 90);
}

// --- the plan ----------------------------------------------------------------------------------------------

noise_view view_of(int width, int height, float pixel_aspect = 1) {
  return {width, height, 0, 0, width, height, float(height) / float(width), pixel_aspect};
}

TEST(noise_plan, begins_one_cell_before_the_image_and_ends_two_behind) {
  // 4 cells for half the width of 64: from -4 to 4; height 48: from -3 to 3.
  const noise_levels levels = plan_noise({4, 4, 1, 0, 0}, view_of(64, 48));
  EXPECT_EQ(levels.at[0].x, (noise_line{std::uint32_t(-5), 11, 64, 4096, 8 * 4096}));
  EXPECT_EQ(levels.at[0].y, (noise_line{std::uint32_t(-4), 9, 48, 4096, 6 * 4096}));
  // 11, 19, 35 columns and no more than 64; 9, 15, 27 rows.
  ASSERT_EQ(levels.count, 3);
  EXPECT_EQ(levels.at[2].x.samples, 35);
  EXPECT_EQ(levels.at[2].y.samples, 27);
  EXPECT_EQ(levels.at[2].x.first, std::uint32_t(2 * (2 * -5 + 1) + 1));
}

TEST(noise_plan, adds_an_octave_where_both_directions_double) {
  const noise_levels levels = plan_noise({4, 4, 2.9f, 0, 0}, view_of(640, 480));
  ASSERT_GE(levels.count, 5);
  EXPECT_EQ(levels.at[1].octave, 1);
  EXPECT_EQ(levels.at[2].octave, 0) << "2.9 octaves are two";
  // Rows of little frequency double on when columns have no more room: without octaves.
  const noise_levels uneven = plan_noise({100, 4, 9, 0, 0}, view_of(640, 480));
  EXPECT_EQ(uneven.at[1].octave, 1);
  const noise_level& last = uneven.at[uneven.count - 1];
  EXPECT_FALSE(last.doubles_x);
  EXPECT_TRUE(last.doubles_y);
  EXPECT_EQ(last.octave, 0);
}

TEST(noise_plan, limits_frequencies_to_the_room_there_is) {
  const noise_levels levels = plan_noise({1e6f, 1e6f, 3, 0, 0}, view_of(100, 80));
  ASSERT_EQ(levels.count, 1);
  // 48 cells for half the width; twice the rows less 4, at two cells for each of 0.8.
  EXPECT_EQ(levels.at[0].x.extent, 96 * 4096);
  EXPECT_NEAR(double(levels.at[0].y.extent), 156 * 4096, 1);
  EXPECT_LE(levels.at[0].x.samples, 100);
  EXPECT_LE(levels.at[0].y.samples, 160);
}

TEST(noise_plan, has_rows_twice_as_dense_where_they_would_run_out_first) {
  EXPECT_EQ(plan_noise({10, 10, 1, 0, 0}, view_of(100, 80)).at[0].y.room, 80);
  EXPECT_EQ(plan_noise({10, 60, 1, 0, 0}, view_of(100, 80)).at[0].y.room, 160);
  // Pixels that are taller than wide leave fewer rows for the same frequency: the third octave needs the room.
  EXPECT_EQ(plan_noise({11, 11, 3, 0, 0}, view_of(100, 80, 1.2f)).at[0].y.room, 160);
  EXPECT_EQ(plan_noise({11, 11, 1, 0, 0}, view_of(100, 80, 1.2f)).at[0].y.room, 80);
}

TEST(noise_plan, leaves_tiny_images_without_cells) {
  for (int size : {1, 2, 3, 4}) {
    const noise_levels levels = plan_noise({5, 5, 3, 0, 0}, view_of(size, size));
    EXPECT_EQ(levels.count, 1);
    EXPECT_EQ(levels.at[0].x.extent, 0);
    EXPECT_LE(levels.at[0].x.samples, size);
  }
}

// --- stops -------------------------------------------------------------------------------------------------

TEST(noise, stops_when_the_host_asks_for_it) {
  for (int asks = 0; asks < 12; ++asks) {
    definition_renderer r("(define N (Source) () dest = (+ Source (element_of (noise3 3 5 [0 0] 1) 0)))",
                          {.width = 200, .height = 150});
    EXPECT_FALSE(render_until_question(r, asks));
  }
}

TEST(noise2, without_a_scale_passes_its_zero) {
  // Two elements from one zero: the constant stands for the whole.
  definition_renderer r("(define N (Source) () dest = (+ Source (element_of (noise2 4 3 [0 0] 1 0) 1)))",
                        {.width = 20, .height = 9});
  r.set_source(0, [](int x, int, int) { return x; });
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 7, 3), 7);
}

}  // namespace
}  // namespace tessaron::testing
