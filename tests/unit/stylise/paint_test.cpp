// paint: its strokes keep to the image's colours, to their lattice and to their seed.
#include "operators/paint.h"
#include "evaluator/bounds.h"
#include "stylise_kit.h"

namespace tessaron::testing {
namespace {

constexpr int WIDTH = 192, HEIGHT = 108;
constexpr test_frame FRAME = {.width = WIDTH, .height = HEIGHT};

std::string paint_definition(const std::string& image = "Source") {
  return "(define P (Source) (rgba_ok)\n  f = 10 blur = 0 follow = 1 gblur = 0.05 seed = 1\n"
         "  dest = (paint " +
         image + " f blur follow gblur seed))";
}

struct setting {
  const char* name;
  float value;
};
planes_of_result painted(const std::vector<setting>& settings, const picture& source, const test_frame& frame = FRAME,
                         const std::string& image = "Source") {
  definition_renderer r(paint_definition(image), frame);
  r.set_source(0, source);
  for (const setting& s : settings) r.set_param(s.name, {s.value});
  return rendered(r);
}

/// How far a stroke's brightness may be off, in both directions: tone, bristles and light.
constexpr double TONE = 0.11;

TEST(paint, keeps_a_flat_colour_but_for_the_tone_of_strokes) {
  for (const fix value : {0, 700, 2048, 4096}) {
    const planes_of_result got =
        painted({}, flat_picture(value), {.width = WIDTH, .height = HEIGHT, .source_channels = 4});
    for (std::size_t e = 0; e < 3; ++e)
      for (const fix v : got[e]) ASSERT_NEAR(v, value, value * TONE + 1);
    for (const fix v : got[3]) ASSERT_EQ(v, FIX_ONE);  // alpha has no tone
    double mean = 0;
    for (const fix v : got[0]) mean += v;
    EXPECT_NEAR(mean / double(got[0].size()), value, value * 0.02 + 1);
  }
}

TEST(paint, shows_its_strokes_in_a_flat_colour) {
  const planes_of_result got = painted({}, flat_picture(2048));
  int different = 0;
  for (std::size_t i = 1; i < got[0].size(); ++i) different += got[0][i] != got[0][i - 1];
  EXPECT_GT(different, int(got[0].size()) / 4);
}

TEST(paint, covers_every_pixel) {
  // Strokes take their colour from one place. On a picture of single bright pixels among dark ones, no pixel may keep
  // its own value: paint lies everywhere.
  const auto points = [](int x, int y, int) { return x % 3 == 0 && y % 3 == 0 ? 30000 : 0; };
  for (const float f : {3.0f, 10.0f, 30.0f}) {
    for (const float seed : {1.0f, 2.0f, 3.0f}) {
      const planes_of_result got = painted({{"f", f}, {"seed", seed}, {"follow", 0}}, points);
      int kept = 0;
      for (int y = 0; y < HEIGHT; y += 3)
        for (int x = 0; x < WIDTH; x += 3) kept += got[0][std::size_t(y * WIDTH + x)] > 29000;
      EXPECT_LE(kept, 12) << "frequency " << f << ", seed " << seed;  // strokes that happen to begin on a bright one
    }
  }
}

TEST(paint, stays_near_the_picture) {
  const picture hills = landscape_picture({WIDTH, HEIGHT});
  const auto distance = [&](float f) {
    const planes_of_result got = painted({{"f", f}}, hills);
    double sum = 0;
    for (int y = 0; y < HEIGHT; ++y)
      for (int x = 0; x < WIDTH; ++x)
        for (int e = 0; e < 3; ++e) sum += std::abs(got[std::size_t(e)][std::size_t(y * WIDTH + x)] - hills(x, y, e));
    return sum / (3.0 * WIDTH * HEIGHT);
  };
  EXPECT_LT(distance(30), 90);
  EXPECT_LT(distance(10), 220);
  EXPECT_LT(distance(30), distance(10));
  EXPECT_LT(distance(10), distance(3));
}

TEST(paint, is_the_same_each_time_and_another_with_another_seed) {
  const picture hills = landscape_picture({WIDTH, HEIGHT});
  const planes_of_result one = painted({}, hills);
  EXPECT_EQ(first_difference(painted({}, hills), one), "");
  EXPECT_GT(mean_difference(painted({{"seed", 2}}, hills), one), 15);
  EXPECT_GT(mean_difference(painted({{"seed", 1.25f}}, hills), one), 15);
  EXPECT_GT(mean_difference(painted({{"seed", -1}}, hills), one), 15);
}

TEST(paint, agrees_at_all_levels_and_with_any_number_of_workers) {
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{192, 108}, {1, 1}, {1, 9}, {9, 1}, {67, 33}}) {
    for (const float f : {5.0f, 40.0f}) {
      definition_renderer r(paint_definition(), {.width = width, .height = height, .source_channels = 4});
      r.set_source(0, landscape_picture({width, height}));
      r.set_param("f", {f});
      r.set_param("blur", {0.02f});
      same_everywhere(r);
    }
  }
}

