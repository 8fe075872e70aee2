// The grid of a plug-in's effects: entering them, checking the grid, finding a column and a row, and
// making the effect there current.
#include "host/effect_table.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "base/report.h"
#include "base/text.h"
#include "evaluator/plan.h"
#include "genotype/genotype_reader.h"
#include "tessaron/host_interface.h"

namespace tessaron {

namespace {

bool same_text(const char* a, const char* b) { return std::strcmp(a, b) == 0; }
const char* shown(const char* text) { return text ? text : ""; }

/// Place of `name` among texts that fill their array from the front; copied into the first free place
/// if it is new. -1: no place left.
template <int N>
int find_or_add(char* (&texts)[N], const char* name) {
  for (int i = 0; i < N; ++i) {
    if (!texts[i]) texts[i] = copy_text(name);
    if (same_text(texts[i], name)) return i;
  }
  return -1;
}

template <int N>
int count_texts(char* const (&texts)[N]) {
  int n = 0;
  while (n < N && texts[n]) ++n;
  return n;
}

/// Bits of the slots that the effect names, entering new names.
std::uint32_t enter_input_names(effect_table& table, const char* genotype_name,
                                const char (*input_names)[MAX_INPUT_NAME_LEN + 1], int n_inputs) {
  std::uint32_t mask = 0;
  for (int k = 0; k < n_inputs; ++k) {
    if (k >= MAX_INPUTS || !*input_names[k]) {
      report(REPORT_ERROR, "Null name in effect table for %s input %d\n", genotype_name, k);
      continue;
    }
    const int slot = find_or_add(table.input_names, input_names[k]);
    if (slot < 0) {
      report(REPORT_ERROR, "%s: Too many input names", shown(table.plugin_name));
      break;
    }
    mask |= 1u << slot;
  }
  return mask;
}

effect_column* find_column(effect_table& table, std::uint32_t mask) {
  for (effect_column& column : table.columns)
    if (column.input_mask == mask) return &column;
  return nullptr;
}

struct table_release {
  void operator()(effect_table* table) const { unref_effect_table(table); }
};

/// The first genotype's bit for an input that the host need not connect: left out, it is the layer itself.
bool input_is_optional(int slot) {
  const genotype* first = Globals->genotypes[0];
  return first && (first->default_self_inputs >> slot & 1);
}

bool column_without(const effect_table& table, int slot) {
  for (const effect_column& column : table.columns)
    if (!(column.input_mask >> slot & 1)) return true;
  return false;
}

bool calls_percent_time(const genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i)
    if (g.nodes[i].kind == KIND_FUNCTION && g.nodes[i].fun && same_text(g.nodes[i].fun->name, "get_percent_time"))
      return true;
  return false;
}

void link_params_to_nodes(genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) {
    const int k = g.nodes[i].param_index - 1;
    if (k >= 0 && k < g.n_params) g.params[k]->param_node = &g.nodes[i];
  }
}

}  // namespace

int add_effect_to_table(effect_table& table, int effect_i, const char* genotype_name,
                        const char (*input_names)[MAX_INPUT_NAME_LEN + 1], int n_inputs) {
  const std::uint32_t mask = enter_input_names(table, genotype_name, input_names, n_inputs);
  effect_column* column = find_column(table, mask);
  if (!column) column = &table.columns.emplace_back(effect_column{mask, {}});
  for (const effect_member& member : column->members)
    if (member.popup_name && same_text(member.popup_name, genotype_name)) {
      report(REPORT_ERROR, "Effect %s: some version already in table!\n", genotype_name);
      return 1;
    }
  const int popup_i = find_or_add(table.popup_names, genotype_name);
  if (popup_i < 0) report(REPORT_ERROR, "%s: too many effects in single plug-in\n", shown(table.plugin_name));
  column->members.push_back({popup_i < 0 ? nullptr : table.popup_names[popup_i], effect_i});
  return 2;
}

effect_table* make_effect_table() {
  std::unique_ptr<effect_table, table_release> table(new effect_table{});
  table->plugin_name = Globals->plugin_name;
  for (int i = 0; i < Globals->n_effects; ++i) {
    const genotype* g = Globals->genotypes[i];
    if (!g || add_effect_to_table(*table, i, g->name, g->input_names, g->n_inputs) != 1) continue;
    report(REPORT_FATAL, "%s: effect already in effect table.  Probably duplicated in def file.", g->name);
    fatal_exit(1);  // a sink that lets the process live
  }
  count_table_popup(*table);
  return table.release();
}

void unref_effect_table(effect_table* table) {
  if (!table || --table->ref_count > 0) return;
  for (char* name : table->input_names) free_text(name);
  for (char* name : table->popup_names) free_text(name);
  delete table;
}

