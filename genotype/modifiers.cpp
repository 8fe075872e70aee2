// The modifier list of a definition, and the channel counts that input names ask for.
#include <cstring>
#include <iterator>
#include <utility>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/reading.h"

namespace tessaron {

namespace {

struct modifier {
  const char* word;
  int (*apply)(genotype& g, const char* word);  // 0, or negative: the list ends
};

enum { NO_NUMBER = -1, BAD_NUMBER = -2 };

/// Reads the number behind a modifier. `complaint` is the word that a bad one is reported under.
int read_number(const genotype& g, const char* complaint, int& number) {
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) return NO_NUMBER;
  if (parse_integer(token, number)) return 0;
  report(REPORT_ERROR, "For %s non-number following %s: '%s'.", g.name, complaint, token);
  return BAD_NUMBER;
}

/// A number that names an input by its bit; only the low five bits of the number count.
template <std::uint8_t genotype::*FIELD>
int set_input_bit(genotype& g, const char* word) {
  int number;
  const int result = read_number(g, word, number);
  if (result == 0) g.*FIELD |= std::uint8_t(1u << (number & 31));
  return result;
}

int rgba_ok_for_input(genotype& g, const char* word) {
  const int result = set_input_bit<&genotype::rgba_ok_inputs>(g, word);
  if (result == BAD_NUMBER) report(REPORT_ERROR, "Use 0 for first input.");
  return result;
}

int copy_alpha_z(genotype& g, const char* word) {
  int number;
  if (read_number(g, word, number) != 0) return -1;
  g.alpha_z_input = std::int8_t(number);
  return 0;
}

int background_input(genotype& g, const char* word) {
  if (copy_alpha_z(g, word) != 0) return -1;
  g.mask_input = g.alpha_z_input;
  return 0;
}

int mask_input(genotype& g, const char*) {
  int number;
  if (read_number(g, "background_input", number) != 0) return -1;
  g.mask_input = std::int8_t(number);
  return 0;
}

int effect_popup_name(genotype& g, const char*) {
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) {
    report(REPORT_ERROR, "EOF while reading effect_popup_name");
    return -1;
  }
  free_text(std::exchange(g.effect_popup_name, copy_text(token)));
  return 0;
}

int z_mode(genotype& g, const char*) {
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) return -1;
  if (same_text(token, "process"))
    g.z_mode = Z_PROCESS;
  else if (same_text(token, "min"))
    g.z_mode = Z_MIN;
  else
    report(REPORT_ERROR, "\n*** Warning: %s unknown z mode: %s \n", g.name, token);
  return 0;
}

template <std::int8_t MODE>
int set_rgba_mode(genotype& g, const char*) {
  g.rgba_mode = MODE;
  return 0;
}

template <int BYTE, std::uint8_t BITS>
int set_flag(genotype& g, const char*) {
  g.flags[BYTE] |= BITS;
  return 0;
}

int combines_2_constant_inputs(genotype& g, const char*) {
  g.flags[1] |= GENO1_COMBINES_2;
  g.flags[2] |= GENO2_COMBINES_2_CONSTANT;
  return 0;
}

constexpr modifier MODIFIERS[] = {
    {"rgba_ok", set_rgba_mode<RGBA_OK>},
    {"set_alpha_to_one", set_rgba_mode<RGBA_OPAQUE>},
    {"rgba_ok_for_input", rgba_ok_for_input},
    {"default_input_none", set_input_bit<&genotype::default_none_inputs>},
    {"default_input_self", set_input_bit<&genotype::default_self_inputs>},
    {"effect_popup_name", effect_popup_name},
    {"copy_alpha_z", copy_alpha_z},
    {"background_input", background_input},
    {"z", z_mode},
    {"mask_input", mask_input},
    {"share_all", set_flag<0, GENO0_SHARE_ALL>},
    {"wont_make_colors_illegal", set_flag<0, GENO0_COLORS_LEGAL>},
    {"renders_everywhere", set_flag<0, GENO0_RENDERS_EVERYWHERE>},
    {"luma_alpha_ok", set_flag<0, GENO0_LUMA_ALPHA_OK>},
    {"effect_select_with_radio", set_flag<1, GENO1_SELECT_RADIO>},
    {"effect_select_with_yes_no", set_flag<1, GENO1_SELECT_YES_NO>},
    {"mask_color", set_flag<1, GENO1_MASK_COLOR>},
    {"generates_color", set_flag<1, GENO1_GENERATES_COLOR>},
    {"generates_alpha", set_flag<1, GENO1_GENERATES_ALPHA>},
    {"source_alpha_affects_rgb", set_flag<1, GENO1_ALPHA_AFFECTS_RGB>},
    {"needs_bg_pixel", set_flag<1, GENO1_NEEDS_BG_PIXEL>},
    {"combines_2_inputs", set_flag<1, GENO1_COMBINES_2>},
    {"combines_2_constant_inputs", combines_2_constant_inputs},
};

const modifier* find_modifier(const char* word) {
  for (const modifier& m : MODIFIERS)
    if (same_text(m.word, word)) return &m;
  return nullptr;
}

}  // namespace

int read_genotype_modifiers(genotype& g) {
  g.rgba_mode = RGBA_BY_INPUT;
  g.z_mode = Z_DEFAULT;
  char token[TOKEN_SIZE];
  if (get_token(token) != 0) return -1;
  if (!same_text(token, "(")) {
    unread_token(token);
    return 0;
  }
  for (;;) {
    if (get_token(token) != 0) return -1;
    if (same_text(token, ")")) break;
    const modifier* m = find_modifier(token);
    if (!m)
      report(REPORT_ERROR, "\n*** Warning: %s unknown genotype modifier: %s \n", g.name, token);
    else if (m->apply(g, token) != 0)
      return -1;
  }
  if ((g.flags[0] & GENO0_LUMA_ALPHA_OK) && g.rgba_mode != RGBA_OK)
    report(REPORT_ERROR, "\n*** Warning: %s has luma_alpha but not rgba_ok. \n", g.name);
  return 0;
}

int default_input_channels(const genotype& g, const char* input_name, const char* effect_name) {
  const auto is = [input_name](std::initializer_list<const char*> names) {
    for (const char* name : names)
      if (same_text(input_name, name)) return true;
    return false;
  };
  const auto begins = [input_name](const char* start) { return begins_with(input_name, start); };
  constexpr int ANY = 0;  // the host's image decides

  if (begins("Source") || begins("Back")) return 4;
  if (is({"Front", "Foreground", "From", "To"})) return 4;
  if (is({"EdgeGen", "ZBuffer"})) return 1;
  if (is({"Matte", "Mask"})) return (g.flags[1] & GENO1_MASK_COLOR) ? 3 : ANY;
  if (is({"Track", "Lens", "Bumps", "Centers", "Match"}) || begins("Depth")) return ANY;
  if (begins("FromObj") || begins("ToObj")) return begins_with(g.input_names[1], "Back") ? ANY : 4;
  if (is({"Ufo_Mask"})) return begins_with(effect_name, "Blur") ? ANY : 3;
  return 4;
}

}  // namespace tessaron
