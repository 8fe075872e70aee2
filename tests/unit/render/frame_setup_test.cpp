// Borders of effects that reach beyond their input, and what hangs on the host's make.
#include <gtest/gtest.h>

#include "catalogue/defuns.h"
#include "evaluator/bounds.h"
#include "evaluator/frame.h"
#include "genotype/genotype.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "support/render_kit.h"

using namespace tessaron::testing;
using tessaron::bounds_record;
using tessaron::fun_info;
using tessaron::globals_record;
using tessaron::node;

namespace {

constexpr pixel_format RGBA8 = pixel_format::rgba8;

int reach_left, reach_top, reach_right, reach_bottom;

void reach_beyond(node& n) {
  auto& region = n.args[0]->bounds->region;
  region = unite(region, grow(n.bounds->region, reach_left, reach_top, reach_right, reach_bottom));
}
void reach_nowhere(node&) {}

/// A catalogue function of which only the reach matters here.
class reaching_function {
 public:
  explicit reaching_function(tessaron::bounds_hook_fn hook) {
    tessaron::set_tables_and_globals();
    fun_ = const_cast<fun_info*>(tessaron::find_fun("blur"));
    hook_ = fun_->bounds_hook;
    fun_->bounds_hook = hook;
  }
  ~reaching_function() { fun_->bounds_hook = hook_; }

