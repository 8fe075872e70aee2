#include "console/plugin_file.h"

#include <dlfcn.h>

#include <filesystem>

#include "console/errors.h"

namespace tessaron::console {
namespace {

/// What a plug-in file exports: a function without arguments that gives its descriptor.
constexpr const char* DESCRIPTOR_SYMBOL = "tessaron_plugin_descriptor";
using descriptor_fn = const tessaron_plugin* (*)();

}  // namespace

plugin_file::plugin_file(const std::string& path) : path_(path) {
  const auto refuse = [&](const std::string& why) { throw work_error("--plugin " + path + ": " + why); };
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored)) refuse("no such file");
  // A name without a slash would be looked for among the system's libraries.
  library_.reset(dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library_) refuse(std::string("is not a plug-in (") + dlerror() + ")");
  const auto descriptor = reinterpret_cast<descriptor_fn>(dlsym(library_.get(), DESCRIPTOR_SYMBOL));
  if (!descriptor) refuse(std::string("is not a plug-in: it does not export ") + DESCRIPTOR_SYMBOL);
  descriptor_ = descriptor();
  if (!descriptor_ || !descriptor_->plugin_name) refuse("gives no descriptor");
}

void plugin_file::library_closer::operator()(void* library) const { dlclose(library); }

tessaron_main_fn plugin_file::entry() const { return &tessaron_main; }

std::vector<definition_text> plugin_file::definitions() const {
  std::vector<definition_text> found;
  if (!descriptor_->is_custom) {
    for (const char* const* text = descriptor_->effect_names; text && *text; ++text)
      scan_definition_text(*text, path_, found);
    return found;
  }
  std::vector<definition_text> customs;
  std::string error;
  if (!scan_definitions(inspect_config_dir() + "/t_config.text", customs, error))
    throw work_error("cannot read " + error);
  for (definition_text& definition : customs)
    if (definition.name == descriptor_->plugin_name) {
      found.push_back(std::move(definition));
      return found;
    }
  throw work_error(path_ + ": its effect " + descriptor_->plugin_name + " is not in " + inspect_config_dir() +
                   "/t_config.text");
}

}  // namespace tessaron::console
