// glare: bright regions, the flares that they get, and the convolution of every bright pixel.
#include <cstring>

#include "flare_kit.h"
#include "operators/flare_shape.h"
#include "operators/operators.h"

namespace tessaron {
// The body of the plain level, called directly.
namespace level_generic {
struct centroid_sums {
  std::int64_t light[3];
  std::int64_t total;
  std::int64_t x, y;
};
centroid_sums add_to_centroid(std::int16_t* const* planes, int width, int height, int x, int y);
centroid_sums add_to_bw_centroid(std::int16_t* plane, int width, int height, int x, int y);
}  // namespace level_generic
}  // namespace tessaron

namespace tessaron::testing {
namespace {

// --- regions -----------------------------------------------------------------------------------------------

/// Planes from a drawing: a digit is a sample of that many hundreds, in all planes.
struct drawn_planes {
  explicit drawn_planes(const std::vector<std::string>& rows) : width(int(rows[0].size())), height(int(rows.size())) {
    for (auto& plane : samples)
      for (const std::string& row : rows)
        for (const char c : row) plane.push_back(std::int16_t(c == '.' ? 0 : (c - '0') * 100));
  }
  level_generic::centroid_sums take(int x, int y) {
    std::int16_t* const planes[3] = {samples[0].data(), samples[1].data(), samples[2].data()};
    return level_generic::add_to_centroid(planes, width, height, x, y);
  }
  std::vector<std::int16_t> samples[3];
  int width, height;
};

TEST(centroid, sums_light_and_place_of_a_region_and_clears_it) {
  drawn_planes p({"1....", ".2..5", ".3..5"});
  p.samples[1][5 + 1] = -700;  // takes no light away
  const auto sums = p.take(1, 2);
  EXPECT_EQ(sums.light[0], 600);
  EXPECT_EQ(sums.light[1], 400);
  EXPECT_EQ(sums.light[2], 600);
  EXPECT_EQ(sums.total, 1600);
  EXPECT_EQ(sums.x, 1 * (2 * 200 + 3 * 300));  // and 0 for the pixel at the corner
  EXPECT_EQ(sums.y, 1 * (2 * 200) + 2 * (3 * 300));
  EXPECT_EQ(p.samples[0], (std::vector<std::int16_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 500, 0, 0, 0, 0, 500}));
}

TEST(centroid, takes_a_region_of_any_shape_once) {
  // A comb, a spiral and diagonals: what a fill by rows has to come back for.
  const std::vector<std::vector<std::string>> DRAWINGS = {
      {"1.1.1.1", "1.1.1.1", "1111111"},
      {"1111111", "1.1.1.1", "1.1.1.1"},
      {"1111111", "......1", "11111.1", "1...1.1", "1.111.1", "1.....1", "1111111"},
      {"1...1", ".1.1.", "..1..", ".1.1.", "1...1"},
      {"1"},
      {"1111", "1111", "1111"},
  };
  for (const auto& drawing : DRAWINGS) {
    std::int64_t all = 0;
    for (const std::string& row : drawing) all += 100 * std::count(row.begin(), row.end(), '1');
    for (int y = 0; y < int(drawing.size()); ++y)
      for (int x = 0; x < int(drawing[0].size()); ++x) {
        if (drawing[std::size_t(y)][std::size_t(x)] == '.') continue;
        drawn_planes p(drawing);
        EXPECT_EQ(p.take(x, y).light[0], all) << drawing[0] << " from " << x << "," << y;
        EXPECT_EQ(std::count(p.samples[0].begin(), p.samples[0].end(), 0), std::ptrdiff_t(p.samples[0].size()));
      }
  }
}

TEST(centroid, of_darkness_is_reported) {
  drawn_planes p({"1.", ".."});
  report_capture reports;
  EXPECT_EQ(p.take(1, 0).total, 0) << "a lit neighbour makes no start";
  EXPECT_TRUE(reports.has("add_to_centroid: warning, start point was 0")) << reports.all();
}

TEST(centroid, of_one_plane) {
  drawn_planes p({"12.", "..4", "8.."});
  const auto sums = level_generic::add_to_bw_centroid(p.samples[0].data(), 3, 3, 0, 0);
  EXPECT_EQ(sums.light[0], 700);
  EXPECT_EQ(sums.x, 200 + 800);
  EXPECT_EQ(sums.y, 400);
  EXPECT_EQ(p.samples[0][6], 800);
  report_capture reports;
  EXPECT_EQ(level_generic::add_to_bw_centroid(p.samples[0].data(), 3, 3, 0, 0).total, 0);
  EXPECT_TRUE(reports.has("add_to_bw_centroid: warning, start point was 0")) << reports.all();
}

TEST(centroid, of_a_large_image_needs_no_depth) {
  const int side = 2000;
  std::vector<std::int16_t> plane(std::size_t(side) * side, 100);
  for (int y = 0; y < side; ++y)
    for (int x = y % 4 == 1 ? 1 : 0; y % 2 && x < side - (y % 4 == 3); ++x) plane[std::size_t(y) * side + x] = 0;
  const auto sums = level_generic::add_to_bw_centroid(plane.data(), side, side, 0, 0);  // one long winding line
  EXPECT_EQ(sums.total, 100ll * (side * (side / 2) + side / 2));
}

// --- the node function ---------------------------------------------------------------------------------------

struct glare_settings {
  std::string image = "Source", threshold = "0.5", pre_blur = "0", size = "[1 1]", brightness = "1", saturation = "1",
              type = "0", convolve = "0", rotate = "0", res_factor = "0";
  std::string text() const {
    return "(define G (Source) (rgba_ok) dest = (glare " + image + " " + threshold + " " + pre_blur + " " + size + " " +
           brightness + " " + saturation + " " + type + " " + convolve + " " + rotate + " " + res_factor + "))";
  }
};
planes_of_result glaring(const glare_settings& g, const test_frame& f,
                         const definition_renderer::pixel_function& source) {
  definition_renderer r(g.text(), f);
  r.set_source(0, source);
  return same_everywhere(r);
}

const std::string DOT = entry("spot radii 0 0.05 colors 1 0.5 0.25 0 0 0");
constexpr test_frame FRAME = {.width = 100, .height = 60};

/// White rectangles on black: first column and row, last column and row.
struct box {
  int x0, y0, x1, y1;
};
definition_renderer::pixel_function boxes(std::vector<box> all, fix white = FIX_ONE) {
  return [all = std::move(all), white](int x, int y, int) {
    for (const box& b : all)
      if (x >= b.x0 && x <= b.x1 && y >= b.y0 && y <= b.y1) return white;
    return 0;
  };
}

TEST(glare, of_black_is_black) {
  const flare_files files("", DOT);
  for (const char* convolve : {"0", "1", "2"})
    for (const char* res : {"0", "2"}) {
      glare_settings g;
      g.convolve = convolve;
      g.res_factor = res;
      for (const auto& plane : glaring(g, FRAME, boxes({})))
        for (const fix v : plane) EXPECT_EQ(v, 0);
    }
}

TEST(glare, puts_one_flare_on_the_middle_of_each_region) {
  const flare_files files("", entry("spot radii 0 0.02 colors 1 0.5 0.25 1 0.5 0.25"));
  // Energies: 100 wide, so 10000 / 100^2 is 1 for each white pixel. One stands at the lower edge.
  glare_settings g;
  g.threshold = "0";
  const planes_of_result r = glaring(g, FRAME, boxes({{20, 10, 22, 12}, {70, 57, 74, 59}}));
  const auto at = [&](int e, int x, int y) { return r[std::size_t(e)][std::size_t(y) * 100 + std::size_t(x)]; };
  EXPECT_EQ(at(0, 21, 11), 4096);
  EXPECT_EQ(at(1, 21, 11), 2048);
  EXPECT_EQ(at(2, 21, 11), 1024);
  EXPECT_EQ(at(0, 72, 58), 4096);
  // A radius of one pixel and an edge of one and a half: alike to all sides, and nothing four pixels away.
  for (const auto& [x, y] : {std::pair{21, 11}, {72, 58}}) {
    EXPECT_EQ(at(0, x - 2, y), at(0, x + 2, y));
    EXPECT_EQ(at(0, x - 2, y), at(0, x, y - 2));
    EXPECT_EQ(at(0, x - 4, y), 0);
    EXPECT_EQ(at(0, x, y - 4), 0);
  }
  EXPECT_EQ(at(0, 45, 30), 0);
}

TEST(glare, is_as_bright_as_its_region) {
  const flare_files files("", entry("spot radii 0 0.1 colors 1 1 1 1 1 1"));
  // A pixel of 0.4 is an energy of 0.4; in light of three colours each has its own.
  glare_settings g;
  g.threshold = "0";
  const auto lone = [](int x, int y, int e) { return x == 50 && y == 30 ? (e == 0 ? 1638 : e == 1 ? 819 : 0) : 0; };
  planes_of_result r = glaring(g, FRAME, lone);
  EXPECT_EQ(r[0][30 * 100 + 50], 1638);
  EXPECT_EQ(r[1][30 * 100 + 50], 819);
  EXPECT_EQ(r[2][30 * 100 + 50], 0);
  g.brightness = "[0.5 2 1]";
  g.threshold = "[0 0 0]";
  r = glaring(g, FRAME, lone);
  EXPECT_EQ(r[0][30 * 100 + 50], 819);
  EXPECT_EQ(r[1][30 * 100 + 50], 1638);
  g.saturation = "0";
  r = glaring(g, FRAME, lone);
  EXPECT_EQ(r[0][30 * 100 + 50], (((819 + 0) >> 1) + 1638 + ((819 - 0) >> 3)) >> 1);
  EXPECT_EQ(r[0][30 * 100 + 50], r[2][30 * 100 + 50]);
  g = {};
  g.threshold = "0";
  g.brightness = "100";
  EXPECT_EQ(glaring(g, FRAME, lone)[0][30 * 100 + 50], 4096) << "at most white";
}

TEST(glare, drops_regions_that_are_faint) {
  const flare_files files("", entry("spot radii 0 0.1 colors 1 1 1 1 1 1"));
  glare_settings g;
  g.threshold = "0";
  const auto lone = [](fix v) { return [v](int x, int y, int) { return x == 50 && y == 30 ? v : 0; }; };
  EXPECT_EQ(glaring(g, FRAME, lone(20))[0][30 * 100 + 50], 0);   // 20 / 4096 is 0.0049
  EXPECT_EQ(glaring(g, FRAME, lone(21))[0][30 * 100 + 50], 21);  // and 21 / 4096 0.0051
}

// A setting that varies has the value that its argument has in the middle of the whole picture, however small the
// planes are in which the glare is found.
TEST(glare, takes_settings_that_vary_at_full_resolution) {
  const flare_files files("", entry("spot radii 0 0.1 colors 1 1 1 1 1 1"));
  const auto source = boxes({{20, 10, 33, 24}, {70, 47, 84, 59}});
  for (const char* res : {"0", "1", "3"})
    for (const char* convolve : {"0", "2"}) {
      SCOPED_TRACE(std::string(res) + " " + convolve);
      glare_settings fixed;
      fixed.res_factor = res;
      fixed.convolve = convolve;
      glare_settings varying = fixed;
      // The middle is column 50 of 100, at x = 0.01, and row 30 of 60, at y = -0.01.
      fixed.threshold = "[0.5 0.25 0.125]";
      varying.threshold = "(+ (* 40 (- (extract_field (v3 x x x) 0) 0.010009765625)) [0.5 0.25 0.125])";
      fixed.brightness = "[0.5 0.25 1]";
      varying.brightness = "(+ (* 40 (v3 0 (- x 0.010009765625) 0)) [0.5 0.25 1])";
      const planes_of_result expected = glaring(fixed, FRAME, source);
      EXPECT_EQ(glaring(varying, FRAME, source), expected);
    }
}

TEST(glare, without_brightness_or_size_is_the_image) {
  const flare_files files("", DOT);
  const auto source = random_picture(100, -500, 6000);
  for (const auto& [size, brightness] : {std::pair{"[0 1]", "1"}, {"[1 0]", "1"}, {"[1 1]", "0"}}) {
    glare_settings g;
    g.size = size;
    g.brightness = brightness;
    for (const char* image : {"Source", "(element_of Source 1)"}) {
      g.image = image;
      const planes_of_result r = glaring(g, FRAME, source);
      for (int e = 0; e < 3; ++e)
        for (int i = 0; i < 100; ++i) EXPECT_EQ(r[std::size_t(e)][std::size_t(i)], source(i, 0, *image == 'S' ? e : 1));
    }
  }
}

TEST(glare, works_in_every_combination_of_elements) {
  const flare_files files("", DOT);
  const auto source = boxes({{50, 30, 53, 33}});
  test_frame four = FRAME;
  four.source_channels = 4;
  planes_of_result first;
  for (const char* threshold : {"0.5", "[0.5 0.5 0.5]"})
    for (const char* brightness : {"1", "[1 1 1]"})
      for (const char* image : {"(element_of Source 0)", "(remove_alpha Source)", "Source"}) {
        if (*image == 'S' && (*threshold != '[' || *brightness != '[')) continue;
        glare_settings g;
        g.image = image;
        g.threshold = threshold;
        g.brightness = brightness;
        const planes_of_result r = glaring(g, four, source);
        if (first.empty()) first = r;
        EXPECT_EQ(first_difference(r, first), "") << g.text();
      }
  EXPECT_GT(first[0][31 * 100 + 51], 2000);
}

TEST(glare, of_twice_the_size_looks_the_same_at_half_the_resolution) {
  const flare_files files(
      "", entry("spot radii 0 0.3 colors 1 1 1 0 0 0\nspot radii 0.4 0.5 0.6 colors 0 0 0 0.5 0.5 0.5 0 0 0"));
  const test_frame f = {.width = 320, .height = 200};
  for (const char* convolve : {"0", "2"}) {
    glare_settings g;
    g.convolve = convolve;
    g.threshold = "0";  // above one, the half-lit pixels at edges lose light
    g.brightness = *convolve == '0' ? "20" : "0.05";
    const planes_of_result full = glaring(g, f, boxes({{150, 90, 165, 105}}));
    for (const char* res : {"1", "2"}) {
      g.res_factor = res;
      g.size = *res == '1' ? "[2 2]" : "[4 4]";
      const planes_of_result less = glaring(g, f, boxes({{150, 90, 165, 105}}));
      EXPECT_NEAR(light_of(less[0]) / light_of(full[0]), 1, 0.05) << convolve << " " << res;
      EXPECT_LT(largest_difference(less, full), 600) << convolve << " " << res;
    }
  }
}

TEST(glare, is_the_same_everywhere) {
  const flare_files files("", entry("spot radii 0 0.1 colors 1 1 1 0 0 0\nhexagon radii 0.1 0.2 colors 0 1 0 0.5 0 "
                                    "0\nblob radii 0.3 colors 0.1 0.1 0.4\n"
                                    "rays color 1 0.5 0 ray_number 9 jitter_angles 1 start_angle 0 radius_range 0.1 "
                                    "0.5 ray_width 0.05 rand_seed 3"));
  for (const picture_size size : SIZES)
    for (const char* convolve : {"0", "1", "2"})
      for (const char* res : {"0", "1", "4"}) {
        glare_settings g;
        g.convolve = convolve;
        g.res_factor = res;
        g.pre_blur = "0.05";
        g.threshold = "[0.6 0.7 0.8]";
        g.rotate = "0.1";
        glaring(g, {.width = size.width, .height = size.height}, random_picture(size.width, -1000, 5000));
      }
}

TEST(glare, is_a_sum_of_flares_where_it_is_convolved) {
  const flare_files files(
      "", entry("spot radii 0 0.1 colors 1 0.5 0 0 0 0\nrays color 0 0 1 ray_number 2 jitter_angles 0 start_angle 0 "
                "radius_range 0.3 0.3 ray_width 0.04 rand_seed 3"));
  // The kernel: the glare of one white pixel, whose energy is 1.
  const test_frame f = FRAME;
  glare_settings g;
  g.threshold = "0";
  const planes_of_result kernel = glaring(g, f, [](int x, int y, int) { return x == 50 && y == 30 ? 4096 : 0; });
  const auto source = [](int x, int y, int e) {
    return (x * 7 + y * 13) % 97 == 0 ? (x * 31 + y * 17 + e * 900) % 4096 : 0;
  };
  g.convolve = "2";
  g.brightness = "0.25";
  const planes_of_result r = glaring(g, f, source);
  for (int e = 0; e < 3; ++e)
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 100; ++x) {
        double sum = 0;
        for (int yy = 0; yy < 60; ++yy)
          for (int xx = 0; xx < 100; ++xx) {
            const int kx = 50 + x - xx, ky = 30 + y - yy;
            if (kx < 0 || kx >= 100 || ky < 0 || ky >= 60) continue;
            sum += double(source(xx, yy, e)) / 4096 * kernel[std::size_t(e)][std::size_t(ky) * 100 + std::size_t(kx)];
          }
        ASSERT_NEAR(r[std::size_t(e)][std::size_t(y) * 100 + std::size_t(x)], std::min(sum / 4, 32767.0), 2)
            << e << " " << x << "," << y;
      }
}

