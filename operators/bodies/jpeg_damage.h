// jpeg_damage: a picture after strong compression, with errors in its stream.
#pragma once

#include "genotype/genotype.h"

namespace tessaron::TESSARON_LEVEL {

void jpeg_damage(node& n);

}  // namespace tessaron::TESSARON_LEVEL
