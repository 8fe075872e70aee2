// Whole frames through the entry: rectangles, alpha, inputs, fields, coordinates, time.
#include <gtest/gtest.h>

#include "support/render_kit.h"

using namespace tessaron::testing;

namespace {

constexpr pixel_format RGBA8 = pixel_format::rgba8;

/// The root's first element at a pixel of the output.
int root_at(const frame_result& result, int x, int y, int element = 0) {
  const auto& root = result.root;
  return root.samples[(std::size_t(y) * root.width + x) * root.elements + element];
}

frame_request with_root(frame_request request) {
  request.want_root = true;
  return request;
}

// --- what is computed, what is cleared -----------------------------------------------------------

class Clearing : public ::testing::TestWithParam<int> {};  // bytes of row padding

TEST_P(Clearing, a_cropped_render_is_that_part_of_the_full_one_and_zero_elsewhere) {
  const image source = noise_image(300, 40, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = (+ (* Source 0.5) (* (+ x (static)) 0.25)))");
  const frame_result full = effect.render({&source});
  ASSERT_EQ(full.error, 0) << text_of(full.messages);
  frame_request request = effect.request({&source});
  request.initial_fill = 0xee;
  request.row_padding_bytes = GetParam();
  for (pf_rect wanted : {pf_rect{3, 2, 290, 35}, pf_rect{0, 0, 300, 1}, pf_rect{299, 39, 300, 40},
                         pf_rect{10, 5, 400, 100}, pf_rect{-5, -5, 6, 7}}) {
    request.extent = wanted;
    const frame_result part = effect.render(request);
    ASSERT_EQ(part.error, 0);
    for (int y = 0; y < 40; ++y) {
      for (int x = 0; x < 300; ++x) {
        const bool inside = x >= wanted.left && x < wanted.right && y >= wanted.top && y < wanted.bottom;
        ASSERT_EQ(pixel(part.output, x, y), inside ? pixel(full.output, x, y) : rgba{}) << x << " " << y;
      }
      for (int i = 0; i < GetParam(); ++i) ASSERT_EQ(part.output.row(y)[1200 + i], 0xee);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(RowPadding, Clearing, ::testing::Values(0, 12));

TEST(Frame, an_extent_outside_the_output_clears_all_of_it) {
  const image source = noise_image(20, 10, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)");
  frame_request request = effect.request({&source});
  request.initial_fill = 0xee;
  request.extent = pf_rect{50, 50, 60, 60};
  const frame_result result = effect.render(request);
  EXPECT_EQ(result.error, 0);
  for (std::uint8_t byte : result.output.data) ASSERT_EQ(byte, 0);
}

TEST(Frame, outside_the_inputs_the_output_is_cleared) {
  // The layer is 8 by 8, its pixels 4 by 4 at the corner.
  const image source = filled(4, 4, RGBA8, {200, 200, 200, 255});
  rendered_effect effect("(define A (Source) () dest = [1 1 1])");
  frame_request request = effect.request({&source});
  request.initial_fill = 0xee;
  request.before_render = [](pf_in_data&, pf_param_def** params, pf_world& output) {
    params[0]->u.layer.width = params[0]->u.layer.height = 2;
    output.world_flags = 0;
  };
  const frame_result result = effect.render(request);
  EXPECT_EQ(pixel(result.output, 1, 1), (rgba{255, 255, 255, 255}));
  EXPECT_EQ(pixel(result.output, 2, 1), rgba{});
  EXPECT_EQ(pixel(result.output, 1, 2), rgba{});
}

TEST(Frame, without_an_effect_on_borders_the_output_has_the_layers_size) {
  const image source = noise_image(33, 17, RGBA8);
  rendered_effect effect("(define A (Source) () dest = Source)");
  const frame_result result = effect.render({&source});
  EXPECT_EQ(result.output.width, 33);
  EXPECT_EQ(result.output.height, 17);
  EXPECT_EQ(result.origin_x, 0);
  EXPECT_EQ(result.origin_y, 0);
  EXPECT_EQ(result.inputs_left_out, 0);
}

// --- alpha ---------------------------------------------------------------------------------------

TEST(Alpha, mode_1_writes_the_fourth_element) {
  rendered_effect effect("(define A () (rgba_ok) dest = [1 0.5 0.25 0.5])");
  const frame_result result = effect.render(effect.request(3, 2));
  EXPECT_EQ(pixel(result.output, 2, 1), (rgba{255, 128, 64, 128}));  // 2048 >> 4
}

TEST(Alpha, mode_3_is_opaque) {
  const image source = filled(3, 2, RGBA8, {10, 20, 30, 40});
  rendered_effect effect("(define A (Source) (set_alpha_to_one) dest = Source)");
  EXPECT_EQ(pixel(effect.render({&source}).output, 1, 1), (rgba{10, 20, 30, 255}));
  rendered_effect generator("(define A () () dest = [0 0 0])");
  EXPECT_EQ(pixel(generator.render(generator.request(3, 2)).output, 1, 1), (rgba{0, 0, 0, 255}));
}

TEST(Alpha, mode_2_takes_the_alpha_of_the_background) {
  const image source = filled(6, 4, RGBA8, {10, 20, 30, 40}), background = noise_image(6, 4, RGBA8);
  rendered_effect effect("(define A (Source Background) () dest = Source)");
  const frame_result result = effect.render({&source, &background});
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x)
      ASSERT_EQ(pixel(result.output, x, y), (rgba{10, 20, 30, get_field(background, x, y, 3)}));
}

TEST(Alpha, mode_2_outside_the_background_is_transparent) {
  const image source = filled(6, 4, RGBA8, {10, 20, 30, 40}), background = filled(2, 4, RGBA8, {0, 0, 0, 99});
  rendered_effect effect("(define A (Source Background) () dest = Source)");
  frame_request request = effect.request({&source, &background});
  request.initial_fill = 0xee;
  const frame_result result = effect.render(request);
  EXPECT_EQ(get_field(result.output, 1, 0, 3), 0);
  EXPECT_EQ(get_field(result.output, 2, 0, 3), 99);  // ceil(5 / 2) - ceil(1 / 2) is 2
  EXPECT_EQ(get_field(result.output, 3, 0, 3), 99);
  EXPECT_EQ(get_field(result.output, 4, 0, 3), 0);
}

TEST(Alpha, mode_2_without_a_background_layer_is_opaque) {
  const image source = filled(6, 4, RGBA8, {10, 20, 30, 40});
  rendered_effect effect("(define A (Source Background) () dest = Source)");
  EXPECT_EQ(pixel(effect.render({&source, nullptr}).output, 1, 1), (rgba{10, 20, 30, 255}));
}

TEST(Alpha, a_root_of_two_elements_outside_mode_1_is_refused_once) {
  const image source = filled(64, 64, RGBA8, {10, 20, 30, 40});
  rendered_effect effect("(define A (Source) () dest = (+ [0.5 0.25] x))");
  const frame_result result = effect.render({&source});
  EXPECT_EQ(result.error, PF_Err_BAD_REQUEST);
  int refusals = 0;
  for (const std::string& message : result.messages)
    refusals += message.find("dest converter: invalid alpha mode 2 for 2 -> rgba8") != std::string::npos;
  EXPECT_EQ(refusals, 1) << text_of(result.messages);
  EXPECT_TRUE(mentions(result.messages, "Tessaron(Test Plug-in:A): Error performing effect."));
}

TEST(Alpha, a_tree_that_fits_three_channels_alone_fails_at_render_with_its_element_counts) {
  // Bound with three channels; at render the source has four.
  const image source = filled(4, 4, RGBA8, {10, 20, 30, 40});
  rendered_effect effect("(define A (Source) (rgba_ok) dest = (cross Source [1 0 0]))");
  const frame_result result = effect.render({&source});
  EXPECT_EQ(result.error, PF_Err_BAD_REQUEST);
  EXPECT_TRUE(mentions(result.messages, "cross arg elnums: ")) << text_of(result.messages);
  EXPECT_TRUE(mentions(result.messages, "has an invalid combo of arg types.")) << text_of(result.messages);
}

TEST(Alpha, one_input_alone_can_be_taken_with_alpha) {
  const image source = filled(4, 4, RGBA8, {10, 20, 30, 40}), front = filled(4, 4, RGBA8, {50, 60, 70, 80});
  rendered_effect effect("(define A (Source Front) (rgba_ok_for_input 1) dest = Front)");
  EXPECT_EQ(pixel(effect.render({&source, &front}).output, 1, 1), (rgba{50, 60, 70, 80}));
}

TEST(Alpha, a_colour_mask_is_taken_without_alpha) {
  const image source = filled(4, 4, RGBA8, {10, 20, 30, 40}), mask = filled(4, 4, RGBA8, {50, 60, 70, 80});
  rendered_effect effect("(define A (Source Mask) (rgba_ok mask_color) dest = Mask)");
  const frame_result result = effect.render(with_root(effect.request({&source, &mask})));
  EXPECT_EQ(result.root.elements, 3);
}

TEST(Alpha, opacity_0_takes_no_alpha_and_makes_the_output_opaque) {
  const image source = filled(4, 4, RGBA8, {10, 20, 30, 40});
  rendered_effect effect("(define A (Source) (rgba_ok) opacity = 0 (int) dest = Source)");
  const frame_result result = effect.render(with_root(effect.request({&source})));
  EXPECT_EQ(result.root.elements, 3);
  EXPECT_EQ(pixel(result.output, 1, 1), (rgba{10, 20, 30, 255}));
}

// Premultiplied on reading: (3212 * 2056) >> 12 = 1612; straightened: (1612 << 12) / 2056 = 3211; >> 4 = 200.
TEST(Alpha, opacity_1_works_on_premultiplied_rows_and_straightens_the_output) {
  image source = filled(4, 1, RGBA8, {200, 100, 50, 128});
  set_pixel(source, 1, 0, {200, 100, 50, 0});
  rendered_effect effect("(define A (Source) (rgba_ok) opacity = 1 (int) dest = Source)");
  const frame_result result = effect.render(with_root(effect.request({&source})));
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(root_at(result, 0, 0), 1612);
  EXPECT_EQ(get_field(result.output, 0, 0, 0), 200);
  EXPECT_EQ(get_field(result.output, 0, 0, 3), 128);
  EXPECT_EQ(pixel(result.output, 1, 0), (rgba{0, 0, 0, 0}));
}

TEST(Alpha, opacity_1_straightens_three_elements_by_the_alpha_of_the_first_input) {
  const image source = filled(4, 1, RGBA8, {200, 100, 50, 128});
  rendered_effect effect("(define A (Source) (set_alpha_to_one) opacity = 1 (int) dest = Source)");
  const frame_result result = effect.render({&source});
  EXPECT_EQ(get_field(result.output, 0, 0, 0), 200);
  EXPECT_EQ(get_field(result.output, 0, 0, 3), 255);
}

TEST(Alpha, output_opacity_0_makes_the_output_opaque) {
  const image source = filled(4, 4, RGBA8, {10, 20, 30, 40}), background = filled(4, 4, RGBA8, {0, 0, 0, 99});
  rendered_effect effect("(define A (Source Background) () output_opacity = 0 (int) dest = Source)");
  EXPECT_EQ(get_field(effect.render({&source, &background}).output, 1, 1, 3), 255);
}

// --- inputs --------------------------------------------------------------------------------------

TEST(Inputs, an_absent_input_reads_as_zeros) {
  const image source = filled(4, 4, RGBA8, {10, 20, 30, 40});
  rendered_effect effect("(define A (Source Front) (rgba_ok) dest = Front)");
  const frame_result result = effect.render({&source, nullptr});
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(pixel(result.output, 2, 2), rgba{});
  rendered_effect alone("(define A (Source) (rgba_ok) dest = (+ Source 0.5))");
  const frame_result lonely = alone.render(alone.request(4, 4));
  ASSERT_EQ(lonely.error, 0) << text_of(lonely.messages);
  EXPECT_EQ(pixel(lonely.output, 2, 2), (rgba{128, 128, 128, 128}));
}

TEST(Inputs, an_absent_input_that_defaults_to_self_takes_the_first) {
  const image source = noise_image(5, 4, RGBA8);
  rendered_effect effect("(define A (Source Front) (rgba_ok default_input_self 1) dest = Front)");
  const frame_result result = effect.render({&source, nullptr});
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(result.output.data, source.data);
}

TEST(Inputs, a_smaller_input_lies_over_the_middle_of_the_first) {
  const image source = filled(8, 8, RGBA8, {1, 2, 3, 4}), front = noise_image(3, 4, RGBA8);
  rendered_effect effect("(define A (Source Front) (rgba_ok) dest = Front)");
  const frame_result result = effect.render({&source, &front});
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) {
      const bool inside = x >= 3 && x < 6 && y >= 2 && y < 6;
      ASSERT_EQ(pixel(result.output, x, y), inside ? pixel(front, x - 3, y - 2) : rgba{}) << x << " " << y;
    }
}

TEST(Inputs, the_output_is_cut_to_the_matte) {
  const image source = filled(8, 8, RGBA8, {200, 200, 200, 255}), matte = filled(4, 4, RGBA8, {255, 255, 255, 255});
  rendered_effect effect("(define A (Source Matte) (rgba_ok) dest = Source)");
  frame_request request = effect.request({&source, &matte});
  request.initial_fill = 0xee;
  const frame_result result = effect.render(request);
  EXPECT_EQ(pixel(result.output, 2, 2), (rgba{200, 200, 200, 255}));
  EXPECT_EQ(pixel(result.output, 1, 2), rgba{});
  EXPECT_EQ(pixel(result.output, 6, 2), rgba{});
}

TEST(Inputs, of_another_depth_than_the_output_are_read_by_their_own) {
  const image deep = filled(4, 4, pixel_format::rgba16, {32768, 16384, 0, 32768});
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)");
  EXPECT_EQ(pixel(effect.render({&deep}).output, 1, 1), (rgba{255, 128, 0, 255}));
}

// --- columns and rows ----------------------------------------------------------------------------

TEST(Columns, the_connected_inputs_choose_the_effect) {
  const image source = filled(4, 4, RGBA8, {200, 100, 50, 255}), front = filled(4, 4, RGBA8, {1, 2, 3, 255});
  rendered_effect effect(
      std::vector<std::string>{"(define A (Source) (rgba_ok default_input_self 1) dest = (* Source 0.5))",
                               "(define A (Source Front) (rgba_ok) dest = Front)"},
      RGBA8);
  EXPECT_EQ(get_field(effect.render({&source, nullptr}).output, 1, 1, 0), 100);
  EXPECT_EQ(get_field(effect.render({&source, &front}).output, 1, 1, 0), 1);
  EXPECT_EQ(get_field(effect.render({&source, &source}).output, 1, 1, 0), 100);  // no real connection
}

TEST(Columns, inputs_are_found_by_name_whatever_their_order) {
  const image source = filled(4, 4, RGBA8, {200, 100, 50, 255}), front = filled(4, 4, RGBA8, {1, 2, 3, 255});
  rendered_effect effect(std::vector<std::string>{"(define A (Source Front) (rgba_ok) dest = Source)",
                                                  "(define B (Front Source) (rgba_ok) dest = Source)"},
                         RGBA8);
  const std::size_t popup = 2;  // behind the layer and the second input
  ASSERT_EQ(effect.instance().declared()[popup].param_type, PF_Param_POPUP);
  for (int row : {1, 2}) {
    effect.instance().values()[popup].u.popup.value = row;
    EXPECT_EQ(get_field(effect.render({&source, &front}).output, 1, 1, 0), 200) << row;
  }
}

TEST(Rows, the_popup_chooses_the_effect) {
  const image source = filled(4, 4, RGBA8, {200, 100, 50, 255});
  rendered_effect effect(std::vector<std::string>{"(define Half (Source) (rgba_ok) dest = (* Source 0.5))",
                                                  "(define Quarter (Source) (rgba_ok) dest = (* Source 0.25))"},
                         RGBA8);
  EXPECT_STREQ(effect.instance().declared()[1].u.popup.names, "Half|Quarter");
  EXPECT_EQ(get_field(effect.render({&source}).output, 1, 1, 0), 100);
  effect.instance().values()[1].u.popup.value = 2;
  EXPECT_EQ(get_field(effect.render({&source}).output, 1, 1, 0), 50);
  effect.instance().values()[1].u.popup.value = 3;
  EXPECT_EQ(effect.render({&source}).error, PF_Err_BAD_REQUEST);
}

// --- fields --------------------------------------------------------------------------------------

TEST(Fields, each_writes_its_lines_and_leaves_the_others) {
  const image source = noise_image(16, 9, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = (- [1 1 1 1] (+ Source (* y 0.25))))");
  const frame_result frame = effect.render({&source});
  ASSERT_EQ(frame.error, 0) << text_of(frame.messages);
  for (int field : {1, 2}) {
    frame_request request = effect.request({&source});
    request.field = field;
    const frame_result result = effect.render(request);
    ASSERT_EQ(result.error, 0);
    for (int y = 0; y < 9; ++y) {
      const bool of_field = y % 2 == field - 1;  // the upper field holds line 0
      for (int x = 0; x < 16; ++x)
        ASSERT_EQ(pixel(result.output, x, y), pixel(of_field ? frame.output : source, x, y)) << field << " " << y;
    }
  }
}

TEST(Fields, clearing_and_the_background_alpha_stay_within_the_field) {
  const image source = filled(8, 6, RGBA8, {200, 100, 50, 77}), background = filled(8, 6, RGBA8, {0, 0, 0, 33});
  rendered_effect effect("(define A (Source Background) () dest = (* Source 0.5))");
  frame_request request = effect.request({&source, &background});
  request.field = 1;
  request.extent = pf_rect{2, 0, 6, 4};
  const frame_result result = effect.render(request);
  EXPECT_EQ(pixel(result.output, 3, 2), (rgba{100, 50, 25, 33}));
  EXPECT_EQ(pixel(result.output, 0, 2), rgba{});
  EXPECT_EQ(pixel(result.output, 3, 4), rgba{});
  for (int y : {1, 3, 5})
    for (int x : {0, 3}) EXPECT_EQ(pixel(result.output, x, y), (rgba{200, 100, 50, 77}));
}

// The frame before was of another field, or whole: what it left behind must not say which lines are cleared.
TEST(Fields, clearing_minds_its_own_field_where_nothing_is_computed) {
  const rgba held{200, 100, 50, 77};
  const image source = filled(8, 6, RGBA8, held);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)");
  frame_request request = effect.request({&source});
  for (int before : {0, 1, 2})
    for (int field : {0, 1, 2}) {
      request.field = before;
      request.extent = std::nullopt;
      ASSERT_EQ(effect.render(request).error, 0);
      request.field = field;
      request.extent = pf_rect{2, 2, 2, 2};
      request.initial_fill = 9;
      const frame_result result = effect.render(request);
      ASSERT_EQ(result.error, 0) << text_of(result.messages);
      for (int y = 0; y < 6; ++y) {
        const bool cleared = field == 0 || y % 2 == field - 1;
        EXPECT_EQ(pixel(result.output, 3, y), cleared ? rgba{} : held) << before << " " << field << " " << y;
      }
    }
}

