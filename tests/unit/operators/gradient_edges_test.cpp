// edge_detect, grad_direction and grad_in_direction: what they make of an image's slope.
#include <gtest/gtest.h>

#include "gradient_kit.h"

namespace tessaron::testing {
namespace {

std::string with_image(int elements, const char* call) {
  const char* image = elements == 1 ? "(element_of Source 0)" : elements == 2 ? "(element_of Source [0 1])" : "Source";
  const bool blurred = std::string(call).find("pre_blur") != std::string::npos;
  return std::string("(define G (Source) () ") + (blurred ? "pre_blur = 0.1 " : "") + "image = " + image +
         " dest = " + call + ")";
}

TEST(edge_detect, is_the_length_of_the_gradient_of_each_element) {
  for (const picture_size size : SIZES)
    for (int elements = 1; elements <= 3; ++elements)
      for (const float pre_blur : {0.0f, 0.3f}) {
        const test_frame frame = {.width = size.width, .height = size.height};
        definition_renderer r(with_image(elements, "(edge_detect image pre_blur 3 1)"), frame);
        r.set_source(0, random_picture(size.width, -500, 5000));
        r.set_param("pre_blur", {pre_blur});
        const planes_of_result got = same_everywhere(r);
        ASSERT_EQ(int(got.size()), elements);
        for (int e = 0; e < elements; ++e) {
          definition_renderer slope("(define G (Source) () pre_blur = 0 dest = (grad (element_of Source " +
                                        std::to_string(e) + ") pre_blur 3 1))",
                                    frame);
          slope.set_source(0, random_picture(size.width, -500, 5000));
          slope.set_param("pre_blur", {pre_blur});
          const planes_of_result d = rendered(slope);
          for (std::size_t i = 0; i < d[0].size(); ++i) {
            const double length = std::min(std::hypot(d[0][i], d[1][i]), 32767.0);
            ASSERT_NEAR(got[std::size_t(e)][i], length, 0.505) << size.width << "x" << size.height << " " << e;
          }
        }
      }
}

TEST(edge_detect, of_a_flat_image_and_with_a_scale_of_zero_is_zero) {
  for (const char* call : {"(edge_detect image pre_blur 9 1)", "(edge_detect (* image x) pre_blur 0 1)"}) {
    definition_renderer r(with_image(3, call), {.width = 40, .height = 30});
    r.set_source(0, [](int, int, int e) { return 1000 * e; });
    for (const auto& plane : same_everywhere(r))
      for (const fix v : plane) ASSERT_EQ(v, 0) << call;
  }
}

TEST(edge_detect, is_blind_to_the_sign_of_its_scale_and_to_turning_light_into_dark) {
  planes_of_result first;
  for (const char* call : {"(edge_detect image pre_blur 2 0)", "(edge_detect image pre_blur -2 0)",
                           "(edge_detect (negate image) pre_blur 2 0)"}) {
    definition_renderer r(with_image(3, call), {.width = 40, .height = 30});
    r.set_source(0, random_picture(40, 0, 4096));
    r.set_param("pre_blur", {0});
    if (first.empty())
      first = rendered(r);
    else
      EXPECT_EQ(rendered(r), first) << call;
  }
}

TEST(edge_detect, looks_the_same_at_half_the_size_when_its_scale_goes_with_the_width) {
  planes_of_result results[2];
  for (const int factor : {1, 2}) {
    const picture_size size = {160 * factor, 120 * factor};
    definition_renderer r(with_image(1, "(edge_detect image 0.15 (/ (get_frame_width) 64) 1)"),
                          {.width = size.width, .height = size.height});
    r.set_source(0, landscape_picture(size));
    results[factor - 1] = rendered(r);
  }
  double sum = 0, difference = 0;
  for (int y = 0; y < 120; ++y)
    for (int x = 0; x < 160; ++x) {
      double large = 0;
      for (const int at : {0, 1, 320, 321}) large += results[1][0][std::size_t(2 * y * 320 + 2 * x + at)] / 4.0;
      const double small = results[0][0][std::size_t(y * 160 + x)];
      sum += small;
      difference += std::fabs(small - large);
    }
  EXPECT_GT(sum / (160 * 120), 100);  // there is something to see
  EXPECT_LT(difference, 0.03 * sum);
}

/// The gradient of an element of a random picture: across and down.
planes_of_result slope_of(int e, picture_size size) {
  return rendered("(define G (Source) () dest = (grad (element_of Source " + std::to_string(e) + ") 0 1 0))",
                  {.width = size.width, .height = size.height}, random_picture(size.width, -500, 5000));
}

// --- direction -----------------------------------------------------------------------------------------

double turns_apart(double a, double b) {
  const double d = std::fmod(std::fabs(a - b), 4096);
  return std::min(d, 4096 - d);
}

TEST(grad_direction, is_the_angle_of_the_gradient_less_the_offset) {
  for (const picture_size size : SIZES)
    for (int elements = 1; elements <= 3; ++elements) {
      const test_frame frame = {.width = size.width, .height = size.height};
      definition_renderer r(with_image(elements, "(grad_direction image 0 0.125 0)"), frame);
      r.set_source(0, random_picture(size.width, -500, 5000));
      const planes_of_result got = same_everywhere(r);
      ASSERT_EQ(int(got.size()), elements);
      for (int e = 0; e < elements; ++e) {
        const planes_of_result d = slope_of(e, size);
        for (std::size_t i = 0; i < d[0].size(); ++i) {
          const fix turn = got[std::size_t(e)][i];
          ASSERT_GE(turn, 0);
          ASSERT_LT(turn, 4096);
          ASSERT_LE(turns_apart(turn, std::atan2(d[1][i], d[0][i]) / (2 * M_PI) * 4096 - 512), 0.52);
        }
      }
    }
}

TEST(grad_direction, of_ramps_points_uphill) {
  const struct {
    int x, y;  // steps of the ramp to the right and upwards
    fix turn;
  } RAMPS[] = {{1, 0, 0},     {1, 1, 512},    {0, 1, 1024},  {-1, 1, 1536},
               {-1, 0, 2048}, {-1, -1, 2560}, {0, -1, 3072}, {1, -1, 3584}};
  for (const auto& ramp : RAMPS) {
    definition_renderer r(with_image(1, "(grad_direction image pre_blur 0 1)"), {.width = 21, .height = 15});
    r.set_source(0, [&](int x, int y, int) { return 2000 + 40 * (ramp.x * x - ramp.y * y); });
    r.set_param("pre_blur", {0});
    ASSERT_TRUE(r.render());
    for (int y = 1; y < 14; ++y)
      for (int x = 1; x < 20; ++x) EXPECT_EQ(r.at(0, x, y), ramp.turn) << ramp.x << "," << ramp.y;
  }
}

TEST(grad_direction, of_a_flat_image_is_less_the_offset) {
  definition_renderer r("(define G (Source) () turn = 0.25 dest = (grad_direction (element_of Source 0) 0.1 turn 1))",
                        {.width = 8, .height = 8});
  r.set_source(0, [](int, int, int) { return 900; });
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 4, 4), 3072);
}

