#include "console/describe.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include "console/names.h"

namespace tessaron::console {
namespace {

std::string number_text(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size()), ' ');
  return text;
}

/// Each line of `text` behind `indent`.
std::string indented(const std::string& text, const std::string& indent) {
  std::string out = indent;
  for (std::size_t i = 0; i < text.size(); ++i) {
    out += text[i];
    if (text[i] == '\n' && i + 1 < text.size()) out += indent;
  }
  return out + "\n";
}

// ---- parameters ----------------------------------------------------------------------------------

const char* type_word(const param& p) {
  switch (p.ptype) {
    case PTYPE_INT:
      return "integer";
    case PTYPE_COLOR:
      return "color";
    case PTYPE_POPUP:
      return "popup";
    case PTYPE_TOGGLE:
      return "toggle";
    case PTYPE_BUTTON:
      return "button";
    default:
      return p.flags[4] & PARAM4_ANGLE ? "angle" : "float";
  }
}

const char* units_word(const param& p) {
  static constexpr const char* WORDS[] = {"",          "screen",          "screen_center",  "screen_center0",
                                          "normalize", "normalize_scale", "screen_to_norm", "screen_center_to_norm"};
  return WORDS[p.units()];
}

std::string values_text(const float* values, int count) {
  std::vector<std::string> numbers;
  for (int c = 0; c < count; ++c) numbers.push_back(number_text(values[c]));
  return joined(numbers, ",");
}

/// The default as -p takes it.
std::string default_text(const param& p) {
  // The definition's number counts the names of a data file from 1, -p from 0.
  if (p.flags[1] & PARAM1_NAMED_LIST) return number_text(p.default_value[0] - 1);
  return values_text(p.default_value, p.nchannels);
}

std::string range_text(const param& p) {
  if (p.flags[1] & PARAM1_NAMED_LIST) return joined(inspect_list_names(p), " | ");
  if (p.ptype == PTYPE_POPUP) {
    std::vector<std::string> entries;
    for (int i = 0; i < std::min<int>(p.n_popup_entries, MAX_POPUP_TEXTS); ++i)
      if (p.popup_entry[i]) entries.push_back(p.popup_entry[i]);
    return joined(entries, " | ");
  }
  if (p.ptype == PTYPE_TOGGLE || p.ptype == PTYPE_BUTTON) return "0 or 1";
  if (p.ptype == PTYPE_COLOR) return "0 to 1 each";
  const auto side = [](float v, float unset) { return v == unset ? std::string("any") : number_text(v); };
  std::string text = side(p.min_bound, UNSET_MIN) + " to " + side(p.max_bound, UNSET_MAX);
  if (p.slider_min != p.min_bound || p.slider_max != p.max_bound)
    text += ", slider " + side(p.slider_min, UNSET_MIN) + " to " + side(p.slider_max, UNSET_MAX);
  return text;
}

std::string param_line(const param& p, std::size_t name_width) {
  std::string type = type_word(p);
  if (p.nchannels > 1 && p.ptype != PTYPE_COLOR) type.append("[").append(std::to_string(p.nchannels)).append("]");
  std::string line =
      padded(p.name, name_width) + "  " + padded(type, 9) + "  " + padded(default_text(p), 14) + "  " + range_text(p);
  if (*units_word(p)) line += std::string("  ") + units_word(p);
  if (p.flags[3] & PARAM3_PERCENT) line += "  percent";
  while (line.back() == ' ') line.pop_back();
  return line + "\n";
}

std::string params_text(const genotype& g, const std::string& indent) {
  std::size_t width = 0;
  for (int i = 0; i < g.n_params; ++i) width = std::max(width, std::string(g.params[i]->name).size());
  std::string out;
  for (int i = 0; i < g.n_params; ++i) out += indent + param_line(*g.params[i], width);
  return out;
}

std::string inputs_text(const genotype& g) {
  return g.n_inputs == 0 ? "none (generates an image)" : joined(input_names(g));
}

