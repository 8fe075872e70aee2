// Parameters that the effects of one plug-in share: checks that the variants agree on them, and the
// merge that makes one record of each.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "host/effect_table.h"

namespace tessaron {

namespace {

constexpr int SHARED_PARAM_LIMIT = 100;

/// A name in the table of shared parameters.
struct shared_param {
  param* owner;                       // the first parameter under the name
  std::vector<std::uint8_t> effects;  // popup entries that use it
};

using shared_params = std::vector<shared_param>;

bool same_text(const char* a, const char* b) { return a == b || (a && b && std::strcmp(a, b) == 0); }

shared_param* find_shared(shared_params& table, const char* name) {
  for (shared_param& entry : table)
    if (same_text(entry.owner->name, name)) return &entry;
  return nullptr;
}

/// Enters a name. The one that is too many is stored as well: a report, not a limit.
void register_shared(shared_params& table, param& p) {
  if (find_shared(table, p.name)) return;
  table.push_back({&p, {}});
  if (table.size() > SHARED_PARAM_LIMIT)
    report(REPORT_ERROR, "Too many shared params in %s (%s=%d)\n", Globals->plugin_name ? Globals->plugin_name : "",
           p.name, int(table.size()));
}

// The checks are a developer's aid: a difference is printed and passed by.

void check_shape(const genotype& g, const param& owner, const param& p) {
  const char* field = nullptr;
  if (owner.nchannels != p.nchannels) field = "nchannels";
  if (owner.ptype != p.ptype) field = "button-type";
  if (!field) return;
  std::fprintf(stderr,
               "ERROR: checking %s: mismatch in shared param \"%s\" (%s doesn't match):\n  old: %d ch (type %d), pg "
               "%d.\n  new: %d ch (type %d), pg %d.\n",
               g.name, p.name, field, owner.nchannels, owner.ptype, owner.page, p.nchannels, p.ptype, p.page);
}

/// False at the first limit that differs.
bool check_bounds(const genotype& g, const param& owner, const param& p) {
  struct limit {
    const char* field;
    float param::*value;
  };
  static constexpr limit LIMITS[] = {{"min bound", &param::min_bound},
                                     {"max bound", &param::max_bound},
                                     {"slider min", &param::slider_min},
                                     {"slider max", &param::slider_max}};
  for (const limit& l : LIMITS) {
    const float was = owner.*l.value, is = p.*l.value;
    if (was == is) continue;
    std::fprintf(stderr, "ERROR: %s vals: mismatch in shared param %s:\n  old %s: %g\n  new %s: %g\n", g.name, p.name,
                 l.field, double(was), l.field, double(is));
    return false;
  }
  return true;
}

void check_defaults(const genotype& g, const param& owner, const param& p) {
  for (int c = 0; c < p.nchannels; ++c) {
    const float was = owner.default_value[c], is = p.default_value[c];
    if (was == is) continue;
    std::fprintf(stderr,
                 "ERROR: %s: checking vals: mismatch in shared param default val, channel %d:\n  old %s: "
                 "default[%d]=%g\n  new %s: default[%d]=%g\n",
                 g.name, c, owner.name, c, double(was), p.name, c, double(is));
  }
}

bool same_modifier(const widget_entry& a, const widget_entry& b) {
  return same_text(a.param_name, b.param_name) && same_text(a.display_name, b.display_name) &&
         same_text(a.widget_type, b.widget_type) && same_text(a.enable_param, b.enable_param);
}

/// Makes `copy`, which a list holds already, a copy with texts of its own.
void copy_modifier(widget_entry& copy, const widget_entry& original) {
  static constexpr char* widget_entry::*TEXTS[] = {&widget_entry::param_name, &widget_entry::display_name,
                                                   &widget_entry::widget_type, &widget_entry::owner_name,
                                                   &widget_entry::enable_param};
  copy = original;
  copy.next = nullptr;
  for (const auto text : TEXTS) copy.*text = nullptr;
  for (const auto text : TEXTS) copy.*text = copy_text(original.*text);
}

/// Gives the owner what the other parameter's modifiers add, and says that popup entry `entry` has them.
void merge_modifiers(param& owner, const param& p, int entry) {
  for (const widget_entry* w = p.widgets; w; w = w->next) {
    widget_entry** place = &owner.widgets;
    while (*place && !same_modifier(**place, *w)) place = &(*place)->next;
    if (!*place) copy_modifier(*(*place = new widget_entry{}), *w);
    (*place)->effect_mask |= std::uint64_t(1) << entry;
  }
}

/// Puts `p` into a slot in place of what it holds.
void replace_param(param*& slot, param& p) {
  ++p.ref_count;
  release_param(slot);
  slot = &p;
}

/// Makes the owner of its name stand in place of parameter k of an effect.
void merge_param(shared_params& table, genotype& g, int k, int entry) {
  param& p = *g.params[k];
  shared_param* shared = find_shared(table, p.name);
  if (!shared) return;
  p.flags[0] |= PARAM0_SHARED;
  shared->effects.push_back(std::uint8_t(entry));
  if (&p == shared->owner) return;
  merge_modifiers(*shared->owner, p, entry);
  replace_param(g.params[k], *shared->owner);
}

/// Effects that differ only in optional inputs have the same parameters in the same order.
void check_input_combinations(effect_table& table) {
  for (int i = 0; i < Globals->n_effects; ++i) {
    genotype* g = Globals->genotypes[i];
    if (!g) continue;
    const int row = get_effect_index_from_genotype(g->name);
    const int first_i = row < 0 ? -1 : get_first_effect_from_table(table, row);
    genotype* first = first_i < 0 ? nullptr : Globals->genotypes[first_i];
    if (!first || first == g) continue;
    for (int k = 0; k < g->n_params || k < first->n_params; ++k) {
      const char* name = k < g->n_params ? g->params[k]->name : "(none)";
      const char* first_name = k < first->n_params ? first->params[k]->name : "(none)";
      if (!same_text(name, first_name))
        report(REPORT_ERROR,
               "%s(%s): param %d name mismatch in effects which should only differ in optional inputs: %s in effect %d "
               "vs %s in %d",
               Globals->plugin_name ? Globals->plugin_name : "", g->name, k, name, i, first_name, first_i);
      if (k < g->n_params && k < first->n_params) replace_param(g->params[k], *first->params[k]);
    }
  }
}

/// The effects of the popup's entries, each the first of its row, with Globals->effect_genotype set to
/// it while `visit(genotype, entry)` runs.
template <class Visit>
void for_each_entry(const std::vector<genotype*>& entries, Visit visit) {
  genotype* const before = Globals->effect_genotype;
  for (int i = 0; i < int(entries.size()); ++i) {
    if (!entries[i]) continue;
    Globals->effect_genotype = entries[i];
    visit(*entries[i], i);
  }
  Globals->effect_genotype = before;
}

}  // namespace

void check_shared_params() {
  if (!Globals->effect_table) return;
  effect_table& table = *Globals->effect_table;
  std::vector<genotype*> entries;
  bool all_shared = false;
  for (int i = 0; i < count_table_popup(table); ++i) {
    const int effect_i = get_first_effect_from_table(table, i);
    entries.push_back(effect_i < 0 ? nullptr : Globals->genotypes[effect_i]);
    if (entries.back() && (entries.back()->flags[0] & GENO0_SHARE_ALL)) all_shared = true;
  }

  // Each modifier records the popup entries that it came from. Those of an instance's private copies
  // are the plug-in's own, which have their marks.
  for_each_entry(entries, [](genotype& g, int entry) {
    for (int k = 0; k < g.n_params; ++k)
      if (!(g.params[k]->flags[0] & PARAM0_WIDGETS_NOT_OWNED))
        for (widget_entry* w = g.params[k]->widgets; w; w = w->next) w->effect_mask |= std::uint64_t(1) << entry;
  });

  shared_params shared;
  for_each_entry(entries, [&](genotype& g, int) {
    if (all_shared) g.flags[0] |= GENO0_SHARE_ALL;
    for (int k = 0; k < g.n_params; ++k) {
      param& p = *g.params[k];
      if (all_shared) p.flags[0] |= PARAM0_SHARED;
      if (p.flags[0] & PARAM0_SHARED) register_shared(shared, p);
    }
  });

  for_each_entry(entries, [&](genotype& g, int entry) {
    for (int k = 0; k < g.n_params; ++k) {
      const param& p = *g.params[k];
      const shared_param* known = find_shared(shared, p.name);
      if (!known || known->owner == &p) continue;
      check_shape(g, *known->owner, p);
      if (check_bounds(g, *known->owner, p)) check_defaults(g, *known->owner, p);
    }
    for (int k = 0; k < g.n_params; ++k) merge_param(shared, g, k, entry);
  });

  check_input_combinations(table);
}

}  // namespace tessaron
