// Vectors of the instruction-set level in hand, mostly in the compilers' vector extension so that one source serves
// all levels. Sums wrap.
#pragma once

#include <cstddef>
#include <cstdint>

#include "operators/bodies/planes.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

#ifndef TESSARON_LEVEL
#error "image loops are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

#if defined(__AVX512BW__)
constexpr int VECTOR_BYTES = 64;
#elif defined(__AVX2__)
constexpr int VECTOR_BYTES = 32;
#else
constexpr int VECTOR_BYTES = 16;
#endif
constexpr int VECTOR_LANES = VECTOR_BYTES / 4;
constexpr int CACHE_LINE = 64;  // bytes

/// Lines that are filtered side by side: sample k of all of them is one cache line of words.
constexpr int GROUP_LANES = 16;
constexpr int GROUP_VECTORS = GROUP_LANES / VECTOR_LANES;

// Words of 32 bits: unsigned for sums, signed for shifts.
typedef std::uint32_t sum_vector __attribute__((vector_size(VECTOR_BYTES), may_alias));
typedef std::int32_t int_vector __attribute__((vector_size(VECTOR_BYTES), may_alias));
typedef std::int32_t int_vector_anywhere __attribute__((vector_size(VECTOR_BYTES), may_alias, aligned(4)));

static inline int_vector load_group(const std::int32_t* group, int v) {
  return reinterpret_cast<const int_vector*>(group)[v];
}
static inline void store_group(std::int32_t* group, int v, int_vector value) {
  reinterpret_cast<int_vector*>(group)[v] = value;
}

// --- transposition -----------------------------------------------------------------------------------------
//
// Interleaving the first half of a square's rows with the second half, as often as the side has bits,
// transposes it. Vectors above 16 bytes hold several squares side by side.

#if defined(__AVX2__)
typedef std::int16_t short_row __attribute__((vector_size(32), may_alias));

static inline short_row interleave_low(short_row a, short_row b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 8, 24, 9, 25, 10, 26, 11, 27);
}
static inline short_row interleave_high(short_row a, short_row b) {
  return __builtin_shufflevector(a, b, 4, 20, 5, 21, 6, 22, 7, 23, 12, 28, 13, 29, 14, 30, 15, 31);
}
#else
typedef std::int16_t short_row __attribute__((vector_size(16), may_alias));

static inline short_row interleave_low(short_row a, short_row b) {
  return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
}
static inline short_row interleave_high(short_row a, short_row b) {
  return __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
}
#endif

static inline void transpose_8x8(short_row (&rows)[8]) {
  for (int stage = 0; stage < 3; ++stage) {
    short_row next[8];
    for (int i = 0; i < 4; ++i) {
      next[2 * i] = interleave_low(rows[i], rows[i + 4]);
      next[2 * i + 1] = interleave_high(rows[i], rows[i + 4]);
    }
    for (int i = 0; i < 8; ++i) rows[i] = next[i];
  }
}

#if defined(__AVX512BW__)
// Here and below: the unmasked forms begin with an undefined value, of which compilers warn.
static inline int_vector widened(__m256i shorts) { return int_vector(_mm512_maskz_cvtepi16_epi32(0xffff, shorts)); }
#elif defined(__AVX2__)
static inline int_vector widened(__m128i shorts) { return int_vector(_mm256_cvtepi16_epi32(shorts)); }
#else
typedef std::int16_t shorts_anywhere __attribute__((vector_size(16), may_alias, aligned(2)));
static inline short_row load_shorts(const std::int16_t* from) {
  return *reinterpret_cast<const shorts_anywhere*>(from);
}
#endif

/// 16 samples of a plane, widened and shifted, as a group.
static inline void widen_group(const std::int16_t* from, std::int32_t* group, int shift) {
#if defined(__AVX512BW__)
  store_group(group, 0, widened(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))) >> shift);
#elif defined(__AVX2__)
  for (int v = 0; v < 2; ++v)
    store_group(group, v, widened(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 8 * v))) >> shift);
