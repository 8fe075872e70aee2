// Questions that pass hooks ask about a node's arguments. A hook tells which argument a node equals.
#pragma once

#include "genotype/genotype.h"

namespace tessaron {

static inline bool arg_constant(const node& n, int a) { return n.args[a]->node_flags & NODE_CONSTANT; }
/// Constant with all four values equal to v.
static inline bool arg_is(const node& n, int a, fix v) {
  if (!arg_constant(n, a)) return false;
  for (fix c : n.args[a]->const_vals)
    if (c != v) return false;
  return true;
}
static inline bool arg_zero(const node& n, int a) { return arg_is(n, a, 0); }
static inline bool arg_one(const node& n, int a) { return arg_is(n, a, FIX_ONE); }
/// Two constants with all four values equal. One varying node given twice is not "the same".
static inline bool args_same(const node& n, int a, int b) {
  if (!arg_constant(n, a) || !arg_constant(n, b)) return false;
  for (int e = 0; e < 4; ++e)
    if (n.args[a]->const_vals[e] != n.args[b]->const_vals[e]) return false;
  return true;
}

}  // namespace tessaron
