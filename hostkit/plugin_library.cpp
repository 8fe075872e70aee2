// The host kit's one call to the system's loader.
#include "hostkit/plugin_library.h"

#include <dlfcn.h>

#include "hostkit/shared_object.h"

namespace tessaron::hostkit {
namespace {

/// Path that the loader doesn't look up in its search directories.
std::string explicit_path(const std::string& path) { return path.find('/') == std::string::npos ? "./" + path : path; }

void* load(const std::string& path) {
  std::string fault = shared_object_fault(explicit_path(path));
  if (fault.empty()) {
    if (void* library = dlopen(explicit_path(path).c_str(), RTLD_NOW | RTLD_LOCAL)) return library;
    const char* text = dlerror();
    fault = text ? text : "unknown error";
  }
  throw host_error("Plug-in " + path + " can't be loaded: " + fault);
}

}  // namespace

plugin_library::plugin_library(const std::string& path) : library_(load(path)) {
  // Both are looked for in the plug-in first, then in the libraries that it is linked to.
  entry_ = reinterpret_cast<tessaron_main_fn>(dlsym(library_, "tessaron_main"));
  const auto descriptor =
      reinterpret_cast<tessaron_plugin_descriptor_fn>(dlsym(library_, TESSARON_PLUGIN_DESCRIPTOR_NAME));
  descriptor_ = descriptor ? descriptor() : nullptr;
  if (entry_ && descriptor_) return;
  const std::string missing = !entry_ ? "tessaron_main" : !descriptor ? TESSARON_PLUGIN_DESCRIPTOR_NAME : "descriptor";
  dlclose(library_);
  throw host_error("Plug-in " + path + " has no " + missing + ".");
}

plugin_library::~plugin_library() { dlclose(library_); }

}  // namespace tessaron::hostkit
