// Prints the fuzzer's dictionary: the functions of the catalogue and the words of the language.
#include <cstdio>

#include "catalogue/defuns.h"

int main() {
  static tessaron::fun_registry registry;
  tessaron::build_catalogue(registry, tessaron::cpu_level::generic);
  for (int i = 0; i < registry.fun_count; ++i) std::printf("\"(%s \"\n", registry.table[i].name);
  for (const char* word : {"define",
                           "def_effect",
                           "dest = ",
                           "#ref ",
                           "Source",
                           "Output",
                           "xy",
                           "_image2",
                           "rgba_ok",
                           "share_all",
                           "set_alpha_to_one",
                           "default_input_self",
                           "popup ",
                           "percent",
                           "angle",
                           "screen",
                           "normalize",
                           "page ",
                           "group_start ",
                           "group_end ",
                           "slider_range ",
                           "widget ",
                           "cross.center ",
                           "wenable here ",
                           "use_wenable ",
                           "default_off ",
                           "color",
                           "boolean",
                           "int",
                           "min ",
                           "max ",
                           "step "})
    std::printf("\"%s\"\n", word);
  return 0;
}
