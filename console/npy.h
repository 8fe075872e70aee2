// The NumPy array file format, version 1.0.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaron::console {

/// The bytes of a file of little-endian int32 in C order. `samples` fits `shape`.
std::string npy_bytes(const std::vector<std::int32_t>& samples, const std::vector<int>& shape);

}  // namespace tessaron::console