#else
  const short_row zero = {};
  for (int half = 0; half < 2; ++half) {
    const short_row row = load_shorts(from + 8 * half);
    store_group(group, 2 * half, int_vector(interleave_low(zero, row)) >> (16 + shift));
    store_group(group, 2 * half + 1, int_vector(interleave_high(zero, row)) >> (16 + shift));
  }
#endif
}
/// 16 samples of the long image, shifted, as a group.
static inline void widen_group(const std::int32_t* from, std::int32_t* group, int shift) {
  for (int v = 0; v < GROUP_VECTORS; ++v)
    store_group(group, v, reinterpret_cast<const int_vector_anywhere*>(from)[v] >> shift);
}

/// 8 columns of 16 rows, widened: lanes[c * 16 + r] = from[r * pitch + c].
static inline void transpose_to_lanes(const std::int16_t* from, std::ptrdiff_t pitch, std::int32_t* lanes) {
#if defined(__AVX2__)
  short_row square[8];
  for (int r = 0; r < 8; ++r) {
    const auto load = [=](int row) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + row * pitch)); };
    square[r] = short_row(_mm256_inserti128_si256(_mm256_castsi128_si256(load(r)), load(r + 8), 1));
  }
  transpose_8x8(square);
  for (int c = 0; c < 8; ++c) {
#if defined(__AVX512BW__)
    store_group(lanes + c * GROUP_LANES, 0, widened(__m256i(square[c])));
#else
    store_group(lanes + c * GROUP_LANES, 0, widened(_mm256_castsi256_si128(__m256i(square[c]))));
    store_group(lanes + c * GROUP_LANES, 1, widened(_mm256_extracti128_si256(__m256i(square[c]), 1)));
#endif
  }
#else
  for (int half = 0; half < 2; ++half) {
    short_row square[8];
    for (int r = 0; r < 8; ++r) square[r] = load_shorts(from + (8 * half + r) * pitch);
    transpose_8x8(square);
    const short_row zero = {};
    // A sample in the upper half of its word, shifted down, keeps its sign.
    for (int c = 0; c < 8; ++c) {
      store_group(lanes + c * GROUP_LANES, 2 * half, int_vector(interleave_low(zero, square[c])) >> 16);
      store_group(lanes + c * GROUP_LANES, 2 * half + 1, int_vector(interleave_high(zero, square[c])) >> 16);
    }
  }
#endif
}

#if defined(__AVX512BW__)
static inline int_vector interleave_low(int_vector a, int_vector b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 4, 20, 5, 21, 8, 24, 9, 25, 12, 28, 13, 29);
}
static inline int_vector interleave_high(int_vector a, int_vector b) {
  return __builtin_shufflevector(a, b, 2, 18, 3, 19, 6, 22, 7, 23, 10, 26, 11, 27, 14, 30, 15, 31);
}
#elif defined(__AVX2__)
static inline int_vector interleave_low(int_vector a, int_vector b) {
  return __builtin_shufflevector(a, b, 0, 8, 1, 9, 4, 12, 5, 13);
}
static inline int_vector interleave_high(int_vector a, int_vector b) {
  return __builtin_shufflevector(a, b, 2, 10, 3, 11, 6, 14, 7, 15);
}
#else
static inline int_vector interleave_low(int_vector a, int_vector b) {
  return __builtin_shufflevector(a, b, 0, 4, 1, 5);
}
static inline int_vector interleave_high(int_vector a, int_vector b) {
  return __builtin_shufflevector(a, b, 2, 6, 3, 7);
}
#endif

/// Four columns of as many rows as a vector has lanes: afterwards square[r] holds, in its 16-byte parts, these
/// columns of rows r, r + 4, r + 8 ...
static inline void transpose_4x4(int_vector (&square)[4]) {
  for (int stage = 0; stage < 2; ++stage) {
    const int_vector a = square[0], b = square[1], c = square[2], d = square[3];
    square[0] = interleave_low(a, c);
    square[1] = interleave_high(a, c);
    square[2] = interleave_low(b, d);
    square[3] = interleave_high(b, d);
  }
}

