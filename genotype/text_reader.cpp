// The tokenizer. One source at a time, one token of push-back; knows nothing of the languages above.
#include "genotype/text_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <vector>

#include "base/report.h"

namespace tessaron {

std::FILE* reading_from_file_ptr = nullptr;
const char* reading_from_string = nullptr;
int open_file_count = 0;
int allow_slash_comments = 1;
const char* reading_subject = nullptr;

namespace {

constexpr int END_OF_SOURCE = -1;
constexpr int SHOWN_TOKEN_START = 40;  // characters of an overlong token that a report shows

/// Marks the characters that are tokens by themselves.
struct special_table {
  bool marked[256] = {};
  constexpr special_table() {
    for (char c : {'"', '(', ')', '=', '[', ']'}) marked[static_cast<unsigned char>(c)] = true;
  }
};
constexpr special_table SPECIAL;

/// isspace of the C locale, defined for negative characters too.
bool is_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

struct {
  long position = 0;  // next character: index in the string, bytes read from the file
  long length = 0;    // of the string
  int line = 1;       // line of the next character

  bool unread = false;
  char unread_token[TOKEN_SIZE] = "";
  bool token_cut = false;

  long token_offset = 0;
  int token_line = 0;

  std::string comment_block;  // lines read since the last token
  int comment_last_line = 0;
  std::string token_comment;  // the block directly in front of the last token

