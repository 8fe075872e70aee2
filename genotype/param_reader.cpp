// The declaration list behind an assignment: how a parameter is shown, its limits, its place.
//
//   param_info  ( declaration* )     declaration  KEYWORD argument*
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/reading.h"

namespace tessaron {

namespace {

constexpr float PIXEL_STEP = 0.1f;  // step of angles, percentages and positions in pixels
constexpr float DEFAULT_STEP = 0.001f;
constexpr float POPUP_STEP = 0.01f;
constexpr float TURN = 360.0f;  // degrees
constexpr int UNSET_ENABLE = -1;
constexpr std::uint8_t DEFAULT_STATE_UNSET = 3;

/// The list being read.
struct declaration {
  genotype& g;
  node& n;
  param& p;
  bool in_popup = false;         // all words but `)` and `widget` are entries
  bool new_column_next = false;  // the next word that gets as far as `new_column` counts as it
};

/// What a keyword does: 0, or non-zero to end the list. `word` is the keyword as written.
using keyword_action = int (*)(declaration& d, const char* word);

// -------------------------------------------------------------------------------------------------
// Arguments

/// A number; a bad one is reported as "For NAME FAULT: 'TOKEN'.".
int read_number(declaration& d, const char* fault, float& value, int severity = REPORT_ERROR) {
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) return -1;
  if (parse_number(token, value)) return 0;
  return reject(severity, "For %s %s: '%s'.", d.p.name, fault, token);
}

/// One token, or a quoted string.
int read_title(char* dst) {
  if (get_token(dst) != 0) return -1;
  if (!same_text(dst, "\"")) return 0;
  const int result = read_string_1(dst, MAX_STRING_LEN);
  if (result != 0) reading.failure_reported = true;
  return result;
}

std::string with_blanks(std::string text) {
  std::replace(text.begin(), text.end(), '_', ' ');
  return text;
}

// -------------------------------------------------------------------------------------------------
// Limits

template <float param::*FIELD>
int set_number(declaration& d, const char* word) {
  return read_number(d, (std::string("non-number ") + word).c_str(), d.p.*FIELD);
}

template <float param::*LOW, float param::*HIGH>
int set_range(declaration& d, const char* word) {
  const std::string fault = std::string("non-number ") + word;
  if (const int result = read_number(d, (fault + " min").c_str(), d.p.*LOW)) return result;
  return read_number(d, (fault + " max").c_str(), d.p.*HIGH);
}

int set_min(declaration& d, const char*) {
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) return -1;
  if (same_text(token, "*")) {
    d.p.min_bound = UNSET_MIN;
    return 0;
  }
  if (parse_number(token, d.p.min_bound)) return 0;
  return reject(REPORT_ERROR, "For %s bad min bound: '%s'.", d.p.name, token);
}

int set_max(declaration& d, const char*) { return read_number(d, "non-number max bound", d.p.max_bound); }

int set_slider_max(declaration& d, const char* word) {
  param& p = d.p;
  if (const int result = set_number<&param::slider_max>(d, word)) return result;
  if (p.fcp_max == UNSET_MAX && (p.units() == UNITS_NONE || p.slider_max < 181.0f)) p.fcp_max = 2.0f * p.slider_max;
  return 0;
}

int set_slider_range(declaration& d, const char* word) {
  param& p = d.p;
  if (const int result = set_range<&param::slider_min, &param::slider_max>(d, word)) return result;
  p.min_bound = std::min(p.min_bound, p.slider_min);
  p.max_bound = std::max(p.max_bound, p.slider_max);
  return 0;
}

int set_step(declaration& d, const char*) { return read_number(d, "bad step value", d.p.scale); }

// -------------------------------------------------------------------------------------------------
// Kinds and units

int set_angle(declaration& d, const char* word) {
  param& p = d.p;
  const bool no_dial = same_text(word, "angle_no_dial");
  if (!no_dial && !same_text(word, "angle")) report(REPORT_ERROR, "bad angle keyword: %s\n", word);
  p.flags[4] |= PARAM4_ANGLE | PARAM4_DIAL;
  if (no_dial) p.flags[4] &= std::uint8_t(~PARAM4_DIAL);
  p.angle_offset = angle_dial_offset;
  p.min_bound = UNSET_MIN;
  p.max_bound = UNSET_MAX;
  p.slider_min = -TURN / 2;
  p.slider_max = TURN / 2;
  p.fcp_min = -TURN;
  p.fcp_max = TURN;
  p.scale = PIXEL_STEP;
  return 0;
}

