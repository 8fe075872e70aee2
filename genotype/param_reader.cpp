// The declaration list behind an assignment: how a parameter is shown, its limits, its place.
//
//   param_info  ( declaration* )     declaration  KEYWORD argument*
#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <utility>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/param_declaration.h"
#include "genotype/reading.h"

namespace tessaron {

namespace {

constexpr float PIXEL_STEP = 0.1f;  // step of angles, percentages and positions in pixels
constexpr float DEFAULT_STEP = 0.001f;
constexpr float POPUP_STEP = 0.01f;
constexpr float TURN = 360.0f;  // degrees

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
  d.p.host_id = std::int16_t(std::clamp(number, SHRT_MIN, SHRT_MAX));
  if (d.p.host_id != number)
    report(REPORT_WARNING, "%s.%s: id %d is out of range; ids are up to %d.\n", d.g.name, d.p.name, number, SHRT_MAX);
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
