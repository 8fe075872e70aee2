// chroma_warp and chroma_warp_filter: the colour table, and the walk against its plain form.
#include <gtest/gtest.h>

#include "operators/sampling_colours.h"
#include "tests/support/report_capture.h"
#include "warp_reference.h"

namespace tessaron::testing {
namespace {

class held_table {
 public:
  explicit held_table(const chroma_settings& s) { set_chroma_warp_color_scales(s); }
  ~held_table() { free_chroma_warp_color_scales(); }
  const chroma_step& operator[](int i) const { return chroma_warp_color_scales()[std::size_t(i)]; }
};

constexpr chroma_settings SPECTRUM = {
    .n_steps = 9, .colors = {{4096, 0, 0}, {0, 4096, 0}, {0, 0, 4096}}, .white_balance = false, .brightness = 4096};

TEST(chroma_table, of_three_steps_holds_the_three_colours_times_16) {
  chroma_settings s = SPECTRUM;
  s.n_steps = 3;
  s.brightness = 2048;
  const held_table table(s);
  for (int i = 0; i < 3; ++i)
    for (int c = 0; c < 3; ++c) EXPECT_FLOAT_EQ(table[i].color[c], i == c ? 8.0f : 0.0f) << i << " " << c;
}

TEST(chroma_table, of_five_steps_by_hand) {
  // t = 0, 0.5, 1, 1.5, 2; between the ends a = 0.5, m = 0.25, k = 1 / 0.75.
  chroma_settings s = SPECTRUM;
  s.n_steps = 5;
  const held_table table(s);
  const double side = std::sqrt(0.5 / 0.75), middle = std::sqrt(0.25 / 0.75);
  const double ends = 1 + side, middles = 1 + 2 * middle;
  const double expected[5][3] = {{1 / ends, 0, 0},
                                 {side / ends, middle / middles, 0},
                                 {0, 1 / middles, 0},
                                 {0, middle / middles, side / ends},
                                 {0, 0, 1 / ends}};
  for (int i = 0; i < 5; ++i)
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(table[i].color[c], 16 * expected[i][c], 1e-5) << i << " " << c;
}

TEST(chroma_table, sums_to_the_colours_of_each_channel) {
  chroma_settings s = SPECTRUM;
  s.colors[1][0] = 2048;
  s.n_steps = 40;
  const held_table table(s);
  double sums[3] = {};
  for (int i = 0; i < 40; ++i)
    for (int c = 0; c < 3; ++c) sums[c] += table[i].color[c];
  EXPECT_NEAR(sums[0], 24, 1e-4);
  EXPECT_NEAR(sums[1], 16, 1e-4);
  EXPECT_NEAR(sums[2], 16, 1e-4);
}

TEST(chroma_table, white_balance_scales_each_channel_to_1) {
  chroma_settings s = SPECTRUM;
  s.white_balance = true;
  s.colors[0][1] = 12288;  // green: 3, 1, 0
  const held_table table(s);
  double green = 0;
  for (int i = 0; i < 9; ++i) green += table[i].color[1];
  EXPECT_NEAR(green, 16, 1e-4);
  EXPECT_NEAR(table[0].color[1] / table[0].color[0], 0.75, 1e-5);
}

TEST(chroma_table, white_balance_of_no_colour_at_all_is_an_equal_mix) {
  const chroma_settings s = {.n_steps = 6, .colors = {}, .white_balance = true, .brightness = 4096};
  const held_table table(s);
  double sum = 0;
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(table[i].color[0], table[i].color[1]);
    EXPECT_EQ(table[i].color[0], table[i].color[2]);
    EXPECT_GT(table[i].color[0], 0.0f);
    sum += table[i].color[0];
  }
  EXPECT_NEAR(sum, 16 * 3 * 0.33333, 1e-3);
}

TEST(chroma_table, is_set_once) {
  const held_table table(SPECTRUM);
  report_capture reports;
  EXPECT_THROW(set_chroma_warp_color_scales(SPECTRUM), TessaronAbortException);
  EXPECT_TRUE(reports.has("set_chroma_warp_color_scales: was already set."));
}

// --- the operator --------------------------------------------------------------------------------------------

/// The whole walk for one sample; `elnum` of the image.
template <class SAMPLE>
fix plain_chroma(const std::vector<chroma_step>& table, int elnum, int e, SAMPLE&& sample) {
  wide sum = 0;
  if (e == 3) {
    for (int k = 0; k < int(table.size()); ++k) sum += sample(e, k);
    return rounded(double(sum) / double(table.size()));
  }
  for (int k = 0; k < int(table.size()); ++k) {
    const double weight = double(table[std::size_t(k)].color[e]);
    sum += wide(std::nearbyint(sample(elnum == 1 ? 0 : e, k) * weight));
  }
  return fix(sum >> 4);
}

template <bool FILTERED>
void compare_all() {
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const plain_wrap wx : ALL_WRAPS)
      for (const plain_wrap wy : ALL_WRAPS) {
        if (too_slow(size, wx, wy)) continue;
        const int elnum = (int[]){1, 3, 4}[turn++ % 3];
        const int n = 3 + turn % 6;
        const std::string steps = turn % 9 == 0 ? "1" : std::to_string(n);
        const test_frame f = {.width = size.width, .height = size.height, .source_channels = MAP_CHANNELS};
        definition_renderer r(
            warp_definition(std::string(FILTERED ? "(chroma_warp_filter " : "(chroma_warp ") + image_of(elnum) + " " +
                            FIRST_PAIR + " " + SECOND_PAIR + " " +
                            (FILTERED ? THIRD_PAIR + " " + FOURTH_PAIR + " " : std::string()) + "wrap " + steps +
                            " [1 0.25 0] [0 1 0.5] [0.125 0 2] " + (turn % 2 ? "1" : "0") + " 1.5)"),
            f);
        const auto source = random_picture(size.width, -3000, 12000), map = scattered_map(size.width);
        const auto levels = [&](int x, int y, int e) { return map(x, y, e ^ 1) % 9000; };
        r.set_source(0, source);
        r.set_source(1, map);
        r.set_source(2, levels);
        r.set_param("wx", {wrap_value(wx)});
        r.set_param("wy", {wrap_value(wy)});
        ASSERT_TRUE(r.render());
        ASSERT_EQ(r.elnum(), std::max(elnum, 3));
        const held_table table({.n_steps = turn % 9 == 0 ? 3 : n,
                                .colors = {{4096, 1024, 0}, {0, 4096, 2048}, {512, 0, 8192}},
                                .white_balance = turn % 2 == 1,
                                .brightness = 6144});
        const std::vector<chroma_step>& weights = chroma_warp_color_scales();
        const int steps_taken = int(weights.size());
        plain_sampler plain(f, wx, wy, elnum, source);
        const auto expected = [&](int e, int x, int y) {
          const wide from_x = map(x, y, 0), to_x = map(x, y, 2), from_y = map(x, y, 1), to_y = map(x, y, 3);
          const fix value = plain_chroma(weights, elnum, e, [&](int element, int k) {
            const fix at_x = fix(place_at(from_x, to_x, k, steps_taken)),
                      at_y = fix(place_at(from_y, to_y, k, steps_taken));
            if (!FILTERED) return plain.bilinear(element, at_x, at_y);
            return plain.mip(element, at_x, at_y, 2 * place_at(levels(x, y, 0), levels(x, y, 2), k, steps_taken),
                             2 * place_at(levels(x, y, 1), levels(x, y, 3), k, steps_taken));
          });
          return std::clamp(value, -32767, 32767);  // as planes hold it
        };
        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " turn " + std::to_string(turn));
        ASSERT_EQ(first_wrong(r, expected), "");
      }
}

