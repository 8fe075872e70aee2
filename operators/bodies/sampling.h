// Reading the sampling image, in blocks of pixels: positions, the pixels and weights behind them, samples. Each step
// is a loop over one block whose arrays stay in the first-level cache, chosen once per operator by wrap mode and
// element count, so that no loop tests either.
//
//   sampler s = sampler::of_current_image();    // main thread, behind prepare_sampling_image()
//   s.positions_of(x, y, count, positions);     // coordinates to 16-bit position units
//   s.pixels_of(positions, pixels);             // wrap rule, then fix pixels
//   bilinear_samples<E>(s, pixels, count, out); // or mip_samples<E>
#pragma once

#include <cstdint>

#include "operators/bodies/planes.h"
#include "operators/sampling.h"

#ifndef TESSARON_LEVEL
#error "bodies are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {

/// Evaluates the image argument of `n` into the sampling image, whose borders follow the wrap flags that are set
/// here; with `want_levels` fills all levels too. False: refused and reported, or the render is to stop.
bool prepare_sampling_image(node& n, fix wrap_x, fix wrap_y, bool want_levels);

/// Completes the borders of the image at level (0, 0), and the x levels with theirs where the table has any.
void fill_mipmap_borders();
/// Makes level `level` in y of all x levels from the one before. Main thread.
void fill_mipmap_y_level(int level);

/// Pixels that are read at once.
inline constexpr int SAMPLE_BLOCK = 64;

/// Positions in 16-bit units: the frame spans 0 to 65536, y downwards.
struct alignas(64) position_block {
  fix x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
};
/// Fix pixels of the working image. `seen` is 0 for positions that are black, -1 for the others.
struct alignas(64) pixel_block {
  fix x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
  fix seen[SAMPLE_BLOCK];
};
/// Rip-map levels, clamped when they are used.
struct alignas(64) level_block {
  fix x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
};
/// One element each of a block's samples. Lengths of blocks are rounded up to 8, so the tail holds something too.
template <int E>
struct alignas(64) sample_block {
  fix of[E][SAMPLE_BLOCK];
};

/// What reading needs to know of the image, as plain values that loops can keep in registers.
struct sampler {
  sampling_frame frame;
  std::int32_t elnum, row_stride;
  const std::int16_t* image;
  const mipmap_table_record* table;
  wrap_kind wrap_x, wrap_y;
  void (*wrap_and_scale)(const sampler& s, const position_block& p, pixel_block& out);

  static sampler of_current_image();

  void positions_of(const fix* x, const fix* y, int count, position_block& out) const {
    const fix inv_aspect_fix = frame.inv_aspect_fix;
    for (int i = 0; i < count; ++i) {
      out.x[i] = position_of_x(x[i]);
      out.y[i] = position_of_y(y[i], inv_aspect_fix);
    }
  }
  static inline fix position_of_x(fix x) { return wrap_add(wrap_mul(x, 8), 32768); }
  static inline fix position_of_y(fix y, fix inv_aspect_fix) {
    return wrap_add(wrap_mul(wrap_neg(y), inv_aspect_fix) >> 9, 32768);
  }
  void pixels_of(const position_block& p, pixel_block& out) const { wrap_and_scale(*this, p, out); }
};

/// Where the four neighbours of each position lie and what they weigh: the upper left one's place in samples from the
/// buffer's start, and two weights of 0 to 4096 in a word, the left one in its low half. The four of a position sum to
/// 4096, or to 0 where it is black.
struct alignas(64) texel_block {
  std::uint32_t offset[SAMPLE_BLOCK];
  std::uint32_t top[SAMPLE_BLOCK], bottom[SAMPLE_BLOCK];
};

// Reading in two steps, so that the memory of the next block can be on its way while one is summed.

/// The neighbours of a block of coordinates in the image itself, and their memory called for. Behind `count` the block
/// keeps what it held: it has to hold offsets within the image, such as 0.
template <int E>
using texel_finder = void (*)(const sampler& s, const fix* x, const fix* y, int count, texel_block& out);
/// That of the image's wrap modes.
template <int E>
texel_finder<E> texel_finder_of(const sampler& s);
/// The samples of a block into rows from `first` on.
template <int E>
void sum_texels(const sampler& s, const texel_block& t, int count, fix* const* rows, int first);

/// The bilinear samples of the image itself at a block of pixels; `count` is rounded up to 8.
template <int E>
void bilinear_samples(const sampler& s, const pixel_block& at, int count, sample_block<E>& out);

/// Samples between levels: three bilinear ones, of the corners of the triangle of the level square that holds the
/// wanted level.
template <int E>
void mip_samples(const sampler& s, const pixel_block& at, const level_block& levels, int count, sample_block<E>& out);

/// A block's samples into rows.
template <int E>
inline void store_samples(const sample_block<E>& samples, int count, fix* const* rows, int first) {
  for (int e = 0; e < E; ++e)
    for (int i = 0; i < count; ++i) rows[e][first + i] = samples.of[e][i];
}

}  // namespace tessaron::TESSARON_LEVEL
