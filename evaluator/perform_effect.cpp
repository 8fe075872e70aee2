// One frame: what is still good is kept, what is needed is marked, images are made in order, and the
// root goes to the output.
#include <algorithm>
#include <cmath>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/loop_plan.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/plan.h"
#include "evaluator/queries.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "platform/platform.h"

namespace tessaron {

frame_stats last_frame_stats;

namespace {

bool frame_failed;  // fail_frame() was called

bool is_function(const node& n) { return n.kind == KIND_FUNCTION; }
bool is_constant(const node& n) { return n.node_flags & NODE_CONSTANT; }
bool is_active(const node& n) { return n.node_flags & NODE_ACTIVE; }
bool images_valid(const node& n) { return n.image_count > 0 && (n.node_flags & NODE_IMAGES_VALID); }
void clear_flag(node& n, std::uint8_t flag) { n.node_flags = std::uint8_t(n.node_flags & ~flag); }

void forget_images(genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) clear_flag(g.nodes[i], NODE_IMAGES_VALID);
}

// --- what stays good between frames --------------------------------------------------------------------

// Everything beside parameters, pixels and the running time that a node's value can depend on.
struct frame_key {
  const globals_record* globals = nullptr;
  const genotype* g = nullptr;
  render_info_record render;
  raster_info view;
  display_dims_record dims;
  field_globals_record field;
  float frame_step, fps, total_frames, total_secs;

  bool operator==(const frame_key&) const = default;
};

frame_key last_key;

frame_key current_key(const genotype& g) {
  const time_globals_record& t = time_globals;
  return {Globals,       &g,           render_info, temp_raster_info, display_dims,
          field_globals, t.frame_step, t.fps,       t.total_frames,   t.total_secs};
}

// Only shared planes outlive a frame: slots of the stack bank are given out again within one. A node
// that changes in time loses its mark even while nothing asks for it, since the comparison of parameters
// looks back one frame only.
void drop_stale_images(genotype& g) {
  const bool same_frame = dependency_analysis && last_key == current_key(g);
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (!same_frame || !n.shared_image || (n.node_flags & NODE_TIME_DEPENDENT)) clear_flag(n, NODE_IMAGES_VALID);
  }
}

// --- what runs -------------------------------------------------------------------------------------------

void mark_needed(node& n) {
  if (!is_function(n) || is_active(n) || is_constant(n) || images_valid(n)) return;
  n.node_flags |= NODE_ACTIVE;
  for (int a = 0; a < n.eval_arg_number; ++a) mark_needed(*n.args[a]);
}

// Scratch planes of a shared node may lie where another shared node keeps its result. Results that are
// about to be written over are not good any more; true when there were any.
bool drop_overwritten_images(genotype& g) {
  bool dropped = false;
  for (int i = 0; i < g.n_nodes; ++i) {
    const node& writer = g.nodes[i];
    if (!is_active(writer) || !writer.shared_image || writer.image_count <= writer.elnum) continue;
    for (int k = 0; k < g.n_nodes; ++k) {
      node& kept = g.nodes[k];
      if (!images_valid(kept) || !kept.shared_image || kept.image_base + kept.elnum <= writer.image_base ||
          kept.image_base >= writer.image_base + writer.image_count)
        continue;
      clear_flag(kept, NODE_IMAGES_VALID);
      dropped = true;
    }
  }
  return dropped;
}

void mark_active_tree(genotype& g) {
  do {
    for (int i = 0; i < g.n_nodes; ++i) {
      g.nodes[i].visit = 0;
      clear_flag(g.nodes[i], NODE_ACTIVE);
    }
    mark_needed(*follow_pass(&g.nodes[0]));
  } while (drop_overwritten_images(g));
}

// A query that a pixel loop would have to ask is refused before any pixel.
bool all_queries_answered(const genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) {
    if (!is_active(g.nodes[i]) || g.nodes[i].own_kernel != get_curve_val) continue;
    report(REPORT_ERROR, "%s: get_curve_val needs a parameter and a rel_frame that are the same for the whole frame.",
           g.name);
    return false;
  }
  return true;
}

// An alpha mode that the output's writer refuses for the root is refused once, before any row. Asked
// for no columns, the writer looks at the combination and writes nothing.
bool output_accepted(const node& root) {
  if (!pixel_io.write_dest) return true;
  const raster_info& dest = dest_raster_info;
  return pixel_io.write_dest(dest, dest.y0, dest.x0, 0, 1, root.rows, root.elnum, dest_alpha_mode_for(root.elnum));
}

// Alpha takes part when any value in use carries it.
int needed_elements(const genotype& g) {
  if (Globals->n_image_channels != 3) return 4;
  for (int i = 0; i < g.n_nodes; ++i)
    if (is_active(g.nodes[i]) && g.nodes[i].elnum > 3) return 4;
  return 3;
}

void set_time_offset() {
  const double frames = double(time_globals.current_frame) * (field_globals.field_number ? 2 : 1);
  const double offset = std::nearbyint(display_dims.n_pixels * frames);
  // Only the low 32 bits seed the hash; a host without a clip has no frame number to seed it with.
  const double low = std::isfinite(offset) ? std::fmod(offset, 4294967296.0) : 0;
  time_globals.time_offset = std::int32_t(std::uint32_t(std::int64_t(low)));
}

// An image that only the output reads need not be stored on its way: its operator may write the output itself.
struct {
  const node* maker;
  bool taken;
} output;

