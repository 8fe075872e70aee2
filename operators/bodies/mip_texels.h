// Texels of a block of positions: in the image itself, and between the levels of the rip-map. The plain form is the
// rule; the other one is the same for eight positions at once.
#pragma once

#include "operators/bodies/texels.h"

namespace tessaron::TESSARON_LEVEL {

/// The three corners of the level square that are read, and what they weigh: they sum to 4096.
struct alignas(64) corner_block {
  texel_block fine, coarse, mixed;
  fix fine_weight[SAMPLE_BLOCK], coarse_weight[SAMPLE_BLOCK], mixed_weight[SAMPLE_BLOCK];
  bool any_coarse, any_mixed;  // false: no position of the block gives this corner any weight
};

namespace {

inline constexpr fix HALF_PIXEL = FIX_ONE / 2;

/// One direction of the levels.
struct level_axis {
  const fix* limit;            // by level, fix pixels
  const std::uint32_t* start;  // by level, samples
  fix max_level;
  int next_shift;  // to the next level; 0 where there is only one, whose next is itself
  fix next_half;
};
inline level_axis x_levels(const mipmap_table_record& t) {
  const bool several = t.x_level_count > 1;
  return {t.x_level_limit, t.x_level_offset, t.max_x_level, several, several ? HALF_PIXEL / 2 : 0};
}
inline level_axis y_levels(const mipmap_table_record& t) {
  const bool several = t.y_level_count > 1;
  return {t.y_level_limit, t.y_level_row, t.max_y_level, several, several ? HALF_PIXEL / 2 : 0};
}

/// The four neighbours of (x, y), which lies within a level's border, and what they weigh. `start` is the place of
/// the level's first interior sample.
template <int E>
inline void set_texel(texel_block& t, int i, fix x, fix y, std::uint32_t start, std::uint32_t row_stride, fix seen) {
  const fix fx = x & 0xfff, fy = y & 0xfff;
  const fix fxy = (fx * fy) >> FIX_BITS;
  t.offset[i] = start + std::uint32_t(y >> FIX_BITS) * row_stride + std::uint32_t(x >> FIX_BITS) * E;
  t.top[i] = std::uint32_t((FIX_ONE - fx - fy + fxy) | (fx - fxy) << 16) & std::uint32_t(seen);
  t.bottom[i] = std::uint32_t((fy - fxy) | fxy << 16) & std::uint32_t(seen);
}

#if !defined(__AVX2__)

/// Texels of the image itself. Positions that wrap lie inside the frame, and so inside an image that covers it. The
/// limits hold for all positions alike: they change nothing there, and keep reading inside the memory where the image
/// is a part of the frame.
template <int E>
inline void bilinear_texels(const sampler& s, const pixel_block& at, int count, texel_block& t) {
  const fix limit_x = s.table->x_level_limit[0], limit_y = s.table->y_level_limit[0];
  const std::uint32_t start = level_start(*s.table, 0, 0);
  for (int i = 0; i < count; ++i)
    set_texel<E>(t, i, fix_clamp(at.x[i], -FIX_ONE, limit_x), fix_clamp(at.y[i], -FIX_ONE, limit_y), start,
                 std::uint32_t(s.row_stride), at.seen[i]);
}

/// One direction of one position: the finer level, how far it is to the next, and where to read both.
struct level_step {
  fix level, part;
  fix fine, coarse;
};
inline level_step step_between_levels(const level_axis& axis, fix at, fix wanted) {
  wanted = fix_max(fix_min(wanted, axis.max_level), 0);
  const fix level = wanted >> FIX_BITS;
  const fix fine = wrap_sub(wrap_add(at, HALF_PIXEL) >> level, HALF_PIXEL);
  const fix coarse = (fine >> axis.next_shift) - axis.next_half;
  return {level, wanted & 0xfff, fix_clamp(fine, -FIX_ONE, axis.limit[level]),
          fix_clamp(coarse, -FIX_ONE, axis.limit[level + 1])};
}

/// Corners of the triangle of the level square that holds the wanted level: both finer, both coarser, and finer in the
/// direction in which the finer level is wanted. Along the diagonal the third one counts nothing.
template <int E>
inline void corner_texels(const sampler& s, const pixel_block& at, const level_block& levels, int count,
                          corner_block& out) {
  const level_axis across = x_levels(*s.table), down = y_levels(*s.table);
  const std::uint32_t row_stride = std::uint32_t(s.row_stride), border = row_stride + E;
  fix any_coarse = 0, any_mixed = 0;
  for (int i = 0; i < count; ++i) {
    const level_step x = step_between_levels(across, at.x[i], levels.x[i]);
    const level_step y = step_between_levels(down, at.y[i], levels.y[i]);
    const bool even = wrap_abs(x.part - y.part) <= 1;
    const fix larger = even ? x.part : fix_max(x.part, y.part), smaller = even ? x.part : fix_min(x.part, y.part);
    out.fine_weight[i] = FIX_ONE - larger;
    any_coarse |= out.coarse_weight[i] = smaller;
    any_mixed |= out.mixed_weight[i] = larger - smaller;

    const bool coarser_down = y.part > x.part;
    const auto start = [&](int lx, int ly) { return across.start[lx] + down.start[ly] + border; };
    set_texel<E>(out.fine, i, x.fine, y.fine, start(x.level, y.level), row_stride, at.seen[i]);
    set_texel<E>(out.coarse, i, x.coarse, y.coarse, start(x.level + 1, y.level + 1), row_stride, at.seen[i]);
    set_texel<E>(out.mixed, i, coarser_down ? x.fine : x.coarse, coarser_down ? y.coarse : y.fine,
                 start(x.level + !coarser_down, y.level + coarser_down), row_stride, at.seen[i]);
  }
  out.any_coarse = any_coarse != 0;
  out.any_mixed = any_mixed != 0;
}

#else

inline constexpr int LANES = 8;
inline __m256i load_8(const fix* p) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(p)); }
inline void store_8(void* p, __m256i v) { _mm256_store_si256(static_cast<__m256i*>(p), v); }
inline __m256i clamped(__m256i v, __m256i high) {
  return _mm256_min_epi32(_mm256_max_epi32(v, _mm256_set1_epi32(-FIX_ONE)), high);
}
template <int E>
inline __m256i times_elements(__m256i v) {
  if constexpr (E == 1) return v;
  if constexpr (E == 2) return _mm256_add_epi32(v, v);
  if constexpr (E == 3) return _mm256_add_epi32(_mm256_add_epi32(v, v), v);
  return _mm256_slli_epi32(v, 2);
}

