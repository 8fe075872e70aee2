// From positions to samples.
#include "operators/bodies/sampling.h"

#include "evaluator/pixel_loop.h"
#include "operators/bodies/mip_texels.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

// Without wrap a position may be up to one frame outside and still reads the black border.
constexpr fix FIRST_POSITION = -65536, LAST_POSITION = 131072;

int rounded_up(int count) { return (count + TEXEL_ROUND - 1) / TEXEL_ROUND * TEXEL_ROUND; }

// --- positions to fix pixels -----------------------------------------------------------------------------

template <wrap_kind W>
inline fix wrapped(fix p) {
  if constexpr (W == WRAP_REPEAT) return p & 0xffff;
  if constexpr (W == WRAP_MIRROR) return (p ^ wrap_neg((p >> 16) & 1)) & 0xffff;
  return p;
}
/// -1 where a sample is taken.
template <wrap_kind W>
inline fix inside(fix p) {
  if constexpr (W == WRAP_NONE) return -fix((p >= FIRST_POSITION) & (p <= LAST_POSITION));
  return -1;
}

template <wrap_kind WX, wrap_kind WY>
void wrap_and_scale(const sampler& s, const position_block& p, pixel_block& out) {
  const sampling_frame f = s.frame;
  for (int i = 0; i < SAMPLE_BLOCK; ++i) {
    const fix x = wrap_mul(wrapped<WX>(p.x[i]), f.full_width) >> 4,
              y = wrap_mul(wrapped<WY>(p.y[i]), f.full_height) >> 4;
    out.x[i] = wrap_sub(wrap_sub(x, HALF_PIXEL), f.origin_x);
    out.y[i] = wrap_sub(wrap_sub(y, HALF_PIXEL), f.origin_y);
    out.seen[i] = inside<WX>(p.x[i]) & inside<WY>(p.y[i]);
  }
}

/// Neighbouring pixels mostly share their memory's lines.
inline void call_for_texels(const sampler& s, const texel_block& t, int count) {
  constexpr int STEP = 2;
  const std::int16_t* below = s.image + s.row_stride;
  for (int i = 0; i < count; i += STEP) {
    __builtin_prefetch(s.image + t.offset[i]);
    __builtin_prefetch(below + t.offset[i]);
  }
}

/// positions_of(), pixels_of() and bilinear_texels() in one loop.
template <wrap_kind WX, wrap_kind WY, int E>
inline void find_some(const sampler& s, const fix* x, const fix* y, int count, texel_block& out) {
  const sampling_frame f = s.frame;
  const fix limit_x = s.table->x_level_limit[0], limit_y = s.table->y_level_limit[0];
  const std::uint32_t start = level_start(*s.table, 0, 0);
  const std::uint32_t row_stride = std::uint32_t(s.row_stride);
#pragma GCC ivdep
  for (int i = 0; i < count; ++i) {
    const fix x16 = sampler::position_of_x(x[i]), y16 = sampler::position_of_y(y[i], f.inv_aspect_fix);
    const fix px = wrap_sub(wrap_sub(wrap_mul(wrapped<WX>(x16), f.full_width) >> 4, HALF_PIXEL), f.origin_x);
    const fix py = wrap_sub(wrap_sub(wrap_mul(wrapped<WY>(y16), f.full_height) >> 4, HALF_PIXEL), f.origin_y);
    set_texel<E>(out, i, fix_clamp(px, -FIX_ONE, limit_x), fix_clamp(py, -FIX_ONE, limit_y), start, row_stride,
                 inside<WX>(x16) & inside<WY>(y16));
  }
}

template <wrap_kind WX, wrap_kind WY, int E>
void find_texels(const sampler& s, const fix* x, const fix* y, int count, texel_block& out) {
  if (count == SAMPLE_BLOCK)
    find_some<WX, WY, E>(s, x, y, SAMPLE_BLOCK, out);  // a length that the loop knows
  else
    find_some<WX, WY, E>(s, x, y, count, out);
  call_for_texels(s, out, count);
}

using wrap_function = void (*)(const sampler&, const position_block&, pixel_block&);
constexpr wrap_function WRAP_FUNCTIONS[3][3] = {
    {wrap_and_scale<WRAP_NONE, WRAP_NONE>, wrap_and_scale<WRAP_NONE, WRAP_REPEAT>,
     wrap_and_scale<WRAP_NONE, WRAP_MIRROR>},
    {wrap_and_scale<WRAP_REPEAT, WRAP_NONE>, wrap_and_scale<WRAP_REPEAT, WRAP_REPEAT>,
     wrap_and_scale<WRAP_REPEAT, WRAP_MIRROR>},
    {wrap_and_scale<WRAP_MIRROR, WRAP_NONE>, wrap_and_scale<WRAP_MIRROR, WRAP_REPEAT>,
     wrap_and_scale<WRAP_MIRROR, WRAP_MIRROR>},
};

}  // namespace