int begin_popup(declaration& d, const char*) {
  d.p.ptype = PTYPE_POPUP;
  d.in_popup = true;
  return 0;
}

int refuse_default_1(declaration&, const char*) {
  report(REPORT_ERROR, "This platform does not support default_1_* keywords.");
  return 0;
}

template <int TYPE>
int set_ptype(declaration& d, const char*) {
  d.p.ptype = TYPE;
  return 0;
}

template <int UNITS>
int set_units(declaration& d, const char*) {
  set_screen_mode(d.p, UNITS);
  return 0;
}

int set_normalize_scale(declaration& d, const char*) {
  set_screen_mode(d.p, UNITS_NORMALIZE_SCALE);
  return read_number(d, "bad normalize_scale value", d.p.normalize_scale, REPORT_WARNING);
}

template <std::uint8_t LIST>
int set_named_list(declaration& d, const char* word) {
  constexpr bool FILM = LIST == PARAM1_NEG_FILM || LIST == PARAM1_PRINT_FILM;
  if (d.p.nchannels != 1) {
    report(REPORT_ERROR, "'%s' should only be used with scalars.", FILM ? "film_type_names" : word);
    return 0;
  }
  d.p.ptype = PTYPE_POPUP;
  d.p.flags[1] |= LIST | PARAM1_NAMED_LIST;
  return 0;
}

int set_color(declaration& d, const char*) {
  if (d.p.nchannels != 3) report(REPORT_ERROR, "For %s 'color' should only be used with 3-vectors.", d.p.name);
  d.p.ptype = PTYPE_COLOR;
  d.p.n_shown = 1;
  return 0;
}

int skip_button_word(declaration&, const char*) {
  char token[TOKEN_SIZE];
  return get_token(token);
}

template <int BYTE, std::uint8_t BITS>
int set_flag(declaration& d, const char*) {
  d.p.flags[BYTE] |= BITS;
  return 0;
}

int clear_shared(declaration& d, const char*) {
  d.p.flags[0] &= std::uint8_t(~PARAM0_SHARED);
  return 0;
}

int accept(declaration&, const char*) { return 0; }

template <int MODE>
int set_autotrans(declaration& d, const char*) {
  param& p = d.p;
  p.flags[2] = std::uint8_t((p.flags[2] & ~PARAM2_AUTOTRANS) | (MODE << 4));
  p.min_bound = -0.5f;
  p.max_bound = 1.5f;
  p.scale = DEFAULT_STEP;
  if (MODE == 1) {
    p.slider_min = 0.0f;
    p.slider_max = 100.0f;
  }
  return 0;
}

int set_hold_level(declaration& d, const char*) {
  d.p.ptype = PTYPE_BUTTON;
  d.p.flags[0] |= PARAM0_SET_HOLD_LEVEL;
  d.p.flags[2] |= PARAM2_SET_HOLD_LEVEL | PARAM2_IGNORE;
  return 0;
}

int set_new_column(declaration& d, const char*) {
  d.p.flags[3] |= PARAM3_NEW_COLUMN;
  d.new_column_next = false;
  return 0;
}

int set_new_column_next(declaration& d, const char*) {
  d.new_column_next = true;
  return 0;
}

int set_percent(declaration& d, const char*) {
  param& p = d.p;
  p.flags[3] |= PARAM3_PERCENT;
  p.min_bound = p.slider_min = 0.0f;
  p.max_bound = p.slider_max = 100.0f;
  p.scale = PIXEL_STEP;
  return 0;
}

int set_id(declaration& d, const char* word) {
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) return -1;
  if (same_text(word, "id_insert")) d.p.group_mode |= 1;
  int number;
  if (!parse_integer(token, number)) return reject(REPORT_ERROR, "For %s bad id value: '%s'.", d.p.name, token);
  if (token[0] == '+') d.p.group_mode |= 2;
  d.p.host_id = std::int16_t(number);
  return 0;
}

// -------------------------------------------------------------------------------------------------
// Pages and groups

