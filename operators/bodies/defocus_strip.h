// A strip of an image under a kernel of horizontal runs: rows of light go in, and the weighted sums for the rows of
// the strip come out one reach later.
//
// The kernel is the same to the left and to the right, and above and below. So one row of light is enough for the
// sums T(c) of the pixels up to c away on both sides, which grow with c by two pixels each; a row of the kernel is
// one of them and a part of the next two pixels; and each is wanted twice, for the rows of the strip as far above
// the row of light as below. Four rows of light are taken at once: on the way from the kernel's outermost row to its
// middle, what they give to one row of the strip is gathered in registers, and the sum that waits there is loaded and
// stored once.
// Nothing is ever subtracted, so that dark parts beside bright ones keep their precision.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "operators/bodies/defocus_light.h"
#include "operators/bodies/vectors.h"
#include "operators/defocus_table.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

class kernel_strip {
 public:
  static constexpr int WIDTH = 256;  // pixels
  static constexpr int ROWS = 4;     // of light that are added at once

  /// Pixels to either side of the strip, in whole cache lines.
  static int margin(const defocus_table& table) { return (table.x_reach() / LINE_FLOATS + 1) * LINE_FLOATS; }
  static std::size_t bytes_needed(const defocus_table& table) {
    return sizeof(float) * (N_LIGHTS * light_stride(table) + std::size_t(n_sums(table)) * SUM_STRIDE) +
           sizeof(step) * std::size_t(table.y_reach() + 1);
  }

  /// `memory` is aligned to a cache line.
  kernel_strip(const defocus_table& table, std::byte* memory)
      : table_(table),
        light_stride_(light_stride(table)),
        margin_(margin(table)),
        lights_(reinterpret_cast<float*>(memory)),
        sums_(lights_ + N_LIGHTS * light_stride_),
        n_sums_(n_sums(table)),
        steps_(reinterpret_cast<step*>(sums_ + std::size_t(n_sums_) * SUM_STRIDE)) {
    for (int d = 0; d < table.y_reach(); ++d) has_parts_ |= table.row(d).full_weight != FIX_ONE;
  }

  /// Starts a strip.
  void start() {
    place_ = set_ = 0;
    clear(sums_, std::size_t(n_sums_) * SUM_STRIDE);
    clear(lights_, N_LIGHTS * light_stride_);
  }
  /// Where the light of a row of the four to come goes: pixels -margin to WIDTH + margin - 1 of the strip.
  float* light(int row) { return light_of(set_ ^ 1, row); }
  /// The rows that were to come are the present ones.
  void take_light() { set_ ^= 1; }

  /// Adds the present rows.
  void add() {
    for (int d = 0; d <= table_.y_reach(); ++d) {
      const kernel_row& row = table_.row(d);
      steps_[d] = {row.last_full, row.full_weight != FIX_ONE, row.full, row.edge, sums_of(-d), sums_of(ROWS - 1 + d)};
    }
    if (has_parts_)
      add_rows<true, true>();
    else if (table_.has_fractions())
      add_rows<true, false>();
    else
      add_rows<false, false>();
  }
  /// Sums that are finished: of a row of the four less the reach.
  const float* finished(int row) const { return sums_of(row - table_.y_reach()); }
  /// Goes on to the next rows.
  void advance() {
    for (int row = 0; row < ROWS; ++row) clear(sums_of(row - table_.y_reach()), WIDTH);
    place_ += ROWS;
    if (place_ >= n_sums_) place_ -= n_sums_;
  }

 private:
  /// A row of the kernel, counted from its middle, and the sums that it is for: of the row so far above the first
  /// present row of light, and of that so far below the last one.
  struct step {
    int last_full;
    bool in_part;  // even the full pixels
    float full, edge;
    float *above, *below;
  };
  static constexpr int N_LIGHTS = 2 * ROWS;  // rows of light: the present ones and those to come
  static constexpr int LINE_FLOATS = CACHE_LINE / int(sizeof(float));
  /// From one row of sums to the next: a column of sums doesn't meet the same few sets of the cache.
  static constexpr int SUM_STRIDE = WIDTH + LINE_FLOATS;

  static std::size_t light_stride(const defocus_table& table) { return std::size_t(WIDTH + 2 * margin(table)); }
  /// Rows of sums between the first that rows of light touch and the last.
  static int n_sums(const defocus_table& table) { return 2 * table.y_reach() + ROWS; }

  /// Zeros in whole vectors.
  static void clear(float* p, std::size_t count) {
    for (std::size_t i = 0; i < count; i += VECTOR_LANES) *reinterpret_cast<float_vector*>(p + i) = float_vector{};
  }
  static float_vector load(const float* p) { return *reinterpret_cast<const float_vector_anywhere*>(p); }
  static float_vector& sum_at(float* p) { return *reinterpret_cast<float_vector*>(p); }

  float* light_of(int set, int row) const { return lights_ + std::size_t(ROWS * set + row) * light_stride_ + margin_; }

  /// The sums of the row `offset` below the first of the present ones.
  float* sums_of(int offset) const {
    int place = place_ + offset;
    if (place < 0) place += n_sums_;
    if (place >= n_sums_) place -= n_sums_;
    return sums_ + std::size_t(place) * SUM_STRIDE;
  }

#if defined(__AVX512BW__)
  /// The pixels J from those of a vector on, of which J lie in the vector after it.
  template <int J>
  static float_vector shifted(const float* from, float_vector after) {
    if constexpr (J == VECTOR_LANES) return after;
    const __m512i vector = *reinterpret_cast<const __m512i*>(from);
    return float_vector(_mm512_maskz_alignr_epi32(0xffff, __m512i(after), vector, J % VECTOR_LANES));
  }
#endif

