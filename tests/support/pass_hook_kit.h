// Pass hooks asked directly: arguments as a test writes them, and the argument that a hook names.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "support/kernel_harness.h"

namespace tessaron::testing {

/// An argument of a node: its element count, and what it is.
struct given {
  int elnum;
  node_kind kind = KIND_FUNCTION;
  values constant = {};  // four values of a constant
  int var_index = 0;
};

/// A value that varies over the row.
inline given row(int elnum) { return {elnum}; }
/// A constant as folding leaves it: rgb has alpha 1.0, a shorter value repeats its last element.
inline given constant(values v) {
  const int elnum = int(v.size());
  while (v.size() < 4) v.push_back(elnum == 3 ? FIX_ONE : v.back());
  return {elnum, KIND_CONSTANT, v};
}
inline given zero(int elnum) { return constant(values(elnum, 0)); }
inline given one(int elnum) { return constant(values(elnum, FIX_ONE)); }
inline given variable(int elnum, int var_index) { return {elnum, KIND_BUILT_IN, {}, var_index}; }

inline constexpr int NONE = -1;

/// The argument that the hook names for a node with `elnum` elements; -2 without a hook.
inline int passes(const char* name, int elnum, const std::vector<given>& given_args) {
  const fun_info* fun = level_catalogue(cpu_level::generic).find(name);
  node args[MAX_ARG_NUMBER]{}, n{};
  n.elnum = std::int8_t(elnum);
  n.kind = KIND_FUNCTION;
  for (std::size_t a = 0; a < given_args.size(); ++a) {
    const given& from = given_args[a];
    args[a].elnum = std::int8_t(from.elnum);
    args[a].kind = from.kind;
    args[a].var_index = std::int8_t(from.var_index);
    if (!from.constant.empty()) args[a].node_flags = NODE_CONSTANT;
    std::copy(from.constant.begin(), from.constant.end(), args[a].const_vals);
    n.args[a] = &args[a];
  }
  EXPECT_NE(fun->pass_hook, nullptr) << name;
  return fun->pass_hook ? fun->pass_hook(n) : -2;
}

}  // namespace tessaron::testing
