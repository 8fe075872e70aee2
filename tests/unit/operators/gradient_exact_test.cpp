// grad against the shared step written out plainly: blur, scale, difference of neighbours.
#include <gtest/gtest.h>

#include "evaluator/bounds.h"
#include "gradient_kit.h"
#include "tests/support/plain_blur.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

const char* const GRAD =
    "(define G (Source) () pre_blur = 0 scale = 1 subpixel = 0 dest = (grad (element_of Source 0) pre_blur scale "
    "subpixel))";

struct gradient_case {
  picture_size size;
  float pre_blur, scale;
  bool subpixel;
  float pixel_aspect;
};

std::int64_t held(std::int64_t v) { return std::clamp<std::int64_t>(v, -32767, 32767); }

/// dx and dy of every pixel.
std::vector<std::vector<fix>> plain_gradient(const plain_plane& source, const gradient_case& c) {
  const fix pre_blur = fix(std::nearbyint(double(c.pre_blur) * 4096)),
            scale = fix(std::nearbyint(double(c.scale) * 4096));
  const fix amount = fix(std::min<std::int64_t>(pre_blur, 64 * 4096) * c.size.width >> 3);
  std::int32_t one = 0;
  const plain_long_image blurred = plain_blur(source,
                                              {.x_amount = amount,
                                               .y_amount = amount,
                                               .subpixel = c.subpixel,
                                               .pixel_aspect_on = c.pixel_aspect != 1,
                                               .y_scale = 1 / c.pixel_aspect},
                                              one);
  const float factor = (float(scale) / 4096.0f) / (float(one) / 4096.0f);
  const auto sample = [&](int x, int y) -> std::int64_t {
    if (scale == 4096 && one == 4096) return blurred.at(x, y);
    return std::int64_t(std::nearbyintf(float(blurred.at(x, y)) * factor));
  };
  const int w = c.size.width, h = c.size.height;
  const bool field_lines = c.pixel_aspect > 1.6f;
  std::vector<std::vector<fix>> result(2);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      std::int64_t dx = sample(std::min(x + 1, w - 1), y) - sample(std::max(x - 1, 0), y);
      if (x == 0 || x == w - 1) dx *= 2;
      std::int64_t dy = sample(x, std::max(y - 1, 0)) - sample(x, std::min(y + 1, h - 1));
      const int f = (field_lines ? 0 : 1) + (y == 0 || y == h - 1 ? 1 : 0);
      dy = std::int64_t(std::floor(double(dy << f) / 2));
      result[0].push_back(fix(held(dx)));
      result[1].push_back(fix(held(dy)));
    }
  return result;
}

void expect_plain_gradient(const gradient_case& c, const definition_renderer::pixel_function& source) {
  definition_renderer r(GRAD, {.width = c.size.width, .height = c.size.height, .pixel_aspect = c.pixel_aspect});
  r.set_source(0, source);
  r.set_param("pre_blur", {c.pre_blur});
  r.set_param("scale", {c.scale});
  r.set_param("subpixel", {c.subpixel ? 1.0f : 0.0f});
  const planes_of_result got = same_everywhere(r);
  const plain_plane plane(c.size.width, c.size.height, [&](int x, int y) { return int(held(source(x, y, 0))); });
  const auto expected = plain_gradient(plane, c);
  for (int e = 0; e < 2; ++e)
    for (int i = 0; i < c.size.width * c.size.height; ++i)
      ASSERT_EQ(got[std::size_t(e)][std::size_t(i)], expected[std::size_t(e)][std::size_t(i)])
          << (e ? "dy" : "dx") << " at " << i % c.size.width << "," << i / c.size.width << " of " << c.size.width << "x"
          << c.size.height << ", pre_blur " << c.pre_blur << ", scale " << c.scale << ", subpixel " << c.subpixel
          << ", aspect " << c.pixel_aspect;
}

TEST(grad, is_the_difference_of_neighbours_at_every_size) {
  for (const picture_size size : SIZES)
    for (const float scale : {1.0f, 0.5f, -2.5f})
      expect_plain_gradient({size, 0, scale, false, 1}, random_picture(size.width, -2000, 9000));
}

TEST(grad, is_taken_of_the_blurred_image) {
  for (const picture_size size : SIZES)
    for (const float pre_blur : {0.05f, 0.4f, 3.0f})
      for (const bool subpixel : {false, true})
        expect_plain_gradient({size, pre_blur, 1, subpixel, 1}, random_picture(size.width, -2000, 9000));
}

