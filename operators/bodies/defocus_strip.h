// A strip of an image under a kernel of horizontal runs: rows of light go in, and the weighted sums for the rows of
// the strip come out one reach later.
//
// The kernel is the same to the left and to the right, and above and below. So one row of light is enough for the
// sums T(c) of the pixels up to c away on both sides, which grow with c by two pixels each; a row of the kernel is
// one of them and a part of the next two pixels; and each is wanted twice, for the rows of the strip as far above
// the row of light as below. Two rows of light are taken at once, which halves the traffic with the sums that wait.
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
#if defined(__AVX512F__)
  static constexpr int N_VECTORS = 4;  // that fit the registers
#else
  static constexpr int N_VECTORS = 2;
#endif
  static constexpr int BLOCK = N_VECTORS * VECTOR_LANES;

 public:
  static constexpr int WIDTH = 128;  // pixels; the waiting sums of a moderate kernel fit the first-level cache

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
        n_sums_(n_sums(table)) {}

  /// Starts a strip.
  void start() {
    place_ = pair_ = 0;
    clear(sums_, std::size_t(n_sums_) * WIDTH);
    clear(lights_, N_LIGHTS * light_stride_);
  }
  /// Where the light of row 0 or 1 of the pair to come goes: pixels -margin to WIDTH + margin - 1 of the strip.
  float* light(int row) { return light_of(pair_ ^ 1, row); }
  /// The pair that was to come is the present one.
  void take_light() { pair_ ^= 1; }

  /// Adds the present pair of rows.
  void add() {
    if (table_.has_fractions())
      add_rows<true>();
    else
      add_rows<false>();
  }
  /// Sums that are finished: of row 0 or 1 of the pair less the reach.
  const float* finished(int row) const { return sums_of(row - table_.y_reach()); }
  /// Goes on to the next pair.
  void advance() {
    for (int row : {0, 1}) clear(const_cast<float*>(finished(row)), WIDTH);
    place_ += 2;
    if (place_ >= n_sums_) place_ -= n_sums_;
  }

 private:
  static constexpr int N_LIGHTS = 4;  // rows of light: two pairs

  static std::size_t light_stride(const defocus_table& table) { return std::size_t(WIDTH + 2 * margin(table)); }
  /// Rows of sums between the first that a pair of rows touches and the last.
  static int n_sums(const defocus_table& table) { return 2 * table.y_reach() + 2; }

  /// Zeros in whole vectors.
  static void clear(float* p, std::size_t count) {
    for (std::size_t i = 0; i < count; i += VECTOR_LANES) *reinterpret_cast<float_vector*>(p + i) = float_vector{};
  }
  static float_vector load(const float* p) { return *reinterpret_cast<const float_vector_anywhere*>(p); }
  static float_vector& sum_at(float* p, int v) { return reinterpret_cast<float_vector*>(p)[v]; }

  float* light_of(int pair, int row) const { return lights_ + std::size_t(2 * pair + row) * light_stride_ + margin_; }

  /// The sums of the row `offset` below the first of the pair.
  float* sums_of(int offset) const {
    int place = place_ + offset;
    if (place < 0) place += n_sums_;
    if (place >= n_sums_) place -= n_sums_;
    return sums_ + std::size_t(place) * WIDTH;
  }

  /// Pixels up to `reach` away, and the pair of pixels beyond, for a block of the strip.
  struct growing_run {
    const float* at;
    float_vector sum[N_VECTORS], next[N_VECTORS];

    explicit growing_run(const float* first) : at(first) {
      for (int v = 0; v < N_VECTORS; ++v) {
        sum[v] = load(at + v * VECTOR_LANES);
        next[v] = pair(v, 1);
      }
    }
    float_vector pair(int v, int c) const { return load(at + v * VECTOR_LANES - c) + load(at + v * VECTOR_LANES + c); }
    void grow(int reach) {
      for (int v = 0; v < N_VECTORS; ++v) {
        sum[v] += next[v];
        next[v] = pair(v, reach + 1);
      }
    }
  };

  template <bool EDGES>
  static float_vector weighted(const growing_run& run, int v, const kernel_row& row) {
    return EDGES ? run.sum[v] * row.full + run.next[v] * row.edge : run.sum[v];
  }

  template <bool EDGES>
  void add_rows() {
    for (int x = 0; x < WIDTH; x += BLOCK) {
      growing_run upper(light_of(pair_, 0) + x), lower(light_of(pair_, 1) + x);
      float_vector upper_before[N_VECTORS] = {}, lower_before[N_VECTORS] = {};
      int reach = 0;
      for (int d = table_.y_reach(); d >= 0; --d) {
        const kernel_row& row = table_.row(d);
        while (reach < row.last_full) {
          ++reach;
          upper.grow(reach);
          lower.grow(reach);
        }
        // d rows above the upper row, which is d + 1 above the lower one, and the same below.
        float* const above = sums_of(-d) + x;
        float* const below = sums_of(1 + d) + x;
        for (int v = 0; v < N_VECTORS; ++v) {
          const float_vector from_upper = weighted<EDGES>(upper, v, row), from_lower = weighted<EDGES>(lower, v, row);
          sum_at(above, v) += from_upper + lower_before[v];
          sum_at(below, v) += from_lower + upper_before[v];
          upper_before[v] = from_upper;
          lower_before[v] = from_lower;
        }
      }
    }
  }

  const defocus_table& table_;
  std::size_t light_stride_;
  int margin_;
  float* lights_;
  float* sums_;  // a ring of rows
  int n_sums_;
  int place_ = 0;  // of the sums of the pair's upper row in the ring
  int pair_ = 0;   // of the rows of light: the present one
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
