// An effect as a host has it: set up from its text or from a plug-in file, with its controls and input slots.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "console/find_effect.h"
#include "console/param_args.h"
#include "console/plugin_file.h"

namespace tessaron::console {

class effect_host {
 public:
  /// `g`: the definition as bound, which says how its numbers become host values. Throws host_error when a setup
  /// command fails, work_error when the plug-in does not let the effect be chosen.
  effect_host(const effect_place& place, const definition_text& definition, genotype& g, bool offers_bgra);

  hostkit::instance& instance() { return *instance_; }
  /// Moves `values`, which are in the order of instance().values(), to what the settings say of a frame. What they
  /// leave out stays. Throws work_error when the plug-in has no control for a parameter.
  void set_params(const std::vector<param_setting>& settings, double frame, std::vector<pf_param_def>& values);
  /// The parameters that stand behind host parameters (by index), each once and as -p would have to set it to what
  /// the instance holds. Host parameters that no parameter of the definition has, such as a handle's checkbox, are
  /// left out.
  std::vector<std::string> param_texts(const std::vector<int>& indices);
  /// The definition's inputs in the slots of the plug-in, which may have more of them.
  std::vector<const hostkit::image*> in_slots(const std::vector<const hostkit::image*>& inputs) const;

 private:
  void load_plugin(const definition_text& definition, const hostkit::host_identity& identity);
  void choose_effect(const std::string& name);
  std::size_t n_slots() const;
  /// A parameter and the place of its controls among those of the definition.
  struct own_controls {
    param* p;
    std::size_t begin, count;
  };
  std::vector<own_controls> params_with_controls(const std::vector<pf_param_def>& own) const;
  pf_param_def& control(const std::vector<pf_param_def>& own, std::size_t index, std::vector<pf_param_def>& values);

  genotype& g_;
  std::optional<plugin_file> plugin_;
  std::optional<hostkit::plugin_texts> texts_;
  std::vector<std::unique_ptr<hostkit::instance>> before_;  // that took the custom effects in front of this one
  std::unique_ptr<hostkit::instance> instance_;
  bool several_effects_ = false;
  std::size_t first_control_ = 1;  // behind the inputs and the popup of effects
};

}  // namespace tessaron::console
