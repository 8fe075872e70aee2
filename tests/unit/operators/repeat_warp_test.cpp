// repeat_warp and repeat_warp_filter against the walk written out plainly.
#include <gtest/gtest.h>

#include "warp_reference.h"

namespace tessaron::testing {
namespace {

struct repeat_case {
  fix b0, b1;
  int n;
};

fix plain_repeat(const repeat_case& c, const std::function<fix(int step)>& sample) {
  const wide t = c.b0 + c.b1 ? c.b0 + c.b1 : 1;
  const wide w0 = c.b0 * wide(8192) / t, dw = (c.b1 * wide(8192) / t - w0) / (c.n - 1);
  wide sum = 0;
  for (int k = 0; k < c.n; ++k) {
    const wide s = sample(k);
    sum += w0 == 4096 && dw == 0 ? s : (s * (w0 + dw * k)) >> 12;
  }
  return rounded(double(sum) / c.n);
}

const std::pair<const char*, repeat_case> CASES[] = {
    {"[1 1] wrap 4", {4096, 4096, 4}},   {"[1 0] wrap 7", {4096, 0, 7}},     {"[0.25 1] wrap 2", {1024, 4096, 2}},
    {"[0 0] wrap 3", {0, 0, 3}},         {"[1 1] wrap -5", {4096, 4096, 2}}, {"[0.5 0.5] wrap 1.9", {2048, 2048, 2}},
    {"[2 -1] wrap 5", {8192, -4096, 5}}, {"[0 1] wrap 30", {0, 4096, 30}},
};

template <bool FILTERED>
void compare_all() {
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const plain_wrap wx : ALL_WRAPS)
      for (const plain_wrap wy : ALL_WRAPS) {
        if (too_slow(size, wx, wy)) continue;
        const int elnum = 1 + turn % 4;
        const auto& [text, settings] = CASES[turn++ % std::size(CASES)];
        const test_frame f = {.width = size.width, .height = size.height, .source_channels = MAP_CHANNELS};
        definition_renderer r(
            warp_definition(std::string(FILTERED ? "(repeat_warp_filter " : "(repeat_warp ") + image_of(elnum) + " " +
                            FIRST_PAIR + " " + SECOND_PAIR + " " +
                            (FILTERED ? THIRD_PAIR + " " + FOURTH_PAIR + " " : std::string()) + text + ")"),
            f);
        const auto source = random_picture(size.width, -3000, 12000), map = scattered_map(size.width);
        const auto levels = [&](int x, int y, int e) { return map(x, y, e ^ 1) % 9000; };
        r.set_source(0, source);
        r.set_source(1, map);
        r.set_source(2, levels);
        r.set_param("wx", {wrap_value(wx)});
        r.set_param("wy", {wrap_value(wy)});
        ASSERT_TRUE(r.render());
        plain_sampler plain(f, wx, wy, elnum, source);
        const auto expected = [&](int e, int x, int y) {
          const wide from_x = map(x, y, 0), to_x = map(x, y, 2), from_y = map(x, y, 1), to_y = map(x, y, 3);
          return plain_repeat(settings, [&](int k) {
            const fix at_x = fix(place_at(from_x, to_x, k, settings.n)),
                      at_y = fix(place_at(from_y, to_y, k, settings.n));
            if (!FILTERED) return plain.bilinear(e, at_x, at_y);
            return plain.mip(e, at_x, at_y, 2 * place_at(levels(x, y, 0), levels(x, y, 2), k, settings.n),
                             2 * place_at(levels(x, y, 1), levels(x, y, 3), k, settings.n));
          });
        };
        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " " + text);
        ASSERT_EQ(first_wrong(r, expected), "");
      }
}

TEST(repeat_warp, is_the_weighed_mean_of_its_steps) { compare_all<false>(); }

TEST(repeat_warp_filter, is_the_weighed_mean_of_its_steps_between_levels) { compare_all<true>(); }

TEST(repeat_warp, between_equal_coordinates_is_the_warp_there) {
  const test_frame f = {.width = 70, .height = 40, .source_channels = 4};
  definition_renderer walked(warp_definition("(repeat_warp Source " + FIRST_PAIR + " " + FIRST_PAIR + " [1 1] wrap 6)"),
                             f);
  definition_renderer once(warp_definition("(warp Source " + FIRST_PAIR + " wrap 0)"), f);
  for (definition_renderer* r : {&walked, &once}) {
    r->set_source(0, random_picture(70, 0, 8191));
    r->set_source(1, scattered_map(70));
  }
  EXPECT_EQ(rendered(walked), rendered(once));
}

TEST(repeat_warp, without_brightness_at_either_end_is_black) {
  definition_renderer r("(define W (Source) () dest = (repeat_warp Source xy (* xy 0.5) [0 0] [1 1] 5))");
  r.set_source(0, random_picture(16, 0, 8191));
  for (const auto& plane : rendered(r))
    for (const fix v : plane) EXPECT_EQ(v, 0);
}

TEST(repeat_warp, with_negative_steps_takes_two) {
  const test_frame f = {.width = 33, .height = 7};
  definition_renderer few("(define W (Source) () dest = (repeat_warp Source xy (* xy 0.5) [1 0.3] [1 1] -3))", f);
  definition_renderer two("(define W (Source) () dest = (repeat_warp Source xy (* xy 0.5) [1 0.3] [1 1] 2))", f);
  for (definition_renderer* r : {&few, &two}) r->set_source(0, random_picture(33, 0, 8191));
  EXPECT_EQ(rendered(few), rendered(two));
}

}  // namespace
}  // namespace tessaron::testing
