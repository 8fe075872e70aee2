#include "console/names.h"

#include <gtest/gtest.h>

namespace tessaron::console {
namespace {

TEST(Names, token_and_shown_form_are_the_same_name) {
  EXPECT_TRUE(same_name("Edge_Tint", "Edge_Tint"));
  EXPECT_TRUE(same_name("Edge Tint", "Edge_Tint"));
  EXPECT_FALSE(same_name("Edge-Tint", "Edge_Tint"));
  EXPECT_FALSE(same_name("edge_tint", "Edge_Tint"));
}

TEST(Names, edit_distance_counts_single_character_changes) {
  EXPECT_EQ(edit_distance("", "abc"), 3);
  EXPECT_EQ(edit_distance("kitten", "sitting"), 3);
  EXPECT_EQ(edit_distance("Blur", "blur"), 0);
  EXPECT_EQ(edit_distance("Edge Tint", "Edge_Tint"), 0);
}

TEST(Names, near_names_come_nearest_first_and_are_at_most_three) {
  const std::vector<std::string> names{"Vignette", "Posterise", "Duotone", "Dutone", "Threshold"};
  EXPECT_EQ(near_names("Vignete", names), (std::vector<std::string>{"Vignette"}));
  EXPECT_EQ(near_names("Dutone", names), (std::vector<std::string>{"Dutone", "Duotone"}));
  EXPECT_TRUE(near_names("Zebra", names).empty());
}

TEST(Names, a_part_of_a_name_is_near) {
  EXPECT_EQ(near_names("shift", {"hue_shift", "rotate"}), (std::vector<std::string>{"hue_shift"}));
}

TEST(Names, hosts_show_names_in_ascii_with_capitals_and_single_blanks) {
  EXPECT_TRUE(is_shown_as("Back_Plate", "Back Plate"));
  EXPECT_TRUE(is_shown_as("back__plate_", "Back Plate"));
  EXPECT_TRUE(is_shown_as("caf\xc3\xa9", "Caf"));
  EXPECT_FALSE(is_shown_as("Back", "Back Plate"));
  EXPECT_FALSE(is_shown_as("BackPlate", "Back Plate"));
}

TEST(Names, suggestion_reads_as_a_question) {
  EXPECT_EQ(suggestion("blurr", {"blur", "warp"}), " Did you mean blur?");
  EXPECT_EQ(suggestion("zzz", {"blur", "warp"}), "");
}

}  // namespace
}  // namespace tessaron::console
