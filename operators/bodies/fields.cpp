#include "operators/bodies/fields.h"

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/kernels.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "operators/clips.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int STRETCH = 512;  // columns that are converted at once

/// Which field a line of the frame belongs to.
static inline int field_of_line(int y) { return (y ^ display_dims.display_height) & 1; }
/// An argument that names a field.
static inline int field_argument(fix v) { return (v >> FIX_BITS) & 1; }

// --- extract_field ---------------------------------------------------------------------------------------

constexpr int IMAGE_ARG = 0, FIELD_ARG = 1;

struct {
  std::int16_t* plane;
  int field;
} extract_job;

void mean_of_lines(std::int16_t* __restrict line, const std::int16_t* __restrict above,
                   const std::int16_t* __restrict below, int width) {
  for (int i = 0; i < width; ++i) line[i] = std::int16_t((above[i] + below[i]) >> 1);
}

void forked_rebuild_lines() {
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  const worker_share rows = share_of(height);
  for (int row = rows.first; row < rows.end; ++row) {
    if (field_of_line(temp_raster_info.y0 + row) == extract_job.field || height == 1) continue;
    std::int16_t* line = extract_job.plane + std::int64_t(row) * width;
    // The first and the last line have one neighbour.
    const std::int16_t* above = row > 0 ? line - width : line + width;
    const std::int16_t* below = row + 1 < height ? line + width : above;
    mean_of_lines(line, above, below, width);
  }
}

// --- interlace -------------------------------------------------------------------------------------------

constexpr int FRAME1_ARG = 0, FRAME2_ARG = 1, DOMINANCE_ARG = 2;

struct mean_of_two {
  static inline fix of(fix a, fix b) { return wrap_add(a, b) >> 1; }
};

// --- interlace_get_frames --------------------------------------------------------------------------------

constexpr int CLIP0_ARG = 0, CLIP1_ARG = 3;  // each followed by its frame and its field
constexpr int FRAME_BEHIND_CLIP = 1, FIELD_BEHIND_CLIP = 2;
constexpr int REV_FIELD_MODE_ARG = 6, FIELD_DOMINANCE_ARG = 7;

struct {
  const frame_buffer* clip;
  int image_number, clip_elements;
  int field;        // of the clip's frame
  int line_parity;  // of the lines that it fills
  std::int16_t* planes[4];
  int n_planes;
} weave_job;

/// Columns x to x + width - 1 of a line of the frame.
void read_line(int y, int x, int width, fix* const* rows) {
  weave_job.clip->reader(weave_job.clip->raster, y, x, x + width - 1, rows, weave_job.clip_elements,
                         weave_job.image_number);
}

/// The lines that a line of the wanted field is made from: itself, or those around it within the picture.
struct source_lines {
  int above, below;
};
source_lines lines_for(int y) {
  const raster_info& raster = weave_job.clip->raster;
  const bool own = field_of_line(y) == weave_job.field;
  const bool has_above = y - 1 >= raster.y0 && y - 1 <= raster.y1, has_below = y + 1 >= raster.y0 && y + 1 <= raster.y1;
  if (own || (!has_above && !has_below)) return {y, y};
  return {has_above ? y - 1 : y + 1, has_below ? y + 1 : y - 1};
}

void weave_stretch(int row, int column, int width) {
  alignas(64) fix above[4][STRETCH], below[4][STRETCH];
  fix* const above_rows[4] = {above[0], above[1], above[2], above[3]};
  fix* const below_rows[4] = {below[0], below[1], below[2], below[3]};
  const int x = temp_raster_info.x0 + column;
  const source_lines lines = lines_for(temp_raster_info.y0 + row);
  read_line(lines.above, x, width, above_rows);
  if (lines.below != lines.above) read_line(lines.below, x, width, below_rows);

  for (int e = 0; e < weave_job.n_planes; ++e) {
    std::int16_t* __restrict plane = weave_job.planes[e] + std::int64_t(row) * temp_raster_info.width + column;
    const fix* __restrict first = above[e];
    const fix* __restrict second = lines.below != lines.above ? below[e] : above[e];
    for (int i = 0; i < width; ++i) plane[i] = std::int16_t((plane_sample(first[i]) + plane_sample(second[i])) >> 1);
  }
}

