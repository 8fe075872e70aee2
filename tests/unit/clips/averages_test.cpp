// ave_in_rect and ave_in_matte against sums worked out by hand or pixel by pixel.
#include <gtest/gtest.h>

#include <numeric>

#include "clip_kit.h"

namespace tessaron::testing {
namespace {

const char* const IN_RECT = "(define T (A) () at = [0 0] size = [1 1] dest = (ave_in_rect A at size))";
const char* const IN_MATTE = "(define T (A M) () dest = (ave_in_matte A (element_of M 0)))";

/// Nearest whole number, ties to even.
fix nearest(std::int64_t sum, std::int64_t count) { return fix(std::nearbyint(double(sum) / double(count))); }

/// All samples of the result hold `value` in element e.
void expect_full_of(const definition_renderer& r, int e, fix value) {
  for (int y = r.frame_size().y0; y <= r.frame_size().y1; ++y)
    for (int x = r.frame_size().x0; x <= r.frame_size().x1; ++x) ASSERT_EQ(r.at(e, x, y), value) << x << "," << y;
}

struct pixels {
  int x0, y0, x1, y1;  // inside
};
void expect_mean_of(picture_size size, std::vector<float> at, std::vector<float> extent, pixels in, int channels = 3,
                    float pixel_aspect = 1) {
  definition_renderer r(
      IN_RECT, {.width = size.width, .height = size.height, .source_channels = channels, .pixel_aspect = pixel_aspect});
  const auto picture = random_picture(size.width, -32767, 32767);
  r.set_source(0, picture);
  r.set_param("at", at);
  r.set_param("size", extent);
  same_everywhere(r);
  ASSERT_EQ(r.elnum(), channels);
  for (int e = 0; e < channels; ++e) {
    std::int64_t sum = 0;
    for (int y = in.y0; y <= in.y1; ++y)
      for (int x = in.x0; x <= in.x1; ++x) sum += picture(x, y, e);
    expect_full_of(r, e, nearest(sum, std::int64_t(in.x1 - in.x0 + 1) * (in.y1 - in.y0 + 1)));
  }
}

// A frame of 16 by 8: columns lie at (2i + 1) / 16 - 1, rows at 1/2 - (2j + 1) / 16.

TEST(ave_in_rect, counts_the_pixels_whose_centres_lie_inside) {
  expect_mean_of({16, 8}, {0.25f, 0.125f}, {0.5f, 0.25f}, {8, 2, 11, 3});
  expect_mean_of({16, 8}, {-0.75f, -0.375f}, {0.5f, 0.25f}, {0, 6, 3, 7});
  expect_mean_of({16, 8}, {0, 0}, {2, 1}, {0, 0, 15, 7});
}

TEST(ave_in_rect, takes_any_number_of_channels) {
  for (const int channels : {1, 2, 3, 4})
    expect_mean_of({16, 8}, {0.25f, 0.125f}, {0.5f, 0.25f}, {8, 2, 11, 3}, channels);
}

TEST(ave_in_rect, is_clipped_to_the_frame) {
  expect_mean_of({16, 8}, {0, 0}, {500000, 500000}, {0, 0, 15, 7});
  expect_mean_of({16, 8}, {1, 0.5f}, {0.5f, 0.5f}, {14, 0, 15, 1});
}

TEST(ave_in_rect, includes_its_lower_ends_and_not_its_upper_ones) {
  // Columns at 1/16 and 3/16 are the ends of the rectangle.
  expect_mean_of({16, 8}, {0.125f, 0.125f}, {0.125f, 0.25f}, {8, 2, 8, 3});
}

TEST(ave_in_rect, without_a_pixel_inside_is_the_pixel_under_its_centre) {
  expect_mean_of({16, 8}, {0.2f, 0.2f}, {0, 0}, {9, 2, 9, 2});
  expect_mean_of({16, 8}, {0.2f, 0.2f}, {0.01f, 0.01f}, {9, 2, 9, 2});
  expect_mean_of({16, 8}, {0.2f, 0.2f}, {-1, -1}, {9, 2, 9, 2});
  expect_mean_of({16, 8}, {7, -7}, {0.5f, 0.5f}, {15, 7, 15, 7});
  expect_mean_of({16, 8}, {-500000, 500000}, {0.5f, 0.5f}, {0, 0, 0, 0});
  expect_mean_of({16, 8}, {0.2f, 0}, {0, 1}, {9, 0, 9, 7});
}

TEST(ave_in_rect, of_pixels_that_are_not_square_is_square_on_the_screen) {
  // Pixels twice as tall as wide: rows at 1 - (2j + 1) / 8.
  expect_mean_of({16, 8}, {0, 0.5f}, {0.5f, 0.5f}, {6, 1, 9, 2}, 3, 2.0f);
}

TEST(ave_in_rect, of_every_size_is_the_mean_of_all) {
  for (const picture_size size : SIZES)
    expect_mean_of(size, {0, 0}, {300, 300}, {0, 0, size.width - 1, size.height - 1});
}

TEST(ave_in_rect, moves_with_a_rectangle_that_is_computed) {
  definition_renderer r("(define T (A) () dest = (ave_in_rect A (v2 (get_frame_number) 0) [0.25 10]))",
                        {.width = 16, .height = 8});
  r.set_source(0, [](int x, int, int) { return 100 * x; });
  for (const int frame : {0, 1}) {
    time_globals.current_frame = float(frame);
    ASSERT_TRUE(r.render());
    EXPECT_EQ(r.at(0, 5, 5), frame ? 1500 : 750) << "columns 7 and 8, then 15 alone";
  }
  time_globals = {};
}

/// The mean of a row of samples.
fix mean_of_row(const std::vector<fix>& samples) {
  definition_renderer r(IN_RECT, {.width = int(samples.size()), .height = 1});
  r.set_source(0, [&](int x, int, int) { return samples[std::size_t(x)]; });
  r.set_param("size", {3, 3});
  EXPECT_TRUE(r.render());
  return r.at(0, 0, 0);
}

TEST(ave_in_rect, is_rounded_to_the_nearest_and_ties_to_even) {
  EXPECT_EQ(mean_of_row({0, 1}), 0);
  EXPECT_EQ(mean_of_row({1, 2}), 2);
  EXPECT_EQ(mean_of_row({-1, 0}), 0);
  EXPECT_EQ(mean_of_row({-1, -2}), -2);
  EXPECT_EQ(mean_of_row({0, 0, 2}), 1);
  EXPECT_EQ(mean_of_row({0, 0, 1}), 0);
  EXPECT_EQ(mean_of_row({-2, 0, 0}), -1);
  EXPECT_EQ(mean_of_row({0, 0, -1}), 0);
  EXPECT_EQ(mean_of_row({32767, 32767, 32767}), 32767);
  EXPECT_EQ(mean_of_row({-32767, -32767}), -32767);
}

TEST(ave_in_rect, sums_large_frames_without_loss) {
  definition_renderer r(IN_RECT, {.width = 3000, .height = 200});
  r.set_source(0, [](int x, int y, int e) { return e == 0 ? 32767 : e == 1 ? -32767 : x == 0 && y == 0 ? 0 : 4096; });
  r.set_param("size", {3, 3});
  same_everywhere(r);
  EXPECT_EQ(r.at(0, 7, 7), 32767);
  EXPECT_EQ(r.at(1, 7, 7), -32767);
  EXPECT_EQ(r.at(2, 7, 7), 4096) << "4096 * 599999 / 600000 is 4095.99";
}

// --- ave_in_matte ----------------------------------------------------------------------------------------

TEST(ave_in_matte, weighs_each_pixel_by_the_matte) {
  for (const picture_size size : SIZES)
    for (const int channels : {1, 2, 3, 4}) {
      definition_renderer r(IN_MATTE, {.width = size.width, .height = size.height, .source_channels = channels});
      const auto picture = random_picture(size.width, -32767, 32767),
                 matte = random_picture(size.width, -2000, 6000, 9);
      r.set_source(0, picture);
      r.set_source(1, matte);
      same_everywhere(r);
      ASSERT_EQ(r.elnum(), channels);
      for (int e = 0; e < channels; ++e) {
        std::int64_t sum = 0, weights = 0;
        for (int y = 0; y < size.height; ++y)
          for (int x = 0; x < size.width; ++x) {
            const fix weight = std::clamp(matte(x, y, 0), 0, 4096);
            sum += std::int64_t(picture(x, y, e)) * weight;
            weights += weight;
          }
        expect_full_of(r, e, weights ? nearest(sum, weights) : 0);
      }
    }
}

TEST(ave_in_matte, of_a_hard_matte_is_the_plain_mean_inside) {
  definition_renderer r(IN_MATTE, {.width = 8, .height = 2});
  r.set_source(0, [](int x, int y, int) { return 10 * x + y; });
  r.set_source(1, [](int x, int, int) { return x >= 2 && x < 5 ? 4096 : 0; });
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 7, 1), 30) << "30.5 goes to even";
}

