// The definitions of a file, found without reading them.
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "genotype/genotype_reader.h"
#include "genotype/text_reader.h"
#include "host/inspect.h"
#include "host/report_listener.h"

namespace tessaron {
namespace {

bool read_whole_file(const std::string& path, std::string& text, std::string& error) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) {
    error = path + ": " + std::strerror(errno);
    return false;
  }
  if (S_ISDIR(info.st_mode)) {
    error = path + ": is a directory";
    return false;
  }
  // Pipes have no size, and devices no end.
  constexpr std::size_t LARGEST_TEXT = std::size_t(1) << 26, BLOCK = 1 << 16;
  std::ifstream in(path, std::ios::binary);
  text.clear();
  for (std::size_t got = BLOCK; in && got == BLOCK; text.resize(text.size() - BLOCK + got)) {
    if (text.size() > LARGEST_TEXT) {
      error = path + ": is too large for a text of definitions";
      return false;
    }
    text.resize(text.size() + BLOCK);
    in.read(&text[text.size() - BLOCK], BLOCK);
    got = std::size_t(in.gcount());
  }
  if (!in.eof()) {
    error = path + ": " + std::strerror(errno);
    return false;
  }
  if (text.find('\0') != std::string::npos) {
    error = path + ": is not a text file";
    return false;
  }
  if (const std::size_t end = text.find('\xff'); end != std::string::npos) {
    // The reader takes this byte in a text for its end, and what stands behind it would be lost without a word.
    const auto line = 1 + std::count(text.begin(), text.begin() + long(end), '\n');
    error = path + ":" + std::to_string(line) + ": holds the byte 0xFF, which no definition can; UTF-8 has none";
    return false;
  }
  return true;
}

/// Place of a definition in a source text: its opening bracket, and one past its closing bracket or the end of
/// the source when its brackets do not close before the next definition.
struct definition_span {
  std::string name;
  std::size_t begin, end;
  bool has_reference;
};

/// Finds the definitions with the reader's own tokens, so that comments and brackets mean the same here and there.
std::vector<definition_span> find_spans(const std::string& source) {
  std::vector<definition_span> spans;
  std::vector<char> buffer(TOKEN_SIZE);
  char* token = buffer.data();
  bool after_bracket = false, open = false;
  int depth = 0;
  std::size_t bracket = 0;
  while (get_token(token) == 0) {
    const std::string word = token;
    if (after_bracket && (word == "define" || word == "def_effect")) {
      definition_span span{"", bracket, source.size(), false};
      if (get_token(token) == 0) span.name = token;
      spans.push_back(span);
      open = true;
      depth = 1;
      after_bracket = false;
      continue;
    }
    after_bracket = word == "(";
    if (after_bracket) {
      bracket = std::size_t(get_reading_from_position()) - 1;
      ++depth;
    } else if (word == ")") {
      --depth;
      if (open && depth == 0) {
        spans.back().end = std::size_t(get_reading_from_position());
        open = false;
      }
    } else if (open && word == "#ref") {
      spans.back().has_reference = true;
    } else if (open && word == "\"") {
      std::vector<char> text(MAX_STRING_LEN + 1);
      if (read_string_1(text.data(), MAX_STRING_LEN) != 0) open = false;
    }
  }
  return spans;
}

/// The run of `//` lines that ends right above `begin`, without slashes, one blank behind them removed.
std::string comment_above(const std::string& source, std::size_t begin) {
  std::vector<std::string> lines;
  std::size_t line_start = source.rfind('\n', begin ? begin - 1 : 0);
  line_start = begin == 0 || line_start == std::string::npos ? 0 : line_start + 1;
  if (source.find_first_not_of(" \t", line_start) != begin) return "";
  while (line_start > 0) {
    const std::size_t end = line_start - 1;
    const std::size_t before = end ? source.rfind('\n', end - 1) : std::string::npos;
    const std::size_t start = before == std::string::npos ? 0 : before + 1;
    std::string line = source.substr(start, end - start);
    const std::size_t slashes = line.find_first_not_of(" \t");
    if (slashes == std::string::npos || line.compare(slashes, 2, "//") != 0) break;
    line.erase(0, slashes + 2);
    if (!line.empty() && line[0] == ' ') line.erase(0, 1);
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
    lines.push_back(line);
    line_start = start;
  }
  std::string comment;
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) comment += (comment.empty() ? "" : "\n") + *line;
  return comment;
}

}  // namespace

void scan_definition_text(const std::string& source, const std::string& file, std::vector<definition_text>& out) {
  std::vector<inspected_report> unheard;  // what is wrong is reported when a definition is read
  std::vector<definition_span> spans;
  {
    report_listener listener(unheard);
    reset_reader();
    try {
      open_reading_from_string(source.c_str());
      spans = find_spans(source);
    } catch (const TessaronAbortException&) {}
    reset_reader();
  }
  std::size_t counted = 0;
  int line = 1;
  for (const definition_span& span : spans) {
    line += int(std::count(source.begin() + long(counted), source.begin() + long(span.begin), '\n'));
    counted = span.begin;
    definition_text definition;
    definition.name = span.name;
    definition.file = file;
    definition.line = line;
    definition.text = source.substr(span.begin, span.end - span.begin);
    if (span.has_reference) {
      definition.text += '\n';
      definition.whole_at = definition.text.size();
      definition.text += source;
    }
    definition.comment = comment_above(source, span.begin);
    out.push_back(std::move(definition));
  }
}

bool scan_definitions(const std::string& path, std::vector<definition_text>& out, std::string& error) {
  std::string source;
  if (!read_whole_file(path, source, error)) return false;
  scan_definition_text(source, path, out);
  return true;
}

void note_definition_origin(const char* text, const definition_text& definition) {
  set_string_origin(text, 0, definition.file, definition.line);
  if (definition.whole_at) set_string_origin(text, long(definition.whole_at), definition.file, 1);
}

void forget_definition_origin(const char* text) { clear_string_origin(text); }

}  // namespace tessaron
