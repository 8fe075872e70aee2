// The pixel loop: one node tree into one image, row by row, each row in segments that stay in L1.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "genotype/genotype.h"

namespace tessaron {

inline constexpr int MAX_EVAL_NODES = 200;

/// Rows of the expression variables of one worker, and the width of the stretch being computed.
/// Every listed node's `vars` points at one of these; while constants are folded, at fold_rows.
struct expression_rows {
  std::int32_t row_width;  // samples that a kernel computes in one call; 1 while folding
  fix* x_row[1];
  fix* y_row[1];
  fix* xy_rows[2];
  fix* source_rows[4][4];
};

/// The record that `vars` holds at rest: a row width of 1, no rows.
extern const expression_rows fold_rows;

/// Where a loop's rows go: the root, sample offset of the stretch's first pixel, its width.
using row_sink_fn = void (*)(node& root, std::int64_t offset, int width);

extern node* eval_nodes_array[MAX_EVAL_NODES];
extern std::int32_t eval_nodes_count;
extern node* loop_root;
extern row_sink_fn row_sink;
extern std::int32_t into_image;
extern std::int32_t into_dest;

/// Sampling step of cached images and of sources at reduced resolution; 1 otherwise.
extern std::int32_t cache_step;
/// The view of the cached images while cache_step is above 1: the loop's own is 1 / cache_step of it.
struct cache_view_record {
  std::int32_t x0, y0, width, height;
};
extern cache_view_record cache_view;
/// Elements that image operators need to fill: 4, or 3 while no active node carries alpha.
extern std::int32_t max_elnum;
/// Shift of y for the field being rendered, as a fix with 24 fraction bits >> 12.
extern fix field_shift;

/// Runs one loop through fork_processes(). A null sink writes to the dest raster when `into_dest`
/// is set. `rebuild` 0 keeps the last eval_nodes_array.
///
/// A sink is called on every worker, each with rows of its own, once for each stretch of a row. What it
/// reads of the root's arguments holds one sample for the whole stretch where uniform_args says so.
/// A null root and one without elements are fatal.
void eval_node_tree_pixel_loop(node* root, row_sink_fn sink, int fill_image, int rebuild);

/// Fills the planes of a cached per-pixel node (the image fill sink).
void fill_node_images(node& root);
/// Evaluates a tree into `n_planes` planes of the view's size; elements beyond them are dropped.
void eval_node_tree_into_planes(node& root, std::int16_t* const* planes, int n_planes);
/// Evaluates a one-element tree into the long image. Reports and does nothing without one.
void eval_node_tree_into_long_image(node& root);

/// Where eval_node_tree_into_mipmap_toplevel() stores: interleaved samples, row 0 of the image in row 1
/// of the buffer, `offset` samples behind each row's start.
struct mipmap_target {
  std::int16_t* samples;
  std::int32_t row_stride, offset;
};
extern mipmap_target current_mipmap;
/// Sinks by element count (index 1 to 4) that store a stretch at current_mipmap, held to 0..8191.
using mipmap_sinks = row_sink_fn[5];
/// Stores a tree's samples, held to 0..8191. Reports an element count outside 1..4. Null `sinks`: the plain ones.
void eval_node_tree_into_mipmap_toplevel(node& root, const mipmap_target& target, const mipmap_sinks* sinks = nullptr);

/// An image operator's per-pixel pass: evaluates all its arguments but the image, calls the row function
/// for the node's element count (index 1 to 4) in place of its kernel and stores the rows in its planes, by a sink of
/// the operator's own where it has one. A missing function is fatal.
void image_process_pixels_loop(node& n, const node_kernel (&row_functions)[5], row_sink_fn store = nullptr);

/// Asked by an operator whose last step is a pixel loop over its node: whether that loop's rows are to go to the output
/// instead of its planes, which nothing else reads. After a yes the output counts as written. Main thread only.
bool take_output(const node& n);

/// One sample of fix as it is stored in a plane: limited to +-0x7fff.
static inline std::int16_t plane_sample(fix v) { return std::int16_t(v > 0x7ffe ? 0x7fff : v < -0x7ffe ? -0x7fff : v); }

/// Samples of a stretch, for tests: 0 lets the loop choose.
void set_stretch_override(int samples);

/// x and y of a loop's first sample and their steps, with 24 fraction bits.
struct coordinate_steps {
  fix x_first, dx;      // x of column i is (x_first + i * dx) >> 12
  fix y_acc_first, dy;  // y of line i is -(y_acc_first + i * dy) >> 12, rounded down
  fix shift;            // dy * field_offset >> 12
};
/// Coordinates of the frame of render_info from frame column and row (in steps) on.
coordinate_steps coordinates_from(int first_col, int first_row);
static inline fix x_of_column(const coordinate_steps& c, int i) { return wrap_add(c.x_first, wrap_mul(i, c.dx)) >> 12; }
static inline fix y_of_line(const coordinate_steps& c, int i) {
  return wrap_neg(wrap_add(c.y_acc_first, wrap_mul(i, c.dy))) >> 12;
}

/// A coordinate noise node's cells, all marked as empty: what misc_ptr points at while its kernel runs.
inline constexpr int NOISE_CACHE_BYTES = 2600;
void clear_noise_cache(void* cache);

/// Asks the host whether to stop: only on the main thread, at most every 200 ms. True: stop.
int check_abort();
/// Whether the render is to stop, without asking; safe on every thread.
bool abort_pending();
/// Stops the render from any thread.
void request_abort();
/// Stops it as one that can't be done, after a report of why: perform_effect() gives -1. Main thread only.
void fail_frame();
using abort_query = int (*)();
/// The host adapter's question; null: never abort. Asked anew at the next check_abort().
void set_abort_query(abort_query query);
/// Milliseconds that stand in for the system's ticks between two questions, for tests; null: the system's.
using abort_clock = std::int64_t (*)();
void set_abort_clock(abort_clock clock);

}  // namespace tessaron
