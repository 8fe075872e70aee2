// An installed plug-in file and what it offers.
#pragma once

#include <string>
#include <vector>

#include "host/inspect.h"
#include "hostkit/plugin_library.h"

namespace tessaron::console {

/// A loaded plug-in; unloaded when it leaves its scope. Throws host_error for a file that is none.
class plugin_file {
 public:
  explicit plugin_file(const std::string& path) : path_(path), library_(path) {}

  /// The plug-in's own entry, whatever engine stands behind it.
  tessaron_main_fn entry() const { return library_.entry(); }
  const tessaron_plugin& descriptor() const { return library_.descriptor(); }
  /// Whether it is an unstamped copy of the template: each one that is loaded takes the next custom effect.
  bool takes_customs_in_order() const;
  /// What it offers: its own texts, the custom effect of its name, or all custom effects where it takes them in
  /// their order. Throws work_error when there is none.
  std::vector<definition_text> definitions() const;

 private:
  std::vector<definition_text> own_definitions() const;

  std::string path_;
  hostkit::plugin_library library_;
};

}  // namespace tessaron::console
