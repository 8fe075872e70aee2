// The texts that list, info, plan and functions print for people.
#pragma once

#include <string>

#include "console/find_effect.h"

namespace tessaron::console {

/// Name, origin, inputs and parameters of one effect; `g` is null for a definition that does not bind.
std::string list_text(const found_effect& effect, const genotype* g);

/// Inputs, modifiers, parameters and tree of one effect.
std::string info_text(const found_effect& effect, const genotype& g);

/// The plan in the order in which it runs.
std::string plan_text(const genotype& g, const inspected_plan& plan);

/// One line for each function of the catalogue.
std::string functions_text(const fun_registry& registry);

/// The reference page of one function.
std::string function_page(const fun_info& f);

}  // namespace tessaron::console