 private:
  fun_info* fun_;
  tessaron::bounds_hook_fn hook_;
};

/// The sizes that frame setup asks for; the operator itself need not be there.
frame_result set_up(int width, int height, int borders_on, tessaron::bounds_hook_fn hook = reach_beyond) {
  const image source = noise_image(width, height, RGBA8);
  rendered_effect effect("(define G (Source) (rgba_ok) expand_borders = " + std::to_string(borders_on) +
                         " (int) amount = 0.5 dest = (blur Source amount 0 1 0))");
  const reaching_function reaching(hook);
  return effect.render({&source});
}

TEST(Borders, follow_the_effects_reach_on_each_side) {
  reach_left = 1;
  reach_top = 2;
  reach_right = 3;
  reach_bottom = 4;
  const frame_result result = set_up(100, 80, 1);
  EXPECT_EQ(result.output.width, 104);
  EXPECT_EQ(result.output.height, 86);
  EXPECT_EQ(result.origin_x, 1);
  EXPECT_EQ(result.origin_y, 2);
}

TEST(Borders, are_off_when_the_effects_switch_is) {
  reach_left = reach_top = reach_right = reach_bottom = 9;
  const frame_result result = set_up(100, 80, 0);
  EXPECT_EQ(result.output.width, 100);
  EXPECT_EQ(result.output.height, 80);
}

TEST(Borders, of_a_small_layer_reach_at_most_360_and_270) {
  reach_left = reach_top = reach_right = reach_bottom = 500;
  const frame_result result = set_up(100, 100, 1);
  EXPECT_EQ(result.origin_x, 360);
  EXPECT_EQ(result.origin_y, 270);
  EXPECT_EQ(result.output.width, 100 + 720);
  EXPECT_EQ(result.output.height, 100 + 540);
}

TEST(Borders, of_a_large_layer_reach_at_most_its_own_size) {
  reach_left = reach_top = reach_right = reach_bottom = 1000;
  const frame_result result = set_up(400, 300, 1);
  EXPECT_EQ(result.origin_x, 400);
  EXPECT_EQ(result.origin_y, 300);
}

TEST(Borders, without_end_leave_the_layers_size) {
  reach_left = reach_top = reach_bottom = 5;
  reach_right = 16384;  // the right side lies beyond 16383
  const frame_result result = set_up(100, 80, 1);
  EXPECT_EQ(result.output.width, 100);
  EXPECT_EQ(result.output.height, 80);
  EXPECT_EQ(result.origin_x, 0);
}

TEST(Borders, of_an_effect_that_reaches_nothing_are_0) {
  const frame_result result = set_up(100, 80, 1, reach_nowhere);
  EXPECT_EQ(result.output.width, 100);
  EXPECT_EQ(result.output.height, 80);
}

TEST(Borders, that_shrink_count_as_0) {
  reach_left = reach_top = reach_right = reach_bottom = -10;
  EXPECT_EQ(set_up(100, 80, 1).output.width, 100);
}

// --- what a hook finds ---------------------------------------------------------------------------

/// Amount of the operator, a constant of this frame, as whole pixels around.
void reach_by_amount(node& n) {
  const int pixels = n.args[1]->const_vals[0] / 4096;
  grow_arg_bounds(n, 0, pixels, pixels);
}

struct hook_view {
  int display_width, display_height, view_width, frame_x0, frame_x1;
  bool elnum_known;
};
hook_view seen;
void note_view(node& n) {
  const auto& d = tessaron::display_dims;
  seen = {
      d.display_width, d.display_height, d.view_width, tessaron::render_info.frame_x0, tessaron::render_info.frame_x1,
      n.elnum == 4};
  pass_bounds_on(n);
}

frame_request bordered(const rendered_effect& effect, const image& source) {
  frame_request request = effect.request({&source});
  request.before_render = [](pf_in_data&, pf_param_def**, pf_world& output) { output.width = 0; };  // sizes only
  return request;
}

TEST(BoundsHooks, see_amounts_as_the_frame_has_them) {
  const image source = noise_image(100, 80, RGBA8);
  const reaching_function reaching(reach_by_amount);
  rendered_effect effect(
      "(define G (Source) (rgba_ok) expand_borders = 1 (int) amount = 3 (max 100) "
      "dest = (blur Source (+ amount (get_frame_number)) 0 1 0))");
  frame_request request = bordered(effect, source);
  for (const int frame : {0, 5, 9}) {
    request.frame = frame;
    request.total_frames = 20;
    EXPECT_EQ(effect.render(request).origin_x, 3 + frame);
  }
  effect.instance().values()[2].u.slider.value = 20 * 65536;
  EXPECT_EQ(effect.render(request).origin_x, 29);
}

TEST(BoundsHooks, see_the_scaled_layer_and_a_view_without_end) {
  const image source = noise_image(100, 80, RGBA8);
  const reaching_function reaching(note_view);
  rendered_effect effect(
      "(define G (Source) (rgba_ok) expand_borders = 1 (int) amount = 3 dest = (blur Source amount 0 1 0))");
  frame_request request = effect.request({&source});
  request.downsample_x = request.downsample_y = 2;
  request.width = 201;
  request.height = 160;
  int frame_x1_after = 0;
  request.before_render = [&](pf_in_data&, pf_param_def**, pf_world& output) {
    frame_x1_after = tessaron::render_info.frame_x1;
    output.width = 0;
  };
  effect.render(request);
  EXPECT_EQ(seen.display_width, 101);  // 100.5 rounds up
  EXPECT_EQ(seen.display_height, 80);
  EXPECT_EQ(seen.view_width, 32767);
  EXPECT_EQ(seen.frame_x0, -32767);
  EXPECT_EQ(seen.frame_x1, 32767);
  EXPECT_TRUE(seen.elnum_known);
  EXPECT_EQ(frame_x1_after, 200) << "the layer's own again";
}

// --- several inputs ------------------------------------------------------------------------------

TEST(Borders, are_kept_for_each_input_and_the_output_takes_the_widest) {
  reach_left = 3;
  reach_top = 0;
  reach_right = 1;
  reach_bottom = 2;
  const image source = noise_image(100, 80, RGBA8), front = noise_image(100, 80, RGBA8, 2);
  const reaching_function reaching(reach_beyond);
  rendered_effect effect(
      "(define G (Source Front Absent) (rgba_ok) expand_borders = 1 (int) amount = 0.5 "
      "dest = (+ (blur Source amount 0 1 0) (+ Front Absent)))");
  frame_request request = effect.request({&source, &front, nullptr});
  globals_record kept;
  request.before_render = [&](pf_in_data& in, pf_param_def**, pf_world& output) {
    kept = *static_cast<const globals_record*>(*in.sequence_data);
    output.width = 0;
  };
  const frame_result result = effect.render(request);
  EXPECT_EQ(result.output.width, 104);
  EXPECT_EQ(result.output.height, 82);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(kept.input_borders[i].left, 3) << i;
    EXPECT_EQ(kept.input_borders[i].right, 1) << i;
    EXPECT_EQ(kept.input_borders[i].top, 0) << i;
    EXPECT_EQ(kept.input_borders[i].bottom, 2) << i;
  }
  EXPECT_EQ(kept.input_borders[2].left, 0) << "without a layer";
}

TEST(Borders, without_end_are_noted_as_everything) {
  reach_left = reach_top = reach_bottom = 0;
  reach_right = 16384;
  const image source = noise_image(100, 80, RGBA8);
  const reaching_function reaching(reach_beyond);
  rendered_effect effect(
      "(define G (Source) (rgba_ok) expand_borders = 1 (int) amount = 0.5 dest = (blur Source amount 0 1 0))");
  frame_request request = effect.request({&source});
  globals_record kept;
  request.before_render = [&](pf_in_data& in, pf_param_def**, pf_world& output) {
    kept = *static_cast<const globals_record*>(*in.sequence_data);
    output.width = 0;
  };
  effect.render(request);
  EXPECT_EQ(kept.input_borders[0].left, -32767);
  EXPECT_EQ(kept.input_borders[0].right, 32767);
  EXPECT_EQ(kept.input_borders[0].top, -32767);
  EXPECT_EQ(kept.input_borders[0].bottom, 32767);
}

