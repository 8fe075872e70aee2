// The table of the sampling image, its memory, wrap flags, and what operators read as one value.
#include <gtest/gtest.h>

#include "operators/sampling.h"
#include "tests/support/report_capture.h"
#include "warp_reference.h"

namespace tessaron::level_generic {
void fill_mipmap_y_level(int level);
}

namespace tessaron::testing {
namespace {

TEST(mipmap_table, of_5_by_3_pixels_by_hand) {
  set_mipmap_table(5, 3, 3, true);
  const mipmap_table_record& t = mipmap_table;
  ASSERT_EQ(t.x_level_count, 4);  // 5 3 2 1
  ASSERT_EQ(t.y_level_count, 3);  // 3 2 1
  const int widths[4] = {5, 3, 2, 1}, offsets[4] = {0, 21, 36, 48};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(t.x_level_width[i], widths[i]);
    EXPECT_EQ(t.x_level_limit[i], widths[i] * 4096);
    EXPECT_EQ(t.x_level_offset[i], std::uint32_t(offsets[i]));
  }
  // Stored widths 7 + 5 + 4 + 3 = 19 columns of 3 samples are 57, an even stride 58.
  EXPECT_EQ(t.row_stride, 58);
  const int heights[3] = {3, 2, 1}, rows[3] = {0, 5, 9};
  for (int j = 0; j < 3; ++j) {
    EXPECT_EQ(t.y_level_height[j], heights[j]);
    EXPECT_EQ(t.y_level_limit[j], heights[j] * 4096);
    EXPECT_EQ(t.y_level_row[j], std::uint32_t(rows[j] * 58));
  }
  EXPECT_EQ(t.max_x_level, 3 * 4096 - 1);
  EXPECT_EQ(t.max_y_level, 2 * 4096 - 1);
}

TEST(mipmap_table, has_one_level_of_a_side_of_one_pixel_and_of_any_without_filtering) {
  set_mipmap_table(1, 64, 1, true);
  EXPECT_EQ(mipmap_table.x_level_count, 1);
  EXPECT_EQ(mipmap_table.y_level_count, 7);
  set_mipmap_table(64, 64, 1, false);
  EXPECT_EQ(mipmap_table.x_level_count, 1);
  EXPECT_EQ(mipmap_table.y_level_count, 1);
  EXPECT_EQ(mipmap_table.max_x_level, -1);
}

TEST(mipmap_table, has_at_most_15_levels) {
  set_mipmap_table(30000, 1, 1, true);
  EXPECT_EQ(mipmap_table.x_level_count, 15);
  EXPECT_EQ(mipmap_table.x_level_width[14], 2);
}

TEST(mipmap_table, stands_until_size_elements_or_levels_change) {
  set_mipmap_table(40, 30, 4, true);
  mipmap_table.x_level_width[1] = -1;  // a mark
  set_mipmap_table(40, 30, 4, true);
  EXPECT_EQ(mipmap_table.x_level_width[1], -1);
  set_mipmap_table(40, 30, 4, false);
  set_mipmap_table(40, 30, 4, true);
  EXPECT_EQ(mipmap_table.x_level_width[1], 20);
}

TEST(mipmap_table, for_more_samples_than_it_can_name_ends_the_render) {
  report_capture reports;
  EXPECT_THROW(set_mipmap_table(32767, 32767, 4, true), TessaronAbortException);
  EXPECT_TRUE(reports.has("Not enough memory.")) << reports.all();
  EXPECT_TRUE(reports.has_part("returned a null pointer."));
  set_mipmap_table(8, 8, 4, true);  // and the next one has a table
  EXPECT_EQ(mipmap_table.x_level_count, 4);
}

TEST(wrap_flags, are_off_at_0_repeat_up_to_1_and_mirror_above) {
  const std::pair<fix, plain_wrap> cases[] = {{-4096, plain_wrap::none},  {0, plain_wrap::none},
                                              {1, plain_wrap::repeat},    {4096, plain_wrap::repeat},
                                              {4097, plain_wrap::mirror}, {8192, plain_wrap::mirror}};
  for (const auto& [value, wrap] : cases) {
    set_wrap_flags(value, 0);
    EXPECT_EQ(wrap_x_on, wrap != plain_wrap::none) << value;
    EXPECT_EQ(wrap_x_on && wrap_x_mirror, wrap == plain_wrap::mirror) << value;
    EXPECT_FALSE(wrap_y_on);
    set_wrap_flags(0, value);
    EXPECT_EQ(wrap_y_on, wrap != plain_wrap::none) << value;
    EXPECT_EQ(wrap_y_on && wrap_y_mirror, wrap == plain_wrap::mirror) << value;
    EXPECT_FALSE(wrap_x_on);
  }
}

TEST(end_weights, are_shares_of_twice_the_sum) {
  EXPECT_EQ(end_weights_of(4096, 4096).first, 4096);
  EXPECT_EQ(end_weights_of(4096, 4096).last, 4096);
  EXPECT_EQ(end_weights_of(4096, 0).first, 8192);
  EXPECT_EQ(end_weights_of(1024, 3072).first, 2048);
  EXPECT_EQ(end_weights_of(1024, 3072).last, 6144);
  EXPECT_EQ(end_weights_of(0, 0).first, 0);
  EXPECT_EQ(end_weights_of(10, -10).first, 81920);  // a sum of 0 counts as 1
}

TEST(growing_buffer, starts_with_zeros_and_keeps_its_samples_until_it_grows) {
  growing_buffer<std::int32_t> buffer;
  std::int32_t* samples = buffer.at_least(10);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(samples[i], 0);
  samples[3] = 7;
  EXPECT_EQ(buffer.at_least(5), samples);
  EXPECT_EQ(samples[3], 7);
  EXPECT_EQ(buffer.at_least(1000)[999], 0);
}

TEST(wrap_argument, that_varies_counts_with_what_it_has_in_the_middle) {
  const test_frame f = {.width = 30, .height = 20, .source_channels = 4};
  definition_renderer varying(warp_definition("(warp Source " + FIRST_PAIR + " (v2 (- 0 (* x 2)) 1.5) 0)"), f);
  definition_renderer constant(warp_definition("(warp Source " + FIRST_PAIR + " [1.9 1.5] 0)"), f);
  for (definition_renderer* r : {&varying, &constant}) {
    r->set_source(0, random_picture(30, 0, 8191));
    r->set_source(1, scattered_map(30));
  }
  EXPECT_EQ(rendered(varying), rendered(constant));
}

TEST(mipmap_levels, level_0_is_not_to_be_asked_for) {
  report_capture reports;
  level_generic::fill_mipmap_y_level(0);
  EXPECT_EQ(reports.severity_of("forked_fill_mipmap_y_level should not get level 0. \n"), REPORT_ERROR);
}

TEST(sampling_image, of_an_unsupported_element_count_is_reported) {
  definition_renderer r("(define W (Source) () dest = (warp Source (v2 x y) [0 0] 0))");
  ASSERT_TRUE(r.render());
  node n = r.root(), image = *n.args[0];
  image.elnum = 5;
  n.args[0] = &image;
  report_capture reports;
  n.image_fun(n);
  EXPECT_TRUE(reports.has("eval_node_tree_into_mipmap_toplevel: unsupported elnum 5 \n")) << reports.all();
}

TEST(sampling_image, in_field_rendering_fills_the_other_fields_lines_with_the_mean_of_their_neighbours) {
  definition_renderer r(warp_definition("(warp Source " + FIRST_PAIR + " [1 1] 0)"),
                        {.width = 64, .height = 64, .source_channels = 4});
  r.set_source(0, [](int, int y, int) { return y % 2 ? 8000 : 100 * y; });
  r.set_source(1, [](int x, int y, int e) { return e == 0 ? 128 * x - 4032 : 4032 - 128 * (y ^ 1); });  // swaps lines
  r.fill_records();
  field_globals.field_number = 2;  // odd lines are left out: even lines are computed
  abort_requested = 0;
  ASSERT_EQ(perform_effect(), 0);
  field_globals = {};
  for (int y = 0; y < 62; y += 2) EXPECT_EQ(r.at(0, 9, y), 100 * (y + 1)) << y;  // not 8000
}

}  // namespace
}  // namespace tessaron::testing
