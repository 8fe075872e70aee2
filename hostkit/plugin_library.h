// A plug-in in a file of its own: a shared object that holds a descriptor and is linked to the engine.
#pragma once

#include "hostkit/host_kit.h"

namespace tessaron::hostkit {

/// Loaded as long as this lives; instances of it must end before. Throws host_error, which names the
/// file, when it can't be loaded or is no plug-in.
class plugin_library {
 public:
  explicit plugin_library(const std::string& path);
  ~plugin_library();
  plugin_library(const plugin_library&) = delete;
  plugin_library& operator=(const plugin_library&) = delete;

  tessaron_main_fn entry() const { return entry_; }
  const tessaron_plugin& descriptor() const { return *descriptor_; }

 private:
  void* library_;
  tessaron_main_fn entry_ = nullptr;
  const tessaron_plugin* descriptor_ = nullptr;
};

}  // namespace tessaron::hostkit
