// flys_eye: lenses that cannot be seen, lenses that all show the same, and what lies between.
#include "stylise_kit.h"

namespace tessaron::testing {
namespace {

constexpr int WIDTH = 96, HEIGHT = 54;
constexpr test_frame FRAME = {.width = WIDTH, .height = HEIGHT};

/// All settings as parameters.
std::string fly_definition(const std::string& image = "Source", const std::string& coords = "here") {
  return "(define F (Source Map) (rgba_ok)\n"
         "  fx = 6 fy = 6 sx = 0 sy = 0 turn = 0 inside = 1 inside_turn = 0 overall = 1 soft = 0 wx = 0 wy = 0\n"
         "  here = (+ xy [0 0])\n"
         "  dest = (flys_eye " +
         image + " " + coords + " (v2 fx fy) (v2 sx sy) turn inside inside_turn overall soft (v2 wx wy)))";
}
std::string warp_definition(const std::string& coords) {
  return "(define W (Source Map) (rgba_ok) wx = 0 wy = 0 dest = (warp Source " + coords + " (v2 wx wy) 0))";
}

struct setting {
  const char* name;
  float value;
};
planes_of_result fly(const std::vector<setting>& settings, const picture& source = random_picture(WIDTH, 0, 8191),
                     const test_frame& frame = FRAME, const std::string& image = "Source") {
  definition_renderer r(fly_definition(image), frame);
  r.set_source(0, source);
  for (const setting& s : settings) r.set_param(s.name, {s.value});
  return rendered(r);
}

TEST(flys_eye, lenses_with_both_distances_1_cannot_be_seen) {
  for (const float wrap : {0.0f, 1.0f, 2.0f}) {
    definition_renderer w(warp_definition("(v2 x y)"), FRAME);
    w.set_source(0, random_picture(WIDTH, 0, 8191));
    for (const char* direction : {"wx", "wy"}) w.set_param(direction, {wrap});
    const planes_of_result image = rendered(w);
    for (const float frequency : {0.0f, 0.3f, 1.0f, 7.0f, 40.0f, -5.0f})
      for (const float soft : {0.0f, 0.5f, 1.0f, 20.0f})
        EXPECT_EQ(first_difference(fly({{"fx", frequency},
                                        {"fy", frequency},
                                        {"sx", 0.21f},
                                        {"sy", -0.4f},
                                        {"turn", 0.07f},
                                        {"soft", soft},
                                        {"wx", wrap},
                                        {"wy", wrap}}),
                                   image),
                  "")
            << "frequency " << frequency << ", softness " << soft << ", wrap " << wrap;
  }
}

TEST(flys_eye, with_equal_distances_is_the_zoomed_image) {
  // C * d + (p - C) * d is p * d for every lens.
  for (const float distance : {0.5f, 1.5f, -1.0f}) {
    definition_renderer w(warp_definition("(* xy " + std::to_string(distance) + ")"), FRAME);
    w.set_source(0, landscape_picture({WIDTH, HEIGHT}));
    w.set_param("wx", {2});
    w.set_param("wy", {2});
    const planes_of_result image = rendered(w);
    const planes_of_result got =
        fly({{"inside", distance}, {"overall", distance}, {"soft", 0.4f}, {"wx", 2}, {"wy", 2}},
            landscape_picture({WIDTH, HEIGHT}));
    // Positions here keep three more bits than coordinates do.
    EXPECT_LE(mean_difference(got, image), 2.0) << distance;
  }
}

TEST(flys_eye, one_lens_alone_zooms_and_turns_about_its_centre) {
  // frequency 0 leaves one lens, whose centre is the shift.
  definition_renderer w(
      "(define W (Source Map) (rgba_ok) c = [0.25 -0.125]\n"
      "  d = (rotate (- xy c) -0.125 [0 0])\n"
      "  dest = (warp Source (+ c (* d 1.5)) [2 2] 0))",
      FRAME);
  w.set_source(0, landscape_picture({WIDTH, HEIGHT}));
  const planes_of_result image = rendered(w);
  const planes_of_result got = fly({{"fx", 0},
                                    {"fy", 0},
                                    {"sx", 0.25f},
                                    {"sy", -0.125f},
                                    {"inside", 1.5f},
                                    {"inside_turn", 0.125f},
                                    {"wx", 2},
                                    {"wy", 2}},
                                   landscape_picture({WIDTH, HEIGHT}));
  EXPECT_LE(mean_difference(got, image), 6.0);
}

/// The plain rule of one pixel: nearest of all lens centres around, then its view of a field of coordinates.
struct plain_lens {
  double cx, cy;
};
plain_lens nearest_of_all(double x, double y, double fx, double fy, double turn) {
  const double c = std::cos(turn), s = std::sin(turn);
  const double lx = (x * c + y * s) * fx, ly = (y * c - x * s) * fy;
  plain_lens best = {};
  double least = 1e30;
  for (int row = -40; row <= 40; ++row)
    for (int column = -40; column <= 40; ++column) {
      const double px = column + (row & 1 ? 0.5 : 0.0), py = row * std::sqrt(3.0) / 2;
      const double d = (px - lx) * (px - lx) + (py - ly) * (py - ly);
      if (d >= least) continue;
      least = d;
      best = {px / fx * c - py / fy * s, px / fx * s + py / fy * c};
    }
  return best;
}

TEST(flys_eye, each_pixel_looks_through_the_nearest_centre_of_the_hexagonal_lattice) {
  // A picture of the coordinates shows where each pixel has looked: with inside_zdist 0 at the lens's centre.
  const auto ramp = [](int x, int y, int e) {
    return e == 0 ? fix((x + 0.5) / WIDTH * 4096) : e == 1 ? fix((y + 0.5) / HEIGHT * 4096) : 0;
  };
  const double turn = 205 / 4096.0;
  const planes_of_result got =
      fly({{"fx", 5}, {"fy", 4}, {"turn", float(turn)}, {"inside", 0}, {"wx", 0}, {"wy", 0}}, ramp);
  int wrong = 0, inside = 0;
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      const double nx = (x + 0.5) / WIDTH * 2 - 1, ny = (0.5 - (y + 0.5) / HEIGHT) * 2 * HEIGHT / WIDTH;
      const plain_lens lens = nearest_of_all(nx, ny, 5, 4, turn * 2 * 3.14159265358979);
      const double u = (lens.cx + 1) / 2 * 4096, v = (0.5 - lens.cy / 2 * WIDTH / HEIGHT) * 4096;
      if (u < 60 || u > 4036 || v < 90 || v > 4006) continue;  // ramps end half a pixel inside the frame
      ++inside;
      const std::size_t i = std::size_t(y * WIDTH + x);
      wrong += std::abs(got[0][i] - u) > 6 || std::abs(got[1][i] - v) > 6;
    }
  EXPECT_GT(inside, WIDTH * HEIGHT / 2);
  EXPECT_LE(wrong, inside / 200);  // pixels on an edge may fall to either lens
}

TEST(flys_eye, with_overall_zdist_0_all_lenses_show_the_same) {
  // 96 pixels hold 12 lenses of 8 pixels at a frequency of 6.
  const planes_of_result got =
      fly({{"overall", 0}, {"inside", 5}, {"wx", 2}, {"wy", 2}}, landscape_picture({WIDTH, HEIGHT}));
  for (int x = 16; x + 8 < WIDTH; ++x)
    for (std::size_t e = 0; e < 3; ++e) {
      const std::size_t i = std::size_t(HEIGHT / 2 * WIDTH + x);
      EXPECT_NEAR(got[e][i], got[e][i + 8], 40) << x;  // a step of the coordinates' rounding
    }
}

TEST(flys_eye, with_inside_zdist_0_each_lens_has_one_colour) {
  const planes_of_result got = fly({{"inside", 0}}, random_picture(WIDTH, 0, 4096));
  int changes = 0;
  for (int x = 1; x < WIDTH; ++x)
    changes += got[0][std::size_t(27 * WIDTH + x)] != got[0][std::size_t(27 * WIDTH + x - 1)];
  EXPECT_GE(changes, 10);
  EXPECT_LE(changes, 14);
}

TEST(flys_eye, shift_moves_the_lattice_and_a_lens_on_brings_it_back) {
  const auto at = [](float sx, float sy) {
    return fly({{"overall", 0}, {"inside", 3}, {"sx", sx}, {"sy", sy}, {"wx", 2}, {"wy", 2}},
               landscape_picture({WIDTH, HEIGHT}));
  };
  const planes_of_result here = at(0, 0), half = at(1 / 12.0f, 0), lens = at(1 / 6.0f, 0);
  EXPECT_GT(mean_difference(here, half), 5.0);
  EXPECT_LE(mean_difference(here, lens), 8.0);
}

TEST(flys_eye, rotate_turns_the_lattice_by_sixths_onto_itself) {
  const auto turned = [](float turn) {
    return fly({{"overall", 1}, {"inside", 0}, {"turn", turn}, {"wx", 2}, {"wy", 2}},
               landscape_picture({WIDTH, HEIGHT}));
  };
  EXPECT_LE(mean_difference(turned(0), turned(1 / 6.0f)), 20.0);
  EXPECT_GT(mean_difference(turned(0), turned(1 / 12.0f)), 40.0);
  // Whole turns are the same angle.
  EXPECT_EQ(first_difference(turned(0.25f), turned(3.25f)), "");
}

TEST(flys_eye, soft_edges_are_a_mixture_of_the_lenses_on_both_sides) {
  // Two lenses of 0 and 4096: along a row through their centres the mixture falls from one to the other, half in the
  // middle, within a quarter of the lens's width to either side at softness 1.
  const auto halves = [](int x, int, int) { return x < WIDTH / 2 ? 4096 : 0; };
  // Two lenses to a half frame; their centres at -0.25 and 0.25.
  const std::vector<setting> base = {{"fx", 2}, {"fy", 2}, {"sx", 0.25f}, {"inside", 0}};
  const auto with = [&](float soft) {
    std::vector<setting> all = base;
    all.push_back({"soft", soft});
    return fly(all, halves)[0];
  };
  const std::vector<fix> hard = with(0), soft = with(1);
  const std::size_t row = 27 * WIDTH;  // through the centres
  for (int x = 24; x < 72; ++x) EXPECT_EQ(hard[row + std::size_t(x)], x < 48 ? 4096 : 0) << x;
  for (int x = 24; x < 71; ++x) EXPECT_GE(soft[row + std::size_t(x)], soft[row + std::size_t(x) + 1]) << x;
  EXPECT_NEAR(soft[row + 47] + soft[row + 48], 4096, 120);
  EXPECT_EQ(soft[row + 40], 4096);  // 7 pixels of the 24 from edge to centre: beyond the band of 6
  EXPECT_LT(soft[row + 45], 4096);
  EXPECT_GT(soft[row + 50], 0);
  EXPECT_EQ(soft[row + 55], 0);
}

TEST(flys_eye, soft_edges_make_the_picture_continuous) {
  // Over a smooth image, neighbouring pixels of a soft mixture stay close where hard edges jump.
  const test_frame frame = {.width = 384, .height = 216};
  const auto steepest = [&](float soft) {
    const planes_of_result got = fly(
        {{"inside", 3}, {"fx", 3}, {"fy", 3}, {"soft", soft}, {"wx", 2}, {"wy", 2}},
        [](int x, int y, int) { return fix(2048 + 1500 * std::sin(x * 0.02 + y * 0.015)); }, frame);
    fix steepest = 0;
    for (int y = 1; y < frame.height; ++y)
      for (int x = 1; x < frame.width; ++x) {
        const std::size_t i = std::size_t(y * frame.width + x);
        steepest = std::max({steepest, std::abs(got[0][i] - got[0][i - 1]),
                             std::abs(got[0][i] - got[0][i - std::size_t(frame.width)])});
      }
    return steepest;
  };
  EXPECT_GT(steepest(0), 1000);
  EXPECT_LT(steepest(1), 450);
}

TEST(flys_eye, outside_of_the_frame_follows_wrap) {
  const picture white = flat_picture(FIX_ONE);
  const std::vector<setting> far = {{"overall", 4}, {"inside", 0}};
  const auto with = [&](float wx, float wy) {
    std::vector<setting> all = far;
    all.push_back({"wx", wx});
    all.push_back({"wy", wy});
    const planes_of_result got = fly(all, white);
    return std::count(got[0].begin(), got[0].end(), 0);
  };
  EXPECT_EQ(with(1, 1), 0);
  EXPECT_EQ(with(2, 2), 0);
  EXPECT_GT(with(0, 0), WIDTH * HEIGHT * 3 / 4);
  EXPECT_GT(with(0, 1), WIDTH * HEIGHT / 2);
  EXPECT_LT(with(0, 1), with(0, 0));
  EXPECT_LT(with(1, 0), with(0, 0));
}

TEST(flys_eye, takes_images_of_one_to_four_elements) {
  const char* const images[] = {"(element_of Source 0)", "(v2 (element_of Source 0) (element_of Source 1))",
                                "(remove_alpha Source)", "Source"};
  const test_frame frame = {.width = WIDTH, .height = HEIGHT, .source_channels = 4};
  const std::vector<setting> settings = {{"inside", 2.3f}, {"soft", 0.6f}, {"inside_turn", 0.1f}, {"wx", 1}, {"wy", 2}};
  const planes_of_result four = fly(settings, random_picture(WIDTH, 0, 4096), frame, images[3]);
  ASSERT_EQ(four.size(), 4u);
  for (int e = 1; e < 4; ++e) {
    planes_of_result part = fly(settings, random_picture(WIDTH, 0, 4096), frame, images[e - 1]);
    ASSERT_EQ(int(part.size()), e);
    for (int k = 0; k < e; ++k) EXPECT_EQ(part[std::size_t(k)], four[std::size_t(k)]) << e << " elements";
  }
}

TEST(flys_eye, agrees_at_all_levels_and_with_any_number_of_workers) {
  for (const float soft : {0.0f, 0.7f})
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{{96, 54}, {1, 1}, {1, 7}, {65, 3}, {131, 40}}) {
      definition_renderer r(fly_definition(), {.width = width, .height = height, .source_channels = 4});
      r.set_source(0, random_picture(width, -3000, 9000));
      r.set_param("soft", {soft});
      r.set_param("inside", {2.7f});
      r.set_param("overall", {1.2f});
      r.set_param("turn", {0.03f});
      r.set_param("wx", {1});
      same_everywhere(r);
    }
}

