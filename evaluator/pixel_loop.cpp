// Entry of the pixel loop, and the sinks that do not belong to one operator.
#include "evaluator/pixel_loop.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/loop_plan.h"
#include "evaluator/plan.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/globals.h"

namespace tessaron {

const expression_rows fold_rows = {.row_width = 1, .x_row = {}, .y_row = {}, .xy_rows = {}, .source_rows = {}};

node* eval_nodes_array[MAX_EVAL_NODES];
std::int32_t eval_nodes_count;
node* loop_root;
row_sink_fn row_sink;
std::int32_t into_image;
std::int32_t into_dest;
std::int32_t max_elnum = 4;
bool into_mipmap;
mipmap_target current_mipmap;
node_kernel root_row_function;

namespace {

struct free_block {
  void operator()(std::byte* p) const { std::free(p); }
};
using aligned_block = std::unique_ptr<std::byte, free_block>;

// The workers' memory is taken on the main thread: a worker may not raise.
aligned_block allocate_block(std::size_t size) {
  aligned_block block(static_cast<std::byte*>(std::aligned_alloc(ROW_ALIGNMENT, size)));
  if (block) return block;
  set_message("Malloc %ld returned a null pointer.", long(size));
  report_message(REPORT_ERROR);
  report(REPORT_ERROR, "Not enough memory.");
  fatal_exit(-100);
}

// The loop under way; read by all workers.
const loop_plan* current_plan;
std::byte* current_blocks;

void forked_pixel_loop() {
  run_worker_lines(*current_plan, current_blocks + current_plan->worker_bytes * std::size_t(get_proc_number()));
}

void run_loop(const loop_plan& plan) {
  const aligned_block blocks = allocate_block(plan.worker_bytes * std::size_t(get_n_procs()));
  current_plan = &plan;
  current_blocks = blocks.get();
  fork_processes(forked_pixel_loop);
}

// A root whose planes hold this frame's values goes straight to the output: no tree needs to run.
// Where rows are kept or left out on their way (the previous output, fields) the loop runs all the same.
bool copy_valid_planes(node* root) {
  const node* found = follow_pass(root);
  if (!found->image_count || !(found->node_flags & NODE_IMAGES_VALID) || !whole_image_output()) return false;
  pixel_io.write_planes(found->images, found->elnum, dest_alpha_mode_for(found->elnum));
  return true;
}

// --- sinks -------------------------------------------------------------------------------------------

// Target of the image fill sink; written before the workers start.
std::span<std::int16_t* const> fill_planes;
std::int32_t* long_target;

void fill_sink(node& root, std::int64_t offset, int width) {
  const int count = std::min<int>(root.elnum, int(fill_planes.size()));
  for (int e = 0; e < count; ++e) {
    std::int16_t* plane = fill_planes[e] + offset;
    const fix* row = root.rows[e];
    for (int i = 0; i < width; ++i) plane[i] = plane_sample(row[i]);
  }
}

void long_sink(node& root, std::int64_t offset, int width) { std::copy_n(root.rows[0], width, long_target + offset); }

template <int N>
void mipmap_sink(node& root, std::int64_t offset, int width) {
  std::int16_t* sample = current_mipmap.samples + offset;
  for (int i = 0; i < width; ++i)
    for (int e = 0; e < N; ++e) *sample++ = std::int16_t(fix_clamp(root.rows[e][i], 0, 8191));
}

template <class T>
class scoped_value {
 public:
  scoped_value(T& variable, T value) : variable_(variable), before_(variable) { variable = value; }
  ~scoped_value() { variable_ = before_; }
  scoped_value(const scoped_value&) = delete;
  scoped_value& operator=(const scoped_value&) = delete;

 private:
  T& variable_;
  T before_;
};

void fill_image_planes(node& root, std::int16_t* const* planes, int n_planes, int fill_image) {
  fill_planes = {planes, std::size_t(std::max(n_planes, 0))};
  eval_node_tree_pixel_loop(&root, fill_sink, fill_image, 1);
}

}  // namespace

bool whole_image_output() {
  const genotype* g = Globals->effect_genotype;
  return pixel_io.write_planes && !field_globals.field_number && render_info.step <= 1 &&
         !(g && (g->flags[0] & GENO0_PREV_OUTPUT));
}

void eval_node_tree_pixel_loop(node* root, row_sink_fn sink, int fill_image, int rebuild) {
  if (!root) fatal("eval_node_tree_pixel_loop: node is NULL");
  if (root->elnum < 1) fatal("eval_node_tree_pixel_loop: node elnum <= 0.");
  if (into_dest && copy_valid_planes(root)) return;
  if (rebuild) build_eval_nodes(root, fill_image);
  row_sink = sink;
  loop_root = root;
  into_image = fill_image;
  loop_plan plan;
  if (plan_loop(plan, root, sink)) run_loop(plan);
}

void fill_node_images(node& root) { fill_image_planes(root, root.images, std::min<int>(root.elnum, max_elnum), 1); }

void eval_node_tree_into_planes(node& root, std::int16_t* const* planes, int n_planes) {
  fill_image_planes(root, planes, n_planes, 0);
}

void eval_node_tree_into_long_image(node& root) {
  if (root.elnum != 1) {
    report(REPORT_PLAIN, "ERROR: eval_node_tree_into_long_image: elnum should be 1.\n");
    return;
  }
  long_target = current_long_image();
  if (!long_target) {
    report(REPORT_PLAIN, "ERROR: eval_node_tree_into_long_image: no long_image.\n");
    return;
  }
  eval_node_tree_pixel_loop(&root, long_sink, 0, 1);
}

void eval_node_tree_into_mipmap_toplevel(node& root, const mipmap_target& target, const mipmap_sinks* sinks) {
  constexpr mipmap_sinks PLAIN = {nullptr, mipmap_sink<1>, mipmap_sink<2>, mipmap_sink<3>, mipmap_sink<4>};
  if (root.elnum < 1 || root.elnum > 4) {
    report(REPORT_WARNING, "eval_node_tree_into_mipmap_toplevel: unsupported elnum %d \n", root.elnum);
    return;
  }
  current_mipmap = target;
  const scoped_value mark(into_mipmap, true);
  eval_node_tree_pixel_loop(&root, (sinks ? *sinks : PLAIN)[root.elnum], 0, 1);
}

void image_process_pixels_loop(node& n, const node_kernel (&row_functions)[5], row_sink_fn store) {
  if (n.elnum < 1 || n.elnum > 4 || !row_functions[n.elnum])
    fatal("image_process_pixels_loop: no fun for elnum %d.", n.elnum);
  const scoped_value function(root_row_function, row_functions[n.elnum]);
  fill_planes = {n.images, std::size_t(std::min<int>(n.elnum, max_elnum))};
  eval_node_tree_pixel_loop(&n, store ? store : fill_sink, 1, 1);
}

}  // namespace tessaron