const node* maker_of_output(node& root) {
  const node& n = *follow_pass(&root);
  const bool kept = n.shared_image || (n.node_flags & NODE_IMAGES_VALID);
  return is_function(n) && n.image_fun && !is_constant(n) && !kept && whole_image_output() ? &n : nullptr;
}

void run_image_node(node& n) {
  const double start = platform::seconds();
  if (n.image_fun)
    n.image_fun(n);
  else
    fill_node_images(n);
  if (!abort_pending()) n.node_flags |= NODE_IMAGES_VALID;
  last_frame_stats.image_nodes.push_back({&n, platform::seconds() - start});
}

void run_image_nodes() {
  for (int i = 0; i < Globals->n_eval_image_nodes && !abort_pending(); ++i) {
    node& n = *Globals->eval_image_nodes_array[i];
    if (is_active(n) && !is_constant(n) && !images_valid(n)) run_image_node(n);
  }
}

bool remembers_output(const genotype& g) { return g.flags[0] & GENO0_PREV_OUTPUT; }

// What is not computed is clear in the output, and so in what is remembered of it. Columns are cleared row by row as
// the output is made.
void clear_rows_outside_output() {
  const temp_set_record& set = prev_dest_set();
  const raster_info& view = temp_raster_info;
  if (set.view_width != view.width || set.view_height != view.height) return;
  const auto row_in_view = [&](int y) { return std::clamp(y - view.y0, 0, view.height); };
  const std::int64_t width = view.width, above = row_in_view(render_info.render_y0) * width,
                     below = row_in_view(render_info.render_y1 + 1) * width;
  for (int e = 0; e < set.image_count; ++e) {
    std::fill_n(set.planes[e], above, std::int16_t(0));
    std::fill(set.planes[e] + below, set.planes[e] + width * view.height, std::int16_t(0));
  }
}

void run_output(node& root) {
  struct dest_mark {
    dest_mark() { into_dest = 1; }
    ~dest_mark() { into_dest = 0; }
  } const mark;
  const double start = platform::seconds();
  clear_loop_write_failed();
  eval_node_tree_pixel_loop(&root, nullptr, 0, 1);
  last_frame_stats.output_seconds = platform::seconds() - start;
}

void note_param_values(genotype& g) {
  for (int i = 0; i < g.n_params; ++i) std::copy_n(g.params[i]->value, 4, g.params[i]->previous_value);
}

bool frame_described() {
  return render_info.valid && temp_raster_info.width > 0 && temp_raster_info.height > 0 &&
         (dest_raster_info.data || pixel_io.tap);
}

// Until a frame is finished, nothing of it counts for the next one.
class unfinished_frame {
 public:
  explicit unfinished_frame(genotype& g) : g_(g) {}
  ~unfinished_frame() {
    if (remembers_output(g_)) set_prev_dest_valid(finished_);
    if (finished_) return;
    forget_images(g_);
    last_key = {};
  }
  void finished() { finished_ = true; }

 private:
  genotype& g_;
  bool finished_ = false;
};

bool prepare_frame(genotype& g) {
  if (!resolve_element_counts(g)) return false;
  Globals->state_flags |= STATE_EVAL_PREPARED;
  set_time_offset();
  // On the tree as it was bound: a change may reach a node through one that the last frame passed over.
  set_genotype_arg_ptrs(g);
  mark_time_dependency(g, true);
  fold_and_pass(g);
  max_elnum = needed_elements(g);
  if (!all_queries_answered(g) || !output_accepted(*follow_pass(&g.nodes[0]))) return false;
  set_node_images(g, 0, 0);
  drop_stale_images(g);
  mark_active_tree(g);
  return true;
}

}  // namespace

bool take_output(const node& n) {
  if (&n != output.maker) return false;
  output.taken = true;
  return true;
}

void fail_frame() {
  frame_failed = true;
  request_abort();
}

int perform_effect() {
  const double start = platform::seconds();
  genotype* g = Globals->effect_genotype;
  if (!g) {
    report(REPORT_ERROR, "perform_effect: Globals->effect_genotype is NULL.");
    return -1;
  }
  if (!(Globals->state_flags & STATE_EFFECT_SELECTED)) {
    report(REPORT_ERROR, "perform_effect: eval_image_nodes has not been set.");
    return -1;
  }
  if (!frame_described()) {
    report(REPORT_ERROR, "perform_effect: doing nothing, dest_raster_info or render_info or temp_raster_info is null.");
    return -1;
  }
  last_frame_stats = {};
  last_frame_stats.planes_planned = g->n_temp_images + g->n_cache_images;
  start_fork_workers();
  frame_failed = false;
  unfinished_frame frame(*g);
  if (!prepare_frame(*g)) return -1;
  last_frame_stats.setup_seconds = platform::seconds() - start;
  output = {maker_of_output(g->nodes[0]), false};
  run_image_nodes();
  if (!abort_pending() && remembers_output(*g)) clear_rows_outside_output();
  if (!abort_pending() && !output.taken) run_output(g->nodes[0]);
  last_frame_stats.planes_in_use = planes_held();
  last_frame_stats.plane_bytes = plane_bytes_held();
  if (frame_failed) return -1;
  if (abort_pending()) return 0;  // the caller sees abort_requested
  if (loop_write_failed()) return -1;
  note_param_values(*g);
  last_key = current_key(*g);
  frame.finished();
  return 0;
}

}  // namespace tessaron
