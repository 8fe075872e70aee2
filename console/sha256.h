// SHA-256 as FIPS 180-4 defines it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tessaron::console {

/// Takes bytes in any number of pieces; hex() ends the message.
class sha256 {
 public:
  void add(const void* data, std::size_t size);
  /// Digest as 64 lower-case hexadecimal digits. Call once.
  std::string hex();

 private:
  void block(const std::uint8_t* bytes);
  std::array<std::uint32_t, 8> state_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                      0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<std::uint8_t, 64> pending_{};
  std::size_t n_pending_ = 0;
  std::uint64_t length_ = 0;
};

}  // namespace tessaron::console
