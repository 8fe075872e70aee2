// The filtered form of warp and warp_rel against the rule written out plainly.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/reference_frame.h"
#include "tests/support/report_capture.h"
#include "warp_reference.h"

namespace tessaron::testing {
namespace {

/// Half the binary logarithm of c / 4096: whole part from the position of the highest bit, the rest linear.
wide plain_half_log(wide c) {
  if (c == 0) return -32768;        // far below everything
  const float as_float = float(c);  // 24 bits of it count
  int exponent = 0;
  const double mantissa = std::frexp(double(as_float), &exponent);  // 0.5 <= mantissa < 1
  const wide log_fix = wide(exponent - 1 - 12) * 4096 + wide(std::floor((mantissa * 2 - 1) * 4096));
  return std::clamp<wide>(log_fix >> 1, -32768, 32767);
}

class plain_uv {
 public:
  plain_uv(const test_frame& f, plain_sampler& image, bool min_mode,
           const std::function<fix(int x, int y, int e)>& coordinates)
      : f_(f), image_(image), min_(min_mode), u_(std::size_t(f.width) * f.height), v_(u_.size()), at_(coordinates) {
    for (int y = 0; y < f.height; ++y)
      for (int x = 0; x < f.width; ++x) {
        u_[index(x, y)] = wide(std::nearbyint(at_(x, y, 0) * (f.width * 0.25)));
        v_[index(x, y)] = wide(std::nearbyint(at_(x, y, 1) * (-double(1.0f / f.pixel_aspect) * (f.width * 0.25))));
      }
  }
  fix sample(int e, int x, int y) {
    const wide u = position(wide(at_(x, y, 0)) * 2 + 8192, image_.frame.wrap_x);
    const wide v =
        position((low_word(wide(-at_(x, y, 1)) * image_.frame.inv_aspect) >> 11) + 8192, image_.frame.wrap_y);
    return image_.elements[e].mip(((u * f_.width) >> 2) - 2048, ((v * f_.height) >> 2) - 2048,
                                  2 * plain_half_log(length(u_, x, y, min_)),
                                  2 * plain_half_log(length(v_, x, y, false)));
  }

 private:
  std::size_t index(int x, int y) const { return std::size_t(y) * f_.width + x; }
  static wide position(wide p, plain_wrap wrap) {
    if (wrap == plain_wrap::none) return std::clamp<wide>(p, -32768, 32767);
    return (p & 0x3fff) ^ (wrap == plain_wrap::mirror && (p & 0x4000) ? 0x3fff : 0);
  }
  /// How far the coordinates go around a pixel in both directions.
  wide length(const std::vector<wide>& l, int x, int y, bool min_mode) const {
    const wide across = span(l, x, y, 1, 0, f_.width, x, min_mode), down = span(l, x, y, 0, 1, f_.height, y, min_mode);
    return std::max(across, down) + std::min(across, down) / 2;
  }
  wide span(const std::vector<wide>& l, int x, int y, int dx, int dy, int size, int place, bool min_mode) const {
    if (size == 1) return 0;
    const wide here = l[index(x, y)];
    const wide before = place > 0 ? std::abs(here - l[index(x - dx, y - dy)]) : -1;
    const wide behind = place + 1 < size ? std::abs(l[index(x + dx, y + dy)] - here) : -1;
    if (before < 0 || behind < 0) return 2 * std::max(before, behind);
    return min_mode ? 2 * std::min(before, behind) : before + behind;
  }

  test_frame f_;
  plain_sampler& image_;
  bool min_;
  std::vector<wide> u_, v_;
  std::function<fix(int, int, int)> at_;
};

TEST(filtered_warp, takes_its_levels_from_the_coordinates_of_the_neighbours) {
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const plain_wrap wx : ALL_WRAPS)
      for (const plain_wrap wy : ALL_WRAPS) {
        if (too_slow(size, wx, wy)) continue;
        const int elnum = 1 + turn++ % 4;
        const bool relative = turn % 3 == 0, min_mode = turn % 2 == 0;
        const test_frame f = {.width = size.width,
                              .height = size.height,
                              .source_channels = MAP_CHANNELS,
                              .pixel_aspect = turn % 5 == 0 ? 0.5f : 1.0f};
        definition_renderer r(warp_definition((relative ? "(warp_rel " : "(warp ") + image_of(elnum) + " " +
                                              FIRST_PAIR + " wrap " + (min_mode ? "2)" : "1)")),
                              f);
        const auto source = random_picture(size.width, -3000, 12000), scatter = scattered_map(size.width);
        // Smooth coordinates with some noise on them; every 8th picture is nothing but noise.
        const auto map = [&](int x, int y, int e) -> fix {
          if (turn % 8 == 0) return scatter(x, y, e);
          const double along = e == 0 ? x * 8192.0 / size.width : -y * 9000.0 / size.height;
          return fix(along * (1 + turn % 4) - 4096) + scatter(x, y, e) / (turn % 7 == 0 ? 50 : 2000);
        };
        r.set_source(0, source);
        r.set_source(1, map);
        r.set_param("wx", {wrap_value(wx)});
        r.set_param("wy", {wrap_value(wy)});
        ASSERT_TRUE(r.render());
        plain_sampler image(f, wx, wy, elnum, source);
        plain_uv plain(f, image, min_mode, [&](int x, int y, int e) {
          const fix own = !relative ? 0 : e == 0 ? reference_x(f, x) : reference_y(f, y);
          return own + map(x, y, e);
        });
        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " turn " + std::to_string(turn));
        ASSERT_EQ(first_wrong(r, [&](int e, int x, int y) { return plain.sample(e, x, y); }), "");
      }
}