TEST(ave_in_matte, of_an_empty_matte_is_0) {
  for (const fix matte : {0, -3000}) {
    definition_renderer r(IN_MATTE, {.width = 8, .height = 2});
    r.set_source(0, [](int, int, int) { return 3000; });
    r.set_source(1, [=](int, int, int) { return matte; });
    ASSERT_TRUE(r.render());
    expect_full_of(r, 0, 0);
  }
}

TEST(ave_in_matte, takes_a_matte_that_is_the_same_everywhere) {
  definition_renderer r("(define T (A) () dest = (ave_in_matte A 0.5))", {.width = 4, .height = 1});
  r.set_source(0, [](int x, int, int) { return 100 * x; });
  ASSERT_TRUE(r.render());
  expect_full_of(r, 0, 150);
}

TEST(ave_in_matte, refuses_element_counts_that_do_not_fit) {
  definition_renderer r("(define Wrong (A) () dest = (ave_in_matte A 0.5))", {.width = 4, .height = 1});
  ASSERT_TRUE(r.render());
  node& n = *r.calls_of("ave_in_matte")[0];
  report_capture reports;
  n.args[1]->elnum = 3;
  EXPECT_THROW(n.image_fun(n), TessaronAbortException);
  n.args[1]->elnum = 1;
  n.elnum = 2;
  EXPECT_THROW(n.image_fun(n), TessaronAbortException);
  n.elnum = 3;
  EXPECT_EQ(reports.severity_of("Wrong_ave_in_matte has arg 1 elnum 3, expected 1"), REPORT_ERROR) << reports.all();
  EXPECT_EQ(reports.severity_of("Wrong_ave_in_matte has return elnum 2 expected 3"), REPORT_ERROR);
}

