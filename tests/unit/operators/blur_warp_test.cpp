// blur_warp against its walk written out plainly, and what its pictures have to look like.
#include <gtest/gtest.h>

#include "warp_reference.h"

namespace tessaron::testing {
namespace {

// --- the walk, plainly ---------------------------------------------------------------------------------------

/// The image as planes hold it, with everything around it.
struct plain_picture {
  int w, h;
  plain_wrap wrap_x, wrap_y;
  std::function<fix(int, int)> source;

  /// -1: black.
  static int inside(wide p, int size, plain_wrap wrap, bool walks = true) {
    if (wrap == plain_wrap::none) return p >= 0 && p < size ? int(p) : -1;
    // A walk goes on at -p at the low end, where pixel 0 comes once; a single sample's border repeats it.
    const int period = wrap == plain_wrap::repeat ? size : walks ? 2 * size - 1 : 2 * size;
    const int q = int((p % period + period) % period);
    return q < size ? q : 2 * size - 1 - q;
  }
  wide at(wide x, wide y, bool walks = true) const {
    const int i = inside(x, w, wrap_x, walks), j = inside(y, h, wrap_y, walks);
    return i < 0 || j < 0 ? 0 : std::clamp(source(i, j), -32767, 32767);
  }
  /// Along the longer direction p, across it q.
  wide at(bool across_first, wide p, wide q) const { return across_first ? at(p, q) : at(q, p); }
};

struct plain_line {
  wide ax, ay, bx, by;
};

struct blur_settings {
  wide wa, wb;
  fix scale = 4096;
};

fix weighed(double sum, double weights, fix scale) {
  return rounded(std::clamp(sum * (scale / (weights == 0 ? 1 : weights)), -32767.0, 32767.0));
}

fix plain_sharp(const plain_picture& image, const blur_settings& s, const plain_line& l) {
  const bool columns = std::abs(l.bx - l.ax) >= std::abs(l.by - l.ay);
  const wide a = columns ? l.ax : l.ay, b = columns ? l.bx : l.by, c = columns ? l.ay : l.ax, d = columns ? l.by : l.bx;
  const wide first = (a + 2048) >> 12, last = (b + 2048) >> 12, n = std::abs(last - first) + 1;
  const wide across = (d - c) * 256 / n, weight_step = (s.wb - s.wa) * 256 / n;
  wide sum = 0, weights = 0;
  for (wide k = 0; k < n; ++k) {
    const wide pixel = image.at(columns, first + (last < first ? -k : k), ((c + 2048) * 256 + across * k) >> 20);
    const wide weight = s.wa == s.wb ? 4096 : (s.wa * 256 + weight_step * k) >> 8;
    sum += (pixel * weight) >> 12;
    weights += weight;
  }
  return weighed(double(sum), double(weights), s.scale);
}

/// Pixels count by how much of the way to their neighbours the line covers; at its ends it is read at its ends.
fix plain_soft(const plain_picture& image, const blur_settings& s, const plain_line& l) {
  const bool columns = std::abs(l.bx - l.ax) >= std::abs(l.by - l.ay);
  const wide a = columns ? l.ax : l.ay, b = columns ? l.bx : l.by, c = columns ? l.ay : l.ax, d = columns ? l.by : l.bx;
  const wide sign = b < a ? -1 : 1, length = std::abs(b - a), from = a * sign, to = from + length;
  const wide slope = length ? ((d - c) * 256 * 4096) / length : 0,
             weight_slope = (s.wb - s.wa) * 256 * 4096 / (length + 4096);
  wide sum = 0, weights = 0;
  const wide first = from >> 12, last = (to >> 12) + 1;
  for (wide p = first; p <= last; ++p) {
    const wide t = std::clamp<wide>(p * 4096 - from, 0, length);
    const wide q = c * 256 + ((slope * t) >> 12);
    const wide near = image.at(columns, p * sign, q >> 20), far = image.at(columns, p * sign, (q >> 20) + 1);
    const wide fraction = (q >> 8) & 4095;
    const wide part = p == first ? 4096 - (from & 4095) : p == last ? to & 4095 : 4096;
    const wide full = s.wa == s.wb ? 4096 : (s.wa * 256 + ((weight_slope * t) >> 12)) >> 8;
    const wide weight = (full * part) >> 12;
    sum += (((near * (4096 - fraction) + far * fraction) >> 12) * weight) >> 12;
    weights += weight;
  }
  return weighed(double(sum), double(weights), s.scale);
}

/// Both ends in fix pixels; the start comes into the frame and takes the end along.
plain_line plain_ends(const plain_frame& f, const std::function<fix(int e)>& map) {
  const auto y13 = [&](wide y) { return (low_word(-y * f.inv_aspect) >> 12) + 4096; };
  wide ax = map(0) + 4096, bx = map(2) + 4096, ay = y13(map(1)), by = y13(map(3));
  const auto enter = [](wide& from, wide& to, plain_wrap wrap) {
    if (wrap == plain_wrap::none) return;
    const wide frames = from >> 13, length = to - from;
    const bool reflected = wrap == plain_wrap::mirror && (frames & 1);
    from = reflected ? 8191 - (from & 8191) : from & 8191;
    to = from + (reflected ? -length : length);
  };
  enter(ax, bx, f.wrap_x);
  enter(ay, by, f.wrap_y);
  const auto px = [&](wide p, int full) { return ((p * full) >> 1) - 2048; };
  return {px(ax, f.w), px(ay, f.h), px(bx, f.w), px(by, f.h)};
}

struct ends_case {
  const char* text;
  fix b0, b1;
};
constexpr ends_case ENDS[] = {{"[1 1]", 4096, 4096}, {"[1 0]", 4096, 0},         {"[0.25 1]", 1024, 4096},
                              {"[0 0]", 0, 0},       {"[1 -0.25]", 4096, -1024}, {"[0.5 0.5]", 2048, 2048}};

TEST(plain_picture, mirrors_a_walk_at_the_low_end_as_minus_p_and_at_the_high_end_as_twice_the_size_less_p_and_1) {
  const int places[] = {3, 2, 1, 0, 1, 2, 3, 3, 2, 1, 0, 1};  // from -3 on, of 4 pixels
  for (int i = 0; i < int(std::size(places)); ++i)
    EXPECT_EQ(plain_picture::inside(i - 3, 4, plain_wrap::mirror), places[i]) << i - 3;
}

TEST(blur_warp, is_the_weighed_mean_along_each_pixels_line) {
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const plain_wrap wx : ALL_WRAPS)
      for (const plain_wrap wy : ALL_WRAPS) {
        if (too_slow(size, wx, wy)) continue;
        const int elnum = 1 + turn % 4;
        const ends_case& ends = ENDS[turn++ % std::size(ENDS)];
        const bool soft = turn % 2;
        const float scale = turn % 3 ? 1.0f : 0.625f;
        const test_frame f = {.width = size.width,
                              .height = size.height,
                              .source_channels = MAP_CHANNELS,
                              .pixel_aspect = turn % 5 == 0 ? 0.5f : 1.0f};
        definition_renderer r(
            warp_definition("(blur_warp " + image_of(elnum) + " " + FIRST_PAIR + " " + SECOND_PAIR + " " + ends.text +
                            (scale == 1.0f ? " 1" : " 0.625") + " wrap " + (soft ? "1" : "0") + " 0)"),
            f);
        const auto source = random_picture(size.width, -6000, 40000), scatter = scattered_map(size.width);
        // Long lines, lines of a few pixels, straight ones, and none at all.
        const auto map = [&](int x, int y, int e) {
          const int kind = (x + 3 * y) % 5;
          if (e < 2 || kind == 0) return scatter(x, y, e);
          const fix from = scatter(x, y, e - 2);
          if (kind == 1 || (kind == 2 && e == 2)) return from;
          return from + scatter(x, y, e) / (kind == 3 ? 12 : 3);
        };
        r.set_source(0, source);
        r.set_source(1, map);
        r.set_param("wx", {wrap_value(wx)});
        r.set_param("wy", {wrap_value(wy)});
        ASSERT_TRUE(r.render());
        const plain_frame frame(f, wx, wy);
        const wide t = ends.b0 + ends.b1 ? ends.b0 + ends.b1 : 1;
        const blur_settings settings = {wide(ends.b0) * 8192 / t, wide(ends.b1) * 8192 / t, fix(scale * 4096)};
        const auto expected = [&](int e, int x, int y) -> fix {
          const plain_picture image = {size.width, size.height, wx, wy, [&](int i, int j) { return source(i, j, e); }};
          const auto here = [&](int k) { return map(x, y, k); };
          if (here(0) == here(2) && here(1) == here(3)) {
            wide px = frame.x16(here(0)), py = frame.y16(here(1));
            if (!plain_frame::wrapped(px, wx) || !plain_frame::wrapped(py, wy)) return 0;
            px = plain_frame::pixels(px, size.width), py = plain_frame::pixels(py, size.height);
            const wide fx = px & 4095, fy = py & 4095, fxy = (fx * fy) >> 12, i = px >> 12, j = py >> 12;
            const wide v = ((4096 - fx - fy + fxy) * image.at(i, j, false) + (fx - fxy) * image.at(i + 1, j, false) +
                            fxy * image.at(i + 1, j + 1, false) + (fy - fxy) * image.at(i, j + 1, false)) >>
                           12;
            return fix((v * settings.scale) >> 12);
          }
          const plain_line line = plain_ends(frame, here);
          return soft ? plain_soft(image, settings, line) : plain_sharp(image, settings, line);
        };
        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " turn " + std::to_string(turn));
        ASSERT_EQ(first_wrong(r, expected), "");
      }
}

