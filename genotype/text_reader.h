// The text reader: one global tokenizer over a file or a string, with one token of push-back.
#pragma once

#include <cstdio>
#include <string>

namespace tessaron {

/// Callers' token buffers. A longer token is a reported error of the reader and is cut.
inline constexpr int TOKEN_SIZE = 1024;
inline constexpr int MAX_STRING_LEN = 100;  // quoted strings of definitions

extern std::FILE* reading_from_file_ptr;
extern const char* reading_from_string;  // wins over the file
extern int open_file_count;
extern int allow_slash_comments;

/// fopen for a reader user: counts the file, makes it the source, remembers its name for reports. On
/// failure reports "Open of %s failed: %s\n" at severity 8 and returns null.
std::FILE* open_reading_file(const char* path);
int close_reading_file(std::FILE* stream);
/// A file as the reader's source, for a scope. `stream` is null when the open failed, which has been reported.
struct file_source {
  explicit file_source(const char* path) : stream(open_reading_file(path)) {}
  ~file_source();
  file_source(const file_source&) = delete;
  file_source& operator=(const file_source&) = delete;
  std::FILE* stream;
};
/// 0, or the system's number for the reason why a file can't be read. A directory opens like a file.
int open_fault(const char* path);
void open_reading_from_string(const char* text);
/// Ends a string source.
void close_reading_from_string();

int get_next_char();
void put_back_char(int c);
/// 0 with a token in dst (TOKEN_SIZE bytes), or -1 at the end of the source with dst empty.
int get_token(char* dst);
void unread_token(const char* src);
int read_string_1(char* dst, int max_len);
long get_reading_from_position();
void set_reading_from_position(long position);
bool is_special_char(int c);

/// Comment lines (`//` and one blank taken off, joined by line feeds) that stand directly in front of
/// the line of the last token, with nothing between; empty if none.
const std::string& comment_before_token();
/// Offset in the source of the last token that was read, not pushed back.
long last_token_offset();
/// Whether a token has been cut since the last call.
bool take_token_cut();
/// What is being read, for the reader's own reports: a definition's name, or null.
extern const char* reading_subject;

/// Forgets a pushed-back token and both sources, after an aborted read.
void reset_reader();

/// Names the file and first line of a string source, for reports: from `offset` of the text on, lines
/// count from `line` of `file`. Kept by the address of the text.
void set_string_origin(const char* text, long offset, const std::string& file, int line);
void clear_string_origin(const char* text);

}  // namespace tessaron
