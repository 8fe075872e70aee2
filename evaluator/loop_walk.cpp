// What one worker does in a pixel loop: private copies of the listed nodes over rows of its own, then
// its lines, each in stretches that stay in the first-level cache.
#include <algorithm>
#include <atomic>
#include <memory>

#include "evaluator/loop_plan.h"
#include "evaluator/plan.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"

namespace tessaron {
namespace {

constexpr int ABORT_LINES = 16;  // the abort flag is looked at when a line number is a multiple of this

std::atomic<bool> write_failed;

/// Tighter limit of the previous output store, nearly +-2.0.
std::int16_t prev_output_sample(fix v) { return std::int16_t(v > 0x1ffe ? 0x1fff : v < -0x1ffe ? -0x1fff : v); }

class line_walk {
 public:
  line_walk(const loop_plan& plan, std::byte* block) : plan_(plan), block_(block) {
    copies_ = reinterpret_cast<node*>(block + plan.nodes_at);
    set_variable_rows();
    for (int i = 0; i < eval_nodes_count; ++i) std::uninitialized_copy_n(eval_nodes_array[i], 1, copies_ + i);
    std::uninitialized_copy_n(plan.root, 1, copies_ + eval_nodes_count);
    for (int i = 0; i < eval_nodes_count; ++i) give_rows(i);
    for (int i = 0; i < eval_nodes_count; ++i) bind_args(copies_[i]);
    for (std::size_t k = 0; k < plan.noise_nodes.size(); ++k) {
      void* cache = block + plan.noise_at + k * NOISE_CACHE_BYTES;
      clear_noise_cache(cache);
      copies_[plan.noise_nodes[k]].misc_ptr = cache;
    }
    set_root();
    if (plan.uses_x)
      for (int i = 0; i < plan.rect.cols; ++i) x_row_[i] = x_of_column(plan.coordinates, i);
  }

  void walk(int first, int count) {
    const int field = field_globals.field_number;
    for (int line = first; line < first + count; ++line) {
      if (line % ABORT_LINES == 0 && check_abort()) return;
      const int row = plan_.rect.first_row + line;
      if (field && (row & 1) == field - 1) continue;
      walk_line(line, row);
    }
  }

 private:
  fix* row_at(std::size_t offset, int i) const {
    return reinterpret_cast<fix*>(block_ + offset + plan_.row_bytes * std::size_t(i));
  }

  void set_variable_rows() {
    x_row_ = reinterpret_cast<fix*>(block_ + plan_.x_row_at);
    y_row_ = row_at(plan_.y_row_at, 0);
    vars_ = {};
    vars_.y_row[0] = vars_.xy_rows[1] = y_row_;
    line_vars_ = vars_;
    line_vars_.row_width = 1;
    int k = 0;
    for (int s = 0; s < 4; ++s)
      for (int e = 0; e < plan_.source_elnum[s]; ++e) vars_.source_rows[s][e] = row_at(plan_.sources_at, k++);
  }

  void give_rows(int i) {
    node& n = copies_[i];
    const listed_node& place = plan_.listed[i];
    // A frame of one column needs no rows: its samples lie in the node itself.
    const bool own_values = place.uniform || plan_.rect.cols == 1;
    for (int e = 0; e < 4; ++e)
      n.rows[e] = own_values || e >= n.elnum ? &n.const_vals[e] : row_at(plan_.rows_at, place.row_slot[e]);
    n.vars = place.uniform ? &line_vars_ : &vars_;
    if (i == plan_.root_index && plan_.root_function) n.row_kernel = plan_.root_function;
  }

  fix** variable_rows(int var_index) {
    switch (var_index) {
      case VAR_X:
        return vars_.x_row;
      case VAR_Y:
        return vars_.y_row;
      case VAR_XY:
        return vars_.xy_rows;
      default:
        return vars_.source_rows[var_index - VAR_SOURCE0];
    }
  }

  void bind_args(node& n) {
    n.uniform_args = 0;
    for (int a = 0; a < n.arg_number; ++a) {
      node* arg = n.args[a];
      const int k = arg->eval_index;
      if (k >= 0 && k < eval_nodes_count && eval_nodes_array[k] == arg) {
        arg = n.args[a] = &copies_[k];
        n.arg_rows[a] = arg->rows;
        n.arg_consts[a] = arg->const_vals;
        if (plan_.listed[k].uniform) n.uniform_args |= 1 << a;
      } else if (arg->kind == KIND_BUILT_IN) {
        n.arg_rows[a] = variable_rows(arg->var_index);
        if (arg->var_index == VAR_Y) n.uniform_args |= 1 << a;
      } else {
        n.uniform_args |= 1 << a;  // a constant, or an argument that this loop does not compute
      }
    }
  }