TEST(grad_direction, of_slopes_too_faint_for_whole_steps_still_points_uphill) {
  // A wide blur of a faint spot: neighbours differ by far less than a step of fix, yet all point at the spot.
  definition_renderer r(with_image(1, "(grad_direction image 1 0 1)"), {.width = 121, .height = 121});
  r.set_source(0, [](int x, int y, int) { return std::hypot(x - 60, y - 60) < 8 ? 600 : 0; });
  ASSERT_TRUE(r.render());
  int asked = 0;
  for (int y = 48; y <= 72; ++y)
    for (int x = 48; x <= 72; ++x) {
      if (std::hypot(x - 60, y - 60) < 4) continue;
      ++asked;
      EXPECT_LT(turns_apart(r.at(0, x, y), std::atan2(y - 60, 60 - x) / (2 * M_PI) * 4096), 80) << x << "," << y;
    }
  EXPECT_GT(asked, 400);
}

TEST(grad_direction, takes_an_offset_that_changes_from_pixel_to_pixel) {
  const test_frame frame = {.width = 70, .height = 9};
  const auto source = random_picture(70, 0, 4096);
  const planes_of_result without = rendered(with_image(1, "(grad_direction image 0 0 0)"), frame, source);
  definition_renderer turned(with_image(1, "(grad_direction image 0 (element_of Source 2) 0)"), frame);
  turned.set_source(0, source);
  const planes_of_result with = same_everywhere(turned);
  for (int i = 0; i < 70 * 9; ++i)
    ASSERT_EQ(with[0][std::size_t(i)], (without[0][std::size_t(i)] - source(i % 70, i / 70, 2)) & 4095);
}

// --- along a direction -----------------------------------------------------------------------------------

