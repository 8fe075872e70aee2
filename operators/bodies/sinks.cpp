#include "operators/bodies/sinks.h"

#include <cstring>

#include "evaluator/frame.h"
#include "evaluator/loop_plan.h"

#if defined(__SSE4_1__)
#include <immintrin.h>
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int MIPMAP_LIMIT = 8191;

template <int N>
inline void interleave(std::int16_t* out, fix* const* rows, int first, int end) {
  for (int i = first; i < end; ++i)
    for (int e = 0; e < N; ++e) out[i * N + e] = std::int16_t(fix_clamp(rows[e][i], 0, MIPMAP_LIMIT));
}

template <int N>
void mipmap_sink(node& root, std::int64_t offset, int width) {
  interleave<N>(current_mipmap.samples + offset, root.rows, 0, width);
}

#if defined(__SSE4_1__)

inline __m128i load_4(const fix* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Narrowing saturates, so that limits can be kept on twice as many samples at once.

void store_plane_row(std::int16_t* plane, const fix* row, int width) {
  int i = 0;
  for (; i + 8 <= width; i += 8) {
    const __m128i v = _mm_packs_epi32(load_4(row + i), load_4(row + i + 4));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(plane + i), _mm_max_epi16(v, _mm_set1_epi16(-0x7fff)));
  }
  for (; i < width; ++i) plane[i] = plane_sample(row[i]);
}

/// Four samples of two elements, limited: a0 a1 a2 a3 b0 b1 b2 b3.
inline __m128i limited_pair(const fix* a, const fix* b) {
  const __m128i v = _mm_packs_epi32(load_4(a), load_4(b));
  return _mm_min_epi16(_mm_max_epi16(v, _mm_setzero_si128()), _mm_set1_epi16(MIPMAP_LIMIT));
}

template <>
void mipmap_sink<1>(node& root, std::int64_t offset, int width) {
  std::int16_t* out = current_mipmap.samples + offset;
  int i = 0;
  for (; i + 8 <= width; i += 8)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), limited_pair(root.rows[0] + i, root.rows[0] + i + 4));
  interleave<1>(out, root.rows, i, width);
}

template <>
void mipmap_sink<3>(node& root, std::int64_t offset, int width) {
  std::int16_t* out = current_mipmap.samples + offset;
  fix* const* rows = root.rows;
  const __m128i rg_first = _mm_setr_epi8(0, 1, 8, 9, -1, -1, 2, 3, 10, 11, -1, -1, 4, 5, 12, 13);
  const __m128i b_first = _mm_setr_epi8(-1, -1, -1, -1, 0, 1, -1, -1, -1, -1, 2, 3, -1, -1, -1, -1);
  const __m128i rg_rest = _mm_setr_epi8(-1, -1, 6, 7, 14, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  const __m128i b_rest = _mm_setr_epi8(4, 5, -1, -1, -1, -1, 6, 7, -1, -1, -1, -1, -1, -1, -1, -1);
  int i = 0;
  for (; i + 4 <= width; i += 4) {
    const __m128i rg = limited_pair(rows[0] + i, rows[1] + i), b = limited_pair(rows[2] + i, rows[2] + i);
    __m128i* to = reinterpret_cast<__m128i*>(out + 3 * i);
    _mm_storeu_si128(to, _mm_or_si128(_mm_shuffle_epi8(rg, rg_first), _mm_shuffle_epi8(b, b_first)));
    _mm_storel_epi64(to + 1, _mm_or_si128(_mm_shuffle_epi8(rg, rg_rest), _mm_shuffle_epi8(b, b_rest)));
  }
  interleave<3>(out, rows, i, width);
}

template <>
void mipmap_sink<4>(node& root, std::int64_t offset, int width) {
  std::int16_t* out = current_mipmap.samples + offset;
  fix* const* rows = root.rows;
  int i = 0;
  for (; i + 4 <= width; i += 4) {
    const __m128i rg = limited_pair(rows[0] + i, rows[1] + i), ba = limited_pair(rows[2] + i, rows[3] + i);
    const __m128i rb = _mm_unpacklo_epi16(rg, ba), ga = _mm_unpackhi_epi16(rg, ba);
    __m128i* to = reinterpret_cast<__m128i*>(out + 4 * i);
    _mm_storeu_si128(to, _mm_unpacklo_epi16(rb, ga));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi16(rb, ga));
  }
  interleave<4>(out, rows, i, width);
}

#else

void store_plane_row(std::int16_t* __restrict plane, const fix* __restrict row, int width) {
  for (int i = 0; i < width; ++i) plane[i] = plane_sample(row[i]);
}

#endif

}  // namespace

void plane_sink(node& root, std::int64_t offset, int width) {
  const int count = root.elnum < max_elnum ? root.elnum : max_elnum;
  for (int e = 0; e < count; ++e) store_plane_row(root.images[e] + offset, root.rows[e], width);
}

namespace {

/// Rows to the output as they would come back from planes.
template <sample_range RANGE>
void output_sink(node& root, std::int64_t offset, int width) {
  const raster_info &view = temp_raster_info, &dest = dest_raster_info;
  const render_info_record& part = render_info;
  const int y = view.y0 + int(offset / view.width), x = view.x0 + int(offset % view.width);
  const int first = fix_max(x, fix_max(part.render_x0, dest.x0));
  const int last = fix_min(x + width - 1, fix_min(part.render_x1, dest.x1));
  if (first > last || y < fix_max(part.render_y0, dest.y0) || y > fix_min(part.render_y1, dest.y1)) return;
  const int count = last - first + 1;
  const fix* rows[4] = {};
  for (int e = 0; e < root.elnum; ++e) {
    fix* row = root.rows[e] + (first - x);
    if constexpr (RANGE == sample_range::any)
      for (int i = 0; i < count; ++i) row[i] = plane_sample(row[i]);
    rows[e] = row;
  }
  pixel_io.write_dest(dest, y, first, count, 1, rows, root.elnum, dest_alpha_mode_for(root.elnum));
}

}  // namespace

void finish_by_pixels(node& n, const node_kernel (&row_functions)[5], sample_range range) {
  const row_sink_fn to_output =
      range == sample_range::plane ? output_sink<sample_range::plane> : output_sink<sample_range::any>;
  image_process_pixels_loop(n, row_functions, take_output(n) ? to_output : plane_sink);
}

const mipmap_sinks MIPMAP_SINKS = {nullptr, mipmap_sink<1>, mipmap_sink<2>, mipmap_sink<3>, mipmap_sink<4>};

}  // namespace tessaron::TESSARON_LEVEL
