// A strip of an image under a kernel of horizontal runs: rows of light go in, and the weighted sums for the rows of
// the strip come out one reach later.
//
// The kernel is the same to the left and to the right, and above and below. So one row of light is enough for the
// sums T(c) of the pixels up to c away on both sides, which grow with c by two pixels each; a row of the kernel is
// one of them and a part of the next two pixels; and each is wanted twice, for the rows of the strip as far above
// the row of light as below. Rows of light are added in pairs, and two pairs are taken at once: a sum that waits is
// loaded and stored once for four rows.
// Nothing is ever subtracted, so that dark parts beside bright ones keep their precision.
#pragma once

#include <cstddef>
#include <cstdint>

#include "operators/bodies/defocus_light.h"
#include "operators/bodies/vectors.h"
#include "operators/defocus_table.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

class kernel_strip {
 public:
  static constexpr int WIDTH = 128;  // pixels; the waiting sums of a moderate kernel fit the first-level cache
  static constexpr int ROWS = 4;     // of light that are added at once: two pairs

  /// Pixels to either side of the strip, in whole cache lines.
  static int margin(const defocus_table& table) { return (table.x_reach() + 1 + 16) / 16 * 16; }
  static std::size_t bytes_needed(const defocus_table& table) {
    return sizeof(float) * (N_LIGHTS * light_stride(table) + std::size_t(n_sums(table)) * WIDTH);
  }

  /// `memory` is aligned to a cache line.
  kernel_strip(const defocus_table& table, std::byte* memory)
      : table_(table),
        light_stride_(light_stride(table)),
        margin_(margin(table)),
        lights_(reinterpret_cast<float*>(memory)),
        sums_(lights_ + N_LIGHTS * light_stride_),
        n_sums_(n_sums(table)) {
    for (int d = 0; d < table.y_reach(); ++d) has_parts_ |= table.row(d).full_weight != FIX_ONE;
  }

  /// Starts a strip.
  void start() {
    place_ = set_ = 0;
    clear(sums_, std::size_t(n_sums_) * WIDTH);
    clear(lights_, N_LIGHTS * light_stride_);
  }
  /// Where the light of a row of the four to come goes: pixels -margin to WIDTH + margin - 1 of the strip.
  float* light(int row) { return light_of(set_ ^ 1, row); }
  /// The rows that were to come are the present ones.
  void take_light() { set_ ^= 1; }

  /// Adds the present rows.
  void add() {
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
    for (int row = 0; row < ROWS; ++row) clear(const_cast<float*>(finished(row)), WIDTH);
    place_ += ROWS;
    if (place_ >= n_sums_) place_ -= n_sums_;
  }

 private:
  static constexpr int N_LIGHTS = 2 * ROWS;  // rows of light: the present ones and those to come

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
    return sums_ + std::size_t(place) * WIDTH;
  }

  /// Pixels up to some distance away, and the pair of pixels beyond, for a vector of the strip.
  struct growing_run {
    const float *left, *right;  // the pair
    float_vector sum, next;

    explicit growing_run(const float* at)
        : left(at - 1), right(at + 1), sum(load(at)), next(load(left) + load(right)) {}
    void grow() {
      sum += next;
      next = load(--left) + load(++right);
    }
  };

  template <bool EDGES, bool PART>
  static float_vector weighted(const growing_run& run, const kernel_row& row) {
    const float_vector whole = PART ? run.sum * row.full : run.sum;
    return EDGES ? whole + run.next * row.edge : whole;
  }

  /// With PARTS any row of the kernel may count in part, else only the outermost, which has EDGES then.
  template <bool EDGES, bool PARTS>
  void add_rows() {
    const int reach = table_.y_reach();
    const kernel_row* const rows = &table_.row(0);
    for (int x = 0; x < WIDTH; x += VECTOR_LANES) {
      const auto run_of = [&](int row) { return growing_run(light_of(set_, row) + x); };
      growing_run runs[ROWS] = {run_of(0), run_of(1), run_of(2), run_of(3)};
      int last_full = 0;
      // What each row of light gave to the row before in the kernel. The pairs' sums for rows of the strip that the
      // other pair meets only two rows later in the kernel wait: sums are added in the order of the pairs.
      float_vector before[ROWS] = {}, first_below[2] = {}, second_above[2] = {};
      float* const ring = sums_ + x;
      float* const ring_end = ring + std::ptrdiff_t(n_sums_) * WIDTH;
      float *above = sums_of(-reach) + x, *below = sums_of(ROWS - 1 + reach) + x;
      const auto add_kernel_row = [&]<bool PART>(const kernel_row& row) __attribute__((always_inline)) {
        for (; last_full < row.last_full; ++last_full)
          for (growing_run& run : runs) run.grow();
        float_vector from[ROWS];
        for (int k = 0; k < ROWS; ++k) from[k] = weighted<EDGES, PART>(runs[k], row);
        sum_at(above) = sum_at(above) + (from[0] + before[1]) + second_above[1];
        sum_at(below) = sum_at(below) + first_below[1] + (from[3] + before[2]);
        second_above[1] = second_above[0];
        second_above[0] = from[2] + before[3];
        first_below[1] = first_below[0];
        first_below[0] = from[1] + before[0];
        for (int k = 0; k < ROWS; ++k) before[k] = from[k];
        above += WIDTH;
        if (above == ring_end) above = ring;
        if (below == ring) below = ring_end;
        below -= WIDTH;
      };
      add_kernel_row.template operator()<EDGES>(rows[reach]);
      for (int d = reach - 1; d >= 0; --d) add_kernel_row.template operator()<PARTS>(rows[d]);
      // The two rows between the pairs: `above` and `below` have passed the rows 0 and 3.
      sum_at(above) = sum_at(above) + first_below[0] + second_above[1];
      sum_at(below) = sum_at(below) + first_below[1] + second_above[0];
    }
  }

  const defocus_table& table_;
  std::size_t light_stride_;
  int margin_;
  float* lights_;
  float* sums_;  // a ring of rows
  int n_sums_;
  int place_ = 0;           // of the sums of the present rows' first in the ring
  int set_ = 0;             // of the rows of light: the present one
  bool has_parts_ = false;  // a row of the kernel that is not the outermost counts in part
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
