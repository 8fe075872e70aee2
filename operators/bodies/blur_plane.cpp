// The blur engine. Along the rows, groups of 16 rows are transposed into strips; what comes out feeds the filters along
// the columns, either at once (each worker takes a band of rows and filters some rows beyond it as well) or,
// when that would be too many rows, through the long image (then each worker takes tiles of columns). Sums go
// from pass to pass unnormalised.
#include <cstring>

#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "operators/bodies/box_cascade.h"
#include "operators/bodies/planes.h"
#include "operators/bodies/vectors.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int ROWS = 16;                     // that are taken at once, in both directions
constexpr int COLUMNS = 32;                  // that are transposed before the filters go on: a cache line of a row
constexpr std::size_t RING_BYTES = 8 << 20;  // of a worker; beyond, parts of rows are taken

/// Rows of one image: all of them, or those of a field.
struct row_set {
  int first, step, count;
  std::int64_t offset(int k) const;
};

constinit struct {
  blur_plan plan;
  const std::int16_t* plane;
  std::int32_t* image;  // the long image
  std::int16_t* dest;   // where scaled results go instead
  double factor;
  int width, height;
  row_set rows;  // that are filtered at once
  std::byte* scratch;
  std::size_t worker_bytes;  // of scratch, of which
  std::size_t strip_bytes;   // are the strip's along the rows, the others the ring's along the columns
  std::int16_t* saved_rows;  // of the plane, around the bands' borders, where results go into the plane
  int reach;                 // rows that a band needs beyond its ends
  int n_tiles;
} job = {};

std::int64_t row_set::offset(int k) const { return std::int64_t(first + k * step) * job.width; }

/// A picture without fields has all its rows in the first of one.
int n_fields() { return job.plan.field_mode ? 2 : 1; }
row_set rows_of_field(int field) { return {field, n_fields(), (job.height - field + n_fields() - 1) / n_fields()}; }

bool stop_requested() { return check_abort() || abort_pending(); }

std::byte* worker_scratch() { return job.scratch + job.worker_bytes * std::size_t(get_proc_number()); }

int groups_of(int columns) { return (columns + GROUP_LANES - 1) / GROUP_LANES; }
/// Words from one sample of a strip to the next: an odd number of cache lines, so that neighbours spread over the
/// cache.
int pitch_of(int n_groups) { return (n_groups | 1) * GROUP_LANES; }

// --- where results go ------------------------------------------------------------------------------------

struct to_image {
  void store(std::int64_t offset, const std::int32_t* group) const {
    for (int v = 0; v < GROUP_VECTORS; ++v)
      reinterpret_cast<int_vector_anywhere*>(job.image + offset)[v] = load_group(group, v);
  }
  void store(std::int64_t offset, const std::int32_t* from, int count) const {
    for (int i = 0; i < count; ++i) job.image[offset + i] = from[i];
  }
};
struct to_plane {
  double factor = job.factor;

  void store(std::int64_t offset, const std::int32_t* group) const {
    scale_samples(group, job.dest + offset, GROUP_LANES, factor);
  }
  void store(std::int64_t offset, const std::int32_t* from, int count) const {
    for (int i = 0; i < count; ++i) job.dest[offset + i] = scaled_sample(from[i], factor);
  }
};

/// Results of the filters along columns x .. end - 1.
template <class Target>
struct column_sink {
  row_set rows;
  int x, end;
  Target target = {};

  void operator()(int k, int count, int group, const std::int32_t* words, std::ptrdiff_t pitch) const {
    const int column = x + group * GROUP_LANES;
    const std::int64_t row_step = std::int64_t(rows.step) * job.width;
    std::int64_t offset = rows.offset(k) + column;
    if (column + GROUP_LANES <= end)
      for (int i = 0; i < count; ++i, offset += row_step, words += pitch) target.store(offset, words);
    else
      for (int i = 0; i < count; ++i, offset += row_step, words += pitch) target.store(offset, words, end - column);
  }
};

// --- along the rows --------------------------------------------------------------------------------------

/// Rows of the plane that a worker reads: those of its own band are still as they were, of the others there are
/// copies where need be.
struct plane_rows {
  int first, end;             // of the band
  const std::int16_t* above;  // copies of rows first - reach .. first - 1, or null
  const std::int16_t* below;  // copies of rows end .. end + reach - 1, or null

  const std::int16_t* row(int y) const {
    if (above && y < first) return above + std::int64_t(y - (first - job.reach)) * job.width;
    if (below && y >= end) return below + std::int64_t(y - end) * job.width;
    return job.plane + job.rows.offset(y);
  }
  /// Asks for columns x .. x + COLUMNS - 1 of some rows, which lie too far apart for the processor to foresee them.
  void ask_for(int y, int n_rows, int x) const {
    for (int r = 0; r < n_rows; ++r) __builtin_prefetch(row(y + r) + x, 0, 2);
  }
  bool in_place(int y, int n_rows) const {
    return n_rows == ROWS && (!above || y >= first) && (!below || y + n_rows <= end);
  }
};

