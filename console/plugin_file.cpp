#include "console/plugin_file.h"

#include <cstring>

#include "console/errors.h"
#include "installer/name_placeholder.h"

namespace tessaron::console {

bool plugin_file::takes_customs_in_order() const {
  const tessaron_plugin& plugin = descriptor();
  return plugin.is_custom && plugin.plugin_name && !std::strcmp(plugin.plugin_name, installer::NAME_PLACEHOLDER);
}

std::vector<definition_text> plugin_file::definitions() const {
  if (!descriptor().is_custom) return own_definitions();
  const std::string file = inspect_config_dir() + "/t_config.text";
  std::vector<definition_text> customs;
  std::string error;
  if (!scan_definitions(file, customs, error)) throw work_error("cannot read " + error);
  if (takes_customs_in_order()) {
    if (customs.empty()) throw work_error(path_ + ": there is no custom effect in " + file);
    return customs;
  }
  const std::string name = descriptor().plugin_name ? descriptor().plugin_name : "";
  for (definition_text& definition : customs)
    if (definition.name == name) return {std::move(definition)};
  throw work_error(path_ + ": its effect '" + name + "' is not in " + file);
}

/// The first definition of each text with its suffix, as the engine reads them.
std::vector<definition_text> plugin_file::own_definitions() const {
  const tessaron_plugin& plugin = descriptor();
  std::vector<definition_text> found;
  for (int i = 0; i < plugin.n_effects && plugin.effect_names && plugin.effect_names[i]; ++i) {
    std::string text = plugin.effect_names[i];
    if (plugin.effect_suffixes && plugin.effect_suffixes[i]) text += plugin.effect_suffixes[i];
    std::vector<definition_text> of_text;
    scan_definition_text(text, path_, of_text);
    if (!of_text.empty()) found.push_back(std::move(of_text.front()));
  }
  if (found.empty()) throw work_error(path_ + ": offers no effect");
  return found;
}

}  // namespace tessaron::console