TEST(Borders, up_to_16383_have_an_end) {
  reach_left = reach_top = reach_bottom = 0;
  reach_right = 16383 - 99;  // the last column is 99
  EXPECT_EQ(set_up(100, 80, 1).output.width, 100 + 360);
  reach_right = 16384 - 99;
  EXPECT_EQ(set_up(100, 80, 1).output.width, 100);
}

TEST(Borders, of_an_effect_that_cannot_grow_are_0_whatever_its_switch) {
  const image source = noise_image(100, 80, RGBA8);
  rendered_effect effect("(define G (Source) (rgba_ok) expand_borders = 1 (int) dest = (+ Source 0.5))");
  const frame_result result = effect.render({&source});
  EXPECT_EQ(result.output.width, 100);
  EXPECT_EQ(result.output.height, 80);
}

TEST(Borders, are_off_in_hosts_that_hide_their_switch) {
  reach_left = reach_top = reach_right = reach_bottom = 9;
  const image source = noise_image(100, 80, RGBA8);
  const reaching_function reaching(reach_beyond);
  for (const std::uint32_t appl : {0x4b657947u, 0x4446582bu}) {  // KeyG, DFX+
    tessaron::hostkit::host_identity identity;
    identity.appl_id = appl;
    rendered_effect effect(
        "(define G (Source) (rgba_ok) expand_borders = 1 (int) amount = 0.5 dest = (blur Source amount 0 1 0))", RGBA8,
        identity);
    EXPECT_EQ(effect.render(bordered(effect, source)).output.width, 100) << appl;
  }
}

TEST(Borders, of_a_tree_that_does_not_fit_its_inputs_are_0) {
  const image source = noise_image(100, 80, RGBA8);
  rendered_effect effect(
      "(define G (Source) (rgba_ok) expand_borders = 1 (int) a = 0.5 "
      "dest = (cross (blur Source a 0 1 0) [1 0 0]))");
  const frame_result result = effect.render({&source});
  EXPECT_EQ(result.output.width, 100);
  EXPECT_EQ(result.error, PF_Err_BAD_REQUEST);
  EXPECT_TRUE(mentions(result.messages, "has an invalid combo of arg types."));
}

// --- thumbnails ----------------------------------------------------------------------------------

/// Whether the render with these settings counts as one for a thumbnail.
bool renders_thumbnail(std::uint32_t appl_id, int width, int downsample_x, int downsample_y) {
  tessaron::hostkit::host_identity identity;
  identity.appl_id = appl_id;
  const image source = noise_image(width, 8, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)", RGBA8, identity);
  frame_request request = effect.request({&source});
  request.downsample_x = downsample_x;
  request.downsample_y = downsample_y;
  pf_handle record = nullptr;
  request.before_render = [&](pf_in_data& in, pf_param_def**, pf_world&) { record = in.sequence_data; };
  EXPECT_EQ(effect.render(request).error, 0);
  return static_cast<const globals_record*>(*record)->host_flags & tessaron::HOST_THUMBNAIL_RENDER;
}

TEST(Thumbnails, of_combustion_are_within_10_of_128_columns) {
  constexpr std::uint32_t COMBUSTION = 0x43627374;  // Cbst
  EXPECT_TRUE(renders_thumbnail(COMBUSTION, 119, 1, 1));
  EXPECT_TRUE(renders_thumbnail(COMBUSTION, 137, 1, 1));
  EXPECT_FALSE(renders_thumbnail(COMBUSTION, 118, 1, 1));
  EXPECT_FALSE(renders_thumbnail(COMBUSTION, 138, 1, 1));
}

TEST(Thumbnails, of_motion_are_a_fifth_or_a_thirteenth_in_both_directions) {
  constexpr std::uint32_t MOTION = 0x4d4f544e;  // MOTN
  EXPECT_TRUE(renders_thumbnail(MOTION, 16, 5, 5));
  EXPECT_TRUE(renders_thumbnail(MOTION, 16, 13, 5));
  EXPECT_FALSE(renders_thumbnail(MOTION, 16, 5, 1));
  EXPECT_FALSE(renders_thumbnail(MOTION, 128, 1, 1));
}

TEST(Thumbnails, no_other_host_has_any) { EXPECT_FALSE(renders_thumbnail(0x54455353, 128, 5, 5)); }

}  // namespace
