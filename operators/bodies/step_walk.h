// The walk of the repeat and chroma warps: each pixel is read at a number of places on the line from one coordinate to
// another, a block of pixels at a time.
#pragma once

#include "genotype/genotype.h"
#include "operators/bodies/sampling.h"

namespace tessaron::TESSARON_LEVEL {

/// Where the arguments of a walk stand; levels are -1 where it reads the image as it is.
struct walk_args {
  int from_coords, to_coords, from_levels, to_levels;
};

/// The places of one block of pixels, from the first step on.
class step_walk {
 public:
  /// `n_steps` places for the pixels of row `n` from `first` on.
  step_walk(const sampler& image, const node& n, const walk_args& args, int n_steps, int first, int count)
      : image_(image), count_(count) {
    alignas(64) position_block from = {}, to = {};
    read(n, args.from_coords, first, from.x, from.y);
    read(n, args.to_coords, first, to.x, to.y);
    start(x_, from.x, to.x, n_steps);
    start(y_, from.y, to.y, n_steps);
    if (args.from_levels < 0) return;
    read(n, args.from_levels, first, from.x, from.y);
    read(n, args.to_levels, first, to.x, to.y);
    start(level_x_, from.x, to.x, n_steps);
    start(level_y_, from.y, to.y, n_steps);
  }

  /// The samples of the current place of each pixel; then goes on to the next.
  template <int E, bool FILTERED>
  void next(sample_block<E>& out) {
    position_block place, position;  // norm coordinates, 16-bit units
    take(x_, place.x);
    take(y_, place.y);
    image_.positions_of(place.x, place.y, SAMPLE_BLOCK, position);
    pixel_block pixels;
    image_.pixels_of(position, pixels);
    if constexpr (FILTERED) {
      level_block levels;
      take(level_x_, levels.x);
      take(level_y_, levels.y);
      for (int i = 0; i < SAMPLE_BLOCK; ++i) {
        levels.x[i] = wrap_mul(levels.x[i], 2);
        levels.y[i] = wrap_mul(levels.y[i], 2);
      }
      mip_samples<E>(image_, pixels, levels, count_, out);
    } else {
      bilinear_samples<E>(image_, pixels, count_, out);
    }
  }

 private:
  static constexpr int STEP_BITS = 6;  // fraction bits of a place beyond those of a coordinate or a level

  struct alignas(64) stepped {
    fix at[SAMPLE_BLOCK], step[SAMPLE_BLOCK];
  };

  void read(const node& n, int arg, int first, fix* x, fix* y) const {
    const int step = n.uniform_args >> arg & 1 ? 0 : 1;
    const fix* from_x = n.arg_rows[arg][0] + step * first;
    const fix* from_y = n.arg_rows[arg][1] + step * first;
    for (int i = 0; i < count_; ++i) {
      x[i] = from_x[step * i];
      y[i] = from_y[step * i];
    }
  }
  static void start(stepped& s, const fix* from, const fix* to, int n_steps) {
    const double intervals = n_steps - 1;
    for (int i = 0; i < SAMPLE_BLOCK; ++i) {
      s.at[i] = wrap_shl(from[i], STEP_BITS);
      s.step[i] = nearest_int(double(wrap_sub(to[i], from[i])) * (1 << STEP_BITS) / intervals);
    }
  }
  static void take(stepped& s, fix* out) {
    for (int i = 0; i < SAMPLE_BLOCK; ++i) {
      out[i] = s.at[i] >> STEP_BITS;
      s.at[i] = wrap_add(s.at[i], s.step[i]);
    }
  }

  const sampler& image_;
  int count_;
  stepped x_, y_, level_x_, level_y_;
};

}  // namespace tessaron::TESSARON_LEVEL
