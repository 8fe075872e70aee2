// What the files that read one definition share. Private to this room.
#pragma once

#include <string>
#include <vector>

#include "genotype/genotype.h"
#include "genotype/text_reader.h"

namespace tessaron {

inline constexpr int MAX_NODES = 10000;            // node order and arg_indices hold no more
inline constexpr int MAX_EXPRESSION_DEPTH = 1000;  // so that no walk of a tree runs out of stack
inline constexpr int MAX_REFERENCES = 1000;        // #ref statements of one definition
inline constexpr int MAX_REFERENCE_DEPTH = 100;

/// How an effect treats alpha (genotype.rgba_mode). No modifier makes the last one.
enum rgba_modes : std::int8_t { RGBA_OK = 1, RGBA_BY_INPUT = 2, RGBA_OPAQUE = 3, RGBA_ALPHA_AS_MASK = 4 };
enum z_modes : std::int8_t { Z_DEFAULT = 0, Z_PROCESS = 1, Z_NO_INPUTS = 2, Z_MIN = 3 };

/// State of the definition being read. Reading must not run twice at once.
struct definition_reading {
  std::string name;  // the name token, underscores kept
  param_group* current_group = nullptr;
  int statement = 0;
  int expression_depth = 0;
  int references = 0;
  std::vector<std::string> open_references;  // names behind #ref whose statements are being read
  bool failure_reported = false;
  char token[TOKEN_SIZE] = "";  // the token at hand; nested expressions overwrite it
};
extern definition_reading reading;

/// Stores and reports what ends the definition. Always -1. Silent when the reader has just reported an
/// overlong token, which is the true fault then.
[[gnu::format(printf, 2, 3)]] int reject(int severity, const char* format, ...);

/// Integer at the start of a text, as `sscanf` reads "%d"; limited to the range of int.
bool parse_integer(const char* text, int& value);
bool begins_with(const char* text, const char* start);
bool same_text(const char* a, const char* b);

/// Moves the nodes into a new array, at least as long as n_nodes.
void set_node_capacity(genotype& g, int capacity);
/// Appends `count` zeroed nodes; index of the first, or -1 after a report. Nodes may move.
int add_nodes(genotype& g, int count);
/// Index of the node with this name, or -1.
int find_node(const genotype& g, const char* name);
/// Makes the param of a named node; null after a report.
param* add_param(genotype& g, int node_index);
/// Points each param at the node that reads it, after nodes have moved.
void bind_params_to_nodes(genotype& g);
/// Fills the unused elements of a constant of `count` elements.
void fill_const_vals(fix* const_vals, int count);

/// One statement: 0, 1 at the closing bracket, negative after a failure.
int read_statement(genotype& g);

}  // namespace tessaron