static inline void load_columns(const std::int32_t* lanes, int column, int v, int_vector (&square)[4]) {
  for (int c = 0; c < 4; ++c) square[c] = load_group(lanes + (column + c) * GROUP_LANES, v);
  transpose_4x4(square);
}

/// 16 columns of 16 rows back: store(row, column, vector) takes pieces of rows.
template <class Store>
void transpose_from_lanes(const std::int32_t* lanes, const Store& store) {
#if defined(__AVX512BW__)
  int_vector quads[4][4];  // by column / 4
  for (int q = 0; q < 4; ++q) load_columns(lanes, 4 * q, 0, quads[q]);
  // 16-byte parts of two vectors: the first two of both, the last two, the even ones, the odd ones.
  const auto first = [](int_vector a, int_vector b) {
    return __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23);
  };
  const auto last = [](int_vector a, int_vector b) {
    return __builtin_shufflevector(a, b, 8, 9, 10, 11, 12, 13, 14, 15, 24, 25, 26, 27, 28, 29, 30, 31);
  };
  const auto even = [](int_vector a, int_vector b) {
    return __builtin_shufflevector(a, b, 0, 1, 2, 3, 8, 9, 10, 11, 16, 17, 18, 19, 24, 25, 26, 27);
  };
  const auto odd = [](int_vector a, int_vector b) {
    return __builtin_shufflevector(a, b, 4, 5, 6, 7, 12, 13, 14, 15, 20, 21, 22, 23, 28, 29, 30, 31);
  };
  for (int r = 0; r < 4; ++r) {
    const int_vector upper_left = first(quads[0][r], quads[1][r]), upper_right = first(quads[2][r], quads[3][r]);
    const int_vector lower_left = last(quads[0][r], quads[1][r]), lower_right = last(quads[2][r], quads[3][r]);
    store(r, 0, even(upper_left, upper_right));
    store(r + 4, 0, odd(upper_left, upper_right));
    store(r + 8, 0, even(lower_left, lower_right));
    store(r + 12, 0, odd(lower_left, lower_right));
  }
#elif defined(__AVX2__)
  for (int v = 0; v < 2; ++v)
    for (int column = 0; column < 16; column += 8) {
      int_vector left[4], right[4];
      load_columns(lanes, column, v, left);
      load_columns(lanes, column + 4, v, right);
      for (int r = 0; r < 4; ++r) {
        store(8 * v + r, column, __builtin_shufflevector(left[r], right[r], 0, 1, 2, 3, 8, 9, 10, 11));
        store(8 * v + r + 4, column, __builtin_shufflevector(left[r], right[r], 4, 5, 6, 7, 12, 13, 14, 15));
      }
    }
#else
  for (int v = 0; v < 4; ++v)
    for (int column = 0; column < 16; column += 4) {
      int_vector square[4];
      load_columns(lanes, column, v, square);
      for (int r = 0; r < 4; ++r) store(4 * v + r, column, square[r]);
    }
#endif
}

/// to[r * pitch + c] = lanes[c * 16 + r].
static inline void transpose_from_lanes(const std::int32_t* lanes, std::int32_t* to, std::ptrdiff_t pitch) {
  transpose_from_lanes(lanes, [=](int row, int column, int_vector v) {
    *reinterpret_cast<int_vector_anywhere*>(to + row * pitch + column) = v;
  });
}

// --- between integers and doubles ----------------------------------------------------------------------------

#if defined(__AVX512BW__)
constexpr __mmask8 ALL_LANES = 0xff;  // of doubles
static inline __m512d to_doubles(__m256i v) { return _mm512_maskz_cvtepi32_pd(ALL_LANES, v); }
#endif

