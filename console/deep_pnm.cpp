#include "console/deep_pnm.h"

#include <cctype>
#include <fstream>

#include "console/errors.h"
#include "console/image_files.h"
#include "console/pixels.h"

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

constexpr int DEEP_FULL_SCALE = 65535;
constexpr int LARGEST_NUMBER = 1 << 24;  // of a header; no number of a sound one comes near

struct pnm_header {
  bool colour, text;
  int width, height, full_scale;
};

/// A number behind blanks and comments, which run from `#` to the end of the line; -1 when there is none.
int read_number(std::istream& in) {
  int c = in.get();
  while (std::isspace(c) || c == '#') {
    if (c == '#')
      while (c != '\n' && c != EOF) c = in.get();
    else
      c = in.get();
  }
  if (!std::isdigit(c)) return -1;
  int number = 0;
  for (; std::isdigit(c); c = in.get())
    if (number < LARGEST_NUMBER) number = number * 10 + (c - '0');
  return number;  // the one blank behind it is taken
}

/// "P2", "P3" (text), "P5" or "P6", then width, height and full scale.
std::optional<pnm_header> read_header(std::istream& in) {
  char kind[2] = {};
  if (!in.read(kind, 2) || kind[0] != 'P') return std::nullopt;
  const char k = kind[1];
  if (k != '2' && k != '3' && k != '5' && k != '6') return std::nullopt;
  pnm_header header{k == '3' || k == '6', k < '5', 0, 0, 0};
  header.width = read_number(in);
  header.height = read_number(in);
  header.full_scale = read_number(in);
  const bool deep = header.full_scale > 255 && header.full_scale <= DEEP_FULL_SCALE;
  return deep && header.width > 0 && header.height > 0 ? std::optional(header) : std::nullopt;
}

/// The next sample, big end first in a binary file; -1 at its end.
int read_sample(std::istream& in, const pnm_header& header) {
  if (header.text) return read_number(in);
  const int high = in.get(), low = in.get();
  return low == EOF ? -1 : high << 8 | low;
}

}  // namespace

std::optional<image> read_deep_pnm(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::optional<pnm_header> header = read_header(in);
  if (!header) return std::nullopt;
  const auto refuse = [&](const std::string& why) { throw work_error("cannot read image " + path + ": " + why); };
  if (header->width > MAX_IMAGE_SIDE || header->height > MAX_IMAGE_SIDE)
    refuse("is larger than " + std::to_string(MAX_IMAGE_SIDE) + " on a side");
  // Two bytes at least for each sample, as text with the blank in front of it: a header that lies gets no memory.
  const std::int64_t start = in.tellg();
  in.seekg(0, std::ios::end);
  const std::int64_t samples = std::int64_t(header->width) * header->height * (header->colour ? 3 : 1);
  if (in.tellg() - start < 2 * samples - (header->text ? 1 : 0)) refuse("is cut off");
  in.seekg(start);
  const field_order order = order_of(pixel_format::bgra16);
  image picture = image::make(header->width, header->height, pixel_format::bgra16);
  for (int y = 0; y < picture.height; ++y) {
    auto* pixel = reinterpret_cast<std::uint16_t*>(picture.row(y));
    for (int x = 0; x < picture.width; ++x, pixel += 4) {
      int sample = 0;
      for (int k = 0; k < 3; ++k) {
        if (k == 0 || header->colour) sample = read_sample(in, *header);
        if (sample < 0) refuse("is cut off");
        pixel[order.field[k]] = rescale(std::uint32_t(sample), std::uint32_t(header->full_scale), DEEP_FULL_SCALE);
      }
      pixel[order.field[3]] = DEEP_FULL_SCALE;
    }
  }
  return picture;
}

std::string deep_pnm_bytes(const image& picture) {
  const field_order order = order_of(picture.format);
  std::string bytes = "P6\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n65535\n";
  bytes.reserve(bytes.size() + std::size_t(picture.width) * std::size_t(picture.height) * 6);
  for (int y = 0; y < picture.height; ++y) {
    const auto* pixel = reinterpret_cast<const std::uint16_t*>(picture.row(y));
    for (int x = 0; x < picture.width; ++x, pixel += 4)
      for (int k = 0; k < 3; ++k) {
        bytes += char(pixel[order.field[k]] >> 8);
        bytes += char(pixel[order.field[k]]);
      }
  }
  return bytes;
}

}  // namespace tessaron::console
