#include "console/find_effect.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "console/errors.h"
#include "console/names.h"
#include "console/plugin_file.h"
#include "console/stock_folder.h"

namespace tessaron::console {
namespace fs = std::filesystem;
namespace {

void add_file(const std::string& path, const char* origin, std::vector<found_effect>& effects) {
  std::vector<definition_text> definitions;
  std::string error;
  if (!scan_definitions(path, definitions, error)) throw work_error("cannot read " + error);
  for (definition_text& definition : definitions) effects.push_back({std::move(definition), origin});
}

std::vector<std::string> definition_files(const std::string& folder) {
  std::vector<std::string> paths;
  std::error_code fault;
  for (fs::directory_iterator entry(folder, fault), end; !fault && entry != end; entry.increment(fault))
    if (entry->path().extension() == ".text") paths.push_back(entry->path().string());
  std::sort(paths.begin(), paths.end());
  return paths;
}

/// A configuration directory of the user's own need not repeat the stock effects.
std::string stock_effects(const std::string& config_dir) {
  std::error_code ignored;
  const std::string own = config_dir + "/effects", stock = stock_folder();
  return stock.empty() || fs::is_directory(own, ignored) ? own : stock + "/effects";
}

}  // namespace

void use_config_dir(const effect_place& place) {
  std::error_code ignored;
  if (!place.config_dir.empty()) {
    if (!fs::is_directory(place.config_dir, ignored))
      throw work_error("--config-dir " + place.config_dir + ": is not a directory");
    inspect_use_config_dir(fs::absolute(place.config_dir).string());
    return;
  }
  // A directory that the environment names was asked for: that it is missing is for the user to hear. The stored
  // one goes stale when an installation is moved or removed.
  const char* asked = std::getenv("TESSARON_CONFIG_DIR");
  if ((asked && *asked) || fs::is_directory(inspect_config_dir(), ignored)) return;
  if (const std::string stock = stock_folder(); !stock.empty()) inspect_use_config_dir(stock);
}

std::vector<found_effect> all_effects(const effect_place& place) {
  std::vector<found_effect> effects;
  if (!place.defs_file.empty()) {
    add_file(place.defs_file, "file", effects);
    return effects;
  }
  if (!place.plugin_file.empty()) {
    for (definition_text& definition : plugin_file(place.plugin_file).definitions())
      effects.push_back({std::move(definition), "plug-in"});
    return effects;
  }
  const std::string folder = inspect_config_dir();
  std::error_code ignored;
  if (!fs::is_directory(folder, ignored))
    throw work_error("there is no configuration directory " + folder +
                     "; name one with --config-dir or TESSARON_CONFIG_DIR, or a definitions file with --defs");
  for (const std::string& path : definition_files(stock_effects(folder))) add_file(path, "stock", effects);
  const std::string customs = folder + "/t_config.text";
  if (fs::exists(customs, ignored)) add_file(customs, "custom", effects);
  return effects;
}

found_effect find_effect(const effect_place& place, const std::string& name) {
  return std::move(find_variants(place, name).front());
}

std::vector<found_effect> find_variants(const effect_place& place, const std::string& name) {
  std::vector<found_effect> effects = all_effects(place), variants;
  const bool plugin = !place.plugin_file.empty();
  if (name.empty() && !plugin) throw command_line_error("which effect? EFFECT is missing");
  const std::string wanted = name.empty() ? effects.front().definition.name : name;
  std::vector<std::string> names;
  for (found_effect& effect : effects) {
    names.push_back(effect.definition.name);
    if (same_name(wanted, names.back()) && (variants.empty() || plugin)) variants.push_back(std::move(effect));
  }
  if (!variants.empty()) return variants;
  const std::string where = !place.defs_file.empty() ? place.defs_file
                            : plugin                 ? place.plugin_file
                                                     : inspect_config_dir();
  throw command_line_error("no effect named '" + name + "' in " + where + "." + suggestion(name, names));
}

void print_reports(const std::vector<inspected_report>& reports) {
  for (const inspected_report& report : reports) {
    std::fprintf(stderr, "%s\n", labelled_text(report).c_str());
    if (!report.location.empty()) std::fprintf(stderr, "%s\n", report.location.c_str());
  }
}

genotype_ptr bind_effect(const definition_text& definition, std::vector<std::string>* said) {
  std::vector<inspected_report> reports;
  genotype_ptr g(inspect_definition(definition, reports));
  print_reports(reports);
  if (said)
    for (const inspected_report& report : reports) said->push_back(labelled_text(report));
  if (!g)
    throw work_error(definition.file + ":" + std::to_string(definition.line) + ": the definition of " +
                     (definition.name.empty() ? "an effect without a name" : definition.name) + " failed");
  return g;
}

std::vector<std::string> input_names(const genotype& g) {
  std::vector<std::string> names;
  for (int i = 0; i < std::min(int(g.n_inputs), MAX_INPUTS); ++i) names.push_back(g.input_names[i]);
  return names;
}

}  // namespace tessaron::console