TEST(glare, says_when_a_convolution_would_be_slow) {
  const flare_files files("", entry("spot radii 0 1 colors 1 1 1 1 1 1"));
  glare_settings g;
  g.threshold = "0";
  g.convolve = "1";
  const test_frame f = {.width = 200, .height = 120};
  const auto bright = boxes({{0, 0, 199, 119}});
  // The kernel's reach is 101.5 pixels, 102 up, but the image has 199 and 119 more columns and rows: 205 x 205 samples
  // for each of 3 * 24000.
  definition_renderer r(g.text(), f);
  r.set_source(0, bright);
  report_capture reports;
  ::testing::internal::CaptureStderr();
  const planes_of_result refused = rendered(r);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "\a");
  EXPECT_EQ(reports.severity_of("Convolve would be slow: 303/100, aborting. (Use convolve: Even_if_slow to proceed.)"),
            REPORT_WARNING)
      << reports.all();
  for (const fix v : refused[0]) EXPECT_EQ(v, 0);
  reports.clear();
  g.convolve = "2";
  g.brightness = "0.01";
  definition_renderer all_the_same(g.text(), f);
  all_the_same.set_source(0, bright);
  EXPECT_GT(rendered(all_the_same)[0][60 * 200 + 100], 0);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST(glare, takes_type_0_for_one_that_is_not_there) {
  const flare_files files("", DOT);
  glare_settings g;
  const auto source = boxes({{50, 30, 53, 33}});
  const planes_of_result first = glaring(g, FRAME, source);
  for (const char* type : {"-1", "1", "300"}) {
    g.type = type;
    definition_renderer r(g.text(), FRAME);
    r.set_source(0, source);
    report_capture reports;
    EXPECT_EQ(first_difference(rendered(r), first), "");
    EXPECT_EQ(reports.severity_of(std::string("lens flare type ") + type + " is out of bounds: 0 - 0."), REPORT_WARNING)
        << reports.all();
  }
}

