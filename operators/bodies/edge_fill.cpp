// Coverage from edges. For each row, every edge in it adds by how much the covered area grows from pixel to pixel; the
// running sum along the row is the coverage. The sums are whole numbers: they come out the same in any order, and
// nothing is left over where all outlines have closed.
//
//   edge  \        value of a pixel: area to the right of the edge
//   0 0 0 .3 .9 1 1 1
//
// Edges go through in groups, side by side. Rows cut them into pieces; a piece that lies within three pixels of a row,
// as most do, changes four entries of the sums. Sums of a band of rows stay in the cache.
#include "operators/edge_fill.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/fixed.h"
#include "operators/bodies/lightning.h"

#if defined(__AVX512BW__)
#include <immintrin.h>
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int COVER_ONE = 1 << 14;  // a whole pixel in the sums: room for as many outlines on top of each other
constexpr int COVER_TO_FIX = 2;     // bits between these and fix
constexpr int LANES = edge_group::SIZE;
constexpr int ROOM = 128;     // pieces that wait for their turn
constexpr int REACH = 3;      // pixels of a row that a short piece lies in
constexpr float FAR = 16384;  // pixels: beyond it single precision doesn't tell a pixel's parts apart

/// Parts of COVER_ONE from the top of a row down to y.
inline int depth_in_row(float y, float row) { return int((y - row) * float(COVER_ONE) + 0.5f); }

/// How much of a row's pixels lies to the right of a piece and to the left of a place t pixels from its left end: what
/// it covers is `cover` high behind the piece and grows evenly over its width.
struct area_behind {
  float cover, half_width, half_slope, width;

  area_behind(float height, float piece_width)
      : cover(height), half_width(0.5f * piece_width), half_slope(0.5f * height / piece_width), width(piece_width) {}
  float operator()(float t) const {
    const float within = half_slope * t * t, behind = cover * (t - half_width);
    return t < width ? within : behind;
  }
};
inline int whole(float area) { return int(area + 0.5f); }

// A piece's height (of COVER_ONE), its row in the band and how often it counts, in one word.
constexpr std::int32_t COVER_MASK = 0x7fff, LINE_SHIFT = 15, LINE_MASK = 0xfff, WINDING_SHIFT = 27;
inline std::int32_t packed(std::int32_t cover, std::int32_t line, std::int32_t winding) {
  return cover | (line & LINE_MASK) << LINE_SHIFT | std::int32_t(std::uint32_t(winding) << WINDING_SHIFT);
}
inline std::int32_t cover_of(std::int32_t piece) { return piece & COVER_MASK; }
inline std::int32_t line_of(std::int32_t piece) { return piece >> LINE_SHIFT & LINE_MASK; }
inline std::int32_t winding_of(std::int32_t piece) { return piece >> WINDING_SHIFT; }

/// What LANES short pieces change: the column of the first of four entries, with the margin in front, and the changes
/// of these. Pieces that lie in more pixels are marked as wide and change nothing. Places beyond the row's ends are
/// held: entries before the first pixel count for all pixels, those behind the last for none. Not 0: some are wide.
inline std::int32_t growth_of(const float* __restrict left, const float* __restrict right,
                              const std::int32_t* __restrict piece, float least, float most,
                              std::int32_t* __restrict column, std::int32_t* __restrict growth,
                              std::int32_t* __restrict is_wide) {
  std::int32_t any_wide = 0;
  for (int i = 0; i < LANES; ++i) {
    const float a = left[i] < least ? least : left[i], b = right[i] < least ? least : right[i];
    const float from = (a > most ? most : a) + float(FILL_MARGIN), to = (b > most ? most : b) + float(FILL_MARGIN);
    const int first = int(from);
    const float t = float(first + 1) - from;
    const int cover = cover_of(piece[i]);
    const area_behind area(float(cover), to - from);
    const float area_1 = area(t), area_2 = area(t + 1), area_3 = area(t + 2);
    const int value_1 = whole(area_1), value_2 = whole(area_2 - area_1), value_3 = whole(area_3 - area_2);
    const std::int32_t wide = to > float(first + REACH) ? 1 : 0;
    const std::int32_t sign = wide ? 0 : winding_of(piece[i]);
    any_wide |= wide;
    is_wide[i] = wide;
    column[i] = first;
    growth[4 * i] = value_1 * sign;
    growth[4 * i + 1] = (value_2 - value_1) * sign;
    growth[4 * i + 2] = (value_3 - value_2) * sign;
    growth[4 * i + 3] = (cover - value_3) * sign;
  }
  return any_wide;
}