TEST(flys_eye, reads_settings_that_vary_from_pixel_to_pixel) {
  // Where the map is 0 the lenses cannot be seen, where it is 1 they show one colour.
  const std::string text =
      "(define F (Source Map) (rgba_ok)\n"
      "  dest = (flys_eye Source (+ xy [0 0]) [6 6] [0 0] 0 (one_minus (element_of Map 0)) 0 1 0.3 [1 1]))";
  definition_renderer r(text, FRAME);
  r.set_source(0, random_picture(WIDTH, 0, 4096));
  r.set_source(1, [](int x, int, int) { return x < WIDTH / 2 ? 0 : FIX_ONE; });
  const planes_of_result got = same_everywhere(r);
  const planes_of_result clear = fly({{"wx", 1}, {"wy", 1}, {"soft", 0.3f}}, random_picture(WIDTH, 0, 4096));
  const planes_of_result tiles =
      fly({{"wx", 1}, {"wy", 1}, {"soft", 0.3f}, {"inside", 0}}, random_picture(WIDTH, 0, 4096));
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      const std::size_t i = std::size_t(y * WIDTH + x);
      ASSERT_EQ(got[1][i], (x < WIDTH / 2 ? clear : tiles)[1][i]) << x << "," << y;
    }
}

TEST(flys_eye, one_place_for_all_pixels_gives_one_colour) {
  const std::string text =
      "(define F (Source Map) (rgba_ok)\n"
      "  dest = (flys_eye Source [0.1 0.2] [6 6] [0 0] 0 2 0 1 0.3 [1 1]))";
  const planes_of_result got = rendered(text, FRAME, random_picture(WIDTH, 0, 4096));
  for (const auto& plane : got)
    for (const fix v : plane) ASSERT_EQ(v, plane[0]);
}

