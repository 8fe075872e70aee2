#include "console/pixels.h"

#include <algorithm>
#include <limits>

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

template <class Field>
const Field* fields(const image& picture, int y) {
  return reinterpret_cast<const Field*>(picture.row(y));
}
template <class Field>
Field* fields(image& picture, int y) {
  return reinterpret_cast<Field*>(picture.row(y));
}

template <class From, class To>
void convert_rows(const image& from, image& to) {
  const std::uint32_t from_scale = std::uint32_t(full_scale(from.format)),
                      to_scale = std::uint32_t(full_scale(to.format));
  std::vector<To> table(std::size_t(std::numeric_limits<From>::max()) + 1);
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = To(rescale(std::uint32_t(i), from_scale, to_scale));
  const field_order in = order_of(from.format), out = order_of(to.format);
  for (int y = 0; y < from.height; ++y) {
    const From* source = fields<From>(from, y);
    To* dest = fields<To>(to, y);
    for (int x = 0; x < from.width; ++x, source += 4, dest += 4)
      for (int k = 0; k < 4; ++k) dest[out.field[k]] = table[source[in.field[k]]];
  }
}

/// What one reduced pixel covers along one axis: whole and partial source pixels, in units of
/// 1 / reduced size of a source pixel.
struct coverage {
  int first = 0;
  std::vector<std::uint32_t> weights;
};

std::vector<coverage> axis_coverage(int size, int reduced) {
  std::vector<coverage> axis(std::size_t(reduced), coverage{});
  for (int i = 0; i < reduced; ++i) {
    const std::int64_t begin = std::int64_t(i) * size, end = begin + size;
    axis[std::size_t(i)].first = int(begin / reduced);
    for (std::int64_t s = begin / reduced; s * reduced < end; ++s)
      axis[std::size_t(i)].weights.push_back(
          std::uint32_t(std::min(end, (s + 1) * reduced) - std::max(begin, s * reduced)));
  }
  return axis;
}

template <class Field>
void reduce_rows(const image& from, image& to) {
  const std::vector<coverage> columns = axis_coverage(from.width, to.width),
                              rows = axis_coverage(from.height, to.height);
  // Weights along an axis add up to the source size, so a pixel's add up to the source's area.
  const std::uint64_t area = std::uint64_t(from.width) * std::uint64_t(from.height);
  std::vector<std::uint64_t> sums(std::size_t(to.width) * 4);
  for (int y = 0; y < to.height; ++y) {
    std::fill(sums.begin(), sums.end(), 0);
    const coverage& row = rows[std::size_t(y)];
    for (std::size_t r = 0; r < row.weights.size(); ++r) {
      const Field* source = fields<Field>(from, row.first + int(r));
      for (int x = 0; x < to.width; ++x) {
        const coverage& column = columns[std::size_t(x)];
        for (std::size_t c = 0; c < column.weights.size(); ++c) {
          const std::uint64_t weight = std::uint64_t(row.weights[r]) * column.weights[c];
          for (int k = 0; k < 4; ++k)
            sums[std::size_t(x) * 4 + std::size_t(k)] +=
                weight * source[(std::size_t(column.first) + c) * 4 + std::size_t(k)];
        }
      }
    }
    Field* dest = fields<Field>(to, y);
    for (std::size_t i = 0; i < sums.size(); ++i) dest[i] = Field((sums[i] + area / 2) / area);
  }
}

}  // namespace

int full_scale(pixel_format format) { return !is_deep(format) ? 255 : format == pixel_format::rgba16 ? 32768 : 65535; }

bool is_deep(pixel_format format) { return format == pixel_format::rgba16 || format == pixel_format::bgra16; }

field_order order_of(pixel_format format) {
  const bool alpha_first = format == pixel_format::rgba8 || format == pixel_format::rgba16;
  return alpha_first ? field_order{{1, 2, 3, 0}} : field_order{{2, 1, 0, 3}};
}

std::uint16_t rescale(std::uint32_t sample, std::uint32_t from, std::uint32_t to) {
  const std::uint64_t limited = std::min(sample, from);
  return std::uint16_t((2 * limited * to + from) / (2 * std::uint64_t(from)));
}

image convert(const image& from, pixel_format format) {
  if (from.format == format) return from;
  image to = image::make(from.width, from.height, format);
  if (is_deep(from.format))
    is_deep(format) ? convert_rows<std::uint16_t, std::uint16_t>(from, to)
                    : convert_rows<std::uint16_t, std::uint8_t>(from, to);
  else
    is_deep(format) ? convert_rows<std::uint8_t, std::uint16_t>(from, to)
                    : convert_rows<std::uint8_t, std::uint8_t>(from, to);
  return to;
}

int reduced_size(int size, int factor) {
  return std::max(1, int((2 * std::int64_t(size) + factor) / (2 * std::int64_t(factor))));
}

image reduce(const image& from, int x_factor, int y_factor) {
  if (x_factor == 1 && y_factor == 1) return from;
  image to = image::make(reduced_size(from.width, x_factor), reduced_size(from.height, y_factor), from.format);
  is_deep(from.format) ? reduce_rows<std::uint16_t>(from, to) : reduce_rows<std::uint8_t>(from, to);
  return to;
}

image black_image(int width, int height, pixel_format format) {
  image black = image::make(width, height, format);
  const int alpha = order_of(format).field[3];
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      if (is_deep(format))
        fields<std::uint16_t>(black, y)[4 * x + alpha] = std::uint16_t(full_scale(format));
      else
        fields<std::uint8_t>(black, y)[4 * x + alpha] = 255;
    }
  return black;
}

}  // namespace tessaron::console
