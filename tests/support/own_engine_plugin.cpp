// A plug-in that brings an engine of its own: its pictures tell it from the one of its definition. Each pixel is
// opaque and has the value of Level in red and the layer's width in green.
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "tessaron/host_interface.h"

namespace {
const char* const TEXTS[] = {"(define Own (Source) () Level = 3 (min 0 max 255) dest = Level)", nullptr};
constexpr int FIXED_BITS = 16;

tessaron_plugin make_descriptor() {
  tessaron_plugin plugin{};
  plugin.plugin_name = "Own";
  plugin.n_inputs_declared = 1;
  plugin.n_effects = 1;
  plugin.effect_names = TEXTS;
  plugin.doc_name = "Own";
  plugin.plugin_version = 1.1f;
  return plugin;
}

int32_t declare(pf_in_data& in) {
  pf_param_def level{};
  level.param_type = PF_Param_FIX_SLIDER;
  std::strcpy(level.name, "Level");
  level.u.slider.value = level.u.slider.default_value = 3 << FIXED_BITS;
  return in.inter.add_param(in.effect_ref, 1, &level);
}

void fill(const pf_world& output, int level) {
  for (int y = 0; y < output.height; ++y)
    for (int x = 0; x < output.width; ++x) {
      unsigned char* pixel = static_cast<unsigned char*>(output.data) + std::ptrdiff_t(y) * output.rowbytes + 4 * x;
      pixel[0] = 255;
      pixel[1] = static_cast<unsigned char>(level);
      pixel[2] = static_cast<unsigned char>(output.width);
      pixel[3] = 0;
    }
}

/// Fails at the command that the environment names, with words for the user.
bool refuses(int32_t command, pf_out_data& out) {
  const char* refused = std::getenv("OWN_ENGINE_REFUSES");
  if (!refused || std::atoi(refused) != command) return false;
  std::strcpy(out.return_msg, "Own engine: no licence for this.");
  return true;
}
}  // namespace

extern "C" {
TESSARON_EXPORT const tessaron_plugin* tessaron_plugin_descriptor() {
  static const tessaron_plugin plugin = make_descriptor();
  return &plugin;
}

TESSARON_EXPORT int32_t tessaron_main(const tessaron_plugin*, int32_t command, pf_in_data* in, pf_out_data* out,
                                      pf_param_def** params, pf_world* output, void*) {
  if (refuses(command, *out)) return PF_Err_BAD_REQUEST;
  if (command == PF_Cmd_PARAMS_SETUP) return declare(*in);
  if (command == PF_Cmd_FRAME_SETUP) {
    out->width = in->width;
    out->height = in->height;
  }
  if (command == PF_Cmd_RENDER) fill(*output, params[1]->u.slider.value >> FIXED_BITS);
  return PF_Err_NONE;
}
}
