// time_warp and get_frame: a clip at other times. Where the frame number differs from pixel to pixel, the clip's frames
// are gone through once, first to last, and each pixel takes from each what it is to have of it:
//
//   frame of a pixel   2.0   2.25            2.75
//   at frame 2         all   all             all
//   at frame 3          -    a quarter mixed  three quarters mixed into what stands there
//
// Frames that no pixel asks for are not fetched.
#include "operators/bodies/time_warp.h"

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/clips.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int CLIP_ARG = 0, FRAME_ARG = 1, INTERP_ARG = 2;
constexpr int STRETCH = 512;  // columns that are converted at once, so that they stay in the first-level cache

/// `part` of the way (0 to 1.0) from one sample to another.
static inline std::int16_t mixed(std::int16_t from, std::int16_t to, fix part) {
  return std::int16_t(from + (((to - from) * part) >> FIX_BITS));
}

// -------------------------------------------------------------------------------------------------
// What the pixels take of one frame.

struct {
  const std::int32_t* frames;  // of the pixels; null: fixed_frame is that of them all
  fix fixed_frame;
  bool interp;
  int frame;  // that was fetched
  const frame_buffer* clip;
  int image_number, clip_elements;
  std::int16_t* planes[4];
  int n_planes;
} take_job;

bool any_asks(const std::int32_t* frames, int width, int frame, bool interp) {
  int asked = 0;
  for (int i = 0; i < width; ++i)
    asked |= (frame_below(frames[i]) == frame) | (interp & (frame_above(frames[i]) == frame));
  return asked;
}

template <bool INTERP>
void take_asked(std::int16_t* __restrict plane, const fix* __restrict samples, const std::int32_t* __restrict frames,
                int width, int frame) {
  for (int i = 0; i < width; ++i) {
    const std::int16_t sample = plane_sample(samples[i]), there = plane[i];
    const int below = frame_below(frames[i]);
    const std::int16_t kept = INTERP && below == frame - 1 ? mixed(there, sample, frames[i] & FRAME_FRACTION) : there;
    plane[i] = below == frame ? sample : kept;
  }
}

void take_all(std::int16_t* __restrict plane, const fix* __restrict samples, int width) {
  for (int i = 0; i < width; ++i) plane[i] = plane_sample(samples[i]);
}

void mix_all(std::int16_t* __restrict plane, const fix* __restrict samples, int width, fix part) {
  for (int i = 0; i < width; ++i) plane[i] = mixed(plane[i], plane_sample(samples[i]), part);
}

/// Columns from `column` of a row of the view.
void take_stretch(int row, int column, int width) {
  const std::int64_t at = std::int64_t(row) * temp_raster_info.width + column;
  const std::int32_t* frames = take_job.frames ? take_job.frames + at : nullptr;
  if (frames && !any_asks(frames, width, take_job.frame, take_job.interp)) return;

  alignas(64) fix samples[4][STRETCH];
  fix* const rows[4] = {samples[0], samples[1], samples[2], samples[3]};
  const int x = temp_raster_info.x0 + column, y = temp_raster_info.y0 + row;
  take_job.clip->reader(take_job.clip->raster, y, x, x + width - 1, rows, take_job.clip_elements,
                        take_job.image_number);

  for (int e = 0; e < take_job.n_planes; ++e) {
    std::int16_t* plane = take_job.planes[e] + at;
    if (frames && take_job.interp)
      take_asked<true>(plane, samples[e], frames, width, take_job.frame);
    else if (frames)
      take_asked<false>(plane, samples[e], frames, width, take_job.frame);
    else if (frame_below(take_job.fixed_frame) == take_job.frame)
      take_all(plane, samples[e], width);
    else
      mix_all(plane, samples[e], width, take_job.fixed_frame & FRAME_FRACTION);
  }
}

void forked_take_frame() {
  const worker_share rows = share_of(temp_raster_info.height);
  for (int row = rows.first; row < rows.end; ++row)
    for (int column = 0; column < temp_raster_info.width; column += STRETCH)
      take_stretch(row, column, fix_min(STRETCH, temp_raster_info.width - column));
}

/// Fills the node's planes. `frames`: of the pixels; null: `fixed_frame` is that of them all.
void take_frames(node& n, const asked_frames& asked, const std::int32_t* frames, fix fixed_frame, bool interp) {
  const node& clip = *n.args[CLIP_ARG];
  frame_buffer buffer;
  take_job = {};
  take_job.frames = frames;
  take_job.fixed_frame = fixed_frame;
  take_job.interp = interp;
  take_job.clip = &buffer;
  take_job.image_number = clip.var_index - VAR_SOURCE0;
  take_job.clip_elements = clip.elnum;
  take_job.n_planes = fix_min(n.elnum, max_elnum);
  for (int e = 0; e < take_job.n_planes; ++e) take_job.planes[e] = n.images[e];

  for (int frame = asked.first(); frame <= asked.last(); ++frame) {
    if (!asked.has(frame)) continue;
    if (!fetch_frame(n, CLIP_ARG, frame, buffer) || check_abort()) return;
    take_job.frame = frame;
    fork_processes(forked_take_frame);
  }
}

/// The checks of both functions. False: the render is being stopped.
bool begins_with_clip(node& n) {
  check_image_planes(n, n.elnum);
  if (is_clip_arg(n, CLIP_ARG)) return true;
  report(REPORT_PLAIN, "ERROR: time_warp: first arg must be a clip.");
  fail_frame();
  return false;
}

void take_one_frame(node& n, fix frame, bool interp) {
  const fix of_clip = frame_of_clip(frame);
  take_frames(n, asked_frames(of_clip, interp), nullptr, of_clip, interp);
}

}  // namespace

void get_frame_image(node& n) {
  if (!begins_with_clip(n)) return;
  settle_args(n, {FRAME_ARG, INTERP_ARG});
  if (abort_pending()) return;
  take_one_frame(n, n.args[FRAME_ARG]->const_vals[0], n.args[INTERP_ARG]->const_vals[0] > 0);
}

void time_warp_image(node& n) {
  if (!begins_with_clip(n)) return;
  const bool interp = setting_value(n, INTERP_ARG) > 0;
  node& frame = *n.args[FRAME_ARG];
  if (frame.node_flags & NODE_CONSTANT) return take_one_frame(n, frame.const_vals[0], interp);

  const std::size_t width = std::size_t(temp_raster_info.width);
  std::int32_t* frames = get_long_image(temp_raster_info.width, temp_raster_info.height);
  eval_node_tree_into_long_image(frame);
  if (abort_pending()) return;
  fill_skipped_lines(frames, width, width);
  take_frames(n, asked_frames(frames, interp), frames, 0, interp);
}

}  // namespace tessaron::TESSARON_LEVEL
