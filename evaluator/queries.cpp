#include "evaluator/queries.h"

#include <algorithm>

#include "base/report.h"
#include "evaluator/pass_hooks.h"
#include "evaluator/pixel_loop.h"
#include "genotype/globals.h"

namespace tessaron {

void (*read_curve_value)(param* p, float rel_frame, float* values);

namespace {

/// The parameter of the selected effect that a node stands for, or null.
param* param_of(const node& n) {
  const genotype* g = Globals->effect_genotype;
  const bool tied = g && n.param_index > 0 && n.param_index <= g->n_params;
  return tied ? g->params[n.param_index - 1] : nullptr;
}

}  // namespace

void get_curve_val(node& n) {
  constexpr int PARAM = 0, REL_FRAME = 1;
  // perform_effect() refuses a tree that would come here in a pixel loop.
  if (!arg_constant(n, PARAM) || !arg_constant(n, REL_FRAME)) return request_abort();
  float values[4] = {};
  param* const p = param_of(*n.args[PARAM]);
  if (read_curve_value)
    read_curve_value(p, fix_to_float(*n.arg_rows[REL_FRAME][0]), values);
  else if (p)
    std::copy(std::begin(p->value), std::end(p->value), values);
  else
    report(REPORT_ERROR, "get_curve_value_at_rel_frame: NULL in_data(%d) or param(%d)", Globals->in_data != nullptr, 0);
  for (int e = 0; e < n.elnum; ++e) n.const_vals[e] = fix_from_double(values[e]);
}

}  // namespace tessaron
