// A plug-in of two effects, each with a variant for a second input, which is optional. The effects share the
// parameter Amount; its popup begins with Gain. A suffix gives each text its end.
#include "tessaron/host_interface.h"

namespace {
const char* const TEXTS[] = {"(define Gain (Source) (share_all default_input_self 1) Amount = 1 dest = ",
                             "(define Lift_Off (Source) (share_all) Amount = 2 dest = ",
                             "(define Gain (Source Back_Plate) (share_all) Amount = 1 dest = ",
                             "(define Lift_Off (Source Back_Plate) (share_all) Amount = 2 dest = ", nullptr};
const char* const SUFFIXES[] = {"(* Source Amount))", "(- Amount Source))", "(* Back_Plate Amount))",
                                "(- Amount Back_Plate))", nullptr};

tessaron_plugin make_descriptor() {
  tessaron_plugin plugin{};
  plugin.plugin_name = "Several";
  plugin.n_inputs_declared = 1;
  plugin.n_effects = 4;
  plugin.effect_names = TEXTS;
  plugin.effect_suffixes = SUFFIXES;
  plugin.doc_name = "Several";
  plugin.plugin_version = 1.1f;
  return plugin;
}
}  // namespace

extern "C" TESSARON_EXPORT const tessaron_plugin* tessaron_plugin_descriptor() {
  static const tessaron_plugin plugin = make_descriptor();
  return &plugin;
}
