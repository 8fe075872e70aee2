#include "host/alpha_modes.h"

#include <cstring>

#include "base/report.h"
#include "host/host_state.h"
#include "host/parameters.h"

namespace tessaron {
namespace {

constexpr int OPAQUE = 3;  // alpha_source_mode: the output's alpha is full scale

// Non-null and never read: the image of an input without a layer.
const void* const DUMMY_IMAGE = reinterpret_cast<const void*>(1);

bool named(const param& p, const char* name) { return p.name && !std::strcmp(p.name, name); }

void apply_mix_param(const param& p) {
  const int value = int_trunc(double(p.value[0]) + 0.5);
  if (named(p, "opacity") || named(p, "input_opacity")) {
    mix_globals.opacity_mode = value;
    if (value == 0) mix_globals.alpha_source_mode = OPAQUE;
    if (value == 1 && !(Globals->host_flags & HOST_PREMULTIPLIED_NATIVE))
      mix_globals.mix_input = mix_globals.mix_output = true;
  } else if (named(p, "output_opacity")) {
    mix_globals.alpha_source_mode = value == 0 ? OPAQUE : 0;
    mix_globals.mix_output = false;
  } else if (named(p, "soft_borders") || named(p, "expand_borders")) {
    if (host_state.host_app != HOST_FINAL_CUT && host_state.host_app != HOST_FUSION) mix_globals.borders_on = value;
  }
}

bool taken_with_alpha(const genotype& g, int input, bool matte) {
  const bool asked = g.rgba_mode == 1 || (g.rgba_ok_inputs >> input & 1);
  const int kind = source_raster_info[input].kind;
  const bool colour_matte = matte && (g.flags[1] & GENO1_MASK_COLOR);
  return asked && (kind == 2 || kind == 0) && mix_globals.opacity_mode != 0 && !colour_matte;
}

}  // namespace

void read_mix_params(genotype& g) {
  mix_globals = {};
  refresh_params(g);
  for (int i = 0; i < g.n_params; ++i) apply_mix_param(*g.params[i]);
}

void choose_alpha_modes(const genotype& g, const effect_inputs& inputs) {
  for (int i = 0; i < inputs.count; ++i)
    init_source_image(inputs.layer[i] ? inputs.layer[i]->data : DUMMY_IMAGE, i + 1,
                      taken_with_alpha(g, i, inputs.matte[i]) ? 4 : 3);
  Globals->n_image_channels = mix_globals.opacity_mode == 0 ? 3 : 4;
}

void init_source_image(const void* image_ptr, int image_number, int channels) {
  constexpr int LAST_SLOT = 6;  // image_channels: x, y, xy, then the images
  const int slot = image_number + 2;
  if (slot > LAST_SLOT) fatal("init_source_image: number is above maximum allowed.");
  if (!image_ptr) fatal("init_source_image: image_ptr is NULL.");
  if (image_number < 1) {
    report(REPORT_ERROR, "init_source_image: bad image_number, should be 1 - 4.");
    return;
  }
  Globals->image_channels[slot] = std::uint8_t(channels);
}

}  // namespace tessaron
