#include "operators/clips.h"

#include <algorithm>
#include <cstring>

#include "base/report.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/globals.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron {
namespace {

constexpr int INIT_VALUE_ARG = 0, COLOURS = 3, ALPHA = 3;

// --- which frames the pixels ask for ---------------------------------------------------------------------

struct frame_range {
  fix low, high;
};

struct {
  std::int32_t* frames;
  fix farthest;
  frame_range* ranges;  // by worker
  // For the list of frames:
  bool interp;
  int first, count;
  std::uint8_t* listed;  // by worker, `count` each
} job;

/// Holds a slice of the frame numbers to what the clip has, and notes the smallest and the largest.
void forked_limit_frames() {
  const plane_slice slice = slice_of_plane();
  std::int32_t* frames = job.frames + slice.first;
  const fix farthest = job.farthest;
  fix low = farthest, high = 0;
  for (std::int64_t i = 0; i < slice.count; ++i) {
    const fix frame = fix_clamp(frames[i], 0, farthest);
    frames[i] = frame;
    low = fix_min(low, frame);
    high = fix_max(high, frame);
  }
  job.ranges[get_proc_number()] = {low, high};
}

void forked_list_frames() {
  const plane_slice slice = slice_of_plane();
  const std::int32_t* frames = job.frames + slice.first;
  std::uint8_t* listed = job.listed + std::int64_t(get_proc_number()) * job.count;
  const int first = job.first;
  for (std::int64_t i = 0; i < slice.count; ++i) listed[frame_below(frames[i]) - first] = 1;
  if (!job.interp) return;
  for (std::int64_t i = 0; i < slice.count; ++i) listed[frame_above(frames[i]) - first] = 1;
}

frame_range limit_frames(std::int32_t* frames) {
  const fix farthest = frame_of_clip(0x7fffffff);
  std::vector<frame_range> ranges(std::size_t(get_n_procs()), frame_range{farthest, 0});
  job.frames = frames;
  job.farthest = farthest;
  job.ranges = ranges.data();
  fork_processes(forked_limit_frames);
  frame_range all = ranges[0];
  for (const frame_range& r : ranges) all = {std::min(all.low, r.low), std::max(all.high, r.high)};
  return all;
}

/// Of `count` frames from `first` on, non-zero where a pixel asks for one; after limit_frames().
std::vector<std::uint8_t> list_frames(int first, int count, bool interp) {
  const std::size_t n = std::size_t(count), workers = std::size_t(get_n_procs());
  std::vector<std::uint8_t> listed(n * workers);
  job.interp = interp;
  job.first = first;
  job.count = count;
  job.listed = listed.data();
  fork_processes(forked_list_frames);
  for (std::size_t w = 1; w < workers; ++w)
    for (std::size_t i = 0; i < n; ++i) listed[i] |= listed[w * n + i];
  listed.resize(n);
  return listed;
}

bool constant_zero(const node& value) {
  return (value.node_flags & NODE_CONSTANT) &&
         std::all_of(value.const_vals, value.const_vals + value.elnum, [](fix v) { return v == 0; });
}

}  // namespace

bool is_clip_arg(const node& n, int arg) {
  const node& clip = *n.args[arg];
  return clip.kind == KIND_BUILT_IN && clip.var_index >= VAR_SOURCE0;
}

bool fetch_frame(const node& n, int arg, int frame_number, frame_buffer& buffer) {
  switch (fetch_clip_frame(n.args[arg]->var_index - VAR_SOURCE0, frame_number, buffer)) {
    case clip_fetch::no_buffer:
      report(REPORT_PLAIN, "ERROR: time_warp: dest_buffer not set. \n");
      break;
    case clip_fetch::refused:
      return false;
    case clip_fetch::done:
      if (buffer.reader) return true;  // otherwise a format without a reader, which has been said
      break;
  }
  fail_frame();
  return false;
}

fix frame_of_clip(fix frame) { return std::clamp(frame, 0, wrap_shl(farthest_clip_frame(), FIX_BITS)); }

asked_frames::asked_frames(fix frame, bool interp)
    : first_(frame_below(frame)), last_(interp ? frame_above(frame) : first_) {}

asked_frames::asked_frames(std::int32_t* frames, bool interp) {
  const frame_range range = limit_frames(frames);
  first_ = frame_below(range.low);
  last_ = interp ? frame_above(range.high) : frame_below(range.high);
  if (last_ - first_ > 1) listed_ = list_frames(first_, last_ - first_ + 1, interp);
}

namespace {

/// What a run starts with, in all planes of the store: other nodes that read it may have more elements.
void start_run(node& n, const temp_set_record& store) {
  if (constant_zero(*n.args[INIT_VALUE_ARG])) {
    for (int e = 0; e < store.image_count; ++e) std::memset(store.planes[e], 0, std::size_t(short_image_size));
  } else {
    const int filled = fetch_image_arg(n, INIT_VALUE_ARG, n.images);
    if (abort_pending()) return;
    const std::size_t samples = std::size_t(short_image_size) / sizeof(std::int16_t);
    for (int e = filled; e < COLOURS; ++e) copy_plane(store.planes[e], store.planes[filled - 1]);
    if (filled <= ALPHA && store.image_count > ALPHA) std::fill_n(store.planes[ALPHA], samples, std::int16_t(FIX_ONE));
  }
  set_prev_dest_valid(true);
}

}  // namespace

void prev_dest_image(node& n) {
  check_image_planes(n, std::max<int>(n.elnum, COLOURS));
  const temp_set_record& store = prev_dest_set();
  if (!prev_dest_valid()) return start_run(n, store);
  const std::size_t width = std::size_t(temp_raster_info.width);
  for (int e = 0; e < store.image_count; ++e) fill_skipped_lines(store.planes[e], width, width);
}

}  // namespace tessaron