TEST(grad_in_direction, is_the_product_of_gradient_and_direction) {
  for (const picture_size size : SIZES)
    for (int elements = 1; elements <= 3; ++elements) {
      const test_frame frame = {.width = size.width, .height = size.height};
      definition_renderer r(with_image(elements, "(grad_in_direction image [0.75 -1.5] 0 0)"), frame);
      r.set_source(0, random_picture(size.width, -500, 5000));
      const planes_of_result got = same_everywhere(r);
      ASSERT_EQ(int(got.size()), elements);
      for (int e = 0; e < elements; ++e) {
        const planes_of_result d = slope_of(e, size);
        for (std::size_t i = 0; i < d[0].size(); ++i) {
          const double product = std::clamp(0.75 * d[0][i] - 1.5 * d[1][i], -32767.0, 32767.0);
          ASSERT_NEAR(got[std::size_t(e)][i], product, 0.51);
        }
      }
    }
}

TEST(grad_in_direction, turns_its_sign_with_the_direction) {
  planes_of_result forth, back;
  for (const char* direction : {"[1.3 0.4]", "[-1.3 -0.4]"}) {
    definition_renderer r(
        with_image(3, (std::string("(grad_in_direction image ") + direction + " pre_blur 1)").c_str()),
        {.width = 60, .height = 40});
    r.set_source(0, random_picture(60, 0, 4096));
    (forth.empty() ? forth : back) = rendered(r);
  }
  for (std::size_t e = 0; e < 3; ++e)
    for (std::size_t i = 0; i < forth[e].size(); ++i) ASSERT_EQ(forth[e][i], -back[e][i]);
}

TEST(grad_in_direction, keeps_what_a_long_direction_makes_of_faint_slopes) {
  // A ramp of a quarter step of fix a pixel after the blur; 64 times that is 32 over the two pixels.
  definition_renderer r(with_image(1, "(grad_in_direction image [64 0] 0.5 1)"), {.width = 160, .height = 20});
  r.set_source(0, [](int x, int, int) { return 1000 + x / 4; });
  ASSERT_TRUE(r.render());
  for (int x = 40; x < 120; ++x) EXPECT_NEAR(r.at(0, x, 10), 32, 3) << x;
}

TEST(grad_in_direction, takes_a_direction_that_changes_from_pixel_to_pixel) {
  const test_frame frame = {.width = 70, .height = 19};
  const auto source = random_picture(70, 0, 4096);
  const planes_of_result product =
      rendered("(define G (Source) () dest = (dot (grad (element_of Source 0) 0 1 0) xy))", frame, source);
  definition_renderer along(with_image(1, "(grad_in_direction image xy 0 0)"), frame);
  along.set_source(0, source);
  EXPECT_LE(largest_difference(same_everywhere(along), product), 2);
}

TEST(grad_in_direction, is_zero_for_no_direction_and_for_a_flat_image) {
  const test_frame frame = {.width = 30, .height = 20};
  const planes_of_result still =
      rendered(with_image(3, "(grad_in_direction image [0 0] pre_blur 1)"), frame, random_picture(30, 0, 4096));
  const planes_of_result flat =
      rendered(with_image(3, "(grad_in_direction image [3 4] pre_blur 1)"), frame, [](int, int, int) { return 77; });
  for (const planes_of_result& r : {still, flat})
    for (const auto& plane : r)
      for (const fix v : plane) ASSERT_EQ(v, 0);
}

TEST(grad_in_direction, turns_evenly) {
  definition_renderer r(
      "(define G (Source) () angle = 0 dest = (grad_in_direction Source (polar_to_xy (v2 angle 4)) 0.1 1))",
      {.width = 60, .height = 40});
  r.set_source(0, landscape_picture({60, 40}));
  const fix step = largest_step(r, "angle", {0}, {1});
  EXPECT_GT(step, 0);
  // A sixtieth of a turn changes a sine by at most its amplitude times 2 pi / 60.
  EXPECT_LE(step, 4 * 2 * 900 * 6.2832 / 60);
}

TEST(gradients, treat_pre_blur_that_varies_over_the_picture_as_what_it_is_in_the_middle) {
  const test_frame frame = {.width = 33, .height = 21};
  for (const char* call :
       {"(edge_detect image %s 1 0)", "(grad_direction image %s 0 0)", "(grad_in_direction image [1 1] %s 0)"}) {
    const auto with = [&](const std::string& amount) {
      std::string text = call;
      return text.replace(text.find("%s"), 2, amount);
    };
    const auto source = [](int x, int y, int e) { return e == 1 && x == 16 && y == 10 ? 0 : 300 * (x + y + e); };
    const planes_of_result constant = rendered(with_image(1, with("0.3").c_str()), frame, source);
    const std::string varying = with("(+ 0.3 (* (element_of Source 1) 1))");
    EXPECT_EQ(rendered(with_image(1, varying.c_str()), frame, source), constant) << call;
  }
}

}  // namespace
}  // namespace tessaron::testing
