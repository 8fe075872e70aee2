// lens_flare and lens_flare_auto as node functions.
#include "evaluator/bounds.h"
#include "flare_kit.h"

namespace tessaron::testing {
namespace {

const std::string TWO = entry("spot center 1 radii 0 0.2 colors 1 1 1 1 1 1", "Large") +
                        entry("spot center 1 radii 0 0.05 colors 1 1 1 1 1 1", "Small");
constexpr test_frame FRAME = {.width = 80, .height = 60};

double area(const flare_settings& s) { return light_of(rendered_flare(s, FRAME)[0]) / 4096; }
bool is_black(const planes_of_result& r) {
  for (const auto& plane : r)
    for (const fix v : plane)
      if (v) return false;
  return true;
}

TEST(lens_flare, chooses_by_type) {
  const flare_files files(TWO);
  flare_settings s;
  const double large = area(s);
  s.type = "1";
  const double small = area(s);
  EXPECT_GT(large, 4 * small);
  s.type = "1.9";
  EXPECT_EQ(area(s), small) << "the whole part counts";
  report_capture reports;
  s.type = "-1";
  EXPECT_EQ(area(s), large);
  EXPECT_EQ(reports.severity_of("lens flare type -1 is out of bounds: 0 - 1."), REPORT_WARNING) << reports.all();
  reports.clear();
  s.type = "2";
  EXPECT_EQ(area(s), large);
  EXPECT_TRUE(reports.has("lens flare type 2 is out of bounds: 0 - 1.")) << reports.all();
}

TEST(lens_flare, without_a_file_is_black) {
  const flare_files files("");
  report_capture reports;
  EXPECT_TRUE(is_black(rendered_flare({}, FRAME)));
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST(lens_flare, of_no_size_or_colour_is_black) {
  const flare_files files(TWO);
  flare_settings s;
  for (const char* scale : {"0", "[0 1]", "[1 0]"}) {
    s.scale = scale;
    EXPECT_TRUE(is_black(rendered_flare(s, FRAME))) << scale;
  }
  s = {};
  s.hotspot_color = "[0 -1 0]";
  EXPECT_TRUE(is_black(rendered_flare(s, FRAME)));
}

TEST(lens_flare, draws_the_elements_whose_colour_is_left) {
  const flare_files files(
      entry("spot center 1 radii 0 0.1 colors 1 1 1 1 1 1\nspot center 0 radii 0 0.1 colors 1 1 1 1 1 1\n"
            "rays center 1 color 1 1 1 ray_number 2 jitter_angles 0 start_angle 0 radius_range 0.4 "
            "0.4 ray_width 0.1 rand_seed 1"));
  flare_settings s;
  s.hotspot = "[0.5 0]";
  s.pivot = "[-0.5 0]";
  const auto parts = [&](const flare_settings& each) {
    const planes_of_result r = rendered_flare(each, FRAME);
    const auto lit = [&](int x) { return r[0][30 * 80 + std::size_t(x)] > 0; };
    return std::string(lit(59) ? "hotspot " : "") + (lit(20) ? "other " : "") + (lit(69) ? "rays" : "");
  };
  EXPECT_EQ(parts(s), "hotspot other rays");
  s.other_color = "[0 0 0]";
  EXPECT_EQ(parts(s), "hotspot rays");
  s.rays_color = "[0 0 0]";
  EXPECT_EQ(parts(s), "hotspot ");
  s = {.hotspot = s.hotspot, .pivot = s.pivot, .hotspot_color = "[0 0 0]"};
  EXPECT_EQ(parts(s), "other ");
}

TEST(lens_flare, takes_one_element_or_several) {
  const flare_files files(TWO);
  flare_settings s;
  const planes_of_result first = rendered_flare(s, FRAME);
  s.scale = "[1 1]";
  EXPECT_EQ(rendered_flare(s, FRAME), first);
  s.rays_color = "1";
  EXPECT_EQ(rendered_flare(s, FRAME), first);
  s.scale = "1";
  EXPECT_EQ(rendered_flare(s, FRAME), first);
}

TEST(lens_flare, takes_a_gamma_of_0_for_a_small_one) {
  const flare_files files(entry("spot center 1 radii 0 0.3 colors 1 0.9 0 1 0.9 0"));
  flare_settings s;
  s.gamma = "0";
  const planes_of_result r = rendered_flare(s, FRAME);
  EXPECT_EQ(r[0][30 * 80 + 40], 4096);  // 1 to any power
  EXPECT_EQ(r[1][30 * 80 + 40], 0);     // 0.9 to the power 10000
  EXPECT_EQ(r[2][30 * 80 + 40], 0);
}

TEST(lens_flare, moves_without_jumps) {
  const flare_files files(
      entry("spot center 1 radii 0 0.2 colors 1 1 1 0.5 0.5 0.5\nring center -0.5 radii 0.1 0.12 0.14 colors 0 0 0 1 1 "
            "1 0 0 0\n"
            "hexagon center 0.5 radii 0 0.1 colors 1 0 0 1 0 0\nblob center 0 radii 0.3 colors 0 0 1"));
  definition_renderer r("(define F () place = [0 0] dest = (lens_flare 0 place [0 0] 1 1 1 0 [1 1 1] [1 1 1] [1 1 1]))",
                        {.width = 128, .height = 96});
  // Three pixels in 60 steps: an edge of one and a half pixels changes by a thirtieth of white, some overlap.
  EXPECT_LT(largest_step(r, "place", {0, 0}, {0.046875f, 0.03f}), 4096 / 30 * 3);
}

TEST(lens_flare, survives_any_values) {
  const flare_files files(
      entry("spot center 1e30 radii 0 0.1 1e30 colors 1 1 1 1 1 1 1e30 0 0\nhexagon center -1e30 radii -5 1e30 colors "
            "1 1 1 1 1 1\n"
            "blob center 0e99 radii 1e30 colors 1 1 1\nspot center 0 radii -1 -1 colors 1 1 1 1 1 1\n"
            "rays center 1 color 1e30 1 1 ray_number 11 jitter_angles 1e30 start_angle 1e30 "
            "radius_range -1e30 1e30 ray_width 1e30 rand_seed -5"));
  for (const char* scale : {"1", "500000", "0.0003", "[500000 0.0003]", "[0.0003 500000]", "-1", "[-1 1]"})
    for (const char* place : {"[0 0]", "[500000 -500000]", "[-3 0.2]"})
      for (const picture_size size : {picture_size{1, 1}, {1, 40}, {40, 1}, {33, 20}}) {
        flare_settings s;
        s.scale = scale;
        s.hotspot = place;
        s.pivot = "[-500000 500000]";
        s.gamma = "-5";
        s.saturation = "500000";
        s.rotate = "-500000";
        report_capture reports;
        rendered_flare(s, {.width = size.width, .height = size.height});
      }
}

TEST(lens_flare, checks_its_planes) {
  const flare_files files(TWO);
  definition_renderer r("(define F () shine = " + flare_settings{}.call() + " dest = (+ shine 0))");
  expect_planes_are_checked(r, "lens_flare", 3);
}

TEST(lens_flare, stops_when_asked) {
  const flare_files files(TWO);
  definition_renderer r(flare_settings{}.definition(), FRAME);
  set_abort_query([] { return 1; });
  EXPECT_FALSE(r.render());
  set_abort_query(nullptr);
}

// --- lens_flare_auto ---------------------------------------------------------------------------------------

std::string auto_flare(const std::string& pre_blur = "0", const std::string& shift = "[0 0]",
                       const std::string& size = "[1 1]") {
  return "(define F (Source) () dest = (lens_flare_auto (element_of Source 0) " + pre_blur + " 0 [0 0] 1 1 " + size +
         " 0 [1 1 1] [1 1 1] [1 1 1] " + shift + "))";
}
/// Middle of the light.
std::pair<double, double> middle_of(const planes_of_result& r, int width) {
  double sum = 0, x = 0, y = 0;
  for (std::size_t i = 0; i < r[0].size(); ++i) {
    sum += r[0][i];
    x += r[0][i] * double(i % std::size_t(width));
    y += r[0][i] * double(i / std::size_t(width));
  }
  return {x / sum, y / sum};
}
const std::string POINT = entry("spot center 1 radii 0 0.05 colors 1 1 1 1 1 1");

TEST(lens_flare_auto, stands_on_the_middle_of_the_brightest_samples) {
  const flare_files files(POINT);
  const struct {
    std::vector<std::pair<int, int>> brightest;
    double x, y;
  } ROWS[] = {{{{60, 17}}, 60, 17}, {{{30, 20}, {32, 20}, {31, 26}}, 31, 22}, {{{20, 10}, {50, 49}}, 35, 29.5}};
  for (const auto& row : ROWS) {
    definition_renderer r(auto_flare(), FRAME);
    r.set_source(0, [&](int x, int y, int) {
      for (const auto& [bx, by] : row.brightest)
        if (x == bx && y == by) return 5000;
      return (x * 7 + y) % 4000;
    });
    const planes_of_result result = same_everywhere(r);
    const auto [x, y] = middle_of(result, 80);
    EXPECT_NEAR(x, row.x, 0.05);
    EXPECT_NEAR(y, row.y, 0.05);
  }
}

TEST(lens_flare_auto, is_shifted) {
  const flare_files files(POINT);
  for (const float aspect : {1.0f, 0.8f}) {
    definition_renderer r(auto_flare("0", "[0.25 0.2]"), {.width = 80, .height = 60, .pixel_aspect = aspect});
    r.set_source(0, [](int x, int y, int) { return x == 40 && y == 30 ? 4096 : 0; });
    const auto [x, y] = middle_of(rendered(r), 80);
    EXPECT_NEAR(x, 50, 0.05);
    EXPECT_NEAR(y, 30 - 8 / aspect, 0.1);
  }
}

TEST(lens_flare_auto, sees_the_image_blurred) {
  const flare_files files(POINT);
  // One pixel outshines a square that has more light.
  const auto source = [](int x, int y, int) {
    return x == 10 && y == 10 ? 4096 : x >= 50 && x <= 56 && y >= 40 && y <= 46 ? 3000 : 0;
  };
  definition_renderer sharp(auto_flare(), FRAME), blurred(auto_flare("0.4"), FRAME);
  {
    definition_renderer r(auto_flare(), FRAME);
    r.set_source(0, source);
    EXPECT_NEAR(middle_of(rendered(r), 80).first, 10, 0.1);
  }
  {
    definition_renderer r(auto_flare("0.4"), FRAME);
    r.set_source(0, source);
    EXPECT_NEAR(middle_of(rendered(r), 80).first, 53, 0.6);
  }
}

TEST(lens_flare_auto, stands_in_the_middle_of_an_even_image_and_shuns_the_darkest) {
  const flare_files files(POINT);
  for (const fix level : {0, 4096, -9999}) {
    definition_renderer r(auto_flare(), FRAME);
    r.set_source(0, [level](int, int, int) { return level; });
    const auto [x, y] = middle_of(rendered(r), 80);
    EXPECT_NEAR(x, 39.5, 0.05) << level;
    EXPECT_NEAR(y, 29.5, 0.05) << level;
  }
  definition_renderer r(auto_flare(), FRAME);
  r.set_source(0, [](int, int, int) { return -10000; });
  EXPECT_TRUE(is_black(same_everywhere(r)));
}

TEST(lens_flare_auto, needs_the_whole_image) {
  const flare_files files(POINT);
  definition_renderer r(auto_flare(), FRAME);
  ASSERT_TRUE(r.render());
  EXPECT_EQ(bounds_of_tree(r.effect(), make_rectangle(0, 0, 79, 59)), everything());
}

}  // namespace
}  // namespace tessaron::testing
