// The pictures that effects are shown on: drawn, so that they are nobody's photographs and need no files.
#pragma once

#include "hostkit/host_kit.h"

namespace tessaron::pages {

/// Balloons over a mountain lake: bright and dark parts, strong and pale colours, soft and sharp edges, and a sun
/// for what looks for lights.
hostkit::image draw_lake(int width, int height);

/// Dunes below a night sky, for the second input.
hostkit::image draw_dunes(int width, int height);

/// White on black with a soft edge, for inputs that are mattes.
hostkit::image draw_matte(int width, int height);

}  // namespace tessaron::pages