TEST(Fields, motion_renders_whole_frames) {
  const image source = filled(4, 4, RGBA8, {200, 100, 50, 77});
  tessaron::hostkit::host_identity motion;
  motion.appl_id = 0x4d4f544e;  // MOTN
  rendered_effect effect("(define A (Source) (rgba_ok) dest = (* Source 0.5))", RGBA8, motion);
  frame_request request = effect.request({&source});
  request.field = 1;
  EXPECT_EQ(get_field(effect.render(request).output, 1, 1, 0), 100);
}

// --- coordinates ---------------------------------------------------------------------------------

// Eight pixels over -1 to 1: steps of 1024, the first at half a step and half a unit for rounding.
TEST(Coordinates, x_spans_the_layer_at_half_resolution_too) {
  rendered_effect effect("(define A () () dest = (+ x 0))");
  for (int factor : {1, 2}) {
    frame_request request = with_root(effect.request(8 * factor, 4 * factor));
    request.downsample_x = request.downsample_y = factor;
    const frame_result result = effect.render(request);
    ASSERT_EQ(result.error, 0) << text_of(result.messages);
    ASSERT_EQ(result.root.width, 8);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(root_at(result, i, 0), -3584 + 1024 * i);
  }
}

// 16 by 8 pixels of aspect 2: the engine's ratio is 1/2, the top lies at 1/2 * 1/2. In 24 fraction bits
// the top is 4194304, a row 1048576, half a row 524288; 2048 rounds.
TEST(Coordinates, y_falls_from_the_frames_ratio_times_the_pixels) {
  rendered_effect effect("(define A () () dest = (+ y 0))");
  frame_request request = with_root(effect.request(16, 8));
  request.pixel_aspect = 2;
  const frame_result result = effect.render(request);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  const int expected[8] = {895, 639, 383, 127, -129, -385, -641, -897};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(root_at(result, 5, i), expected[i]);
}

