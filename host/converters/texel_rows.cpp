// Host pixels to the samples of a sampling image: interleaved, red first, held to 0..8191.
#include "host/converters/layouts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr fix TEXEL_LIMIT = 8191;

/// A pixel's four fields or samples at once.
using pixel_word [[gnu::may_alias, gnu::aligned(1)]] = std::uint64_t;
constexpr bool LITTLE = std::endian::native == std::endian::little;

/// Fields of 16 bits become samples all at once: moved to their places, and shifted.
struct moved_rgba16 {
  static inline std::uint64_t texels(std::uint64_t pixel) {
    const std::uint64_t rgba = LITTLE ? std::rotr(pixel, 16) : std::rotl(pixel, 16);
    return rgba >> 3 & 0x1fff1fff1fff1fff;
  }
};
struct moved_bgra16 {
  static inline std::uint64_t texels(std::uint64_t pixel) {
    constexpr std::uint64_t KEPT = LITTLE ? 0xffff0000ffff0000 : 0x0000ffff0000ffff;
    const std::uint64_t exchanged = pixel & ~KEPT;
    return ((pixel & KEPT) | std::rotl(exchanged, 32)) >> 4 & 0x0fff0fff0fff0fff;
  }
};

template <class MOVED>
void move_row(const std::uint8_t* pixels, std::int16_t* texels, int n) {
  const pixel_word* p = reinterpret_cast<const pixel_word*>(pixels);
  pixel_word* __restrict out = reinterpret_cast<pixel_word*>(texels);
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) out[i] = MOVED::texels(p[i]);
}

template <class F, int N, bool MIX, bool TABLE>
void read_texels(const std::uint8_t* pixels, std::int16_t* texels, int n) {
  const word* p = reinterpret_cast<const word*>(pixels);
  std::int16_t* __restrict out = texels;
  const auto texel = [](fix v) {
    // What isn't multiplied or looked up is within the limits.
    return std::int16_t(MIX || TABLE ? fix_clamp(v, 0, TEXEL_LIMIT) : v);
  };
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) {
    const word* pixel = p + i * F::WORDS;
    const fix alpha = F::to_fix(field<F, ALPHA>(pixel));
    out[i * N] = texel(read_colour<F, RED, MIX, TABLE>(pixel, alpha));
    out[i * N + 1] = texel(read_colour<F, GREEN, MIX, TABLE>(pixel, alpha));
    out[i * N + 2] = texel(read_colour<F, BLUE, MIX, TABLE>(pixel, alpha));
    if constexpr (N == 4) out[i * N + 3] = std::int16_t(alpha);
  }
}

template <class F, int N>
void set_count(row_converters& table) {
  read_texels_fn(&entry)[2][2] = table.read_texels[F::SLOT][N - 3];
  entry[0][0] = read_texels<F, N, false, false>;
  entry[0][1] = read_texels<F, N, false, true>;
  entry[1][0] = read_texels<F, N, true, false>;
  entry[1][1] = read_texels<F, N, true, true>;
}

template <class F>
void set_format(row_converters& table) {
  set_count<F, 3>(table);
  set_count<F, 4>(table);
}

}  // namespace

void set_texel_rows(row_converters& table) {
  set_format<rgba8>(table);
  set_format<bgra8>(table);
  set_format<rgba16>(table);
  set_format<bgra16>(table);
  table.read_texels[rgba16::SLOT][1][0][0] = move_row<moved_rgba16>;
  table.read_texels[bgra16::SLOT][1][0][0] = move_row<moved_bgra16>;
}

}  // namespace tessaron::TESSARON_LEVEL
