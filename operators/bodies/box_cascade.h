// The box filters of one direction, run as a cascade over a strip of lines that lie side by side.
//
// A sample of the strip is one row of groups of 16 words, one word a line. Filtering along image rows, 16 rows are
// transposed into a strip of one group; filtering along columns, a sample is a piece of an image row.
//
// Samples come in one after the other, and each filter follows as soon as its window is complete. It writes its
// results over samples that it has done with, a window's width behind where it reads, so that one ring of samples
// serves all filters. Where every window lies within the lines, one loop runs all filters with their sums in
// registers; near the ends each goes on by itself.
#pragma once

#include <cstddef>
#include <cstdint>

#include "operators/bodies/planes.h"
#include "operators/bodies/vectors.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// For results that are looked at in the ring, not one by one.
struct no_sink {};
template <class Sink>
constexpr bool SINKS = true;
template <>
constexpr bool SINKS<no_sink> = false;

constexpr int round_up(int v, int grain) { return (v + grain - 1) / grain * grain; }

class box_cascade {
  static constexpr int CHUNK = 8;  // samples that the loop over groups takes at once, where there are several

 public:
  /// Plans the filters of a table over lines of n samples, of which results from `begin` to `end` are wanted. Samples
  /// come in batches of at most `batch`, a power of two from 16 on. A batch, and each 16 results counted from the
  /// first ones, lie one behind the other in the ring.
  void plan(const pass_table& table, int edge_mode, int n, int begin, int end, int batch) {
    n_ = n;
    mirrors_ = edge_mode != ZERO_EDGES;
    first_shift_ = table.count ? table.pass[0].pre_shift : 0;
    plan_stages(table);
    int behind = 0, window = 0;
    for (int i = 0; i < n_stages_; ++i) {
      behind += stages_[i].high + 1;
      window += 2 * (stages_[i].high + 1);
    }
    input_at_ = round_up(behind, batch);
    const int padding = input_at_ - behind;
    ring_ = round_up(window + padding + 2 * batch, batch);

    behind = padding;
    for (int i = n_stages_ - 1; i >= 0; --i) {
      stage& s = stages_[i];
      s.begin = begin;
      s.end = end;
      s.results_at = i == n_stages_ - 1 ? 0 : behind;
      behind += s.high + 1;
      s.samples_at = behind;
      begin = fix_max(begin - s.high, 0);
      end = fix_min(end + s.high, n);
    }
    begin_ = begin;
    end_ = end;
    middle_ = n_stages_ ? 0 : end;
    for (int i = 0, lag = 0; i < n_stages_; ++i) {
      const stage& s = stages_[i];
      lag += s.high;
      middle_ = fix_max(middle_, lag + fix_max(s.high, s.begin) + 1);
    }
  }

  /// Memory that a strip of lines needs, `pitch` words from one sample to the next.
  std::size_t bytes_needed(int pitch) const {
    return (std::size_t(ring_) + 2 * MAX_BOX_PASSES) * std::size_t(pitch) * sizeof(std::int32_t);
  }

  /// Lays out `memory`, which starts on a cache line, for a strip of `n_groups`.
  void place(std::byte* memory, int n_groups, int pitch) {
    n_groups_ = n_groups;
    pitch_ = pitch;
    samples_ = reinterpret_cast<std::int32_t*>(memory);
    std::int32_t* sums = slot(ring_);
    for (int i = 0; i < n_stages_; ++i, sums += 2 * pitch) {
      stages_[i].low_sums = sums;
      stages_[i].high_sums = sums + pitch;
    }
    rewind();
  }

  /// Starts on new lines.
  void rewind() {
    for (int i = 0; i < n_stages_; ++i) stages_[i].done = stages_[i].begin;
    fed_ = begin_;
  }

  /// The samples that have to be put in.
  int begin() const { return begin_; }
  int end() const { return end_; }
  /// Where sample k is to be put, shifted right by first_shift().
  std::int32_t* input(int k) { return slot(place_of(k, input_at_)); }
  int first_shift() const { return first_shift_; }
  /// Results before this one are there, and where they are. Valid until the next but one batch comes in.
  int finished() const { return n_stages_ ? stages_[n_stages_ - 1].done : fed_; }
  const std::int32_t* output(int k) { return slot(place_of(k, 0)); }

