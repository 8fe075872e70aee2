// Loads the effects of a plug-in: from the texts it carries, or from a definitions file.
#include <algorithm>

#include "base/report.h"
#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "genotype/text_reader.h"

namespace tessaron {

const std::int32_t* effect_capacity_hints = nullptr;
void (*read_configuration)() = nullptr;
std::int16_t angle_dial_offset = 0;

namespace {

constexpr const char* FALLBACK_DEFINITION = "(define NoCustom dest = 0)";  // a black effect

/// A string as the reader's source, for a scope.
struct string_source {
  explicit string_source(const char* text) { open_reading_from_string(text); }
  ~string_source() { close_reading_from_string(); }
};

void prepare_reading() {
  if (!tables_ready) set_tables_and_globals();
  if (read_configuration) read_configuration();
}

/// The first definition of a text; null after a report.
genotype* read_from_string(const char* text) {
  const string_source source(text);
  char name[TOKEN_SIZE];
  if (!find_next_definition(name)) {
    report(REPORT_ERROR, "Eof reading genotype define from string.");
    return nullptr;
  }
  return read_genotype(name);
}

[[noreturn]] void fail_loading(const char* path) { fatal("Failed loading from %s.", path); }

/// Makes `g` the only effect of the plug-in.
void set_only_effect(genotype* g) {
  Globals->genotypes[0] = g;
  Globals->n_effects = 1;
  Globals->current_effect_i = 0;
}

void free_first_effect() {
  free_genotype(Globals->genotypes[0]);
  Globals->genotypes[0] = nullptr;
}

/// Copies the modifiers that belong to the plug-in from its first effect to the others.
void share_plugin_modifiers() {
  static constexpr std::uint8_t SHARED[3] = {0, GENO1_MASK_COLOR | GENO1_COMBINES_2, GENO2_COMBINES_2_CONSTANT};
  const genotype& first = *Globals->genotypes[0];
  for (int i = 1; i < Globals->n_effects; ++i)
    for (int byte = 0; byte < 3; ++byte) {
      std::uint8_t& flags = Globals->genotypes[i]->flags[byte];
      flags = std::uint8_t((flags & ~SHARED[byte]) | (first.flags[byte] & SHARED[byte]));
    }
}

}  // namespace

void set_tables_and_globals() {
  if (tables_ready) return;
  build_tables();
  define_catalogue();
  tables_ready = true;
}

void load_effects_from_strings() {
  if (Globals->n_effects < 1) report(REPORT_ERROR, "load_effects_from_strings: Globals->n_effects <= 0.");
  if (Globals->n_effects > MAX_EFFECTS_PER_PLUGIN)
    fatal("load_effects_from_strings: %d effects, %d is max.", Globals->n_effects, MAX_EFFECTS_PER_PLUGIN);
  prepare_reading();
  for (int i = 0; i < Globals->n_effects; ++i) {
    const std::int32_t hint = effect_capacity_hints ? effect_capacity_hints[i] : 0;
    node_capacity_hint = hint > 0 ? hint : NODE_GROWTH;
    genotype* g = read_from_string(Globals->effect_names[i]);
    if (!g) {
      effect_capacity_hints = nullptr;
      fatal("Failed loading effect from string.");
    }
    Globals->genotypes[i] = g;
  }
  effect_capacity_hints = nullptr;
  if (Globals->n_effects >= 2) share_plugin_modifiers();
}

void load_effect_by_name(const char* name, const char* path) {
  prepare_reading();
  free_first_effect();
  genotype* g = nullptr;
  {
    const file_source file(path);
    if (!file.stream) fail_loading(path);
    char found[TOKEN_SIZE];
    bool more = find_next_definition(found);
    while (more && std::string(found) != name) more = find_next_definition(found);
    if (more)
      g = read_genotype(found);
    else
      report(REPORT_ERROR, "The effect named '%s' was not found in file %s.", name, path);
  }
  if (!g) fail_loading(path);
  set_only_effect(g);
}

void load_effect_by_index(int index, const char* path) {
  prepare_reading();
  free_first_effect();
  genotype* g = nullptr;
  {
    const file_source file(path);
    char name[TOKEN_SIZE];
    bool more = file.stream && index >= 0 && find_next_definition(name);
    for (int i = 0; more && i < index; ++i) more = find_next_definition(name);
    if (more) g = read_genotype(name);
  }
  if (!g) {
    report(REPORT_WARNING,
           "\nYou have tried to load the %d%s custom effect from\n%s,\nbut there are not that many custom effects "
           "defined in that file.\nPerhaps there's a syntax error in the custom effect?\n",
           index + 1, ordinal_suffix(index + 1), path);
    g = load_effect_from_string(FALLBACK_DEFINITION);
  }
  set_only_effect(g);
  Globals->n_inputs = g->n_inputs;
}

genotype* load_effect_from_string(const char* text) {
  prepare_reading();
  node_capacity_hint = NODE_GROWTH;
  return read_from_string(text);
}

}  // namespace tessaron
