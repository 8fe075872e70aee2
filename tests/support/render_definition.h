// Renders a definition over images in memory, straight through the evaluator: no host, no pixel formats.
// Sources are functions of position; the result is the root's rows as fix values.
//
//   definition_renderer r("(define A (Source) () dest = (+ Source 0.5))", {.width = 8, .height = 4});
//   r.set_source(0, [](int x, int y, int e) { return 100 * x + y + e; });
//   ASSERT_TRUE(r.render());
//   EXPECT_EQ(r.at(0, 3, 2), 302 + 2048);
#pragma once

#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/plan.h"
#include "evaluator/temp_images.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"

namespace tessaron::testing {

/// The frame of a render. The rectangle that is computed is the whole frame unless `x1` is set.
struct test_frame {
  int width = 16, height = 12;
  int x0 = 0, y0 = 0, x1 = -1, y1 = -1;  // computed rectangle, corners inside
  int source_channels = 3;
  int output_channels = 4;
  float pixel_aspect = 1.0f;
  double scale = 1.0;  // of a host that works downsampled
};

class definition_renderer {
 public:
  using pixel_function = std::function<fix(int x, int y, int e)>;

  explicit definition_renderer(const std::string& text, const test_frame& frame = {}) : globals_(record_) {
    set_tables_and_globals();
    effect_.reset(load_effect_from_string(text.c_str()));
    if (!effect_) throw std::runtime_error("definition not accepted: " + text);
    record_.genotypes[0] = record_.effect_genotype = effect_.get();
    record_.n_effects = 1;
    record_.state_flags |= STATE_EFFECT_SELECTED;
    build_eval_image_nodes(*effect_);
    set_frame(frame);
  }
  ~definition_renderer() {
    free_all_temp_images();
    pixel_io = {};
    render_info = {};
  }
  definition_renderer(const definition_renderer&) = delete;
  definition_renderer& operator=(const definition_renderer&) = delete;

  genotype& effect() { return *effect_; }
  globals_record& record() { return record_; }
  node& root() { return effect_->nodes[0]; }
  /// The node of an assigned name.
  node& named(const char* name) {
    for (int i = 0; i < effect_->n_nodes; ++i)
      if (effect_->nodes[i].name && std::strcmp(effect_->nodes[i].name, name) == 0) return effect_->nodes[i];
    throw std::runtime_error(std::string("no node ") + name);
  }
  /// How often a function is called in the tree.
  std::vector<node*> calls_of(const char* function) {
    std::vector<node*> found;
    for (int i = 0; i < effect_->n_nodes; ++i)
      if (effect_->nodes[i].kind == KIND_FUNCTION && std::strcmp(effect_->nodes[i].fun->name, function) == 0)
        found.push_back(&effect_->nodes[i]);
    return found;
  }

  void set_frame(const test_frame& frame) {
    frame_ = frame;
    if (frame_.x1 < 0) {
      frame_.x1 = frame.width - 1;
      frame_.y1 = frame.height - 1;
    }
  }
  const test_frame& frame_size() const { return frame_; }
  void set_source(int number, pixel_function f) { sources_[number] = std::move(f); }
  void set_param(const char* name, const std::vector<float>& values) {
    for (int i = 0; i < effect_->n_params; ++i) {
      param& p = *effect_->params[i];
      if (std::strcmp(p.name, name) != 0) continue;
      for (std::size_t e = 0; e < values.size(); ++e) p.value[e] = values[e];
      for (int k = 0; k < effect_->n_nodes; ++k)
        if (effect_->nodes[k].param_index == i + 1) p.param_node = &effect_->nodes[k];
      store_param_in_node(p);
      return;
    }
    throw std::runtime_error(std::string("no parameter ") + name);
  }

  /// One frame. False when the evaluator refused it or an abort ended it.
  bool render() {
    fill_records();
    abort_requested = 0;
    const int result = perform_effect();
    return result == 0 && !abort_requested;
  }

  static constexpr fix UNTOUCHED = 0x5a5a5a5a;
  int cols() const { return frame_.x1 - frame_.x0 + 1; }
  int lines() const { return frame_.y1 - frame_.y0 + 1; }
  int elnum() const { return result_elnum_; }
  /// Element e at frame position (x, y).
  fix at(int e, int x, int y) const { return result_[e].at(std::size_t(y - frame_.y0) * cols() + (x - frame_.x0)); }
  const std::vector<std::vector<fix>>& result() const { return result_; }

