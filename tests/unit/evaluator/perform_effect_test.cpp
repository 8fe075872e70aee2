// The entry of a frame: what it refuses, before any pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

TEST(perform_effect, needs_a_genotype) {
  definition_renderer r("(define P (Source) () dest = Source)");
  r.record().effect_genotype = nullptr;
  report_capture reports;
  r.fill_records();
  EXPECT_EQ(perform_effect(), -1);
  EXPECT_TRUE(reports.has("perform_effect: Globals->effect_genotype is NULL."));
}

TEST(perform_effect, needs_a_selected_effect) {
  definition_renderer r("(define P (Source) () dest = Source)");
  r.record().state_flags = 0;
  report_capture reports;
  EXPECT_FALSE(r.render());
  EXPECT_TRUE(reports.has("perform_effect: eval_image_nodes has not been set."));
}

TEST(perform_effect, does_nothing_without_images) {
  definition_renderer r("(define P (Source) () dest = Source)");
  r.fill_records();
  temp_raster_info = {};
  report_capture reports;
  EXPECT_EQ(perform_effect(), -1);
  EXPECT_TRUE(
      reports.has("perform_effect: doing nothing, dest_raster_info or render_info or temp_raster_info is null."));
}

TEST(perform_effect, tells_that_it_prepared) {
  definition_renderer r("(define P (Source) () dest = Source)");
  ASSERT_TRUE(r.render());
  EXPECT_TRUE(r.record().state_flags & STATE_EVAL_PREPARED);
}

TEST(get_curve_val, with_a_frame_that_varies_over_the_picture_is_refused_before_any_pixel) {
  definition_renderer r("(define Varies (Source) () p = 1 dest = (+ Source (get_curve_val p x)))");
  report_capture reports;
  EXPECT_FALSE(r.render());
  EXPECT_TRUE(reports.has("Varies: get_curve_val needs a parameter and a rel_frame that are the same for the whole frame."))
      << reports.all();
  EXPECT_EQ(r.at(0, 0, 0), definition_renderer::UNTOUCHED);
}

// A writer as a host has it, that takes 2 elements in alpha mode 1 alone and counts its rows.
std::atomic<int> rows_written, refusals;
bool write_rows(const raster_info&, int, int, int n_columns, int, const fix* const*, int n_elements, int alpha_mode) {
  if (n_elements == 2 && alpha_mode != 1) {
    ++refusals;
    return false;
  }
  rows_written += n_columns > 0;
  return true;
}

int render_with_writer(definition_renderer& r) {
  rows_written = refusals = 0;
  r.fill_records();
  pixel_io.write_dest = write_rows;
  abort_requested = 0;
  return perform_effect();
}

TEST(output, of_2_elements_is_refused_once_outside_alpha_mode_1) {
  definition_renderer r("(define Two (Source) () dest = (v2 (element_of Source 0) y))");
  EXPECT_EQ(render_with_writer(r), -1);
  EXPECT_EQ(refusals, 1);
  EXPECT_EQ(rows_written, 0);
  definition_renderer with_alpha("(define Two (Source) (rgba_ok) dest = (v2 (element_of Source 0) y))");
  EXPECT_EQ(render_with_writer(with_alpha), 0);
  EXPECT_EQ(rows_written, 12);
}

std::atomic<int> mode_seen;

TEST(output, alpha_mode_follows_the_effect_and_the_host) {
  const auto mode_of = [](const char* modifiers, const char* dest, int host_mode, bool mode_2_ok) {
    definition_renderer r(std::string("(define M (Source) (") + modifiers + ") dest = " + dest + ")");
    r.fill_records();
    pixel_io.write_dest = [](const raster_info&, int, int, int, int, const fix* const*, int, int mode) {
      mode_seen = mode;
      return true;
    };
    pixel_io.dest_alpha_mode = host_mode;
    pixel_io.dest_mode_2_ok = mode_2_ok;
    EXPECT_EQ(perform_effect(), 0);
    return mode_seen.load();
  };
  EXPECT_EQ(mode_of("rgba_ok", "Source", 0, false), 1);
  EXPECT_EQ(mode_of("", "Source", 0, true), 2);
  EXPECT_EQ(mode_of("", "Source", 0, false), 3);
  EXPECT_EQ(mode_of("set_alpha_to_one", "Source", 0, true), 3);
  EXPECT_EQ(mode_of("rgba_ok", "Source", 3, false), 3);
  EXPECT_EQ(mode_of("", "[1 2 3 4]", 3, true), 1);
}

TEST(static_seed, is_the_pixels_of_the_frames_before) {
  definition_renderer r("(define S () () dest = (static))", {.width = 6, .height = 4});
  const time_globals_record before = time_globals;
  time_globals.current_frame = 7;
  ASSERT_TRUE(r.render());
  EXPECT_EQ(time_globals.time_offset, 7 * 24);
  field_globals.field_number = 1;
  const bool rendered = r.render();
  field_globals = {};
  ASSERT_TRUE(rendered);
  EXPECT_EQ(time_globals.time_offset, 2 * 7 * 24);
  time_globals = before;
}

TEST(previous_output, keeps_the_roots_rows_at_their_tighter_limit) {
  definition_renderer r("(define P (Source) () dest = (* Source 2))", {.width = 6, .height = 4});
  r.set_source(0, [](int x, int, int e) { return x == 0 ? 5000 : x == 1 ? -5000 : 10 * x + e; });
  r.effect().flags[0] |= GENO0_PREV_OUTPUT;
  temp_set_record& set = *r.record().temp_set;
  std::int16_t planes[3][24];
  std::fill(&planes[0][0], &planes[0][0] + 72, std::int16_t(99));
  for (int e = 0; e < 3; ++e) set.planes[e] = planes[e];
  set.image_count = 3;
  ASSERT_TRUE(r.render());
  EXPECT_EQ(planes[0][0], 0x1fff);
  EXPECT_EQ(planes[0][1], -0x1fff);
  EXPECT_EQ(planes[2][3 * 6 + 5], 2 * 52);
}

}  // namespace
}  // namespace tessaron::testing
