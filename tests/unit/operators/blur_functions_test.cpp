// blur, blur_channels, masked_blur, sharpen and band_pass against their rules, and what the rules say of edge cases.
#include <gtest/gtest.h>

#include "evaluator/bounds.h"
#include "tests/support/report_capture.h"
#include "unit/operators/blur_reference.h"

namespace tessaron::testing {
namespace {

constexpr fix LOW = -3000, HIGH = 9000;
const test_frame FRAMES[] = {{.width = 67, .height = 31}, {.width = 33, .height = 40, .pixel_aspect = 1.4f}};

test_frame with_alpha(test_frame f, int elnum) {
  f.source_channels = elnum == 4 ? 4 : 3;
  return f;
}

/// A call over the first source's image and, where it has one, a second source's first element.
planes_of_result called(const std::string& call, const test_frame& f, int image_elnum,
                        const definition_renderer::pixel_function& second = nullptr) {
  definition_renderer r("(define B (Source Other) (rgba_ok) dest = " + call + ")", with_alpha(f, image_elnum));
  r.set_source(0, random_picture(f.width, LOW, HIGH));
  r.set_source(1, second);
  return rendered(r);
}
plain_planes image_of(const test_frame& f, int elnum) {
  return image_planes(f, elnum, random_picture(f.width, LOW, HIGH));
}

/// Calls expect(elnum of the arguments, of the result) for each combination that the catalogue lists.
template <class F>
void for_each_combo(const char* function, const F& expect) {
  const fun_info& fun = *level_catalogue(chosen_cpu_level()).find(function);
  for (int c = 0; c < fun.arg_type_combo_number; ++c) {
    std::vector<int> elnums;
    for (int a = 0; a < fun.arg_number; ++a) elnums.push_back(combo_arg_elnum(fun.arg_type_combos[c], a));
    expect(elnums, combo_result_elnum(fun.arg_type_combos[c]));
  }
}

std::vector<fix> first(int elnum, const std::vector<fix>& values) { return {values.begin(), values.begin() + elnum}; }

const std::vector<fix> AMOUNTS = {700, 321}, SCALES = {3500, 5000, -900, 2048}, PARTS = {4096, 0, -6000, 1234};

// --- blur -------------------------------------------------------------------------------------------------

std::string blur_text(int image_elnum, const blur_arguments& a) {
  return "(blur " + image_text(image_elnum) + " " + value_text(a.amount) + " " + value_text({a.filter_shape}) + " " +
         value_text(a.scale) + " " + value_text({a.subpixel}) + ")";
}
void expect_blur(const test_frame& f, int elnum, const blur_arguments& a) {
  EXPECT_EQ(
      first_difference(called(blur_text(elnum, a), f, elnum), as_result(plain_blur_function(f, image_of(f, elnum), a))),
      "")
      << blur_text(elnum, a);
}

TEST(blur, is_its_rule_in_every_combination_of_elements) {
  for (const test_frame& f : FRAMES)
    for_each_combo("blur", [&](const std::vector<int>& elnums, int) {
      for (const fix subpixel : {0, 4096})
        expect_blur(f, elnums[0],
                    {.amount = first(elnums[1], AMOUNTS), .scale = first(elnums[3], SCALES), .subpixel = subpixel});
    });
}

TEST(blur, takes_one_to_three_boxes_by_its_shape) {
  for (const fix shape : {-9000, 0, 4095, 4096, 8191, 8192, 100000})
    expect_blur(FRAMES[0], 3, {.amount = {900, 900}, .filter_shape = shape});
}

TEST(blur, by_any_amount_is_its_rule) {
  for (const fix x : {-4096, 0, 1, 60, 489, 490, 4096, 64 * 4096, 1000 * 4096})
    for (const fix y : {0, 300, 40 * 4096})
      for (const fix subpixel : {0, 1}) expect_blur(FRAMES[1], 3, {.amount = {x, y}, .subpixel = subpixel});
}

TEST(blur, by_nothing_only_scales) {
  for (const std::vector<fix>& scale : {std::vector<fix>{4096, 4096, 2048}, {0, 1, -4096}})
    expect_blur(FRAMES[0], 3, {.amount = {0, -4096}, .scale = scale});
  const test_frame f = FRAMES[0];
  EXPECT_EQ(first_difference(called("(+ (blur Source 0 2 1 0) 0)", f, 3), as_result(image_of(f, 3))), "");
}

TEST(blur, at_a_scale_of_0_clears_a_plane) {
  const planes_of_result r = called(blur_text(3, {.amount = {900, 900}, .scale = {0, 4096, 0}}), FRAMES[0], 3);
  EXPECT_EQ(r[0], std::vector<fix>(r[0].size(), 0));
  EXPECT_NE(r[1], std::vector<fix>(r[1].size(), 0));
  EXPECT_EQ(r[2], std::vector<fix>(r[2].size(), 0));
}

TEST(blur, with_one_scale_blurs_alpha_and_does_not_scale_it) {
  const planes_of_result scaled = called(blur_text(4, {.amount = {900}, .scale = {2048}}), FRAMES[0], 4);
  const planes_of_result plain = called(blur_text(4, {.amount = {900}}), FRAMES[0], 4);
  EXPECT_EQ(scaled[3], plain[3]);
  EXPECT_NE(scaled[0], plain[0]);
  EXPECT_NE(plain[3], as_result(image_of(FRAMES[0], 4))[3]);
}

TEST(blur, reads_a_tree_of_blurs) {
  const test_frame f = FRAMES[0];
  const blur_arguments a = {.amount = {500}}, b = {.amount = {200, 900}};
  const planes_of_result r = called(
      "(blur (+ (blur Source 0.1220703125 2 1 0) (blur Source [0.048828125 0.2197265625] 2 1 0)) 0.1220703125 2 1 0)",
      f, 3);
  const plain_planes image = image_of(f, 3), first = plain_blur_function(f, image, a),
                     second = plain_blur_function(f, image, b);
  plain_planes sum = first;
  for (std::size_t e = 0; e < 3; ++e)
    for (std::size_t i = 0; i < sum[e].samples.size(); ++i)
      sum[e].samples[i] = std::int16_t(stored(first[e].samples[i] + second[e].samples[i]));
  EXPECT_EQ(first_difference(r, as_result(plain_blur_function(f, sum, a))), "");
}

TEST(blur, sweeps_its_amount_without_jumps_with_subpixel) {
  const test_frame f = {.width = 160, .height = 90};
  definition_renderer r("(define B (Source) () amount = 0 dest = (blur Source amount 2 1 1))", f);
  r.set_source(0, landscape_picture({f.width, f.height}));
  // From nothing to 10 pixels in 60 steps: a sixth of a pixel each. The first gives a corner of the bar, 0.2 above what
  // is around it, a sixth of a third of that in each direction: 2 * 819 / 18.
  EXPECT_LE(largest_step(r, "amount", {0}, {0.5f}), 92);
}

// --- blur_channels ------------------------------------------------------------------------------------------

std::string channels_text(int image_elnum, const blur_arguments& a) {
  return "(blur_channels " + image_text(image_elnum) + " " + value_text(a.amount) + " " + value_text(a.channel_amount) +
         " " + value_text({a.filter_shape}) + " " + value_text(a.scale) + " " + value_text({a.subpixel}) + ")";
}

void expect_channels(const test_frame& f, int elnum, int result_elnum, const blur_arguments& a) {
  EXPECT_EQ(first_difference(called(channels_text(elnum, a), f, elnum),
                             as_result(plain_blur_channels(f, image_of(f, elnum), result_elnum, a))),
            "")
      << channels_text(elnum, a);
}

TEST(blur_channels, is_its_rule_in_every_combination_of_elements) {
  for (const test_frame& f : FRAMES)
    for_each_combo("blur_channels", [&](const std::vector<int>& elnums, int result_elnum) {
      for (const fix shape : {0, 8192})
        expect_channels(f, elnums[0], result_elnum,
                        {.amount = first(elnums[1], AMOUNTS),
                         .filter_shape = shape,
                         .scale = first(elnums[4], SCALES),
                         .subpixel = shape,
                         .channel_amount = first(elnums[2], PARTS)});
    });
}

TEST(blur_channels, never_scales_the_second_of_two_elements) {
  const test_frame f = FRAMES[0];
  const blur_arguments a = {.amount = {500, 500}, .scale = {0, 0}, .channel_amount = {4096, 4096}};
  const planes_of_result r = called(channels_text(2, a), f, 2);
  EXPECT_EQ(r[0], std::vector<fix>(r[0].size(), 0));
  EXPECT_NE(r[1], std::vector<fix>(r[1].size(), 0));
}

// --- masked_blur --------------------------------------------------------------------------------------------

std::string masked_text(int image_elnum, const blur_arguments& a) {
  return "(masked_blur " + image_text(image_elnum) + " (element_of Other 0) " + value_text(a.amount) + " " +
         value_text({a.filter_shape}) + " " + value_text({a.subpixel}) + ")";
}
definition_renderer::pixel_function mask_of(const test_frame& f) {
  // Bars of all kinds of masks: below 0, faint, half, just not full, full and above.
  static constexpr fix VALUES[] = {-500, 0, 1, 7, 2048, 4094, 4095, 4096, 5000};
  return [f](int x, int y, int) { return VALUES[(9 * x / f.width + y / 5) % 9]; };
}

void expect_masked(const test_frame& f, int elnum, const blur_arguments& a,
                   const definition_renderer::pixel_function& mask) {
  const plain_plane mask_plane(f.width, f.height, [&](int x, int y) { return mask(x, y, 0); });
  EXPECT_EQ(first_difference(called(masked_text(elnum, a), f, elnum, mask),
                             as_result(plain_masked_blur(f, image_of(f, elnum), mask_plane, a))),
            "")
      << masked_text(elnum, a);
}

TEST(masked_blur, is_its_rule_in_every_combination_of_elements) {
  for (const test_frame& f : FRAMES)
    for_each_combo("masked_blur", [&](const std::vector<int>& elnums, int) {
      for (const fix shape : {0, 8192})
        for (const fix subpixel : {0, 4096})
          expect_masked(f, elnums[0],
                        {.amount = first(elnums[2], AMOUNTS), .filter_shape = shape, .subpixel = subpixel}, mask_of(f));
    });
}

TEST(masked_blur, by_any_amount_is_its_rule) {
  for (const fix amount : {-4096, 0, 3, 4096, 30 * 4096})
    expect_masked(FRAMES[1], 3, {.amount = {amount}}, mask_of(FRAMES[1]));
}

TEST(masked_blur, under_an_empty_mask_leaves_the_image) {
  const test_frame f = FRAMES[0];
  EXPECT_EQ(first_difference(called(masked_text(3, {.amount = {900, 900}}), f, 3, [](int, int, int) { return 0; }),
                             as_result(image_of(f, 3))),
            "");
}

TEST(masked_blur, keeps_what_lies_outside_the_mask_out) {
  // White left of a black mask's edge: an even picture under the mask stays even up to its border.
  const test_frame f = {.width = 60, .height = 20};
  definition_renderer r("(define M (Source Mask) () dest = (masked_blur Source (element_of Mask 0) 0.4 2 0))", f);
  r.set_source(0, [](int x, int, int) { return x < 30 ? 8000 : 1000; });
  r.set_source(1, [](int x, int, int) { return x < 30 ? 0 : 4096; });
  const planes_of_result result = rendered(r);
  for (int x = 0; x < 60; ++x) EXPECT_NEAR(result[1][10 * 60 + x], x < 30 ? 8000 : 1000, 2) << x;
}

// --- sharpen -------------------------------------------------------------------------------------------------

void expect_sharpen(const test_frame& f, int elnum, fix scale, fix granularity) {
  const std::string call =
      "(sharpen " + image_text(elnum) + " " + value_text({scale}) + " " + value_text({granularity}) + ")";
  EXPECT_EQ(
      first_difference(called(call, f, elnum), as_result(plain_sharpen(f, image_of(f, elnum), scale, granularity))), "")
      << call;
}

TEST(sharpen, is_its_rule_in_every_combination_of_elements) {
  for (const test_frame& f : FRAMES)
    for_each_combo("sharpen", [&](const std::vector<int>& elnums, int) {
      for (const fix scale : {-2000, 0, 4096, 6000, 200000})
        for (const fix granularity : {-100, 0, 200, 3000}) expect_sharpen(f, elnums[0], scale, granularity);
    });
}

TEST(sharpen, wraps_around_beyond_16_bits) {
  // A line of 20000 in black: 2 * 20000 less a third of it and more leaves 16 bits.
  definition_renderer r("(define S (Source) () dest = (sharpen Source 1 0.5))", {.width = 64, .height = 8});
  r.set_source(0, [](int x, int, int) { return x == 32 ? 20000 : 0; });
  const planes_of_result result = rendered(r);
  EXPECT_LT(result[0][4 * 64 + 32], 0);
}

// --- band_pass -----------------------------------------------------------------------------------------------

void expect_band_pass(const test_frame& f, int elnum, const std::vector<fix>& amount1, const std::vector<fix>& amount2,
                      fix scale) {
  const std::string call = "(band_pass " + image_text(elnum) + " " + value_text(amount1) + " " + value_text(amount2) +
                           " " + value_text({scale}) + ")";
  EXPECT_EQ(first_difference(called(call, f, elnum),
                             as_result(plain_band_pass(f, image_of(f, elnum), amount1, amount2, scale))),
            "")
      << call;
}

TEST(band_pass, is_its_rule_in_every_combination_of_elements) {
  for (const test_frame& f : FRAMES)
    for_each_combo("band_pass", [&](const std::vector<int>& elnums, int) {
      for (const std::vector<fix>& amounts : {std::vector<fix>{100, 30, 900, 800}, {0, 0, 600, 0}, {40, 2000, 0, -3}})
        for (const fix scale : {2048, 4096, -1000, 0, 100000})
          expect_band_pass(f, elnums[0], first(elnums[1], amounts), first(elnums[2], {amounts[2], amounts[3]}), scale);
    });
}

TEST(band_pass, of_an_even_picture_is_mid_grey) {
  definition_renderer r("(define B (Source) () dest = (band_pass Source 0.1 0.5 3))", {.width = 50, .height = 20});
  r.set_source(0, [](int, int, int e) { return 1000 * e + 7; });
  for (const std::vector<fix>& plane : rendered(r)) EXPECT_EQ(plane, std::vector<fix>(plane.size(), 2048));
}

// --- all of them ---------------------------------------------------------------------------------------------

TEST(blur_family, is_its_rules_at_every_size) {
  // From less than a pixel to beyond the frame, the forms taking turns.
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const fix amount : {90, 5000, 64 * 4096}) {
      const test_frame f = {.width = size.width, .height = size.height, .pixel_aspect = turn % 5 == 3 ? 0.75f : 1.0f};
      const int elnum = 1 + turn % 4;
      const blur_arguments a = {
          .amount = {amount, amount / 2 + 7}, .filter_shape = turn % 3 * 4096, .scale = {3500}, .subpixel = turn % 2};
      ++turn;
      SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + ", turn " + std::to_string(turn));
      expect_blur(f, elnum, a);
      expect_channels(f, 3, 3, a);
      expect_masked(f, elnum, a, mask_of(f));
      expect_sharpen(f, elnum, 6000, amount);
      expect_band_pass(f, 1 + turn % 3, {amount / 3, amount / 2}, a.amount, 3000);
    }
}

