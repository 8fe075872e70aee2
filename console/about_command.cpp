#include "console/about_command.h"

#include <algorithm>
#include <cstdio>

#include "console/effect_host.h"
#include "console/errors.h"

namespace tessaron::console {
namespace {

constexpr int PLAIN = 0, WARNING = 7;  // severities of messages

/// The definition with its comment lines in front again, where the engine looks for the description.
definition_text described(definition_text definition) {
  std::string comment;
  for (std::size_t begin = 0; begin < definition.comment.size();) {
    const std::size_t end = std::min(definition.comment.find('\n', begin), definition.comment.size());
    comment += "// " + definition.comment.substr(begin, end - begin) + "\n";
    begin = end + 1;
  }
  definition.text = comment + definition.text;
  if (definition.whole_at) definition.whole_at += comment.size();
  return definition;
}

/// A custom effect goes by its name, as a plug-in file that was made for it does.
hostkit::help_result about_custom(const std::string& name,
                                  const std::function<int(const tessaron_help_window&)>& show) {
  tessaron_plugin plugin = {};
  plugin.plugin_name = name.c_str();
  plugin.doc_name = name.c_str();
  plugin.is_custom = 1;
  plugin.plugin_version = 1.1f;
  hostkit::instance instance(&tessaron_main, plugin);
  return instance.about(show);
}

hostkit::help_result about_effect(const about_options& options, const found_effect& effect) {
  std::function<int(const tessaron_help_window&)> show;
  if (options.help_page) show = [](const tessaron_help_window&) { return int(TESSARON_HELP_PAGE); };
  if (effect.origin == "custom") return about_custom(effect.definition.name, show);
  const genotype_ptr g = bind_effect(effect.definition);
  effect_host host(options.place, described(effect.definition), *g, false);
  return host.instance().about(show);
}

}  // namespace

int about_command(const about_options& options) {
  use_config_dir(options.place);
  const found_effect effect = find_effect(options.place, options.effect);
  hostkit::help_result result;
  try {
    result = about_effect(options, effect);
  } catch (const hostkit::host_error& fault) {
    throw work_error(effect.definition.name + ": " + fault.what());
  }
  bool failed = false;
  for (const auto& message : result.messages) {
    const bool is_report = message.severity != PLAIN;
    failed = failed || message.severity >= WARNING;
    std::fprintf(is_report ? stderr : stdout, "%s\n", message.text.c_str());
  }
  if (result.error) throw work_error("the about command failed with error " + std::to_string(result.error));
  return failed ? EXIT_WORK_FAILED : EXIT_DONE;
}

}  // namespace tessaron::console
