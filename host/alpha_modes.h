// How a render treats alpha: mix modes by special parameters, channel counts of the inputs.
#pragma once

#include "genotype/globals.h"
#include "host/render_records.h"

namespace tessaron {

/// Refreshes the parameters of `g` and sets mix_globals from those with a meaning of their own: opacity,
/// input_opacity, output_opacity, soft_borders, expand_borders.
void read_mix_params(genotype& g);

/// Decides for each input whether it is taken with alpha (4 channels) or without (3), registers the
/// images, and sets the channel count of the render.
void choose_alpha_modes(const genotype& g, const effect_inputs& inputs);

/// Registers an input, image_number 1 to 4. Throws TessaronAbortException for a number that has no slot
/// or a null image.
void init_source_image(const void* image_ptr, int image_number, int channels);

}  // namespace tessaron