class band_sums {
 public:
  explicit band_sums(const fill_band& band) : band_(band), stride_(fill_stride(band.width)) {
    std::memset(band_.touched, 0, std::size_t(band_.end - band_.first) * std::size_t(fill_blocks(band_.width)));
  }

  void add_run(const edge_run& run) {
    mark(run);
    if (run.left >= -FAR && run.right <= FAR && run.upper >= -FAR && run.lower <= FAR) {
      for (const edge_group& edges : run.groups) add_group(edges);
    } else {
      for (const edge_group& edges : run.groups)
        for (int k = 0; k < LANES; ++k) add_far_edge(edges.at(k));
    }
  }

  void resolve() {
    flush();
    const int blocks = fill_blocks(band_.width);
    for (int y = 0; y < band_.end - band_.first; ++y)
      resolve_row(band_.growth + std::size_t(y) * stride_, band_.touched + y * blocks,
                  band_.rows + std::int64_t(y) * band_.width);
  }

 private:
  // --- from edges to pieces ----------------------------------------------------------------------

  /// The blocks in which a run's pieces change sums.
  void mark(const edge_run& run) const {
    const auto held = [](float v, int least, int most) {
      return v <= float(least) ? least : v >= float(most) ? most : int(v);
    };
    const int top = held(run.upper, band_.first, band_.end), bottom = held(run.lower, band_.first, band_.end - 1);
    const int blocks = fill_blocks(band_.width);
    const int left = held(run.left, 0, band_.width) / FILL_BLOCK;
    const int right = std::min((held(run.right, 0, band_.width) + 1) / FILL_BLOCK, blocks - 1);
    for (int y = top; y <= bottom && left <= right; ++y)
      std::memset(band_.touched + std::size_t(y - band_.first) * std::size_t(blocks) + left, 1,
                  std::size_t(right - left + 1));
  }

  void add_group(const edge_group& e) {
    const float first = float(band_.first), end = float(band_.end);
    alignas(64) float slope[LANES], row[LANES], bottom[LANES];
    alignas(64) std::int32_t whole_row[LANES];
    std::int32_t rows = 0;
    for (int k = 0; k < LANES; ++k) {
      const float height = e.y1[k] - e.y0[k], ratio = (e.x1[k] - e.x0[k]) / height;
      slope[k] = height > 0 ? ratio : 0.0f;
      const float top = e.y0[k] > first ? e.y0[k] : first;
      whole_row[k] = std::int32_t(top);
      row[k] = float(whole_row[k]);
      bottom[k] = e.y1[k] < end ? e.y1[k] : end;
      const std::int32_t below = std::int32_t(bottom[k]) + 1 - whole_row[k];
      rows = below > rows ? below : rows;
    }
    for (std::int32_t j = 0; j < rows; ++j) {
      alignas(64) float left[LANES], right[LANES];
      alignas(64) std::int32_t piece[LANES];
      for (int k = 0; k < LANES; ++k) {
        const float r = row[k] + float(j), below = r + 1;
        const float top = e.y0[k] > r ? e.y0[k] : r, low = bottom[k] < below ? bottom[k] : below;
        const float xa = e.x0[k] + (top - e.y0[k]) * slope[k], xb = e.x0[k] + (low - e.y0[k]) * slope[k];
        left[k] = xa < xb ? xa : xb;
        right[k] = xa < xb ? xb : xa;
        const int deep = depth_in_row(low, r) - depth_in_row(top, r);
        const int cover = low > top ? deep : 0, line = whole_row[k] + j - band_.first;
        piece[k] = packed(cover, line, e.winding[k]);
      }
      keep_lanes(left, right, piece);
    }
  }