TEST(flys_eye, any_settings_at_all_give_samples_of_the_image_range) {
  const float extremes[] = {0, -1, 1e-4f, 3.7f, -40, 5e5f, -5e5f};
  definition_renderer r(fly_definition(), {.width = 33, .height = 17, .source_channels = 4});
  r.set_source(0, random_picture(33, 0, 8191));
  for (const char* name : {"fx", "fy", "sx", "sy", "turn", "inside", "inside_turn", "overall", "soft", "wx", "wy"})
    for (const float v : extremes) {
      for (const char* other : {"fx", "inside", "overall", "soft"}) r.set_param(other, {v < 0 ? 3.0f : 0.5f});
      r.set_param(name, {v});
      for (const auto& plane : rendered(r))
        for (const fix sample : plane) ASSERT_TRUE(sample >= 0 && sample <= 8191) << name << " " << v;
    }
}

TEST(flys_eye, sweeps_run_smoothly_with_soft_edges) {
  const test_frame frame = {.width = 192, .height = 108};
  const auto smooth = [](int x, int y, int) { return fix(2048 + 1500 * std::sin(x * 0.04) * std::cos(y * 0.05)); };
  definition_renderer r(fly_definition(), frame);
  r.set_source(0, smooth);
  for (const char* name : {"wx", "wy"}) r.set_param(name, {2});
  r.set_param("soft", {1});
  r.set_param("inside", {1.8f});
  EXPECT_LT(sweep(r, "sx", {0}, {0.1f}).largest, 250);
  EXPECT_LT(sweep(r, "turn", {0}, {0.05f}).largest, 250);
  EXPECT_LT(sweep(r, "inside", {1}, {2}).largest, 250);
  EXPECT_LT(sweep(r, "inside_turn", {0}, {0.1f}).largest, 250);
  EXPECT_LT(sweep(r, "overall", {1}, {1.2f}).largest, 250);
  EXPECT_LT(sweep(r, "soft", {0.4f}, {1}).largest, 250);
}

