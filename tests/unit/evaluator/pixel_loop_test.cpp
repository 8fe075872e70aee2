// The loop's other targets, and what it refuses.
#include "evaluator/pixel_loop.h"

#include <gtest/gtest.h>

#include <map>

#include "evaluator/loop_plan.h"
#include "evaluator/workers.h"
#include "operators/operators.h"
#include "tests/support/reference_frame.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

fix source_pixel(int x, int y, int e) { return 300 * x - 200 * y + 50 * e; }

/// A definition that is folded and has its planes, with the pool running.
struct ready : definition_renderer {
  explicit ready(const std::string& text, const test_frame& frame = {.width = 9, .height = 5})
      : definition_renderer(text, frame) {
    set_source(0, source_pixel);
    EXPECT_TRUE(render());  // makes this one the sources' owner
    fill_records();
    fold_and_pass(effect());
    set_node_images(effect(), 0, 0);
  }
};

TEST(loop, of_no_node_is_fatal) {
  report_capture reports;
  EXPECT_THROW(eval_node_tree_pixel_loop(nullptr, nullptr, 0, 1), TessaronAbortException);
  EXPECT_TRUE(reports.has("eval_node_tree_pixel_loop: node is NULL"));
}

TEST(loop, of_a_node_without_elements_is_fatal) {
  report_capture reports;
  node n = {};
  EXPECT_THROW(eval_node_tree_pixel_loop(&n, nullptr, 0, 1), TessaronAbortException);
  EXPECT_TRUE(reports.has("eval_node_tree_pixel_loop: node elnum <= 0."));
}

TEST(loop, larger_than_its_raster_is_reported_and_cut) {
  ready r("(define L (Source) () dest = (+ Source 1))");
  dest_raster_info.width = 4;  // the corners say 9
  into_dest = 1;
  report_capture reports;
  eval_node_tree_pixel_loop(&r.root(), nullptr, 0, 1);
  into_dest = 0;
  EXPECT_EQ(reports.severity_of("Clip/res problem: downsampled size=9x5, rinfo says 4x5.\n"), REPORT_WARNING);
}

TEST(loop, over_an_empty_rectangle_ends_at_once) {
  ready r("(define L (Source) () dest = (+ Source 1))");
  render_info.render_x1 = -1;
  into_dest = 1;
  static int rows;
  rows = 0;
  pixel_io.tap = [](void*, int, int, int, int, const fix* const*) { ++rows; };
  eval_node_tree_pixel_loop(&r.root(), nullptr, 0, 1);
  into_dest = 0;
  EXPECT_EQ(rows, 0);
}

std::vector<fix> sunk;
void keep_first_element(node& root, std::int64_t offset, int width) {
  std::copy_n(root.rows[0], width, sunk.begin() + offset);
}

TEST(sink, gets_offsets_in_the_view) {
  ready r("(define L (Source) () dest = (+ Source 1))",
          {.width = 20, .height = 10, .x0 = 3, .y0 = 2, .x1 = 12, .y1 = 7});
  sunk.assign(10 * 6, -1);
  set_stretch_override(3);
  eval_node_tree_pixel_loop(&r.root(), keep_first_element, 0, 1);
  set_stretch_override(0);
  for (int y = 2; y <= 7; ++y)
    for (int x = 3; x <= 12; ++x) EXPECT_EQ(sunk[std::size_t(y - 2) * 10 + x - 3], source_pixel(x, y, 0) + 4096);
}

TEST(loop, without_rebuild_keeps_the_last_list) {
  ready r("(define L (Source) () dest = (+ Source 1))");
  sunk.assign(45, -1);
  eval_node_tree_pixel_loop(&r.root(), keep_first_element, 0, 1);
  const int count = eval_nodes_count;
  sunk.assign(45, -1);
  eval_node_tree_pixel_loop(&r.root(), keep_first_element, 0, 0);
  EXPECT_EQ(eval_nodes_count, count);
  EXPECT_EQ(sunk[8], source_pixel(8, 0, 0) + 4096);
}

TEST(loop, leaves_the_nodes_as_they_were) {
  ready r("(define L (Source) () n = (* Source y) dest = (+ n (mag xy)))");
  sunk.assign(45, 0);
  eval_node_tree_pixel_loop(&r.root(), keep_first_element, 0, 1);
  for (int i = 0; i < r.effect().n_nodes; ++i) {
    node& n = r.effect().nodes[i];
    if (n.kind == KIND_UNSET) continue;
    EXPECT_EQ(n.vars, &fold_rows);
    EXPECT_EQ(n.misc_ptr, nullptr);
    for (int e = 0; e < 4; ++e) EXPECT_EQ(n.rows[e], &n.const_vals[e]);
  }
}