/// `count` samples of rows y .. y + n_rows - 1 from column x on become samples of a strip.
void gather_rows(const plane_rows& from, int y, int n_rows, int x, int count, std::int32_t* strip) {
  int i = 0;
  if (from.in_place(y, n_rows))
    for (const std::int16_t* corner = from.row(y) + x; i + 8 <= count; i += 8)
      transpose_to_lanes(corner + i, job.rows.step * job.width, strip + i * GROUP_LANES);
  for (; i < count; i += 8) {
    std::int16_t part[ROWS][8] = {};
    for (int r = 0; r < n_rows; ++r) {
      const std::int16_t* row = from.row(y + r) + x + i;
      for (int c = 0; c < 8 && i + c < count; ++c) part[r][c] = row[c];
    }
    transpose_to_lanes(part[0], 8, strip + i * GROUP_LANES);
  }
}

/// Filters rows y .. y + n_rows - 1; `scatter(strip, x, count)` takes the results, 16 columns at a time.
template <class Scatter>
void filter_rows(box_cascade& cascade, const plane_rows& from, int y, int n_rows, int rows_ahead,
                 const Scatter& scatter) {
  const int width = job.width;
  cascade.rewind();
  int written = 0;
  for (int x = 0; x < width; x += COLUMNS) {
    const int end = fix_min(x + COLUMNS, width);
    gather_rows(from, y, n_rows, x, end - x, cascade.input(x));
    if (rows_ahead) from.ask_for(y + ROWS, rows_ahead, x);
    cascade.run(end, no_sink());
    for (; cascade.finished() - written >= GROUP_LANES || (end == width && written < width); written += GROUP_LANES)
      scatter(cascade.output(written), written, fix_min(GROUP_LANES, width - written));
  }
}

void scatter_rows(const std::int32_t* strip, int n_rows, std::int64_t offset, int count, to_image) {
  if (n_rows == ROWS && count == GROUP_LANES) return transpose_from_lanes(strip, job.image + offset, job.width);
  for (int r = 0; r < n_rows; ++r)
    for (int c = 0; c < count; ++c) job.image[offset + std::int64_t(r) * job.width + c] = strip[c * GROUP_LANES + r];
}
void scatter_rows(const std::int32_t* strip, int n_rows, std::int64_t offset, int count, to_plane target) {
  alignas(CACHE_LINE) std::int32_t square[ROWS][GROUP_LANES];
  transpose_from_lanes(strip, square[0], GROUP_LANES);
  if (count == GROUP_LANES)
    for (int r = 0; r < n_rows; ++r) target.store(offset + std::int64_t(r) * job.width, square[r]);
  else
    for (int r = 0; r < n_rows; ++r) target.store(offset + std::int64_t(r) * job.width, square[r], count);
}

void prepare_rows(box_cascade& cascade, std::byte* memory) {
  cascade.plan(job.plan.across, job.plan.edge_mode, job.width, 0, job.width, COLUMNS);
  cascade.place(memory, 1, GROUP_LANES);
}

template <class Target>
void forked_rows() {
  box_cascade cascade;
  prepare_rows(cascade, worker_scratch());
  const plane_rows from = {};
  const Target target = {};
  const worker_share groups = share_of((job.height + ROWS - 1) / ROWS);
  for (int group = groups.first; group < groups.end && !stop_requested(); ++group) {
    const int y = group * ROWS, n_rows = fix_min(ROWS, job.height - y);
    const std::int64_t offset = std::int64_t(y) * job.width;
    const int rows_ahead = fix_clamp(job.height - y - ROWS, 0, ROWS);
    filter_rows(cascade, from, y, n_rows, rows_ahead, [=](const std::int32_t* strip, int x, int count) {
      scatter_rows(strip, n_rows, offset + x, count, target);
    });
  }
}

// --- along the columns -----------------------------------------------------------------------------------

struct from_plane {
  static const std::int16_t* row(std::int64_t offset) { return job.plane + offset; }
};
struct from_image {
  static const std::int32_t* row(std::int64_t offset) { return job.image + offset; }
};

template <class Sample>
void widen_row(const Sample* from, int count, std::int32_t* sample, int shift) {
  int i = 0;
  for (; i + GROUP_LANES <= count; i += GROUP_LANES) widen_group(from + i, sample + i, shift);
  for (; i < count; ++i) sample[i] = from[i] >> shift;
}

