// The innermost step of every warp: four neighbours of each position, weighted and summed. The plain form is the
// rule; the others compute the same products of 16-bit samples and weights, two at a time.
#pragma once

#include <cstdint>
#include <cstring>

#include "operators/bodies/sampling.h"

#if defined(__SSE4_1__)
#include <immintrin.h>
#endif

namespace tessaron::TESSARON_LEVEL {

namespace {

/// Texels per round; counts are rounded up to it.
#if defined(__AVX512BW__)
inline constexpr int TEXEL_ROUND = 16;
#else
inline constexpr int TEXEL_ROUND = 8;
#endif
static_assert(SAMPLE_BLOCK % TEXEL_ROUND == 0);

/// Rows of the elements of some samples, at any alignment.
template <int E>
struct sample_rows {
  fix* of[E];
};
template <int E>
inline sample_rows<E> rows_of(sample_block<E>& block) {
  sample_rows<E> rows;
  for (int e = 0; e < E; ++e) rows.of[e] = block.of[e];
  return rows;
}

#if !defined(__SSE4_1__)

template <int E>
inline void read_texels(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                        const sample_rows<E>& out) {
  for (int i = 0; i < count; ++i) {
    const std::int16_t* top = image + t.offset[i];
    const std::int16_t* bottom = top + row_stride;
    const fix w00 = fix(t.top[i] & 0xffff), w10 = fix(t.top[i] >> 16);
    const fix w01 = fix(t.bottom[i] & 0xffff), w11 = fix(t.bottom[i] >> 16);
    for (int e = 0; e < E; ++e)
      out.of[e][i] = (w00 * top[e] + w10 * top[E + e] + w11 * bottom[E + e] + w01 * bottom[e]) >> FIX_BITS;
  }
}

#else

inline __m128i load_8_bytes(const std::int16_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
inline __m128i load_16_bytes(const std::int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline int load_4_bytes(const std::int16_t* p) {
  int v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline __m128i words(const std::uint32_t* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store_4(fix* out, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(out), v); }

/// Puts the two neighbours of each element side by side: r0 g0 b0 (a0) r1 g1 b1 (a1) to r0 r1 g0 g1 b0 b1 (a0 a1).
template <int E>
inline __m128i neighbour_pairs() {
  if constexpr (E == 3) return _mm_setr_epi8(0, 1, 6, 7, 2, 3, 8, 9, 4, 5, 10, 11, -1, -1, -1, -1);
  return _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
}

// One element: pairs of neighbours are words already.
inline __m128i four_pairs(const std::int16_t* image, const std::uint32_t* offset) {
  __m128i v = _mm_cvtsi32_si128(load_4_bytes(image + offset[0]));
  v = _mm_insert_epi32(v, load_4_bytes(image + offset[1]), 1);
  v = _mm_insert_epi32(v, load_4_bytes(image + offset[2]), 2);
  return _mm_insert_epi32(v, load_4_bytes(image + offset[3]), 3);
}
inline void read_texels_1(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                          const sample_rows<1>& out) {
  for (int i = 0; i < count; i += 4) {
    const __m128i top = _mm_madd_epi16(four_pairs(image, t.offset + i), words(t.top + i));
    const __m128i bottom = _mm_madd_epi16(four_pairs(image + row_stride, t.offset + i), words(t.bottom + i));
    store_4(out.of[0] + i, _mm_srai_epi32(_mm_add_epi32(top, bottom), FIX_BITS));
  }
}

// Two elements: two positions in a register.
inline __m128i two_of_two(const std::int16_t* image, const std::uint32_t* offset, __m128i weights) {
  const __m128i v = _mm_unpacklo_epi64(load_8_bytes(image + offset[0]), load_8_bytes(image + offset[1]));
  const __m128i pairs = _mm_setr_epi8(0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15);
  return _mm_madd_epi16(_mm_shuffle_epi8(v, pairs), weights);
}
inline void read_texels_2(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                          const sample_rows<2>& out) {
  for (int i = 0; i < count; i += 4) {
    __m128i sums[2];
    for (int k = 0; k < 2; ++k) {
      const std::uint32_t* offset = t.offset + i + 2 * k;
      const __m128i top = load_8_bytes(reinterpret_cast<const std::int16_t*>(t.top + i + 2 * k));
      const __m128i bottom = load_8_bytes(reinterpret_cast<const std::int16_t*>(t.bottom + i + 2 * k));
      const __m128i sum = _mm_add_epi32(two_of_two(image, offset, _mm_unpacklo_epi32(top, top)),
                                        two_of_two(image + row_stride, offset, _mm_unpacklo_epi32(bottom, bottom)));
      sums[k] = _mm_srai_epi32(sum, FIX_BITS);
    }
    const __m128 a = _mm_castsi128_ps(sums[0]), b = _mm_castsi128_ps(sums[1]);
    store_4(out.of[0] + i, _mm_castps_si128(_mm_shuffle_ps(a, b, 0x88)));
    store_4(out.of[1] + i, _mm_castps_si128(_mm_shuffle_ps(a, b, 0xdd)));
  }
}

#if defined(__AVX512BW__)

// Three and four elements: four positions in a register, i + k, i + 4 + k, i + 8 + k and i + 12 + k, so that the
// transposition below stays within quarters. The quarters come by masked loads, which need no shuffle.
template <int K>
struct lane {  // as a shuffle that puts word K of each quarter into all its words
  static constexpr int value = K * 0x55;
};
inline __m512i four_positions(const std::int16_t* image, const std::uint32_t* offset, __m512i pairs, __m512i weights) {
  const auto load = [&](int place) { return load_16_bytes(image + offset[place]); };
  __m512i v = _mm512_zextsi128_si512(load(0));
  v = _mm512_mask_broadcast_i64x2(v, 0x0c, load(4));
  v = _mm512_mask_broadcast_i64x2(v, 0x30, load(8));
  v = _mm512_mask_broadcast_i64x2(v, 0xc0, load(12));
  return _mm512_madd_epi16(_mm512_shuffle_epi8(v, pairs), weights);
}

template <int E>
inline void read_texels_4(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                          const sample_rows<E>& out) {
  // Of the unmasked forms compilers warn: they begin with an undefined value.
  constexpr __mmask16 ALL = 0xffff;
  const __m512i pairs = _mm512_maskz_broadcast_i32x4(ALL, neighbour_pairs<E>());
  const std::int16_t* below = image + row_stride;
  for (int i = 0; i < count; i += 16) {
    const __m512i top = _mm512_load_si512(t.top + i), bottom = _mm512_load_si512(t.bottom + i);
    const auto sample = [&](int k, __m512i w_top, __m512i w_bottom) {
      const std::uint32_t* offset = t.offset + i + k;
      const __m512i sum =
          _mm512_add_epi32(four_positions(image, offset, pairs, w_top), four_positions(below, offset, pairs, w_bottom));
      return _mm512_maskz_srai_epi32(ALL, sum, FIX_BITS);
    };
    const auto spread = [](__m512i weights, auto k) {
      return _mm512_maskz_shuffle_epi32(ALL, weights, _MM_PERM_ENUM(decltype(k)::value));
    };
    const __m512i p0 = sample(0, spread(top, lane<0>()), spread(bottom, lane<0>()));
    const __m512i p1 = sample(1, spread(top, lane<1>()), spread(bottom, lane<1>()));
    const __m512i p2 = sample(2, spread(top, lane<2>()), spread(bottom, lane<2>()));
    const __m512i p3 = sample(3, spread(top, lane<3>()), spread(bottom, lane<3>()));
    const __m512i rg01 = _mm512_maskz_unpacklo_epi32(ALL, p0, p1), rg23 = _mm512_maskz_unpacklo_epi32(ALL, p2, p3);
    const __m512i ba01 = _mm512_maskz_unpackhi_epi32(ALL, p0, p1), ba23 = _mm512_maskz_unpackhi_epi32(ALL, p2, p3);
    const auto store = [&](int e, __m512i v) { _mm512_storeu_si512(out.of[e] + i, v); };
    store(0, _mm512_maskz_unpacklo_epi64(0xff, rg01, rg23));
    store(1, _mm512_maskz_unpackhi_epi64(0xff, rg01, rg23));
    store(2, _mm512_maskz_unpacklo_epi64(0xff, ba01, ba23));
    if constexpr (E == 4) store(3, _mm512_maskz_unpackhi_epi64(0xff, ba01, ba23));
  }
}

#elif defined(__AVX2__)

// Three and four elements: two positions in a register, i + k and i + 4 + k, so that the transposition below stays
// within halves.
inline __m256i two_positions(const std::int16_t* image, const std::uint32_t* offset, __m256i pairs, __m256i weights) {
  const __m256i v = _mm256_inserti128_si256(_mm256_castsi128_si256(load_16_bytes(image + offset[0])),
                                            load_16_bytes(image + offset[4]), 1);
  return _mm256_madd_epi16(_mm256_shuffle_epi8(v, pairs), weights);
}

template <int E>
inline void read_texels_4(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                          const sample_rows<E>& out) {
  const __m256i pairs = _mm256_broadcastsi128_si256(neighbour_pairs<E>());
  const std::int16_t* below = image + row_stride;
  for (int i = 0; i < count; i += 8) {
    const __m256i top = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.top + i));
    const __m256i bottom = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.bottom + i));
    const auto sample = [&](int k, __m256i w_top, __m256i w_bottom) {
      const std::uint32_t* offset = t.offset + i + k;
      return _mm256_srai_epi32(
          _mm256_add_epi32(two_positions(image, offset, pairs, w_top), two_positions(below, offset, pairs, w_bottom)),
          FIX_BITS);
    };
    const __m256i p0 = sample(0, _mm256_shuffle_epi32(top, 0x00), _mm256_shuffle_epi32(bottom, 0x00));
    const __m256i p1 = sample(1, _mm256_shuffle_epi32(top, 0x55), _mm256_shuffle_epi32(bottom, 0x55));
    const __m256i p2 = sample(2, _mm256_shuffle_epi32(top, 0xaa), _mm256_shuffle_epi32(bottom, 0xaa));
    const __m256i p3 = sample(3, _mm256_shuffle_epi32(top, 0xff), _mm256_shuffle_epi32(bottom, 0xff));
    const __m256i rg01 = _mm256_unpacklo_epi32(p0, p1), rg23 = _mm256_unpacklo_epi32(p2, p3);
    const __m256i ba01 = _mm256_unpackhi_epi32(p0, p1), ba23 = _mm256_unpackhi_epi32(p2, p3);
    const auto store = [&](int e, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(out.of[e] + i), v); };
    store(0, _mm256_unpacklo_epi64(rg01, rg23));
    store(1, _mm256_unpackhi_epi64(rg01, rg23));
    store(2, _mm256_unpacklo_epi64(ba01, ba23));
    if constexpr (E == 4) store(3, _mm256_unpackhi_epi64(ba01, ba23));
  }
}