  /// Goes on as far as the samples before `available` allow. `sink(k, count, group, words, pitch)` sees all results:
  /// those of a group for `count` samples from k on.
  template <class Sink>
  void run(int available, const Sink& sink) {
    if (available <= middle_) return run_each(available, sink);
    if (fed_ < middle_) run_each(middle_, sink);
    if (n_stages_ == 1)
      run_middle<1>(available, sink);
    else if (n_stages_ == 2)
      run_middle<2>(available, sink);
    else
      run_middle<3>(available, sink);
    if (available == end_) run_each(available, sink);
  }

 private:
  struct stage {
    int low, high;  // radii; one apart where the stage blends, else equal
    int shift;      // of the results
    bool blends;
    double low_weight, high_weight;
    int begin, end;              // results that are wanted
    int done;                    // the next one
    int samples_at, results_at;  // places in the ring, for sample begin_
    std::int32_t *low_sums, *high_sums;

    int leaving_at(int r) const { return samples_at - r - 1; }
  };

  /// A filter that has nothing to do is left out; the shift before one becomes that behind the one before it.
  void plan_stages(const pass_table& table) {
    n_stages_ = 0;
    blend_at_ = -1;
    for (int i = 0; i < table.count; ++i) {
      const box_pass& pass = table.pass[i];
      const int shift = i + 1 < table.count ? table.pass[i + 1].pre_shift : 0;
      if (pass.radius_high == 0 && shift == 0) continue;
      if (table.blends(i)) blend_at_ = n_stages_;
      stage& s = stages_[n_stages_++];
      s.blends = table.blends(i);
      s.low = table.blends(i) ? pass.radius_low : pass.radius_high;
      s.high = pass.radius_high;
      s.shift = shift;
      s.low_weight = double(pass.low_weight);
      s.high_weight = double(table.frac);
    }
  }

  /// Place in the ring of what lies `at` places behind the first sample's, k samples on.
  int place_of(int k, int at) const { return (k - begin_ + at) % ring_; }
  std::int32_t* slot(int place) { return samples_ + std::ptrdiff_t(place) * pitch_; }

  static sum_vector load(const std::int32_t* group, int v) { return sum_vector(load_group(group, v)); }
  static void store(std::int32_t* group, int v, sum_vector value) { store_group(group, v, int_vector(value)); }

  // --- all stages at once, in the middle of the lines ---------------------------------------------------------

  template <int N_STAGES, class Sink>
  void run_middle(int available, const Sink& sink) {
    while (fed_ < available)
      if (blend_at_ < 0)
        run_middle<N_STAGES, false>(available, sink);
      else
        run_middle<N_STAGES, true>(available, sink);
  }