TEST(Time, is_what_the_host_says) {
  const std::pair<const char*, int> expected[] = {{"(get_percent_time)", 2048},  // 5 of 0 to 10
                                                  {"(get_frame_number)", 5 * 4096},
                                                  {"(get_total_frames)", 11 * 4096},
                                                  {"(get_frames_per_second)", 25 * 4096},
                                                  {"(get_time)", 819}};  // 5 / 25 of a second
  for (const auto& [query, value] : expected) {
    rendered_effect effect(std::string("(define A () () dest = (+ ") + query + " (* x 0)))");
    frame_request request = with_root(effect.request(4, 4));
    request.frame = 5;
    request.total_frames = 11;
    request.fps = 25;
    const frame_result result = effect.render(request);
    ASSERT_EQ(result.error, 0) << query << text_of(result.messages);
    EXPECT_EQ(root_at(result, 2, 2), value) << query;
  }
}

TEST(Root, is_seen_before_any_limit) {
  rendered_effect effect("(define A () () dest = [0.5 -3 9])");
  const frame_result result = effect.render(with_root(effect.request(3, 2)));
  EXPECT_EQ(result.root.elements, 3);
  ASSERT_EQ(result.root.samples.size(), 18u);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(result.root.samples[3 * i], 2048);
    EXPECT_EQ(result.root.samples[3 * i + 1], -12288);
    EXPECT_EQ(result.root.samples[3 * i + 2], 36864);
  }
}