  /// Fills the evaluator's records as a host would; render() does it by itself.
  void fill_records() {
    const test_frame& f = frame_;
    current() = this;
    result_.assign(4, std::vector<fix>(std::size_t(cols()) * lines(), UNTOUCHED));
    result_elnum_ = 0;
    record_.n_image_channels = std::uint8_t(f.output_channels);
    for (int s = 0; s < 4; ++s) {
      record_.image_channels[VAR_SOURCE0 + s] = std::uint8_t(f.source_channels);
      source_raster_info[s] = {};
      pixel_io.read_source[s] = read_source;
    }
    raster_info view = {};
    view.width = cols();
    view.height = lines();
    view.x0 = f.x0;
    view.y0 = f.y0;
    view.x1 = f.x1;
    view.y1 = f.y1;
    view.bits = 32;
    view.kind = 2;
    view.bytes_per_pixel = 16;
    view.row_step = 1;
    temp_raster_info = dest_raster_info = view;
    const int step = render_info.step;
    render_info = {};
    render_info.step = step > 1 ? step : 1;
    render_info.frame_x1 = int(f.width / f.scale) - 1;
    render_info.frame_y1 = int(f.height / f.scale) - 1;
    render_info.out_x1 = f.width - 1;
    render_info.out_y1 = f.height - 1;
    render_info.render_x0 = f.x0;
    render_info.render_y0 = f.y0;
    render_info.render_x1 = f.x1;
    render_info.render_y1 = f.y1;
    render_info.scale_x = render_info.downsample_x = render_info.downsample_y = f.scale;
    render_info.valid = 1;
    display_dims = {};
    display_dims.n_pixels = cols() * lines();
    display_dims.display_width = display_dims.full_width = f.width;
    display_dims.display_height = display_dims.full_height = f.height;
    display_dims.view_width = cols();
    display_dims.view_height = lines();
    display_dims.xy_aspect = float(f.height) / float(f.width);
    display_dims.pixel_aspect = f.pixel_aspect;
    display_dims.pixel_aspect_inv = 1.0f / f.pixel_aspect;
    display_dims.pixel_aspect_not_1 = f.pixel_aspect != 1.0f;
    display_dims.pixel_aspect_wide = f.pixel_aspect > 1.6f;
    display_dims.xy_aspect_fix = fix_from_double(display_dims.xy_aspect);
    display_dims.yx_aspect_fix = fix_from_double(1.0f / display_dims.xy_aspect);
    display_dims.pixel_aspect_fix = fix_from_double(display_dims.pixel_aspect);
    display_dims.pixel_aspect_inv_fix = fix_from_double(display_dims.pixel_aspect_inv);
    const float aspects = display_dims.xy_aspect * display_dims.pixel_aspect;
    display_dims.aspect_product_fix = fix_from_double(aspects);
    display_dims.aspect_product_inv_fix = fix_from_double(1.0f / aspects);
    display_dims.x_origin_fix = f.x0 * FIX_ONE;
    display_dims.y_origin_fix = f.y0 * FIX_ONE;
    short_image_size = std::int64_t(display_dims.n_pixels) * 2;
    pixel_io.tap = keep_row;
    pixel_io.tap_user = this;
  }

 private:
  static definition_renderer*& current() {
    static definition_renderer* renderer = nullptr;
    return renderer;
  }
  static void read_source(const raster_info&, int y, int x0, int x1, fix* const* planes, int n_elements,
                          int image_number) {
    const pixel_function& f = current()->sources_[image_number];
    for (int e = 0; e < n_elements; ++e)
      for (int x = x0; x <= x1; ++x) planes[e][x - x0] = f ? f(x, y, e) : 0;
  }
  static void keep_row(void* user, int y, int x0, int n_columns, int n_elements, const fix* const* rows) {
    definition_renderer& r = *static_cast<definition_renderer*>(user);
    if (y == r.frame_.y0 && x0 == r.frame_.x0) r.result_elnum_ = n_elements;
    for (int e = 0; e < n_elements; ++e)
      for (int i = 0; i < n_columns; ++i)
        r.result_[e].at(std::size_t(y - r.frame_.y0) * r.cols() + (x0 - r.frame_.x0) + i) = rows[e][i];
  }

  /// Makes a fresh record the one of the call under way.
  class selected_globals {
   public:
    explicit selected_globals(globals_record& record) : outer_(Globals) {
      init_globals(record);
      Globals = &record;
    }
    ~selected_globals() { Globals = outer_; }

   private:
    globals_record* outer_;
  };
  struct genotype_deleter {
    void operator()(genotype* g) const { free_genotype(g); }
  };

  globals_record record_{};
  selected_globals globals_;
  std::unique_ptr<genotype, genotype_deleter> effect_;
  test_frame frame_;
  pixel_function sources_[4];
  std::vector<std::vector<fix>> result_;
  int result_elnum_ = 0;
};

}  // namespace tessaron::testing
