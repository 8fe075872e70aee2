// Reads any bytes as a definition, binds it, and renders one 8x8 frame of it with two inputs.
#include <cstddef>
#include <cstdint>
#include <string>

#include "hostkit/host_kit.h"
#include "tessaron/host_interface.h"

using namespace tessaron;

namespace {

hostkit::image checkered_input() {
  hostkit::image image = hostkit::image::make(8, 8, hostkit::pixel_format::rgba8);
  for (std::size_t i = 0; i < image.data.size(); ++i) image.data[i] = std::uint8_t(i * 37);
  return image;
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
  } catch (const hostkit::host_error&) {
    // A definition that does not bind: reported and refused.
  }
  return 0;
}