TEST(blur_family, is_the_same_at_every_level_and_for_any_number_of_workers) {
  for (const picture_size size : SIZES)
    for (const char* call : {"(blur Source [0.7 0.3] 2 [1 0.5 2] 0)", "(blur Source 0.31 1 1 1)",
                             "(blur_channels Source 0.3 [0 1 -2] 2 1 1)",
                             "(masked_blur Source (element_of Source 1) 0.4 2 1)", "(sharpen Source 1.5 0.2)",
                             "(band_pass Source 0.05 0.4 1.2)", "(z_blur Source (element_of Source 2) 0 1 0 0.6 4 0)",
                             "(z_blur Source (element_of Source 2) 0 1 0 0.6 4 1)"}) {
      definition_renderer r(std::string("(define F (Source) () dest = ") + call + ")",
                            {.width = size.width, .height = size.height});
      r.set_source(0, random_picture(size.width, 0, 5000));
      same_everywhere(r);
    }
}

TEST(blur_family, of_a_part_of_the_frame_is_the_part_where_it_has_all_that_it_reaches) {
  const auto part_of = [](const char* call, int reach) {
    const std::string text = std::string("(define P (Source) () dest = ") + call + ")";
    const test_frame whole = {.width = 120, .height = 90};
    test_frame part = whole;
    part.x0 = 20, part.y0 = 15, part.x1 = 99, part.y1 = 74;
    const auto source = random_picture(120, 0, 5000);
    const planes_of_result all = rendered(text, whole, source), some = rendered(text, part, source);
    for (int e = 0; e < 3; ++e)
      for (int y = part.y0 + reach; y <= part.y1 - reach; ++y)
        for (int x = part.x0 + reach; x <= part.x1 - reach; ++x)
          ASSERT_EQ(some[e][std::size_t(y - part.y0) * 80 + (x - part.x0)], all[e][std::size_t(y) * 120 + x])
              << call << " at " << x << "," << y;
  };
  part_of("(blur Source 0.5 2 1 0)", 8);  // 7.5 pixels
  part_of("(blur Source [0.5 0.21] 2 1 1)", 8);
  part_of("(blur_channels Source 0.5 [1 0.5 0] 2 1 1)", 8);
  part_of("(sharpen Source 1 0.3)", 5);
  part_of("(band_pass Source 0.1 0.4 1)", 6);
}

