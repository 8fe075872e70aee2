// grad_for_mipmap: levels that follow from how fast coordinates change.
#include <gtest/gtest.h>

#include "gradient_kit.h"

namespace tessaron::testing {
namespace {

std::string mipmap_of(const std::string& coords, const char* scale, const char* relative) {
  return "(define M (Source) () dest = (grad_for_mipmap " + coords + " " + scale + " " + relative + "))";
}

planes_of_result levels_of(const std::string& coords, const char* scale, const char* relative, picture_size size,
                           float pixel_aspect = 1) {
  definition_renderer r(mipmap_of(coords, scale, relative),
                        {.width = size.width, .height = size.height, .pixel_aspect = pixel_aspect});
  return rendered(r);
}

TEST(grad_for_mipmap, of_the_pixels_own_places_is_the_finest_level) {
  for (const picture_size size : SIZES) {
    definition_renderer r(mipmap_of("(copy xy)", "1", "0"), {.width = size.width, .height = size.height});
    for (const auto& plane : same_everywhere(r))
      // Coordinates come in whole steps, so that a change of one pixel may look like a little more.
      for (const fix level : plane) ASSERT_LE(level, size.width > 300 ? 150 : 60) << size.width << "x" << size.height;
  }
}

TEST(grad_for_mipmap, rises_by_half_for_every_doubling) {
  for (const float aspect : {1.0f, 0.8f, 2.0f})
    for (int doublings = 1; doublings <= 2; ++doublings) {
      const planes_of_result levels =
          levels_of("(* xy " + std::to_string(1 << doublings) + ")", "1", "0", {120, 90}, aspect);
      for (const auto& plane : levels)
        for (const fix level : plane) ASSERT_NEAR(level, doublings * 2048, 40) << doublings << " aspect " << aspect;
    }
}

TEST(grad_for_mipmap, tells_the_directions_apart) {
  const planes_of_result levels = levels_of("(* xy [4 0.25])", "1", "0", {120, 90});
  for (const fix level : levels[0]) ASSERT_NEAR(level, 2 * 2048, 40);
  for (const fix level : levels[1]) ASSERT_EQ(level, 0);  // stretched: never finer than the image itself
}

TEST(grad_for_mipmap, counts_relative_coordinates_from_the_pixels_own_places) {
  // Where an offset doubles the pixels' own change, the level is that of a factor of 2; where it takes it back, 0.
  for (const auto& plane : levels_of("(* xy 1)", "1", "1", {120, 90}))
    for (const fix level : plane) ASSERT_NEAR(level, 2048, 40);
  EXPECT_LE(largest_difference(levels_of("(* xy 3)", "1", "0", {120, 90}), levels_of("(* xy 2)", "1", "1", {120, 90})),
            40);
  for (const auto& plane : levels_of("(negate xy)", "1", "1", {120, 90}))
    for (const fix level : plane) ASSERT_EQ(level, 0);
}

TEST(grad_for_mipmap, multiplies_the_change_by_its_scale) {
  const planes_of_result a = levels_of("(* xy 2)", "1", "0", {120, 90}), b = levels_of("(* xy 2)", "2", "0", {120, 90});
  for (std::size_t e = 0; e < 2; ++e)
    for (std::size_t i = 0; i < a[e].size(); ++i) ASSERT_NEAR(b[e][i], a[e][i] + 2048, 1);
  for (const auto& plane : levels_of("(* xy 7)", "0", "0", {60, 40}))
    for (const fix level : plane) ASSERT_EQ(level, 0);
}

TEST(grad_for_mipmap, sees_a_seam_from_the_side_that_does_not_cross_it) {
  // A quarter turn of the frame, repeated: coordinates jump by 0.5 at every seam.
  for (const auto& plane : levels_of("(mod (* xy 2) 0.5)", "1", "0", {240, 180}))
    for (const fix level : plane) ASSERT_LE(level, 2048 + 120);
}

TEST(grad_for_mipmap, of_a_rotation_grows_by_no_more_than_its_slant) {
  // The length that stands for a slant of 45 degrees is 1.5 / sqrt(2) of the true one.
  for (const auto& plane : levels_of("(rotate (* xy 4) 0.125 [0 0])", "1", "0", {160, 160}))
    for (const fix level : plane) {
      ASSERT_GE(level, 2 * 2048 - 40);
      ASSERT_LE(level, 2 * 2048 + 2048 * 0.15 + 60);
    }
}

TEST(grad_for_mipmap, drives_warp_filter_as_warp_filters_by_itself) {
  const std::string coords = "(rotate (* xy 3.3) 0.05 [0 0])";
  const test_frame frame = {.width = 160, .height = 120};
  const auto source = random_picture(160, 0, 4096);
  const auto roughness = [&](const std::string& dest) {
    const planes_of_result got =
        rendered("(define M (Source) () c = " + coords + " dest = " + dest + ")", frame, source);
    double sum = 0, squares = 0;
    const int count = 40 * 30;  // the warped picture lies within the frame there
    for (int y = 45; y < 75; ++y)
      for (int x = 60; x < 100; ++x) {
        const double v = got[0][std::size_t(y * 160 + x)];
        sum += v;
        squares += v * v;
      }
    return std::sqrt(squares / count - sum / count * (sum / count));
  };
  const double bare = roughness("(warp Source c [0 0] 0)"), own = roughness("(warp Source c [0 0] 1)");
  const double driven = roughness("(warp_filter Source c (grad_for_mipmap c 1 0) [0 0])");
  EXPECT_GT(bare, 700);  // noise read pixel by pixel
  EXPECT_LT(own, bare / 2);
  EXPECT_NEAR(driven, own, own / 10);
}

TEST(grad_for_mipmap, is_the_same_on_every_level_and_for_any_number_of_workers) {
  for (const picture_size size : SIZES)
    for (const char* relative : {"0", "1"}) {
      definition_renderer r(mipmap_of("(* (element_of Source [0 1]) 1)", "1.5", relative),
                            {.width = size.width, .height = size.height});
      r.set_source(0, random_picture(size.width, -4096, 4096));
      same_everywhere(r);
    }
}

TEST(grad_for_mipmap, follows_a_zoom_evenly) {
  definition_renderer r("(define M (Source) () zoom = 1 dest = (grad_for_mipmap (* xy zoom) 1 0))",
                        {.width = 96, .height = 64});
  // From 1 to 7 in steps of a tenth: the first, of a factor of 1.1, moves half the logarithm by 0.07.
  EXPECT_LE(largest_step(r, "zoom", {1}, {7}), 0.075 * 4096 + 60);
}

}  // namespace
}  // namespace tessaron::testing