// A root that doesn't change in time is kept in planes, limited to almost 8.0 either way.
TEST(Root, is_seen_in_every_frame_though_its_planes_stand) {
  rendered_effect effect("(define A () () dest = (* x 20))");
  frame_request request = with_root(effect.request(8, 4));
  for (int frame : {0, 1, 2}) {
    request.frame = frame;
    const frame_result result = effect.render(request);
    ASSERT_EQ(result.root.samples.size(), 32u) << frame;
    EXPECT_EQ(root_at(result, 4, 1), 512 * 20);
    EXPECT_EQ(root_at(result, 7, 3), 32767);
    EXPECT_EQ(pixel(result.output, 7, 3), (rgba{255, 255, 255, 255}));
    request.want_root = false;
    EXPECT_EQ(effect.render(request).output.data, result.output.data);
    request.want_root = true;
  }
}

// The root is 0.25 of four elements in planes: straightened by its own alpha of 0.5 it is 0.5.
TEST(Root, in_planes_is_straightened_like_any_other) {
  rendered_effect effect("(define A () (rgba_ok) opacity = 1 (int) dest = (+ [0.25 0.25 0.25 0.5] (min (abs x) 0)))");
  frame_request request = effect.request(8, 4);
  for (int frame : {0, 1}) {
    request.frame = frame;
    request.want_stats = true;
    const frame_result result = effect.render(request);
    EXPECT_EQ(result.stats.image_nodes.size(), frame == 0 ? 1u : 0u);  // kept for the second frame
    EXPECT_EQ(pixel(result.output, 3, 2), (rgba{128, 128, 128, 128})) << frame;
  }
}

}  // namespace