TEST(grad, scales_the_blurred_image_before_the_difference) {
  for (const float scale : {0.3f, 7.0f, -40.0f, 3000.0f})
    for (const bool subpixel : {false, true})
      expect_plain_gradient({{67, 31}, 0.3f, scale, subpixel, 1}, random_picture(67, 0, 4096));
}

TEST(grad, halves_dy_where_rows_are_the_lines_of_a_field) {
  for (const picture_size size : SIZES)
    for (const float pre_blur : {0.0f, 0.5f})
      expect_plain_gradient({size, pre_blur, 1, false, 2}, random_picture(size.width, -30000, 30000));
}

TEST(grad, leaves_dy_whole_on_pixels_that_are_only_a_little_tall) {
  for (const float aspect : {1.0667f, 1.6f, 0.5f})
    expect_plain_gradient({{40, 30}, 0.2f, 1, false, aspect}, random_picture(40, 0, 4096));
}

TEST(grad, is_held_to_what_a_plane_stores) {
  const auto checks = [](int x, int y, int) { return (x / 2 + y / 2) % 2 ? 32767 : -32767; };
  for (const float aspect : {1.0f, 2.0f})
    for (const float scale : {1.0f, -1.0f, 5.0f, 200.0f})
      expect_plain_gradient({{19, 11}, 0, scale, false, aspect}, checks);
}

TEST(grad, of_a_picture_worked_out_by_hand) {
  // Rows from the top. Inside: right less left, above less below. At an edge: twice the one-sided difference.
  const fix picture[3][4] = {{0, 100, 300, 700}, {10, 20, 40, 80}, {-5, -5, 1000, 0}};
  const fix dx[3][4] = {{200, 300, 600, 800}, {20, 30, 60, 80}, {0, 1005, 5, -2000}};
  const fix dy[3][4] = {{-20, 160, 520, 1240}, {5, 105, -700, 700}, {30, 50, -1920, 160}};
  definition_renderer r(GRAD, {.width = 4, .height = 3});
  r.set_source(0, [&](int x, int y, int) { return picture[y][x]; });
  ASSERT_TRUE(r.render());
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x) {
      EXPECT_EQ(r.at(0, x, y), dx[y][x]) << "dx " << x << "," << y;
      EXPECT_EQ(r.at(1, x, y), dy[y][x]) << "dy " << x << "," << y;
    }
}

TEST(grad, of_field_lines_rounds_halves_down) {
  definition_renderer r(GRAD, {.width = 1, .height = 4, .pixel_aspect = 2.0f});
  r.set_source(0, [](int, int y, int) { return std::vector<fix>{0, 3, 5, 0}[std::size_t(y)]; });
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(1, 0, 0), -3);  // one-sided: 0 - 3
  EXPECT_EQ(r.at(1, 0, 1), -3);  // half of 0 - 5
  EXPECT_EQ(r.at(1, 0, 2), 1);   // half of 3 - 0
  EXPECT_EQ(r.at(1, 0, 3), 5);
}

TEST(grad, of_a_flat_image_is_zero) {
  for (const float pre_blur : {0.0f, 0.1f, 2.0f})
    for (const float subpixel : {0.0f, 1.0f}) {
      definition_renderer r(GRAD, {.width = 50, .height = 20});
      r.set_source(0, [](int, int, int) { return 3333; });
      r.set_param("pre_blur", {pre_blur});
      r.set_param("subpixel", {subpixel});
      r.set_param("scale", {30});
      for (const auto& plane : rendered(r))
        for (const fix v : plane) ASSERT_EQ(v, 0);
    }
}

TEST(grad, with_a_scale_of_zero_is_zero) {
  definition_renderer r(GRAD, {.width = 50, .height = 20});
  r.set_source(0, random_picture(50, 0, 4096));
  r.set_param("pre_blur", {2});
  r.set_param("scale", {0});
  for (const auto& plane : same_everywhere(r))
    for (const fix v : plane) ASSERT_EQ(v, 0);
}

TEST(grad, of_a_constant_is_the_constant_zero) {
  definition_renderer r("(define G (Source) () dest = (+ (grad 0.7 0.1 1 1) 0.25))", {.width = 4, .height = 3});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 1, 1), 1024);
  EXPECT_EQ(r.at(1, 1, 1), 1024);
}

TEST(grad, of_a_tree_and_of_kept_planes_agree) {
  const std::string text = "(define G (Source) () dest = (grad (element_of (";
  const test_frame frame = {.width = 45, .height = 23};
  const planes_of_result tree = rendered(text + "* Source 1) 1) 0.1 2 1))", frame, random_picture(45, 0, 8000));
  EXPECT_EQ(rendered(text + "blur Source 0 0 1 0) 1) 0.1 2 1))", frame, random_picture(45, 0, 8000)), tree);
}

