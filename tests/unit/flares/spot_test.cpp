// Discs and rings bit for bit against their rules written out plainly; blobs and hexagons by what they have to look
// like.
#include "evaluator/tables.h"
#include "flare_kit.h"

namespace tessaron::testing {
namespace {

/// A root of d2 (squares of 1/16 pixels) in fix pixels.
fix plain_distance(std::int64_t d2) {
  if (d2 >= 4194304) return fix(std::sqrt(float(d2)) * 256.0f + 0.5f);
  // Ranges of the table, each four times as coarse as the one before.
  int entry_bits = 0, part_bits = 0, part_shift = 0, rest = 10;
  if (d2 >= 262144) {
    entry_bits = 12, part_bits = 10, part_shift = 2, rest = 4;
  } else if (d2 >= 16384) {
    entry_bits = part_bits = 8, rest = 6;
  } else if (d2 >= 1024) {
    entry_bits = part_bits = 4, rest = 8;
  }
  const std::int64_t i = d2 >> entry_bits, part = (d2 >> part_shift) % (1 << part_bits);
  const std::int64_t between = (std::int64_t(sqrt_table[i + 1] - sqrt_table[i]) * part) >> part_bits;
  return fix((sqrt_table[i] + (1 << (rest - 1)) + between) >> rest);
}

/// A disc or ring of `lens_spot`.
struct plain_spot {
  double center = 1;
  std::vector<double> radii;
  std::vector<std::array<double, 3>> colors;

  std::string text() const {
    std::string all = "spot center ";
    all += std::to_string(center) + " radii";
    for (double r : radii) all += " " + std::to_string(r);
    all += " colors";
    for (const auto& c : colors)
      for (double v : c) all += " " + std::to_string(v);
    return all + "\n";
  }
};

struct plain_look {
  double x = 0, y = 0, pivot_x = 0, pivot_y = 0;
  double gamma = 1, saturation = 1, scale_x = 1, scale_y = 1;
  std::array<double, 3> hotspot{1, 1, 1}, other{1, 1, 1};

