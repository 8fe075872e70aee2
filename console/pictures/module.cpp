// The module's entry, and what is short.
#include <OpenImageIO/imageio.h>

#include "console/pictures/pictures.h"
#include "hostkit/overlay.h"

namespace tessaron::console {

std::string tidy(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) text.pop_back();
  return text;
}

void pictures::draw_over(hostkit::image& picture, const std::function<void(const pf_draw_callbacks&)>& draw) {
  const hostkit::overlay sheet(picture.width, picture.height);
  draw(sheet.callbacks());
  sheet.draw_over(picture);
}

void pictures::limit_threads(int count) { OIIO::attribute("threads", count); }

}  // namespace tessaron::console

extern "C" [[gnu::visibility("default")]] tessaron::console::picture_library* tessaron_picture_library() {
  static tessaron::console::pictures all;
  return &all;
}
