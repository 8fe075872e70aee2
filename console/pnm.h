// Portable grey and colour maps (PGM, PPM), without the image library: it reads samples of more than 8 bits inexactly,
// one too low above a half, writes 8 bits only, and is slow to load for a format that is this simple.
#pragma once

#include <optional>
#include <string>

#include "hostkit/host_kit.h"

namespace tessaron::console {

/// The picture in such a file: rgba8, or bgra16 where its full scale is above 255. Samples are unchanged where their
/// full scale is 255 or 65535. Nothing for a file of any other kind. Throws work_error for one that is cut off or too
/// large.
std::optional<hostkit::image> read_pnm(const std::string& path);

/// Whether a file of this name is a portable map, by its extension.
bool is_pnm_name(const std::string& path);

/// Bytes of a colour map of an rgba8 or bgra16 picture, without its alpha.
std::string pnm_bytes(const hostkit::image& picture);

}  // namespace tessaron::console
