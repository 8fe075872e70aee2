// Rows of fix to host pixels.
#include "host/converters/layouts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// `bits` at the place of channel C when that lies in word W.
template <class F, int C, int W>
inline std::uint32_t placed(std::uint32_t bits) {
  return F::word_of(C) == W ? bits << F::shift(C) : 0;
}

/// Word W of a pixel. KEEP takes the alpha field of what stands there.
template <class F, int W, bool KEEP>
inline void store_word(word* p, std::uint32_t red, std::uint32_t green, std::uint32_t blue, std::uint32_t alpha) {
  const std::uint32_t colours = placed<F, RED, W>(red) | placed<F, GREEN, W>(green) | placed<F, BLUE, W>(blue);
  p[W] = colours | (KEEP ? p[W] & field_mask<F, ALPHA, W>() : placed<F, ALPHA, W>(alpha));
}

/// 4 elements: red, green, blue, alpha. 3: colours. 2: grey, alpha. 1: grey. Missing alpha is full scale.
template <class F, int N, bool TABLE, bool KEEP>
void write_row(std::uint8_t* pixels, const fix* const* planes, int n) {
  constexpr bool GREY = N < 3;
  constexpr bool HAS_ALPHA = N == 4 || N == 2;
  const auto colour = [](fix f) { return TABLE ? F::table_from_fix(f) : F::from_fix(f); };
  word* __restrict p = reinterpret_cast<word*>(pixels);
  const fix* red = planes[0];
  const fix* green = planes[GREY ? 0 : 1];
  const fix* blue = planes[GREY ? 0 : 2];
  const fix* alpha = planes[N - 1];
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) {
    word* pixel = p + i * F::WORDS;
    const std::uint32_t r = colour(red[i]);
    const std::uint32_t g = GREY ? r : colour(green[i]);
    const std::uint32_t b = GREY ? r : colour(blue[i]);
    const std::uint32_t a = HAS_ALPHA ? F::from_fix(alpha[i]) : F::FULL_SCALE;
    store_word<F, 0, KEEP>(pixel, r, g, b, a);
    if constexpr (F::WORDS == 2) store_word<F, 1, KEEP>(pixel, r, g, b, a);
  }
}

template <class F>
void write_alpha_row(std::uint8_t* pixels, const fix* alpha, int n) {
  constexpr int W = F::word_of(ALPHA);
  constexpr std::uint32_t MASK = field_mask<F, ALPHA, W>();
  word* __restrict p = reinterpret_cast<word*>(pixels) + W;
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) {
    word* pixel = p + i * F::WORDS;
    *pixel = (*pixel & ~MASK) | F::from_fix(alpha[i]) << F::shift(ALPHA);
  }
}

template <class F, int N>
void set_count(row_converters& table) {
  write_row_fn(&entry)[2][2] = table.write[F::SLOT][N - 1];
  entry[0][0] = write_row<F, N, false, false>;
  entry[0][1] = write_row<F, N, false, true>;
  entry[1][0] = write_row<F, N, true, false>;
  entry[1][1] = write_row<F, N, true, true>;
}

template <class F>
void set_format(row_converters& table) {
  set_count<F, 1>(table);
  set_count<F, 2>(table);
  set_count<F, 3>(table);
  set_count<F, 4>(table);
  table.write_alpha[F::SLOT] = write_alpha_row<F>;
}

}  // namespace

void set_write_rows(row_converters& table) {
  set_format<rgba8>(table);
  set_format<bgra8>(table);
  set_format<rgba16>(table);
  set_format<bgra16>(table);
}

}  // namespace tessaron::TESSARON_LEVEL
