// The scanner of single-character options, with the installer's letters.
#include "installer/option_scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessaron::installer {
namespace {

struct scan {
  std::string seen;  // each option's letter, with its argument in brackets
  std::string diagnostics;
  int next_argument;
};

scan scanned(std::vector<const char*> words) {
  words.insert(words.begin(), "tool");
  option_scanner scanner(int(words.size()), words.data(), "vo:");
  scan result;
  ::testing::internal::CaptureStderr();
  for (int option; (option = scanner.next()) != option_scanner::END;) {
    result.seen += char(option);
    if (scanner.argument()) result.seen.append("[").append(scanner.argument()).append("]");
  }
  result.diagnostics = ::testing::internal::GetCapturedStderr();
  result.next_argument = scanner.next_argument();
  return result;
}

TEST(OptionScanner, letters_may_share_a_word) {
  EXPECT_EQ(scanned({"-v", "-v"}).seen, "vv");
  EXPECT_EQ(scanned({"-vv"}).seen, "vv");
  EXPECT_EQ(scanned({"-vvofile", "-v"}).seen, "vvo[file]v");
}

TEST(OptionScanner, an_argument_is_attached_or_the_next_word) {
  EXPECT_EQ(scanned({"-ofile"}).seen, "o[file]");
  EXPECT_EQ(scanned({"-o", "file", "-v"}).seen, "o[file]v");
  EXPECT_EQ(scanned({"-o", "-v"}).seen, "o[-v]");
  EXPECT_EQ(scanned({"-o", "", "-v"}).seen, "o[]v");
  EXPECT_EQ(scanned({"-o", "--", "-v"}).seen, "o[--]v");
}

TEST(OptionScanner, stops_at_the_first_word_that_is_no_option) {
  EXPECT_EQ(scanned({}).next_argument, 1);
  for (const char* word : {"file", "-", ""}) {
    const scan result = scanned({"-v", word, "-v"});
    EXPECT_EQ(result.seen, "v") << word;
    EXPECT_EQ(result.next_argument, 2) << word;
  }
}

TEST(OptionScanner, takes_two_dashes_in_and_stops) {
  const scan result = scanned({"-v", "--", "-v"});
  EXPECT_EQ(result.seen, "v");
  EXPECT_EQ(result.next_argument, 3);
}

TEST(OptionScanner, says_which_letter_is_no_option) {
  const scan result = scanned({"-x"});
  EXPECT_EQ(result.seen, "?");
  EXPECT_EQ(result.diagnostics, "tool: illegal option -- x\n");
}

TEST(OptionScanner, goes_on_behind_a_letter_that_is_no_option) {
  const scan result = scanned({"-xvy", "-v"});
  EXPECT_EQ(result.seen, "?v?v");
  EXPECT_EQ(result.diagnostics, "tool: illegal option -- x\ntool: illegal option -- y\n");
}

TEST(OptionScanner, a_colon_is_no_option) {
  EXPECT_EQ(scanned({"-:"}).diagnostics, "tool: illegal option -- :\n");
  EXPECT_EQ(scanned({"-:"}).seen, "?");
}

TEST(OptionScanner, a_long_option_is_a_bad_letter) {
  EXPECT_EQ(scanned({"--verbose"}).diagnostics.substr(0, 26), "tool: illegal option -- -\n");
}

TEST(OptionScanner, misses_an_argument_at_the_end) {
  for (const char* word : {"-o", "-vo"}) {
    const scan result = scanned({word});
    EXPECT_EQ(result.seen.back(), '?');
    EXPECT_EQ(result.diagnostics, "tool: option requires an argument -- o\n");
  }
}

}  // namespace
}  // namespace tessaron::installer
