// Loops over planes without neighbours, and blur amounts.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/kernel_harness.h"
#include "tests/support/plain_blur.h"
#include "tests/support/plane_levels.h"
#include "unit/operators/plane_kit.h"

namespace tessaron::testing {
namespace {

TEST(scale_plane, rounds_and_clamps_each_sample) {
  const plane_frame frame;
  const plain_plane plane = random_plane(67, 35, 17);
  short_image_size = std::int64_t(plane.samples.size()) * 2;
  for (const fix scale : {0, 1, 4095, 4096, 4097, 2048, 8192, -4096, -100000, 1 << 30})
    for (const cpu_level level : usable_levels()) {
      plain_plane scaled = plane;
      plane_loops_of(level).scale_plane(scaled.samples.data(), scale);
      ASSERT_EQ(first_difference(scaled, plain_scale(plane, scale)), "") << scale << " " << cpu_level_name(level);
    }
}

TEST(scale_plane, leaves_a_plane_at_full_scale_alone_even_below_the_range) {
  const plane_frame frame;
  plain_plane plane(4, 1, -32768);
  short_image_size = 8;
  plane_loops_of(cpu_level::generic).scale_plane(plane.samples.data(), 4096);
  EXPECT_EQ(plane.samples[0], -32768);
}

TEST(long_to_plane, rounds_ties_to_even_and_clamps) {
  const plane_frame frame;
  const int n = 41;
  std::int32_t* image = get_long_image(n, 1);
  for (int i = 0; i < n; ++i) image[i] = (i - 20) * 2 + 1;
  image[0] = 2147483647;
  image[1] = -2147483647 - 1;
  for (const cpu_level level : usable_levels()) {
    plain_plane plane(n, 1);
    plane_loops_of(level).long_to_plane(plane.samples.data(), 0.5f);
    EXPECT_EQ(plane.samples[0], 32767);
    EXPECT_EQ(plane.samples[1], -32767);
    EXPECT_EQ(plane.at(20, 0), 0) << "a half";
    EXPECT_EQ(plane.at(21, 0), 2) << "one and a half";
    EXPECT_EQ(plane.at(22, 0), 2) << "two and a half";
    EXPECT_EQ(plane.at(19, 0), 0) << "minus a half";
    EXPECT_EQ(plane.at(18, 0), -2) << "minus one and a half";
    plane_loops_of(level).long_to_plane(plane.samples.data(), 1e9f);
    EXPECT_EQ(plane.samples[0], 32767);
    EXPECT_EQ(plane.samples[1], -32767);
  }
}

TEST(clear_plane, clears_small_and_large_planes_whole) {
  const plane_frame frame(3);
  for (const int samples : {1, 511, 512, 513, 100003}) {
    std::vector<std::int16_t> plane(samples + 1, -7);
    short_image_size = 2 * samples;
    plane_loops_of(cpu_level::generic).clear_plane(plane.data());
    EXPECT_EQ(std::count(plane.begin(), plane.end() - 1, 0), samples);
    EXPECT_EQ(plane[samples], -7);
  }
}

TEST(plane_slices, share_out_every_sample_once) {
  const plane_frame frame(5);
  static std::vector<std::uint8_t> seen;
  for (const int total : {0, 1, 1023, 1024, 1025, 99999}) {
    seen.assign(std::size_t(total), 0);
    fork_processes([] {
      const plane_slice slice = slice_of_plane(std::int64_t(seen.size()));
      for (std::int64_t i = 0; i < slice.count; ++i) ++seen[std::size_t(slice.first + i)];
    });
    EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), total);
  }
}

// --- amounts -------------------------------------------------------------------------------------------------

TEST(blur_amounts, are_eighths_of_the_frames_width_and_end_at_64) {
  const plane_frame frame;
  display_dims.display_width = 1920;
  EXPECT_EQ(amount_to_fix_pixels(4096), 240 * 4096);
  EXPECT_EQ(amount_to_fix_pixels(1), 240);
  EXPECT_EQ(amount_to_fix_pixels(64 * 4096), 8 * 1920 * 4096);
  EXPECT_EQ(amount_to_fix_pixels(64 * 4096 + 1), 8 * 1920 * 4096);
  EXPECT_EQ(amount_to_fix_pixels(INT32_MAX), 8 * 1920 * 4096);
  EXPECT_EQ(amount_to_fix_pixels(-4096), -240 * 4096);
  display_dims.display_width = 3;
  EXPECT_EQ(amount_to_fix_pixels(5), 1);    // 15 / 8
  EXPECT_EQ(amount_to_fix_pixels(-5), -2);  // rounded down
}

}  // namespace
}  // namespace tessaron::testing