  // What sinks see as the root: rows of the listed node, of a variable, or a value spread once.
  void set_root() {
    const bool listed = plan_.kind == root_kind::listed;
    root_ = listed ? &copies_[plan_.root_index] : &copies_[eval_nodes_count];
    if (listed && !plan_.root_uniform) return;
    if (listed) {
      uniform_root_ = root_;
      root_ = &copies_[eval_nodes_count];
      std::copy_n(uniform_root_, 1, root_);
    }
    root_->vars = &vars_;
    for (int e = 0; e < root_->elnum; ++e) {
      if (plan_.kind == root_kind::variable) continue;
      root_->rows[e] = row_at(plan_.root_rows_at, e);
      if (!listed) std::fill_n(root_->rows[e], plan_.stretch, root_->const_vals[e]);
    }
  }

  void walk_line(int line, int row) {
    const fix y = y_of_line(plan_.coordinates, line);
    std::fill_n(y_row_, plan_.uses_y_row ? std::min(plan_.stretch, plan_.rect.cols) : 1, y);
    for (int i = 0; i < eval_nodes_count; ++i)
      if (plan_.listed[i].uniform) copies_[i].row_kernel(copies_[i]);
    if (uniform_root_)
      for (int e = 0; e < root_->elnum; ++e) std::fill_n(root_->rows[e], plan_.stretch, *uniform_root_->rows[e]);
    for (int col = 0; col < plan_.rect.cols; col += plan_.stretch)
      walk_stretch(row, col, std::min(plan_.stretch, plan_.rect.cols - col));
  }

  void walk_stretch(int row, int col, int width) {
    const loop_rectangle& r = plan_.rect;
    vars_.row_width = width;
    if (plan_.uses_x) vars_.x_row[0] = vars_.xy_rows[0] = x_row_ + col;
    for (int s = 0; s < 4; ++s)
      if (plan_.source_elnum[s]) read_source(s, row, col, width);
    if (plan_.kind == root_kind::variable) std::copy_n(variable_rows(root_->var_index), root_->elnum, root_->rows);

    const int pixel_index = (row * r.step - temp_raster_info.y0) / r.step * display_dims.view_width +
                            ((r.first_col + col) * r.step - temp_raster_info.x0) / r.step;
    for (int i = 0; i < eval_nodes_count; ++i) {
      if (plan_.listed[i].uniform || (i == plan_.root_index && !plan_.runs_root)) continue;
      copies_[i].pixel_index =
          cache_step > 1 && copies_[i].row_kernel == read_cached_row_stepped ? cache_index(row, col) : pixel_index;
      copies_[i].row_kernel(copies_[i]);
    }
    root_->pixel_index = pixel_index;
    if (plan_.sink)
      plan_.sink(*root_, sink_offset(row, col), width);
    else
      write_output(row, col, width);
  }

  // A pixel at reduced resolution stands for cache_step x cache_step of the cached images' pixels; it reads the one in
  // their middle, or where the image ends before it the last column and row.
  static int middle_of_step(int steps_down, int size) {
    const int last_step = (size - 1) / cache_step * cache_step;
    return std::min(steps_down * cache_step, last_step) + std::min(cache_step >> 1, size - 1 - last_step);
  }
  int cache_index(int row, int col) const {
    return middle_of_step(row - plan_.rect.first_row, cache_view.height) * cache_view.width +
           middle_of_step(col, cache_view.width);
  }

  std::int64_t sink_offset(int row, int col) const {
    const loop_rectangle& r = plan_.rect;
    if (into_mipmap)
      return std::int64_t(row - r.first_row + 1) * current_mipmap.row_stride + col * root_->elnum +
             current_mipmap.offset;
    const raster_info& raster = *plan_.raster;
    const int row_step = std::max(raster.row_step, 1);
    return std::int64_t((row * r.step - raster.y0) / row_step) * raster.width +
           ((r.first_col + col) * r.step - raster.x0) / row_step;
  }

  void read_line(int s, int row, int col, int width, fix* const* rows) {
    const loop_rectangle& r = plan_.rect;
    const int elnum = plan_.source_elnum[s];
    const source_reader read = pixel_io.read_source[s];
    if (!read) {
      for (int e = 0; e < elnum; ++e) std::fill_n(rows[e], width, 0);
      return;
    }
    const int step = r.step * cache_step;
    const int x0 = (r.first_col + col) * r.step;
    if (step == 1) {
      read(source_raster_info[s], row, x0, x0 + width - 1, rows, elnum, s);
      return;
    }
    const bool reduced = cache_step > 1;
    const int y = reduced ? cache_view.y0 + middle_of_step(row - r.first_row, cache_view.height) : row * r.step;
    const int first = reduced ? cache_view.x0 + middle_of_step(col, cache_view.width) : x0;
    for (int i = 0; i < width; ++i) {
      fix* sample[4];
      for (int e = 0; e < elnum; ++e) sample[e] = rows[e] + i;
      read(source_raster_info[s], y, first + i * step, first + i * step, sample, elnum, s);
    }
  }

