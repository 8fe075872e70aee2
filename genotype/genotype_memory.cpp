// Allocation, growth, copies and release of the records of a definition.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/reading.h"

namespace tessaron {

namespace {

/// A zeroed array; memory exhausted takes the fatal exit.
template <class T>
T* allocate_zeroed(std::size_t count) {
  T* block = new (std::nothrow) T[count]();
  if (block) return block;
  report(REPORT_ERROR, "Malloc %ld returned a null pointer.", long(count * sizeof(T)));
  set_message("Not enough memory.");
  report_message();
  fatal_exit(-100);
}

void free_widgets(widget_entry* w) {
  while (w) {
    widget_entry* next = w->next;
    for (const char* text : {w->param_name, w->display_name, w->widget_type, w->owner_name, w->enable_param})
      free_text(text);
    delete w;
    w = next;
  }
}

struct param_release {
  void operator()(param* p) const { release_param(p); }
};
struct genotype_release {
  void operator()(genotype* g) const { free_genotype(g); }
};

param* copy_param(const param& original) {
  std::unique_ptr<param, param_release> copy(allocate_zeroed<param>(1));
  *copy = original;
  copy->ref_count = 1;
  copy->flags[0] |= PARAM0_NAME_NOT_OWNED | PARAM0_POPUP_NOT_OWNED | PARAM0_WIDGETS_NOT_OWNED;
  std::fill(std::begin(copy->channel_text), std::end(copy->channel_text), nullptr);
  for (int c = 0; c < int(std::size(copy->channel_text)); ++c)
    copy->channel_text[c] = copy_text(original.channel_text[c]);
  copy->param_node = nullptr;
  return copy.release();
}

}  // namespace

param* new_toggle(const char* name, bool on) {
  std::unique_ptr<param, param_release> p(allocate_zeroed<param>(1));
  p->ref_count = 1;
  p->ptype = PTYPE_TOGGLE;
  p->name = copy_text(name);
  p->nchannels = p->n_shown = 1;
  p->max_bound = p->scale = p->normalize_scale = 1;
  p->slider_min = p->fcp_min = UNSET_MIN;
  p->slider_max = p->fcp_max = UNSET_MAX;
  std::fill(std::begin(p->value), std::end(p->value), float(on));
  std::fill(std::begin(p->default_value), std::end(p->default_value), float(on));
  p->page = p->group = -1;
  return p.release();
}

void release_widget(widget_declaration& w) {
  free_text(w.enable_name);
  release_param(w.enable_param);
  for (int k = 0; k < w.n_parts; ++k) free_text(w.parts[k].name);
}

void free_widget_list(genotype& g) {
  for (int i = 0; i < g.n_widgets; ++i) release_widget(g.widgets[i]);
  delete[] g.widgets;
  g.widgets = nullptr;
  g.n_widgets = 0;
}

void copy_widget_list(genotype& copy, const genotype& g) {
  copy.n_widgets = 0;
  copy.widgets = g.n_widgets > 0 ? allocate_zeroed<widget_declaration>(std::size_t(g.n_widgets)) : nullptr;
  for (; copy.n_widgets < g.n_widgets; ++copy.n_widgets) {
    const widget_declaration& original = g.widgets[copy.n_widgets];
    widget_declaration& w = copy.widgets[copy.n_widgets];
    w = original;
    // Texts and checkbox of its own, one by one: memory may run out at any of them.
    w.enable_name = nullptr;
    w.enable_param = nullptr;
    for (widget_part& part : w.parts) part.name = nullptr;
    try {
      w.enable_name = copy_text(original.enable_name);
      for (int k = 0; k < w.n_parts; ++k) w.parts[k].name = copy_text(original.parts[k].name);
      if (original.enable_param) {
        w.enable_param = new_toggle(original.enable_param->name, original.default_on_p);
        w.enable_param->host_index = original.enable_param->host_index;
        w.enable_param->host_id = original.enable_param->host_id;
      }
    } catch (...) {
      ++copy.n_widgets;  // what there is of this one is released with the others
      throw;
    }
  }
}

void set_node_capacity(genotype& g, int capacity) {
  node* grown = allocate_zeroed<node>(std::size_t(capacity));
  std::copy_n(g.nodes, g.n_nodes, grown);
  delete[] g.nodes;
  g.nodes = grown;
  g.node_capacity = capacity;
  set_genotype_arg_ptrs(g);
  bind_params_to_nodes(g);
}

int add_nodes(genotype& g, int count) {
  const int needed = g.n_nodes + count;
  if (needed > MAX_NODES) return reject(REPORT_ERROR, "In %s: more than %d nodes.", g.name, MAX_NODES);
  // An eighth of a large tree, so that its growth does not cost more than its reading.
  if (needed > g.node_capacity) set_node_capacity(g, needed + std::max(NODE_GROWTH, needed / 8));
  const int first = g.n_nodes;
  g.n_nodes = needed;
  return first;
}

int find_node(const genotype& g, const char* name) {
  for (int i = 0; i < g.n_nodes; ++i)
    if (g.nodes[i].name && same_text(g.nodes[i].name, name)) return i;
  return -1;
}

param* add_param(genotype& g, int node_index) {
  node& n = g.nodes[node_index];
  if (g.n_params == MAX_PARAMS) {
    reject(REPORT_ERROR, "In %s: more than %d parameters: '%s'.", g.name, MAX_PARAMS, n.name);
    return nullptr;
  }
  param* p = g.params[g.n_params++] = allocate_zeroed<param>(1);
  p->ptype = PTYPE_FLOAT;
  p->name = copy_text(n.name);
  p->nchannels = p->n_shown = 1;
  p->ref_count = 1;
  p->min_bound = 0;
  p->max_bound = UNSET_MAX;
  p->scale = 0.001f;
  p->normalize_scale = 1.0f;
  p->slider_min = p->fcp_min = UNSET_MIN;
  p->slider_max = p->fcp_max = UNSET_MAX;
  p->group = -1;
  p->param_node = &n;
  n.param_index = g.n_params;
  if (same_text(p->name, "opacity") || same_text(p->name, "input_opacity")) g.flags[2] |= GENO2_HAS_OPACITY;
  return p;
}

void bind_params_to_nodes(genotype& g) {
  for (int i = 0; i < g.n_params; ++i) g.params[i]->param_node = nullptr;
  for (int i = 0; i < g.n_nodes; ++i)
    if (node& n = g.nodes[i]; n.param_index > 0) g.params[n.param_index - 1]->param_node = &n;
}

void fill_const_vals(fix* const_vals, int count) {
  if (count == 3)
    const_vals[3] = FIX_ONE;
  else
    std::fill(const_vals + count, const_vals + 4, const_vals[count - 1]);
}

void store_param_in_node(param& p) {
  node* n = p.param_node;
  if (!n) return;
  for (int e = 0; e < p.nchannels; ++e) n->const_vals[e] = fix_from_double(double(p.value[e]));
  if (p.nchannels > 1) fill_const_vals(n->const_vals, p.nchannels);  // folding spreads a scalar
}

void set_genotype_arg_ptrs(genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (n.arg_number > MAX_ARG_NUMBER) {
      report(REPORT_ERROR, "node %d", i);
      fatal("set_genotype_arg_ptrs: uncleared node");
    }
    for (int e = 0; e < 4; ++e) n.rows[e] = &n.const_vals[e];
    for (int k = 0; k < n.arg_number; ++k) {
      if (n.arg_indices[k] <= 0) continue;
      node& arg = g.nodes[n.arg_indices[k]];
      n.args[k] = &arg;
      n.arg_consts[k] = arg.const_vals;
      n.arg_rows[k] = arg.rows;
    }
  }
}

