#include "host/render_records.h"

#include <gtest/gtest.h>

#include <cstring>

#include "host/alpha_modes.h"
#include "host/host_state.h"
#include "support/report_capture.h"

using namespace tessaron;
using tessaron::testing::report_capture;

namespace {

pf_world world(int width, int height, int rowbytes, bool deep, void* data) {
  return {width, height, rowbytes, deep ? std::uint32_t(PF_WorldFlag_DEEP) : 0u, data};
}

class Records : public ::testing::Test {
 protected:
  ~Records() override {
    host_state.host_app = host_app_;
    dest_raster_info = {};
    for (raster_info& r : source_raster_info) r = {};
    temp_raster_info = {};
    render_info = {};
  }
  alignas(8) std::uint8_t pixels[4096] = {};

 private:
  int host_app_ = host_state.host_app;
};

TEST_F(Records, an_8_bit_world_is_format_4_or_5_with_its_padding_in_bytes) {
  raster_info r;
  raster_info_from_world(r, world(10, 4, 47, false, pixels), false, -2, 3);
  EXPECT_EQ(r.format, 4);
  EXPECT_EQ(r.bits, 8);
  EXPECT_EQ(r.bytes_per_pixel, 4);
  EXPECT_EQ(r.row_pad, 7);
  EXPECT_EQ(r.kind, 2);
  EXPECT_EQ(r.row_step, 1);
  EXPECT_EQ(r.x0, -2);
  EXPECT_EQ(r.x1, 7);
  EXPECT_EQ(r.y0, 3);
  EXPECT_EQ(r.y1, 6);
  raster_info_from_world(r, world(10, 4, 40, false, pixels), true, 0, 0);
  EXPECT_EQ(r.format, 5);
}

TEST_F(Records, a_deep_world_is_format_8_or_9_with_its_padding_in_fields) {
  raster_info r;
  raster_info_from_world(r, world(10, 4, 96, true, pixels), false, 0, 0);
  EXPECT_EQ(r.format, 8);
  EXPECT_EQ(r.bits, 16);
  EXPECT_EQ(r.bytes_per_pixel, 8);
  EXPECT_EQ(r.row_pad, 8);
  raster_info_from_world(r, world(10, 4, 80, true, pixels), true, 0, 0);
  EXPECT_EQ(r.format, 9);
  EXPECT_EQ(r.row_pad, 0);
}

TEST_F(Records, negative_padding_reads_as_0) {
  raster_info r;
  raster_info_from_world(r, world(10, 4, 36, false, pixels), false, 0, 0);
  EXPECT_EQ(r.row_pad, 0);
}

TEST_F(Records, the_output_lies_at_the_hosts_origin) {
  pf_in_data in = {};
  in.output_origin_x = 10;
  in.output_origin_y = -5;
  raster_info r;
  dest_raster_info_from_layer(r, world(30, 20, 120, false, pixels), false, in);
  EXPECT_EQ(r.x0, -10);
  EXPECT_EQ(r.y0, 5);
  in.output_origin_y = 50001;
  dest_raster_info_from_layer(r, world(30, 20, 120, false, pixels), false, in);
  EXPECT_EQ(r.x0, 0);
  EXPECT_EQ(r.y0, 0);
  in.output_origin_y = 50000;
  dest_raster_info_from_layer(r, world(30, 20, 120, false, pixels), false, in);
  EXPECT_EQ(r.y0, -50000);
  host_state.host_app = HOST_FINAL_CUT;
  dest_raster_info_from_layer(r, world(30, 20, 120, false, pixels), false, in);
  EXPECT_EQ(r.x0, 0);
}

TEST_F(Records, an_input_of_any_size_is_centred_over_the_first) {
  const pf_world first = world(8, 8, 32, false, pixels), small = world(3, 4, 12, false, pixels),
                 large = world(12, 9, 48, false, pixels);
  effect_inputs inputs;
  inputs.count = 4;
  inputs.layer[0] = &first;
  inputs.layer[1] = &small;
  inputs.layer[3] = &large;
  fill_source_rasters(inputs, false);
  EXPECT_EQ(source_raster_info[0].x0, 0);
  EXPECT_EQ(source_raster_info[1].x0, 3);  // ceil(7 / 2) - ceil(2 / 2)
  EXPECT_EQ(source_raster_info[1].y0, 2);  // ceil(7 / 2) - ceil(3 / 2)
  EXPECT_EQ(source_raster_info[2].kind, 0);
  EXPECT_EQ(source_raster_info[3].x0, -2);  // 4 - ceil(11 / 2)
  EXPECT_EQ(source_raster_info[3].y0, 0);   // 4 - ceil(8 / 2)
}

TEST_F(Records, unusable_worlds_are_refused_by_name) {
  const auto refused = [&](const pf_world& w, const char* why) {
    report_capture reports;
    EXPECT_FALSE(world_usable(w, "Source"));
    EXPECT_TRUE(reports.has_part("Source of")) << reports.all();
    EXPECT_TRUE(reports.has_part(why)) << reports.all();
  };
  refused(world(-1, 4, 16, false, pixels), "a negative size");
  refused(world(4, -4, 16, false, pixels), "a negative size");
  refused(world(40000, 4, 160000, false, pixels), "at most 32767");
  refused(world(4, 4, 15, false, pixels), "doesn't hold its pixels");
  refused(world(4, 4, 16, true, pixels), "doesn't hold its pixels");
  refused(world(4, 4, -16, false, pixels), "doesn't hold its pixels");
  refused(world(4, 4, 16, false, nullptr), "no pixels");
  refused(world(4, 4, 33, true, pixels), "odd addresses");
  refused(world(4, 4, 32, true, pixels + 1), "odd addresses");
  EXPECT_TRUE(world_usable(world(0, 4, 0, false, nullptr), "Source"));
  EXPECT_TRUE(world_usable(world(4, 4, 16, false, pixels + 1), "Source"));
}

// --- rectangles ----------------------------------------------------------------------------------

class RenderRectangle : public Records {
 protected:
  RenderRectangle() {
    raster_info_from_world(dest_raster_info, world(100, 50, 400, false, pixels), false, 0, 0);
    g.n_inputs = 2;
    whole = {0, 0, 100, 50};
  }
  /// Adds input `i` with this rectangle of the frame.
  void input(int i, int x0, int y0, int width, int height, bool matte = false) {
    layers[i] = world(width, height, width * 4, false, pixels);
    raster_info_from_world(source_raster_info[i], layers[i], false, x0, y0);
    inputs.count = std::max(inputs.count, i + 1);
    inputs.layer[i] = &layers[i];
    inputs.matte[i] = matte;
  }
  rectangle render() {
    pf_in_data in = {};
    in.extent_hint = whole;
    set_render_rectangles(g, inputs, in, borders);
    return make_rectangle(render_info.render_x0, render_info.render_y0, render_info.render_x1, render_info.render_y1);
  }
  genotype g = {};
  effect_inputs inputs;
  input_border borders[MAX_INPUTS] = {};
  pf_world layers[MAX_INPUTS] = {};
  pf_rect whole;
};

TEST_F(RenderRectangle, is_the_output_for_an_effect_that_no_image_feeds) {
  EXPECT_EQ(render(), make_rectangle(0, 0, 99, 49));
  EXPECT_EQ(temp_raster_info.width, 100);
  EXPECT_EQ(temp_raster_info.height, 50);
  EXPECT_EQ(temp_raster_info.bits, 32);
  EXPECT_EQ(temp_raster_info.bytes_per_pixel, 16);
}

TEST_F(RenderRectangle, is_around_all_inputs_within_the_output) {
  input(0, 10, 10, 20, 20);
  input(1, 25, -5, 10, 20);
  EXPECT_EQ(render(), make_rectangle(10, 0, 34, 29));
}

TEST_F(RenderRectangle, a_matte_adds_nothing_and_cuts_off) {
  input(0, 0, 0, 60, 50);
  input(1, 30, 10, 100, 20, true);
  EXPECT_EQ(render(), make_rectangle(30, 10, 59, 29));
}

TEST_F(RenderRectangle, grows_by_each_inputs_border_only_if_the_effect_may_grow) {
  input(0, 10, 10, 20, 20);
  borders[0] = {5, 6, 7, 8, 0};  // left, right, top, bottom
  EXPECT_EQ(render(), make_rectangle(10, 10, 29, 29));
  g.flags[0] = GENO0_MAY_GROW;
  EXPECT_EQ(render(), make_rectangle(5, 3, 35, 37));
  borders[0] = {-32767, 32767, -32767, 32767, 0};
  EXPECT_EQ(render(), make_rectangle(0, 0, 99, 49));
}

TEST_F(RenderRectangle, an_effect_that_renders_everywhere_fills_the_output) {
  input(0, 10, 10, 20, 20);
  g.flags[0] = GENO0_RENDERS_EVERYWHERE;
  EXPECT_EQ(render(), make_rectangle(0, 0, 99, 49));
}

TEST_F(RenderRectangle, is_clipped_to_what_the_host_wants_of_the_output) {
  raster_info_from_world(dest_raster_info, world(100, 50, 400, false, pixels), false, -10, -20);
  whole = {5, 6, 15, 8};
  EXPECT_EQ(render(), make_rectangle(-5, -14, 4, -13));
  EXPECT_EQ(render_info.out_x0, -10);
  EXPECT_EQ(render_info.out_y1, 29);
  EXPECT_EQ(temp_raster_info.x0, -5);
  EXPECT_EQ(temp_raster_info.y1, -13);
  whole = {200, 0, 300, 50};
  render();
  EXPECT_EQ(temp_raster_info.width, 0);
}

TEST_F(RenderRectangle, the_output_reaches_at_most_30000_beyond_its_corner) {
  raster_info_from_world(dest_raster_info, world(32000, 32000, 128000, false, pixels), false, -100, 0);
  whole = {0, 0, 32000, 32000};
  EXPECT_EQ(render(), make_rectangle(-100, 0, 29900, 30000));
}

/// The view after a render of 5,6 to 14,7 with a matte of 10,5 to 49,24 over an input of 0,0 to 59,49.
struct ViewOf : RenderRectangle {
  rectangle view(const fun_info& fun) {
    node n = {};
    n.kind = KIND_FUNCTION;
    n.fun = &fun;
    g.nodes = &n;
    g.n_nodes = 1;
    input(0, 0, 0, 60, 50);
    input(1, 10, 5, 40, 20, true);
    whole = {5, 6, 15, 8};
    EXPECT_EQ(render(), make_rectangle(10, 6, 14, 7));
    EXPECT_EQ(temp_raster_info.width, temp_raster_info.x1 - temp_raster_info.x0 + 1);
    EXPECT_EQ(temp_raster_info.height, temp_raster_info.y1 - temp_raster_info.y0 + 1);
    return raster_rectangle(temp_raster_info);
  }
};

TEST_F(ViewOf, a_function_that_minds_its_own_pixel_is_what_is_rendered) {
  EXPECT_EQ(view(fun_info{}), make_rectangle(10, 6, 14, 7));
}

TEST_F(ViewOf, an_operator_is_all_that_the_effect_covers_beyond_hint_and_matte) {
  fun_info fun = {};
  fun.is_image_fun = 1;
  EXPECT_EQ(view(fun), make_rectangle(0, 0, 59, 49));
}

TEST_F(ViewOf, a_function_that_counts_pixels_is_the_effects_rectangle_whatever_the_hint) {
  fun_info fun = {};
  fun.position_dependent = true;
  EXPECT_EQ(view(fun), make_rectangle(10, 5, 49, 24));
  fun_info query = {};
  std::strcpy(query.name, "get_max_fnoise_freq");
  EXPECT_EQ(view(query), make_rectangle(10, 5, 49, 24));
}

// --- registering images --------------------------------------------------------------------------

TEST(SourceImages, keep_their_channel_count_by_number) {
  int image = 0;
  init_source_image(&image, 1, 4);
  init_source_image(&image, 4, 1);
  EXPECT_EQ(Globals->image_channels[3], 4);
  EXPECT_EQ(Globals->image_channels[6], 1);
  init_source_image(&image, 1, 3);
  init_source_image(&image, 4, 3);
}

TEST(SourceImages, a_number_above_4_and_a_null_image_are_fatal) {
  int image = 0;
  report_capture reports;
  EXPECT_THROW(init_source_image(&image, 5, 3), TessaronAbortException);
  EXPECT_TRUE(reports.has("init_source_image: number is above maximum allowed.")) << reports.all();
  EXPECT_THROW(init_source_image(nullptr, 2, 3), TessaronAbortException);
  EXPECT_TRUE(reports.has("init_source_image: image_ptr is NULL.")) << reports.all();
}

TEST(SourceImages, a_number_below_1_is_reported) {
  int image = 0;
  report_capture reports;
  init_source_image(&image, 0, 3);
  EXPECT_TRUE(reports.has("init_source_image: bad image_number, should be 1 - 4.")) << reports.all();
}

}  // namespace
