// A host in a page: renders an effect from a text over a picture in memory, with one parameter moved, and writes a PPM.
//
//   minimal_host DEFINITION.text OUT.ppm [PARAMETER VALUE]
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "hostkit/host_kit.h"

using namespace tessaron::hostkit;

namespace {

// A pixel of rgba8: alpha, red, green, blue.
constexpr int ALPHA = 0, RED = 1, GREEN = 2, BLUE = 3;

/// Red grows to the right, green downwards; opaque.
image test_picture(int width, int height) {
  image picture = image::make(width, height, pixel_format::rgba8);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      std::uint8_t* pixel = picture.row(y) + x * picture.bytes_per_pixel();
      pixel[ALPHA] = 255;
      pixel[RED] = std::uint8_t(255 * x / width);
      pixel[GREEN] = std::uint8_t(255 * y / height);
      pixel[BLUE] = 64;
    }
  return picture;
}

/// Sliders are numbers in 16 bits before and 16 behind the point; other types have other fields.
void set_slider(instance& effect, const std::string& name, double value) {
  for (std::size_t i = 1; i < effect.values().size(); ++i)
    if (effect.declared()[i].name == name && effect.declared()[i].param_type == PF_Param_FIX_SLIDER) {
      effect.values()[i].u.slider.value = pf_fixed(value * 65536);
      return;
    }
  throw host_error("no slider named " + name);
}

void write_ppm(const std::string& path, const image& picture) {
  std::ofstream out(path, std::ios::binary);
  out << "P6\n" << picture.width << ' ' << picture.height << "\n255\n";
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      out.write(reinterpret_cast<const char*>(picture.row(y) + x * picture.bytes_per_pixel() + RED), 3);
  if (!out) throw host_error("can't write " + path);
}

int run(const char* definition_path, const char* out_path, const char* parameter, const char* value) {
  std::ifstream file(definition_path);
  if (!file) throw host_error(std::string("can't read ") + definition_path);
  const std::string definition{std::istreambuf_iterator<char>(file), {}};

  const plugin_texts plugin("minimal_host", {definition});
  instance effect(tessaron_main, plugin.record());
  if (parameter) set_slider(effect, parameter, std::atof(value));

  const image picture = test_picture(320, 240);
  frame_request request;
  request.inputs = {&picture};
  const frame_result frame = effect.render(request);
  for (const std::string& message : frame.messages) std::fprintf(stderr, "%s\n", message.c_str());
  if (frame.error != 0) throw host_error("the frame was refused, error " + std::to_string(frame.error));
  write_ppm(out_path, frame.output);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 && argc != 5) {
    std::fprintf(stderr, "usage: minimal_host DEFINITION.text OUT.ppm [PARAMETER VALUE]\n");
    return 2;
  }
  try {
    return run(argv[1], argv[2], argc == 5 ? argv[3] : nullptr, argc == 5 ? argv[4] : nullptr);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "minimal_host: %s\n", fault.what());
    return 1;
  }
}