  static std::string vector(std::initializer_list<double> v) {
    std::string all = "[";
    for (double each : v) all += std::to_string(each) + " ";
    return all + "]";
  }
  flare_settings settings() const {
    flare_settings s;
    s.hotspot = vector({x, y});
    s.pivot = vector({pivot_x, pivot_y});
    s.gamma = std::to_string(gamma);
    s.saturation = std::to_string(saturation);
    s.scale = scale_x == scale_y ? std::to_string(scale_x) : vector({scale_x, scale_y});
    s.hotspot_color = vector({hotspot[0], hotspot[1], hotspot[2]});
    s.other_color = vector({other[0], other[1], other[2]});
    return s;
  }
};

double of_text(double v) {  // as the file's reader takes the number
  float value = 0;
  inspect_number(std::to_string(v), value);
  return value;
}
double as_fix(double v) {  // as an argument of a node
  float value = 0;
  inspect_number(std::to_string(v), value);
  return fix_from_double(value) / 4096.0;
}
fix low_bits(std::int64_t v) { return fix(std::uint32_t(v)); }
fix rounded(double v) { return fix(std::lrint(v)); }

/// Colours in fix after gamma, colour and saturation.
std::array<fix, 3> plain_colors(const std::array<double, 3>& c, const std::array<double, 3>& light,
                                const plain_look& look) {
  std::array<fix, 3> out;
  const double gamma = std::max(as_fix(look.gamma), 0.0001);
  for (int e = 0; e < 3; ++e) {
    const double base = of_text(c[e]) > 0 ? std::pow(of_text(c[e]), 1 / gamma) : 0;
    out[e] = rounded(base * float(as_fix(light[e])) * 4096);
  }
  const fix s = rounded(as_fix(look.saturation) * 4096);
  if (s == 4096) return out;
  const fix r = out[0], g = out[1], b = out[2];
  const fix m = (((r + b) >> 1) + g + ((r - b) >> 3)) >> 1;
  for (fix& v : out)
    v = s == 0 ? m : (low_bits(std::int64_t(m) * (4096 - s)) >> 12) + (low_bits(std::int64_t(v) * s) >> 12);
  return out;
}

planes_of_result plain_flare(const std::vector<plain_spot>& spots, const plain_look& look, const test_frame& f) {
  const int w = f.x1 < 0 ? f.width : f.x1 - f.x0 + 1, h = f.x1 < 0 ? f.height : f.y1 - f.y0 + 1;
  planes_of_result planes(3, std::vector<fix>(std::size_t(w) * h, 0));
  const double unit = f.width / 2.0, scale = as_fix(look.scale_x) * unit;
  const double y_scale = f.pixel_aspect * (as_fix(look.scale_x) / as_fix(look.scale_y));
  const auto x_of = [&](double x) { return unit + as_fix(x) * unit - f.x0 - 0.5; };
  const auto y_of = [&](double y) { return f.height / 2.0 - as_fix(y) * unit / f.pixel_aspect - f.y0 - 0.5; };
  for (const plain_spot& s : spots) {
    const double c = float(of_text(s.center));
    const fix cx = rounded((x_of(look.pivot_x) + (x_of(look.x) - x_of(look.pivot_x)) * c) * 4096);
    const fix cy = rounded((y_of(look.pivot_y) + (y_of(look.y) - y_of(look.pivot_y)) * c) * 4096);
    std::vector<fix> r;
    std::vector<std::array<fix, 3>> colors;
    for (std::size_t i = 0; i < s.radii.size(); ++i) {
      r.push_back(rounded(of_text(s.radii[i]) * scale * 4096));
      colors.push_back(plain_colors(s.colors[i], c == 1 ? look.hotspot : look.other, look));
    }
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const std::int64_t dx = (x * 4096 - cx) >> 8;
        std::int64_t dy = y * 4096 - cy;
        if (y_scale != 1) dy = std::int64_t(std::floor(double(dy) * y_scale + 0.5));
        dy >>= 8;
        const fix d = plain_distance(dx * dx + dy * dy);
        const fix first = r.front(), last = r.back();
        if (d < first - 6144 || d >= last + 6144) continue;
        for (int e = 0; e < 3; ++e) {
          // Between two radii, or between one and the end of its soft edge.
          fix from = first - 6144, to = first;
          float a = 0, b = float(colors.front()[e]);
          for (std::size_t i = 0; i < r.size(); ++i)
            if (d >= r[i]) {
              const bool outside = i + 1 == r.size();
              from = r[i];
              to = outside ? last + 6144 : r[i + 1];
              a = float(colors[i][e]);
              b = outside ? 0 : float(colors[i + 1][e]);
            }
          const float slope = (b - a) / float(to - from);
          const float light = a + slope * float(d - from);
          fix& sample = planes[e][std::size_t(y) * w + x];
          sample = std::clamp<fix>(sample + fix(std::lrint(std::clamp(light, -32767.0f, 32767.0f))), -32767, 32767);
        }
      }
  }
  for (auto& plane : planes)
    for (fix& v : plane) v = std::min(v, 4096);
  return planes;
}

void expect_as_plain(const std::vector<plain_spot>& spots, const plain_look& look, const test_frame& f) {
  std::string text;
  for (const plain_spot& s : spots) text += s.text();
  const flare_files files(entry(text));
  definition_renderer r(look.settings().definition(), f);
  const planes_of_result wanted = plain_flare(spots, look, f);
  EXPECT_EQ(first_difference(same_everywhere(r), wanted), "") << text << look.settings().call();
}

const plain_spot DISC = {1, {0, 0.2}, {{{1, 0.6, 0.3}}, {{0.2, 0.1, 0}}}};
const plain_spot RING = {0.4, {0.3, 0.35, 0.5}, {{{0, 0, 0}}, {{0.3, 0.9, 0.7}}, {{0, 0.1, 0}}}};
const plain_spot GHOST = {-0.7, {0.05, 0.05, 0.12}, {{{0.5, 0, 0}}, {{0, 0.5, 0}}, {{0, 0, 0.5}}}};

TEST(flare_spots, are_their_rules_bit_for_bit) {
  plain_look look = {.x = 0.3, .y = 0.21, .pivot_x = -0.1, .pivot_y = 0.05};
  for (const picture_size size : {picture_size{120, 80}, {97, 131}, {1, 1}, {2, 3}, {300, 5}})
    expect_as_plain({DISC, RING, GHOST}, look, {.width = size.width, .height = size.height});
}

TEST(flare_spots, are_their_rules_bit_for_bit_in_every_range_of_distances) {
  // 1500 pixels wide: radii from a pixel to far beyond what the table of roots has.
  const plain_spot wide = {
      1, {0.001, 0.01, 0.1, 0.4, 0.9}, {{{1, 1, 1}}, {{0.5, 0, 0}}, {{0, 0.5, 0}}, {{0, 0, 0.4}}, {{0.1, 0.1, 0.1}}}};
  expect_as_plain({wide}, {.x = -0.2, .y = 0}, {.width = 1500, .height = 60});
  // And where squares leave 32 bits: the light is some thousand pixels to the left.
  const plain_spot far = {1, {3, 4, 5.5}, {{{0, 0, 0}}, {{0.6, 0.3, 0.1}}, {{0, 0, 0}}}};
  expect_as_plain({far}, {.x = -4, .y = 0.3}, {.width = 1600, .height = 40});
}

TEST(flare_spots, are_their_rules_bit_for_bit_with_gamma_colours_and_saturation) {
  const test_frame f = {.width = 90, .height = 60};
  for (const double gamma : {0.0, 0.5, 1.8, 5.0})
    for (const double saturation : {0.0, 0.4, 1.0, 2.5}) {
      plain_look look = {.x = 0.2, .y = -0.1, .gamma = gamma, .saturation = saturation};
      look.hotspot = {1.2, 0.7, 0.2};
      look.other = {0.3, 2, -0.5};
      expect_as_plain({DISC, RING, GHOST}, look, f);
    }
}

TEST(flare_spots, are_their_rules_bit_for_bit_for_parts_of_frames_and_other_pixels) {
  const plain_look look = {.x = 0.3, .y = 0.21, .pivot_x = -0.1, .pivot_y = 0.05};
  expect_as_plain({DISC, RING}, look, {.width = 120, .height = 80, .x0 = 30, .y0 = 11, .x1 = 99, .y1 = 60});
  expect_as_plain({DISC, RING}, look, {.width = 120, .height = 80, .pixel_aspect = 0.9f});
  plain_look stretched = look;
  stretched.scale_x = 1.5;
  stretched.scale_y = 0.5;
  expect_as_plain({DISC, RING}, stretched, {.width = 120, .height = 80, .pixel_aspect = 1.4f});
}

TEST(flare_spots, add_up_to_white_at_most) {
  plain_look look = {.x = 0.1};
  look.hotspot = {7, 0.9, 100};
  expect_as_plain({DISC, DISC, DISC}, look, {.width = 64, .height = 40});
}

TEST(flare_spots, stack_up_where_the_light_is_the_pivot) {
  const flare_files files(
      entry("spot center 1 radii 0 0.1 colors 1 1 1 1 1 1\nspot center -3 radii 0 0.3 colors 0 0.5 0 0 0.5 0"));
  flare_settings s;
  s.hotspot = s.pivot = "[0.25 0]";
  const planes_of_result r = rendered_flare(s, {.width = 160, .height = 80});
  for (int y = 0; y < 80; ++y)  // both are round about x = 99.5
    for (int x = 99; x >= 60; --x)
      for (int e = 0; e < 3; ++e) EXPECT_EQ(r[e][y * 160 + x], r[e][y * 160 + 199 - x]) << x;
  EXPECT_EQ(r[0][40 * 160 + 99], 4096);
  EXPECT_EQ(r[1][40 * 160 + 80], 2048);
}

TEST(flare_spots, report_radii_that_fall_and_too_few_colours) {
  const flare_files files(
      entry("spot center 1 radii 0.2 0.1 colors 1 1 1 1 1 1\nhexagon center 1 radii 0.2 0.1 c 1 1 1 1 1 1\n"
            "spot center 1 radii colors\nhexagon center 1 radii 1 colors 1 1 1\n"
            "spot center 1 radii 0 0.1 colors 1 1 1 1 1 1"));
  definition_renderer r(flare_settings{}.definition(), {.width = 40, .height = 30});
  report_capture reports;
  const planes_of_result result = rendered(r);
  EXPECT_EQ(reports.count_part("Flare radii are not in order!"), 2);
  EXPECT_EQ(reports.count_part("lens_flare color_number should be >= 2."), 2);
  EXPECT_EQ(reports.count(), 4u) << reports.all();
  EXPECT_EQ(result[0][15 * 40 + 20], 4096) << "the sound element is drawn";
}

// --- blobs -------------------------------------------------------------------------------------------------

TEST(flare_blobs, fall_off_as_half_a_turn_of_a_cosine) {
  const flare_files files(entry("blob center 1 radii 0.5 colors 1 0.5 0"));
  definition_renderer r(flare_settings{}.definition(), {.width = 201, .height = 101});
  const planes_of_result result = same_everywhere(r);
  for (int x = 0; x <= 100; ++x) {  // from the middle to the right; the radius is 50.25 pixels
    const double wanted = x < 50.25 ? 2048 + 2048 * std::cos(x / 50.25 * M_PI) : 0;
    EXPECT_NEAR(result[0][50 * 201 + 100 + x], wanted, 8) << x;
    EXPECT_NEAR(result[1][50 * 201 + 100 + x], wanted / 2, 5) << x;
    EXPECT_EQ(result[2][50 * 201 + 100 + x], 0);
    EXPECT_EQ(result[0][50 * 201 + 100 + x], result[0][50 * 201 + 100 - x]);
    const int below = x <= 50 ? x : 0;  // the frame is half as high
    EXPECT_EQ(result[0][50 * 201 + 100 + below], result[0][(50 + below) * 201 + 100]);
  }
}

TEST(flare_blobs, keep_their_light_when_they_are_smaller_than_a_pixel) {
  const flare_files files(entry("blob center 1 radii 0.02 colors 1 1 1"));  // 0.64 pixels
  double least = 1e9, most = 0;
  for (int i = 0; i < 20; ++i) {
    flare_settings s;
    s.hotspot = plain_look::vector({i * 0.0033, i * 0.0021});
    const double light = light_of(rendered_flare(s, {.width = 64, .height = 32})[0]);
    least = std::min(least, light);
    most = std::max(most, light);
  }
  EXPECT_GT(least, 0);
  EXPECT_LT(most / least, 1.1);
}

// --- hexagons ----------------------------------------------------------------------------------------------

constexpr int MIDDLE = 100, SIDE = 201;  // of the frames below
double half_of_frame() { return SIDE / 2.0; }

planes_of_result hexagon(const std::string& element, const std::string& rotate = "0") {
  const flare_files files(entry(element));
  flare_settings s;
  s.rotate = rotate;
  definition_renderer r(s.definition(), {.width = SIDE, .height = SIDE});
  return same_everywhere(r);
}
fix at(const planes_of_result& r, double x, double y) {
  return r[0][std::size_t(std::lrint(MIDDLE - y)) * SIDE + std::size_t(std::lrint(MIDDLE + x))];
}

TEST(flare_hexagons, have_corners_at_their_radius_and_flat_sides_between) {
  const planes_of_result r = hexagon("hexagon center 1 radii 0 0.6 colors 1 1 1 1 1 1");
  const double radius = 0.6 * half_of_frame(), side = radius * std::cos(M_PI / 6);
  for (int k = 0; k < 6; ++k) {
    const double corner = k * M_PI / 3, middle = corner + M_PI / 6;
    EXPECT_EQ(at(r, (radius - 3) * std::cos(corner), (radius - 3) * std::sin(corner)), 4096);
    EXPECT_EQ(at(r, (radius + 4) * std::cos(corner), (radius + 4) * std::sin(corner)), 0);
    EXPECT_EQ(at(r, (side - 2) * std::cos(middle), (side - 2) * std::sin(middle)), 4096);
    EXPECT_EQ(at(r, (side + 4) * std::cos(middle), (side + 4) * std::sin(middle)), 0);
  }
  // As much light as its area, with half the soft edge on.
  const double area = 1.5 * std::sqrt(3.0) * std::pow(radius + 0.75, 2);
  EXPECT_NEAR(light_of(r[0]) / 4096, area, area * 0.01);
}

TEST(flare_hexagons, are_the_same_after_a_sixth_of_a_turn) {
  const std::string element = "hexagon center 1 radii 0.2 0.5 0.6 colors 0 0 0 1 1 1 0.2 0.2 0.2";
  const planes_of_result r = hexagon(element), turned = hexagon(element, "0.16667"), half = hexagon(element, "0.08333");
  EXPECT_LT(std::fabs(light_of(r[0]) - light_of(turned[0])), light_of(r[0]) * 1e-3);
  EXPECT_LT(largest_difference(r, turned), 300) << "an angle is a fix";
  EXPECT_GT(largest_difference(r, half), 2000);
  // Mirrored up and down, left and right.
  for (int y = 0; y < SIDE; ++y)
    for (int x = 0; x < SIDE; ++x) {
      EXPECT_NEAR(r[0][y * SIDE + x], r[0][(SIDE - 1 - y) * SIDE + x], 1);
      EXPECT_NEAR(r[0][y * SIDE + x], r[0][y * SIDE + SIDE - 1 - x], 1);
    }
}

TEST(flare_hexagons, blend_colours_across_their_radii) {
  const planes_of_result r = hexagon("hexagon center 1 radii 0 0.5 0.9 colors 1 1 1 0.5 0.5 0.5 0 0 0");
  for (int x = 0; x < 90; ++x) {
    const double part = x / half_of_frame();
    const double wanted = part < 0.5 ? 1 - part : 0.5 * (0.9 - part) / 0.4;
    EXPECT_NEAR(at(r, x, 0), std::max(0.0, wanted) * 4096, 12) << x;
  }
}

TEST(flare_hexagons, leave_their_hole_dark) {
  const planes_of_result r = hexagon("hexagon center 1 radii 0.5 0.6 colors 1 1 1 1 1 1");
  for (int y = -40; y <= 40; ++y)
    for (int x = -40; x <= 40; ++x)
      if (std::hypot(x, y) < 0.5 * half_of_frame() * 0.866 - 3) {
        EXPECT_EQ(at(r, x, y), 0) << x << "," << y;
      }
}

}  // namespace
}  // namespace tessaron::testing
