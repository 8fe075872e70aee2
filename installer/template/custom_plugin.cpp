// The template of custom plug-ins. The installer copies it and writes an effect's name over the two texts of
// `identity`; the copy hands that name to the engine, which looks the definition up in t_config.text.
//
// A copy may lie anywhere, and any number of them share one engine. So this isn't linked to the engine's library
// but looks for it at the first call: in the process and the loader's directories, in the one that the installation
// wrote into the template as its run path, and from the configuration directory.
#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <new>
#include <string>

#include "installer/name_placeholder.h"
#include "platform/platform.h"
#include "tessaron/host_interface.h"

namespace {

using namespace tessaron;

constexpr std::size_t IDENTITY_LENGTH = sizeof installer::NAME_PLACEHOLDER - 1;

struct identity_record {
  char zero;  // a byte of 31 in front of the plain text would make it look like a counted one
  char plain[IDENTITY_LENGTH + 1];
  unsigned char length;
  char counted[IDENTITY_LENGTH + 1];
};

consteval identity_record without_a_name() {
  identity_record record = {};
  std::copy_n(installer::NAME_PLACEHOLDER, IDENTITY_LENGTH, record.plain);
  record.length = IDENTITY_LENGTH;
  std::copy_n(installer::NAME_PLACEHOLDER, IDENTITY_LENGTH, record.counted);
  return record;
}

/// Each text stands in the file once. Volatile: what the compiler sees here isn't what a copy holds.
[[gnu::used]] const volatile identity_record identity = without_a_name();

using name_text = std::array<char, IDENTITY_LENGTH + 1>;

/// The text up to its NUL, `length` characters at most.
name_text read_name(const volatile char* text, std::size_t length) {
  name_text name = {};
  for (std::size_t i = 0; i < std::min(length, IDENTITY_LENGTH) && text[i]; ++i) name[i] = text[i];
  return name;
}

tessaron_plugin make_descriptor() {
  static const name_text name = read_name(identity.plain, IDENTITY_LENGTH);
  static const name_text doc_name = read_name(identity.counted, identity.length);
  tessaron_plugin plugin = {};
  plugin.plugin_name = name.data();
  plugin.n_effects = 1;
  plugin.is_custom = 1;
  plugin.doc_name = doc_name.data();
  plugin.plugin_version = 1.1f;
  return plugin;
}

constexpr const char* ENGINE_LIBRARY = "libtessaron.so.1";
constexpr const char* PRODUCT_KEY = "Software\\Holvane\\Tessaron AE\\1.10";

/// The directory that stands in this file as its run path; empty when there is none. The loader would look there
/// by itself, but for the tools that stand between it and its callers.
std::string run_path() {
  Dl_info info = {};
  link_map* map = nullptr;
  if (!dladdr1(const_cast<const identity_record*>(&identity), &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) ||
      !map)
    return {};
  ElfW(Addr) texts = 0, offset = 0;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_STRTAB) texts = entry->d_un.d_ptr;
    if (entry->d_tag == DT_RUNPATH) offset = entry->d_un.d_val;
  }
  if (!texts || !offset) return {};
  if (texts < map->l_addr) texts += map->l_addr;  // some systems leave it relative to the module
  return reinterpret_cast<const char*>(texts + offset);
}

/// Loads the engine's library, which stays loaded; null with `errors` set when it isn't found.
void* load_engine(std::string& errors) {
  const auto load = [&errors](const std::string& path) {
    std::string error;
    void* library = platform::load_library(path, error);
    if (!library) errors += (errors.empty() ? "" : "; ") + error;
    return library;
  };
  if (void* library = load(ENGINE_LIBRARY)) return library;
  const std::string directory = run_path();
  if (!directory.empty())
    if (void* library = load(directory + "/" + ENGINE_LIBRARY)) return library;
  std::string config_dir;
  if (!platform::read_registry_text(platform::registry_root::local_machine, PRODUCT_KEY, "ConfigDir", config_dir))
    return nullptr;
  return load(config_dir + "/" TESSARON_LIBRARY_FROM_CONFIG "/" + ENGINE_LIBRARY);
}

/// The engine's entry; null with `error` set when there is none. A failure isn't remembered: the engine may be
/// there at the next call.
tessaron_main_fn engine_entry(std::string& error) {
  static std::atomic<tessaron_main_fn> known = nullptr;
  if (const tessaron_main_fn entry = known) return entry;
  void* library = load_engine(error);
  if (!library) return nullptr;
  const auto entry = reinterpret_cast<tessaron_main_fn>(platform::library_symbol(library, "tessaron_main"));
  if (!entry) error = std::string(ENGINE_LIBRARY) + " has no tessaron_main";
  known = entry;
  return entry;
}

}  // namespace

extern "C" {

TESSARON_EXPORT const tessaron_plugin* tessaron_plugin_descriptor() {
  static const tessaron_plugin plugin = make_descriptor();
  return &plugin;
}

/// Hands the call on to the engine. A host that passes no descriptor means this plug-in's.
TESSARON_EXPORT int32_t tessaron_main(const tessaron_plugin* plugin, int32_t command, pf_in_data* in_data,
                                      pf_out_data* out_data, pf_param_def** params, pf_world* output, void* extra) {
  try {
    std::string error;
    if (const tessaron_main_fn entry = engine_entry(error))
      return entry(plugin ? plugin : tessaron_plugin_descriptor(), command, in_data, out_data, params, output, extra);
    if (out_data)
      std::snprintf(out_data->return_msg, sizeof out_data->return_msg, "The Tessaron engine can't be loaded: %s",
                    error.c_str());
  } catch (const std::bad_alloc&) {
    // of the search; the engine lets no exception out
  }
  return PF_Err_INTERNAL;
}
}
