// Where a parameter stands: the pages and groups that begin or end at it.
#include <algorithm>
#include <cstring>
#include <utility>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/param_declaration.h"
#include "genotype/reading.h"

namespace tessaron {
namespace {

/// Adds the page `skip` places behind the next free one.
int add_page(declaration& d, const char* title, int skip) {
  genotype& g = d.g;
  const int index = g.n_pages + skip + 1;
  if (g.n_pages == 0 && g.params[0] != &d.p)
    report(REPORT_WARNING, "in %s, page at %s but none at 1st param %s.", g.name, d.p.name, g.params[0]->name);
  if (index > MAX_PAGES)
    return reject(REPORT_ERROR, "too many pages (%d is max) in %s: fix in genotype.h", MAX_PAGES, g.name);
  free_text(std::exchange(g.page_names[index], copy_text(title)));
  g.n_pages = index;
  return 0;
}

}  // namespace

/// One token, or a quoted string.
int read_title(char* dst) {
  if (get_token(dst) != 0) return -1;
  if (!same_text(dst, "\"")) return 0;
  const int result = read_string_1(dst, MAX_STRING_LEN);
  if (result != 0) reading.failure_reported = true;
  return result;
}

int begin_page(declaration& d, const char* word) {
  char token[TOKEN_SIZE];
  int skip = 0;
  if (std::strstr(word, "_n")) {
    int number;
    if (get_token(token) != 0) return -1;
    if (!parse_integer(token, number)) return reject(REPORT_WARNING, "For %s bad column_n '%s'", d.p.name, token);
    skip = std::clamp(number, -MAX_PAGES, 2 * MAX_PAGES) - d.g.n_pages;  // farther off is as wrong
    if (skip < -1) print_note("Warning: %s column_n of %s goes backwards\n", d.g.name, d.p.name);
  }
  d.p.flags[3] &= std::uint8_t(~PARAM3_PAGE_OPEN);
  if (same_text(word, "page_open")) d.p.flags[3] |= PARAM3_PAGE_OPEN;
  if (begins_with(word, "page")) {
    if (const int result = read_title(token)) return result;
  } else {
    std::strcpy(token, std::strstr(word, "_top") ? " " : "");
  }
  return skip <= -1 ? 0 : add_page(d, token, skip);
}

int begin_group(declaration& d, const char* word) {
  genotype& g = d.g;
  const bool full = g.n_groups >= MAX_PARAM_GROUP_NUMBER;
  if (full) report(REPORT_WARNING, "Too many groups in %s, up MAX_PARAM_GROUP_NUMBER", g.name);
  if (reading.current_group) report(REPORT_WARNING, "Nested groups in %s", g.name);
  char name[TOKEN_SIZE];
  if (const int result = read_title(name)) return result;
  if (full) return 0;  // reported, not stored
  param_group& group = g.groups[g.n_groups];
  group.name = copy_text(name);
  group.index = g.n_groups++;
  group.parent = reading.current_group;
  reading.current_group = &group;
  d.p.group = std::int8_t(group.index);
  d.p.flags[3] |= PARAM3_GROUP_START;
  if (same_text(word, "group_start_open")) d.p.flags[3] |= PARAM3_GROUP_OPEN;
  return 0;
}

int end_group(declaration& d, const char*) {
  char name[TOKEN_SIZE];
  if (const int result = read_title(name)) return result;
  const param_group* current = reading.current_group;
  if (!current) {
    report(REPORT_ERROR, "%s %s group_end without group_start", d.g.name, d.p.name);
    return 0;  // nothing to end
  }
  if (!same_text(name, current->name))
    report(REPORT_WARNING, "%s %s group_end %s, expected %s", d.g.name, d.p.name, name, current->name);
  reading.current_group = current->parent;
  d.p.flags[3] |= PARAM3_GROUP_END;
  return 0;
}

}  // namespace tessaron