TEST(clip_functions, refuse_to_work_without_their_planes) {
  for (const char* call : {"(ave_in_rect A [0 0] [1 1])", "(ave_in_matte A (element_of A 0))", "(extract_field A 0)",
                           "(time_warp A 0 0)", "(get_frame A 0 0)", "(interlace_get_frames A 0 0 A 0 1 0 0)"}) {
    definition_renderer r(std::string("(define T (A) () dest = ") + call + ")", {.width = 4, .height = 3});
    ASSERT_TRUE(r.render()) << call;
    node& n = r.root();
    report_capture reports;
    const std::string name = n.name ? n.name : n.fun->name;
    const int count = n.image_count;
    n.image_count = std::int8_t(count + 1);
    EXPECT_THROW(n.image_fun(n), TessaronAbortException) << call;
    n.image_count = std::int8_t(count);
    std::int16_t* const plane = std::exchange(n.images[0], nullptr);
    EXPECT_THROW(n.image_fun(n), TessaronAbortException) << call;
    n.images[0] = plane;
    EXPECT_TRUE(reports.has("node " + name + " has image_count " + std::to_string(count + 1) + ", expected " +
                            std::to_string(count) + "."))
        << reports.all();
    EXPECT_TRUE(reports.has("node " + name + " has NULL image 0.")) << reports.all();
  }
}

}  // namespace
}  // namespace tessaron::testing