sampler sampler::of_current_image() {
  return {current_sampling_frame(),
          mipmap_table.elnum,
          mipmap_table.row_stride,
          mipmap_buffer,
          &mipmap_table,
          x_wrap_kind(),
          y_wrap_kind(),
          WRAP_FUNCTIONS[x_wrap_kind()][y_wrap_kind()]};
}

template <int E>
texel_finder<E> texel_finder_of(const sampler& s) {
  static constexpr texel_finder<E> FINDERS[3][3] = {
      {find_texels<WRAP_NONE, WRAP_NONE, E>, find_texels<WRAP_NONE, WRAP_REPEAT, E>,
       find_texels<WRAP_NONE, WRAP_MIRROR, E>},
      {find_texels<WRAP_REPEAT, WRAP_NONE, E>, find_texels<WRAP_REPEAT, WRAP_REPEAT, E>,
       find_texels<WRAP_REPEAT, WRAP_MIRROR, E>},
      {find_texels<WRAP_MIRROR, WRAP_NONE, E>, find_texels<WRAP_MIRROR, WRAP_REPEAT, E>,
       find_texels<WRAP_MIRROR, WRAP_MIRROR, E>},
  };
  return FINDERS[s.wrap_x][s.wrap_y];
}

template <int E>
void sum_texels(const sampler& s, const texel_block& t, int count, fix* const* rows, int first) {
  if (count == SAMPLE_BLOCK) {
    sample_rows<E> out;
    for (int e = 0; e < E; ++e) out.of[e] = rows[e] + first;
    read_texels<E>(s.image, s.row_stride, t, SAMPLE_BLOCK, out);
    return;
  }
  sample_block<E> samples;
  read_texels<E>(s.image, s.row_stride, t, rounded_up(count), samples);
  store_samples<E>(samples, count, rows, first);
}

template <int E>
void bilinear_samples(const sampler& s, const pixel_block& at, int count, sample_block<E>& out) {
  texel_block t;
  count = rounded_up(count);
  bilinear_texels<E>(s, at, count, t);
  call_for_texels(s, t, count);
  read_texels<E>(s.image, s.row_stride, t, count, out);
}

template <int E>
void mip_samples(const sampler& s, const pixel_block& at, const level_block& levels, int count, sample_block<E>& out) {
  count = rounded_up(count);
  corner_block corners;
  corner_texels<E>(s, at, levels, count, corners);
  // Corners without weight in the whole block aren't read: magnified stretches need one, evenly reduced ones two.
  read_texels<E>(s.image, s.row_stride, corners.fine, count, out);
  if (!corners.any_coarse && !corners.any_mixed) return;
  sample_block<E> coarse, mixed;
  read_texels<E>(s.image, s.row_stride, corners.coarse, count, coarse);
  const fix *a = corners.fine_weight, *b = corners.coarse_weight, *c = corners.mixed_weight;
  if (!corners.any_mixed) {
    for (int e = 0; e < E; ++e)
      for (int i = 0; i < count; ++i) out.of[e][i] = (out.of[e][i] * a[i] + coarse.of[e][i] * b[i]) >> FIX_BITS;
    return;
  }
  read_texels<E>(s.image, s.row_stride, corners.mixed, count, mixed);
  for (int e = 0; e < E; ++e)
    for (int i = 0; i < count; ++i)
      out.of[e][i] = (out.of[e][i] * a[i] + coarse.of[e][i] * b[i] + mixed.of[e][i] * c[i]) >> FIX_BITS;
}
template texel_finder<1> texel_finder_of<1>(const sampler&);
template texel_finder<2> texel_finder_of<2>(const sampler&);
template texel_finder<3> texel_finder_of<3>(const sampler&);
template texel_finder<4> texel_finder_of<4>(const sampler&);
template void sum_texels<1>(const sampler&, const texel_block&, int, fix* const*, int);
template void sum_texels<2>(const sampler&, const texel_block&, int, fix* const*, int);
template void sum_texels<3>(const sampler&, const texel_block&, int, fix* const*, int);
template void sum_texels<4>(const sampler&, const texel_block&, int, fix* const*, int);
template void bilinear_samples<1>(const sampler&, const pixel_block&, int, sample_block<1>&);
template void bilinear_samples<2>(const sampler&, const pixel_block&, int, sample_block<2>&);
template void bilinear_samples<3>(const sampler&, const pixel_block&, int, sample_block<3>&);
template void bilinear_samples<4>(const sampler&, const pixel_block&, int, sample_block<4>&);
template void mip_samples<1>(const sampler&, const pixel_block&, const level_block&, int, sample_block<1>&);
template void mip_samples<2>(const sampler&, const pixel_block&, const level_block&, int, sample_block<2>&);
template void mip_samples<3>(const sampler&, const pixel_block&, const level_block&, int, sample_block<3>&);
template void mip_samples<4>(const sampler&, const pixel_block&, const level_block&, int, sample_block<4>&);

}  // namespace tessaron::TESSARON_LEVEL
