// The grid of a plug-in's effects: columns by connected inputs, rows by the effect popup.
#pragma once

#include <cstdint>
#include <vector>

#include "genotype/globals.h"

namespace tessaron {

struct effect_member { const char* popup_name; std::int32_t effect_i; };
struct effect_column { std::uint32_t input_mask; std::vector<effect_member> members; };

struct effect_table {
  const char* plugin_name;
  std::vector<effect_column> columns;
  char* input_names[MAX_INPUTS];
  char* popup_names[MAX_EFFECTS_PER_PLUGIN];
  std::int32_t n_popup_names = -1;
  std::int32_t ref_count = 1;
};

/// 2 on success, 1 when the same combination is there already (reported).
int add_effect_to_table(effect_table& table, int effect_i, const char* genotype_name,
                        const char (*input_names)[MAX_INPUT_NAME_LEN + 1], int n_inputs);
effect_table* make_effect_table();
void unref_effect_table(effect_table* table);
void check_effect_grid(effect_table& table);
void check_shared_params();
int get_first_effect_from_table(effect_table& table, int popup_i);
int get_effect_index_from_genotype(const char* name);
int count_table_inputs(effect_table& table);
int count_table_popup(effect_table& table);

/// Column mask of the connected inputs at render time. `present_mask`: slots that have a layer;
/// `layer_data`: their pixels, to tell an input that repeats the first.
std::uint32_t connected_input_mask(std::uint32_t present_mask, const void* const* layer_data);
/// Row of the popup's value, which counts from 1; a value below that has no row (-1). 0 without a popup.
int popup_index_for_params(pf_param_def** params);
/// effect_i of a column and a row, or -1 after a report.
int find_effect(std::uint32_t input_mask, int popup_i);

/// Makes an effect current; `bind` also prepares it for evaluation.
void select_effect_i(int index, int bind);

}  // namespace tessaron