  /// Appends the lanes that cover something to the pieces that wait.
  void keep_lanes(const float* left, const float* right, const std::int32_t* piece) {
    if (count_ > ROOM - LANES) flush();
#if defined(__AVX512BW__)
    for (int half = 0; half < LANES; half += 8) {
      const auto load = [half](const auto* from) {
        return _mm256_load_si256(reinterpret_cast<const __m256i*>(from + half));
      };
      const __mmask8 kept = _mm256_test_epi32_mask(load(piece), _mm256_set1_epi32(COVER_MASK));
      const auto keep = [this, kept, load](const auto* from, auto* to) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + count_), _mm256_maskz_compress_epi32(kept, load(from)));
      };
      keep(left, left_);
      keep(right, right_);
      keep(piece, piece_);
      count_ += __builtin_popcount(kept);
    }
#else
    for (int k = 0; k < LANES; ++k) {
      left_[count_] = left[k];
      right_[count_] = right[k];
      piece_[count_] = piece[k];
      count_ += (piece[k] & COVER_MASK) != 0;
    }
#endif
  }

  /// In double precision: an edge that comes from far away.
  void add_far_edge(const fill_edge& e) {
    const float from = std::max(e.y0, float(band_.first)), to = std::min(e.y1, float(band_.end));
    if (!(from < to)) return;
    const double slope = (double(e.x1) - double(e.x0)) / (double(e.y1) - double(e.y0));
    const auto x_at = [&](float y) { return y == e.y1 ? e.x1 : float(e.x0 + (double(y) - double(e.y0)) * slope); };
    for (int r = int(from); float(r) < to; ++r) {
      const float top = std::max(from, float(r)), low = std::min(to, float(r + 1));
      const int cover = depth_in_row(low, float(r)) - depth_in_row(top, float(r));
      if (cover <= 0) continue;
      if (count_ > ROOM - LANES) flush();
      const float xa = x_at(top), xb = x_at(low);
      left_[count_] = std::min(xa, xb);
      right_[count_] = std::max(xa, xb);
      piece_[count_++] = packed(cover, r - band_.first, e.winding);
    }
  }

  // --- from pieces to sums -----------------------------------------------------------------------

  void flush() {
    const float least = 1 - FILL_MARGIN, most = float(band_.width + REACH + 1);
    alignas(64) std::int32_t column[ROOM], growth[4 * ROOM], is_wide[ROOM];
    std::int32_t any_wide = 0;
    for (int i = 0; i < count_; i += LANES)
      any_wide |= growth_of(left_ + i, right_ + i, piece_ + i, least, most, column + i, growth + 4 * i, is_wide + i);
    for (int i = 0; i < count_; ++i) {
      std::int32_t* const at = band_.growth + std::size_t(line_of(piece_[i])) * stride_ + column[i];
      for (int k = 0; k < 4; ++k) at[k] = wrap_add(at[k], growth[4 * i + k]);
    }
    if (any_wide)
      for (int i = 0; i < count_; ++i)
        if (is_wide[i]) add_wide(i);
    count_ = 0;
  }

  void add_wide(int i) const {
    std::int32_t* const row = band_.growth + std::size_t(line_of(piece_[i])) * stride_ + FILL_MARGIN;
    const area_behind area(float(cover_of(piece_[i])), right_[i] - left_[i]);
    const auto add = [&](int x, int change) { row[x] = wrap_add(row[x], change * winding_of(piece_[i])); };
    const auto column_of = [&](float x) {
      return x <= -1 ? -1 : x >= float(band_.width) ? band_.width : int(x + 1) - 1;
    };
    const int first = column_of(left_[i]), last = column_of(right_[i]);
    float behind = float(first) > left_[i] ? area(float(first) - left_[i]) : 0.0f;
    int before = 0;
    for (int x = first; x <= last; ++x) {
      const float next = area(float(x + 1) - left_[i]);
      const int value = std::min(whole(next - behind), cover_of(piece_[i]));
      add(x, value - before);
      before = value;
      behind = next;
    }
    add(last + 1, cover_of(piece_[i]) - before);
  }

  // --- from sums to samples ----------------------------------------------------------------------

  static std::int16_t sample(std::int32_t cover) {
    constexpr std::int32_t HALF = 1 << (COVER_TO_FIX - 1);
    const std::int32_t held = cover < 0 ? 0 : cover > COVER_ONE ? COVER_ONE : cover;
    return std::int16_t((held + HALF) >> COVER_TO_FIX);
  }

  /// Adds up a block behind `before`; the sum of it all.
  static std::int32_t running_sums(const std::int32_t* growth, std::int32_t* sums, std::int32_t before) {
    typedef std::uint32_t quad __attribute__((vector_size(16), may_alias, aligned(4)));
    const quad zero = {};
    quad carried = zero + std::uint32_t(before);
    for (int i = 0; i < FILL_BLOCK; i += 4) {
      quad v = *reinterpret_cast<const quad*>(growth + i);
      v += __builtin_shufflevector(zero, v, 0, 4, 5, 6);
      v += __builtin_shufflevector(zero, v, 0, 1, 4, 5);
      v += carried;
      *reinterpret_cast<quad*>(sums + i) = v;
      carried = __builtin_shufflevector(v, v, 3, 3, 3, 3);
    }
    return std::int32_t(carried[0]);
  }

  void resolve_row(std::int32_t* growth, const std::uint8_t* touched, std::int16_t* out) const {
    std::int32_t cover = 0;
    for (int i = 0; i < FILL_MARGIN; ++i) cover = wrap_add(cover, growth[i]);
    std::fill(growth, growth + FILL_MARGIN, 0);
    growth += FILL_MARGIN;
    for (int x = 0; x < band_.width; x += FILL_BLOCK) {
      const int n = std::min(FILL_BLOCK, band_.width - x);
      if (!touched[x / FILL_BLOCK]) {
        std::fill(out + x, out + x + n, sample(cover));
        continue;
      }
      alignas(64) std::int32_t sums[FILL_BLOCK];
      cover = running_sums(growth + x, sums, cover);
      std::fill(growth + x, growth + x + FILL_BLOCK, 0);
      if (n == FILL_BLOCK) {
        for (int i = 0; i < FILL_BLOCK; ++i) out[x + i] = sample(sums[i]);
      } else {
        for (int i = 0; i < n; ++i) out[x + i] = sample(sums[i]);
      }
    }
    growth += std::ptrdiff_t(fill_blocks(band_.width)) * FILL_BLOCK;
    std::fill(growth, growth + FILL_MARGIN, 0);
  }

  const fill_band band_;
  std::size_t stride_;
  int count_ = 0;
  // The pieces that wait: their ends (pixels), and what packed() holds.
  alignas(64) float left_[ROOM] = {}, right_[ROOM] = {};
  alignas(64) std::int32_t piece_[ROOM] = {};
};

}  // namespace

void fill_rows(const fill_band& band) {
  band_sums sums(band);
  // Runs lie anywhere in memory: the next one comes while one is worked on.
  const edge_run* waiting = nullptr;
  for (const edge_run& run : band.runs) {
    if (run.top > 2 * band.end) break;
    if (run.bottom < 2 * band.first) continue;
    for (const edge_group& g : run.groups)
      for (std::size_t at = 0; at < sizeof g; at += 64) __builtin_prefetch(reinterpret_cast<const char*>(&g) + at);
    if (waiting) sums.add_run(*waiting);
    waiting = &run;
  }
  if (waiting) sums.add_run(*waiting);
  sums.resolve();
}

}  // namespace tessaron::TESSARON_LEVEL