TEST(filtered_warp, takes_its_levels_from_coordinates_however_far_away) {
  const test_frame f = {.width = 64, .height = 6, .source_channels = MAP_CHANNELS};
  for (const double far : {300.0, 5000.0, 120000.0}) {  // norm units at the frame's sides
    definition_renderer r(warp_definition("(warp " + image_of(1) + " " + FIRST_PAIR + " wrap 1)"), f);
    const auto source = random_picture(f.width, 0, 8000);
    const auto map = [&](int x, int y, int e) {
      return fix((e == 0 ? x * 2.0 / 63 - 1 : y * 0.001) * far * 4096 + (x % 3) * 700);
    };
    r.set_source(0, source);
    r.set_source(1, map);
    r.set_param("wx", {wrap_value(plain_wrap::repeat)});
    r.set_param("wy", {wrap_value(plain_wrap::mirror)});
    ASSERT_TRUE(r.render());
    plain_sampler image(f, plain_wrap::repeat, plain_wrap::mirror, 1, source);
    plain_uv plain(f, image, false, map);
    EXPECT_EQ(first_wrong(r, [&](int e, int x, int y) { return plain.sample(e, x, y); }), "") << far;
  }
}

TEST(filtered_warp, by_the_screen_coordinates_hands_the_image_on) {
  // An image with planes keeps the warp from dropping out of the tree.
  const test_frame f = {.width = 40, .height = 30};
  definition_renderer warped("(define W (Source) () dest = (warp (gamma Source 2) xy [0 0] 1))", f);
  definition_renderer image("(define W (Source) () dest = (gamma Source 2))", f);
  for (definition_renderer* r : {&warped, &image}) r->set_source(0, random_picture(40, -11000, 11000));
  EXPECT_EQ(rendered(warped), rendered(image));
  EXPECT_EQ(warped.root().pass_arg, -1);
}

TEST(filtered_warp, of_a_fine_pattern_seen_from_afar_is_its_mean) {
  definition_renderer r("(define W (Source) () far = 8 dest = (warp Source (* xy far) [1 1] 1))",
                        {.width = 128, .height = 128});
  r.set_source(0, [](int x, int y, int) { return (x + y) % 2 ? 4096 : 0; });
  ASSERT_TRUE(r.render());
  for (int i = 4; i < 124; ++i) EXPECT_NEAR(r.at(0, i, 64), 2048, 16) << i;
}

TEST(filtered_warp, reads_its_image_before_it_overwrites_the_planes_that_hold_it) {
  // The image argument's planes are the node's own.
  const char* const texts[] = {"(define W (Source) (rgba_ok) dest = (warp (gamma Source 2) (v2 x y) [1 1] 1))",
                               "(define W (Source) (rgba_ok) dest = (warp (max (gamma Source 2) 0) (v2 x y) [1 1] 1))"};
  planes_of_result results[2];
  for (int i = 0; i < 2; ++i) {
    definition_renderer r(texts[i], {.width = 50, .height = 20, .source_channels = 4});
    r.set_source(0, random_picture(50, 0, 8191));
    results[i] = rendered(r);
  }
  EXPECT_EQ(results[0], results[1]);
}

TEST(filtered_warp, unsupported_element_counts_are_reported) {
  definition_renderer r("(define W (Source) () dest = (warp Source (v2 x y) [0 0] 1))");
  ASSERT_TRUE(r.render());
  node n = r.root();
  n.elnum = 5;
  report_capture reports;
  n.image_fun(n);
  EXPECT_TRUE(reports.has("forked_set_images_from_uv_levels: unsupported elnum 5 \n")) << reports.all();
}

}  // namespace
}  // namespace tessaron::testing
