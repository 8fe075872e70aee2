// noise, noise2 and noise3: a fractal over the whole image. A coarse lattice of random values is doubled again and
// again by the subdivision of a cubic B-spline, and gets a finer octave at half the amplitude each time; the image then
// reads between the samples of the last doubling. No pixel pays for more than the octaves that are as fine as pixels.
#include "operators/bodies/noise.h"

#include <cstdint>

#include "evaluator/frame.h"
#include "evaluator/lattice.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/noise_plan.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int FREQUENCY = 0, OCTAVES = 1, SHIFT = 2, SEED = 3, SCALE = 4;
constexpr int ABORT_ROWS = 16;  // the abort flag is looked at when a line number is a multiple of this

// --- lines -----------------------------------------------------------------------------------------------

static inline std::int16_t mean(std::int32_t a, std::int32_t b) { return std::int16_t((a + b) >> 1); }

/// A sample between the means with its neighbours, smoothed.
static inline std::int16_t smoothed(std::int32_t before, std::int32_t v, std::int32_t after) {
  return std::int16_t((before + 2 * v + after + 1) >> 2);
}

/// 2n - 3 samples from n; from two samples one, from one itself. `out` is another line.
void double_line(const std::int16_t* __restrict in, std::int16_t* __restrict out, int n) {
  if (n < 2) {
    out[0] = in[0];
    return;
  }
  for (int k = 0; k < n - 2; ++k) {
    const std::int16_t before = mean(in[k], in[k + 1]), after = mean(in[k + 1], in[k + 2]);
    out[2 * k] = before;
    out[2 * k + 1] = smoothed(before, in[k + 1], after);
  }
  out[2 * (n - 2)] = mean(in[n - 2], in[n - 1]);
}

/// Line r of the doubled lines; row(k) gives the lines before.
template <class ROW>
void double_across(ROW row, int r, int n_lines, std::int16_t* __restrict out, int width) {
  const int k = (r + 1) / 2;
  if (n_lines < 2) {
    const std::int16_t* only = row(0);
    for (int x = 0; x < width; ++x) out[x] = only[x];
  } else if (r % 2 == 0) {
    const std::int16_t *a = row(k), *b = row(k + 1);
    for (int x = 0; x < width; ++x) out[x] = mean(a[x], b[x]);
  } else {
    const std::int16_t *a = row(k - 1), *b = row(k), *c = row(k + 1);
    for (int x = 0; x < width; ++x) out[x] = smoothed(mean(a[x], b[x]), b[x], mean(b[x], c[x]));
  }
}

/// Sets n samples to the lattice's values, or adds them, shifted right.
template <int E, bool ADD>
void lattice_line(std::int16_t* line, int n, std::uint32_t seed, std::uint32_t x, std::uint32_t y, int shift) {
  const std::uint32_t key = hash4(seed ^ (0u - 16 * y));
  for (int i = 0; i < n; ++i) {
    const fix v = lattice_element<E>(lattice_hash(key, x + std::uint32_t(i))) >> shift;
    line[i] = std::int16_t(ADD ? line[i] + v : v);
  }
}

/// The last lines that were asked for, by number.
template <int N>
class line_ring {
 public:
  line_ring(std::int16_t* memory, int pitch) : memory_(memory), pitch_(pitch) {
    for (int& line : lines_) line = -1;
  }
  /// Line k; make(line) fills it when it isn't at hand.
  template <class MAKE>
  const std::int16_t* get(int k, MAKE make) {
    std::int16_t* line = memory_ + std::int64_t(k % N) * pitch_;
    if (lines_[k % N] != k) make(line);
    lines_[k % N] = k;
    return line;
  }

 private:
  std::int16_t* memory_;
  int pitch_;
  int lines_[N];
};

// --- passes ----------------------------------------------------------------------------------------------

struct {
  const noise_level* level;  // of the samples in `to`, or before the last pass those in `from`
  const std::int16_t* from;
  std::int16_t* to;
  std::uint32_t seed;
  int from_columns, from_rows;
  fix scale;   // half of what the sum is multiplied by; unless plain
  bool plain;  // the sum is halved and `offset` added
  fix offset;
  int width, height;          // of the image
  const std::int32_t* place;  // of each of its columns: the sample before, then the fractions of all
  noise_line columns, rows;   // doubled once more
  std::int16_t* worker_lines;
  int pitch;  // samples of one line of a worker
} job;

/// A worker's lines: those at hand of two kinds, one that is scaled, one that is doubled (two lines long) and its
/// pairs (four).
constexpr int WIDE_LINES = 0, DENSE_LINES = 4, SCALED_LINE = 6, DOUBLED_LINE = 7, PAIR_LINE = 9, WORKER_LINES = 13;