#else

template <int E>
inline void read_texels_4(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                          const sample_rows<E>& out) {
  const __m128i pairs = neighbour_pairs<E>();
  const std::int16_t* below = image + row_stride;
  for (int i = 0; i < count; i += 4) {
    const __m128i top = words(t.top + i), bottom = words(t.bottom + i);
    const auto sample = [&](int k, __m128i w_top, __m128i w_bottom) {
      const std::uint32_t offset = t.offset[i + k];
      const __m128i above_pair = _mm_shuffle_epi8(load_16_bytes(image + offset), pairs);
      const __m128i below_pair = _mm_shuffle_epi8(load_16_bytes(below + offset), pairs);
      return _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(above_pair, w_top), _mm_madd_epi16(below_pair, w_bottom)),
                            FIX_BITS);
    };
    const __m128i p0 = sample(0, _mm_shuffle_epi32(top, 0x00), _mm_shuffle_epi32(bottom, 0x00));
    const __m128i p1 = sample(1, _mm_shuffle_epi32(top, 0x55), _mm_shuffle_epi32(bottom, 0x55));
    const __m128i p2 = sample(2, _mm_shuffle_epi32(top, 0xaa), _mm_shuffle_epi32(bottom, 0xaa));
    const __m128i p3 = sample(3, _mm_shuffle_epi32(top, 0xff), _mm_shuffle_epi32(bottom, 0xff));
    const __m128i rg01 = _mm_unpacklo_epi32(p0, p1), rg23 = _mm_unpacklo_epi32(p2, p3);
    const __m128i ba01 = _mm_unpackhi_epi32(p0, p1), ba23 = _mm_unpackhi_epi32(p2, p3);
    store_4(out.of[0] + i, _mm_unpacklo_epi64(rg01, rg23));
    store_4(out.of[1] + i, _mm_unpackhi_epi64(rg01, rg23));
    store_4(out.of[2] + i, _mm_unpacklo_epi64(ba01, ba23));
    if constexpr (E == 4) store_4(out.of[3] + i, _mm_unpackhi_epi64(ba01, ba23));
  }
}

#endif

template <int E>
inline void read_texels(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                        const sample_rows<E>& out) {
  if constexpr (E == 1)
    read_texels_1(image, row_stride, t, count, out);
  else if constexpr (E == 2)
    read_texels_2(image, row_stride, t, count, out);
  else
    read_texels_4<E>(image, row_stride, t, count, out);
}

#endif

template <int E>
inline void read_texels(const std::int16_t* image, std::int32_t row_stride, const texel_block& t, int count,
                        sample_block<E>& out) {
  read_texels<E>(image, row_stride, t, count, rows_of(out));
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
