// The engine's records as JSON, with the field names of the code, whole and in order.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "console/find_effect.h"

namespace tessaron::console {

/// Objects keep their order; a number of the engine's single precision is written with the fewest
/// digits that give it back.
using record_json =
    nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, std::int64_t, std::uint64_t, float>;

record_json function_record(const fun_info& f);
record_json functions_record(const fun_registry& registry, const std::string& only = "");

record_json param_record(const param& p, const genotype& g);
/// `planned` adds pass_arg.
record_json node_record(const node& n, int index, bool planned);

/// The genotype with its params and its nodes as bound.
record_json info_record(const genotype& g);
/// The nodes after folding, and the two lists of the plan.
record_json plan_record(const genotype& g, const inspected_plan& plan);
/// One effect of `list`; `g` is null for a definition that does not bind.
record_json list_record(const found_effect& effect, const genotype* g);

/// Indented text with a line end. Bytes that are no UTF-8 are replaced.
std::string json_text(const record_json& record);

}  // namespace tessaron::console
