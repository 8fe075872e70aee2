#include "operators/film_types.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <optional>

#include "base/lasting.h"
#include "base/report.h"
#include "base/text.h"
#include "genotype/text_reader.h"
#include "installer/custom_listing.h"

namespace tessaron {
namespace {

constexpr const char* FILE_NAME = "t_filmtypes.text";

film_table with_fixed_entries() {
  film_table films;
  films.negatives.emplace_back().name = "Neg Film: None";
  films.prints.emplace_back().name = "Print Film: None";
  films.prints[0].is_print = 1;
  return films;
}

bool is_one_of(const char* token, std::initializer_list<const char*> words) {
  for (const char* word : words)
    if (std::strcmp(token, word) == 0) return true;
  return false;
}
bool is(const char* token, const char* word) { return std::strcmp(token, word) == 0; }

/// Words with a meaning inside an entry. One that stands where something else was expected is left to its reader.
bool is_keyword(const char* token) {
  return is_one_of(token, {"begin", "end", "print_film", "reversal_film", "color_curves", "normal_gray_exposure",
                           "grain", "exposure_compensation"});
}

/// Reads one entry. The text reader holds one token of push-back; no production returns with one and reads on.
class entry_reader {
 public:
  explicit entry_reader(const char* name) : name_(name) {}

  film_type read() {
    while (!closed_) {
      char token[TOKEN_SIZE];
      if (get_token(token) != 0) {
        report_eof_before("end");
        break;
      }
      read_part(token);
    }
    film_.name = format_text(film_.is_print ? "Print: %s" : "Neg: %s", name_.c_str());
    return film_;
  }

  void wrong_word(const char* word) const {
    report(REPORT_WARNING, "film type %s: got '%s' expected: gamma, grain_amp, or grain_blur", name_.c_str(), word);
  }

 private:
  void read_part(const char* word) {
    if (is(word, "print_film"))
      film_.is_print = 1;
    else if (is(word, "reversal_film"))
      film_.is_print = film_.is_reversal = 1;
    else if (is(word, "color_curves"))
      read_curve_block();
    else if (is(word, "normal_gray_exposure"))
      read_number("reading normal_gray_exposure", film_.normal_gray_exposure);
    else if (is(word, "grain"))
      read_grain();
    else if (is(word, "exposure_compensation"))
      read_compensation();
    else if (is(word, "end"))
      read_end();
    else
      read_wrong_word(word);
  }

  void read_wrong_word(const char* word) {
    wrong_word(word);
    if (!is(word, "begin")) return;
    // A new entry begins; this one has lost its end.
    unread_token(word);
    closed_ = true;
  }

  void read_end() {
    char token[TOKEN_SIZE];
    get_token(token);
    closed_ = true;
    if (is(token, name_.c_str())) return;
    report(REPORT_WARNING, "end %s does not match begin %s \n", token, name_.c_str());
    if (is(token, "begin")) unread_token(token);
  }

  static void report_eof_before(const char* word) { report(REPORT_WARNING, "eof before %s was found \n", word); }

  // --- numbers --------------------------------------------------------------------------------------------

  /// A number, or a report that says where it was missing.
  bool read_number(const char* where, float& value) {
    char token[TOKEN_SIZE];
    if (get_token(token) != 0) {
      report(REPORT_WARNING, "%s expected a number, but got eof", where);
      return false;
    }
    float number = 0;
    if (!parse_number(token, number)) {
      report(REPORT_WARNING, "%s expected a number, but got '%s'", where, token);
      if (is_keyword(token)) unread_token(token);
      return false;
    }
    value = number;
    return true;
  }

  void read_compensation() {
    for (float& factor : film_.exposure_compensation) {
      float log10_of_factor = 0;
      if (!read_number("reading exposure_compensation", log10_of_factor)) return;
      factor = float(std::pow(10.0, double(log10_of_factor)));
    }
  }

  void read_grain() {
    char token[TOKEN_SIZE];
    if (get_token(token) != 0) {
      report(REPORT_WARNING, "%s expected a number, but got eof", "reading grain");
      return;
    }
    float grain = 0;
    if (parse_number(token, grain)) {
      for (float& channel : film_.grain) channel = grain;
    } else if (is(token, "[")) {
      for (float& channel : film_.grain)
        if (!read_number("reading grain", channel)) return;
      if (get_token(token) != 0 || !is(token, "]")) {
        report(REPORT_WARNING, "Missing ] after grain");
        if (is_keyword(token)) unread_token(token);
      }
    } else {
      report(REPORT_WARNING, "Expected number after grain, got %s", token);
      if (is_keyword(token)) unread_token(token);
    }
  }

  // --- curves -----------------------------------------------------------------------------------------------

  /// Where a block goes on after a fault.
  static bool ends_block(const char* token) { return is_one_of(token, {"end_color_curves", "end", "begin"}); }
  static void leave_block(const char* token) {
    if (!is(token, "end_color_curves")) unread_token(token);
  }