// ---- tree ----------------------------------------------------------------------------------------

std::string constant_text(const node& n) {
  std::vector<std::string> numbers;
  for (int c = 0; c < std::max<int>(n.elnum, 1); ++c) numbers.push_back(number_text(n.const_vals[c] / 4096.0));
  return n.elnum > 1 ? std::string("[").append(joined(numbers, " ")).append("]") : numbers[0];
}

std::string node_label(const genotype& g, const node& n) {
  const bool unnamed = !n.name || n.name[0] == '_';
  std::string text;
  switch (n.kind) {
    case KIND_CONSTANT:
      text = (n.name ? std::string(n.name) + " = " : "") + constant_text(n);
      break;
    case KIND_BUILT_IN:
      text = n.name ? n.name : "built-in";
      if (n.var_index >= VAR_SOURCE0 && n.var_index - VAR_SOURCE0 < std::min(int(g.n_inputs), MAX_INPUTS))
        text = g.input_names[n.var_index - VAR_SOURCE0];
      break;
    case KIND_FUNCTION:
      text = (unnamed ? "" : std::string(n.name) + " = ") + (n.fun ? n.fun->name : "?");
      break;
    case KIND_OUTPUT:
      text = "Output";
      break;
    default:
      text = "(empty)";
      break;
  }
  return text + " :" + std::to_string(n.elnum);
}

std::string node_marks(const node& n) {
  std::string marks;
  if (n.kind == KIND_FUNCTION && n.node_flags & NODE_CONSTANT) marks += "  constant";
  if (n.image_count > 0)
    marks += "  planes " + std::to_string(n.image_base) + "+" + std::to_string(n.image_count) +
             (n.shared_image ? " shared" : "");
  if (n.branch_arg >= 0 && n.kind == KIND_FUNCTION && !(n.node_flags & NODE_CONSTANT))
    marks += "  branch " + std::to_string(n.branch_bit);
  return marks;
}

/// The tree below a node; a node with a name that was shown before stands by its name alone.
void append_tree(const genotype& g, int index, int depth, std::set<int>& shown, std::string& out) {
  const node& n = g.nodes[index];
  const bool again = n.kind == KIND_FUNCTION && !shown.insert(index).second;
  out += std::string(std::size_t(2 * std::min(depth, 60)) + 2, ' ') + std::to_string(index) + " " + node_label(g, n);
  if (again) {
    out += "  (above)\n";
    return;
  }
  out += node_marks(n) + "\n";
  if (n.kind == KIND_FUNCTION)
    for (int a = 0; a < n.arg_number; ++a) append_tree(g, n.arg_indices[a], depth + 1, shown, out);
}

