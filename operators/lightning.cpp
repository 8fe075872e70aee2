// zap, and what all lightning is made with. Bolts are planned on the main thread, grown by the workers, one at a time,
// and drawn in one go.
#include "operators/lightning.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bolt_outline.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron {
namespace {

// Arguments of zap.
constexpr int START = 0, END = 1, VARY_END = 2, BOLTS = 3, FIRST_SETTING = 4;

constexpr int MOST_BOLTS = 4096;
constexpr int MOST_POINTS = 1 << 22;  // of all bolts of a call, with their branches
constexpr std::uint32_t PLACING = 4567;
constexpr float TURN = 6.2831853f;
constexpr float WIDTH_UNIT = 0.05f;   // of half the frame's width
constexpr float WRINKLE_UNIT = 0.3f;  // of a segment's length
constexpr float BRANCHES_UNIT = 4.0f;
constexpr float SCATTER_UNIT = 1.02f;

float number(fix v) { return float(v) / 4096.0f; }

// -------------------------------------------------------------------------------------------------
// Growing.

struct {
  const bolt_plan* plan;
  bolt_settings settings;
  bolt_ptr* grown;
  int count, points_each;
  displace_midpoints_fn displace;
  std::atomic<int> next;
  std::atomic<bool> out_of_memory;
} job;

void forked_grow() {
  // Bolts differ in length: whoever is done takes the next one.
  for (int i = job.next++; i < job.count && !check_abort(); i = job.next++) {
    const bolt_plan& p = job.plan[i];
    bolt_builder builder(job.settings, set_wrinkle_scale(job.settings, p.scale_length), job.points_each, job.displace);
    job.grown[i] = builder.build(p.state, p.start.x, p.start.y, p.end.x, p.end.y, job.settings.width * p.strength);
    if (builder.out_of_memory()) job.out_of_memory = true;
  }
}

[[noreturn]] void no_memory() {
  report(REPORT_ERROR, "Not enough memory.");
  fatal_exit(-100);
}

struct {
  std::int16_t* plane;
  const std::int16_t* object;
  fix threshold;
  std::int16_t shown;
} show_job;

void forked_show() {
  const plane_slice slice = slice_of_plane();
  std::int16_t* const plane = show_job.plane + slice.first;
  const std::int16_t* const object = show_job.object + slice.first;
  for (std::int64_t i = 0; i < slice.count; ++i)
    if (object[i] > show_job.threshold) plane[i] = std::max(plane[i], show_job.shown);
}

}  // namespace

float half_frame_width() { return 0.5f * float(display_dims.full_width); }

bolt_settings bolt_settings_of(const node& n, int first_arg) {
  const auto arg = [&](int a, int e) {
    const node& value = *n.args[first_arg + a];
    return e < value.elnum ? value.const_vals[e] : value.const_vals[0];
  };
  const float start = number(arg(START_LEN_ARG, 0));
  return {.width = number(arg(WIDTH_VARY_ARG, 0)) * half_frame_width() * WIDTH_UNIT,
          .width_vary = number(arg(WIDTH_VARY_ARG, 1)),
          .pointiness = number(arg(POINTINESS_ARG, 0)),
          .start = std::max(start, 0.0f),
          .end = std::max(number(arg(START_LEN_ARG, 1)) + start, 0.0f),
          .wrinkle_low = number(arg(WRINKLE_ARG, 0)) * WRINKLE_UNIT,
          .wrinkle_high = number(arg(WRINKLE_ARG, 1)) * WRINKLE_UNIT,
          .branchiness = number(arg(BRANCHINESS_ARG, 0)) * BRANCHES_UNIT,
          .branch_angle = number(arg(BRANCH_ANG_LEN_ARG, 0)),
          .branch_length = number(arg(BRANCH_ANG_LEN_ARG, 1)),
          .seed = arg(SEED_PHASE_ARG, 0),
          .phase = number(arg(SEED_PHASE_ARG, 1))};
}

int bolt_count(fix bolts) { return std::clamp(bolts >> FIX_BITS, 0, MOST_BOLTS); }

std::uint32_t bolt_state_of(fix seed, std::uint32_t index) { return hash2(std::uint32_t(seed), index); }

hash_chain placing_chain(std::uint32_t state) { return hash_chain(state + PLACING); }

image_point bolt_space_of(fix x, fix y) {
  const float h = half_frame_width(), pixel_aspect = display_dims.pixel_aspect;
  const raster_info& view = temp_raster_info;
  const float offset_x = h - float(view.x0) - 0.5f * float(view.width);
  // Rows from the middle of the image up to the frame's.
  const float offset_y =
      0.5f * float(view.height) + float(view.y0) - display_dims.xy_aspect * h - field_globals.field_offset;
  return {number(x) * h + offset_x, number(y) * h + offset_y * pixel_aspect};
}

image_point bolt_space_of(image_point p) {
  return {p.x - 0.5f * float(temp_raster_info.width),
          (0.5f * float(temp_raster_info.height) - p.y) * display_dims.pixel_aspect};
}

void draw_lightning(const std::vector<bolt_plan>& plan, const bolt_settings& settings, std::int16_t* plane,
                    const lightning_loops& loops) {
  std::vector<bolt_ptr> grown(plan.size());
  job.plan = plan.data();
  job.settings = settings;
  job.grown = grown.data();
  job.count = int(plan.size());
  job.points_each = std::max(MOST_POINTS / std::max(job.count, 1), MAX_BOLT_POINTS);
  job.displace = loops.displace_midpoints;
  job.next = 0;
  job.out_of_memory = false;
  if (!plan.empty()) fork_processes(forked_grow);
  if (job.out_of_memory) no_memory();

  bolt root;
  for (bolt_ptr& b : grown)
    if (b && !append_child(root, std::move(b))) no_memory();
  draw_bolts(root, plane, loops);
}

void show_object(std::int16_t* plane, const std::int16_t* object, fix threshold, fix show) {
  if (show <= 0 || abort_pending()) return;
  show_job = {plane, object, threshold, plane_sample(show)};
  fork_processes(forked_show);
}

void draw_zap(node& n, const lightning_loops& loops) {
  check_image_planes(n, n.elnum);
  settle_args_from(n, START);
  const auto value = [&n](int arg, int e = 0) { return n.args[arg]->const_vals[e]; };
  const image_point start = bolt_space_of(value(START, 0), value(START, 1));
  const image_point end = bolt_space_of(value(END, 0), value(END, 1));
  const float scatter = number(value(VARY_END)) * half_frame_width() * SCATTER_UNIT;
  const bolt_settings settings = bolt_settings_of(n, FIRST_SETTING);
  const float distance = std::hypot(end.x - start.x, end.y - start.y);

  std::vector<bolt_plan> plan(std::size_t(bolt_count(value(BOLTS))));
  for (std::size_t i = 0; i < plan.size(); ++i) {
    plan[i] = {bolt_state_of(settings.seed, std::uint32_t(i)), start, end, distance + scatter};
    if (scatter <= 0) continue;
    // A square root spreads the ends evenly over a disc.
    hash_chain chain = placing_chain(plan[i].state);
    const float length = std::sqrt(chain.next()) * scatter;
    const double angle = double(chain.next() * TURN);
    plan[i].end.x += length * float(std::cos(angle));
    plan[i].end.y += length * float(std::sin(angle));
  }
  draw_lightning(plan, settings, n.images[0], loops);
}

}  // namespace tessaron