/// Adds the page `skip` places behind the next free one.
int add_page(declaration& d, const char* title, int skip) {
  genotype& g = d.g;
  const int index = g.n_pages + skip + 1;
  if (g.n_pages == 0 && g.params[0] != &d.p)
    report(REPORT_WARNING, "in %s, page at %s but none at 1st param %s.", g.name, d.p.name, g.params[0]->name);
  if (index > MAX_PAGES)
    return reject(REPORT_ERROR, "too many pages (%d is max) in %s: fix in genotype.h", MAX_PAGES, g.name);
  free_text(std::exchange(g.page_names[index], copy_text(title)));
  g.n_pages = index;
  return 0;
}

/// `page TITLE`, `page_open TITLE`, `column`, `column_top`, `column_n NUMBER`.
int begin_page(declaration& d, const char* word) {
  char token[TOKEN_SIZE];
  int skip = 0;
  if (std::strstr(word, "_n")) {
    int number;
    if (get_token(token) != 0) return -1;
    if (!parse_integer(token, number)) return reject(REPORT_WARNING, "For %s bad column_n '%s'", d.p.name, token);
    skip = std::clamp(number, -MAX_PAGES, 2 * MAX_PAGES) - d.g.n_pages;  // farther off is as wrong
    if (skip < -1) std::printf("Warning: %s column_n of %s goes backwards\n", d.g.name, d.p.name);
  }
  d.p.flags[3] &= std::uint8_t(~PARAM3_PAGE_OPEN);
  if (same_text(word, "page_open")) d.p.flags[3] |= PARAM3_PAGE_OPEN;
  if (begins_with(word, "page")) {
    if (const int result = read_title(token)) return result;
  } else {
    std::strcpy(token, std::strstr(word, "_top") ? " " : "");
  }
  return skip <= -1 ? 0 : add_page(d, token, skip);
}

int begin_group(declaration& d, const char* word) {
  genotype& g = d.g;
  const bool full = g.n_groups >= MAX_PARAM_GROUP_NUMBER;
  if (full) report(REPORT_WARNING, "Too many groups in %s, up MAX_PARAM_GROUP_NUMBER", g.name);
  if (reading.current_group) report(REPORT_WARNING, "Nested groups in %s", g.name);
  char name[TOKEN_SIZE];
  if (const int result = read_title(name)) return result;
  if (full) return 0;  // reported, not stored
  param_group& group = g.groups[g.n_groups];
  group.name = copy_text(name);
  group.index = g.n_groups++;
  group.parent = reading.current_group;
  reading.current_group = &group;
  d.p.group = std::int8_t(group.index);
  d.p.flags[3] |= PARAM3_GROUP_START;
  if (same_text(word, "group_start_open")) d.p.flags[3] |= PARAM3_GROUP_OPEN;
  return 0;
}

int end_group(declaration& d, const char*) {
  char name[TOKEN_SIZE];
  if (const int result = read_title(name)) return result;
  const param_group* current = reading.current_group;
  if (!current) {
    report(REPORT_ERROR, "%s %s group_end without group_start", d.g.name, d.p.name);
    return 0;  // nothing to end
  }
  if (!same_text(name, current->name))
    report(REPORT_WARNING, "%s %s group_end %s, expected %s", d.g.name, d.p.name, name, current->name);
  reading.current_group = current->parent;
  d.p.flags[3] |= PARAM3_GROUP_END;
  return 0;
}

// -------------------------------------------------------------------------------------------------
// Widgets

constexpr int LARGEST_WIDGET_NUMBER = 127;

/// Puts a widget entry with nothing set but its names at the head of the param's list.
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

/// Steps to the next token when the one at hand has been used up.
struct optional_words {
  char token[TOKEN_SIZE];
  int result;
  optional_words() { next(); }
  void next() { result = get_token(token); }
  bool is(const char* word) const { return result == 0 && same_text(token, word); }
};

/// widget TYPE[.PARAM] [name NAME] [wenable here|NUMBER | use_wenable PARAM] [default_off|default_on] [ORDER]
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
      w.enable_number = std::int8_t(std::clamp(number, -128.0f, 127.0f));
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
  if (number < 0 || number > LARGEST_WIDGET_NUMBER)
    report(REPORT_WARNING, "%s.%s: widget %s has number %g; numbers are 0 to %d.\n", d.g.name, d.p.name, type,
           double(number), LARGEST_WIDGET_NUMBER);
  w.order = std::int8_t(std::clamp(number, -1.0f, float(LARGEST_WIDGET_NUMBER)));
  return 0;
}