TEST(chroma_warp, weighs_each_step_with_its_colour) { compare_all<false>(); }

TEST(chroma_warp_filter, weighs_each_step_between_levels_with_its_colour) { compare_all<true>(); }

TEST(chroma_warp, with_balanced_colours_along_no_line_is_the_warp) {
  const test_frame f = {.width = 60, .height = 20, .source_channels = 4};
  definition_renderer r(
      warp_definition("(chroma_warp Source " + FIRST_PAIR + " " + FIRST_PAIR + " wrap 20 [1 0 0] [0 1 0] [0 0 1] 1 1)"),
      f);
  definition_renderer once(warp_definition("(warp Source " + FIRST_PAIR + " wrap 0)"), f);
  for (definition_renderer* one : {&r, &once}) {
    one->set_source(0, random_picture(60, 0, 8191));
    one->set_source(1, scattered_map(60));
  }
  EXPECT_LE(largest_difference(rendered(r), rendered(once)), 2);  // 20 roundings, a sixteenth each
}

TEST(chroma_warp, of_an_opaque_image_is_opaque) {
  definition_renderer r(
      "(define W (Source) (rgba_ok) dest = (chroma_warp Source (* xy 0.9) (* xy 0.8) [1 1] 17 [9 0 0] [0 1 0] [0 0 1] "
      "0 3))",
      {.width = 60, .height = 20, .source_channels = 4});
  const auto colours = random_picture(60, 0, 4096);
  r.set_source(0, [&](int x, int y, int e) { return e == 3 ? 4096 : colours(x, y, e); });
  const auto result = rendered(r);
  for (const fix alpha : result[3]) EXPECT_EQ(alpha, 4096);
}

TEST(chroma_warp, of_one_or_two_elements_stops_the_render) {
  definition_renderer r(
      "(define W (Source) () dest = (chroma_warp Source xy (* xy 0.5) [1 1] 5 [1 0 0] [0 1 0] [0 0 1] 1 1))");
  ASSERT_TRUE(r.render());
  for (const int elnum : {1, 2}) {
    node n = r.root();
    n.elnum = n.image_count = std::int8_t(elnum);
    report_capture reports;
    EXPECT_THROW(n.image_fun(n), TessaronAbortException);
    EXPECT_TRUE(reports.has("image_process_pixels_loop: no fun for elnum " + std::to_string(elnum) + "."));
  }
  EXPECT_TRUE(r.render());  // and leaves no table behind
}

}  // namespace
}  // namespace tessaron::testing