// --- reductions ----------------------------------------------------------------------------------------------

fix binomial(const std::function<fix(int, int)>& at, int w, int h, int x, int y) {
  static const int WEIGHTS[3] = {1, 2, 1};
  wide sum = 0;
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i)
      sum +=
          WEIGHTS[i + 1] * WEIGHTS[j + 1] * wide(at(std::clamp(2 * x + i, 0, w - 1), std::clamp(2 * y + j, 0, h - 1)));
  return fix((sum + 7) >> 4);
}

TEST(blur_warp, at_half_resolution_of_no_lines_is_the_reduced_image_brought_back) {
  // Equal points at the reduced pixels' own middles: the walk hands the reduced image on.
  for (const picture_size size : {picture_size{64, 64}, {32, 64}, {64, 16}}) {
    const test_frame f = {.width = size.width, .height = size.height, .source_channels = 4};
    definition_renderer r(warp_definition("(blur_warp Source " + FIRST_PAIR + " " + FIRST_PAIR + " [1 1] 1 [1 1] 1 1)"),
                          f);
    const auto source = random_picture(size.width, -20000, 20000);
    const int w = size.width / 2, h = size.height / 2;
    r.set_source(0, source);
    // The map is read at the second pixel of each pair; it names the middle of the reduced pixel.
    r.set_source(1, [&](int x, int y, int e) {
      return e % 2 == 0 ? (x / 2 * 2 + 1) * 4096 / w - 4096 : (h - (y / 2 * 2 + 1)) * 4096 / w;
    });
    ASSERT_TRUE(r.render());
    const auto reduced = [&](int e, int x, int y) -> wide {
      return binomial([&](int i, int j) { return source(i, j, e); }, size.width, size.height, std::min(x, w - 1),
                      std::min(y, h - 1));
    };
    EXPECT_EQ(first_wrong(r,
                          [&](int e, int x, int y) {
                            const int i = x / 2, j = y / 2, di = x % 2, dj = y % 2;
                            const wide sum = reduced(e, i, j) + reduced(e, i + di, j) + reduced(e, i, j + dj) +
                                             reduced(e, i + di, j + dj);
                            return fix(sum >> 2);
                          }),
              "")
        << size.width << "x" << size.height;
  }
}