void forked_weave() {
  const worker_share rows = share_of(temp_raster_info.height);
  for (int row = rows.first; row < rows.end; ++row) {
    if (((temp_raster_info.y0 + row) & 1) != weave_job.line_parity) continue;
    for (int column = 0; column < temp_raster_info.width; column += STRETCH)
      weave_stretch(row, column, fix_min(STRETCH, temp_raster_info.width - column));
  }
}

/// One of the two clips onto the lines of one parity. False: the render is being stopped.
bool weave(node& n, int clip_arg, int line_parity, frame_buffer& buffer) {
  const fix frame = frame_of_clip(n.args[clip_arg + FRAME_BEHIND_CLIP]->const_vals[0]);
  if (!fetch_frame(n, clip_arg, frame >> FIX_BITS, buffer) || check_abort()) return false;
  const node& clip = *n.args[clip_arg];
  weave_job = {};
  weave_job.clip = &buffer;
  weave_job.image_number = clip.var_index - VAR_SOURCE0;
  weave_job.clip_elements = clip.elnum;
  weave_job.field = field_argument(n.args[clip_arg + FIELD_BEHIND_CLIP]->const_vals[0]);
  weave_job.line_parity = line_parity;
  weave_job.n_planes = fix_min(n.elnum, max_elnum);
  for (int e = 0; e < weave_job.n_planes; ++e) weave_job.planes[e] = n.images[e];
  fork_processes(forked_weave);
  return true;
}

}  // namespace

void extract_field_image(node& n) {
  check_image_planes(n, n.elnum);
  extract_job.field = field_argument(setting_value(n, FIELD_ARG));
  const int filled = fetch_image_arg(n, IMAGE_ARG, n.images);
  for (int e = 0; e < filled && !abort_pending(); ++e) {
    extract_job.plane = n.images[e];
    fork_processes(forked_rebuild_lines);
  }
}

void interlace(node& n) {
  const int y = temp_raster_info.y0 + n.pixel_index / fix_max(display_dims.view_width, 1);
  const int dominance = field_argument(*n.arg_rows[DOMINANCE_ARG][0]);
  const int shown = field_of_line(y) == dominance ? FRAME1_ARG : FRAME2_ARG;
  for (int e = 0; e < n.elnum; ++e) {
    const row_view first = spread(n, FRAME1_ARG, e), second = spread(n, FRAME2_ARG, e);
    if (cache_step > 1)  // a line at reduced resolution stands for lines of both
      each_sample<mean_of_two>(n.rows[e], row_width(n), {first, second});
    else
      copy_row(n.rows[e], shown == FRAME1_ARG ? first : second, row_width(n));
  }
}

void interlace_get_frames_image(node& n) {
  check_image_planes(n, n.elnum);
  if (!is_clip_arg(n, CLIP0_ARG) || !is_clip_arg(n, CLIP1_ARG)) {
    report(REPORT_PLAIN, "ERROR: get_interlaced_frame: clip args are not both clips.");
    return fail_frame();
  }
  settle_args(n, {CLIP0_ARG + FRAME_BEHIND_CLIP, CLIP0_ARG + FIELD_BEHIND_CLIP, CLIP1_ARG + FRAME_BEHIND_CLIP,
                  CLIP1_ARG + FIELD_BEHIND_CLIP, REV_FIELD_MODE_ARG, FIELD_DOMINANCE_ARG});
  if (abort_pending()) return;
  const int exchanged = field_argument(n.args[REV_FIELD_MODE_ARG]->const_vals[0]) ^ (display_dims.display_height & 1);
  const int dominance = field_argument(n.args[FIELD_DOMINANCE_ARG]->const_vals[0]);
  frame_buffer buffer;
  if (weave(n, CLIP0_ARG, dominance ^ exchanged, buffer)) weave(n, CLIP1_ARG, dominance ^ exchanged ^ 1, buffer);
}

}  // namespace tessaron::TESSARON_LEVEL
