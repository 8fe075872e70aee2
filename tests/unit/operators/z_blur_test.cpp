// z_blur against its two rules: the crossfade and the layered composite.
#include <gtest/gtest.h>

#include "unit/operators/blur_reference.h"

namespace tessaron::testing {
namespace {

const test_frame FRAME = {.width = 61, .height = 27};
const test_frame TALL_PIXELS = {.width = 40, .height = 33, .pixel_aspect = 1.5f};

fix picture(int x, int y, int e) { return 700 * ((x / 5 + y / 4 + e) % 7) - 300 * e; }
/// Depths from -0.2 to 1.2 in ramps and steps.
fix depth(int x, int y, int) { return (x * 97 + (y / 6) * 1500) % 5700 - 800; }

planes_of_result called(const test_frame& f, int elnum, const z_blur_arguments& a) {
  const std::string call = "(z_blur " + image_text(elnum) + " (element_of Other 0) " + value_text({a.z_near}) + " " +
                           value_text({a.z_far}) + " " + value_text(a.blur_near) + " " + value_text(a.blur_far) + " " +
                           value_text({a.n_layers}) + " " + value_text({a.combine}) + ")";
  test_frame frame = f;
  frame.source_channels = elnum == 4 ? 4 : 3;
  definition_renderer r("(define Z (Source Other) (rgba_ok) dest = " + call + ")", frame);
  r.set_source(0, picture);
  r.set_source(1, depth);
  return rendered(r);
}

planes_of_result plain(const test_frame& f, int elnum, const z_blur_arguments& a) {
  const plain_planes image = image_planes(f, elnum, picture);
  const plain_plane z(f.width, f.height, [](int x, int y) { return depth(x, y, 0); });
  const bool any_blur =
      a.blur_near != std::vector<fix>(a.blur_near.size(), 0) || a.blur_far != std::vector<fix>(a.blur_far.size(), 0);
  if (!any_blur) return as_result(image);
  return as_result(a.combine > 4095 ? plain_crossfade(f, image, z, a) : plain_layers(f, image, z, a));
}

void expect_as_plain(const test_frame& f, int elnum, const z_blur_arguments& a) {
  EXPECT_EQ(first_difference(called(f, elnum, a), plain(f, elnum, a)), "")
      << elnum << " elements, " << a.n_layers << " layers, near " << a.z_near << " " << value_text(a.blur_near)
      << " far " << a.z_far << " " << value_text(a.blur_far) << ", combine " << a.combine;
}

constexpr fix LAYERED = 0, CROSSFADE = 4096;

TEST(z_blur, is_its_rules_in_every_combination_of_elements) {
  for (const test_frame& f : {FRAME, TALL_PIXELS})
    for (const fix combine : {LAYERED, CROSSFADE})
      for (const int elnum : {1, 3, 4})
        for (const bool two : {false, true}) {
          z_blur_arguments a = {.combine = combine};
          a.blur_near = two ? std::vector<fix>{100, 300} : std::vector<fix>{40};
          a.blur_far = two ? std::vector<fix>{900, 0} : std::vector<fix>{1100};
          expect_as_plain(f, elnum, a);
        }
}

TEST(z_blur, is_its_rules_at_every_size) {
  // From less than a pixel to beyond the frame.
  int turn = 0;
  for (const picture_size size : SIZES)
    for (const fix combine : {LAYERED, CROSSFADE})
      for (const fix amount : {60, 3000, 64 * 4096})
        expect_as_plain({.width = size.width, .height = size.height}, size.width > 100 || turn++ % 2 ? 1 : 3,
                        {.blur_near = {amount / 4, amount / 3}, .blur_far = {amount, amount / 2}, .combine = combine});
}

TEST(z_blur, is_its_rules_for_any_number_of_layers) {
  for (const fix combine : {LAYERED, 4095, CROSSFADE, 3 * 4096})
    for (const fix layers : {-4096, 0, 4096, 8191, 8192, 3 * 4096, 7 * 4096, 31 * 4096})
      expect_as_plain(FRAME, 1, {.blur_near = {30}, .n_layers = layers, .combine = combine});
}

TEST(z_blur, takes_nothing_from_layers_that_are_empty) {
  // More layers than depths: most hold no pixel.
  expect_as_plain(FRAME, 1, {.blur_near = {30}, .n_layers = 400 * 4096, .combine = LAYERED});
  // All pixels in the farthest one, of more layers than a plane can number.
  z_blur_arguments all_far = {.z_near = -4 * 4096, .z_far = -2 * 4096, .blur_far = {800}, .combine = LAYERED};
  all_far.n_layers = 2 * 4096;
  const planes_of_result two = called(FRAME, 3, all_far);
  all_far.n_layers = 500000 * 4096;
  EXPECT_EQ(first_difference(called(FRAME, 3, all_far), two), "");
}

TEST(z_blur, takes_depths_in_either_order) {
  for (const fix combine : {LAYERED, CROSSFADE})
    for (const fix near : {-1000, 0, 3000, 5000})
      for (const fix far : {-1200, 0, 3001, 4096})
        expect_as_plain(FRAME, 3, {.z_near = near, .z_far = far, .combine = combine});
}

TEST(z_blur, with_one_depth_for_near_and_far_is_defined) {
  for (const fix combine : {LAYERED, CROSSFADE})
    expect_as_plain(FRAME, 3, {.z_near = 2000, .z_far = 2000, .n_layers = 5 * 4096, .combine = combine});
}

TEST(z_blur, by_less_than_nothing_blurs_as_by_its_magnitude) {
  for (const fix combine : {LAYERED, CROSSFADE}) {
    expect_as_plain(FRAME, 3, {.blur_near = {-700}, .blur_far = {-100}, .combine = combine});
    expect_as_plain(FRAME, 3, {.blur_near = {-700}, .blur_far = {700}, .n_layers = 3 * 4096, .combine = combine});
  }
}

TEST(z_blur, by_nothing_is_the_image) {
  for (const fix combine : {LAYERED, CROSSFADE}) {
    const z_blur_arguments a = {.blur_near = {0, 0}, .blur_far = {0, 0}, .combine = combine};
    EXPECT_EQ(first_difference(called(FRAME, 4, a), as_result(image_planes(FRAME, 4, picture))), "");
  }
}

TEST(z_blur, keeps_an_even_picture_even) {
  for (const char* combine : {"0", "1"}) {
    definition_renderer r(
        std::string("(define Z (Source Depth) () dest = (z_blur Source (element_of Depth 0) 0 1 0 0.6 6 ") + combine +
            "))",
        {.width = 70, .height = 40});
    r.set_source(0, [](int, int, int e) { return 1500 + 500 * e; });
    r.set_source(1, depth);
    const planes_of_result result = rendered(r);
    for (int e = 0; e < 3; ++e)
      for (const fix v : result[e]) ASSERT_NEAR(v, 1500 + 500 * e, 8) << combine;
  }
}

TEST(z_blur, sweeps_its_depth_without_tearing) {
  definition_renderer r(
      "(define Z (Source Depth) () far = 0.5 dest = (z_blur Source (element_of Depth 0) 0 far 0 0.4 8 1))",
      {.width = 80, .height = 45});
  r.set_source(0, landscape_picture({80, 45}));
  r.set_source(1, depth);
  EXPECT_LE(largest_step(r, "far", {0.5f}, {1.0f}), 250);
}

}  // namespace
}  // namespace tessaron::testing