TEST(paint, takes_images_of_one_to_four_elements) {
  const test_frame frame = {.width = WIDTH, .height = HEIGHT, .source_channels = 4};
  const picture grey = [](int x, int y, int) { return landscape_picture({WIDTH, HEIGHT})(x, y, 0); };
  // Where all elements are alike the strokes run alike, and so do all elements but alpha, which has no tone.
  const planes_of_result four = painted({}, grey, frame), three = painted({}, grey, frame, "(remove_alpha Source)");
  const planes_of_result one = painted({}, grey, frame, "(element_of Source 0)");
  const planes_of_result two = painted({}, grey, frame, "(v2 (element_of Source 0) (element_of Source 1))");
  ASSERT_EQ(one.size(), 1u);
  ASSERT_EQ(two.size(), 2u);
  EXPECT_EQ(two[0], one[0]);
  EXPECT_EQ(two[1], one[0]);
  EXPECT_EQ(three[0], one[0]);
  EXPECT_EQ(three[2], one[0]);
  EXPECT_EQ(four[1], one[0]);
  EXPECT_NE(four[3], one[0]);
}

TEST(paint, without_strokes_is_the_blurred_image) {
  const picture noise = random_picture(WIDTH, 0, 4096);
  EXPECT_EQ(first_difference(painted({{"f", 0}}, noise),
                             rendered("(define N (Source) (rgba_ok) dest = Source)", FRAME, noise)),
            "");
  EXPECT_EQ(
      first_difference(painted({{"f", 0}, {"blur", 0.1f}}, noise),
                       rendered("(define B (Source) (rgba_ok) dest = (blur Source [0.1 0.1] 2 1 1))", FRAME, noise)),
      "");
}

TEST(paint, strokes_are_never_finer_than_two_pixels) {
  // 192 pixels hold 48 strokes of two pixels to a half frame.
  const picture hills = landscape_picture({WIDTH, HEIGHT});
  const planes_of_result finest = painted({{"f", 48}}, hills);
  for (const float f : {50.0f, 1000.0f, 5e5f}) EXPECT_EQ(first_difference(painted({{"f", f}}, hills), finest), "") << f;
  EXPECT_NE(first_difference(painted({{"f", 40}}, hills), finest), "");
}

TEST(paint, a_negative_frequency_counts_by_its_size) {
  const picture hills = landscape_picture({WIDTH, HEIGHT});
  EXPECT_EQ(first_difference(painted({{"f", -10}}, hills), painted({{"f", 10}}, hills)), "");
}

/// How much a picture changes along a direction, over how much it changes across it.
double coherence(const std::vector<fix>& p, int x0, int x1) {
  double along = 0, across = 0;
  for (int y = 20; y < HEIGHT - 20; ++y)
    for (int x = x0; x < x1; ++x) {
      across += std::abs(p[std::size_t(y * WIDTH + x + 1)] - p[std::size_t(y * WIDTH + x)]);
      along += std::abs(p[std::size_t((y + 1) * WIDTH + x)] - p[std::size_t(y * WIDTH + x)]);
    }
  return along / across;
}

TEST(paint, strokes_follow_edges_as_far_as_follow_grad_says) {
  // A ramp from left to right: edges run up and down, and so do the strokes that follow them.
  const auto ramp = [](int x, int, int) { return 200 + x * 20; };
  const auto run = [&](float follow) {
    double sum = 0;
    for (const float seed : {1.0f, 2.0f, 3.0f, 4.0f})
      sum += coherence(painted({{"follow", follow}, {"seed", seed}}, ramp)[0], 20, WIDTH - 20);
    return sum / 4;
  };
  const double none = run(0), some = run(1), all = run(20);
  EXPECT_LT(all, some);
  EXPECT_LT(some, none);
  EXPECT_LT(all, 0.75 * none);
}

