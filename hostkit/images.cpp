#include "hostkit/host_kit.h"

namespace tessaron::hostkit {

image image::make(int width, int height, pixel_format format, int row_padding_bytes) {
  constexpr std::int64_t LARGEST_ROW = 1 << 30;
  image made;
  made.format = format;
  const std::int64_t rowbytes = std::int64_t(width) * made.bytes_per_pixel() + row_padding_bytes;
  if (width < 0 || height < 0 || row_padding_bytes < 0 || rowbytes > LARGEST_ROW)
    throw host_error("An image of " + std::to_string(width) + " by " + std::to_string(height) +
                     " pixels can't be made.");
  made.width = width;
  made.height = height;
  made.rowbytes = int(rowbytes);
  made.data.resize(std::size_t(made.rowbytes) * std::size_t(height));
  return made;
}

}  // namespace tessaron::hostkit
