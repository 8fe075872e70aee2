// Pictures through OpenImageIO and the host kit's raster. All knowledge of the image library is in this folder.
#pragma once

#include "console/pictures/picture_library.h"

namespace tessaron::console {

class pictures final : public picture_library {
 public:
  hostkit::image read(const std::string& path) override;
  void write(const std::string& path, const hostkit::image& picture,
             const std::optional<picture_window>& window) override;
  std::string output_format_fault(const std::string& path) override;
  hostkit::image resized(const hostkit::image& from, int width, int height) override;
  void draw_over(hostkit::image& picture, const std::function<void(const pf_draw_callbacks&)>& draw) override;
  void limit_threads(int count) override;
};

/// A message of the library's as the end of one of ours.
std::string tidy(std::string text);

}  // namespace tessaron::console