TEST(paint, strokes_follow_both_sides_of_a_thin_line) {
  // The slopes of a line's two sides cancel when they are blurred; its direction must not.
  const auto line = [](int x, int, int) { return std::abs(x - WIDTH / 2) < 2 ? 4096 : 1000; };
  double with_line = 0, without = 0;
  for (const float seed : {1.0f, 2.0f, 3.0f, 4.0f}) {
    with_line +=
        coherence(painted({{"follow", 20}, {"gblur", 1}, {"seed", seed}}, line)[0], WIDTH / 2 + 4, WIDTH / 2 + 20);
    without += coherence(painted({{"follow", 0}, {"seed", seed}}, line)[0], WIDTH / 2 + 4, WIDTH / 2 + 20);
  }
  EXPECT_LT(with_line, 0.8 * without);
}

TEST(paint, strokes_keep_their_places_while_settings_change) {
  // In each of 60 small steps the painting moves a little and is never another one.
  definition_renderer r(paint_definition(), FRAME);
  r.set_source(0, landscape_picture({WIDTH, HEIGHT}));
  const planes_of_result one = rendered(r);
  r.set_param("seed", {2});
  const double another = mean_difference(one, rendered(r));
  r.set_param("seed", {1});
  EXPECT_LT(sweep(r, "f", {10}, {10.6f}).mean, 0.3 * another);
  r.set_param("f", {10});
  EXPECT_LT(sweep(r, "blur", {0}, {0.1f}).mean, 0.3 * another);
  r.set_param("blur", {0});
  EXPECT_LT(sweep(r, "follow", {0}, {2}).mean, 0.3 * another);
  r.set_param("follow", {1});
  EXPECT_LT(sweep(r, "gblur", {0.02f}, {0.2f}).mean, 0.3 * another);
}

TEST(paint, a_part_of_the_frame_has_the_strokes_of_the_whole) {
  const picture hills = landscape_picture({WIDTH, HEIGHT});
  const planes_of_result whole = painted({{"gblur", 0}, {"f", 16}}, hills);
  test_frame part = FRAME;
  part.x0 = 30, part.y0 = 20, part.x1 = 169, part.y1 = 99;
  const planes_of_result cut = painted({{"gblur", 0}, {"f", 16}}, hills, part);
  // Strokes from beyond the part's edges take the edge's colour; inside by a stroke's reach all are alike.
  const int reach = int(WIDTH / 2 / 16 * 1.6 * 3.3) + 2;
  for (int y = part.y0 + reach; y <= part.y1 - reach; ++y)
    for (int x = part.x0 + reach; x <= part.x1 - reach; ++x)
      for (std::size_t e = 0; e < 3; ++e)
        ASSERT_NEAR(cut[e][std::size_t((y - part.y0) * 140 + x - part.x0)], whole[e][std::size_t(y * WIDTH + x)], 1)
            << x << "," << y;
}

TEST(paint, looks_the_same_at_half_the_resolution) {
  const planes_of_result large =
      painted({{"f", 6}}, landscape_picture({2 * WIDTH, 2 * HEIGHT}), {.width = 2 * WIDTH, .height = 2 * HEIGHT});
  const planes_of_result small = painted({{"f", 6}}, landscape_picture({WIDTH, HEIGHT}));
  double sum = 0;
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      const auto at = [&](int i, int j) { return large[0][std::size_t((2 * y + j) * 2 * WIDTH + 2 * x + i)]; };
      sum += std::abs(small[0][std::size_t(y * WIDTH + x)] - (at(0, 0) + at(1, 0) + at(0, 1) + at(1, 1)) / 4);
    }
  const double another = mean_difference(small, painted({{"f", 6}, {"seed", 2}}, landscape_picture({WIDTH, HEIGHT})));
  EXPECT_LT(sum / (WIDTH * HEIGHT), 0.4 * another);
}

TEST(paint, any_settings_at_all_stay_within_a_plane) {
  definition_renderer r(paint_definition(), {.width = 33, .height = 17, .source_channels = 4});
  r.set_source(0, random_picture(33, -40000, 40000));
  for (const char* name : {"f", "blur", "follow", "gblur", "seed"})
    for (const float v : {0.0f, -1.0f, 1e-3f, 60.0f, 5e5f, -5e5f}) {
      for (const char* other : {"blur", "follow", "gblur"}) r.set_param(other, {0.1f});
      r.set_param("f", {4});
      r.set_param(name, {v});
      for (const auto& plane : rendered(r))
        for (const fix sample : plane) ASSERT_LE(std::abs(sample), 32767) << name << " " << v;
    }
}

