// The handles that a parameter declares for the picture.
#include <algorithm>
#include <cstring>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/param_declaration.h"
#include "genotype/reading.h"

namespace tessaron {
namespace {

constexpr int UNSET_ENABLE = -1;
constexpr std::uint8_t DEFAULT_STATE_UNSET = 3;
constexpr int LARGEST_WIDGET_NUMBER = 127;

/// A widget's number, -1 for none. One that has no place in a byte is reported; `what` is what it is called.
std::int8_t widget_number(const declaration& d, const char* type, const char* what, float number) {
  const bool negative = !(number >= 0);  // or no number at all, as infinity times 0
  if (negative || number > LARGEST_WIDGET_NUMBER)
    report(REPORT_WARNING, "%s.%s: widget %s has %s %g; numbers are 0 to %d.\n", d.g.name, d.p.name, type, what,
           double(number), LARGEST_WIDGET_NUMBER);
  return std::int8_t(negative ? -1.0f : std::min(number, float(LARGEST_WIDGET_NUMBER)));
}

/// Steps to the next token when the one at hand has been used up.
struct optional_words {
  char token[TOKEN_SIZE];
  int result;
  optional_words() { next(); }
  void next() { result = get_token(token); }
  bool is(const char* word) const { return result == 0 && same_text(token, word); }
};

}  // namespace

widget_entry& add_widget(param& p, const char* type, const char* param_name) {
  widget_entry* w = new widget_entry{};
  w->next = p.widgets;
  p.widgets = w;
  w->widget_type = copy_text(type);
  w->param_name = copy_text(param_name);
  w->owner_name = copy_text(p.name);
  w->order = -1;
  w->enable_number = UNSET_ENABLE;
  w->default_state = DEFAULT_STATE_UNSET;
  return *w;
}

int read_widget(declaration& d, const char*) {
  d.in_popup = false;
  char type[TOKEN_SIZE];
  if (get_token(type) != 0) return -1;
  char* dot = std::strchr(type, '.');
  if (dot) *dot = '\0';
  widget_entry& w = add_widget(d.p, type, dot ? dot + 1 : d.p.name);

  optional_words words;
  if (words.is("name")) {
    if (const int result = read_title(words.token)) return result;
    w.display_name = copy_text(words.token);
    words.next();
  }
  float number;
  if (words.is("wenable")) {
    words.next();
    if (words.result != 0) return -1;
    if (words.is("here")) {
      w.enable_here = 1;
    } else if (parse_number(words.token, number)) {
      w.enable_number = widget_number(d, type, "wenable", number);
    } else {
      reject(REPORT_ERROR, "Syntax error reading widget %s enable in %s.%s: bad number\n", type, d.g.name, d.p.name);
      return 1;
    }
    words.next();
  } else if (words.is("use_wenable")) {
    words.next();
    if (words.result != 0) return -1;
    w.enable_param = copy_text(words.token);
    words.next();
  }
  if (words.is("default_off") || words.is("default_on")) {
    w.default_state = words.is("default_on") ? 1 : 0;
    words.next();
  }
  if (words.result != 0) return -1;
  if (!parse_number(words.token, number)) {
    unread_token(words.token);
    return 0;
  }
  w.order = widget_number(d, type, "number", number);
  return 0;
}

}  // namespace tessaron