rectangle reach(const std::string& call, float pixel_aspect = 1) {
  definition_renderer r("(define R (Source) () dest = " + call + ")",
                        {.width = 80, .height = 40, .pixel_aspect = pixel_aspect});
  EXPECT_TRUE(r.render());
  return bounds_of_tree(r.effect(), make_rectangle(0, 0, 79, 39));
}

TEST(blur_family, asks_for_as_many_pixels_around_as_it_blurs) {
  // An amount of 1.0 is 10 pixels in a frame of 80.
  EXPECT_EQ(reach("(blur Source [1 0.5] 2 1 0)"), make_rectangle(-10, -5, 89, 44));
  EXPECT_EQ(reach("(blur Source 0.01 2 1 0)"), make_rectangle(-1, -1, 80, 40));
  EXPECT_EQ(reach("(blur Source -1 2 1 0)"), make_rectangle(0, 0, 79, 39));
  EXPECT_EQ(reach("(blur Source 1 2 1 0)", 2.0f), make_rectangle(-10, -5, 89, 44)) << "pixels twice as high as wide";
  EXPECT_EQ(reach("(blur_channels Source [1 0.5] [0.1 2 -5] 2 1 0)"), make_rectangle(-20, -10, 99, 49));
  EXPECT_EQ(reach("(blur_channels Source [1 0.5] [-1 -2 -5] 2 1 0)"), make_rectangle(0, 0, 79, 39));
  EXPECT_EQ(reach("(masked_blur Source (element_of Source 0) [1 0.5] 2 0)"), make_rectangle(-10, -5, 89, 44));
  EXPECT_EQ(reach("(sharpen Source 1 0.25)"), make_rectangle(-3, -3, 82, 42));
  EXPECT_EQ(reach("(band_pass Source [0.1 0.9] [0.5 0.2] 1)"), make_rectangle(-5, -9, 84, 48));
  EXPECT_EQ(reach("(z_blur Source (element_of Source 0) 0 1 [0.1 0.9] [0.5 0.2] 4 0)"), make_rectangle(-5, -9, 84, 48));
}