TEST(paint, tall_pixels_keep_strokes_upright) {
  // On pixels twice as tall as wide a frame of half the rows shows the same strokes.
  const picture hills = landscape_picture({WIDTH, HEIGHT}), halved = landscape_picture({WIDTH, HEIGHT / 2});
  const planes_of_result square = painted({{"f", 6}}, hills);
  const planes_of_result tall = painted({{"f", 6}}, halved, {.width = WIDTH, .height = HEIGHT / 2, .pixel_aspect = 2});
  double sum = 0;
  for (int y = 0; y < HEIGHT / 2; ++y)
    for (int x = 0; x < WIDTH; ++x)
      sum +=
          std::abs(tall[0][std::size_t(y * WIDTH + x)] -
                   (square[0][std::size_t(2 * y * WIDTH + x)] + square[0][std::size_t((2 * y + 1) * WIDTH + x)]) / 2);
  EXPECT_LT(sum / (WIDTH * HEIGHT / 2), 0.4 * mean_difference(square, painted({{"f", 6}, {"seed", 2}}, hills)));
}

TEST(paint, an_abort_ends_it_at_any_stage) {
  definition_renderer r(paint_definition(), {.width = 64, .height = 200});
  r.set_source(0, landscape_picture({64, 200}));
  r.set_param("blur", {0.05f});
  r.set_param("f", {30});
  abort_at_every_question(r);
}

TEST(stylisers, refuse_a_node_with_missing_planes) {
  for (const auto& [text, message] : std::vector<std::pair<std::string, std::string>>{
           {"(paint Source 5 0 1 0 1)", "node dest has image_count 3, expected 5."},
           {"(flys_eye Source xy [5 5] [0 0] 0 2 0 1 0 [0 0])", "node dest has image_count 2, expected 3."},
           {"(drops (element_of Source 0) xy 1 [5 5] 0 0 [0 1] [0 0] 5)",
            "node dest has image_count 1, expected 2."}}) {
    definition_renderer r("(define S (Source) () dest = " + text + ")", {.width = 8, .height = 8});
    ASSERT_TRUE(r.render());
    node& n = r.root();
    const auto planes = n.image_count;
    n.image_count = std::int8_t(planes - (text[1] == 'p' ? 2 : 1));
    report_capture reports;
    EXPECT_ANY_THROW(n.image_fun(n));
    EXPECT_TRUE(reports.has(message) || reports.all().find(message) != std::string::npos) << reports.all();
    n.image_count = planes;
    std::int16_t* const plane = n.images[0];
    n.images[0] = nullptr;
    EXPECT_ANY_THROW(n.image_fun(n));
    n.images[0] = plane;
  }
}

TEST(stylisers, refuse_an_element_count_without_rows) {
  // No declared combination leads here; a record that says so all the same is refused.
  definition_renderer r("(define S (Source) () dest = (drops (element_of Source 0) xy 1 [5 5] 0 0 [0 1] [0 0] 5))",
                        {.width = 8, .height = 8});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.root().elnum, 2);
  node& n = r.root();
  n.elnum = 1;
  report_capture reports;
  EXPECT_ANY_THROW(n.image_fun(n));
  n.elnum = 2;
  EXPECT_NE(reports.all().find("image_process_pixels_loop: no fun for elnum 1."), std::string::npos) << reports.all();
}

TEST(paint, asks_for_as_many_pixels_around_as_its_strokes_reach) {
  const auto reach = [](const std::string& arguments, float pixel_aspect = 1) {
    definition_renderer r("(define L (Source) () dest = (paint Source " + arguments + "))",
                          {.width = 80, .height = 40, .pixel_aspect = pixel_aspect});
    EXPECT_TRUE(r.render());
    return bounds_of_tree(r.effect(), make_rectangle(0, 0, 79, 39));
  };
  // Main strokes lie 4 pixels apart, those of the ground 6.4: half as long as 1.595 and as wide as 1.071 of that, which
  // is 17.1 pixels. Two more are read between samples and for slopes.
  EXPECT_EQ(reach("10 0 1 0 1"), make_rectangle(-20, -20, 99, 59));
  EXPECT_EQ(reach("-10 0 1 0 1"), make_rectangle(-20, -20, 99, 59));
  // An eighth of the frame's width for each 1.0 of the two blurs.
  EXPECT_EQ(reach("10 0.125 1 0.25 1"), make_rectangle(-25, -25, 104, 64));
  EXPECT_EQ(reach("10 0.125 1 0.25 1", 2), make_rectangle(-25, -14, 104, 53));
  EXPECT_EQ(reach("0 0 1 0 1"), make_rectangle(-2, -2, 81, 41));
  EXPECT_EQ(reach("x 0 1 0 1"), everything());
}

}  // namespace
}  // namespace tessaron::testing
