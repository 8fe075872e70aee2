#include "console/pnm.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "console/errors.h"
#include "console/image_files.h"
#include "console/pixels.h"

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

constexpr int LARGEST_FULL_SCALE = 65535;
constexpr int LARGEST_BYTE = 255;        // a full scale above it takes two bytes a sample
constexpr int LARGEST_NUMBER = 1 << 24;  // of a header; no number of a sound one comes near

struct pnm_header {
  bool colour, text;
  int width, height, full_scale;

  int channels() const { return colour ? 3 : 1; }
  int sample_bytes() const { return full_scale > LARGEST_BYTE ? 2 : 1; }
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
  const bool sound = header.width > 0 && header.height > 0 && header.full_scale > 0;
  return sound && header.full_scale <= LARGEST_FULL_SCALE ? std::optional(header) : std::nullopt;
}

/// Fills a row of samples; false at the end of the file.
bool read_text_row(std::istream& in, std::vector<std::uint32_t>& row) {
  for (std::uint32_t& sample : row) {
    const int number = read_number(in);
    if (number < 0) return false;
    sample = std::uint32_t(number);
  }
  return true;
}

/// The same of a binary file, where the big end of a sample stands first.
bool read_binary_row(std::istream& in, int sample_bytes, std::vector<std::uint32_t>& row) {
  std::vector<unsigned char> bytes(row.size() * std::size_t(sample_bytes));
  if (!in.read(reinterpret_cast<char*>(bytes.data()), std::streamsize(bytes.size()))) return false;
  const unsigned char* at = bytes.data();
  for (std::uint32_t& sample : row) {
    sample = *at++;
    if (sample_bytes == 2) sample = sample << 8 | *at++;
  }
  return true;
}

template <class Field>
void fill_row(image& picture, int y, const pnm_header& header, const std::vector<std::uint32_t>& row) {
  const field_order order = order_of(picture.format);
  const auto full = std::uint32_t(full_scale(picture.format)), from = std::uint32_t(header.full_scale);
  auto* pixel = reinterpret_cast<Field*>(picture.row(y));
  const std::uint32_t* source = row.data();
  for (int x = 0; x < picture.width; ++x, pixel += 4, source += header.channels()) {
    for (int k = 0; k < 3; ++k) pixel[order.field[k]] = Field(rescale(source[header.colour ? k : 0], from, full));
    pixel[order.field[3]] = Field(full);
  }
}

}  // namespace

std::optional<image> read_pnm(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::optional<pnm_header> header = read_header(in);
  if (!header) return std::nullopt;
  const auto refuse = [&](const std::string& why) { throw work_error("cannot read image " + path + ": " + why); };
  if (header->width > MAX_IMAGE_SIDE || header->height > MAX_IMAGE_SIDE)
    refuse("is larger than " + std::to_string(MAX_IMAGE_SIDE) + " on a side");
  // A header that lies gets no memory. Text has a digit and a blank for each sample, but for the last.
  const std::int64_t start = in.tellg();
  in.seekg(0, std::ios::end);
  const std::int64_t samples = std::int64_t(header->width) * header->height * header->channels();
  const std::int64_t least = header->text ? 2 * samples - 1 : header->sample_bytes() * samples;
  if (in.tellg() - start < least) refuse("is cut off");
  in.seekg(start);
  const bool deep = header->sample_bytes() == 2;
  image picture = image::make(header->width, header->height, deep ? pixel_format::bgra16 : pixel_format::rgba8);
  std::vector<std::uint32_t> row(std::size_t(header->width) * std::size_t(header->channels()));
  for (int y = 0; y < picture.height; ++y) {
    if (!(header->text ? read_text_row(in, row) : read_binary_row(in, header->sample_bytes(), row)))
      refuse("is cut off");
    deep ? fill_row<std::uint16_t>(picture, y, *header, row) : fill_row<std::uint8_t>(picture, y, *header, row);
  }
  return picture;
}

bool is_pnm_name(const std::string& path) {
  static constexpr const char* EXTENSIONS[] = {".ppm", ".pgm", ".pbm", ".pnm"};
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) c = char(std::tolower(static_cast<unsigned char>(c)));
  return std::find(std::begin(EXTENSIONS), std::end(EXTENSIONS), extension) != std::end(EXTENSIONS);
}

std::string pnm_bytes(const image& picture) {
  const field_order order = order_of(picture.format);
  const bool deep = is_deep(picture.format);
  std::string bytes = "P6\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n" +
                      std::to_string(full_scale(picture.format)) + "\n";
  bytes.reserve(bytes.size() + std::size_t(picture.width) * std::size_t(picture.height) * (deep ? 6 : 3));
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      for (int k = 0; k < 3; ++k) {
        const int field = 4 * x + order.field[k];
        if (deep) {
          const std::uint16_t sample = reinterpret_cast<const std::uint16_t*>(picture.row(y))[field];
          bytes += {char(sample >> 8), char(sample)};
        } else {
          bytes += char(picture.row(y)[field]);
        }
      }
  return bytes;
}

}  // namespace tessaron::console
