#include "genotype/text_reader.h"

#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/report.h"
#include "definition.h"

namespace tessaron::testing {
namespace {

class text_reader : public ::testing::Test {
 protected:
  ~text_reader() override { reset_reader(); }

  void source(const std::string& text) {
    text_ = text;
    open_reading_from_string(text_.c_str());
  }
  std::string next() {
    char token[TOKEN_SIZE];
    return get_token(token) == 0 ? token : "<end>";
  }
  std::vector<std::string> all_tokens(const std::string& text) {
    source(text);
    std::vector<std::string> tokens;
    for (std::string t = next(); t != "<end>"; t = next()) tokens.push_back(t);
    return tokens;
  }
  using words = std::vector<std::string>;

  std::string text_;
  report_capture reports_;
};

TEST_F(text_reader, special_characters_need_no_blanks_around_them) {
  EXPECT_EQ(all_tokens("a=b(c)[d]\"e"), (words{"a", "=", "b", "(", "c", ")", "[", "d", "]", "\"", "e"}));
}

TEST_F(text_reader, other_punctuation_stays_inside_a_word) {
  EXPECT_EQ(all_tokens("#ref -1.5e3 x.y + /usr/share *+ if>"),
            (words{"#ref", "-1.5e3", "x.y", "+", "/usr/share", "*+", "if>"}));
}

TEST_F(text_reader, two_slashes_cut_a_word_and_start_a_comment) {
  EXPECT_EQ(all_tokens("a//b c\nd"), (words{"a", "d"}));
  EXPECT_EQ(all_tokens("abc//"), (words{"abc"}));
  EXPECT_EQ(all_tokens("a///b\nc"), (words{"a", "c"}));
}

TEST_F(text_reader, a_comment_alone_gives_no_token) { EXPECT_EQ(all_tokens("// one\n// two\nx"), (words{"x"})); }

TEST_F(text_reader, two_slashes_as_the_last_characters_give_the_end_with_an_empty_token) {
  source("//");
  char token[TOKEN_SIZE] = "left";
  EXPECT_EQ(get_token(token), -1);
  EXPECT_STREQ(token, "");
}

TEST_F(text_reader, a_slash_behind_a_special_character_starts_a_word_of_its_own) {
  EXPECT_EQ(all_tokens("(//x\n)"), (words{"(", ")"}));
}

TEST_F(text_reader, slashes_are_ordinary_when_comments_are_off) {
  allow_slash_comments = 0;
  const words tokens = all_tokens("http://a b");
  allow_slash_comments = 1;
  EXPECT_EQ(tokens, (words{"http://a", "b"}));
}

TEST_F(text_reader, a_last_token_without_line_end_is_a_token_in_a_file) {
  const temporary_file file("one two");
  std::FILE* stream = open_reading_file(file.path());
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(next(), "one");
  EXPECT_EQ(next(), "two");
  EXPECT_EQ(next(), "<end>");
  EXPECT_EQ(close_reading_file(stream), 0);
  reading_from_file_ptr = nullptr;
}

TEST_F(text_reader, an_empty_string_is_at_its_end) {
  source("");
  EXPECT_EQ(next(), "<end>");
  EXPECT_EQ(next(), "<end>");
}

TEST_F(text_reader, a_pushed_back_token_comes_first) {
  source("(define rest");
  EXPECT_EQ(next(), "(");
  const std::string define = next();
  unread_token(define.c_str());
  EXPECT_EQ(next(), "define");
  EXPECT_EQ(next(), "rest");
}

TEST_F(text_reader, a_second_push_back_is_fatal) {
  source("a");
  unread_token("one");
  EXPECT_THROW(unread_token("two"), TessaronAbortException);
  EXPECT_TRUE(reports_.has("unread_token: there is already an unread token!"));
}

TEST_F(text_reader, a_pushed_back_token_is_not_seen_by_the_character_readers) {
  source("xy");
  unread_token("word");
  EXPECT_EQ(get_next_char(), 'x');
  EXPECT_EQ(next(), "word");
}

TEST_F(text_reader, the_byte_0xff_in_a_string_is_the_end) { EXPECT_EQ(all_tokens("a b\xff c"), (words{"a", "b"})); }

TEST_F(text_reader, bytes_above_127_are_ordinary_characters) { EXPECT_EQ(all_tokens("\xe4\xf6 x").size(), 2u); }

TEST_F(text_reader, reading_without_a_source_is_fatal) {
  EXPECT_THROW(get_next_char(), TessaronAbortException);
  EXPECT_TRUE(reports_.has("get_next_char: need reading_from_file_ptr or reading_from_string."));
  EXPECT_THROW(get_reading_from_position(), TessaronAbortException);
  EXPECT_TRUE(reports_.has("get_reading_from_position: need reading_from_file_ptr or reading_from_string."));
  EXPECT_THROW(set_reading_from_position(0), TessaronAbortException);
  EXPECT_TRUE(reports_.has("set_reading_from_position: need reading_from_file_ptr or reading_from_string."));
}

TEST_F(text_reader, a_null_string_is_reported_and_empty) {
  open_reading_from_string(nullptr);
  EXPECT_EQ(reports_.severity_of("open_reading_from_string: received a NULL string! \n"), REPORT_ERROR);
  EXPECT_EQ(next(), "<end>");
}

TEST_F(text_reader, a_missing_file_is_reported_with_its_path) {
  EXPECT_EQ(open_reading_file("/no/such/file"), nullptr);
  EXPECT_EQ(reports_.severity_of(std::string("Open of /no/such/file failed: ") + std::strerror(ENOENT) + "\n"),
            REPORT_ERROR);
}

TEST_F(text_reader, a_directory_is_no_file) {
  EXPECT_EQ(open_reading_file("/"), nullptr);
  EXPECT_TRUE(reports_.has(std::string("Open of / failed: ") + std::strerror(EISDIR) + "\n"));
}

TEST_F(text_reader, open_files_are_counted) {
  const temporary_file file("x");
  const int before = open_file_count;
  std::FILE* stream = open_reading_file(file.path());
  EXPECT_EQ(open_file_count, before + 1);
  close_reading_file(stream);
  EXPECT_EQ(open_file_count, before);
  EXPECT_EQ(close_reading_file(nullptr), 0);
  EXPECT_EQ(open_file_count, before);
}

TEST_F(text_reader, a_file_that_fails_to_close_is_reported_and_no_longer_counted) {
  const temporary_file file("x");
  const int before = open_file_count;
  std::FILE* stream = open_reading_file(file.path());
  ASSERT_NE(stream, nullptr);
  ::testing::internal::CaptureStderr();
  ASSERT_EQ(::close(fileno(stream)), 0);  // under the stream
  EXPECT_EQ(close_reading_file(stream), -1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), std::string("Reason: ") + std::strerror(EBADF) + "\n");
  EXPECT_TRUE(reports_.has("Close file failed."));
  EXPECT_EQ(open_file_count, before);
  reading_from_file_ptr = nullptr;
}

TEST_F(text_reader, put_back_undoes_one_character) {
  source("ab");
  EXPECT_EQ(get_next_char(), 'a');
  put_back_char('a');
  EXPECT_EQ(get_next_char(), 'a');
  EXPECT_EQ(get_next_char(), 'b');
  EXPECT_TRUE(reports_.empty());
}

TEST_F(text_reader, put_back_into_a_constant_string_writes_nothing) {
  static const char constant[] = "ab";
  open_reading_from_string(constant);
  get_next_char();
  put_back_char('a');
  EXPECT_STREQ(constant, "ab");
}

TEST_F(text_reader, put_back_reports_what_can_not_be_put_back) {
  source("ab");
  put_back_char(-1);
  EXPECT_TRUE(reports_.has("put_back_char: attempting to put back EOF!"));
  put_back_char('x');
  EXPECT_TRUE(reports_.has("put_back_char: no room in string to put back."));
}

TEST_F(text_reader, put_back_of_another_character_overwrites_and_reports_it_twice) {
  char text[] = "ab";
  open_reading_from_string(text);
  get_next_char();
  put_back_char('z');
  EXPECT_STREQ(text, "zb");
  EXPECT_EQ(reports_.severity_of("put_back_char: Putting back mismatched char: z over z!\n"), REPORT_FATAL);
}

TEST_F(text_reader, a_quoted_string_knows_one_escape) {
  source("a\\\"b\" rest");
  char text[101];
  EXPECT_EQ(read_string_1(text, 100), 0);
  EXPECT_STREQ(text, "a\"b");
  EXPECT_EQ(next(), "rest");
}

TEST_F(text_reader, a_quoted_string_keeps_line_ends_comments_and_backslashes) {
  source("a\n// (b) \\n\"");
  char text[101];
  EXPECT_EQ(read_string_1(text, 100), 0);
  EXPECT_STREQ(text, "a\n// (b) \\n");
}

TEST_F(text_reader, a_quoted_string_may_be_empty) {
  source("\"");
  char text[101] = "left";
  EXPECT_EQ(read_string_1(text, 100), 0);
  EXPECT_STREQ(text, "");
}

TEST_F(text_reader, a_quoted_string_without_end_is_reported) {
  source("abc");
  char text[101];
  EXPECT_EQ(read_string_1(text, 100), -1);
  EXPECT_STREQ(text, "abc");
  EXPECT_TRUE(reports_.has("read_string_1: got eof before end of string."));
}

TEST_F(text_reader, a_quoted_string_stops_at_its_limit) {
  source("abcd\"");
  char text[4];
  EXPECT_EQ(read_string_1(text, 3), -1);
  EXPECT_STREQ(text, "abc");
  EXPECT_TRUE(reports_.has("read_string_1: string length > max_len."));
  source("abc\"");
  EXPECT_EQ(read_string_1(text, 3), 0);
  EXPECT_STREQ(text, "abc");
}

TEST_F(text_reader, positions_can_be_kept_and_sought_in_strings_and_files) {
  source("one two three");
  next();
  const long position = get_reading_from_position();
  next();
  set_reading_from_position(position);
  EXPECT_EQ(next(), "two");
  const temporary_file file("one\ntwo\nthree");
  std::FILE* stream = open_reading_file(file.path());
  next();
  const long place = get_reading_from_position();
  EXPECT_EQ(next(), "two");
  EXPECT_EQ(next(), "three");
  set_reading_from_position(place);
  EXPECT_EQ(next(), "two");
  EXPECT_EQ(report_location(), std::string(file.path()) + ":2");
  close_reading_file(stream);
}

TEST_F(text_reader, the_longest_token_is_one_less_than_its_buffer) {
  EXPECT_EQ(all_tokens(std::string(TOKEN_SIZE - 1, 'x'))[0], std::string(TOKEN_SIZE - 1, 'x'));
  EXPECT_FALSE(take_token_cut());
  EXPECT_TRUE(reports_.empty());
}

TEST_F(text_reader, the_slashes_of_a_comment_do_not_count_as_part_of_a_token) {
  EXPECT_EQ(all_tokens(std::string(TOKEN_SIZE - 1, 'x') + "//y\nz"), (words{std::string(TOKEN_SIZE - 1, 'x'), "z"}));
  EXPECT_FALSE(take_token_cut());
  EXPECT_TRUE(reports_.empty());
  EXPECT_EQ(all_tokens(std::string(TOKEN_SIZE, 'x') + "//y\nz"), (words{std::string(TOKEN_SIZE - 1, 'x'), "z"}));
  EXPECT_TRUE(take_token_cut());
}

TEST_F(text_reader, a_position_behind_the_end_of_a_file_is_its_end) {
  const temporary_file file("one");
  std::FILE* stream = open_reading_file(file.path());
  set_reading_from_position(1L << 40);
  EXPECT_EQ(next(), "<end>");
  set_reading_from_position(0);
  EXPECT_EQ(next(), "one");
  close_reading_file(stream);
}

TEST_F(text_reader, a_longer_token_is_cut_and_reported_once_with_its_start) {
  const words tokens = all_tokens(std::string(10000, 'x') + " y");
  ASSERT_EQ(tokens.size(), 2u);
  EXPECT_EQ(tokens[0], std::string(TOKEN_SIZE - 1, 'x'));
  EXPECT_EQ(tokens[1], "y");
  EXPECT_TRUE(take_token_cut());
  EXPECT_FALSE(take_token_cut());
  ASSERT_EQ(reports_.count(), 1u);
  EXPECT_EQ(
      reports_.severity_of("get_token: a token is longer than 1023 characters: '" + std::string(40, 'x') + "...'."),
      REPORT_ERROR);
}

TEST_F(text_reader, a_comment_ends_a_token_that_is_being_cut) {
  const words tokens = all_tokens(std::string(5000, 'x') + "//y\nz");
  ASSERT_EQ(tokens.size(), 2u);
  EXPECT_EQ(tokens[1], "z");
}

// --- where the reader stands -----------------------------------------------------------------------

TEST_F(text_reader, a_file_gives_the_line_of_the_last_token) {
  const temporary_file file("one\n\ntwo // comment\nthree");
  std::FILE* stream = open_reading_file(file.path());
  const std::string path = file.path();
  next();
  EXPECT_EQ(report_location(), path + ":1");
  next();
  EXPECT_EQ(report_location(), path + ":3");
  next();
  EXPECT_EQ(report_location(), path + ":4");
  close_reading_file(stream);
  reading_from_file_ptr = nullptr;
  EXPECT_EQ(report_location(), "");
}

TEST_F(text_reader, a_string_has_no_place_unless_one_is_told) {
  source("a\nb");
  next();
  EXPECT_EQ(report_location(), "");
  set_string_origin(text_.c_str(), 0, "effects.text", 10);
  next();
  EXPECT_EQ(report_location(), "effects.text:11");
  clear_string_origin(text_.c_str());
  EXPECT_EQ(report_location(), "");
}

TEST_F(text_reader, stretches_of_a_string_can_come_from_different_lines) {
  source("a\nb\nc\nd");
  set_string_origin(text_.c_str(), 4, "whole.text", 1);  // from c on
  set_string_origin(text_.c_str(), 0, "one.text", 7);
  next();
  EXPECT_EQ(report_location(), "one.text:7");
  next();
  EXPECT_EQ(report_location(), "one.text:8");
  next();
  EXPECT_EQ(report_location(), "whole.text:1");
  next();
  EXPECT_EQ(report_location(), "whole.text:2");
  clear_string_origin(text_.c_str());
}

TEST_F(text_reader, the_comment_block_in_front_of_a_token_is_kept) {
  source("x // of x\n// lost\n\n// first\n//second \nword");
  next();
  EXPECT_EQ(comment_before_token(), "");
  EXPECT_EQ(next(), "word");
  EXPECT_EQ(comment_before_token(), "first\nsecond");
}

TEST_F(text_reader, a_comment_with_a_blank_line_behind_it_belongs_to_nothing) {
  source("// far\n\nword");
  next();
  EXPECT_EQ(comment_before_token(), "");
}

}  // namespace
}  // namespace tessaron::testing
