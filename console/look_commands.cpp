#include "console/look_commands.h"

#include <cstdio>
#include <map>

#include "console/describe.h"
#include "console/errors.h"
#include "console/json_records.h"
#include "console/names.h"
#include "console/param_args.h"
#include "console/plan_dot.h"
#include "console/render_job.h"

namespace tessaron::console {
namespace {

void print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

/// Checks one file; false when a definition fails or there is none.
bool check_file(const std::string& path) {
  std::vector<definition_text> definitions;
  std::string error;
  if (!scan_definitions(path, definitions, error)) {
    std::fprintf(stderr, "tessaron: cannot read %s\n", error.c_str());
    return false;
  }
  if (definitions.empty()) {
    std::fprintf(stderr, "tessaron: %s: no definition found\n", path.c_str());
    return false;
  }
  bool good = true;
  std::map<std::string, int> first_lines;
  for (const definition_text& definition : definitions) {
    const std::string place = path + ":" + std::to_string(definition.line);
    const auto [first, is_new] = first_lines.emplace(definition.name, definition.line);
    if (!is_new)
      std::fprintf(stderr, "Warning: %s is defined twice; the first one is at %s:%d\n%s\n", definition.name.c_str(),
                   path.c_str(), first->second, place.c_str());
    std::vector<inspected_report> reports;
    const genotype_ptr g(inspect_definition(definition, reports));
    print_reports(reports);
    std::printf("%s: %s: %s\n", place.c_str(), definition.name.empty() ? "(no name)" : definition.name.c_str(),
                g ? "ok" : "failed");
    std::fflush(stdout);
    good = good && g;
  }
  return good;
}

}  // namespace

int list_command(const look_options& options) {
  use_config_dir(options.place);
  record_json list = record_json::array();
  std::string text;
  for (const found_effect& effect : all_effects(options.place)) {
    std::vector<inspected_report> reports;
    const genotype_ptr g(inspect_definition(effect.definition, reports));
    if (!g) print_reports(reports);
    if (options.json)
      list.push_back(list_record(effect, g.get()));
    else
      text.append(text.empty() ? "" : "\n").append(list_text(effect, g.get()));
  }
  print(options.json ? json_text(list) : text);
  return EXIT_DONE;
}

int info_command(const look_options& options) {
  use_config_dir(options.place);
  const found_effect effect = find_effect(options.place, options.effect);
  const genotype_ptr g = bind_effect(effect.definition);
  print(options.json ? json_text(info_record(*g)) : info_text(effect, *g));
  return EXIT_DONE;
}

int plan_command(const look_options& options) {
  use_config_dir(options.place);
  const found_effect effect = find_effect(options.place, options.effect);
  const genotype_ptr g = bind_effect(effect.definition);
  const size_option size = options.size.empty() ? size_option{} : parse_size(options.size);
  apply_params(parse_params(options.params, *g), 0, *g);
  inspected_plan plan;
  std::vector<inspected_report> reports;
  const bool planned = inspect_plan(*g, size.width, size.height, plan, reports);
  print_reports(reports);
  if (!planned) throw work_error(effect.definition.name + ": no plan can be made");
  print(options.json ? json_text(plan_record(*g, plan)) : options.dot ? plan_dot(*g, plan) : plan_text(*g, plan));
  return EXIT_DONE;
}

int check_command(const look_options& options) {
  use_config_dir(options.place);
  bool good = true;
  for (const std::string& path : options.files) good = check_file(path) && good;
  return good ? EXIT_DONE : EXIT_WORK_FAILED;
}

int functions_command(const look_options& options) {
  const fun_registry& registry = inspect_catalogue();
  const fun_info* wanted = nullptr;
  std::vector<std::string> names;
  for (int i = 0; i < registry.fun_count; ++i) {
    names.push_back(registry.table[i].name);
    if (options.function == names.back()) wanted = &registry.table[i];
  }
  if (!options.function.empty() && !wanted)
    throw command_line_error("no function named '" + options.function + "'." + suggestion(options.function, names));
  if (options.json)
    print(json_text(functions_record(registry, options.function)));
  else
    print(wanted ? function_page(*wanted) : functions_text(registry));
  return EXIT_DONE;
}

}  // namespace tessaron::console
