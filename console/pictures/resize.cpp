#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <vector>

#include "console/errors.h"
#include "console/pictures/pictures.h"
#include "console/pixels.h"

namespace tessaron::console {
namespace {

using hostkit::image;

constexpr int CHANNELS = 4;

/// Red, green and blue multiplied by alpha, and alpha: all of 0 to 1.
template <class Field>
std::vector<float> premultiplied(const image& picture) {
  const field_order order = order_of(picture.format);
  const float full = float(full_scale(picture.format));
  std::vector<float> samples;
  samples.reserve(std::size_t(picture.width) * std::size_t(picture.height) * CHANNELS);
  for (int y = 0; y < picture.height; ++y) {
    const auto* pixel = reinterpret_cast<const Field*>(picture.row(y));
    for (int x = 0; x < picture.width; ++x, pixel += CHANNELS) {
      const float alpha = pixel[order.field[3]] / full;
      for (int k = 0; k < 3; ++k) samples.push_back(pixel[order.field[k]] / full * alpha);
      samples.push_back(alpha);
    }
  }
  return samples;
}

template <class Field>
void fill_straight(image& picture, const float* samples) {
  const field_order order = order_of(picture.format);
  const float full = float(full_scale(picture.format));
  // Filters overshoot at edges.
  const auto field = [&](float v) { return Field(std::clamp(v, 0.0f, 1.0f) * full + 0.5f); };
  for (int y = 0; y < picture.height; ++y) {
    auto* pixel = reinterpret_cast<Field*>(picture.row(y));
    for (int x = 0; x < picture.width; ++x, pixel += CHANNELS, samples += CHANNELS) {
      const float alpha = std::clamp(samples[3], 0.0f, 1.0f);
      for (int k = 0; k < 3; ++k) pixel[order.field[k]] = field(alpha > 0 ? samples[k] / alpha : 0);
      pixel[order.field[3]] = field(alpha);
    }
  }
}

}  // namespace

image pictures::resized(const image& from, int width, int height) {
  const bool deep = is_deep(from.format);
  std::vector<float> samples = deep ? premultiplied<std::uint16_t>(from) : premultiplied<std::uint8_t>(from);
  const OIIO::ImageBuf source(OIIO::ImageSpec(from.width, from.height, CHANNELS, OIIO::TypeDesc::FLOAT),
                              samples.data());
  OIIO::ImageBuf scaled(OIIO::ImageSpec(width, height, CHANNELS, OIIO::TypeDesc::FLOAT));
  if (!OIIO::ImageBufAlgo::resize(scaled, source))
    throw work_error("the picture can't be scaled to " + std::to_string(width) + "x" + std::to_string(height) + ": " +
                     scaled.geterror());
  image to = image::make(width, height, from.format);
  const auto* result = static_cast<const float*>(scaled.localpixels());
  deep ? fill_straight<std::uint16_t>(to, result) : fill_straight<std::uint8_t>(to, result);
  return to;
}

}  // namespace tessaron::console
