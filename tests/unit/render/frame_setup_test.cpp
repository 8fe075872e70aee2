// Borders of effects that reach beyond their input, and what hangs on the host's make.
#include <gtest/gtest.h>

#include "catalogue/defuns.h"
#include "genotype/genotype.h"
#include "genotype/globals.h"
#include "host/rectangle.h"
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
  explicit reaching_function(tessaron::bounds_hook_fn hook) : fun_(const_cast<fun_info*>(tessaron::find_fun("blur"))) {
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