  std::FILE* named_stream = nullptr;
  std::string file_name;
} reader;

struct origin_segment {
  long offset;
  std::string file;
  int line;
};
std::map<const char*, std::vector<origin_segment>> string_origins;

/// "file:line" of the last token, empty when the source has no known name.
std::string token_location() {
  if (reading_from_string) {
    const auto origin = string_origins.find(reading_from_string);
    if (origin == string_origins.end()) return {};
    const origin_segment* segment = nullptr;
    for (const origin_segment& s : origin->second)
      if (s.offset <= reader.token_offset) segment = &s;
    if (!segment) return {};
    const char* text = reading_from_string;
    const auto lines = std::count(text + segment->offset, text + std::min(reader.token_offset, reader.length), '\n');
    return segment->file + ":" + std::to_string(segment->line + lines);
  }
  if (reading_from_file_ptr && reading_from_file_ptr == reader.named_stream)
    return reader.file_name + ":" + std::to_string(std::max(reader.token_line, 1));
  return {};
}

/// Forgets what the last source left behind and stands at the start of the new one.
void start_source() {
  reader.position = reader.length = 0;
  reader.line = 1;
  reader.unread = reader.token_cut = false;
  reader.token_offset = 0;
  reader.token_line = 0;
  reader.comment_block.clear();
  reader.token_comment.clear();
  set_location_source(token_location);
}

/// Keeps a comment line that may be part of the block in front of the next token.
void note_comment_line(std::string text, int line, int last_token_line) {
  if (line == last_token_line) return;  // it belongs to the code it stands behind
  text.erase(0, std::min(text.find_first_not_of('/'), text.size()));
  if (!text.empty() && text[0] == ' ') text.erase(0, 1);
  while (!text.empty() && is_space(text.back())) text.pop_back();
  if (!reader.comment_block.empty() && line == reader.comment_last_line + 1)
    reader.comment_block += '\n' + text;
  else
    reader.comment_block = text;
  reader.comment_last_line = line;
}

/// Reads to the end of the line; returns what was there.
std::string read_comment() {
  std::string text;
  for (int c = get_next_char(); c != END_OF_SOURCE && c != '\n'; c = get_next_char()) text += char(c);
  return text;
}

/// Reads a word whose first character is dst[0]. 0: a token; 1: nothing but a comment.
int read_word(char* dst, int last_token_line) {
  constexpr int MAX_COUNT = TOKEN_SIZE + 2;  // still too long without the slashes of a comment
  int n = 1;
  int stored = 1;
  char last = dst[0];
  for (;;) {
    const int c = get_next_char();
    if (c == END_OF_SOURCE || is_space(c)) break;
    if (is_special_char(c)) {
      put_back_char(c);
      break;
    }
    if (n < MAX_COUNT) ++n;  // a file of gigabytes may hold no blank
    if (stored < TOKEN_SIZE - 1) dst[stored++] = char(c);
    if (allow_slash_comments && last == '/' && c == '/') {
      const std::string comment = read_comment();
      if (n == 2) {
        note_comment_line(comment, reader.token_line, last_token_line);
        return 1;
      }
      n -= 2;
      break;
    }
    last = char(c);
  }
  dst[std::min(n, stored)] = '\0';
  if (n > TOKEN_SIZE - 1) {
    reader.token_cut = true;
    if (reading_subject)
      report(REPORT_ERROR, "In %s: a token is longer than %d characters: '%.*s...'.", reading_subject, TOKEN_SIZE - 1,
             SHOWN_TOKEN_START, dst);
    else
      report(REPORT_ERROR, "get_token: a token is longer than %d characters: '%.*s...'.", TOKEN_SIZE - 1,
             SHOWN_TOKEN_START, dst);
  }
  return 0;
}

}  // namespace

std::FILE* open_reading_file(const char* path) {
  std::string name = path;  // before there is a stream that a lack of memory would leave open
  std::FILE* stream = std::fopen(path, "r");
  int error = errno;
  if (stream) {
    // A directory opens like a file and fails on the first read.
    const int c = std::getc(stream);
    if (c == EOF && std::ferror(stream)) {
      error = errno;
      std::fclose(stream);
      stream = nullptr;
    } else if (c != EOF) {
      std::ungetc(c, stream);
    } else {
      std::clearerr(stream);
    }
  }
  if (!stream) {
    report(REPORT_ERROR, "Open of %s failed: %s\n", path, std::strerror(error));
    return nullptr;
  }
  ++open_file_count;
  start_source();
  reading_from_string = nullptr;
  reading_from_file_ptr = stream;
  reader.named_stream = stream;
  reader.file_name.swap(name);
  return stream;
}

int open_fault(const char* path) {
  std::FILE* stream = std::fopen(path, "r");
  if (!stream) return errno;
  const int fault = std::getc(stream) == EOF && std::ferror(stream) ? errno : 0;
  std::fclose(stream);
  return fault;
}

int close_reading_file(std::FILE* stream) {
  if (!stream) return 0;
  if (stream == reader.named_stream) reader.named_stream = nullptr;
  const int result = std::fclose(stream);
  if (result == -1) {
    report(REPORT_ERROR, "Close file failed.");
    std::perror("Reason");
  }
  --open_file_count;
  return result;
}

file_source::~file_source() {
  close_reading_file(stream);
  if (stream) reading_from_file_ptr = nullptr;
}

void open_reading_from_string(const char* text) {
  if (!text) report(REPORT_ERROR, "open_reading_from_string: received a NULL string! \n");
  start_source();
  reading_from_string = text ? text : "";
  reader.length = long(std::strlen(reading_from_string));
  reading_from_file_ptr = nullptr;
}

void close_reading_from_string() { reading_from_string = nullptr; }

void reset_reader() {
  start_source();
  reading_from_string = nullptr;
  reading_from_file_ptr = nullptr;
  reading_subject = nullptr;
}

int get_next_char() {
  int c = END_OF_SOURCE;
  if (reading_from_string) {
    // Characters are signed, so the byte 0xFF reads as the end; the reader stays in front of it.
    if (reader.position < reader.length) c = static_cast<signed char>(reading_from_string[reader.position]);
  } else if (reading_from_file_ptr) {
    c = std::getc(reading_from_file_ptr);
  } else {
    fatal("get_next_char: need reading_from_file_ptr or reading_from_string.");
  }
  if (c == END_OF_SOURCE) return c;
  ++reader.position;
  if (c == '\n') ++reader.line;
  return c;
}

void put_back_char(int c) {
  if (c == END_OF_SOURCE) {
    report(REPORT_ERROR, "put_back_char: attempting to put back EOF!");
    return;
  }
  if (!reading_from_string && reading_from_file_ptr) {
    std::ungetc(c, reading_from_file_ptr);
  } else {
    if (!reading_from_string || reader.position < 1) {
      report(REPORT_ERROR, "put_back_char: no room in string to put back.");
      return;
    }
    // Only a character that was not read here is written, so a constant text stays unwritten.
    char& place = const_cast<char&>(reading_from_string[reader.position - 1]);
    if (place != char(c)) {
      place = char(c);
      report(REPORT_FATAL, "put_back_char: Putting back mismatched char: %c over %c!\n", place, place);
    }
  }
  --reader.position;
  if (c == '\n') --reader.line;
}

int get_token(char* dst) {
  if (reader.unread) {
    std::strcpy(dst, reader.unread_token);
    reader.unread = false;
    return 0;
  }
  const int last_token_line = reader.token_line;
  for (;;) {
    int c = get_next_char();
    while (c != END_OF_SOURCE && is_space(c)) c = get_next_char();
    dst[0] = '\0';
    if (c == END_OF_SOURCE) return END_OF_SOURCE;
    reader.token_offset = reader.position - 1;
    reader.token_line = reader.line;
    dst[0] = char(c);
    dst[1] = '\0';
    if (is_special_char(c) || read_word(dst, last_token_line) == 0) break;
  }
  reader.token_comment.clear();
  if (!reader.comment_block.empty()) {
    if (reader.comment_last_line + 1 == reader.token_line) reader.token_comment.swap(reader.comment_block);
    reader.comment_block.clear();
  }
  return 0;
}

void unread_token(const char* src) {
  if (reader.unread) fatal("unread_token: there is already an unread token!");
  reader.unread = true;
  std::strncpy(reader.unread_token, src, TOKEN_SIZE - 1);
}

int read_string_1(char* dst, int max_len) {
  for (int i = 0;; ++i) {
    const int c = get_next_char();
    if (c == '"') {
      if (i == 0 || dst[i - 1] != '\\') {
        dst[i] = '\0';
        return 0;
      }
      --i;  // the quote replaces the backslash
    }
    if (c == END_OF_SOURCE) {
      report(REPORT_ERROR, "read_string_1: got eof before end of string.");
      dst[i] = '\0';
      return -1;
    }
    if (i == max_len) {
      report(REPORT_ERROR, "read_string_1: string length > max_len.");
      dst[i] = '\0';
      return -1;
    }
    dst[i] = char(c);
  }
}

long get_reading_from_position() {
  if (reading_from_string) return reader.position;
  if (reading_from_file_ptr) return std::ftell(reading_from_file_ptr);
  fatal("get_reading_from_position: need reading_from_file_ptr or reading_from_string.");
}

void set_reading_from_position(long position) {
  if (!reading_from_string && !reading_from_file_ptr)
    fatal("set_reading_from_position: need reading_from_file_ptr or reading_from_string.");
  // Lines are counted anew from the start: seeks are rare.
  if (reading_from_string) {
    position = std::clamp(position, 0L, reader.length);
    reader.line = 1 + int(std::count(reading_from_string, reading_from_string + position, '\n'));
  } else {
    std::rewind(reading_from_file_ptr);
    reader.line = 1;
    for (long i = 0; i < position; ++i) {
      const int c = std::getc(reading_from_file_ptr);
      if (c == EOF) break;
      if (c == '\n') ++reader.line;
    }
    std::fseek(reading_from_file_ptr, position, SEEK_SET);
  }
  reader.position = position;
  reader.token_line = 0;
  reader.comment_block.clear();
}

bool is_special_char(int c) { return c >= 0 && c < 256 && SPECIAL.marked[c]; }

const std::string& comment_before_token() { return reader.token_comment; }

long last_token_offset() { return reader.token_offset; }

bool take_token_cut() {
  const bool cut = reader.token_cut;
  reader.token_cut = false;
  return cut;
}

void set_string_origin(const char* text, long offset, const std::string& file, int line) {
  std::vector<origin_segment>& segments = string_origins[text];
  std::erase_if(segments, [offset](const origin_segment& s) { return s.offset == offset; });
  const auto place =
      std::find_if(segments.begin(), segments.end(), [offset](const origin_segment& s) { return s.offset > offset; });
  segments.insert(place, {offset, file, line});
}

void clear_string_origin(const char* text) { string_origins.erase(text); }

}  // namespace tessaron