  /// f(k) for each of the rows that are added at once, k being a constant, so that arrays by rows are registers.
  template <class F>
  __attribute__((always_inline)) static void for_rows(F f) {
    [&]<int... K>(std::integer_sequence<int, K...>) __attribute__((always_inline)) {
      (f(std::integral_constant<int, K>()), ...);
    }
    (std::make_integer_sequence<int, ROWS>());
  }

  template <bool EDGES, bool PARTS>
  void add_rows() {
    for (int x = 0; x < WIDTH; x += VECTOR_LANES) add_columns<EDGES, PARTS>(x);
  }

  /// Adds the present rows to one vector of sums in each row of the strip. With PARTS any row of the kernel may count
  /// in part, else only the outermost, which has EDGES then.
  template <bool EDGES, bool PARTS>
  void add_columns(int x) {
    const float* const light = light_of(set_, 0) + x;
    const std::size_t stride = light_stride_;
    // Of the rows of light: the sums of the pixels up to `c` away, and the pairs of pixels behind these.
    int c = 0;
    float_vector sum[ROWS], pair[ROWS];
    for_rows([&](auto k) __attribute__((always_inline)) { sum[k] = load(light + k * stride); });
    const step* s = steps_ + table_.y_reach();
    // On their way: what the rows of light have given so far to a row of the strip; the last one is the first to give
    // to the rows above, and the first one to those below.
    float_vector from[ROWS], above[ROWS - 1] = {}, below[ROWS - 1] = {};

    const auto weigh = [&]<bool PART>() __attribute__((always_inline)) {
      for_rows([&](auto k) __attribute__((always_inline)) {
        from[k] = PART ? sum[k] * s->full : sum[k];
        if constexpr (EDGES) from[k] = from[k] + pair[k] * s->edge;
      });
    };
    // The kernel's row s, and on to the next; whether that was the middle one.
    const auto give = [&]() __attribute__((always_inline)) {
      sum_at(s->above + x) += above[2] + from[0];
      sum_at(s->below + x) += below[2] + from[3];
      above[2] = above[1] + from[1];
      below[2] = below[1] + from[2];
      above[1] = above[0] + from[2];
      below[1] = below[0] + from[1];
      if (s == steps_) return true;
      above[0] = from[3];
      below[0] = from[0];
      --s;
      return false;
    };
    const auto grow = [&]() __attribute__((always_inline)) {
      ++c;
      for_rows([&](auto k) __attribute__((always_inline)) { sum[k] += pair[k]; });
    };

#if defined(__AVX512BW__)
    // A vector is as long as a cache line: nearly all pairs would be loaded across two lines, at half the speed. They
    // are shifted out of two vectors in a row instead, by constants.
    const float *left = light - VECTOR_LANES, *right = light;
    for (bool done = false; !done; left -= VECTOR_LANES, right += VECTOR_LANES) {
      float_vector after_left[ROWS], after_right[ROWS];
      for_rows([&](auto k) __attribute__((always_inline)) {
        after_left[k] = load(left + k * stride + VECTOR_LANES);
        after_right[k] = load(right + k * stride + VECTOR_LANES);
      });
      const auto give_rows_and_grow = [&]<int J>() __attribute__((always_inline)) {
        // There are not enough registers to hold these two vectors of all rows: they are loaded for each shift.
        asm("" : "+r"(left), "+r"(right));
        for_rows([&](auto k) __attribute__((always_inline)) {
          pair[k] = shifted<VECTOR_LANES - J>(left + k * stride, after_left[k]) +
                    shifted<J>(right + k * stride, after_right[k]);
        });
        while (s->last_full <= c) {
          weigh.template operator()<PARTS>();
          if (EDGES && !PARTS && s->in_part) [[unlikely]]
            weigh.template operator()<true>();
          if (give()) return true;
        }
        grow();
        return false;
      };
      done = [&]<int... I>(std::integer_sequence<int, I...>) __attribute__((always_inline)) {
        return (give_rows_and_grow.template operator()<I + 1>() || ...);
      }
      (std::make_integer_sequence<int, VECTOR_LANES>());
    }
#else
    const auto find_pairs = [&]() __attribute__((always_inline)) {
      for_rows([&](auto k) __attribute__((always_inline)) {
        pair[k] = load(light + k * stride - (c + 1)) + load(light + k * stride + (c + 1));
      });
    };
    const auto grow_to_step = [&]() __attribute__((always_inline)) {
      while (c < s->last_full) {
        grow();
        find_pairs();
      }
    };
    find_pairs();
    grow_to_step();
    weigh.template operator()<EDGES>();
    while (!give()) {
      grow_to_step();
      weigh.template operator()<PARTS>();
    }
#endif
    // The two rows between the first and the last.
    sum_at(sums_of(1) + x) += above[2] + below[0];
    sum_at(sums_of(2) + x) += below[2] + above[0];
  }

  const defocus_table& table_;
  std::size_t light_stride_;
  int margin_;
  float* lights_;
  float* sums_;  // a ring of rows
  int n_sums_;
  step* steps_;             // by distance from the kernel's middle
  int place_ = 0;           // of the sums of the present rows' first in the ring
  int set_ = 0;             // of the rows of light: the present one
  bool has_parts_ = false;  // a row of the kernel that is not the outermost counts in part
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