template <int E>
inline void set_texels(texel_block& t, int i, __m256i x, __m256i y, __m256i start, __m256i row_stride, __m256i seen) {
  const __m256i fraction = _mm256_set1_epi32(0xfff);
  const __m256i fx = _mm256_and_si256(x, fraction), fy = _mm256_and_si256(y, fraction);
  const __m256i fxy = _mm256_mulhi_epu16(_mm256_slli_epi32(fx, 4), fy);  // (fx * fy) >> 12
  const __m256i w10 = _mm256_sub_epi32(fx, fxy), w01 = _mm256_sub_epi32(fy, fxy);
  const __m256i w00 = _mm256_sub_epi32(_mm256_sub_epi32(_mm256_set1_epi32(FIX_ONE), fx), w01);
  const __m256i row = _mm256_mullo_epi32(_mm256_srai_epi32(y, FIX_BITS), row_stride);
  store_8(t.offset + i,
          _mm256_add_epi32(_mm256_add_epi32(start, row), times_elements<E>(_mm256_srai_epi32(x, FIX_BITS))));
  store_8(t.top + i, _mm256_and_si256(_mm256_or_si256(w00, _mm256_slli_epi32(w10, 16)), seen));
  store_8(t.bottom + i, _mm256_and_si256(_mm256_or_si256(w01, _mm256_slli_epi32(fxy, 16)), seen));
}

template <int E>
inline void bilinear_texels(const sampler& s, const pixel_block& at, int count, texel_block& t) {
  const __m256i limit_x = _mm256_set1_epi32(s.table->x_level_limit[0]);
  const __m256i limit_y = _mm256_set1_epi32(s.table->y_level_limit[0]);
  const __m256i start = _mm256_set1_epi32(int(level_start(*s.table, 0, 0)));
  const __m256i row_stride = _mm256_set1_epi32(s.row_stride);
  for (int i = 0; i < count; i += LANES)
    set_texels<E>(t, i, clamped(load_8(at.x + i), limit_x), clamped(load_8(at.y + i), limit_y), start, row_stride,
                  load_8(at.seen + i));
}

/// Sixteen words in two registers, read at eight places at once.
class level_words {
 public:
  explicit level_words(const void* words)
      : low_(_mm256_loadu_si256(static_cast<const __m256i*>(words))),
        high_(_mm256_loadu_si256(static_cast<const __m256i*>(words) + 1)) {}
  __m256i at(__m256i levels) const {
#if defined(__AVX512VL__)
    return _mm256_permutex2var_epi32(low_, levels, high_);
#else
    const __m256 upper = _mm256_castsi256_ps(_mm256_slli_epi32(levels, 28));  // the sign: level 8 and above
    const __m256 low = _mm256_castsi256_ps(_mm256_permutevar8x32_epi32(low_, levels));
    const __m256 high = _mm256_castsi256_ps(_mm256_permutevar8x32_epi32(high_, levels));
    return _mm256_castps_si256(_mm256_blendv_ps(low, high, upper));
#endif
  }