TEST(loop, warns_of_a_noise_cache_that_was_left) {
  definition_renderer r("(define L (Source) () dest = (+ Source (warp_noise xy 1 1 0)))");
  r.fill_records();
  ASSERT_TRUE(resolve_element_counts(r.effect()));
  fold_and_pass(r.effect());
  node& noise = *r.calls_of("warp_noise")[0];
  int left = 0;
  noise.misc_ptr = &left;
  build_eval_nodes(&r.root(), false);
  report_capture reports;
  loop_plan plan;
  ASSERT_TRUE(plan_loop(plan, &r.root(), keep_first_element));
  EXPECT_EQ(reports.severity_of("make_nodes_array_caches: warning misc_ptr was set."), REPORT_WARNING);
  EXPECT_EQ(plan.noise_nodes.size(), 1u);
}

TEST(noise_cache, marks_every_cell_as_empty) {
  std::int32_t words[NOISE_CACHE_BYTES / 4 + 1];
  std::fill(std::begin(words), std::end(words), 77);
  clear_noise_cache(words);
  EXPECT_EQ(std::uint32_t(words[0]), 0xffff8300u);
  EXPECT_EQ(std::uint32_t(words[1]), 0xffff8300u);
  EXPECT_EQ(words[9], 1);
  for (int i = 0; i < 128; ++i) {
    EXPECT_EQ(std::uint32_t(words[10 + 5 * i]), 0xffff8300u);
    EXPECT_EQ(std::uint32_t(words[11 + 5 * i]), 0xffff8300u);
    EXPECT_EQ(words[12 + 5 * i], 0);
  }
  EXPECT_EQ(words[NOISE_CACHE_BYTES / 4], 77);
}

// --- long image -------------------------------------------------------------------------------------------

TEST(long_image, takes_rows_without_a_limit) {
  ready r("(define L (Source) () dest = (* (element_of Source 1) 30))");
  get_long_image(9, 5);
  eval_node_tree_into_long_image(r.root());
  EXPECT_EQ(current_long_image()[4 * 9 + 8], source_pixel(8, 4, 1) * 30);
}

TEST(long_image, takes_one_element_alone) {
  ready r("(define L (Source) () dest = (* Source 2))");
  report_capture reports;
  eval_node_tree_into_long_image(r.root());
  EXPECT_TRUE(reports.has("ERROR: eval_node_tree_into_long_image: elnum should be 1.\n"));
}

TEST(long_image, has_to_be_there) {
  // A host's suite that comes and goes takes the long image with it.
  static const handle_suite OTHER = {[](std::int64_t) -> void** { return nullptr; }, [](void** h) { return *h; },
                                     [](void**) {}, [](void**) {}};
  set_handle_suite(&OTHER);
  set_handle_suite(nullptr);
  ready r("(define L (Source) () dest = (element_of Source 1))");
  report_capture reports;
  eval_node_tree_into_long_image(r.root());
  EXPECT_TRUE(reports.has("ERROR: eval_node_tree_into_long_image: no long_image.\n"));
}

// --- mipmap top level ---------------------------------------------------------------------------------------

TEST(mipmap, takes_interleaved_samples_held_to_two) {
  ready r("(define L (Source) () dest = (* Source 20))", {.width = 4, .height = 3});
  constexpr int STRIDE = 3 * (4 + 2);
  std::vector<std::int16_t> buffer(STRIDE * 5, -9);
  eval_node_tree_into_mipmap_toplevel(r.root(), {buffer.data(), STRIDE, 3});
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x)
      for (int e = 0; e < 3; ++e)
        EXPECT_EQ(buffer[(y + 1) * STRIDE + 3 + 3 * x + e], std::clamp(source_pixel(x, y, e) * 20, 0, 8191));
  EXPECT_EQ(buffer[STRIDE], -9);  // the border is the operator's
}

TEST(mipmap, of_another_element_count_is_reported) {
  ready r("(define L (Source) () dest = (* Source 2))");
  node copy = r.root();
  copy.elnum = 5;
  report_capture reports;
  eval_node_tree_into_mipmap_toplevel(copy, {});
  EXPECT_EQ(reports.severity_of("eval_node_tree_into_mipmap_toplevel: unsupported elnum 5 \n"), REPORT_WARNING);
}

// --- an operator's per-pixel pass ---------------------------------------------------------------------------

