// Constant folding of one node.
#pragma once

#include "genotype/genotype.h"

namespace tessaron {

/// Computes the value of a constant function node into const_vals, from constant arguments.
void set_genotype_constant_vals(node& n);

}  // namespace tessaron
