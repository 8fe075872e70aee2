// What the program wants of the libraries for pictures, which a module of its own brings in: the image library needs
// some 250 others, and loading them takes a hundred times as long as the program's own start. So the module is loaded
// for the first picture that needs it.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "console/image_files.h"

namespace tessaron::console {

/// The functions of image_files.h. It lives as long as the module, which is never unloaded.
class picture_library {
 public:
  virtual hostkit::image read(const std::string& path) = 0;
  virtual void write(const std::string& path, const hostkit::image& picture,
                     const std::optional<picture_window>& window) = 0;
  virtual std::string output_format_fault(const std::string& path) = 0;
  virtual hostkit::image resized(const hostkit::image& from, int width, int height) = 0;
  virtual void draw_over(hostkit::image& picture, const std::function<void(const pf_draw_callbacks&)>& draw) = 0;
  virtual void limit_threads(int count) = 0;

 protected:
  ~picture_library() = default;
};

/// The one function of the module.
using picture_library_fn = picture_library*();
inline constexpr const char* PICTURE_LIBRARY_FUNCTION = "tessaron_picture_library";

}  // namespace tessaron::console