TEST(glare, without_a_file_is_black) {
  const flare_files files("", "");
  report_capture reports;
  for (const auto& plane : glaring({}, FRAME, boxes({{50, 30, 53, 33}})))
    for (const fix v : plane) EXPECT_EQ(v, 0);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST(glare, survives_any_values) {
  const flare_files files(
      "", entry("spot radii 0 0.1 1e30 colors 1 1 1 1 1 1 1e30 0 0\nhexagon radii -5 1e30 colors 1 1 1 1 1 1\n"
                "blob radii 1e30 colors 1 1 1\nrays color 1e30 1 1 ray_number 11 jitter_angles 1e30 "
                "start_angle 1e30 radius_range -1e30 1e30 ray_width 1e30 rand_seed -5"));
  for (const char* size : {"[1 1]", "[500000 0.001]", "[-1 -1]", "[0.0003 400000]"})
    for (const char* convolve : {"0", "2"})
      for (const picture_size frame : {picture_size{1, 1}, {2, 30}, {30, 2}, {24, 16}}) {
        glare_settings g;
        g.size = size;
        g.convolve = convolve;
        g.threshold = "-500000";
        g.brightness = "[500000 -500000 1]";
        report_capture reports;
        definition_renderer r(g.text(), {.width = frame.width, .height = frame.height});
        r.set_source(0, random_picture(frame.width, -32767, 32767));
        rendered(r);
      }
}

TEST(glare, checks_its_planes) {
  const flare_files files("", DOT);
  definition_renderer r("(define G (Source) () shine = (glare Source 0.5 0 [1 1] 1 1 0 0 0 0) dest = (+ shine 0))");
  expect_planes_are_checked(r, "glare", 6);
}

}  // namespace
}  // namespace tessaron::testing