TEST(blur_warp, looks_the_same_at_lower_resolutions) {
  const picture_size size = {240, 135};
  planes_of_result full;
  for (const char* reductions : {"0", "1", "2"}) {
    definition_renderer r(std::string("(define W (Source) () dest = (blur_warp Source (* xy 0.7) (* xy 1.1) [1 0.5] 1 "
                                      "[2 2] 1 ") +
                              reductions + "))",
                          {.width = size.width, .height = size.height});
    r.set_source(0, landscape_picture(size));
    const planes_of_result result = rendered(r);
    if (full.empty()) full = result;
    double difference = 0;
    for (std::size_t i = 0; i < full[0].size(); ++i) difference += std::abs(full[0][i] - result[0][i]);
    EXPECT_LT(difference / double(full[0].size()), 60) << reductions;  // of 4096
    EXPECT_LT(largest_difference(full, result), 700) << reductions;    // at the bar's edges
  }
}

TEST(blur_warp, reads_cached_coordinates_at_the_right_places_at_lower_resolutions) {
  // The same squares, from planes of full resolution and computed in the loop.
  planes_of_result results[2];
  for (int i = 0; i < 2; ++i) {
    definition_renderer r(std::string("(define W (Source Map) () off = (v2 (* (") + (i ? "gamma" : "expt") +
                              " (element_of Map 0) 2) 0.1) 0)\n"
                              " dest = (blur_warp Source (- xy off) (+ xy off) [1 1] 1 [2 2] 1 2))",
                          {.width = 101, .height = 63});
    r.set_source(0, random_picture(101, 0, 4096));
    r.set_source(1, [](int x, int y, int) { return 40 * x + 7 * y; });
    results[i] = rendered(r);
    EXPECT_EQ(r.calls_of("gamma").size(), std::size_t(i));
  }
  EXPECT_EQ(results[0], results[1]);
}