void release_param(param* p) {
  if (!p || --p->ref_count > 0) return;
  if (!(p->flags[0] & PARAM0_NAME_NOT_OWNED)) free_text(p->name);
  if (!(p->flags[0] & PARAM0_POPUP_NOT_OWNED))
    for (const char* text : p->popup_entry) free_text(text);
  if (!(p->flags[0] & PARAM0_WIDGETS_NOT_OWNED)) free_widgets(p->widgets);
  for (const char* text : p->channel_text) free_text(text);
  delete[] p;
}

void free_genotype(genotype* g) {
  if (!g) return;
  for (int i = 0; i < g->n_params; ++i) release_param(g->params[i]);
  if (!g->shares_strings) {
    for (int i = 0; i < g->n_nodes; ++i) free_text(g->nodes[i].name);
    for (const char* title : g->page_names) free_text(title);
    for (const param_group& group : g->groups) free_text(group.name);
    free_text(g->effect_popup_name);
  }
  free_text(g->description);
  free_widget_list(*g);
  delete[] g->nodes;
  delete g;
}

genotype* copy_genotype(const genotype& g) {
  std::unique_ptr<genotype, genotype_release> copy(new genotype(g));
  copy->shares_strings = 1;
  copy->n_host_params = 0;
  copy->host_params = nullptr;
  // What the copy owns grows piece by piece: memory may run out at any of them.
  copy->nodes = nullptr;
  copy->description = nullptr;
  copy->n_params = 0;
  copy->n_widgets = 0;
  copy->widgets = nullptr;
  copy->description = copy_text(g.description);
  for (; copy->n_params < g.n_params; ++copy->n_params)
    copy->params[copy->n_params] = copy_param(*g.params[copy->n_params]);
  copy_widget_list(*copy, g);
  for (param_group& group : copy->groups)
    if (group.parent) group.parent = copy->groups + (group.parent - g.groups);

  copy->nodes = allocate_zeroed<node>(std::size_t(g.node_capacity));
  std::copy_n(g.nodes, g.n_nodes, copy->nodes);
  for (int i = 0; i < g.n_nodes; ++i) {
    // What a render hangs on a node stays with the original.
    node& n = copy->nodes[i];
    std::fill(std::begin(n.images), std::end(n.images), nullptr);
    n.vars = nullptr;
    n.misc_ptr = nullptr;
    n.bounds = nullptr;
    n.node_flags &= std::uint8_t(~NODE_IMAGES_VALID);
  }
  set_genotype_arg_ptrs(*copy);
  bind_params_to_nodes(*copy);
  return copy.release();
}

}  // namespace tessaron
