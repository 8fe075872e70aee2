#include "console/npy.h"

namespace tessaron::console {

std::string npy_bytes(const std::vector<std::int32_t>& samples, const std::vector<int>& shape) {
  std::string header = "{'descr': '<i4', 'fortran_order': False, 'shape': (";
  for (std::size_t i = 0; i < shape.size(); ++i) header += (i ? ", " : "") + std::to_string(shape[i]);
  header += shape.size() == 1 ? ",), }" : "), }";
  // Magic, version and length take 10 bytes; all of it is padded to a multiple of 64.
  while ((10 + header.size() + 1) % 64 != 0) header += ' ';
  header += '\n';
  std::string bytes("\x93NUMPY\x01\x00", 8);
  bytes += char(header.size() & 0xff);
  bytes += char(header.size() >> 8);
  bytes += header;
  bytes.reserve(bytes.size() + samples.size() * 4);
  for (const std::int32_t sample : samples)
    for (int shift = 0; shift < 32; shift += 8) bytes += char(std::uint32_t(sample) >> shift & 0xff);
  return bytes;
}

}  // namespace tessaron::console
