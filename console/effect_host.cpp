#include "console/effect_host.h"

#include <algorithm>
#include <cstring>

#include "console/errors.h"
#include "console/names.h"
#include "console/param_numbers.h"

namespace tessaron::console {
namespace {

/// Controls that show the same to a user.
bool look_alike(const pf_param_def& a, const pf_param_def& b) {
  return a.param_type == b.param_type && std::strcmp(a.name, b.name) == 0;
}

/// Names of a plug-in's effects as its popup has them. Variants of an effect for other inputs have one entry.
std::vector<std::string> popup_entries(const std::vector<definition_text>& definitions) {
  std::vector<std::string> names;
  for (const definition_text& definition : definitions)
    if (std::find(names.begin(), names.end(), definition.name) == names.end()) names.push_back(definition.name);
  return names;
}

}  // namespace

effect_host::effect_host(const effect_place& place, const definition_text& definition, genotype& g, bool offers_bgra)
    : g_(g) {
  hostkit::host_identity identity;
  identity.offers_bgra = offers_bgra;
  if (!place.plugin_file.empty()) {
    plugin_.emplace(place.plugin_file);
    load_plugin(definition, identity);
  } else {
    texts_.emplace(definition.name, std::vector<std::string>{definition.text});
    instance_ = std::make_unique<hostkit::instance>(&tessaron_main, texts_->record(), identity);
  }
  first_control_ = n_slots();
  if (several_effects_) choose_effect(definition.name);
}

/// Sets the plug-in up; of an unstamped copy also as many times more as it takes to come to the effect.
void effect_host::load_plugin(const definition_text& definition, const hostkit::host_identity& identity) {
  const auto load = [&] {
    return std::make_unique<hostkit::instance>(plugin_->entry(), plugin_->descriptor(), identity);
  };
  if (plugin_->takes_customs_in_order()) {
    for (const definition_text& custom : plugin_->definitions()) {
      if (custom.name == definition.name) break;
      before_.push_back(load());
    }
  } else {
    several_effects_ = plugin_->definitions().size() > 1;
  }
  instance_ = load();
}

/// Sets the popup of effects, which is declared where there is more than one.
void effect_host::choose_effect(const std::string& name) {
  const std::vector<std::string> entries = popup_entries(plugin_->definitions());
  if (entries.size() < 2) return;
  std::vector<pf_param_def>& values = instance_->values();
  const std::size_t entry = std::size_t(std::find(entries.begin(), entries.end(), name) - entries.begin());
  const std::size_t popup = first_control_;
  if (popup >= values.size() || values[popup].param_type != PF_Param_POPUP ||
      int(entry) >= values[popup].u.popup.n_choices)
    throw work_error("the plug-in has no popup that chooses " + name);
  values[popup].u.popup.value = int(entry) + 1;
  ++first_control_;
}

/// The layer itself and the inputs declared right behind it.
std::size_t effect_host::n_slots() const {
  const std::vector<pf_param_def>& declared = instance_->declared();
  std::size_t n = 1;
  while (n < declared.size() && declared[n].param_type == PF_Param_LAYER) ++n;
  return n;
}

std::vector<const hostkit::image*> effect_host::in_slots(const std::vector<const hostkit::image*>& inputs) const {
  if (!several_effects_) return inputs;
  // The slots are those of all effects; the first one's name is not declared.
  std::vector<const hostkit::image*> slots(n_slots());
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    std::size_t slot = 1;
    while (slot < slots.size() && !is_shown_as(g_.input_names[i], instance_->declared()[slot].name)) ++slot;
    slots[slot < slots.size() ? slot : 0] = inputs[i];
  }
  return slots;
}

/// The control that stands for control `index` of the definition's own, by its place among those that look alike.
pf_param_def& effect_host::control(const std::vector<pf_param_def>& own, std::size_t index,
                                   std::vector<pf_param_def>& values) {
  auto rank = std::count_if(own.begin(), own.begin() + std::ptrdiff_t(index),
                            [&](const pf_param_def& other) { return look_alike(other, own[index]); });
  for (std::size_t i = first_control_; i < values.size(); ++i)
    if (look_alike(values[i], own[index]) && rank-- == 0) return values[i];
  throw work_error(std::string("the plug-in has no control for ") + own[index].name);
}

std::vector<effect_host::own_controls> effect_host::params_with_controls(const std::vector<pf_param_def>& own) const {
  std::vector<own_controls> params;
  for (int k = 0; k < g_.n_params; ++k) {
    param& p = *g_.params[k];
    if (p.host_index < 1) continue;
    // Declaring writes down where each parameter's controls begin, counted from 1.
    const std::size_t begin = std::size_t(p.host_index) - 1;
    params.push_back({&p, begin, control_count(p, own, begin)});
  }
  return params;
}

void effect_host::set_params(const std::vector<param_setting>& settings, double frame,
                             std::vector<pf_param_def>& values) {
  if (settings.empty()) return;
  apply_params(settings, frame, g_);
  const std::vector<pf_param_def> own = inspect_host_params(g_);
  for (const own_controls& controls : params_with_controls(own)) {
    const bool set = std::any_of(settings.begin(), settings.end(),
                                 [&](const param_setting& setting) { return setting.name == controls.p->name; });
    for (std::size_t i = 0; set && i < controls.count; ++i)
      hostkit::take_default(control(own, controls.begin + i, values), own[controls.begin + i]);
  }
}

std::vector<std::string> effect_host::param_texts(const std::vector<int>& indices) {
  std::vector<pf_param_def>& values = instance_->values();
  const std::vector<pf_param_def> own = inspect_host_params(g_);
  std::vector<std::string> texts;
  for (const own_controls& controls : params_with_controls(own)) {
    std::vector<pf_param_def> held;
    bool asked = false;
    for (std::size_t i = 0; i < controls.count; ++i) {
      const pf_param_def& value = control(own, controls.begin + i, values);
      held.push_back(value);
      asked = asked || std::find(indices.begin(), indices.end(), int(&value - values.data())) != indices.end();
    }
    if (asked) texts.push_back(param_text(g_, *controls.p, held));
  }
  return texts;
}

}  // namespace tessaron::console