TEST(blur_family, asks_for_everything_beyond_what_sides_can_hold) {
  // 64.0 is 640 pixels here; a chain of blurs adds up until a side reaches its end.
  EXPECT_EQ(reach("(blur Source 1000 2 1 0)"), make_rectangle(-640, -640, 719, 679));
  EXPECT_EQ(reach("(blur_channels Source 64 [60 1 1] 2 1 0)"), everything());
  EXPECT_EQ(reach("(blur Source y 2 1 0)"), everything()) << "an amount that is not the same everywhere";
}

TEST(blur_family, stops_the_render_when_its_planes_are_not_as_expected) {
  const struct {
    const char* function;
    int expected;  // planes for one element
  } family[] = {{"blur", 1}, {"blur_channels", 3}, {"masked_blur", 4}, {"sharpen", 2}, {"band_pass", 2}, {"z_blur", 6}};
  for (const auto& [function, expected] : family) {
    const fun_info& fun = *level_catalogue(chosen_cpu_level()).find(function);
    node n = {}, arg = {};
    n.fun = &fun;
    n.elnum = std::int8_t(combo_result_elnum(fun.arg_type_combos[0]));
    for (node*& a : n.args) a = &arg;
    report_capture reports;
    n.image_count = 11;
    EXPECT_THROW(fun.kernels[0](n), TessaronAbortException);
    EXPECT_TRUE(reports.has(std::string("node ") + function + " has image_count 11, expected " +
                            std::to_string(expected) + "."))
        << reports.all();
    n.image_count = std::int8_t(expected);
    EXPECT_THROW(fun.kernels[0](n), TessaronAbortException);
    EXPECT_TRUE(reports.has(std::string("node ") + function + " has NULL image 0.")) << reports.all();
  }
}

TEST(blur_family, starts_no_plane_once_a_render_is_aborted) {
  for (const char* call :
       {"(blur Source 0.5 2 1 0)", "(sharpen Source 1 0.4)", "(band_pass Source 0.1 0.4 1)",
        "(masked_blur Source (element_of Source 0) 0.4 2 0)", "(z_blur Source (element_of Source 0) 0 1 0 0.4 4 1)",
        "(z_blur Source (element_of Source 0) 0 1 0 0.4 4 0)"}) {
    definition_renderer r(std::string("(define A (Source) () dest = ") + call + ")", {.width = 90, .height = 70});
    // The source stops the render while the first plane is filled.
    r.set_source(0, [](int x, int y, int) {
      request_abort();
      return x + y;
    });
    EXPECT_FALSE(r.render()) << call;
    r.set_source(0, [](int x, int y, int) { return x + y; });
    EXPECT_TRUE(r.render()) << call;
  }
}

}  // namespace
}  // namespace tessaron::testing
