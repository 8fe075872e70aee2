#include "evaluator/loop_plan.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "base/report.h"
#include "evaluator/plan.h"
#include "genotype/globals.h"

namespace tessaron {

std::int32_t cache_step = 1;
cache_view_record cache_view;
fix field_shift;

namespace {

// What the rows of a stretch may take of a first-level cache of 32 KB or more; the rest is for tables,
// the host's pixels and the nodes themselves.
constexpr std::size_t STRETCH_BYTES = 26 * 1024;
constexpr int MIN_STRETCH = 64;
constexpr int STRETCH_GRAIN = 16;  // samples; keeps every row of a stretch aligned

int stretch_override;

constexpr int round_up(int value, int grain) { return (value + grain - 1) / grain * grain; }

bool is_variable(const node& n) { return n.kind == KIND_BUILT_IN; }
bool is_constant(const node& n) { return n.node_flags & NODE_CONSTANT; }

int listed_index(const node* n) {
  const int i = n->eval_index;
  return i >= 0 && i < eval_nodes_count && eval_nodes_array[i] == n ? i : -1;
}

bool reads_planes(const node& n) { return n.row_kernel != n.own_kernel || n.fun->is_image_fun; }

// --- rectangle ---------------------------------------------------------------------------------------

void clip_to(const raster_info& raster, int& x0, int& y0, int& x1, int& y1) {
  x0 = std::max(x0, raster.x0);
  y0 = std::max(y0, raster.y0);
  x1 = std::min(x1, raster.x1);
  y1 = std::min(y1, raster.y1);
}

bool plan_rectangle(loop_plan& plan) {
  const raster_info& raster = into_dest ? dest_raster_info : temp_raster_info;
  plan.raster = &raster;
  int x0 = raster.x0, y0 = raster.y0, x1 = raster.x1, y1 = raster.y1;
  if (into_dest) {
    x0 = render_info.render_x0;
    y0 = render_info.render_y0;
    x1 = render_info.render_x1;
    y1 = render_info.render_y1;
    clip_to(raster, x0, y0, x1, y1);
    // Planes are read by position in the view, and hold nothing outside it.
    for (int i = 0; i < eval_nodes_count; ++i)
      if (reads_planes(*eval_nodes_array[i])) {
        clip_to(temp_raster_info, x0, y0, x1, y1);
        break;
      }
  }
  loop_rectangle& r = plan.rect;
  r.step = std::max(render_info.step, 1);
  r.first_col = x0 / r.step;
  r.first_row = y0 / r.step;
  r.cols = int(std::ceil((double(x1) - double(r.step) * r.first_col + 1) / r.step));
  r.lines = int(std::ceil((double(y1) - double(r.step) * r.first_row + 1) / r.step));
  if (r.cols > raster.width || r.lines > raster.height) {
    report(REPORT_WARNING, "Clip/res problem: downsampled size=%dx%d, rinfo says %dx%d.\n", r.cols, r.lines,
           raster.width, raster.height);
    r.cols = std::min(r.cols, raster.width);
    r.lines = std::min(r.lines, raster.height);
  }
  return r.cols > 0 && r.lines > 0;
}

// --- what is read ------------------------------------------------------------------------------------

void note_variable(loop_plan& plan, const node& variable, bool as_root) {
  switch (variable.var_index) {
    case VAR_X:
      plan.uses_x = true;
      break;
    case VAR_Y:
      plan.uses_y_row |= as_root;
      break;  // kernels take y as one sample for the row
    case VAR_XY:
      plan.uses_x = plan.uses_y_row = true;
      break;
    default:
      plan.source_elnum[variable.var_index - VAR_SOURCE0] = variable.elnum;
  }
}

// y, constants and what is computed from nothing else keep one value along a row.
bool arg_uniform(const loop_plan& plan, const node& arg) {
  if (is_constant(arg)) return true;
  if (is_variable(arg)) return arg.var_index == VAR_Y;
  const int i = listed_index(&arg);
  return i < 0 || plan.listed[i].uniform;
}

bool may_be_uniform(const node& n) {
  const fun_info& fun = *n.fun;
  return !(fun.fun_flags & FUN_NEVER_CONSTANT) && !fun.position_dependent && fun.fun_class != CLASS_COORD_NOISE &&
         !reads_planes(n);
}

bool all_args_uniform(const loop_plan& plan, const node& n) {
  for (int a = 0; a < n.eval_arg_number; ++a)
    if (!arg_uniform(plan, *n.args[a])) return false;
  return true;
}

// A kernel that looks at the first sample of a row would see another one in each stretch.
bool needs_whole_rows(const loop_plan& plan, const node& n) {
  if (!n.fun->row_start_args || reads_planes(n)) return false;
  for (int a = 0; a < n.eval_arg_number; ++a)
    if ((n.fun->row_start_args >> a & 1) && !arg_uniform(plan, *n.args[a])) return true;
  return false;
}

// A node that only reads its planes asks for none of its arguments.
bool computes(const loop_plan& plan, const node& n, int place) {
  return !reads_planes(n) || (place == plan.root_index && into_image);
}

// An operator that is being filled has fetched its image already: its loop asks for the other arguments alone.
bool asks_for(const loop_plan& plan, const node& n, int place, int arg) {
  return !(place == plan.root_index && into_image && n.fun->is_image_fun && arg == n.fun->image_arg_index);
}

// --- row slots ---------------------------------------------------------------------------------------

// Gives each listed node slots for its rows; a slot is free again behind the last reader of its rows. A
// node never shares a slot with its own arguments: kernels may write before they have read everything.
class slot_planner {
 public:
  int take() {
    if (free_.empty()) return n_slots_++;
    const int slot = free_.back();
    free_.pop_back();
    return slot;
  }
  void give_back(int slot) { free_.push_back(slot); }
  int count() const { return n_slots_; }

