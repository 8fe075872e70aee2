#include "console/json_records.h"

#include <algorithm>

namespace tessaron::console {
namespace {

record_json text_or_null(const char* text) { return text ? record_json(text) : record_json(nullptr); }

template <class Field>
record_json numbers(const Field* first, int count) {
  record_json list = record_json::array();
  for (int i = 0; i < count; ++i) list.push_back(first[i]);
  return list;
}

record_json texts(char* const* first, int count) {
  record_json list = record_json::array();
  for (int i = 0; i < count; ++i) list.push_back(text_or_null(first[i]));
  return list;
}

record_json widget_record(const widget_entry& w) {
  return {{"param_name", text_or_null(w.param_name)},
          {"display_name", text_or_null(w.display_name)},
          {"widget_type", text_or_null(w.widget_type)},
          {"owner_name", text_or_null(w.owner_name)},
          {"enable_param", text_or_null(w.enable_param)},
          {"order", w.order},
          {"enable_number", w.enable_number},
          {"enable_here", int(w.enable_here)},
          {"default_state", int(w.default_state)},
          {"effect_mask", w.effect_mask}};
}

record_json widgets_record(const widget_entry* first) {
  record_json list = record_json::array();
  for (const widget_entry* w = first; w; w = w->next) list.push_back(widget_record(*w));
  return list;
}

record_json group_record(const param_group& group) {
  return {{"name", text_or_null(group.name)},
          {"index", group.index},
          {"parent", group.parent ? record_json(group.parent->index) : record_json(nullptr)}};
}

record_json input_names_record(const genotype& g) {
  record_json list = record_json::array();
  for (const std::string& name : input_names(g)) list.push_back(name);
  return list;
}

record_json nodes_record(const genotype& g, bool planned) {
  record_json list = record_json::array();
  for (int i = 0; i < g.n_nodes; ++i) list.push_back(node_record(g.nodes[i], i, planned));
  return list;
}

record_json params_record(const genotype& g) {
  record_json list = record_json::array();
  for (int i = 0; i < g.n_params; ++i) list.push_back(param_record(*g.params[i], g));
  return list;
}

}  // namespace

record_json function_record(const fun_info& f) {
  record_json combos = record_json::array(), names = record_json::array();
  for (int i = 0; i < f.arg_type_combo_number; ++i)
    combos.push_back(inspect_combo_text(f.arg_type_combos[i], f.arg_number));
  for (int i = 0; i < f.arg_number; ++i) names.push_back(text_or_null(f.arg_names[i]));
  return {{"name", f.name},
          {"arg_number", f.arg_number},
          {"fun_class", f.fun_class},
          {"fun_cost", f.fun_cost},
          {"fun_weight", f.fun_weight},
          {"is_image_fun", f.is_image_fun},
          {"image_arg_index", f.image_arg_index},
          {"images_per_element", f.images_per_element},
          {"extra_images", f.extra_images},
          {"min_images", f.min_images},
          {"arg_type_combo_number", f.arg_type_combo_number},
          {"arg_type_combos", combos},
          {"arg_names", names},
          {"fun_flags", f.fun_flags},
          {"fun_flags2", f.fun_flags2},
          {"arg_enable_runtime", f.arg_enable_runtime},
          {"arg_scale_runtime", f.arg_scale_runtime},
          {"arg_scale_passes", f.arg_scale_passes},
          {"aux_count_a", f.aux_count_a},
          {"aux_count_b", f.aux_count_b},
          {"bounds_hook", f.bounds_hook != nullptr},
          {"pass_hook", f.pass_hook != nullptr},
          {"doc", text_or_null(f.doc)}};
}

record_json functions_record(const fun_registry& registry, const std::string& only) {
  record_json list = record_json::array();
  for (int i = 0; i < registry.fun_count; ++i)
    if (only.empty() || only == registry.table[i].name) list.push_back(function_record(registry.table[i]));
  return list;
}

record_json param_record(const param& p, const genotype& g) {
  record_json record = {
      {"ptype", p.ptype},
      {"name", text_or_null(p.name)},
      {"nchannels", p.nchannels},
      {"n_shown", p.n_shown},
      {"ref_count", p.ref_count},
      {"value", numbers(p.value, 4)},
      {"default", numbers(p.default_value, 4)},
      {"min_bound", p.min_bound},
      {"max_bound", p.max_bound},
      {"scale", p.scale},
      {"normalize_scale", p.normalize_scale},
      {"channel_text", texts(p.channel_text, 4)},
      {"widgets", widgets_record(p.widgets)},
      {"stamp", p.stamp},
      {"flags", numbers(p.flags, 5)},
      {"angle_offset", p.angle_offset},
      {"n_popup_entries", p.n_popup_entries},
      {"group_mode", p.group_mode},
      {"host_id", p.host_id},
      {"host_index", p.host_index},
      {"popup_entry", texts(p.popup_entry, MAX_POPUP_TEXTS)},
      {"node", p.param_node ? record_json(std::int64_t(p.param_node - g.nodes)) : record_json(nullptr)},
      {"slider_min", p.slider_min},
      {"slider_max", p.slider_max},
      {"fcp_min", p.fcp_min},
      {"fcp_max", p.fcp_max},
      {"page", p.page},
      {"group", p.group}};
  // Not of the record: the entries of a popup that a data file fills.
  if (p.flags[1] & PARAM1_NAMED_LIST) record["list_names"] = inspect_list_names(p);
  return record;
}

record_json node_record(const node& n, int index, bool planned) {
  record_json record = {{"index", index},
                        {"name", text_or_null(n.name)},
                        {"kind", n.kind},
                        {"elnum", n.elnum},
                        {"var_index", n.var_index},
                        {"fun", n.fun ? record_json(n.fun->name) : record_json(nullptr)},
                        {"arg_indices", numbers(n.arg_indices, n.arg_number)},
                        {"const_vals", numbers(n.const_vals, 4)},
                        {"node_flags", n.node_flags},
                        {"image_count", n.image_count},
                        {"image_base", n.image_base},
                        {"image_top", n.image_top},
                        {"shared_image", n.shared_image},
                        {"share_count", n.share_count}};
  if (planned) record["pass_arg"] = n.pass_arg;
  record["branch_arg"] = n.branch_arg;
  record["branch_bit"] = n.branch_bit;
  record["param_index"] = n.param_index;
  return record;
}

record_json info_record(const genotype& g) {
  record_json groups = record_json::array();
  for (int i = 0; i < std::min(g.n_groups, MAX_PARAM_GROUP_NUMBER); ++i) groups.push_back(group_record(g.groups[i]));
  return {{"name", g.name},
          {"input_names", input_names_record(g)},
          {"n_inputs", g.n_inputs},
          {"rgba_mode", g.rgba_mode},
          {"z_mode", g.z_mode},
          {"rgba_ok_inputs", g.rgba_ok_inputs},
          {"default_none_inputs", g.default_none_inputs},
          {"default_self_inputs", g.default_self_inputs},
          {"alpha_z_input", g.alpha_z_input},
          {"mask_input", g.mask_input},
          {"flags", numbers(g.flags, 3)},
          {"n_temp_images", g.n_temp_images},
          {"n_cache_images", g.n_cache_images},
          {"n_pages", g.n_pages},
          {"page_names", texts(g.page_names, MAX_PAGES + 1)},
          {"groups", groups},
          {"effect_popup_name", text_or_null(g.effect_popup_name)},
          {"params", params_record(g)},
          {"nodes", nodes_record(g, false)}};
}

record_json plan_record(const genotype& g, const inspected_plan& plan) {
  return {{"nodes", nodes_record(g, true)},
          {"eval_image_nodes_array", plan.eval_image_nodes},
          {"eval_nodes_array", plan.eval_nodes}};
}

record_json list_record(const found_effect& effect, const genotype* g) {
  record_json record = {{"name", effect.definition.name},           {"origin", effect.origin},
                        {"file", effect.definition.file},           {"line", effect.definition.line},
                        {"description", effect.definition.comment}, {"binds", g != nullptr}};
  record["input_names"] = g ? input_names_record(*g) : record_json::array();
  record["params"] = g ? params_record(*g) : record_json::array();
  return record;
}

std::string json_text(const record_json& record) {
  return record.dump(2, ' ', false, record_json::error_handler_t::replace) + "\n";
}

}  // namespace tessaron::console