void check_effect_grid(effect_table& table) {
  const char* plugin = shown(table.plugin_name);
  int total = 0, previous = -1, members = 0;
  for (int c = 0; c < int(table.columns.size()); ++c) {
    members = int(table.columns[c].members.size());
    if (previous >= 0 && members != previous)
      report(REPORT_ERROR, "%s: Column %d has %d effects, prev column had %d.", plugin, c, members, previous);
    previous = members;
    total += members;
  }
  const int columns = int(table.columns.size());
  if (total != columns * members)
    report(REPORT_ERROR, "%s: %d total effects, but %d columns of %d members.", plugin, total, columns, members);
  for (const effect_column& column : table.columns)
    for (int k = 0; k < int(column.members.size()); ++k) {
      const char* expected = k < MAX_EFFECTS_PER_PLUGIN ? table.popup_names[k] : nullptr;
      if (column.members[k].popup_name != expected)
        report(REPORT_ERROR,
               "%s: effect %s with mask %x out of order.  Since it's %d down in its effect table column, I expected it "
               "to be %s.",
               plugin, shown(column.members[k].popup_name), column.input_mask, k, shown(expected));
    }
}

int get_first_effect_from_table(effect_table& table, int popup_i) {
  const char* name = popup_i >= 0 && popup_i < MAX_EFFECTS_PER_PLUGIN ? table.popup_names[popup_i] : nullptr;
  if (name)
    for (const effect_column& column : table.columns)
      for (const effect_member& member : column.members)
        if (member.popup_name == name) return member.effect_i;
  report(REPORT_ERROR, "get_first_effect_from_table: effect (popup) index %d not found in table.\n", popup_i);
  return -1;
}

int get_effect_index_from_genotype(const char* name) {
  const effect_table& table = *Globals->effect_table;
  if (!table.plugin_name || !*table.plugin_name) report(REPORT_ERROR, "effect table: bad plugin name");
  for (int i = 0; i < MAX_EFFECTS_PER_PLUGIN && table.popup_names[i]; ++i)
    if (same_text(table.popup_names[i], name)) return i;
  report(REPORT_ERROR, "get_effect_index_from_genotype: genotype %s not found in table.\n", name);
  return -1;
}

int count_table_inputs(effect_table& table) { return count_texts(table.input_names); }

int count_table_popup(effect_table& table) { return table.n_popup_names = count_texts(table.popup_names); }

std::uint32_t connected_input_mask(std::uint32_t present_mask, const void* const* layer_data) {
  effect_table& table = *Globals->effect_table;
  std::uint32_t mask = 0;
  for (int i = 0; i < count_table_inputs(table); ++i) {
    const bool present = present_mask >> i & 1;
    // Only an optional input may be left out, and one that repeats the first input is no real connection.
    bool counts = i == 0 || present || !input_is_optional(i);
    if (i > 0 && present && input_is_optional(i)) counts = layer_data[i] != layer_data[0] || !column_without(table, i);
    if (counts) mask |= 1u << i;
  }
  return mask;
}

int popup_index_for_params(pf_param_def** params) {
  if (Globals->effect_table->n_popup_names <= 1 || !params) return 0;
  const int slot = Globals->popup_param_index;
  if (slot < 1 || (Globals->in_data && Globals->in_data->num_params > 0 && slot >= Globals->in_data->num_params))
    return 0;
  const pf_param_def* popup = params[slot];
  return popup ? int(std::max<std::int64_t>(std::int64_t(popup->u.popup.value) - 1, -1)) : 0;
}

int find_effect(std::uint32_t input_mask, int popup_i) {
  effect_table& table = *Globals->effect_table;
  const char* name = popup_i >= 0 && popup_i < MAX_EFFECTS_PER_PLUGIN ? table.popup_names[popup_i] : nullptr;
  if (const effect_column* column = find_column(table, input_mask); column && name)
    for (const effect_member& member : column->members)
      if (member.popup_name == name) return member.effect_i;
  report(REPORT_ERROR, "Internal error: name %s not found in table for %s\n", shown(name), shown(table.plugin_name));
  return -1;
}

void select_effect_i(int index, int bind) {
  if (index < 0 || index >= MAX_EFFECTS_PER_PLUGIN) {
    set_message("select_effect_i: %d > MAX_EFFECTS_PER_PLUGIN.", index);
    return;
  }
  globals_record& record = *Globals;
  genotype* g = record.effect_genotype = record.genotypes[index];
  if (!g) {
    set_message("select_effect_i: no effect at %d.", index);
    return;
  }
  record.n_inputs = g->n_inputs;
  record.current_effect_i = std::int16_t(index);
  record.state_flags &= ~(STATE_USES_PERCENT_TIME | STATE_EFFECT_SELECTED);
  if (calls_percent_time(*g)) record.state_flags |= STATE_USES_PERCENT_TIME;
  if (bind) {
    set_genotype_arg_ptrs(*g);
    build_eval_image_nodes(*g);
    record.state_flags |= STATE_EFFECT_SELECTED;
  }
  link_params_to_nodes(*g);
  // The plug-in's own record keeps step with its instance.
  if (globals_record* plugin = record.global_globals) {
    plugin->current_effect_i = std::int16_t(index);
    plugin->effect_genotype = plugin->genotypes[index];
  }
}

}  // namespace tessaron
