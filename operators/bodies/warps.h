// Image bodies of the warps, as the catalogue names them.
#pragma once

#include "genotype/genotype.h"

namespace tessaron::TESSARON_LEVEL {

void warp_image(node& n);
void warp_rel_image(node& n);
void warp_filter_image(node& n);
void blur_warp_image(node& n);
void repeat_warp_image(node& n);
void repeat_warp_filter_image(node& n);
void chroma_warp_image(node& n);
void chroma_warp_filter_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