void powers_alone(node& n) {
  const bool uniform = n.uniform_args >> 1 & 1;
  for (int e = 0; e < n.elnum; ++e)
    for (int i = 0; i < n.vars->row_width; ++i) n.rows[e][i] = n.arg_rows[1][0][uniform ? 0 : i] + e;
}

TEST(process_pixels, runs_the_operators_row_function_over_its_arguments) {
  ready r("(define L (Source) () g = (gamma Source (* x 2)) dest = (+ g 1))");
  node& g = r.named("g");
  image_process_pixels_loop(g, {nullptr, nullptr, nullptr, powers_alone, nullptr});
  for (int x = 0; x < 9; ++x) EXPECT_EQ(g.images[2][9 * 3 + x], fix_mul(reference_x(r.frame_size(), x), 8192) + 2);
}

TEST(process_pixels, without_a_function_for_the_element_count_is_fatal) {
  ready r("(define L (Source) () g = (gamma Source 2) dest = (+ g 1))");
  report_capture reports;
  EXPECT_THROW(image_process_pixels_loop(r.named("g"), {nullptr, powers_alone, nullptr, nullptr, nullptr}),
               TessaronAbortException);
  EXPECT_TRUE(reports.has("image_process_pixels_loop: no fun for elnum 3."));
}

// --- cache readers -----------------------------------------------------------------------------------------

TEST(cache_reader, widens_samples_from_its_position_and_moves_on) {
  std::int16_t plane[8] = {0, -1, 2, -32767, 32767, 5, 6, 7};
  fix row[3] = {};
  const expression_rows vars = {.row_width = 3, .x_row = {}, .y_row = {}, .xy_rows = {}, .source_rows = {}};
  node n = {};
  n.elnum = 1;
  n.images[0] = plane;
  n.rows[0] = row;
  n.vars = &vars;
  n.pixel_index = 2;
  read_cached_row(n);
  EXPECT_EQ(row[0], 2);
  EXPECT_EQ(row[1], -32767);
  EXPECT_EQ(row[2], 32767);
  EXPECT_EQ(n.pixel_index, 5);
}

TEST(cache_reader, at_a_step_reads_every_so_many_samples) {
  std::int16_t plane[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  fix row[3] = {};
  const expression_rows vars = {.row_width = 3, .x_row = {}, .y_row = {}, .xy_rows = {}, .source_rows = {}};
  node n = {};
  n.elnum = 1;
  n.images[0] = plane;
  n.rows[0] = row;
  n.vars = &vars;
  n.pixel_index = 1;
  cache_step = 2;
  read_cached_row_stepped(n);
  cache_step = 1;
  EXPECT_EQ(row[0], 1);
  EXPECT_EQ(row[1], 3);
  EXPECT_EQ(row[2], 5);
  EXPECT_EQ(n.pixel_index, 7);
}

TEST(plane_sample, is_limited_to_16_bits_less_one_step) {
  EXPECT_EQ(plane_sample(0x7ffe), 0x7ffe);
  EXPECT_EQ(plane_sample(0x7fff), 0x7fff);
  EXPECT_EQ(plane_sample(100000), 0x7fff);
  EXPECT_EQ(plane_sample(-0x7fff), -0x7fff);
  EXPECT_EQ(plane_sample(INT32_MIN), -0x7fff);
}

// --- sampling step -------------------------------------------------------------------------------------------

TEST(sampling_step, computes_every_other_pixel_and_repeats_it) {
  definition_renderer r("(define S (Source) () dest = (+ Source 1))", {.width = 8, .height = 6});
  r.set_source(0, source_pixel);
  ASSERT_TRUE(r.render());
  r.fill_records();
  render_info.step = 2;
  static std::map<std::pair<int, int>, fix> seen;
  seen.clear();
  pixel_io.tap = [](void*, int y, int x0, int n, int, const fix* const* rows) {
    for (int i = 0; i < n; ++i) seen[{x0 + 2 * i, y}] = rows[0][i];
  };
  into_dest = 1;
  stop_fork_workers();
  set_processor_override(1);
  start_fork_workers();
  eval_node_tree_pixel_loop(&r.root(), nullptr, 0, 1);
  set_processor_override(0);
  stop_fork_workers();
  into_dest = 0;
  ASSERT_EQ(seen.size(), 4u * 3u);
  for (const auto& [at, value] : seen) EXPECT_EQ(value, source_pixel(at.first, at.second, 0) + 4096);
}

}  // namespace
}  // namespace tessaron::testing