// -------------------------------------------------------------------------------------------------

struct keyword {
  const char* word;
  bool as_start;  // any word that begins so
  keyword_action action;
};

/// In the order in which they are tried.
constexpr keyword KEYWORDS[] = {
    {"widget", false, read_widget},
    {"angle", true, set_angle},
    {"min", false, set_min},
    {"max", false, set_max},
    {"slider_min", false, set_number<&param::slider_min>},
    {"slider_max", false, set_slider_max},
    {"slider_range", false, set_slider_range},
    {"big_slider_min", false, set_number<&param::fcp_min>},
    {"big_slider_max", false, set_number<&param::fcp_max>},
    {"big_slider_range", false, set_range<&param::fcp_min, &param::fcp_max>},
    {"step", false, set_step},
    {"popup", false, begin_popup},
    {"boolean", false, set_ptype<PTYPE_TOGGLE>},
    {"default_1_", true, refuse_default_1},
    {"pointer_set", false, set_flag<1, PARAM1_POINTER_SET>},
    {"screen", false, set_units<UNITS_SCREEN>},
    {"screen_center", false, set_units<UNITS_SCREEN_CENTER>},
    {"screen_center0", false, set_units<UNITS_SCREEN_CENTER0>},
    {"normalize", false, set_units<UNITS_NORMALIZE>},
    {"screen_to_norm", false, set_units<UNITS_SCREEN_TO_NORM>},
    {"screen_center_to_norm", false, set_units<UNITS_SCREEN_CENTER_TO_NORM>},
    {"normalize_scale", false, set_normalize_scale},
    {"lens_flare_names", false, set_named_list<PARAM1_LENS_FLARES>},
    {"glare_names", false, set_named_list<PARAM1_GLARES>},
    {"print_film_names", false, set_named_list<PARAM1_PRINT_FILM>},
    {"neg_film_names", false, set_named_list<PARAM1_NEG_FILM>},
    {"int", false, set_ptype<PTYPE_INT>},
    {"button", false, skip_button_word},
    {"shared", false, set_flag<0, PARAM0_SHARED>},
    {"not_shared", false, clear_shared},
    {"color", false, set_color},
    {"page", false, begin_page},
    {"page_open", false, begin_page},
    {"column", true, begin_page},
    {"group_start", true, begin_group},
    {"group_end", false, end_group},
    {"autotrans", false, set_autotrans<1>},
    {"autotrans_hermite", false, set_autotrans<2>},
    {"set_hold_level", false, set_hold_level},
    {"hold_level", false, set_flag<2, PARAM2_HOLD_LEVEL>},
    {"new_column", false, set_new_column},
    {"new_column_next", false, set_new_column_next},
    {"ignore", false, set_flag<2, PARAM2_IGNORE>},
    {"hr", false, set_flag<3, PARAM3_HR>},
    {"percent", false, set_percent},
    {"only_if_rgba", false, accept},
    {"only_if_full_frames", false, accept},
    {"id", true, set_id},
};

/// Stores one popup entry: a text for each element.
int add_popup_entry(declaration& d, char* token) {
  param& p = d.p;
  if (same_text(token, "\"") && read_string_1(token, MAX_STRING_LEN) != 0) {
    reading.failure_reported = true;
    return -1;
  }
  const int entry = p.n_popup_entries, count = p.nchannels;
  if (count + count * entry >= MAX_POPUP_TEXTS) {
    report(REPORT_ERROR, "%s %s state_name overflow: %s.", d.g.name, p.name, token);
    return 0;
  }
  for (int e = 0; e < count; ++e) {
    char element[16];
    set_elnum_name(element, e, count);
    p.popup_entry[entry * count + e] = copy_text((with_blanks(token) + element).c_str());
  }
  p.max_bound = float(entry);
  p.scale = POPUP_STEP;
  ++p.n_popup_entries;
  return 0;
}

/// One word of the list.
int read_declaration(declaration& d, char* word) {
  if (d.in_popup && !same_text(word, "widget")) return add_popup_entry(d, word);
  for (const keyword& k : KEYWORDS) {
    const bool swallowed = d.new_column_next && k.action == set_new_column;
    if (swallowed || (k.as_start ? begins_with(word, k.word) : same_text(word, k.word))) return k.action(d, word);
  }
  return reject(REPORT_ERROR, "For %s %s got '%s', expected min, max, step, popup, color...", d.g.name, d.n.name, word);
}

