#include "console/sequences.h"

#include <gtest/gtest.h>

#include <fstream>

#include "console/errors.h"
#include "support/scratch_folder.h"

namespace tessaron::console {
namespace {

using testing::scratch_folder;

TEST(PathPattern, printf_and_hash_forms_name_the_same_files) {
  EXPECT_EQ(path_pattern("a/shot.%04d.exr").at(7), "a/shot.0007.exr");
  EXPECT_EQ(path_pattern("a/shot.####.exr").at(7), "a/shot.0007.exr");
  EXPECT_EQ(path_pattern("shot.#.exr").at(12), "shot.12.exr");
  EXPECT_EQ(path_pattern("shot%d.png").at(12), "shot12.png");
  EXPECT_EQ(path_pattern("shot%3d.png").at(7), "shot  7.png");
}

TEST(PathPattern, the_sign_counts_into_the_width) {
  EXPECT_EQ(path_pattern("s.%04d.png").at(-3), "s.-003.png");
  EXPECT_EQ(path_pattern("s.####.png").at(-3), "s.-003.png");
}

TEST(PathPattern, a_number_wider_than_the_place_keeps_its_digits) {
  EXPECT_EQ(path_pattern("s.##.png").at(12345), "s.12345.png");
}

TEST(PathPattern, two_percent_signs_are_one) {
  const path_pattern pattern("50%%.%02d.png");
  EXPECT_TRUE(pattern.numbered());
  EXPECT_EQ(pattern.at(3), "50%.03.png");
}

TEST(PathPattern, a_plain_name_is_the_same_at_every_frame) {
  const path_pattern pattern("a/b.png");
  EXPECT_FALSE(pattern.numbered());
  EXPECT_EQ(pattern.at(9), "a/b.png");
}

TEST(PathPattern, one_number_place_in_the_file_name_and_no_other_form) {
  for (const char* text :
       {"a%d.%d.png", "a#.#.png", "a%s.png", "a%x.png", "a%.png", "a%", "%04d/x.png", "a%999999999999d.png"})
    EXPECT_THROW(path_pattern{text}, command_line_error) << text;
}

TEST(PathPattern, reads_frame_numbers_back_only_as_it_writes_them) {
  const path_pattern pattern("dir/shot.%04d.exr");
  EXPECT_EQ(pattern.frame_of("shot.0007.exr"), 7);
  EXPECT_EQ(pattern.frame_of("shot.-003.exr"), -3);
  EXPECT_EQ(pattern.frame_of("shot.12345.exr"), 12345);
  for (const char* name : {"shot.7.exr", "shot.00007.exr", "shot.000a.exr", "shot..exr", "other.0007.exr",
                           "shot.0007.png", "shot.0007.exr.bak"})
    EXPECT_EQ(pattern.frame_of(name), std::nullopt) << name;
}

TEST(FramesOnDisk, are_the_files_of_the_pattern_in_order) {
  const scratch_folder folder;
  for (const char* name : {"s.0010.png", "s.0002.png", "s.-001.png", "s.2.png", "t.0003.png"})
    std::ofstream(folder.file(name)) << "x";
  EXPECT_EQ(frames_on_disk(path_pattern(folder.file("s.####.png"))), (std::vector<int>{-1, 2, 10}));
  EXPECT_TRUE(frames_on_disk(path_pattern(folder.file("no/s.####.png"))).empty());
}

TEST(PathPattern, an_existing_file_of_that_very_name_is_itself) {
  const scratch_folder folder;
  const std::string name = folder.file("photo#1.png");
  EXPECT_TRUE(path_pattern(name, true).numbered());
  std::ofstream(name) << "x";
  EXPECT_FALSE(path_pattern(name, true).numbered());
  EXPECT_EQ(path_pattern(name, true).at(5), name);
}

TEST(HeldFrame, is_the_nearest_before_or_else_the_first) {
  const std::vector<int> there{3, 5, 9};
  EXPECT_EQ(held_frame(there, 5), 5);
  EXPECT_EQ(held_frame(there, 8), 5);
  EXPECT_EQ(held_frame(there, 100), 9);
  EXPECT_EQ(held_frame(there, -2), 3);
}

}  // namespace
}  // namespace tessaron::console