 private:
  std::vector<int> free_;
  int n_slots_ = 0;
};

void plan_row_slots(loop_plan& plan) {
  const int count = eval_nodes_count;
  std::vector<int> last_reader(count);
  for (int i = 0; i < count; ++i) {
    const node& n = *eval_nodes_array[i];
    last_reader[i] = i;
    if (!computes(plan, n, i)) continue;
    for (int a = 0; a < n.eval_arg_number; ++a) {
      const int k = listed_index(n.args[a]);
      // What an operator's sink reads has to last until the sink has run.
      if (k >= 0) last_reader[k] = i == plan.root_index ? count : i;
    }
  }
  if (plan.root_index >= 0) last_reader[plan.root_index] = count;

  slot_planner slots;
  for (int i = 0; i < count; ++i) {
    listed_node& place = plan.listed[i];
    if (!place.uniform)
      for (int e = 0; e < eval_nodes_array[i]->elnum; ++e) place.row_slot[e] = std::int16_t(slots.take());
    for (int k = 0; k <= i; ++k)
      if (last_reader[k] == i && !plan.listed[k].uniform)
        for (int e = 0; e < eval_nodes_array[k]->elnum; ++e) slots.give_back(plan.listed[k].row_slot[e]);
  }
  plan.n_row_slots = slots.count();
}

// --- memory ------------------------------------------------------------------------------------------

int merged_rows(const loop_plan& plan) {
  int rows = 0;
  for (int s = 0; s < 4; ++s)
    if (field_globals.merged_sources >> s & 1) rows = std::max<int>(rows, plan.source_elnum[s]);
  return rows;
}

int choose_stretch(const loop_plan& plan, bool whole_rows) {
  const int cols = plan.rect.cols;
  if (whole_rows) return cols;
  int stretch = stretch_override;
  if (stretch <= 0) {
    int rows = plan.n_row_slots + merged_rows(plan) + plan.uses_x + plan.uses_y_row;
    for (int elnum : plan.source_elnum) rows += elnum;
    const int fits = int(STRETCH_BYTES / sizeof(fix)) / std::max(rows, 1);
    stretch = std::max(fits / STRETCH_GRAIN * STRETCH_GRAIN, MIN_STRETCH);
    // Stretches of equal size rather than a short one at the end.
    const int n = (cols + stretch - 1) / stretch;
    stretch = round_up((cols + n - 1) / n, STRETCH_GRAIN);
  }
  return std::min(stretch, cols);
}

void plan_memory(loop_plan& plan) {
  std::size_t at = 0;
  const auto take = [&at](std::size_t bytes) {
    const std::size_t start = at;
    at += (bytes + ROW_ALIGNMENT - 1) / ROW_ALIGNMENT * ROW_ALIGNMENT;
    return start;
  };
  // One odd cache line between rows keeps loads of one row apart from stores to the next by address bits.
  plan.row_bytes = std::size_t(round_up(plan.stretch, STRETCH_GRAIN)) * sizeof(fix) + ROW_ALIGNMENT;
  int source_rows = 0;
  for (int elnum : plan.source_elnum) source_rows += elnum;
  plan.x_row_at = take(plan.uses_x ? std::size_t(plan.rect.cols) * sizeof(fix) : 0);
  plan.y_row_at = take(plan.row_bytes);
  plan.sources_at = take(plan.row_bytes * source_rows);
  plan.merge_at = take(plan.row_bytes * merged_rows(plan));
  plan.rows_at = take(plan.row_bytes * plan.n_row_slots);
  plan.root_rows_at =
      take(plan.kind == root_kind::constant || plan.root_uniform ? plan.row_bytes * plan.root->elnum : 0);
  plan.nodes_at = take(sizeof(node) * (eval_nodes_count + 1));  // the last one is what a sink sees as the root
  plan.noise_at = take(NOISE_CACHE_BYTES * plan.noise_nodes.size());
  plan.worker_bytes = at;
}

void plan_noise_caches(loop_plan& plan) {
  for (int i = 0; i < eval_nodes_count; ++i) {
    const node& n = *eval_nodes_array[i];
    if (n.fun->fun_class != CLASS_COORD_NOISE || is_constant(n)) continue;
    if (n.misc_ptr) report(REPORT_WARNING, "make_nodes_array_caches: warning misc_ptr was set.");
    plan.noise_nodes.push_back(std::int16_t(i));
  }
}

}  // namespace

void set_stretch_override(int samples) { stretch_override = samples; }

coordinate_steps coordinates_from(int first_col, int first_row) {
  const double units = (double(render_info.frame_x1) - render_info.frame_x0 + 1) * render_info.scale_x;
  const int step = std::max(render_info.step, 1);
  const double pixel_aspect = display_dims.pixel_aspect;
  const fix step_x = fix_from_double(8192.0 / units);
  const fix step_y = fix_from_double(pixel_aspect * 8192.0 / units);
  const fix y_start = fix_from_double(4096.0 * display_dims.xy_aspect * pixel_aspect);
  constexpr fix LEFT = 0xfff800, ROUNDING = 0x800;  // -1.0 less the rounding of the shift by 12

  coordinate_steps c;
  c.dx = wrap_mul(step_x, step);
  c.x_first = wrap_add(wrap_sub(wrap_mul(step_x >> 1, step), LEFT), wrap_mul(first_col, c.dx));
  c.dy = wrap_mul(step_y, step);
  const fix field_part = fix(std::int64_t(float(c.dy) * field_globals.field_offset));
  c.y_acc_first = wrap_sub(wrap_mul(step_y >> 1, step), y_start);
  c.y_acc_first = wrap_add(c.y_acc_first, wrap_mul(first_row, c.dy));
  c.y_acc_first = wrap_add(wrap_sub(c.y_acc_first, field_part), ROUNDING);
  c.shift = field_part >> FIX_BITS;
  return c;
}

int dest_alpha_mode_for(int elnum) {
  if (elnum == 4) return 1;
  int mode = pixel_io.dest_alpha_mode;
  if (!mode) mode = Globals->effect_genotype ? Globals->effect_genotype->rgba_mode : 0;
  if (mode == 2 && !pixel_io.dest_mode_2_ok) mode = 3;
  return mode;
}

bool plan_loop(loop_plan& plan, node* root, row_sink_fn sink) {
  plan = loop_plan();
  if (!plan_rectangle(plan)) return false;
  plan.sink = sink;
  plan.root = follow_pass(root);
  plan.root_index = listed_index(plan.root);
  plan.kind = plan.root_index >= 0      ? root_kind::listed
              : is_variable(*plan.root) ? root_kind::variable
                                        : root_kind::constant;
  plan.dest_alpha_mode = dest_alpha_mode_for(plan.root->elnum);
  plan.coordinates = coordinates_from(plan.rect.first_col, plan.rect.first_row);
  field_shift = plan.coordinates.shift;

  bool whole_rows = false;
  plan.listed.resize(eval_nodes_count);
  for (int i = 0; i < eval_nodes_count; ++i) {
    const node& n = *eval_nodes_array[i];
    plan.listed[i].uniform = may_be_uniform(n) && all_args_uniform(plan, n);
    if (!computes(plan, n, i)) continue;
    whole_rows |= needs_whole_rows(plan, n);
    for (int a = 0; a < n.eval_arg_number; ++a)
      if (is_variable(*n.args[a]) && asks_for(plan, n, i, a)) note_variable(plan, *n.args[a], false);
  }
  if (plan.kind == root_kind::variable) note_variable(plan, *plan.root, true);
  plan.root_function = root_row_function;
  plan.runs_root = !(plan.kind == root_kind::listed && into_image && plan.root->fun->is_image_fun) || root_row_function;
  plan.root_uniform = plan.kind == root_kind::listed && plan.listed[plan.root_index].uniform;

  plan_row_slots(plan);
  plan.stretch = choose_stretch(plan, whole_rows);
  plan_noise_caches(plan);
  plan_memory(plan);
  return true;
}

}  // namespace tessaron