std::int16_t* own_lines() { return job.worker_lines + std::int64_t(get_proc_number()) * WORKER_LINES * job.pitch; }

template <class LINE>
void for_own_lines(int total, LINE line) {
  int first = 0, count = 0;
  split_rows(total, &first, &count);
  for (int y = first; y < first + count; ++y) {
    if (y % ABORT_ROWS == 0 && check_abort()) return;
    line(y);
  }
}

template <int E>
void forked_fill() {
  const noise_level& l = *job.level;
  for_own_lines(l.y.samples, [&](int r) {
    lattice_line<E, false>(job.to + std::int64_t(r) * l.x.samples, l.x.samples, job.seed, l.x.first,
                           l.y.first + std::uint32_t(r), 0);
  });
}

template <int E>
void forked_refine() {
  const noise_level& l = *job.level;
  const int width = l.x.samples;
  line_ring<4> ring(own_lines(), job.pitch);
  const auto row = [&](int k) {
    const std::int16_t* line = job.from + std::int64_t(k) * job.from_columns;
    if (!l.doubles_x) return line;
    return ring.get(k, [&](std::int16_t* made) { double_line(line, made, job.from_columns); });
  };
  for_own_lines(l.y.samples, [&](int r) {
    std::int16_t* out = job.to + std::int64_t(r) * width;
    if (l.doubles_y) {
      double_across(row, r, job.from_rows, out, width);
    } else {
      const std::int16_t* only = row(r);
      for (int x = 0; x < width; ++x) out[x] = only[x];
    }
    if (l.octave)
      lattice_line<E, true>(out, width, job.seed ^ std::uint32_t(l.octave), l.x.first, l.y.first + std::uint32_t(r),
                            l.octave);
  });
}

void scale_line(const std::int16_t* __restrict in, std::int16_t* __restrict out, int n) {
  if (job.plain)
    for (int i = 0; i < n; ++i) out[i] = std::int16_t((in[i] >> 1) + job.offset);
  else
    for (int i = 0; i < n; ++i) out[i] = plane_sample(fix_mul(in[i], job.scale));
}

/// One finest line as wide as the image.
void resample_line(const std::int16_t* in, std::int16_t* __restrict out, std::int16_t* __restrict spare,
                   std::int16_t* __restrict doubled, std::int32_t* __restrict pairs) {
  const int n = job.columns.samples;
  scale_line(in, spare, job.from_columns);
  double_line(spare, doubled, job.from_columns);
  // Each sample with the one behind it in one word.
  doubled[n] = doubled[n - 1];
  for (int i = 0; i < n; ++i)
    pairs[i] =
        std::int32_t(std::uint32_t(std::uint16_t(doubled[i])) | std::uint32_t(std::uint16_t(doubled[i + 1])) << 16);
  const std::int32_t* __restrict sample = job.place;
  const std::int32_t* __restrict fraction = job.place + job.width;
  for (int x = 0; x < job.width; ++x) {
    const std::int32_t pair = pairs[sample[x]];
    const std::int32_t a = std::int16_t(pair), b = pair >> 16;
    out[x] = std::int16_t(a + ((b - a) * fraction[x] >> FIX_BITS));
  }
}

void forked_resample() {
  std::int16_t* const lines = own_lines();
  const auto line = [&](int i) { return lines + std::int64_t(i) * job.pitch; };
  line_ring<4> wide(line(WIDE_LINES), job.pitch);
  line_ring<2> dense(line(DENSE_LINES), job.pitch);
  const auto wide_row = [&](int k) {
    return wide.get(k, [&](std::int16_t* made) {
      resample_line(job.from + std::int64_t(k) * job.from_columns, made, line(SCALED_LINE), line(DOUBLED_LINE),
                    reinterpret_cast<std::int32_t*>(line(PAIR_LINE)));
    });
  };
  const auto dense_row = [&](int r) {
    return dense.get(r, [&](std::int16_t* made) { double_across(wide_row, r, job.from_rows, made, job.width); });
  };
  for_own_lines(job.height, [&](int y) {
    const noise_place place = noise_place_of(job.rows, y, job.height);
    const int next = place.sample + 1 < job.rows.samples ? place.sample + 1 : place.sample;
    const std::int16_t *a = dense_row(place.sample), *b = dense_row(next);
    std::int16_t* __restrict out = job.to + std::int64_t(y) * job.width;
    for (int x = 0; x < job.width; ++x) out[x] = std::int16_t(a[x] + ((b[x] - a[x]) * place.fraction >> FIX_BITS));
  });
}

// --- the operator ----------------------------------------------------------------------------------------

