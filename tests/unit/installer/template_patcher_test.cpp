// Names written over placeholders in a buffer.
#include "installer/template_patcher.h"

#include <gtest/gtest.h>

#include <memory>

#include "installer/state.h"

namespace tessaron::installer {
namespace {

const std::string P = NAME_PLACEHOLDER;
const std::string COUNTED = '\x1f' + P;

/// The patched file. Its buffer has one byte more, as the patcher may ask; it must come back untouched.
std::string patched(const std::string& file, const std::string& name, const std::string& placeholder = P) {
  // Of the exact size, so that checkers of memory see a step beyond it.
  const std::unique_ptr<char[]> buffer(new char[file.size() + 1]);
  file.copy(buffer.get(), file.size());
  buffer[file.size()] = '!';
  patch_template_name(buffer.get(), std::ptrdiff_t(file.size()), placeholder, name);
  EXPECT_EQ(buffer[file.size()], '!');
  return std::string(buffer.get(), file.size());
}

/// `name`, a NUL, and what is left of the placeholder.
std::string over_placeholder(const std::string& name) { return name + '\0' + P.substr(name.size() + 1); }

TEST(TemplatePatcher, placeholder_has_31_bytes) { EXPECT_EQ(P.size(), 31u); }

TEST(TemplatePatcher, a_regular_match_takes_the_name_and_its_nul) {
  const std::string file = patched("ab" + P + "cd", "A");
  EXPECT_EQ(file, std::string("abA\0", 4) + "ssaronCustomPlugin___________" + "cd");
}

TEST(TemplatePatcher, a_counted_match_takes_length_name_and_nul) {
  const std::string file = patched("ab" + COUNTED + "cd", "A");
  EXPECT_EQ(file, std::string("ab\1A\0", 5) + "ssaronCustomPlugin___________" + "cd");
}

TEST(TemplatePatcher, names_of_up_to_30_characters_fit) {
  for (std::size_t length = 0; length <= 30; ++length) {
    const std::string name(length, 'n');
    std::string expected = "x";
    expected.append(over_placeholder(name)).append("y").append(1, char(length)).append(over_placeholder(name));
    EXPECT_EQ(patched("x" + P + "y" + COUNTED, name), expected) << length;
  }
}

TEST(TemplatePatcher, the_nul_of_a_30_character_name_is_the_placeholders_last_byte) {
  const std::string name(30, 'n');
  EXPECT_EQ(patched(P + "|", name), name + std::string("\0|", 2));
}

TEST(TemplatePatcher, a_31_character_name_is_refused) {
  const std::string name(31, 'n');
  EXPECT_EXIT(patched(P, name), ::testing::ExitedWithCode(1),
              "^ERROR: name " + name + " is too long; only 30 chars allowed\\.\n$");
}

TEST(TemplatePatcher, a_long_name_is_no_fault_of_an_empty_file) { EXPECT_EQ(patched("", std::string(31, 'n')), ""); }

TEST(TemplatePatcher, a_file_without_a_placeholder_stays) {
  std::string all;
  for (int i = 0; i < 1024; ++i) all += char(i * 7);
  EXPECT_EQ(patched(all, "Name"), all);
  EXPECT_EQ(patched("x", "Name"), "x");
  EXPECT_EQ(patched(P.substr(0, 30), "Name"), P.substr(0, 30));
}

TEST(TemplatePatcher, almost_a_placeholder_stays) {
  for (std::size_t i = 0; i < P.size(); ++i) {
    std::string other = P;
    other[i] ^= 1;
    EXPECT_EQ(patched(other, "Name"), other) << i;
  }
}

TEST(TemplatePatcher, every_match_is_patched) {
  std::string file, expected;
  for (int i = 0; i < 5; ++i) {
    file.append(".").append(P).append(".").append(COUNTED);
    expected.append(".").append(over_placeholder("Name")).append(".\4").append(over_placeholder("Name"));
  }
  EXPECT_EQ(patched(file + ".", "Name"), expected + ".");
}

TEST(TemplatePatcher, the_second_of_two_placeholders_side_by_side_is_passed_over) {
  EXPECT_EQ(patched(P + P + "....", "Name"), over_placeholder("Name") + P + "....");
  EXPECT_EQ(patched(P + "." + P, "Name"), over_placeholder("Name") + "." + over_placeholder("Name"));
}

TEST(TemplatePatcher, a_counted_placeholder_right_behind_another_is_found) {
  // After a counted match the scan stands right behind it.
  EXPECT_EQ(patched(COUNTED + COUNTED, "A"), '\1' + over_placeholder("A") + '\1' + over_placeholder("A"));
}

TEST(TemplatePatcher, a_counted_placeholder_right_behind_a_plain_one_loses_its_count) {
  // The scan passes the byte behind a plain match, here the count, and takes the rest for a plain one.
  EXPECT_EQ(patched(P + COUNTED, "A"), over_placeholder("A") + '\x1f' + over_placeholder("A"));
}

TEST(TemplatePatcher, another_count_in_front_makes_a_plain_match) {
  EXPECT_EQ(patched('\x1e' + P, "A"), '\x1e' + over_placeholder("A"));
}

TEST(TemplatePatcher, a_placeholder_may_be_the_files_end) {
  for (const std::size_t length : {0, 1, 15, 30}) {
    const std::string name(length, 'n');
    EXPECT_EQ(patched(P, name), over_placeholder(name)) << length;
    EXPECT_EQ(patched("front" + P, name), "front" + over_placeholder(name)) << length;
    EXPECT_EQ(patched("front" + COUNTED, name), "front" + (char(length) + over_placeholder(name))) << length;
  }
}

TEST(TemplatePatcher, a_placeholder_cut_off_by_the_files_end_stays) {
  for (std::size_t kept = 1; kept < 31; ++kept) {
    const std::string plain = "front" + P.substr(0, kept), counted = "front" + COUNTED.substr(0, kept + 1);
    EXPECT_EQ(patched(plain, "A"), plain) << kept;
    EXPECT_EQ(patched(counted, "A"), counted) << kept;
  }
}

TEST(TemplatePatcher, matches_are_told_when_verbose) {
  verbose_count = 1;
  ::testing::internal::CaptureStdout();
  patched("12345" + P + "." + COUNTED + "..", "Name");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Found regular match at 5\nFound len-byte match at 37\n");
  verbose_count = 0;
  ::testing::internal::CaptureStdout();
  patched(P, "Name");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(TemplatePatcher, placeholder_and_name_are_free) {
  EXPECT_EQ(patched("a\4MARKb MARK", "xyz", "MARK"), std::string("a\3xyz\0b xyz\0", 12));
  EXPECT_EXIT(patched("MARK", "wxyz", "MARK"), ::testing::ExitedWithCode(1), "only 3 chars allowed");
}

}  // namespace
}  // namespace tessaron::installer
