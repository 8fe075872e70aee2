// Reads any bytes as a definition, binds it, renders one 8x8 frame of it with two inputs, and drags each of its
// on-screen handles.
#include <cstddef>
#include <cstdint>
#include <string>

#include "hostkit/host_kit.h"
#include "hostkit/window.h"
#include "tessaron/host_interface.h"

using namespace tessaron;

namespace {

hostkit::image checkered_input() {
  hostkit::image image = hostkit::image::make(8, 8, hostkit::pixel_format::rgba8);
  for (std::size_t i = 0; i < image.data.size(); ++i) image.data[i] = std::uint8_t(i * 37);
  return image;
}

void drag_handles(hostkit::instance& instance) {
  hostkit::window_view view;
  view.width = view.height = 8;
  static const pf_draw_callbacks DRAWS_NOTHING = {};
  for (const hostkit::widget_handle& handle : instance.draw_handles(view, &DRAWS_NOTHING).handles) {
    instance.click(view, handle.at);
    instance.drag(view, {handle.at.x + 3, handle.at.y - 5});
    instance.release(view, {handle.at.x - 1, handle.at.y + 2});
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const hostkit::image input = checkered_input();
  const std::string text(reinterpret_cast<const char*>(data), size);
  const char* names[] = {text.c_str(), nullptr};
  tessaron_plugin plugin{};
  plugin.plugin_name = "Fuzz";
  plugin.n_effects = 1;
  plugin.effect_names = names;
  plugin.doc_name = "Fuzz";
  plugin.plugin_version = 1.1f;
  try {
    hostkit::instance instance(tessaron_main, plugin);
    hostkit::frame_request request;
    request.width = request.height = 8;
    request.inputs = {&input, &input};
    instance.render(request);
    drag_handles(instance);
  } catch (const hostkit::host_error&) {
    // A definition that does not bind: reported and refused.
  }
  return 0;
}
