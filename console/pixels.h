// Sample arithmetic between images and the four host formats.
#pragma once

#include <cstdint>

#include "hostkit/host_kit.h"

namespace tessaron::console {

/// Full scale of one field: 255, 32768 (rgba16) or 65535 (bgra16).
int full_scale(hostkit::pixel_format format);
bool is_deep(hostkit::pixel_format format);

/// Where red, green, blue and alpha stand in a pixel of four fields.
struct field_order {
  int field[4];
};
field_order order_of(hostkit::pixel_format format);

/// round(sample * to / from); samples above full scale count as full scale.
std::uint16_t rescale(std::uint32_t sample, std::uint32_t from, std::uint32_t to);

/// The same picture in another host format. An image that is in it already is copied.
hostkit::image convert(const hostkit::image& from, hostkit::pixel_format format);

/// The picture reduced to 1/x_factor by 1/y_factor (rounded, at least one pixel) by area average: each
/// sample is the mean of the part of the picture that its pixel covers.
hostkit::image reduce(const hostkit::image& from, int x_factor, int y_factor);

/// Size of a side after reduction.
int reduced_size(int size, int factor);

/// An opaque black picture.
hostkit::image black_image(int width, int height, hostkit::pixel_format format);

}  // namespace tessaron::console
