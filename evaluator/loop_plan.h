// One pixel loop, planned on the main thread before the workers start: rectangle, coordinates, which
// variables are read, and where every row lies in a worker's memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"

namespace tessaron {

inline constexpr std::size_t ROW_ALIGNMENT = 64;

/// Columns and lines of the loop, in steps of the sampling step.
struct loop_rectangle {
  int step;
  int first_col, first_row;
  int cols, lines;
};

/// How one listed node gets its rows.
struct listed_node {
  bool uniform;              // one sample for the whole row, kept in the node's own const_vals
  std::int16_t row_slot[4];  // otherwise the slots of its element rows
};

/// Kinds of roots, by where the rows that a sink sees come from.
enum class root_kind { listed, constant, variable };

struct loop_plan {
  loop_rectangle rect;
  const raster_info* raster;  // of the sink's offsets
  coordinate_steps coordinates;

  node* root;  // end of the pass chain of loop_root
  root_kind kind;
  int root_index;             // place of a listed root in eval_nodes_array
  bool root_uniform;          // its rows have to be spread before anything sees them
  bool runs_root;             // false: an image operator is being filled, whose sink does its work
  node_kernel root_function;  // stands in for the root's kernel, or null

  bool uses_x, uses_y_row;
  std::int8_t source_elnum[4];  // 0: not read

  std::vector<listed_node> listed;
  int n_row_slots;
  int stretch;  // samples that are computed at once

  row_sink_fn sink;  // null: the dest raster
  int dest_alpha_mode;

  // Offsets in a worker's block, all multiples of ROW_ALIGNMENT.
  std::size_t nodes_at, x_row_at, y_row_at, sources_at, merge_at, rows_at, root_rows_at, noise_at;
  std::size_t row_bytes;  // distance between two rows of a stretch
  std::size_t worker_bytes;
  std::vector<std::int16_t> noise_nodes;  // places in eval_nodes_array of nodes with a noise cache
};

/// Plans a loop over the current eval_nodes_array. False: nothing to do (an empty rectangle).
bool plan_loop(loop_plan& plan, node* root, row_sink_fn sink);

/// The worker's share of a planned loop. `block` holds worker_bytes, aligned.
void run_worker_lines(const loop_plan& plan, std::byte* block);

/// Alpha mode for writing a result of `elnum` elements to the dest raster.
int dest_alpha_mode_for(int elnum);

/// Whether a root's planes may go to the output as they are: all rows and columns, none of them kept.
bool whole_image_output();

/// Whether a writer refused a row of this loop.
bool loop_write_failed();
void clear_loop_write_failed();

/// Row function of image_process_pixels_loop() while it runs.
extern node_kernel root_row_function;
/// Unlike the sinks of other loops, the mipmap's counts positions in the mipmap's buffer.
extern bool into_mipmap;

}  // namespace tessaron
