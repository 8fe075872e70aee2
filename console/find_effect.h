// Where effects come from: a definitions file, the stock effects, the custom effects.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/inspect.h"

namespace tessaron::console {

/// Options that say where to look.
struct effect_place {
  std::string defs_file;
  std::string plugin_file;
  std::string config_dir;
};

/// A definition and where it was found: "file", "stock", "custom" or "plug-in".
struct found_effect {
  definition_text definition;
  std::string origin;
};

/// Makes --config-dir known to the engine, or the folder that comes with the program where no directory is
/// configured that is there; before anything is looked up.
void use_config_dir(const effect_place& place);

/// All effects of the place, in the order in which they are looked for. Throws work_error when a file
/// cannot be read, or when there is no configuration directory to look in.
std::vector<found_effect> all_effects(const effect_place& place);

/// The first effect of that name, token or shown form. Throws command_line_error with near names.
found_effect find_effect(const effect_place& place, const std::string& name);
/// The same; of a plug-in all that it offers under the name, variants for other inputs. Never empty.
std::vector<found_effect> find_variants(const effect_place& place, const std::string& name);

struct genotype_deleter {
  void operator()(genotype* g) const { free_inspected(g); }
};
using genotype_ptr = std::unique_ptr<genotype, genotype_deleter>;

/// Writes reports to standard error, each with its label, and its place on a line of its own.
void print_reports(const std::vector<inspected_report>& reports);

/// Reads and binds a definition, and prints its reports; `said` takes their texts. Throws work_error when it fails.
genotype_ptr bind_effect(const definition_text& definition, std::vector<std::string>* said = nullptr);

/// Input names that a genotype declares, at most four.
std::vector<std::string> input_names(const genotype& g);

}  // namespace tessaron::console
