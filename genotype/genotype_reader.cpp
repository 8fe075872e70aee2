// Reads one definition: its input list, its statements and their expressions.
//
//   definition  ( define NAME [input_list] [modifier_list] statement* )
//   input_list  ( NAME* )
//   statement   NAME = expression [param_info]  |  #ref NAME
//   expression  number | [ number+ ] | ( FUNCTION expression* ) | built-in | input name | Output | variable
#include "genotype/genotype_reader.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/report.h"
#include "base/text.h"
#include "genotype/globals.h"
#include "genotype/reading.h"

namespace tessaron {

definition_reading reading;
int node_capacity_hint = NODE_GROWTH;
bool tables_ready = false;

namespace {

constexpr int MAX_VECTOR_ELEMENTS = 4;
constexpr int CLOSING_BRACKET = 1;  // result of an expression that turned out to be `)`

std::string pending_description;  // comment block in front of the definition whose name was just read

struct definition_place {
  std::string name;
  long offset;  // of the name in the source
};
std::vector<definition_place> all_defs_table;  // of the source at hand; empty: not built yet

struct genotype_deleter {
  void operator()(genotype* g) const { free_genotype(g); }
};

/// Names the definition in the reader's own reports while it lives.
struct subject_scope {
  explicit subject_scope(const char* name) : before(reading_subject) { reading_subject = name; }
  ~subject_scope() { reading_subject = before; }
  const char* before;
};

// -------------------------------------------------------------------------------------------------
// Names

struct built_in_name {
  const char* name;
  const char* other;
};
constexpr built_in_name BUILT_INS[] = {
    {"x", "X"},           {"y", "Y"}, {"xy", "XY"}, {"_image", "_clip1"}, {"_image2", "_clip2"}, {"_image3", "_clip3"},
    {"_image4", "_clip4"}};

/// The variable index of a built-in or a declared input name, or -1.
int find_built_in(const genotype& g, const char* name) {
  for (int i = 0; i < int(std::size(BUILT_INS)); ++i)
    if (same_text(BUILT_INS[i].name, name)) return i;
  for (int i = 0; i < int(std::size(BUILT_INS)); ++i)
    if (same_text(BUILT_INS[i].other, name)) return i;
  for (int i = 0; i < MAX_INPUTS; ++i)
    if (g.input_names[i][0] && same_text(g.input_names[i], name)) return VAR_SOURCE0 + i;
  return -1;
}

bool is_number(const char* text) {
  float ignored;
  return parse_number(text, ignored);
}

bool token_is(char c) { return reading.token[0] == c && reading.token[1] == '\0'; }

// -------------------------------------------------------------------------------------------------
// Expressions. Nodes are named by index throughout: any append may move them.

int read_expression(genotype& g, int i);

/// number: a constant, and a parameter if the node has a name.
int read_scalar(genotype& g, int i, float value) {
  node& n = g.nodes[i];
  n.kind = KIND_CONSTANT;
  n.elnum = 1;
  n.const_vals[0] = fix_from_double(double(value));
  if (!n.name) return 0;
  param* p = add_param(g, i);
  if (!p) return -1;
  std::fill(std::begin(p->default_value), std::end(p->default_value), value);
  p->value[0] = value;
  store_param_in_node(*p);
  return 0;
}

/// [ number+ ], behind the opening bracket.
int read_vector(genotype& g, int i) {
  node& n = g.nodes[i];
  n.kind = KIND_CONSTANT;
  param* p = nullptr;
  if (n.name && !(p = add_param(g, i))) return -1;
  int count = 0;
  for (;; ++count) {
    if (get_token(reading.token) != 0) return -1;
    if (token_is(']')) break;
    if (count == MAX_VECTOR_ELEMENTS)
      return reject(REPORT_ERROR, "In %s: a vector has > %d elements.", g.name, MAX_VECTOR_ELEMENTS);
    float value;
    if (!parse_number(reading.token, value))
      return reject(REPORT_ERROR, "In %s: non number '%s' in a vector, (use v2, v3, or v4 function).", g.name,
                    reading.token);
    n.const_vals[count] = fix_from_double(double(value));
    if (p) p->value[count] = value;
  }
  if (count == 0) return reject(REPORT_ERROR, "In %s: a vector has 0 elements.", g.name);
  n.elnum = std::int8_t(count);
  if (p) {
    p->nchannels = p->n_shown = std::uint8_t(count);
    std::copy(std::begin(p->value), std::end(p->value), p->default_value);
  }
  fill_const_vals(n.const_vals, count);
  return 0;
}

/// Adds what a function tells about the whole effect.
void note_function(genotype& g, const fun_info& fun) {
  if (fun.fun_flags & FUN_READS_CLIP) g.flags[0] |= GENO0_READS_CLIPS;
  if (fun.fun_flags & FUN_PREV_OUTPUT) g.flags[0] |= GENO0_PREV_OUTPUT;
  if (fun.fun_flags & FUN_FRAME_DEPENDENT) g.flags[0] |= GENO0_FRAME_DEPENDENT;
}

/// ( FUNCTION expression* ), behind the opening bracket.
int read_application(genotype& g, int i) {
  if (get_token(reading.token) != 0) return -1;
  const fun_info* fun = find_fun(reading.token);
  if (!fun) return reject(REPORT_ERROR, "In %s node %d: unknown function '%s'", g.name, i, reading.token);
  const int base = add_nodes(g, fun->arg_number);
  if (base < 0) return -1;
  {
    node& n = g.nodes[i];
    n.kind = KIND_FUNCTION;
    if (!n.name) n.name = copy_text((std::string("_") + fun->name).c_str());
    n.fun = fun;
    n.arg_number = std::int8_t(fun->arg_number);
    n.eval_arg_number = std::int8_t(fun->arg_number - ((fun->fun_flags2 & FUN2_TYPE_ONLY_LAST) ? 1 : 0));
  }
  note_function(g, *fun);
  for (int k = 0; k < fun->arg_number; ++k) {
    g.nodes[i].arg_indices[k] = std::int16_t(base + k);
    const int result = read_expression(g, base + k);
    if (result > 0)
      return reject(REPORT_ERROR, "In %s: %s has too few args: %d, needs %d.", g.name, fun->name, k, fun->arg_number);
    if (result < 0) return -1;
  }
  if (get_token(reading.token) != 0) return -1;
  if (!token_is(')'))
    return reject(REPORT_ERROR, "In %s: %s has too many args, needs %d.", g.name, fun->name, fun->arg_number);
  return 0;
}

/// A built-in, `Output` or a variable; the token at hand is its name.
int read_reference(genotype& g, int i) {
  const char* name = reading.token;
  node& n = g.nodes[i];
  if (const int var = find_built_in(g, name); var >= 0) {
    n.kind = KIND_BUILT_IN;
    n.var_index = std::int8_t(var);
    n.elnum = std::int8_t(Globals->image_channels[var]);
    if (!n.name) n.name = copy_text(BUILT_INS[var].name);
    return 0;
  }
  if (same_text(name, "Output")) {
    n.kind = KIND_OUTPUT;
    n.elnum = std::int8_t(Globals->n_image_channels);
    if (!n.name) n.name = copy_text("Output");
    return 0;
  }
  int target = find_node(g, name);
  if (target < 0 && !n.name) {
    n.name = copy_text(name);  // a later assignment finds the node by this name and fills it
    return 0;
  }
  if (target < 0) {
    target = add_nodes(g, 1);
    if (target < 0) return -1;
    g.nodes[target].name = copy_text(name);
  }
  g.nodes[i].snap = std::int16_t(target);
  return 0;
}

/// One expression into node i: 0, 1 when a `)` stands in its place, negative after a failure.
int read_expression(genotype& g, int i) {
  if (get_token(reading.token) != 0) return -1;
  if (token_is(')')) return CLOSING_BRACKET;
  if (token_is(']') || token_is('='))
    return reject(REPORT_ERROR, "In %s: expected an expression but got '%s'.", g.name, reading.token);
  if (same_text(reading.token, "dest")) return reject(REPORT_ERROR, "In %s: 'dest' can not be referenced.", g.name);
  if (token_is('(')) {
    if (reading.expression_depth == MAX_EXPRESSION_DEPTH)
      return reject(REPORT_ERROR, "In %s: expressions are nested more than %d deep.", g.name, MAX_EXPRESSION_DEPTH);
    ++reading.expression_depth;
    const int result = read_application(g, i);
    --reading.expression_depth;
    return result;
  }
  if (token_is('[')) return read_vector(g, i);
  if (float value; parse_number(reading.token, value)) return read_scalar(g, i, value);
  return read_reference(g, i);
}

// -------------------------------------------------------------------------------------------------
// Definitions of a source, and references between them

/// Steps to the next `( define NAME` or `( def_effect NAME`; false at the end of the source.
bool next_definition(char* name, std::string& comment) {
  bool after_bracket = false;
  while (get_token(name) == 0) {
    if (after_bracket && (same_text(name, "define") || same_text(name, "def_effect"))) {
      take_token_cut();  // what was passed over is of no concern to the definition
      return get_token(name) == 0;
    }
    after_bracket = same_text(name, "(");
    if (after_bracket) comment = comment_before_token();
  }
  return false;
}

/// Finds where the names of all definitions of the source stand. Moves the position.
void build_all_defs_table() {
  const subject_scope nobody(nullptr);
  char name[TOKEN_SIZE];
  std::string comment;
  set_reading_from_position(0);
  while (next_definition(name, comment)) all_defs_table.push_back({name, last_token_offset()});
  take_token_cut();
}

/// Reads statements until one returns non-zero, and returns that.
int read_statements(genotype& g) {
  for (;; ++reading.statement)
    if (const int result = read_statement(g)) return result;
}

// -------------------------------------------------------------------------------------------------

/// The input list, if there is one.
void read_input_list(genotype& g) {
  char* token = reading.token;
  if (get_token(token) != 0) return;
  if (!token_is('(')) return unread_token(token);
  int count = 0;
  for (;; ++count) {
    if (get_token(token) != 0) return;
    if (token_is(')')) break;
    if (int(std::strlen(token)) > MAX_INPUT_NAME_LEN)
      report(REPORT_ERROR, "%s, input name %s is too long. \n", g.name, token);
    else if (count < MAX_INPUTS)
      std::strcpy(g.input_names[count], token);
    if (count > 0 && same_text(token, "Background")) g.alpha_z_input = std::int8_t(std::min(count, SCHAR_MAX));
  }
  if (count > MAX_INPUTS) report(REPORT_ERROR, "*** %s warning: too many input names.\n", g.name);
  g.n_inputs = std::int8_t(std::min(count, SCHAR_MAX));
}

}  // namespace

int reject(int severity, const char* format, ...) {
  reading.failure_reported = true;
  if (take_token_cut()) return -1;
  va_list arguments;
  va_start(arguments, format);
  char text[4 * TOKEN_SIZE];  // no message holds more than three tokens
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  set_message("%s", text);
  report_message(severity);
  return -1;
}

bool parse_integer(const char* text, int& value) {
  char* end = nullptr;
  const long number = std::strtol(text, &end, 10);
  value = int(std::clamp(number, long(INT_MIN), long(INT_MAX)));
  return end != text;
}

bool begins_with(const char* text, const char* start) { return std::strncmp(text, start, std::strlen(start)) == 0; }
bool same_text(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

int read_statement(genotype& g) {
  char* token = reading.token;
  if (get_token(token) != 0) return reject(REPORT_ERROR, "Eof reading genotype assignment.");
  if (token_is(')')) return CLOSING_BRACKET;
  if (same_text(token, "#ref")) return get_token(token) == 0 ? goto_def(token, g) : -1;
  if (is_special_char(static_cast<unsigned char>(token[0])))
    return reject(REPORT_ERROR, "In %s: expected variable name or ')' but got %s.", g.name, token);

  const std::string name = token;
  if (get_token(token) != 0) return reject(REPORT_ERROR, "In %s: expected '%s =' but got eof.", g.name, name.c_str());
  if (!token_is('='))
    return reject(REPORT_ERROR, "In %s: expected '%s =' but got '%s %s'.", g.name, name.c_str(), name.c_str(), token);
  if (find_built_in(g, name.c_str()) >= 0 || is_number(name.c_str()))
    return reject(REPORT_ERROR, "In %s: '%s' should not be assigned.", g.name, name.c_str());

  int i = find_node(g, name.c_str());
  if (i >= 0 && g.nodes[i].kind != KIND_UNSET)
    return reject(REPORT_ERROR, "In %s: '%s' is assigned more than once (type %d).", g.name, name.c_str(),
                  g.nodes[i].kind);
  if (i < 0) {
    i = add_nodes(g, 1);
    if (i < 0) return -1;
    g.nodes[i].name = copy_text(name.c_str());
  }
  g.nodes[i].assign_index = std::int16_t(reading.statement);
  const int result = read_expression(g, i);
  if (result > 0)
    return reject(REPORT_ERROR, "In %s: expected an expression after '%s =' but got ')'.", g.name, name.c_str());
  if (result < 0) return -1;
  if (take_token_cut()) {
    reading.failure_reported = true;
    return -1;
  }
  return maybe_read_param_info_for_node_i(g, i) == 0 ? 0 : -1;
}

int goto_def(const char* name_text, genotype& g) {
  if (take_token_cut()) {  // before the search for definitions, which passes over such tokens
    reading.failure_reported = true;
    return -1;
  }
  const std::string name = name_text;
  const auto is_open = [&name](const std::string& open) { return open == name; };
  if (name == reading.name || std::any_of(reading.open_references.begin(), reading.open_references.end(), is_open))
    return reject(REPORT_ERROR, "In %s: #ref %s leads back to itself.", g.name, name.c_str());
  if (++reading.references > MAX_REFERENCES || int(reading.open_references.size()) == MAX_REFERENCE_DEPTH)
    return reject(REPORT_ERROR, "In %s: too many #ref, at %s.", g.name, name.c_str());

  const long position = get_reading_from_position();
  if (all_defs_table.empty()) build_all_defs_table();
  const auto place = std::find_if(all_defs_table.begin(), all_defs_table.end(),
                                  [&name](const definition_place& d) { return d.name == name; });
  if (place == all_defs_table.end()) {
    set_reading_from_position(position);
    return reject(REPORT_ERROR, "Did not find reference to %s. \n", name.c_str());
  }
  set_reading_from_position(place->offset + long(name.size()));
  reading.open_references.push_back(name);
  const int result = read_statements(g);
  reading.open_references.pop_back();
  if (result < 0) return -1;  // the position stays, for the report's sake
  set_reading_from_position(position);
  return 0;
}

bool find_next_definition(char* name) { return next_definition(name, pending_description); }

genotype* read_genotype(const char* name) {
  if (!tables_ready) {
    report(REPORT_ERROR, "read_genotype: need to set_tables_and_globals.");
    return nullptr;
  }
  std::unique_ptr<genotype, genotype_deleter> g(new genotype());
  std::strncpy(g->name, name, sizeof g->name - 1);
  std::replace(std::begin(g->name), std::end(g->name), '_', ' ');
  if (!pending_description.empty()) g->description = copy_text(pending_description.c_str());
  pending_description.clear();
  const subject_scope subject(g->name);
  reading = {};
  reading.name = name;
  all_defs_table.clear();

  set_node_capacity(*g, std::max(node_capacity_hint, 1));
  g->nodes[add_nodes(*g, 1)].name = copy_text("dest");

  read_input_list(*g);
  read_genotype_modifiers(*g);
  bool failed = read_statements(*g) < 0;
  if (take_token_cut()) failed = reading.failure_reported = true;
  if (failed) {
    if (!reading.failure_reported) report(REPORT_ERROR, "In %s: the text ends before the definition does.", g->name);
    return nullptr;
  }
  return bind_genotype(*g) ? g.release() : nullptr;
}

}  // namespace tessaron