std::string modifiers_text(const genotype& g) {
  std::vector<std::string> words;
  words.push_back(g.rgba_mode == 1   ? "alpha: inputs with alpha, result writes it"
                  : g.rgba_mode == 3 ? "alpha: opaque output"
                                     : "alpha: copied from input " + std::to_string(g.alpha_z_input));
  static constexpr struct {
    int byte, bits;
    const char* word;
  } FLAG_WORDS[] = {
      {0, GENO0_MAY_GROW, "works on whole images"},
      {0, GENO0_READS_CLIPS, "reads other frames"},
      {0, GENO0_PREV_OUTPUT, "uses the previous output"},
      {0, GENO0_FRAME_DEPENDENT, "varies with the frame"},
      {0, GENO0_SHARE_ALL, "share_all"},
      {0, GENO0_COLORS_LEGAL, "wont_make_colors_illegal"},
      {0, GENO0_RENDERS_EVERYWHERE, "renders_everywhere"},
      {0, GENO0_LUMA_ALPHA_OK, "luma_alpha_ok"},
      {1, GENO1_SELECT_RADIO, "effect_select_with_radio"},
      {1, GENO1_SELECT_YES_NO, "effect_select_with_yes_no"},
      {1, GENO1_MASK_COLOR, "mask_color"},
      {1, GENO1_GENERATES_COLOR, "generates_color"},
      {1, GENO1_GENERATES_ALPHA, "generates_alpha"},
      {1, GENO1_ALPHA_AFFECTS_RGB, "source_alpha_affects_rgb"},
      {1, GENO1_NEEDS_BG_PIXEL, "needs_bg_pixel"},
      {1, GENO1_COMBINES_2, "combines_2_inputs"},
      {2, GENO2_COMBINES_2_CONSTANT, "combines_2_constant_inputs"},
      {2, GENO2_IMAGE_BELOW_OPERATOR, "image operators read an input"},
      {2, GENO2_HAS_OPACITY, "has an opacity parameter"},
  };
  for (const auto& flag : FLAG_WORDS)
    if ((g.flags[flag.byte] & flag.bits) == flag.bits) words.push_back(flag.word);
  for (int i = 0; i < std::min(int(g.n_inputs), MAX_INPUTS); ++i) {
    if (g.rgba_ok_inputs >> i & 1) words.push_back("rgba_ok_for_input " + std::to_string(i));
    if (g.default_none_inputs >> i & 1) words.push_back("default_input_none " + std::to_string(i));
    if (g.default_self_inputs >> i & 1) words.push_back("default_input_self " + std::to_string(i));
  }
  return joined(words);
}

// ---- functions -----------------------------------------------------------------------------------

std::vector<std::string> argument_names(const fun_info& f) {
  std::vector<std::string> names;
  for (int i = 0; i < f.arg_number; ++i) names.push_back(f.arg_names[i] ? f.arg_names[i] : "?");
  return names;
}

std::string call_form(const fun_info& f) {
  std::vector<std::string> words = argument_names(f);
  words.insert(words.begin(), f.name);
  return std::string("(").append(joined(words, " ")).append(")");
}

const char* class_word(int fun_class) {
  switch (fun_class) {
    case CLASS_QUERY:
      return "query of time or frame";
    case CLASS_PLAIN:
      return "plain arithmetic, comparison or conversion";
    case CLASS_BITWISE:
      return "bitwise";
    case CLASS_MATH:
      return "mathematics, geometry or colour space";
    case CLASS_FRAME_NOISE:
      return "noise without coordinates";
    case CLASS_BLUR:
      return "blur or glow";
    case CLASS_GRADIENT:
      return "gradient";
    case CLASS_WARP:
      return "warp";
    case CLASS_PAINT:
      return "paint";
    case CLASS_KALEIDO:
      return "kaleidoscope";
    case CLASS_PATTERN:
      return "pattern or flare";
    case CLASS_COORD_NOISE:
      return "noise over coordinates";
    case CLASS_CLIP:
      return "access to other frames";
    default:
      return "other";
  }
}

std::vector<std::string> flag_words(const fun_info& f) {
  static constexpr struct {
    int bit;
    const char* word;
  } WORDS[] = {
      {FUN_NEVER_CONSTANT, "is never folded into a constant"},
      {FUN_FRAME_DEPENDENT, "varies from frame to frame"},
      {FUN_REAL_IMAGE, "works on a real image, pixels around the wanted one included"},
      {FUN_READS_CLIP, "reads other frames of a clip"},
      {FUN_TIME_WARP, "warps time"},
      {FUN_PREV_OUTPUT, "keeps images of its own between frames"},
      {FUN_NO_CACHE, "is not kept between frames"},
  };
  std::vector<std::string> words;
  for (const auto& flag : WORDS)
    if (f.fun_flags & flag.bit) words.push_back(flag.word);
  if (f.fun_flags2 & FUN2_TYPE_ONLY_LAST) words.push_back("the last argument only names a vector type");
  if (f.pass_hook) words.push_back("drops out of the tree where it only hands an argument on");
  return words;
}

}  // namespace

