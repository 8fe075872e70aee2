// Replacement of a text within a text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/report.h"
#include "base/text.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

std::string replaced(const std::string& src, const char* from, const char* to) {
  std::string dest(200, '#');
  replace_substring(src.c_str(), dest.data(), from, to);
  return dest.c_str();
}

TEST(replace_substring, replaces_each_occurrence_from_left_to_right) {
  EXPECT_EQ(replaced("one two one", "one", "1"), "1 two 1");
  EXPECT_EQ(replaced("aaaaa", "aa", "b"), "bba");
  EXPECT_EQ(replaced("a-b-", "-", " to "), "a to b to ");
  EXPECT_EQ(replaced("~/x/~", "~", ""), "/x/");
  EXPECT_EQ(replaced("", "a", "b"), "");
}

TEST(replace_substring, does_not_look_at_what_it_has_put_in) {
  EXPECT_EQ(replaced("aa", "a", "aa"), "aaaa");
  EXPECT_EQ(replaced("ab", "ab", "xab"), "xab");
}

TEST(replace_substring, copies_a_text_without_occurrences_whole) {
  EXPECT_EQ(replaced("abc", "d", "e"), "abc");
  EXPECT_EQ(replaced("abc", "", "e"), "abc");
}

TEST(replace_substring, may_work_in_one_buffer_when_the_text_does_not_grow) {
  char text[] = "one two one two";
  replace_substring(text, text, "two", "2");
  EXPECT_STREQ(text, "one 2 one 2");
  replace_substring(text, text, "one", "two");
  EXPECT_STREQ(text, "two 2 two 2");
}

TEST(replace_substring, refuses_to_grow_a_text_in_its_own_buffer) {
  char text[16] = "aXa";
  report_capture reports;
  replace_substring(text, text, "a", "aa");
  EXPECT_EQ(reports.severity_of("replace_substring: a < aa but dest==source."), REPORT_FATAL) << reports.all();
  EXPECT_STREQ(text, "aXa");
}

}  // namespace
}  // namespace tessaron::testing