/// scaled_sample() of `n` samples. The processors' conversion rounds to nearest, ties to even; out of range it gives
/// the most negative number, so that only the upper end has to be held before it.
static inline void scale_samples(const std::int32_t* from, std::int16_t* to, std::int64_t n, double factor) {
  std::int64_t i = 0;
#if defined(__AVX512BW__)
  const auto scaled = [factor](const std::int32_t* eight) {
    const __m512d v = to_doubles(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(eight))) * factor;
    return _mm512_maskz_cvtpd_epi32(ALL_LANES, _mm512_maskz_min_pd(ALL_LANES, v, _mm512_set1_pd(32767.0)));
  };
  for (; i + 16 <= n; i += 16) {
    const __m256i packed = _mm256_packs_epi32(scaled(from + i), scaled(from + i + 8));
    const __m256i held = _mm256_max_epi16(packed, _mm256_set1_epi16(-32767));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + i), _mm256_permute4x64_epi64(held, 0xd8));
  }
#elif defined(__AVX2__)
  const auto scaled = [factor](const std::int32_t* four) {
    const __m256d v = _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(four))) * factor;
    return _mm256_cvtpd_epi32(_mm256_min_pd(v, _mm256_set1_pd(32767.0)));
  };
  for (; i + 8 <= n; i += 8) {
    const __m128i packed = _mm_packs_epi32(scaled(from + i), scaled(from + i + 4));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), _mm_max_epi16(packed, _mm_set1_epi16(-32767)));
  }
#elif defined(__SSE2__)
  const auto scaled = [factor](const std::int32_t* two) {
    const __m128d v = _mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(two))) * factor;
    return _mm_cvtpd_epi32(_mm_min_pd(v, _mm_set1_pd(32767.0)));
  };
  for (; i + 8 <= n; i += 8) {
    const __m128i low = _mm_unpacklo_epi64(scaled(from + i), scaled(from + i + 2));
    const __m128i high = _mm_unpacklo_epi64(scaled(from + i + 4), scaled(from + i + 6));
    const __m128i packed = _mm_packs_epi32(low, high);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), _mm_max_epi16(packed, _mm_set1_epi16(-32767)));
  }
#endif
  for (; i < n; ++i) to[i] = scaled_sample(from[i], factor);
}

/// nearest_int(low * low_weight + high * high_weight), word by word.
static inline int_vector blended(int_vector low, int_vector high, double low_weight, double high_weight) {
#if defined(__AVX512BW__)
  const auto half = [=](auto l, auto h) {
    return _mm512_castpd_si512(to_doubles(__m256i(l)) * low_weight + to_doubles(__m256i(h)) * high_weight +
                               NEAREST_INT_BIAS);
  };
  const auto lower = [](int_vector v) { return __builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7); };
  const auto upper = [](int_vector v) { return __builtin_shufflevector(v, v, 8, 9, 10, 11, 12, 13, 14, 15); };
  const __m512i even = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
  return int_vector(_mm512_permutex2var_epi32(half(lower(low), lower(high)), even, half(upper(low), upper(high))));
#elif defined(__AVX2__)
  const auto half = [=](__m128i l, __m128i h) {
    return _mm256_castpd_ps(_mm256_cvtepi32_pd(l) * low_weight + _mm256_cvtepi32_pd(h) * high_weight +
                            NEAREST_INT_BIAS);
  };
  const __m256i l = __m256i(low), h = __m256i(high);
  const __m256 words = _mm256_shuffle_ps(half(_mm256_castsi256_si128(l), _mm256_castsi256_si128(h)),
                                         half(_mm256_extracti128_si256(l, 1), _mm256_extracti128_si256(h, 1)), 0x88);
  return int_vector(_mm256_permute4x64_epi64(_mm256_castps_si256(words), 0xd8));
#elif defined(__SSE2__)
  const auto half = [=](__m128i l, __m128i h) {
    return _mm_castpd_ps(_mm_cvtepi32_pd(l) * low_weight + _mm_cvtepi32_pd(h) * high_weight + NEAREST_INT_BIAS);
  };
  const auto upper = [](__m128i v) { return _mm_unpackhi_epi64(v, v); };
  const __m128i l = __m128i(low), h = __m128i(high);
  return int_vector(_mm_castps_si128(_mm_shuffle_ps(half(l, h), half(upper(l), upper(h)), 0x88)));
#else
  int_vector result;
  for (int k = 0; k < VECTOR_LANES; ++k) result[k] = nearest_int(low[k] * low_weight + high[k] * high_weight);
  return result;
#endif
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
