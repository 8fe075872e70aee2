// The errors of a broken stream.
#include <gtest/gtest.h>

#include <set>

#include "damage_kit.h"

namespace tessaron::testing {
namespace {

TEST(jpeg_errors, need_rate_density_and_strength) {
  const planes_of_result clean = damaged({});
  for (int left_out = 0; left_out < 3; ++left_out) {
    damage_numbers n = damage_numbers{}.with_errors();
    (left_out == 0 ? n.rate : left_out == 1 ? n.density : n.amp) = 0;
    EXPECT_EQ(damaged(n), clean) << left_out;
  }
  EXPECT_GT(mean_difference(damaged(damage_numbers{}.with_errors()), clean), 20);
}

TEST(jpeg_errors, repeat_exactly_and_change_with_the_seed) {
  damage_numbers n = damage_numbers{}.with_errors();
  const planes_of_result first = damaged(n);
  EXPECT_EQ(damaged(n), first);
  n.seed = 0.9;
  EXPECT_EQ(damaged(n), first) << "the seed's whole part counts";
  n.seed = 1;
  const planes_of_result second = damaged(n);
  EXPECT_NE(second, first);
  n.seed = -1;
  EXPECT_NE(damaged(n), first);
}

/// Macroblocks that errors have changed.
std::set<int> changed_blocks(const damage_numbers& n, const planes_of_result& clean) {
  std::set<int> blocks;
  const planes_of_result result = damaged(n, LARGE);
  for (int y = 0; y < LARGE.height; ++y)
    for (int x = 0; x < LARGE.width; ++x)
      if (std::abs(result[1][std::size_t(y * LARGE.width + x)] - clean[1][std::size_t(y * LARGE.width + x)]) > 100)
        blocks.insert(y / 16 * 100 + x / 16);
  return blocks;
}

TEST(jpeg_errors, grow_with_rate_density_strength_and_coherence) {
  const planes_of_result clean = damaged({}, LARGE);
  damage_numbers n;
  n.rate = 0.05;
  n.density = 1;
  n.amp = 1;
  std::size_t before = 0;
  for (double rate : {0.02, 0.1, 0.3, 1.0}) {
    n.rate = rate;
    const std::size_t count = changed_blocks(n, clean).size();
    EXPECT_GT(count, before) << rate;
    before = count;
  }
  n.rate = 0.03;
  const std::size_t single = changed_blocks(n, clean).size();
  n.coherence = 1;
  const std::size_t runs = changed_blocks(n, clean).size();
  EXPECT_GT(runs, 2 * single);
  n.density = 0.3;
  EXPECT_LT(changed_blocks(n, clean).size(), runs);
  n.density = 1;
  const double strong = mean_difference(damaged(n, LARGE), clean);
  n.amp = 0.1;
  EXPECT_LT(mean_difference(damaged(n, LARGE), clean), strong / 2);
}

TEST(jpeg_errors, that_are_coherent_stay_for_several_seeds) {
  const planes_of_result clean = damaged({});
  damage_numbers n = damage_numbers{}.with_errors();
  n.rate = 0.3;
  n.density = 1;
  const auto kept = [&](double coherence) {
    n.coherence = coherence;
    std::size_t same = 0, all = 0;
    for (int seed = 0; seed < 6; ++seed) {
      n.seed = seed;
      const planes_of_result now = damaged(n);
      n.seed = seed + 1;
      const planes_of_result next = damaged(n);
      for (std::size_t i = 0; i < now[1].size(); ++i) {
        if (std::abs(now[1][i] - clean[1][i]) < 100) continue;
        ++all;
        same += std::abs(now[1][i] - next[1][i]) < 50;
      }
    }
    return double(same) / double(all);
  };
  const double loose = kept(0), firm = kept(1);
  EXPECT_LT(loose, 0.2);
  EXPECT_GT(firm, 0.5);
}

TEST(jpeg_errors, stay_within_their_strip) {
  const planes_of_result clean = damaged({});
  damage_numbers n = damage_numbers{}.with_errors();
  n.rate = 1;
  const planes_of_result result = damaged(n);
  ASSERT_GT(mean_difference(result, clean), 100);
  for (const auto& plane : result)
    for (fix v : plane) {
      ASSERT_GE(v, 0);
      ASSERT_LE(v, 4096);
    }
}

}  // namespace
}  // namespace tessaron::testing