template <class Source, class Target>
void forked_tiles() {
  const worker_share tiles = share_of(job.n_tiles);
  const int n_groups = groups_of(job.width);
  box_cascade cascade;
  for (int tile = tiles.first; tile < tiles.end; ++tile) {
    const int first_group = int(std::int64_t(n_groups) * tile / job.n_tiles);
    const int end_group = int(std::int64_t(n_groups) * (tile + 1) / job.n_tiles);
    const int x = first_group * GROUP_LANES, end = fix_min(end_group * GROUP_LANES, job.width);
    for (int field = 0; field < n_fields(); ++field) {
      const row_set rows = rows_of_field(field);
      cascade.plan(job.plan.down, job.plan.edge_mode, rows.count, 0, rows.count, ROWS);
      cascade.place(worker_scratch(), end_group - first_group, pitch_of(end_group - first_group));
      const column_sink<Target> sink = {rows, x, end};
      for (int k = 0; k < rows.count; k += ROWS) {
        if (stop_requested()) return;
        const int batch_end = fix_min(k + ROWS, rows.count);
        for (int i = k; i < batch_end; ++i)
          widen_row(Source::row(rows.offset(i) + x), end - x, cascade.input(i), cascade.first_shift());
        cascade.run(batch_end, sink);
      }
    }
  }
}

// --- both directions at once -----------------------------------------------------------------------------

worker_share band_of(int worker, int n_workers) {
  const std::int64_t n_rows = job.rows.count;
  return {int(n_rows * worker / n_workers), int(n_rows * (worker + 1) / n_workers)};
}

template <class Target>
void forked_bands() {
  int worker = 0, n_workers = 1;
  if (in_parallel) get_processor_info(&worker, &n_workers);
  const worker_share band = band_of(worker, n_workers);
  if (band.first == band.end) return;
  box_cascade across, down;
  prepare_rows(across, worker_scratch());
  down.plan(job.plan.down, job.plan.edge_mode, job.rows.count, band.first, band.end, ROWS);
  const int n_groups = groups_of(job.width), pitch = pitch_of(n_groups);
  down.place(worker_scratch() + job.strip_bytes, n_groups, pitch);

  plane_rows from = {band.first, band.end, nullptr, nullptr};
  if (job.saved_rows) {
    const std::int64_t border = 2 * std::int64_t(job.reach) * job.width;
    if (worker > 0) from.above = job.saved_rows + (worker - 1) * border;
    if (worker < n_workers - 1) from.below = job.saved_rows + worker * border + border / 2;
  }
  const column_sink<Target> sink = {job.rows, 0, job.width};
  const int shift = down.first_shift();
  for (int y = down.begin(); y < down.end() && !stop_requested(); y += ROWS) {
    const int n_rows = fix_min(ROWS, down.end() - y);
    std::int32_t* batch = down.input(y);
    const int rows_ahead = fix_clamp(down.end() - y - ROWS, 0, ROWS);
    filter_rows(across, from, y, n_rows, rows_ahead, [=](const std::int32_t* strip, int x, int) {
      transpose_from_lanes(strip, [=](int row, int column, int_vector v) {
        *reinterpret_cast<int_vector*>(batch + row * std::ptrdiff_t(pitch) + x + column) = v >> shift;
      });
    });
    down.run(y + n_rows, sink);
  }
}

// --- planes without a filter -----------------------------------------------------------------------------

template <class Target>
void forked_widen() {
  const worker_share rows = share_of(job.height);
  const Target target = {};
  for (int y = rows.first; y < rows.end; ++y) {
    if (y % ROWS == 0 && stop_requested()) return;
    const std::int64_t row = std::int64_t(y) * job.width;
    for (int x = 0; x < job.width; x += GROUP_LANES) {
      alignas(CACHE_LINE) std::int32_t group[GROUP_LANES];
      const int count = fix_min(GROUP_LANES, job.width - x);
      widen_row(job.plane + row + x, count, group, 0);
      target.store(row + x, group, count);
    }
  }
}

// --- the run of a blur -------------------------------------------------------------------------------------

bool filters(const pass_table& table) {
  for (int i = 0; i < table.count; ++i)
    if (table.pass[i].radius_high > 0 || table.pass[i].pre_shift > 0) return true;
  return false;
}

std::size_t whole_lines(std::size_t bytes) { return (bytes + CACHE_LINE - 1) / CACHE_LINE * CACHE_LINE; }

std::size_t strip_bytes() {
  box_cascade cascade;
  cascade.plan(job.plan.across, job.plan.edge_mode, job.width, 0, job.width, COLUMNS);
  return whole_lines(cascade.bytes_needed(GROUP_LANES));
}

/// Bytes of a ring for `n_groups` groups of columns.
std::size_t ring_bytes(int n_groups) {
  box_cascade cascade;
  cascade.plan(job.plan.down, job.plan.edge_mode, job.height, 0, job.height, ROWS);
  return whole_lines(cascade.bytes_needed(pitch_of(n_groups)));
}

