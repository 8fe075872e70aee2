// Popups whose entries are the names in a data file: lens flares, glares, film stocks.
#pragma once

#include <string>
#include <vector>

#include "genotype/genotype.h"

namespace tessaron {

enum class named_list : int { lens_flares, glares, negative_film, print_film };
inline constexpr int NAMED_LIST_COUNT = 4;

/// The list that a parameter with PARAM1_NAMED_LIST shows.
named_list named_list_of(const param& p);
/// What messages call it: "lens flares".
const char* named_list_title(named_list list);

/// Names in the order of the file, which is read if it has not been read yet; faults of the file are the reader's
/// to report. Null: no reader serves the list.
using list_loader = std::vector<std::string> (*)();
list_loader named_list_loader(named_list list);
/// Puts a reader in place and gives back the one before; for tests.
list_loader set_named_list_loader(named_list list, list_loader loader);

}  // namespace tessaron
