#include "console/plan_dot.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace tessaron::console {
namespace {

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

std::string value_label(const node& n) {
  std::string text = n.name && n.kind == KIND_CONSTANT ? std::string(n.name) + " = " : "";
  for (int c = 0; c < std::max<int>(n.elnum, 1); ++c) {
    char number[40];
    std::snprintf(number, sizeof number, "%s%.6g", c ? " " : "", n.const_vals[c] / 4096.0);
    text += number;
  }
  return text;
}

std::string dot_id(int index) { return std::string("n") + std::to_string(index); }

}  // namespace

std::string plan_dot(const genotype& g, const inspected_plan& plan) {
  std::string out = "digraph " + quoted(g.name) + " {\n  rankdir=BT;\n  node [fontname=\"sans-serif\"];\n";
  std::set<int> declared;
  const auto declare = [&](int index, const std::string& label, const char* style) {
    if (declared.insert(index).second) out += "  " + dot_id(index) + " [label=" + quoted(label) + style + "];\n";
  };
  const auto declare_leaf = [&](const node& n, int index) {
    if (n.kind == KIND_CONSTANT || n.node_flags & NODE_CONSTANT)
      declare(index, value_label(n), ", shape=plaintext");
    else if (n.kind == KIND_BUILT_IN && n.var_index >= VAR_SOURCE0 &&
             n.var_index - VAR_SOURCE0 < std::min<int>(g.n_inputs, MAX_INPUTS))
      declare(index, g.input_names[n.var_index - VAR_SOURCE0], ", shape=parallelogram");
    else if (n.kind != KIND_FUNCTION)
      declare(index, n.name ? n.name : "built-in", ", shape=parallelogram");
  };
  const auto declare_function = [&](int index) {
    const node& n = g.nodes[index];
    const bool named = n.name && n.name[0] != '_';
    declare(index,
            (named ? std::string(n.name) + " = " : "") + (n.fun ? n.fun->name : "?") + " :" + std::to_string(n.elnum),
            n.image_count > 0 ? ", shape=box" : ", shape=ellipse");
  };
  std::set<int> running(plan.eval_image_nodes.begin(), plan.eval_image_nodes.end());
  running.insert(plan.eval_nodes.begin(), plan.eval_nodes.end());
  for (int index : running) declare_function(index);
  for (int index : running) {
    const node& n = g.nodes[index];
    for (int a = 0; a < n.eval_arg_number; ++a) {
      const node& argument = n.args[a] ? *n.args[a] : g.nodes[n.arg_indices[a]];
      const int from = int(&argument - g.nodes);
      declare_leaf(argument, from);
      if (argument.kind == KIND_FUNCTION && !declared.count(from)) declare_function(from);
      const char* name = n.fun && n.fun->arg_names[a] ? n.fun->arg_names[a] : "";
      out += "  " + dot_id(from) + " -> " + dot_id(index) + " [label=" + quoted(name) + "];\n";
    }
  }
  if (running.empty()) declare_leaf(g.nodes[0], 0);
  return out + "}\n";
}

}  // namespace tessaron::console