  /// As many samples as no run reaches the end of the ring with. Where a stage blends, its smaller box takes in the
  /// sample before the one that the larger takes in, and lets go of the one behind.
  template <int N_STAGES, bool BLENDS, class Sink>
  void run_middle(int available, const Sink& sink) {
    constexpr int LAST = N_STAGES - 1;
    int count = available - fed_;
    const auto run_from = [&](int k, int at) {
      const int place = place_of(k, at);
      count = fix_min(count, ring_ - place);
      return slot(place);
    };
    const std::int32_t* const entering = run_from(fed_, input_at_);
    std::int32_t* leaving[N_STAGES];  // and where the results of all stages but the last go
    int shift[N_STAGES];
    for (int i = 0; i < N_STAGES; ++i) {
      leaving[i] = run_from(stages_[i].done, stages_[i].leaving_at(stages_[i].high));
      shift[i] = stages_[i].shift;
    }
    const stage& blend = stages_[BLENDS ? blend_at_ : 0];
    const std::int32_t* low_leaving = nullptr;
    const std::int32_t* low_entering = nullptr;
    if constexpr (BLENDS) {
      low_leaving = run_from(blend.done, blend.leaving_at(blend.low));
      low_entering = slot(place_of(blend.done + blend.low, blend.samples_at));
    }
    alignas(CACHE_LINE) std::int32_t sunk[CHUNK * GROUP_LANES];
    std::int32_t* results = sunk;
    if constexpr (SINKS<Sink>)
      count = fix_min(count, CHUNK);
    else
      results = run_from(stages_[LAST].done, stages_[LAST].results_at);
    const std::ptrdiff_t pitch = SINKS<Sink> ? pitch_ : GROUP_LANES;

    for (int g = 0; g < n_groups_; ++g) {
      const std::ptrdiff_t at = std::ptrdiff_t(g) * GROUP_LANES;
      sum_vector sums[N_STAGES][GROUP_VECTORS], low_sums[GROUP_VECTORS], before[GROUP_VECTORS];
      for (int v = 0; v < GROUP_VECTORS; ++v) {
        for (int i = 0; i < N_STAGES; ++i) sums[i][v] = load(stages_[i].high_sums + at, v);
        if constexpr (BLENDS) {
          low_sums[v] = load(blend.low_sums + at, v);
          before[v] = load(low_entering + at, v);
        }
      }
      std::ptrdiff_t place = at;
      for (int k = 0; k < count; ++k, place += pitch)
        for (int v = 0; v < GROUP_VECTORS; ++v) {
          sum_vector value = load(entering + place, v);
          for (int i = 0; i < N_STAGES; ++i) {
            sums[i][v] += value - load(leaving[i] + place, v);
            if (BLENDS && i == blend_at_) {
              low_sums[v] += before[v] - load(low_leaving + place, v);
              before[v] = value;
              value = sum_vector(
                  blended(int_vector(low_sums[v]), int_vector(sums[i][v]), blend.low_weight, blend.high_weight));
            } else {
              value = sums[i][v];
            }
            value = sum_vector(int_vector(value) >> shift[i]);
            store(i == LAST ? results + std::ptrdiff_t(k) * GROUP_LANES : leaving[i] + place, v, value);
          }
        }
      for (int v = 0; v < GROUP_VECTORS; ++v) {
        for (int i = 0; i < N_STAGES; ++i) store(stages_[i].high_sums + at, v, sums[i][v]);
        if constexpr (BLENDS) store(blend.low_sums + at, v, low_sums[v]);
      }
      if constexpr (SINKS<Sink>) sink(stages_[LAST].done, count, g, results, GROUP_LANES);
    }
    for (int i = 0; i < N_STAGES; ++i) stages_[i].done += count;
    fed_ += count;
  }

  // --- one stage after the other ------------------------------------------------------------------------------

  template <class Sink>
  void run_each(int available, [[maybe_unused]] const Sink& sink) {
    [[maybe_unused]] const int before = finished();
    fed_ = available;
    for (int i = 0; i < n_stages_; ++i) available = advance(stages_[i], available);
    if constexpr (SINKS<Sink>)
      for (int k = before; k < available; ++k)
        for (int g = 0; g < n_groups_; ++g) sink(k, 1, g, output(k) + std::ptrdiff_t(g) * GROUP_LANES, 0);
  }

  /// A run of samples: forwards, backwards (mirrored) or standing on zeros.
  struct cursor {
    const std::int32_t* sample;
    std::ptrdiff_t step, next_group;  // words
  };

  /// From sample k of a stage on; limits `count` to what lies before the end of the ring.
  cursor forwards(const stage& s, int k, int& count) {
    const int place = place_of(k, s.samples_at);
    count = fix_min(count, ring_ - place);
    return {slot(place), pitch_, GROUP_LANES};
  }
  cursor beyond(const stage& s, int mirrored, int& count) {
    if (!mirrors_) return {ZEROS, 0, 0};
    const int place = place_of(mirrored, s.samples_at);
    count = fix_min(count, place + 1);
    return {slot(place), -pitch_, GROUP_LANES};
  }
  cursor entering(const stage& s, int k, int r, int& count) {
    return k + r < n_ ? forwards(s, k + r, count) : beyond(s, 2 * n_ - 1 - k - r, count);
  }
  cursor leaving(const stage& s, int k, int r, int& count) {
    return k > r ? forwards(s, k - r - 1, count) : beyond(s, r - k, count);
  }
  /// Where the window of sample k begins or ceases to reach beyond an end.
  int next_change(int k, int r) const { return k <= r ? r + 1 : k < n_ - r ? n_ - r : n_; }

