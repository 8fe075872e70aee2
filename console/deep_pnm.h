// Portable grey and colour maps with more than 8 bits a sample. The image library reads them inexactly, one too low
// above a half, and writes 8 bits only.
#pragma once

#include <optional>
#include <string>

#include "hostkit/host_kit.h"

namespace tessaron::console {

/// The picture in such a file, as bgra16 with its samples unchanged where their full scale is 65535; nothing for a
/// file of any other kind. Throws work_error for one that is cut off or too large.
std::optional<hostkit::image> read_deep_pnm(const std::string& path);

/// Bytes of a colour map of a bgra16 picture, without its alpha.
std::string deep_pnm_bytes(const hostkit::image& picture);

}  // namespace tessaron::console