/// Turns popup entries from entry by entry into element by element, a null behind each element's.
int order_popup_entries(param& p) {
  const int entries = p.n_popup_entries, count = p.nchannels;
  const int needed = count * (entries + 1);
  if (needed > MAX_POPUP_TEXTS)
    return reject(REPORT_FATAL, "%s: Too many state names (%d, should be <%d)", p.name, needed, MAX_POPUP_TEXTS);
  char* ordered[MAX_POPUP_TEXTS] = {};
  for (int e = 0; e < count; ++e)
    for (int c = 0; c < entries; ++c) ordered[e * (entries + 1) + c] = p.popup_entry[c * count + e];
  std::copy(std::begin(ordered), std::end(ordered), p.popup_entry);
  return 0;
}

int finish_param(genotype& g, param& p) {
  p.slider_min = std::max(p.slider_min, p.min_bound);
  p.slider_max = std::min(p.slider_max, p.max_bound);
  g.n_pages = std::max(g.n_pages, 1);
  p.page = std::int8_t(g.n_pages - 1);
  if (p.ptype == PTYPE_POPUP)
    if (const int result = order_popup_entries(p)) return result;
  if (p.units() == UNITS_NORMALIZE_SCALE && p.nchannels > 1 && p.min_bound >= 0.0f)
    report(REPORT_WARNING, "%s.%s is normalize_scale but has min %g >=0", g.name, p.name, double(p.min_bound));
  return 0;
}

}  // namespace

int maybe_read_param_info_for_node_i(genotype& g, int node_index) {
  node& n = g.nodes[node_index];
  if (n.kind != KIND_CONSTANT || n.param_index == 0) return 0;
  if (!n.name) report(REPORT_ERROR, "maybe_read_param_info_for_node_i: no name!");
  param& p = *g.params[n.param_index - 1];
  if (g.flags[0] & GENO0_SHARE_ALL) p.flags[0] |= PARAM0_SHARED;
  p.group = reading.current_group ? std::int8_t(reading.current_group->index) : std::int8_t(-1);

  declaration d{g, n, p};
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) return finish_param(g, p);
  if (!same_text(token, "(")) {
    unread_token(token);
    return finish_param(g, p);
  }
  for (;;) {
    if (get_token(token) != 0) return -1;
    if (same_text(token, ")")) break;
    if (const int result = read_declaration(d, token)) return result;
  }
  if ((p.flags[1] & PARAM1_POINTER_SET) && !p.widgets) add_widget(p, "cross_circle", "center");
  return finish_param(g, p);
}

void set_screen_mode(param& p, int mode) {
  if (p.nchannels != 2 && mode != UNITS_NORMALIZE_SCALE && mode != UNITS_NONE)
    report(REPORT_ERROR, "For %s: screen modes should only be used with 2-vectors.", p.name);
  p.flags[2] = std::uint8_t((p.flags[2] & ~PARAM2_UNITS) | (mode & PARAM2_UNITS));
  if (mode != UNITS_NORMALIZE_SCALE) {
    // Positions may be negative unless bounds are given behind the keyword.
    if (p.min_bound == 0.0f) p.min_bound = UNSET_MIN;
    if (p.slider_min == 0.0f) p.slider_min = UNSET_MIN;
  }
  const bool in_pixels = mode == UNITS_SCREEN || mode == UNITS_SCREEN_CENTER || mode == UNITS_NORMALIZE_SCALE ||
                         mode == UNITS_SCREEN_TO_NORM || mode == UNITS_SCREEN_CENTER_TO_NORM;
  if (p.scale == DEFAULT_STEP && in_pixels) p.scale = PIXEL_STEP;
}

void set_elnum_name(char* dst, int e, int elnum) {
  static constexpr const char* NAMES[3][3] = {{""}, {" X", " Y"}, {" Red", " Green", " Blue"}};
  *dst = '\0';
  if (elnum < 1 || elnum > 3 || e < 0 || e >= elnum) {
    report(REPORT_WARNING, "set_elnum_name: bad vars e %d  elnum %d \n", e, elnum);
    return;
  }
  std::strcpy(dst, NAMES[elnum - 1][e]);
}

}  // namespace tessaron