  // A source that comes as whole frames while fields are rendered: the mean of the two fields' lines.
  void read_source(int s, int row, int col, int width) {
    fix* const* rows = vars_.source_rows[s];
    read_line(s, row, col, width, rows);
    if (!(field_globals.field_number && field_globals.merged_sources >> s & 1)) return;
    fix* other[4];
    for (int e = 0; e < plan_.source_elnum[s]; ++e) other[e] = row_at(plan_.merge_at, e);
    read_line(s, row ^ 1, col, width, other);
    for (int e = 0; e < plan_.source_elnum[s]; ++e)
      for (int i = 0; i < width; ++i) rows[e][i] = wrap_add(rows[e][i], other[e][i]) >> 1;
  }

  void write_output(int row, int col, int width) {
    const loop_rectangle& r = plan_.rect;
    if (Globals->effect_genotype && (Globals->effect_genotype->flags[0] & GENO0_PREV_OUTPUT))
      store_previous_output(row, col, width);
    const int x0 = (r.first_col + col) * r.step;
    if (pixel_io.tap) pixel_io.tap(pixel_io.tap_user, row * r.step, x0, width, root_->elnum, root_->rows);
    if (!pixel_io.write_dest) return;
    const int x1 = std::min(x0 + width * r.step - 1, dest_raster_info.x1);
    const int y1 = std::min(row * r.step + r.step - 1, dest_raster_info.y1);
    for (int y = row * r.step; y <= y1; ++y)
      if (!pixel_io.write_dest(dest_raster_info, y, x0, x1 - x0 + 1, r.step, root_->rows, root_->elnum,
                               plan_.dest_alpha_mode))
        write_failed = true;
  }

  /// What element e of the root is as a picture: grey spreads over the colours, what has no alpha is opaque.
  const fix* root_row_for(int e) const {
    static constexpr int GREY_ALPHA = 2;
    if (e < 3) return root_->rows[root_->elnum <= GREY_ALPHA ? 0 : e];
    return root_->elnum == GREY_ALPHA || root_->elnum == 4 ? root_->rows[root_->elnum - 1] : nullptr;
  }

  // The planes have the view's layout, as every plane that a node reads. What the loop leaves out of a row is cleared:
  // beside its columns alone, since the stretches to come still read what this one does not cover.
  void store_previous_output(int row, int col, int width) {
    const loop_rectangle& r = plan_.rect;
    const temp_set_record& set = prev_dest_set();
    const int view_width = display_dims.view_width;
    const int view_row = (row * r.step - temp_raster_info.y0) / r.step;
    const int view_col = ((r.first_col + col) * r.step - temp_raster_info.x0) / r.step;
    if (view_row < 0 || view_row >= display_dims.view_height || view_col < 0 || view_col + width > view_width) return;
    for (int e = 0; e < set.image_count; ++e) {
      std::int16_t* plane = set.planes[e] + std::int64_t(view_row) * view_width;
      if (col == 0) std::fill_n(plane, view_col, std::int16_t(0));
      if (col + width == r.cols) std::fill(plane + view_col + width, plane + view_width, std::int16_t(0));
      const fix* samples = root_row_for(e);
      if (samples)
        for (int i = 0; i < width; ++i) plane[view_col + i] = prev_output_sample(samples[i]);
      else
        std::fill_n(plane + view_col, width, std::int16_t(FIX_ONE));
    }
  }

  const loop_plan& plan_;
  std::byte* block_;
  node* copies_;
  node* root_ = nullptr;
  node* uniform_root_ = nullptr;  // a root that is computed once a row and spread into root_
  fix* x_row_;
  fix* y_row_;
  expression_rows vars_;       // of stretches
  expression_rows line_vars_;  // of values that are the same along a row
};

}  // namespace

bool loop_write_failed() { return write_failed; }
void clear_loop_write_failed() { write_failed = false; }

void run_worker_lines(const loop_plan& plan, std::byte* block) {
  int first, count;
  split_rows(plan.rect.lines, &first, &count);
  line_walk(plan, block).walk(first, count);
}

}  // namespace tessaron
