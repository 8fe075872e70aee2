// flys_eye: the image through hexagonal lenses. Each lens shows the image around the place that it looks at, nearer or
// farther (inside_zdist) and turned (inside_rotate); overall_zdist moves the places apart. With both distances 1.0 the
// lenses cannot be seen, with overall_zdist 0 they all show the same, with inside_zdist 0 each shows one colour.
#include "operators/bodies/flys_eye.h"

#include "evaluator/pixel_loop.h"
#include "operators/bodies/sampling.h"
#include "operators/bodies/sinks.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COORDS_ARG = 1, FREQUENCY_ARG = 2, SHIFT_ARG = 3, ROTATE_ARG = 4, INSIDE_ZDIST_ARG = 5,
              INSIDE_ROTATE_ARG = 6, OVERALL_ZDIST_ARG = 7, EDGE_SOFTNESS_ARG = 8, WRAP_ARG = 9;
constexpr std::uint16_t LENS_ARGS = 0x1fc;  // frequency to edge_softness

// Written before the workers start.
struct {
  sampler image;
} job;

bool is_uniform(const node& n, int arg) { return n.uniform_args >> arg & 1; }

/// The lenses as the arguments give them at sample i of the row.
lens_array lenses_at(const node& n, int i) {
  const auto value = [&](int arg, int e) { return n.arg_rows[arg][e][is_uniform(n, arg) ? 0 : i]; };
  const fix frequency[2] = {value(FREQUENCY_ARG, 0), value(FREQUENCY_ARG, 1)};
  const fix shift[2] = {value(SHIFT_ARG, 0), value(SHIFT_ARG, 1)};
  return lens_array::of(frequency, shift, value(ROTATE_ARG, 0), value(INSIDE_ZDIST_ARG, 0), value(INSIDE_ROTATE_ARG, 0),
                        value(OVERALL_ZDIST_ARG, 0), value(EDGE_SOFTNESS_ARG, 0));
}

// --- positions -----------------------------------------------------------------------------------------------

/// Coordinates with 3 more fraction bits.
struct alignas(64) fine_block {
  fix x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];

  void set(int i, lens_place p) {
    x[i] = rounded(p.x);
    y[i] = rounded(p.y);
  }

 private:
  static fix rounded(float v) {
    constexpr float LIMIT = 1 << 29;
    const float fine = held_to(v * 8.0f, LIMIT);
    return fix(fine + (fine < 0 ? -0.5f : 0.5f));
  }
};

/// To 16-bit units, as coordinates are converted, with the precision that there is. The product for y goes in two
/// parts and so keeps within 32 bits.
void positions_of(const fine_block& at, position_block& out) {
  const fix inv_aspect_fix = job.image.frame.inv_aspect_fix;
  for (int i = 0; i < SAMPLE_BLOCK; ++i) {
    const fix down = wrap_neg(at.y[i]);
    out.x[i] = at.x[i] + 32768;
    out.y[i] = wrap_add(
        wrap_add(wrap_mul(down >> FIX_BITS, inv_aspect_fix), wrap_mul(down & 0xfff, inv_aspect_fix) >> FIX_BITS),
        32768);
  }
}

template <int E>
void samples_at(const fine_block& at, int count, sample_block<E>& out) {
  position_block positions;
  pixel_block pixels;
  positions_of(at, positions);
  job.image.pixels_of(positions, pixels);
  bilinear_samples<E>(job.image, pixels, count, out);
}

// --- samples -------------------------------------------------------------------------------------------------

struct alignas(64) place_block {
  float x[SAMPLE_BLOCK], y[SAMPLE_BLOCK];
};

template <int E>
void hard_block(const lens_array& lenses, const place_block& p, int count, sample_block<E>& out) {
  fine_block at;
#pragma GCC ivdep
  for (int i = 0; i < SAMPLE_BLOCK; ++i) {
    const lens_place place = {p.x[i], p.y[i]};
    const lens_at lens = nearest_lens(lenses, place);
    at.set(i, seen_through(lenses, place, lens.column, lens.row));
  }
  samples_at<E>(at, count, out);
}

/// The views of neighbouring lenses that have a share in pixels of a block, one behind the other.
class shared_views {
 public:
  void add(int i, fix share, fix x, fix y) {
    at_.x[count_] = x;
    at_.y[count_] = y;
    pixel_[count_] = i;
    share_[count_] = share;
    count_ += share != 0;
  }
  bool full() const { return count_ == SAMPLE_BLOCK; }

