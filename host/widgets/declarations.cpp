#include "host/widgets/declarations.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "host/widgets/types.h"

namespace tessaron {

namespace {

constexpr std::uint8_t STATE_UNSET = 3;

bool same(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

/// The widgets of one genotype while its parameters are gone through.
class gathering {
 public:
  gathering(genotype& g, widget_numbering& numbering) : g_(g), numbering_(numbering) {}
  ~gathering() {
    for (widget_declaration& w : list_) release_widget(w);
  }
  gathering(const gathering&) = delete;
  gathering& operator=(const gathering&) = delete;

  void add(int param_index, const widget_entry& entry);
  void finish();

 private:
  void check_numbering(const widget_entry& entry);
  widget_declaration* numbered(const widget_entry& entry, const widget_type& type);
  widget_declaration* unnumbered(const widget_entry& entry, const widget_type& type);
  widget_declaration& new_widget(const widget_type& type, int instance);
  void add_part(widget_declaration& w, int param_index, const widget_entry& entry);
  void settle_enable(widget_declaration& w, int param_index, const widget_entry& entry);
  void find_switch(int index);
  void name_widget(int index);
  int index_of(const widget_declaration& w) const { return int(&w - list_.data()); }
  /// What messages call the widget: its instance number, or its place in the list.
  int number_of(const widget_declaration& w) const { return w.instance >= 0 ? w.instance : index_of(w); }
  int param_named(const char* name) const;

  struct wish {  // of an entry for another's checkbox
    const char* param_name = nullptr;
    int number = -1;
  };

  genotype& g_;
  widget_numbering& numbering_;
  std::vector<widget_declaration> list_;
  std::vector<wish> wishes_;
};

int gathering::param_named(const char* name) const {
  for (int k = 0; k < g_.n_params; ++k)
    if (same(g_.params[k]->name, name)) return k;
  return -1;
}

void gathering::check_numbering(const widget_entry& entry) {
  const bool has_number = entry.order >= 0;
  const widget_numbering way = has_number ? widget_numbering::numbered : widget_numbering::not_numbered;
  if (numbering_ == widget_numbering::unknown) numbering_ = way;
  if (numbering_ == way) return;
  if (has_number)
    report(REPORT_WARNING,
           "Mixing instance-number and non-numbered widgets in same plugin, part %s of %s says instance %d (param %s)",
           entry.param_name, entry.widget_type, entry.order, entry.owner_name);
  else
    report(REPORT_WARNING,
           "Mixing instance-number and non-numbered widgets in same plugin, part %s of %s has no instance (param %s)",
           entry.param_name, entry.widget_type, entry.owner_name);
}

widget_declaration& gathering::new_widget(const widget_type& type, int instance) {
  widget_declaration w = {};
  w.type_name = type.type_name;
  w.base_type = type.base_type;
  w.instance = instance;
  w.default_on_p = true;
  w.default_state = STATE_UNSET;
  w.wenable_here = w.enable_of = w.enable_toggle = -1;
  wishes_.emplace_back();
  return list_.emplace_back(w);
}

/// Parts with one number make one widget.
widget_declaration* gathering::numbered(const widget_entry& entry, const widget_type& type) {
  const auto seen = std::find_if(list_.begin(), list_.end(), [&](const auto& w) { return w.instance == entry.order; });
  if (seen == list_.end()) return &new_widget(type, entry.order);
  if (!same(seen->base_type, type.base_type)) {
    report(REPORT_WARNING,
           "Mismatched widget type names for %s vs %s, seen while looking at part %s in param %s; may be instance "
           "numbering problem?",
           seen->type_name, type.type_name, entry.param_name, entry.owner_name);
    return nullptr;
  }
  if (!same(seen->type_name, type.type_name))
    report(REPORT_WARNING, "Already saw widget %d name %s, %s wants to call it %s.\n", entry.order, seen->type_name,
           entry.owner_name, type.type_name);
  return &*seen;
}

/// Without numbers, the parts of a type make one widget, until a part comes again: that begins another one.
widget_declaration* gathering::unnumbered(const widget_entry& entry, const widget_type& type) {
  const int slot = slot_of_part(type.base_type, entry.param_name);
  for (widget_declaration& w : list_)
    if (w.instance < 0 && same(w.type_name, type.type_name) && !part_in_slot(w, slot)) return &w;
  return &new_widget(type, -1);
}

void gathering::add_part(widget_declaration& w, int param_index, const widget_entry& entry) {
  if (part_in_slot(w, slot_of_part(w.base_type, entry.param_name))) {
    report(REPORT_WARNING, "widget %d (%s) already has a part %s; param %s isn't used for it.\n", number_of(w),
           w.type_name, entry.param_name, entry.owner_name);
    return;
  }
  w.parts[w.n_parts++] = {copy_text(entry.param_name), std::int16_t(param_index), entry.effect_mask};
  w.effect_mask |= entry.effect_mask;
}

void gathering::settle_enable(widget_declaration& w, int param_index, const widget_entry& entry) {
  if (entry.display_name) {
    if (!w.enable_name)
      w.enable_name = copy_text(entry.display_name);
    else if (!same(w.enable_name, entry.display_name))
      report(REPORT_WARNING, "widget %d (%s) already has other enable name %s; param %s says %s.\n", number_of(w),
             w.type_name, w.enable_name, entry.owner_name, entry.display_name);
  }
  if (entry.enable_here) {
    if (w.wenable_here < 0)
      w.wenable_here = std::int16_t(param_index);
    else if (w.wenable_here != param_index)
      report(REPORT_WARNING, "widget %d (%s) already has a wenable_here on %s; can't add it to %s", number_of(w),
             w.type_name, g_.params[w.wenable_here]->name, entry.owner_name);
  }
  if (entry.default_state != STATE_UNSET) {
    if (w.default_state == STATE_UNSET) {
      w.default_state = entry.default_state;
      w.default_on_p = entry.default_state == 1;
    } else if (w.default_state != entry.default_state) {
      report(REPORT_WARNING, "Conflicting default_on_p settings for %s (%s)",
             w.enable_name ? w.enable_name : entry.owner_name, w.type_name);
    }
  }
  wish& wished = wishes_[std::size_t(index_of(w))];
  if (entry.enable_param) wished.param_name = entry.enable_param;
  if (entry.enable_number >= 0) wished.number = entry.enable_number;
}

void gathering::add(int param_index, const widget_entry& entry) {
  const widget_type* type = get_widget_type(entry.widget_type);
  if (!type) return;
  if (slot_of_part(type->base_type, entry.param_name) < 0) {
    report(REPORT_WARNING, "Bad part name %s for %s widget %s", entry.param_name, type->base_type, type->type_name);
    return;
  }
  check_numbering(entry);
  widget_declaration* w = entry.order >= 0 ? numbered(entry, *type) : unnumbered(entry, *type);
  if (!w) return;
  add_part(*w, param_index, entry);
  settle_enable(*w, param_index, entry);
}

/// Finds what switches a widget that wishes for another's checkbox.
void gathering::find_switch(int index) {
  widget_declaration& w = list_[std::size_t(index)];
  const wish& wished = wishes_[std::size_t(index)];
  int other = -1;
  if (wished.param_name) {
    const int k = param_named(wished.param_name);
    if (k >= 0 && g_.params[k]->ptype == PTYPE_TOGGLE) {
      w.enable_toggle = std::int16_t(k);
      return;
    }
    for (int i = 0; k >= 0 && other < 0 && i < int(list_.size()); ++i)
      for (int part = 0; part < list_[std::size_t(i)].n_parts; ++part)
        if (i != index && list_[std::size_t(i)].parts[part].param_index == k) other = i;
    if (other < 0)
      report(REPORT_WARNING, "widget %d (%s) uses the enable of param %s, which has none.\n", number_of(w), w.type_name,
             wished.param_name);
  } else if (wished.number >= 0) {
    for (int i = 0; other < 0 && i < int(list_.size()); ++i)
      if (number_of(list_[std::size_t(i)]) == wished.number) other = i;
    if (other < 0)
      report(REPORT_WARNING, "widget %d (%s) uses the enable of widget %d, which isn't there.\n", number_of(w),
             w.type_name, wished.number);
  }
  // One that would switch itself, along however many others, has its own.
  for (int i = other; i >= 0; i = list_[std::size_t(i)].enable_of)
    if (i == index) return;
  w.enable_of = std::int16_t(other);
}

/// A widget that nobody named takes its name from the first part of its base type.
void gathering::name_widget(int index) {
  widget_declaration& w = list_[std::size_t(index)];
  if (w.enable_name || w.enable_of >= 0 || w.enable_toggle >= 0) return;
  const auto slots = slots_of_base_type(w.base_type);
  const widget_part* first = part_in_slot(w, 0);
  // A radius may go by any name.
  if (!first && slots.size() > 1 && same(slots[1].name, ANY_PART)) first = part_in_slot(w, 1);
  if (first) {
    const bool is_center = index == 0 && same(w.base_type, "center");
    w.enable_name = copy_text(is_center ? "center" : g_.params[first->param_index]->name);
    return;
  }
  report(REPORT_ERROR,
         "%s: missing part %s, so can't get widget name for type '%s' (base type %s).\n  Found the following parts:",
         g_.name, slots[0].name, w.type_name, w.base_type);
  for (int k = 0; k < w.n_parts; ++k)
    report(REPORT_PLAIN, "  '%s' on param %s (mask %x)\n", w.parts[k].name, g_.params[w.parts[k].param_index]->name,
           unsigned(w.parts[k].effect_mask));
}

void gathering::finish() {
  for (int i = 0; i < int(list_.size()); ++i) find_switch(i);
  for (int i = 0; i < int(list_.size()); ++i) name_widget(i);
  for (widget_declaration& w : list_)
    if (w.enable_of < 0 && w.enable_toggle < 0) {
      const std::string shown = std::string("Show ") + widget_shown_name(w);
      w.enable_param = new_toggle(shown.c_str(), w.default_on_p);
      w.enable_param->host_index = -1;
    }
  if (list_.empty()) return;
  g_.widgets = new widget_declaration[list_.size()]();
  std::copy(list_.begin(), list_.end(), g_.widgets);
  g_.n_widgets = std::int32_t(list_.size());
  list_.clear();  // the genotype owns them now
}

/// Whether two widgets have a part of one name on parameters of one name.
bool share_a_part(const genotype& g, const widget_declaration& w, const genotype& other_g,
                  const widget_declaration& other) {
  for (const widget_part& own : std::span(w.parts, std::size_t(w.n_parts)))
    for (const widget_part& its : std::span(other.parts, std::size_t(other.n_parts)))
      if (same(own.name, its.name) && same(g.params[own.param_index]->name, other_g.params[its.param_index]->name))
        return true;
  return false;
}

}  // namespace

void gather_widgets(genotype& g, widget_numbering& numbering) {
  free_widget_list(g);
  gathering found(g, numbering);
  for (int k = 0; k < g.n_params; ++k)
    for (const widget_entry* entry = g.params[k]->widgets; entry; entry = entry->next) found.add(k, *entry);
  found.finish();
}

void gather_plugin_widgets() {
  widget_numbering numbering = widget_numbering::unknown;
  for (int i = 0; i < Globals->n_effects; ++i)
    if (genotype* g = Globals->genotypes[i]) gather_widgets(*g, numbering);
}

param* param_of_part(const genotype& g, const widget_part& part) {
  return part.param_index >= 0 && part.param_index < g.n_params ? g.params[part.param_index] : nullptr;
}

const widget_part* part_in_slot(const widget_declaration& w, int slot) {
  for (int k = 0; k < w.n_parts; ++k)
    if (slot_of_part(w.base_type, w.parts[k].name) == slot) return &w.parts[k];
  return nullptr;
}

param* enable_of_widget(const genotype& g, const widget_declaration& w) {
  const widget_declaration* switched = &w;
  while (switched->enable_of >= 0) switched = &g.widgets[switched->enable_of];
  if (switched->enable_toggle >= 0) return g.params[switched->enable_toggle];
  return switched->enable_param;
}

const char* widget_shown_name(const widget_declaration& w) { return w.enable_name ? w.enable_name : "unnamed"; }

void start_enable_placement(genotype& g) {
  for (int i = 0; i < g.n_widgets; ++i) g.widgets[i].placed = false;
}

widget_declaration* next_enable_behind(genotype& g, int k) {
  const auto belongs = [&](const widget_declaration& w) {
    if (k >= g.n_params) return true;
    if (w.wenable_here >= 0) return w.wenable_here == k;
    return std::any_of(w.parts, w.parts + w.n_parts, [&](const widget_part& p) { return p.param_index == k; });
  };
  for (int i = 0; i < g.n_widgets; ++i)
    if (widget_declaration& w = g.widgets[i]; w.enable_param && !w.placed && belongs(w)) return &w;
  return nullptr;
}

void share_enable_places() {
  const genotype* first = Globals->effect_genotype;
  if (!first) return;
  const auto counterpart = [&](const genotype& g, const widget_declaration& w) -> const param* {
    for (int i = 0; i < first->n_widgets; ++i) {
      const widget_declaration& other = first->widgets[i];
      if (other.enable_param && same(other.type_name, w.type_name) && other.instance == w.instance &&
          share_a_part(g, w, *first, other))
        return other.enable_param;
    }
    return nullptr;
  };
  for (int i = 0; i < Globals->n_effects; ++i) {
    genotype* g = Globals->genotypes[i];
    if (!g || g == first) continue;
    for (int k = 0; k < g->n_widgets; ++k)
      if (g->widgets[k].enable_param)
        if (const param* declared = counterpart(*g, g->widgets[k])) {
          g->widgets[k].enable_param->host_index = declared->host_index;
          g->widgets[k].enable_param->host_id = declared->host_id;
        }
  }
}

}  // namespace tessaron
