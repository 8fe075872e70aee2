// A plan as a graph for Graphviz.
#pragma once

#include <string>

#include "host/inspect.h"

namespace tessaron::console {

/// A `digraph`: the nodes that run, their constants and inputs; image nodes as boxes, edges from argument
/// to user, labelled with the argument's name.
std::string plan_dot(const genotype& g, const inspected_plan& plan);

}  // namespace tessaron::console
