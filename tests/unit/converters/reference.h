// The converters' rules, written down once more as plainly as possible: one pixel, one field, one
// number at a time, without tables of functions and without the engine's help.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "catalogue/defuns.h"
#include "evaluator/frame.h"

namespace tessaron::testing {

struct format_rule {
  int format;
  const char* name;
  int bits;
  int full_scale;
  std::array<int, 4> place;  // field numbers of red, green, blue, alpha
};
inline constexpr format_rule FORMATS[] = {
    {NATIVE_RGBA8, "rgba8", 8, 255, {1, 2, 3, 0}},
    {NATIVE_BGRA8, "bgra8", 8, 255, {2, 1, 0, 3}},
    {NATIVE_RGBA16, "rgba16", 16, 32768, {1, 2, 3, 0}},
    {NATIVE_BGRA16, "bgra16", 16, 65535, {2, 1, 0, 3}},
};

/// Look-up tables as a test sets them, apart from the engine's.
struct table_set {
  std::vector<int> in8, in12, out8, out12;
};

inline int get_field(const format_rule& f, const std::uint8_t* pixel, int channel) {
  if (f.bits == 8) return pixel[f.place[channel]];
  std::uint16_t v;
  std::memcpy(&v, pixel + 2 * f.place[channel], 2);
  return v;
}

inline void put_field(const format_rule& f, std::uint8_t* pixel, int channel, int value) {
  if (f.bits == 8) pixel[f.place[channel]] = std::uint8_t(value);
  const std::uint16_t v = std::uint16_t(value);
  if (f.bits == 16) std::memcpy(pixel + 2 * f.place[channel], &v, 2);
}

inline int field_to_fix(const format_rule& f, int v) {
  if (f.bits == 8) return v * 16 + v / 16;
  return f.format == NATIVE_RGBA16 ? v / 8 : v / 16;
}

inline int field_to_fix_by_table(const format_rule& f, int v, const table_set& tables) {
  if (f.bits == 8) return tables.in8[v];
  const int index = field_to_fix(f, v);
  return tables.in12[index > 4095 ? 4095 : index];
}

inline int limited(std::int64_t f, int top) { return int(f < 0 ? 0 : f > top ? top : f); }

inline int fix_to_field(const format_rule& f, int v) {
  if (f.bits == 8) return limited(v, 4095) / 16;
  if (f.format == NATIVE_RGBA16) return limited(v, 4096) * 8;
  return limited(v, 4095) * 16 + limited(v, 4095) / 256;
}

inline int fix_to_field_by_table(const format_rule& f, int v, const table_set& tables) {
  const int index = limited(v, 4095);
  if (f.bits == 8) return tables.out8[index];
  const int t = tables.out12[index];
  return f.format == NATIVE_RGBA16 ? t * 8 + t / 512 : t * 16 + t / 256;
}

/// One pixel into 1, 3 or 4 fix values.
inline std::array<int, 4> read_pixel(const format_rule& f, const std::uint8_t* pixel, int n_elements, bool mix,
                                     const table_set* tables) {
  const int alpha = field_to_fix(f, get_field(f, pixel, 3));
  if (n_elements == 1) return {alpha};
  std::array<int, 4> out = {0, 0, 0, alpha};
  for (int c = 0; c < 3; ++c) {
    const int v = get_field(f, pixel, c);
    const std::int64_t colour = tables ? field_to_fix_by_table(f, v, *tables) : field_to_fix(f, v);
    out[c] = int(mix ? colour * alpha / 4096 : colour);
  }
  return out;
}

/// 1 to 4 fix values into one pixel.
inline void write_pixel(const format_rule& f, std::uint8_t* pixel, const std::array<int, 4>& in, int n_elements,
                        int alpha_mode, const table_set* tables) {
  for (int c = 0; c < 3; ++c) {
    const int v = in[n_elements < 3 ? 0 : c];
    put_field(f, pixel, c, tables ? fix_to_field_by_table(f, v, *tables) : fix_to_field(f, v));
  }
  if (alpha_mode == 2) return;
  const bool has_alpha = n_elements == 4 || n_elements == 2;
  put_field(f, pixel, 3, has_alpha ? fix_to_field(f, in[n_elements - 1]) : f.full_scale);
}

/// A raster in memory of its own, with padding behind each row.
struct test_raster {
  test_raster(const format_rule& f, int width, int height, int x0, int y0, int pad_fields) : rule(f) {
    info.width = width;
    info.height = height;
    info.x0 = x0;
    info.y0 = y0;
    info.x1 = x0 + width - 1;
    info.y1 = y0 + height - 1;
    info.format = f.format;
    info.bits = f.bits;
    info.kind = 2;
    info.bytes_per_pixel = f.bits / 2;
    info.row_pad = pad_fields;
    bytes.resize(std::size_t(row_bytes()) * height);
    info.data = bytes.data();
  }
  test_raster(const test_raster&) = delete;
  int row_bytes() const { return info.width * info.bytes_per_pixel + info.row_pad * rule.bits / 8; }
  /// Pixel at frame coordinates.
  std::uint8_t* pixel(int x, int y) {
    return bytes.data() + std::size_t(y - info.y0) * row_bytes() + std::size_t(x - info.x0) * info.bytes_per_pixel;
  }
  bool holds(int x, int y) const { return x >= info.x0 && x <= info.x1 && y >= info.y0 && y <= info.y1; }
  void fill_random(std::mt19937& random) {
    for (auto& b : bytes) b = std::uint8_t(random());
  }

  format_rule rule;
  raster_info info{};
  std::vector<std::uint8_t> bytes;
};

/// Four rows of samples, with their pointers.
struct test_rows {
  explicit test_rows(int width, int fill = 0) {
    for (int e = 0; e < 4; ++e) {
      row[e].assign(width, fill);
      out[e] = row[e].data();
      in[e] = row[e].data();
    }
  }
  /// Values around the range of pixels, and the extremes of the type.
  void fill_random(std::mt19937& random) {
    static constexpr fix EDGES[] = {INT32_MIN, INT32_MIN + 1, -4096, -1, 0, 1, 4094, 4095, 4096, 4097, 8191, INT32_MAX};
    for (auto& samples : row)
      for (fix& v : samples) v = random() % 4 == 0 ? EDGES[random() % std::size(EDGES)] : fix(random() % 6000) - 900;
  }
  std::array<int, 4> at(int i) const { return {row[0][i], row[1][i], row[2][i], row[3][i]}; }

  std::vector<fix> row[4];
  fix* out[4];
  const fix* in[4];
};

inline std::vector<cpu_level> usable_cpu_levels() {
  std::vector<cpu_level> levels;
  for (int i = 0; i < N_CPU_LEVELS; ++i)
    if (cpu_level_usable(cpu_level(i))) levels.push_back(cpu_level(i));
  return levels;
}

/// Fills the engine's tables with numbers that no formula gives, and returns what it filled in.
table_set set_random_tables(std::mt19937& random);

}  // namespace tessaron::testing
