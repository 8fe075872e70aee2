// The host kit's one call to the system's loader.
#include "hostkit/plugin_library.h"

#include <dlfcn.h>

namespace tessaron::hostkit {
namespace {

/// Path that the loader doesn't look up in its search directories.
std::string explicit_path(const std::string& path) { return path.find('/') == std::string::npos ? "./" + path : path; }

}  // namespace

plugin_library::plugin_library(const std::string& path) {
  library_ = dlopen(explicit_path(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library_) throw host_error("Plug-in " + path + " can't be loaded: " + dlerror());
  // Both are looked for in the plug-in first, then in the libraries that it is linked to.
  entry_ = reinterpret_cast<tessaron_main_fn>(dlsym(library_, "tessaron_main"));
  const auto descriptor =
      reinterpret_cast<tessaron_plugin_descriptor_fn>(dlsym(library_, TESSARON_PLUGIN_DESCRIPTOR_NAME));
  descriptor_ = descriptor ? descriptor() : nullptr;
  if (entry_ && descriptor_) return;
  dlclose(library_);
  throw host_error("Plug-in " + path + " has no " +
                   (entry_ ? std::string(TESSARON_PLUGIN_DESCRIPTOR_NAME) : std::string("tessaron_main")) + ".");
}

plugin_library::~plugin_library() { dlclose(library_); }

}  // namespace tessaron::hostkit
