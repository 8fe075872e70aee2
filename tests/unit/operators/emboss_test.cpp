// emboss: which way slopes are lit, what stays as it is, and the whole of it against the formulas in double precision.
#include <gtest/gtest.h>

#include "gradient_kit.h"

namespace tessaron::testing {
namespace {

const picture_size SIZE = {60, 44};

struct look {
  const char* height = "(element_of Source 0)";
  const char* scale_height = "1";
  const char* surface = "0.5";
  const char* light_color = "[1 1 1]";
  const char* light_direction = "[-1 1]";
  const char* specular = "0";
  const char* shininess = "10";
};

std::string embossed(const look& l) {
  return std::string("(define E (Source) () pre_blur = 0 dest = (emboss ") + l.height + " pre_blur " + l.scale_height +
         " " + l.surface + " " + l.light_color + " " + l.light_direction + " " + l.specular + " " + l.shininess +
         " 1))";
}

planes_of_result render_look(const look& l, const definition_renderer::pixel_function& source, picture_size size = SIZE,
                             float pre_blur = 0) {
  definition_renderer r(embossed(l), {.width = size.width, .height = size.height});
  r.set_source(0, source);
  r.set_param("pre_blur", {pre_blur});
  return rendered(r);
}

// --- the formulas in double precision --------------------------------------------------------------------

struct shading {
  double lit, gloss;
};

shading plain_shading(double dx, double dy, double light_x, double light_y, double specular, double shininess) {
  const double z = 0.5, length = std::sqrt(light_x * light_x + light_y * light_y + z * z);
  const double lx = light_x / length, ly = light_y / length, lz = z / length;
  const double d = 1 - (dx * lx + dy * ly) / lz;
  const double off = std::clamp(d, -1.0, 3.0) - 1;
  const double half = std::sqrt(lx * lx + ly * ly + (lz + 1) * (lz + 1));
  const double cosine = ((lz + 1) - dx * lx - dy * ly) / half / std::sqrt(dx * dx + dy * dy + 1);
  const double within = std::max(0.0, 1 - (1 - cosine) * shininess / 4);
  return {1 + off - off * std::fabs(off) / 4, specular * std::pow(within, 4)};
}

TEST(emboss, follows_its_formulas_at_every_size) {
  struct light {
    const char* text;
    double x, y;
  };
  for (const picture_size size : SIZES)
    for (const light& l : {light{"[-1 1]", -1, 1}, light{"[0.25 0]", 0.25, 0}, light{"[2 -3]", 2, -3}}) {
      definition_renderer slope("(define G (Source) () dest = (grad (element_of Source 0) 0 0.5 0))",
                                {.width = size.width, .height = size.height});
      slope.set_source(0, random_picture(size.width, 0, 4096));
      const planes_of_result d = rendered(slope);
      definition_renderer r(embossed({.scale_height = "0.5",
                                      .surface = "Source",
                                      .light_color = "[1 0.5 0.25]",
                                      .light_direction = l.text,
                                      .specular = "0.75",
                                      .shininess = "6"}),
                            {.width = size.width, .height = size.height});
      r.set_source(0, random_picture(size.width, 0, 4096));
      const planes_of_result got = same_everywhere(r);
      ASSERT_EQ(got.size(), 3u);
      for (int i = 0; i < size.width * size.height; ++i)
        for (int e = 0; e < 3; ++e) {
          const shading s =
              plain_shading(d[0][std::size_t(i)] / 4096.0, d[1][std::size_t(i)] / 4096.0, l.x, l.y, 0.75, 6);
          const double color = 1.0 / (1 << e);
          const double surface = random_picture(size.width, 0, 4096)(i % size.width, i / size.width, e) / 4096.0;
          // Fixed point loses a step at each product; the light's direction is whole steps too.
          ASSERT_NEAR(got[std::size_t(e)][std::size_t(i)], 4096 * color * (surface * s.lit + s.gloss), 14)
              << i << " of " << size.width << "x" << size.height << " " << l.text;
        }
    }
}

// --- what the viewer sees ----------------------------------------------------------------------------------

fix dome(int x, int y, int) {
  return fix(std::max(0.0, 4096 - 10 * (std::pow(x - SIZE.width / 2, 2) + std::pow(y - SIZE.height / 2, 2))));
}

TEST(emboss, of_a_flat_image_is_the_surface_in_the_lights_colour) {
  const look l = {.surface = "Source", .light_color = "[1 0.5 2]"};
  const planes_of_result flat = render_look(l, [](int, int, int e) { return 800 * (e + 1); });
  for (std::size_t i = 0; i < flat[0].size(); ++i) {
    ASSERT_EQ(flat[0][i], 800);
    ASSERT_EQ(flat[1][i], 800);
    ASSERT_EQ(flat[2][i], 4800);
  }
}

TEST(emboss, brightens_the_side_towards_the_light_and_darkens_the_other) {
  const int cx = SIZE.width / 2, cy = SIZE.height / 2;
  for (const auto& [direction, x, y] :
       {std::tuple("[-1 0]", -1, 0), std::tuple("[1 0]", 1, 0), std::tuple("[0 1]", 0, -1), std::tuple("[0 -1]", 0, 1),
        std::tuple("[-1 1]", -1, -1)}) {
    const planes_of_result got = render_look({.light_direction = direction}, dome);
    const auto at = [&](int px, int py) { return got[0][std::size_t(py * SIZE.width + px)]; };
    EXPECT_GT(at(cx + 6 * x, cy + 6 * y), 2048 + 100) << direction;
    EXPECT_LT(at(cx - 6 * x, cy - 6 * y), 2048 - 100) << direction;
    EXPECT_NEAR(at(cx, cy), 2048, 2) << direction;
    EXPECT_EQ(at(2, 2), 2048) << direction;  // level ground
  }
}

TEST(emboss, of_opposite_lights_adds_up_to_level_ground_twice) {
  const planes_of_result one =
      render_look({.surface = "1", .light_direction = "[0.7 -0.4]"}, random_picture(60, 0, 4096));
  const planes_of_result other =
      render_look({.surface = "1", .light_direction = "[-0.7 0.4]"}, random_picture(60, 0, 4096));
  for (std::size_t i = 0; i < one[0].size(); ++i) ASSERT_NEAR(one[0][i] + other[0][i], 8192, 1);
}

TEST(emboss, goes_from_black_to_twice_the_surface) {
  const planes_of_result got = render_look({.scale_height = "40", .surface = "0.75"}, random_picture(60, 0, 4096));
  const auto [least, most] = std::minmax_element(got[0].begin(), got[0].end());
  EXPECT_EQ(*least, 0);
  EXPECT_EQ(*most, 2 * 3072);
}

TEST(emboss, without_a_light_direction_is_lit_from_straight_above) {
  const planes_of_result got =
      render_look({.surface = "Source", .light_direction = "[0 0]"}, random_picture(60, 0, 4096));
  for (int i = 0; i < 60 * 44; ++i)
    for (int e = 0; e < 3; ++e)
      ASSERT_EQ(got[std::size_t(e)][std::size_t(i)], random_picture(60, 0, 4096)(i % 60, i / 60, e));
}

TEST(emboss, with_no_height_is_flat) {
  const planes_of_result got = render_look({.scale_height = "0"}, random_picture(60, 0, 4096));
  for (const fix v : got[1]) ASSERT_EQ(v, 2048);
}

TEST(emboss, of_a_light_from_the_horizon_is_finite) {
  for (const char* direction : {"[100000 0]", "[-100000 100000]", "[0 -500000]"}) {
    const planes_of_result got =
        render_look({.light_direction = direction, .specular = "1"}, random_picture(60, 0, 4096));
    for (const fix v : got[0]) {
      ASSERT_GE(v, 0);
      ASSERT_LE(v, 2 * 2048 + 4096);
    }
  }
}

// --- highlights --------------------------------------------------------------------------------------------

TEST(emboss, puts_its_highlight_where_the_surface_mirrors_the_light) {
  const look l = {
      .scale_height = "4", .surface = "0", .light_direction = "[-0.5 0]", .specular = "1", .shininess = "60"};
  const planes_of_result got = render_look(l, dome);
  const std::size_t brightest = std::size_t(std::max_element(got[0].begin(), got[0].end()) - got[0].begin());
  EXPECT_GT(got[0][brightest], 3500);
  // The light stands at 45 degrees, so the mirror's slope is the tangent of 22.5: 0.414. The dome's differences over
  // two pixels are 40 x, four times scaled.
  EXPECT_NEAR(int(brightest % 60), SIZE.width / 2 - 0.414 * 4096 / 160, 1.5);
  EXPECT_NEAR(int(brightest / 60), SIZE.height / 2, 1);
}

TEST(emboss, makes_highlights_smaller_for_a_larger_shininess_and_stronger_by_specular) {
  double before = 1e12;
  for (const char* shininess : {"2", "8", "30", "120", "500"}) {
    const planes_of_result got =
        render_look({.scale_height = "4", .surface = "0", .specular = "1", .shininess = shininess}, dome);
    double sum = 0;
    for (const fix v : got[0]) sum += v;
    EXPECT_LT(sum, before) << shininess;
    before = sum;
  }
  const planes_of_result weak = render_look({.scale_height = "4", .surface = "0", .specular = "0.5"}, dome);
  const planes_of_result strong = render_look({.scale_height = "4", .surface = "0", .specular = "1.5"}, dome);
  for (std::size_t i = 0; i < weak[0].size(); ++i) ASSERT_NEAR(strong[0][i], 3 * weak[0][i], 3);
}

TEST(emboss, gives_highlights_the_lights_colour) {
  const planes_of_result got = render_look({.surface = "0", .light_color = "[1 0.5 0]", .specular = "1"}, dome);
  for (std::size_t i = 0; i < got[0].size(); ++i) {
    ASSERT_NEAR(got[1][i], got[0][i] / 2, 1);
    ASSERT_EQ(got[2][i], 0);
  }
}

TEST(emboss, counts_a_negative_shininess_as_0) {
  EXPECT_EQ(render_look({.specular = "0.5", .shininess = "-7"}, dome),
            render_look({.specular = "0.5", .shininess = "0"}, dome));
}

// --- element counts ----------------------------------------------------------------------------------------

TEST(emboss, spreads_a_scalar_surface_and_a_scalar_light) {
  const auto source = random_picture(60, 0, 4096);
  EXPECT_EQ(render_look({.surface = "0.6", .specular = "0.3"}, source),
            render_look({.surface = "[0.6 0.6 0.6]", .specular = "0.3"}, source));
  EXPECT_EQ(render_look({.surface = "Source", .light_color = "0.6", .specular = "0.3"}, source),
            render_look({.surface = "Source", .light_color = "[0.6 0.6 0.6]", .specular = "0.3"}, source));
}

TEST(emboss, keeps_the_surfaces_alpha_and_ends_highlights_with_it) {
  const char* text =
      "(define E (Source) (rgba_ok) dest = (emboss (element_of Source 0) 0 1 (coerce_to_v4 Source) [1 1 1] [-1 1] 1 3 "
      "1))";
  definition_renderer r(text, {.width = 60, .height = 44, .source_channels = 4});
  // Black, opaque to the left, half covered in the middle, empty to the right.
  r.set_source(0, [](int x, int y, int e) {
    return e == 3 ? (x < 20 ? 4096 : x < 40 ? 2048 : 0) : e ? 0 : dome(x, y, 0);
  });
  const planes_of_result got = same_everywhere(r);
  ASSERT_EQ(got.size(), 4u);
  definition_renderer opaque(text, {.width = 60, .height = 44, .source_channels = 4});
  opaque.set_source(0, [](int x, int y, int e) { return e == 3 ? 4096 : e ? 0 : dome(x, y, 0); });
  const planes_of_result whole = rendered(opaque);
  for (int i = 0; i < 60 * 44; ++i) {
    const fix alpha = i % 60 < 20 ? 4096 : i % 60 < 40 ? 2048 : 0;
    ASSERT_EQ(got[3][std::size_t(i)], alpha);
    ASSERT_NEAR(got[1][std::size_t(i)], double(whole[1][std::size_t(i)]) * alpha / 4096, 1);
  }
}

TEST(emboss, takes_light_and_gloss_that_change_from_pixel_to_pixel) {
  // Whole rows of the same values, once as constants and once as a picture.
  const look constant = {.surface = "Source",
                         .light_color = "[1 0.5 0.25]",
                         .light_direction = "[0.5 -0.25]",
                         .specular = "0.5",
                         .shininess = "8"};
  const look varying = {.surface = "Source",
                        .light_color = "(+ [1 0.5 0.25] (* x 0))",
                        .light_direction = "(+ [0.5 -0.25] (* xy 0))",
                        .specular = "(+ 0.5 (* x 0))",
                        .shininess = "(+ 8 (* x 0))"};
  const auto source = random_picture(60, 0, 4096);
  EXPECT_EQ(render_look(varying, source), render_look(constant, source));
  definition_renderer r(
      embossed({.light_direction = "(negate xy)", .specular = "(clamp x 0 1)", .shininess = "(* y 40)"}),
      {.width = 133, .height = 31});
  r.set_source(0, random_picture(133, 0, 4096));
  same_everywhere(r);
}

// --- in motion ---------------------------------------------------------------------------------------------

TEST(emboss, moves_evenly_with_the_light_the_height_and_the_shine) {
  const std::string text =
      "(define E (Source) () turn = 0 height = 3 shine = 20 specular = 0.7 dest = (emboss (element_of Source 0) 0.08 "
      "height "
      "0.5 [1 0.9 0.7] (polar_to_xy (v2 turn 1)) specular shine 1))";
  const struct {
    const char* param;
    float from, to;
    fix most;
  } SWEEPS[] = {{"turn", 0, 1, 900}, {"height", 0, 8, 420}, {"shine", 10, 40, 120}, {"specular", 0, 1, 80}};
  for (const auto& s : SWEEPS) {
    definition_renderer r(text, {.width = 64, .height = 48});
    r.set_source(0, landscape_picture({64, 48}));
    EXPECT_LE(largest_step(r, s.param, {s.from}, {s.to}), s.most) << s.param;
  }
}

}  // namespace
}  // namespace tessaron::testing