// --- laws ----------------------------------------------------------------------------------------------------

TEST(blur_warp, of_one_colour_keeps_it_in_every_form) {
  for (const char* form : {"0 0", "1 0", "0 1", "1 2", "1 4"})
    for (const char* ends : {"[1 1]", "[1 0]", "[0.2 1]"}) {
      definition_renderer r(std::string("(define W (Source) () dest = (blur_warp Source xy (* xy 0.6) ") + ends +
                                " 1 [1 2] " + form + "))",
                            {.width = 61, .height = 45});
      r.set_source(0, [](int, int, int e) { return 1000 + e; });
      const auto result = rendered(r);
      // Each step's weighed sample is rounded down; weights are 0.4 and more.
      constexpr int ROUNDING = 4;
      for (int e = 0; e < 3; ++e) {
        const auto [low, high] = std::minmax_element(result[e].begin(), result[e].end());
        EXPECT_GE(*low, 1000 + e - ROUNDING) << form << " " << ends;
        EXPECT_LE(*high, 1000 + e) << form << " " << ends;
      }
    }
}

TEST(blur_warp, darkens_where_its_lines_leave_an_image_without_wrap) {
  definition_renderer r("(define W (Source) () dest = (blur_warp Source xy (+ xy [1 0]) [1 1] 1 [0 0] 1 0))",
                        {.width = 64, .height = 8});
  r.set_source(0, [](int, int, int) { return 4096; });
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 4, 4), 4096);
  EXPECT_NEAR(r.at(0, 48, 4), 2048, 160);  // half of the line is outside
  EXPECT_NEAR(r.at(0, 63, 4), 64, 128);
}

TEST(blur_warp, of_equal_points_is_the_warp_there) {
  const test_frame f = {.width = 70, .height = 40, .source_channels = 4};
  definition_renderer line(warp_definition("(blur_warp Source " + FIRST_PAIR + " " + FIRST_PAIR + " [1 0] 1 wrap 0 0)"),
                           f);
  definition_renderer once(warp_definition("(warp Source " + FIRST_PAIR + " wrap 0)"), f);
  for (definition_renderer* r : {&line, &once}) {
    r->set_source(0, random_picture(70, 0, 8191));
    r->set_source(1, scattered_map(70));
    r->set_param("wx", {1});
    r->set_param("wy", {2});
  }
  EXPECT_EQ(rendered(line), rendered(once));
}

TEST(blur_warp, of_absurdly_long_lines_ends_and_stays_in_range) {
  for (const char* form : {"[0 0] 0 0", "[1 2] 1 0", "[2 1] 0 1", "[0 1] 1 0"}) {
    definition_renderer r(std::string("(define W (Source Map) (rgba_ok) dest = (blur_warp Source ") + FIRST_PAIR + " " +
                              SECOND_PAIR + " [1 0.3] 1 " + form + "))",
                          {.width = 5, .height = 3, .source_channels = 4});
    r.set_source(0, random_picture(5, 0, 4096));
    r.set_source(1, [](int x, int y, int e) { return fix(std::uint32_t(x + 5 * y + 15 * e) * 2654435761u); });
    for (const auto& plane : rendered(r))
      for (const fix v : plane) EXPECT_TRUE(v >= -32767 && v <= 32767);
  }
}

}  // namespace
}  // namespace tessaron::testing
