// Which spots of an image are drops.
#include "operators/drops.h"

#include "stylise_kit.h"

namespace tessaron::testing {
namespace {

/// Spots of a picture of letters: '.' is dark, '1' to '9' are ninths of white.
std::vector<drop> drops_of(const std::vector<std::string>& rows, int max_drops = 100, fix origin = 0) {
  const int width = int(rows[0].size()), height = int(rows.size());
  std::vector<std::int16_t> samples;
  for (const std::string& row : rows)
    for (const char c : row) samples.push_back(c == '.' ? 0 : std::int16_t((c - '0') * FIX_ONE / 9));
  const sampling_frame frame = {FIX_ONE, width, height, origin, 0};
  return find_drops({samples.data(), width, width, height}, frame, float(height) / float(width), width, max_drops);
}

TEST(drop_spots, lie_at_their_centre_of_light) {
  const auto drops = drops_of({"..........",  //
                               ".99.......",  //
                               ".99.......",  //
                               "..........",  //
                               ".......9..",  //
                               ".........."});
  ASSERT_EQ(drops.size(), 2u);
  // Pixels 1 and 2 of 10: the middle is at 2 of 10 pixels, -0.6 of a half frame; rows 1 and 2 of 6: 2 of 6.
  EXPECT_FLOAT_EQ(drops[0].x, -0.6f);
  EXPECT_FLOAT_EQ(drops[0].y, 0.2f);
  EXPECT_FLOAT_EQ(drops[1].x, 0.5f);
  EXPECT_FLOAT_EQ(drops[1].y, -0.3f);
}

TEST(drop_spots, lean_towards_the_brighter_pixels) {
  const auto drops = drops_of({"....", ".93.", "....", "...."});
  ASSERT_EQ(drops.size(), 1u);
  // Centres at 1.5 and 2.5 pixels of 4, weights 3 to 1 (4096 and 1365): 1.75.
  EXPECT_NEAR(drops[0].x, (1.75 - 2) / 2, 1e-4);
}

TEST(drop_spots, amounts_are_light_by_the_thousandth_of_the_square_of_the_width) {
  const int width = 200;
  std::vector<std::string> rows(3, std::string(width, '.'));
  rows[1][50] = '9';
  rows[1][90] = rows[1][91] = '9';
  const auto drops = drops_of(rows);
  ASSERT_EQ(drops.size(), 2u);
  EXPECT_NEAR(drops[0].amount, 2 * 1000.0 / (200 * 200), 1e-6);  // 0.05
  EXPECT_NEAR(drops[1].amount, 0.025, 1e-6);
}

TEST(drop_spots, amount_is_1_at_most) {
  const auto drops = drops_of({"9999", "9999"});
  ASSERT_EQ(drops.size(), 1u);
  EXPECT_EQ(drops[0].amount, 1.0f);
  EXPECT_FLOAT_EQ(drops[0].x, 0.0f);
}

TEST(drop_spots, corners_connect_and_bent_spots_are_one) {
  EXPECT_EQ(drops_of({"9..", ".9.", "..9"}).size(), 1u);
  EXPECT_EQ(drops_of({"9.9", "9.9", ".9."}).size(), 1u);                          // two arms that meet below
  EXPECT_EQ(drops_of({"9.9.9.9", "9999999"}).size(), 1u);                         // many
  EXPECT_EQ(drops_of({"99999", "9...9", "9.9.9", "9...9", "99999"}).size(), 2u);  // a ring about a dot
  EXPECT_EQ(drops_of({"9.9", "...", "9.9"}).size(), 4u);
  EXPECT_EQ(drops_of({"9..9", "...."}).size(), 2u);
}

TEST(drop_spots, the_brightest_are_kept_in_order) {
  const std::vector<std::string> rows = {"1..9..5", ".......", "7..3..9"};
  const auto all = drops_of(rows);
  ASSERT_EQ(all.size(), 6u);
  for (std::size_t k = 1; k < all.size(); ++k) EXPECT_GE(all[k - 1].amount, all[k].amount);
  EXPECT_FLOAT_EQ(all[0].x, 0.0f);  // of equal ones the upper
  const auto three = drops_of(rows, 3);
  ASSERT_EQ(three.size(), 3u);
  for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(three[k].x, all[k].x);
  EXPECT_TRUE(drops_of(rows, 0).empty());
  EXPECT_TRUE(drops_of(rows, -5).empty());
  EXPECT_TRUE(drops_of({"...", "..."}).empty());
}

TEST(drop_spots, of_a_part_of_the_frame_lie_where_they_lie_in_the_frame) {
  const auto whole = drops_of({"......9.", "........"});
  std::vector<std::int16_t> part = {0, 0, 4096, 0, 0, 0, 0, 0};  // columns 4 to 7
  const sampling_frame frame = {FIX_ONE, 8, 2, 4 * FIX_ONE, 0};
  const auto cut = find_drops({part.data(), 4, 4, 2}, frame, 0.25f, 8, 9);
  ASSERT_EQ(cut.size(), 1u);
  EXPECT_FLOAT_EQ(cut[0].x, whole[0].x);
  EXPECT_FLOAT_EQ(cut[0].y, whole[0].y);
}

TEST(drop_spots, of_a_random_picture_are_those_of_a_flood_fill) {
  std::minstd_rand random(17);
  for (int round = 0; round < 20; ++round) {
    std::vector<std::string> rows(23, std::string(31, '.'));
    for (auto& row : rows)
      for (char& c : row)
        if (random() % 100 < unsigned(20 + 2 * round)) c = char('1' + random() % 9);
    auto open = rows;
    std::vector<double> light;
    for (int y = 0; y < 23; ++y)
      for (int x = 0; x < 31; ++x) {
        if (open[y][x] == '.') continue;
        std::vector<std::pair<int, int>> todo = {{x, y}};
        double sum = 0;
        while (!todo.empty()) {
          const auto [i, j] = todo.back();
          todo.pop_back();
          if (i < 0 || j < 0 || i >= 31 || j >= 23 || open[j][i] == '.') continue;
          sum += (open[j][i] - '0') * FIX_ONE / 9;
          open[j][i] = '.';
          for (int k = 0; k < 9; ++k) todo.push_back({i + k % 3 - 1, j + k / 3 - 1});
        }
        light.push_back(std::min(sum / 4096 * 1000 / (31 * 31), 1.0));
      }
    std::sort(light.rbegin(), light.rend());
    const auto drops = drops_of(rows, 10000);
    ASSERT_EQ(drops.size(), light.size());
    for (std::size_t k = 0; k < light.size(); ++k) EXPECT_NEAR(drops[k].amount, light[k], 1e-5);
  }
}

}  // namespace
}  // namespace tessaron::testing