TEST(grad, checks_its_planes) {
  definition_renderer r(GRAD, {.width = 4, .height = 4});
  ASSERT_TRUE(r.render());
  for (const char* function :
       {"grad", "grad_for_mipmap", "edge_detect", "grad_direction", "grad_in_direction", "emboss", "edge_dist"}) {
    const fun_info& fun = *level_catalogue(cpu_level::generic).find(function);
    node n = {};
    n.name = "steep";
    n.fun = &fun;
    n.elnum = std::int8_t(combo_result_elnum(fun.arg_type_combos[0]));
    n.image_count = 11;
    report_capture reports;
    EXPECT_THROW(fun.kernels[0](n), TessaronAbortException) << function;
    EXPECT_TRUE(reports.has_part("node steep has image_count 11, expected ")) << function << reports.all();
    n.image_count = std::int8_t(std::max(fun.images_per_element * n.elnum + fun.extra_images, int(n.elnum)));
    EXPECT_THROW(fun.kernels[0](n), TessaronAbortException) << function;
    EXPECT_TRUE(reports.has("node steep has NULL image 0.")) << function << reports.all();
  }
}

// --- how far they reach ------------------------------------------------------------------------------------

rectangle reach_of(const std::string& dest, float pixel_aspect = 1) {
  definition_renderer r("(define G (Source) () dest = " + dest + ")",
                        {.width = 160, .height = 90, .pixel_aspect = pixel_aspect});
  EXPECT_TRUE(r.render()) << dest;
  return bounds_of_tree(r.effect(), make_rectangle(0, 0, 159, 89));
}

TEST(gradients, reach_as_far_as_their_blur_and_one_pixel_more) {
  // 0.1 of an eighth of 160 pixels is 2, and a little more since 0.1 is rounded up: 3 whole pixels.
  for (const char* dest :
       {"(grad (element_of Source 0) 0.1 1 1)", "(edge_detect Source 0.1 1 1)", "(grad_direction Source 0.1 0 1)",
        "(grad_in_direction Source [1 0] 0.1 1)", "(emboss (element_of Source 0) 0.1 1 0.5 [1 1 1] [1 1] 1 1 1)"})
    EXPECT_EQ(reach_of(dest), make_rectangle(-4, -4, 163, 93)) << dest;
  EXPECT_EQ(reach_of("(edge_detect Source 0 1 1)"), make_rectangle(-1, -1, 160, 90));
  EXPECT_EQ(reach_of("(edge_detect Source 0.1 1 1)", 2), make_rectangle(-4, -3, 163, 92));
  EXPECT_EQ(reach_of("(edge_detect Source (* x 1) 1 1)"), everything());
}

int stop_at_once() { return 1; }

TEST(gradients, stop_when_the_host_asks_for_it) {
  for (const char* dest :
       {"(grad (element_of Source 0) 0.1 1 1)", "(edge_detect Source 0.1 1 1)", "(grad_direction Source 0.1 0 1)",
        "(grad_in_direction Source [1 0] 0.1 1)", "(grad_for_mipmap (* xy 2) 1 0)",
        "(edge_dist (element_of Source 0) 1)", "(emboss (element_of Source 0) 0.1 1 Source 1 [1 1] 1 1 1)"}) {
    definition_renderer r(std::string("(define G (Source) () dest = ") + dest + ")", {.width = 64, .height = 48});
    set_abort_query(stop_at_once);
    EXPECT_FALSE(r.render()) << dest;
    set_abort_query(nullptr);
    EXPECT_TRUE(r.render()) << dest;
  }
}

TEST(grad, follows_its_scale_evenly) {
  definition_renderer r(GRAD, {.width = 64, .height = 48});
  r.set_source(0, landscape_picture({64, 48}));
  r.set_param("pre_blur", {0.1f});
  EXPECT_LE(largest_step(r, "scale", {0}, {6}), 6 * 2 * 900 / 60);
}

TEST(grad, widens_its_blur_evenly_when_that_is_counted_in_fractions_of_pixels) {
  definition_renderer r(GRAD, {.width = 64, .height = 48});
  r.set_source(0, landscape_picture({64, 48}));
  r.set_param("subpixel", {1});
  EXPECT_LE(largest_step(r, "pre_blur", {0.1f}, {1}), 100);
}

}  // namespace
}  // namespace tessaron::testing
