// Renders definitions in tests through the host kit, and looks at single pixels.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "hostkit/host_kit.h"
#include "tessaron/host_interface.h"

namespace tessaron::testing {

using hostkit::frame_request;
using hostkit::frame_result;
using hostkit::image;
using hostkit::pixel_format;

inline bool is_deep(pixel_format f) { return f == pixel_format::rgba16 || f == pixel_format::bgra16; }
inline bool is_bgra(pixel_format f) { return f == pixel_format::bgra8 || f == pixel_format::bgra16; }

/// Fields of one pixel as red, green, blue, alpha.
struct rgba {
  int r = 0, g = 0, b = 0, a = 0;
  bool operator==(const rgba&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const rgba& p) {
  return out << "(" << p.r << " " << p.g << " " << p.b << " " << p.a << ")";
}

inline int field_index(pixel_format f, int colour) {  // 0 red, 1 green, 2 blue, 3 alpha
  static constexpr int ARGB[4] = {1, 2, 3, 0}, BGRA[4] = {2, 1, 0, 3};
  return is_bgra(f) ? BGRA[colour] : ARGB[colour];
}

inline int get_field(const image& picture, int x, int y, int colour) {
  const int at = 4 * x + field_index(picture.format, colour);
  if (!is_deep(picture.format)) return picture.row(y)[at];
  std::uint16_t v = 0;
  std::memcpy(&v, picture.row(y) + 2 * at, 2);
  return v;
}
inline void set_field(image& picture, int x, int y, int colour, int value) {
  const int at = 4 * x + field_index(picture.format, colour);
  if (is_deep(picture.format)) {
    const std::uint16_t v = std::uint16_t(value);
    std::memcpy(picture.row(y) + 2 * at, &v, 2);
  } else {
    picture.row(y)[at] = std::uint8_t(value);
  }
}
inline rgba pixel(const image& picture, int x, int y) {
  return {get_field(picture, x, y, 0), get_field(picture, x, y, 1), get_field(picture, x, y, 2),
          get_field(picture, x, y, 3)};
}
inline void set_pixel(image& picture, int x, int y, const rgba& p) {
  set_field(picture, x, y, 0, p.r);
  set_field(picture, x, y, 1, p.g);
  set_field(picture, x, y, 2, p.b);
  set_field(picture, x, y, 3, p.a);
}

inline image filled(int width, int height, pixel_format format, const rgba& p) {
  image picture = image::make(width, height, format);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) set_pixel(picture, x, y, p);
  return picture;
}

/// Every field random, up to the format's full scale.
inline image noise_image(int width, int height, pixel_format format, unsigned seed = 1, int row_padding = 0) {
  image picture = image::make(width, height, format, row_padding);
  std::mt19937 random(seed);
  const int top = !is_deep(format) ? 256 : format == pixel_format::rgba16 ? 32769 : 65536;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < 4; ++c) set_field(picture, x, y, c, int(random() % unsigned(top)));
  return picture;
}

/// One definition as a plug-in with one instance.
class rendered_effect {
 public:
  explicit rendered_effect(const std::string& definition, pixel_format format = pixel_format::rgba8,
                           hostkit::host_identity identity = {})
      : rendered_effect(std::vector<std::string>{definition}, format, identity) {}
  rendered_effect(const std::vector<std::string>& definitions, pixel_format format,
                  hostkit::host_identity identity = {})
      : format_(format), texts_("Test Plug-in", definitions) {
    identity.offers_bgra = is_bgra(format);
    instance_ = std::make_unique<hostkit::instance>(tessaron_main, texts_.record(), identity);
  }

  hostkit::instance& instance() { return *instance_; }
  const tessaron_plugin& record() const { return texts_.record(); }

  /// A request for these inputs, in slot order.
  frame_request request(std::vector<const image*> inputs) const {
    frame_request r;
    r.inputs = std::move(inputs);
    r.format = format_;
    return r;
  }
  frame_request request(int width, int height) const {
    frame_request r = request({});
    r.width = width;
    r.height = height;
    return r;
  }
  frame_result render(const frame_request& r) { return instance_->render(r); }
  frame_result render(std::vector<const image*> inputs) { return render(request(std::move(inputs))); }

 private:
  pixel_format format_;
  hostkit::plugin_texts texts_;
  std::unique_ptr<hostkit::instance> instance_;
};

/// All messages, one a line.
inline std::string text_of(const std::vector<std::string>& messages) {
  std::string text;
  for (const std::string& m : messages) text += m + "\n";
  return text;
}
inline bool mentions(const std::vector<std::string>& messages, const std::string& part) {
  return text_of(messages).find(part) != std::string::npos;
}

}  // namespace tessaron::testing
