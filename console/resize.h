// A picture in another size, as a window shows it.
#pragma once

#include "hostkit/host_kit.h"

namespace tessaron::console {

/// The picture scaled to `width` by `height`, filtered; colours do not bleed out of what is transparent. A picture
/// that has this size already is copied. Throws work_error.
hostkit::image resized(const hostkit::image& from, int width, int height);

}  // namespace tessaron::console