 private:
  __m256i low_, high_;
};
static_assert(MAX_MIPMAP_LEVELS + 1 == 16);

struct level_steps {
  __m256i level, part;
  __m256i fine, coarse;
};
class step_axis {
 public:
  explicit step_axis(const level_axis& axis)
      : limit_(axis.limit),
        start_(axis.start),
        max_level_(_mm256_set1_epi32(axis.max_level)),
        next_shift_(_mm_cvtsi32_si128(axis.next_shift)),
        next_half_(_mm256_set1_epi32(axis.next_half)) {}
  level_steps step(__m256i at, __m256i wanted) const {
    wanted = _mm256_max_epi32(_mm256_min_epi32(wanted, max_level_), _mm256_setzero_si256());
    const __m256i half = _mm256_set1_epi32(HALF_PIXEL), level = _mm256_srli_epi32(wanted, FIX_BITS);
    const __m256i fine = _mm256_sub_epi32(_mm256_srav_epi32(_mm256_add_epi32(at, half), level), half);
    const __m256i coarse = _mm256_sub_epi32(_mm256_sra_epi32(fine, next_shift_), next_half_);
    return {level, _mm256_and_si256(wanted, _mm256_set1_epi32(0xfff)), clamped(fine, limit_.at(level)),
            clamped(coarse, limit_.at(next(level)))};
  }
  static __m256i next(__m256i level) { return _mm256_add_epi32(level, _mm256_set1_epi32(1)); }
  __m256i start(__m256i level) const { return start_.at(level); }

 private:
  level_words limit_, start_;
  __m256i max_level_;
  __m128i next_shift_;
  __m256i next_half_;
};

template <int E>
inline void corner_texels(const sampler& s, const pixel_block& at, const level_block& levels, int count,
                          corner_block& out) {
  const step_axis across(x_levels(*s.table)), down(y_levels(*s.table));
  const __m256i row_stride = _mm256_set1_epi32(s.row_stride), border = _mm256_set1_epi32(s.row_stride + E);
  __m256i any_coarse = _mm256_setzero_si256(), any_mixed = any_coarse;
  for (int i = 0; i < count; i += LANES) {
    const level_steps x = across.step(load_8(at.x + i), load_8(levels.x + i));
    const level_steps y = down.step(load_8(at.y + i), load_8(levels.y + i));
    const __m256i apart = _mm256_abs_epi32(_mm256_sub_epi32(x.part, y.part));
    const __m256i uneven = _mm256_cmpgt_epi32(apart, _mm256_set1_epi32(1));
    const __m256i larger = _mm256_blendv_epi8(x.part, _mm256_max_epi32(x.part, y.part), uneven);
    const __m256i smaller = _mm256_blendv_epi8(x.part, _mm256_min_epi32(x.part, y.part), uneven);
    const __m256i mixed = _mm256_sub_epi32(larger, smaller);
    store_8(out.fine_weight + i, _mm256_sub_epi32(_mm256_set1_epi32(FIX_ONE), larger));
    store_8(out.coarse_weight + i, smaller);
    store_8(out.mixed_weight + i, mixed);
    any_coarse = _mm256_or_si256(any_coarse, smaller);
    any_mixed = _mm256_or_si256(any_mixed, mixed);

    const __m256i seen = load_8(at.seen + i);
    const __m256i coarser_down = _mm256_cmpgt_epi32(y.part, x.part);  // -1
    const __m256i next_x = step_axis::next(x.level), next_y = step_axis::next(y.level);
    const auto start = [&](__m256i lx, __m256i ly) {
      return _mm256_add_epi32(_mm256_add_epi32(across.start(lx), down.start(ly)), border);
    };
    set_texels<E>(out.fine, i, x.fine, y.fine, start(x.level, y.level), row_stride, seen);
    set_texels<E>(out.coarse, i, x.coarse, y.coarse, start(next_x, next_y), row_stride, seen);
    set_texels<E>(out.mixed, i, _mm256_blendv_epi8(x.coarse, x.fine, coarser_down),
                  _mm256_blendv_epi8(y.fine, y.coarse, coarser_down),
                  start(_mm256_add_epi32(next_x, coarser_down), _mm256_sub_epi32(y.level, coarser_down)), row_stride,
                  seen);
  }
  out.any_coarse = !_mm256_testz_si256(any_coarse, any_coarse);
  out.any_mixed = !_mm256_testz_si256(any_mixed, any_mixed);
}

#endif

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