  void read_curve_block() {
    const std::optional<int> x_type = read_unit();
    if (!x_type) return;
    film_.x_type = *x_type;
    const std::optional<int> y_type = read_unit();
    if (!y_type) return;
    film_.y_type = *y_type;

    char token[TOKEN_SIZE];
    if (get_token(token) != 0) {
      report_eof_before("end_color_curves");
    } else if (is(token, "red")) {
      if (read_curve(0, "green") && read_curve(1, "blue")) read_curve(2, "end_color_curves");
    } else if (is(token, "rgb")) {
      read_curve(0, "end_color_curves");
      for (int c = 1; c < FILM_CHANNELS; ++c) {
        film_.point_count[c] = film_.point_count[0];
        std::memcpy(film_.x[c], film_.x[0], sizeof film_.x[0]);
        std::memcpy(film_.y[c], film_.y[0], sizeof film_.y[0]);
      }
    } else {
      report(REPORT_WARNING, "in %s, first curve %s should be 'rgb' or 'red'", name_.c_str(), token);
      skip_to("end_color_curves", token);
    }
  }

  /// Nothing at the end of the file. An unknown unit counts as log10.
  std::optional<int> read_unit() {
    char token[TOKEN_SIZE];
    if (get_token(token) != 0) {
      report(REPORT_WARNING, "EOF while reading curve type in %s", name_.c_str());
      return {};
    }
    if (is_one_of(token, {"log10", "log"})) return UNIT_LOG10;
    if (is_one_of(token, {"stops", "log2"})) return UNIT_STOPS;
    if (is_one_of(token, {"linear", "lin"})) return UNIT_LINEAR;
    report(REPORT_WARNING, "Unknown curve type %s in %s \n", token, name_.c_str());
    if (ends_block(token)) {
      leave_block(token);
      return {};
    }
    return UNIT_LOG10;
  }

  /// The points of one curve up to a terminator. False: the block ends here. After a fault the curve keeps the points
  /// that it has.
  bool read_curve(int channel, const char* terminator) {
    int& count = film_.point_count[channel];
    count = 0;
    for (;;) {
      char token[TOKEN_SIZE];
      float x = 0, y = 0;
      if (get_token(token) != 0) return no_terminator(terminator);
      if (is(token, terminator)) return true;
      if (!parse_number(token, x)) {
        report(REPORT_WARNING, "expected a number or %s but got %s", terminator, token);
        return skip_to(terminator, token);
      }
      if (count == MAX_CURVE_POINTS) {
        report(REPORT_WARNING, "exceeded MAX_CURVE_POINTS");
        return skip_to(terminator, token);
      }
      if (get_token(token) != 0) return no_terminator(terminator);
      if (!parse_number(token, y)) {
        report(REPORT_WARNING, "expected a number but got %s", token);
        return skip_to(terminator, token);
      }
      film_.x[channel][count] = x;
      film_.y[channel][count] = y;
      ++count;
    }
  }

  static bool no_terminator(const char* terminator) {
    report_eof_before(terminator);
    return false;
  }

  /// Skips what is left of a curve, from `token` on. False: the block ends before the terminator.
  static bool skip_to(const char* terminator, char* token) {
    do {
      if (is(token, terminator)) return true;
      if (ends_block(token)) {
        leave_block(token);
        return false;
      }
    } while (get_token(token) == 0);
    return no_terminator(terminator);
  }

  const std::string name_;
  film_type film_;
  bool closed_ = false;
};

void read_entries(film_table& films) {
  char token[TOKEN_SIZE];
  while (get_token(token) == 0) {
    if (!is(token, "begin")) continue;
    do {
      if (get_token(token) != 0) {
        report(REPORT_WARNING, "eof before %s was found \n", "end");
        return;
      }
      // The entry in front has lost its name, and with it everything.
      if (is(token, "begin")) entry_reader("").wrong_word(token);
    } while (is(token, "begin"));
    const film_type film = entry_reader(token).read();
    (film.is_print ? films.prints : films.negatives).push_back(film);
  }
}

lasting<std::optional<film_table>> films_of_process;
std::optional<film_table>& loaded = films_of_process.value;

std::vector<std::string> names_of(const std::vector<film_type>& table) {
  std::vector<std::string> names;
  for (const film_type& film : table) names.push_back(film.name);
  return names;
}

}  // namespace

film_table read_film_types(const char* path) {
  film_table films = with_fixed_entries();
  if (const int fault = open_fault(path)) {
    report(REPORT_ERROR, "Can't open file %s\n", path);
    report(REPORT_ERROR, "Error opening filmtypes file: %s", std::strerror(fault));
    return films;
  }
  const file_source source(path);
  if (!source.stream) return films;
  read_entries(films);
  if (films.negatives.size() == 1) report(REPORT_WARNING, "No negative film types found in %s.\n", path);
  if (films.prints.size() == 1) report(REPORT_WARNING, "No print film types found in %s.\n", path);
  return films;
}

const film_table& get_film_types() {
  if (!loaded) loaded = read_film_types(format_text("%s/%s", get_config_dir(), FILE_NAME).c_str());
  return *loaded;
}

void reset_film_types() { loaded.reset(); }

std::vector<std::string> negative_film_names() { return names_of(get_film_types().negatives); }
std::vector<std::string> print_film_names() { return names_of(get_film_types().prints); }

}  // namespace tessaron
