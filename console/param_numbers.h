// Host controls back into the numbers of a definition: what -p would have to say.
#pragma once

#include <string>
#include <vector>

#include "genotype/genotype.h"
#include "tessaron/host_interface.h"

namespace tessaron::console {

/// How many of the controls from `begin` on are the parameter's own.
std::size_t control_count(const param& p, const std::vector<pf_param_def>& own, std::size_t begin);

/// `NAME=V[,V...]` that gives controls with the values of `controls` (points in percent), which are as many as
/// control_count(). The shortest numbers that come out the same to the last bit; where the definition's single
/// precision holds none, the nearest. Leaves `g` as it was.
std::string param_text(genotype& g, param& p, const std::vector<pf_param_def>& controls);

}  // namespace tessaron::console