/// Whether each worker can filter its band in both directions without too much work done twice.
bool bands_pay(int n_procs) {
  if (ring_bytes(groups_of(job.width)) > RING_BYTES) return false;
  int reach = 0;
  for (int i = 0; i < job.plan.down.count; ++i) reach += job.plan.down.pass[i].radius_high;
  job.reach = reach;
  // Rows that several workers filter, against what it costs to go through the long image.
  return std::int64_t(2) * reach * (n_procs - 1) <= job.height / n_fields() / 2;
}

/// Copies the rows that one band's worker reads and another's writes over.
void save_border_rows(int n_procs) {
  std::int16_t* to = job.saved_rows;
  for (int worker = 1; worker < n_procs; ++worker) {
    const int border = band_of(worker, n_procs).first;
    for (int y = border - job.reach; y < border + job.reach; ++y, to += job.width)
      std::memcpy(to, job.plane + job.rows.offset(y), std::size_t(job.width) * sizeof *to);
  }
}

template <class Target>
void run_bands(int n_procs) {
  job.strip_bytes = strip_bytes();
  job.worker_bytes = job.strip_bytes + ring_bytes(groups_of(job.width));
  const bool saves = n_procs > 1 && job.dest == job.plane;
  const std::size_t border_bytes = 2 * std::size_t(job.reach) * std::size_t(job.width) * sizeof(std::int16_t);
  job.scratch = plane_scratch(job.worker_bytes * n_procs + (saves ? border_bytes * (n_procs - 1) : 0));
  job.saved_rows = nullptr;
  if (saves) job.saved_rows = reinterpret_cast<std::int16_t*>(job.scratch + job.worker_bytes * n_procs);
  for (int field = 0; field < n_fields() && !abort_pending(); ++field) {
    job.rows = rows_of_field(field);
    if (saves) save_border_rows(n_procs);
    fork_processes(forked_bands<Target>);
  }
}

template <class Target>
void run_rows(int n_procs) {
  job.worker_bytes = strip_bytes();
  job.scratch = plane_scratch(job.worker_bytes * n_procs);
  fork_processes(forked_rows<Target>);
}

template <class Source, class Target>
void run_tiles(int n_procs) {
  const int n_groups = groups_of(job.width);
  const std::size_t group_bytes = ring_bytes(1);
  const int in_cache = fix_max(1, int(RING_BYTES / group_bytes));
  const int rounds = (n_groups + in_cache * n_procs - 1) / (in_cache * n_procs);
  job.n_tiles = fix_min(n_groups, rounds * n_procs);
  job.worker_bytes = ring_bytes((n_groups + job.n_tiles - 1) / job.n_tiles);
  job.scratch = plane_scratch(job.worker_bytes * n_procs);
  fork_processes(forked_tiles<Source, Target>);
}

/// Runs the plan of the job; its last step ends at the target.
template <class Target>
void run_plan() {
  const bool across = filters(job.plan.across), down = filters(job.plan.down);
  const int n_procs = get_n_procs();
  if (across && down && bands_pay(n_procs)) return run_bands<Target>(n_procs);
  if (across && down) {
    job.image = get_long_image(job.width, job.height);
    run_rows<to_image>(n_procs);
    if (!abort_pending()) run_tiles<from_image, Target>(n_procs);
  } else if (across) {
    run_rows<Target>(n_procs);
  } else if (down) {
    run_tiles<from_plane, Target>(n_procs);
  } else {
    fork_processes(forked_widen<Target>);
  }
}

}  // namespace

void blur_plane(const std::int16_t* plane, fix x_amount, fix y_amount, int edge_mode, int passes, bool subpixel,
                bool field_mode, int width, int height) {
  job = {};
  job.plan = plan_blur(x_amount, y_amount, edge_mode, passes, subpixel, field_mode, width, height);
  job.plane = plane;
  job.width = width;
  job.height = height;
  job.rows = {0, 1, height};
  job.image = get_long_image(width, height);
  run_plan<to_image>();
  if (!abort_pending()) long_image_one = job.plan.one;
}

void blur_plane_to_plane(std::int16_t* dest, const std::int16_t* plane, fix scale, fix x_amount, fix y_amount,
                         int edge_mode, int passes, bool subpixel, bool field_mode, int width, int height) {
  job = {};
  job.plan = plan_blur(x_amount, y_amount, edge_mode, passes, subpixel, field_mode, width, height);
  job.plane = plane;
  job.dest = dest;
  job.factor = double(plane_factor(scale, job.plan.one));
  job.width = width;
  job.height = height;
  job.rows = {0, 1, height};
  run_plan<to_plane>();
  if (!abort_pending()) long_image_one = job.plan.one;
}

}  // namespace tessaron::TESSARON_LEVEL
