// A plug-in file as installations hold them: it exports its descriptor and is linked to the engine. It offers one
// effect of its own.
#include "tessaron/host_interface.h"

namespace {
const char* const TEXTS[] = {"(define Plugged (Source) (rgba_ok) Gain = 1 dest = (* Source Gain))", nullptr};

tessaron_plugin make_descriptor() {
  tessaron_plugin plugin{};
  plugin.plugin_name = "Plugged";
  plugin.n_inputs_declared = 1;
  plugin.n_effects = 1;
  plugin.effect_names = TEXTS;
  plugin.doc_name = "Plugged";
  plugin.plugin_version = 1.1f;
  return plugin;
}
}  // namespace

extern "C" TESSARON_EXPORT const tessaron_plugin* tessaron_plugin_descriptor() {
  static const tessaron_plugin plugin = make_descriptor();
  return &plugin;
}
