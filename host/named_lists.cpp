#include "host/named_lists.h"

#include <algorithm>

#include "host/parameters.h"
#include "operators/film_types.h"
#include "operators/lens_flares.h"

namespace tessaron {
namespace {

/// Names as a popup shows them, whose entries a bar keeps apart.
std::vector<std::string> flare_names(const flare_list& list) {
  std::vector<std::string> names;
  for (int i = 0; i < list.count; ++i) {
    names.push_back(shown_name(list.entries[i]->name.c_str()));
    std::replace(names.back().begin(), names.back().end(), '|', '/');
  }
  return names;
}
std::vector<std::string> lens_flare_names() { return flare_names(get_lens_flares()); }
std::vector<std::string> glare_names() { return flare_names(get_glares()); }

struct list_row {
  const char* title;
  std::uint8_t flag;  // of param::flags[1]
  list_loader loader;
};

/// One row a list, in the order of named_list. The reader of a data file goes into the last column.
list_row lists[NAMED_LIST_COUNT] = {
    {"lens flares", PARAM1_LENS_FLARES, lens_flare_names},
    {"glares", PARAM1_GLARES, glare_names},
    {"negative film", PARAM1_NEG_FILM, negative_film_names},
    {"print film", PARAM1_PRINT_FILM, print_film_names},
};

list_row& row_of(named_list list) { return lists[int(list)]; }

}  // namespace

named_list named_list_of(const param& p) {
  for (int i = 0; i < NAMED_LIST_COUNT; ++i)
    if (p.flags[1] & lists[i].flag) return named_list(i);
  return named_list::print_film;
}

const char* named_list_title(named_list list) { return row_of(list).title; }
list_loader named_list_loader(named_list list) { return row_of(list).loader; }

list_loader set_named_list_loader(named_list list, list_loader loader) {
  const list_loader before = row_of(list).loader;
  row_of(list).loader = loader;
  return before;
}

}  // namespace tessaron