/// Small steps aren't worth waking the workers.
void run(fork_body body, bool worth_it) {
  if (worth_it)
    fork_processes(body);
  else
    body();
}
bool big(const noise_level& l) { return l.y.samples >= 17 && std::int64_t(l.x.samples) * l.y.samples > 512; }

struct level_buffers {
  std::int16_t* at[2];
};

/// One element: the lattice, its octaves, the image.
template <int E>
void fill_plane(std::int16_t* plane, const noise_levels& levels, const level_buffers& buffers) {
  int current = 0;
  job.level = &levels.at[0];
  job.to = buffers.at[0];
  run(forked_fill<E>, big(levels.at[0]));
  for (int i = 1; i < levels.count && !abort_pending(); ++i) {
    job.level = &levels.at[i];
    job.from = buffers.at[current];
    job.from_columns = levels.at[i - 1].x.samples;
    job.from_rows = levels.at[i - 1].y.samples;
    current = 1 - current;
    job.to = buffers.at[current];
    run(forked_refine<E>, big(levels.at[i]));
  }
  if (abort_pending()) return;
  const noise_level& last = levels.at[levels.count - 1];
  job.from = buffers.at[current];
  job.from_columns = last.x.samples;
  job.from_rows = last.y.samples;
  job.to = plane;
  run(forked_resample, job.height >= 5 && job.width >= 64 * get_n_procs());
}

/// One of the node's settings as a real number; one element stands for both directions.
float real(const node& n, int arg, int e = 0) {
  const node& value = *n.args[arg];
  return float(value.const_vals[value.elnum > 1 ? e : 0]) / FIX_ONE;
}

std::int64_t samples_of(const noise_level& l) { return std::int64_t(l.x.samples) * l.y.samples; }

constexpr int GRAIN = 32;  // samples, a cache line
std::int64_t round_up(std::int64_t samples) { return (samples + GRAIN - 1) / GRAIN * GRAIN; }

/// Shares out the working memory: the levels take turns in two buffers, behind which lie the places of the image's
/// columns and the workers' lines.
level_buffers prepare_memory(const noise_levels& levels, int width) {
  std::int64_t sizes[2] = {0, 0};
  for (int i = 0; i < levels.count; ++i)
    if (samples_of(levels.at[i]) > sizes[i % 2]) sizes[i % 2] = samples_of(levels.at[i]);
  job.pitch = int(round_up(width)) + GRAIN;
  const std::int64_t second_at = round_up(sizes[0]), place_at = second_at + round_up(sizes[1]);
  const std::int64_t lines_at = place_at + round_up(4 * std::int64_t(width));
  const std::int64_t total = lines_at + std::int64_t(get_n_procs()) * WORKER_LINES * job.pitch;
  std::int16_t* const memory =
      reinterpret_cast<std::int16_t*>(plane_scratch(std::size_t(total) * sizeof(std::int16_t)));
  std::int32_t* const place = reinterpret_cast<std::int32_t*>(memory + place_at);
  for (int x = 0; x < width; ++x) {
    const noise_place p = noise_place_of(job.columns, x, width);
    place[x] = p.sample;
    place[width + x] = p.fraction;
  }
  job.place = place;
  job.worker_lines = memory + lines_at;
  return {{memory, memory + second_at}};
}

}  // namespace

void noise_image(node& n) {
  check_image_planes(n, n.elnum);
  settle_args(n, {FREQUENCY, OCTAVES, SHIFT, SEED});
  const bool around_zero = n.arg_number > SCALE;
  if (around_zero) settle_args(n, {SCALE});
  if (abort_pending()) return;

  const noise_view view = current_noise_view();
  const noise_levels levels = plan_noise(
      {2 * real(n, FREQUENCY, 0), 2 * real(n, FREQUENCY, 1), real(n, OCTAVES), real(n, SHIFT, 0), real(n, SHIFT, 1)},
      view);
  const fix scale = around_zero ? n.args[SCALE]->const_vals[0] : FIX_ONE;
  job = {};
  job.seed = std::uint32_t(n.args[SEED]->const_vals[0]);
  job.plain = scale == FIX_ONE;
  job.offset = around_zero ? 0 : FIX_ONE / 2;
  job.scale = scale >> 1;
  job.width = view.width;
  job.height = view.height;
  job.columns = levels.at[levels.count - 1].x.doubled();
  job.rows = levels.at[levels.count - 1].y.doubled();
  const level_buffers buffers = prepare_memory(levels, view.width);

  constexpr void (*FILL[])(std::int16_t*, const noise_levels&, const level_buffers&) = {fill_plane<0>, fill_plane<1>,
                                                                                        fill_plane<2>};
  for (int e = 0; e < n.elnum && !abort_pending(); ++e) FILL[e < 2 ? e : 2](n.images[e], levels, buffers);
}

}  // namespace tessaron::TESSARON_LEVEL
