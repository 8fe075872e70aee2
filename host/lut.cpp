#include "host/lut.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/report.h"
#include "host/configuration.h"

namespace tessaron {

fix input_lut8[256];
fix input_lut12[4096];
std::uint8_t output_lut8[4096];
fix output_lut12[4096];

namespace {

constexpr std::size_t MAX_LINE = 128;
constexpr const char* SEPARATORS = " \t\r\n";
constexpr int FIX_TOP = 4095;
constexpr int BYTE_TOP = 255;

struct file_closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using file_ptr = std::unique_ptr<std::FILE, file_closer>;

/// Null with errno set. A directory is no text file, though it opens as one.
file_ptr open_text(const char* path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) {
    errno = EISDIR;
    return nullptr;
  }
  return file_ptr(std::fopen(path, "r"));
}

/// Tokens of a file whose lines have at most MAX_LINE characters; a token that begins with `#` ends
/// its line.
class lut_tokens {
 public:
  explicit lut_tokens(file_ptr file) : file_(std::move(file)) {}

  bool next(std::string& token) {
    for (;;) {
      const std::size_t begin = line_.find_first_not_of(SEPARATORS, place_);
      if (begin == std::string::npos || line_[begin] == '#') {
        if (!read_line()) return false;
        continue;
      }
      place_ = std::min(line_.find_first_of(SEPARATORS, begin), line_.size());
      token = line_.substr(begin, place_ - begin);
      return true;
    }
  }
  /// Number of a line that was too long; 0: none. Reading ends there.
  int overlong_line() const { return overlong_; }

 private:
  bool read_line() {
    line_.clear();
    place_ = 0;
    ++number_;
    int c = std::getc(file_.get());
    if (c == EOF) return false;
    for (; c != EOF && c != '\n'; c = std::getc(file_.get())) {
      if (line_.size() == MAX_LINE) {
        overlong_ = number_;
        line_.clear();
        return false;
      }
      line_ += char(c);
    }
    return true;
  }

  file_ptr file_;
  std::string line_;
  std::size_t place_ = 0;
  int number_ = 0;
  int overlong_ = 0;
};

enum class lut_state { looking, bits, count, entries };

template <class Entry, int N>
void build_table(const lut_file& lut, Entry (&table)[N], int top) {
  for (int i = 0; i < N; ++i) table[i] = Entry(lut_entry(lut, i, N, top));
}

}  // namespace

bool scan_integer(const char* text, int& value) {
  char* end = nullptr;
  const long number = std::strtol(text, &end, 10);
  if (end == text) return false;
  value = int(std::clamp(number, long(INT_MIN), long(INT_MAX)));
  return true;
}

int read_lut_file(const char* path, lut_file& out) {
  file_ptr file = open_text(path);
  if (!file) {
    const int error = errno;
    report(REPORT_WARNING, "Can't open LUT file %s for reading: %s (%d)\n", path, std::strerror(error), error);
    return -1;
  }
  lut_tokens tokens(std::move(file));
  lut_state state = lut_state::looking;
  out = {};
  int count = 0;
  for (std::string token; tokens.next(token);) {
    if (state == lut_state::looking) {
      if (strcasecmp(token.c_str(), "lut:") == 0) state = lut_state::bits;
      continue;
    }
    int number = 0;
    if (!scan_integer(token.c_str(), number)) {
      if (state == lut_state::entries)
        report(REPORT_WARNING, "LUT file %s syntax err: non-integer or EOF in lut\n", path);
      else
        report(REPORT_WARNING, "LUT file %s syntax err: non-integer %s after 'lut:' keyword\n", path, token.c_str());
      return -1;
    }
    switch (state) {
      case lut_state::bits:
        state = lut_state::count;
        break;
      case lut_state::count:
        count = number;
        if (count <= 0) {
          report(REPORT_WARNING, "LUT file %s syntax err: %d is no number of entries\n", path, count);
          return -1;
        }
        state = lut_state::entries;
        break;
      default:
        // Room grows with what the file holds, whatever count it states.
        out.entries.push_back(number);
        out.max_value = std::max(out.max_value, number);
        if (int(out.entries.size()) == count) return 0;
    }
  }
  if (const int line = tokens.overlong_line())
    report(REPORT_WARNING, "LUT file %s syntax err: line %d is longer than %d characters\n", path, line, int(MAX_LINE));
  else
    report(REPORT_WARNING, "LUT file %s syntax err: EOF found while reading lut\n", path);
  return -1;
}

std::int64_t lut_full_scale(int max_value) {
  if (max_value < 1) return 0;
  std::int64_t scale = 1;
  while (scale < max_value) scale = scale * 2 + 1;
  return scale;
}

int lut_entry(const lut_file& lut, int i, int n, int top) {
  const std::int64_t scale = lut_full_scale(lut.max_value);
  if (scale == 0) return 0;  // nothing above 0
  const int count = int(lut.entries.size());
  double value = 0;
  if (count < n) {
    // One entry past the last is looked at, with a weight of 0: the last stands for it.
    const auto entry = [&](int k) { return double(lut.entries[std::min(k, count - 1)]); };
    const double p = i / (double(n - 1) / (count - 1));
    const int k = int(p);
    value = (entry(k) + (p - k) * (entry(k + 1) - entry(k))) * top / double(scale) + 0.5;
  } else {
    const auto k = std::size_t(std::int64_t(i) * (count - 1) / (n - 1));
    value = double(std::int64_t(lut.entries[k]) * top / scale) + 0.5;
  }
  return int(std::clamp(value, 0.0, double(top)));  // entries may be negative
}

int load_input_lut(const char* path) {
  lut_file lut;
  if (read_lut_file(path, lut) != 0) return -1;
  build_table(lut, input_lut8, FIX_TOP);
  build_table(lut, input_lut12, FIX_TOP);
  return 0;
}

int load_output_lut(const char* path) {
  lut_file lut;
  if (read_lut_file(path, lut) != 0) return -1;
  build_table(lut, output_lut8, BYTE_TOP);
  build_table(lut, output_lut12, FIX_TOP);
  return 0;
}

}  // namespace tessaron