TEST(flys_eye, lines_of_the_other_field_are_read_as_the_mean_of_their_neighbours) {
  // With the lenses out of sight a field's lines show the image; the other field's lines stay as they were.
  definition_renderer r(fly_definition(), FRAME);
  r.set_source(0, random_picture(WIDTH, 0, 4096));
  const planes_of_result whole = rendered(r);
  field_globals = {.field_number = 1, .field_offset = 0};
  const bool done = r.render();
  field_globals = {};
  ASSERT_TRUE(done);
  for (int y = 0; y < HEIGHT; ++y)
    for (int x = 0; x < WIDTH; ++x) {
      if ((y & 1) == 0) {
        ASSERT_EQ(r.at(0, x, y), definition_renderer::UNTOUCHED);
      }
    }
  EXPECT_EQ(whole.size(), 3u);
}

TEST(flys_eye, a_part_of_the_frame_has_the_lenses_of_the_whole) {
  // Lenses that look inwards: away from the part's edges by a lens, all that they see lies within the part.
  const std::vector<setting> settings = {{"inside", 0.4f}, {"turn", 0.03f}, {"soft", 0.5f}, {"sx", 0.05f}};
  const planes_of_result whole = fly(settings);
  test_frame part = FRAME;
  part.x0 = 20, part.y0 = 6, part.x1 = 83, part.y1 = 47;
  const planes_of_result cut = fly(settings, random_picture(WIDTH, 0, 8191), part);
  constexpr int REACH = 12;
  for (int y = part.y0 + REACH; y <= part.y1 - REACH; ++y)
    for (int x = part.x0 + REACH; x <= part.x1 - REACH; ++x)
      for (std::size_t e = 0; e < 3; ++e)
        ASSERT_EQ(cut[e][std::size_t((y - part.y0) * 64 + x - part.x0)], whole[e][std::size_t(y * WIDTH + x)])
            << x << "," << y;
}

TEST(flys_eye, an_abort_ends_it_at_any_stage) {
  definition_renderer r(fly_definition(), {.width = 64, .height = 200});
  r.set_source(0, random_picture(64, 0, 4096));
  r.set_param("soft", {0.5f});
  abort_at_every_question(r);
}

}  // namespace
}  // namespace tessaron::testing