std::string list_text(const found_effect& effect, const genotype* g) {
  const definition_text& definition = effect.definition;
  std::string out =
      definition.name + "  (" + effect.origin + ", " + definition.file + ":" + std::to_string(definition.line) + ")\n";
  if (!definition.comment.empty()) out += indented(definition.comment, "    ");
  if (!g) return out + "    does not bind; see: tessaron check " + definition.file + "\n";
  return out + "    inputs: " + inputs_text(*g) + "\n" + params_text(*g, "    ");
}

std::string info_text(const found_effect& effect, const genotype& g) {
  std::string out = std::string(g.name) + "  (" + effect.origin + ", " + effect.definition.file + ":" +
                    std::to_string(effect.definition.line) + ")\n";
  if (!effect.definition.comment.empty()) out += indented(effect.definition.comment, "  ");
  out += "\nInputs: " + inputs_text(g) + "\nModifiers: " + modifiers_text(g) +
         "\nPlanes: " + std::to_string(g.n_temp_images) + " working, " + std::to_string(g.n_cache_images) + " shared\n";
  if (g.n_params) out += "\nParameters (name, type, default, range):\n" + params_text(g, "  ");
  out += "\nTree (index, name = function :elements):\n";
  std::set<int> shown;
  append_tree(g, 0, 0, shown, out);
  return out;
}

std::string plan_text(const genotype& g, const inspected_plan& plan) {
  const auto line = [&](int index) {
    const node& n = g.nodes[index];
    std::vector<std::string> arguments;
    for (int a = 0; a < n.eval_arg_number; ++a) {
      const node& argument = n.args[a] ? *n.args[a] : g.nodes[n.arg_indices[a]];
      const bool value = argument.kind == KIND_CONSTANT || argument.node_flags & NODE_CONSTANT;
      arguments.push_back(value ? constant_text(argument) : std::to_string(&argument - g.nodes));
    }
    return "  " + std::to_string(index) + " " + node_label(g, n) + "  (" + joined(arguments) + ")" + node_marks(n) +
           "\n";
  };
  std::string out;
  if (!plan.eval_image_nodes.empty()) out += "Images, one after another:\n";
  for (int index : plan.eval_image_nodes) out += line(index);
  out += "Output loop, row by row:\n";
  for (int index : plan.eval_nodes) out += line(index);
  if (plan.eval_nodes.empty()) out += "  nothing: the result is a constant or an input\n";
  return out;
}

std::string functions_text(const fun_registry& registry) {
  std::string out;
  for (int i = 0; i < registry.fun_count; ++i) {
    const fun_info& f = registry.table[i];
    out += padded(call_form(f), 44) + "  " + (f.doc ? f.doc : "") + "\n";
  }
  return out;
}

std::string function_page(const fun_info& f) {
  std::string out = call_form(f) + "\n\n";
  if (f.doc) out += std::string("  ") + f.doc + "\n\n";
  std::vector<std::string> combos;
  for (int i = 0; i < f.arg_type_combo_number; ++i)
    combos.push_back(inspect_combo_text(f.arg_type_combos[i], f.arg_number));
  out += "  Arguments   " + (f.arg_number ? joined(argument_names(f)) : "none") + "\n";
  out += "  Elements    " + joined(combos, "  ") + "\n";
  out += std::string("  Class       ") + class_word(f.fun_class) +
         (f.is_image_fun ? ", works on whole images" : ", per pixel") + "\n";
  out += "  Cost        " + std::to_string(f.fun_cost) + "\n";
  if (f.is_image_fun) {
    out += "  Image       " +
           (f.image_arg_index >= 0 ? std::string("argument ") + f.arg_names[f.image_arg_index] : "none") + "\n";
    out += "  Planes      " + std::to_string(f.images_per_element) + " an element, " + std::to_string(f.extra_images) +
           " more, at least " + std::to_string(f.min_images) + "\n";
  }
  for (const std::string& word : flag_words(f)) out += "  Behaviour   " + word + "\n";
  return out;
}

}  // namespace tessaron::console
