#include "host/named_lists.h"

namespace tessaron {
namespace {

struct list_row {
  const char* title;
  std::uint8_t flag;  // of param::flags[1]
  list_loader loader;
};

/// One row a list, in the order of named_list. The reader of a data file goes into the last column.
list_row lists[NAMED_LIST_COUNT] = {
    {"lens flares", PARAM1_LENS_FLARES, nullptr},
    {"glares", PARAM1_GLARES, nullptr},
    {"negative film", PARAM1_NEG_FILM, nullptr},
    {"print film", PARAM1_PRINT_FILM, nullptr},
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