  /// Sums of the window around the stage's first result.
  void first_sums(const stage& s, int r, std::int32_t* sums) {
    for (int i = 0; i < n_groups_ * GROUP_LANES; ++i) sums[i] = 0;
    for (int k = s.begin - r; k <= s.begin + r; ++k) {
      int one = 1;
      const cursor from = k < 0    ? beyond(s, -1 - k, one)
                          : k < n_ ? forwards(s, k, one)
                                   : beyond(s, 2 * n_ - 1 - k, one);
      for (int g = 0; g < n_groups_; ++g)
        for (int v = 0; v < GROUP_VECTORS; ++v) {
          std::int32_t* sum = sums + std::ptrdiff_t(g) * GROUP_LANES;
          store(sum, v, load(sum, v) + load(from.sample + g * from.next_group, v));
        }
    }
  }

  /// Makes all results of a stage that `available` samples allow; the next result.
  int advance(stage& s, int available) {
    const int end = available == n_ ? s.end : fix_min(s.end, available - s.high);
    if (end <= s.done) return s.done;
    if (s.done == s.begin) {
      first_sums(s, s.high, s.high_sums);
      if (s.blends) first_sums(s, s.low, s.low_sums);
      constexpr cursor STILL = {ZEROS, 0, 0};
      step(s, {STILL, STILL, STILL, STILL}, 1);
    }
    while (s.done < end) {
      const int k = s.done;
      int count = fix_min(end, next_change(k, s.high)) - k;
      if (s.blends) count = fix_min(fix_min(count, next_change(k, s.low) - k), CHUNK);
      count = fix_min(count, ring_ - place_of(k, s.results_at));
      const window_ends ends = {entering(s, k, s.high, count), leaving(s, k, s.high, count),
                                entering(s, k, s.low, count), leaving(s, k, s.low, count)};
      step(s, ends, count);
    }
    return s.done;
  }

  struct window_ends {
    cursor high_in, high_out, low_in, low_out;
  };

  void step(stage& s, const window_ends& ends, int count) {
    std::int32_t* results = slot(place_of(s.done, s.results_at));
    for (int g = 0; g < n_groups_; ++g) {
      const std::ptrdiff_t at = std::ptrdiff_t(g) * GROUP_LANES;
      if (!s.blends) {
        slide(ends.high_in, ends.high_out, g, results + at, pitch_, count, s.shift, s.high_sums + at);
        continue;
      }
      alignas(CACHE_LINE) std::int32_t low[CHUNK * GROUP_LANES], high[CHUNK * GROUP_LANES];
      slide(ends.high_in, ends.high_out, g, high, GROUP_LANES, count, 0, s.high_sums + at);
      slide(ends.low_in, ends.low_out, g, low, GROUP_LANES, count, 0, s.low_sums + at);
      for (int k = 0; k < count; ++k)
        for (int v = 0; v < GROUP_VECTORS; ++v) {
          const int_vector value = blended(load_group(low + k * GROUP_LANES, v), load_group(high + k * GROUP_LANES, v),
                                           s.low_weight, s.high_weight);
          store_group(results + at + std::ptrdiff_t(k) * pitch_, v, value >> s.shift);
        }
    }
    s.done += count;
  }

  static void slide(const cursor& in, const cursor& out, int g, std::int32_t* results, std::ptrdiff_t pitch, int count,
                    int shift, std::int32_t* sums) {
    const std::int32_t* entering = in.sample + g * in.next_group;
    const std::int32_t* leaving = out.sample + g * out.next_group;
    sum_vector sum[GROUP_VECTORS];
    for (int v = 0; v < GROUP_VECTORS; ++v) sum[v] = load(sums, v);
    for (int k = 0; k < count; ++k) {
      for (int v = 0; v < GROUP_VECTORS; ++v) {
        sum[v] += load(entering, v) - load(leaving, v);
        store_group(results, v, int_vector(sum[v]) >> shift);
      }
      entering += in.step;
      leaving += out.step;
      results += pitch;
    }
    for (int v = 0; v < GROUP_VECTORS; ++v) store(sums, v, sum[v]);
  }

  alignas(CACHE_LINE) static constexpr std::int32_t ZEROS[GROUP_LANES] = {};

  int n_;
  bool mirrors_;
  int first_shift_;
  int begin_, end_;  // samples that have to come in
  int fed_;          // the next one
  int middle_;       // samples before this one have to be in before all stages can go on together
  int input_at_;     // place in the ring of the first sample
  int ring_, n_groups_;
  std::ptrdiff_t pitch_;
  std::int32_t* samples_;
  int n_stages_;
  int blend_at_;  // the one stage that blends, or -1
  stage stages_[MAX_BOX_PASSES];
};

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