  /// Takes them into the sums and starts anew.
  template <int E>
  void sum_into(sample_block<E>& sums) {
    if (count_ == 0) return;
    sample_block<E> samples;
    samples_at<E>(at_, count_, samples);
    for (int e = 0; e < E; ++e)
      for (int k = 0; k < count_; ++k) sums.of[e][pixel_[k]] += samples.of[e][k] * share_[k];
    count_ = 0;
  }

 private:
  fine_block at_ = {};
  int pixel_[SAMPLE_BLOCK];
  fix share_[SAMPLE_BLOCK];
  int count_ = 0;
};

template <int E>
void soft_block(const lens_array& lenses, const place_block& p, int count, sample_block<E>& out) {
  fine_block own, beside[2];
  alignas(64) fix share[2][SAMPLE_BLOCK];
#pragma GCC ivdep
  for (int i = 0; i < SAMPLE_BLOCK; ++i) {
    const lens_place place = {p.x[i], p.y[i]};
    const lens_at lens = nearest_lens(lenses, place);
    const lens_neighbours n = sharing_lenses(lenses, lens);
    own.set(i, seen_through(lenses, place, lens.column, lens.row));
    beside[0].set(i, seen_through(lenses, place, n.column[0], n.row[0]));
    beside[1].set(i, seen_through(lenses, place, n.column[1], n.row[1]));
    share[0][i] = n.share[0];
    share[1][i] = n.share[1];
  }
  samples_at<E>(own, count, out);
  for (int e = 0; e < E; ++e)
    for (int i = 0; i < SAMPLE_BLOCK; ++i) out.of[e][i] *= FIX_ONE - share[0][i] - share[1][i];
  shared_views views;
  for (int k = 0; k < 2; ++k)
    for (int i = 0; i < count; ++i) {
      views.add(i, share[k][i], beside[k].x[i], beside[k].y[i]);
      if (views.full()) views.sum_into<E>(out);
    }
  views.sum_into<E>(out);
  for (int e = 0; e < E; ++e)
    for (int i = 0; i < SAMPLE_BLOCK; ++i) out.of[e][i] >>= FIX_BITS;
}

template <int E>
void lens_block(const lens_array& lenses, const place_block& p, int count, sample_block<E>& out) {
  if (lenses.edge == 0)
    hard_block<E>(lenses, p, count, out);
  else
    soft_block<E>(lenses, p, count, out);
}

template <int E>
void flys_eye_row(node& n) {
  const int width = n.vars->row_width;
  const bool same_lenses = (n.uniform_args & LENS_ARGS) == LENS_ARGS;
  const int step = is_uniform(n, COORDS_ARG) ? 0 : 1;
  const fix* x = n.arg_rows[COORDS_ARG][0];
  const fix* y = n.arg_rows[COORDS_ARG][1];
  place_block places = {};
  sample_block<E> samples = {};
  const auto take_places = [&](int first, int count) {
    for (int i = 0; i < count; ++i) {
      places.x[i] = float(x[step * (first + i)]);
      places.y[i] = float(y[step * (first + i)]);
    }
  };
  if (same_lenses) {
    const lens_array lenses = lenses_at(n, 0);
    for (int first = 0; first < width; first += SAMPLE_BLOCK) {
      const int count = fix_min(width - first, SAMPLE_BLOCK);
      take_places(first, count);
      lens_block<E>(lenses, places, count, samples);
      store_samples<E>(samples, count, n.rows, first);
    }
    return;
  }
  // Lenses that change from pixel to pixel.
  for (int i = 0; i < width; ++i) {
    take_places(i, 1);
    lens_block<E>(lenses_at(n, i), places, 1, samples);
    store_samples<E>(samples, 1, n.rows, i);
  }
}

constexpr node_kernel FLYS_EYE_ROWS[5] = {nullptr, flys_eye_row<1>, flys_eye_row<2>, flys_eye_row<3>, flys_eye_row<4>};

}  // namespace

void flys_eye_image(node& n) {
  check_image_planes(n, n.elnum);
  const fix wrap_x = setting_value(n, WRAP_ARG, 0), wrap_y = setting_value(n, WRAP_ARG, 1);
  if (!prepare_sampling_image(n, wrap_x, wrap_y, false)) return;
  job = {sampler::of_current_image()};
  image_process_pixels_loop(n, FLYS_EYE_ROWS, plane_sink);
}

}  // namespace tessaron::TESSARON_LEVEL
