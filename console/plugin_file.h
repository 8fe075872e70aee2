// An installed plug-in file: a shared object that hands the engine a descriptor.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/inspect.h"
#include "tessaron/host_interface.h"

namespace tessaron::console {

/// A loaded plug-in; unloaded when it leaves its scope. Throws work_error for a file that is none.
class plugin_file {
 public:
  explicit plugin_file(const std::string& path);

  tessaron_main_fn entry() const;
  const tessaron_plugin& descriptor() const { return *descriptor_; }
  /// What it offers: its own texts, or for a custom plug-in the definition of its name.
  std::vector<definition_text> definitions() const;

 private:
  struct library_closer {
    void operator()(void* library) const;
  };
  std::string path_;
  std::unique_ptr<void, library_closer> library_;
  const tessaron_plugin* descriptor_ = nullptr;
};

}  // namespace tessaron::console
